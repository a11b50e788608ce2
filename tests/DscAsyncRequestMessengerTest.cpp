// The synchronous request engine, driven with real threads against the simulated device stack.
// Answers that must come at a certain point are held back and released; time-outs are short and
// only ever waited out where an attempt is meant to go unanswered.
#include "ErvObjectModel/DscAsyncRequestMessenger.h"

#include "LogCapture.h"
#include "SimulatedDeviceStack/SimulatedDeviceStack.h"

#include <boost/optional/optional_io.hpp>
#include <gmock/gmock.h>

#include <climits>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace ErvTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

namespace pt = boost::posix_time;
using Stack = Kelo::SimulatedDeviceStack;
using Fate = Stack::Fate;
using Engine = Erv::DscAsyncRequestMessenger;

const pt::time_duration Short = pt::milliseconds(50); // for attempts meant to go unanswered
const pt::time_duration Ample = pt::seconds(10);      // only a fault waits this long

Fate With(bool Fate::*flag)
{
    Fate fate;
    fate.*flag = true;
    return fate;
}
const Fate Dropped = With(&Fate::drop);
const Fate Held = With(&Fate::hold);
const Fate Refused = With(&Fate::refuse);

std::string Text(const AVOVALUE& value)
{
    std::string text;
    value.Serialize(text, false);
    return text;
}

const std::vector<LogLine> AnsweredLines = {Debug("Request ID is 'req-1'"), Debug("Got request for ID 'req-1'."),
                                            Debug("returned from waiting for response with ID 'req-1': got response")};

// One engine on one simulated stack, registered as the stack's response handler while it lives.
struct Rig {
    explicit Rig(pt::time_duration defaultTimeout = Ample, unsigned int maxRetries = 0)
        : engine(messenger, defaultTimeout, maxRetries)
    {
        engine.SetAsResponseHandler();
    }
    ~Rig() { engine.UnsetAsResponseHandler(); }

    Stack stack;
    Erv::RemoteRequestMessengerDeviceStack messenger{stack};
    Engine engine;
};

std::future<Erv::Docket> InBackground(std::function<Erv::Docket()> call)
{
    return std::async(std::launch::async, std::move(call));
}

template <class Case>
std::string NameOf(const ::testing::TestParamInfo<Case>& info)
{
    return info.param.name;
}

struct OperationCase {
    const char* name;
    std::function<Erv::Docket(Rig&)> call;
    std::string reply;
};

void PrintTo(const OperationCase& c, std::ostream* os) { *os << c.name; }
class AnsweredOperation : public ::testing::TestWithParam<OperationCase> {};

TEST_P(AnsweredOperation, ReturnsTheAnswerFiledUnderItsRequestId)
{
    Rig rig;
    rig.stack.StoreValue(42, "3:7");
    LogCapture log;
    const Erv::Docket docket = GetParam().call(rig);
    EXPECT_TRUE(docket.IsAnswered() && docket.IsReplyValid());
    EXPECT_EQ(docket.ReadReply(), GetParam().reply);
    EXPECT_EQ(docket.ReadDeliveryError(), "");
    EXPECT_EQ(log.AllLines(), AnsweredLines);
    EXPECT_EQ(rig.engine.PendingDocketCount(), 0u);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Operations, AnsweredOperation, ::testing::Values(
    OperationCase{"SetValue", [](Rig& r) { return r.engine.SetValue(42, AVOVALUE::Float(21.5), true); },
                  Text(AVOVALUE::Float(21.5))},
    OperationCase{"GetValue", [](Rig& r) { return r.engine.GetValue(42, false); }, "3:7"},
    OperationCase{"Request", [](Rig& r) { return r.engine.Request("ping", pt::milliseconds(0)); }, "re: ping"},
    OperationCase{"RegisterApplication", [](Rig& r) { return r.engine.RegisterApplication("app", "1.0", ""); }, ""},
    OperationCase{"SetConfiguration", [](Rig& r) { return r.engine.SetConfiguration("<c/>", Short, [] { return true; }); },
                  ""}), NameOf<OperationCase>);
// clang-format on

struct CallbackCase {
    const char* name;
    Stack::Callback callback;
    std::string text;
    std::string errorTail; // after "code; text1; text2"
    std::string filed;
};

