#include "Telegram.h"

#include <utility>

namespace Ervom {

namespace {

// The application control field's group services: its top four of ten bits.
constexpr unsigned ServiceMask = 0x3C0;
constexpr unsigned GroupRead = 0x000;
constexpr unsigned GroupResponse = 0x040;
constexpr unsigned GroupWrite = 0x080;
constexpr unsigned char SmallValueMask = 0x3F;

void AppendHex(std::string& out, const unsigned char* bytes, std::size_t count)
{
    static const char digits[] = "0123456789ABCDEF";
    for (std::size_t i = 0; i < count; ++i) {
        if (i)
            out += ' ';
        out += digits[bytes[i] >> 4];
        out += digits[bytes[i] & 0xF];
    }
}

} // namespace

const char* KindName(TelegramKind kind)
{
    switch (kind) {
    case TelegramKind::Read: return "read";
    case TelegramKind::Response: return "response";
    case TelegramKind::Write: return "write";
    case TelegramKind::Other: return "other";
    }
    return "";
}

std::optional<TelegramKind> ParseKind(std::string_view text)
{
    for (const TelegramKind kind : {TelegramKind::Read, TelegramKind::Response, TelegramKind::Write})
        if (text == KindName(kind))
            return kind;
    return std::nullopt;
}

bool ParseApdu(std::uint16_t source, std::uint16_t destination, const unsigned char* apdu, std::size_t length,
               Telegram& telegram)
{
    if (length < 2)
        return false;
    telegram.source = source;
    telegram.destination = destination;
    telegram.data.clear();
    telegram.small = false;
    const unsigned service = (static_cast<unsigned>(apdu[0] & 0x03) << 8 | apdu[1]) & ServiceMask;
    switch (service) {
    case GroupRead: telegram.kind = TelegramKind::Read; return true;
    case GroupResponse: telegram.kind = TelegramKind::Response; break;
    case GroupWrite: telegram.kind = TelegramKind::Write; break;
    default:
        telegram.kind = TelegramKind::Other;
        telegram.data.assign(apdu, apdu + length);
        return true;
    }
    if (length == 2) {
        telegram.small = true;
        telegram.data.push_back(apdu[1] & SmallValueMask);
    } else {
        telegram.data.assign(apdu + 2, apdu + length);
    }
    return true;
}

std::vector<unsigned char> BuildApdu(TelegramKind kind, const std::vector<unsigned char>& data, bool small)
{
    unsigned service = GroupWrite;
    if (kind == TelegramKind::Read)
        service = GroupRead;
    else if (kind == TelegramKind::Response)
        service = GroupResponse;
    std::vector<unsigned char> apdu;
    apdu.reserve(2 + data.size());
    apdu.push_back(static_cast<unsigned char>(service >> 8));
    if (kind == TelegramKind::Read || data.empty()) {
        apdu.push_back(static_cast<unsigned char>(service));
        return apdu;
    }
    if (small) {
        apdu.push_back(static_cast<unsigned char>(service | (data.front() & SmallValueMask)));
        return apdu;
    }
    apdu.push_back(static_cast<unsigned char>(service));
    for (const unsigned char byte : data)
        apdu.push_back(byte);
    return apdu;
}

std::string FormatIndividualAddress(std::uint16_t address)
{
    return std::to_string(address >> 12) + '.' + std::to_string(address >> 8 & 0xF) + '.' +
           std::to_string(address & 0xFF);
}

std::optional<GaRange> ParseGaRange(std::string_view text)
{
    const std::size_t dash = text.find('-');
    const std::optional<std::uint16_t> first = ParseGroupAddress(text.substr(0, dash));
    const std::optional<std::uint16_t> last =
        dash == std::string_view::npos ? first : ParseGroupAddress(text.substr(dash + 1));
    if (!first || !last || *last < *first)
        return std::nullopt;
    return GaRange{*first, *last};
}

bool TelegramFilter::Accepts(const Telegram& telegram) const
{
    if (!kinds.empty() && kinds.count(telegram.kind) == 0)
        return false;
    if (ranges.empty())
        return true;
    for (const GaRange& range : ranges)
        if (telegram.destination >= range.first && telegram.destination <= range.last)
            return true;
    return false;
}

void DptChoice::Add(std::string_view option)
{
    const std::size_t equals = option.find('=');
    const DptText dpt = ParseDptOrThrow(equals == std::string_view::npos ? option : option.substr(equals + 1));
    if (equals == std::string_view::npos) {
        forAll = dpt;
        return;
    }
    const std::optional<std::uint16_t> address = ParseGroupAddress(option.substr(0, equals));
    if (!address)
        throw UsageError("'" + std::string(option.substr(0, equals)) + "' is no group address (1/2/3, 1/515 or 2563)");
    perAddress[*address] = dpt;
}

std::optional<DptText> DptChoice::For(std::uint16_t address) const
{
    const auto given = perAddress.find(address);
    if (given != perAddress.end())
        return given->second;
    if (map) {
        const GaMapEntry* entry = map->Find(address);
        if (entry && entry->dpt.mainNumber != 0)
            return DptText{entry->dpt.mainNumber, entry->dpt.subNumber};
    }
    return forAll;
}

std::string DptChoice::NameOf(std::uint16_t address) const
{
    const GaMapEntry* entry = map ? map->Find(address) : nullptr;
    return entry ? entry->name : std::string();
}

const char* ResultName(LineResult result)
{
    switch (result) {
    case LineResult::Decoded: return "decoded";
    case LineResult::Refused: return "refused";
    case LineResult::Unknown: return "unknown";
    case LineResult::Raw: return "raw";
    case LineResult::None: return "";
    }
    return "";
}

std::vector<Table::Column> TelegramColumns()
{
    // Widths for a busy line's usual content; a wider cell pushes only its own row.
    return {{"time", 12}, {"source", 8},  {"destination", 11}, {"kind", 8}, {"bytes", 11},
            {"DPT", 7},   {"result", 7},  {"value", 10},       {"name", 12}, {"message", 0}};
}

namespace {

// In the order of TelegramColumns().
std::vector<std::string_view> Cells(const TelegramLine& line)
{
    return {line.time, line.source, line.destination, line.kind, line.bytes, line.dpt, ResultName(line.result),
            line.value, line.name, line.message};
}

} // namespace

void PrintLine(Table& table, const TelegramLine& line) { table.Row(Cells(line)); }

Record LineRecord(const TelegramLine& line)
{
    Record record;
    const std::vector<Table::Column> columns = TelegramColumns();
    auto column = columns.begin();
    for (const std::string_view cell : Cells(line))
        record.Add((column++)->name, std::string(cell));
    return record;
}

TelegramFormatter::TelegramFormatter(const DptChoice& dpts, GaStyle style, LibraryMessages& messages)
    : m_dpts(dpts), m_style(style), m_decoder(false, 0, messages)
{
}

void TelegramFormatter::ToLine(const Telegram& telegram, std::string time, TelegramLine& line)
{
    ++m_counts.telegrams;
    line.time = std::move(time);
    line.source = FormatIndividualAddress(telegram.source);
    line.destination = FormatGroupAddress(telegram.destination, m_style);
    line.kind = KindName(telegram.kind);
    line.bytes.clear();
    AppendHex(line.bytes, telegram.data.data(), telegram.data.size());
    line.name = m_dpts.NameOf(telegram.destination);
    line.value.clear();
    line.message.clear();
    line.result = LineResult::None;

    const std::optional<DptText> dpt = m_dpts.For(telegram.destination);
    line.dpt = dpt ? ToString(dpt->ToKnxDpt(0)) : std::string();
    if (!dpt)
        m_counts.addressesWithoutDpt.insert(telegram.destination);
    if (telegram.kind != TelegramKind::Response && telegram.kind != TelegramKind::Write)
        return;
    if (!dpt) {
        line.result = LineResult::Raw;
        ++m_counts.raw;
        return;
    }
    m_decoder.Decode(*dpt, telegram.data, m_decoded);
    line.dpt = m_decoded.dpt;
    line.message = m_decoded.message;
    switch (m_decoded.outcome) {
    case Outcome::Decoded:
        line.result = LineResult::Decoded;
        line.value = m_decoded.value;
        ++m_counts.decoded;
        break;
    case Outcome::Refused:
        line.result = LineResult::Refused;
        ++m_counts.refused;
        break;
    case Outcome::Unknown:
        line.result = LineResult::Unknown;
        ++m_counts.unknownDpt;
        break;
    }
}

std::string TelegramFormatter::Summary() const
{
    return std::to_string(m_counts.telegrams) + " telegrams: " + std::to_string(m_counts.decoded) + " decoded, " +
           std::to_string(m_counts.refused) + " refused, " + std::to_string(m_counts.unknownDpt) + " unknown DPT, " +
           std::to_string(m_counts.raw) + " raw; " + std::to_string(m_counts.addressesWithoutDpt.size()) +
           " group addresses without a DPT";
}

} // namespace Ervom
