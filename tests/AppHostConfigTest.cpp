// The app host configuration: the file format, the fall-backs, the flags under concurrent use, and
// hostile input, which must end in true, false with one line, or the "stoul" exception.
#include "ErvObjectModel/AppHostConfig.h"

#include "LogCapture.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem.hpp>
#include <gmock/gmock.h>

#include <fstream>
#include <random>
#include <sstream>
#include <thread>

using namespace ErvTest;
using Erv::AppHostConfiguration;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
namespace fs = boost::filesystem;

namespace {

const std::string Example = R"(<?xml version="1.0"?>
<ErvAppHostConfig WithoutKNX="0" TerminateOnFirmwareUpdate="1">
  <ObjectModelConfig Path="/opt/om.json"/>
  <LumConfig><ResponseDps><Dp ObjId="1001"/><Dp ObjId="1002"/></ResponseDps></LumConfig>
  <Debugging Active="1"><AppHost RootPath="/tmp/host" DisableStartup="1"/></Debugging>
</ErvAppHostConfig>)";
const char* const ExampleSettings =
    "debug hostOff connectorOff terminate host=/tmp/host objectModel=/opt/om.json dps=1001,1002";

std::string Root(const std::string& inner, const std::string& attributes = "")
{
    return "<ErvAppHostConfig" + attributes + ">" + inner + "</ErvAppHostConfig>";
}

bool Load(AppHostConfiguration& config, const std::string& text)
{
    // Exactly sized, so that the sanitizer sees any read past the terminating NUL.
    std::vector<char> buffer(text.size() + 1);
    std::copy(text.begin(), text.end(), buffer.begin());
    return config.LoadAppHostConfigXML(buffer.data());
}

// Every setting that differs from its default, e.g. "debug hostOff host=/tmp/host dps=1001,1002".
std::string Settings(const AppHostConfiguration& c)
{
    std::ostringstream text;
    const std::pair<const char*, bool> flags[] = {
        {"debug", c.IsInAppDebugMode()}, {"hostOff", c.IsAppHostStartupDisabled()},
        {"connectorOff", c.IsAppConnectorHostStartupDisabled()}, {"withoutKnx", c.IsAppHostWithoutKNX()},
        {"terminate", c.IsAppHostTerminateOnFirmwareUpdate()}};
    for (const auto& [name, on] : flags)
        text << (on ? std::string(" ") + name : "");
    const std::pair<const char*, const AppHostConfiguration::OptionalPath*> paths[] = {
        {"app", &c.GetRootPathNativeApp()}, {"managedApp", &c.GetRootPathManagedApp()},
        {"host", &c.GetRootPathAppHost()}, {"connector", &c.GetRootPathAppConnectorHost()},
        {"objectModel", &c.GetPathObjectModelConfig()}};
    for (const auto& [name, path] : paths)
        text << (*path ? std::string(" ") + name + "=" + (*path)->string() : "");
    for (std::size_t i = 0; i < c.GetResponseDataPoints().size(); ++i)
        text << (i ? "," : " dps=") << c.GetResponseDataPoints()[i];
    return text.str().empty() ? "" : text.str().substr(1);
}

TEST(AppHostConfig, FileFormat)
{
    // name, SetAppDebugMode(true) before loading, text, settings
    const std::tuple<const char*, bool, std::string, const char*> cases[] = {
        {"OnlyZeroIsFalse", false, Root("", " WithoutKNX='false' TerminateOnFirmwareUpdate=''"),
         "withoutKnx terminate"},
        {"EveryRootInOrderNamesAreCaseSensitive", false,
         Root("", " WithoutKNX='1' TerminateOnFirmwareUpdate='1'") + "<Other WithoutKNX='0'/>" +
             Root("<objectModelConfig Path='/x'/>", " WithoutKNX='0' terminateOnFirmwareUpdate='0'") +
             "<ervAppHostConfig TerminateOnFirmwareUpdate='0'/>",
         "terminate"},
        {"InactiveDebuggingSkipsItsChildren", false,
         Root("<Debugging Active='0'><AppHost RootPath='/h' DisableStartup='1'/></Debugging>"), ""},
        {"DebugModeFromSetterReadsTheChildren", true,
         Root("<Debugging><App RootPath='/a'/><ManagedApp RootPath='/m'/>"
              "<AppConnectorHost RootPath='/c' DisableStartup='1'/></Debugging>"),
         "debug connectorOff app=/a managedApp=/m connector=/c"},
        {"DisabledAppHostDisablesTheConnectorHost", false,
         Root("<Debugging Active='1'><AppHost DisableStartup='1'/><AppConnectorHost DisableStartup='0'/></Debugging>"),
         "debug hostOff connectorOff"},
        {"LumConfigReadsOnlyAFirstResponseDps", false,
         Root("<LumConfig><Other/><ResponseDps><Dp ObjId='1'/></ResponseDps></LumConfig><LumConfig><ResponseDps>"
              "<Dp ObjId='2'/></ResponseDps><ResponseDps><Dp ObjId='3'/></ResponseDps></LumConfig>"),
         "dps=2"},
        {"ObjIdIsReadLikeStoul", false,
         Root("<LumConfig><ResponseDps><Dp ObjId=' 42x'/><Dp Other='4'/><dp ObjId='5'/><Dp ObjId='+7'/>"
              "<Other ObjId='6'/></ResponseDps></LumConfig>"),
         "dps=42,7"},
        {"LaterPathsWinAndEntitiesAreExpanded", false,
         Root("<ObjectModelConfig Path='/a'/><ObjectModelConfig Path='/b&amp;c'/>"), "objectModel=/b&c"},
    };
    for (const auto& [name, debugBefore, xml, settings] : cases) {
        LogCapture log;
        AppHostConfiguration config;
        config.SetAppDebugMode(debugBefore);
        EXPECT_TRUE(Load(config, xml)) << name;
        EXPECT_EQ(Settings(config), settings) << name;
        EXPECT_THAT(log.Lines(), IsEmpty()) << name;
    }
}

