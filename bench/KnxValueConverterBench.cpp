// What filling the DPT table costs. The conversions through it are measured over rings of varied
// inputs beside their floor in ConversionBench.cpp.
#include "ErvObjectModel/KnxValueConverter.h"

#include "ErvLogging/Logging.h"

#include "AllocationCounter.h"

#include <benchmark/benchmark.h>

namespace {

void LogAsAHostDoes() { Erv::GetGlobalDefaultLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL); }

// Construction, Init (53 rows) and destruction of a converter.
void BM_Init(benchmark::State& state)
{
    LogAsAHostDoes();
    const std::uint64_t before = ErvBench::Allocations();
    for (auto _ : state) {
        Erv::KnxValueConverter converter;
        bool ok = converter.Init();
        benchmark::DoNotOptimize(ok);
    }
    state.counters["allocs"] = ErvBench::PerIteration(ErvBench::Allocations() - before);
}
BENCHMARK(BM_Init);

} // namespace
