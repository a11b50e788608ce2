#include "ErvObjectModel/GroupValueAvoValue.h"

#include "Erv/AvoValueHelper.h"
#include "Erv/MeasureDuration.h"
#include "Erv/Unreachable.h"
#include "ErvLogging/Logging.h"
#include "ErvObjectModel/KnxLumMapping.h"
#include "ErvObjectModel/KnxValueConverter.h"
#include "ErvObjectModel/TimeOfDay.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <utf8.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <exception>
#include <iterator>
#include <stdexcept>

namespace Erv {

namespace {

// How a family of DPTs travels on the bus. Each conversion has one case per format.
enum class Format : std::uint8_t {
    None,
    Boolean,
    Unsigned2,
    Unsigned3,
    Unsigned4,
    Unsigned8,
    SceneNumber,
    Signed8,
    Unsigned16,
    Signed16,
    Float16,
    TimeOfDay,
    Date,
    Unsigned24,
    Unsigned32,
    Signed32,
    Float32,
    String14,
    DateTime,
};

struct Encoding {
    Format format;
    unsigned short mainTypes[6]; // zero-padded
};

// The application side of each family is the value type KnxLumMapping gives its main type.
constexpr Encoding Encodings[] = {
    {Format::Boolean, {1}},                        // ivtBool
    {Format::Unsigned2, {2, 23}},                  // ivtByte
    {Format::Unsigned4, {3}},                      // ivtByte
    {Format::Unsigned8, {5, 18, 20, 21, 26, 238}}, // ivtByte
    {Format::SceneNumber, {17}},                   // ivtByte, only 0..63 towards the bus
    {Format::Signed8, {6}},                        // ivtByte holding the bits of the signed byte
    {Format::Unsigned16, {7, 22, 217, 234, 237}},  // ivtWord, clamped towards the bus
    {Format::Signed16, {8}},                       // ivtInteger, clamped towards the bus
    {Format::Float16, {9}},                        // ivtFloat
    {Format::TimeOfDay, {10}},                     // ivtDayTime
    {Format::Date, {11}},                          // ivtDate
    {Format::Unsigned32, {12, 15, 27}},            // ivtDWord
    {Format::Unsigned24, {232}},                   // ivtDWord, three bytes towards the bus
    {Format::Signed32, {13}},                      // ivtInteger
    {Format::Float32, {14}},                       // ivtFloat
    {Format::String14, {16}},                      // ivtString, Latin-1 on the bus
    {Format::DateTime, {19}},                      // ivtDateTime
    {Format::Unsigned3, {31}},                     // ivtByte, received only
};

constexpr std::size_t MainTypeLimit = 239; // every main type above is unsupported

// Format by main type, worked out by the compiler; a main type listed twice does not compile.
constexpr std::array<Format, MainTypeLimit> IndexFormats()
{
    std::array<Format, MainTypeLimit> index{};
    for (const Encoding& encoding : Encodings) {
        for (const unsigned short mainType : encoding.mainTypes) {
            if (mainType == 0)
                break;
            if (mainType >= MainTypeLimit || index[mainType] != Format::None)
                throw "main type outside the index or listed twice";
            index[mainType] = encoding.format;
        }
    }
    return index;
}
constexpr std::array<Format, MainTypeLimit> Formats = IndexFormats();

Format FormatOf(unsigned long mainType) { return mainType < MainTypeLimit ? Formats[mainType] : Format::None; }

constexpr unsigned char LastSceneNumber = 63;
constexpr boost::timer::nanosecond_type DecodingReportThresholdNs = 100000000; // 100 ms

unsigned long MainNumber(unsigned long dpt) { return dpt >> 16; }
unsigned long SubNumber(unsigned long dpt) { return dpt & 0xFFFF; }

std::string DateText(const AVOTIME& time)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u", static_cast<unsigned>(time.year),
                  static_cast<unsigned>(time.month), static_cast<unsigned>(time.day));
    return text;
}

