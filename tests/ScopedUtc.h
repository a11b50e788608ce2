// Runs a test in UTC while it lives, so that calendar values made through mktime read the same
// on every machine; the zone the process had comes back afterwards.
#pragma once

#include <boost/optional.hpp>

#include <cstdlib>
#include <ctime>
#include <string>

namespace ErvTest {

class ScopedUtc {
public:
    ScopedUtc()
    {
        if (const char* zone = std::getenv("TZ"))
            m_saved = zone;
        SetZone("UTC");
    }
    ~ScopedUtc() { SetZone(m_saved ? m_saved->c_str() : nullptr); }
    ScopedUtc(const ScopedUtc&) = delete;
    ScopedUtc& operator=(const ScopedUtc&) = delete;

private:
    static void SetZone(const char* zone)
    {
        zone ? setenv("TZ", zone, 1) : unsetenv("TZ");
        tzset();
    }

    boost::optional<std::string> m_saved;
};

} // namespace ErvTest
