#include "SimulatedDeviceStack/SimulatedDeviceStack.h"

#include <algorithm>
#include <utility>

namespace Kelo {

namespace {

class SimulatedError final : public IDeviceStackClient::IError {
public:
    SimulatedError() = default;
    explicit SimulatedError(const SimulatedDeviceStack::Error& error)
        : m_code(error.code), m_text1(error.text1), m_text2(error.text2), m_description(error.description)
    {
    }

    int ErrorCode() const override { return m_code; }
    const std::string& ErrorText1() const override { return m_text1; }
    const std::string& ErrorText2() const override { return m_text2; }
    std::string ErrorDescription() const override { return m_description; }

private:
    int m_code = 0;
    std::string m_text1;
    std::string m_text2;
    std::string m_description;
};

std::string Urn(unsigned long id) { return "urn:object:" + std::to_string(id); }

// The stack whose answer this thread is handing over, if any.
thread_local const SimulatedDeviceStack* t_delivering = nullptr;

} // namespace

SimulatedDeviceStack::SimulatedDeviceStack(std::uint32_t seed) : m_random(seed), m_worker([this] { Run(); }) {}

SimulatedDeviceStack::~SimulatedDeviceStack()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_worker.join();
}

void SimulatedDeviceStack::SetAnswerDelay(Delay minimum, Delay maximum)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_minimumDelay = minimum;
    m_maximumDelay = std::max(minimum, maximum);
}

void SimulatedDeviceStack::SetFaults(const Faults& faults)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults = faults;
}

void SimulatedDeviceStack::ScriptNext(const Fate& fate)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_script.push_back(fate);
}

void SimulatedDeviceStack::HoldAnswers(bool hold)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_holdAll = hold;
}

std::size_t SimulatedDeviceStack::HeldAnswerCount() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_held.size();
}

bool SimulatedDeviceStack::WaitForHeldAnswers(std::size_t count, Delay limit)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, limit, [&] { return m_held.size() >= count; });
}

std::size_t SimulatedDeviceStack::ReleaseHeldAnswers()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto now = Clock::now();
    const std::size_t released = m_held.size();
    for (Answer& answer : m_held)
        m_scheduled.emplace(now, std::move(answer));
    m_held.clear();
    lock.unlock();
    m_changed.notify_all();
    return released;
}

bool SimulatedDeviceStack::ReleaseHeldAnswer(const std::string& requestId)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto now = Clock::now();
    const auto firstOther = std::stable_partition(m_held.begin(), m_held.end(),
                                                  [&](const Answer& answer) { return answer.requestId == requestId; });
    const bool found = firstOther != m_held.begin();
    for (auto answer = m_held.begin(); answer != firstOther; ++answer)
        m_scheduled.emplace(now, std::move(*answer));
    m_held.erase(m_held.begin(), firstOther);
    lock.unlock();
    m_changed.notify_all();
    return found;
}

void SimulatedDeviceStack::InjectAnswer(Callback callback, const std::string& requestId, const std::string& text,
                                        const boost::optional<Error>& error)
{
    Answer answer;
    answer.callback = callback;
    answer.requestId = requestId;
    answer.text = text;
    answer.error = error;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_scheduled.emplace(Clock::now(), std::move(answer));
    lock.unlock();
    m_changed.notify_all();
}

void SimulatedDeviceStack::WaitUntilQuiet()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [&] { return m_scheduled.empty() && m_delivering == 0; });
}

void SimulatedDeviceStack::SetAnswerObserver(std::function<void(const std::string&)> observer)
{
    std::lock_guard<std::mutex> delivery(m_deliveryMutex);
    m_observer = std::move(observer);
}

std::size_t SimulatedDeviceStack::RequestCount() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_requestCount;
}

std::size_t SimulatedDeviceStack::AnswerCount() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_answerCount;
}

std::string SimulatedDeviceStack::LastRequestId() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastId;
}

