// The converter interface, the default converter and the converters of the sub-byte formats.
#include "ConverterCases.h"

#include <cstdint>
#include <optional>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

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

// What every converter class shares --------------------------------------------------------------

using namespace Erv;

// A call the converter refuses, with the output it must leave as it was.
struct RefusedWrite {
    KNXDPT dpt;
    AVOVALUE value;
};
struct RefusedRead {
    KNXDPT dpt;
    KnxStack::GroupValue bus;
};

// One converter of a class, built with a typical range, and inputs that exercise it.
struct ContractSample {
    std::shared_ptr<const KnxConverter> converter;
    KNXDPT dpt;     // its own DPT
    AVOVALUE value; // a value it writes
    std::optional<RefusedWrite> refusedWrite;
    std::optional<RefusedRead> refusedRead; // none where the value is written before it is refused
    std::optional<KnxStack::GroupValue> misfit; // read under `dpt`, makes a group-value accessor throw
    bool silent = false;                        // refuses without a line
};

template <class Converter, class... Range>
std::shared_ptr<const KnxConverter> Make(const Range&... range)
{
    return std::make_shared<Converter>(range...);
}

AVOVALUE Calendar(AvoValueType type, unsigned short year, unsigned char month, unsigned char day,
                  unsigned char hour = 0, unsigned char minute = 0, unsigned char second = 0,
                  unsigned short weekDays = 0)
{
    AVOTIME time;
    time.year = year;
    time.month = month;
    time.day = day;
    time.hour = hour;
    time.minute = minute;
    time.second = second;
    time.weekDays = weekDays;
    return AVOVALUE::Time(type, time);
}

const KnxStack::GroupValue TwoOctets = Bus(16, {0x12, 0x34});
const KnxStack::GroupValue OneOctet = Bus(8, {0x12});

template <class Converter>
ContractSample SampleOf();

