// The app host configuration file, as any bytes a flash page or an editor could leave there.
#include "FuzzSupport.h"

#include "ErvObjectModel/AppHostConfig.h"

#include <stdexcept>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ErvFuzz::Setup();
    std::vector<char> text(data, data + size);
    text.push_back('\0');

    ErvFuzz::LogLines::Reset();
    Erv::AppHostConfiguration config;
    bool loaded = false;
    try {
        loaded = config.LoadAppHostConfigXML(text.data());
    } catch (const std::invalid_argument&) {
        return 0; // an "ObjId" that is no number: the loader's documented way to stop
    } catch (const std::out_of_range&) {
        return 0;
    }
    ErvFuzz::RequireRefusalLogged(loaded, "LoadAppHostConfigXML", [size] { return std::to_string(size) + " bytes"; });

    // What a host reads afterwards must be readable, whatever was loaded.
    for (const auto* path :
         {&config.GetRootPathNativeApp(), &config.GetRootPathManagedApp(), &config.GetRootPathAppHost(),
          &config.GetRootPathAppConnectorHost(), &config.GetPathObjectModelConfig()})
        if (*path && (*path)->string().size() > size)
            ErvFuzz::Violated("a path comes from the file", (*path)->string());
    if (config.GetResponseDataPoints().size() > size)
        ErvFuzz::Violated("each data point comes from the file", std::to_string(size) + " bytes");
    return 0;
}