void PrintTo(const CallbackCase& c, std::ostream* os) { *os << c.name; }
class AnswerThrough : public ::testing::TestWithParam<std::tuple<CallbackCase, bool>> {};

// Whatever callback an answer comes through, it fills the docket of its id; an error answer is an
// answer too, logged with the callback's own details, and is not retried.
TEST_P(AnswerThrough, FillsTheWaitingDocket)
{
    const auto& [c, withError] = GetParam();
    Rig rig(Ample, 2);
    rig.stack.ScriptNext(Held);
    auto docket = InBackground([&] { return rig.engine.Request("ping", Ample); });
    ASSERT_TRUE(rig.stack.WaitForHeldAnswers(1));
    LogCapture log;
    const Stack::Error denied{7, "first", "second", "denied"};
    rig.stack.InjectAnswer(c.callback, "req-1", c.text, boost::make_optional(withError, denied));

    const Erv::Docket result = docket.get();
    EXPECT_TRUE(result.IsAnswered());
    EXPECT_EQ(result.IsReplyValid(), !withError);
    EXPECT_EQ(result.ReadReply(), c.filed);
    EXPECT_EQ(result.ReadDeliveryError(), withError ? "denied" : "");
    EXPECT_EQ(rig.stack.RequestCount(), 1u);
    if (withError)
        EXPECT_THAT(log.Lines(), ElementsAre(Error("LUM error for request req-1: 7; first; second" + c.errorTail)));
    else
        EXPECT_THAT(log.Lines(), IsEmpty());
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Callbacks, AnswerThrough, ::testing::Combine(::testing::Values(
    CallbackCase{"Response", Stack::Callback::Response, "body", "; response: body", "body"},
    CallbackCase{"RegisterApplication", Stack::Callback::RegisterApplication, "unused", "", ""},
    CallbackCase{"GetConfiguration", Stack::Callback::GetConfiguration, "<c/>", "; config: <c/>", "<c/>"},
    CallbackCase{"SetConfiguration", Stack::Callback::SetConfiguration, "unused", "", ""},
    CallbackCase{"GetValue", Stack::Callback::GetValue, "3:1", "; id: 0; urn: urn:object:0; value: 3:1", "3:1"},
    CallbackCase{"SetValue", Stack::Callback::SetValue, "2:true", "; id: 0; urn: urn:object:0; value: 2:true", "2:true"}),
    ::testing::Bool()),
    [](const auto& info) { return std::string(std::get<0>(info.param).name) + (std::get<1>(info.param) ? "Error" : "Valid"); });
// clang-format on

// Hands out the request id only once the stack is already handing the answer over, so the answer
// is under way before the engine has filed its docket.
class AnswerFirstMessenger : public Erv::RemoteRequestMessengerDeviceStack {
public:
    explicit AnswerFirstMessenger(Stack& stack) : RemoteRequestMessengerDeviceStack(stack)
    {
        stack.SetAnswerObserver([this](const std::string& requestId) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_answering.insert(requestId);
            m_changed.notify_all();
        });
    }
    std::string SetValueAsync(unsigned long id, const AVOVALUE& value, bool sendToBus) override
    {
        const std::string requestId = RemoteRequestMessengerDeviceStack::SetValueAsync(id, value, sendToBus);
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [&] { return m_answering.count(requestId) != 0; });
        return requestId;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::set<std::string> m_answering;
};

TEST(Engine, AnswerBeforeTheWaiterWaitsIsNotLost)
{
    Stack stack;
    AnswerFirstMessenger messenger(stack);
    Engine engine(messenger, Ample, 0);
    engine.SetAsResponseHandler();
    LogCapture log;
    EXPECT_TRUE(engine.SetValue(1, AVOVALUE::Bool(true), true).IsReplyValid());
    engine.UnsetAsResponseHandler();
    EXPECT_EQ(log.AllLines(), AnsweredLines);
}

LogLine NoAnswer(const std::string& id, const std::string& printed = "00:00:00")
{
    return Error("No response received for ID '" + id + "' with timeout " + printed + ", retrying");
}
LogLine TimedOut(const std::string& id, const std::string& waited = "00:00:00.050000")
{
    return Warn("Timeout (" + waited + ") occured for request ID '" + id + "'");
}
LogLine GaveUp(const std::string& retries) { return Error("Maximum number of retries (" + retries + ") reached."); }
const LogLine EmptyId = Error("Request ID is empty, retrying");

