// The 8-bit and the multi-byte numeric converters, both directions.
#include "ConverterCases.h"

#include <cmath>
#include <limits>
#include <typeinfo>

using namespace ErvTest;
using namespace Erv;

namespace {

using Converter = std::shared_ptr<const KnxConverter>;

template <class C, class Range>
Converter Make(const Range& range)
{
    return std::make_shared<C>(range);
}

// The ranges the DPT table gives these converters, and a few narrower ones for the boundaries.
const Converter String7 = Make<KnxConverter8BitString>(IntegerRange(0, 127, 0, 127));
const Converter String8 = Make<KnxConverter8BitString>(IntegerRange(0, 255, 0, 255));
const Converter Unsigned8 = Make<KnxConverterByte8BitUnsigned>(IntegerRange(0, 255, 0, 255));
const Converter Unsigned8To254 = Make<KnxConverterByte8BitUnsigned>(IntegerRange(0, 254, 0, 254));
const Converter Unsigned8To4 = Make<KnxConverterByte8BitUnsigned>(IntegerRange(0, 4, 0, 4));
const Converter Signed8 = Make<KnxConverterInteger8BitSigned>(IntegerRange(-128, 127, -128, 127));
const Converter Status8 = Make<KnxConverterStatus8Bit>(IntegerRange(0, 255, 0, 255));
const Converter Unsigned16 = Make<KnxConverterInteger16BitUnsigned>(IntegerRange(0, 65535, 0, 65535));
const Converter Signed16 = Make<KnxConverterInteger16BitSigned>(IntegerRange(-32768, 32767, -32768, 32767));
const Converter Float16 = Make<KnxConverterFloat16BitFloat>(FloatRange(-671088.64, 670760.96, -671088.64, 670760.96));
const Converter Float16Celsius = Make<KnxConverterFloat16BitFloat>(FloatRange(-273.0, 670760.0, -273.0, 670760.0));
const Converter Float32 = Make<KnxConverterFloat32BitFloat>(
    FloatRange(-3.4028234663852886e+38, 3.4028234663852886e+38, -3.4028234663852886e+38, 3.4028234663852886e+38));
const Converter Unsigned24 = Make<KnxConverterInteger24BitUnsigned>(LongIntegerRange(0, 16777215, 0, 16777215));
const Converter Unsigned32 = Make<KnxConverterInteger32BitUnsigned>(LongIntegerRange(0, 4294967295, 0, 4294967295));
const Converter Unsigned32Small = Make<KnxConverterInteger32BitUnsigned>(LongIntegerRange(-10, 10, -10, 10));
constexpr std::int32_t Int32Min = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Int32Max = std::numeric_limits<std::int32_t>::max();
const Converter Signed32 = Make<KnxConverterInteger32BitSigned>(IntegerRange(Int32Min, Int32Max, Int32Min, Int32Max));
const Converter Signed32Tenfold = Make<KnxConverterInteger32BitSigned>(IntegerRange(0, 100, 0, 1000));
const Converter Signed32Thirds = Make<KnxConverterInteger32BitSigned>(IntegerRange(0, 3, 0, 10));
const Converter Signed32Halves = Make<KnxConverterInteger32BitSigned>(IntegerRange(0, 2, 0, 5));
const Converter Signed32NegHalves = Make<KnxConverterInteger32BitSigned>(IntegerRange(0, 2, 0, -5));
const Converter Signed32Offset = Make<KnxConverterInteger32BitSigned>(IntegerRange(10, 20, 100, 200));

// Four octets, most significant first.
KnxStack::GroupValue Bus32(std::uint32_t v)
{
    return Bus(32, {static_cast<unsigned char>(v >> 24), static_cast<unsigned char>(v >> 16),
                    static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)});
}

AVOVALUE Typed(AvoValueType type, AVOVALUE value)
{
    value.ivt = type;
    return value;
}

ToKnxCase Writes(const char* name, Converter c, KNXDPT dpt, AVOVALUE value, KnxStack::GroupValue bus)
{
    return {name, std::move(c), dpt, std::move(value), true, std::move(bus), {}};
}

