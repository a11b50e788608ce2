// The 8-bit and the multi-byte numeric converters, both directions.
#include "ConverterCases.h"

#include <cmath>
#include <limits>

using namespace ErvTest;
using namespace Erv;
using V = AVOVALUE;

namespace {

using Converter = std::shared_ptr<const KnxConverter>;

template <class C, class Range>
Converter Make(const Range& range)
{
    return std::make_shared<C>(range);
}

constexpr std::int32_t Int32Min = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Int32Max = std::numeric_limits<std::int32_t>::max();
constexpr double FloatMax = 3.4028234663852886e+38;

// The ranges of the DPT table, and narrower ones for boundaries and scaling.
const Converter String7 = Make<KnxConverter8BitString>(IntegerRange(0, 127, 0, 127));
const Converter String8 = Make<KnxConverter8BitString>(IntegerRange(0, 255, 0, 255));
const Converter U8 = Make<KnxConverterByte8BitUnsigned>(IntegerRange(0, 255, 0, 255));
const Converter U8To254 = Make<KnxConverterByte8BitUnsigned>(IntegerRange(0, 254, 0, 254));
const Converter U8To4 = Make<KnxConverterByte8BitUnsigned>(IntegerRange(0, 4, 0, 4));
const Converter S8 = Make<KnxConverterInteger8BitSigned>(IntegerRange(-128, 127, -128, 127));
const Converter Status = Make<KnxConverterStatus8Bit>(IntegerRange(0, 255, 0, 255));
const Converter U16 = Make<KnxConverterInteger16BitUnsigned>(IntegerRange(0, 65535, 0, 65535));
const Converter S16 = Make<KnxConverterInteger16BitSigned>(IntegerRange(-32768, 32767, -32768, 32767));
const Converter F16 = Make<KnxConverterFloat16BitFloat>(FloatRange(-671088.64, 670760.96, -671088.64, 670760.96));
const Converter F16Celsius = Make<KnxConverterFloat16BitFloat>(FloatRange(-273.0, 670760.0, -273.0, 670760.0));
const Converter F32 = Make<KnxConverterFloat32BitFloat>(FloatRange(-FloatMax, FloatMax, -FloatMax, FloatMax));
const Converter U24 = Make<KnxConverterInteger24BitUnsigned>(LongIntegerRange(0, 16777215, 0, 16777215));
const Converter U32 = Make<KnxConverterInteger32BitUnsigned>(LongIntegerRange(0, 4294967295, 0, 4294967295));
const Converter U32Small = Make<KnxConverterInteger32BitUnsigned>(LongIntegerRange(-10, 10, -10, 10));
const Converter S32 = Make<KnxConverterInteger32BitSigned>(IntegerRange(Int32Min, Int32Max, Int32Min, Int32Max));
const Converter S32Tenfold = Make<KnxConverterInteger32BitSigned>(IntegerRange(0, 100, 0, 1000));
const Converter S32Thirds = Make<KnxConverterInteger32BitSigned>(IntegerRange(0, 3, 0, 10));
const Converter S32Halves = Make<KnxConverterInteger32BitSigned>(IntegerRange(0, 2, 0, 5));
const Converter S32NegHalves = Make<KnxConverterInteger32BitSigned>(IntegerRange(0, 2, 0, -5));
const Converter S32Offset = Make<KnxConverterInteger32BitSigned>(IntegerRange(10, 20, 100, 200));

KnxStack::GroupValue Bus32(std::uint32_t v) // most significant octet first
{
    return Bus(32, {static_cast<unsigned char>(v >> 24), static_cast<unsigned char>(v >> 16),
                    static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)});
}

V Typed(AvoValueType type, V value)
{
    value.ivt = type;
    return value;
}

ToKnxCase Writes(const char* name, Converter c, KNXDPT dpt, V value, KnxStack::GroupValue bus)
{
    return {name, std::move(c), dpt, std::move(value), true, std::move(bus), {}};
}

ToKnxCase Refuses(const char* name, Converter c, KNXDPT dpt, V value, const std::string& error)
{
    return {name, std::move(c), dpt, std::move(value), false, UntouchedBus(), {Error(error)}};
}