// clang-format off
template <> ContractSample SampleOf<KnxConverterDefault>()
{
    return {Make<KnxConverterDefault>(), Dpt(5, 1, 8), AVOVALUE::Byte(7),
            RefusedWrite{Dpt(5, 1, 0), Typed(ivtPercent, AVOVALUE::Float(50.0))},
            RefusedRead{Dpt(0, 0), KnxStack::GroupValue()}, std::nullopt};
}
template <> ContractSample SampleOf<KnxConverter1Bit>()
{
    return {Make<KnxConverter1Bit>(), Dpt(1, 1), AVOVALUE::Bool(true),
            RefusedWrite{Dpt(1, 1), AVOVALUE::Byte(1)}, RefusedRead{Dpt(2, 1), Bus(1, {0x01})}, TwoOctets, true};
}
template <> ContractSample SampleOf<KnxConverter2Bit>()
{
    return {Make<KnxConverter2Bit>(), Dpt(2, 1), AVOVALUE::Byte(3),
            RefusedWrite{Dpt(2, 1), AVOVALUE::Bool(true)}, RefusedRead{Dpt(1, 1), Bus(2, {0x03})}, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverter4Bit>()
{
    return {Make<KnxConverter4Bit>(), Dpt(3, 7), AVOVALUE::Byte(9),
            RefusedWrite{Dpt(3, 7), AVOVALUE::Byte(16)}, RefusedRead{Dpt(4, 1), Bus(4, {0x09})}, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverter8BitString>()
{
    return {Make<KnxConverter8BitString>(IntegerRange(0, 127, 0, 127)), Dpt(4, 1), AVOVALUE::String("A"),
            RefusedWrite{Dpt(4, 1), AVOVALUE::String("\xC3\xA9")}, RefusedRead{Dpt(4, 1), Bus(8, {0xE9})}, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverterByte8BitUnsigned>()
{
    return {Make<KnxConverterByte8BitUnsigned>(IntegerRange(0, 254, 0, 254)), Dpt(5, 6), AVOVALUE::Byte(7),
            RefusedWrite{Dpt(5, 6), AVOVALUE::Byte(255)}, RefusedRead{Dpt(5, 6), Bus(8, {0xFF})}, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverterInteger8BitSigned>()
{
    return {Make<KnxConverterInteger8BitSigned>(IntegerRange(-128, 127, -128, 127)), Dpt(6, 1), AVOVALUE::Integer(-5),
            RefusedWrite{Dpt(6, 1), AVOVALUE::Byte(1)}, std::nullopt, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverterStatus8Bit>()
{
    return {Make<KnxConverterStatus8Bit>(IntegerRange(0, 255, 0, 255)), Dpt(6, 20), AVOVALUE::Byte(0x0A),
            RefusedWrite{Dpt(5, 1), AVOVALUE::Integer(2)}, RefusedRead{Dpt(6, 20), Bus(8, {0x03})}, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverterInteger16BitUnsigned>()
{
    return {Make<KnxConverterInteger16BitUnsigned>(IntegerRange(0, 65535, 0, 65535)), Dpt(7, 1), AVOVALUE::Word(4660),
            RefusedWrite{Dpt(8, 1), AVOVALUE::Integer(1)}, RefusedRead{Dpt(8, 1), TwoOctets}, OneOctet};
}
template <> ContractSample SampleOf<KnxConverterInteger16BitSigned>()
{
    return {Make<KnxConverterInteger16BitSigned>(IntegerRange(-32768, 32767, -32768, 32767)), Dpt(8, 1),
            AVOVALUE::Integer(-2), RefusedWrite{Dpt(7, 1), AVOVALUE::Word(1)}, RefusedRead{Dpt(7, 1), TwoOctets},
            OneOctet};
}
template <> ContractSample SampleOf<KnxConverterFloat16BitFloat>()
{
    return {Make<KnxConverterFloat16BitFloat>(FloatRange(-273.0, 670760.0, -273.0, 670760.0)), Dpt(9, 1),
            AVOVALUE::Float(21.5), RefusedWrite{Dpt(9, 1), AVOVALUE::Float(-300.0)}, std::nullopt, OneOctet};
}
template <> ContractSample SampleOf<KnxConverterFloat32BitFloat>()
{
    return {Make<KnxConverterFloat32BitFloat>(FloatRange(-3.4028234663852886e+38, 3.4028234663852886e+38,
                                                         -3.4028234663852886e+38, 3.4028234663852886e+38)),
            Dpt(14, 56), AVOVALUE::Float(1.5), RefusedWrite{Dpt(9, 1), AVOVALUE::Word(1)},
            RefusedRead{Dpt(9, 1), Bus(32, {0x3F, 0xC0, 0x00, 0x00})}, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverterInteger24BitUnsigned>()
{
    // Writes anything and reads anything that has bytes.
    return {Make<KnxConverterInteger24BitUnsigned>(LongIntegerRange(0, 16777215, 0, 16777215)), Dpt(232, 600),
            AVOVALUE::DWord(0xABCDEF), std::nullopt, std::nullopt, KnxStack::GroupValue()};
}
template <> ContractSample SampleOf<KnxConverterInteger32BitUnsigned>()
{
    return {Make<KnxConverterInteger32BitUnsigned>(LongIntegerRange(0, 4294967295, 0, 4294967295)), Dpt(12, 1),
            AVOVALUE::DWord(7), RefusedWrite{Dpt(12, 1), AVOVALUE::Integer(7)}, std::nullopt, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverterInteger32BitSigned>()
{
    return {Make<KnxConverterInteger32BitSigned>(IntegerRange(INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX)),
            Dpt(13, 1), AVOVALUE::Integer(-2), RefusedWrite{Dpt(12, 1), AVOVALUE::DWord(1)},
            RefusedRead{Dpt(12, 1), Bus(32, {0, 0, 0, 1})}, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverter14ByteString>()
{
    return {Make<KnxConverter14ByteString>(IntegerRange(0, 127, 0, 127)), Dpt(16, 0), AVOVALUE::String("Hello"),
            RefusedWrite{Dpt(12, 1), AVOVALUE::DWord(1)}, RefusedRead{Dpt(12, 1), Bus(112, {'x'})}, OneOctet};
}
template <> ContractSample SampleOf<KnxConverterDate>()
{
    return {Make<KnxConverterDate>(), Dpt(11, 1), Calendar(ivtDate, 2024, 3, 1),
            RefusedWrite{Dpt(11, 1), Calendar(ivtDate, 1989, 12, 31)},
            RefusedRead{Dpt(11, 1), Bus(24, {0x01, 0x03, 0x98})}, Bus(16, {0x00, 0x00})};
}
template <> ContractSample SampleOf<KnxConverterTimeOfDay>()
{
    return {Make<KnxConverterTimeOfDay>(), Dpt(10, 1), Calendar(ivtDayTime, 2000, 1, 1, 12, 30, 15, 4),
            RefusedWrite{Dpt(12, 2), AVOVALUE::DWord(1)}, RefusedRead{Dpt(10, 1), Bus(24, {0x0C, 0x40, 0x00})},
            Bus(16, {0x00, 0x00})};
}
template <> ContractSample SampleOf<KnxConverterDateTime>()
{
    return {Make<KnxConverterDateTime>(), Dpt(19, 1), Calendar(ivtDateTime, 2024, 3, 1, 12, 30, 15),
            RefusedWrite{Dpt(19, 1), Calendar(ivtDateTime, 1899, 12, 31)},
            RefusedRead{Dpt(19, 1), Bus(64, {124, 2, 30, 0, 0, 0, 0, 0})}, KnxStack::GroupValue()};
}
template <> ContractSample SampleOf<KnxConverterSceneNumber>()
{
    return {Make<KnxConverterSceneNumber>(IntegerRange(0, 63, 0, 63)), Dpt(17, 1), AVOVALUE::Byte(5),
            RefusedWrite{Dpt(17, 1), AVOVALUE::Byte(64)}, RefusedRead{Dpt(5, 2), Bus(8, {0x01})}, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverterSceneControl>()
{
    return {Make<KnxConverterSceneControl>(IntegerRange(0, 63, 0, 63)), Dpt(18, 1), AVOVALUE::Byte(0x85),
            RefusedWrite{Dpt(18, 1), AVOVALUE::Byte(0x45)}, RefusedRead{Dpt(18, 1), Bus(8, {0xC0})}, TwoOctets};
}
template <> ContractSample SampleOf<KnxConverterSceneInfo>()
{
    return {Make<KnxConverterSceneInfo>(IntegerRange(-64, 64, 0, 255)), Dpt(26, 1), AVOVALUE::Byte(0x45),
            RefusedWrite{Dpt(26, 1), AVOVALUE::Byte(0x80)}, RefusedRead{Dpt(26, 1), Bus(8, {0x80})}, TwoOctets};
}
// clang-format on

// What one call did: its result (or that it threw), its output and its log lines.
struct Outcome {
    bool threw = false;
    bool ok = false;
    KnxStack::GroupValue bus;
    AVOVALUE value;
    std::vector<LogLine> lines;
    bool operator==(const Outcome& o) const
    {
        return threw == o.threw && ok == o.ok && bus == o.bus && value == o.value && lines == o.lines;
    }
};

void PrintTo(const Outcome& o, std::ostream* os)
{
    *os << (o.threw ? "threw" : o.ok ? "true" : "false") << ", bus " << o.bus << ", value " << o.value << ", "
        << o.lines.size() << " lines";
}

Outcome Write(const KnxConverter& converter, const KNXDPT& dpt, const AVOVALUE& value)
{
    Outcome o;
    o.bus = UntouchedBus();
    LogCapture log;
    try {
        o.ok = converter.ToKnxValue(dpt, value, o.bus);
    } catch (...) {
        o.threw = true;
    }
    o.lines = log.AllLines();
    return o;
}

Outcome Read(const KnxConverter& converter, const KNXDPT& dpt, const KnxStack::GroupValue& bus)
{
    Outcome o;
    o.value = AVOVALUE::Word(77);
    LogCapture log;
    try {
        o.ok = converter.FromKnxValue(dpt, bus, o.value);
    } catch (...) {
        o.threw = true;
    }
    o.lines = log.AllLines();
    return o;
}

template <class T, class = void>
struct HasRange : std::false_type {};
template <class T>
struct HasRange<T, std::void_t<decltype(std::declval<const T&>().GetRange())>> : std::true_type {};

template <class Converter>
class ConverterContract : public ::testing::Test {};
using ConverterClasses = ::testing::Types<
    KnxConverterDefault, KnxConverter1Bit, KnxConverter2Bit, KnxConverter4Bit, KnxConverter8BitString,
    KnxConverterByte8BitUnsigned, KnxConverterInteger8BitSigned, KnxConverterStatus8Bit,
    KnxConverterInteger16BitUnsigned, KnxConverterInteger16BitSigned, KnxConverterFloat16BitFloat,
    KnxConverterFloat32BitFloat, KnxConverterInteger24BitUnsigned, KnxConverterInteger32BitUnsigned,
    KnxConverterInteger32BitSigned, KnxConverter14ByteString, KnxConverterDate, KnxConverterTimeOfDay,
    KnxConverterDateTime, KnxConverterSceneNumber, KnxConverterSceneControl, KnxConverterSceneInfo>;
TYPED_TEST_SUITE(ConverterContract, ConverterClasses);

TYPED_TEST(ConverterContract, CloneIsTheSameClassAndBehavesTheSame)
{
    const ContractSample sample = SampleOf<TypeParam>();
    const KnxConverter& original = *sample.converter;
    ASSERT_EQ(typeid(original), typeid(TypeParam));
    const std::unique_ptr<KnxConverter> clone = original.Clone();
    ASSERT_TRUE(clone);
    const KnxConverter& cloned = *clone;
    ASSERT_EQ(typeid(cloned), typeid(TypeParam));
    if constexpr (HasRange<TypeParam>::value) {
        const auto& a = static_cast<const TypeParam&>(original).GetRange();
        const auto& b = static_cast<const TypeParam&>(cloned).GetRange();
        EXPECT_EQ(ToString(a), ToString(b));
        EXPECT_EQ(a.GetScaleFactor(), b.GetScaleFactor());
    }

    const KNXDPT dpts[] = {sample.dpt,    Dpt(1, 1, 1),   Dpt(2, 1, 2),   Dpt(3, 7, 4),    Dpt(4, 1, 8),
                           Dpt(5, 6, 8),  Dpt(6, 20, 8),  Dpt(9, 1, 16),  Dpt(13, 1, 32),  Dpt(16, 1, 112),
                           Dpt(17, 1, 8), Dpt(18, 1, 8),  Dpt(19, 1, 64), Dpt(26, 1, 8),   Dpt(0, 0)};
    const AVOVALUE values[] = {sample.value,
                               AVOVALUE::Bool(true),
                               AVOVALUE::Byte(3),
                               AVOVALUE::Byte(0x85),
                               AVOVALUE::Integer(-5),
                               AVOVALUE::Word(4660),
                               AVOVALUE::DWord(70000),
                               AVOVALUE::Float(21.5),
                               AVOVALUE::Float(1e9),
                               AVOVALUE::String("A\xC3\xA9"),
                               Calendar(ivtDate, 2024, 3, 1),
                               Calendar(ivtDayTime, 2000, 1, 1, 23, 59, 59, 64),
                               Typed(ivtInvalid, AVOVALUE()),
                               AVOVALUE()};
    std::vector<KnxStack::GroupValue> buses = {
        KnxStack::GroupValue(),           Bus(1, {0x01}),
        Bus(4, {0x09}),                   Bus(8, {0x85}),
        Bus(16, {0x0C, 0x33}),            Bus(16, {0x7F, 0xFF}),
        Bus(24, {0x6C, 0x1E, 0x0F}),      Bus(24, {0x01, 0x03, 0x18}),
        Bus(32, {0x3F, 0xC0, 0x00, 0x00}), Bus(64, {0x7C, 0x03, 0x01, 0x0C, 0x1E, 0x0F, 0x20, 0x00}),
        Bus(112, {'H', 'i', 0xE9})};

    for (const KNXDPT& dpt : dpts) {
        for (const AVOVALUE& value : values) {
            const Outcome byOriginal = Write(original, dpt, value);
            EXPECT_EQ(byOriginal, Write(cloned, dpt, value)) << "writing " << value << " as " << dpt;
            if (byOriginal.ok)
                buses.push_back(byOriginal.bus);
        }
    }
    for (const KNXDPT& dpt : dpts)
        for (const KnxStack::GroupValue& bus : buses)
            EXPECT_EQ(Read(original, dpt, bus), Read(cloned, dpt, bus)) << "reading " << bus << " as " << dpt;
}

TYPED_TEST(ConverterContract, ConvertsItsOwnFormat)
{
    const ContractSample sample = SampleOf<TypeParam>();
    const Outcome written = Write(*sample.converter, sample.dpt, sample.value);
    EXPECT_TRUE(written.ok) << written.bus;
    EXPECT_FALSE(written.threw);
    EXPECT_TRUE(Read(*sample.converter, sample.dpt, written.bus).ok);
}

TYPED_TEST(ConverterContract, GroupValueExceptionIsARefusal)
{
    const ContractSample sample = SampleOf<TypeParam>();
    if (!sample.misfit)
        GTEST_SKIP() << "no group value makes this converter's accessors throw";
    const Outcome o = Read(*sample.converter, sample.dpt, *sample.misfit);
    EXPECT_FALSE(o.threw);
    EXPECT_FALSE(o.ok);
    std::vector<LogLine> errors;
    for (const LogLine& line : o.lines)
        if (line.level >= log4cplus::INFO_LOG_LEVEL)
            errors.push_back(line);
    ASSERT_EQ(errors.size(), 1u) << ::testing::PrintToString(errors);
    EXPECT_EQ(errors[0].level, log4cplus::ERROR_LOG_LEVEL);
}

// A refusal writes one ERROR line (the 1-bit converter none) and leaves the output as it was.
TYPED_TEST(ConverterContract, RefusalLeavesTheOutput)
{
    const ContractSample sample = SampleOf<TypeParam>();
    const auto expectOneRefusal = [&sample](const Outcome& o) {
        EXPECT_FALSE(o.threw);
        EXPECT_FALSE(o.ok);
        std::vector<LogLine> lines;
        for (const LogLine& line : o.lines)
            if (line.level >= log4cplus::INFO_LOG_LEVEL)
                lines.push_back(line);
        if (sample.silent) {
            EXPECT_THAT(lines, ::testing::IsEmpty());
        } else {
            ASSERT_EQ(lines.size(), 1u) << ::testing::PrintToString(lines);
            EXPECT_EQ(lines[0].level, log4cplus::ERROR_LOG_LEVEL);
        }
    };
    if (sample.refusedWrite) {
        const Outcome o = Write(*sample.converter, sample.refusedWrite->dpt, sample.refusedWrite->value);
        expectOneRefusal(o);
        EXPECT_EQ(o.bus, UntouchedBus());
    }
    if (sample.refusedRead) {
        const Outcome o = Read(*sample.converter, sample.refusedRead->dpt, sample.refusedRead->bus);
        expectOneRefusal(o);
        EXPECT_EQ(o.value, AVOVALUE::Word(77));
        EXPECT_EQ(o.value.ivt, ivtWord);
    }
}

} // namespace
