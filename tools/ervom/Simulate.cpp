// simulate: the synchronous request engine against the simulated device stack, under load and
// faults, as the hosts' threads use it.
#include "Commands.h"

#include "ErvObjectModel/DscAsyncRequestMessenger.h"
#include "ErvObjectModel/KnxLumMapping.h"
#include "ErvObjectModel/RequestMessengerDeviceStack.h"
#include "SimulatedDeviceStack/SimulatedDeviceStack.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <mutex>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <vector>

namespace Ervom {

namespace {

const CommandHelp Help = {
    "ervom simulate [options]",
    "Runs blocking requests through the library's request engine against a simulated device stack\n"
    "that answers from its own thread after --latency, drops or fails answers by chance, and counts\n"
    "what comes back. The caller threads take turns at set value, get value, generic request and\n"
    "set configuration; a configuration request stays relevant for --relevance milliseconds (until\n"
    "it ends when not given). Ctrl-C makes every waiting request irrelevant and ends the run early\n"
    "with its summary (exit status 130). On a terminal a progress line runs on standard error.\n"
    "The summary counts the requests answered valid, answered with an error, abandoned (no longer\n"
    "relevant) and out of retries, the attempts the device stack saw, the median and 99th\n"
    "percentile latency of a blocking call, and the requests per second.",
    "  ervom simulate\n"
    "  ervom simulate --threads 8 --requests 10000 --latency 0-3 --drop 10 --error 10\n"
    "  ervom simulate --drop 100 --timeout 5 --retries 2 --requests 10\n"
    "  ervom simulate --threads 2 --latency 50 --relevance 10 --requests 8\n"};

std::atomic<bool> g_interrupted{false};

extern "C" void OnInterrupt(int) { g_interrupted = true; }

struct Settings {
    unsigned threads = 4;
    unsigned requests = 1000;
    double latencyMin = 1; // milliseconds
    double latencyMax = 1;
    double drop = 0; // per cent
    double error = 0;
    unsigned timeout = 100; // milliseconds
    unsigned retries = 2;
    double relevance = -1; // milliseconds; negative: always relevant
    unsigned seed = 1;
};

double ReadDouble(const std::string& text, const char* option)
{
    std::size_t used = 0;
    double value = 0;
    try {
        value = std::stod(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used == 0 || used != text.size() || !(value >= 0))
        throw UsageError(std::string("--") + option + " takes a number of 0 or more, not '" + text + "'");
    return value;
}

double ReadPercent(std::string text, const char* option)
{
    if (!text.empty() && text.back() == '%')
        text.pop_back();
    const double value = ReadDouble(text, option);
    if (value > 100)
        throw UsageError(std::string("--") + option + " is a per cent from 0 to 100");
    return value;
}

enum class Outcome { Valid, Error, Abandoned, Exhausted };

struct Tally {
    unsigned long counts[4] = {0, 0, 0, 0};
    std::vector<double> latencies; // microseconds
};

// The object caller `index` sets and gets.
unsigned long ObjectOf(unsigned index)
{
    const auto ld = Erv::LogicalDeviceId::Of<1>();
    return Erv::KnxLumMapping::GetCoValueObjModelId(static_cast<unsigned short>(index % 4095 + 1), ld).value_or(0);
}

// One caller thread: its own object, its turn of request kinds.
void Caller(Erv::DscAsyncRequestMessenger& engine, const Settings& settings, unsigned index, unsigned count,
            std::atomic<unsigned long>& done, Tally& tally)
{
    using Clock = std::chrono::steady_clock;
    const unsigned long object = ObjectOf(index);
    const boost::posix_time::time_duration timeout = boost::posix_time::milliseconds(settings.timeout);
    tally.latencies.reserve(count);
    for (unsigned i = 0; i < count && !g_interrupted; ++i) {
        bool abandoned = false;
        const Clock::time_point start = Clock::now();
        const auto relevant = [&abandoned, &settings, start] {
            const bool expired =
                settings.relevance >= 0 &&
                std::chrono::duration<double, std::milli>(Clock::now() - start).count() > settings.relevance;
            const bool stillRelevant = !g_interrupted && !expired;
            abandoned = abandoned || !stillRelevant;
            return stillRelevant;
        };
        Erv::Docket docket;
        switch ((i + index) % 4) { // the threads start at different kinds, so a short run sees them all
        case 0: docket = engine.SetValue(object, AVOVALUE::Float(20.0 + i % 50 / 10.0), true); break;
        case 1: docket = engine.GetValue(object, false); break;
        case 2: docket = engine.Request("status " + std::to_string(index) + "." + std::to_string(i), timeout); break;
        default:
            docket = engine.SetConfiguration("{\"caller\": " + std::to_string(index) + "}", timeout,
                                             Erv::BoolReader(relevant));
            break;
        }
        tally.latencies.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        const Outcome outcome = docket.IsAnswered() ? (docket.IsReplyValid() ? Outcome::Valid : Outcome::Error)
                                : abandoned         ? Outcome::Abandoned
                                                    : Outcome::Exhausted;
        ++tally.counts[static_cast<int>(outcome)];
        ++done;
    }
}

std::string Fixed(double value, int decimals)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

double Percentile(std::vector<double>& values, double fraction)
{
    if (values.empty())
        return 0;
    const auto rank = static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(rank), values.end());
    return values[rank];
}

} // namespace

int RunSimulate(const Invocation& invocation)
{
    Settings settings;
    std::string latency = "1";
    std::string drop = "0";
    std::string error = "0";
    std::string relevance;
    po::options_description visible("Options");
    // clang-format off
    visible.add_options()
        ("threads", po::value(&settings.threads)->value_name("N"), "caller threads (default 4)")
        ("requests", po::value(&settings.requests)->value_name("N"), "blocking requests in all (default 1000)")
        ("latency", po::value(&latency)->value_name("MS|MIN-MAX"),
         "how long the device stack takes to answer, in milliseconds, or drawn from a range (default 1)")
        ("drop", po::value(&drop)->value_name("PERCENT"), "answers the device stack never sends (default 0)")
        ("error", po::value(&error)->value_name("PERCENT"), "answers that carry an error (default 0)")
        ("timeout", po::value(&settings.timeout)->value_name("MS"), "the engine's time-out per attempt (default 100)")
        ("retries", po::value(&settings.retries)->value_name("N"), "attempts after the first (default 2)")
        ("relevance", po::value(&relevance)->value_name("MS"),
         "how long a configuration request stays relevant (default: until it ends)")
        ("seed", po::value(&settings.seed)->value_name("N"), "seed of the device stack's chances (default 1)");
    // clang-format on
    po::options_description hidden;
    po::positional_options_description positional;
    po::variables_map values;
    if (!ParseCommand(invocation, Help, visible, hidden, positional, values))
        return ExitSuccess;

    if (settings.threads == 0 || settings.threads > 256)
        throw UsageError("--threads must be 1 to 256");
    const auto dash = latency.find('-', 1);
    settings.latencyMin = ReadDouble(latency.substr(0, dash), "latency");
    settings.latencyMax =
        dash == std::string::npos ? settings.latencyMin : ReadDouble(latency.substr(dash + 1), "latency");
    if (settings.latencyMax < settings.latencyMin)
        throw UsageError("--latency MIN-MAX needs MIN <= MAX");
    settings.drop = ReadPercent(drop, "drop");
    settings.error = ReadPercent(error, "error");
    if (!relevance.empty())
        settings.relevance = ReadDouble(relevance, "relevance");

    Kelo::SimulatedDeviceStack stack(settings.seed);
    const auto micros = [](double ms) { return Kelo::SimulatedDeviceStack::Delay(static_cast<long long>(ms * 1000)); };
    stack.SetAnswerDelay(micros(settings.latencyMin), micros(settings.latencyMax));
    Kelo::SimulatedDeviceStack::Faults faults;
    faults.drop = settings.drop / 100;
    faults.error = settings.error / 100;
    stack.SetFaults(faults);

    // Every caller's object has a value before the first get, as on a device that has run a while.
    std::string initial;
    AVOVALUE::Float(20.0).Serialize(initial, false);
    for (unsigned t = 0; t < settings.threads; ++t)
        stack.StoreValue(ObjectOf(t), initial);

    Erv::RemoteRequestMessengerDeviceStack messenger(stack);
    Erv::DscAsyncRequestMessenger engine(messenger, boost::posix_time::milliseconds(settings.timeout),
                                         settings.retries);
    engine.SetAsResponseHandler();

    g_interrupted = false;
    struct sigaction interrupt = {};
    struct sigaction previous = {};
    interrupt.sa_handler = OnInterrupt;
    sigaction(SIGINT, &interrupt, &previous);

    std::atomic<unsigned long> done{0};
    std::vector<Tally> tallies(settings.threads);
    std::vector<std::thread> callers;
    const auto start = std::chrono::steady_clock::now();
    for (unsigned t = 0; t < settings.threads; ++t) {
        const unsigned share =
            settings.requests / settings.threads + (t < settings.requests % settings.threads ? 1 : 0);
        callers.emplace_back(Caller, std::ref(engine), std::cref(settings), t, share, std::ref(done),
                             std::ref(tallies[t]));
    }
    // A person at a terminal sees it move; a script's log stays clean.
    const bool progress = isatty(STDERR_FILENO) != 0;
    std::atomic<bool> finished{false};
    std::thread reporter;
    if (progress) {
        reporter = std::thread([&] {
            while (!finished) {
                const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
                std::fprintf(stderr, "\r%lu/%u requests, %.1f s", done.load(), settings.requests, seconds);
                std::fflush(stderr);
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
            std::fprintf(stderr, "\r\033[K");
            std::fflush(stderr);
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    finished = true;
    if (reporter.joinable())
        reporter.join();
    sigaction(SIGINT, &previous, nullptr);
    engine.UnsetAsResponseHandler();

    Tally all;
    for (Tally& tally : tallies) {
        for (int i = 0; i < 4; ++i)
            all.counts[i] += tally.counts[i];
        all.latencies.insert(all.latencies.end(), tally.latencies.begin(), tally.latencies.end());
    }
    const unsigned long total = all.latencies.size();
    const double median = Percentile(all.latencies, 0.5) / 1000;
    const double p99 = Percentile(all.latencies, 0.99) / 1000;
    Record()
        .Add("requests", std::to_string(total))
        .Add("threads", std::to_string(settings.threads))
        .Add("answered valid", std::to_string(all.counts[static_cast<int>(Outcome::Valid)]))
        .Add("answered with error", std::to_string(all.counts[static_cast<int>(Outcome::Error)]))
        .Add("abandoned", std::to_string(all.counts[static_cast<int>(Outcome::Abandoned)]))
        .Add("exhausted retries", std::to_string(all.counts[static_cast<int>(Outcome::Exhausted)]))
        .Add("attempts", std::to_string(stack.RequestCount()))
        .Add("median latency ms", Fixed(median, 3))
        .Add("99th percentile latency ms", Fixed(p99, 3))
        .Add("requests per second", Fixed(seconds > 0 ? static_cast<double>(total) / seconds : 0, 0))
        .Print(*invocation.out, invocation.common.format);
    invocation.messages->Clear(); // the engine's time-out and error lines are counted above
    // The shell's status for a run cut short by Ctrl-C.
    return g_interrupted ? 128 + SIGINT : ExitSuccess;
}

} // namespace Ervom
