#include "Cli.h"

#include "ErvLogging/Logging.h"

#include <log4cplus/configurator.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>
#include <log4cplus/spi/loggingevent.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

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

// Common options and logging ------------------------------------------------------------------

po::options_description CommonOptionsDescription(CommonOptions& options)
{
    po::options_description common("Common options");
    // clang-format off
    common.add_options()
        ("help,h", "show this help")
        ("format", po::value<std::string>()->value_name("human|tsv")->notifier([&options](const std::string& f) {
             if (f == "human")
                 options.format = Format::Human;
             else if (f == "tsv")
                 options.format = Format::Tsv;
             else
                 throw UsageError("--format must be human or tsv, not '" + f + "'");
         }),
         "aligned for a person (default), or tab-separated with a header line for a script")
        ("log-level", po::value(&options.logLevel)->value_name("LEVEL"),
         "show the library's log lines from LEVEL up on standard error: TRACE, DEBUG, INFO, WARN, ERROR")
        ("log-config", po::value(&options.logConfig)->value_name("FILE"),
         "configure log4cplus from a properties file");
    // clang-format on
    return common;
}

namespace {

log4cplus::LogLevel ParseLevel(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::toupper(c); });
    if (name == "TRACE")
        return log4cplus::TRACE_LOG_LEVEL;
    if (name == "DEBUG")
        return log4cplus::DEBUG_LOG_LEVEL;
    if (name == "INFO")
        return log4cplus::INFO_LOG_LEVEL;
    if (name == "WARN")
        return log4cplus::WARN_LOG_LEVEL;
    if (name == "ERROR")
        return log4cplus::ERROR_LOG_LEVEL;
    throw UsageError("--log-level must be TRACE, DEBUG, INFO, WARN or ERROR, not '" + name + "'");
}

} // namespace

void ConfigureLogging(const CommonOptions& options)
{
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    if (!options.logConfig.empty()) {
        if (!std::ifstream(options.logConfig))
            throw UsageError("cannot read the log configuration '" + options.logConfig + "'");
        log4cplus::PropertyConfigurator::doConfigure(options.logConfig);
    }
    if (!options.logLevel.empty()) {
        const log4cplus::LogLevel level = ParseLevel(options.logLevel);
        log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(true, true));
        console->setLayout(std::make_unique<log4cplus::PatternLayout>("%-5p %m%n"));
        console->setThreshold(level);
        logger.addAppender(console);
        // Refusals are explained with the library's WARN and ERROR lines, so those stay enabled
        // whatever the console shows.
        logger.setLogLevel(std::min(level, log4cplus::WARN_LOG_LEVEL));
    } else if (options.logConfig.empty()) {
        logger.setLogLevel(log4cplus::WARN_LOG_LEVEL);
    }
}

std::string OptionsText(const po::options_description& options)
{
    std::ostringstream text;
    text << options;
    std::string result;
    std::istringstream lines(text.str());
    for (std::string line; std::getline(lines, line);) {
        while (!line.empty() && line.back() == ' ')
            line.pop_back();
        result.append(line).append("\n");
    }
    return result;
}

// Command parsing -----------------------------------------------------------------------------

std::vector<po::option> NegativeNumbersArePositional(std::vector<std::string>& args)
{
    std::vector<po::option> result;
    const std::string& token = args.front();
    if (token.size() < 2 || token[0] != '-')
        return result;
    const char next = token[1];
    if (std::isdigit(static_cast<unsigned char>(next)) || next == '.' || token == "-inf" || token == "-nan") {
        po::option value;
        value.value.push_back(token);
        value.original_tokens.push_back(token);
        value.position_key = INT_MAX; // positional; the parser gives it its place
        result.push_back(std::move(value));
        args.erase(args.begin());
    }
    return result;
}

bool ParseCommand(const Invocation& invocation, const CommandHelp& help, const po::options_description& visible,
                  const po::options_description& hidden, const po::positional_options_description& positional,
                  po::variables_map& values)
{
    if (invocation.help) {
        std::ostream& out = *invocation.out;
        out << "Usage: " << help.usage << "\n\n" << help.about << "\n\n";
        if (!visible.options().empty())
            out << OptionsText(visible) << '\n';
        CommonOptions unused;
        out << OptionsText(CommonOptionsDescription(unused)) << "\nExamples:\n" << help.examples;
        return false;
    }
    po::options_description all;
    all.add(visible).add(hidden);
    try {
        po::store(po::command_line_parser(invocation.args)
                      .options(all)
                      .positional(positional)
                      .extra_style_parser(NegativeNumbersArePositional)
                      .run(),
                  values);
        po::notify(values);
    } catch (const po::error& e) {
        throw UsageError(e.what());
    }
    return true;
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

void TrimTrailingBlanks(std::string& text)
{
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
}

} // namespace

Record& Record::Add(std::string name, std::string value)
{
    m_fields.emplace_back(std::move(name), std::move(value));
    return *this;
}

void Record::Print(std::ostream& out, Format format) const
{
    std::string text;
    if (format == Format::Tsv) {
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
    : m_out(out), m_format(format), m_columns(std::move(columns)), m_streaming(streaming || format == Format::Tsv)
{
    for (Column& column : m_columns)
        column.width = std::max(column.width, column.name.size());
}

Table::~Table() { Flush(); }

void Table::Row(std::initializer_list<std::string_view> cells)
{
    if (!m_streaming) {
        m_pending.emplace_back(cells.begin(), cells.end());
        return;
    }
    if (!m_headerWritten)
        WriteHeader();
    WriteRow(std::vector<std::string_view>(cells));
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
    std::vector<std::string> names;
    for (const Column& column : m_columns)
        names.push_back(m_format == Format::Tsv ? TsvName(column.name) : column.name);
    WriteRow(std::vector<std::string_view>(names.begin(), names.end()));
}

void Table::WriteRow(const std::vector<std::string_view>& cells)
{
    const std::size_t start = m_buffer.size();
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (m_format == Format::Tsv) {
            if (i)
                m_buffer += '\t';
            AppendTsvCell(m_buffer, cells[i]);
            continue;
        }
        m_buffer.append(cells[i]);
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
