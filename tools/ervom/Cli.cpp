#include "Cli.h"

#include "ErvLogging/Logging.h"

#include <boost/algorithm/string/join.hpp>
#include <boost/range/iterator_range.hpp>

#include <log4cplus/configurator.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

namespace Ervom {

// Common options and logging ------------------------------------------------------------------

po::options_description CommonOptionsDescription(CommonOptions& options)
{
    po::options_description common("Common options");
    // clang-format off
    common.add_options()
        ("help,h", "show this help")
        ("format", po::value<std::string>()->value_name("text|tsv|json")->notifier([&options](const std::string& f) {
             if (f == "text" || f == "human") // "human" was its first name; scripts may still say it
                 options.format = Format::Human;
             else if (f == "tsv")
                 options.format = Format::Tsv;
             else if (f == "json")
                 options.format = Format::Json;
             else
                 throw UsageError("--format must be text, tsv or json, not '" + f + "'");
         }),
         "aligned for a person (default), tab-separated with a header line, or one JSON object per line")
        ("log-level", po::value(&options.logLevel)->value_name("LEVEL"),
         "show the library's log lines from LEVEL up on standard error: TRACE, DEBUG, INFO, WARN, ERROR")
        ("log-config", po::value(&options.logConfig)->value_name("FILE"),
         "configure log4cplus from a properties file");
    // clang-format on
    return common;
}

po::typed_value<std::string>* GaStyleValue(GaStyle& style)
{
    return po::value<std::string>()->value_name("3|2|free")->notifier([&style](const std::string& text) {
        const std::optional<GaStyle> parsed = ParseGaStyle(text);
        if (!parsed)
            throw UsageError("--ga-style must be 3, 2 or free, not '" + text + "'");
        style = *parsed;
    });
}

namespace {

log4cplus::LogLevel ParseLevel(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::toupper(c); });
    if (name == "TRACE")
        return log4cplus::TRACE_LOG_LEVEL;
    if (name == "DEBUG")
        return log4cplus::DEBUG_LOG_LEVEL;
    if (name == "INFO")
        return log4cplus::INFO_LOG_LEVEL;
    if (name == "WARN")
        return log4cplus::WARN_LOG_LEVEL;
    if (name == "ERROR")
        return log4cplus::ERROR_LOG_LEVEL;
    throw UsageError("--log-level must be TRACE, DEBUG, INFO, WARN or ERROR, not '" + name + "'");
}

} // namespace

void ConfigureLogging(const CommonOptions& options)
{
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    if (!options.logConfig.empty()) {
        if (!std::ifstream(options.logConfig))
            throw UsageError("cannot read the log configuration '" + options.logConfig + "'");
        log4cplus::PropertyConfigurator::doConfigure(options.logConfig);
    }
    if (!options.logLevel.empty()) {
        const log4cplus::LogLevel level = ParseLevel(options.logLevel);
        log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(true, true));
        console->setLayout(std::make_unique<log4cplus::PatternLayout>("%-5p %m%n"));
        console->setThreshold(level);
        logger.addAppender(console);
        // Refusals are explained with the library's WARN and ERROR lines, so those stay enabled
        // whatever the console shows.
        logger.setLogLevel(std::min(level, log4cplus::WARN_LOG_LEVEL));
    } else if (options.logConfig.empty()) {
        logger.setLogLevel(log4cplus::WARN_LOG_LEVEL);
    }
}

std::string OptionsText(const po::options_description& options)
{
    std::ostringstream text;
    text << options;
    std::string result;
    std::istringstream lines(text.str());
    for (std::string line; std::getline(lines, line);) {
        while (!line.empty() && line.back() == ' ')
            line.pop_back();
        result.append(line).append("\n");
    }
    return result;
}

std::string JoinWords(const std::vector<std::string>& words, std::size_t first)
{
    return boost::algorithm::join(
        boost::make_iterator_range(words.begin() + static_cast<std::ptrdiff_t>(first), words.end()), " ");
}

// Command parsing -----------------------------------------------------------------------------

std::vector<po::option> NegativeNumbersArePositional(std::vector<std::string>& args)
{
    std::vector<po::option> result;
    const std::string& token = args.front();
    if (token.size() < 2 || token[0] != '-')
        return result;
    const char next = token[1];
    if (std::isdigit(static_cast<unsigned char>(next)) || next == '.' || token == "-inf" || token == "-nan") {
        po::option value;
        value.value.push_back(token);
        value.original_tokens.push_back(token);
        value.position_key = INT_MAX; // positional; the parser gives it its place
        result.push_back(std::move(value));
        args.erase(args.begin());
    }
    return result;
}

bool ParseCommand(const Invocation& invocation, const CommandHelp& help, const po::options_description& visible,
                  const po::options_description& hidden, const po::positional_options_description& positional,
                  po::variables_map& values)
{
    if (invocation.help) {
        std::ostream& out = *invocation.out;
        out << "Usage: " << help.usage << "\n\n" << help.about << "\n\n";
        if (!visible.options().empty())
            out << OptionsText(visible) << '\n';
        CommonOptions unused;
        out << OptionsText(CommonOptionsDescription(unused)) << "\nExamples:\n" << help.examples;
        return false;
    }
    po::options_description all;
    all.add(visible).add(hidden);
    try {
        po::store(po::command_line_parser(invocation.args)
                      .options(all)
                      .positional(positional)
                      .extra_style_parser(NegativeNumbersArePositional)
                      .run(),
                  values);
        po::notify(values);
    } catch (const po::error& e) {
        throw UsageError(e.what());
    }
    return true;
}

bool ParseCommand(const Invocation& invocation, const CommandHelp& help, const po::options_description& visible,
                  po::variables_map& values, std::vector<std::string>& words)
{
    po::options_description hidden;
    hidden.add_options()("args", po::value(&words));
    po::positional_options_description positional;
    positional.add("args", -1);
    return ParseCommand(invocation, help, visible, hidden, positional, values);
}

} // namespace Ervom
