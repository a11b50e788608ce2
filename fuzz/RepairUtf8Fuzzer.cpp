// Text repair of bytes that claim to be UTF-8: the result is always valid, and valid text passes
// unchanged.
#include "FuzzSupport.h"

#include "ErvObjectModel/GroupValueAvoValue.h"

#include <utf8.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ErvFuzz::Setup();
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string repaired = Erv::RepairUTF8(text).Str();

    if (!utf8::is_valid(repaired.begin(), repaired.end()))
        ErvFuzz::Violated("RepairUTF8 gives valid UTF-8", "of " + std::to_string(size) + " bytes");
    if (utf8::is_valid(text.begin(), text.end()) && repaired != text)
        ErvFuzz::Violated("RepairUTF8 keeps valid text", "of " + std::to_string(size) + " bytes");
    if (repaired.size() > text.size())
        ErvFuzz::Violated("RepairUTF8 never lengthens", "of " + std::to_string(size) + " bytes");
    return 0;
}
