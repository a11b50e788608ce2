// What a log call costs on the bus path when its level is off, and when it is on.
#include "AllocationCounter.h"
#include "ErvLogging/Logging.h"

#include <benchmark/benchmark.h>
#include <log4cplus/nullappender.h>

namespace {

void BM_DebugLogWhileDebugIsOff(benchmark::State& state)
{
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
    int value = 42;
    const auto before = ErvBench::Allocations();
    for (auto _ : state) {
        ERV_LOG_DEBUG("DPT is used. DPT = " << value << " with a text that is never built");
        benchmark::DoNotOptimize(value);
    }
    state.counters["allocs"] = ErvBench::PerIteration(ErvBench::Allocations() - before);
}
BENCHMARK(BM_DebugLogWhileDebugIsOff);

void BM_ErrorLogIntoNullAppender(benchmark::State& state)
{
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
    log4cplus::SharedAppenderPtr sink(new log4cplus::NullAppender);
    logger.addAppender(sink);
    int value = 42;
    for (auto _ : state)
        ERV_LOG_ERROR("Value out of raw range [0..15]: " << value);
    logger.removeAppender(sink);
}
BENCHMARK(BM_ErrorLogIntoNullAppender);

} // namespace
