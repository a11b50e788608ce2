#include "ErvLogging/Logging.h"

#include "ErvLogging/Assert.h"
#include "ErvLogging/SourceName.h"

#include <cstdlib>
#include <iostream>

namespace Erv {

namespace {
thread_local std::string t_context;
thread_local unsigned int t_recursionDepth = 0;
} // namespace

log4cplus::Logger& GetGlobalDefaultLogger()
{
    static log4cplus::Logger logger = log4cplus::Logger::getRoot();
    return logger;
}

const std::string& GetLoggingContext() { return t_context; }

void SetLoggingContext(std::string context) { t_context = std::move(context); }

std::ostream& operator<<(std::ostream& os, const LoggingRecursionPadding&)
{
    for (unsigned int i = 0; i < t_recursionDepth; ++i)
        os << "  ";
    return os;
}

LoggingRecursionScope::LoggingRecursionScope() { ++t_recursionDepth; }

LoggingRecursionScope::~LoggingRecursionScope() { --t_recursionDepth; }

namespace detail {

void BeginLine(LogStream& line, const char* prettyFunction)
{
    line << GetLoggingContext() << PrettyFunctionNamePrinter(prettyFunction) << " - " << LoggingRecursionPadding();
}

void EmitLine(log4cplus::Logger& logger, log4cplus::LogLevel level, const LogStream& line, const char* file,
              int sourceLine, const char* function)
{
    logger.forcedLog(level, line.str(), file, sourceLine, function);
}

} // namespace detail

std::string SourceName(const char* file)
{
    std::string name(file);
    const auto slash = name.find_last_of('/');
    const auto dot = name.find_last_of('.');
    if (dot != std::string::npos && (slash == std::string::npos || dot > slash))
        name.erase(dot);
    return name;
}

void AssertionFailed(const AssertionRecord& record)
{
    LogStream line;
    line << SourceName(record.source) << ':' << record.line << ": " << record.function << record.prefix
         << record.expression << record.suffix;
    // A dying process must leave a trace even where the host has configured no appender.
    std::cerr << line.str() << std::endl;
    log4cplus::Logger& logger = GetGlobalDefaultLogger();
    if (logger.isEnabledFor(log4cplus::FATAL_LOG_LEVEL)) {
        LogStream logged;
        detail::BeginLine(logged, record.function);
        logged << line.str();
        detail::EmitLine(logger, log4cplus::FATAL_LOG_LEVEL, logged, record.source, 0, record.function);
    }
    std::abort();
}

} // namespace Erv
