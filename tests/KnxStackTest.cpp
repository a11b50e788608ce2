// The KNX stack stand-in: DPT text, raw bytes and the bus encodings of group values.
#include "KnxStack/GroupValue.h"
#include "KnxStack/KnxDpt.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iomanip>
#include <limits>
#include <sstream>
#include <vector>

using KnxStack::BinaryData;
using KnxStack::GroupValue;
using KnxStack::GroupValueException;
using GV = KnxStack::GroupValue;
using ::testing::AllOf;
using ::testing::HasSubstr;

namespace {

BinaryData Data(std::vector<unsigned char> bytes) { return BinaryData(bytes.data(), bytes.size()); }

// A group value from its bus text, e.g. Bus(16, "0C 33").
GroupValue Bus(unsigned bits, const std::string& hex)
{
    std::istringstream in(hex);
    std::vector<unsigned char> bytes;
    for (unsigned byte; in >> std::hex >> byte;)
        bytes.push_back(static_cast<unsigned char>(byte));
    return GroupValue(Data(bytes), bits);
}

const double Inf = std::numeric_limits<double>::infinity();
const double NaN = std::numeric_limits<double>::quiet_NaN();

TEST(KnxDpt, TextHasThreeDigitSubNumberOrX)
{
    EXPECT_EQ(ToString(KNXDPT{16, 9, 1}), "9.001");
    EXPECT_EQ(ToString(KNXDPT{16, 9, 0}), "9.x");
    EXPECT_EQ(ToString(KNXDPT{8, 232, 600}), "232.600");
    std::ostringstream os;
    os << KNXDPT{1, 1, 12};
    EXPECT_EQ(os.str(), "1.012");
}

TEST(BinaryData, ReadsAreBigEndianAndShortReadsTakeTheLowOrderEnd)
{
    const BinaryData three = Data({0x12, 0x34, 0x56});
    EXPECT_EQ(three.GetUInt8Value(2), 0x56u);
    EXPECT_EQ(three.GetUInt16Value(0), 0x1234u);
    EXPECT_EQ(three.GetUInt16Value(2), 0x56u);
    EXPECT_EQ(three.GetUInt24Value(1), 0x3456u);
    EXPECT_EQ(three.GetUInt32Value(0), 0x123456u);
    EXPECT_EQ(Data({0xFE, 0xDC, 0xBA, 0x98, 0x76}).GetUInt32Value(1), 0xDCBA9876u);
    for (std::size_t index : {3u, 100u}) {
        EXPECT_THROW(three.GetUInt8Value(index), GroupValueException);
        EXPECT_THROW(three.GetUInt16Value(index), GroupValueException);
        EXPECT_THROW(three.GetUInt24Value(index), GroupValueException);
        EXPECT_THROW(three.GetUInt32Value(index), GroupValueException);
    }
}

TEST(BinaryData, WritesGrowZeroFilledUpToCapacity)
{
    BinaryData data = Data({0x0C});
    data.SetUInt8Value(3, 0x1A);
    EXPECT_EQ(data.ToString(), "0C 00 00 1A");
    data.SetUInt8Value(BinaryData::Capacity - 1, 0xFF);
    EXPECT_EQ(data.GetLength(), BinaryData::Capacity);
    EXPECT_THROW(data.SetUInt8Value(BinaryData::Capacity, 0), GroupValueException);
    const std::vector<unsigned char> tooLong(BinaryData::Capacity + 1, 0);
    EXPECT_THROW(BinaryData(tooLong.data(), tooLong.size()), GroupValueException);
    EXPECT_EQ(BinaryData().ToString(), "");
    EXPECT_NE(Data({0x01}), Data({0x01, 0x00}));
}

// ---- 2-octet float (DPT 9) ----

struct Float16Case {
    double value;
    const char* bus;
};

// Expected bytes worked out by hand: M = round(100 * value / 2^E) with the smallest E that fits M
// into -2048..2047, ties to even; 21.5 -> 0C 33 is the usual KNX worked example.
// clang-format off
const Float16Case Float16Cases[] = {
    {0.0, "00 00"}, {0.01, "00 01"}, {21.5, "0C 33"},
    {0.29, "00 1D"},       // 0.29 * 100 is 28.999999999999996 in binary
    {20.47, "07 FF"},      // largest at E = 0
    {20.48, "0C 00"},      // 1024 * 2^1
    {20.49, "0C 00"},      // 1024.5 ties to even 1024
    {20.51, "0C 02"},      // 1025.5 ties to even 1026
    {40.94, "0F FF"},      // 2047 * 2^1
    {40.95, "14 00"},      // 2047.5 rounds to 2048, which needs E = 2: 1023.75 -> 1024
    {40.96, "14 00"},      // 1024 * 2^2
    {81.88, "17 FF"},      // 2047 * 2^2
    {81.92, "1C 00"},      // 1024 * 2^3
    {32.09, "0E 44"},      // 3209.0000000000005 in binary, yet a tie: 1604.5 -> 1604
    {32.23, "0E 4C"},      // 3222.9999999999995 in binary, yet a tie: 1611.5 -> 1612
    {-0.01, "87 FF"},      // M = -1: sign bit and low 11 bits 7FF
    {-20.48, "80 00"},     // M = -2048 still fits at E = 0
    {-20.49, "8C 00"},     // -1024.5 ties to even -1024 at E = 1
    {-20.50, "8B FF"},     // -1025 at E = 1
    {-40.96, "88 00"},     // -2048 * 2^1
    {-40.98, "94 00"},     // -2049 does not fit at E = 1; -1024.5 -> -1024 at E = 2
    {-81.92, "90 00"},     // -2048 * 2^2
    {670760.96, "7F FF"},  // 2047 * 2^15, the largest value
    {-671088.64, "F8 00"}, // -2048 * 2^15, the smallest value
    {670924.79, "7F FF"},  // 2047.49997 * 2^15 still rounds to 2047
    {-671252.48, "F8 00"}, // -2048.5 * 2^15 ties to even -2048
    {-0.0, "00 00"}, {-0.001, "00 00"},
    {-0.005, "00 00"},     // -0.5 ties to 0; 80 00 would read as -20.48
    {NaN, "7F FF"},        // the invalid-data pattern
};
// clang-format on

class Float16Encoding : public ::testing::TestWithParam<Float16Case> {};

TEST_P(Float16Encoding, GivesBusBytes)
{
    GroupValue value;
    value.SetAsFloat16(GetParam().value);
    EXPECT_EQ(value, Bus(16, GetParam().bus)) << value;
}

INSTANTIATE_TEST_SUITE_P(KnxStack, Float16Encoding, ::testing::ValuesIn(Float16Cases), [](const auto& info) {
    std::ostringstream name; // -20.49 gives "Minus20_49"
    name << (std::signbit(info.param.value) ? "Minus" : "") << std::setprecision(10) << std::fabs(info.param.value);
    std::string text = name.str();
    std::replace(text.begin(), text.end(), '.', '_');
    return text;
});

TEST(Float16, DecodesToTheNearestDoubleAndRejectsWhatDoesNotFit)
{
    // Each decimal is the exact value of its pattern; 08 00 is zero with E = 1.
    const std::pair<const char*, double> decoded[] = {
        {"07 FF", 20.47},     {"0C 00", 20.48},      {"0F FF", 40.94},  {"14 00", 40.96},  {"1C 00", 81.92},
        {"80 00", -20.48},    {"87 FF", -0.01},      {"88 00", -40.96}, {"90 00", -81.92}, {"0C 33", 21.5},
        {"7F FF", 670760.96}, {"F8 00", -671088.64}, {"00 1D", 0.29},   {"08 00", 0.0},    {"FF FF", -327.68}};
    for (const auto& [bus, value] : decoded)
        EXPECT_EQ(Bus(16, bus).GetAsFloat16(), value) << bus;

    // 670924.80 is 2047.5 * 2^15 and rounds to 2048; -671252.49 rounds to -2049.
    GroupValue value;
    for (double tooLarge : {670924.80, -671252.49, 1e7, Inf, -Inf, std::numeric_limits<double>::max()})
        EXPECT_THROW(value.SetAsFloat16(tooLarge), GroupValueException) << tooLarge;
}

// Every bus word survives decode and encode: canonical words come back unchanged, the others
// (a needlessly large exponent) as a word of the same value.
TEST(Float16, EveryWordSurvivesARoundTrip)
{
    for (std::uint32_t word = 0; word <= 0xFFFF; ++word) {
        const GroupValue original(Data({std::uint8_t(word >> 8), std::uint8_t(word)}), 16);
        const int m = int(word & 0x7FF) - (word & 0x8000 ? 2048 : 0);
        // Canonical: E = 0, or 2 * M would not fit at E - 1; zero only as 00 00.
        const bool canonical = m != 0 ? ((word >> 11) & 0xF) == 0 || m >= 1024 || m < -1024 : word == 0;
        GroupValue copy;
        copy.SetAsFloat16(original.GetAsFloat16());
        if (canonical)
            ASSERT_EQ(copy, original);
        else
            ASSERT_EQ(copy.GetAsFloat16(), original.GetAsFloat16()) << original;
    }
}

// ---- the other setters ----

struct SetterCase {
    const char* name;
    std::function<void(GroupValue&)> set;
    unsigned bits;
    const char* bus;
};

// Integers are two's complement, big-endian; floats are IEEE single patterns (1.0f = 3F800000,
// -2.5f = C0200000); date and time bytes are packed by hand from their fields; text is ASCII.
// clang-format off
const SetterCase SetterCases[] = {
    {"BooleanTrue", [](GV& v) { v.SetAsBoolean(true); }, 1, "01"},
    {"Unsigned2KeepsLowBits", [](GV& v) { v.SetAsUnsigned2(17); }, 2, "01"},
    {"Unsigned4KeepsLowBits", [](GV& v) { v.SetAsUnsigned4(0x1E); }, 4, "0E"},
    {"CharAboveAscii", [](GV& v) { v.SetAsChar('\xE4'); }, 8, "E4"},
    {"Signed8", [](GV& v) { v.SetAsSigned8(-128); }, 8, "80"},
    {"Unsigned16", [](GV& v) { v.SetAsUnsigned16(0xFEDC); }, 16, "FE DC"},
    {"Signed16", [](GV& v) { v.SetAsSigned16(-2); }, 16, "FF FE"},
    {"Unsigned32", [](GV& v) { v.SetAsUnsigned32(0xFFFFFFFEul); }, 32, "FF FF FF FE"},
    {"Signed32", [](GV& v) { v.SetAsSigned32(-2147483647l - 1); }, 32, "80 00 00 00"},
    {"Float32", [](GV& v) { v.SetAsFloat32(-2.5f); }, 32, "C0 20 00 00"},
    {"Date1990", [](GV& v) { v.SetAsDate(1990, 1, 1); }, 24, "01 01 5A"},
    {"Date1999", [](GV& v) { v.SetAsDate(1999, 12, 31); }, 24, "1F 0C 63"},
    {"Date2000", [](GV& v) { v.SetAsDate(2000, 2, 29); }, 24, "1D 02 00"},
    {"Date2089", [](GV& v) { v.SetAsDate(2089, 12, 31); }, 24, "1F 0C 59"},
    {"TimeNoDay", [](GV& v) { v.SetAsTimeOfDay(0, 0, 0, GV::NoDay); }, 24, "00 00 00"},
    {"TimeWednesday", [](GV& v) { v.SetAsTimeOfDay(12, 30, 15, GV::Wednesday); }, 24, "6C 1E 0F"},
    {"TimeSunday", [](GV& v) { v.SetAsTimeOfDay(23, 59, 59, GV::Sunday); }, 24, "F7 3B 3B"},
    {"StringEmpty", [](GV& v) { v.SetAsString14(""); }, 112, "00 00 00 00 00 00 00 00 00 00 00 00 00 00"},
    {"String13", [](GV& v) { v.SetAsString14("KNX is OK 123"); }, 112, "4B 4E 58 20 69 73 20 4F 4B 20 31 32 33 00"},
    {"String14", [](GV& v) { v.SetAsString14("KNX is OK 1234"); }, 112, "4B 4E 58 20 69 73 20 4F 4B 20 31 32 33 34"},
    {"String15IsCut", [](GV& v) { v.SetAsString14("KNX is OK 12345"); }, 112,
     "4B 4E 58 20 69 73 20 4F 4B 20 31 32 33 34"},
};
// clang-format on

class Setter : public ::testing::TestWithParam<SetterCase> {};

TEST_P(Setter, WritesBusBytesAndSize)
{
    GroupValue value(Data(std::vector<unsigned char>(32, 0xAA)), 256); // leftovers would show
    GetParam().set(value);
    EXPECT_EQ(value, Bus(GetParam().bits, GetParam().bus)) << value;
}

INSTANTIATE_TEST_SUITE_P(KnxStack, Setter, ::testing::ValuesIn(SetterCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(GroupValue, SettersRejectWhatTheBusCannotCarry)
{
    GroupValue value;
    EXPECT_THROW(value.SetAsDate(1989, 12, 31), GroupValueException);
    EXPECT_THROW(value.SetAsDate(2090, 1, 1), GroupValueException);
    EXPECT_THROW(value.SetAsDate(2000, 13, 1), GroupValueException);
    EXPECT_THROW(value.SetAsDate(2000, 1, 32), GroupValueException);
    EXPECT_THROW(value.SetAsDate(2000, 0, 0), GroupValueException);
    EXPECT_THROW(value.SetAsTimeOfDay(24, 0, 0, GV::NoDay), GroupValueException);
    EXPECT_THROW(value.SetAsTimeOfDay(-1, 0, 0, GV::NoDay), GroupValueException);
    EXPECT_THROW(value.SetAsTimeOfDay(0, 60, 0, GV::NoDay), GroupValueException);
    EXPECT_THROW(value.SetAsTimeOfDay(0, 0, 60, GV::NoDay), GroupValueException);
    EXPECT_THROW(value.SetAsTimeOfDay(0, 0, 0, static_cast<GV::DayOfWeek>(8)), GroupValueException);
    if (sizeof(long) > 4) { // where long is 32 bits every value fits
        const std::int64_t twoTo32 = std::int64_t{1} << 32;
        EXPECT_THROW(value.SetAsUnsigned32(static_cast<unsigned long>(twoTo32)), GroupValueException);
        EXPECT_THROW(value.SetAsSigned32(static_cast<long>(twoTo32 / 2)), GroupValueException);
        EXPECT_THROW(value.SetAsSigned32(static_cast<long>(-twoTo32 / 2 - 1)), GroupValueException);
    }
    EXPECT_EQ(value, GroupValue()) << "a rejected value must leave the old one untouched";
}

// ---- getters ----

TEST(GroupValue, GettersDecodeBusBytes)
{
    EXPECT_EQ(Bus(8, "80").GetAsSigned8(), -128);
    EXPECT_EQ(Bus(16, "FE DC").GetAsUnsigned16(), 0xFEDC);
    EXPECT_EQ(Bus(16, "FF FE").GetAsSigned16(), -2);
    EXPECT_EQ(Bus(32, "FF FF FF FF").GetAsUnsigned32(), 4294967295ul);
    EXPECT_EQ(Bus(32, "FF FF FF FE").GetAsSigned32(), -2l); // not 4294967294 where long is 64 bits
    EXPECT_EQ(Bus(32, "C0 20 00 00").GetAsFloat32(), -2.5f);
    EXPECT_EQ(Bus(112, "4B 4E 00 58 00 00 00 00 00 00 00 00 00 00").GetAsString14(), "KN");
    EXPECT_EQ(Bus(112, "4B 4E 58 20 69 73 20 4F 4B 20 31 32 33 34").GetAsString14(), "KNX is OK 1234");

    int year, month, day, hour, minute, second;
    GV::DayOfWeek weekday;
    Bus(24, "E1 F2 D9").GetAsDate(&year, &month, &day); // reserved bits set; year byte 89
    EXPECT_EQ(std::vector<int>({year, month, day}), std::vector<int>({2089, 2, 1}));
    Bus(24, "1F 0C 5A").GetAsDate(&year, &month, &day); // year byte 90
    EXPECT_EQ(std::vector<int>({year, month, day}), std::vector<int>({1990, 12, 31}));
    Bus(24, "37 C5 C9").GetAsTimeOfDay(&hour, &minute, &second, &weekday); // reserved bits set
    EXPECT_EQ(std::vector<int>({weekday, hour, minute, second}), std::vector<int>({GV::Monday, 23, 5, 9}));
}

TEST(GroupValue, SubByteGettersReadLowBitsOfOneToEightBitValues)
{
    const auto lowBits = [](const GroupValue& v) {
        return std::vector<int>({v.GetAsBoolean(), v.GetAsUnsigned2(), v.GetAsUnsigned3(), v.GetAsUnsigned4()});
    };
    for (unsigned bits = 1; bits <= 8; ++bits) {
        EXPECT_EQ(lowBits(Bus(bits, "B5")), std::vector<int>({1, 1, 5, 5})) << bits;  // 1011 0101
        EXPECT_EQ(lowBits(Bus(bits, "4A")), std::vector<int>({0, 2, 2, 10})) << bits; // 0100 1010
    }
}

struct GetterCase {
    const char* name;
    unsigned bits; // the one size it accepts; 0 for the sub-byte getters (1 to 8)
    std::function<void(const GroupValue&)> get;
};

// clang-format off
const GetterCase GetterCases[] = {
    {"GetAsBoolean", 0, [](const GV& v) { v.GetAsBoolean(); }},
    {"GetAsUnsigned2", 0, [](const GV& v) { v.GetAsUnsigned2(); }},
    {"GetAsUnsigned3", 0, [](const GV& v) { v.GetAsUnsigned3(); }},
    {"GetAsUnsigned4", 0, [](const GV& v) { v.GetAsUnsigned4(); }},
    {"GetAsUnsigned8", 8, [](const GV& v) { v.GetAsUnsigned8(); }},
    {"GetAsSigned8", 8, [](const GV& v) { v.GetAsSigned8(); }},
    {"GetAsUnsigned16", 16, [](const GV& v) { v.GetAsUnsigned16(); }},
    {"GetAsSigned16", 16, [](const GV& v) { v.GetAsSigned16(); }},
    {"GetAsFloat16", 16, [](const GV& v) { v.GetAsFloat16(); }},
    {"GetAsDate", 24, [](const GV& v) { int y, m, d; v.GetAsDate(&y, &m, &d); }},
    {"GetAsTimeOfDay", 24, [](const GV& v) { int h, m, s; GV::DayOfWeek d; v.GetAsTimeOfDay(&h, &m, &s, &d); }},
    {"GetAsUnsigned32", 32, [](const GV& v) { v.GetAsUnsigned32(); }},
    {"GetAsSigned32", 32, [](const GV& v) { v.GetAsSigned32(); }},
    {"GetAsFloat32", 32, [](const GV& v) { v.GetAsFloat32(); }},
    {"GetAsString14", 112, [](const GV& v) { v.GetAsString14(); }},
};
// clang-format on

class GetterSize : public ::testing::TestWithParam<GetterCase> {};

TEST_P(GetterSize, ThrowsNamingTheGetterAndTheSize)
{
    const GetterCase& getter = GetParam();
    const std::vector<unsigned char> bytes(BinaryData::Capacity, 0x01);
    for (unsigned bits : {0u, 1u, 7u, 8u, 9u, 16u, 24u, 32u, 112u, 256u}) {
        const GroupValue value(BinaryData(bytes.data(), bytes.size()), bits);
        if (getter.bits == 0 ? bits >= 1 && bits <= 8 : bits == getter.bits) {
            EXPECT_NO_THROW(getter.get(value)) << bits;
            continue;
        }
        try {
            getter.get(value);
            ADD_FAILURE() << "accepted " << bits << " bits";
        } catch (const GroupValueException& e) {
            EXPECT_THAT(e.what(), AllOf(HasSubstr(getter.name), HasSubstr(std::to_string(bits) + " bits")));
        }
    }
    // The right size with too few bytes behind it.
    const unsigned bits = getter.bits == 0 ? 1 : getter.bits;
    EXPECT_THROW(getter.get(GroupValue(BinaryData(bytes.data(), (bits + 7) / 8 - 1), bits)), GroupValueException);
}

INSTANTIATE_TEST_SUITE_P(KnxStack, GetterSize, ::testing::ValuesIn(GetterCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(GroupValue, RawDataSetsSizeAndTextShowsSizeAndBytes)
{
    GroupValue value;
    value.SetRawData(Data({0x0C, 0x1A, 0x05}));
    EXPECT_EQ(value.GetDefinedSize(), 24u);
    value.SetAsFloat16(21.5);
    std::ostringstream os;
    os << value;
    EXPECT_EQ(os.str(), "16 bits: 0C 33");
    EXPECT_EQ(value.ToString(), os.str());
}

} // namespace
