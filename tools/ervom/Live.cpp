// monitor, read and write: the live bus through knxd, every value through the library.
#include "Bus.h"
#include "Commands.h"
#include "Telegram.h"
#include "ValueCodec.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>
#include <ctime>
#include <iostream>
#include <sstream>

namespace Ervom {

namespace {

const char* const UrlHelp = "knxd's URL: local:/path/to/socket or ip:HOST[:PORT] (default local:/run/knx)";

// The options every live command takes, and what they make of them.
struct LiveOptions {
    std::string url = DefaultKnxdUrl;
    std::string gaMapFile;
    std::vector<std::string> dpts;

    GaMap map;
    DptChoice choice;
    GaStyle style = GaStyle::ThreeLevel;

    void AddTo(po::options_description& options, bool dptForAll)
    {
        // clang-format off
        options.add_options()
            ("url", po::value(&url)->value_name("URL"), UrlHelp)
            ("ga-map", po::value(&gaMapFile)->value_name("FILE"),
             "the names and DPTs of the group addresses, from an ETS group-address export (CSV or XML)")
            ("dpt", po::value(&dpts)->value_name(dptForAll ? "[GA=]DPT" : "DPT"),
             dptForAll ? "decode GA's values as DPT, or without GA every address the map gives no DPT; repeatable"
                       : "the DPT, instead of the map's")
            ("ga-style", GaStyleValue(style),
             "how group addresses are shown: 1/2/3 (default), 1/515 or 2563");
        // clang-format on
    }

    // Reads the map before anything touches the bus, so that a bad export never gets that far.
    // Returns false after printing the one line that names the file and line.
    bool Prepare(const Invocation& invocation, const char* command)
    {
        if (!IsKnxdUrl(url))
            throw UsageError("'" + url + "' is no knxd URL: write local:/path/to/socket or ip:HOST[:PORT]");
        for (const std::string& dpt : dpts)
            choice.Add(dpt);
        if (!gaMapFile.empty()) {
            std::string error;
            if (!map.Load(gaMapFile, error)) {
                *invocation.err << "ervom " << command << ": " << error << '\n';
                return false;
            }
            choice.map = &map;
        }
        return true;
    }
};

std::uint16_t GroupAddressOrThrow(const std::string& text)
{
    const std::optional<std::uint16_t> address = ParseGroupAddress(text);
    if (!address)
        throw UsageError("'" + text + "' is no group address: write 1/2/3, 1/515 or 2563");
    return *address;
}

// Local time with milliseconds; a script gets the date too.
std::string Now(Format format)
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const long millis = static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[40];
    const std::size_t length =
        std::strftime(text, sizeof text, format == Format::Human ? "%H:%M:%S" : "%Y-%m-%dT%H:%M:%S", &local);
    std::snprintf(text + length, sizeof text - length, ".%03ld", millis);
    return text;
}

int BusFailure(const Invocation& invocation, const char* command, const std::string& error)
{
    *invocation.err << "ervom " << command << ": " << error << '\n';
    return ExitBus;
}

const CommandHelp MonitorHelp = {
    "ervom monitor [options]",
    "Prints one line per group telegram that knxd passes on: the time, the sender's individual\n"
    "address, the group address, the kind (read, response, write), the value's bytes and, for a\n"
    "group address with a DPT (from --ga-map or --dpt), the value as the library decodes it, with\n"
    "the same text as 'ervom decode', or the library's refusal. A group address without a DPT shows\n"
    "its bytes only (result raw). --ga and --kind choose which telegrams are shown.\n\n"
    "The monitor runs until Ctrl-C, --count telegrams or --seconds, then prints a summary (on\n"
    "standard error with --format tsv or json). Exit status 3 when knxd cannot be reached or the\n"
    "connection is lost; a malformed --ga-map file stops it before it connects (exit status 2).\n"
    "knxd's own tools read no environment variable for the URL, and neither does ervom.",
    "  ervom monitor                                  everything, on the local knxd\n"
    "  ervom monitor --ga-map export.csv              values decoded by the export's DPTs\n"
    "  ervom monitor --url ip:192.168.1.20 --dpt 1/2/3=9.001\n"
    "  ervom monitor --ga 1/0/0-1/7/255 --kind write --count 10\n"
    "  ervom --format tsv monitor --ga-map export.xml --seconds 60 > capture.tsv\n"};

const CommandHelp ReadHelp = {
    "ervom read [options] GA [DPT]",
    "Sends a group read to GA and waits up to --timeout seconds for the first response to it, then\n"
    "prints the response as the monitor shows it: the sender, the bytes and the value as the\n"
    "library decodes it for the DPT (given, from --dpt or from --ga-map). Without a DPT the bytes\n"
    "are shown raw. Exit status 1 when the library refused the value, 3 when knxd cannot be reached\n"
    "or nobody answered in time.",
    "  ervom read 1/2/3 9.001                 a temperature\n"
    "  ervom read --ga-map export.csv 1/2/3   the DPT from the export\n"
    "  ervom read --timeout 0.5 1/2/3         raw bytes, quick\n"};

const CommandHelp WriteHelp = {
    "ervom write [options] GA [DPT] VALUE...",
    "Encodes VALUE for the DPT as 'ervom encode' does and sends it as a group write to GA. The DPT\n"
    "comes from --dpt, from --ga-map, or else stands before the value. VALUE takes the forms of\n"
    "'ervom encode'; words after it are joined with blanks. A value the library refuses is not sent:\n"
    "the refusal is printed and the exit status is 1. Values of six bits or fewer (DPT 1, 2, 3)\n"
    "travel in the short form beside the service code, every other value after it.",
    "  ervom write 1/2/3 9.001 21.5               0C 33 to 1/2/3\n"
    "  ervom write --ga-map export.csv 1/2/3 21.5  the DPT from the export\n"
    "  ervom write 1/1/1 1.001 true\n"
    "  ervom write --url ip:192.168.1.20 4/0/1 16.001 Hello\n"};

} // namespace

