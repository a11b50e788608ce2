#include "AvoValue/AvoValue.h"
#include "AvoValue/TimeOfDay.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <set>
#include <sstream>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using Limits = std::numeric_limits<double>;

AVOVALUE Typed(AvoValueType type, AVOVALUE value = AVOVALUE())
{
    value.ivt = type;
    return value;
}

// Every field set, none of them at its default; then every field at its largest.
const AVOTIME Full{2024, 2, 29, 23, 59, 58, 99, 127, 1, true, true};
const AVOTIME Extreme{65535, 255, 255, 255, 255, 255, 255, 65535, 65535, false, false};

struct Named {
    const char* name;
    AVOVALUE value;
};

// clang-format off
const Named RoundTrips[] = {
    {"Invalid", Typed(ivtInvalid)}, {"Empty", AVOVALUE()}, {"Binary", Typed(ivtBinary)},
    {"Bool", AVOVALUE::Bool(true)}, {"FloatNaN", AVOVALUE::Float(Limits::quiet_NaN())},
    {"FloatInf", AVOVALUE::Float(Limits::infinity())}, {"FloatMinusInf", AVOVALUE::Float(-Limits::infinity())},
    {"FloatMinusZero", AVOVALUE::Float(-0.0)}, {"FloatDenormal", AVOVALUE::Float(Limits::denorm_min())},
    {"PercentMax", Typed(ivtPercent, AVOVALUE::Float(Limits::max()))},
    {"ScalingLowest", Typed(ivtScaling, AVOVALUE::Float(Limits::lowest()))},
    {"DimmingSmallestNormal", Typed(ivtDimming, AVOVALUE::Float(-Limits::min()))},
    {"Angle", Typed(ivtAngle, AVOVALUE::Float(0.1))},
    {"IntegerMin", AVOVALUE::Integer(std::numeric_limits<std::int32_t>::min())},
    {"LongMax", Typed(ivtLong, AVOVALUE::Integer(std::numeric_limits<std::int32_t>::max()))},
    {"Char", Typed(ivtChar, AVOVALUE::Byte(255))}, {"Byte", AVOVALUE::Byte(0)},
    {"Enum8", Typed(ivtEnum8, AVOVALUE::Byte(200))}, {"Word", AVOVALUE::Word(0xFFFF)},
    {"DWord", AVOVALUE::DWord(0xFFFFFFFF)}, {"Counter", Typed(ivtCounter, AVOVALUE::DWord(1))},
    {"StringEscapes", AVOVALUE::String("a\\x41\\b:c\n\t\x7f\x01 ")},
    {"StringUtf8AndLoneLead", AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC \xC3")},
    {"StringNul", AVOVALUE::String(std::string("a\0b", 3))}, {"Date", AVOVALUE::Time(ivtDate, Full)},
    {"Time", AVOVALUE::Time(ivtTime, Full)}, {"DateTime", AVOVALUE::Time(ivtDateTime, Extreme)},
    {"DayTime", AVOVALUE::Time(ivtDayTime, Full)}, {"Timestamp", AVOVALUE::Time(ivtTimestamp, Full)},
    {"Duration", AVOVALUE::Time(ivtDuration, AVOTIME())}, {"Day", AVOVALUE::Time(ivtDay, Full)},
    {"UtcDateTime", AVOVALUE::Time(ivtUtcDateTime, Full)},
};
// clang-format on

class SerializeRoundTrip : public ::testing::TestWithParam<std::tuple<Named, bool>> {};

TEST_P(SerializeRoundTrip, GivesTheSameValue)
{
    const auto& [named, internal] = GetParam();
    std::string text;
    named.value.Serialize(text, internal);
    AVOVALUE back = AVOVALUE::String("stale");
    ASSERT_TRUE(back.Deserialize(text)) << text;
    EXPECT_EQ(back, named.value) << text;
}

INSTANTIATE_TEST_SUITE_P(AvoValue, SerializeRoundTrip,
                         ::testing::Combine(::testing::ValuesIn(RoundTrips), ::testing::Bool()), [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) +
                                    (std::get<1>(info.param) ? "Internal" : "Default");
                         });