// Any input must be accepted ("accepted"), make std::stoul throw ("stoul"), or be refused with
// nothing changed and one ERROR line, which is returned.
std::string LoadGracefully(const std::string& text)
{
    AppHostConfiguration config;
    EXPECT_TRUE(Load(config, Root("<ObjectModelConfig Path='/p'/>", " WithoutKNX='1'")));
    LogCapture log;
    std::string outcome;
    try {
        outcome = Load(config, text) ? "accepted" : "refused";
    } catch (const std::logic_error& error) { // invalid_argument and out_of_range
        outcome = error.what();
    }
    const auto lines = log.Lines();
    if (outcome == "refused" && lines.size() == 1 && lines[0].level == log4cplus::ERROR_LOG_LEVEL) {
        EXPECT_EQ(Settings(config), "withoutKnx objectModel=/p") << text;
        outcome = lines[0].message;
    } else {
        EXPECT_THAT(lines, IsEmpty()) << outcome << " for " << text;
    }
    EXPECT_THAT(outcome, AnyOf("accepted", "stoul", StartsWith("Failed to read configuration file: "))) << text;
    return outcome;
}

// `levels` opening texts, then as many closing ones.
std::string Nested(int levels, const std::string& open = "<a b='1'>", const std::string& close = "</a>")
{
    std::string xml;
    for (int i = 0; i < 2 * levels; ++i)
        xml += i < levels ? open : close;
    return xml;
}

std::string WithObjIds(const std::string& second)
{
    return Root("<LumConfig><ResponseDps><Dp ObjId='1'/><Dp ObjId='" + second +
                    "'/><Dp ObjId='3'/></ResponseDps></LumConfig><Debugging Active='1'/>",
                " WithoutKNX='1'");
}

TEST(AppHostConfig, MalformedDeepOrHostileInputEndsGracefully)
{
    const std::string failed = "Failed to read configuration file: ";
    const std::string deep = Nested(100000, "<a><!-- --><?p?><b/>", "");
    const std::pair<std::string, std::string> cases[] = {
        {"hello", failed + "expected <"},
        {"<ErvAppHostConfig WithoutKNX=\"0\"><Debugging>", failed + "unexpected end of data"},
        {"<ErvAppHostConfig WithoutKNX=0/>", failed + "expected ' or \""},
        {Nested(101), failed + "elements nested deeper than 100"},
        {Nested(100), "accepted"},
        {Root(Nested(1000, "<a></a>", "")), "accepted"}, // siblings are no nesting
        {deep, failed + "elements nested deeper than 100"},
        {"<a x='" + Nested(100000, "<a>", "") + "'/>", "accepted"},
        {"<!DOCTYPE x [" + deep + "]><a/>", "accepted"},
        {"<a>" + std::string(8 << 20, 'x') + "</a>", "accepted"},
        {std::string("<a/>\0<", 6), "accepted"},
        {WithObjIds(""), "stoul"},
        {WithObjIds("99999999999999999999999"), "stoul"},
    };
    for (const auto& [xml, outcome] : cases)
        EXPECT_EQ(LoadGracefully(xml), outcome) << xml.substr(0, 80);

    std::string allBytes;
    for (int b = 1; b < 256; ++b)
        allBytes += static_cast<char>(b);
    LoadGracefully("<a x='" + allBytes + "'>" + allBytes);
    for (std::size_t length = 0; length <= Example.size(); ++length)
        LoadGracefully(Example.substr(0, length));
    const std::string alphabet("<>/=\"'!?-[]&#;x0 \x80\xff\0", 20);
    std::mt19937 random(4);
    for (int round = 0; round < 3000; ++round) {
        std::string mutated = Example;
        for (int edit = 0; edit < 4; ++edit)
            mutated[random() % mutated.size()] = alphabet[random() % alphabet.size()];
        LoadGracefully(mutated);
    }
}

