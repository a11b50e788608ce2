// Loading a configuration that lists 10,000 response data points. The parser works in place, so
// every iteration needs a fresh copy of the text; copying it and making a fresh configuration are
// kept out of the timed region.
#include "ErvObjectModel/AppHostConfig.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr int DataPointCount = 10000;

std::string ConfigurationWithDataPoints(int count)
{
    std::string xml = "<?xml version=\"1.0\"?>\n"
                      "<ErvAppHostConfig WithoutKNX=\"0\" TerminateOnFirmwareUpdate=\"1\">\n"
                      "  <ObjectModelConfig Path=\"/opt/userdata/devicestack/ervOM/config.json\"/>\n"
                      "  <LumConfig>\n"
                      "    <ResponseDps>\n";
    for (int i = 0; i < count; ++i)
        xml += "      <Dp ObjId=\"" + std::to_string(100101 + 2 * i) + "\"/>\n";
    xml += "    </ResponseDps>\n"
           "  </LumConfig>\n"
           "  <Debugging Active=\"1\">\n"
           "    <AppHost RootPath=\"/opt/userdata/apphost\" DisableStartup=\"0\"/>\n"
           "  </Debugging>\n"
           "</ErvAppHostConfig>\n";
    return xml;
}

void BM_AppHostConfigLoadXml10000Dps(benchmark::State& state)
{
    const std::string xml = ConfigurationWithDataPoints(DataPointCount);
    std::vector<char> buffer(xml.size() + 1);
    std::optional<Erv::AppHostConfiguration> config;
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(xml.begin(), xml.end(), buffer.begin());
        buffer.back() = '\0';
        config.emplace();
        state.ResumeTiming();
        const bool loaded = config->LoadAppHostConfigXML(buffer.data());
        benchmark::DoNotOptimize(loaded);
        if (!loaded || config->GetResponseDataPoints().size() != DataPointCount) {
            state.SkipWithError("the document did not load");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(xml.size()));
}

} // namespace

BENCHMARK(BM_AppHostConfigLoadXml10000Dps)->Unit(benchmark::kMillisecond);
