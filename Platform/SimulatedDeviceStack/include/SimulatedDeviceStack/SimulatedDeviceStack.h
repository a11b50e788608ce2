// A device stack in memory, behind the client interface: the stand-in for the device-stack service
// in tests, benchmarks and tools.
//
//   Kelo::SimulatedDeviceStack stack;
//   stack.SetAnswerDelay(std::chrono::milliseconds(1));
//   stack.SetResponseHandler(&handler, nullptr);
//   stack.SetValueAsync(42, "3:21.5", true, nullptr);   // "req-1"; OnSetValue follows after 1 ms
//   stack.GetValueAsync(42, false);                     // "req-2"; OnGetValue carries "3:21.5"
//
// Every asynchronous request gets a fresh id ("req-<n>") and one answer, delivered on the stack's
// own worker thread after the answer delay. Answers name their request: a set echoes the value
// text, a get carries the object's stored text (an error when nothing was stored), a generic
// request is answered "re: <request>", and an error whose description is left empty describes
// the request it fails ("simulated failure of GetValue 42").
//
// Faults, per request (ScriptNext, in the order requests arrive) or drawn from a seeded generator
// (SetFaults): refuse the request (empty id), hand out the previous id again, drop the answer,
// answer with an error, answer twice, answer late. A test can also hold answers back and release
// them when it is ready, and watch answers just before they reach the handler.
//
// Ownership and threading: owns its worker thread. Every operation may be called from any thread,
// also from inside a response callback, except the destructor and the Wait... operations, which
// would wait for that very callback. Answers are handed to the handler one at a time;
// SetResponseHandler waits for an answer in flight, so once it returns no answer reaches the
// previous handler. The destructor drops what is still to be answered.
#pragma once

#include "SimulatedDeviceStack/Export.h"

#include "DeviceStackClient/IDeviceStackClient.h"

#include <boost/optional.hpp>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace Kelo {

class SIMULATEDDEVICESTACK_EXPORT SimulatedDeviceStack final : public IDeviceStackClient {
public:
    using Clock = std::chrono::steady_clock;
    using Delay = std::chrono::microseconds;

    // An error answer. An empty description is replaced by one that names the failed request.
    struct Error {
        int code = 1;
        std::string text1 = "simulated";
        std::string text2 = "fault";
        std::string description;
    };

    // What happens to one request. The defaults: accept, answer once without error after the
    // stack's answer delay.
    struct Fate {
        bool refuse = false;  // return an empty request id; nothing is stored or answered
        bool reuseId = false; // hand out the previous request's id again
        bool drop = false;    // never answer
        bool hold = false;    // answer only when released
        bool twice = false;   // answer a second time, one more delay later
        boost::optional<Delay> delay;
        boost::optional<Error> error;
    };

    // Chances per request, each drawn on its own; a scripted fate takes precedence.
    struct Faults {
        double refuse = 0;
        double reuseId = 0;
        double drop = 0;
        double error = 0;
        double twice = 0;
        double late = 0;
        Delay lateDelay = std::chrono::milliseconds(100);
        Error errorAnswer;
    };

    // The handler callback an answer arrives through.
    enum class Callback { Response, RegisterApplication, GetConfiguration, SetConfiguration, GetValue, SetValue };

    explicit SimulatedDeviceStack(std::uint32_t seed = 1);
    ~SimulatedDeviceStack() override;
    SimulatedDeviceStack(const SimulatedDeviceStack&) = delete;
    SimulatedDeviceStack& operator=(const SimulatedDeviceStack&) = delete;

    // Each answer waits a delay drawn evenly from [minimum, maximum]; zero (at once) by default.
    void SetAnswerDelay(Delay minimum, Delay maximum);
    void SetAnswerDelay(Delay delay) { SetAnswerDelay(delay, delay); }
    void SetFaults(const Faults& faults);
    // The fate of the next request that has none scripted yet.
    void ScriptNext(const Fate& fate);
    // While on, every answer is held as if its fate said so.
    void HoldAnswers(bool hold);

