#include "ErvObjectModel/KnxConverter.h"

#include "ErvObjectModel/KnxConverterDetail.h"

#include <algorithm>

namespace Erv {

namespace {
// Enough for any defined size a KNXDPT can carry (255 bits).
constexpr unsigned int MaxDptBytes = 32;

unsigned int ByteLength(const KNXDPT& dpt) { return (dpt.bitSize + 7u) / 8u; }
} // namespace

bool KnxConverterDefault::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    unsigned char buffer[MaxDptBytes] = {};
    unsigned int length = ByteLength(dpt);
    switch (val.ivt) {
    case ivtPercent:
    case ivtDimming:
        if (!AvoValueToByteArray(val, buffer, length))
            ERV_REJECT("AvoValueToByteArray failed. DPT=" << dpt << " data size =" << length);
        grp.SetAsUnsigned8(buffer[0]);
        return true;
    case ivtBool:
        if (dpt.mainNumber == 1)
            grp.SetAsBoolean(val.GetBool());
        else if (dpt.mainNumber == 2)
            grp.SetAsUnsigned2(val.GetBool() ? 17 : 16); // deliberate: these constants are what hosts get
        return true;
    default:
        if (length == 0 || length > 23)
            length = 24;
        if (!AvoValueToByteArray(val, buffer, length))
            ERV_REJECT("AvoValueToByteArray failed. DPT=" << dpt << " data size =" << length);
        if (length < 2)
            grp.SetAsUnsigned8(buffer[0]);
        else
            grp.SetRawData(KnxStack::BinaryData(buffer, length));
        return true;
    }
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterDefault::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    const KnxStack::BinaryData& raw = grp.GetRawData();
    // The defined size may claim more than the raw data holds; only bytes that are there are read.
    const auto length = static_cast<unsigned int>(
        std::min<std::size_t>((grp.GetDefinedSize() + 7u) / 8u, raw.GetLength()));
    if (!ByteArrayToAvoValue(raw.GetData(), length, val, true))
        ERV_REJECT("ByteArrayToAvoValue failed. DPT=" << dpt << " data size =" << length);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverter1Bit::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (dpt.mainNumber != 1 || val.ivt != ivtBool)
        return false; // unlike the other converters, the 1-bit checks refuse silently
    grp.SetAsBoolean(val.GetBool());
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverter1Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 1)
        return false;
    // Only the field: the value map has already set the type.
    val.SetBool(grp.GetAsBoolean());
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverter2Bit::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    // The DPT table registers 2.x as boolean, yet only ivtByte is accepted here; kept as it is.
    if (dpt.mainNumber != 2 || val.ivt != ivtByte)
        ERV_REJECT("Wrong avo value type (ivtByte) or DPT main number (2.x)!");
    grp.SetAsUnsigned2(val.GetByte());
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverter2Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 2)
        ERV_REJECT("Wrong DPT main number (2.x)!");
    const unsigned char bits = grp.GetAsUnsigned2();
    val.ivt = ivtByte;
    val.SetByte(bits);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverter4Bit::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    // As with 2.x: the table says ivtFloat for 3.x, this converter takes ivtByte only.
    if (dpt.mainNumber != 3 || val.ivt != ivtByte)
        ERV_REJECT("Wrong avo value type (ivtByte) or DPT main number (3.x)!");
    if (val.GetByte() > 15)
        ERV_REJECT("Value out of raw range [0..15]: " << val.GetByte());
    grp.SetAsUnsigned4(val.GetByte());
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverter4Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 3)
        ERV_REJECT("Wrong DPT main number (3.x)!");
    const unsigned char bits = grp.GetAsUnsigned4();
    val.ivt = ivtByte;
    val.SetByte(bits);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

} // namespace Erv