ToKnxCase Refuses(const char* name, Converter c, KNXDPT dpt, AVOVALUE value, const std::string& error)
{
    return {name, std::move(c), dpt, std::move(value), false, UntouchedBus(), {Error(error)}};
}

FromKnxCase Reads(const char* name, Converter c, KNXDPT dpt, KnxStack::GroupValue bus, AVOVALUE after,
                  AVOVALUE before = AVOVALUE())
{
    return {name, std::move(c), dpt, std::move(bus), std::move(before), true, std::move(after), {}};
}

// The value handed in must come back as it was.
FromKnxCase Rejects(const char* name, Converter c, KNXDPT dpt, KnxStack::GroupValue bus, const std::string& error)
{
    const AVOVALUE before = AVOVALUE::Integer(0x5A5A5A5A);
    return {name, std::move(c), dpt, std::move(bus), before, false, before, {Error(error)}};
}

std::string OutOfAllowedRange(const char* dpt, const char* f)
{
    return std::string("The internal value of DPT=") + dpt + ", f=" + f + " is out of the allowed range.";
}

const char* const WrongChar = "Wrong avo value type (ivtString) or DPT main number (4.x)!";
const char* const WrongSigned8 = "Wrong avo value type (ivtInteger) or DPT main number (6.x)!";
const char* const WrongStatus = "Wrong avo value type (ivtByte) or DPT main number (6.020)!";

class ToKnx : public ::testing::TestWithParam<ToKnxCase> {};
TEST_P(ToKnx, Converts) { RunToKnx(GetParam()); }

class FromKnx : public ::testing::TestWithParam<FromKnxCase> {};
TEST_P(FromKnx, Converts) { RunFromKnxSlotExact(GetParam()); }

