#include "ErvObjectModel/KnxLumMapping.h"

#include <cstdint>

namespace Erv {

namespace {

// Ids are computed in exactly 32 bits, so that x86-64 (64-bit unsigned long) wraps where the
// 32-bit controller does.
using Id = std::uint32_t;

constexpr Id DeviceId = 1000;
constexpr Id BlockSize = 100000; // ids per logical device; block ld starts at ld * BlockSize
constexpr Id LastOffset = 99999;
constexpr Id AppControlChannelOffset = 20;
constexpr Id AppControlStateOffset = AppControlChannelOffset + 1;
constexpr Id AppControlEventOffset = AppControlChannelOffset + 2;
constexpr Id AppControlAliveOffset = AppControlChannelOffset + 3;
constexpr Id AppControlAppDebugOffset = AppControlChannelOffset + 4;
constexpr Id CoChannelOffset = 98; // plus 2n for co n
constexpr Id FirstCoOffset = 100;  // channel of co 1
constexpr Id LastCoOffset = 8289;  // value of co 4095
constexpr unsigned int CoNumberLimit = 4096;
constexpr Id ParameterOffset = 60000;      // plus TypeStride * type plus 2n
constexpr Id ParameterTypeStride = 10000;

struct ParameterLimit {
    ParameterType type;
    unsigned int maxNumber;
};

constexpr ParameterLimit ParameterLimits[] = {
    {ParameterType::Ip, 100},
    {ParameterType::Number, 200},
    {ParameterType::Text, 500},
};

constexpr Id LastParameterType = static_cast<Id>(ParameterType::Text);

Id Narrow(unsigned long id) { return static_cast<Id>(id); }

Id Base(LogicalDeviceId ld) { return BlockSize * static_cast<Id>(ld.Get()); }

// A value outside the enumeration converts modulo 2^32 like any other number.
Id TypeNumber(ParameterType type) { return static_cast<Id>(type); }

boost::optional<unsigned long> Widen(const boost::optional<Id>& id)
{
    if (!id)
        return boost::none;
    return static_cast<unsigned long>(*id);
}

bool IsCoChannelId(Id id)
{
    // Offsets below FirstCoOffset wrap to huge numbers and fail the range test.
    return id >= BlockSize && (id % BlockSize) - FirstCoOffset <= LastCoOffset - FirstCoOffset && id % 2 == 0;
}

bool IsParameterChannelId(Id id)
{
    if (id < BlockSize + ParameterOffset)
        return false;
    // Reduced modulo, not by subtraction: offsets below ParameterOffset of later blocks pass too. Deliberate.
    Id r = (id % BlockSize) % ParameterOffset;
    if (r <= 1)
        return false;
    const Id type = (r - 2) / ParameterTypeStride;
    if (type > LastParameterType)
        return false;
    if (type != 0)
        r %= ParameterTypeStride * type;
    return r / 2 <= KnxLumMapping::GetMaxParametersOfType(static_cast<ParameterType>(type));
}

boost::optional<Id> ParameterChannel(unsigned short n, LogicalDeviceId ld, ParameterType type)
{
    if (n > KnxLumMapping::GetMaxParametersOfType(type))
        return boost::none;
    return Base(ld) + ParameterOffset + ParameterTypeStride * TypeNumber(type) + 2u * Id{n};
}

boost::optional<Id> ParameterValue(unsigned short n, LogicalDeviceId ld, ParameterType type)
{
    const auto channel = ParameterChannel(n, ld, type);
    if (!channel)
        return boost::none;
    return *channel + 1;
}

boost::optional<Id> CoValue(Id channelId)
{
    if (!IsCoChannelId(channelId))
        return boost::none;
    return channelId + 1;
}

boost::optional<Id> CoChannel(unsigned short n, LogicalDeviceId ld)
{
    if (n >= CoNumberLimit)
        return boost::none;
    return Base(ld) + CoChannelOffset + 2u * Id{n};
}

} // namespace

unsigned long KnxLumMapping::GetDeviceObjModelId() { return DeviceId; }

unsigned long KnxLumMapping::GetKnxDeviceObjModelId() { return DeviceId; }

unsigned long KnxLumMapping::GetLogicalKnxDeviceObjModelId(LogicalDeviceId ld) { return Base(ld); }

unsigned long KnxLumMapping::GetLastObjModelId(LogicalDeviceId ld) { return Base(ld) + LastOffset; }

unsigned long KnxLumMapping::GetAppHostAppControlChannelObjModelId(LogicalDeviceId ld)
{
    return Base(ld) + AppControlChannelOffset;
}

unsigned long KnxLumMapping::GetAppHostAppControlStateObjModelId(LogicalDeviceId ld)
{
    return Base(ld) + AppControlStateOffset;
}

unsigned long KnxLumMapping::GetAppHostAppControlEventObjModelId(LogicalDeviceId ld)
{
    return Base(ld) + AppControlEventOffset;
}

unsigned long KnxLumMapping::GetAppHostAppControlAliveObjModelId(LogicalDeviceId ld)
{
    return Base(ld) + AppControlAliveOffset;
}

unsigned long KnxLumMapping::GetAppHostAppControlAppDebugObjModelId(LogicalDeviceId ld)
{
    return Base(ld) + AppControlAppDebugOffset;
}

unsigned int KnxLumMapping::GetMaxParametersOfType(ParameterType type)
{
    for (const auto& limit : ParameterLimits)
        if (limit.type == type)
            return limit.maxNumber;
    return 0;
}

boost::optional<unsigned long> KnxLumMapping::GetParameterChannelObjModelId(unsigned short n, LogicalDeviceId ld,
                                                                            ParameterType type)
{
    return Widen(ParameterChannel(n, ld, type));
}

boost::optional<unsigned long> KnxLumMapping::GetParameterValueObjModelId(unsigned short n, LogicalDeviceId ld,
                                                                          ParameterType type)
{
    return Widen(ParameterValue(n, ld, type));
}

boost::optional<unsigned long> KnxLumMapping::GetParameterValueObjModelId(unsigned long channelId)
{
    const Id channel = Narrow(channelId);
    if (!IsParameterChannelId(channel))
        return boost::none;
    return Widen(channel + 1);
}

boost::optional<unsigned long> KnxLumMapping::GetIpParameterValueObjModelId(unsigned short n, LogicalDeviceId ld)
{
    return Widen(ParameterValue(n, ld, ParameterType::Ip));
}

boost::optional<unsigned long> KnxLumMapping::GetNumberParameterValueObjModelId(unsigned short n,
                                                                                LogicalDeviceId ld)
{
    return Widen(ParameterValue(n, ld, ParameterType::Number));
}

boost::optional<unsigned long> KnxLumMapping::GetTextParameterValueObjModelId(unsigned short n, LogicalDeviceId ld)
{
    return Widen(ParameterValue(n, ld, ParameterType::Text));
}

boost::optional<unsigned long> KnxLumMapping::GetCoChannelObjModelId(unsigned short n, LogicalDeviceId ld)
{
    return Widen(CoChannel(n, ld));
}

boost::optional<unsigned long> KnxLumMapping::GetCoValueObjModelId(unsigned long channelId)
{
    return Widen(CoValue(Narrow(channelId)));
}

boost::optional<unsigned long> KnxLumMapping::GetCoValueObjModelId(unsigned short n, LogicalDeviceId ld)
{
    const auto channel = CoChannel(n, ld);
    if (!channel)
        return boost::none;
    return Widen(CoValue(*channel));
}

bool KnxLumMapping::IsAnyLogicalKnxDeviceId(unsigned long id) { return Narrow(id) >= BlockSize; }

bool KnxLumMapping::IsCoChannel(unsigned long id) { return IsCoChannelId(Narrow(id)); }

bool KnxLumMapping::IsCoValue(unsigned long id)
{
    const Id value = Narrow(id);
    return value != 0 && IsCoChannelId(value - 1);
}

bool KnxLumMapping::IsAppHostAppControlState(unsigned long id, LogicalDeviceId ld)
{
    return Narrow(id) == Base(ld) + AppControlStateOffset;
}

bool KnxLumMapping::IsAppHostAppControlEvent(unsigned long id, LogicalDeviceId ld)
{
    return Narrow(id) == Base(ld) + AppControlEventOffset;
}

bool KnxLumMapping::IsAppHostAppControlAliveHeartbeat(unsigned long id, LogicalDeviceId ld)
{
    return Narrow(id) == Base(ld) + AppControlAliveOffset;
}

bool KnxLumMapping::IsAppHostAppControlAppDebug(unsigned long id, LogicalDeviceId ld)
{
    return Narrow(id) == Base(ld) + AppControlAppDebugOffset;
}

bool KnxLumMapping::IsParameterChannel(unsigned long id) { return IsParameterChannelId(Narrow(id)); }

boost::optional<LogicalDeviceId> KnxLumMapping::GetLogicalDeviceIdFromObject(unsigned long id)
{
    // The quotient is below 2^32 / 100000, so it fits an int.
    return LogicalDeviceId::Create(static_cast<int>(Narrow(id) / BlockSize));
}

boost::optional<unsigned short> KnxLumMapping::GetCoNumberFromObjModelId(unsigned long id, LogicalDeviceId ld)
{
    const Id value = Narrow(id);
    if (value % 2 == 0 || !IsCoChannelId(value & ~Id{1}))
        return boost::none;
    const Id r = value % Base(ld);
    return static_cast<unsigned short>((r - FirstCoOffset) / 2 + 1);
}

boost::optional<ParameterType> KnxLumMapping::GetParameterTypeFromObjModelId(unsigned long id, LogicalDeviceId ld)
{
    const Id value = Narrow(id);
    if (!IsParameterChannelId(value))
        return boost::none;
    // Unlike the predicate, no 2 is subtracted before dividing.
    const Id type = value % (Base(ld) + ParameterOffset) / ParameterTypeStride;
    if (type > LastParameterType)
        return boost::none;
    return static_cast<ParameterType>(type);
}

boost::optional<unsigned char> KnxLumMapping::GetParameterNumberFromObjModelId(unsigned long id, LogicalDeviceId ld)
{
    const auto type = GetParameterTypeFromObjModelId(id, ld);
    if (!type)
        return boost::none;
    const Id r = Narrow(id) % (Base(ld) + ParameterOffset + ParameterTypeStride * TypeNumber(*type));
    return static_cast<unsigned char>(r / 2); // eight bits on purpose
}

} // namespace Erv