FromKnxCase Reads(const char* name, Converter c, KNXDPT dpt, KnxStack::GroupValue bus, V after, V before = V())
{
    return {name, std::move(c), dpt, std::move(bus), std::move(before), true, std::move(after), {}};
}

// The value handed in (ivtInteger, so that a refusal message that prints its type shows 4) must come back as it was.
FromKnxCase Rejects(const char* name, Converter c, KNXDPT dpt, KnxStack::GroupValue bus, const std::string& error)
{
    return {name, std::move(c), dpt, std::move(bus), V::Integer(0x5A5A), false, V::Integer(0x5A5A), {Error(error)}};
}

std::string NotAllowed(const char* dpt, const char* f)
{
    return std::string("The internal value of DPT=") + dpt + ", f=" + f + " is out of the allowed range.";
}

std::string OutOfRange(const char* dpt, int ivt, const char* value)
{
    return std::string("The internal value of DPT=") + dpt + ", ivt=" + std::to_string(ivt) + " is out of range: " +
           value + "!";
}

const char* const WrongChar = "Wrong avo value type (ivtString) or DPT main number (4.x)!";
const char* const WrongS8 = "Wrong avo value type (ivtInteger) or DPT main number (6.x)!";

class ToKnx : public ::testing::TestWithParam<ToKnxCase> {};
TEST_P(ToKnx, Converts) { RunToKnx(GetParam()); }
class FromKnx : public ::testing::TestWithParam<FromKnxCase> {};
TEST_P(FromKnx, Converts) { RunFromKnxSlotExact(GetParam()); }

// One octet: the Latin-1 code of the character (U+00E9 is C3 A9 in UTF-8, E9 in Latin-1), the
// number, or the status octet as it is.
INSTANTIATE_TEST_SUITE_P(
    EightBit, ToKnx,
    ::testing::Values(
        Writes("CharFirstOfText", String7, Dpt(4, 1), V::String("AB"), Bus(8, {0x41})),
        Writes("CharEmptyIsZero", String7, Dpt(4, 1), V::String(""), Bus(8, {0x00})),
        Writes("CharTopOfAscii", String7, Dpt(4, 1), V::String("\x7F"), Bus(8, {0x7F})),
        Refuses("CharU0080", String7, Dpt(4, 1), V::String("\xC2\x80"),
                "Value out of raw range [0..127] for DPT 4.001: 128"),
        Writes("CharLatin1", String8, Dpt(4, 2), V::String("\xC3\xA9"), Bus(8, {0xE9})),
        Writes("CharThreeByteNotRecoded", String8, Dpt(4, 2), V::String("\xE2\x82\xAC"), Bus(8, {0xE2})),
        // A lone lead combines with the terminating zero: (C3 << 6) & FF.
        Writes("CharLoneLead", String8, Dpt(4, 2), V::String("\xC3"), Bus(8, {0xC0})),
        Refuses("CharNotText", String7, Dpt(4, 1), V::Byte(0x41), WrongChar),
        Refuses("CharOtherDpt", String7, Dpt(16, 1), V::String("A"), WrongChar),
        Writes("U5006UpperEnd", U8To254, Dpt(5, 6), V::Byte(254), Bus(8, {0xFE})),
        Refuses("U5006Refuses255", U8To254, Dpt(5, 6), V::Byte(255),
                "Value out of raw range [0..254] for DPT 5.006: 255"),
        // Only 5.006 is bounded on the way out, and no DPT is refused.
        Writes("U20102Unchecked", U8To4, Dpt(20, 102), V::Byte(5), Bus(8, {0x05})),
        Writes("UAnyDpt", U8, Dpt(9, 1), V::Byte(255), Bus(8, {0xFF})),
        Refuses("UNotByte", U8, Dpt(5, 1), V::Integer(1), "Wrong avo value type (ivtByte)!"),
        Writes("SLowest", S8, Dpt(6, 1), V::Integer(-128), Bus(8, {0x80})),
        Writes("SLowOctetOnly", S8, Dpt(6, 10), V::Integer(200), Bus(8, {0xC8})),
        Refuses("SNotInteger", S8, Dpt(6, 1), V::Byte(1), WrongS8),
        Refuses("SOtherDpt", S8, Dpt(8, 1), V::Integer(1), WrongS8),
        // Main 6, sub 20 or ivtByte: any one passes. Modes 1, 2, 4 in the low three bits.
        Writes("StatusMainOnly", Status, Dpt(6, 1), V::Integer(1), Bus(8, {0x01})),
        Writes("StatusSubOnly", Status, Dpt(5, 20), V::Integer(2), Bus(8, {0x02})),
        Writes("StatusTypeOnly", Status, Dpt(5, 1), V::Byte(0xFC), Bus(8, {0xFC})),
        Refuses("StatusNone", Status, Dpt(5, 1), V::Integer(2),
                "Wrong avo value type (ivtByte) or DPT main number (6.020)!"),
        // Written first, checked after: the refused octet is on the bus value.
        ToKnxCase{"StatusMode3", Status, Dpt(6, 20), V::Byte(0x03), false, Bus(8, {0x03}),
                  {Error(NotAllowed("6.020", "3"))}},
        ToKnxCase{"StatusMode0", Status, Dpt(6, 20), V::Byte(0xF8), false, Bus(8, {0xF8}),
                  {Error(NotAllowed("6.020", "0"))}}),
    CaseName<ToKnxCase>);

