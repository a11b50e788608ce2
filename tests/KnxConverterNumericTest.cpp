// The 8-bit and the multi-byte numeric converters, both directions.
#include "ConverterRows.h"

#include <cmath>

using namespace ErvTest;
using namespace Erv;
using V = AVOVALUE;

namespace {

constexpr double FloatMax = 3.4028234663852886e+38;
constexpr double F16Min = -671088.64, F16Max = 670760.96;

// The ranges of the DPT table, and narrower ones for boundaries and scaling.
const auto Char = std::make_shared<KnxConverter8BitString>(IntegerRange(0, 255, 0, 255)); // range unused
const auto U8 = std::make_shared<KnxConverterByte8BitUnsigned>(IntegerRange(0, 254, 0, 254));
const auto S8 = std::make_shared<KnxConverterInteger8BitSigned>(IntegerRange(-128, 127, -128, 127));
const auto Status = std::make_shared<KnxConverterStatus8Bit>(IntegerRange(0, 255, 0, 255));
const auto U16 = std::make_shared<KnxConverterInteger16BitUnsigned>(IntegerRange(0, 65535, 0, 65535));
const auto S16 = std::make_shared<KnxConverterInteger16BitSigned>(IntegerRange(-32768, 32767, -32768, 32767));
const auto F16 = std::make_shared<KnxConverterFloat16BitFloat>(FloatRange(F16Min, F16Max, F16Min, F16Max));
const auto Wide = std::make_shared<KnxConverterFloat16BitFloat>(FloatRange(-1e7, 1e7, -1e7, 1e7)); // beyond 2 octets
const auto Celsius = std::make_shared<KnxConverterFloat16BitFloat>(FloatRange(-273.0, 670760.0, -273.0, 670760.0));
const auto F32 = std::make_shared<KnxConverterFloat32BitFloat>(FloatRange(-FloatMax, FloatMax, -FloatMax, FloatMax));
const auto U24 = std::make_shared<KnxConverterInteger24BitUnsigned>(LongIntegerRange(0, 16777215, 0, 16777215));
const auto U32 = std::make_shared<KnxConverterInteger32BitUnsigned>(LongIntegerRange(-10, 10, -10, 10));
const IntegerRange Int32(INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX);
const auto S32 = std::make_shared<KnxConverterInteger32BitSigned>(Int32);
// Factors 2.5 and -2.5 with offsets: externalMin + (v - internalMin) * factor, half away from zero.
const auto S32Up = std::make_shared<KnxConverterInteger32BitSigned>(IntegerRange(10, 12, 100, 105));
const auto S32Down = std::make_shared<KnxConverterInteger32BitSigned>(IntegerRange(10, 12, 0, -5));

std::string NotAllowed(const std::string& dpt, const std::string& f)
{
    return "The internal value of DPT=" + dpt + ", f=" + f + " is out of the allowed range.";
}

const char* const NotAscii = "Value out of raw range [0..127] for DPT 4.001: 128";
const char* const WrongChar = "Wrong avo value type (ivtString) or DPT main number (4.x)!";
const char* const WrongS8 = "Wrong avo value type (ivtInteger) or DPT main number (6.x)!";
const char* const WrongStatus = "Wrong avo value type (ivtByte) or DPT main number (6.020)!";
const char* const U8Range = "Value out of raw range IntegerRange(0, 254, 0, 254) for DPT 20.102; value was 255";
const char* const NoFloat16 = "Group value access failed: SetAsFloat16: 1000000.000000 is outside the range of a "
                              "2-octet float [-671088.64, 670760.96]";
const char* const U32TopWrite = "The internal value of DPT=12.001, ivt=8 is out of range: 4294967295!";
const char* const U32TopRead = "The internal value of DPT=12.001, ivt=4 is out of range: 4294967295!"; // type handed in
const char* const S32Range = "The internal value of DPT=13.001, ivt=4 is out of range: ";
const char* const S32Group = "The group value of DPT=13.001 is out of range: ";

// Characters go out as their Latin-1 code. 2-octet floats are 0.01 * M * 2^E, by hand: 21.0 is E=1,
// M=1050 (0C 1A); -273.0 is E=4, M=-1706 (A1 56, read back as -272.96); 32767.0 is E=11, M=1600
// (5E 40); the lowest is E=15, M=-2048 (F8 00). 4-octet floats are IEEE single precision.
// clang-format off
const ToKnxCase Writing[] = {
    Writes("CharFirstOfTextTopOfAscii", Char, Dpt(4, 1), V::String("\x7F" "B"), Octets(8, 0x7F)),
    Refuses("CharU0080", Char, Dpt(4, 1), V::String("\xC2\x80"), NotAscii),
    Writes("CharThreeByteNotRecoded", Char, Dpt(4, 2), V::String("\xE2\x82\xAC"), Octets(8, 0xE2)),
    Writes("CharLoneLeadTakesTheZero", Char, Dpt(4, 2), V::String("\xC3"), Octets(8, 0xC0)), // (C3 << 6) & FF
    Refuses("CharNotText", Char, Dpt(4, 1), V::Byte(0x41), WrongChar),
    Refuses("CharOtherDpt", Char, Dpt(16, 1), V::String("A"), WrongChar),
    Writes("U5006UpperEnd", U8, Dpt(5, 6), V::Byte(254), Octets(8, 0xFE)),
    Refuses("U5006AboveRange", U8, Dpt(5, 6), V::Byte(255), "Value out of raw range [0..254] for DPT 5.006: 255"),
    Writes("UOtherDptUnchecked", U8, Dpt(20, 102), V::Byte(255), Octets(8, 0xFF)), // only 5.006 is bounded
    Refuses("UNotByte", U8, Dpt(5, 1), V::Integer(1), "Wrong avo value type (ivtByte)!"),
    Writes("SLowOctetOnly", S8, Dpt(6, 10), V::Integer(200), Octets(8, 0xC8)),
    Refuses("SNotInteger", S8, Dpt(6, 1), V::Byte(1), WrongS8),
    Refuses("SOtherDpt", S8, Dpt(8, 1), V::Integer(1), WrongS8),
    // Main 6, sub 20 or ivtByte: any one passes. Modes 1, 2, 4 in the low three bits.
    Writes("StatusMainOnly", Status, Dpt(6, 1), V::Integer(1), Octets(8, 0x01)),
    Writes("StatusSubOnly", Status, Dpt(5, 20), V::Integer(2), Octets(8, 0x02)),
    Writes("StatusTypeOnly", Status, Dpt(5, 1), V::Byte(0xFC), Octets(8, 0xFC)),
    Refuses("StatusNone", Status, Dpt(5, 1), V::Integer(2), WrongStatus),
    // Written first, checked after: the refused octet is on the bus.
    {"StatusMode3", Status, Dpt(6, 20), V::Byte(0x03), false, Octets(8, 0x03), {Error(NotAllowed("6.020", "3"))}},
    Writes("WordTypeOnly", U16, Dpt(5, 1), V::Word(4660), Octets(16, 0x1234)),
    Writes("WordMainOnly", U16, Dpt(7, 1), Typed(ivtString, V::Word(0x1234)), Octets(16, 0x1234)),
    Refuses("WordNeither", U16, Dpt(5, 1), V::Integer(1), "Wrong DPT main number (7.x) or avo value type (ivtWord)!"),
    Writes("ShortMainOnlyLow16Bits", S16, Dpt(8, 1), Typed(ivtWord, V::Integer(0x19C40)), Octets(16, 0x9C40)),
    Writes("ShortTypeOnly", S16, Dpt(7, 1), V::Integer(-2), Octets(16, 0xFFFE)),
    Refuses("ShortNeither", S16, Dpt(7, 1), V::Word(1), "Wrong DPT main number (8.x) or avo value type (ivtInteger)!"),
    Writes("F16MainOnly", F16, Dpt(9, 1), Typed(ivtInteger, V::Float(21.0)), Octets(16, 0x0C1A)),
    Writes("F16TypeOnly", F16, Dpt(14, 1), V::Float(21.0), Octets(16, 0x0C1A)),
    Refuses("F16Neither", F16, Dpt(14, 1), V::Integer(21), "Wrong DPT main number (9.x) or avo value type (ivtFloat)!"),
    Refuses("F16NaN", F16, Dpt(9, 1), V::Float(std::nan("")), NotAllowed("9.001", "nan")),
    Writes("F16CelsiusLowerEnd", Celsius, Dpt(9, 1), V::Float(-273.0), Octets(16, 0xA156)),
    Refuses("F16BelowCelsius", Celsius, Dpt(9, 1), V::Float(-273.01), NotAllowed("9.001", "-273.01")),
    Refuses("F16EncoderThrows", Wide, Dpt(9, 1), V::Float(1e6), NoFloat16),
    // Type 0 writes the number 32767, not the invalid pattern 7F FF; any DPT.
    Writes("F16Invalid", F16, Dpt(5, 1), Typed(ivtInvalid, V()), Octets(16, 0x5E40)),
    Writes("F32TypeOnlyNarrowed", F32, Dpt(9, 1), V::Float(0.1), Octets(32, 0x3DCCCCCD)),
    Writes("F32MainOnly", F32, Dpt(14, 1), Typed(ivtDWord, V::Float(-2.5)), Octets(32, 0xC0200000)),
    Writes("F32BeyondSingleIsInfinite", F32, Dpt(14, 1), V::Float(-1e39), Octets(32, 0xFF800000)),
    Writes("F32InvalidIsQuietNaN", F32, Dpt(9, 1), Typed(ivtInvalid, V()), Octets(32, 0x7FC00000)),
    Refuses("F32Neither", F32, Dpt(9, 1), V::Integer(1), "Wrong DPT main number (14.x) or avo value type (ivtFloat)!"),
    // 01 AB CD EF loses its top octet; no DPT or type test.
    Writes("U24AnyDptAnyType", U24, Dpt(1, 1), Typed(ivtString, V::DWord(0x01ABCDEF)), Octets(24, 0xABCDEF)),
    Writes("U32UpperEndAnyDpt", U32, Dpt(9, 1), V::DWord(10), Octets(32, 10)),
    Refuses("U32NotDWord", U32, Dpt(12, 1), V::Integer(1), "Wrong avo value type (ivtDWord)!"),
    Refuses("U32TopIsNotMinusOne", U32, Dpt(12, 1), V::DWord(0xFFFFFFFF), U32TopWrite), // zero-extended, so not -1
    Writes("S32Lowest", S32, Dpt(13, 1), V::Integer(INT32_MIN), Octets(32, 0x80000000)),
    Writes("S32Highest", S32, Dpt(13, 1), V::Integer(INT32_MAX), Octets(32, 0x7FFFFFFF)),
    Writes("S32MainOnly", S32, Dpt(13, 1), V::Word(5), Octets(32, 5)),
    Writes("S32TypeOnly", S32, Dpt(9, 1), V::Integer(-1), Octets(32, 0xFFFFFFFF)),
    Refuses("S32Neither", S32, Dpt(9, 1), V::Word(5), "Wrong DPT main number (13.x) or avo value type (ivtInteger)!"),
    Writes("S32LowerEnd", S32Up, Dpt(13, 1), V::Integer(10), Octets(32, 100)),
    Writes("S32HalfUp", S32Up, Dpt(13, 1), V::Integer(11), Octets(32, 103)),
    Writes("S32UpperEnd", S32Up, Dpt(13, 1), V::Integer(12), Octets(32, 105)),
    Refuses("S32BelowRange", S32Up, Dpt(13, 1), V::Integer(9), std::string(S32Range) + "9!"),
    Refuses("S32AboveRange", S32Up, Dpt(13, 1), V::Integer(13), std::string(S32Range) + "13!"),
    Writes("S32NegativeHalfDown", S32Down, Dpt(13, 1), V::Integer(11), Octets(32, 0xFFFFFFFD)),
};

// Where a converter leaves the type, it is ivtEmpty or what was handed in.
const FromKnxCase Reading[] = {
    Reads("CharTopOfAscii", Char, Dpt(4, 1), Octets(8, 0x7F), V::String("\x7F")),
    Rejects("Char80NotAscii", Char, Dpt(4, 1), Octets(8, 0x80), NotAscii),
    Reads("CharAnySubButOne", Char, Dpt(4, 0), Octets(8, 0x80), V::String("\xC2\x80")),
    Rejects("CharOtherDpt", Char, Dpt(5, 1), Octets(8, 0x41), "Wrong DPT main number (4.x)!"),
    Reads("U5006UpperEnd", U8, Dpt(5, 6), Octets(8, 0xFE), V::Byte(254)),
    Rejects("UAboveRangeAnyDpt", U8, Dpt(20, 102), Octets(8, 0xFF), U8Range),
    Reads("SAnyDpt", S8, Dpt(5, 1), Octets(8, 0x80), V::Integer(-128)),
    Reads("StatusMode4Negative", Status, Dpt(6, 20), Octets(8, 0x84), V::Byte(0x84)), // 84 is -124 signed
    Reads("StatusSubOnly", Status, Dpt(7, 20), Octets(8, 0x01), V::Byte(0x01)),
    Reads("StatusMainOnly", Status, Dpt(6, 1), Octets(8, 0x02), V::Byte(0x02)),
    Rejects("StatusMode3", Status, Dpt(6, 20), Octets(8, 0x83), NotAllowed("6.020", "3")),
    Rejects("StatusMode0", Status, Dpt(6, 20), Octets(8, 0x00), NotAllowed("6.020", "0")),
    Rejects("StatusNeither", Status, Dpt(5, 1), Octets(8, 0x02), "Wrong DPT main number (6.020)!"),
    Reads("WordTop", U16, Dpt(7, 1), Octets(16, 0xFFFF), V::Word(65535)),
    Rejects("WordOtherDpt", U16, Dpt(8, 1), Octets(16, 0x1234), "Wrong DPT main number (7.x)!"),
    Reads("ShortNegative", S16, Dpt(8, 1), Octets(16, 0x9C40), V::Integer(-25536)),
    Rejects("ShortOtherDpt", S16, Dpt(7, 1), Octets(16, 0x1234), "Wrong DPT main number (8.x)!"),
    // No DPT test and no type set; 7F FF is "invalid data": type 0, the slot untouched.
    Reads("F16Example", F16, Dpt(5, 1), Octets(16, 0x0C1A), Typed(ivtEmpty, V::Float(21.0))),
    Reads("F16LowerEnd", F16, Dpt(9, 1), Octets(16, 0xF800), V::Float(F16Min), V::Float(0.0)),
    Reads("F16Invalid", F16, Dpt(9, 1), Octets(16, 0x7FFF), Typed(ivtInvalid, V::Float(5.0)), V::Float(5.0)),
    // A0 00 is E=4, M=-2048: -327.68, below -273, and stored all the same.
    {"F16BelowCelsiusIsStored", Celsius, Dpt(9, 1), Octets(16, 0xA000), V::Float(0.0), false, V::Float(-327.68),
     {Error(NotAllowed("9.001", "-327.68"))}},
    Reads("F32Infinity", F32, Dpt(14, 1), Octets(32, 0x7F800000), V::Float(HUGE_VAL)),
    Reads("F32NaNIsInvalid", F32, Dpt(14, 1), Octets(32, 0x7FC00000), Typed(ivtInvalid, V::Float(std::nan("")))),
    Rejects("F32OtherDpt", F32, Dpt(9, 1), Octets(32, 0x3F800000), "Wrong DPT main number (14.x)!"),
    // The slot only; neither DPT nor size is checked.
    Reads("U24ShortData", U24, Dpt(5, 1), Octets(16, 0x1234), Typed(ivtEmpty, V::DWord(0x1234))),
    Reads("U32UpperEndAnyDpt", U32, Dpt(9, 1), Octets(32, 10), V::DWord(10)),
    Rejects("U32TopIsNotMinusOne", U32, Dpt(12, 1), Octets(32, 0xFFFFFFFF), U32TopRead),
    Reads("S32UpperEndNotScaledBack", S32Up, Dpt(13, 1), Octets(32, 12), V::Integer(12)),
    Rejects("S32AboveRange", S32Up, Dpt(13, 1), Octets(32, 13), std::string(S32Group) + "13!"),
    Rejects("S32BelowRange", S32Up, Dpt(13, 1), Octets(32, 0xFFFFFFFF), std::string(S32Group) + "-1!"),
    Rejects("S32OtherDpt", S32, Dpt(12, 1), Octets(32, 1), "Wrong DPT main number (13.x)!"),
};
// clang-format on

class ToKnx : public ::testing::TestWithParam<ToKnxCase> {};
TEST_P(ToKnx, Converts) { RunToKnx(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Numeric, ToKnx, ::testing::ValuesIn(Writing), CaseName<ToKnxCase>);

class FromKnx : public ::testing::TestWithParam<FromKnxCase> {};
TEST_P(FromKnx, Converts) { RunFromKnxSlotExact(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Numeric, FromKnx, ::testing::ValuesIn(Reading), CaseName<FromKnxCase>);

TEST(NumericConverters, GroupValueThatDoesNotFitIsRefused)
{
    const KnxStack::GroupValue octet = Octets(8, 1), word = Octets(16, 0x0102), none;
    const std::tuple<Converter, KNXDPT, KnxStack::GroupValue> cases[] = {
        {Char, Dpt(4, 1), word}, {U8, Dpt(5, 1), word},   {S8, Dpt(6, 1), word},    {Status, Dpt(6, 20), word},
        {U16, Dpt(7, 1), octet}, {S16, Dpt(8, 1), octet}, {F16, Dpt(9, 1), octet},  {F32, Dpt(14, 1), word},
        {U24, Dpt(5, 1), none},  {U32, Dpt(12, 1), word}, {S32, Dpt(13, 1), Octets(24, 0x010203)}};
    for (const auto& [converter, dpt, bus] : cases)
        RunUnfitGroupValue(*converter, dpt, bus);
}

} // namespace
