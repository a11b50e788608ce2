// Group telegrams as knxd hands them to a client, and the line ervom prints for each: pure
// functions of the bytes, the group-address map and the library, so that the monitor, `read` and
// the fuzz target share them and none of them needs a daemon.
#pragma once

#include "Cli.h"
#include "GaMap.h"
#include "GroupAddress.h"
#include "ValueCodec.h"
#include "ValueText.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Ervom {

// The group services by their application control field; Other is any other service sent to a
// group address, shown with its bytes and never decoded.
enum class TelegramKind { Read, Response, Write, Other };

const char* KindName(TelegramKind kind);
// "read", "response" or "write"; empty for anything else.
std::optional<TelegramKind> ParseKind(std::string_view text);

struct Telegram {
    std::uint16_t source = 0;      // individual address of the sender
    std::uint16_t destination = 0; // group address
    TelegramKind kind = TelegramKind::Other;
    // The value's bytes. A value of six bits or fewer may travel beside the service code (the
    // small form); it is then one byte holding those bits. A read carries none.
    std::vector<unsigned char> data;
    bool small = false;
};

// The application layer's bytes as knxd gives them (byte 0: transport control and the service
// code's top two bits, byte 1: its low bits and six data bits, then the data). False when fewer
// than two bytes arrived.
bool ParseApdu(std::uint16_t source, std::uint16_t destination, const unsigned char* apdu, std::size_t length,
               Telegram& telegram);
// The bytes to send for a read (no data), a response or a write. `small` puts the value (one byte,
// at most 0x3F) beside the service code, as values of six bits or fewer travel.
std::vector<unsigned char> BuildApdu(TelegramKind kind, const std::vector<unsigned char>& data, bool small);

// "1.1.5": area 4 bits, line 4 bits, device 8 bits.
std::string FormatIndividualAddress(std::uint16_t address);

// An inclusive range of group addresses, read from "1/2/3" or "1/2/0-1/2/255" (any style).
struct GaRange {
    std::uint16_t first = 0;
    std::uint16_t last = 0xFFFF;
};
std::optional<GaRange> ParseGaRange(std::string_view text);

// Which telegrams a monitor shows: destination within any range (all when there are none) and
// kind among those given (all when none).
struct TelegramFilter {
    std::vector<GaRange> ranges;
    std::set<TelegramKind> kinds;

    bool Accepts(const Telegram& telegram) const;
};

// Where the DPT of a group address comes from, first match wins: a DPT given for that address on
// the command line, the group-address map, a DPT given for every address.
struct DptChoice {
    const GaMap* map = nullptr;
    std::map<std::uint16_t, DptText> perAddress;
    std::optional<DptText> forAll;

    // Reads "DPT" (for every address) or "GA=DPT"; throws UsageError otherwise.
    void Add(std::string_view option);
    std::optional<DptText> For(std::uint16_t address) const;
    // The address's name in the map, empty when there is none.
    std::string NameOf(std::uint16_t address) const;
};

// What a telegram's line says of its value.
enum class LineResult { Decoded, Refused, Unknown, Raw, None };

const char* ResultName(LineResult result);

// One printed line; every field already text.
struct TelegramLine {
    std::string time;
    std::string source;
    std::string destination;
    std::string kind;
    std::string bytes;
    std::string dpt;
    LineResult result = LineResult::None;
    std::string value;
    std::string name;
    std::string message; // the library's refusal, or what it logged about a value it let through
};

// The monitor's columns, for the Table every output format goes through.
std::vector<Table::Column> TelegramColumns();
void PrintLine(Table& table, const TelegramLine& line);
// The same fields as a record, for a single telegram (`read`).
Record LineRecord(const TelegramLine& line);

// Turns telegrams into lines, decoding each value through the same Decoder as `ervom decode`, and
// counts what it saw. Not thread-safe.
class TelegramFormatter {
public:
    TelegramFormatter(const DptChoice& dpts, GaStyle style, LibraryMessages& messages);

    // `time` is already formatted; it is the caller's clock.
    void ToLine(const Telegram& telegram, std::string time, TelegramLine& line);

    struct Counts {
        unsigned long telegrams = 0;
        unsigned long decoded = 0;
        unsigned long refused = 0;
        unsigned long unknownDpt = 0; // the library has no entry for the address's DPT
        unsigned long raw = 0;        // values of addresses without a DPT
        std::set<std::uint16_t> addressesWithoutDpt;
    };
    const Counts& Seen() const { return m_counts; }
    // "12 telegrams: 8 decoded, 1 refused, 0 unknown DPT, 3 raw from 2 group addresses without a DPT"
    std::string Summary() const;

private:
    const DptChoice& m_dpts;
    GaStyle m_style;
    Decoder m_decoder;
    Decoded m_decoded;
    Counts m_counts;
};

} // namespace Ervom
