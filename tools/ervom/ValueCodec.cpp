#include "ValueCodec.h"

#include "ErvObjectModel/GroupValueAvoValue.h"
#include "ErvObjectModel/KnxLumMapping.h"

#include <boost/optional.hpp>

#include <exception>

namespace Ervom {

const char* OutcomeName(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Decoded: return "decoded";
    case Outcome::Refused: return "refused";
    case Outcome::Unknown: return "unknown";
    }
    return "";
}

const char* const AcceptedUnchecked = " (the library would accept any value unchecked and write no bytes)";

// Decoder -------------------------------------------------------------------------------------

Decoder::Decoder(bool byNumber, unsigned bits, LibraryMessages& messages)
    : m_byNumber(byNumber), m_bits(bits), m_messages(messages)
{
    m_converter.Init();
}

namespace {

// The size the DPT carries on the bus when the bytes hold exactly that (1 bit in one byte);
// otherwise every byte counts.
unsigned DefaultBits(std::uint16_t main, std::size_t byteCount)
{
    const std::uint32_t expected = Erv::KnxValueConverter::GetExpectedBitSize(main);
    if (expected > 0 && expected < 2147483647u && (expected + 7) / 8 == byteCount)
        return expected;
    return static_cast<unsigned>(byteCount * 8);
}

} // namespace

void Decoder::Decode(const DptText& text, const std::vector<unsigned char>& bytes, Decoded& out)
{
    // Field by field, so that a batch reuses the strings' storage line after line.
    out.outcome = Outcome::Refused;
    out.bits = 0;
    for (std::string* field : {&out.bytes, &out.type, &out.subType, &out.value, &out.serialized, &out.message})
        field->clear();
    out.dpt = DptName(text.main, text.sub);
    m_messages.Clear();
    try {
        const unsigned bits = m_bits != 0 ? m_bits : DefaultBits(text.main, bytes.size());
        const KnxStack::GroupValue groupValue(KnxStack::BinaryData(bytes.data(), bytes.size()), bits);
        out.bits = groupValue.GetDefinedSize();
        out.bytes = groupValue.GetRawData().ToString();
        if (m_byNumber)
            ByNumber(text, groupValue, out);
        else
            ByTable(text, groupValue, out);
    } catch (const std::exception& e) {
        // The platform's group value refuses what it cannot hold (more than its capacity).
        out.outcome = Outcome::Refused;
        out.message = e.what();
    }
}

// The platform's name of a DPT, remembered: a capture names the same few DPTs again and again.
const std::string& Decoder::DptName(std::uint16_t main, std::uint16_t sub)
{
    const std::uint32_t key = std::uint32_t{main} << 16 | sub;
    auto found = m_dptNames.find(key);
    if (found == m_dptNames.end())
        found = m_dptNames.emplace(key, ToString(KNXDPT{0, main, sub})).first;
    return found->second;
}

void Decoder::ByTable(const DptText& text, const KnxStack::GroupValue& groupValue, Decoded& out)
{
    KNXDPT dpt = text.ToKnxDpt(0);
    const Erv::DptValueEntry* entry = nullptr;
    AVOVALUE value;
    if (dpt.mainNumber != 0) {
        entry = m_converter.FindEntry(dpt);
        if (!entry) {
            // The library lets a DPT without a row through unchecked; converting anyway gets its
            // own words for that.
            m_converter.FromKnxValue(dpt, groupValue, value);
            return Unknown(out);
        }
        dpt.bitSize = entry->GetDpt().bitSize;
    }
    if (!m_converter.FromKnxValue(dpt, groupValue, value))
        return Refused(out);
    if (!entry) { // the library chose the DPT from the size
        out.dpt = ToString(dpt);
        entry = m_converter.FindEntry(dpt);
        if (!entry)
            return Unknown(out);
    }
    Fill(value, AvoDP::GetNameFromValueSubType(entry->GetSubType()), out);
}

void Decoder::ByNumber(const DptText& text, const KnxStack::GroupValue& groupValue, Decoded& out)
{
    const unsigned long number = text.Number();
    const boost::optional<AVOVALUE> value = Erv::GroupValueToAvoValue(groupValue, number);
    if (!value) {
        // A main number without a row in the library's lookups has no default value either.
        const bool known = Erv::KnxLumMapping::GetDefaultValueFromDpt(number, false).has_value();
        return known ? Refused(out) : Unknown(out);
    }
    Fill(*value, Erv::KnxLumMapping::GetIstFromMainType(text.main), out);
}

void Decoder::Unknown(Decoded& out) const
{
    out.outcome = Outcome::Unknown;
    out.message = m_messages.Joined("the library has no entry for this DPT");
}

void Decoder::Refused(Decoded& out) const
{
    out.outcome = Outcome::Refused;
    out.message = m_messages.Joined("the library refused the value without a message");
}

void Decoder::Fill(const AVOVALUE& value, std::string subType, Decoded& out) const
{
    out.outcome = Outcome::Decoded;
    // A value can come through and still be worth a word from the library.
    if (!m_messages.Lines().empty())
        out.message = m_messages.Joined("");
    out.type = AVOVALUE::GetNameFromValueType(value.ivt);
    out.subType = std::move(subType);
    out.value = value.ToString();
    value.Serialize(out.serialized, false);
}

// Encoding ------------------------------------------------------------------------------------

Encoded EncodeByTable(const DptText& text, const std::string& valueText, LibraryMessages& messages)
{
    Erv::KnxValueConverter converter;
    converter.Init();
    Encoded result;
    KNXDPT dpt = text.ToKnxDpt(0);
    result.dpt = ToString(dpt);
    messages.Clear();
    const Erv::DptValueEntry* entry = converter.FindEntry(dpt);
    if (!entry) {
        // As in decoding: the library's own words for a DPT it would let through unchecked.
        converter.ToKnxValue(dpt, result.value, result.groupValue);
        result.outcome = Outcome::Unknown;
        result.message = messages.Joined("the library has no entry for this DPT");
        return result;
    }
    dpt.bitSize = entry->GetDpt().bitSize;
    result.dpt = ToString(dpt);
    result.value = ParseValue(valueText, entry->GetValueType());
    messages.Clear();
    if (!converter.ToKnxValue(dpt, result.value, result.groupValue)) {
        result.outcome = Outcome::Refused;
        result.message = messages.Joined("the library refused the value without a message");
        return result;
    }
    result.outcome = Outcome::Decoded;
    result.message = messages.Joined("");
    return result;
}

} // namespace Ervom
