// The group addresses of an installation with their names and DPTs, read from what ETS exports:
// the CSV export (one line per address, or the three-level layout with main and middle groups on
// lines of their own) and the XML export.
#pragma once

#include "KnxStack/KnxDpt.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace Ervom {

struct GaMapEntry {
    std::uint16_t address = 0;
    std::string name;       // UTF-8, whatever the file's encoding was
    KNXDPT dpt{0, 0, 0};    // main number 0: the export gives no DPT, the value is shown raw;
                            // sub number 0: any (DPT-9); bit size as the library knows the main
                            // number, 0 when it does not or the size varies
    std::size_t line = 0;   // where the file defines it, for messages
};

class GaMap {
public:
    // Reads a CSV or XML export, told apart by its content. False with `error` set to one line
    // that names the file and line ("export.csv:12: ...") when the file cannot be read or is
    // malformed; the map is then empty.
    bool Load(const std::string& path, std::string& error);
    // The same from text already in memory; `name` stands for the file in messages.
    bool Parse(const std::string& text, const std::string& name, std::string& error);

    // Null for an address the export does not list.
    const GaMapEntry* Find(std::uint16_t address) const;
    const std::map<std::uint16_t, GaMapEntry>& Entries() const { return m_entries; }
    bool Empty() const { return m_entries.empty(); }

private:
    std::map<std::uint16_t, GaMapEntry> m_entries;
};

} // namespace Ervom
