// KNX group addresses as integrators write them: 16 bits, shown in three levels (main 5 bits,
// middle 3, sub 8: "1/2/3"), two levels (main 5, sub 11: "1/515") or as one number ("2563").
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Ervom {

enum class GaStyle { ThreeLevel, TwoLevel, Free };

// "3", "2" or "free" (what --ga-style takes); empty when the text is none of them.
std::optional<GaStyle> ParseGaStyle(std::string_view text);

// Reads any of the three forms strictly: every part a decimal number in its range, nothing else on
// the text. Empty when it is not a group address.
std::optional<std::uint16_t> ParseGroupAddress(std::string_view text);

std::string FormatGroupAddress(std::uint16_t address, GaStyle style = GaStyle::ThreeLevel);

} // namespace Ervom