// One octet: the character's Latin-1 code, the number, or the status octet as it is.
INSTANTIATE_TEST_SUITE_P(
    EightBit, ToKnx,
    ::testing::Values(
        Writes("CharAscii", String7, Dpt(4, 1), AVOVALUE::String("A"), Bus(8, {0x41})),
        Writes("CharEmptyIsZero", String7, Dpt(4, 1), AVOVALUE::String(""), Bus(8, {0x00})),
        Writes("CharFirstOnly", String7, Dpt(4, 1), AVOVALUE::String("AB"), Bus(8, {0x41})),
        Writes("CharTopOfAscii", String7, Dpt(4, 1), AVOVALUE::String("\x7F"), Bus(8, {0x7F})),
        Refuses("CharU0080NotAscii", String7, Dpt(4, 1), AVOVALUE::String("\xC2\x80"),
                "Value out of raw range [0..127] for DPT 4.001: 128"),
        // U+00E9 and U+00FF are C3 A9 and C3 BF in UTF-8, E9 and FF in Latin-1.
        Writes("CharLatin1", String8, Dpt(4, 2), AVOVALUE::String("\xC3\xA9"), Bus(8, {0xE9})),
        Writes("CharLatin1Top", String8, Dpt(4, 2), AVOVALUE::String("\xC3\xBF"), Bus(8, {0xFF})),
        // A three-byte sequence (U+20AC) is not recoded: its first byte goes out.
        Writes("CharThreeByteSequence", String8, Dpt(4, 2), AVOVALUE::String("\xE2\x82\xAC"), Bus(8, {0xE2})),
        // A lone lead combines with the terminating zero: (C3 << 6) & FF = C0.
        Writes("CharLoneLead", String8, Dpt(4, 2), AVOVALUE::String("\xC3"), Bus(8, {0xC0})),
        Refuses("CharLoneLeadNotAscii", String7, Dpt(4, 1), AVOVALUE::String("\xC3"),
                "Value out of raw range [0..127] for DPT 4.001: 192"),
        Refuses("CharRefusesByte", String7, Dpt(4, 1), AVOVALUE::Byte(0x41), WrongChar),
        Refuses("CharRefusesOtherDpt", String7, Dpt(16, 1), AVOVALUE::String("A"), WrongChar),
        Writes("UnsignedTop", Unsigned8, Dpt(5, 1), AVOVALUE::Byte(255), Bus(8, {0xFF})),
        Writes("Unsigned5006UpperEnd", Unsigned8To254, Dpt(5, 6), AVOVALUE::Byte(254), Bus(8, {0xFE})),
        Refuses("Unsigned5006Refuses255", Unsigned8To254, Dpt(5, 6), AVOVALUE::Byte(255),
                "Value out of raw range [0..254] for DPT 5.006: 255"),
        // Only 5.006 is checked on the way out, and the main number is not looked at.
        Writes("UnsignedUncheckedOutOf20102", Unsigned8To4, Dpt(20, 102), AVOVALUE::Byte(5), Bus(8, {0x05})),
        Writes("UnsignedAnyDpt", Unsigned8, Dpt(9, 1), AVOVALUE::Byte(7), Bus(8, {0x07})),
        Refuses("UnsignedRefusesInteger", Unsigned8, Dpt(5, 1), AVOVALUE::Integer(1),
                "Wrong avo value type (ivtByte)!"),
        Writes("SignedLowest", Signed8, Dpt(6, 1), AVOVALUE::Integer(-128), Bus(8, {0x80})),
        Writes("SignedHighest", Signed8, Dpt(6, 10), AVOVALUE::Integer(127), Bus(8, {0x7F})),
        Writes("SignedKeepsLowOctet", Signed8, Dpt(6, 1), AVOVALUE::Integer(200), Bus(8, {0xC8})),
        Refuses("SignedRefusesByte", Signed8, Dpt(6, 1), AVOVALUE::Byte(1), WrongSigned8),
        Refuses("SignedRefusesOtherDpt", Signed8, Dpt(8, 1), AVOVALUE::Integer(1), WrongSigned8),
        Writes("StatusMode1", Status8, Dpt(6, 20), AVOVALUE::Byte(0x01), Bus(8, {0x01})),
        Writes("StatusMode2", Status8, Dpt(6, 20), AVOVALUE::Byte(0x02), Bus(8, {0x02})),
        Writes("StatusMode4WithFlags", Status8, Dpt(6, 20), AVOVALUE::Byte(0xFC), Bus(8, {0xFC})),
        // Written first, checked after: the refused octet is on the bus value.
        ToKnxCase{"StatusMode3", Status8, Dpt(6, 20), AVOVALUE::Byte(0x03), false, Bus(8, {0x03}),
                  {Error(OutOfAllowedRange("6.020", "3"))}},
        ToKnxCase{"StatusMode0", Status8, Dpt(6, 20), AVOVALUE::Byte(0xF8), false, Bus(8, {0xF8}),
                  {Error(OutOfAllowedRange("6.020", "0"))}},
        // Main 6, sub 20 or ivtByte: any one passes.
        Writes("StatusMainOnly", Status8, Dpt(6, 1), AVOVALUE::Integer(2), Bus(8, {0x02})),
        Writes("StatusSubOnly", Status8, Dpt(5, 20), AVOVALUE::Integer(2), Bus(8, {0x02})),
        Writes("StatusTypeOnly", Status8, Dpt(5, 1), AVOVALUE::Byte(2), Bus(8, {0x02})),
        Refuses("StatusNone", Status8, Dpt(5, 1), AVOVALUE::Integer(2), WrongStatus)),
    CaseName<ToKnxCase>);

