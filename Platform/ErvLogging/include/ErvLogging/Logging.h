// Logging of the platform: every line goes to one global log4cplus logger and has the shape
//   <context><function signature> - <recursion padding><message>
// Use the ERV_LOG_* macros; a call whose level is disabled costs one level test and builds no
// string. Thread-safe; the context and the recursion depth are per thread.
//
//   ERV_LOG_ERROR("Value out of raw range [0..15]: " << value);
#pragma once

#include "ErvLogging/Export.h"

#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

#include <sstream>
#include <string>

namespace Erv {

// The logger of the whole process (the log4cplus root logger). Hosts configure it.
ERVLOGGING_EXPORT log4cplus::Logger& GetGlobalDefaultLogger();

// A per-thread prefix of every line, empty unless the thread sets one (e.g. "[AppHost] ").
ERVLOGGING_EXPORT const std::string& GetLoggingContext();
ERVLOGGING_EXPORT void SetLoggingContext(std::string context);

// Writes the compiler's signature of a function, e.g. "void Erv::FloatRange::CalculateScaleFactor()".
class ERVLOGGING_EXPORT PrettyFunctionNamePrinter {
public:
    explicit PrettyFunctionNamePrinter(const char* prettyFunction) : m_name(prettyFunction) {}
    friend std::ostream& operator<<(std::ostream& os, const PrettyFunctionNamePrinter& p) { return os << p.m_name; }

private:
    const char* m_name;
};

// Writes two blanks per LoggingRecursionScope open on the calling thread, so that nested
// operations indent their lines.
class ERVLOGGING_EXPORT LoggingRecursionPadding {
public:
    friend std::ostream& operator<<(std::ostream& os, const LoggingRecursionPadding& p);
};

class ERVLOGGING_EXPORT LoggingRecursionScope {
public:
    LoggingRecursionScope();
    ~LoggingRecursionScope();
    LoggingRecursionScope(const LoggingRecursionScope&) = delete;
    LoggingRecursionScope& operator=(const LoggingRecursionScope&) = delete;
};

// The stream a log line is composed in. Differs from std::ostream only in writing the
// one-byte integer types as numbers (a byte 5 is "5", not a control character).
class ERVLOGGING_EXPORT LogStream {
public:
    template <class T>
    LogStream& operator<<(const T& value)
    {
        m_os << value;
        return *this;
    }
    LogStream& operator<<(unsigned char value)
    {
        m_os << static_cast<unsigned int>(value);
        return *this;
    }
    LogStream& operator<<(signed char value)
    {
        m_os << static_cast<int>(value);
        return *this;
    }
    LogStream& operator<<(std::ostream& (*manipulator)(std::ostream&))
    {
        m_os << manipulator;
        return *this;
    }
    LogStream& operator<<(std::ios_base& (*manipulator)(std::ios_base&))
    {
        m_os << manipulator;
        return *this;
    }
    std::string str() const { return m_os.str(); }

private:
    std::ostringstream m_os;
};

namespace detail {
// Starts a line with context, signature, " - " and padding.
ERVLOGGING_EXPORT void BeginLine(LogStream& line, const char* prettyFunction);
ERVLOGGING_EXPORT void EmitLine(log4cplus::Logger& logger, log4cplus::LogLevel level, const LogStream& line, const char* file,
              int sourceLine, const char* function);
} // namespace detail

} // namespace Erv

#define ERV_LOG(level, message) ERV_LOG_AS(level, __PRETTY_FUNCTION__, message)

// For shared helpers that log on behalf of a caller: the line names `prettyFunction`.
#define ERV_LOG_AS(level, prettyFunction, message)                                                              \
    do {                                                                                                        \
        ::log4cplus::Logger& ervLogger_ = ::Erv::GetGlobalDefaultLogger();                                      \
        if (ervLogger_.isEnabledFor(level)) {                                                                   \
            ::Erv::LogStream ervLine_;                                                                          \
            ::Erv::detail::BeginLine(ervLine_, prettyFunction);                                                 \
            ervLine_ << message;                                                                                \
            ::Erv::detail::EmitLine(ervLogger_, level, ervLine_, __FILE__, __LINE__, prettyFunction);           \
        }                                                                                                       \
    } while (false)

#define ERV_LOG_DEBUG(message) ERV_LOG(::log4cplus::DEBUG_LOG_LEVEL, message)
#define ERV_LOG_INFO(message) ERV_LOG(::log4cplus::INFO_LOG_LEVEL, message)
#define ERV_LOG_WARN(message) ERV_LOG(::log4cplus::WARN_LOG_LEVEL, message)
#define ERV_LOG_ERROR(message) ERV_LOG(::log4cplus::ERROR_LOG_LEVEL, message)
#define ERV_LOG_FATAL(message) ERV_LOG(::log4cplus::FATAL_LOG_LEVEL, message)