using DateTimeOctets = std::array<unsigned char, 8>;

// DPT 19.001: year - 1900, month, day, weekday (Monday 1 .. Sunday 7) with hour, minute, second,
// status flags, clock quality. Empty when the calendar refuses a field: years 1400..9999, months
// 1..12, days 1..31.
boost::optional<DateTimeOctets> ToDateTimeOctets(const AVOTIME& time)
{
    const std::tm calendar = time.ToTm();
    boost::optional<boost::gregorian::greg_year_month_day> date;
    try {
        date.emplace(static_cast<unsigned short>(calendar.tm_year + 1900),
                     static_cast<unsigned short>(calendar.tm_mon + 1), static_cast<unsigned short>(calendar.tm_mday));
    } catch (const std::out_of_range&) {
        return boost::none;
    }
    const bool realDate = date->day <= boost::gregorian::gregorian_calendar::end_of_month_day(date->year, date->month);
    const bool realTime =
        AVOTIME::IsValidTime(static_cast<unsigned char>(calendar.tm_hour), static_cast<unsigned char>(calendar.tm_min),
                             static_cast<unsigned char>(calendar.tm_sec));
    constexpr unsigned char NoWorkingDay = 0x20; // NWD: the working-day field is not valid
    constexpr unsigned char NoDayOfWeek = 0x04;  // NDOW
    const int weekday = !realDate ? 0 : calendar.tm_wday == 0 ? 7 : calendar.tm_wday;
    // Kept as receivers know it: an impossible date goes out as 1970-01-01 without weekday, an
    // impossible time as 00:00:00 without the no-time flag.
    return DateTimeOctets{
        // Modulo 256 outside 1900..2155, kept.
        static_cast<unsigned char>(realDate ? calendar.tm_year : 70),
        static_cast<unsigned char>(realDate ? calendar.tm_mon + 1 : 1),
        static_cast<unsigned char>(realDate ? calendar.tm_mday : 1),
        static_cast<unsigned char>(weekday << 5 | (realTime ? calendar.tm_hour : 0)),
        static_cast<unsigned char>(realTime ? calendar.tm_min : 0),
        static_cast<unsigned char>(realTime ? calendar.tm_sec : 0),
        static_cast<unsigned char>(realDate ? NoWorkingDay : NoWorkingDay | NoDayOfWeek),
        0,
    };
}

// Built on first use, once per process (the runtime guards the construction); only read afterwards.
struct SharedConverter {
    KnxValueConverter converter;
    bool ready;

    SharedConverter() : ready(converter.Init()) {}

    static const SharedConverter& Get()
    {
        static const SharedConverter shared;
        return shared;
    }
};

} // namespace

