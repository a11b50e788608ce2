// Object-model ids. The walk builds every id of both logical devices with the constructors and then
// asks the predicates and inverses about every id from 0 to 300000: they must agree with the
// construction, except for the laxities this layout keeps on purpose, which the expectations name.
// Then the value types, sub types and default values of the KNX main types.
#include "ErvObjectModel/KnxLumMapping.h"

#include "AvoValue/AvoValue.h"

#include <boost/optional/optional_io.hpp>
#include <gmock/gmock.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>
#include <type_traits>
#include <vector>

using Erv::KnxLumMapping;
using Erv::LogicalDeviceId;
using Erv::ParameterType;

namespace {

const LogicalDeviceId Ld1 = LogicalDeviceId::Of<1>();
const LogicalDeviceId Ld2 = LogicalDeviceId::Of<2>();
const LogicalDeviceId Devices[] = {Ld1, Ld2};
constexpr unsigned long WalkEnd = 300000; // inclusive

// Callers rely on these result widths.
static_assert(std::is_same_v<decltype(KnxLumMapping::GetParameterNumberFromObjModelId(0, Ld1)),
                             boost::optional<unsigned char>>);
static_assert(std::is_same_v<decltype(KnxLumMapping::GetCoNumberFromObjModelId(0, Ld1)),
                             boost::optional<unsigned short>>);
static_assert(std::is_same_v<decltype(KnxLumMapping::GetCoChannelObjModelId(0, Ld1)),
                             boost::optional<unsigned long>>);

std::string Show(const char* value) { return value; }
template <class T>
std::string Show(const T& value)
{
    if constexpr (std::is_same_v<T, bool>)
        return value ? "true" : "false";
    else if constexpr (std::is_same_v<T, LogicalDeviceId>)
        return "ld" + std::to_string(value.Get());
    else if constexpr (std::is_enum_v<T>)
        return "type " + std::to_string(static_cast<int>(value));
    else
        return std::to_string(value);
}
template <class T>
std::string Show(const boost::optional<T>& value)
{
    return value ? Show(*value) : "none";
}

// What the constructors made an id to be.
struct Role {
    enum Kind { Nothing, CoChannel, CoValue, ParameterChannel, ParameterValue };
    Kind kind = Nothing;
    int ld = 0;
    unsigned int number = 0;
    ParameterType type = ParameterType::Ip;

    bool IsParameter() const { return kind == ParameterChannel || kind == ParameterValue; }
    // Parameter 0 is constructed for every type but only classified as a parameter for Text.
    bool IsClassifiedParameter() const { return IsParameter() && (number != 0 || type == ParameterType::Text); }
};

struct TypedValueConstructor {
    ParameterType type;
    boost::optional<unsigned long> (*make)(unsigned short, LogicalDeviceId);
};

const TypedValueConstructor TypedValueConstructors[] = {
    {ParameterType::Ip, &KnxLumMapping::GetIpParameterValueObjModelId},
    {ParameterType::Number, &KnxLumMapping::GetNumberParameterValueObjModelId},
    {ParameterType::Text, &KnxLumMapping::GetTextParameterValueObjModelId},
};

// Collects disagreements instead of failing 300000 times.
struct Findings {
    std::vector<std::string> lines;