TEST(AppHostConfig, BadObjIdEscapesWithEarlierEntriesApplied)
{
    AppHostConfiguration config;
    EXPECT_THROW(Load(config, WithObjIds("x")), std::invalid_argument);
    EXPECT_EQ(Settings(config), "withoutKnx dps=1");
}

// The directory name holds a quote and an ampersand to show how the message escapes a path.
TEST(AppHostConfigFile, LoadsFallsBackOrReportsTheUnreadable)
{
    const fs::path dir = fs::temp_directory_path() / fs::unique_path("erv\"config&%%%%-%%%%");
    fs::create_directories(dir);
    const auto write = [&dir](const char* name, const std::string& bytes) {
        std::ofstream(dir / name, std::ios::binary) << bytes;
        return dir / name;
    };
    AppHostConfiguration config;
    config.LoadConfigurationFile(write("good.xml", Example));
    EXPECT_EQ(Settings(config), ExampleSettings);
    config.LoadConfigurationFile(dir / "good.xml");
    EXPECT_THAT(config.GetResponseDataPoints(), ElementsAre(1001, 1002, 1001, 1002)); // appended again
    LogCapture log;
    config.LoadConfigurationFile(write("bad.xml", "<ErvAppHostConfig WithoutKNX=\"1\">"));
    config.LoadConfigurationFile(dir / "missing.xml");
    config.LoadConfigurationFile(dir); // opens, but cannot be read
    std::string quoted = dir.string();
    boost::replace_all(quoted, "&", "&&");
    boost::replace_all(quoted, "\"", "&\"");
    const std::string unreadable = "App host config file cannot be read from: \"" + quoted;
    EXPECT_THAT(log.Lines(), ElementsAre(Error("Failed to read configuration file: unexpected end of data"),
                                         Error("Falling back to standard configuration."),
                                         Error(unreadable + "/missing.xml\""), Error(unreadable + "\"")));
    EXPECT_EQ(Settings(config), std::string(ExampleSettings) + ",1001,1002");
    const auto badObjId = write("objid.xml", Root("<LumConfig><ResponseDps><Dp ObjId='x'/></ResponseDps></LumConfig>"));
    EXPECT_THROW(config.LoadConfigurationFile(badObjId), std::invalid_argument);
    // Longer than the 64 KiB the reader takes at a time.
    const std::string bytes = std::string(100000, 'x') + std::string("a\r\nb\0c\r", 7);
    const auto loaded = Erv::LoadFile(write("raw", bytes).string());
    EXPECT_TRUE(loaded && std::string(loaded->begin(), loaded->end()) == bytes);
    fs::remove_all(dir);
}

// Runs only on a machine without the real file, and creates none.
TEST(AppHostConfigFile, MissingFixedPathIsReported)
{
    if (fs::exists(Erv::AppHostConfigFile))
        GTEST_SKIP() << Erv::AppHostConfigFile << " exists here";
    LogCapture log;
    AppHostConfiguration().LoadConfigurationFile();
    EXPECT_THAT(log.Lines(), ElementsAre(Error(std::string("App host config file cannot be read from: \"") +
                                               Erv::AppHostConfigFile + "\"")));
}

// Every exchange that changes a flag returns its opposite, so the changes to on and to off that
// the exchanges report differ by the flag's final value.
TEST(AppHostConfigFlags, ExchangesFromManyThreadsLoseNoChange)
{
    AppHostConfiguration config;
    std::atomic<bool> done{false};
    std::atomic<int> onMinusOff[2] = {0, 0}; // app connector host, debug mode
    std::thread reader([&] {
        while (!done)
            Settings(config);
    });
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t)
        writers.emplace_back([&, t] {
            for (int i = 0; i < 20000; ++i) {
                const bool on = (i * 7 + t) % 3 == 0, debug = t % 2 == 0;
                if ((debug ? config.ReplaceAppDebugMode(on) : config.SetAppConnectorHostStartupDisabled(on)) != on)
                    onMinusOff[debug] += on ? 1 : -1;
                config.SetAppHostStartupDisabled(on);
            }
        });
    for (auto& writer : writers)
        writer.join();
    done = true;
    reader.join();
    EXPECT_EQ(onMinusOff[0], int{config.IsAppConnectorHostStartupDisabled()});
    EXPECT_EQ(onMinusOff[1], int{config.IsInAppDebugMode()});
}

} // namespace
