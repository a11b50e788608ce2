// The live bus through knxd: one group socket of knxd's client library, and the signals that end a
// wait. knxd is addressed by its own URL forms, local:/path/to/socket or ip:HOST[:PORT].
#pragma once

#include "Telegram.h"

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

struct _EIBConnection;

namespace Ervom {

// Where knxd listens unless told otherwise: what knxd's own package sets up.
extern const char* const DefaultKnxdUrl;

// local:/path/to/socket or ip:HOST[:PORT]. knxd's client library would print its own complaint
// about anything else; ervom says it once, in its own words, before the library is asked.
bool IsKnxdUrl(const std::string& url);

// While alive: SIGINT and SIGTERM end the current wait (and only interrupt it, never a write half
// done), and SIGPIPE is ignored, so a daemon that goes away makes a send fail instead of killing
// the process. One per process.
class StopSignals {
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    static bool Requested();
    // The mask to wait with: the stop signals let through.
    const sigset_t& WaitMask() const { return m_waitMask; }

private:
    sigset_t m_previousMask;
    sigset_t m_waitMask;
    struct sigaction m_previousInt;
    struct sigaction m_previousTerm;
    struct sigaction m_previousPipe;
};

// One group socket. Every call blocks at most as long as its time-out says; one connection per
// thread, as knxd's client library has no locking.
class BusConnection {
public:
    BusConnection() = default;
    ~BusConnection();
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    // False, with `error` a sentence that names the URL, when knxd cannot be reached there.
    bool Open(const std::string& url, std::string& error);

    enum class Wait { Telegram, Timeout, Stopped, Lost };
    // Waits up to `timeoutMs` (negative: for ever) for the next group telegram. Lost, with
    // `error` set, when the daemon went away.
    Wait Receive(int timeoutMs, const StopSignals& signals, Telegram& telegram, std::string& error);
    // True when a telegram (or the daemon's going away) is already waiting to be read.
    bool Ready();
    bool Send(std::uint16_t groupAddress, const std::vector<unsigned char>& apdu, std::string& error);

private:
    std::string Failure(const char* what) const;

    _EIBConnection* m_connection = nullptr;
    std::string m_url;
};

} // namespace Ervom
