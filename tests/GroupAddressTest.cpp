// Group addresses as integrators type them: the three forms, strictly, and back.
#include "GroupAddress.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>

namespace {

using Ervom::FormatGroupAddress;
using Ervom::GaStyle;
using Ervom::ParseGroupAddress;

struct Written {
    const char* text;
    std::uint16_t address;
};

// 1/2/3 = 0x0A03 and 1/515 = 2563 are the same bits: main 1 (<< 11), middle 2 (<< 8), sub 3.
TEST(ParseGroupAddress, ReadsEachFormToItsSixteenBits)
{
    const Written cases[] = {
        {"1/2/3", 0x0A03}, {"1/515", 0x0A03}, {"2563", 0x0A03},   {"0/0/0", 0},        {"0/0", 0},
        {"0", 0},          {"31/7/255", 0xFFFF}, {"31/2047", 0xFFFF}, {"65535", 0xFFFF}, {"01/02/003", 0x0A03},
    };
    for (const auto& [text, address] : cases)
        EXPECT_EQ(ParseGroupAddress(text), std::optional<std::uint16_t>(address)) << text;
}

// The bus monitor's own client wraps these silently; a person must hear about them instead.
TEST(ParseGroupAddress, RefusesWhatDoesNotFitOrIsNotDecimal)
{
    const char* const cases[] = {"32/0/0", "1/8/0",  "1/0/256", "32/0",  "1/2048", "65536", "99999999999",
                                 "",       "/",      "1//3",    "1/2/",  "/2/3",   "1/2/3/4", "-1",
                                 "+1/2/3", " 1/2/3", "1/2/3 ",  "0x0A03", "1.2.3", "1/-/-", "a/b/c"};
    for (const char* text : cases)
        EXPECT_EQ(ParseGroupAddress(text), std::nullopt) << "'" << text << "'";
}

TEST(FormatGroupAddress, WritesEachStyle)
{
    struct Case {
        std::uint16_t address;
        GaStyle style;
        const char* text;
    };
    const Case cases[] = {
        {0x0A03, GaStyle::ThreeLevel, "1/2/3"}, {0x0A03, GaStyle::TwoLevel, "1/515"},
        {0x0A03, GaStyle::Free, "2563"},        {0xFFFF, GaStyle::ThreeLevel, "31/7/255"},
        {0xFFFF, GaStyle::TwoLevel, "31/2047"}, {0, GaStyle::ThreeLevel, "0/0/0"},
    };
    for (const auto& [address, style, text] : cases)
        EXPECT_EQ(FormatGroupAddress(address, style), text);
    EXPECT_EQ(FormatGroupAddress(0x0A03), "1/2/3");
}

} // namespace
