#include "ErvLogging/Text.h"

#include <utf8.h>

#include <iterator>

namespace Erv {

UTF8String getUTF8FromLatin1(const std::string& latin1)
{
    std::string out;
    out.reserve(latin1.size() * 2);
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
