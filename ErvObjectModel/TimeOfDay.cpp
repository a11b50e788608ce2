#include "ErvObjectModel/TimeOfDay.h"

#include "Erv/AvoValueHelper.h"
#include "Erv/Unreachable.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/conversion.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <limits>

namespace {

// The AVOTIME weekday flag of each ErvApp::DayOfWeek, indexed by the day. Read both ways: a flag
// that is not in it (no flag, several, unknown bits) is no day.
constexpr AvoWeekDays::WEEK_DAY_TYPES WeekdayFlags[] = {
    AvoWeekDays::WD_NONE,      // NoDay
    AvoWeekDays::WD_MONDAY,    // Monday
    AvoWeekDays::WD_TUESDAY,   // Tuesday
    AvoWeekDays::WD_WEDNESDAY, // Wednesday
    AvoWeekDays::WD_THURSDAY,  // Thursday
    AvoWeekDays::WD_FRIDAY,    // Friday
    AvoWeekDays::WD_SATURDAY,  // Saturday
    AvoWeekDays::WD_SUNDAY,    // Sunday
};
static_assert(std::size(WeekdayFlags) == ErvApp::Sunday + 1, "one flag per day, NoDay included");

// The last second that a signed 32-bit time_t holds (2^31 - 1 seconds after 1970, UTC). Later
// times cannot be converted on the controller, and are refused everywhere alike.
const boost::posix_time::ptime& Last32BitSecond()
{
    static const boost::posix_time::ptime last(boost::gregorian::date(2038, 1, 19),
                                               boost::posix_time::time_duration(3, 14, 7));
    return last;
}

} // namespace

namespace Erv {

// The one typed constructor that the library exports out of line; the others are inline.
template AVOVALUE ToAvoValue<unsigned char>(const unsigned char& value, AvoValueType expectedType);

} // namespace Erv

namespace ErvApp {

// Which fields form a time of day is the value library's decision (TimeOfDay::Create).
boost::optional<TimeOfDay> FromAvoTime(const AVOTIME& time)
{
    DayOfWeek day = NoDay;
    const auto flag = std::find(std::begin(WeekdayFlags), std::end(WeekdayFlags), time.weekDays);
    if (flag != std::end(WeekdayFlags))
        day = static_cast<DayOfWeek>(flag - std::begin(WeekdayFlags));
    return TimeOfDay::Create(time.hour, time.minute, time.second, day);
}

// The guard's FATAL line names ErvObjectModel/TimeOfDay:68, which hosts search their logs for.
AvoWeekDays::WEEK_DAY_TYPES ToAvoWeekday(DayOfWeek day)
{
    const auto index = static_cast<unsigned int>(day); // unsigned: a negative day is caught too
    if (index < std::size(WeekdayFlags))
        return WeekdayFlags[index];
    ERV_UNREACHABLE(); // line 68, named by the FATAL line
}

} // namespace ErvApp

namespace Erv {

AVOVALUE ToAvoValue(const boost::posix_time::ptime& time, AvoValueType expectedType)
{
    AVOVALUE result;
    result.ivt = ivtEmpty;
    result.Time().Clear(false);
    // A special time (not-a-date-time, infinities) has no calendar fields: no time, like one past 2038.
    if (time.is_special() || time > Last32BitSecond())
        return result;
    // Read as local time. What mktime cannot give as a signed 32-bit count (before 1901-12-13
    // 20:45:52 UTC, or past 2038 in a zone behind UTC) is no time either: a 32-bit time_t fails
    // there and a 64-bit one would not, and the controller's answer must be everybody's. mktime
    // sets the weekday only on success, which tells a failure from 1969-12-31 23:59:59 UTC (-1).
    std::tm calendar = boost::posix_time::to_tm(time);
    calendar.tm_wday = -1;
    const std::int64_t seconds = std::mktime(&calendar);
    if (calendar.tm_wday < 0 || seconds < std::numeric_limits<std::int32_t>::min() ||
        seconds > std::numeric_limits<std::int32_t>::max())
        return result;
    result.ivt = expectedType;
    result.Time() = static_cast<long>(seconds);
    return result;
}

} // namespace Erv
