// The app host configuration: the file format, the fall-backs, the flags under concurrent use, and
// hostile input, which must end in true, false with one line, or the "stoul" exception.
#include "ErvObjectModel/AppHostConfig.h"

#include "LogCapture.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem.hpp>
#include <gmock/gmock.h>

#include <fstream>
#include <random>
#include <thread>

using namespace ErvTest;
using Erv::AppHostConfiguration;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = boost::filesystem;

namespace {

const std::string Example = R"(<?xml version="1.0"?>
<ErvAppHostConfig WithoutKNX="0" TerminateOnFirmwareUpdate="1">
  <ObjectModelConfig Path="/opt/om.json"/>
  <LumConfig><ResponseDps><Dp ObjId="1001"/><Dp ObjId="1002"/></ResponseDps></LumConfig>
  <Debugging Active="1"><AppHost RootPath="/tmp/host" DisableStartup="1"/></Debugging>
</ErvAppHostConfig>)";

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
    std::string text;
    const std::pair<const char*, bool> flags[] = {
        {"debug", c.IsInAppDebugMode()},       {"hostOff", c.IsAppHostStartupDisabled()},
        {"connectorOff", c.IsAppConnectorHostStartupDisabled()}, {"withoutKnx", c.IsAppHostWithoutKNX()},
        {"terminate", c.IsAppHostTerminateOnFirmwareUpdate()}};
    for (const auto& [name, on] : flags)
        text += on ? std::string(" ") + name : "";
    const std::pair<const char*, const AppHostConfiguration::OptionalPath*> paths[] = {
        {"app", &c.GetRootPathNativeApp()},        {"managedApp", &c.GetRootPathManagedApp()},
        {"host", &c.GetRootPathAppHost()},         {"connector", &c.GetRootPathAppConnectorHost()},
        {"objectModel", &c.GetPathObjectModelConfig()}};
    for (const auto& [name, path] : paths)
        text += *path ? std::string(" ") + name + "=" + (*path)->string() : "";
    for (std::size_t i = 0; i < c.GetResponseDataPoints().size(); ++i)
        text += (i ? "," : " dps=") + std::to_string(c.GetResponseDataPoints()[i]);
    return text.empty() ? text : text.substr(1);
}

struct FormatCase {
    const char* name;
    bool debugBefore; // SetAppDebugMode(true) before loading
    std::string xml;
    const char* settings;
};

void PrintTo(const FormatCase& c, std::ostream* os) { *os << c.name; }

class FileFormat : public ::testing::TestWithParam<FormatCase> {};

