#include "ErvObjectModel/KnxConverter.h"

#include "ErvObjectModel/KnxConverterDetail.h"

#include <cstdint>

namespace Erv {

namespace {
bool IsDptX001(const KNXDPT& dpt, std::uint16_t main) { return dpt.mainNumber == main && dpt.subNumber == 1; }

constexpr std::uint8_t SceneControlReserved = 0x40; // bit 7 is the learn flag
constexpr std::uint8_t SceneInfoReserved = 0x80;
} // namespace

bool KnxConverterSceneNumber::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    // Lenient on purpose: main number 17, sub number 1 or an ivtByte value, any one will do.
    if (dpt.mainNumber != 17 && dpt.subNumber != 1 && val.ivt != ivtByte)
        ERV_REJECT("Wrong DPT main number (17.001) or avo value type (ivtByte)!");
    const std::int32_t number = val.GetInteger();
    // The text says ">63" whatever the range holds.
    if (!m_range.Contains(number))
        ERV_REJECT("Scene number is out of range (>63) for SceneNumber: " << number);
    grp.SetAsUnsigned8(static_cast<std::uint8_t>(number));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterSceneNumber::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val)
    try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 17 && dpt.subNumber != 1)
        ERV_REJECT("Wrong DPT main number (17.001)!");
    const std::uint8_t number = grp.GetAsUnsigned8();
    // The octet lands in the value before the range check, so a refused one is stored all the
    // same (with the type left as it was); kept as it always was.
    val.SetByte(number);
    if (!m_range.Contains(number))
        ERV_REJECT("Scene number is out of range (>63) for SceneNumber: " << number);
    val.ivt = ivtByte;
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterSceneControl::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp)
    try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (!IsDptX001(dpt, 18) || val.ivt != ivtByte)
        ERV_REJECT("Wrong DPT for Scene number (18.001) or avo value type (ivtByte).");
    const std::uint8_t octet = val.GetByte();
    if ((octet & SceneControlReserved) != 0)
        ERV_REJECT("Scene number is out of range (>63) for SceneControl: " << static_cast<std::uint8_t>(octet & 0x7F));
    grp.SetAsUnsigned8(octet); // with the learn flag
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterSceneControl::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val)
    try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (!IsDptX001(dpt, 18))
        ERV_REJECT("Wrong DPT for Scene number, only 18.001 is valid.");
    const std::uint8_t octet = grp.GetAsUnsigned8();
    if ((octet & SceneControlReserved) != 0)
        ERV_REJECT("Reserved bit is used for scene number in DPT scene control!");
    val.SetByte(octet); // the type is the caller's
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterSceneInfo::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (!IsDptX001(dpt, 26) || val.ivt != ivtByte)
        ERV_REJECT("Wrong DPT for Scene number (26.001) or avo value type (ivtByte).");
    const std::uint8_t octet = val.GetByte();
    if ((octet & SceneInfoReserved) != 0)
        ERV_REJECT("Reserved bit 8 is set for SceneInfo; skipped.");
    grp.SetAsUnsigned8(octet);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterSceneInfo::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (!IsDptX001(dpt, 26))
        ERV_REJECT("Wrong DPT for Scene number, only 26.001 is valid.");
    const std::uint8_t octet = grp.GetAsUnsigned8();
    // The scene-control text, shared deliberately.
    if ((octet & SceneInfoReserved) != 0)
        ERV_REJECT("Reserved bit is used for scene number in DPT scene control!");
    val.SetByte(octet); // the type is the caller's
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

} // namespace Erv
