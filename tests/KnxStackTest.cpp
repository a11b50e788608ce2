// The KNX stack stand-in: DPT text, raw bytes and the bus encodings of group values.
#include "KnxStack/GroupValue.h"
#include "KnxStack/KnxDpt.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <iomanip>
#include <limits>
#include <sstream>
#include <tuple>
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

TEST(KnxDpt, TextHasThreeDigitSubNumberOrX)
{
    std::ostringstream os;
    os << KNXDPT{1, 1, 12} << ' ' << KNXDPT{16, 9, 0};
    EXPECT_EQ(os.str(), "1.012 9.x");
}

TEST(BinaryData, BigEndianReadsShortAtTheEndAndWritesThatGrowUpToCapacity)
{
    const BinaryData five = Data({0xFE, 0xDC, 0xBA, 0x98, 0x76});
    EXPECT_EQ(five.GetUInt24Value(1), 0xDCBA98u);
    EXPECT_EQ(five.GetUInt32Value(1), 0xDCBA9876u);
    EXPECT_EQ(five.GetUInt16Value(4), 0x76u); // a short read is the low-order end
    EXPECT_EQ(five.GetUInt32Value(2), 0xBA9876u);
    EXPECT_THROW(five.GetUInt8Value(5), GroupValueException);

    BinaryData data = Data({0x0C});
    data.SetUInt8Value(3, 0x1A);
    EXPECT_EQ(data.ToString(), "0C 00 00 1A");
    data.SetUInt8Value(BinaryData::Capacity - 1, 0xFF);
    EXPECT_THROW(data.SetUInt8Value(BinaryData::Capacity, 0), GroupValueException);
    const std::vector<unsigned char> tooLong(BinaryData::Capacity + 1, 0);
    EXPECT_THROW(BinaryData(tooLong.data(), tooLong.size()), GroupValueException);
    EXPECT_NE(Data({0x01}), Data({0x01, 0x00}));
}

// Worked out by hand: M = round(100 * value / 2^E) with the smallest E that fits M into
// -2048..2047, ties to even (20.49: 1024.5 -> 1024; 20.51: 1025.5 -> 1026; 40.95: 2047.5 -> 2048
// needs E = 2); 32.09 and 32.23 are decimal ties that binary misses by 5e-13; -0.001 rounds to
// M = 0, never to 80 00 (-20.48). Exact rows are the value of their pattern and are decoded too:
// 0.29 * 100 is 28.999999999999996 in binary, 57 * 0.01 is 0.5700000000000001.
// clang-format off
const std::tuple<double, const char*, bool> Float16Cases[] = {
    {21.5, "0C 33", true}, {0.29, "00 1D", true}, {0.57, "00 39", true}, {-0.01, "87 FF", true},
    {-671088.64, "F8 00", true}, {20.49, "0C 00", false}, {20.51, "0C 02", false}, {40.95, "14 00", false},
    {32.09, "0E 44", false}, {32.23, "0E 4C", false}, {-40.98, "94 00", false}, {670924.79, "7F FF", false},
    {-0.001, "00 00", false}, {-0.005, "00 00", false}, {std::nan(""), "7F FF", false},
};
// clang-format on

TEST(Float16, EncodesAndDecodesGoldenPatterns)
{
    for (const auto& [value, bus, exact] : Float16Cases) {
        GroupValue encoded;
        encoded.SetAsFloat16(value);
        EXPECT_EQ(encoded, Bus(16, bus)) << value;
        if (exact) {
            EXPECT_EQ(Bus(16, bus).GetAsFloat16(), value) << bus;
        }
    }
    EXPECT_EQ(Bus(16, "08 00").GetAsFloat16(), 0.0); // patterns with a needlessly large exponent
    EXPECT_EQ(Bus(16, "FF FF").GetAsFloat16(), -327.68);
    // 670924.80 is 2047.5 * 2^15 and rounds to 2048; -671252.49 rounds to -2049.
    const double inf = std::numeric_limits<double>::infinity();
    for (double tooLarge : {670924.80, -671252.49, inf, -inf}) {
        GroupValue value;
        EXPECT_THROW(value.SetAsFloat16(tooLarge), GroupValueException) << tooLarge;
    }
}

