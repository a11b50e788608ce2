// The group-address map from any bytes that claim to be an ETS export. Built twice: the CSV target
// takes only inputs that read as CSV, the XML target only those that read as XML, so each spends
// its time in one parser and keeps a corpus of its own.
#include "FuzzSupport.h"

#include "GaMap.h"
#include "GroupAddress.h"

#include <utf8.h>

#include <algorithm>
#include <string>

#ifndef ERV_GAMAP_XML
#error "define ERV_GAMAP_XML as 0 (the CSV target) or 1 (the XML target)"
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::size_t first = text.rfind("\xEF\xBB\xBF", 0) == 0 ? 3 : 0;
    first = text.find_first_not_of(" \t\r\n", first);
    const bool xml = first != std::string::npos && text[first] == '<';
    if (xml != (ERV_GAMAP_XML != 0))
        return 0;

    Ervom::GaMap map;
    std::string error;
    const bool parsed = map.Parse(text, "export", error);
    const std::size_t lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    const auto detail = [&] { return std::to_string(size) + " bytes, " + std::to_string(lines) + " lines"; };

    // A refusal is one line that names the file and a line of it; nothing of the file is kept.
    if (!parsed) {
        if (!map.Empty())
            ErvFuzz::Violated("a refused file leaves the map empty", detail());
        const std::string prefix = "export:";
        std::size_t line = 0;
        std::size_t i = prefix.size();
        for (; error.rfind(prefix, 0) == 0 && i < error.size() && error[i] >= '0' && error[i] <= '9'; ++i)
            line = line * 10 + static_cast<std::size_t>(error[i] - '0');
        if (line == 0 || line > lines || error.compare(i, 2, ": ") != 0 || error.find('\n') != std::string::npos ||
            !utf8::is_valid(error.begin(), error.end()))
            ErvFuzz::Violated("an error names the file and one of its lines", error + " (" + detail() + ")");
        return 0;
    }
    // What is kept comes from the file: UTF-8 names, lines it has, addresses that read back.
    for (const auto& [address, entry] : map.Entries()) {
        if (entry.address != address || entry.line == 0 || entry.line > lines)
            ErvFuzz::Violated("an entry's line is a line of the file", std::to_string(entry.line) + " (" + detail() + ")");
        if (!utf8::is_valid(entry.name.begin(), entry.name.end()))
            ErvFuzz::Violated("names are UTF-8", detail());
        // Windows-1252 takes up to three UTF-8 bytes per byte ("\x84" is U+201E).
        if (entry.name.size() > 3 * size)
            ErvFuzz::Violated("a name comes from the file", detail());
        for (const Ervom::GaStyle style : {Ervom::GaStyle::ThreeLevel, Ervom::GaStyle::TwoLevel, Ervom::GaStyle::Free})
            if (Ervom::ParseGroupAddress(Ervom::FormatGroupAddress(address, style)) != address)
                ErvFuzz::Violated("a group address reads back as itself", Ervom::FormatGroupAddress(address));
        if (entry.dpt.mainNumber == 0 && (entry.dpt.subNumber != 0 || entry.dpt.bitSize != 0))
            ErvFuzz::Violated("no DPT is all zeros", detail());
    }
    return 0;
}
