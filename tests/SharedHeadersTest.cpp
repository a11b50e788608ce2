#include "Erv/Function.h"
#include "Erv/MeasureDuration.h"
#include "Erv/Unreachable.h"
#include "LogCapture.h"

#include <gmock/gmock.h>

#include <string>

using namespace ErvTest;
using ::testing::MatchesRegex;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

TEST(Function, CopiesShareTheStoredCallable)
{
    Erv::BoolReader isOdd = [n = 0]() mutable { return ++n % 2 == 1; };
    const Erv::BoolReader copy = isOdd;
    EXPECT_TRUE(isOdd());
    EXPECT_FALSE(copy()); // the counter inside the lambda is shared, not copied
    EXPECT_TRUE(copy != nullptr && Erv::BoolReader() == nullptr);
}

TEST(FunctionDeathTest, CallingAnEmptyFunctionEndsTheProcess)
{
    const Erv::BoolReader empty;
    EXPECT_DEATH(empty(), "Include/Erv/Function:87: operator\\(\\) ERV_ASSERT2\\(m_storage\\) failed");
}

TEST(UnreachableDeathTest, GuardPassesValuesAndLogsWhereTheBugIs)
{
    EXPECT_EQ(Erv::UndefinedBehaviourIfNone(boost::optional<std::string>("ok")), "ok");
    EXPECT_DEATH(Erv::UndefinedBehaviourIfNone(boost::optional<int>()),
                 "T Erv::UndefinedBehaviourIfNone\\(boost::optional<T>\\) \\[with T = int\\] - This statement "
                 "should not be executed. There is a bug somewhere around Include/Erv/Unreachable:45");
}

// A threshold reports at INFO from the threshold on, none at DEBUG; boost::timer's report has
// six decimals, e.g. "0.000012s wall, 0.000000s user + 0.000000s system = 0.000000s CPU (n/a%)".
TEST(MeasureDuration, ReportsAtInfoFromItsThresholdOrAlwaysAtDebug)
{
    LogCapture log;
    { Erv::MeasureDuration measure("Took ", 0); }
    { Erv::MeasureDuration measure("Took ", 3600LL * 1000 * 1000 * 1000); }
    { Erv::MeasureDuration measure("Took "); }
    const auto lines = log.AllLines();
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(log.FullTexts()[0], StartsWith("Erv::MeasureDuration::~MeasureDuration() - Took "));
    EXPECT_EQ(lines[0].level, log4cplus::INFO_LOG_LEVEL);
    EXPECT_EQ(lines[1].level, log4cplus::DEBUG_LOG_LEVEL);
    for (const auto& line : lines)
        EXPECT_THAT(line.message, MatchesRegex("Took [0-9]+\\.[0-9]{6}s wall, [0-9]+\\.[0-9]{6}s user \\+ "
                                              "[0-9]+\\.[0-9]{6}s system = [0-9]+\\.[0-9]{6}s CPU \\(.*%\\)"));
}

} // namespace