struct RetryCase {
    const char* name;
    unsigned int maxRetries;
    std::vector<Fate> fates;
    std::size_t attempts;
    bool answered;
    std::vector<LogLine> lines;
    pt::time_duration given{}; // zero: SetValue, which takes none
};

void PrintTo(const RetryCase& c, std::ostream* os) { *os << c.name; }
class Retries : public ::testing::TestWithParam<RetryCase> {};

TEST_P(Retries, EveryAttemptCountsAndTheLoopPrintsTheTimeOutItWasGiven)
{
    const RetryCase& c = GetParam();
    Rig rig(Short, c.maxRetries);
    for (const Fate& fate : c.fates)
        rig.stack.ScriptNext(fate);
    LogCapture log;
    const Erv::Docket docket =
        c.given.is_zero() ? rig.engine.SetValue(3, AVOVALUE::Byte(9), false) : rig.engine.Request("x", c.given);
    EXPECT_EQ(docket.IsAnswered(), c.answered);
    EXPECT_EQ(rig.stack.RequestCount(), c.attempts);
    EXPECT_EQ(log.Lines(), c.lines);
}

// Special durations are not a way to wait without limit: they end the wait at once.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Counts, Retries, ::testing::Values(
    RetryCase{"NoRetryMeansOneAttempt", 0, {Dropped}, 1, false, {TimedOut("req-1"), NoAnswer("req-1"), GaveUp("0")}},
    RetryCase{"AllAttemptsUsed", 2, {Dropped, Dropped, Dropped}, 3, false,
              {TimedOut("req-1"), NoAnswer("req-1"), TimedOut("req-2"), NoAnswer("req-2"), TimedOut("req-3"),
               NoAnswer("req-3"), GaveUp("2")}},
    RetryCase{"AnsweredOnTheLastAttempt", 2, {Dropped, Refused}, 3, true, {TimedOut("req-1"), NoAnswer("req-1"), EmptyId}},
    RetryCase{"EmptyIdsCountAsAttempts", 1, {Refused, Refused}, 2, false, {EmptyId, EmptyId, GaveUp("1")}},
    // maxRetries + 1 wraps to zero attempts.
    RetryCase{"LargestRetryCountSendsNothing", UINT_MAX, {}, 0, false, {GaveUp("4294967295")}},
    RetryCase{"GivenTimeOutIsUsed", 0, {Dropped}, 1, false,
              {TimedOut("req-1", "00:00:00.020000"), NoAnswer("req-1", "00:00:00.020000"), GaveUp("0")}, pt::milliseconds(20)},
    RetryCase{"InfinityEndsAtOnce", 0, {Dropped}, 1, false,
              {TimedOut("req-1", "+infinity"), NoAnswer("req-1", "+infinity"), GaveUp("0")}, pt::time_duration(pt::pos_infin)},
    RetryCase{"NotADateTimeEndsAtOnce", 0, {Dropped}, 1, false,
              {TimedOut("req-1", "not-a-date-time"), NoAnswer("req-1", "not-a-date-time"), GaveUp("0")},
              pt::time_duration(pt::not_a_date_time)}),
    NameOf<RetryCase>);
// clang-format on

const LogLine Aborted = Info("Aborted a LUM request because its result is no longer relevant");

TEST(Engine, RequestNoLongerRelevantFromTheStartIsSentOnceAndAbandoned)
{
    Rig rig(Short, 3);
    rig.stack.ScriptNext(Dropped);
    LogCapture log;
    EXPECT_FALSE(rig.engine.SetConfiguration("<c/>", Short, [] { return false; }).IsAnswered());
    EXPECT_EQ(rig.stack.RequestCount(), 1u);
    EXPECT_THAT(log.AllLines(),
                ElementsAre(Debug("Request ID is 'req-1'"), Aborted, TimedOut("req-1"),
                            Debug("returned from waiting for response with ID 'req-1': !isStillRelevant")));
}

