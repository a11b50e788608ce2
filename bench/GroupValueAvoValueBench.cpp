// The direct mapping on the bus path: encoding and decoding by DPT number for the common formats,
// the check through the DPT table alone, and the duration measurement that every decoding pays.
// Run with the logger at INFO, as hosts do: the DEBUG traces cost one level test.
#include "Erv/MeasureDuration.h"
#include "ErvObjectModel/GroupValueAvoValue.h"

#include <benchmark/benchmark.h>

namespace {

// One value per DPT measured, with its DPT number.
struct Sample {
    unsigned long dpt;
    AVOVALUE value;
};

const Sample Word{7ul << 16 | 1, AVOVALUE::Word(4660)};
const Sample Temperature{9ul << 16 | 1, AVOVALUE::Float(21.5)};
const Sample Counter{13ul << 16 | 1, AVOVALUE::Integer(-123456)};
const Sample Text{16ul << 16 | 0, AVOVALUE::String("Living room")};
const Sample DateTime{19ul << 16 | 1,
                      AVOVALUE::Time(ivtDateTime, AVOTIME{2024, 3, 1, 12, 30, 15, 0, 16, 0, true, false})};

void QuietLogger() { Erv::GetGlobalDefaultLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL); }

void BM_AvoValueToGroupValue(benchmark::State& state, const Sample& sample)
{
    QuietLogger();
    for (auto _ : state) {
        auto bus = Erv::AvoValueToGroupValue(sample.value, sample.dpt);
        benchmark::DoNotOptimize(bus);
    }
}
BENCHMARK_CAPTURE(BM_AvoValueToGroupValue, 7.001, Word);
BENCHMARK_CAPTURE(BM_AvoValueToGroupValue, 9.001, Temperature);
BENCHMARK_CAPTURE(BM_AvoValueToGroupValue, 13.001, Counter);
BENCHMARK_CAPTURE(BM_AvoValueToGroupValue, 16.000, Text);
BENCHMARK_CAPTURE(BM_AvoValueToGroupValue, 19.001, DateTime);

void BM_GroupValueToAvoValue(benchmark::State& state, const Sample& sample)
{
    QuietLogger();
    const KnxStack::GroupValue bus = *Erv::AvoValueToGroupValue(sample.value, sample.dpt);
    for (auto _ : state) {
        auto value = Erv::GroupValueToAvoValue(bus, sample.dpt);
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK_CAPTURE(BM_GroupValueToAvoValue, 7.001, Word);
BENCHMARK_CAPTURE(BM_GroupValueToAvoValue, 9.001, Temperature);
BENCHMARK_CAPTURE(BM_GroupValueToAvoValue, 13.001, Counter);
BENCHMARK_CAPTURE(BM_GroupValueToAvoValue, 16.000, Text);
BENCHMARK_CAPTURE(BM_GroupValueToAvoValue, 19.001, DateTime);

void BM_CheckGroupValue(benchmark::State& state, const Sample& sample)
{
    QuietLogger();
    const KnxStack::GroupValue bus = *Erv::AvoValueToGroupValue(sample.value, sample.dpt);
    for (auto _ : state) {
        bool valid = Erv::CheckGroupValue(bus, sample.dpt);
        benchmark::DoNotOptimize(valid);
    }
}
BENCHMARK_CAPTURE(BM_CheckGroupValue, 7.001, Word);
BENCHMARK_CAPTURE(BM_CheckGroupValue, 9.001, Temperature);
BENCHMARK_CAPTURE(BM_CheckGroupValue, 13.001, Counter);
BENCHMARK_CAPTURE(BM_CheckGroupValue, 16.000, Text);
BENCHMARK_CAPTURE(BM_CheckGroupValue, 19.001, DateTime);

// The share of GroupValueToAvoValue that goes to timing it.
void BM_MeasureDuration(benchmark::State& state)
{
    QuietLogger();
    for (auto _ : state) {
        const Erv::MeasureDuration measure("Decoding a KNX value took ", 100000000);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_MeasureDuration);

} // namespace
