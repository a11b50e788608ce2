// The unreachable guard: marks code that only a bug can reach. Reaching it writes one FATAL line
// "This statement should not be executed. There is a bug somewhere around <source>:<line>" and
// ends the process with std::terminate.
//
//   switch (day) { ...; default: ERV_UNREACHABLE(); }
#pragma once

#include "ErvLogging/Logging.h"
#include "ErvLogging/SourceName.h"

#include <boost/optional.hpp>

#include <exception>
#include <utility>

namespace Erv {
namespace detail {

[[noreturn]] inline void UnreachableReached(const char* prettyFunction, const char* file, int line)
{
    log4cplus::Logger& logger = GetGlobalDefaultLogger();
    if (logger.isEnabledFor(log4cplus::FATAL_LOG_LEVEL)) {
        LogStream text;
        BeginLine(text, prettyFunction);
        text << "This statement should not be executed. There is a bug somewhere around " << SourceName(file) << ':'
             << line;
        EmitLine(logger, log4cplus::FATAL_LOG_LEVEL, text, file, line, prettyFunction);
    }
    std::terminate();
}

} // namespace detail
} // namespace Erv

// _AT names a fixed source and line: for installed headers, whose path differs from host to host.
#define ERV_UNREACHABLE() ERV_UNREACHABLE_AT(__FILE__, __LINE__)
#define ERV_UNREACHABLE_AT(source, line) ::Erv::detail::UnreachableReached(__PRETTY_FUNCTION__, source, line)

namespace Erv {
// The value; an empty optional is a bug, logged as "Include/Erv/Unreachable:45" as hosts expect.
template <class T>
T UndefinedBehaviourIfNone(boost::optional<T> value)
{
    if (!value)
        ERV_UNREACHABLE_AT("Include/Erv/Unreachable", 45);
    return std::move(*value);
}

} // namespace Erv
