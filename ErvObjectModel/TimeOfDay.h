// Between the weekday flags and time fields of an AVOTIME and the value library's time of day.
#pragma once

#include "ErvObjectModel/Export.h"

#include "AvoValue/AvoTime.h"
#include "AvoValue/TimeOfDay.h"

#include <boost/optional.hpp>

namespace ErvApp {

// Hour, minute and second as they stand; exactly one weekday flag gives that day, anything else
// (no flag, several flags, unknown bits) no day. Empty when the fields are no valid time of day.
ERVOBJECTMODEL_EXPORT boost::optional<TimeOfDay> FromAvoTime(const AVOTIME& time);

// The AVOTIME weekday flag of a day (NoDay -> WD_NONE). A day above Sunday is a bug and ends the
// process.
ERVOBJECTMODEL_EXPORT AvoWeekDays::WEEK_DAY_TYPES ToAvoWeekday(DayOfWeek day);

} // namespace ErvApp
