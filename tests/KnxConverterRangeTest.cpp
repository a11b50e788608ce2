// Range objects: scale factors, the messages of empty intervals, text forms.
#include "ConverterCases.h"

#include <functional>
#include <limits>

using namespace ErvTest;
using namespace Erv;

namespace {

struct FactorCase {
    const char* name;
    std::function<double()> build; // constructs the range and returns its factor
    double factor;
    std::vector<LogLine> lines;
};

template <class Range, class... Bounds>
std::function<double()> Make(Bounds... bounds)
{
    return [=] { return Range(bounds...).GetScaleFactor(); };
}

LogLine Failed(const std::string& what) { return Error("Failed to calculate the scale factor because of " + what); }

constexpr std::int32_t Int32Min = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Int32Max = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t Int64Min = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t Int64Max = std::numeric_limits<std::int64_t>::max();

class ScaleFactor : public ::testing::TestWithParam<FactorCase> {};

TEST_P(ScaleFactor, IsComputedOrLogged)
{
    LogCapture log;
    EXPECT_DOUBLE_EQ(GetParam().build(), GetParam().factor);
    EXPECT_EQ(log.Lines(), GetParam().lines);
}

// Factors are external width / internal width, worked out by hand.
INSTANTIATE_TEST_SUITE_P(
    Ranges, ScaleFactor,
    ::testing::Values(
        FactorCase{"IntegerPercent", Make<IntegerRange>(0, 255, 0, 100), 100.0 / 255.0, {}},
        FactorCase{"IntegerEmptyInternal", Make<IntegerRange>(5, 5, 0, 100), 1.0,
                   {Failed("invalid internal range [5, 5].")}},
        FactorCase{"IntegerEmptyExternal", Make<IntegerRange>(0, 255, 7, 7), 1.0,
                   {Failed("invalid external range [7, 7].")}},
        FactorCase{"IntegerReversedIsNegative", Make<IntegerRange>(255, 0, 0, 100), -100.0 / 255.0, {}},
        FactorCase{"IntegerFullWidth", Make<IntegerRange>(Int32Min, Int32Max, 0, 1), 1.0 / 4294967295.0, {}},
        // The messages print the low 32 bits: 4294967301 is 0x1'0000'0005.
        FactorCase{"LongEmptyExternal", Make<LongIntegerRange>(0, 4294967296, 4294967301, 4294967301), 1.0,
                   {Failed("invalid external range [5, 5].")}},
        FactorCase{"LongEmptyInternal", Make<LongIntegerRange>(4294967295, 4294967295, 0, 1), 1.0,
                   {Failed("invalid internal range [-1, -1].")}},
        // INT64_MAX - INT64_MIN wraps to -1.
        FactorCase{"LongWidthWraps", Make<LongIntegerRange>(Int64Min, Int64Max, 0, 1), -1.0, {}},
        // About 3200.78.
        FactorCase{"FloatIntegerDefault", [] { return FloatIntegerRange().GetScaleFactor(); },
                   4294967295.0 / (670760.96 + 671088.64), {}},
        FactorCase{"FloatIntegerReversedIsNegative", Make<FloatIntegerRange>(10.0, 0.0, 0, 100), -10.0, {}},
        FactorCase{"FloatIntegerEmptyInternal", Make<FloatIntegerRange>(1.5, 1.5, 0, 10), 1.0,
                   {Failed("invalid double range [1.5, 1.5].")}},
        FactorCase{"FloatIntegerEmptyExternal", Make<FloatIntegerRange>(0.0, 1.0, 3, 3), 1.0,
                   {Failed("invalid integer range [3, 3].")}},
        // The internal width overflows to infinity, so the quotient is 0.
        FactorCase{"FloatIntegerZeroQuotient", Make<FloatIntegerRange>(-1e308, 1e308, 0, 1), 1.0,
                   {Failed("invalid double range [-1e+308, 1e+308] or because invalid integer range [0, 1].")}},
        FactorCase{"FloatReversedIsPositive", Make<FloatRange>(10.0, 0.0, 0.0, 100.0), 10.0, {}},
        FactorCase{"FloatEmptyInternal", Make<FloatRange>(2.5, 2.5, 0.0, 1.0), 1.0,
                   {Failed("invalid double range [2.5, 2.5].")}},
        FactorCase{"FloatEmptyExternal", Make<FloatRange>(0.0, 1.0, -3.0, -3.0), 1.0,
                   {Failed("invalid external range [-3, -3].")}},
        // 1e-300 / 1e300 underflows to 0.
        FactorCase{"FloatUnderflow", Make<FloatRange>(0.0, 1e300, 0.0, 1e-300), 1.0,
                   {Failed("invalid double range [0, 1e+300] or because invalid external range [0, 1e-300].")}}),
    CaseName<FactorCase>);

TEST(RangeText, PrintsTheFourBoundsInConstructorOrder)
{
    EXPECT_EQ(ToString(IntegerRange(0, 255, 0, 100)), "IntegerRange(0, 255, 0, 100)");
    EXPECT_EQ(ToString(IntegerRange(Int32Min, Int32Max, -1, 1)), "IntegerRange(-2147483648, 2147483647, -1, 1)");
    // The 64-bit range uses the same word and prints its bounds whole.
    EXPECT_EQ(ToString(LongIntegerRange(0, 4294967296, -4294967301, 4294967301)),
              "IntegerRange(0, 4294967296, -4294967301, 4294967301)");
    EXPECT_EQ(ToString(FloatIntegerRange()), "FloatIntegerRange(-671089, 670761, -2147483648, 2147483647)");
    EXPECT_EQ(ToString(FloatRange(-273.0, 670760.0, -0.5, 1e10)), "FloatRange(-273, 670760, -0.5, 1e+10)");
}

} // namespace