INSTANTIATE_TEST_SUITE_P(
    EightBit, FromKnx,
    ::testing::Values(
        Reads("CharAscii", String7, Dpt(4, 1), Bus(8, {0x41}), V::String("A")),
        Rejects("Char80NotAscii", String7, Dpt(4, 1), Bus(8, {0x80}),
                "Value out of raw range [0..127] for DPT 4.001: 128"),
        Reads("CharLatin1Top", String8, Dpt(4, 2), Bus(8, {0xFF}), V::String("\xC3\xBF")),
        Reads("CharAnySubButOne", String7, Dpt(4, 0), Bus(8, {0x80}), V::String("\xC2\x80")),
        Rejects("CharOtherDpt", String8, Dpt(5, 1), Bus(8, {0x41}), "Wrong DPT main number (4.x)!"),
        Reads("U5006UpperEnd", U8To254, Dpt(5, 6), Bus(8, {0xFE}), V::Byte(254)),
        Rejects("U5006Refuses255", U8To254, Dpt(5, 6), Bus(8, {0xFF}),
                "Value out of raw range IntegerRange(0, 254, 0, 254) for DPT 5.006; value was 255"),
        Reads("U20102UpperEnd", U8To4, Dpt(20, 102), Bus(8, {0x04}), V::Byte(4)),
        Rejects("U20102Refuses5", U8To4, Dpt(20, 102), Bus(8, {0x05}),
                "Value out of raw range IntegerRange(0, 4, 0, 4) for DPT 20.102; value was 5"),
        Reads("SAnyDpt", S8, Dpt(5, 1), Bus(8, {0x80}), V::Integer(-128)),
        // 84 read as signed is -124; its mode is still 4.
        Reads("StatusMode4Negative", Status, Dpt(6, 20), Bus(8, {0x84}), V::Byte(0x84)),
        Reads("StatusSubOnly", Status, Dpt(7, 20), Bus(8, {0x01}), V::Byte(0x01)),
        Reads("StatusMainOnly", Status, Dpt(6, 1), Bus(8, {0x02}), V::Byte(0x02)),
        Rejects("StatusMode3", Status, Dpt(6, 20), Bus(8, {0x83}), NotAllowed("6.020", "3")),
        Rejects("StatusMode0", Status, Dpt(6, 20), Bus(8, {0x00}), NotAllowed("6.020", "0")),
        Rejects("StatusNeither", Status, Dpt(5, 1), Bus(8, {0x02}), "Wrong DPT main number (6.020)!")),
    CaseName<FromKnxCase>);

