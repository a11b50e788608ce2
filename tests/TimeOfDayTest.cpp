// Typed value construction and its assertion records, the 2038 limit of time conversion, weekday
// flags and UTF-8 repair.
#include "Erv/AvoValueHelper.h"
#include "ErvObjectModel/GroupValueAvoValue.h"
#include "ErvObjectModel/TimeOfDay.h"

#include <boost/date_time/posix_time/posix_time.hpp>
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

TEST(ToAvoValue, EachArgumentTypeMakesItsValueType)
{
    const struct {
        AVOVALUE made;
        AVOVALUE expected;
    } cases[] = {
        {ToAvoValue<bool>(true, ivtBool), AVOVALUE::Bool(true)},
        {ToAvoValue<double>(21.5, ivtFloat), AVOVALUE::Float(21.5)},
        {ToAvoValue<float>(0.1f, ivtFloat), AVOVALUE::Float(0.1f)},
        {ToAvoValue<short>(-32768, ivtInteger), AVOVALUE::Integer(-32768)},
        {ToAvoValue<long>(-2147483647L - 1, ivtInteger), AVOVALUE::Integer(-2147483647 - 1)},
        {ToAvoValue<unsigned char>(7, ivtByte), AVOVALUE::Byte(7)},
        {ToAvoValue<unsigned short>(65535, ivtWord), AVOVALUE::Word(65535)},
        {ToAvoValue<unsigned long>(4294967295UL, ivtDWord), AVOVALUE::DWord(4294967295U)},
        {ToAvoValue<std::string>("Gr\xC3\xBC\xC3\x9F" "e", ivtString), AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e")},
        {ToAvoValue(std::string("Gr\xC3\xBC\xC3\x9F" "e"), ivtString), AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e")},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.made, c.expected);
}

TEST(ToAvoValue, TimeOfDayIsCarriedOnTheFirstOfJanuary2000)
{
    const auto timeOfDay = ErvApp::TimeOfDay::Create(12, 30, 15, ErvApp::Wednesday);
    ASSERT_TRUE(timeOfDay);
    EXPECT_EQ(ToAvoValue(*timeOfDay, ivtDayTime),
              AVOVALUE::Time(ivtDayTime, AVOTIME{2000, 1, 1, 12, 30, 15, 0, WD_WEDNESDAY, 1, false, false}));
}

// The records name the assertion's line in the shared header; hosts search their logs for them.
TEST(ToAvoValueDeathTest, WrongExpectationEndsTheProcessWithItsRecord)
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
}

class PtimeInUtc : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (const char* zone = std::getenv("TZ"))
            m_saved = zone;
        SetZone("UTC");
    }
    void TearDown() override { SetZone(m_saved ? m_saved->c_str() : nullptr); }
    static void SetZone(const char* zone)
    {
        zone ? setenv("TZ", zone, 1) : unsetenv("TZ");
        tzset();
    }

private:
    boost::optional<std::string> m_saved;
};

// Where time_t is 32 bits, 2038-01-19 03:14:07 UTC is its last second (2^31 - 1).
TEST_F(PtimeInUtc, ConvertsUpToTheLastSecondOf32BitTime)
{
    const struct {
        ptime time;
        long seconds;
    } cases[] = {
        {ptime(date(1970, 1, 1)), 0},
        {ptime(date(2000, 1, 1), time_duration(12, 0, 0)), 946728000},
        {ptime(date(2038, 1, 19), time_duration(3, 14, 7)), 2147483647},
    };
    for (const auto& c : cases) {
        AVOTIME expected;
        expected = c.seconds;
        EXPECT_EQ(ToAvoValue(c.time, ivtDateTime), AVOVALUE::Time(ivtDateTime, expected)) << c.time;
    }
}

TEST_F(PtimeInUtc, LaterOrSpecialTimesGiveTheEmptyValue)
{
    const ptime cases[] = {
        ptime(date(2038, 1, 19), time_duration(3, 14, 8)),
        ptime(date(2038, 1, 19), time_duration(3, 14, 7) + boost::posix_time::microseconds(1)),
        ptime(date(2100, 1, 1)),
        ptime(boost::posix_time::not_a_date_time),
        ptime(boost::posix_time::pos_infin),
        ptime(boost::posix_time::neg_infin),
    };
    for (const ptime& time : cases) {
        const AVOVALUE value = ToAvoValue(time, ivtDateTime);
        EXPECT_EQ(value.ivt, ivtEmpty) << time;
        EXPECT_EQ(value.GetTime(), AVOTIME()) << time;
    }
}