TEST(Engine, RequestThatLosesRelevanceGivesUpAtTheNextWakeUp)
{
    Rig rig(Ample, 3);
    std::atomic<bool> relevant{true};
    rig.stack.ScriptNext(Held);
    auto abandoned = InBackground([&] { return rig.engine.SetConfiguration("<c/>", Ample, [&] { return relevant.load(); }); });
    ASSERT_TRUE(rig.stack.WaitForHeldAnswers(1));
    LogCapture log;
    relevant = false;
    // Sent only once the first request waits: its answer wakes every waiter.
    EXPECT_TRUE(rig.engine.Request("other", Ample).IsReplyValid());
    EXPECT_FALSE(abandoned.get().IsAnswered());
    EXPECT_EQ(rig.stack.RequestCount(), 2u);
    EXPECT_THAT(log.Lines(), ElementsAre(Aborted, TimedOut("req-1", "00:00:10")));
}

// A late answer, for a waiter that gave up or an id never asked, finds no docket; an error is still told.
TEST(Engine, AnswerWithoutADocketIsLoggedAndDropped)
{
    Rig rig(Short, 0);
    rig.stack.ScriptNext(Held);
    EXPECT_FALSE(rig.engine.SetValue(5, AVOVALUE::Byte(1), true).IsAnswered());
    LogCapture log;
    EXPECT_EQ(rig.stack.ReleaseHeldAnswers(), 1u);
    rig.stack.WaitUntilQuiet();
    rig.stack.InjectAnswer(Stack::Callback::Response, "req-78", "late", Stack::Error{3, "x", "y", "gone"});
    rig.stack.WaitUntilQuiet();
    EXPECT_THAT(log.AllLines(),
                ElementsAre(Debug("No docket for response ID 'req-1'"), Error("LUM error for request req-78: 3; x; y; response: late"),
                            Debug("No docket for response ID 'req-78'"), Error("Request req-78: Error 'gone'")));
    EXPECT_EQ(rig.engine.PendingDocketCount(), 0u);
}

TEST(Engine, SetValueAndIgnoreResponseSendsWithoutWaiting)
{
    Rig rig;
    rig.stack.HoldAnswers(true);
    LogCapture log;
    EXPECT_TRUE(rig.engine.SetValueAndIgnoreResponse(8, AVOVALUE::Word(300), true));
    EXPECT_EQ(rig.engine.PendingDocketCount(), 0u);
    rig.stack.ReleaseHeldAnswers();
    rig.stack.WaitUntilQuiet();
    rig.stack.ScriptNext(Refused);
    EXPECT_FALSE(rig.engine.SetValueAndIgnoreResponse(8, AVOVALUE::Word(301), true));
    EXPECT_EQ(rig.stack.StoredValue(8), Text(AVOVALUE::Word(300)));
    EXPECT_THAT(log.AllLines(), ElementsAre(Debug("Request ID is 'req-1'"), Debug("No docket for response ID 'req-1'"),
                                            Debug("Request ID is ''")));
}

// A reused id keeps the first waiter's entry, and the second waiter erases it when it returns;
// the first then leaves an empty entry behind at its next look, and an answer for that expired
// entry changes nothing.
TEST(Engine, ReusedIdAndExpiredEntry)
{
    Rig rig(Ample, 0);
    std::mutex mutex;
    std::condition_variable asked;
    int passes = 0;
    bool relevant = true;
    const auto locked = [&](auto&& f) {
        std::unique_lock<std::mutex> lock(mutex);
        return f(lock);
    };
    rig.stack.ScriptNext(Held);
    auto first = InBackground([&] {
        return rig.engine.SetConfiguration("first", Ample, [&] {
            return locked([&](auto&) { return ++passes, asked.notify_all(), relevant; });
        });
    });
    ASSERT_TRUE(rig.stack.WaitForHeldAnswers(1));
    Fate reuse = Dropped;
    reuse.reuseId = true;
    rig.stack.ScriptNext(reuse);
    EXPECT_FALSE(rig.engine.SetConfiguration("second", Ample, [] { return false; }).IsAnswered());
    EXPECT_EQ(rig.stack.LastRequestId(), "req-1");

    const int passesBefore = locked([&](auto&) { return passes; });
    EXPECT_EQ(rig.engine.Request("third", Ample).ReadReply(), "re: third");
    locked([&](auto& lock) { return asked.wait(lock, [&] { return passes > passesBefore; }), 0; });
    EXPECT_EQ(rig.engine.PendingDocketCount(), 1u);

    LogCapture log;
    ASSERT_TRUE(rig.stack.ReleaseHeldAnswer("req-1"));
    rig.stack.WaitUntilQuiet();
    EXPECT_THAT(log.AllLines(), ElementsAre(Debug("Got request for ID 'req-1'.")));
    locked([&](auto&) { return relevant = false; });
    EXPECT_TRUE(rig.engine.Request("fourth", Ample).IsAnswered());
    EXPECT_FALSE(first.get().IsAnswered());
    EXPECT_EQ(rig.engine.PendingDocketCount(), 0u);
}

