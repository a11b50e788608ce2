// Typed value construction and its assertion records, the 32-bit limits of time conversion, weekday
// flags and UTF-8 repair.
#include "Erv/AvoValueHelper.h"
#include "ErvObjectModel/GroupValueAvoValue.h"
#include "ErvObjectModel/TimeOfDay.h"

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/optional.hpp>
#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace {

using boost::gregorian::date;
using boost::posix_time::ptime;
using boost::posix_time::time_duration;
using Erv::ToAvoValue;
using namespace AvoWeekDays;

AVOTIME DayTime(unsigned char h, unsigned char m, unsigned char s, unsigned short weekDays)
{
    return AVOTIME{2000, 1, 1, h, m, s, 0, weekDays, 1, false, false};
}

// long and unsigned long are 32 bits on the controller, 64 here: both are cut to 32.
TEST(ToAvoValue, EachArgumentTypeMakesItsValueType)
{
    const std::string gruesse = "Gr\xC3\xBC\xC3\x9F" "e";
    // clang-format off
    const std::pair<AVOVALUE, AVOVALUE> cases[] = {
        {ToAvoValue<bool>(true, ivtBool), AVOVALUE::Bool(true)},
        {ToAvoValue<double>(21.5, ivtFloat), AVOVALUE::Float(21.5)},
        {ToAvoValue<float>(0.1f, ivtFloat), AVOVALUE::Float(0.1f)},
        {ToAvoValue<short>(-32768, ivtInteger), AVOVALUE::Integer(-32768)},
        {ToAvoValue<long>(-2147483647L - 1, ivtInteger), AVOVALUE::Integer(-2147483647 - 1)},
        {ToAvoValue<unsigned char>(7, ivtByte), AVOVALUE::Byte(7)},
        {ToAvoValue<unsigned short>(65535, ivtWord), AVOVALUE::Word(65535)},
        {ToAvoValue<unsigned long>(4294967295UL, ivtDWord), AVOVALUE::DWord(4294967295U)},
        {ToAvoValue(gruesse, ivtString), AVOVALUE::String(gruesse)},
        {ToAvoValue(*ErvApp::TimeOfDay::Create(12, 30, 15, ErvApp::Wednesday), ivtDayTime),
         AVOVALUE::Time(ivtDayTime, DayTime(12, 30, 15, WD_WEDNESDAY))},
    };
    // clang-format on
    for (const auto& [made, expected] : cases)
        EXPECT_EQ(made, expected);
}

// The records name the guard's line; hosts search their logs for them.
TEST(GuardDeathTest, ProgrammingErrorEndsTheProcessWithItsRecord)
{
    const char* const typeRecord =
        "Include/Erv/AvoValueHelper:32: ToAvoValue ERV_ASSERT2\\(result.ivt == expectedType\\) failed";
    EXPECT_DEATH(ToAvoValue<unsigned char>(7, ivtWord), typeRecord);
    EXPECT_DEATH(ToAvoValue(std::string("7"), ivtWord), typeRecord);
    EXPECT_DEATH(ToAvoValue(std::string("a\xFF"), ivtString),
                 "Include/Erv/AvoValueHelper:38: ToAvoValue "
                 "ERV_ASSERT2\\(utf8::is_valid\\(value.begin\\(\\), value.end\\(\\)\\)\\) failed");
    EXPECT_DEATH(ToAvoValue(*ErvApp::TimeOfDay::Create(0, 0, 0, ErvApp::NoDay), ivtTime),
                 "Include/Erv/AvoValueHelper:62: ToAvoValue ERV_ASSERT2\\(expectedType == ivtDayTime\\) failed");
    EXPECT_DEATH(ErvApp::ToAvoWeekday(static_cast<ErvApp::DayOfWeek>(ErvApp::Sunday + 1)),
                 "ErvApp::ToAvoWeekday\\(DayOfWeek\\) - This statement should not be executed. There is a "
                 "bug somewhere around ErvObjectModel/TimeOfDay:68");
}

// Time conversion reads local time.
void SetZone(const char* zone)
{
    zone ? setenv("TZ", zone, 1) : unsetenv("TZ");
    tzset();
}

// Where time_t is 32 bits, 2038-01-19 03:14:07 UTC is its last second (2^31 - 1); a later or a
// special time gives the empty value.
TEST(PtimeToAvoValue, ConvertsLocalTimeUpToTheLastSecondOf32BitTime)
{
    SetZone("UTC");
    const ptime last(date(2038, 1, 19), time_duration(3, 14, 7));
    AVOTIME lastSecond;
    lastSecond = 2147483647L;
    EXPECT_EQ(ToAvoValue(last, ivtDateTime), AVOVALUE::Time(ivtDateTime, lastSecond));
    for (const ptime& time : {last + boost::posix_time::microseconds(1), ptime(boost::posix_time::not_a_date_time),
                              ptime(boost::posix_time::pos_infin), ptime(boost::posix_time::neg_infin)}) {
        const AVOVALUE value = ToAvoValue(time, ivtDateTime);
        EXPECT_EQ(value.ivt, ivtEmpty) << time;
        EXPECT_EQ(value.GetTime(), AVOTIME()) << time;
    }
    SetZone("EET-2"); // two hours ahead of UTC, no daylight saving
    AVOTIME midnightUtc;
    midnightUtc = 946684800L;
    EXPECT_EQ(ToAvoValue(ptime(date(2000, 1, 1), time_duration(2, 0, 0)), ivtDateTime).GetTime(), midnightUtc);
    SetZone(nullptr);
}

