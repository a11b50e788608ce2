// ervom_bench: Google Benchmark's console output, then a table of each conversion's time beside
// its floor's (medians when run with repetitions).
#include "ConversionBench.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

// Keeps the CPU time per iteration of every benchmark (its median, when there is one).
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.error_occurred)
                continue;
            const std::string& name = run.run_name.function_name;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                m_median[name] = Nanoseconds(run);
            else if (run.run_type == Run::RT_Iteration)
                m_single[name] = Nanoseconds(run);
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const double timer = Time("BM_MeasureDuration");
        std::printf("\nCPU time per call over the rings of %zu inputs%s; the floor is a hand-written codec\n"
                    "behind a minimal table; GroupValueToAvoValue is set against its timer plus FromKnxValue\n\n",
                    ErvBench::RingSize, m_median.empty() ? "" : " (medians)");
        std::printf("%-8s %-22s %12s %12s %7s\n", "DPT", "conversion", "library ns", "floor ns", "ratio");
        for (const ErvBench::Conversion& conversion : ErvBench::LibraryConversions) {
            for (const char* dpt : ErvBench::RingNames) {
                const double library = Time(std::string("library/") + dpt + '/' + conversion.name);
                const double floor = conversion.floor ? Time(std::string("floor/") + dpt + '/' + conversion.floor)
                                                      : timer + Time(std::string("library/") + dpt + "/FromKnxValue");
                if (library > 0 && floor > 0)
                    std::printf("%-8s %-22s %12.1f %12.1f %7.2f\n", dpt, conversion.name, library, floor,
                                library / floor);
            }
        }
    }

private:
    static double Nanoseconds(const Run& run)
    {
        return run.GetAdjustedCPUTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
    }

    double Time(const std::string& name) const
    {
        const auto median = m_median.find(name);
        if (median != m_median.end())
            return median->second;
        const auto single = m_single.find(name);
        return single != m_single.end() ? single->second : 0.0;
    }

    std::map<std::string, double> m_median;
    std::map<std::string, double> m_single;
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    ErvBench::RegisterConversionBenchmarks();
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