// Integers big-endian. 2-octet floats are 0.01 * M * 2^E, by hand: 21.0 is E=1, M=1050 (0C 1A, the
// usual temperature example); -273.0 is E=4, M=-1706 (A1 56, read back as -272.96); 32767.0 is
// E=11, M=1600 (5E 40); the ends are E=15 with M=2047 (7F FF) and M=-2048 (F8 00). 4-octet floats
// are IEEE single precision.
INSTANTIATE_TEST_SUITE_P(
    MultiByte, ToKnx,
    ::testing::Values(
        Writes("WordTypeOnly", U16, Dpt(5, 1), V::Word(4660), Bus(16, {0x12, 0x34})),
        Writes("WordMainOnly", U16, Dpt(7, 1), Typed(ivtString, V::Word(0x1234)), Bus(16, {0x12, 0x34})),
        Refuses("WordNeither", U16, Dpt(5, 1), V::Integer(1),
                "Wrong DPT main number (7.x) or avo value type (ivtWord)!"),
        Writes("ShortLow16BitsSigned", S16, Dpt(8, 1), V::Integer(0x19C40), Bus(16, {0x9C, 0x40})),
        Writes("ShortTypeOnly", S16, Dpt(7, 1), V::Integer(-2), Bus(16, {0xFF, 0xFE})),
        Writes("ShortMainOnly", S16, Dpt(8, 1), Typed(ivtWord, V::Integer(-2)), Bus(16, {0xFF, 0xFE})),
        Refuses("ShortNeither", S16, Dpt(7, 1), V::Word(1),
                "Wrong DPT main number (8.x) or avo value type (ivtInteger)!"),
        Writes("F16MainOnly", F16, Dpt(9, 1), Typed(ivtInteger, V::Float(21.0)), Bus(16, {0x0C, 0x1A})),
        Writes("F16TypeOnly", F16, Dpt(14, 1), V::Float(21.0), Bus(16, {0x0C, 0x1A})),
        Refuses("F16Neither", F16, Dpt(14, 1), V::Integer(21),
                "Wrong DPT main number (9.x) or avo value type (ivtFloat)!"),
        Writes("F16UpperEnd", F16, Dpt(9, 1), V::Float(670760.96), Bus(16, {0x7F, 0xFF})),
        Writes("F16LowerEnd", F16, Dpt(9, 1), V::Float(-671088.64), Bus(16, {0xF8, 0x00})),
        Refuses("F16AboveRange", F16, Dpt(9, 1), V::Float(700000.0), NotAllowed("9.001", "700000")),
        Refuses("F16NaN", F16, Dpt(9, 1), V::Float(std::nan("")), NotAllowed("9.001", "nan")),
        Writes("F16CelsiusLowerEnd", F16Celsius, Dpt(9, 1), V::Float(-273.0), Bus(16, {0xA1, 0x56})),
        Refuses("F16BelowCelsius", F16Celsius, Dpt(9, 1), V::Float(-273.01), NotAllowed("9.001", "-273.01")),
        // Type 0 writes the number 32767, not the invalid pattern 7F FF; any DPT.
        Writes("F16Invalid", F16, Dpt(5, 1), Typed(ivtInvalid, V()), Bus(16, {0x5E, 0x40})),
        Writes("F32Narrowed", F32, Dpt(14, 1), V::Float(0.1), Bus32(0x3DCCCCCD)),
        Writes("F32MainOnly", F32, Dpt(14, 1), Typed(ivtDWord, V::Float(-2.5)), Bus32(0xC0200000)),
        Writes("F32BeyondSingleIsInfinite", F32, Dpt(14, 1), V::Float(-1e39), Bus32(0xFF800000)),
        Writes("F32InvalidIsQuietNaN", F32, Dpt(9, 1), Typed(ivtInvalid, V()), Bus32(0x7FC00000)),
        Refuses("F32Neither", F32, Dpt(9, 1), V::Integer(1),
                "Wrong DPT main number (14.x) or avo value type (ivtFloat)!"),
        // 28036591 is 01 AB CD EF; the top octet is dropped. No DPT or type test.
        Writes("U24DropsTopOctet", U24, Dpt(232, 600), V::DWord(28036591), Bus(24, {0xAB, 0xCD, 0xEF})),
        Writes("U24AnyDptAnyType", U24, Dpt(1, 1), Typed(ivtString, V::DWord(0x123456)), Bus(24, {0x12, 0x34, 0x56})),
        Writes("U32AnyDpt", U32, Dpt(9, 1), V::DWord(0xFFFFFFFF), Bus32(0xFFFFFFFF)),
        Refuses("U32NotDWord", U32, Dpt(12, 1), V::Integer(1), "Wrong avo value type (ivtDWord)!"),
        Writes("U32UpperEnd", U32Small, Dpt(12, 1), V::DWord(10), Bus32(10)),
        Refuses("U32AboveRange", U32Small, Dpt(12, 1), V::DWord(11), OutOfRange("12.001", 8, "11")),
        // Zero-extended before the comparison, so not -1.
        Refuses("U32TopIsNotMinusOne", U32Small, Dpt(12, 1), V::DWord(0xFFFFFFFF),
                OutOfRange("12.001", 8, "4294967295")),
        Writes("S32Lowest", S32, Dpt(13, 1), V::Integer(Int32Min), Bus32(0x80000000)),
        Writes("S32Highest", S32, Dpt(13, 1), V::Integer(Int32Max), Bus32(0x7FFFFFFF)),
        Writes("S32MainOnly", S32, Dpt(13, 1), V::Word(5), Bus32(5)),
        Writes("S32TypeOnly", S32, Dpt(9, 1), V::Integer(-1), Bus32(0xFFFFFFFF)),
        Refuses("S32Neither", S32, Dpt(9, 1), V::Word(5),
                "Wrong DPT main number (13.x) or avo value type (ivtInteger)!"),
        // externalMin + (v - internalMin) * factor, rounded half away from zero.
        Writes("S32Tenfold", S32Tenfold, Dpt(13, 1), V::Integer(7), Bus32(70)),
        Writes("S32TenfoldUpperEnd", S32Tenfold, Dpt(13, 1), V::Integer(100), Bus32(1000)),
        Refuses("S32BelowRange", S32Tenfold, Dpt(13, 1), V::Integer(-1), OutOfRange("13.001", 4, "-1")),
        Refuses("S32AboveRange", S32Tenfold, Dpt(13, 1), V::Integer(101), OutOfRange("13.001", 4, "101")),
        Writes("S32OneThirdDown", S32Thirds, Dpt(13, 1), V::Integer(1), Bus32(3)),
        Writes("S32TwoThirdsUp", S32Thirds, Dpt(13, 1), V::Integer(2), Bus32(7)),
        Writes("S32HalfUp", S32Halves, Dpt(13, 1), V::Integer(1), Bus32(3)),
        Writes("S32NegativeHalfDown", S32NegHalves, Dpt(13, 1), V::Integer(1), Bus32(0xFFFFFFFD)),
        Writes("S32Offset", S32Offset, Dpt(13, 1), V::Integer(10), Bus32(100))),
    CaseName<ToKnxCase>);

