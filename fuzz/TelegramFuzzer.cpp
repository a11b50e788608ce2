// The monitor's path from the bytes knxd hands over to the printed line: any sender, group address,
// DPT and application-layer bytes, printed in any format. Every telegram is one line in every
// format, the JSON form is valid UTF-8 without raw control characters, and the bytes ervom would
// send for a telegram read back as that telegram.
#include "FuzzSupport.h"

#include "Telegram.h"

#include <utf8.h>

#include <algorithm>
#include <sstream>

namespace {

using namespace Ervom;

std::string Lines(const std::string& text) { return std::to_string(std::count(text.begin(), text.end(), '\n')); }

void CheckPrinted(Format format, const TelegramLine& line)
{
    std::ostringstream out;
    {
        Table table(out, format, TelegramColumns(), true);
        PrintLine(table, line);
    }
    const std::string text = out.str();
    const std::size_t want = format == Format::Json ? 1 : 2; // the header line, then the telegram's
    if (static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) != want || text.back() != '\n')
        ErvFuzz::Violated("one line per telegram", Lines(text) + " lines: " + text);
    if (format == Format::Tsv) {
        const std::string row = text.substr(text.find('\n') + 1);
        if (std::count(row.begin(), row.end(), '\t') + 1 != static_cast<long>(TelegramColumns().size()))
            ErvFuzz::Violated("a TSV row has one cell per column", row);
    }
    if (format == Format::Json) {
        if (!utf8::is_valid(text.begin(), text.end()))
            ErvFuzz::Violated("JSON is UTF-8", text);
        if (std::any_of(text.begin(), text.end() - 1, [](char c) { return static_cast<unsigned char>(c) < 0x20; }))
            ErvFuzz::Violated("JSON holds no raw control characters", text);
        if (text.front() != '{' || text[text.size() - 2] != '}')
            ErvFuzz::Violated("a JSON line is one object", text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ErvFuzz::Setup();
    static LibraryMessages messages;
    ErvFuzz::Input in(data, size);
    const std::uint16_t source = in.U16();
    const std::uint16_t destination = in.U16();
    const std::uint8_t options = in.U8();
    DptChoice dpts;
    if (options & 1) {
        const std::uint16_t main = in.U16();
        dpts.perAddress[destination] = DptText{main, in.U16()};
    }
    const GaStyle style = options & 2 ? GaStyle::TwoLevel : options & 4 ? GaStyle::Free : GaStyle::ThreeLevel;
    const std::string apdu = in.Rest();
    const auto* bytes = reinterpret_cast<const unsigned char*>(apdu.data());

    Telegram telegram;
    if (!ParseApdu(source, destination, bytes, apdu.size(), telegram)) {
        if (apdu.size() >= 2)
            ErvFuzz::Violated("every APDU of two bytes or more is read", std::to_string(apdu.size()) + " bytes");
        return 0;
    }
    if (telegram.kind == TelegramKind::Response || telegram.kind == TelegramKind::Write) {
        const std::vector<unsigned char> sent = BuildApdu(telegram.kind, telegram.data, telegram.small);
        // Not ours to keep: the transport control bits of the first byte, and the six bits beside
        // the service code when the value follows it (unused there, and not part of the value).
        std::vector<unsigned char> read(bytes, bytes + apdu.size());
        read[0] &= 0x03;
        if (!telegram.small)
            read[1] &= 0xC0;
        if (sent != read)
            ErvFuzz::Violated("a response or write is sent as it was read", std::to_string(apdu.size()) + " bytes");
    }

    ErvFuzz::LogLines::Reset();
    TelegramFormatter formatter(dpts, style, messages);
    TelegramLine line;
    formatter.ToLine(telegram, "12:00:00.000", line);
    const TelegramFormatter::Counts& seen = formatter.Seen();
    if (seen.decoded + seen.refused + seen.unknownDpt + seen.raw >
        (telegram.kind == TelegramKind::Response || telegram.kind == TelegramKind::Write ? 1u : 0u))
        ErvFuzz::Violated("a telegram counts once, and only one with a value", "");
    for (const Format format : {Format::Human, Format::Tsv, Format::Json})
        CheckPrinted(format, line);
    return 0;
}
