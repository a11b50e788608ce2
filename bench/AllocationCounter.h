// Counts the heap allocations of the benchmark binary (operator new is replaced in
// AllocationCounter.cpp), so that a benchmark can report allocations per iteration.
//
//   const auto before = ErvBench::Allocations();
//   for (auto _ : state) { ... }
//   state.counters["allocs"] = ErvBench::PerIteration(ErvBench::Allocations() - before);
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>

namespace ErvBench {

std::uint64_t Allocations();

inline benchmark::Counter PerIteration(std::uint64_t allocations)
{
    return benchmark::Counter(static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
}

} // namespace ErvBench
