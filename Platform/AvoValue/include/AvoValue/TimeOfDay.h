// Time of day with weekday, and the weekday flags of AVOTIME.
#pragma once

#include "AvoValue/Export.h"

#include <boost/optional.hpp>

namespace AvoWeekDays {

enum WEEK_DAY_TYPES {
    WD_NONE = 0,
    WD_MONDAY = 1,
    WD_TUESDAY = 2,
    WD_WEDNESDAY = 4,
    WD_THURSDAY = 8,
    WD_FRIDAY = 16,
    WD_SATURDAY = 32,
    WD_SUNDAY = 64,
};

} // namespace AvoWeekDays

namespace ErvApp {

enum DayOfWeek { NoDay = 0, Monday, Tuesday, Wednesday, Thursday, Friday, Saturday, Sunday };

class AVOVALUE_EXPORT TimeOfDay {
public:
    // Empty unless hour 0..23, minute 0..59, second 0..59 and day 0..7.
    static boost::optional<TimeOfDay> Create(int hour, int minute, int second, DayOfWeek day);
    // What Create accepts. Inline, for the bus converters, which write the fields in place and
    // build no object around them.
    static bool IsValid(int hour, int minute, int second, DayOfWeek day)
    {
        const int dayNumber = static_cast<int>(day);
        return hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 && second <= 59 &&
               dayNumber >= NoDay && dayNumber <= Sunday;
    }

    int GetHour() const { return m_hour; }
    int GetMinute() const { return m_minute; }
    int GetSecond() const { return m_second; }
    DayOfWeek GetWeekday() const { return m_day; }

    bool operator==(const TimeOfDay& o) const
    {
        return m_hour == o.m_hour && m_minute == o.m_minute && m_second == o.m_second && m_day == o.m_day;
    }

private:
    TimeOfDay(int hour, int minute, int second, DayOfWeek day)
        : m_hour(hour), m_minute(minute), m_second(second), m_day(day) {}

    int m_hour;
    int m_minute;
    int m_second;
    DayOfWeek m_day;
};

} // namespace ErvApp
