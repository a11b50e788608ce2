// The converter interface, the default converter and the converters of the sub-byte formats.
#include "ConverterCases.h"

#include <optional>
#include <typeinfo>

using namespace ErvTest;
using namespace Erv;

namespace {

using Converter = std::shared_ptr<KnxConverter>;
const Converter Default = std::make_shared<KnxConverterDefault>();
const Converter OneBit = std::make_shared<KnxConverter1Bit>();
const Converter TwoBit = std::make_shared<KnxConverter2Bit>();
const Converter FourBit = std::make_shared<KnxConverter4Bit>();

AVOVALUE Typed(AvoValueType type, AVOVALUE value)
{
    value.ivt = type;
    return value;
}

const AVOVALUE Percent50 = Typed(ivtPercent, AVOVALUE::Float(50.0));
const KnxStack::GroupValue TwoOctets = Bus(16, {0x12, 0x34});
const KnxStack::GroupValue OneOctet = Bus(8, {0x12});
const LogLine WrongTwoBit = Error("Wrong avo value type (ivtByte) or DPT main number (2.x)!");
const LogLine WrongFourBit = Error("Wrong avo value type (ivtByte) or DPT main number (3.x)!");

class ToKnx : public ::testing::TestWithParam<ToKnxCase> {};
TEST_P(ToKnx, Converts) { RunToKnx(GetParam()); }

// Expected bytes: the KNX 1-, 2- and 4-bit formats carry the value in the low bits of one octet;
// the default converter writes the value library's big-endian bytes.
// clang-format off
INSTANTIATE_TEST_SUITE_P(BitConverters, ToKnx, ::testing::ValuesIn(std::vector<ToKnxCase>{
    {"OneBitTrue", OneBit, Dpt(1, 1), AVOVALUE::Bool(true), true, Bus(1, {0x01}), {}},
    {"OneBitFalse", OneBit, Dpt(1, 1), AVOVALUE::Bool(false), true, Bus(1, {0x00}), {}},
    {"OneBitRefusesByteSilently", OneBit, Dpt(1, 1), AVOVALUE::Byte(1), false, UntouchedBus(), {}},
    {"OneBitRefusesOtherDptSilently", OneBit, Dpt(5, 1), AVOVALUE::Bool(true), false, UntouchedBus(), {}},
    {"TwoBitKeepsLowBits", TwoBit, Dpt(2, 1), AVOVALUE::Byte(7), true, Bus(2, {0x03}), {}},
    {"TwoBitRefusesBoolean", TwoBit, Dpt(2, 1), AVOVALUE::Bool(true), false, UntouchedBus(), {WrongTwoBit}},
    {"TwoBitRefusesOtherDpt", TwoBit, Dpt(3, 1), AVOVALUE::Byte(1), false, UntouchedBus(), {WrongTwoBit}},
    {"FourBitUpperEnd", FourBit, Dpt(3, 7), AVOVALUE::Byte(15), true, Bus(4, {0x0F}), {}},
    {"FourBitRefuses16", FourBit, Dpt(3, 7), AVOVALUE::Byte(16), false, UntouchedBus(),
     {Error("Value out of raw range [0..15]: 16")}},
    {"FourBitRefusesFloat", FourBit, Dpt(3, 7), AVOVALUE::Float(1.0), false, UntouchedBus(), {WrongFourBit}},
    {"FourBitRefusesOtherDpt", FourBit, Dpt(2, 1), AVOVALUE::Byte(1), false, UntouchedBus(), {WrongFourBit}},
    {"DefaultBooleanOnDpt1", Default, Dpt(1, 1, 1), AVOVALUE::Bool(true), true, Bus(1, {0x01}), {}},
    // 17 and 16 go through the 2-bit setter, which keeps their low bits.
    {"DefaultBooleanOnDpt2", Default, Dpt(2, 1, 2), AVOVALUE::Bool(true), true, Bus(2, {0x01}), {}},
    {"DefaultBooleanElsewhereWritesNothing", Default, Dpt(5, 1, 8), AVOVALUE::Bool(true), true, UntouchedBus(), {}},
    {"DefaultByteIsOneOctet", Default, Dpt(5, 1, 8), AVOVALUE::Byte(7), true, Bus(8, {0x07}), {}},
    {"DefaultWordIsBigEndian", Default, Dpt(7, 1, 16), AVOVALUE::Word(0x1234), true, TwoOctets, {}},
    {"DefaultDwordInThreeOctets", Default, Dpt(232, 600, 24), AVOVALUE::DWord(0x01ABCDEF), true,
     Bus(24, {0xAB, 0xCD, 0xEF}), {}},
    {"DefaultPercentTakesFirstOctet", Default, Dpt(5, 1, 8), Percent50, true, Bus(8, {50}), {}},
    {"DefaultPercentWithoutSize", Default, Dpt(5, 1, 0), Percent50, false, UntouchedBus(),
     {Error("AvoValueToByteArray failed. DPT=5.001 data size =0")}},
    {"DefaultEmptyValue", Default, Dpt(0, 0, 0), AVOVALUE(), false, UntouchedBus(),
     {Error("AvoValueToByteArray failed. DPT=0.x data size =24")}},
}), CaseName<ToKnxCase>);
// clang-format on

class FromKnx : public ::testing::TestWithParam<FromKnxCase> {};
TEST_P(FromKnx, Converts) { RunFromKnx(GetParam()); }

const AVOVALUE Blank;

// clang-format off
INSTANTIATE_TEST_SUITE_P(BitConverters, FromKnx, ::testing::ValuesIn(std::vector<FromKnxCase>{
    // The 1-bit converter writes the field only; the type stays what the caller set.
    {"OneBitKeepsType", OneBit, Dpt(1, 1), Bus(1, {0x01}), Blank, true, Typed(ivtEmpty, AVOVALUE::Bool(true)), {}},
    {"OneBitRefusesOtherDptSilently", OneBit, Dpt(2, 1), Bus(1, {0x01}), Blank, false, Blank, {}},
    {"TwoBit", TwoBit, Dpt(2, 1), Bus(2, {0x03}), Blank, true, AVOVALUE::Byte(3), {}},
    {"TwoBitRefusesOtherDpt", TwoBit, Dpt(1, 1), Bus(2, {0x03}), Blank, false, Blank,
     {Error("Wrong DPT main number (2.x)!")}},
    {"FourBit", FourBit, Dpt(3, 7), Bus(4, {0x09}), Blank, true, AVOVALUE::Byte(9), {}},
    {"FourBitRefusesOtherDpt", FourBit, Dpt(4, 1), Bus(4, {0x09}), Blank, false, Blank,
     {Error("Wrong DPT main number (3.x)!")}},
    {"DefaultIntoWord", Default, Dpt(7, 1, 16), TwoOctets, AVOVALUE::Word(0), true, AVOVALUE::Word(0x1234), {}},
    {"DefaultInfersTypeFromLength", Default, Dpt(0, 0), TwoOctets, Blank, true, AVOVALUE::Word(0x1234), {}},
    {"DefaultRefusesNothing", Default, Dpt(0, 0), KnxStack::GroupValue(), Blank, false, Blank,
     {Error("ByteArrayToAvoValue failed. DPT=0.x data size =0")}},
}), CaseName<FromKnxCase>);
// clang-format on

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
                ::testing::StartsWith("virtual bool Erv::KnxConverter2Bit::ToKnxValue(const KNXDPT&, const AVOVALUE&, "
                                      "KnxStack::GroupValue&) - "));
}