INSTANTIATE_TEST_SUITE_P(
    EightBit, FromKnx,
    ::testing::Values(
        Reads("CharAscii", String7, Dpt(4, 1), Bus(8, {0x41}), AVOVALUE::String("A")),
        Reads("CharTopOfAscii", String7, Dpt(4, 1), Bus(8, {0x7F}), AVOVALUE::String("\x7F")),
        Rejects("Char80NotAscii", String7, Dpt(4, 1), Bus(8, {0x80}),
                "Value out of raw range [0..127] for DPT 4.001: 128"),
        Reads("CharLatin1", String8, Dpt(4, 2), Bus(8, {0xE9}), AVOVALUE::String("\xC3\xA9")),
        Reads("CharLatin1Top", String8, Dpt(4, 2), Bus(8, {0xFF}), AVOVALUE::String("\xC3\xBF")),
        Reads("CharAnySubButOne", String7, Dpt(4, 0), Bus(8, {0x80}), AVOVALUE::String("\xC2\x80")),
        Rejects("CharOtherDpt", String8, Dpt(5, 1), Bus(8, {0x41}), "Wrong DPT main number (4.x)!"),
        Reads("UnsignedTop", Unsigned8, Dpt(5, 1), Bus(8, {0xFF}), AVOVALUE::Byte(255)),
        Reads("Unsigned5006UpperEnd", Unsigned8To254, Dpt(5, 6), Bus(8, {0xFE}), AVOVALUE::Byte(254)),
        Rejects("Unsigned5006Refuses255", Unsigned8To254, Dpt(5, 6), Bus(8, {0xFF}),
                "Value out of raw range IntegerRange(0, 254, 0, 254) for DPT 5.006; value was 255"),
        Reads("Unsigned20102UpperEnd", Unsigned8To4, Dpt(20, 102), Bus(8, {0x04}), AVOVALUE::Byte(4)),
        Rejects("Unsigned20102Refuses5", Unsigned8To4, Dpt(20, 102), Bus(8, {0x05}),
                "Value out of raw range IntegerRange(0, 4, 0, 4) for DPT 20.102; value was 5"),
        Reads("SignedAnyDpt", Signed8, Dpt(5, 1), Bus(8, {0x80}), AVOVALUE::Integer(-128)),
        Reads("SignedHighest", Signed8, Dpt(6, 1), Bus(8, {0x7F}), AVOVALUE::Integer(127)),
        Reads("StatusMode1", Status8, Dpt(6, 20), Bus(8, {0x01}), AVOVALUE::Byte(0x01)),
        // 84 read as signed is -124; its mode is still 4.
        Reads("StatusMode4Negative", Status8, Dpt(6, 20), Bus(8, {0x84}), AVOVALUE::Byte(0x84)),
        Rejects("StatusMode3", Status8, Dpt(6, 20), Bus(8, {0x83}), OutOfAllowedRange("6.020", "3")),
        Rejects("StatusMode0", Status8, Dpt(6, 20), Bus(8, {0x00}), OutOfAllowedRange("6.020", "0")),
        Reads("StatusSubOnly", Status8, Dpt(7, 20), Bus(8, {0x02}), AVOVALUE::Byte(0x02)),
        Reads("StatusMainOnly", Status8, Dpt(6, 1), Bus(8, {0x02}), AVOVALUE::Byte(0x02)),
        Rejects("StatusNeither", Status8, Dpt(5, 1), Bus(8, {0x02}), "Wrong DPT main number (6.020)!")),
    CaseName<FromKnxCase>);

const char* const WrongWord = "Wrong DPT main number (7.x) or avo value type (ivtWord)!";
const char* const WrongShort = "Wrong DPT main number (8.x) or avo value type (ivtInteger)!";
const char* const WrongFloat16 = "Wrong DPT main number (9.x) or avo value type (ivtFloat)!";
const char* const WrongFloat32 = "Wrong DPT main number (14.x) or avo value type (ivtFloat)!";
const char* const WrongSigned32 = "Wrong DPT main number (13.x) or avo value type (ivtInteger)!";

std::string OutOfRange(const char* dpt, int ivt, const char* value)
{
    return std::string("The internal value of DPT=") + dpt + ", ivt=" + std::to_string(ivt) + " is out of range: " +
           value + "!";
}