// Unset while answers stream in: an answer already being handed over completes before the unset
// returns, and none comes after.
TEST(Engine, OnceUnsetNoAnswerReachesIt)
{
    Rig rig;
    LogCapture log;
    std::promise<void> halfway;
    std::thread sender([&] {
        for (int i = 0; i < 400; ++i) {
            if (i == 200)
                halfway.set_value();
            rig.engine.SetValueAndIgnoreResponse(1, AVOVALUE::Byte(1), false);
        }
    });
    halfway.get_future().wait();
    rig.engine.UnsetAsResponseHandler();
    log.Clear();
    sender.join();
    rig.stack.WaitUntilQuiet();
    for (const LogLine& line : log.AllLines())
        EXPECT_THAT(line.message, ::testing::StartsWith("Request ID is"));
}

// Accepts every request and never answers. It starts no thread, so it can serve a death test:
// neither ThreadSanitizer nor qemu-arm can start threads in a forked child.
// clang-format off
class SilentMessenger : public Erv::RequestMessengerDeviceStack {
public:
    void SetResponseHandler(Kelo::IDeviceStackClient::IResponseHandler*) override {}
    std::string RegisterApplicationAsync(const std::string&, const std::string&, const std::string&) override { return "s"; }
    std::string SetValueAsync(unsigned long, const AVOVALUE&, bool) override { return "s"; }
    std::string GetValueAsync(unsigned long, bool) override { return "s"; }
    std::string RequestAsync(const std::string&) override { return "s"; }
    std::string SetConfigurationAsync(const std::string&) override { return "s"; }
    bool SetConfiguration(unsigned long, const PropertyMap&, bool) override { return false; }
    bool GetDeviceConfig(std::string&, bool) override { return false; }
    bool SetDeviceConfig(const std::map<std::string, std::string>&) override { return false; }
    bool EnableNativeFormat() override { return false; }
    void EnableInternalValueFormat() override {}
    void EnableDefaultValueFormat() override {}
};
// clang-format on

TEST(EngineDeathTest, EmptyPredicateFailsItsAssertionWhenFirstAsked)
{
    SilentMessenger messenger;
    Engine engine(messenger, Short, 0);
    EXPECT_DEATH(engine.SetConfiguration("<c/>", Short, Erv::BoolReader()),
                 "Include/Erv/Function:87: operator\\(\\) ERV_ASSERT2\\(m_storage\\) failed");
}

// Counts, per calling thread, how often the engine sends.
// clang-format off
class CountingMessenger : public Erv::RemoteRequestMessengerDeviceStack {
public:
    using Remote = Erv::RemoteRequestMessengerDeviceStack;
    using Remote::Remote;
    static unsigned int& Attempts() { thread_local unsigned int attempts = 0; return attempts; }

    std::string RegisterApplicationAsync(const std::string& a, const std::string& b, const std::string& c) override
    { return ++Attempts(), Remote::RegisterApplicationAsync(a, b, c); }
    std::string SetValueAsync(unsigned long id, const AVOVALUE& v, bool bus) override
    { return ++Attempts(), Remote::SetValueAsync(id, v, bus); }
    std::string GetValueAsync(unsigned long id, bool fromDevice) override
    { return ++Attempts(), Remote::GetValueAsync(id, fromDevice); }
    std::string RequestAsync(const std::string& r) override { return ++Attempts(), Remote::RequestAsync(r); }
    std::string SetConfigurationAsync(const std::string& c) override { return ++Attempts(), Remote::SetConfigurationAsync(c); }
};
// clang-format on

