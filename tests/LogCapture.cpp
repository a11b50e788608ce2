#include "LogCapture.h"

#include "ErvLogging/Logging.h"

#include <log4cplus/spi/loggingevent.h>

#include <ostream>

namespace ErvTest {

class LogCapture::Appender : public log4cplus::Appender {
public:
    ~Appender() override { destructorImpl(); }
    void close() override {}

    std::vector<std::pair<int, std::string>> Take(bool clear)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto copy = m_lines;
        if (clear)
            m_lines.clear();
        return copy;
    }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.emplace_back(event.getLogLevel(), event.getMessage());
    }

private:
    std::mutex m_mutex;
    std::vector<std::pair<int, std::string>> m_lines;
};

namespace {
std::string WithoutPrefix(const std::string& text)
{
    const auto separator = text.find(" - ");
    if (separator == std::string::npos)
        return text;
    auto start = separator + 3;
    while (start < text.size() && text[start] == ' ')
        ++start; // recursion padding
    return text.substr(start);
}

const char* LevelName(int level)
{
    switch (level) {
    case log4cplus::DEBUG_LOG_LEVEL: return "DEBUG";
    case log4cplus::INFO_LOG_LEVEL: return "INFO";
    case log4cplus::WARN_LOG_LEVEL: return "WARN";
    case log4cplus::ERROR_LOG_LEVEL: return "ERROR";
    case log4cplus::FATAL_LOG_LEVEL: return "FATAL";
    default: return "LEVEL?";
    }
}
} // namespace

void PrintTo(const LogLine& line, std::ostream* os) { *os << LevelName(line.level) << " \"" << line.message << '"'; }

LogCapture::LogCapture() : m_capture(new Appender)
{
    m_appender = log4cplus::SharedAppenderPtr(m_capture);
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    m_previousLevel = logger.getLogLevel();
    logger.setLogLevel(log4cplus::TRACE_LOG_LEVEL);
    logger.addAppender(m_appender);
}

LogCapture::~LogCapture()
{
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    logger.removeAppender(m_appender);
    logger.setLogLevel(m_previousLevel);
}

std::vector<LogLine> LogCapture::AllLines() const
{
    std::vector<LogLine> lines;
    for (auto& [level, text] : m_capture->Take(false))
        lines.push_back({level, WithoutPrefix(text)});
    return lines;
}

std::vector<LogLine> LogCapture::Lines() const
{
    std::vector<LogLine> lines;
    for (auto& line : AllLines())
        if (line.level >= log4cplus::INFO_LOG_LEVEL)
            lines.push_back(std::move(line));
    return lines;
}

std::vector<std::string> LogCapture::FullTexts() const
{
    std::vector<std::string> texts;
    for (auto& line : m_capture->Take(false))
        texts.push_back(line.second);
    return texts;
}

void LogCapture::Clear() { m_capture->Take(true); }

} // namespace ErvTest
