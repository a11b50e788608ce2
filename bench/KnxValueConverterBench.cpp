// What one conversion through the DPT table costs on the bus path, in time and in heap
// allocations, with the logger at INFO as a host runs it; and what filling the table costs.
//
// Run a Release build with --benchmark_repetitions=10 --benchmark_report_aggregates_only=true.
// The counter "allocs" is heap allocations per conversion; it should read 0.
#include "ErvObjectModel/KnxValueConverter.h"

#include "ErvLogging/Logging.h"

#include "AllocationCounter.h"

#include <benchmark/benchmark.h>

#include <cstdint>

namespace {

const Erv::KnxValueConverter& Converter()
{
    static const Erv::KnxValueConverter converter = [] {
        Erv::KnxValueConverter c;
        c.Init();
        return c;
    }();
    return converter;
}

void LogAsAHostDoes() { Erv::GetGlobalDefaultLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL); }

AVOVALUE Clock(AvoValueType type, unsigned short year, unsigned char month, unsigned char day, unsigned char hour,
               unsigned char minute, unsigned char second, unsigned short weekDays)
{
    AVOTIME time;
    time.year = year;
    time.month = month;
    time.day = day;
    time.hour = hour;
    time.minute = minute;
    time.second = second;
    time.weekDays = weekDays;
    return AVOVALUE::Time(type, time);
}

void BM_ToKnxValue(benchmark::State& state, KNXDPT dpt, AVOVALUE value)
{
    LogAsAHostDoes();
    const Erv::KnxValueConverter& converter = Converter();
    KnxStack::GroupValue bus;
    KNXDPT probe = dpt;
    if (!converter.ToKnxValue(probe, value, bus)) {
        state.SkipWithError("refused");
        return;
    }
    const std::uint64_t before = ErvBench::Allocations();
    for (auto _ : state) {
        KNXDPT d = dpt;
        bool ok = converter.ToKnxValue(d, value, bus);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(bus);
    }
    state.counters["allocs"] = ErvBench::PerIteration(ErvBench::Allocations() - before);
}

void BM_FromKnxValue(benchmark::State& state, KNXDPT dpt, AVOVALUE value)
{
    LogAsAHostDoes();
    const Erv::KnxValueConverter& converter = Converter();
    KnxStack::GroupValue bus;
    KNXDPT probe = dpt;
    AVOVALUE out;
    if (!converter.ToKnxValue(probe, value, bus) || !converter.FromKnxValue(probe, bus, out)) {
        state.SkipWithError("refused");
        return;
    }
    const std::uint64_t before = ErvBench::Allocations();
    for (auto _ : state) {
        KNXDPT d = dpt;
        bool ok = converter.FromKnxValue(d, bus, out);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(out);
    }
    state.counters["allocs"] = ErvBench::PerIteration(ErvBench::Allocations() - before);
}

#define ERV_BENCH_DPT(name, dpt, value)                                                                         \
    BENCHMARK_CAPTURE(BM_ToKnxValue, name, dpt, value);                                                         \
    BENCHMARK_CAPTURE(BM_FromKnxValue, name, dpt, value)

ERV_BENCH_DPT(1.001, (KNXDPT{1, 1, 1}), AVOVALUE::Bool(true));
ERV_BENCH_DPT(5.001, (KNXDPT{8, 5, 1}), AVOVALUE::Byte(200));
ERV_BENCH_DPT(7.001, (KNXDPT{16, 7, 1}), AVOVALUE::Word(4660));
ERV_BENCH_DPT(9.001, (KNXDPT{16, 9, 1}), AVOVALUE::Float(21.5));
ERV_BENCH_DPT(10.001, (KNXDPT{24, 10, 1}), Clock(ivtTime, 0, 0, 0, 12, 30, 15, 4));
ERV_BENCH_DPT(11.001, (KNXDPT{24, 11, 1}), Clock(ivtDate, 2024, 3, 1, 0, 0, 0, 0));
ERV_BENCH_DPT(13.001, (KNXDPT{32, 13, 1}), AVOVALUE::Integer(-2));
ERV_BENCH_DPT(14.056, (KNXDPT{32, 14, 56}), AVOVALUE::Float(1.5));
// Fits the string's small buffer, on the application side and on the bus.
ERV_BENCH_DPT(16.000, (KNXDPT{112, 16, 0}), AVOVALUE::String("Hello KNX"));

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
