// decode: payload bytes of a DPT to an application value, one at a time or a whole capture.
#include "Commands.h"
#include "ValueCodec.h"
#include "ValueText.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>

namespace Ervom {

namespace {

const CommandHelp Help = {
    "ervom decode [options] DPT HEX...\n"
    "       ervom decode --batch [options] [FILE]",
    "Decodes the payload bytes of a group telegram as the library does for the DPT, and prints the\n"
    "DPT, the bits and bytes, the application value's type and sub type, the value and its\n"
    "serialised text. The table-driven converter decides, unless --by-number asks the direct\n"
    "mapping by DPT number. A DPT is written main.sub with the sub number in three digits (9.001),\n"
    "or main.x or main for any sub number; ETS spellings (DPST-9-1, DPT-9) are read too. Bytes are\n"
    "written as a bus monitor shows them (0C 1A, 0C1A, $0C $1A). A value of less than 8 bits\n"
    "(DPT 1, 2, 3) is given as one byte and takes the DPT's size, unless --bits says otherwise.\n\n"
    "With --batch, every line of FILE (or standard input) holds one \"DPT HEX...\"; '#' starts a\n"
    "comment. Each line gets one result line: decoded, refused (with the library's message),\n"
    "unknown (the library has no entry for the DPT and would accept the bytes unchecked) or unread\n"
    "(no DPT and bytes on the line). A summary follows, on standard error with --format tsv.\n"
    "Exit status 1 when a value (or any line of a batch) was not decoded.",
    "  ervom decode 9.001 0C 1A                 temperature: 21 (ivtFloat)\n"
    "  ervom decode 1.001 01                    switch: true\n"
    "  ervom decode 10.001 2C 1E 00             time of day: Monday 12:30:00\n"
    "  ervom decode --by-number 7.001 FF FF     through the direct mapping\n"
    "  ervom decode --bits 4 3.007 09           dimming step with an explicit size\n"
    "  ervom decode --batch tools/samples/capture.txt\n"
    "  ervom --format tsv decode --batch < capture.txt | awk -F'\\t' '$5 == \"refused\"'\n"};

int DecodeOne(const Invocation& invocation, Decoder& decoder, const std::vector<std::string>& args)
{
    if (args.size() < 2)
        throw UsageError("give a DPT and the payload bytes, e.g. 'decode 9.001 0C 1A'");
    const DptText dpt = ParseDptOrThrow(args[0]);
    const std::string hexText = JoinWords(args, 1);
    std::vector<unsigned char> bytes;
    std::string error;
    if (!ParseHex(hexText, bytes, error))
        throw UsageError(error);

    Decoded decoded;
    decoder.Decode(dpt, bytes, decoded);
    if (decoded.outcome == Outcome::Refused) {
        *invocation.err << "ervom decode: refused: " << decoded.message << '\n';
        return ExitRefused;
    }
    if (decoded.outcome == Outcome::Unknown) {
        *invocation.err << "ervom decode: unknown DPT " << decoded.dpt << ": " << decoded.message << '\n';
        return ExitRefused;
    }
    Record()
        .Add("DPT", decoded.dpt)
        .Add("bits", std::to_string(decoded.bits))
        .Add("bytes", decoded.bytes)
        .Add("type", decoded.type)
        .Add("sub type", decoded.subType)
        .Add("value", decoded.value)
        .Add("serialized", decoded.serialized)
        .Print(*invocation.out, invocation.common.format);
    if (!decoded.message.empty())
        *invocation.err << "ervom decode: the library logged: " << decoded.message << '\n';
    return ExitSuccess;
}

// Reads a capture in large blocks; a capture of a busy line is millions of short lines.
class LineReader {
public:
    explicit LineReader(std::FILE* file) : m_file(file), m_buffer(1 << 20) {}

    bool Next(std::string_view& line)
    {
        for (;;) {
            const char* begin = m_buffer.data() + m_start;
            const char* end = m_buffer.data() + m_end;
            const char* newline =
                static_cast<const char*>(std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)));
            if (newline) {
                line = std::string_view(begin, static_cast<std::size_t>(newline - begin));
                m_start = static_cast<std::size_t>(newline - m_buffer.data()) + 1;
                return true;
            }
            if (m_eof) {
                if (m_start == m_end)
                    return false;
                line = std::string_view(begin, m_end - m_start);
                m_start = m_end;
                return true;
            }
            Refill();
        }
    }

private:
    void Refill()
    {
        const std::size_t pending = m_end - m_start;
        std::memmove(m_buffer.data(), m_buffer.data() + m_start, pending);
        m_start = 0;
        m_end = pending;
        if (m_end == m_buffer.size())
            m_buffer.resize(m_buffer.size() * 2); // a line longer than the buffer
        const std::size_t got = std::fread(m_buffer.data() + m_end, 1, m_buffer.size() - m_end, m_file);
        m_end += got;
        if (got == 0)
            m_eof = true;
    }

    std::FILE* m_file;
    std::vector<char> m_buffer;
    std::size_t m_start = 0;
    std::size_t m_end = 0;
    bool m_eof = false;
};

