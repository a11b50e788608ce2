// ervom_perfcount: run under callgrind (scripts/perf-count.sh), it passes over each ring once to
// warm up, then once and twice more between client requests that zero and dump the counts. The
// difference of the two dumps, divided by the ring's size, is the instructions of one call, with
// set-up and the requests themselves cancelled. Without valgrind the requests do nothing.
#include "ConversionBench.h"

#include "ErvLogging/Logging.h"

#include <valgrind/callgrind.h>

#include <cstdio>
#include <string>

namespace {

void Pass(const ErvBench::Ring& ring, ErvBench::Convert convert, int passes)
{
    for (int pass = 0; pass < passes; ++pass)
        for (std::size_t i = 0; i < ErvBench::RingSize; ++i)
            convert(ring, i);
}

void Count(const std::string& name, const ErvBench::Ring& ring, ErvBench::Convert convert)
{
    Pass(ring, convert, 1);
    for (int passes = 1; passes <= 2; ++passes) {
        CALLGRIND_ZERO_STATS;
        Pass(ring, convert, passes);
        const std::string dump = name + ' ' + std::to_string(passes); // outlives the request's statements
        CALLGRIND_DUMP_STATS_AT(dump.c_str());
    }
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
            Count(std::string("floor/") + ErvBench::RingNames[r] + '/' + conversion.name, rings[r],
                  conversion.convert);
    }
    std::printf("%zu rings of %zu inputs counted\n", rings.size(), ErvBench::RingSize);
    return 0;
}
