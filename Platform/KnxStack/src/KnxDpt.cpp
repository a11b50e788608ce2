#include "KnxStack/KnxDpt.h"

#include <cstdio>

std::string ToString(const KNXDPT& dpt)
{
    // "65535.999" plus terminator is the longest text; snprintf keeps this free of stream state.
    char text[16];
    if (dpt.subNumber == 0)
        std::snprintf(text, sizeof text, "%u.x", static_cast<unsigned>(dpt.mainNumber));
    else
        std::snprintf(text, sizeof text, "%u.%03u", static_cast<unsigned>(dpt.mainNumber),
                      static_cast<unsigned>(dpt.subNumber));
    return text;
}

std::ostream& operator<<(std::ostream& os, const KNXDPT& dpt) { return os << ToString(dpt); }