// monitor ---------------------------------------------------------------------------------------

int RunMonitor(const Invocation& invocation)
{
    LiveOptions live;
    std::vector<std::string> ranges;
    std::vector<std::string> kinds;
    unsigned long count = 0;
    double seconds = 0;
    po::options_description visible("Options");
    live.AddTo(visible, true);
    // clang-format off
    visible.add_options()
        ("ga", po::value(&ranges)->value_name("GA[-GA]"), "show only telegrams to this group address or range; repeatable")
        ("kind", po::value(&kinds)->value_name("read|response|write"), "show only telegrams of this kind; repeatable")
        ("count", po::value(&count)->value_name("N"), "end after N telegrams shown")
        ("seconds", po::value(&seconds)->value_name("S"), "end after S seconds");
    // clang-format on
    po::variables_map values;
    if (!ParseCommand(invocation, MonitorHelp, visible, po::options_description(),
                      po::positional_options_description(), values))
        return ExitSuccess;

    TelegramFilter filter;
    for (const std::string& text : ranges) {
        const std::optional<GaRange> range = ParseGaRange(text);
        if (!range)
            throw UsageError("--ga takes a group address or a range FIRST-LAST, not '" + text + "'");
        filter.ranges.push_back(*range);
    }
    for (const std::string& text : kinds) {
        const std::optional<TelegramKind> kind = ParseKind(text);
        if (!kind)
            throw UsageError("--kind must be read, response or write, not '" + text + "'");
        filter.kinds.insert(*kind);
    }
    if (values.count("count") && count == 0)
        throw UsageError("--count must be at least 1");
    if (values.count("seconds") && !(seconds > 0 && seconds < 1e7))
        throw UsageError("--seconds must be a positive number");
    if (!live.Prepare(invocation, "monitor"))
        return ExitUsage;

    StopSignals signals;
    BusConnection bus;
    std::string error;
    if (!bus.Open(live.url, error))
        return BusFailure(invocation, "monitor", error);
    const Format format = invocation.common.format;
    *invocation.err << "ervom monitor: listening on " << live.url << "; Ctrl-C ends" << std::endl;

    TelegramFormatter formatter(live.choice, live.style, *invocation.messages);
    Table table(*invocation.out, format, TelegramColumns(), true);
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end =
        Clock::now() + std::chrono::milliseconds(static_cast<long long>(std::llround(seconds * 1000)));
    Telegram telegram;
    TelegramLine line;
    int status = ExitSuccess;
    for (;;) {
        if (count != 0 && formatter.Seen().telegrams >= count)
            break;
        int waitMs = -1;
        if (seconds > 0) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
            if (left <= 0)
                break;
            // --seconds goes past what an int of milliseconds holds; a shorter wait comes back here.
            waitMs = static_cast<int>(std::min<long long>(left, INT_MAX));
        }
        // Lines go out as soon as nothing more is waiting, so that a pipe sees each telegram at
        // once while a burst still leaves in large writes.
        if (!bus.Ready()) {
            table.Flush();
            // Whoever read the lines has gone (`| head`); SIGPIPE is ignored, so say so here.
            if (!*invocation.out)
                break;
        }
        const BusConnection::Wait wait = bus.Receive(waitMs, signals, telegram, error);
        if (wait == BusConnection::Wait::Telegram) {
            if (!filter.Accepts(telegram))
                continue;
            formatter.ToLine(telegram, Now(format), line);
            PrintLine(table, line);
            continue;
        }
        if (wait == BusConnection::Wait::Timeout)
            continue; // the clock above says whether the time is up
        if (wait == BusConnection::Wait::Lost)
            status = ExitBus;
        break;
    }
    table.Flush();
    std::ostream& summary = format == Format::Human ? *invocation.out : *invocation.err;
    summary << (format == Format::Human ? "\n" : "") << formatter.Summary() << std::endl;
    if (status == ExitBus)
        *invocation.err << "ervom monitor: " << error << '\n';
    return status;
}