boost::optional<KnxStack::GroupValue> AvoValueToGroupValue(const AVOVALUE& value, unsigned long dpt)
{
    KnxStack::GroupValue groupValue;
    const AvoValueType expected = KnxLumMapping::GetIvtFromDpt(static_cast<unsigned int>(dpt));
    if (value.ivt != expected) {
        ERV_LOG_ERROR("Value type mismatch: Expected '" << AVOVALUE::GetNameFromValueType(expected) << "', got '"
                                                        << AVOVALUE::GetNameFromValueType(value.ivt) << "'");
        return boost::none;
    }
    const unsigned long mainType = MainNumber(dpt);
    const Format format = FormatOf(mainType);
    if (format == Format::None || format == Format::Unsigned3) {
        ERV_LOG_ERROR("Value type " << mainType << " not supported (dwDPT=" << dpt << " with value='"
                                    << "ivt: " << value.ivt << ", ToString(): " << value.ToString() << "').");
        return boost::none;
    }
    try {
        switch (format) {
        case Format::Boolean: groupValue.SetAsBoolean(value.GetBool()); break;
        case Format::Unsigned2: groupValue.SetAsUnsigned2(value.GetByte()); break;
        case Format::Unsigned4: groupValue.SetAsUnsigned4(value.GetByte()); break;
        case Format::Unsigned8: groupValue.SetAsUnsigned8(value.GetByte()); break;
        case Format::SceneNumber:
            if (value.GetByte() > LastSceneNumber)
                return boost::none;
            groupValue.SetAsUnsigned8(value.GetByte());
            break;
        case Format::Signed8: groupValue.SetAsSigned8(static_cast<signed char>(value.GetByte())); break;
        case Format::Unsigned16: {
            // Read as 32 bits: a word value may carry more.
            const std::uint32_t number = value.GetDWord();
            if (number > 0xFFFF)
                ERV_LOG_ERROR("Value out of range: " << number << " (DPT " << dpt << ")");
            groupValue.SetAsUnsigned16(static_cast<unsigned short>(std::min<std::uint32_t>(number, 0xFFFF)));
            break;
        }
        case Format::Signed16: {
            const std::int32_t number = value.GetInteger();
            if (static_cast<std::uint32_t>(number) + 32768u > 0xFFFFu)
                ERV_LOG_ERROR("Value out of range: " << number << " (DPT " << dpt << ")");
            groupValue.SetAsSigned16(static_cast<short>(std::clamp<std::int32_t>(number, -32768, 32767)));
            break;
        }
        case Format::Float16: {
            const double number = value.GetDouble();
            // Dropped without a word; NaN, on the other hand, goes out as the invalid-data pattern.
            if (std::isinf(number))
                return boost::none;
            groupValue.SetAsFloat16(number);
            break;
        }
        case Format::TimeOfDay: {
            const AVOTIME& time = value.GetTime();
            const boost::optional<ErvApp::TimeOfDay> timeOfDay = ErvApp::FromAvoTime(time);
            if (!timeOfDay) {
                ERV_LOG_ERROR("Could not convert AVOTIME " << time << " to TimeOfDay");
                return boost::none;
            }
            // Both weekday enumerations count Monday 1 to Sunday 7, 0 for no day.
            groupValue.SetAsTimeOfDay(timeOfDay->GetHour(), timeOfDay->GetMinute(), timeOfDay->GetSecond(),
                                      static_cast<KnxStack::GroupValue::DayOfWeek>(timeOfDay->GetWeekday()));
            break;
        }
        case Format::Date: {
            const AVOTIME& time = value.GetTime();
            if (!AVOTIME::IsValidDate(time.year, time.month, time.day)) {
                ERV_LOG_ERROR("Not a valid date: " << DateText(time));
                return boost::none;
            }
            groupValue.SetAsDate(time.year, time.month, time.day);
            break;
        }
        case Format::Unsigned24: {
            // The top byte of a larger number is dropped without a word.
            const std::uint32_t number = value.GetDWord();
            const unsigned char bytes[] = {static_cast<unsigned char>(number >> 16),
                                           static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)};
            groupValue.SetRawData(KnxStack::BinaryData(bytes, sizeof bytes));
            break;
        }
        case Format::Unsigned32: groupValue.SetAsUnsigned32(value.GetDWord()); break;
        case Format::Signed32: groupValue.SetAsSigned32(value.GetInteger()); break;
        case Format::Float32: groupValue.SetAsFloat32(static_cast<float>(value.GetDouble())); break;
        case Format::String14: {
            const std::string& text = value.GetString();
            // Plain ASCII is its own Latin-1: the common text needs neither validation nor recoding.
            if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
                groupValue.SetAsString14(text);
                break;
            }
            if (!utf8::is_valid(text.begin(), text.end())) {
                ERV_LOG_ERROR("Got AVOVALUE that contains a non-UTF8 string");
                return boost::none;
            }
            groupValue.SetAsString14(getLatin1FromUTF8Lossy(text));
            break;
        }
        case Format::DateTime: {
            const boost::optional<DateTimeOctets> octets = ToDateTimeOctets(value.GetTime());
            if (!octets) {
                // The message names the time of day, as the DPT 10 one does; hosts know it by this text.
                ERV_LOG_ERROR("Could not convert AVOTIME " << value.GetTime() << " to TimeOfDay");
                return boost::none;
            }
            groupValue = KnxStack::GroupValue(KnxStack::BinaryData(octets->data(), octets->size()), 64);
            break;
        }
        case Format::None:
        case Format::Unsigned3: ERV_UNREACHABLE(); // refused above
        }
    } catch (const std::exception& e) {
        ERV_LOG_ERROR("Could not convert value '" << value.ToString() << "' for DPT " << dpt << ": " << e.what());
        return boost::none;
    }
    return groupValue;
}

