// Application values and group values by DPT number, and the text repair their callers need.
#pragma once

#include "ErvLogging/Text.h"

#include <string>

namespace Erv {

// The text itself when it is valid UTF-8; otherwise a copy with each invalid sequence replaced by
// one '?', a sequence cut off at the end included.
UTF8String RepairUTF8(std::string text);

} // namespace Erv