boost::optional<std::string> SimulatedDeviceStack::StoredValue(unsigned long id) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto value = m_values.find(id);
    if (value == m_values.end())
        return boost::none;
    return value->second;
}

void SimulatedDeviceStack::StoreValue(unsigned long id, const std::string& value)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_values[id] = value;
}

std::string SimulatedDeviceStack::StoredConfiguration() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_configuration;
}

std::string SimulatedDeviceStack::ValueFormat() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_valueFormat;
}

bool SimulatedDeviceStack::IsInternalValueFormat() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_internalValueFormat;
}

bool SimulatedDeviceStack::SetInternalValueFormat(bool on)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_internalValueFormat = on;
    return true;
}

bool SimulatedDeviceStack::SetConfiguration(unsigned long id, const std::map<PropertyType, Property>& properties, bool)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& property : properties)
        m_properties[id][property.first] = property.second;
    return true;
}

// "key=value" lines in key order.
bool SimulatedDeviceStack::GetDeviceConfig(std::string& config, bool)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    config.clear();
    for (const auto& entry : m_deviceConfig)
        config += entry.first + '=' + entry.second + '\n';
    return true;
}

bool SimulatedDeviceStack::SetDeviceConfig(const std::map<std::string, std::string>& config)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& entry : config)
        m_deviceConfig[entry.first] = entry.second;
    return true;
}

bool SimulatedDeviceStack::SetValueFormat(const std::string& formatName)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_valueFormat = formatName;
    return true;
}

template <class Describe, class OnAccepted>
std::string SimulatedDeviceStack::Accept(Answer answer, Describe describe, OnAccepted onAccepted)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_requestCount;
    const Fate fate = NextFate();
    if (fate.refuse)
        return std::string();
    if (!fate.reuseId || m_lastId.empty())
        m_lastId = "req-" + std::to_string(m_nextId++);
    answer.requestId = m_lastId;
    onAccepted(answer);
    if (fate.error)
        answer.error = fate.error;
    if (answer.error && answer.error->description.empty())
        answer.error->description = "simulated failure of " + describe();
    if (fate.drop)
        return answer.requestId;

    const Delay delay = fate.delay ? *fate.delay : DrawDelay();
    const int copies = fate.twice ? 2 : 1;
    const auto now = Clock::now();
    for (int copy = 1; copy <= copies; ++copy) {
        if (fate.hold || m_holdAll)
            m_held.push_back(answer);
        else
            m_scheduled.emplace(now + copy * delay, answer);
    }
    lock.unlock();
    m_changed.notify_all();
    return answer.requestId;
}

std::string SimulatedDeviceStack::RequestAsync(const std::string& request)
{
    Answer answer;
    answer.callback = Callback::Response;
    answer.text = "re: " + request;
    return Accept(
        std::move(answer), [&] { return "Request " + request; }, [](Answer&) {});
}

std::string SimulatedDeviceStack::RegisterApplicationAsync(const std::string& name, const std::string&,
                                                           const std::string&)
{
    Answer answer;
    answer.callback = Callback::RegisterApplication;
    return Accept(
        std::move(answer), [&] { return "RegisterApplication " + name; }, [](Answer&) {});
}

std::string SimulatedDeviceStack::SetConfigurationAsync(const std::string& configuration)
{
    Answer answer;
    answer.callback = Callback::SetConfiguration;
    return Accept(
        std::move(answer), [&] { return "SetConfiguration " + configuration; },
        [&](Answer&) { m_configuration = configuration; });
}

std::string SimulatedDeviceStack::GetValueAsync(unsigned long id, bool)
{
    Answer answer;
    answer.callback = Callback::GetValue;
    answer.objectId = id;
    return Accept(
        std::move(answer), [&] { return "GetValue " + std::to_string(id); },
        [&](Answer& accepted) {
            const auto value = m_values.find(id);
            if (value != m_values.end())
                accepted.text = value->second;
            else
                accepted.error =
                    Error{2, "GetValue", "unknown object", "object " + std::to_string(id) + " holds no value"};
        });
}