// A type added to the library without a round-trip row above fails here.
TEST(AvoValue, RoundTripsCoverEveryTypeNumber)
{
    std::set<int> named, covered;
    for (int number = -10; number < 2000; ++number) {
        if (AVOVALUE::GetNameFromValueType(static_cast<AvoValueType>(number)).rfind("ivtUnknown(", 0) != 0)
            named.insert(number);
    }
    for (const Named& row : RoundTrips)
        covered.insert(row.value.ivt);
    EXPECT_EQ(covered, named);
}

TEST(AvoValue, GoldenTexts)
{
    const struct {
        AVOVALUE value;
        bool internal;
        const char* text;
    } cases[] = {
        // clang-format off
        {AVOVALUE::Float(21.5), false, "3:21.5"}, {AVOVALUE::Float(21.5), true, "3.7:21.5"},
        {AVOVALUE::Float(-0.0), false, "3:-0"}, {AVOVALUE::Float(-Limits::infinity()), false, "3:-inf"},
        {AVOVALUE::Integer(-2147483647 - 1), false, "4:-2147483648"}, {AVOVALUE::Bool(true), true, "2.7:true"},
        {AVOVALUE(), false, "1:"}, {AVOVALUE::String("\\\x1f\x7f\xc3\xa9"), false, "10:\\x5C\\x1F\\x7F\xc3\xa9"},
        {AVOVALUE::Time(ivtDateTime, Full), false, "13:2024-02-29 23:59:58.99 w127 k1 l1 d1"},
        {AVOVALUE::Time(ivtTime, AVOTIME()), true, "12.7:0000-00-00 00:00:00.00 w0 k0 l0 d0"},
        // clang-format on
    };
    for (const auto& c : cases) {
        std::string text;
        c.value.Serialize(text, c.internal);
        EXPECT_EQ(text, c.text);
    }
}

TEST(AvoValue, MalformedTextLeavesValueUnchanged)
{
    // clang-format off
    const std::string cases[] = {
        "", "3", "3 :1", ":1", "999:1", "-3:1", "99999999999:1", "3.6:1", "3.7.7:1", "3:21.5x", "3:", "3: 1",
        "3:1e999", "3:infinity", "3:NaN", "2:TRUE", "2:1", "4:2147483648", "4:+1", "6:256", "6:-1", "7:65536",
        "8:4294967296", "1:x", "10:a\\", "10:\\x4", "10:\\x4G", "10:\\y41", "10:raw\x01", "10:raw\x7f",
        "11:2024-02-29 23:59:58.99 w127 k1 l1", "11:2024-2-29 23:59:58.99 w1 k1 l1 d1",
        "11:2024-02-29 23:59:58.99 w1 k1 l2 d1", "11:2024-02-29 23:59:58.99 w1 k1 l1 d1 ",
        "11:2024-256-29 23:59:58.99 w1 k1 l1 d1", "11:2024-02-29 23:59:58.99 w k1 l1 d1",
    };
    // clang-format on
    for (const std::string& text : cases) {
        AVOVALUE value = AVOVALUE::Word(0xBEEF);
        EXPECT_FALSE(value.Deserialize(text)) << text;
        EXPECT_EQ(value, AVOVALUE::Word(0xBEEF)) << text;
    }
}

