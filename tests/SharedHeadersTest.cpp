#include "Erv/Function.h"
#include "Erv/MeasureDuration.h"
#include "Erv/Unreachable.h"
#include "LogCapture.h"

#include <gmock/gmock.h>

#include <string>

using namespace ErvTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

namespace {

TEST(Function, CopiesShareTheStoredCallable)
{
    int calls = 0;
    Erv::BoolReader isOdd = [&calls, n = 0]() mutable {
        ++calls;
        return ++n % 2 == 1;
    };
    Erv::BoolReader copy = isOdd;
    EXPECT_TRUE(isOdd());
    EXPECT_FALSE(copy()); // the counter inside the lambda is shared, not copied
    EXPECT_TRUE(isOdd());
    EXPECT_EQ(calls, 3);
    EXPECT_TRUE(copy != nullptr);
    EXPECT_TRUE(Erv::BoolReader() == nullptr);
}

TEST(FunctionDeathTest, CallingAnEmptyFunctionEndsTheProcess)
{
    const Erv::BoolReader empty;
    EXPECT_DEATH(empty(), "Include/Erv/Function:87: operator\\(\\) ERV_ASSERT2\\(m_storage\\) failed");
}

TEST(UnreachableDeathTest, GuardLogsWhereTheBugIsAndTerminates)
{
    EXPECT_DEATH(Erv::UndefinedBehaviourIfNone(boost::optional<int>()),
                 "T Erv::UndefinedBehaviourIfNone\\(boost::optional<T>\\) \\[with T = int\\] - This statement "
                 "should not be executed. There is a bug somewhere around Include/Erv/Unreachable:45");
}

TEST(Unreachable, NoneGuardPassesValuesThrough)
{
    EXPECT_EQ(Erv::UndefinedBehaviourIfNone(boost::optional<std::string>("ok")), "ok");
}

// boost::timer's report with six decimals, e.g.
// "0.000012s wall, 0.000000s user + 0.000000s system = 0.000000s CPU (n/a%)".
const char* const ReportPattern = "Took [0-9]+\\.[0-9]{6}s wall, [0-9]+\\.[0-9]{6}s user \\+ [0-9]+\\.[0-9]{6}s "
                                  "system = [0-9]+\\.[0-9]{6}s CPU \\(.*%\\)";

TEST(MeasureDuration, ReportsAtInfoFromItsThresholdOn)
{
    LogCapture log;
    { Erv::MeasureDuration measure("Took ", 0); }
    { Erv::MeasureDuration measure("Took ", 3600LL * 1000 * 1000 * 1000); }
    const auto lines = log.AllLines();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(lines[0].level, log4cplus::INFO_LOG_LEVEL);
    EXPECT_THAT(lines[0].message, MatchesRegex(ReportPattern));
    EXPECT_THAT(log.FullTexts()[0], ::testing::StartsWith("Erv::MeasureDuration::~MeasureDuration() - Took "));
}

TEST(MeasureDuration, WithoutThresholdReportsAtDebug)
{
    LogCapture log;
    { Erv::MeasureDuration measure("Took "); }
    const auto lines = log.AllLines();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(lines[0].level, log4cplus::DEBUG_LOG_LEVEL);
    EXPECT_THAT(lines[0].message, MatchesRegex(ReportPattern));
    EXPECT_THAT(log.Lines(), IsEmpty());
}

} // namespace