TEST_F(PtimeInUtc, TimeIsReadAsLocalTime)
{
    SetZone("EET-2"); // two hours ahead of UTC, no daylight saving
    AVOTIME midnightUtc;
    midnightUtc = 946684800L;
    EXPECT_EQ(ToAvoValue(ptime(date(2000, 1, 1), time_duration(2, 0, 0)), ivtDateTime).GetTime(), midnightUtc);
}

TEST(Weekdays, EachDayHasOneFlagAndBack)
{
    const struct {
        ErvApp::DayOfWeek day;
        WEEK_DAY_TYPES flag;
    } table[] = {{ErvApp::NoDay, WD_NONE},       {ErvApp::Monday, WD_MONDAY},     {ErvApp::Tuesday, WD_TUESDAY},
                 {ErvApp::Wednesday, WD_WEDNESDAY}, {ErvApp::Thursday, WD_THURSDAY}, {ErvApp::Friday, WD_FRIDAY},
                 {ErvApp::Saturday, WD_SATURDAY},  {ErvApp::Sunday, WD_SUNDAY}};
    for (const auto& row : table) {
        EXPECT_EQ(ErvApp::ToAvoWeekday(row.day), row.flag);
        const unsigned short flag = row.flag;
        const auto back = ErvApp::FromAvoTime(AVOTIME{2000, 1, 1, 23, 59, 59, 0, flag, 1, false, false});
        ASSERT_TRUE(back);
        EXPECT_EQ(*back, *ErvApp::TimeOfDay::Create(23, 59, 59, row.day));
    }
}

TEST(FromAvoTime, AnythingButASingleFlagIsNoDayAndTheFieldsMustFormATime)
{
    for (const unsigned short flags : {WD_MONDAY | WD_TUESDAY, WD_MONDAY | WD_SUNDAY, 128, 0xFFFF})
        EXPECT_EQ(ErvApp::FromAvoTime(AVOTIME{2000, 1, 1, 8, 0, 0, 0, flags, 1, false, false})->GetWeekday(),
                  ErvApp::NoDay)
            << flags;
    EXPECT_FALSE(ErvApp::FromAvoTime(AVOTIME{2000, 1, 1, 24, 0, 0, 0, WD_MONDAY, 1, false, false}));
    EXPECT_FALSE(ErvApp::FromAvoTime(AVOTIME{2000, 1, 1, 0, 60, 0, 0, WD_MONDAY, 1, false, false}));
    EXPECT_FALSE(ErvApp::FromAvoTime(AVOTIME{2000, 1, 1, 0, 0, 60, 0, WD_MONDAY, 1, false, false}));
}

TEST(WeekdaysDeathTest, DayAfterSundayIsABug)
{
    EXPECT_DEATH(ErvApp::ToAvoWeekday(static_cast<ErvApp::DayOfWeek>(ErvApp::Sunday + 1)),
                 "ErvApp::ToAvoWeekday\\(DayOfWeek\\) - This statement should not be executed. There is a "
                 "bug somewhere around ErvObjectModel/TimeOfDay:68");
}

TEST(RepairUTF8, ReplacesEachInvalidSequenceWithOneQuestionMark)
{
    const struct {
        std::string text;
        std::string repaired;
    } cases[] = {
        {"", ""},
        {"Gr\xC3\xBC\xC3\x9F" "e", "Gr\xC3\xBC\xC3\x9F" "e"},
        {std::string("a\0b", 3), std::string("a\0b", 3)},
        {"a\xC3", "a?"},                                     // lone lead byte at the end
        {"a\xE2\x82", "a?"},                                 // three-byte sequence cut off at the end
        {"a\xFF" "b", "a?b"},
        {"\xE2\x82" "b", "?b"},                              // cut off inside the text
        {"\xC0\x80", "?"},                                   // overlong zero
        {"\xED\xA0\x80", "?"},                               // surrogate
        {std::string("\xFF\0", 2), std::string("?\0", 2)},   // only the added zero is taken off again
    };
    for (const auto& c : cases)
        EXPECT_EQ(Erv::RepairUTF8(c.text).Str(), c.repaired) << ::testing::PrintToString(c.text);
}

} // namespace
