// Cli.h's output half and the library's messages: no option parsing, so the fuzz targets and
// every target architecture build it.
#include "Cli.h"

#include "ErvLogging/Logging.h"

#include <log4cplus/spi/loggingevent.h>

#include <utf8.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <ostream>

namespace Ervom {

// LibraryMessages -----------------------------------------------------------------------------

class LibraryMessages::Appender : public log4cplus::Appender {
public:
    Appender() { setThreshold(log4cplus::WARN_LOG_LEVEL); }
    ~Appender() override { destructorImpl(); }
    void close() override {}

    std::vector<std::string> lines;

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        // "<context><function> - <padding><message>": a person wants the message.
        const std::string& text = event.getMessage();
        std::size_t start = text.find(" - ");
        start = start == std::string::npos ? 0 : start + 3;
        while (start < text.size() && text[start] == ' ')
            ++start;
        lines.push_back(text.substr(start));
    }
};

LibraryMessages::LibraryMessages() : m_appender(new Appender), m_shared(m_appender)
{
    Erv::GetGlobalDefaultLogger().addAppender(m_shared);
}

LibraryMessages::~LibraryMessages() { Erv::GetGlobalDefaultLogger().removeAppender(m_shared); }

void LibraryMessages::Clear() { m_appender->lines.clear(); }

const std::vector<std::string>& LibraryMessages::Lines() const { return m_appender->lines; }

std::string LibraryMessages::Joined(const char* fallback) const
{
    const std::vector<std::string>& lines = Lines();
    if (lines.empty())
        return fallback;
    std::string joined = lines.front();
    for (std::size_t i = 1; i < lines.size(); ++i)
        joined.append("; ").append(lines[i]);
    return joined;
}

// Output --------------------------------------------------------------------------------------

std::string TsvName(std::string_view name)
{
    std::string result(name);
    for (char& c : result)
        c = c == ' ' || c == '-' ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

namespace {

// A cell never breaks the line or the column structure of the tab-separated form.
void AppendTsvCell(std::string& out, std::string_view cell)
{
    for (const char c : cell)
        out += c == '\t' || c == '\n' || c == '\r' ? ' ' : c;
}

// Columns line up on a terminal, which shows a UTF-8 sequence as one character.
std::size_t DisplayWidth(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

void AppendJsonString(std::string& out, std::string_view text)
{
    std::string valid;
    if (!utf8::is_valid(text.begin(), text.end())) {
        utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid));
        text = valid;
    }
    out += '"';
    for (const char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        case '\r': out += "\\r"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                static const char digits[] = "0123456789abcdef";
                out.append("\\u00").append(1, digits[(c >> 4) & 0xF]).append(1, digits[c & 0xF]);
            } else {
                out += c;
            }
        }
    }
    out += '"';
}

void TrimTrailingBlanks(std::string& text)
{
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
}

} // namespace

void AppendJsonObject(std::string& out, const std::vector<std::string>& names,
                      const std::vector<std::string_view>& values)
{
    out += '{';
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i)
            out += ',';
        AppendJsonString(out, i < names.size() ? std::string_view(names[i]) : std::string_view("column"));
        out += ':';
        AppendJsonString(out, values[i]);
    }
    out += "}\n";
}

Record& Record::Add(std::string name, std::string value)
{
    m_fields.emplace_back(std::move(name), std::move(value));
    return *this;
}

void Record::Print(std::ostream& out, Format format) const
{
    std::string text;
    if (format == Format::Json) {
        std::vector<std::string> names;
        std::vector<std::string_view> values;
        for (const auto& field : m_fields) {
            names.push_back(TsvName(field.first));
            values.push_back(field.second);
        }
        AppendJsonObject(text, names, values);
    } else if (format == Format::Tsv) {
        for (std::size_t i = 0; i < m_fields.size(); ++i)
            text.append(i ? "\t" : "").append(TsvName(m_fields[i].first));
        text += '\n';
        for (std::size_t i = 0; i < m_fields.size(); ++i) {
            text.append(i ? "\t" : "");
            AppendTsvCell(text, m_fields[i].second);
        }
        text += '\n';
    } else {
        std::size_t width = 0;
        for (const auto& field : m_fields)
            width = std::max(width, field.first.size());
        for (const auto& field : m_fields) {
            std::string line = field.first;
            line.resize(width + 2, ' ');
            line += field.second;
            TrimTrailingBlanks(line);
            text.append(line).append("\n");
        }
    }
    out << text;
}

Table::Table(std::ostream& out, Format format, std::vector<Column> columns, bool streaming)
    : m_out(out), m_format(format), m_columns(std::move(columns)), m_streaming(streaming || format != Format::Human)
{
    for (Column& column : m_columns)
        column.width = std::max(column.width, column.name.size());
}

Table::~Table() { Flush(); }

void Table::Row(std::initializer_list<std::string_view> cells) { Row(std::vector<std::string_view>(cells)); }

void Table::Row(const std::vector<std::string_view>& cells)
{
    if (!m_streaming) {
        m_pending.emplace_back(cells.begin(), cells.end());
        return;
    }
    if (!m_headerWritten)
        WriteHeader();
    WriteRow(cells);
    if (m_buffer.size() > 1 << 16)
        WriteBuffer();
}

void Table::Flush()
{
    if (!m_streaming) {
        for (const auto& row : m_pending)
            for (std::size_t i = 0; i < row.size() && i < m_columns.size(); ++i)
                m_columns[i].width = std::max(m_columns[i].width, DisplayWidth(row[i]));
        WriteHeader();
        for (const auto& row : m_pending)
            WriteRow(std::vector<std::string_view>(row.begin(), row.end()));
        m_pending.clear();
        m_streaming = true; // rows after a flush go straight out with the widths now fixed
    } else if (!m_headerWritten) {
        WriteHeader();
    }
    WriteBuffer();
    m_out.flush();
}

void Table::WriteHeader()
{
    m_headerWritten = true;
    if (m_format == Format::Json)
        return; // each object names its fields
    std::vector<std::string> names;
    for (const Column& column : m_columns)
        names.push_back(m_format == Format::Tsv ? TsvName(column.name) : column.name);
    WriteRow(std::vector<std::string_view>(names.begin(), names.end()));
}

void Table::WriteRow(const std::vector<std::string_view>& cells)
{
    if (m_format == Format::Json) {
        if (m_jsonNames.empty())
            for (const Column& column : m_columns)
                m_jsonNames.push_back(TsvName(column.name));
        AppendJsonObject(m_buffer, m_jsonNames, cells);
        return;
    }
    const std::size_t start = m_buffer.size();
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (m_format == Format::Tsv) {
            if (i)
                m_buffer += '\t';
            AppendTsvCell(m_buffer, cells[i]);
            continue;
        }
        AppendTsvCell(m_buffer, cells[i]); // a row stays one line for a person too
        if (i + 1 < cells.size()) {
            const std::size_t width = i < m_columns.size() ? m_columns[i].width : 0;
            const std::size_t used = DisplayWidth(cells[i]);
            m_buffer.append(used < width ? width - used + 2 : 2, ' ');
        }
    }
    if (m_format == Format::Human) {
        while (m_buffer.size() > start && m_buffer.back() == ' ')
            m_buffer.pop_back();
    }
    m_buffer += '\n';
}

void Table::WriteBuffer()
{
    m_out.write(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
    m_buffer.clear();
}

} // namespace Ervom
