#include "GaMap.h"

#include "GroupAddress.h"
#include "ValueText.h"

#include "ErvObjectModel/KnxValueConverter.h"

#include <boost/algorithm/string/predicate.hpp>

#include <rapidxml/rapidxml.hpp>
#include <utf8.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

namespace Ervom {

namespace {

// Every failure of a file comes out through here, so that the messages keep one shape.
bool Fail(std::string& error, const std::string& name, std::size_t line, const std::string& message)
{
    error = name + ":" + std::to_string(line) + ": " + message;
    return false;
}

// A field as a message shows it: on one line of valid UTF-8, and short enough to read.
std::string Quoted(std::string_view field)
{
    constexpr std::size_t Longest = 40;
    std::string text;
    for (const char c : field.substr(0, Longest)) {
        if (c == '\n')
            text += "\\n";
        else if (c == '\r')
            text += "\\r";
        else if (c == '\t')
            text += "\\t";
        else
            text += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
    }
    std::string quoted = "'";
    // The cut may split a character, and an XML character reference may spell a lone surrogate.
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(quoted));
    return quoted + (field.size() > Longest ? "...'" : "'");
}

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t' || text.front() == '\r'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
        text.remove_suffix(1);
    return text;
}

// Windows-1252 bytes 0x80..0x9F; the five it leaves undefined keep the code point Windows gives them.
constexpr std::array<std::uint16_t, 32> Cp1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// Newer exports are UTF-8, older ones Windows-1252. A Windows-1252 name with letters beyond ASCII is
// almost never valid UTF-8 by accident, so validity decides.
std::string ToUtf8(std::string_view bytes)
{
    if (utf8::is_valid(bytes.begin(), bytes.end()))
        return std::string(bytes);
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 2);
    auto out = std::back_inserter(text);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            text += c;
        else
            utf8::append(byte < 0xA0 ? Cp1252High[byte - 0x80] : std::uint32_t{byte}, out);
    }
    return text;
}

// The DPT of an export's DatapointType or DPTs field: "DPST-9-1", "DPT-9", empty for none. A list
// names the address's own DPT last.
bool ReadDpt(std::string_view field, KNXDPT& dpt)
{
    field = Trim(field);
    const auto comma = field.rfind(',');
    if (comma != std::string_view::npos)
        field = Trim(field.substr(comma + 1));
    dpt = KNXDPT{0, 0, 0};
    if (field.empty())
        return true;
    DptText text;
    std::string unused;
    // Main number 0 is how the map says "none"; an export that writes it names no DPT at all.
    if (!ParseDpt(field, text, unused) || text.main == 0)
        return false;
    const std::uint32_t bits = Erv::KnxValueConverter::GetExpectedBitSize(text.main);
    dpt = text.ToKnxDpt(bits <= 0xFF ? static_cast<std::uint8_t>(bits) : 0);
    return true;
}

// "1/-/-", "1/0/-", "1/-": a main or middle group's own line, which carries no address.
bool IsRange(std::string_view field)
{
    const auto slash = field.find('/');
    if (slash == std::string_view::npos || slash == 0 || field.back() != '-')
        return false;
    bool dashes = false;
    std::size_t start = 0;
    for (;;) {
        const auto end = field.find('/', start);
        const std::string_view part = field.substr(start, end == std::string_view::npos ? end : end - start);
        if (part == "-")
            dashes = true;
        else if (dashes || part.empty() || !std::all_of(part.begin(), part.end(), [](char c) {
                     return c >= '0' && c <= '9';
                 }))
            return false;
        if (end == std::string_view::npos)
            return dashes;
        start = end + 1;
    }
}

// A name as the map keeps it: one line of valid UTF-8. XML character references can spell what UTF-8
// cannot hold (a lone surrogate) and control characters; both files can break a quoted name.
std::string CleanName(std::string_view text)
{
    std::string name;
    name.reserve(text.size());
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(name));
    std::replace_if(
        name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, ' ');
    return name;
}

class Builder {
public:
    Builder(const std::string& name, std::string& error, std::map<std::uint16_t, GaMapEntry>& entries)
        : m_name(name), m_error(error), m_entries(entries)
    {
    }

    bool Fail(std::size_t line, const std::string& message) { return Ervom::Fail(m_error, m_name, line, message); }