INSTANTIATE_TEST_SUITE_P(
    MultiByte, FromKnx,
    ::testing::Values(
        Reads("WordTop", U16, Dpt(7, 1), Bus(16, {0xFF, 0xFF}), V::Word(65535)),
        Rejects("WordOtherDpt", U16, Dpt(8, 1), Bus(16, {0x12, 0x34}), "Wrong DPT main number (7.x)!"),
        Reads("ShortNegative", S16, Dpt(8, 1), Bus(16, {0x9C, 0x40}), V::Integer(-25536)),
        Rejects("ShortOtherDpt", S16, Dpt(7, 1), Bus(16, {0x12, 0x34}), "Wrong DPT main number (8.x)!"),
        // No DPT test; the type stays as the caller prepared it.
        Reads("F16Example", F16, Dpt(5, 1), Bus(16, {0x0C, 0x1A}), Typed(ivtEmpty, V::Float(21.0))),
        Reads("F16LowerEnd", F16, Dpt(9, 1), Bus(16, {0xF8, 0x00}), V::Float(-671088.64), V::Float(0.0)),
        // 7F FF is "invalid data": type 0, the slot untouched.
        Reads("F16Invalid", F16, Dpt(9, 1), Bus(16, {0x7F, 0xFF}), Typed(ivtInvalid, V::Float(5.0)), V::Float(5.0)),
        Reads("F16CelsiusLowest", F16Celsius, Dpt(9, 1), Bus(16, {0xA1, 0x56}), V::Float(-272.96), V::Float(0.0)),
        // A0 00 is E=4, M=-2048: -327.68, below -273, and stored all the same.
        FromKnxCase{"F16BelowCelsiusIsStored", F16Celsius, Dpt(9, 1), Bus(16, {0xA0, 0x00}), V::Float(0.0), false,
                    V::Float(-327.68), {Error(NotAllowed("9.001", "-327.68"))}},
        Reads("F32Infinity", F32, Dpt(14, 1), Bus32(0x7F800000), V::Float(std::numeric_limits<double>::infinity())),
        Rejects("F32OtherDpt", F32, Dpt(9, 1), Bus32(0x3F800000), "Wrong DPT main number (14.x)!"),
        // The slot only, type untouched; neither DPT nor size is checked.
        Reads("U24", U24, Dpt(232, 600), Bus(24, {0xAB, 0xCD, 0xEF}), Typed(ivtEmpty, V::DWord(0xABCDEF))),
        Reads("U24ShortData", U24, Dpt(5, 1), Bus(16, {0x12, 0x34}), Typed(ivtEmpty, V::DWord(0x1234))),
        Reads("U32AnyDpt", U32, Dpt(9, 1), Bus32(0xFFFFFFFF), V::DWord(0xFFFFFFFF)),
        Reads("U32UpperEnd", U32Small, Dpt(12, 1), Bus32(10), V::DWord(10)),
        Rejects("U32TopIsNotMinusOne", U32Small, Dpt(12, 1), Bus32(0xFFFFFFFF), OutOfRange("12.001", 4, "4294967295")),
        Reads("S32NotScaledBack", S32Tenfold, Dpt(13, 1), Bus32(70), V::Integer(70)),
        Reads("S32UpperEnd", S32Tenfold, Dpt(13, 1), Bus32(100), V::Integer(100)),
        Rejects("S32AboveRange", S32Tenfold, Dpt(13, 1), Bus32(101),
                "The group value of DPT=13.001 is out of range: 101!"),
        Rejects("S32BelowRange", S32Tenfold, Dpt(13, 1), Bus32(0xFFFFFFFF),
                "The group value of DPT=13.001 is out of range: -1!"),
        Rejects("S32OtherDpt", S32, Dpt(12, 1), Bus32(1), "Wrong DPT main number (13.x)!")),
    CaseName<FromKnxCase>);

