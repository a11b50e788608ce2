#include "ErvLogging/Assert.h"
#include "ErvLogging/BoundedInt.h"
#include "ErvLogging/Logging.h"
#include "ErvLogging/Text.h"
#include "LogCapture.h"

#include <gmock/gmock.h>

#include <thread>

using namespace ErvTest;
using ::testing::ElementsAre;

namespace {

void LogFromAFunction(int value) { ERV_LOG_WARN("value=" << value); }

// Counts how often it is written to a stream: a disabled log call must not build its text.
struct StreamCounter {
    int* count;
};
std::ostream& operator<<(std::ostream& os, const StreamCounter& c)
{
    ++*c.count;
    return os << "counted";
}

TEST(Logging, LineCarriesContextSignatureAndPadding)
{
    LogCapture log;
    LogFromAFunction(3);
    Erv::SetLoggingContext("[host] ");
    {
        Erv::LoggingRecursionScope nested;
        LogFromAFunction(4);
    }
    Erv::SetLoggingContext("");
    EXPECT_THAT(log.FullTexts(), ElementsAre("void {anonymous}::LogFromAFunction(int) - value=3",
                                             "[host] void {anonymous}::LogFromAFunction(int) -   value=4"));
    EXPECT_THAT(log.Lines(), ElementsAre(Warn("value=3"), Warn("value=4")));
}

TEST(Logging, OneByteIntegersAreWrittenAsNumbers)
{
    LogCapture log;
    const unsigned char byte = 69;
    const signed char negative = -5;
    ERV_LOG_ERROR("byte " << byte << " signed " << negative << " char " << 'x');
    EXPECT_THAT(log.Lines(), ElementsAre(Error("byte 69 signed -5 char x")));
}

TEST(Logging, DisabledLevelBuildsNoText)
{
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    const auto previous = logger.getLogLevel();
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
    int writes = 0;
    ERV_LOG_DEBUG("never " << StreamCounter{&writes});
    ERV_LOG_INFO("once " << StreamCounter{&writes});
    logger.setLogLevel(previous);
    EXPECT_EQ(writes, 1);
}

TEST(Logging, CaptureIsThreadSafe)
{
    LogCapture log;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 250; ++i)
                ERV_LOG_INFO("line " << i);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(log.Lines().size(), 1000u);
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
    EXPECT_EQ(DeviceId::Of<2>().Get(), 2);
    EXPECT_EQ(DeviceId::Create(1)->Get(), 1);
    EXPECT_FALSE(DeviceId::Create(0));
    EXPECT_FALSE(DeviceId::Create(3));
    EXPECT_EQ(DeviceId(2), DeviceId::Of<2>());
    EXPECT_DEATH(DeviceId{3}, "ERV_ASSERT2\\(Min <= value && value <= Max\\) failed");
}

struct RecodingCase {
    const char* name;
    std::string latin1;
    std::string utf8;
};

class Latin1Recoding : public ::testing::TestWithParam<RecodingCase> {};

TEST_P(Latin1Recoding, RoundTrips)
{
    EXPECT_EQ(Erv::getUTF8FromLatin1(GetParam().latin1).Str(), GetParam().utf8);
    EXPECT_EQ(Erv::getLatin1FromUTF8Lossy(GetParam().utf8), GetParam().latin1);
}

// Code points from the Latin-1 table: U+00E9 is C3 A9, U+00FF is C3 BF, U+0080 is C2 80.
INSTANTIATE_TEST_SUITE_P(Text, Latin1Recoding,
                         ::testing::Values(RecodingCase{"Empty", "", ""}, RecodingCase{"Ascii", "Gruss", "Gruss"},
                                           RecodingCase{"EAcute", "caf\xE9", "caf\xC3\xA9"},
                                           RecodingCase{"Extremes", "\x80\xFF", "\xC2\x80\xC3\xBF"}),
                         [](const auto& info) { return info.param.name; });

TEST(Text, LossyLatin1ReplacesWhatItCannotHold)
{
    EXPECT_EQ(Erv::getLatin1FromUTF8Lossy("\xE2\x82\xAC"), "?");   // U+20AC euro sign
    EXPECT_EQ(Erv::getLatin1FromUTF8Lossy("a\xC3"), "a?");         // cut-off sequence
    EXPECT_EQ(Erv::getLatin1FromUTF8Lossy("a\xFF" "b"), "a?b");    // invalid lead byte
}

} // namespace
