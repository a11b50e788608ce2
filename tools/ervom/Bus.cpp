#include "Bus.h"

#include <eibclient.h>

#include <poll.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>

namespace Ervom {

const char* const DefaultKnxdUrl = "local:/run/knx";

namespace {

volatile std::sig_atomic_t stopRequested = 0;

extern "C" void OnStopSignal(int) { stopRequested = 1; }

// The largest application-layer data unit an extended frame carries, with room to spare: a longer
// one would be cut without notice.
constexpr int ApduCapacity = 1024;

} // namespace

StopSignals::StopSignals()
{
    stopRequested = 0;
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &m_previousInt);
    sigaction(SIGTERM, &action, &m_previousTerm);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    sigaction(SIGPIPE, &ignore, &m_previousPipe);

    // Blocked except while waiting, so that a signal between the check of Requested() and the
    // wait still ends the wait.
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    sigprocmask(SIG_BLOCK, &stop, &m_previousMask);
    m_waitMask = m_previousMask;
    sigdelset(&m_waitMask, SIGINT);
    sigdelset(&m_waitMask, SIGTERM);
}

StopSignals::~StopSignals()
{
    sigaction(SIGINT, &m_previousInt, nullptr);
    sigaction(SIGTERM, &m_previousTerm, nullptr);
    sigaction(SIGPIPE, &m_previousPipe, nullptr);
    sigprocmask(SIG_SETMASK, &m_previousMask, nullptr);
}

bool IsKnxdUrl(const std::string& url)
{
    return (url.rfind("local:", 0) == 0 && url.size() > 6) || (url.rfind("ip:", 0) == 0 && url.size() > 3);
}

bool StopSignals::Requested() { return stopRequested != 0; }

BusConnection::~BusConnection()
{
    if (m_connection)
        EIBClose(m_connection);
}

std::string BusConnection::Failure(const char* what) const
{
    const int error = errno;
    return std::string(what) + " knxd at " + m_url + ": " + (error ? std::strerror(error) : "no answer");
}

bool BusConnection::Open(const std::string& url, std::string& error)
{
    m_url = url;
    if (!IsKnxdUrl(url)) {
        error = "'" + url + "' is no knxd URL: write local:/path/to/socket or ip:HOST[:PORT]";
        return false;
    }
    errno = 0;
    m_connection = EIBSocketURL(url.c_str());
    if (!m_connection) {
        error = Failure("cannot reach");
        return false;
    }
    errno = 0;
    if (EIBOpen_GroupSocket(m_connection, 0) == -1) {
        error = Failure("cannot open a group socket on");
        return false;
    }
    return true;
}

bool BusConnection::Ready() { return m_connection && EIB_Poll_Complete(m_connection) != 0; }

BusConnection::Wait BusConnection::Receive(int timeoutMs, const StopSignals& signals, Telegram& telegram,
                                           std::string& error)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs < 0 ? 0 : timeoutMs);
    unsigned char apdu[ApduCapacity];
    for (;;) {
        if (StopSignals::Requested())
            return Wait::Stopped;
        errno = 0;
        // The client library may already hold a whole telegram that poll() no longer sees.
        const int complete = EIB_Poll_Complete(m_connection);
        if (complete == -1) {
            error = Failure("lost the connection to");
            return Wait::Lost;
        }
        if (complete == 1) {
            eibaddr_t source = 0;
            eibaddr_t destination = 0;
            errno = 0;
            const int length = EIBGetGroup_Src(m_connection, ApduCapacity, apdu, &source, &destination);
            if (length < 0) {
                error = Failure("lost the connection to");
                return Wait::Lost;
            }
            // Fewer than two bytes hold no service: nothing a group client can be sent.
            if (ParseApdu(source, destination, apdu, static_cast<std::size_t>(length), telegram))
                return Wait::Telegram;
            continue;
        }

        timespec wait{};
        timespec* waitFor = nullptr;
        if (timeoutMs >= 0) {
            const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - Clock::now());
            if (left.count() <= 0)
                return Wait::Timeout;
            wait.tv_sec = static_cast<time_t>(left.count() / 1000000000);
            wait.tv_nsec = static_cast<long>(left.count() % 1000000000);
            waitFor = &wait;
        }
        pollfd descriptor{EIB_Poll_FD(m_connection), POLLIN, 0};
        const int ready = ppoll(&descriptor, 1, waitFor, &signals.WaitMask());
        if (ready == 0)
            return Wait::Timeout;
        if (ready < 0 && errno != EINTR) {
            error = Failure("lost the connection to");
            return Wait::Lost;
        }
        if (ready > 0 && (descriptor.revents & (POLLHUP | POLLERR | POLLNVAL)) && !(descriptor.revents & POLLIN)) {
            errno = ECONNRESET;
            error = Failure("lost the connection to");
            return Wait::Lost;
        }
    }
}

bool BusConnection::Send(std::uint16_t groupAddress, const std::vector<unsigned char>& apdu, std::string& error)
{
    errno = 0;
    if (EIBSendGroup(m_connection, groupAddress, static_cast<int>(apdu.size()), apdu.data()) == -1) {
        error = Failure("could not send through");
        return false;
    }
    return true;
}

} // namespace Ervom
