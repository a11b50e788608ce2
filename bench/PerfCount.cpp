// ervom_perfcount: run under callgrind (scripts/perf-count.sh), it passes over each ring once to
// warm up, then once and twice more between client requests that zero and dump the counts. The
// difference of the two dumps, divided by the ring's size, is the instructions of one call, with
// set-up and the requests themselves cancelled. Without valgrind the requests do nothing.
//
// It also prints how many heap allocations those passes made, per conversion; any is a fault.
#include "AllocationCounter.h"
#include "ConversionBench.h"

#include "ErvLogging/Logging.h"

#include <valgrind/callgrind.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

void Pass(const ErvBench::Ring& ring, ErvBench::Convert convert, int passes)
{
    for (int pass = 0; pass < passes; ++pass)
        for (std::size_t i = 0; i < ErvBench::RingSize; ++i)
            convert(ring, i);
}

// Also prints the heap allocations of the counted passes: a conversion allocates nothing.
void Count(const std::string& name, const ErvBench::Ring& ring, ErvBench::Convert convert)
{
    Pass(ring, convert, 1);
    std::uint64_t allocations = 0;
    for (int passes = 1; passes <= 2; ++passes) {
        const std::string dump = name + ' ' + std::to_string(passes); // outlives the request's statements
        CALLGRIND_ZERO_STATS;
        const std::uint64_t before = ErvBench::Allocations();
        Pass(ring, convert, passes);
        allocations += ErvBench::Allocations() - before;
        CALLGRIND_DUMP_STATS_AT(dump.c_str());
    }
    std::printf("allocations %s %llu\n", name.c_str(), static_cast<unsigned long long>(allocations));
}

} // namespace

int main()
{
    // As hosts run it: the DEBUG traces cost their level test.
    Erv::GetGlobalDefaultLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL);
    const auto& rings = ErvBench::Rings();
    for (std::size_t r = 0; r < rings.size(); ++r) {
        for (const ErvBench::Conversion& conversion : ErvBench::LibraryConversions)
            Count(std::string("library/") + ErvBench::RingNames[r] + '/' + conversion.name, rings[r],
                  conversion.convert);
        for (const ErvBench::Conversion& conversion : ErvBench::FloorConversions)
            Count(std::string("floor/") + ErvBench::RingNames[r] + '/' + conversion.name, rings[r], conversion.convert);
    }
    std::printf("%zu rings of %zu inputs counted\n", rings.size(), ErvBench::RingSize);
    return 0;
}