std::string SimulatedDeviceStack::SetValueAsync(unsigned long id, const std::string& value, bool, void*)
{
    Answer answer;
    answer.callback = Callback::SetValue;
    answer.objectId = id;
    answer.text = value;
    return Accept(
        std::move(answer), [&] { return "SetValue " + std::to_string(id) + " " + value; },
        [&](Answer&) { m_values[id] = value; });
}

void SimulatedDeviceStack::SetResponseHandler(IResponseHandler* handler, void* context)
{
    // A callback that changes the handler already holds the delivery lock.
    std::unique_lock<std::mutex> delivery(m_deliveryMutex, std::defer_lock);
    if (t_delivering != this)
        delivery.lock();
    m_handler = handler;
    m_context = context;
}

SimulatedDeviceStack::Fate SimulatedDeviceStack::NextFate()
{
    if (!m_script.empty()) {
        Fate fate = m_script.front();
        m_script.pop_front();
        return fate;
    }
    Fate fate;
    if (!m_faults)
        return fate;
    std::uniform_real_distribution<double> chance(0.0, 1.0);
    fate.refuse = chance(m_random) < m_faults->refuse;
    fate.reuseId = chance(m_random) < m_faults->reuseId;
    fate.drop = chance(m_random) < m_faults->drop;
    if (chance(m_random) < m_faults->error)
        fate.error = m_faults->errorAnswer;
    fate.twice = chance(m_random) < m_faults->twice;
    if (chance(m_random) < m_faults->late)
        fate.delay = m_faults->lateDelay;
    return fate;
}

SimulatedDeviceStack::Delay SimulatedDeviceStack::DrawDelay()
{
    if (m_minimumDelay == m_maximumDelay)
        return m_minimumDelay;
    std::uniform_int_distribution<Delay::rep> delay(m_minimumDelay.count(), m_maximumDelay.count());
    return Delay(delay(m_random));
}

void SimulatedDeviceStack::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        if (m_scheduled.empty()) {
            m_changed.wait(lock);
            continue;
        }
        const auto next = m_scheduled.begin();
        if (next->first > Clock::now()) {
            m_changed.wait_until(lock, next->first);
            continue;
        }
        const Answer answer = std::move(next->second);
        m_scheduled.erase(next);
        ++m_delivering;
        lock.unlock();
        const bool delivered = Deliver(answer);
        lock.lock();
        --m_delivering;
        if (delivered)
            ++m_answerCount;
        if (m_scheduled.empty() && m_delivering == 0)
            m_changed.notify_all();
    }
}

bool SimulatedDeviceStack::Deliver(const Answer& answer)
{
    std::lock_guard<std::mutex> delivery(m_deliveryMutex);
    t_delivering = this;
    struct Reset {
        ~Reset() { t_delivering = nullptr; }
    } reset;
    if (m_observer)
        m_observer(answer.requestId);
    if (m_handler == nullptr)
        return false;
    const SimulatedError error = answer.error ? SimulatedError(*answer.error) : SimulatedError();
    switch (answer.callback) {
    case Callback::Response: m_handler->OnResponse(m_context, answer.requestId, answer.text, error); break;
    case Callback::RegisterApplication: m_handler->OnRegisterApplication(m_context, answer.requestId, error); break;
    case Callback::GetConfiguration:
        m_handler->OnGetConfiguration(m_context, answer.requestId, answer.text, error);
        break;
    case Callback::SetConfiguration: m_handler->OnSetConfiguration(m_context, answer.requestId, error); break;
    case Callback::GetValue:
        m_handler->OnGetValue(m_context, answer.requestId, answer.objectId, Urn(answer.objectId), answer.text, error);
        break;
    case Callback::SetValue:
        m_handler->OnSetValue(m_context, answer.requestId, answer.objectId, Urn(answer.objectId), answer.text, error);
        break;
    }
    return true;
}

} // namespace Kelo
