#include "ErvObjectModel/KnxLumMapping.h"

#include "AvoValue/AvoValue.h"
#include "AvoValue/TimeOfDay.h"
#include "Erv/AvoValueHelper.h"
#include "Erv/Unreachable.h"
#include "ErvLogging/Assert.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

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

// Value types and default values by main type ------------------------------------------------

// Each creator is called with its row's value type and asserts that it builds exactly that type.
using DefaultCreator = AVOVALUE (*)(AvoValueType ivt);

AVOVALUE CreateDefaultValueEmpty(AvoValueType ivt)
{
    const AVOVALUE emptyAvoValue;
    ERV_ASSERT2(emptyAvoValue.ivt == ivt);
    return emptyAvoValue;
}
AVOVALUE CreateFalse(AvoValueType ivt) { return ToAvoValue<bool>(false, ivt); }
AVOVALUE CreateByteZero(AvoValueType ivt) { return ToAvoValue<unsigned char>(0, ivt); }
AVOVALUE CreateWordZero(AvoValueType ivt) { return ToAvoValue<unsigned short>(0, ivt); }
AVOVALUE CreateCountryCodeZz(AvoValueType ivt) { return ToAvoValue<unsigned short>(0x5A5A, ivt); }
AVOVALUE CreateShortZero(AvoValueType ivt) { return ToAvoValue<short>(0, ivt); }
AVOVALUE CreateDWordZero(AvoValueType ivt) { return ToAvoValue<unsigned long>(0, ivt); }
AVOVALUE CreateFloatZero(AvoValueType ivt) { return ToAvoValue<float>(0.0f, ivt); }
AVOVALUE CreateEmptyString(AvoValueType ivt) { return ToAvoValue(std::string(), ivt); }
AVOVALUE CreateMidnightNoDay(AvoValueType ivt)
{
    return ToAvoValue(UndefinedBehaviourIfNone(ErvApp::TimeOfDay::Create(0, 0, 0, ErvApp::NoDay)), ivt);
}
AVOVALUE CreateFirstOf1990(AvoValueType ivt)
{
    return ToAvoValue(boost::posix_time::ptime(boost::gregorian::date(1990, 1, 1)), ivt);
}
// Before the 32-bit time range: the empty value, on every architecture.
AVOVALUE CreateFirstOf1900(AvoValueType ivt)
{
    return ToAvoValue(boost::posix_time::ptime(boost::gregorian::date(1900, 1, 1)), ivt);
}

struct MainTypeRow {
    unsigned short mainType;
    AvoValueType ivt;
    AvoDP::AvoValueSubType ist;
    DefaultCreator createDefault;
};

using namespace AvoDP;

