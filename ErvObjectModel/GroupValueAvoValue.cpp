#include "ErvObjectModel/GroupValueAvoValue.h"

#include "Erv/Unreachable.h"

#include <utf8.h>

#include <iterator>

namespace Erv {

UTF8String RepairUTF8(std::string text)
{
    if (utf8::is_valid(text.begin(), text.end()))
        return UTF8String(std::move(text));
    // A sequence cut off at the very end must read as invalid, not as merely incomplete: give it a
    // byte to fail on.
    text.push_back('\0');
    std::string repaired;
    repaired.reserve(text.size());
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(repaired), '?');
    if (!repaired.empty() && repaired.back() == '\0')
        repaired.pop_back();
    boost::optional<UTF8String> result;
    if (utf8::is_valid(repaired.begin(), repaired.end()))
        result = UTF8String(std::move(repaired));
    return UndefinedBehaviourIfNone(std::move(result));
}

} // namespace Erv