TEST(AvoValue, SlotSharingAndEquality)
{
    const AVOVALUE dword = AVOVALUE::DWord(0x89ABCDEF);
    EXPECT_EQ(dword.GetWord(), 0xCDEF);
    EXPECT_EQ(dword.GetInteger(), static_cast<std::int32_t>(0x89ABCDEF));
    AVOVALUE tenth = AVOVALUE::Float(0.1); // bit pattern 0x3FB999999999999A
    EXPECT_EQ(tenth.GetInteger(), static_cast<std::int32_t>(0x9999999Au));
    tenth.SetWord(1);
    EXPECT_EQ(tenth.GetSlotBits(), 1u);

    const double otherNaN = -Limits::quiet_NaN();
    EXPECT_EQ(AVOVALUE::Float(otherNaN), AVOVALUE::Float(otherNaN));
    EXPECT_NE(AVOVALUE::Float(otherNaN), AVOVALUE::Float(Limits::quiet_NaN()));
    EXPECT_NE(AVOVALUE::Float(-0.0), AVOVALUE::Float(0.0));
    EXPECT_NE(AVOVALUE::Byte(1), AVOVALUE::Bool(true));
    EXPECT_EQ(Typed(ivtEmpty, AVOVALUE::Integer(5)), AVOVALUE());
    EXPECT_EQ(Typed(ivtDate, AVOVALUE::Integer(5)), AVOVALUE::Time(ivtDate, AVOTIME()));
    EXPECT_NE(Typed(ivtString, AVOVALUE::Integer(5)), AVOVALUE::String("5"));
}

TEST(AvoValue, NamesAndText)
{
    const AVOTIME noon{2024, 3, 1, 12};
    const std::pair<AVOVALUE, const char*> cases[] = {
        // clang-format off
        {AVOVALUE::Float(21.5), "ivtFloat(21.5)"}, {AVOVALUE::Integer(-3), "ivtInteger(-3)"},
        {AVOVALUE::Bool(true), "ivtBool(true)"}, {AVOVALUE::String("Hi\\"), "ivtString(Hi\\)"},
        {AVOVALUE::Time(ivtDateTime, noon), "ivtDateTime(2024-03-01 12:00:00)"}, {AVOVALUE(), "ivtEmpty()"},
        {Typed(static_cast<AvoValueType>(77), AVOVALUE::Byte(1)), "ivtUnknown(77)()"},
        // clang-format on
    };
    for (const auto& [value, text] : cases) {
        std::ostringstream os;
        os << value;
        EXPECT_EQ(os.str(), text);
    }
    EXPECT_EQ(AvoDP::GetNameFromValueSubType(AvoDP::istKnxFloat), "istKnxFloat");
    EXPECT_EQ(AvoDP::GetNameFromValueSubType(static_cast<AvoDP::AvoValueSubType>(-5)), "istUnknown(-5)");
}

// Years 1 and 1234 lie outside the range of Boost's calendar; an invalid date has weekday 0.
TEST(AvoTime, DateValidityAndWeekday)
{
    const struct {
        unsigned short year;
        unsigned char month, day;
        bool valid;
        int wday;
    } cases[] = {
        // clang-format off
        {2024, 2, 29, true, 4}, {2023, 2, 29, false, 0}, {2100, 2, 29, false, 0}, {2000, 2, 29, true, 2},
        {2024, 0, 1, false, 0}, {2024, 13, 1, false, 0}, {2024, 1, 0, false, 0},  {2024, 1, 32, false, 0},
        {2024, 4, 31, false, 0}, {2024, 3, 1, true, 5},  {0, 1, 1, false, 0},     {1, 1, 1, true, 1},
        {1234, 6, 15, true, 4}, {65535, 12, 31, true, 2},
        // clang-format on
    };
    for (const auto& c : cases) {
        const AVOTIME time{c.year, c.month, c.day, 13, 14, 15};
        EXPECT_EQ(AVOTIME::IsValidDate(c.year, c.month, c.day), c.valid) << time;
        const std::tm tm = time.ToTm();
        EXPECT_EQ(tm.tm_wday, c.wday) << time;
        EXPECT_EQ(std::tuple(tm.tm_year, tm.tm_mon, tm.tm_mday, tm.tm_hour, tm.tm_isdst),
                  std::tuple(c.year - 1900, c.month - 1, int{c.day}, 13, -1));
    }
    EXPECT_TRUE(AVOTIME::IsValidTime(23, 59, 59));
    EXPECT_FALSE(AVOTIME::IsValidTime(24, 0, 0) || AVOTIME::IsValidTime(0, 60, 0) || AVOTIME::IsValidTime(0, 0, 60));
}