// Integers are big-endian. 2-octet floats are 0.01 * M * 2^E, by hand: 21.0 is E=1, M=1050 (0C 1A,
// the usual temperature example); -273.0 is E=4, M=-1706 (A1 56, read back as -272.96); 32767.0 is
// E=11, M=1600 (5E 40); the extremes are E=15 with M=2047 (7F FF) and M=-2048 (F8 00). 4-octet
// floats are IEEE single precision.
INSTANTIATE_TEST_SUITE_P(
    MultiByte, ToKnx,
    ::testing::Values(
        Writes("WordUnderOtherDpt", Unsigned16, Dpt(5, 1), AVOVALUE::Word(4660), Bus(16, {0x12, 0x34})),
        Writes("WordSlotOfAnyType", Unsigned16, Dpt(7, 1), Typed(ivtString, AVOVALUE::Word(0x1234)),
               Bus(16, {0x12, 0x34})),
        Writes("WordTop", Unsigned16, Dpt(7, 1), AVOVALUE::Word(65535), Bus(16, {0xFF, 0xFF})),
        Refuses("WordNeither", Unsigned16, Dpt(5, 1), AVOVALUE::Integer(1), WrongWord),
        Writes("ShortLowest", Signed16, Dpt(8, 1), AVOVALUE::Integer(-32768), Bus(16, {0x80, 0x00})),
        Writes("ShortKeepsLow16Bits", Signed16, Dpt(8, 1), AVOVALUE::Integer(0x12345), Bus(16, {0x23, 0x45})),
        Writes("ShortWraps40000", Signed16, Dpt(8, 1), AVOVALUE::Integer(40000), Bus(16, {0x9C, 0x40})),
        Writes("ShortTypeOnly", Signed16, Dpt(7, 1), AVOVALUE::Integer(-2), Bus(16, {0xFF, 0xFE})),
        Writes("ShortMainOnly", Signed16, Dpt(8, 1), Typed(ivtWord, AVOVALUE::Integer(-2)), Bus(16, {0xFF, 0xFE})),
        Refuses("ShortNeither", Signed16, Dpt(7, 1), AVOVALUE::Word(1), WrongShort),
        Writes("Float16Example", Float16, Dpt(9, 1), AVOVALUE::Float(21.0), Bus(16, {0x0C, 0x1A})),
        Writes("Float16Zero", Float16, Dpt(9, 1), AVOVALUE::Float(0.0), Bus(16, {0x00, 0x00})),
        Writes("Float16UpperEnd", Float16, Dpt(9, 1), AVOVALUE::Float(670760.96), Bus(16, {0x7F, 0xFF})),
        Writes("Float16LowerEnd", Float16, Dpt(9, 1), AVOVALUE::Float(-671088.64), Bus(16, {0xF8, 0x00})),
        Refuses("Float16AboveRange", Float16, Dpt(9, 1), AVOVALUE::Float(700000.0),
                OutOfAllowedRange("9.001", "700000")),
        Writes("Float16CelsiusLowerEnd", Float16Celsius, Dpt(9, 1), AVOVALUE::Float(-273.0), Bus(16, {0xA1, 0x56})),
        Refuses("Float16BelowCelsius", Float16Celsius, Dpt(9, 1), AVOVALUE::Float(-273.01),
                OutOfAllowedRange("9.001", "-273.01")),
        Refuses("Float16NaN", Float16, Dpt(9, 1), AVOVALUE::Float(std::nan("")), OutOfAllowedRange("9.001", "nan")),
        // Type 0 writes the number 32767, not the invalid pattern 7F FF.
        Writes("Float16Invalid", Float16, Dpt(5, 1), Typed(ivtInvalid, AVOVALUE()), Bus(16, {0x5E, 0x40})),
        Writes("Float16MainOnly", Float16, Dpt(9, 1), Typed(ivtInteger, AVOVALUE::Float(21.0)), Bus(16, {0x0C, 0x1A})),
        Writes("Float16TypeOnly", Float16, Dpt(14, 1), AVOVALUE::Float(21.0), Bus(16, {0x0C, 0x1A})),
        Refuses("Float16Neither", Float16, Dpt(14, 1), AVOVALUE::Integer(21), WrongFloat16),
        Writes("Float32One", Float32, Dpt(14, 1), AVOVALUE::Float(1.0), Bus32(0x3F800000)),
        Writes("Float32Narrowed", Float32, Dpt(14, 1), AVOVALUE::Float(0.1), Bus32(0x3DCCCCCD)),
        Writes("Float32BeyondSingleIsInfinite", Float32, Dpt(14, 1), AVOVALUE::Float(-1e39),
               Bus32(0xFF800000)),
        Writes("Float32InvalidIsQuietNaN", Float32, Dpt(9, 1), Typed(ivtInvalid, AVOVALUE()),
               Bus32(0x7FC00000)),
        Writes("Float32MainOnly", Float32, Dpt(14, 1), Typed(ivtDWord, AVOVALUE::Float(-2.5)),
               Bus32(0xC0200000)),
        Refuses("Float32Neither", Float32, Dpt(9, 1), AVOVALUE::Integer(1), WrongFloat32),
        // 28036591 is 01 AB CD EF; the top octet is dropped. No DPT or type test.
        Writes("U24DropsTopOctet", Unsigned24, Dpt(232, 600), AVOVALUE::DWord(28036591), Bus(24, {0xAB, 0xCD, 0xEF})),
        Writes("U24AnyDptAnyType", Unsigned24, Dpt(1, 1), Typed(ivtString, AVOVALUE::DWord(0x123456)),
               Bus(24, {0x12, 0x34, 0x56})),
        Writes("U32Top", Unsigned32, Dpt(12, 1), AVOVALUE::DWord(0xFFFFFFFF), Bus32(0xFFFFFFFF)),
        Writes("U32AnyDpt", Unsigned32, Dpt(9, 1), AVOVALUE::DWord(1), Bus32(0x00000001)),
        Refuses("U32RefusesInteger", Unsigned32, Dpt(12, 1), AVOVALUE::Integer(1), "Wrong avo value type (ivtDWord)!"),
        Writes("U32UpperEnd", Unsigned32Small, Dpt(12, 1), AVOVALUE::DWord(10), Bus32(0x0000000A)),
        Refuses("U32AboveRange", Unsigned32Small, Dpt(12, 1), AVOVALUE::DWord(11), OutOfRange("12.001", 8, "11")),
        // Zero-extended before the comparison: not -1.
        Refuses("U32TopIsNotMinusOne", Unsigned32Small, Dpt(12, 1), AVOVALUE::DWord(0xFFFFFFFF),
                OutOfRange("12.001", 8, "4294967295")),
        Writes("S32Lowest", Signed32, Dpt(13, 1), AVOVALUE::Integer(Int32Min), Bus32(0x80000000)),
        Writes("S32Highest", Signed32, Dpt(13, 1), AVOVALUE::Integer(Int32Max), Bus32(0x7FFFFFFF)),
        Writes("S32MinusOne", Signed32, Dpt(13, 1), AVOVALUE::Integer(-1), Bus32(0xFFFFFFFF)),
        Writes("S32MainOnly", Signed32, Dpt(13, 1), AVOVALUE::Word(5), Bus32(0x00000005)),
        Writes("S32TypeOnly", Signed32, Dpt(9, 1), AVOVALUE::Integer(5), Bus32(0x00000005)),
        Refuses("S32Neither", Signed32, Dpt(9, 1), AVOVALUE::Word(5), WrongSigned32),
        // Scaled: external min + (v - internal min) * factor, half away from zero.
        Writes("S32Tenfold", Signed32Tenfold, Dpt(13, 1), AVOVALUE::Integer(7), Bus32(0x00000046)),
        Writes("S32TenfoldUpperEnd", Signed32Tenfold, Dpt(13, 1), AVOVALUE::Integer(100),
               Bus32(0x000003E8)),
        Refuses("S32BelowRange", Signed32Tenfold, Dpt(13, 1), AVOVALUE::Integer(-1), OutOfRange("13.001", 4, "-1")),
        Refuses("S32AboveRange", Signed32Tenfold, Dpt(13, 1), AVOVALUE::Integer(101), OutOfRange("13.001", 4, "101")),
        Writes("S32ThirdRoundsDown", Signed32Thirds, Dpt(13, 1), AVOVALUE::Integer(1), Bus32(0x00000003)),
        Writes("S32TwoThirdsRoundUp", Signed32Thirds, Dpt(13, 1), AVOVALUE::Integer(2), Bus32(0x00000007)),
        Writes("S32HalfAwayFromZero", Signed32Halves, Dpt(13, 1), AVOVALUE::Integer(1), Bus32(0x00000003)),
        Writes("S32NegativeHalfAwayFromZero", Signed32NegHalves, Dpt(13, 1), AVOVALUE::Integer(1),
               Bus32(0xFFFFFFFD)),
        Writes("S32OffsetLowerEnd", Signed32Offset, Dpt(13, 1), AVOVALUE::Integer(10), Bus32(0x00000064)),
        Writes("S32OffsetUpperEnd", Signed32Offset, Dpt(13, 1), AVOVALUE::Integer(20), Bus32(0x000000C8)),
        Refuses("S32BelowOffset", Signed32Offset, Dpt(13, 1), AVOVALUE::Integer(9), OutOfRange("13.001", 4, "9"))),
    CaseName<ToKnxCase>);

