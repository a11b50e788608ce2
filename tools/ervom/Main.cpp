// ervom: the library's conversions, ids, configuration loading and request engine from a shell.
#include "Cli.h"
#include "Commands.h"

#include <log4cplus/initializer.h>

#include <algorithm>
#include <iostream>

namespace {

using namespace Ervom;

struct Command {
    const char* name;
    int (*run)(const Invocation&);
    const char* summary;
};

const Command Commands[] = {
    {"decode", RunDecode, "a bus value (DPT and payload bytes) to an application value; --batch for a capture"},
    {"encode", RunEncode, "an application value to the payload bytes of a DPT"},
    {"dpts", RunDpts, "the DPT table as the library holds it"},
    {"id", RunId, "object-model ids: co, param, appcontrol, and explain for any id"},
    {"config", RunConfig, "load the app host configuration and print every setting"},
    {"simulate", RunSimulate, "drive the synchronous request engine against a simulated device stack"},
    {"gamap", RunGaMap, "what an ETS group-address export says: addresses, names, DPTs, table rows"},
#ifdef ERVOM_WITH_KNXD
    {"monitor", RunMonitor, "the live bus through knxd, one line per group telegram, values decoded"},
    {"read", RunRead, "send a group read through knxd and decode the response"},
    {"write", RunWrite, "encode a value and send it as a group write through knxd"},
#endif
};

void PrintOverview(std::ostream& out)
{
    out << "Usage: ervom COMMAND [options] [arguments]\n\n"
           "Answers the daily questions of KNX integrators and app host developers with this library's\n"
           "exact behaviour: how a DPT decodes and encodes, which DPTs it knows, what an object id is,\n"
           "what the app host configuration says, how the request engine copes with a slow device stack,\n"
           "and what goes over a live bus.\n\n"
           "Commands:\n";
    for (const Command& command : Commands)
        out << "  " << command.name << std::string(10 - std::string(command.name).size(), ' ') << command.summary
            << '\n';
    CommonOptions unused;
    out << '\n'
        << OptionsText(CommonOptionsDescription(unused))
        << "\nExit status: 0 success, 1 the library refused the input (or does not know the DPT),\n"
           "2 a usage error, 3 the bus did not answer (knxd unreachable, connection lost, no response).\n"
           "Run 'ervom COMMAND --help' for a command's options and examples.\n";
}

int UsageFailure(const std::string& command, const std::string& message)
{
    const std::string who = command.empty() ? "ervom" : "ervom " + command;
    std::cerr << who << ": " << message << "\nTry '" << who << " --help'.\n";
    return ExitUsage;
}

} // namespace

int main(int argc, char** argv)
{
    log4cplus::Initializer logging;
    std::ios::sync_with_stdio(false);

    CommonOptions common;
    po::options_description options = CommonOptionsDescription(common);
    options.add_options()("command", po::value<std::string>())("args", po::value<std::vector<std::string>>());
    po::positional_options_description positional;
    positional.add("command", 1).add("args", -1);

    // The common options may stand anywhere; everything else belongs to the command and is
    // handed on in its order.
    std::string commandName;
    Invocation invocation;
    try {
        const po::parsed_options parsed = po::command_line_parser(argc, argv)
                                              .options(options)
                                              .positional(positional)
                                              .extra_style_parser(NegativeNumbersArePositional)
                                              .allow_unregistered()
                                              .run();
        po::variables_map values;
        po::store(parsed, values);
        po::notify(values);
        invocation.help = values.count("help") > 0;
        if (values.count("command"))
            commandName = values["command"].as<std::string>();
        invocation.args = po::collect_unrecognized(parsed.options, po::include_positional);
        const auto self = std::find(invocation.args.begin(), invocation.args.end(), commandName);
        if (self != invocation.args.end())
            invocation.args.erase(self);
    } catch (const po::error& e) {
        return UsageFailure("", e.what());
    } catch (const UsageError& e) {
        return UsageFailure("", e.what());
    }

    if (commandName.empty()) {
        if (invocation.help) {
            PrintOverview(std::cout);
            return ExitSuccess;
        }
        PrintOverview(std::cerr);
        return ExitUsage;
    }
    const auto command =
        std::find_if(std::begin(Commands), std::end(Commands), [&](const Command& c) { return commandName == c.name; });
    if (command == std::end(Commands))
        return UsageFailure("", "unknown command '" + commandName + "'");

    try {
        ConfigureLogging(common);
        LibraryMessages messages;
        invocation.common = common;
        invocation.messages = &messages;
        invocation.out = &std::cout;
        invocation.err = &std::cerr;
        const int status = command->run(invocation);
        std::cout.flush();
        return status;
    } catch (const UsageError& e) {
        std::cout.flush();
        return UsageFailure(commandName, e.what());
    }
}