// Many callers, every kind of request, every kind of fault at once. What must hold whatever the
// interleaving: each call returns, an answered docket carries its own request's reply, no call
// sends more often than the retry count allows, and no docket outlives its request.
TEST(EngineStress, EveryCallReturnsWithItsOwnAnswer)
{
    constexpr int Callers = 8, RequestsPerCaller = 500;
    constexpr unsigned int MaxRetries = 3;
    const pt::time_duration timeout = pt::milliseconds(25);

    Stack stack(20240611);
    stack.SetAnswerDelay(std::chrono::microseconds(0), std::chrono::milliseconds(3));
    Stack::Faults faults;
    faults.refuse = 0.03;
    faults.drop = faults.error = 0.10;
    faults.twice = faults.late = 0.05;
    faults.lateDelay = std::chrono::milliseconds(40);
    stack.SetFaults(faults);
    CountingMessenger messenger(stack);
    Engine engine(messenger, timeout, MaxRetries);
    engine.SetAsResponseHandler();

    struct Call {
        Erv::Docket docket;
        std::string reply;
        std::set<std::string> errors; // the possible error descriptions
    };
    const auto failure = [](const std::string& request) { return "simulated failure of " + request; };
    std::atomic<int> valid{0}, refused{0}, abandoned{0};
    std::vector<std::vector<std::string>> problems(Callers);
    std::vector<std::thread> callers;
    for (int caller = 0; caller < Callers; ++caller) {
        callers.emplace_back([&, caller] {
            const auto expect = [&](bool ok, const std::string& what) { ok ? void() : problems[caller].push_back(what); };
            const unsigned long home = 1000ul + static_cast<unsigned long>(caller);
            const std::string homeText = std::to_string(home);
            for (int i = 0; i < RequestsPerCaller; ++i) {
                const std::string tag = std::to_string(caller) + "/" + std::to_string(i);
                const bool abandon = i % 6 == 4 && i % 4 == 0;
                const AVOVALUE value = AVOVALUE::Integer(caller * 100000 + i);
                const boost::optional<std::string> stored = stack.StoredValue(home); // only this caller writes it
                CountingMessenger::Attempts() = 0;
                Call call;
                // clang-format off
                switch (i % 6) {
                case 0: call = {engine.SetValue(home, value, true), Text(value), {failure("SetValue " + homeText + " " + Text(value))}}; break;
                case 1: call = {engine.GetValue(home, false), stored.value_or(""),
                                {failure("GetValue " + homeText), stored ? failure("GetValue " + homeText) : "object " + homeText + " holds no value"}}; break;
                case 2: call = {engine.Request(tag, i % 4 == 2 ? pt::time_duration() : timeout), "re: " + tag, {failure("Request " + tag)}}; break;
                case 3: call = {engine.RegisterApplication(tag, "1.0", ""), "", {failure("RegisterApplication " + tag)}}; break;
                case 4: call = {engine.SetConfiguration(tag, timeout, [abandon] { return !abandon; }), "", {failure("SetConfiguration " + tag)}}; break;
                case 5:
                    engine.SetValueAndIgnoreResponse(home + 100, AVOVALUE::Byte(1), false);
                    expect(CountingMessenger::Attempts() == 1, tag + " sent more than once");
                    continue;
                }
                // clang-format on
                const Erv::Docket& docket = call.docket;
                const unsigned int attempts = CountingMessenger::Attempts();
                expect(attempts >= 1 && attempts <= MaxRetries + 1, tag + " took " + std::to_string(attempts));
                if (abandon) {
                    expect(!docket.IsAnswered(), tag + " answered although no longer relevant");
                    ++abandoned;
                } else if (!docket.IsAnswered()) {
                    expect(attempts == MaxRetries + 1, tag + " gave up after " + std::to_string(attempts));
                } else {
                    expect(docket.ReadReply() == call.reply, tag + " got reply '" + docket.ReadReply() + "'");
                    expect(docket.IsReplyValid() ? docket.ReadDeliveryError().empty()
                                                 : call.errors.count(docket.ReadDeliveryError()) != 0,
                           tag + " got error '" + docket.ReadDeliveryError() + "'");
                    ++(docket.IsReplyValid() ? valid : refused);
                }
            }
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    stack.WaitUntilQuiet();
    engine.UnsetAsResponseHandler();

    EXPECT_EQ(engine.PendingDocketCount(), 0u);
    for (const auto& mine : problems)
        EXPECT_THAT(mine, IsEmpty());
    // The faults did happen.
    EXPECT_GT(valid, 0);
    EXPECT_GT(refused, 0);
    EXPECT_GT(abandoned, 0);
}

} // namespace
