// config: the app host configuration as the library loads it.
#include "Commands.h"

#include "ErvObjectModel/AppHostConfig.h"

#include <boost/core/demangle.hpp>

#include <iostream>
#include <typeinfo>

namespace Ervom {

namespace {

const CommandHelp Help = {
    "ervom config [options] [FILE]",
    "Loads the app host configuration with the library, from its fixed path or from FILE, and\n"
    "prints every setting. When the library cannot read the file or the XML is malformed, its\n"
    "messages go to standard error and the settings printed are the ones it falls back to (exit\n"
    "status 1). A data point id that is no number stops the library's loading with an exception:\n"
    "the settings applied before it are printed (exit status 1).",
    "  ervom config\n"
    "  ervom config /tmp/ervapphostconfig.xml\n"
    "  ervom --format tsv config my.xml | cut -f3\n"};

std::string YesNo(bool value) { return value ? "yes" : "no"; }

std::string PathText(const Erv::AppHostConfiguration::OptionalPath& path) { return path ? path->string() : "none"; }

} // namespace

int RunConfig(const Invocation& invocation)
{
    po::options_description visible("Options");
    po::options_description hidden;
    hidden.add_options()("file", po::value<std::string>());
    po::positional_options_description positional;
    positional.add("file", 1);
    po::variables_map values;
    if (!ParseCommand(invocation, Help, visible, hidden, positional, values))
        return ExitSuccess;

    const std::string file = values.count("file") ? values["file"].as<std::string>() : Erv::AppHostConfigFile;
    Erv::AppHostConfiguration config;
    std::string result = "loaded";
    invocation.messages->Clear();
    try {
        if (values.count("file"))
            config.LoadConfigurationFile(boost::filesystem::path(file));
        else
            config.LoadConfigurationFile();
        if (!invocation.messages->Lines().empty())
            result = "fell back";
    } catch (const std::exception& e) {
        result = std::string("stopped: ") + e.what() + " (" + boost::core::demangle(typeid(e).name()) + ")";
    }
    for (const std::string& line : invocation.messages->Lines())
        *invocation.err << "ervom config: " << line << '\n';

    std::string dataPoints;
    for (const unsigned long id : config.GetResponseDataPoints())
        dataPoints.append(dataPoints.empty() ? "" : " ").append(std::to_string(id));
    Record()
        .Add("file", file)
        .Add("result", result)
        .Add("without KNX", YesNo(config.IsAppHostWithoutKNX()))
        .Add("terminate on firmware update", YesNo(config.IsAppHostTerminateOnFirmwareUpdate()))
        .Add("object model config", PathText(config.GetPathObjectModelConfig()))
        .Add("response data points", dataPoints.empty() ? "none" : dataPoints)
        .Add("debug mode", YesNo(config.IsInAppDebugMode()))
        .Add("app host startup disabled", YesNo(config.IsAppHostStartupDisabled()))
        .Add("app connector host startup disabled", YesNo(config.IsAppConnectorHostStartupDisabled()))
        .Add("root path native app", PathText(config.GetRootPathNativeApp()))
        .Add("root path managed app", PathText(config.GetRootPathManagedApp()))
        .Add("root path app host", PathText(config.GetRootPathAppHost()))
        .Add("root path app connector host", PathText(config.GetRootPathAppConnectorHost()))
        .Print(*invocation.out, invocation.common.format);
    return result == "loaded" ? ExitSuccess : ExitRefused;
}

} // namespace Ervom
