#include "AvoValue/AvoValue.h"

#include "ValueKinds.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <sstream>
#include <string_view>

namespace AvoValueDetail {

namespace {

constexpr TypeRow TypeTable[] = {
    {ivtInvalid, "ivtInvalid", StorageKind::None},
    {ivtEmpty, "ivtEmpty", StorageKind::None},
    {ivtBool, "ivtBool", StorageKind::Boolean},
    {ivtFloat, "ivtFloat", StorageKind::Double},
    {ivtInteger, "ivtInteger", StorageKind::Signed32},
    {ivtChar, "ivtChar", StorageKind::Byte},
    {ivtByte, "ivtByte", StorageKind::Byte},
    {ivtWord, "ivtWord", StorageKind::Word},
    {ivtDWord, "ivtDWord", StorageKind::DWord},
    {ivtBinary, "ivtBinary", StorageKind::None},
    {ivtString, "ivtString", StorageKind::Text},
    {ivtDate, "ivtDate", StorageKind::Calendar},
    {ivtTime, "ivtTime", StorageKind::Calendar},
    {ivtDateTime, "ivtDateTime", StorageKind::Calendar},
    {ivtLong, "ivtLong", StorageKind::Signed32},
    {ivtDayTime, "ivtDayTime", StorageKind::Calendar},
    {ivtCounter, "ivtCounter", StorageKind::DWord},
    {ivtTimestamp, "ivtTimestamp", StorageKind::Calendar},
    {ivtDuration, "ivtDuration", StorageKind::Calendar},
    {ivtDay, "ivtDay", StorageKind::Calendar},
    {ivtUtcDateTime, "ivtUtcDateTime", StorageKind::Calendar},
    {ivtPercent, "ivtPercent", StorageKind::Double},
    {ivtEnum8, "ivtEnum8", StorageKind::Byte},
    {ivtScaling, "ivtScaling", StorageKind::Double},
    {ivtDimming, "ivtDimming", StorageKind::Double},
    {ivtAngle, "ivtAngle", StorageKind::Double},
};

} // namespace

const TypeRow* FindType(AvoValueType type)
{
    for (const TypeRow& row : TypeTable) {
        if (row.type == type)
            return &row;
    }
    return nullptr;
}

} // namespace AvoValueDetail

namespace AvoDP {

namespace {

struct SubTypeRow {
    AvoValueSubType subType;
    const char* name;
};

constexpr SubTypeRow SubTypeTable[] = {
    {istGeneric, "istGeneric"},   {istSigned8, "istSigned8"},         {istSigned16, "istSigned16"},
    {istSwitch, "istSwitch"},     {istStatusMode, "istStatusMode"},   {istDimmingControl, "istDimmingControl"},
    {istKnxFloat, "istKnxFloat"}, {istSceneNumber, "istSceneNumber"}, {istAscii, "istAscii"},
    {istLatin1, "istLatin1"},
};

} // namespace

std::string GetNameFromValueSubType(AvoValueSubType subType)
{
    for (const SubTypeRow& row : SubTypeTable) {
        if (row.subType == subType)
            return row.name;
    }
    return "istUnknown(" + std::to_string(static_cast<std::int32_t>(subType)) + ")";
}

} // namespace AvoDP

namespace {

using AvoValueDetail::KindOf;
using AvoValueDetail::StorageKind;

// Marks the internal format between the type number and the colon.
constexpr std::string_view InternalRevision = ".7";

std::string FormatDouble(double value)
{
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value < 0 ? "-inf" : "inf";
    char buffer[32]; // the longest shortest form, e.g. "-2.2250738585072014e-308", has 24
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

// Backslash and the control bytes are escaped so that any byte string survives a line-based store.
void AppendEscaped(std::string& out, const std::string& text)
{
    static constexpr char Hex[] = "0123456789ABCDEF";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte == '\\' || byte < 0x20 || byte == 0x7F) {
            out += "\\x";
            out += Hex[byte >> 4];
            out += Hex[byte & 0x0F];
        } else {
            out += c;
        }
    }
}

void AppendCalendar(std::string& out, const AVOTIME& time)
{
    std::ostringstream os;
    os << time;
    char tail[48];
    std::snprintf(tail, sizeof tail, ".%02u w%u k%u l%u d%u", static_cast<unsigned>(time.hundredths),
                  static_cast<unsigned>(time.weekDays), static_cast<unsigned>(time.timeKind), time.isLocal ? 1u : 0u,
                  time.isDst ? 1u : 0u);
    out += os.str();
    out += tail;
}

// Reads a text front to back; every step either consumes what it expects or fails.
class Cursor {
public:
    explicit Cursor(std::string_view text) : m_text(text) {}