TEST(AvoTime, TimeStampInUtc)
{
    const char* const saved = std::getenv("TZ");
    const std::string savedTz = saved ? saved : "";
    setenv("TZ", "UTC", 1);
    tzset();
    const struct {
        long stamp;
        const char* text;
        unsigned short weekDay;
    } cases[] = {
        // clang-format off
        {0, "1970-01-01 00:00:00", AvoWeekDays::WD_THURSDAY}, {-1, "1969-12-31 23:59:59", AvoWeekDays::WD_WEDNESDAY},
        {951782400, "2000-02-29 00:00:00", AvoWeekDays::WD_TUESDAY},
        {1709294400, "2024-03-01 12:00:00", AvoWeekDays::WD_FRIDAY},
        {1710028800, "2024-03-10 00:00:00", AvoWeekDays::WD_SUNDAY},
        {2147483647, "2038-01-19 03:14:07", AvoWeekDays::WD_TUESDAY},
        // clang-format on
    };
    for (const auto& c : cases) {
        AVOTIME time = Extreme;
        time = c.stamp;
        std::ostringstream os;
        os << time;
        EXPECT_EQ(os.str(), c.text);
        EXPECT_EQ(time.weekDays, c.weekDay) << c.text;
        EXPECT_EQ(time.hundredths, 0);
        EXPECT_TRUE(time.isLocal);
    }
    if (saved)
        setenv("TZ", savedTz.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}

TEST(TimeOfDay, CreateBounds)
{
    using ErvApp::TimeOfDay;
    EXPECT_TRUE(TimeOfDay::Create(0, 0, 0, ErvApp::NoDay));
    const auto last = TimeOfDay::Create(23, 59, 59, ErvApp::Sunday);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->GetHour() * 10000 + last->GetMinute() * 100 + last->GetSecond(), 235959);
    EXPECT_EQ(last->GetWeekday(), ErvApp::Sunday);
    const std::tuple<int, int, int> outside[] = {{24, 0, 0}, {-1, 0, 0}, {0, 60, 0},
                                                 {0, -1, 0}, {0, 0, 60}, {0, 0, -1}};
    for (const auto& [h, m, s] : outside)
        EXPECT_FALSE(TimeOfDay::Create(h, m, s, ErvApp::Monday)) << h << ':' << m << ':' << s;
}

