// Captures what the library logs, so that tests can check log lines like values:
//
//   LogCapture log;
//   converter.ToKnxValue(dpt, value, groupValue);
//   EXPECT_THAT(log.Lines(), ElementsAre(Error("Wrong DPT main number (2.x)!")));
//
// While a LogCapture lives, every level is enabled on the global logger and each line is
// recorded with its level. Thread-safe: lines may come from any thread.
#pragma once

#include <log4cplus/appender.h>
#include <log4cplus/loglevel.h>

#include <iosfwd>
#include <mutex>
#include <string>
#include <vector>

namespace ErvTest {

struct LogLine {
    int level = 0;
    std::string message; // the line without its prefix ("<context><function> - <padding>")
    bool operator==(const LogLine& other) const { return level == other.level && message == other.message; }
};

void PrintTo(const LogLine& line, std::ostream* os);

inline LogLine Debug(std::string m) { return {log4cplus::DEBUG_LOG_LEVEL, std::move(m)}; }
inline LogLine Info(std::string m) { return {log4cplus::INFO_LOG_LEVEL, std::move(m)}; }
inline LogLine Warn(std::string m) { return {log4cplus::WARN_LOG_LEVEL, std::move(m)}; }
inline LogLine Error(std::string m) { return {log4cplus::ERROR_LOG_LEVEL, std::move(m)}; }
inline LogLine Fatal(std::string m) { return {log4cplus::FATAL_LOG_LEVEL, std::move(m)}; }

class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Lines at INFO and above: what a host sees with its usual configuration.
    std::vector<LogLine> Lines() const;
    // Every line, DEBUG traces included.
    std::vector<LogLine> AllLines() const;
    // The complete texts as the logger received them, prefix included.
    std::vector<std::string> FullTexts() const;
    void Clear();

private:
    class Appender;
    log4cplus::SharedAppenderPtr m_appender;
    Appender* m_capture;
    log4cplus::LogLevel m_previousLevel;
};

} // namespace ErvTest
