#include "ErvLogging/Assert.h"
#include "ErvLogging/BoundedInt.h"
#include "ErvLogging/Logging.h"
#include "ErvLogging/Text.h"
#include "LogCapture.h"

#include <gmock/gmock.h>
#include <log4cplus/configurator.h>
#include <log4cplus/hierarchy.h>

#include <atomic>
#include <functional>
#include <sstream>
#include <thread>
#include <tuple>

using namespace ErvTest;
using ::testing::ElementsAre;
using ::testing::EndsWith;

namespace {

void LogFromAFunction(int value) { ERV_LOG_WARN("value=" << value); }

// Counts how often it is written to a stream: a disabled log call must not build its text.
struct StreamCounter {
    int* count;
};
std::ostream& operator<<(std::ostream& os, const StreamCounter& c) { return os << ++*c.count; }

TEST(Logging, LineCarriesContextSignaturePaddingAndBytesAsNumbers)
{
    LogCapture log;
    LogFromAFunction(3);
    Erv::SetLoggingContext("[host] ");
    {
        Erv::LoggingRecursionScope nested;
        LogFromAFunction(4);
    }
    Erv::SetLoggingContext("");
    const unsigned char byte = 69;
    const signed char negative = -5;
    ERV_LOG_ERROR("byte " << byte << " signed " << negative << " char " << 'x');
    EXPECT_THAT(log.FullTexts(), ElementsAre("void {anonymous}::LogFromAFunction(int) - value=3",
                                             "[host] void {anonymous}::LogFromAFunction(int) -   value=4",
                                             EndsWith("() - byte 69 signed -5 char x")));
    EXPECT_THAT(log.Lines(), ElementsAre(Warn("value=3"), Warn("value=4"), Error("byte 69 signed -5 char x")));
}

TEST(Logging, DisabledLevelBuildsNoText)
{
    Erv::GetGlobalDefaultLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL); // as every test binary starts
    int writes = 0;
    ERV_LOG_DEBUG("never " << StreamCounter{&writes});
    ERV_LOG_INFO("once " << StreamCounter{&writes});
    EXPECT_EQ(writes, 1);
}

// A level a host changes while running, on the logger, by loading a configuration again or with
// the hierarchy's threshold, counts from the very next line: the level test keeps no copy of it.
TEST(Logging, LevelChangedAtRunTimeCountsAtOnce)
{
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    const log4cplus::SharedAppenderPtrList appenders = logger.getAllAppenders(); // a configuration drops them
    const auto configure = [](const char* rootLogger) {
        std::istringstream properties(std::string("log4cplus.rootLogger=") + rootLogger +
                                      ", null\nlog4cplus.appender.null=log4cplus::NullAppender\n");
        log4cplus::PropertyConfigurator(properties).configure();
    };
    log4cplus::Hierarchy& hierarchy = log4cplus::Logger::getDefaultHierarchy();
    const std::tuple<const char*, std::function<void()>, log4cplus::LogLevel, bool> steps[] = {
        {"logger at INFO", [&] { logger.setLogLevel(log4cplus::INFO_LOG_LEVEL); }, log4cplus::DEBUG_LOG_LEVEL, false},
        {"logger at DEBUG", [&] { logger.setLogLevel(log4cplus::DEBUG_LOG_LEVEL); }, log4cplus::DEBUG_LOG_LEVEL, true},
        {"logger at ERROR", [&] { logger.setLogLevel(log4cplus::ERROR_LOG_LEVEL); }, log4cplus::WARN_LOG_LEVEL, false},
        {"configured DEBUG", [&] { configure("DEBUG"); }, log4cplus::DEBUG_LOG_LEVEL, true},
        {"configured WARN", [&] { configure("WARN"); }, log4cplus::INFO_LOG_LEVEL, false},
        {"configured WARN", [] {}, log4cplus::WARN_LOG_LEVEL, true},
        {"threshold WARN", [&] { hierarchy.disable(log4cplus::WARN_LOG_LEVEL); }, log4cplus::WARN_LOG_LEVEL, false},
        {"threshold WARN", [] {}, log4cplus::ERROR_LOG_LEVEL, true},
        {"no threshold", [&] { hierarchy.enableAll(); }, log4cplus::WARN_LOG_LEVEL, true},
        {"another logger",
         [&] {
             logger = log4cplus::Logger::getInstance("host");
             logger.setLogLevel(log4cplus::DEBUG_LOG_LEVEL);
         },
         log4cplus::DEBUG_LOG_LEVEL, true},
        {"root again, at WARN", [&] { logger = log4cplus::Logger::getRoot(); }, log4cplus::DEBUG_LOG_LEVEL, false},
    };
    for (const auto& [what, change, level, built] : steps) {
        change();
        int writes = 0;
        ERV_LOG(level, "line " << StreamCounter{&writes});
        EXPECT_EQ(writes, built ? 1 : 0) << what << ", a line at " << level;
    }
    logger.removeAllAppenders();
    for (const auto& appender : appenders)
        logger.addAppender(appender);
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
}