// Constant-initialised: complete before any code of the process runs, whatever the order in which
// translation units initialise.
constexpr MainTypeRow MainTypes[] = {
    {1, ivtBool, istSwitch, &CreateFalse},
    {2, ivtByte, istGeneric, &CreateByteZero},
    {3, ivtByte, istGeneric, &CreateByteZero},
    {4, ivtEmpty, istGeneric, &CreateDefaultValueEmpty},
    {5, ivtByte, istGeneric, &CreateByteZero},
    {6, ivtByte, istSigned8, &CreateByteZero},
    {7, ivtWord, istGeneric, &CreateWordZero},
    {8, ivtInteger, istSigned16, &CreateShortZero},
    {9, ivtFloat, istGeneric, &CreateFloatZero},
    {10, ivtDayTime, istGeneric, &CreateMidnightNoDay},
    {11, ivtDate, istGeneric, &CreateFirstOf1990},
    {12, ivtDWord, istGeneric, &CreateDWordZero},
    {13, ivtInteger, istGeneric, &CreateShortZero},
    {14, ivtFloat, istGeneric, &CreateFloatZero},
    {15, ivtDWord, istGeneric, &CreateDWordZero},
    {16, ivtString, istGeneric, &CreateEmptyString},
    {17, ivtByte, istGeneric, &CreateByteZero},
    {18, ivtByte, istGeneric, &CreateByteZero},
    {19, ivtDateTime, istGeneric, &CreateFirstOf1900},
    {20, ivtByte, istGeneric, &CreateByteZero},
    {21, ivtByte, istGeneric, &CreateByteZero},
    {22, ivtWord, istGeneric, &CreateWordZero},
    {23, ivtByte, istGeneric, &CreateByteZero},
    {24, ivtString, istGeneric, &CreateEmptyString},
    {25, ivtByte, istGeneric, &CreateByteZero},
    {26, ivtByte, istGeneric, &CreateByteZero},
    {27, ivtDWord, istGeneric, &CreateDWordZero},
    {28, ivtString, istGeneric, &CreateEmptyString},
    {29, ivtEmpty, istGeneric, &CreateDefaultValueEmpty},
    {30, ivtDWord, istGeneric, &CreateDWordZero},
    {31, ivtByte, istGeneric, &CreateByteZero},
    {200, ivtWord, istGeneric, &CreateWordZero},
    {201, ivtWord, istGeneric, &CreateWordZero},
    {202, ivtWord, istGeneric, &CreateWordZero},
    {217, ivtWord, istGeneric, &CreateWordZero},
    {219, ivtEmpty, istGeneric, &CreateDefaultValueEmpty},
    {222, ivtEmpty, istGeneric, &CreateDefaultValueEmpty},
    {229, ivtEmpty, istGeneric, &CreateDefaultValueEmpty},
    {230, ivtEmpty, istGeneric, &CreateDefaultValueEmpty},
    {232, ivtDWord, istGeneric, &CreateDWordZero},
    {234, ivtWord, istGeneric, &CreateCountryCodeZz},
    {237, ivtWord, istGeneric, &CreateWordZero},
    {238, ivtByte, istGeneric, &CreateByteZero},
};
static_assert(std::size(MainTypes) == 43, "one row per published main type");

// The status DPT 6.020 defaults to 1 although its family defaults to 0.
constexpr unsigned long StatusDpt = 6ul << 16 | 20;

constexpr std::size_t MainTypeLimit = 239; // every main type above is unknown
constexpr std::uint8_t NoRow = 0xFF;

// Row number by main type, worked out by the compiler: a lookup is one index, and a main type listed
// twice does not compile.
constexpr std::array<std::uint8_t, MainTypeLimit> IndexMainTypes()
{
    std::array<std::uint8_t, MainTypeLimit> index{};
    for (std::size_t i = 0; i < index.size(); ++i)
        index[i] = NoRow;
    for (std::size_t row = 0; row < std::size(MainTypes); ++row) {
        if (MainTypes[row].mainType >= MainTypeLimit || index[MainTypes[row].mainType] != NoRow)
            throw "main type outside the index or listed twice";
        index[MainTypes[row].mainType] = static_cast<std::uint8_t>(row);
    }
    return index;
}
constexpr std::array<std::uint8_t, MainTypeLimit> MainTypeRows = IndexMainTypes();

const MainTypeRow* FindMainType(unsigned long mainType)
{
    if (mainType >= MainTypeLimit || MainTypeRows[mainType] == NoRow)
        return nullptr;
    return &MainTypes[MainTypeRows[mainType]];
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

std::string KnxLumMapping::GetIvtFromMainType(unsigned long mainType)
{
    const MainTypeRow* row = FindMainType(mainType);
    return row ? AVOVALUE::GetNameFromValueType(row->ivt) : "Empty";
}

std::string KnxLumMapping::GetIstFromMainType(unsigned long mainType)
{
    const MainTypeRow* row = FindMainType(mainType);
    return row ? AvoDP::GetNameFromValueSubType(row->ist) : "Generic";
}

AvoValueType KnxLumMapping::GetIvtFromDpt(unsigned int dpt)
{
    const MainTypeRow* row = FindMainType(dpt >> 16);
    return row ? row->ivt : ivtEmpty;
}

boost::optional<std::string> KnxLumMapping::GetDefaultValueFromDpt(unsigned long dpt, bool internalFormat)
{
    const MainTypeRow* row = FindMainType(dpt >> 16);
    if (!row)
        return boost::none;
    const AVOVALUE value = dpt == StatusDpt ? ToAvoValue<unsigned char>(1, row->ivt) : row->createDefault(row->ivt);
    std::string serialised;
    value.Serialize(serialised, internalFormat);
    return serialised;
}

} // namespace Erv