// read ------------------------------------------------------------------------------------------

int RunRead(const Invocation& invocation)
{
    LiveOptions live;
    double timeout = 3;
    po::options_description visible("Options");
    live.AddTo(visible, false);
    visible.add_options()("timeout", po::value(&timeout)->value_name("S"),
                          "how long to wait for the response, in seconds (default 3)");
    po::variables_map values;
    std::vector<std::string> args;
    if (!ParseCommand(invocation, ReadHelp, visible, values, args))
        return ExitSuccess;
    if (args.empty() || args.size() > 2)
        throw UsageError("give a group address and, unless the map or --dpt has it, a DPT: 'read 1/2/3 9.001'");
    if (!(timeout > 0 && timeout < 1e6))
        throw UsageError("--timeout must be a positive number of seconds");
    const std::uint16_t address = GroupAddressOrThrow(args[0]);
    if (args.size() == 2)
        live.dpts.push_back(args[1]);
    if (live.dpts.size() > 1)
        throw UsageError("give the DPT once, as argument or with --dpt");
    if (!live.Prepare(invocation, "read"))
        return ExitUsage;
    if (live.choice.forAll)
        live.choice.perAddress[address] = *live.choice.forAll;

    StopSignals signals;
    BusConnection bus;
    std::string error;
    if (!bus.Open(live.url, error) || !bus.Send(address, BuildApdu(TelegramKind::Read, {}, false), error))
        return BusFailure(invocation, "read", error);

    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(std::llround(timeout * 1000));
    Telegram telegram;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        const BusConnection::Wait wait =
            left <= 0 ? BusConnection::Wait::Timeout : bus.Receive(static_cast<int>(left), signals, telegram, error);
        if (wait == BusConnection::Wait::Lost)
            return BusFailure(invocation, "read", error);
        if (wait == BusConnection::Wait::Stopped) {
            *invocation.err << "ervom read: interrupted before a response came\n";
            return 130; // as a shell reports a command that Ctrl-C ended
        }
        if (wait != BusConnection::Wait::Telegram) {
            std::ostringstream text;
            text << "no response from " << FormatGroupAddress(address, live.style) << " within " << timeout << " s";
            return BusFailure(invocation, "read", text.str());
        }
        if (telegram.kind == TelegramKind::Response && telegram.destination == address)
            break;
    }
    TelegramFormatter formatter(live.choice, live.style, *invocation.messages);
    TelegramLine line;
    formatter.ToLine(telegram, Now(invocation.common.format), line);
    if (line.result == LineResult::Refused || line.result == LineResult::Unknown) {
        *invocation.err << "ervom read: " << (line.result == LineResult::Refused ? "refused: " : "unknown DPT: ")
                        << line.message << '\n';
        line.message.clear();
        LineRecord(line).Print(*invocation.out, invocation.common.format);
        return ExitRefused;
    }
    LineRecord(line).Print(*invocation.out, invocation.common.format);
    return ExitSuccess;
}