// A value is a tie only when the decimal it was written as lies exactly halfway between two
// mantissas; then the even one wins. A value a hair beside a tie point rounds to the nearer side,
// however close binary puts it. Worked out by hand from the decimal: 491683.84 * 100 / 2^15 is
// 1500.5 exactly, so 491683.8401 is 1500.500003 (7D DD) and 492011.5199 is 1501.499997 (7D DD);
// 245841.9201 is 1500.500001 at E = 14; 20.465 and 40.93 are 2046.5 at E = 0 and E = 1; 0.015 is
// 1.5 at E = 0; -670924.8 is -2047.5 at E = 15 and goes to the even -2048.
// clang-format off
const std::tuple<double, const char*> Float16NearTies[] = {
    // E = 0
    {0.015, "00 02"}, {-0.015, "87 FE"}, {0.0150000001, "00 02"}, {-0.0149999999, "87 FF"},
    {20.465, "07 FE"}, {20.4650000001, "07 FF"}, {-20.465, "80 02"}, {-20.4649999999, "80 02"},
    // E = 1
    {40.93, "0F FE"}, {40.9300000001, "0F FF"}, {-40.9299999999, "88 02"},
    // E = 7
    {1920.64, "3D DC"}, {1920.6400001, "3D DD"}, {-1920.64, "BA 24"}, {-1920.6399999, "BA 24"},
    // E = 14
    {245841.92, "75 DC"}, {245841.9201, "75 DD"}, {-245841.9199, "F2 24"},
    // E = 15
    {491683.84, "7D DC"}, {491683.8401, "7D DD"}, {-491683.84, "FA 24"}, {-491683.8401, "FA 23"},
    {492011.5199, "7D DD"}, {492011.52, "7D DE"}, {-670924.8, "F8 00"}, {-671252.48, "F8 00"},
};
// clang-format on

TEST(Float16, RoundsToTheNearestMantissaAndOnlyRealDecimalTiesToEven)
{
    for (const auto& [value, bus] : Float16NearTies) {
        GroupValue encoded;
        encoded.SetAsFloat16(value);
        EXPECT_EQ(encoded, Bus(16, bus)) << std::setprecision(17) << value;
    }
    GroupValue value;
    EXPECT_THROW(value.SetAsFloat16(-671252.4801), GroupValueException); // just past -2048.5 at E = 15
}

// Canonical words (E = 0, or 2 * M would not fit at E - 1; zero only as 00 00) come back
// unchanged, the others as a word of the same value.
TEST(Float16, EveryWordSurvivesARoundTrip)
{
    for (std::uint32_t word = 0; word <= 0xFFFF; ++word) {
        const GroupValue original(Data({std::uint8_t(word >> 8), std::uint8_t(word)}), 16);
        const int m = int(word & 0x7FF) - (word & 0x8000 ? 2048 : 0);
        const bool canonical = m != 0 ? (word & 0x7800) == 0 || m >= 1024 || m < -1024 : word == 0;
        GroupValue copy;
        copy.SetAsFloat16(original.GetAsFloat16());
        if (canonical)
            ASSERT_EQ(copy, original);
        else
            ASSERT_EQ(copy.GetAsFloat16(), original.GetAsFloat16()) << original;
    }
}

// Integers are two's complement, big-endian; -2.5f is the IEEE single C0200000; date and time
// bytes are packed by hand from their fields. No text: the setter throws, the old value stays.
#define SET(call) [](GV& v) { v.call; }
TEST(GroupValue, SettersWriteBusBytesAndSizeOrRejectWhatTheBusCannotCarry)
{
    // clang-format off
    std::vector<std::pair<const char*, std::function<void(GroupValue&)>>> cases = {
        {"1 bits: 01", SET(SetAsBoolean(true))}, {"2 bits: 02", SET(SetAsUnsigned2(0xFE))},
        {"4 bits: 0E", SET(SetAsUnsigned4(0x1E))}, {"8 bits: E4", SET(SetAsChar('\xE4'))},
        {"8 bits: 80", SET(SetAsSigned8(-128))}, {"16 bits: FE DC", SET(SetAsUnsigned16(0xFEDC))},
        {"16 bits: FF FE", SET(SetAsSigned16(-2))}, {"32 bits: FF FF FF FE", SET(SetAsUnsigned32(0xFFFFFFFEul))},
        {"32 bits: 80 00 00 00", SET(SetAsSigned32(-2147483647l - 1))},
        {"32 bits: C0 20 00 00", SET(SetAsFloat32(-2.5f))},
        {"24 bits: 01 01 5A", SET(SetAsDate(1990, 1, 1))}, {"24 bits: 1F 0C 59", SET(SetAsDate(2089, 12, 31))},
        {"24 bits: F7 1E 0F", SET(SetAsTimeOfDay(23, 30, 15, GV::Sunday))},
        {"112 bits: 00 00 00 00 00 00 00 00 00 00 00 00 00 00", SET(SetAsString14(""))},
        {"112 bits: 30 31 32 33 34 35 36 37 38 39 41 42 43 44", SET(SetAsString14("0123456789ABCDE"))},
        {"", SET(SetAsDate(1989, 12, 31))}, {"", SET(SetAsDate(2090, 1, 1))}, {"", SET(SetAsDate(2000, 13, 1))},
        {"", SET(SetAsDate(2000, 1, 32))}, {"", SET(SetAsDate(2000, 0, 0))},
        {"", SET(SetAsTimeOfDay(24, 0, 0, GV::NoDay))}, {"", SET(SetAsTimeOfDay(-1, 0, 0, GV::NoDay))},
        {"", SET(SetAsTimeOfDay(0, 60, 0, GV::NoDay))}, {"", SET(SetAsTimeOfDay(0, 0, 60, GV::NoDay))},
        {"", SET(SetAsTimeOfDay(0, 0, 0, static_cast<GV::DayOfWeek>(8)))},
    };
    // clang-format on
    if (sizeof(long) > 4) { // where long is 32 bits every value fits
        const std::int64_t twoTo32 = std::int64_t{1} << 32;
        cases.push_back({"", SET(SetAsUnsigned32(static_cast<unsigned long>(twoTo32)))});
        cases.push_back({"", SET(SetAsSigned32(static_cast<long>(twoTo32 / 2)))});
        cases.push_back({"", SET(SetAsSigned32(static_cast<long>(-twoTo32 / 2 - 1)))});
    }
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE("row " + std::to_string(i));
        const GroupValue before(Data(std::vector<unsigned char>(32, 0xAA)), 256); // leftovers would show
        GroupValue value = before;
        if (*cases[i].first == '\0') {
            EXPECT_THROW(cases[i].second(value), GroupValueException);
            EXPECT_EQ(value, before);
        } else {
            cases[i].second(value);
            EXPECT_EQ(value.ToString(), cases[i].first);
        }
    }
}