    bool Literal(std::string_view expected)
    {
        if (m_text.substr(0, expected.size()) != expected)
            return false;
        m_text.remove_prefix(expected.size());
        return true;
    }

    // At least `minDigits` decimal digits (no sign) whose value fits T.
    template <typename T>
    bool Number(T& value, std::size_t minDigits)
    {
        std::size_t count = 0;
        while (count < m_text.size() && m_text[count] >= '0' && m_text[count] <= '9')
            ++count;
        if (count == 0 || count < minDigits)
            return false;
        const char* end = m_text.data() + count;
        const auto result = std::from_chars(m_text.data(), end, value);
        if (result.ec != std::errc() || result.ptr != end)
            return false;
        m_text.remove_prefix(count);
        return true;
    }

    bool Flag(bool& value)
    {
        if (m_text.empty() || (m_text[0] != '0' && m_text[0] != '1'))
            return false;
        value = m_text[0] == '1';
        m_text.remove_prefix(1);
        return true;
    }

    std::string_view Rest() const { return m_text; }
    bool AtEnd() const { return m_text.empty(); }

private:
    std::string_view m_text;
};

// The whole text is one number of T (a leading '-' only where T is signed).
template <typename T>
bool ParseWhole(std::string_view text, T& value)
{
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

bool ParseDouble(std::string_view text, double& value)
{
    if (text == "nan") {
        value = std::numeric_limits<double>::quiet_NaN();
        return true;
    }
    if (text == "inf" || text == "-inf") {
        value = text[0] == '-' ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
        return true;
    }
    // from_chars also takes spellings such as "infinity"; only the three above are ours.
    return ParseWhole(text, value) && std::isfinite(value);
}

bool Unescape(std::string_view text, std::string& out)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x20 || byte == 0x7F)
            return false; // never written raw, so the text was not made by Serialize
        if (byte != '\\') {
            out += text[i];
            continue;
        }
        if (text.size() - i < 4 || text[i + 1] != 'x')
            return false;
        std::uint8_t decoded = 0;
        const char* digits = text.data() + i + 2;
        const auto result = std::from_chars(digits, digits + 2, decoded, 16);
        if (result.ec != std::errc() || result.ptr != digits + 2)
            return false;
        out += static_cast<char>(decoded);
        i += 3;
    }
    return true;
}

bool ParseCalendar(std::string_view text, AVOTIME& time)
{
    Cursor in(text);
    return in.Number(time.year, 4) && in.Literal("-") && in.Number(time.month, 2) && in.Literal("-") &&
           in.Number(time.day, 2) && in.Literal(" ") && in.Number(time.hour, 2) && in.Literal(":") &&
           in.Number(time.minute, 2) && in.Literal(":") && in.Number(time.second, 2) && in.Literal(".") &&
           in.Number(time.hundredths, 2) && in.Literal(" w") && in.Number(time.weekDays, 1) && in.Literal(" k") &&
           in.Number(time.timeKind, 1) && in.Literal(" l") && in.Flag(time.isLocal) && in.Literal(" d") &&
           in.Flag(time.isDst) && in.AtEnd();
}

template <typename T, typename Setter>
bool ParseInto(std::string_view text, AVOVALUE& value, Setter set)
{
    T number{};
    if (!ParseWhole(text, number))
        return false;
    (value.*set)(number);
    return true;
}

bool ParsePayload(StorageKind kind, std::string_view payload, AVOVALUE& value)
{
    switch (kind) {
    case StorageKind::None: return payload.empty();
    case StorageKind::Boolean:
        if (payload != "true" && payload != "false")
            return false;
        value.SetBool(payload == "true");
        return true;
    case StorageKind::Double: {
        double number = 0;
        if (!ParseDouble(payload, number))
            return false;
        value.SetDouble(number);
        return true;
    }
    case StorageKind::Signed32: return ParseInto<std::int32_t>(payload, value, &AVOVALUE::SetInteger);
    case StorageKind::Byte: return ParseInto<std::uint8_t>(payload, value, &AVOVALUE::SetByte);
    case StorageKind::Word: return ParseInto<std::uint16_t>(payload, value, &AVOVALUE::SetWord);
    case StorageKind::DWord: return ParseInto<std::uint32_t>(payload, value, &AVOVALUE::SetDWord);
    case StorageKind::Text: {
        std::string text;
        if (!Unescape(payload, text))
            return false;
        value.SetString(std::move(text));
        return true;
    }
    case StorageKind::Calendar: return ParseCalendar(payload, value.Time());
    }
    return false;
}

