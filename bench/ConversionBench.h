// The conversions measured over the rings, shared by the benchmarks and the instruction count.
#pragma once

#include "Rings.h"

#include <cstddef>

namespace ErvBench {

// One conversion of element i of a ring; false when refused.
using Convert = bool (*)(const Ring& ring, std::size_t i);

struct Conversion {
    const char* name; // "ToKnxValue", "CheckGroupValue", ...
    Convert convert;
    const char* floor; // the floor conversion it is measured against, null for none
};

bool LibraryTo(const Ring& ring, std::size_t i);
bool LibraryFrom(const Ring& ring, std::size_t i);
bool FloorTo(const Ring& ring, std::size_t i);
bool FloorFrom(const Ring& ring, std::size_t i);
bool DirectTo(const Ring& ring, std::size_t i);
bool DirectCheck(const Ring& ring, std::size_t i);
bool DirectFrom(const Ring& ring, std::size_t i);

// The library's ToKnxValue, FromKnxValue, AvoValueToGroupValue, CheckGroupValue and
// GroupValueToAvoValue; GroupValueToAvoValue is measured against its timer plus FromKnxValue.
extern const Conversion LibraryConversions[5];
// The floor's ToKnxValue and FromKnxValue.
extern const Conversion FloorConversions[2];

// Registers "library/<DPT>/<conversion>" and "floor/<DPT>/<conversion>".
void RegisterConversionBenchmarks();

} // namespace ErvBench