    template <class Actual, class Expected>
    void Check(unsigned long id, const std::string& what, const Actual& actual, const Expected& expected)
    {
        if (Show(actual) != Show(expected) && lines.size() < 20)
            lines.push_back(std::to_string(id) + ": " + what + " is " + Show(actual) + ", expected " + Show(expected));
    }
};

std::vector<Role> RolesByConstruction(Findings& findings)
{
    std::vector<Role> roles(WalkEnd + 1);
    const auto assign = [&](const boost::optional<unsigned long>& id, Role role, bool expectId) {
        findings.Check(role.number, "constructor of kind " + std::to_string(role.kind), id.has_value(), expectId);
        if (id && *id <= WalkEnd && roles[*id].kind == Role::Nothing)
            roles[*id] = role;
        else if (id)
            findings.Check(*id, "constructed id", "taken", "new");
    };
    for (const auto ld : Devices) {
        for (unsigned int n = 0; n <= 4096; ++n) {
            const auto co = static_cast<unsigned short>(n);
            assign(KnxLumMapping::GetCoChannelObjModelId(co, ld), {Role::CoChannel, ld.Get(), n}, n < 4096);
            assign(KnxLumMapping::GetCoValueObjModelId(co, ld), {Role::CoValue, ld.Get(), n}, n != 0 && n < 4096);
        }
        for (const auto& typed : TypedValueConstructors) {
            const unsigned int max = KnxLumMapping::GetMaxParametersOfType(typed.type);
            for (unsigned int n = 0; n <= max + 1; ++n) {
                const auto number = static_cast<unsigned short>(n);
                const auto value = KnxLumMapping::GetParameterValueObjModelId(number, ld, typed.type);
                findings.Check(n, "typed value constructor", typed.make(number, ld), value);
                assign(KnxLumMapping::GetParameterChannelObjModelId(number, ld, typed.type),
                       {Role::ParameterChannel, ld.Get(), n, typed.type}, n <= max);
                assign(value, {Role::ParameterValue, ld.Get(), n, typed.type}, n <= max);
            }
        }
    }
    return roles;
}

int Owner(unsigned long id) { return id >= 100000 && id < 300000 ? static_cast<int>(id / 100000) : 0; }

boost::optional<LogicalDeviceId> OwnerId(unsigned long id)
{
    if (Owner(id) == 0)
        return boost::none;
    return LogicalDeviceId(Owner(id));
}

bool ExpectedParameterChannel(const std::vector<Role>& roles, unsigned long id)
{
    if (roles[id].IsParameter())
        return roles[id].IsClassifiedParameter();
    // Device 2 also accepts the offsets below 60000 that lie 60000 under a parameter id.
    return Owner(id) == 2 && id % 100000 < 40000 && roles[id + 60000].IsClassifiedParameter();
}

boost::optional<unsigned short> ExpectedCoNumber(const Role& role, LogicalDeviceId asked)
{
    if (role.kind != Role::CoValue)
        return boost::none;
    // Asked for device 2, a co value of device 1 gives a number 50000 too high.
    const unsigned int shift = asked.Get() == 2 && role.ld == 1 ? 50000 : 0;
    return static_cast<unsigned short>(role.number + shift);
}

struct AppControlObject {
    const char* name;
    unsigned long (*make)(LogicalDeviceId);
    bool (*is)(unsigned long, LogicalDeviceId);
};

const AppControlObject AppControlObjects[] = {
    {"State", &KnxLumMapping::GetAppHostAppControlStateObjModelId, &KnxLumMapping::IsAppHostAppControlState},
    {"Event", &KnxLumMapping::GetAppHostAppControlEventObjModelId, &KnxLumMapping::IsAppHostAppControlEvent},
    {"Alive", &KnxLumMapping::GetAppHostAppControlAliveObjModelId,
     &KnxLumMapping::IsAppHostAppControlAliveHeartbeat},
    {"AppDebug", &KnxLumMapping::GetAppHostAppControlAppDebugObjModelId, &KnxLumMapping::IsAppHostAppControlAppDebug},
};

TEST(KnxLumMappingWalk, ClassificationAndDecompositionAgreeWithConstruction)
{
    Findings findings;
    const std::vector<Role> roles = RolesByConstruction(findings);
    for (unsigned long id = 0; id <= WalkEnd; ++id) {
        const Role& role = roles[id];
        findings.Check(id, "IsAnyLogicalKnxDeviceId", KnxLumMapping::IsAnyLogicalKnxDeviceId(id), id >= 100000);
        findings.Check(id, "GetLogicalDeviceIdFromObject", KnxLumMapping::GetLogicalDeviceIdFromObject(id),
                       OwnerId(id));

        // The channel of co 0 is constructed but is no co channel.
        const bool coChannel = role.kind == Role::CoChannel && role.number != 0;
        findings.Check(id, "IsCoChannel", KnxLumMapping::IsCoChannel(id), coChannel);
        findings.Check(id, "IsCoValue", KnxLumMapping::IsCoValue(id), role.kind == Role::CoValue);
        findings.Check(id, "GetCoValueObjModelId(channel)", KnxLumMapping::GetCoValueObjModelId(id),
                       coChannel ? KnxLumMapping::GetCoValueObjModelId(static_cast<unsigned short>(role.number),
                                                                       LogicalDeviceId(role.ld))
                                 : boost::none);

        const bool parameterChannel = ExpectedParameterChannel(roles, id);
        findings.Check(id, "IsParameterChannel", KnxLumMapping::IsParameterChannel(id), parameterChannel);
        findings.Check(id, "GetParameterValueObjModelId(channel)", KnxLumMapping::GetParameterValueObjModelId(id),
                       parameterChannel ? boost::optional<unsigned long>(id + 1) : boost::none);

        for (const auto ld : Devices) {
            for (const auto& object : AppControlObjects)
                findings.Check(id, object.name, object.is(id, ld), id == object.make(ld));
            findings.Check(id, "GetCoNumberFromObjModelId", KnxLumMapping::GetCoNumberFromObjModelId(id, ld),
                           ExpectedCoNumber(role, ld));
            const bool ownParameter = role.IsClassifiedParameter() && role.ld == ld.Get();
            findings.Check(id, "GetParameterTypeFromObjModelId", KnxLumMapping::GetParameterTypeFromObjModelId(id, ld),
                           ownParameter ? boost::optional<ParameterType>(role.type) : boost::none);
            findings.Check(id, "GetParameterNumberFromObjModelId",
                           KnxLumMapping::GetParameterNumberFromObjModelId(id, ld),
                           ownParameter ? boost::optional<unsigned char>(static_cast<unsigned char>(role.number))
                                        : boost::none);
        }
    }
    EXPECT_THAT(findings.lines, ::testing::IsEmpty());
}

struct EdgeCase {
    const char* call;
    std::string actual;
    const char* expected;
};

#define ERV_EDGE(call, expected) EdgeCase{#call, Show(KnxLumMapping::call), expected}

TEST(KnxLumMappingEdges, AgreeWithTheLayout)
{
    const auto outside = [](int raw) { return static_cast<ParameterType>(raw); };
    // Where the layout puts each kind of id; the walk checks the rest against these.
    const EdgeCase cases[] = {
        ERV_EDGE(GetDeviceObjModelId(), "1000"),
        ERV_EDGE(GetKnxDeviceObjModelId(), "1000"),
        ERV_EDGE(GetLogicalKnxDeviceObjModelId(Ld2), "200000"),
        ERV_EDGE(GetLastObjModelId(Ld2), "299999"),
        ERV_EDGE(GetAppHostAppControlChannelObjModelId(Ld2), "200020"),
        ERV_EDGE(GetAppHostAppControlStateObjModelId(Ld1), "100021"),
        ERV_EDGE(GetAppHostAppControlAppDebugObjModelId(Ld2), "200024"),
        ERV_EDGE(GetCoChannelObjModelId(0, Ld1), "100098"),
        ERV_EDGE(GetCoChannelObjModelId(4095, Ld1), "108288"),
        ERV_EDGE(GetCoNumberFromObjModelId(108289, Ld2), "54095"),
        ERV_EDGE(GetParameterNumberFromObjModelId(181000, Ld1), "244"),
        ERV_EDGE(GetIpParameterValueObjModelId(100, Ld1), "160201"),
        ERV_EDGE(GetNumberParameterValueObjModelId(200, Ld2), "270401"),
        ERV_EDGE(GetTextParameterValueObjModelId(500, Ld2), "281001"),
        ERV_EDGE(IsParameterChannel(200020), "true"),
        ERV_EDGE(GetMaxParametersOfType(outside(3)), "0"),
        ERV_EDGE(GetParameterChannelObjModelId(0, Ld1, outside(3)), "190000"),
        ERV_EDGE(GetParameterChannelObjModelId(1, Ld1, outside(3)), "none"),
        // A type far outside the enumeration wraps at 2^32 on every platform.
        ERV_EDGE(GetParameterChannelObjModelId(0, Ld1, outside(-1)), "150000"),
        ERV_EDGE(GetParameterValueObjModelId(0, Ld1, outside(500000)), "705192705"),
        // Beyond logical device 2 the blocks repeat the layout, up to the last block below 2^32.
        ERV_EDGE(GetCoNumberFromObjModelId(300101, Ld2), "50001"),
        ERV_EDGE(GetParameterNumberFromObjModelId(320002, Ld1), "1"),
        ERV_EDGE(GetParameterTypeFromObjModelId(320002, Ld2), "none"),
        ERV_EDGE(IsAnyLogicalKnxDeviceId(4294967295ul), "true"),
        ERV_EDGE(GetCoValueObjModelId(4294900100ul), "4294900101"),
        ERV_EDGE(GetCoNumberFromObjModelId(4294908289ul, Ld1), "4095"),
        ERV_EDGE(GetCoNumberFromObjModelId(4294900101ul, Ld2), "50001"),
        ERV_EDGE(IsCoValue(4294967295ul), "false"),
        ERV_EDGE(GetParameterValueObjModelId(4294920002ul), "4294920003"),
        ERV_EDGE(GetLogicalDeviceIdFromObject(4294967295ul), "none"),
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.actual, c.expected) << c.call;
}

#undef ERV_EDGE

// Only where unsigned long is wider than the controller's ids.
TEST(KnxLumMappingEdges, WiderIdsAreCutToTheirLowThirtyTwoBits)
{
    if (sizeof(unsigned long) <= sizeof(std::uint32_t))
        GTEST_SKIP() << "unsigned long has 32 bits here";
    const auto high = static_cast<unsigned long>(std::uint64_t{1} << 32);
    EXPECT_FALSE(KnxLumMapping::IsAnyLogicalKnxDeviceId(high));
    EXPECT_TRUE(KnxLumMapping::IsCoChannel(high + 100100));
    EXPECT_EQ(KnxLumMapping::GetCoValueObjModelId(high + 100100), 100101ul);
    EXPECT_EQ(KnxLumMapping::GetParameterValueObjModelId(high + 160002), 160003ul);
    EXPECT_EQ(KnxLumMapping::GetLogicalDeviceIdFromObject(high + 200000), Ld2);
    EXPECT_TRUE(KnxLumMapping::IsAppHostAppControlState(high + 100021, Ld1));
}

// The main types the object model publishes, grouped by what they share; the count catches one
// missing or added.
TEST(KnxLumMappingLookups, EachMainTypeHasItsValueTypeSubTypeAndDefault)
{
    setenv("TZ", "UTC", 1); // the calendar defaults are local time
    tzset();
    // clang-format off
    const struct {
        std::vector<unsigned long> mainTypes;
        const char* ivt;
        const char* ist;
        std::string defaultValue;
    } rows[] = {
        {{1}, "ivtBool", "istSwitch", "2:false"},
        {{2, 31, 238}, "ivtByte", "istGeneric", "6:0"},
        {{6}, "ivtByte", "istSigned8", "6:0"},
        {{4, 230}, "ivtEmpty", "istGeneric", "1:"},
        {{7, 237}, "ivtWord", "istGeneric", "7:0"},
        {{234}, "ivtWord", "istGeneric", "7:23130"}, // "ZZ"
        {{8}, "ivtInteger", "istSigned16", "4:0"},
        {{13}, "ivtInteger", "istGeneric", "4:0"},
        {{9, 14}, "ivtFloat", "istGeneric", "3:0"},
        {{10}, "ivtDayTime", "istGeneric", "15:2000-01-01 00:00:00.00 w0 k1 l0 d0"},
        {{11}, "ivtDate", "istGeneric", "11:1990-01-01 00:00:00.00 w1 k0 l1 d0"},
        {{12, 232}, "ivtDWord", "istGeneric", "8:0"},
        {{16, 28}, "ivtString", "istGeneric", "10:"},
        {{19}, "ivtDateTime", "istGeneric", "1:"}, // 1900 is before the 32-bit seconds: no time
    };
    // clang-format on
    for (const auto& row : rows) {
        for (const unsigned long mainType : row.mainTypes) {
            const unsigned long dpt = mainType << 16 | 1;
            EXPECT_EQ(KnxLumMapping::GetIvtFromMainType(mainType), row.ivt) << mainType;
            EXPECT_EQ(KnxLumMapping::GetIstFromMainType(mainType), row.ist) << mainType;
            EXPECT_EQ(AVOVALUE::GetNameFromValueType(KnxLumMapping::GetIvtFromDpt(dpt)), row.ivt) << mainType;
            EXPECT_EQ(KnxLumMapping::GetDefaultValueFromDpt(dpt, false), row.defaultValue) << mainType;
        }
    }
    unsigned int published = 0;
    for (unsigned long mainType = 0; mainType <= 0xFFFF; ++mainType)
        published += KnxLumMapping::GetDefaultValueFromDpt(mainType << 16, false) ? 1 : 0;
    EXPECT_EQ(published, 43u);
}

TEST(KnxLumMappingLookups, UnknownMainTypesAndTheStatusOverride)
{
    EXPECT_EQ(KnxLumMapping::GetIvtFromMainType(32), "Empty");
    EXPECT_EQ(KnxLumMapping::GetIstFromMainType(32), "Generic");
    EXPECT_EQ(KnxLumMapping::GetIvtFromMainType(4), "ivtEmpty"); // a row of its own, not the fallback
    EXPECT_EQ(KnxLumMapping::GetIvtFromDpt(0), ivtEmpty);
    EXPECT_EQ(KnxLumMapping::GetIvtFromDpt(239u << 16 | 1), ivtEmpty);
    EXPECT_EQ(KnxLumMapping::GetIvtFromDpt(9u << 16 | 0xFFFF), ivtFloat); // the sub number is not looked at
    EXPECT_EQ(KnxLumMapping::GetDefaultValueFromDpt(6ul << 16 | 20, false), std::string("6:1"));
    EXPECT_EQ(KnxLumMapping::GetDefaultValueFromDpt(6ul << 16 | 20, true), std::string("6.7:1"));
    EXPECT_EQ(KnxLumMapping::GetDefaultValueFromDpt(6ul << 16 | 10, false), std::string("6:0"));
    EXPECT_EQ(KnxLumMapping::GetDefaultValueFromDpt(33ul << 16 | 1, false), boost::none);
}

} // namespace