    bool Add(std::size_t line, std::string_view address, std::string_view name, std::string_view dpt)
    {
        const std::optional<std::uint16_t> parsed = ParseGroupAddress(Trim(address));
        if (!parsed)
            return Fail(line, Quoted(address) + " is no group address (1/2/3, 1/515 or 2563)");
        GaMapEntry entry;
        entry.address = *parsed;
        entry.name = CleanName(name);
        entry.line = line;
        if (!ReadDpt(dpt, entry.dpt))
            return Fail(line, Quoted(Trim(dpt)) + " is no DPT (DPST-9-1, DPT-9 or empty)");
        const auto inserted = m_entries.emplace(entry.address, std::move(entry));
        if (!inserted.second)
            return Fail(line, FormatGroupAddress(*parsed) + " is already defined on line " +
                                  std::to_string(inserted.first->second.line));
        return true;
    }

private:
    const std::string& m_name;
    std::string& m_error;
    std::map<std::uint16_t, GaMapEntry>& m_entries;
};

// CSV ---------------------------------------------------------------------------------------------

struct CsvRecord {
    std::size_t line = 0;
    std::vector<std::string> fields;
};

// Fields quoted or not; a quoted field may hold the separator, doubled quotes and line breaks.
class CsvReader {
public:
    CsvReader(std::string_view text, char separator) : m_text(text), m_separator(separator) {}

    // False at the end or on an error (then `message` is set and `record.line` says where).
    bool Next(CsvRecord& record, std::string& message)
    {
        while (m_pos < m_text.size()) {
            record.line = m_line;
            record.fields.clear();
            if (!ReadLine(record, message))
                return false;
            const bool blank = std::all_of(record.fields.begin(), record.fields.end(),
                                           [](const std::string& field) { return field.empty(); });
            if (!blank)
                return true;
        }
        return false;
    }

private:
    bool ReadLine(CsvRecord& record, std::string& message)
    {
        for (;;) {
            std::string field;
            while (m_pos < m_text.size() && m_text[m_pos] == ' ')
                ++m_pos;
            if (m_pos < m_text.size() && m_text[m_pos] == '"') {
                if (!ReadQuoted(field, record.line, message))
                    return false;
            } else {
                const std::size_t start = m_pos;
                while (m_pos < m_text.size() && m_text[m_pos] != m_separator && m_text[m_pos] != '\n')
                    ++m_pos;
                field = Trim(m_text.substr(start, m_pos - start));
            }
            record.fields.push_back(std::move(field));
            if (m_pos >= m_text.size())
                return true;
            if (m_text[m_pos++] == '\n') {
                ++m_line;
                return true;
            }
        }
    }

    bool ReadQuoted(std::string& field, std::size_t& line, std::string& message)
    {
        const std::size_t openedOn = m_line;
        ++m_pos;
        for (;;) {
            if (m_pos >= m_text.size()) {
                line = openedOn;
                message = "a quoted field is not closed";
                return false;
            }
            const char c = m_text[m_pos++];
            if (c == '"') {
                if (m_pos < m_text.size() && m_text[m_pos] == '"') {
                    field += '"';
                    ++m_pos;
                    continue;
                }
                break;
            }
            if (c == '\n')
                ++m_line;
            field += c;
        }
        while (m_pos < m_text.size() && (m_text[m_pos] == ' ' || m_text[m_pos] == '\r'))
            ++m_pos;
        if (m_pos < m_text.size() && m_text[m_pos] != m_separator && m_text[m_pos] != '\n') {
            line = m_line;
            message = "text after the closing quote of a field";
            return false;
        }
        return true;
    }

    std::string_view m_text;
    char m_separator;
    std::size_t m_pos = 0;
    std::size_t m_line = 1;
};

