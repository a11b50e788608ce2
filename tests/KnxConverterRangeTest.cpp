// Range objects: scale factors, the messages of empty intervals, text forms.
#include "ConverterCases.h"

#include <functional>
#include <variant>

using namespace ErvTest;
using namespace Erv;

namespace {

constexpr std::int64_t Two32 = 4294967296; // 2^32

struct FactorCase {
    const char* name;
    std::function<double()> factorOfNewRange;
    std::variant<double, const char*> expected; // the factor, or the reason of the ERROR line that leaves it at 1.0
};

template <class Range, class... Bounds>
std::function<double()> Make(Bounds... bounds)
{
    return [=] { return Range(bounds...).GetScaleFactor(); };
}

class ScaleFactor : public ::testing::TestWithParam<FactorCase> {};

TEST_P(ScaleFactor, IsComputedOrLogged)
{
    LogCapture log;
    const char* const* failure = std::get_if<const char*>(&GetParam().expected);
    EXPECT_DOUBLE_EQ(GetParam().factorOfNewRange(), failure ? 1.0 : std::get<double>(GetParam().expected));
    std::vector<LogLine> lines;
    if (failure)
        lines.push_back(Error(std::string("Failed to calculate the scale factor because of ") + *failure));
    EXPECT_EQ(log.Lines(), lines);
}

const char* const InfiniteWidth = "invalid double range [-1e+308, 1e+308] or because invalid integer range [0, 1].";
const char* const Underflow = "invalid double range [0, 1e+300] or because invalid external range [0, 1e-300].";

// Factors are external width / internal width, by hand. Long ranges print the low 32 bits of their
// bounds; INT64_MAX - INT64_MIN wraps to -1.
// clang-format off
const FactorCase Factors[] = {
    {"IntegerReversedIsNegative", Make<IntegerRange>(255, 0, 0, 100), -100.0 / 255.0},
    {"IntegerFullWidth", Make<IntegerRange>(INT32_MIN, INT32_MAX, 0, 1), 1.0 / 4294967295.0},
    {"IntegerEmptyInternal", Make<IntegerRange>(5, 5, 0, 100), "invalid internal range [5, 5]."},
    {"IntegerEmptyExternal", Make<IntegerRange>(0, 255, 7, 7), "invalid external range [7, 7]."},
    {"LongEmptyInternal", Make<LongIntegerRange>(Two32 - 1, Two32 - 1, 0, 1), "invalid internal range [-1, -1]."},
    {"LongEmptyExternal", Make<LongIntegerRange>(0, Two32, Two32 + 5, Two32 + 5), "invalid external range [5, 5]."},
    {"LongWidthWraps", Make<LongIntegerRange>(INT64_MIN, INT64_MAX, 0, 1), -1.0},
    {"FloatIntegerDefault", Make<FloatIntegerRange>(), 4294967295.0 / (670760.96 + 671088.64)},
    {"FloatIntegerReversedIsNegative", Make<FloatIntegerRange>(10.0, 0.0, 0, 100), -10.0},
    {"FloatIntegerEmptyInternal", Make<FloatIntegerRange>(1.5, 1.5, 0, 10), "invalid double range [1.5, 1.5]."},
    {"FloatIntegerEmptyExternal", Make<FloatIntegerRange>(0.0, 1.0, 3, 3), "invalid integer range [3, 3]."},
    {"FloatIntegerInfiniteWidth", Make<FloatIntegerRange>(-1e308, 1e308, 0, 1), InfiniteWidth},
    {"FloatReversedIsPositive", Make<FloatRange>(10.0, 0.0, 0.0, 100.0), 10.0},
    {"FloatEmptyInternal", Make<FloatRange>(2.5, 2.5, 0.0, 1.0), "invalid double range [2.5, 2.5]."},
    {"FloatEmptyExternal", Make<FloatRange>(0.0, 1.0, -3.0, -3.0), "invalid external range [-3, -3]."},
    {"FloatUnderflow", Make<FloatRange>(0.0, 1e300, 0.0, 1e-300), Underflow},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Ranges, ScaleFactor, ::testing::ValuesIn(Factors), CaseName<FactorCase>);

TEST(RangeText, PrintsTheFourBoundsInConstructorOrder)
{
    EXPECT_EQ(ToString(LongIntegerRange(0, Two32, -Two32 - 5, 1)), "IntegerRange(0, 4294967296, -4294967301, 1)");
    EXPECT_EQ(ToString(FloatIntegerRange()), "FloatIntegerRange(-671089, 670761, -2147483648, 2147483647)");
    EXPECT_EQ(ToString(FloatRange(-273.0, 670760.0, -0.5, 1e10)), "FloatRange(-273, 670760, -0.5, 1e+10)");
}

} // namespace
