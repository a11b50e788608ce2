#include "AvoValue/AvoTime.h"

#include "AvoValue/TimeOfDay.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>

#include <cstdio>

namespace {

// Boost's calendar covers the years 1400..9999 only. The Gregorian calendar repeats every 400
// years (146097 days, a whole number of weeks), so this year has the same leap days and weekdays.
unsigned short CycleYear(unsigned short year) { return static_cast<unsigned short>(2000 + year % 400); }

} // namespace

void AVOTIME::Clear(bool local)
{
    *this = AVOTIME();
    isLocal = local;
}

void AVOTIME::SetDate(unsigned short newYear, unsigned char newMonth, unsigned char newDay, bool local)
{
    year = newYear;
    month = newMonth;
    day = newDay;
    isLocal = local;
}

void AVOTIME::SetDateTime(unsigned short newYear, unsigned char newMonth, unsigned char newDay, unsigned char newHour,
                          unsigned char newMinute, unsigned char newSecond, bool local)
{
    SetDate(newYear, newMonth, newDay, local);
    hour = newHour;
    minute = newMinute;
    second = newSecond;
}

// Year 0 is refused: an all-zero date is how a value without its own date says so.
bool AVOTIME::IsValidDate(unsigned short year, unsigned char month, unsigned char day)
{
    if (year == 0 || month < 1 || month > 12 || day < 1)
        return false;
    return day <= boost::gregorian::gregorian_calendar::end_of_month_day(CycleYear(year), month);
}

bool AVOTIME::IsValidTime(unsigned char hour, unsigned char minute, unsigned char second)
{
    return hour < 24 && minute < 60 && second < 60;
}

std::tm AVOTIME::ToTm() const
{
    std::tm result{};
    result.tm_year = static_cast<int>(year) - 1900;
    result.tm_mon = static_cast<int>(month) - 1;
    result.tm_mday = day;
    result.tm_hour = hour;
    result.tm_min = minute;
    result.tm_sec = second;
    result.tm_isdst = -1;
    if (IsValidDate(year, month, day)) {
        const boost::gregorian::date date(CycleYear(year), month, day);
        result.tm_wday = date.day_of_week().as_number();
        result.tm_yday = date.day_of_year() - 1;
    }
    return result;
}

AVOTIME& AVOTIME::operator=(long timeStamp)
{
    const auto stamp = static_cast<std::time_t>(timeStamp);
    std::tm local{};
    // Beyond what the year field holds there is no date to show.
    if (!localtime_r(&stamp, &local) || local.tm_year < 1 - 1900 || local.tm_year > 65535 - 1900) {
        Clear(true);
        return *this;
    }
    year = static_cast<unsigned short>(local.tm_year + 1900);
    month = static_cast<unsigned char>(local.tm_mon + 1);
    day = static_cast<unsigned char>(local.tm_mday);
    hour = static_cast<unsigned char>(local.tm_hour);
    minute = static_cast<unsigned char>(local.tm_min);
    // A leap second (60) is kept as tm reports it.
    second = static_cast<unsigned char>(local.tm_sec);
    hundredths = 0;
    // tm counts from Sunday, the flags from Monday.
    weekDays = static_cast<unsigned short>(AvoWeekDays::WD_MONDAY << ((local.tm_wday + 6) % 7));
    timeKind = 0;
    isLocal = true;
    isDst = local.tm_isdst > 0;
    return *this;
}

bool AVOTIME::operator==(const AVOTIME& other) const
{
    return year == other.year && month == other.month && day == other.day && hour == other.hour &&
           minute == other.minute && second == other.second && hundredths == other.hundredths &&
           weekDays == other.weekDays && timeKind == other.timeKind && isLocal == other.isLocal && isDst == other.isDst;
}

std::ostream& operator<<(std::ostream& os, const AVOTIME& time)
{
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", static_cast<unsigned>(time.year),
                  static_cast<unsigned>(time.month), static_cast<unsigned>(time.day), static_cast<unsigned>(time.hour),
                  static_cast<unsigned>(time.minute), static_cast<unsigned>(time.second));
    return os << text;
}