// The threads log at once, each at depth one with its number as the context: both are per thread.
TEST(Logging, ContextAndDepthArePerThreadAndCaptureIsThreadSafe)
{
    LogCapture log;
    std::atomic<int> started{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t, &started] {
            Erv::LoggingRecursionScope nested;
            for (++started; started < 4;)
                std::this_thread::yield();
            for (int i = 0; i < 250; ++i) {
                Erv::SetLoggingContext(std::to_string(t));
                ERV_LOG_INFO("thread " << t);
            }
        });
    for (auto& thread : threads)
        thread.join();
    const auto texts = log.FullTexts();
    EXPECT_EQ(texts.size(), 1000u);
    for (const std::string& text : texts)
        ASSERT_THAT(text, EndsWith(std::string(" -   thread ") + text[0]));
}

TEST(AssertionDeathTest, FailedAssertionWritesItsRecordAndEndsTheProcess)
{
    const auto failing = [] { ERV_ASSERT2(1 + 1 == 3); };
    EXPECT_DEATH(failing(), "tests/PlatformLoggingTest:[0-9]+: operator\\(\\) ERV_ASSERT2\\(1 \\+ 1 == 3\\) failed");
}

struct DeviceTag {};
using DeviceId = Erv::BoundedInt<int, 1, 2, DeviceTag>;

TEST(BoundedInt, RefusesRawNumbersOutsideItsBound)
{
    EXPECT_TRUE(DeviceId::Create(2) == DeviceId::Of<2>());
    EXPECT_FALSE(DeviceId::Create(0) || DeviceId::Create(3));
    EXPECT_DEATH(DeviceId{3}, "ERV_ASSERT2\\(Min <= value && value <= Max\\) failed");
}

// Code points from the Latin-1 table: U+00E9 is C3 A9, U+00FF is C3 BF, U+0080 is C2 80; what
// Latin-1 cannot hold becomes '?' one way only.
TEST(Text, Latin1Recoding)
{
    const std::tuple<std::string, std::string, bool> cases[] = { // Latin-1, UTF-8, both ways
        {"", "", true}, {"caf\xE9", "caf\xC3\xA9", true}, {"\x80\xFF", "\xC2\x80\xC3\xBF", true},
        {"?", "\xE2\x82\xAC", false}, // U+20AC euro sign
        {"a?", "a\xC3", false},        // cut-off sequence
        {"a?b", "a\xFF" "b", false},    // invalid lead byte
    };
    for (const auto& [latin1, utf8, bothWays] : cases) {
        if (bothWays) {
            EXPECT_EQ(Erv::getUTF8FromLatin1(latin1).Str(), utf8);
        }
        EXPECT_EQ(Erv::getLatin1FromUTF8Lossy(utf8), latin1);
    }
}

} // namespace