TEST_P(FileFormat, Applies)
{
    LogCapture log;
    AppHostConfiguration config;
    config.SetAppDebugMode(GetParam().debugBefore);
    ASSERT_TRUE(Load(config, GetParam().xml));
    EXPECT_EQ(Settings(config), GetParam().settings);
    EXPECT_THAT(log.Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    AppHostConfig, FileFormat,
    ::testing::Values(
        FormatCase{"CompleteExample", false, Example,
                   "debug hostOff connectorOff terminate host=/tmp/host objectModel=/opt/om.json dps=1001,1002"},
        FormatCase{"OnlyZeroIsFalse", false, R"(<ErvAppHostConfig WithoutKNX="false" TerminateOnFirmwareUpdate=""/>)",
                   "withoutKnx terminate"},
        FormatCase{"EveryRootInOrderAbsentKeeps", false,
                   R"(<ErvAppHostConfig WithoutKNX="1" TerminateOnFirmwareUpdate="1"/><Other WithoutKNX="0"/>
                      <ErvAppHostConfig WithoutKNX="0"/><ervAppHostConfig TerminateOnFirmwareUpdate="0"/>)",
                   "terminate"},
        FormatCase{"NamesAreCaseSensitive", false,
                   R"(<ErvAppHostConfig withoutKNX="1"><objectModelConfig Path="/x"/></ErvAppHostConfig>)", ""},
        FormatCase{"InactiveDebuggingSkipsItsChildren", false,
                   R"(<ErvAppHostConfig><Debugging Active="0"><AppHost RootPath="/h" DisableStartup="1"/>
                      </Debugging></ErvAppHostConfig>)",
                   ""},
        FormatCase{"DebugModeFromSetterReadsTheChildren", true,
                   R"(<ErvAppHostConfig><Debugging><App RootPath="/a"/><ManagedApp RootPath="/m"/>
                      <AppConnectorHost RootPath="/c" DisableStartup="1"/></Debugging></ErvAppHostConfig>)",
                   "debug connectorOff app=/a managedApp=/m connector=/c"},
        FormatCase{"DisabledAppHostDisablesTheConnectorHost", false,
                   R"(<ErvAppHostConfig><Debugging Active="1"><AppHost DisableStartup="1"/>
                      <AppConnectorHost DisableStartup="0"/></Debugging></ErvAppHostConfig>)",
                   "debug hostOff connectorOff"},
        FormatCase{"LumConfigReadsOnlyAFirstResponseDps", false,
                   R"(<ErvAppHostConfig><LumConfig><Other/><ResponseDps><Dp ObjId="1"/></ResponseDps></LumConfig>
                      <LumConfig><ResponseDps><Dp ObjId="2"/></ResponseDps><ResponseDps><Dp ObjId="3"/></ResponseDps>
                      </LumConfig></ErvAppHostConfig>)",
                   "dps=2"},
        FormatCase{"ObjIdIsReadLikeStoul", false,
                   R"(<ErvAppHostConfig><LumConfig><ResponseDps><Dp ObjId=" 42x"/><Dp/><dp ObjId="5"/>
                      <Dp ObjId="+7"/><Other ObjId="6"/></ResponseDps></LumConfig></ErvAppHostConfig>)",
                   "dps=42,7"},
        FormatCase{"LaterPathsWinAndEntitiesAreExpanded", false,
                   R"(<ErvAppHostConfig><ObjectModelConfig Path="/a"/><ObjectModelConfig Path="/b&amp;c"/>
                      </ErvAppHostConfig>)",
                   "objectModel=/b&c"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(AppHostConfig, ReloadingAppendsTheDataPoints)
{
    AppHostConfiguration config;
    ASSERT_TRUE(Load(config, Example));
    ASSERT_TRUE(Load(config, Example));
    EXPECT_THAT(config.GetResponseDataPoints(), ElementsAre(1001, 1002, 1001, 1002));
}

enum class Outcome { Accepted, Refused, Threw };

// What any input may do: be accepted; be refused with one line and nothing changed; throw "stoul".
Outcome LoadGracefully(const std::string& text, const std::string& what)
{
    AppHostConfiguration config;
    EXPECT_TRUE(Load(config, R"(<ErvAppHostConfig WithoutKNX="1"><ObjectModelConfig Path="/p"/></ErvAppHostConfig>)"));
    LogCapture log;
    try {
        if (Load(config, text)) {
            EXPECT_THAT(log.Lines(), IsEmpty()) << what;
            return Outcome::Accepted;
        }
    } catch (const std::logic_error& error) { // invalid_argument and out_of_range
        EXPECT_STREQ(error.what(), "stoul") << what;
        EXPECT_THAT(log.Lines(), IsEmpty()) << what;
        return Outcome::Threw;
    }
    EXPECT_EQ(Settings(config), "withoutKnx objectModel=/p") << what;
    const auto refusal = ::testing::StartsWith("Failed to read configuration file: ");
    EXPECT_THAT(log.Lines(), ElementsAre(::testing::Field(&LogLine::message, refusal))) << what;
    return Outcome::Refused;
}

TEST(AppHostConfig, MalformedXmlIsRefusedWithNothingChanged)
{
    const std::pair<std::string, const char*> cases[] = {
        {"hello", "expected <"},
        {"<ErvAppHostConfig WithoutKNX=\"0\"><Debugging>", "unexpected end of data"},
        {"<ErvAppHostConfig WithoutKNX=\"0", "expected ' or \""},
        {"<ErvAppHostConfig WithoutKNX=0/>", "expected ' or \""},
        {"<!-- <ErvAppHostConfig WithoutKNX=\"0\"/>", "unexpected end of data"},
        {"</ErvAppHostConfig>", "expected element name"},
        {"<a>&#xZ;</a>", "expected ;"},
        {"<ErvAppHostConfig/ >", "expected >"},
    };
    for (const auto& [xml, message] : cases) {
        LogCapture log;
        EXPECT_EQ(LoadGracefully(xml, xml), Outcome::Refused);
        EXPECT_THAT(log.Lines(), ElementsAre(Error(std::string("Failed to read configuration file: ") + message)));
    }
}

