#include "ErvObjectModel/TimeOfDay.h"

#include "Erv/AvoValueHelper.h"
#include "Erv/Unreachable.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/conversion.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <algorithm>
#include <ctime>
#include <iterator>

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

// The guard's line (ErvObjectModel/TimeOfDay:68) is in the FATAL line it writes, which hosts
// search their logs for: keep it where it is.
AvoWeekDays::WEEK_DAY_TYPES ToAvoWeekday(DayOfWeek day)
{
    // Unsigned, so that a negative day is caught as well.
    const auto index = static_cast<unsigned int>(day);
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
    result.ivt = expectedType;
    std::tm calendar = boost::posix_time::to_tm(time);
    // Read as local time. Where time_t is 32 bits, a time before 1901-12-13 20:45:52 UTC makes
    // mktime fail, and its -1 is stored as it stands.
    result.Time() = static_cast<long>(std::mktime(&calendar));
    return result;
}

} // namespace Erv
