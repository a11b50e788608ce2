// Blocking device-stack requests over the asynchronous messenger.
//
//   Erv::RemoteRequestMessengerDeviceStack messenger(client);
//   Erv::DscAsyncRequestMessenger engine(messenger, boost::posix_time::seconds(5), 2);
//   engine.SetAsResponseHandler();
//   const Erv::Docket docket = engine.SetValue(objectId, AVOVALUE::Float(21.5), true);
//   if (!docket.IsAnswered()) ...        // no answer within three attempts
//   else if (!docket.IsReplyValid()) ... // the device stack refused: docket.ReadDeliveryError()
//   engine.UnsetAsResponseHandler();     // before the engine goes
//
// Each blocking call sends a request, files a docket under the request id the device stack gave,
// and sleeps until the answer fills the docket, the time-out passes or the caller's relevance
// predicate says the answer is no longer wanted. Unanswered attempts are repeated up to the retry
// count. Failures come back as an unanswered docket, never as an exception of this library.
#pragma once

#include "ErvObjectModel/Export.h"

#include "Erv/Function.h"
#include "ErvObjectModel/RequestMessengerDeviceStack.h"

#include "AvoValue/AvoValue.h"
#include "DeviceStackClient/IDeviceStackClient.h"

#include <boost/core/noncopyable.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/optional.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace Erv {

// The outcome of one device-stack request. A default docket says that no usable answer came.
// A plain value; not synchronised (the engine fills it under its own lock).
class ERVOBJECTMODEL_EXPORT Docket {
public:
    Docket() = default;
    Docket(std::string reply, std::string deliveryError, bool replyValid, bool answered);

    // True when the answer came without error.
    bool IsReplyValid() const { return m_replyValid; }
    // True once any answer, valid or not, was filed.
    bool IsAnswered() const { return m_answered; }
    // The text that came with the answer: a value, a response body; empty where the answer carries none.
    const std::string& ReadReply() const { return m_reply; }
    const std::string& ReadDeliveryError() const { return m_deliveryError; }

    void SetContent(std::string reply, std::string deliveryError, bool replyValid, bool answered);

private:
    std::string m_reply;
    std::string m_deliveryError;
    bool m_replyValid = false;
    bool m_answered = false;
};

// Ownership and threading: refers to the messenger, which must outlive the engine. Any number of
// threads may call the blocking operations at once; the device-stack client calls the response
// callbacks on its own thread. One mutex guards the docket list and is held while a request is
// sent, so requests go out one at a time while their waits overlap. Register with
// SetAsResponseHandler() before use; call UnsetAsResponseHandler() before destruction, when no
// request is in progress any more.
class ERVOBJECTMODEL_EXPORT DscAsyncRequestMessenger : private Kelo::IDeviceStackClient::IResponseHandler, private boost::noncopyable {
public:
    using PropertyMap = RequestMessengerDeviceStack::PropertyMap;

    // The retry count is the number of attempts after the first; the largest unsigned int wraps to
    // zero attempts.
    DscAsyncRequestMessenger(RequestMessengerDeviceStack& messenger, boost::posix_time::time_duration defaultTimeout,
                             unsigned int maxRetries);
    ~DscAsyncRequestMessenger() override;

    void SetAsResponseHandler();
    void UnsetAsResponseHandler();

    // Blocking requests. Those without a time-out wait the default; a zero time-out means the
    // default too.
    Docket RegisterApplication(const std::string& name, const std::string& version, const std::string& configuration);
    Docket SetValue(unsigned long id, const AVOVALUE& value, bool sendToBus);
    // The reply is the value text as the device stack sends it.
    Docket GetValue(unsigned long id, bool fromDevice);
    Docket Request(const std::string& request, boost::posix_time::time_duration timeout);
    // Gives up without retrying once isStillRelevant() returns false; it is asked after the
    // request went out and whenever the wait wakes.
    Docket SetConfiguration(const std::string& configuration, boost::posix_time::time_duration timeout,
                            const BoolReader& isStillRelevant);

    // Sends without waiting; true when the device stack accepted the request.
    bool SetValueAndIgnoreResponse(unsigned long id, const AVOVALUE& value, bool sendToBus);

    // Synchronous at the messenger already; passed through without the engine's lock.
    Docket SetConfiguration(unsigned long id, const PropertyMap& properties, bool persist);
    bool GetDeviceConfig(std::string& config, bool refresh);
    bool SetDeviceConfig(const std::map<std::string, std::string>& config);
    bool EnableNativeFormat();

    // Requests currently waiting for their answer.
    std::size_t PendingDocketCount() const;

private:
    void OnResponse(void* context, const std::string& requestId, const std::string& response,
                    const Kelo::IDeviceStackClient::IError& error) override;
    void OnRegisterApplication(void* context, const std::string& requestId,
                               const Kelo::IDeviceStackClient::IError& error) override;
    void OnGetConfiguration(void* context, const std::string& requestId, const std::string& config,
                            const Kelo::IDeviceStackClient::IError& error) override;
    void OnSetConfiguration(void* context, const std::string& requestId,
                            const Kelo::IDeviceStackClient::IError& error) override;
    void OnGetValue(void* context, const std::string& requestId, unsigned long id, const std::string& urn,
                    const std::string& value, const Kelo::IDeviceStackClient::IError& error) override;
    void OnSetValue(void* context, const std::string& requestId, unsigned long id, const std::string& urn,
                    const std::string& value, const Kelo::IDeviceStackClient::IError& error) override;

    // doAsyncRequest sends one request and returns its id; it runs with m_mutex held.
    template <class AsyncRequest>
    Docket SynchronizeRequest(AsyncRequest doAsyncRequest, boost::posix_time::time_duration timeout,
                              const BoolReader& isStillRelevant);
    boost::optional<Docket> WaitForDocket(boost::unique_lock<boost::mutex>& lock, const std::string& requestId,
                                          boost::posix_time::time_duration timeout, const BoolReader& isStillRelevant);
    bool WaitForAnswer(boost::unique_lock<boost::mutex>& lock, const std::string& requestId,
                       boost::posix_time::time_duration timeout, const BoolReader& isStillRelevant);
    void UpdateDocketList(const std::string& requestId, const std::string& response,
                          const Kelo::IDeviceStackClient::IError& error);

    RequestMessengerDeviceStack& m_messenger;
    boost::posix_time::time_duration m_defaultTimeout;
    unsigned int m_maxAttempts;
    mutable boost::mutex m_mutex;
    // boost's condition variable waits on the monotonic clock on this platform.
    boost::condition_variable m_answerArrived;
    std::map<std::string, std::weak_ptr<Docket>> m_dockets;
};

} // namespace Erv
