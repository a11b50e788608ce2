#include "GroupAddress.h"

#include <array>
#include <charconv>
#include <cstddef>

namespace Ervom {

namespace {

// How many bits each level of a style takes, from the top of the 16 bits down.
struct Levels {
    std::size_t count;
    std::array<unsigned, 3> bits;
};

constexpr Levels LevelsOf(GaStyle style)
{
    switch (style) {
    case GaStyle::ThreeLevel:
        return {3, {5, 3, 8}};
    case GaStyle::TwoLevel:
        return {2, {5, 11, 0}};
    case GaStyle::Free:
        break;
    }
    return {1, {16, 0, 0}};
}

// Decimal digits only: no sign, no blanks, no hex, and a value that fits `bits`.
bool ReadPart(std::string_view text, unsigned bits, std::uint32_t& value)
{
    if (text.empty() || text.size() > 5)
        return false;
    for (const char c : text)
        if (c < '0' || c > '9')
            return false;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value < (std::uint32_t{1} << bits);
}

} // namespace

std::optional<GaStyle> ParseGaStyle(std::string_view text)
{
    if (text == "3")
        return GaStyle::ThreeLevel;
    if (text == "2")
        return GaStyle::TwoLevel;
    if (text == "free")
        return GaStyle::Free;
    return std::nullopt;
}

std::optional<std::uint16_t> ParseGroupAddress(std::string_view text)
{
    std::array<std::string_view, 3> parts;
    std::size_t count = 0;
    for (;;) {
        const auto slash = text.find('/');
        if (count == parts.size())
            return std::nullopt;
        parts[count++] = text.substr(0, slash);
        if (slash == std::string_view::npos)
            break;
        text.remove_prefix(slash + 1);
    }
    const GaStyle style = count == 3 ? GaStyle::ThreeLevel : count == 2 ? GaStyle::TwoLevel : GaStyle::Free;
    const Levels levels = LevelsOf(style);
    std::uint32_t address = 0;
    for (std::size_t i = 0; i < levels.count; ++i) {
        std::uint32_t part = 0;
        if (!ReadPart(parts[i], levels.bits[i], part))
            return std::nullopt;
        address = address << levels.bits[i] | part;
    }
    return static_cast<std::uint16_t>(address);
}

std::string FormatGroupAddress(std::uint16_t address, GaStyle style)
{
    const Levels levels = LevelsOf(style);
    std::string text;
    unsigned shift = 16;
    for (std::size_t i = 0; i < levels.count; ++i) {
        shift -= levels.bits[i];
        const std::uint32_t part = (std::uint32_t{address} >> shift) & ((std::uint32_t{1} << levels.bits[i]) - 1);
        if (i > 0)
            text += '/';
        text += std::to_string(part);
    }
    return text;
}

} // namespace Ervom
