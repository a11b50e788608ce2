#include "ErvObjectModel/KnxConverter.h"

#include "ErvObjectModel/KnxConverterDetail.h"

#include <cstdint>

namespace Erv {

namespace {
bool IsDpt(const KNXDPT& dpt, std::uint16_t main, std::uint16_t sub)
{
    return dpt.mainNumber == main && dpt.subNumber == sub;
}

// The first byte of the text recoded from UTF-8 to one byte per character: a two-byte sequence
// becomes its code point's low eight bits, any other byte stays as it is. Only the first byte is
// ever sent, so the rest of the text is not recoded. A lead byte without a follower is combined
// with the terminating zero, never with what lies beyond it.
std::uint8_t FirstRecodedByte(const std::string& text)
{
    if (text.empty())
        return 0;
    const auto lead = static_cast<std::uint8_t>(text[0]);
    if ((lead & 0xE0u) != 0xC0u)
        return lead;
    const auto follower = text.size() > 1 ? static_cast<std::uint8_t>(text[1]) : std::uint8_t{0};
    return static_cast<std::uint8_t>((lead << 6) | (follower & 0x3Fu));
}

// The only modes the status field may carry: one bit of the three set.
bool IsValidStatusMode(unsigned int mode) { return mode == 1 || mode == 2 || mode == 4; }
} // namespace

bool KnxConverter8BitString::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (dpt.mainNumber != 4 || val.ivt != ivtString)
        ERV_REJECT("Wrong avo value type (ivtString) or DPT main number (4.x)!");
    const std::uint8_t byte = FirstRecodedByte(val.GetString());
    if (dpt.subNumber == 1 && (byte & 0x80u) != 0)
        ERV_REJECT("Value out of raw range [0..127] for DPT 4.001: " << byte);
    grp.SetAsChar(static_cast<char>(byte));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverter8BitString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val)
    try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 4)
        ERV_REJECT("Wrong DPT main number (4.x)!");
    const std::uint8_t byte = grp.GetAsUnsigned8();
    if (dpt.subNumber == 1 && (byte & 0x80u) != 0)
        ERV_REJECT("Value out of raw range [0..127] for DPT 4.001: " << byte);
    // Latin-1 to UTF-8; at most two bytes, so the text stays in the string's own buffer.
    char text[2];
    std::size_t length = 1;
    if (byte < 0x80u) {
        text[0] = static_cast<char>(byte);
    } else {
        text[0] = static_cast<char>(0xC0u | (byte >> 6));
        text[1] = static_cast<char>(0x80u | (byte & 0x3Fu));
        length = 2;
    }
    val.SetString(std::string(text, length));
    val.ivt = ivtString;
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterByte8BitUnsigned::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp)
    try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (val.ivt != ivtByte)
        ERV_REJECT("Wrong avo value type (ivtByte)!");
    const std::uint8_t byte = val.GetByte();
    // Only 5.006 is bounded on the way to the bus; decoding checks every range. Kept that way.
    if (IsDpt(dpt, 5, 6) && !m_range.Contains(byte))
        ERV_REJECT("Value out of raw range [0..254] for DPT 5.006: " << byte);
    grp.SetAsUnsigned8(byte);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterByte8BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp,
                                                AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    const std::uint8_t byte = grp.GetAsUnsigned8();
    if (!m_range.Contains(byte))
        ERV_REJECT("Value out of raw range " << ToString(m_range) << " for DPT " << dpt << "; value was " << byte);
    val.ivt = ivtByte;
    val.SetByte(byte);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger8BitSigned::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp)
    try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (dpt.mainNumber != 6 || val.ivt != ivtInteger)
        ERV_REJECT("Wrong avo value type (ivtInteger) or DPT main number (6.x)!");
    // The low octet goes out as it is; the range is not consulted.
    grp.SetAsSigned8(static_cast<std::int8_t>(val.GetInteger()));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger8BitSigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp,
                                                 AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    const std::int8_t number = grp.GetAsSigned8();
    val.ivt = ivtInteger;
    val.SetInteger(number);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterStatus8Bit::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    // Lenient: any one of the three matching is enough.
    if (dpt.mainNumber != 6 && dpt.subNumber != 20 && val.ivt != ivtByte)
        ERV_REJECT("Wrong avo value type (ivtByte) or DPT main number (6.020)!");
    // The octet is written before its mode is checked, so a refused value is on the group value
    // all the same; long-standing behaviour, kept.
    grp.SetAsUnsigned8(val.GetByte());
    const std::uint8_t mode = grp.GetAsUnsigned3();
    if (!IsValidStatusMode(mode))
        ERV_REJECT("The internal value of DPT=" << dpt << ", f=" << mode << " is out of the allowed range.");
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterStatus8Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val)
    try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 6 && dpt.subNumber != 20)
        ERV_REJECT("Wrong DPT main number (6.020)!");
    const int mode = grp.GetAsSigned8() & 7;
    if (!IsValidStatusMode(static_cast<unsigned int>(mode)))
        ERV_REJECT("The internal value of DPT=" << dpt << ", f=" << mode << " is out of the allowed range.");
    const std::uint8_t byte = grp.GetAsUnsigned8();
    val.ivt = ivtByte;
    val.SetByte(byte);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

} // namespace Erv
