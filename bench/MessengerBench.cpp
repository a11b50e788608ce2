// What a blocking device-stack request costs on top of the thread hand-over it cannot avoid, and
// how waits on a slow device stack overlap when several threads call at once.
//
//   ervom_bench --benchmark_filter=Messenger --benchmark_repetitions=10 --benchmark_report_aggregates_only=true
//
// Compare the medians of BM_MessengerSetValue and BM_MessengerFloor (goal: at most 1.5 times), and
// the items per second of BM_MessengerThroughputSlowStack at 4 threads against 1 (goal: 3.5 times).
#include "ErvObjectModel/DscAsyncRequestMessenger.h"

#include "AllocationCounter.h"

#include "ErvLogging/Logging.h"
#include "SimulatedDeviceStack/SimulatedDeviceStack.h"

#include <benchmark/benchmark.h>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <chrono>
#include <memory>
#include <thread>

namespace {

// An engine on a simulated stack, logging as hosts usually do.
struct Rig {
    explicit Rig(std::chrono::microseconds answerDelay) : engine(messenger, boost::posix_time::seconds(5), 0)
    {
        Erv::GetGlobalDefaultLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL);
        stack.SetAnswerDelay(answerDelay);
        engine.SetAsResponseHandler();
    }
    ~Rig() { engine.UnsetAsResponseHandler(); }

    Kelo::SimulatedDeviceStack stack;
    Erv::RemoteRequestMessengerDeviceStack messenger{stack};
    Erv::DscAsyncRequestMessenger engine;
};

void BM_MessengerSetValue(benchmark::State& state)
{
    Rig rig(std::chrono::microseconds(0));
    const AVOVALUE value = AVOVALUE::Float(21.5);
    const auto before = ErvBench::Allocations();
    for (auto _ : state) {
        const Erv::Docket docket = rig.engine.SetValue(42, value, true);
        if (!docket.IsReplyValid())
            state.SkipWithError("unanswered");
    }
    // Both sides: the engine's and the stack's.
    state.counters["allocs"] = ErvBench::PerIteration(ErvBench::Allocations() - before);
}
BENCHMARK(BM_MessengerSetValue)->UseRealTime();

// The least any blocking request over an answering thread costs: hand the request to that thread,
// wait on a condition variable until it notifies. Each side has its own lock, as the engine and
// the device stack do, so neither wakes into a lock the other still holds.
void BM_MessengerFloor(benchmark::State& state)
{
    boost::mutex sendMutex;
    boost::condition_variable sent;
    bool pending = false;
    bool stop = false;
    boost::mutex answerMutex;
    boost::condition_variable answered;
    bool answer = false;
    std::thread answerer([&] {
        for (;;) {
            {
                boost::unique_lock<boost::mutex> lock(sendMutex);
                sent.wait(lock, [&] { return pending || stop; });
                if (stop)
                    return;
                pending = false;
            }
            boost::lock_guard<boost::mutex> lock(answerMutex);
            answer = true;
            answered.notify_all();
        }
    });
    for (auto _ : state) {
        {
            boost::lock_guard<boost::mutex> lock(sendMutex);
            pending = true;
        }
        sent.notify_one();
        boost::unique_lock<boost::mutex> lock(answerMutex);
        answered.wait(lock, [&] { return answer; });
        answer = false;
    }
    {
        boost::lock_guard<boost::mutex> lock(sendMutex);
        stop = true;
    }
    sent.notify_one();
    answerer.join();
}
BENCHMARK(BM_MessengerFloor)->UseRealTime();

// Requests are sent one at a time, but their waits for a stack that answers after 1 ms overlap.
void BM_MessengerThroughputSlowStack(benchmark::State& state)
{
    static std::unique_ptr<Rig> rig;
    if (state.thread_index() == 0)
        rig = std::make_unique<Rig>(std::chrono::milliseconds(1));
    const AVOVALUE value = AVOVALUE::Integer(state.thread_index());
    for (auto _ : state) {
        const Erv::Docket docket =
            rig->engine.SetValue(100ul + static_cast<unsigned long>(state.thread_index()), value, true);
        if (!docket.IsReplyValid())
            state.SkipWithError("unanswered");
    }
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0)
        rig.reset();
}
BENCHMARK(BM_MessengerThroughputSlowStack)->UseRealTime()->Threads(1)->Threads(2)->Threads(4);

} // namespace
