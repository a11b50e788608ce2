// The ToAvoValue family: constructors of application values that assert the value type their
// caller expects. A mismatch is a programming error and ends the process; they never convert.
//
//   const AVOVALUE level = Erv::ToAvoValue<unsigned char>(brightness, ivtByte);
//
// bool -> ivtBool, double and float -> ivtFloat, short and long -> ivtInteger (32 bits), unsigned
// char -> ivtByte, unsigned short -> ivtWord, unsigned long -> ivtDWord (32 bits), std::string ->
// ivtString (valid UTF-8 only), ErvApp::TimeOfDay -> ivtDayTime, ptime -> the caller's type.
#pragma once

#include "AvoValue/AvoValue.h"
#include "AvoValue/TimeOfDay.h"
#include "ErvLogging/Assert.h"
#include "ErvObjectModel/Export.h"
#include "ErvObjectModel/TimeOfDay.h"

#include <boost/date_time/posix_time/ptime.hpp>
#include <string>
#include <utf8.h>

namespace Erv {
namespace detail {
template <class T>
struct TypedAvoValue; // specialised below for each argument type; no other type compiles
} // namespace detail

// Failure records name "Include/Erv/AvoValueHelper" with lines 32, 38, 62, as hosts search for.
template <class T>
AVOVALUE ToAvoValue(const T& value, AvoValueType expectedType)
{
    const AVOVALUE result = detail::TypedAvoValue<T>::Make(value);
    ERV_ASSERT2_AT("Include/Erv/AvoValueHelper", "32", result.ivt == expectedType);
    return result;
}

inline AVOVALUE ToAvoValue(const std::string& value, AvoValueType expectedType)
{
    ERV_ASSERT2_AT("Include/Erv/AvoValueHelper", "38", utf8::is_valid(value.begin(), value.end()));
    return ToAvoValue<std::string>(value, expectedType);
}

namespace detail {
#define ERV_DETAIL_TYPED_AVO_VALUE(Type, make)                                                                  \
    template <> struct TypedAvoValue<Type> {                                                                    \
        static AVOVALUE Make(const Type& v) { return make; }                                                    \
    }
ERV_DETAIL_TYPED_AVO_VALUE(bool, AVOVALUE::Bool(v));
ERV_DETAIL_TYPED_AVO_VALUE(double, AVOVALUE::Float(v));
ERV_DETAIL_TYPED_AVO_VALUE(float, AVOVALUE::Float(v));
ERV_DETAIL_TYPED_AVO_VALUE(short, AVOVALUE::Integer(v));
ERV_DETAIL_TYPED_AVO_VALUE(long, AVOVALUE::Integer(static_cast<std::int32_t>(v))); // cut to 32 bits
ERV_DETAIL_TYPED_AVO_VALUE(unsigned char, AVOVALUE::Byte(v));
ERV_DETAIL_TYPED_AVO_VALUE(unsigned short, AVOVALUE::Word(v));
ERV_DETAIL_TYPED_AVO_VALUE(unsigned long, AVOVALUE::DWord(static_cast<std::uint32_t>(v))); // cut to 32 bits
ERV_DETAIL_TYPED_AVO_VALUE(std::string, AVOVALUE::String(v));
#undef ERV_DETAIL_TYPED_AVO_VALUE
} // namespace detail

namespace detail {
// A time of day has no date of its own: it is carried on 2000-01-01, time kind 1, not local, every
// other field zero. Written in place, so that a bus converter builds no value around it; the
// fields must be a valid time of day (ErvApp::TimeOfDay::IsValid).
inline void SetTimeOfDay(AVOTIME& time, int hour, int minute, int second, ErvApp::DayOfWeek day)
{
    time = AVOTIME();
    time.SetDateTime(2000, 1, 1, static_cast<unsigned char>(hour), static_cast<unsigned char>(minute),
                     static_cast<unsigned char>(second), false);
    time.weekDays = static_cast<unsigned short>(ErvApp::ToAvoWeekday(day));
    time.timeKind = 1;
}
} // namespace detail

inline AVOVALUE ToAvoValue(const ErvApp::TimeOfDay& value, AvoValueType expectedType)
{
    ERV_ASSERT2_AT("Include/Erv/AvoValueHelper", "62", expectedType == ivtDayTime);
    AVOVALUE result;
    result.ivt = ivtDayTime;
    detail::SetTimeOfDay(result.Time(), value.GetHour(), value.GetMinute(), value.GetSecond(), value.GetWeekday());
    return result;
}

// The time as local calendar time in the AVOTIME part, with the type the caller names (unchecked).
// A time after 2038-01-19 03:14:07, one whose local time is no signed 32-bit count of seconds (as
// before 1901-12-13 20:45:52 UTC) or a special time (not-a-date-time, infinities) gives the empty
// value (ivtEmpty) on every architecture: no error, the caller decides.
ERVOBJECTMODEL_EXPORT AVOVALUE ToAvoValue(const boost::posix_time::ptime& time, AvoValueType expectedType);

// Out of line, exported from the library.
extern template ERVOBJECTMODEL_EXPORT AVOVALUE ToAvoValue<unsigned char>(const unsigned char& value, AvoValueType expectedType);

} // namespace Erv
