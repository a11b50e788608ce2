// Conversions by DPT over the rings of varied inputs, each next to its floor (Floor.h): the
// table-driven converter both ways, and the direct mapping by DPT number. With the logger at INFO,
// as hosts run it: the DEBUG traces cost their level test. The counter "allocs" is heap
// allocations per conversion; it should read 0.
#include "ConversionBench.h"

#include "AllocationCounter.h"
#include "Floor.h"
#include "Rings.h"

#include "ErvLogging/Logging.h"
#include "ErvObjectModel/GroupValueAvoValue.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <iterator>
#include <string>

namespace ErvBench {

namespace {

void LogAsAHostDoes() { Erv::GetGlobalDefaultLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL); }

// Runs `convert(ring, i)` over the ring, one element per iteration, after checking that every
// element converts (a refusal would measure the log line instead).
template <class Convert>
void OverRing(benchmark::State& state, std::size_t ringIndex, Convert convert)
{
    LogAsAHostDoes();
    const Ring& ring = Rings()[ringIndex];
    for (std::size_t i = 0; i < RingSize; ++i) {
        if (!convert(ring, i)) {
            state.SkipWithError("an input of the ring is refused");
            return;
        }
    }
    std::size_t i = 0;
    const std::uint64_t before = Allocations();
    for (auto _ : state) {
        bool ok = convert(ring, i);
        benchmark::DoNotOptimize(ok);
        i = (i + 1) & (RingSize - 1);
    }
    state.counters["allocs"] = PerIteration(Allocations() - before);
}

} // namespace

bool LibraryTo(const Ring& ring, std::size_t i)
{
    static KnxStack::GroupValue bus;
    KNXDPT dpt = ring.dpt;
    const bool ok = TableConverter->ToKnxValue(dpt, ring.values[i], bus);
    benchmark::DoNotOptimize(bus);
    return ok;
}

bool LibraryFrom(const Ring& ring, std::size_t i)
{
    static AVOVALUE value;
    KNXDPT dpt = ring.dpt;
    const bool ok = TableConverter->FromKnxValue(dpt, ring.bus[i], value);
    benchmark::DoNotOptimize(value);
    return ok;
}

bool FloorTo(const Ring& ring, std::size_t i)
{
    static KnxStack::GroupValue bus;
    const bool ok = Floor::ToKnxValue(ring.dpt, ring.values[i], bus);
    benchmark::DoNotOptimize(bus);
    return ok;
}

bool FloorFrom(const Ring& ring, std::size_t i)
{
    static AVOVALUE value;
    const bool ok = Floor::FromKnxValue(ring.dpt, ring.bus[i], value);
    benchmark::DoNotOptimize(value);
    return ok;
}

bool DirectTo(const Ring& ring, std::size_t i)
{
    auto bus = Erv::AvoValueToGroupValue(ring.direct[i], ring.number);
    benchmark::DoNotOptimize(bus);
    return bus.has_value();
}

bool DirectCheck(const Ring& ring, std::size_t i) { return Erv::CheckGroupValue(ring.bus[i], ring.number); }

bool DirectFrom(const Ring& ring, std::size_t i)
{
    auto value = Erv::GroupValueToAvoValue(ring.bus[i], ring.number);
    benchmark::DoNotOptimize(value);
    return value.has_value();
}

const Conversion LibraryConversions[] = {
    {"ToKnxValue", LibraryTo, "ToKnxValue"},          {"FromKnxValue", LibraryFrom, "FromKnxValue"},
    {"AvoValueToGroupValue", DirectTo, "ToKnxValue"}, {"CheckGroupValue", DirectCheck, "FromKnxValue"},
    {"GroupValueToAvoValue", DirectFrom, nullptr},
};

const Conversion FloorConversions[] = {
    {"ToKnxValue", FloorTo, nullptr},
    {"FromKnxValue", FloorFrom, nullptr},
};

void RegisterConversionBenchmarks()
{
    // Names only: the rings are built when the first benchmark runs.
    const auto add = [](const char* side, const Conversion& conversion) {
        for (std::size_t r = 0; r < std::size(RingNames); ++r) {
            const std::string name = std::string(side) + '/' + RingNames[r] + '/' + conversion.name;
            benchmark::RegisterBenchmark(
                name.c_str(), [&conversion, r](benchmark::State& state) { OverRing(state, r, conversion.convert); });
        }
    };
    for (const Conversion& conversion : LibraryConversions)
        add("library", conversion);
    for (const Conversion& conversion : FloorConversions)
        add("floor", conversion);
}

} // namespace ErvBench