// Any NaN on the bus is "invalid data": type 0.
TEST(Float32, NaNDecodesAsInvalid)
{
    for (const auto& bus : {Bus32(0x7FC00000), Bus32(0x7F800001), Bus32(0xFFC00000)}) {
        LogCapture log;
        V value = V::Float(1.0);
        EXPECT_TRUE(F32->FromKnxValue(Dpt(14, 1), bus, value));
        EXPECT_EQ(value.ivt, ivtInvalid);
        EXPECT_TRUE(std::isnan(value.GetDouble()));
        EXPECT_TRUE(log.Lines().empty());
    }
}

TEST(NumericConverters, GroupValueThatDoesNotFitIsRefused)
{
    const KnxStack::GroupValue octet = Bus(8, {0x01}), word = Bus(16, {0x01, 0x02});
    const std::pair<Converter, KNXDPT> eightBit[] = {
        {String7, Dpt(4, 1)}, {U8, Dpt(5, 1)}, {S8, Dpt(6, 1)}, {Status, Dpt(6, 20)}};
    for (const auto& c : eightBit)
        RunUnfitGroupValue(*c.first, c.second, word);
    RunUnfitGroupValue(*U16, Dpt(7, 1), octet);
    RunUnfitGroupValue(*S16, Dpt(8, 1), octet);
    RunUnfitGroupValue(*F16, Dpt(9, 1), octet);
    RunUnfitGroupValue(*F32, Dpt(14, 1), word);
    RunUnfitGroupValue(*U24, Dpt(232, 600), KnxStack::GroupValue()); // no data at all: 24-bit reads any length
    RunUnfitGroupValue(*U32, Dpt(12, 1), word);
    RunUnfitGroupValue(*S32, Dpt(13, 1), Bus(24, {0x01, 0x02, 0x03}));
}

// The encoding side too: with a range wider than a 2-octet float holds, the setter throws.
TEST(NumericConverters, EncoderExceptionIsRefused)
{
    const KnxConverterFloat16BitFloat wide(FloatRange(-1e7, 1e7, -1e7, 1e7));
    LogCapture log;
    KnxStack::GroupValue out = UntouchedBus();
    EXPECT_FALSE(wide.ToKnxValue(Dpt(9, 1), V::Float(1e6), out));
    EXPECT_EQ(out, UntouchedBus());
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_THAT(log.Lines()[0].message, ::testing::StartsWith("Group value access failed: "));
}

} // namespace