boost::optional<AVOVALUE> GroupValueToAvoValue(const KnxStack::GroupValue& groupValue, unsigned long dpt)
{
    const MeasureDuration measure("Decoding a KNX value took ", DecodingReportThresholdNs);
    const unsigned long mainType = MainNumber(dpt);
    const unsigned long subType = SubNumber(dpt);
    const AvoValueType expected = KnxLumMapping::GetIvtFromDpt(static_cast<unsigned int>(dpt));
    if (expected == ivtEmpty) {
        ERV_LOG_ERROR("Unsupported DPT: " << mainType << '.' << subType);
        return boost::none;
    }
    if (!CheckGroupValue(groupValue, dpt)) {
        ERV_LOG_ERROR("Received invalid value " << groupValue.GetRawData().ToString() << " for DPT " << mainType << '.'
                                                << subType);
        return boost::none;
    }
    const KnxStack::BinaryData& raw = groupValue.GetRawData();
    try {
        switch (FormatOf(mainType)) {
        case Format::Boolean: return ToAvoValue<bool>(groupValue.GetAsBoolean(), expected);
        case Format::Unsigned2: return ToAvoValue<unsigned char>(groupValue.GetAsUnsigned2(), expected);
        case Format::Unsigned3: return ToAvoValue<unsigned char>(groupValue.GetAsUnsigned3(), expected);
        case Format::Unsigned4: return ToAvoValue<unsigned char>(groupValue.GetAsUnsigned4(), expected);
        case Format::Unsigned8:
        case Format::SceneNumber: return ToAvoValue<unsigned char>(groupValue.GetAsUnsigned8(), expected);
        case Format::Signed8:
            return ToAvoValue<unsigned char>(static_cast<unsigned char>(groupValue.GetAsSigned8()), expected);
        case Format::Unsigned16: return ToAvoValue<unsigned short>(groupValue.GetAsUnsigned16(), expected);
        case Format::Signed16: return ToAvoValue<short>(groupValue.GetAsSigned16(), expected);
        case Format::Float16: return ToAvoValue<double>(groupValue.GetAsFloat16(), expected);
        case Format::TimeOfDay: {
            int hour = 0;
            int minute = 0;
            int second = 0;
            KnxStack::GroupValue::DayOfWeek day = KnxStack::GroupValue::NoDay;
            groupValue.GetAsTimeOfDay(&hour, &minute, &second, &day);
            const boost::optional<ErvApp::TimeOfDay> timeOfDay =
                ErvApp::TimeOfDay::Create(hour, minute, second, static_cast<ErvApp::DayOfWeek>(day));
            if (!timeOfDay) {
                ERV_LOG_WARN("Received invalid DPT 10 time of day: " << hour << ':' << minute << ':' << second << ' '
                                                                     << static_cast<int>(day));
                return boost::none;
            }
            return ToAvoValue(*timeOfDay, expected);
        }
        case Format::Date: {
            if (raw.GetLength() != 3) {
                ERV_LOG_WARN("Received an invalid DPT 11.001 date from the KNX: Length in bytes is " << raw.GetLength()
                                                                                                     << ", expected 3");
                return boost::none;
            }
            const unsigned int twoDigitYear = raw.GetUInt8Value(2);
            if (twoDigitYear > 99) {
                ERV_LOG_WARN("Received an invalid DPT 11.001 date from the KNX: Year " << twoDigitYear
                                                                                       << " is out of range (0-99)");
                return boost::none;
            }
            int year = 0;
            int month = 0;
            int day = 0;
            groupValue.GetAsDate(&year, &month, &day); // the century comes from the KNX stack
            if (year < 1990 || year > 2089 ||
                !AVOTIME::IsValidDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                                      static_cast<unsigned char>(day))) {
                ERV_LOG_WARN("Received an invalid DPT 11.001 date from the KNX: year " << year << ", month " << month
                                                                                       << ", day " << day);
                return boost::none;
            }
            const boost::gregorian::date date(static_cast<unsigned short>(year), static_cast<unsigned short>(month),
                                              static_cast<unsigned short>(day));
            return ToAvoValue(boost::posix_time::ptime(date), expected);
        }
        case Format::Unsigned24:
        case Format::Unsigned32: return ToAvoValue<unsigned long>(raw.GetUInt32Value(0), expected);
        case Format::Signed32: return ToAvoValue<long>(groupValue.GetAsSigned32(), expected);
        case Format::Float32: return ToAvoValue<double>(groupValue.GetAsFloat32(), expected);
        case Format::String14:
            return ToAvoValue<std::string>(getUTF8FromLatin1(groupValue.GetAsString14()).Str(), expected);
        case Format::DateTime: {
            // The weekday and the status flags are not read: the date tells the weekday.
            const boost::gregorian::date date(static_cast<unsigned short>(1900 + raw.GetUInt8Value(0)),
                                              static_cast<unsigned short>(raw.GetUInt8Value(1) & 0x0F),
                                              static_cast<unsigned short>(raw.GetUInt8Value(2) & 0x1F));
            const boost::posix_time::time_duration time(raw.GetUInt8Value(3) & 0x1F, raw.GetUInt8Value(4) & 0x3F,
                                                        raw.GetUInt8Value(5) & 0x3F);
            return ToAvoValue(boost::posix_time::ptime(date, time), expected);
        }
        case Format::None: break;
        }
    } catch (const std::exception& e) {
        ERV_LOG_ERROR("Could not decode " << raw.ToString() << " for DPT " << mainType << '.' << subType << ": "
                                          << e.what());
        return boost::none;
    }
    // A main type with a value type but no bus encoding here.
    ERV_LOG_ERROR("Unsupported DPT: " << mainType << '.' << subType);
    return boost::none;
}

