#include "ErvObjectModel/DscAsyncRequestMessenger.h"

#include "ErvLogging/Logging.h"

#include <boost/chrono/system_clocks.hpp>
#include <boost/date_time/posix_time/posix_time_io.hpp>
#include <boost/scope_exit.hpp>

#include <cstdint>
#include <utility>

// A wall-clock jump must neither cut a wait short nor stretch it.
#if !defined(BOOST_THREAD_INTERNAL_CLOCK_IS_MONO)
#error "boost::condition_variable must wait on the monotonic clock"
#endif

namespace Erv {

namespace {

// Shared, so that requests without a predicate of their own allocate none.
const BoolReader& AlwaysRelevant()
{
    static const BoolReader alwaysRelevant = [] { return true; };
    return alwaysRelevant;
}

// The special durations (infinities, not-a-date-time) get no treatment of their own: their raw
// tick count goes into the sum like any other, wrapping instead of overflowing, so they end the
// wait at once rather than never.
boost::chrono::steady_clock::time_point DeadlineAfter(boost::posix_time::time_duration timeout)
{
    using Clock = boost::chrono::steady_clock;
    const auto nowNs = static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
    const auto timeoutNs = static_cast<std::uint64_t>(timeout.total_microseconds()) * 1000u;
    return Clock::time_point(Clock::duration(static_cast<std::int64_t>(nowNs + timeoutNs)));
}

} // namespace

Docket::Docket(std::string reply, std::string deliveryError, bool replyValid, bool answered)
    : m_reply(std::move(reply)), m_deliveryError(std::move(deliveryError)), m_replyValid(replyValid),
      m_answered(answered)
{
}

void Docket::SetContent(std::string reply, std::string deliveryError, bool replyValid, bool answered)
{
    m_reply = std::move(reply);
    m_deliveryError = std::move(deliveryError);
    m_replyValid = replyValid;
    m_answered = answered;
}

DscAsyncRequestMessenger::DscAsyncRequestMessenger(RequestMessengerDeviceStack& messenger,
                                                   boost::posix_time::time_duration defaultTimeout,
                                                   unsigned int maxRetries)
    : m_messenger(messenger), m_defaultTimeout(defaultTimeout), m_maxAttempts(maxRetries + 1u)
{
}

DscAsyncRequestMessenger::~DscAsyncRequestMessenger() { m_dockets.clear(); }

void DscAsyncRequestMessenger::SetAsResponseHandler() { m_messenger.SetResponseHandler(this); }

void DscAsyncRequestMessenger::UnsetAsResponseHandler() { m_messenger.SetResponseHandler(nullptr); }

Docket DscAsyncRequestMessenger::RegisterApplication(const std::string& name, const std::string& version,
                                                     const std::string& configuration)
{
    return SynchronizeRequest([&] { return m_messenger.RegisterApplicationAsync(name, version, configuration); },
                              boost::posix_time::time_duration(), AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::SetValue(unsigned long id, const AVOVALUE& value, bool sendToBus)
{
    return SynchronizeRequest([&] { return m_messenger.SetValueAsync(id, value, sendToBus); },
                              boost::posix_time::time_duration(), AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::GetValue(unsigned long id, bool fromDevice)
{
    return SynchronizeRequest([&] { return m_messenger.GetValueAsync(id, fromDevice); },
                              boost::posix_time::time_duration(), AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::Request(const std::string& request, boost::posix_time::time_duration timeout)
{
    return SynchronizeRequest([&] { return m_messenger.RequestAsync(request); }, timeout, AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::SetConfiguration(const std::string& configuration,
                                                  boost::posix_time::time_duration timeout,
                                                  const BoolReader& isStillRelevant)
{
    return SynchronizeRequest([&] { return m_messenger.SetConfigurationAsync(configuration); }, timeout,
                              isStillRelevant);
}

bool DscAsyncRequestMessenger::SetValueAndIgnoreResponse(unsigned long id, const AVOVALUE& value, bool sendToBus)
{
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const std::string requestId = m_messenger.SetValueAsync(id, value, sendToBus);
    ERV_LOG_DEBUG("Request ID is '" << requestId << "'");
    return !requestId.empty();
}

Docket DscAsyncRequestMessenger::SetConfiguration(unsigned long id, const PropertyMap& properties, bool persist)
{
    return Docket("", "", m_messenger.SetConfiguration(id, properties, persist), true);
}

bool DscAsyncRequestMessenger::GetDeviceConfig(std::string& config, bool refresh)
{
    return m_messenger.GetDeviceConfig(config, refresh);
}

bool DscAsyncRequestMessenger::SetDeviceConfig(const std::map<std::string, std::string>& config)
{
    return m_messenger.SetDeviceConfig(config);
}

bool DscAsyncRequestMessenger::EnableNativeFormat() { return m_messenger.EnableNativeFormat(); }

std::size_t DscAsyncRequestMessenger::PendingDocketCount() const
{
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_dockets.size();
}

template <class AsyncRequest>
Docket DscAsyncRequestMessenger::SynchronizeRequest(AsyncRequest doAsyncRequest,
                                                    boost::posix_time::time_duration timeout,
                                                    const BoolReader& isStillRelevant)
{
    boost::unique_lock<boost::mutex> lock(m_mutex);
    for (unsigned int attemptsLeft = m_maxAttempts; attemptsLeft != 0; --attemptsLeft) {
        // Sent with the lock held: no answer for this id can be filed before its docket is.
        const std::string requestId = doAsyncRequest();
        ERV_LOG_DEBUG("Request ID is '" << requestId << "'");
        if (requestId.empty()) {
            ERV_LOG_ERROR("Request ID is empty, retrying");
            continue;
        }
        const boost::optional<Docket> docket = WaitForDocket(lock, requestId, timeout, isStillRelevant);
        if (!isStillRelevant()) {
            ERV_LOG_DEBUG("returned from waiting for response with ID '" << requestId << "': !isStillRelevant");
            return Docket();
        }
        if (docket) {
            ERV_LOG_DEBUG("returned from waiting for response with ID '" << requestId << "': got response");
            return *docket;
        }
        // Deliberately the time-out as given: a request that asked for the default prints zero here.
        ERV_LOG_ERROR("No response received for ID '" << requestId << "' with timeout " << timeout << ", retrying");
    }
    ERV_LOG_ERROR("Maximum number of retries (" << m_maxAttempts - 1u << ") reached.");
    return Docket();
}

boost::optional<Docket> DscAsyncRequestMessenger::WaitForDocket(boost::unique_lock<boost::mutex>& lock,
                                                                const std::string& requestId,
                                                                boost::posix_time::time_duration timeout,
                                                                const BoolReader& isStillRelevant)
{
    const auto docket = std::make_shared<Docket>();
    // A reused id keeps the earlier waiter's entry; this docket then never gets an answer.
    m_dockets.emplace(requestId, docket);
    // Erased by id, also when the wait is interrupted: a late answer must find nothing.
    BOOST_SCOPE_EXIT_ALL(&) { m_dockets.erase(requestId); };

    const boost::posix_time::time_duration effectiveTimeout = timeout.is_zero() ? m_defaultTimeout : timeout;
    if (!WaitForAnswer(lock, requestId, effectiveTimeout, isStillRelevant))
        return boost::none;
    return *docket;
}

bool DscAsyncRequestMessenger::WaitForAnswer(boost::unique_lock<boost::mutex>& lock, const std::string& requestId,
                                             boost::posix_time::time_duration timeout,
                                             const BoolReader& isStillRelevant)
{
    const boost::chrono::steady_clock::time_point deadline = DeadlineAfter(timeout);
    for (;;) {
        if (!isStillRelevant()) {
            ERV_LOG_INFO("Aborted a LUM request because its result is no longer relevant");
            break;
        }
        const std::shared_ptr<Docket> docket = m_dockets[requestId].lock();
        if (docket && docket->IsAnswered())
            return true;
        if (m_answerArrived.wait_until(lock, deadline) == boost::cv_status::timeout &&
            boost::chrono::steady_clock::now() >= deadline)
            break;
    }
    // Also written when the request was abandoned: the log then shows why it ended early.
    ERV_LOG_WARN("Timeout (" << timeout << ") occured for request ID '" << requestId << "'");
    return false;
}

void DscAsyncRequestMessenger::UpdateDocketList(const std::string& requestId, const std::string& response,
                                                const Kelo::IDeviceStackClient::IError& error)
{
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const auto entry = m_dockets.find(requestId);
    if (entry == m_dockets.end()) {
        ERV_LOG_DEBUG("No docket for response ID '" << requestId << "'");
        if (error.ErrorCode() != 0)
            ERV_LOG_ERROR("Request " << requestId << ": Error '" << error.ErrorDescription() << "'");
        return;
    }
    ERV_LOG_DEBUG("Got request for ID '" << requestId << "'.");
    const int code = error.ErrorCode();
    std::string description = error.ErrorDescription();
    // An expired docket belongs to a waiter that has gone: nobody to tell.
    if (const std::shared_ptr<Docket> docket = entry->second.lock()) {
        docket->SetContent(response, std::move(description), code == 0, true);
        m_answerArrived.notify_all();
    }
}

// A macro, so that the line names the callback that got the error.
#define ERV_LOG_LUM_ERROR(requestId, error, tail)                                                \
    ERV_LOG_ERROR("LUM error for request " << (requestId) << ": " << (error).ErrorCode() << "; " \
                                           << (error).ErrorText1() << "; " << (error).ErrorText2() << tail)

void DscAsyncRequestMessenger::OnResponse(void*, const std::string& requestId, const std::string& response,
                                          const Kelo::IDeviceStackClient::IError& error)
{
    if (error.ErrorCode() != 0)
        ERV_LOG_LUM_ERROR(requestId, error, "; response: " << response);
    UpdateDocketList(requestId, response, error);
}

void DscAsyncRequestMessenger::OnRegisterApplication(void*, const std::string& requestId,
                                                     const Kelo::IDeviceStackClient::IError& error)
{
    if (error.ErrorCode() != 0)
        ERV_LOG_LUM_ERROR(requestId, error, "");
    UpdateDocketList(requestId, std::string(), error);
}

void DscAsyncRequestMessenger::OnGetConfiguration(void*, const std::string& requestId, const std::string& config,
                                                  const Kelo::IDeviceStackClient::IError& error)
{
    if (error.ErrorCode() != 0)
        ERV_LOG_LUM_ERROR(requestId, error, "; config: " << config);
    UpdateDocketList(requestId, config, error);
}

void DscAsyncRequestMessenger::OnSetConfiguration(void*, const std::string& requestId,
                                                  const Kelo::IDeviceStackClient::IError& error)
{
    if (error.ErrorCode() != 0)
        ERV_LOG_LUM_ERROR(requestId, error, "");
    UpdateDocketList(requestId, std::string(), error);
}

void DscAsyncRequestMessenger::OnGetValue(void*, const std::string& requestId, unsigned long id, const std::string& urn,
                                          const std::string& value, const Kelo::IDeviceStackClient::IError& error)
{
    if (error.ErrorCode() != 0)
        ERV_LOG_LUM_ERROR(requestId, error, "; id: " << id << "; urn: " << urn << "; value: " << value);
    UpdateDocketList(requestId, value, error);
}

void DscAsyncRequestMessenger::OnSetValue(void*, const std::string& requestId, unsigned long id, const std::string& urn,
                                          const std::string& value, const Kelo::IDeviceStackClient::IError& error)
{
    if (error.ErrorCode() != 0)
        ERV_LOG_LUM_ERROR(requestId, error, "; id: " << id << "; urn: " << urn << "; value: " << value);
    UpdateDocketList(requestId, value, error);
}

#undef ERV_LOG_LUM_ERROR

} // namespace Erv
