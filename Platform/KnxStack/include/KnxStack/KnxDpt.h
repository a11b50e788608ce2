// A KNX datapoint type: bit size, main number and sub number.
#pragma once

#include "KnxStack/Export.h"

#include <cstdint>
#include <ostream>
#include <string>

// Main number 0 means that no DPT is given; sub number 0 stands for any sub number.
struct KNXDPT {
    std::uint8_t bitSize = 0;
    std::uint16_t mainNumber = 0;
    std::uint16_t subNumber = 0;
};

inline bool operator==(const KNXDPT& a, const KNXDPT& b)
{
    return a.bitSize == b.bitSize && a.mainNumber == b.mainNumber && a.subNumber == b.subNumber;
}
inline bool operator!=(const KNXDPT& a, const KNXDPT& b) { return !(a == b); }

// "9.001", or "9.x" for sub number 0.
KNXSTACK_EXPORT std::string ToString(const KNXDPT& dpt);
KNXSTACK_EXPORT std::ostream& operator<<(std::ostream& os, const KNXDPT& dpt);
