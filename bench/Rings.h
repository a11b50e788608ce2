// The inputs every conversion benchmark and instruction count runs over: per DPT a ring of 1024
// varied values (both signs, every exponent of the 2-octet float, decimal ties, texts of every
// length), the same ring for the library and for the floor, and its bus form.
#pragma once

#include "AvoValue/AvoValue.h"
#include "ErvObjectModel/KnxValueConverter.h"
#include "KnxStack/GroupValue.h"
#include "KnxStack/KnxDpt.h"

#include <cstddef>
#include <string>
#include <vector>

namespace ErvBench {

constexpr std::size_t RingSize = 1024; // a power of two: the next index is a mask away

struct Ring {
    std::string name;     // "9.001"
    KNXDPT dpt;           // for the table-driven converter
    unsigned long number; // main << 16 | sub, for the direct mapping
    std::vector<AVOVALUE> values;
    std::vector<KnxStack::GroupValue> bus; // the values as the library encodes them
    std::vector<AVOVALUE> direct;          // the values with the type the direct mapping expects
};

// The DPTs of the rings, in order; known before the rings are built.
extern const char* const RingNames[9];

// The rings, built on first use.
const std::vector<Ring>& Rings();

// The initialised converter the rings were encoded with, for the benchmarks to call without a
// guard of their own: null until Rings() has run.
extern const Erv::KnxValueConverter* TableConverter;

} // namespace ErvBench
