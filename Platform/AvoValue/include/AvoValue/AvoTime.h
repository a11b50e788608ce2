// Calendar date and time of day of the value library.
#pragma once

#include "AvoValue/Export.h"

#include <ctime>
#include <ostream>

struct AVOVALUE_EXPORT AVOTIME {
    unsigned short year = 0;
    unsigned char month = 0;
    unsigned char day = 0;
    unsigned char hour = 0;
    unsigned char minute = 0;
    unsigned char second = 0;
    unsigned char hundredths = 0;
    unsigned short weekDays = 0; // AvoWeekDays::WEEK_DAY_TYPES flags
    unsigned short timeKind = 0; // 1 for a time of day without its own date
    bool isLocal = false;
    bool isDst = false;

    // Zeroes every field; the local-time flag becomes `local`.
    void Clear(bool local);
    // Set the date (and the time) fields and the local-time flag; other fields stay.
    void SetDate(unsigned short year, unsigned char month, unsigned char day, bool local);
    void SetDateTime(unsigned short year, unsigned char month, unsigned char day, unsigned char hour,
                     unsigned char minute, unsigned char second, bool local);

    // A Gregorian calendar date (month 1..12, day within the month, leap years included).
    static bool IsValidDate(unsigned short year, unsigned char month, unsigned char day);
    // hour 0..23, minute 0..59, second 0..59.
    static bool IsValidTime(unsigned char hour, unsigned char minute, unsigned char second);

    // Broken-down time: tm_year = year - 1900, tm_mon = month - 1, tm_wday from the date when it is
    // a real date (else 0), tm_isdst = -1.
    std::tm ToTm() const;

    // A time stamp (seconds since 1970, UTC) as local calendar time; the weekday flag of that day
    // is set, the local-time flag is true.
    AVOTIME& operator=(long timeStamp);

    bool operator==(const AVOTIME& other) const;
    bool operator!=(const AVOTIME& other) const { return !(*this == other); }
};

// "YYYY-MM-DD hh:mm:ss"
AVOVALUE_EXPORT std::ostream& operator<<(std::ostream& os, const AVOTIME& time);
