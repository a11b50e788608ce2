#include "ValueText.h"

#include "Cli.h"

#include "Erv/AvoValueHelper.h"
#include "ErvObjectModel/TimeOfDay.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <limits>

namespace Ervom {

namespace {

bool IsDigits(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

template <class T>
bool ReadNumber(std::string_view text, T& value, int base = 10)
{
    if (text.empty())
        return false;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// Always the C locale's decimal point, whatever the environment says.
bool ReadNumber(std::string_view text, double& value)
{
    if (text.empty())
        return false;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

std::string Lower(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return text;
}

} // namespace

// DPTs --------------------------------------------------------------------------------------------

bool ParseDpt(std::string_view text, DptText& dpt, std::string& error)
{
    std::uint16_t main = 0;
    std::uint16_t sub = 0;
    // Captures are mostly "9.001"; only the ETS spellings need their letters folded.
    const bool digitFirst = !text.empty() && text.front() >= '0' && text.front() <= '9';
    const std::string lower = digitFirst ? std::string() : Lower(text);
    std::string_view rest = digitFirst ? text : std::string_view(lower);
    // ETS writes "DPST-9-1" for a sub type and "DPT-9" for a main type.
    if (rest.substr(0, 5) == "dpst-") {
        rest.remove_prefix(5);
        const auto dash = rest.find('-');
        if (dash != std::string_view::npos && ReadNumber(rest.substr(0, dash), main) &&
            ReadNumber(rest.substr(dash + 1), sub) && IsDigits(rest.substr(dash + 1))) {
            dpt = DptText{main, sub};
            return true;
        }
    } else if (rest.substr(0, 4) == "dpt-") {
        rest.remove_prefix(4);
        if (IsDigits(rest) && ReadNumber(rest, main)) {
            dpt = DptText{main, 0};
            return true;
        }
    } else {
        const auto dot = rest.find('.');
        const std::string_view mainText = rest.substr(0, dot);
        if (IsDigits(mainText) && ReadNumber(mainText, main)) {
            if (dot == std::string_view::npos) {
                dpt = DptText{main, 0};
                return true;
            }
            const std::string_view subText = rest.substr(dot + 1);
            if (subText == "x") {
                dpt = DptText{main, 0};
                return true;
            }
            if (subText.size() == 3 && IsDigits(subText) && ReadNumber(subText, sub)) {
                dpt = DptText{main, sub};
                return true;
            }
        }
    }
    error = "'" + std::string(text) + "' is no DPT: write main.sub with the sub number in three digits (9.001), " +
            "or main.x or main for any sub number (9.x, 9)";
    return false;
}

DptText ParseDptOrThrow(std::string_view text)
{
    DptText dpt;
    std::string error;
    if (!ParseDpt(text, dpt, error))
        throw UsageError(error);
    return dpt;
}

// Hex bytes ---------------------------------------------------------------------------------------

namespace {

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

bool ParseHex(std::string_view text, std::vector<unsigned char>& bytes, std::string& error)
{
    std::size_t i = 0;
    const std::size_t n = text.size();
    while (i < n) {
        while (i < n && (text[i] == ' ' || text[i] == '\t'))
            ++i;
        if (i == n)
            break;
        std::size_t end = i;
        while (end < n && text[end] != ' ' && text[end] != '\t')
            ++end;
        std::string_view token = text.substr(i, end - i);
        i = end;
        if (token.front() == '$')
            token.remove_prefix(1);
        else if (token.size() > 2 && token[0] == '0' && (token[1] == 'x' || token[1] == 'X'))
            token.remove_prefix(2);
        bool valid = !token.empty() && (token.size() == 1 || token.size() % 2 == 0);
        for (std::size_t k = 0; valid && k < token.size(); ++k)
            valid = HexDigit(token[k]) >= 0;
        if (!valid) {
            error = "'" + std::string(token) + "' is no hex byte: write bytes as a bus monitor shows them (0C 1A)";
            return false;
        }
        if (token.size() == 1) {
            bytes.push_back(static_cast<unsigned char>(HexDigit(token[0])));
            continue;
        }
        for (std::size_t k = 0; k < token.size(); k += 2)
            bytes.push_back(static_cast<unsigned char>(HexDigit(token[k]) << 4 | HexDigit(token[k + 1])));
    }
    if (bytes.empty()) {
        error = "no bytes given";
        return false;
    }
    return true;
}

// Values ------------------------------------------------------------------------------------------

namespace {

enum class Form { Boolean, Floating, Signed, Unsigned, Text, Date, TimeOfDay, DateTime, None };

struct FormOfType {
    Form form;
    std::uint32_t max = 0; // for Unsigned
};

FormOfType FormOf(AvoValueType type)
{
    switch (static_cast<int>(type)) {
    case ivtBool: return {Form::Boolean};
    case ivtFloat:
    case ivtPercent:
    case ivtScaling:
    case ivtDimming:
    case ivtAngle: return {Form::Floating};
    case ivtInteger:
    case ivtLong: return {Form::Signed};
    case ivtChar:
    case ivtByte:
    case ivtEnum8: return {Form::Unsigned, 0xFF};
    case ivtWord: return {Form::Unsigned, 0xFFFF};
    case ivtDWord:
    case ivtCounter: return {Form::Unsigned, 0xFFFFFFFF};
    case ivtString: return {Form::Text};
    case ivtDate:
    case ivtDay: return {Form::Date};
    case ivtTime:
    case ivtDayTime:
    case ivtDuration: return {Form::TimeOfDay};
    case ivtDateTime:
    case ivtTimestamp:
    case ivtUtcDateTime: return {Form::DateTime};
    default: return {Form::None};
    }
}

[[noreturn]] void Expected(const std::string& text, AvoValueType type)
{
    throw UsageError("'" + text + "' is no value of type " + AVOVALUE::GetNameFromValueType(type) + ": expected " +
                     DescribeForm(type));
}

struct Date {
    unsigned short year;
    unsigned char month;
    unsigned char day;
};

struct Clock {
    unsigned char hour;
    unsigned char minute;
    unsigned char second;
};

// Fixed-width fields separated by `separator`; the widths are the most digits each may have.
template <std::size_t N>
bool ReadFields(std::string_view text, char separator, const std::array<std::size_t, N>& maxDigits,
                std::array<unsigned, N>& fields)
{
    for (std::size_t i = 0; i < N; ++i) {
        const auto end = i + 1 < N ? text.find(separator) : text.size();
        if (end == std::string_view::npos)
            return false;
        const std::string_view field = text.substr(0, end);
        if (!IsDigits(field) || field.size() > maxDigits[i] || !ReadNumber(field, fields[i]))
            return false;
        text.remove_prefix(i + 1 < N ? end + 1 : end);
    }
    return true;
}

bool ReadDate(std::string_view text, Date& date)
{
    std::array<unsigned, 3> fields{};
    if (text.size() < 8 || text.find('-') != 4 || !ReadFields<3>(text, '-', {4, 2, 2}, fields))
        return false;
    date = Date{static_cast<unsigned short>(fields[0]), static_cast<unsigned char>(fields[1]),
                static_cast<unsigned char>(fields[2])};
    return true;
}

bool ReadClock(std::string_view text, Clock& clock)
{
    std::array<unsigned, 3> fields{};
    if (std::count(text.begin(), text.end(), ':') != 2 || !ReadFields<3>(text, ':', {2, 2, 2}, fields))
        return false;
    clock = Clock{static_cast<unsigned char>(fields[0]), static_cast<unsigned char>(fields[1]),
                  static_cast<unsigned char>(fields[2])};
    return true;
}

bool ReadWeekday(std::string_view text, ErvApp::DayOfWeek& day)
{
    static const char* const names[] = {"monday", "tuesday", "wednesday", "thursday", "friday", "saturday", "sunday"};
    const std::string lower = Lower(text);
    for (int i = 0; i < 7; ++i) {
        const std::string full = names[i];
        if (lower == full || lower == full.substr(0, 3)) {
            day = static_cast<ErvApp::DayOfWeek>(i + 1);
            return true;
        }
    }
    return false;
}

AVOVALUE TimeOfDayValue(const Clock& clock, ErvApp::DayOfWeek day, AvoValueType type)
{
    // Where the fields make a time of day, the library's own constructor lays the value out as
    // the library's decoders do; otherwise the fields go in as they are and the library judges.
    if (const auto timeOfDay = ErvApp::TimeOfDay::Create(clock.hour, clock.minute, clock.second, day)) {
        AVOVALUE value = Erv::ToAvoValue(*timeOfDay, ivtDayTime);
        value.ivt = type;
        return value;
    }
    AVOTIME time;
    time.Clear(false);
    time.hour = clock.hour;
    time.minute = clock.minute;
    time.second = clock.second;
    time.weekDays = static_cast<unsigned short>(ErvApp::ToAvoWeekday(day));
    time.timeKind = 1;
    return AVOVALUE::Time(type, time);
}

} // namespace

std::string DescribeForm(AvoValueType type)
{
    const FormOfType form = FormOf(type);
    switch (form.form) {
    case Form::Boolean: return "true or false";
    case Form::Floating: return "a decimal number (21.5, -0.5, nan, inf)";
    case Form::Signed: return "a whole number from -2147483648 to 2147483647";
    case Form::Unsigned: return "a whole number from 0 to " + std::to_string(form.max) + " (or 0x...)";
    case Form::Text: return "any text";
    case Form::Date: return "a date YYYY-MM-DD";
    case Form::TimeOfDay: return "a time HH:MM:SS with an optional weekday (Mon 08:30:00)";
    case Form::DateTime: return "a date and time YYYY-MM-DD HH:MM:SS";
    case Form::None: break;
    }
    return "no text form (give the serialised value with --serialized)";
}

AVOVALUE ParseValue(const std::string& text, AvoValueType type)
{
    const FormOfType form = FormOf(type);
    const std::string_view trimmed = form.form == Form::Text ? std::string_view(text) : Trim(text);
    AVOVALUE value;
    switch (form.form) {
    case Form::Boolean: {
        const std::string lower = Lower(trimmed);
        if (lower == "true" || lower == "1")
            value = AVOVALUE::Bool(true);
        else if (lower == "false" || lower == "0")
            value = AVOVALUE::Bool(false);
        else
            Expected(text, type);
        break;
    }
    case Form::Floating: {
        std::string_view number = trimmed;
        if (!number.empty() && number.front() == '+')
            number.remove_prefix(1);
        double parsed = 0;
        if (!ReadNumber(number, parsed))
            Expected(text, type);
        value = AVOVALUE::Float(parsed);
        break;
    }
    case Form::Signed: {
        std::int32_t parsed = 0;
        if (!ReadNumber(trimmed, parsed))
            Expected(text, type);
        value = AVOVALUE::Integer(parsed);
        break;
    }
    case Form::Unsigned: {
        std::uint32_t parsed = 0;
        const bool hex = trimmed.size() > 2 && trimmed[0] == '0' && (trimmed[1] == 'x' || trimmed[1] == 'X');
        if (!ReadNumber(hex ? trimmed.substr(2) : trimmed, parsed, hex ? 16 : 10) || parsed > form.max)
            Expected(text, type);
        value = AVOVALUE::DWord(parsed); // the slot holds every unsigned kind; the type says which
        break;
    }
    case Form::Text: value = AVOVALUE::String(text); break;
    case Form::Date: {
        Date date{};
        if (!ReadDate(trimmed, date))
            Expected(text, type);
        AVOTIME time;
        time.Clear(true);
        time.SetDate(date.year, date.month, date.day, true);
        value = AVOVALUE::Time(type, time);
        break;
    }
    case Form::TimeOfDay: {
        // The weekday may stand before or after the time: "Mon 08:30:00", "08:30:00 Mon".
        std::string_view clockText = trimmed;
        ErvApp::DayOfWeek day = ErvApp::NoDay;
        const auto blank = trimmed.find(' ');
        if (blank != std::string_view::npos) {
            const std::string_view first = trimmed.substr(0, blank);
            const std::string_view second = Trim(trimmed.substr(blank + 1));
            if (ReadWeekday(first, day))
                clockText = second;
            else if (ReadWeekday(second, day))
                clockText = first;
            else
                Expected(text, type);
        }
        Clock clock{};
        if (!ReadClock(clockText, clock))
            Expected(text, type);
        value = TimeOfDayValue(clock, day, type);
        break;
    }
    case Form::DateTime: {
        const auto separator = trimmed.find_first_of(" T");
        Date date{};
        Clock clock{};
        if (separator == std::string_view::npos || !ReadDate(trimmed.substr(0, separator), date) ||
            !ReadClock(Trim(trimmed.substr(separator + 1)), clock))
            Expected(text, type);
        AVOTIME time;
        time.Clear(true);
        time.SetDateTime(date.year, date.month, date.day, clock.hour, clock.minute, clock.second, true);
        value = AVOVALUE::Time(type, time);
        break;
    }
    case Form::None: Expected(text, type);
    }
    value.ivt = type;
    return value;
}

AVOVALUE ParseSerialized(const std::string& text)
{
    AVOVALUE value;
    if (!value.Deserialize(text))
        throw UsageError("'" + text + "' is no serialised value (e.g. 3:21.5 for a float, 6:9 for a byte, " +
                         "10:Hello for a text)");
    return value;
}

} // namespace Ervom
