// Text helpers of the platform: a UTF-8 string type and the Latin-1 <-> UTF-8 recoding.
#pragma once

#include "ErvLogging/Export.h"

#include <ostream>
#include <string>

namespace Erv {

// Bytes that are known to be valid UTF-8. Made explicitly, never converted implicitly.
class ERVLOGGING_EXPORT UTF8String {
public:
    UTF8String() = default;
    // The caller vouches for the encoding; use RepairUTF8 or getUTF8FromLatin1 for untrusted bytes.
    explicit UTF8String(std::string utf8) : m_text(std::move(utf8)) {}

    const std::string& Str() const { return m_text; }
    bool operator==(const UTF8String& other) const { return m_text == other.m_text; }
    bool operator!=(const UTF8String& other) const { return m_text != other.m_text; }
    friend std::ostream& operator<<(std::ostream& os, const UTF8String& s) { return os << s.m_text; }

private:
    std::string m_text;
};

// Every byte is a Latin-1 character; the result is its UTF-8 form.
ERVLOGGING_EXPORT UTF8String getUTF8FromLatin1(const std::string& latin1);

// Each character of the UTF-8 text becomes one Latin-1 byte; characters above U+00FF and invalid
// sequences become '?'.
ERVLOGGING_EXPORT std::string getLatin1FromUTF8Lossy(const std::string& utf8);

} // namespace Erv
