#include "ErvLogging/Text.h"

#include <utf8.h>

#include <algorithm>
#include <iterator>

namespace Erv {

UTF8String getUTF8FromLatin1(const std::string& latin1)
{
    // Reserved to the byte: twice the length would put short texts on the heap for nothing.
    const auto wide =
        std::count_if(latin1.begin(), latin1.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    std::string out;
    out.reserve(latin1.size() + static_cast<std::size_t>(wide));
    for (const char c : latin1)
        utf8::append(static_cast<unsigned char>(c), std::back_inserter(out));
    return UTF8String(std::move(out));
}

std::string getLatin1FromUTF8Lossy(const std::string& utf8)
{
    std::string valid;
    valid.reserve(utf8.size());
    utf8::replace_invalid(utf8.begin(), utf8.end(), std::back_inserter(valid), '?');
    std::string out;
    out.reserve(valid.size());
    for (auto it = valid.begin(); it != valid.end();) {
        const utf8::uint32_t codePoint = utf8::unchecked::next(it);
        out.push_back(codePoint <= 0xFF ? static_cast<char>(codePoint) : '?');
    }
    return out;
}

} // namespace Erv
