#include "AvoValue/TimeOfDay.h"

namespace ErvApp {

boost::optional<TimeOfDay> TimeOfDay::Create(int hour, int minute, int second, DayOfWeek day)
{
    if (!IsValid(hour, minute, second, day))
        return boost::none;
    return TimeOfDay(hour, minute, second, day);
}

} // namespace ErvApp
