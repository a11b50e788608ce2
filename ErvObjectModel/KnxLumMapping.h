// The layout of object-model ids: the numbers under which the app host exposes the device, its
// two logical KNX devices, their app-control objects, communication objects ("co") and parameters
// to the device stack.
//
//   const auto ld = Erv::LogicalDeviceId::Of<1>();
//   Erv::KnxLumMapping::GetCoValueObjModelId(1, ld);                  // 100101
//   Erv::KnxLumMapping::GetCoNumberFromObjModelId(100101, ld);        // 1
//   Erv::KnxLumMapping::GetTextParameterValueObjModelId(500, ld);     // 181001
//
// Inside logical device ld (base B = 100000 * ld) the offsets are: 0 the logical device, 20..24 the
// app-control channel and its state, event, alive and app-debug objects, 98 + 2n / 99 + 2n the
// channel and value of co n (1..4095), 60000 + 10000 * type + 2n (+1) the channel (value) of
// parameter n, 99999 the last id.
//
// Ownership and threading: no state at all. Every operation is a pure function of its arguments
// and may be called from any thread. Ids are unsigned 32-bit on every platform: an unsigned long
// wider than that is cut to its low 32 bits on entry and every computation wraps at 2^32.
//
// It also knows, per KNX main type, the application value type and sub type a datapoint of that
// family carries and its default value. A DPT number has the main number in its upper and the sub
// number in its lower 16 bits (9.001 is 589825).
//
//   Erv::KnxLumMapping::GetIvtFromDpt(589825);                        // ivtFloat
//   Erv::KnxLumMapping::GetDefaultValueFromDpt(15335425, false);      // "7:23130" (234.001, "ZZ")
#pragma once

#include "ErvObjectModel/Export.h"

#include "AvoValue/AvoValueType.h"
#include "ErvLogging/BoundedInt.h"

#include <boost/optional.hpp>

#include <string>

namespace Erv {

struct LogicalDeviceIdTag {};
// Logical KNX device 1 or 2. Operations taking one rely on the bound and never check it again.
using LogicalDeviceId = BoundedInt<int, 1, 2, LogicalDeviceIdTag>;

enum class ParameterType { Ip = 0, Number = 1, Text = 2 };

class ERVOBJECTMODEL_EXPORT KnxLumMapping {
public:
    KnxLumMapping() = delete;

    static unsigned long GetDeviceObjModelId();
    static unsigned long GetKnxDeviceObjModelId();
    static unsigned long GetLogicalKnxDeviceObjModelId(LogicalDeviceId ld);
    static unsigned long GetLastObjModelId(LogicalDeviceId ld);

    static unsigned long GetAppHostAppControlChannelObjModelId(LogicalDeviceId ld);
    static unsigned long GetAppHostAppControlStateObjModelId(LogicalDeviceId ld);
    static unsigned long GetAppHostAppControlEventObjModelId(LogicalDeviceId ld);
    static unsigned long GetAppHostAppControlAliveObjModelId(LogicalDeviceId ld);
    static unsigned long GetAppHostAppControlAppDebugObjModelId(LogicalDeviceId ld);

    // 100, 200 and 500; 0 for a value outside the enumeration.
    static unsigned int GetMaxParametersOfType(ParameterType type);
    // Empty when n exceeds the type's maximum. n = 0 is accepted.
    static boost::optional<unsigned long> GetParameterChannelObjModelId(unsigned short n, LogicalDeviceId ld,
                                                                        ParameterType type);
    static boost::optional<unsigned long> GetParameterValueObjModelId(unsigned short n, LogicalDeviceId ld,
                                                                      ParameterType type);
    // The value id belonging to a channel id; empty unless IsParameterChannel(channelId).
    static boost::optional<unsigned long> GetParameterValueObjModelId(unsigned long channelId);
    static boost::optional<unsigned long> GetIpParameterValueObjModelId(unsigned short n, LogicalDeviceId ld);
    static boost::optional<unsigned long> GetNumberParameterValueObjModelId(unsigned short n, LogicalDeviceId ld);
    static boost::optional<unsigned long> GetTextParameterValueObjModelId(unsigned short n, LogicalDeviceId ld);

    // Empty for n >= 4096. n = 0 gives an id that IsCoChannel rejects.
    static boost::optional<unsigned long> GetCoChannelObjModelId(unsigned short n, LogicalDeviceId ld);
    // Empty unless IsCoChannel(channelId).
    static boost::optional<unsigned long> GetCoValueObjModelId(unsigned long channelId);
    // Empty for n = 0 and n >= 4096.
    static boost::optional<unsigned long> GetCoValueObjModelId(unsigned short n, LogicalDeviceId ld);

    // Any id from 100000 upwards, without an upper bound.
    static bool IsAnyLogicalKnxDeviceId(unsigned long id);
    // The even offsets 100..8288 of any block of 100000 from 100000 upwards.
    static bool IsCoChannel(unsigned long id);
    static bool IsCoValue(unsigned long id);
    static bool IsAppHostAppControlState(unsigned long id, LogicalDeviceId ld);
    static bool IsAppHostAppControlEvent(unsigned long id, LogicalDeviceId ld);
    static bool IsAppHostAppControlAliveHeartbeat(unsigned long id, LogicalDeviceId ld);
    static bool IsAppHostAppControlAppDebug(unsigned long id, LogicalDeviceId ld);
    // Channel and value ids of parameters alike. Lax on purpose: for logical device 2 (and beyond)
    // it also accepts offsets below 60000 that look like parameter offsets; the inverse operations
    // below filter those out again.
    static bool IsParameterChannel(unsigned long id);

    // id / 100000 when that is 1 or 2.
    static boost::optional<LogicalDeviceId> GetLogicalDeviceIdFromObject(unsigned long id);
    // From a co value id (odd). The remainder is taken modulo 100000 * ld: asked with ld = 2, a co
    // value of logical device 1 gives its number plus 50000.
    static boost::optional<unsigned short> GetCoNumberFromObjModelId(unsigned long id, LogicalDeviceId ld);
    static boost::optional<ParameterType> GetParameterTypeFromObjModelId(unsigned long id, LogicalDeviceId ld);
    // Eight bits wide: text parameters above 255 come back modulo 256 (500 gives 244).
    static boost::optional<unsigned char> GetParameterNumberFromObjModelId(unsigned long id, LogicalDeviceId ld);

    // The name of the main type's value type (AVOVALUE::GetNameFromValueType); "Empty" for a main
    // type that has none.
    static std::string GetIvtFromMainType(unsigned long mainType);
    // The name of the main type's sub type (AvoDP::GetNameFromValueSubType); "Generic" when unknown.
    static std::string GetIstFromMainType(unsigned long mainType);
    // The value type of the DPT's main type, whatever the sub number; ivtEmpty when unknown.
    static AvoValueType GetIvtFromDpt(unsigned int dpt);
    // The DPT's default value as AVOVALUE::Serialize writes it (`internalFormat` is passed on);
    // empty for an unknown main type. Calendar defaults are local time, read when asked.
    static boost::optional<std::string> GetDefaultValueFromDpt(unsigned long dpt, bool internalFormat);
};

} // namespace Erv
