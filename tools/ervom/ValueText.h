// Reading what a person types: DPTs, payload bytes in hex, and values in the form their value type
// holds them. Only the text is checked here; whether the library accepts the result is for the
// library to say.
#pragma once

#include "AvoValue/AvoValue.h"
#include "KnxStack/KnxDpt.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Ervom {

// "9.001", "9.x", "9", and the ETS spellings "DPST-9-1" and "DPT-9". Sub number 0 means any.
struct DptText {
    std::uint16_t main = 0;
    std::uint16_t sub = 0;

    KNXDPT ToKnxDpt(std::uint8_t bitSize) const { return KNXDPT{bitSize, main, sub}; }
    // Main number in the upper 16 bits, sub number in the lower: the direct mapping's form.
    unsigned long Number() const { return static_cast<unsigned long>(main) << 16 | sub; }
};

// False (and `error` says why) when `text` is no DPT.
bool ParseDpt(std::string_view text, DptText& dpt, std::string& error);
DptText ParseDptOrThrow(std::string_view text);

// Bytes as a bus monitor shows them: "0C 1A", "0C1A", "$0C $1A", "0x0C 0x1A"; a lone digit is one
// byte ("1"). Appends to `bytes`.
bool ParseHex(std::string_view text, std::vector<unsigned char>& bytes, std::string& error);

// VALUE read as a value of `type` holds it:
//   boolean            true, false, 1, 0
//   floating point     a decimal number, nan, inf, -inf
//   integer kinds      a decimal number within the type's range (unsigned ones also 0x...)
//   text               the text as it is
//   date               YYYY-MM-DD
//   time of day        HH:MM:SS with an optional weekday before or after (Mon..Sun, Monday..Sunday)
//   date and time      YYYY-MM-DD HH:MM:SS (or with a T between)
// Throws UsageError naming the form it expected.
AVOVALUE ParseValue(const std::string& text, AvoValueType type);

// The value library's serialised form, e.g. "3:21.5" or "6:9". Throws UsageError when malformed.
AVOVALUE ParseSerialized(const std::string& text);

// What ParseValue expects for `type`, for messages and help ("a number", "HH:MM:SS [weekday]").
std::string DescribeForm(AvoValueType type);

} // namespace Ervom
