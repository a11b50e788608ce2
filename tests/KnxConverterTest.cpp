// The converter interface, the default converter and the converters of the sub-byte formats.
#include "ConverterCases.h"

#include <typeinfo>

using namespace ErvTest;
using Erv::KnxConverter;

namespace {

const auto Default = std::make_shared<Erv::KnxConverterDefault>();
const auto OneBit = std::make_shared<Erv::KnxConverter1Bit>();
const auto TwoBit = std::make_shared<Erv::KnxConverter2Bit>();
const auto FourBit = std::make_shared<Erv::KnxConverter4Bit>();

AVOVALUE Typed(AvoValueType type, AVOVALUE value)
{
    value.ivt = type;
    return value;
}

const char* const WrongTwoBit = "Wrong avo value type (ivtByte) or DPT main number (2.x)!";
const char* const WrongFourBit = "Wrong avo value type (ivtByte) or DPT main number (3.x)!";

class ToKnx : public ::testing::TestWithParam<ToKnxCase> {};
TEST_P(ToKnx, Converts) { RunToKnx(GetParam()); }

// Expected bytes: the KNX 1-, 2- and 4-bit formats carry the value in the low bits of one octet;
// the default converter writes the value library's big-endian bytes.
INSTANTIATE_TEST_SUITE_P(
    BitConverters, ToKnx,
    ::testing::Values(
        ToKnxCase{"OneBitTrue", OneBit, Dpt(1, 1), AVOVALUE::Bool(true), true, Bus(1, {0x01}), {}},
        ToKnxCase{"OneBitFalse", OneBit, Dpt(1, 1), AVOVALUE::Bool(false), true, Bus(1, {0x00}), {}},
        ToKnxCase{"OneBitRefusesByteSilently", OneBit, Dpt(1, 1), AVOVALUE::Byte(1), false, UntouchedBus(), {}},
        ToKnxCase{"OneBitRefusesOtherDptSilently", OneBit, Dpt(5, 1), AVOVALUE::Bool(true), false, UntouchedBus(), {}},
        ToKnxCase{"TwoBitKeepsLowBits", TwoBit, Dpt(2, 1), AVOVALUE::Byte(17), true, Bus(2, {0x01}), {}},
        ToKnxCase{"TwoBitThree", TwoBit, Dpt(2, 2), AVOVALUE::Byte(3), true, Bus(2, {0x03}), {}},
        ToKnxCase{"TwoBitRefusesBoolean", TwoBit, Dpt(2, 1), AVOVALUE::Bool(true), false, UntouchedBus(),
                  {Error(WrongTwoBit)}},
        ToKnxCase{"TwoBitRefusesOtherDpt", TwoBit, Dpt(3, 1), AVOVALUE::Byte(1), false, UntouchedBus(),
                  {Error(WrongTwoBit)}},
        ToKnxCase{"FourBitUpperEnd", FourBit, Dpt(3, 7), AVOVALUE::Byte(15), true, Bus(4, {0x0F}), {}},
        ToKnxCase{"FourBitZero", FourBit, Dpt(3, 8), AVOVALUE::Byte(0), true, Bus(4, {0x00}), {}},
        ToKnxCase{"FourBitRefuses16", FourBit, Dpt(3, 7), AVOVALUE::Byte(16), false, UntouchedBus(),
                  {Error("Value out of raw range [0..15]: 16")}},
        ToKnxCase{"FourBitRefusesFloat", FourBit, Dpt(3, 7), AVOVALUE::Float(1.0), false, UntouchedBus(),
                  {Error(WrongFourBit)}},
        ToKnxCase{"FourBitRefusesOtherDpt", FourBit, Dpt(2, 1), AVOVALUE::Byte(1), false, UntouchedBus(),
                  {Error(WrongFourBit)}},
        ToKnxCase{"DefaultBooleanOnDpt1", Default, Dpt(1, 1, 1), AVOVALUE::Bool(true), true, Bus(1, {0x01}), {}},
        // 17 and 16 are written through the 2-bit setter, which keeps their low bits: 01 and 00.
        ToKnxCase{"DefaultBooleanOnDpt2True", Default, Dpt(2, 1, 2), AVOVALUE::Bool(true), true, Bus(2, {0x01}), {}},
        ToKnxCase{"DefaultBooleanOnDpt2False", Default, Dpt(2, 1, 2), AVOVALUE::Bool(false), true, Bus(2, {0x00}),
                  {}},
        ToKnxCase{"DefaultBooleanElsewhereWritesNothing", Default, Dpt(5, 1, 8), AVOVALUE::Bool(true), true,
                  UntouchedBus(), {}},
        ToKnxCase{"DefaultByteIsOneOctet", Default, Dpt(5, 1, 8), AVOVALUE::Byte(7), true, Bus(8, {0x07}), {}},
        ToKnxCase{"DefaultWordIsBigEndian", Default, Dpt(7, 1, 16), AVOVALUE::Word(0x1234), true,
                  Bus(16, {0x12, 0x34}), {}},
        ToKnxCase{"DefaultDwordInThreeOctets", Default, Dpt(232, 600, 24), AVOVALUE::DWord(0x01ABCDEF), true,
                  Bus(24, {0xAB, 0xCD, 0xEF}), {}},
        ToKnxCase{"DefaultPercentTakesFirstOctet", Default, Dpt(5, 1, 8), Typed(ivtPercent, AVOVALUE::Float(50.0)),
                  true, Bus(8, {50}), {}},
        ToKnxCase{"DefaultPercentWithoutSize", Default, Dpt(5, 1, 0), Typed(ivtPercent, AVOVALUE::Float(50.0)),
                  false, UntouchedBus(), {Error("AvoValueToByteArray failed. DPT=5.001 data size =0")}},
        ToKnxCase{"DefaultEmptyValue", Default, Dpt(0, 0, 0), AVOVALUE(), false, UntouchedBus(),
                  {Error("AvoValueToByteArray failed. DPT=0.x data size =24")}}),
    CaseName<ToKnxCase>);

TEST(DefaultConverter, UnknownSizeWritesTwentyFourOctets)
{
    KnxStack::GroupValue out;
    ASSERT_TRUE(Default->ToKnxValue(Dpt(0, 0, 0), AVOVALUE::DWord(0x01020304), out));
    EXPECT_EQ(out.GetDefinedSize(), 24u * 8u);
    EXPECT_EQ(out.GetRawData().GetUInt32Value(20), 0x01020304u);
}

class FromKnx : public ::testing::TestWithParam<FromKnxCase> {};
TEST_P(FromKnx, Converts) { RunFromKnx(GetParam()); }

const char* const SizeMismatch = "Group value access failed: ";

INSTANTIATE_TEST_SUITE_P(
    BitConverters, FromKnx,
    ::testing::Values(
        // The 1-bit converter writes the field only; the type stays what the caller set.
        FromKnxCase{"OneBitKeepsType", OneBit, Dpt(1, 1), Bus(1, {0x01}), Typed(ivtEmpty, AVOVALUE()), true,
                    Typed(ivtEmpty, AVOVALUE::Bool(true)), {}},
        FromKnxCase{"OneBitRefusesOtherDptSilently", OneBit, Dpt(2, 1), Bus(1, {0x01}), AVOVALUE(), false,
                    AVOVALUE(), {}},
        FromKnxCase{"TwoBit", TwoBit, Dpt(2, 1), Bus(2, {0x03}), AVOVALUE(), true, AVOVALUE::Byte(3), {}},
        FromKnxCase{"TwoBitReadsLowBitsOfAnOctet", TwoBit, Dpt(2, 1), Bus(8, {0xFE}), AVOVALUE(), true,
                    AVOVALUE::Byte(2), {}},
        FromKnxCase{"TwoBitRefusesOtherDpt", TwoBit, Dpt(1, 1), Bus(2, {0x03}), AVOVALUE(), false, AVOVALUE(),
                    {Error("Wrong DPT main number (2.x)!")}},
        FromKnxCase{"FourBit", FourBit, Dpt(3, 7), Bus(4, {0x09}), AVOVALUE(), true, AVOVALUE::Byte(9), {}},
        FromKnxCase{"FourBitRefusesOtherDpt", FourBit, Dpt(4, 1), Bus(4, {0x09}), AVOVALUE(), false, AVOVALUE(),
                    {Error("Wrong DPT main number (3.x)!")}},
        FromKnxCase{"DefaultIntoWord", Default, Dpt(7, 1, 16), Bus(16, {0x12, 0x34}), AVOVALUE::Word(0), true,
                    AVOVALUE::Word(0x1234), {}},
        FromKnxCase{"DefaultInfersTypeFromLength", Default, Dpt(0, 0), Bus(16, {0x12, 0x34}), AVOVALUE(), true,
                    AVOVALUE::Word(0x1234), {}},
        FromKnxCase{"DefaultRefusesNothing", Default, Dpt(0, 0), KnxStack::GroupValue(), AVOVALUE(), false,
                    AVOVALUE(), {Error("ByteArrayToAvoValue failed. DPT=0.x data size =0")}}),
    CaseName<FromKnxCase>);

// A group value whose size does not fit the accessor: the stack throws, the converter refuses.
TEST(BitConverters, GroupValueExceptionBecomesRefusal)
{
    const struct {
        std::shared_ptr<const KnxConverter> converter;
        KNXDPT dpt;
    } cases[] = {{OneBit, Dpt(1, 1)}, {TwoBit, Dpt(2, 1)}, {FourBit, Dpt(3, 7)}};
    for (const auto& c : cases) {
        LogCapture log;
        AVOVALUE value = AVOVALUE::Byte(42);
        EXPECT_FALSE(c.converter->FromKnxValue(c.dpt, Bus(16, {0x12, 0x34}), value));
        EXPECT_EQ(value, AVOVALUE::Byte(42));
        const auto lines = log.Lines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_THAT(lines[0].message, ::testing::StartsWith(SizeMismatch));
    }
}

TEST(BitConverters, EveryConversionStartsWithItsTrace)
{
    LogCapture log;
    KnxStack::GroupValue out;
    AVOVALUE value;
    TwoBit->ToKnxValue(Dpt(2, 1), AVOVALUE::Byte(1), out);
    TwoBit->FromKnxValue(Dpt(2, 1), Bus(2, {0x01}), value);
    EXPECT_THAT(log.AllLines(), ::testing::ElementsAre(Debug("DPT is used. DPT = 2.001 ivt=6 val=1"),
                                                       Debug("DPT is used. DPT = 2.001 grp.size=2 grp.val=01")));
    EXPECT_THAT(log.FullTexts()[0],
                ::testing::StartsWith("virtual bool Erv::KnxConverter2Bit::ToKnxValue(const KNXDPT&, "
                                      "const AVOVALUE&, KnxStack::GroupValue&) const - "));
}

// What every converter class shares: Clone() makes an object of the same class that converts the
// same way.
template <class Converter>
class ConverterContract : public ::testing::Test {};
using ConverterClasses =
    ::testing::Types<Erv::KnxConverterDefault, Erv::KnxConverter1Bit, Erv::KnxConverter2Bit, Erv::KnxConverter4Bit>;
TYPED_TEST_SUITE(ConverterContract, ConverterClasses);

TYPED_TEST(ConverterContract, CloneBehavesLikeTheOriginal)
{
    const TypeParam original;
    const std::unique_ptr<KnxConverter> clone = original.Clone();
    ASSERT_TRUE(clone);
    const KnxConverter& cloned = *clone;
    EXPECT_EQ(typeid(cloned), typeid(TypeParam));
    const KNXDPT dpts[] = {Dpt(1, 1, 1), Dpt(2, 1, 2), Dpt(3, 7, 4), Dpt(5, 1, 8)};
    const AVOVALUE values[] = {AVOVALUE::Bool(true), AVOVALUE::Byte(3), AVOVALUE::Byte(200), AVOVALUE::Float(2.5)};
    for (const KNXDPT& dpt : dpts) {
        for (const AVOVALUE& value : values) {
            KnxStack::GroupValue a, b;
            EXPECT_EQ(original.ToKnxValue(dpt, value, a), clone->ToKnxValue(dpt, value, b));
            EXPECT_EQ(a, b);
            AVOVALUE x = value, y = value;
            EXPECT_EQ(original.FromKnxValue(dpt, a, x), clone->FromKnxValue(dpt, a, y));
            EXPECT_EQ(x, y);
        }
    }
}

} // namespace