// The separator is what the first line holds most of outside quotes; a name may contain any of them
// only within quotes.
char DetectSeparator(std::string_view text)
{
    std::array<std::pair<char, std::size_t>, 3> counts = {{{'\t', 0}, {';', 0}, {',', 0}}};
    bool quoted = false;
    for (const char c : text) {
        if (c == '"')
            quoted = !quoted;
        else if (c == '\n' && !quoted)
            break;
        else if (!quoted)
            for (auto& count : counts)
                count.second += c == count.first;
    }
    const auto most = std::max_element(counts.begin(), counts.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    return most->second > 0 ? most->first : ',';
}

// Where the fields of a line are; npos for a column the file does not have.
struct Columns {
    static constexpr std::size_t None = std::string::npos;
    std::size_t name = None; // the one-line layout's "Group name"
    std::size_t main = None; // the three-level layout's columns
    std::size_t middle = None;
    std::size_t sub = None;
    std::size_t address = None;
    std::size_t dpt = None;

    bool ThreeLevel() const { return main != None; }
    // Fields a line must have: up to the address and the name; the DPT may be left off.
    std::size_t Needed() const
    {
        std::size_t needed = address + 1;
        for (const std::size_t column : {name, main, middle, sub})
            if (column != None)
                needed = std::max(needed, column + 1);
        return needed;
    }
};

// The layouts as ETS writes them when the header line is left out.
const Columns OneLineLayout = {0, Columns::None, Columns::None, Columns::None, 1, 5};
const Columns ThreeLevelLayout = {Columns::None, 0, 1, 2, 3, 7};

bool ColumnsFromHeader(const std::vector<std::string>& header, Columns& columns)
{
    columns = Columns{};
    for (std::size_t i = 0; i < header.size(); ++i) {
        const std::pair<const char*, std::size_t Columns::*> names[] = {
            {"Group name", &Columns::name}, {"Name", &Columns::name},     {"Main", &Columns::main},
            {"Middle", &Columns::middle},   {"Sub", &Columns::sub},       {"Address", &Columns::address},
            {"DatapointType", &Columns::dpt}};
        for (const auto& [text, member] : names)
            if (boost::algorithm::iequals(header[i], text) && columns.*member == Columns::None)
                columns.*member = i;
    }
    if (columns.address == Columns::None)
        return false;
    const bool threeLevel = columns.main != Columns::None && columns.middle != Columns::None && columns.sub != Columns::None;
    if (threeLevel)
        columns.name = Columns::None;
    else
        columns.main = columns.middle = columns.sub = Columns::None;
    return threeLevel || columns.name != Columns::None;
}

bool LooksLikeData(const std::vector<std::string>& fields, const Columns& columns)
{
    if (fields.size() < columns.Needed())
        return false;
    const std::string_view address = fields[columns.address];
    return ParseGroupAddress(address) || IsRange(address);
}

std::string Field(const std::vector<std::string>& fields, std::size_t column)
{
    return column < fields.size() ? fields[column] : std::string();
}

bool ParseCsv(std::string_view text, Builder& builder)
{
    CsvReader reader(text, DetectSeparator(text));
    CsvRecord record;
    std::string message;
    if (!reader.Next(record, message))
        return message.empty() ? builder.Fail(1, "no header line and no group address") : builder.Fail(record.line, message);

    Columns columns;
    bool pending = false; // the first line is data, not a header
    if (ColumnsFromHeader(record.fields, columns)) {
    } else if (LooksLikeData(record.fields, OneLineLayout)) {
        columns = OneLineLayout;
        pending = true;
    } else if (LooksLikeData(record.fields, ThreeLevelLayout)) {
        columns = ThreeLevelLayout;
        pending = true;
    } else {
        return builder.Fail(record.line, "no header line naming the Address and Group name (or Main, Middle, Sub) "
                                         "columns, and no group address where the columns of an export have one");
    }

    while (pending || reader.Next(record, message)) {
        pending = false;
        const std::vector<std::string>& fields = record.fields;
        if (fields.size() < columns.Needed())
            return builder.Fail(record.line, "the line ends before field " + std::to_string(columns.address + 1) +
                                                 ", the Address column");
        const std::string& address = fields[columns.address];
        if (IsRange(Trim(address)))
            continue;
        std::string name;
        if (columns.ThreeLevel()) {
            // The name stands in the column of the address's level, the sub column on an address line.
            for (const std::size_t column : {columns.sub, columns.middle, columns.main})
                if (name.empty())
                    name = Trim(fields[column]);
        } else {
            name = Trim(fields[columns.name]);
        }
        if (!builder.Add(record.line, address, name, Field(fields, columns.dpt)))
            return false;
    }
    if (!message.empty())
        return builder.Fail(record.line, message);
    return true;
}

// XML ---------------------------------------------------------------------------------------------

using XmlNode = rapidxml::xml_node<>;

class XmlReader {
public:
    XmlReader(std::string& text, Builder& builder) : m_text(text), m_builder(builder)
    {
        for (std::size_t i = 0; i < text.size(); ++i)
            if (text[i] == '\n')
                m_breaks.push_back(i);
    }

    bool Read()
    {
        rapidxml::xml_document<> document;
        try {
            document.parse<rapidxml::parse_validate_closing_tags>(m_text.data());
        } catch (const rapidxml::parse_error& e) {
            return m_builder.Fail(LineOf(e.where<char>()), std::string("malformed XML: ") + e.what());
        }
        const XmlNode* root = document.first_node();
        if (!root || Name(*root) != "GroupAddress-Export")
            return m_builder.Fail(root ? LineOf(root->name()) : 1, "no GroupAddress-Export element");
        return ReadRange(*root);
    }

private:
    static std::string_view Name(const XmlNode& node) { return {node.name(), node.name_size()}; }

    static std::optional<std::string_view> Attribute(const XmlNode& node, const char* name)
    {
        const auto* attribute = node.first_attribute(name);
        if (!attribute)
            return std::nullopt;
        return std::string_view(attribute->value(), attribute->value_size());
    }

    std::size_t LineOf(const char* where) const
    {
        const std::size_t offset = where && where >= m_text.data() ? static_cast<std::size_t>(where - m_text.data()) : 0;
        return 1 + static_cast<std::size_t>(std::lower_bound(m_breaks.begin(), m_breaks.end(), offset) - m_breaks.begin());
    }

    // Ranges nest as deep as the project's main and middle groups; other elements are not ours.
    bool ReadRange(const XmlNode& range)
    {
        for (const XmlNode* child = range.first_node(); child; child = child->next_sibling()) {
            if (child->type() != rapidxml::node_element)
                continue;
            const std::string_view name = Name(*child);
            if (name == "GroupRange") {
                if (!ReadRange(*child))
                    return false;
            } else if (name == "GroupAddress") {
                const std::size_t line = LineOf(child->name());
                const std::optional<std::string_view> address = Attribute(*child, "Address");
                if (!address)
                    return m_builder.Fail(line, "a GroupAddress without an Address attribute");
                if (!m_builder.Add(line, *address, Attribute(*child, "Name").value_or(""),
                                   Attribute(*child, "DPTs").value_or("")))
                    return false;
            }
        }
        return true;
    }

    std::string& m_text;
    Builder& m_builder;
    std::vector<std::size_t> m_breaks;
};

} // namespace

