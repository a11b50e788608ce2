// The duration measurement that every decoding by DPT number pays; the conversions themselves are
// measured over rings of varied inputs in ConversionBench.cpp. With the logger at INFO, as hosts run
// it.
#include "Erv/MeasureDuration.h"

#include <benchmark/benchmark.h>

namespace {

// What GroupValueToAvoValue is held against: this timer plus one decode.
void BM_MeasureDuration(benchmark::State& state)
{
    Erv::GetGlobalDefaultLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL);
    for (auto _ : state) {
        const Erv::MeasureDuration measure("Decoding a KNX value took ", 100000000);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_MeasureDuration);

} // namespace