std::string_view TrimLine(std::string_view line)
{
    const auto comment = line.find('#');
    if (comment != std::string_view::npos)
        line = line.substr(0, comment);
    while (!line.empty() && (line.front() == ' ' || line.front() == '\t'))
        line.remove_prefix(1);
    while (!line.empty() && (line.back() == ' ' || line.back() == '\t' || line.back() == '\r'))
        line.remove_suffix(1);
    return line;
}

int DecodeBatch(const Invocation& invocation, Decoder& decoder, const std::vector<std::string>& args, bool timing)
{
    if (args.size() > 1)
        throw UsageError("--batch reads one FILE (or standard input), not DPT and bytes");
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(nullptr, std::fclose);
    std::FILE* input = stdin;
    if (!args.empty() && args[0] != "-") {
        file.reset(std::fopen(args[0].c_str(), "rb"));
        if (!file)
            throw UsageError("cannot read '" + args[0] + "'");
        input = file.get();
    }

    const Format format = invocation.common.format;
    // clang-format off
    Table table(*invocation.out, format,
                {{"line", 4}, {"DPT", 7}, {"bits", 4}, {"bytes", 8}, {"result", 7}, {"type", 10},
                 {"value", 10}, {"serialized", 12}, {"message", 0}},
                true);
    // clang-format on
    unsigned long counts[3] = {0, 0, 0};
    unsigned long unread = 0;
    unsigned long lineNumber = 0;
    const auto start = std::chrono::steady_clock::now();

    LineReader reader(input);
    std::string_view line;
    Decoded decoded;
    std::vector<unsigned char> bytes;
    std::string error;
    char number[24];
    while (reader.Next(line)) {
        ++lineNumber;
        const std::string_view content = TrimLine(line);
        if (content.empty())
            continue;
        const auto numberEnd = std::to_chars(number, number + sizeof number, lineNumber).ptr;
        const std::string_view lineText(number, static_cast<std::size_t>(numberEnd - number));

        const auto blank = content.find_first_of(" \t");
        const std::string_view dptText = content.substr(0, blank);
        const std::string_view hexText =
            blank == std::string_view::npos ? std::string_view() : content.substr(blank + 1);
        DptText dpt;
        bytes.clear();
        if (!ParseDpt(dptText, dpt, error) || !ParseHex(hexText, bytes, error)) {
            ++unread;
            table.Row({lineText, dptText, "", hexText, "unread", "", "", "", error});
            continue;
        }
        decoder.Decode(dpt, bytes, decoded);
        ++counts[static_cast<int>(decoded.outcome)];
        char bits[12];
        const auto bitsEnd = std::to_chars(bits, bits + sizeof bits, decoded.bits).ptr;
        table.Row({lineText, decoded.dpt, std::string_view(bits, static_cast<std::size_t>(bitsEnd - bits)),
                   decoded.bytes, OutcomeName(decoded.outcome), decoded.type, decoded.value, decoded.serialized,
                   decoded.message});
    }
    table.Flush();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    const unsigned long decodedCount = counts[static_cast<int>(Outcome::Decoded)];
    const unsigned long total = decodedCount + counts[1] + counts[2] + unread;
    std::ostream& summary = format != Format::Human ? *invocation.err : *invocation.out;
    summary << (format != Format::Human ? "" : "\n") << total << " telegrams: " << decodedCount << " decoded, "
            << counts[static_cast<int>(Outcome::Refused)] << " refused, " << counts[static_cast<int>(Outcome::Unknown)]
            << " unknown DPT, " << unread << " unread\n";
    if (timing)
        *invocation.err << total << " telegrams in " << seconds
                        << " s: " << static_cast<unsigned long>(seconds > 0 ? total / seconds : 0) << " lines/s\n";
    return decodedCount == total ? ExitSuccess : ExitRefused;
}

} // namespace

int RunDecode(const Invocation& invocation)
{
    bool batch = false;
    bool byNumber = false;
    bool timing = false;
    unsigned bits = 0;
    po::options_description visible("Options");
    // clang-format off
    visible.add_options()
        ("batch", po::bool_switch(&batch), "decode every line of FILE (or standard input)")
        ("by-number", po::bool_switch(&byNumber), "use the direct mapping by DPT number instead of the DPT table")
        ("bits", po::value(&bits)->value_name("N"), "the group value's size in bits (default: the DPT's size "
                                                     "where the bytes hold it, else 8 per byte)")
        ("timing", po::bool_switch(&timing), "with --batch: print the lines per second on standard error");
    // clang-format on
    po::variables_map values;
    std::vector<std::string> args;
    if (!ParseCommand(invocation, Help, visible, values, args))
        return ExitSuccess;

    if (values.count("bits") && (bits == 0 || bits > 255))
        throw UsageError("--bits must be 1 to 255");
    Decoder decoder(byNumber, bits, *invocation.messages);
    return batch ? DecodeBatch(invocation, decoder, args, timing) : DecodeOne(invocation, decoder, args);
}

} // namespace Ervom