TEST(AppHostConfig, NestingIsRefusedBeyondOneHundredLevels)
{
    for (int levels : {100, 101}) {
        std::string xml;
        for (int i = 0; i < levels; ++i)
            xml = "<ErvAppHostConfig WithoutKNX='0'>" + xml + "</ErvAppHostConfig>";
        LogCapture log;
        const bool refused = LoadGracefully(xml, "nested") == Outcome::Refused;
        EXPECT_EQ(refused, levels > 100);
        EXPECT_EQ(log.Lines(), refused ? std::vector<LogLine>{Error("Failed to read configuration file: elements "
                                                                    "nested deeper than 100")}
                                       : std::vector<LogLine>{});
    }
}

TEST(AppHostConfig, BadObjIdEscapesWithEarlierEntriesApplied)
{
    for (const std::string objId : {"x", "", "99999999999999999999999"}) {
        AppHostConfiguration config;
        const std::string xml = R"(<ErvAppHostConfig WithoutKNX="1"><LumConfig><ResponseDps><Dp ObjId="1"/>)"
                                R"(<Dp ObjId=")" + objId + R"("/><Dp ObjId="3"/></ResponseDps></LumConfig>)"
                                R"(<Debugging Active="1"/></ErvAppHostConfig>)";
        if (objId.size() > 1)
            EXPECT_THROW(Load(config, xml), std::out_of_range);
        else
            EXPECT_THROW(Load(config, xml), std::invalid_argument);
        EXPECT_EQ(Settings(config), "withoutKnx dps=1") << objId;
        EXPECT_EQ(LoadGracefully(xml, objId), Outcome::Threw);
    }
}

TEST(AppHostConfig, HostileDocumentsEndGracefully)
{
    for (std::size_t length = 0; length <= Example.size(); ++length)
        LoadGracefully(Example.substr(0, length), "prefix");
    std::string allBytes;
    for (int b = 1; b < 256; ++b)
        allBytes += static_cast<char>(b);
    LoadGracefully(allBytes, "every byte");
    LoadGracefully("<a x='" + allBytes + "'>" + allBytes, "every byte in a tag");
    std::string nested, nestedInAttribute = "<a x='";
    for (int i = 0; i < 100000; ++i) {
        nested += "<a><!-- --><?p?><b/>";
        nestedInAttribute += "<a>";
    }
    EXPECT_EQ(LoadGracefully(nested, "deeply nested"), Outcome::Refused);
    EXPECT_EQ(LoadGracefully(nestedInAttribute + "'/>", "nesting in an attribute"), Outcome::Accepted);
    EXPECT_EQ(LoadGracefully("<!DOCTYPE x [" + nested + "]><a/>", "nesting in a DOCTYPE"), Outcome::Accepted);
    EXPECT_EQ(LoadGracefully("<a>" + std::string(8 << 20, 'x') + "</a>", "huge"), Outcome::Accepted);
    EXPECT_EQ(LoadGracefully(std::string("<a/>\0<", 6), "embedded NUL"), Outcome::Accepted);
    const std::string alphabet("<>/=\"'!?-[]&#;x0 \x80\xff\0", 20);
    std::mt19937 random(4);
    for (int round = 0; round < 3000; ++round) {
        std::string mutated = Example;
        for (int edit = 0; edit < 4; ++edit) {
            const std::size_t at = random() % mutated.size();
            const char byte = alphabet[random() % alphabet.size()];
            switch (random() % 3) {
            case 0: mutated[at] = byte; break;
            case 1: mutated.insert(at, 1, byte); break;
            default: mutated.erase(at, 1 + random() % 8);
            }
        }
        LoadGracefully(mutated, mutated);
    }
}

class ConfigurationFile : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(m_dir); }
    void TearDown() override { fs::remove_all(m_dir); }
    fs::path Write(const std::string& name, const std::string& bytes)
    {
        std::ofstream(m_dir / name, std::ios::binary) << bytes;
        return m_dir / name;
    }
    // The quote and the ampersand show how the message escapes a path.
    const fs::path m_dir = fs::temp_directory_path() / fs::unique_path("erv\"config&%%%%-%%%%");
};

