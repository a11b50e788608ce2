// What every ervom command shares: exit statuses, the option parser around each command, the two
// output formats, and the capture of the library's own log lines.
#pragma once

#include "GroupAddress.h"

#include <boost/program_options.hpp>

#include <log4cplus/appender.h>

#include <cstddef>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ervom {

namespace po = boost::program_options;

// Scripts branch on these: 1 means the library said no, 2 means ervom could not read its input,
// 3 means the bus did not answer (knxd unreachable, the connection lost, no response in time).
enum ExitStatus { ExitSuccess = 0, ExitRefused = 1, ExitUsage = 2, ExitBus = 3 };

// Anything wrong with the command line or the text given to a command; reported with exit 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Human: aligned for a person. Tsv: a header line and tab-separated rows. Json: one JSON object per
// row (JSON Lines), keyed by the names a TSV header gives, every value a string.
enum class Format { Human, Tsv, Json };

// The lines the library logs at WARN and above while a command runs, without their prefix of
// context and function name. They are what a refusal is explained with.
class LibraryMessages {
public:
    LibraryMessages();
    ~LibraryMessages();
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;

    void Clear();
    const std::vector<std::string>& Lines() const;
    // The lines joined with "; ", or `fallback` when the library said nothing.
    std::string Joined(const char* fallback) const;

private:
    class Appender;
    Appender* m_appender;
    log4cplus::SharedAppenderPtr m_shared;
};

// The options every command takes, set before the command runs.
struct CommonOptions {
    Format format = Format::Human;
    std::string logLevel;  // empty: the library's lines are not shown
    std::string logConfig; // a log4cplus properties file
};

// Adds --help, --format, --log-level and --log-config.
po::options_description CommonOptionsDescription(CommonOptions& options);
// The value of --ga-style (3, 2 or free), read into `style`; anything else is a UsageError.
po::typed_value<std::string>* GaStyleValue(GaStyle& style);

// Applies --log-level or --log-config to log4cplus. Throws UsageError for an unknown level or an
// unreadable file.
void ConfigureLogging(const CommonOptions& options);

// One command's text for --help.
struct CommandHelp {
    const char* usage;    // lines after "Usage: ", each starting with "ervom"
    const char* about;    // what it does, a paragraph or two
    const char* examples; // one example per line
};

// The arguments of one command after the command word, with what it needs to parse and print.
struct Invocation {
    std::vector<std::string> args;
    CommonOptions common;
    bool help = false;
    LibraryMessages* messages = nullptr;
    std::ostream* out = nullptr;
    std::ostream* err = nullptr;
};

// Parses the command's arguments: `visible` options (shown by --help), `hidden` ones (the targets
// of `positional`). Returns false after printing the help when --help was given. Throws UsageError
// for anything it cannot read.
bool ParseCommand(const Invocation& invocation, const CommandHelp& help, const po::options_description& visible,
                  const po::options_description& hidden, const po::positional_options_description& positional,
                  po::variables_map& values);

// ParseCommand for a command that takes a list of words after its options, handed back in `words`.
bool ParseCommand(const Invocation& invocation, const CommandHelp& help, const po::options_description& visible,
                  po::variables_map& values, std::vector<std::string>& words);

// words[first], words[first + 1], ... joined with blanks: a value or the bytes typed as several words.
std::string JoinWords(const std::vector<std::string>& words, std::size_t first);

// The options' help as Boost lays it out, without the blanks it leaves at the ends of lines.
std::string OptionsText(const po::options_description& options);

// Tokens like "-5" or "-.5" are values, not options (a negative temperature, a count).
std::vector<po::option> NegativeNumbersArePositional(std::vector<std::string>& args);

// A record of named fields: a block of "name  value" lines for a person, a header line and one
// row (or one JSON object) for a script.
class Record {
public:
    Record& Add(std::string name, std::string value);
    void Print(std::ostream& out, Format format) const;

private:
    std::vector<std::pair<std::string, std::string>> m_fields;
};

// Rows under a header. Human output pads each column to its width; with `streaming` the widths
// are fixed up front (a wider cell pushes only its own row), otherwise they fit the widest cell.
// Rows are written through an internal buffer, so that a batch of a million lines is not a
// million stream operations.
class Table {
public:
    struct Column {
        std::string name;
        std::size_t width;
    };

    Table(std::ostream& out, Format format, std::vector<Column> columns, bool streaming);
    ~Table();
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    void Row(std::initializer_list<std::string_view> cells);
    void Row(const std::vector<std::string_view>& cells);
    void Flush();

private:
    void WriteHeader();
    void WriteRow(const std::vector<std::string_view>& cells);
    void WriteBuffer();

    std::ostream& m_out;
    Format m_format;
    std::vector<Column> m_columns;
    bool m_streaming;
    bool m_headerWritten = false;
    std::vector<std::vector<std::string>> m_pending; // rows kept until the widths are known
    std::vector<std::string> m_jsonNames;
    std::string m_buffer;
};

// The name a script sees for a field: lower case, blanks as underscores ("Value id" -> "value_id").
std::string TsvName(std::string_view name);

// Appends {"name":"value",...} and a line break: one row of the JSON form. Names are taken as they
// are; values are escaped, and bytes that are not UTF-8 become U+FFFD.
void AppendJsonObject(std::string& out, const std::vector<std::string>& names,
                      const std::vector<std::string_view>& values);

} // namespace Ervom