bool GaMap::Load(const std::string& path, std::string& error)
{
    m_entries.clear();
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        error = path + ": cannot open the file: " + std::strerror(errno);
        return false;
    }
    std::string text;
    // A read error (a directory, a failing disk) surfaces as an exception from the stream buffer.
    try {
        text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    } catch (const std::exception&) {
        file.setstate(std::ios::badbit);
    }
    if (file.bad()) {
        error = path + ": cannot read the file: " + std::strerror(errno);
        return false;
    }
    return Parse(text, path, error);
}

bool GaMap::Parse(const std::string& text, const std::string& name, std::string& error)
{
    m_entries.clear();
    std::string_view bytes = text;
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF")
        bytes.remove_prefix(3);
    Builder builder(name, error, m_entries);
    if (bytes.substr(0, 2) == "\xFF\xFE" || bytes.substr(0, 2) == "\xFE\xFF")
        return builder.Fail(1, "a UTF-16 file: export it as UTF-8");
    std::string utf8 = ToUtf8(bytes);
    const auto first = utf8.find_first_not_of(" \t\r\n");
    const bool ok = first != std::string::npos && utf8[first] == '<' ? XmlReader(utf8, builder).Read()
                                                                     : ParseCsv(utf8, builder);
    if (!ok)
        m_entries.clear();
    return ok;
}

const GaMapEntry* GaMap::Find(std::uint16_t address) const
{
    const auto found = m_entries.find(address);
    return found == m_entries.end() ? nullptr : &found->second;
}

} // namespace Ervom