    std::size_t HeldAnswerCount() const;
    // Blocks until at least `count` answers are held; false if that takes longer than `limit`.
    bool WaitForHeldAnswers(std::size_t count, Delay limit = std::chrono::seconds(10));
    // Schedules the held answers for delivery at once, in the order they were held; their number.
    std::size_t ReleaseHeldAnswers();
    // Only the answers held for this request id; false when there were none.
    bool ReleaseHeldAnswer(const std::string& requestId);
    // Delivers an answer that no request asked for, at once: for an id nobody waits for, or through
    // a callback that no request here is answered with (GetConfiguration). `text` is the response,
    // the configuration or the value; the object id of a value answer is 0.
    void InjectAnswer(Callback callback, const std::string& requestId, const std::string& text,
                      const boost::optional<Error>& error = boost::none);
    // Blocks until no answer is scheduled or being delivered (held and dropped ones do not count).
    void WaitUntilQuiet();

    // Called on the worker thread with the request id of each answer just before it goes to the
    // handler, also when no handler is set. Null removes the observer.
    void SetAnswerObserver(std::function<void(const std::string& requestId)> observer);

    std::size_t RequestCount() const;  // asynchronous requests received, refused ones included
    std::size_t AnswerCount() const;   // answers handed to a handler
    std::string LastRequestId() const; // the id of the latest accepted request
    boost::optional<std::string> StoredValue(unsigned long id) const;
    void StoreValue(unsigned long id, const std::string& value);
    std::string StoredConfiguration() const; // from SetConfigurationAsync
    std::string ValueFormat() const;         // from SetValueFormat, empty before
    bool IsInternalValueFormat() const;

    // IDeviceStackClient
    bool SetInternalValueFormat(bool on) override;
    bool SetConfiguration(unsigned long id, const std::map<PropertyType, Property>& properties, bool persist) override;
    bool GetDeviceConfig(std::string& config, bool refresh) override;
    bool SetDeviceConfig(const std::map<std::string, std::string>& config) override;
    bool SetValueFormat(const std::string& formatName) override;
    std::string RequestAsync(const std::string& request) override;
    std::string RegisterApplicationAsync(const std::string& name, const std::string& version,
                                         const std::string& configuration) override;
    std::string SetConfigurationAsync(const std::string& configuration) override;
    std::string GetValueAsync(unsigned long id, bool fromDevice) override;
    std::string SetValueAsync(unsigned long id, const std::string& value, bool sendToBus, void* context) override;
    void SetResponseHandler(IResponseHandler* handler, void* context) override;

private:
    struct Answer {
        Callback callback = Callback::Response;
        std::string requestId;
        unsigned long objectId = 0;
        std::string text; // response, or value
        boost::optional<Error> error;
    };

    // describe() names the request for error texts; onAccepted(answer) runs under the lock once
    // the request has its id.
    template <class Describe, class OnAccepted>
    std::string Accept(Answer answer, Describe describe, OnAccepted onAccepted);
    Fate NextFate();
    Delay DrawDelay();
    void Schedule(Answer answer, Clock::time_point due);
    void Run();
    bool Deliver(const Answer& answer); // false when no handler was set

    mutable std::mutex m_mutex; // everything below up to m_deliveryMutex
    std::condition_variable m_changed;
    std::mt19937 m_random;
    Delay m_minimumDelay{0};
    Delay m_maximumDelay{0};
    boost::optional<Faults> m_faults;
    std::deque<Fate> m_script;
    bool m_holdAll = false;
    std::vector<Answer> m_held;
    std::multimap<Clock::time_point, Answer> m_scheduled;
    std::size_t m_delivering = 0;
    std::size_t m_requestCount = 0;
    std::size_t m_answerCount = 0;
    std::uint64_t m_nextId = 1;
    std::string m_lastId;
    std::map<unsigned long, std::string> m_values;
    std::string m_configuration;
    std::map<std::string, std::string> m_deviceConfig;
    std::map<unsigned long, std::map<PropertyType, Property>> m_properties;
    std::string m_valueFormat;
    bool m_internalValueFormat = false;
    bool m_stopping = false;

    // Held while an answer is handed over, so that changing the handler waits for it.
    std::mutex m_deliveryMutex;
    IResponseHandler* m_handler = nullptr;
    void* m_context = nullptr;
    std::function<void(const std::string&)> m_observer;

    std::thread m_worker;
};

} // namespace Kelo
