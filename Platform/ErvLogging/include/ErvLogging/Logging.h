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
#include <log4cplus/spi/loggerimpl.h>

#include <atomic>
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
// The level a logger has been given itself, read where log4cplus keeps it (NOT_SET when it
// inherits one). Read, never copied, so a level set later, on the logger or by a reloaded
// configuration, counts from the next call on.
struct LoggerLevel : log4cplus::Logger {
    struct Impl : log4cplus::spi::LoggerImpl {
        static log4cplus::LogLevel Own(const log4cplus::spi::LoggerImpl& impl) { return impl.*(&Impl::ll); }
    };
    static const log4cplus::spi::LoggerImpl* ImplOf(const log4cplus::Logger& logger)
    {
        return logger.*(&LoggerLevel::value);
    }
};

// Where the global logger is, found on the first test (once per module): a static object that
// never moves. Only its address is kept; what it holds (its logger, that logger's level) is read on
// every test, so a host that assigns another logger to it or changes a level is heard at once.
inline std::atomic<const log4cplus::Logger*> GlobalLogger{nullptr};

inline const log4cplus::Logger& FindGlobalLogger()
{
    const log4cplus::Logger* logger = GlobalLogger.load(std::memory_order_relaxed);
    if (logger == nullptr) {
        logger = &GetGlobalDefaultLogger();
        GlobalLogger.store(logger, std::memory_order_relaxed);
    }
    return *logger;
}

// Whether the global logger takes lines of `level`. Nothing enables a level below the logger's own,
// so a disabled DEBUG line is settled by that comparison; any other line asks log4cplus (which also
// applies the hierarchy's threshold).
inline bool IsEnabled(log4cplus::LogLevel level)
{
    const log4cplus::Logger& logger = FindGlobalLogger();
    return level >= LoggerLevel::Impl::Own(*LoggerLevel::ImplOf(logger)) && logger.isEnabledFor(level);
}

// Starts a line with context, signature, " - " and padding.
ERVLOGGING_EXPORT void BeginLine(LogStream& line, const char* prettyFunction);
ERVLOGGING_EXPORT void EmitLine(log4cplus::Logger& logger, log4cplus::LogLevel level, const LogStream& line, const char* file,
              int sourceLine, const char* function);
} // namespace detail

} // namespace Erv

#define ERV_LOG(level, message) ERV_LOG_AS(level, __PRETTY_FUNCTION__, message)

// For shared helpers that log on behalf of a caller: the line names `prettyFunction`.
// The line is composed in a lambda kept out of line, so that the caller's common path is the level
// test alone, without the frame a stream needs.
#define ERV_LOG_AS(level, prettyFunction, message)                                                              \
    do {                                                                                                        \
        if (::Erv::detail::IsEnabled(level)) {                                                                  \
            const char* const ervFunction_ = (prettyFunction);                                                  \
            [&]() __attribute__((noinline, cold)) {                                                             \
                ::Erv::LogStream ervLine_;                                                                      \
                ::Erv::detail::BeginLine(ervLine_, ervFunction_);                                               \
                ervLine_ << message;                                                                            \
                ::Erv::detail::EmitLine(::Erv::GetGlobalDefaultLogger(), level, ervLine_, __FILE__, __LINE__,   \
                                        ervFunction_);                                                          \
            }();                                                                                                \
        }                                                                                                       \
    } while (false)

#define ERV_LOG_DEBUG(message) ERV_LOG(::log4cplus::DEBUG_LOG_LEVEL, message)
#define ERV_LOG_INFO(message) ERV_LOG(::log4cplus::INFO_LOG_LEVEL, message)
#define ERV_LOG_WARN(message) ERV_LOG(::log4cplus::WARN_LOG_LEVEL, message)
#define ERV_LOG_ERROR(message) ERV_LOG(::log4cplus::ERROR_LOG_LEVEL, message)
#define ERV_LOG_FATAL(message) ERV_LOG(::log4cplus::FATAL_LOG_LEVEL, message)