// Each getter with the one size it accepts (0: the sub-byte getters, which take 1 to 8 bits) and
// whether it reads the expected value from bus bytes: two's complement, big-endian, reserved bits
// masked off.
#define GET(name, bits, bus, value) {#name, bits, bus, [](const GV& v) { return v.name() == value; }}
struct GetterCase {
    const char* name;
    unsigned bits;
    const char* bus;
    std::function<bool(const GroupValue&)> reads;
};
// clang-format off
const GetterCase GetterCases[] = {
    GET(GetAsBoolean, 0, "B5", true), GET(GetAsUnsigned2, 0, "B5", 1), GET(GetAsUnsigned3, 0, "B5", 5),
    GET(GetAsUnsigned4, 0, "B5", 5), GET(GetAsUnsigned8, 8, "FE", 254), GET(GetAsSigned8, 8, "80", -128),
    GET(GetAsUnsigned16, 16, "FE DC", 0xFEDC), GET(GetAsSigned16, 16, "FF FE", -2),
    GET(GetAsFloat16, 16, "0C 33", 21.5), GET(GetAsUnsigned32, 32, "FF FF FF FF", 4294967295ul),
    GET(GetAsSigned32, 32, "FF FF FF FE", -2l), // not 4294967294 where long is 64 bits
    GET(GetAsFloat32, 32, "C0 20 00 00", -2.5f),
    GET(GetAsString14, 112, "4B 4E 00 58 00 00 00 00 00 00 00 00 00 00", "KN"),
    {"GetAsDate", 24, "E1 F2 D9",
     [](const GV& v) { int y, m, d; v.GetAsDate(&y, &m, &d); return y == 2089 && m == 2 && d == 1; }},
    {"GetAsTimeOfDay", 24, "37 C5 C9", [](const GV& v) {
         int h, m, s;
         GV::DayOfWeek w;
         v.GetAsTimeOfDay(&h, &m, &s, &w);
         return w == GV::Monday && h == 23 && m == 5 && s == 9; }},
};
// clang-format on

class Getter : public ::testing::TestWithParam<GetterCase> {};

TEST_P(Getter, ReadsBusBytesAndThrowsNamingItselfAndTheSize)
{
    const GetterCase& getter = GetParam();
    const unsigned rightBits = getter.bits == 0 ? 8 : getter.bits;
    EXPECT_TRUE(getter.reads(Bus(rightBits, getter.bus))) << getter.bus;
    const std::vector<unsigned char> bytes(BinaryData::Capacity, 0x01);
    for (unsigned bits : {0u, 1u, 8u, 9u, 16u, 24u, 32u, 112u}) {
        const GroupValue value(BinaryData(bytes.data(), bytes.size()), bits);
        const auto get = [&] { getter.reads(value); };
        if (getter.bits == 0 ? bits >= 1 && bits <= 8 : bits == getter.bits)
            EXPECT_NO_THROW(get()) << bits;
        else
            EXPECT_THAT(get, ::testing::ThrowsMessage<GroupValueException>(
                                 AllOf(HasSubstr(getter.name), HasSubstr(std::to_string(bits) + " bits"))));
    }
    // The right size with too few bytes behind it.
    EXPECT_THROW(getter.reads(GroupValue(BinaryData(bytes.data(), (rightBits + 7) / 8 - 1), rightBits)),
                 GroupValueException);
}

INSTANTIATE_TEST_SUITE_P(KnxStack, Getter, ::testing::ValuesIn(GetterCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Year bytes 89 (above) and 90 lie on either side of the century.
TEST(GroupValue, DateHasTheCenturyFromTheTwoDigitYear)
{
    int year, month, day;
    Bus(24, "1F 0C 5A").GetAsDate(&year, &month, &day);
    EXPECT_EQ(year, 1990);
}

TEST(GroupValue, RawDataSetsEightBitsPerByte)
{
    GroupValue value;
    value.SetRawData(Data({0x0C, 0x1A, 0x05}));
    EXPECT_EQ(value.ToString(), "24 bits: 0C 1A 05");
}

} // namespace
