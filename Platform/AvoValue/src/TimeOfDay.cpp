#include "AvoValue/TimeOfDay.h"

namespace ErvApp {

boost::optional<TimeOfDay> TimeOfDay::Create(int hour, int minute, int second, DayOfWeek day)
{
    const int dayNumber = static_cast<int>(day);
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59 || dayNumber < NoDay ||
        dayNumber > Sunday)
        return boost::none;
    return TimeOfDay(hour, minute, second, day);
}

} // namespace ErvApp