bool CheckGroupValue(const KnxStack::GroupValue& groupValue, unsigned long dpt)
{
    const unsigned int size = groupValue.GetDefinedSize();
    const SharedConverter& shared = SharedConverter::Get();
    if (!shared.ready) {
        ERV_LOG_ERROR("Could not Init() the value converter");
        return false;
    }
    ERV_LOG_DEBUG("DPT is " << dpt << " with bit size " << size);
    KNXDPT knxDpt{static_cast<std::uint8_t>(size), static_cast<std::uint16_t>(MainNumber(dpt)),
                  static_cast<std::uint16_t>(SubNumber(dpt))};
    AVOVALUE decoded; // only whether it decodes counts
    return shared.converter.FromKnxValue(knxDpt, groupValue, decoded);
}

UTF8String RepairUTF8(std::string text)
{
    if (utf8::is_valid(text.begin(), text.end()))
        return UTF8String(std::move(text));
    // A sequence cut off at the very end must read as invalid, not as merely incomplete: give it a
    // byte to fail on.
    text.push_back('\0');
    std::string repaired;
    repaired.reserve(text.size());
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(repaired), '?');
    if (!repaired.empty() && repaired.back() == '\0')
        repaired.pop_back();
    boost::optional<UTF8String> result;
    if (utf8::is_valid(repaired.begin(), repaired.end()))
        result = UTF8String(std::move(repaired));
    return UndefinedBehaviourIfNone(std::move(result));
}

} // namespace Erv