// write -----------------------------------------------------------------------------------------

int RunWrite(const Invocation& invocation)
{
    LiveOptions live;
    po::options_description visible("Options");
    live.AddTo(visible, false);
    po::variables_map values;
    std::vector<std::string> args;
    if (!ParseCommand(invocation, WriteHelp, visible, values, args))
        return ExitSuccess;
    if (args.size() < 2)
        throw UsageError("give a group address, a DPT unless the map or --dpt has it, and a value: "
                         "'write 1/2/3 9.001 21.5'");
    if (live.dpts.size() > 1)
        throw UsageError("give the DPT once");
    const std::uint16_t address = GroupAddressOrThrow(args[0]);
    args.erase(args.begin());
    if (!live.Prepare(invocation, "write"))
        return ExitUsage;
    // The DPT stands before the value only when nothing else gives it, so that a value never
    // passes for a DPT (21.5 reads as both).
    std::optional<DptText> dpt = live.choice.forAll;
    if (!dpt)
        dpt = live.choice.For(address);
    if (!dpt) {
        if (args.size() < 2)
            throw UsageError("no DPT for " + FormatGroupAddress(address, live.style) +
                             ": give one before the value, with --dpt, or in the --ga-map file");
        dpt = ParseDptOrThrow(args.front());
        args.erase(args.begin());
    }
    const std::string valueText = JoinWords(args, 0);

    const Encoded encoded = EncodeByTable(*dpt, valueText, *invocation.messages);
    if (encoded.outcome == Outcome::Unknown) {
        *invocation.err << "ervom write: unknown DPT " << encoded.dpt << ": " << encoded.message << AcceptedUnchecked
                        << "; nothing sent\n";
        return ExitRefused;
    }
    if (encoded.outcome == Outcome::Refused) {
        *invocation.err << "ervom write: refused: " << encoded.message << "; nothing sent\n";
        return ExitRefused;
    }
    if (!encoded.message.empty())
        *invocation.err << "ervom write: the library logged: " << encoded.message << '\n';

    const KnxStack::BinaryData& raw = encoded.groupValue.GetRawData();
    const std::vector<unsigned char> data(raw.GetData(), raw.GetData() + raw.GetLength());
    const bool small = encoded.groupValue.GetDefinedSize() <= 6;
    StopSignals signals;
    BusConnection bus;
    std::string error;
    if (!bus.Open(live.url, error) || !bus.Send(address, BuildApdu(TelegramKind::Write, data, small), error))
        return BusFailure(invocation, "write", error);
    Record()
        .Add("group address", FormatGroupAddress(address, live.style))
        .Add("DPT", encoded.dpt)
        .Add("value", encoded.value.ToString())
        .Add("bytes", raw.ToString())
        .Print(*invocation.out, invocation.common.format);
    return ExitSuccess;
}

} // namespace Ervom