TEST_F(ConfigurationFile, LoadsOrFallsBack)
{
    AppHostConfiguration config;
    config.LoadConfigurationFile(Write("good.xml", Example));
    EXPECT_EQ(Settings(config),
              "debug hostOff connectorOff terminate host=/tmp/host objectModel=/opt/om.json dps=1001,1002");
    LogCapture log;
    config.LoadConfigurationFile(Write("bad.xml", "<ErvAppHostConfig WithoutKNX=\"1\">"));
    EXPECT_THAT(log.Lines(), ElementsAre(Error("Failed to read configuration file: unexpected end of data"),
                                         Error("Falling back to standard configuration.")));
    EXPECT_FALSE(config.IsAppHostWithoutKNX());
    const auto badObjId = Write("objid.xml", R"(<ErvAppHostConfig><LumConfig><ResponseDps><Dp ObjId="x"/>)"
                                             R"(</ResponseDps></LumConfig></ErvAppHostConfig>)");
    EXPECT_THROW(config.LoadConfigurationFile(badObjId), std::invalid_argument);
}

TEST_F(ConfigurationFile, UnreadableFileKeepsTheDefaults)
{
    for (const fs::path& file : {m_dir / "missing.xml", m_dir}) {
        AppHostConfiguration config;
        LogCapture log;
        config.LoadConfigurationFile(file);
        std::string quoted = file.string();
        boost::replace_all(quoted, "&", "&&");
        boost::replace_all(quoted, "\"", "&\"");
        EXPECT_THAT(log.Lines(), ElementsAre(Error("App host config file cannot be read from: \"" + quoted + "\"")));
        EXPECT_EQ(Settings(config), "");
    }
}

TEST_F(ConfigurationFile, LoadFileReturnsEveryByteUntranslated)
{
    const std::string bytes("a\r\nb\0c\r", 7);
    const auto loaded = Erv::LoadFile(Write("raw", bytes).string());
    ASSERT_TRUE(loaded);
    EXPECT_EQ(std::string(loaded->begin(), loaded->end()), bytes);
}

// Runs only on a machine without the real file, and creates none.
TEST(AppHostConfigFixedPath, MissingFileIsReported)
{
    if (fs::exists(Erv::AppHostConfigFile))
        GTEST_SKIP() << Erv::AppHostConfigFile << " exists here";
    AppHostConfiguration config;
    LogCapture log;
    config.LoadConfigurationFile();
    EXPECT_THAT(log.Lines(), ElementsAre(Error(std::string("App host config file cannot be read from: \"") +
                                               Erv::AppHostConfigFile + "\"")));
}

TEST(AppHostConfigFlags, SettersStoreOrExchange)
{
    AppHostConfiguration config;
    EXPECT_FALSE(config.ReplaceAppDebugMode(true));
    EXPECT_TRUE(config.IsInAppDebugMode());
    EXPECT_FALSE(config.SetAppConnectorHostStartupDisabled(true));
    EXPECT_TRUE(config.SetAppConnectorHostStartupDisabled(false));
    config.SetAppHostStartupDisabled(true);
    EXPECT_EQ(Settings(config), "debug hostOff");
}

// Each flag starts false and every change to it returns its opposite, so the changes to on and to
// off that the exchanges report differ by the flag's final value.
TEST(AppHostConfigFlags, ExchangesFromManyThreadsLoseNoChange)
{
    AppHostConfiguration config;
    std::atomic<bool> done{false};
    std::atomic<int> onMinusOff[2] = {0, 0}; // debug mode, app connector host
    std::thread reader([&] {
        while (!done)
            Settings(config);
    });
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t) {
        writers.emplace_back([&, t] {
            for (int i = 0; i < 20000; ++i) {
                const bool on = (i * 7 + t) % 3 == 0;
                const bool debug = t % 2 == 0;
                if ((debug ? config.ReplaceAppDebugMode(on) : config.SetAppConnectorHostStartupDisabled(on)) != on)
                    onMinusOff[debug ? 0 : 1] += on ? 1 : -1;
                config.SetAppHostStartupDisabled(on);
            }
        });
    }
    for (auto& writer : writers)
        writer.join();
    done = true;
    reader.join();
    EXPECT_EQ(onMinusOff[0], int{config.IsInAppDebugMode()});
    EXPECT_EQ(onMinusOff[1], int{config.IsAppConnectorHostStartupDisabled()});
}

} // namespace
