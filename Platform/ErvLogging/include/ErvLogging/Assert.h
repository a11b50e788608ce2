// The platform's assertion handler: a failed ERV_ASSERT2 writes one FATAL line with the pieces of
// its record and ends the process. For programming errors only; rejections of input are results.
#pragma once

#include "ErvLogging/Export.h"

namespace Erv {

// One static record per assertion site.
struct AssertionRecord {
    const char* function;   // e.g. "operator()"
    const char* source;     // the file as compiled, or the name an installed header gives itself
    const char* line;       // e.g. "87"
    const char* prefix;     // " ERV_ASSERT2("
    const char* expression; // e.g. "m_storage"
    const char* suffix;     // ") failed"
};

// "Include/Erv/Function:87: operator() ERV_ASSERT2(m_storage) failed"
// (the source is written without its file extension).
[[noreturn]] ERVLOGGING_EXPORT void AssertionFailed(const AssertionRecord& record);

} // namespace Erv

#define ERV_DETAIL_STRINGIFY2(x) #x
#define ERV_DETAIL_STRINGIFY(x) ERV_DETAIL_STRINGIFY2(x)

#define ERV_ASSERT2(expression) ERV_ASSERT2_AT(__FILE__, ERV_DETAIL_STRINGIFY(__LINE__), expression)

// For installed headers: their record must name the source and line the hosts know
// ("Include/Erv/Function", "87"), not the path a host happened to include the header from.
#define ERV_ASSERT2_AT(source, line, expression)                                                                \
    do {                                                                                                        \
        if (!(expression)) {                                                                                    \
            static const ::Erv::AssertionRecord ervAssertionRecord_{                                            \
                __func__, source, line, " ERV_ASSERT2(", #expression, ") failed"};                              \
            ::Erv::AssertionFailed(ervAssertionRecord_);                                                        \
        }                                                                                                       \
    } while (false)