INSTANTIATE_TEST_SUITE_P(
    MultiByte, FromKnx,
    ::testing::Values(
        Reads("WordTop", Unsigned16, Dpt(7, 1), Bus(16, {0xFF, 0xFF}), AVOVALUE::Word(65535)),
        Rejects("WordOtherDpt", Unsigned16, Dpt(8, 1), Bus(16, {0x12, 0x34}), "Wrong DPT main number (7.x)!"),
        Reads("ShortNegative", Signed16, Dpt(8, 1), Bus(16, {0x9C, 0x40}), AVOVALUE::Integer(-25536)),
        Reads("ShortHighest", Signed16, Dpt(8, 1), Bus(16, {0x7F, 0xFF}), AVOVALUE::Integer(32767)),
        Rejects("ShortOtherDpt", Signed16, Dpt(7, 1), Bus(16, {0x12, 0x34}), "Wrong DPT main number (8.x)!"),
        // The type stays as the caller prepared it; no DPT test.
        Reads("Float16Example", Float16, Dpt(5, 1), Bus(16, {0x0C, 0x1A}), Typed(ivtEmpty, AVOVALUE::Float(21.0))),
        Reads("Float16LowerEnd", Float16, Dpt(9, 1), Bus(16, {0xF8, 0x00}), AVOVALUE::Float(-671088.64),
              AVOVALUE::Float(0.0)),
        // 7F FF is "invalid data": type 0, the rest of the value untouched.
        Reads("Float16Invalid", Float16, Dpt(9, 1), Bus(16, {0x7F, 0xFF}), Typed(ivtInvalid, AVOVALUE::Float(5.0)),
              AVOVALUE::Float(5.0)),
        Reads("Float16CelsiusLowest", Float16Celsius, Dpt(9, 1), Bus(16, {0xA1, 0x56}), AVOVALUE::Float(-272.96),
              AVOVALUE::Float(0.0)),
        // A0 00 is E=4, M=-2048: -327.68, below -273. Stored all the same.
        FromKnxCase{"Float16BelowCelsiusIsStored", Float16Celsius, Dpt(9, 1), Bus(16, {0xA0, 0x00}),
                    AVOVALUE::Float(0.0), false, AVOVALUE::Float(-327.68),
                    {Error(OutOfAllowedRange("9.001", "-327.68"))}},
        Reads("Float32One", Float32, Dpt(14, 1), Bus32(0x3F800000), AVOVALUE::Float(1.0)),
        Reads("Float32Infinity", Float32, Dpt(14, 1), Bus32(0x7F800000),
              AVOVALUE::Float(std::numeric_limits<double>::infinity())),
        Rejects("Float32OtherDpt", Float32, Dpt(9, 1), Bus32(0x3F800000), "Wrong DPT main number (14.x)!"),
        // Slot only, type untouched; neither DPT nor size is checked.
        Reads("U24", Unsigned24, Dpt(232, 600), Bus(24, {0xAB, 0xCD, 0xEF}),
              Typed(ivtEmpty, AVOVALUE::DWord(0xABCDEF))),
        Reads("U24ShortData", Unsigned24, Dpt(5, 1), Bus(16, {0x12, 0x34}), Typed(ivtEmpty, AVOVALUE::DWord(0x1234))),
        Reads("U32Top", Unsigned32, Dpt(12, 1), Bus32(0xFFFFFFFF), AVOVALUE::DWord(0xFFFFFFFF)),
        Reads("U32AnyDpt", Unsigned32, Dpt(9, 1), Bus32(0x00000001), AVOVALUE::DWord(1)),
        Reads("U32UpperEnd", Unsigned32Small, Dpt(12, 1), Bus32(0x0000000A), AVOVALUE::DWord(10)),
        // The message shows the type the value had: 4, the marker's ivtInteger.
        Rejects("U32TopIsNotMinusOne", Unsigned32Small, Dpt(12, 1), Bus32(0xFFFFFFFF),
                OutOfRange("12.001", 4, "4294967295")),
        Reads("S32Lowest", Signed32, Dpt(13, 1), Bus32(0x80000000), AVOVALUE::Integer(Int32Min)),
        // Not scaled back: 70 stays 70.
        Reads("S32Unscaled", Signed32Tenfold, Dpt(13, 1), Bus32(0x00000046), AVOVALUE::Integer(70)),
        Reads("S32UpperEnd", Signed32Tenfold, Dpt(13, 1), Bus32(0x00000064), AVOVALUE::Integer(100)),
        Rejects("S32AboveRange", Signed32Tenfold, Dpt(13, 1), Bus32(0x00000065),
                "The group value of DPT=13.001 is out of range: 101!"),
        Rejects("S32BelowRange", Signed32Tenfold, Dpt(13, 1), Bus32(0xFFFFFFFF),
                "The group value of DPT=13.001 is out of range: -1!"),
        Rejects("S32OtherDpt", Signed32, Dpt(12, 1), Bus32(0x00000001), "Wrong DPT main number (13.x)!")),
    CaseName<FromKnxCase>);