// At both ends the same on every architecture: local time that mktime cannot give as a signed
// 32-bit count of seconds is the empty value, where a 64-bit time_t would count on. -1, one second
// before 1970 in UTC, is a time and no failure.
TEST(PtimeToAvoValue, OnlyLocalTimesOf32BitSecondsConvert)
{
    const long first = -2147483647L - 1; // 1901-12-13 20:45:52 UTC
    const struct {
        const char* zone;
        ptime time;
        boost::optional<long> seconds; // none: the empty value
    } cases[] = {
        {"UTC", ptime(date(1901, 12, 13), time_duration(20, 45, 52)), first},
        {"UTC", ptime(date(1901, 12, 13), time_duration(20, 45, 51)), boost::none},
        {"UTC", ptime(date(1900, 1, 1)), boost::none},
        {"UTC", ptime(date(1400, 1, 1)), boost::none},
        {"UTC", ptime(date(1969, 12, 31), time_duration(23, 59, 59)), -1L},
        {"EET-2", ptime(date(1901, 12, 13), time_duration(22, 45, 52)), first}, // two hours ahead
        {"EET-2", ptime(date(1901, 12, 13), time_duration(22, 45, 51)), boost::none},
        {"EST5", ptime(date(2038, 1, 18), time_duration(22, 14, 7)), 2147483647L}, // five hours behind
        {"EST5", ptime(date(2038, 1, 18), time_duration(22, 14, 8)), boost::none},
        {"EST5", ptime(date(2038, 1, 19), time_duration(3, 14, 7)), boost::none},
    };
    for (const auto& c : cases) {
        SetZone(c.zone);
        const AVOVALUE value = ToAvoValue(c.time, ivtDateTime);
        AVOTIME expected;
        if (c.seconds)
            expected = *c.seconds;
        EXPECT_EQ(value.ivt, c.seconds ? ivtDateTime : ivtEmpty) << c.time << " " << c.zone;
        EXPECT_EQ(value.GetTime(), expected) << c.time << " " << c.zone;
    }
    SetZone(nullptr);
}

// Exactly one flag names a day; none, several or an unknown bit is no day.
TEST(Weekdays, EachDayHasOneFlagAndBack)
{
    const WEEK_DAY_TYPES flags[] = {WD_NONE,     WD_MONDAY, WD_TUESDAY,   WD_WEDNESDAY,
                                    WD_THURSDAY, WD_FRIDAY, WD_SATURDAY, WD_SUNDAY};
    for (int day = ErvApp::NoDay; day <= ErvApp::Sunday; ++day) {
        EXPECT_EQ(ErvApp::ToAvoWeekday(static_cast<ErvApp::DayOfWeek>(day)), flags[day]);
        EXPECT_EQ(ErvApp::FromAvoTime(DayTime(23, 59, 59, flags[day]))->GetWeekday(), day);
    }
    for (const unsigned short several : {WD_MONDAY | WD_SUNDAY, 128, 0xFFFF})
        EXPECT_EQ(ErvApp::FromAvoTime(DayTime(8, 0, 0, several))->GetWeekday(), ErvApp::NoDay) << several;
    EXPECT_FALSE(ErvApp::FromAvoTime(DayTime(24, 0, 0, WD_MONDAY)));
}

TEST(RepairUTF8, ReplacesEachInvalidSequenceWithOneQuestionMark)
{
    // clang-format off
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"Gr\xC3\xBC\xC3\x9F" "e", "Gr\xC3\xBC\xC3\x9F" "e"},
        {"a\xC3", "a?"},                                   // lone lead byte at the end
        {"a\xE2\x82", "a?"},                               // three-byte sequence cut off at the end
        {"\xE2\x82" "b\xFF" "c", "?b?c"},                  // cut off inside the text
        {"\xC0\x80", "?"},                                 // overlong zero
        {"\xED\xA0\x80", "?"},                             // surrogate
        {std::string("\xFF\0", 2), std::string("?\0", 2)}, // only the added zero is taken off again
    };
    // clang-format on
    for (const auto& [text, repaired] : cases)
        EXPECT_EQ(Erv::RepairUTF8(text).Str(), repaired) << ::testing::PrintToString(text);
}

} // namespace