// A value of `type` with one field set and everything else zero or empty.
template <typename T>
AVOVALUE Make(AvoValueType type, void (AVOVALUE::*set)(T), T value)
{
    AVOVALUE result;
    result.ivt = type;
    (result.*set)(std::move(value));
    return result;
}

} // namespace

AVOVALUE AVOVALUE::Bool(bool value) { return Make(ivtBool, &AVOVALUE::SetBool, value); }
AVOVALUE AVOVALUE::Float(double value) { return Make(ivtFloat, &AVOVALUE::SetDouble, value); }
AVOVALUE AVOVALUE::Integer(std::int32_t value) { return Make(ivtInteger, &AVOVALUE::SetInteger, value); }
AVOVALUE AVOVALUE::Byte(std::uint8_t value) { return Make(ivtByte, &AVOVALUE::SetByte, value); }
AVOVALUE AVOVALUE::Word(std::uint16_t value) { return Make(ivtWord, &AVOVALUE::SetWord, value); }
AVOVALUE AVOVALUE::DWord(std::uint32_t value) { return Make(ivtDWord, &AVOVALUE::SetDWord, value); }
AVOVALUE AVOVALUE::String(std::string utf8) { return Make(ivtString, &AVOVALUE::SetString, std::move(utf8)); }

AVOVALUE AVOVALUE::Time(AvoValueType type, const AVOTIME& time)
{
    AVOVALUE result;
    result.ivt = type;
    result.m_time = time;
    return result;
}

double AVOVALUE::GetDouble() const
{
    double value = 0;
    std::memcpy(&value, &m_slot, sizeof value);
    return value;
}

void AVOVALUE::SetDouble(double value)
{
    static_assert(sizeof value == sizeof m_slot, "a double fills the slot");
    std::memcpy(&m_slot, &value, sizeof value);
}

std::string AVOVALUE::ToString() const
{
    switch (KindOf(ivt)) {
    case StorageKind::None: return std::string();
    case StorageKind::Boolean: return GetBool() ? "true" : "false";
    case StorageKind::Double: return FormatDouble(GetDouble());
    case StorageKind::Signed32: return std::to_string(GetInteger());
    case StorageKind::Byte: return std::to_string(GetByte());
    case StorageKind::Word: return std::to_string(GetWord());
    case StorageKind::DWord: return std::to_string(GetDWord());
    case StorageKind::Text: return m_text;
    case StorageKind::Calendar: {
        std::ostringstream os;
        os << m_time;
        return os.str();
    }
    }
    return std::string();
}

void AVOVALUE::Serialize(std::string& out, bool internalFormat) const
{
    out = std::to_string(static_cast<std::int32_t>(ivt));
    if (internalFormat)
        out += InternalRevision;
    out += ':';
    switch (KindOf(ivt)) {
    case StorageKind::Text: AppendEscaped(out, m_text); break;
    case StorageKind::Calendar: AppendCalendar(out, m_time); break;
    default: out += ToString(); break;
    }
}

bool AVOVALUE::Deserialize(const std::string& text)
{
    Cursor in(text);
    std::int32_t number = 0;
    if (!in.Number(number, 1))
        return false;
    in.Literal(InternalRevision); // both formats carry the same payload
    if (!in.Literal(":"))
        return false;
    const AvoValueDetail::TypeRow* row = AvoValueDetail::FindType(static_cast<AvoValueType>(number));
    if (!row)
        return false;
    AVOVALUE parsed;
    parsed.ivt = row->type;
    if (!ParsePayload(row->kind, in.Rest(), parsed))
        return false;
    *this = std::move(parsed);
    return true;
}

std::string AVOVALUE::GetNameFromValueType(AvoValueType type)
{
    if (const AvoValueDetail::TypeRow* row = AvoValueDetail::FindType(type))
        return row->name;
    return "ivtUnknown(" + std::to_string(static_cast<std::int32_t>(type)) + ")";
}

bool AVOVALUE::operator==(const AVOVALUE& other) const
{
    if (ivt != other.ivt)
        return false;
    const AvoValueDetail::TypeRow* row = AvoValueDetail::FindType(ivt);
    if (!row) // nothing tells which field matters, so all of them do
        return m_slot == other.m_slot && m_text == other.m_text && m_time == other.m_time;
    switch (row->kind) {
    case StorageKind::None: return true;
    case StorageKind::Text: return m_text == other.m_text;
    case StorageKind::Calendar: return m_time == other.m_time;
    default: return m_slot == other.m_slot;
    }
}

std::ostream& operator<<(std::ostream& os, const AVOVALUE& value)
{
    return os << AVOVALUE::GetNameFromValueType(value.ivt) << '(' << value.ToString() << ')';
}
