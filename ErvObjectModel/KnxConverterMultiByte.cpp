#include "ErvObjectModel/KnxConverter.h"

#include "ErvObjectModel/KnxConverterDetail.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace Erv {

namespace {
// Type number 0 is how the two float formats carry the bus's "invalid data".
constexpr AvoValueType InvalidReading = ivtInvalid;

// The 2-octet float pattern for invalid data.
constexpr std::uint16_t InvalidFloat16 = 0x7FFF;

float QuietNaN()
{
    const std::uint32_t bits = 0x7FC00000u;
    float value;
    static_assert(sizeof value == sizeof bits, "IEEE single precision expected");
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// Half away from zero, then toward zero into 32 bits. A range whose factor fell back to 1.0 can
// reach past 32 bits; such results saturate.
std::int32_t RoundToInt32(double raw)
{
    if (raw > 0.0)
        raw += 0.5;
    else if (raw < 0.0)
        raw -= 0.5;
    raw = std::trunc(raw);
    if (raw >= 2147483647.0)
        return std::numeric_limits<std::int32_t>::max();
    if (raw <= -2147483648.0)
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(raw);
}
} // namespace

bool KnxConverterInteger16BitUnsigned::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val,
                                                  KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    // Either the DPT or the type is enough: a 7.x entry writes the word slot of any value.
    if (dpt.mainNumber != 7 && val.ivt != ivtWord)
        ERV_REJECT("Wrong DPT main number (7.x) or avo value type (ivtWord)!");
    grp.SetAsUnsigned16(val.GetWord());
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger16BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp,
                                                    AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 7)
        ERV_REJECT("Wrong DPT main number (7.x)!");
    const std::uint16_t word = grp.GetAsUnsigned16();
    val.ivt = ivtWord;
    val.SetWord(word);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger16BitSigned::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val,
                                                KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (dpt.mainNumber != 8 && val.ivt != ivtInteger)
        ERV_REJECT("Wrong DPT main number (8.x) or avo value type (ivtInteger)!");
    grp.SetAsSigned16(static_cast<std::int16_t>(val.GetInteger()));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger16BitSigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp,
                                                  AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 8)
        ERV_REJECT("Wrong DPT main number (8.x)!");
    const std::int16_t number = grp.GetAsSigned16();
    val.ivt = ivtInteger;
    val.SetInteger(number);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterFloat16BitFloat::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp)
    try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (dpt.mainNumber != 9 && val.ivt != ivtFloat && val.ivt != InvalidReading)
        ERV_REJECT("Wrong DPT main number (9.x) or avo value type (ivtFloat)!");
    if (val.ivt == InvalidReading) {
        // Deliberately the number 32767 as a float, not the invalid-data pattern 7F FF.
        grp.SetAsFloat16(32767.0);
        return true;
    }
    const double f = val.GetDouble();
    if (!m_range.Contains(f))
        ERV_REJECT("The internal value of DPT=" << dpt << ", f=" << f << " is out of the allowed range.");
    grp.SetAsFloat16(f);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterFloat16BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp,
                                               AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (grp.GetAsUnsigned16() == InvalidFloat16) {
        val.ivt = InvalidReading;
        return true;
    }
    const double f = grp.GetAsFloat16();
    // Stored before the range check, so a refused reading still reaches the value; the type
    // stays as the caller prepared it.
    val.SetDouble(f);
    if (!m_range.Contains(f))
        ERV_REJECT("The internal value of DPT=" << dpt << ", f=" << f << " is out of the allowed range.");
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterFloat32BitFloat::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp)
    try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (dpt.mainNumber != 14 && val.ivt != ivtFloat && val.ivt != InvalidReading)
        ERV_REJECT("Wrong DPT main number (14.x) or avo value type (ivtFloat)!");
    if (val.ivt == InvalidReading) {
        grp.SetAsFloat32(QuietNaN());
        return true;
    }
    // No range check: whatever single precision makes of the double goes out, infinities included.
    grp.SetAsFloat32(static_cast<float>(val.GetDouble()));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterFloat32BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp,
                                               AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 14)
        ERV_REJECT("Wrong DPT main number (14.x)!");
    const double f = grp.GetAsFloat32();
    val.SetDouble(f);
    val.ivt = std::isnan(f) ? InvalidReading : ivtFloat;
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger24BitUnsigned::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val,
                                                  KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    // Takes any value and DPT; bits 31..24 of the slot are dropped.
    const std::uint32_t number = val.GetDWord();
    const unsigned char octets[3] = {static_cast<unsigned char>(number >> 16), static_cast<unsigned char>(number >> 8),
                                     static_cast<unsigned char>(number)};
    grp = KnxStack::GroupValue(KnxStack::BinaryData(octets, sizeof octets), 24);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger24BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp,
                                                    AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    // Neither the DPT nor the size is checked, and the type is left to the caller.
    val.SetDWord(grp.GetRawData().GetUInt32Value(0));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger32BitUnsigned::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val,
                                                  KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (val.ivt != ivtDWord)
        ERV_REJECT("Wrong avo value type (ivtDWord)!");
    const std::uint32_t number = val.GetDWord();
    if (!m_range.Contains(std::int64_t{number}))
        ERV_REJECT("The internal value of DPT=" << dpt << ", ivt=" << val.ivt << " is out of range: " << number << "!");
    grp.SetAsUnsigned32(number);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger32BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp,
                                                    AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    const auto number = static_cast<std::uint32_t>(grp.GetAsUnsigned32());
    // The type printed is the one the caller prepared, not ivtDWord.
    if (!m_range.Contains(std::int64_t{number}))
        ERV_REJECT("The internal value of DPT=" << dpt << ", ivt=" << val.ivt << " is out of range: " << number << "!");
    val.ivt = ivtDWord;
    val.SetDWord(number);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger32BitSigned::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val,
                                                KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    // Either-or: a 13.x entry reads the integer slot of any value, and an ivtInteger value passes
    // under any DPT.
    if (dpt.mainNumber != 13 && val.ivt != ivtInteger)
        ERV_REJECT("Wrong DPT main number (13.x) or avo value type (ivtInteger)!");
    const std::int32_t number = val.GetInteger();
    if (!m_range.Contains(number))
        ERV_REJECT("The internal value of DPT=" << dpt << ", ivt=" << val.ivt << " is out of range: " << number << "!");
    const double raw = m_range.GetExternalMin() +
                       (static_cast<double>(number) - m_range.GetInternalMin()) * m_range.GetScaleFactor();
    grp.SetAsSigned32(RoundToInt32(raw));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterInteger32BitSigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp,
                                                  AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 13)
        ERV_REJECT("Wrong DPT main number (13.x)!");
    const auto number = static_cast<std::int32_t>(grp.GetAsSigned32());
    if (!m_range.Contains(number))
        ERV_REJECT("The group value of DPT=" << dpt << " is out of range: " << number << "!");
    // Deliberately unscaled, although the other direction scales.
    val.SetInteger(number);
    val.ivt = ivtInteger;
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

} // namespace Erv