// Any NaN on the bus is "invalid data": type 0.
TEST(Float32, NaNDecodesAsInvalid)
{
    for (const auto& bus : {Bus32(0x7FC00000), Bus32(0x7F800001),
                            Bus32(0xFFC00000)}) {
        LogCapture log;
        AVOVALUE value = AVOVALUE::Float(1.0);
        EXPECT_TRUE(Float32->FromKnxValue(Dpt(14, 1), bus, value));
        EXPECT_EQ(value.ivt, ivtInvalid);
        EXPECT_TRUE(std::isnan(value.GetDouble()));
        EXPECT_TRUE(log.Lines().empty());
    }
}

// A group value that does not fit the converter's accessor: refused, one ERROR line, value untouched.
TEST(NumericConverters, GroupValueOfWrongSizeIsRefused)
{
    const struct {
        Converter converter;
        KNXDPT dpt;
        KnxStack::GroupValue bus;
    } cases[] = {
        {String7, Dpt(4, 1), Bus(16, {0x41, 0x42})},       {Unsigned8, Dpt(5, 1), Bus(16, {0x01, 0x02})},
        {Signed8, Dpt(6, 1), Bus(16, {0x01, 0x02})},       {Status8, Dpt(6, 20), Bus(16, {0x01, 0x02})},
        {Unsigned16, Dpt(7, 1), Bus(8, {0x01})},           {Signed16, Dpt(8, 1), Bus(8, {0x01})},
        {Float16, Dpt(9, 1), Bus(8, {0x01})},              {Float32, Dpt(14, 1), Bus(16, {0x01, 0x02})},
        {Unsigned24, Dpt(232, 600), KnxStack::GroupValue()}, {Unsigned32, Dpt(12, 1), Bus(16, {0x01, 0x02})},
        {Signed32, Dpt(13, 1), Bus(24, {0x01, 0x02, 0x03})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(typeid(*c.converter).name());
        LogCapture log;
        AVOVALUE value = AVOVALUE::Integer(42);
        EXPECT_FALSE(c.converter->FromKnxValue(c.dpt, c.bus, value));
        EXPECT_EQ(value.ivt, ivtInteger);
        EXPECT_EQ(value.GetSlotBits(), 42u);
        const auto lines = log.Lines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_THAT(lines[0].message, ::testing::StartsWith("Group value access failed: "));
    }
}

// The encoding side too: a range wider than what a 2-octet float can hold lets the setter throw.
TEST(NumericConverters, EncoderExceptionIsRefused)
{
    const KnxConverterFloat16BitFloat wide(FloatRange(-1e7, 1e7, -1e7, 1e7));
    LogCapture log;
    KnxStack::GroupValue out = UntouchedBus();
    EXPECT_FALSE(wide.ToKnxValue(Dpt(9, 1), AVOVALUE::Float(1e6), out));
    EXPECT_EQ(out, UntouchedBus());
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_THAT(lines[0].message, ::testing::StartsWith("Group value access failed: "));
}

} // namespace