// What every converter class shares -------------------------------------------------------------

struct Write {
    KNXDPT dpt;
    AVOVALUE value;
};
struct Read {
    KNXDPT dpt;
    KnxStack::GroupValue bus;
};

// One converter of each class: a value it writes under its own DPT, calls it refuses without
// touching the output, and a group value that makes its accessor throw. The DPT table holds
// clones, so the clone is what these tests convert with.
struct Sample {
    const char* name;
    Converter converter;
    Write own;
    std::optional<Write> refusedWrite;
    std::optional<Read> refusedRead; // none where the value is written before it is refused
    std::optional<KnxStack::GroupValue> misfit;
    bool silent = false; // refuses without a line
};

template <class C, class... Range>
Converter Make(const Range&... range)
{
    return std::make_shared<C>(range...);
}

IntegerRange Ints(std::int32_t min, std::int32_t max) { return IntegerRange(min, max, min, max); }
AVOVALUE Calendar(AvoValueType type, AVOTIME time) { return AVOVALUE::Time(type, time); }

const auto None = std::nullopt;
const double F32 = 3.4028234663852886e+38;

// clang-format off
const Sample Samples[] = {
    {"Default", Make<KnxConverterDefault>(), {Dpt(5, 1, 8), AVOVALUE::Byte(7)}, Write{Dpt(5, 1, 0), Percent50},
     Read{Dpt(0, 0), KnxStack::GroupValue()}, None},
    {"OneBit", Make<KnxConverter1Bit>(), {Dpt(1, 1), AVOVALUE::Bool(true)}, Write{Dpt(1, 1), AVOVALUE::Byte(1)},
     Read{Dpt(2, 1), Bus(1, {0x01})}, TwoOctets, true},
    {"TwoBit", Make<KnxConverter2Bit>(), {Dpt(2, 1), AVOVALUE::Byte(3)}, Write{Dpt(2, 1), AVOVALUE::Bool(true)},
     Read{Dpt(1, 1), Bus(2, {0x03})}, TwoOctets},
    {"FourBit", Make<KnxConverter4Bit>(), {Dpt(3, 7), AVOVALUE::Byte(9)}, Write{Dpt(3, 7), AVOVALUE::Byte(16)},
     Read{Dpt(4, 1), Bus(4, {0x09})}, TwoOctets},
    {"Char", Make<KnxConverter8BitString>(Ints(0, 127)), {Dpt(4, 1), AVOVALUE::String("A")},
     Write{Dpt(4, 1), AVOVALUE::String("\xC3\xA9")}, Read{Dpt(4, 1), Bus(8, {0xE9})}, TwoOctets},
    {"Byte", Make<KnxConverterByte8BitUnsigned>(Ints(0, 254)), {Dpt(5, 6), AVOVALUE::Byte(7)},
     Write{Dpt(5, 6), AVOVALUE::Byte(255)}, Read{Dpt(5, 6), Bus(8, {0xFF})}, TwoOctets},
    {"SignedByte", Make<KnxConverterInteger8BitSigned>(Ints(-128, 127)), {Dpt(6, 1), AVOVALUE::Integer(-5)},
     Write{Dpt(6, 1), AVOVALUE::Byte(1)}, None, TwoOctets},
    {"Status", Make<KnxConverterStatus8Bit>(Ints(0, 255)), {Dpt(6, 20), AVOVALUE::Byte(0x0A)},
     Write{Dpt(5, 1), AVOVALUE::Integer(2)}, Read{Dpt(6, 20), Bus(8, {0x03})}, TwoOctets},
    {"Unsigned16", Make<KnxConverterInteger16BitUnsigned>(Ints(0, 65535)), {Dpt(7, 1), AVOVALUE::Word(4660)},
     Write{Dpt(8, 1), AVOVALUE::Integer(1)}, Read{Dpt(8, 1), TwoOctets}, OneOctet},
    {"Signed16", Make<KnxConverterInteger16BitSigned>(Ints(-32768, 32767)), {Dpt(8, 1), AVOVALUE::Integer(-2)},
     Write{Dpt(7, 1), AVOVALUE::Word(1)}, Read{Dpt(7, 1), TwoOctets}, OneOctet},
    {"Float16", Make<KnxConverterFloat16BitFloat>(FloatRange(-273.0, 670760.0, -273.0, 670760.0)),
     {Dpt(9, 1), AVOVALUE::Float(21.5)}, Write{Dpt(9, 1), AVOVALUE::Float(-300.0)}, None, OneOctet},
    {"Float32", Make<KnxConverterFloat32BitFloat>(FloatRange(-F32, F32, -F32, F32)), {Dpt(14, 1), AVOVALUE::Float(1.5)},
     Write{Dpt(9, 1), AVOVALUE::Word(1)}, Read{Dpt(9, 1), Bus(32, {0x3F, 0xC0, 0x00, 0x00})}, TwoOctets},
    // Writes anything and reads anything that has bytes.
    {"Unsigned24", Make<KnxConverterInteger24BitUnsigned>(LongIntegerRange(0, 16777215, 0, 16777215)),
     {Dpt(232, 600), AVOVALUE::DWord(0xABCDEF)}, None, None, KnxStack::GroupValue()},
    {"Unsigned32", Make<KnxConverterInteger32BitUnsigned>(LongIntegerRange(0, 4294967295, 0, 4294967295)),
     {Dpt(12, 1), AVOVALUE::DWord(7)}, Write{Dpt(12, 1), AVOVALUE::Integer(7)}, None, TwoOctets},
    {"Signed32", Make<KnxConverterInteger32BitSigned>(Ints(INT32_MIN, INT32_MAX)), {Dpt(13, 1), AVOVALUE::Integer(-2)},
     Write{Dpt(12, 1), AVOVALUE::DWord(1)}, Read{Dpt(12, 1), Bus(32, {0, 0, 0, 1})}, TwoOctets},
    {"Text", Make<KnxConverter14ByteString>(Ints(0, 127)), {Dpt(16, 0), AVOVALUE::String("Hello")},
     Write{Dpt(12, 1), AVOVALUE::DWord(1)}, Read{Dpt(12, 1), Bus(112, {'x'})}, OneOctet},
    {"Date", Make<KnxConverterDate>(), {Dpt(11, 1), Calendar(ivtDate, {2024, 3, 1})},
     Write{Dpt(11, 1), Calendar(ivtDate, {1989, 12, 31})}, Read{Dpt(11, 1), Bus(24, {1, 3, 0x98})}, Bus(16, {0, 0})},
    {"TimeOfDay", Make<KnxConverterTimeOfDay>(), {Dpt(10, 1), Calendar(ivtDayTime, {2000, 1, 1, 12, 30, 15, 0, 4})},
     Write{Dpt(12, 2), AVOVALUE::DWord(1)}, Read{Dpt(10, 1), Bus(24, {0x0C, 0x40, 0x00})}, Bus(16, {0, 0})},
    {"DateTime", Make<KnxConverterDateTime>(), {Dpt(19, 1), Calendar(ivtDateTime, {2024, 3, 1, 12, 30, 15})},
     Write{Dpt(19, 1), Calendar(ivtDateTime, {1899, 12, 31})}, Read{Dpt(19, 1), Bus(64, {124, 2, 30, 0, 0, 0, 0, 0})},
     KnxStack::GroupValue()},
    {"SceneNumber", Make<KnxConverterSceneNumber>(Ints(0, 63)), {Dpt(17, 1), AVOVALUE::Byte(5)},
     Write{Dpt(17, 1), AVOVALUE::Byte(64)}, Read{Dpt(5, 2), Bus(8, {0x01})}, TwoOctets},
    {"SceneControl", Make<KnxConverterSceneControl>(Ints(0, 63)), {Dpt(18, 1), AVOVALUE::Byte(0x85)},
     Write{Dpt(18, 1), AVOVALUE::Byte(0x45)}, Read{Dpt(18, 1), Bus(8, {0xC0})}, TwoOctets},
    {"SceneInfo", Make<KnxConverterSceneInfo>(IntegerRange(-64, 64, 0, 255)), {Dpt(26, 1), AVOVALUE::Byte(0x45)},
     Write{Dpt(26, 1), AVOVALUE::Byte(0x80)}, Read{Dpt(26, 1), Bus(8, {0x80})}, TwoOctets},
};
// clang-format on