TEST(ByteBridge, ToBytes)
{
    const Bytes refused;
    const struct {
        const char* name;
        AVOVALUE value;
        unsigned int length;
        Bytes bytes; // empty: refused
    } cases[] = {
        // clang-format off
        {"Byte", AVOVALUE::Byte(7), 1, {7}}, {"WordBigEndian", AVOVALUE::Word(0x1234), 2, {0x12, 0x34}},
        {"DWordCut", AVOVALUE::DWord(0x01ABCDEF), 3, {0xAB, 0xCD, 0xEF}},
        {"DWordPadded", AVOVALUE::DWord(0x01020304), 6, {0, 0, 1, 2, 3, 4}},
        {"IntegerNegative", AVOVALUE::Integer(-2), 2, {0xFF, 0xFE}},
        {"IntegerSignBeyondEight", AVOVALUE::Integer(-1), 9, Bytes(9, 0xFF)},
        {"FloatRoundsHalfAway", AVOVALUE::Float(-2.5), 2, {0xFF, 0xFD}},
        {"PercentFirstByte", Typed(ivtPercent, AVOVALUE::Float(50.0)), 1, {50}},
        {"FloatSaturates", AVOVALUE::Float(1e300), 8, {0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
        {"FloatNaN", AVOVALUE::Float(Limits::quiet_NaN()), 1, refused}, {"BoolLast", AVOVALUE::Bool(true), 3, {0, 0, 1}},
        {"StringPadded", AVOVALUE::String("AB"), 4, {'A', 'B', 0, 0}}, {"StringCut", AVOVALUE::String("AB"), 1, {'A'}},
        {"LengthZero", AVOVALUE::Byte(7), 0, refused}, {"Empty", AVOVALUE(), 1, refused},
        {"Invalid", Typed(ivtInvalid, AVOVALUE::Byte(1)), 1, refused}, {"Binary", Typed(ivtBinary), 4, refused},
        {"Date", AVOVALUE::Time(ivtDate, Full), 4, refused},
        // clang-format on
    };
    for (const auto& c : cases) {
        Bytes buffer(c.length, 0xAA); // exact size: an overrun shows under AddressSanitizer
        unsigned int length = c.length;
        const bool converted = AvoValueToByteArray(c.value, buffer.data(), length);
        EXPECT_EQ(converted, !c.bytes.empty()) << c.name;
        if (converted) {
            EXPECT_EQ(buffer, c.bytes) << c.name;
        }
        EXPECT_EQ(length, c.length) << c.name;
    }
}

TEST(ByteBridge, FromBytes)
{
    const AVOVALUE unchanged = Typed(static_cast<AvoValueType>(-1));
    const struct {
        const char* name;
        AVOVALUE start;
        Bytes bytes;
        bool infer;
        AVOVALUE expected; // `unchanged`: refused
    } cases[] = {
        // clang-format off
        {"Word", AVOVALUE::Word(0), {0x12, 0x34}, false, AVOVALUE::Word(0x1234)},
        {"ByteTakesLowBits", AVOVALUE::Byte(0), {0x12, 0x34}, false, AVOVALUE::Byte(0x34)},
        {"Integer", AVOVALUE::Integer(0), {0xFF, 0xFF, 0xFF, 0xFE}, false, AVOVALUE::Integer(-2)},
        {"FloatUnsigned", AVOVALUE::Float(0.5), {0xFF, 0xFF}, false, AVOVALUE::Float(65535.0)},
        {"FloatEightSigned", AVOVALUE::Float(0.5), Bytes(8, 0xFF), false, AVOVALUE::Float(-1.0)},
        {"NumberTooLong", AVOVALUE::DWord(5), Bytes(9, 1), true, unchanged},
        {"Bool", AVOVALUE::Bool(false), {0, 1}, false, AVOVALUE::Bool(true)},
        {"StringToNul", AVOVALUE::String("old"), {'H', 'i', 0, 'x'}, false, AVOVALUE::String("Hi")},
        {"InferByte", AVOVALUE(), {7}, true, AVOVALUE::Byte(7)}, {"NoInference", AVOVALUE(), {7}, false, unchanged},
        {"InferWord", AVOVALUE::Time(ivtDate, Full), {0x12, 0x34}, true, AVOVALUE::Word(0x1234)},
        {"InferDWord", Typed(ivtBinary), {1, 2, 3}, true, AVOVALUE::DWord(0x010203)},
        {"InferString", AVOVALUE(), {'H', 'e', 'l', 'l', 'o'}, true, AVOVALUE::String("Hello")},
        {"Nothing", AVOVALUE(), {}, true, unchanged},
        // clang-format on
    };
    for (const auto& c : cases) {
        AVOVALUE value = c.start;
        const bool converted =
            ByteArrayToAvoValue(c.bytes.data(), static_cast<unsigned int>(c.bytes.size()), value, c.infer);
        const bool refused = c.expected.ivt == unchanged.ivt;
        EXPECT_EQ(converted, !refused) << c.name;
        EXPECT_EQ(value, refused ? c.start : c.expected) << c.name;
    }
}

} // namespace
