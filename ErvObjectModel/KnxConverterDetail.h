// Shared pieces of the converter implementations. Macros, because every log line must carry the
// signature of the converter function that writes it.
#pragma once

#include "ErvLogging/Logging.h"
#include "KnxStack/GroupValueException.h"

// The trace every conversion starts with.
#define ERV_TRACE_TO_KNX(dpt, val)                                                                              \
    ERV_LOG_DEBUG("DPT is used. DPT = " << (dpt) << " ivt=" << (val).ivt << " val=" << (val).ToString())
#define ERV_TRACE_FROM_KNX(dpt, grp)                                                                            \
    ERV_LOG_DEBUG("DPT is used. DPT = " << (dpt) << " grp.size=" << (grp).GetDefinedSize()                       \
                                        << " grp.val=" << (grp).GetRawData().ToString())

// A refused conversion: one ERROR line, then false.
#define ERV_REJECT(message)                                                                                     \
    do {                                                                                                        \
        ERV_LOG_ERROR(message);                                                                                 \
        return false;                                                                                           \
    } while (false)

// The handler of a converter's function-try-block: a group value that does not fit the accessor
// is a refused conversion like any other.
#define ERV_CATCH_GROUP_VALUE_EXCEPTION                                                                         \
    catch (const ::KnxStack::GroupValueException& e)                                                            \
    {                                                                                                           \
        ERV_LOG_ERROR("Group value access failed: " << e.what());                                               \
        return false;                                                                                           \
    }