void PrintTo(const Sample& s, std::ostream* os) { *os << s.name; }

std::vector<int> Levels(const LogCapture& log)
{
    std::vector<int> levels;
    for (const LogLine& line : log.Lines())
        levels.push_back(line.level);
    return levels;
}

class Contract : public ::testing::TestWithParam<Sample> {
protected:
    const Sample& s = GetParam();
    const std::unique_ptr<KnxConverter> clone{s.converter->Clone()};
};

TEST_P(Contract, CloneIsTheSameClassAndConvertsItsOwnFormat)
{
    ASSERT_TRUE(clone);
    const KnxConverter& cloned = *clone;
    EXPECT_EQ(typeid(cloned), typeid(*s.converter));
    KnxStack::GroupValue bus;
    AVOVALUE back;
    EXPECT_TRUE(clone->ToKnxValue(s.own.dpt, s.own.value, bus));
    EXPECT_TRUE(clone->FromKnxValue(s.own.dpt, bus, back));
}

// A refusal writes one ERROR line (the 1-bit converter none) and leaves the output as it was.
TEST_P(Contract, RefusalLeavesTheOutput)
{
    const std::vector<int> refused = s.silent ? std::vector<int>{} : std::vector<int>{log4cplus::ERROR_LOG_LEVEL};
    if (s.refusedWrite) {
        LogCapture log;
        KnxStack::GroupValue bus = UntouchedBus();
        EXPECT_FALSE(clone->ToKnxValue(s.refusedWrite->dpt, s.refusedWrite->value, bus));
        EXPECT_EQ(bus, UntouchedBus());
        EXPECT_EQ(Levels(log), refused);
    }
    if (s.refusedRead) {
        LogCapture log;
        AVOVALUE value = AVOVALUE::Word(77);
        EXPECT_FALSE(clone->FromKnxValue(s.refusedRead->dpt, s.refusedRead->bus, value));
        EXPECT_EQ(value.ivt, ivtWord);
        EXPECT_EQ(value, AVOVALUE::Word(77));
        EXPECT_EQ(Levels(log), refused);
    }
}

TEST_P(Contract, GroupValueExceptionIsARefusal)
{
    if (!s.misfit)
        GTEST_SKIP() << "no group value makes this converter's accessors throw";
    RunUnfitGroupValue(*clone, s.own.dpt, *s.misfit);
}

INSTANTIATE_TEST_SUITE_P(EveryClass, Contract, ::testing::ValuesIn(Samples), CaseName<Sample>);

} // namespace
