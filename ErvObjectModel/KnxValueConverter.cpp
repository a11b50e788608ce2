#include "ErvObjectModel/KnxValueConverter.h"

#include "ErvObjectModel/KnxConverterDetail.h"

#include <boost/optional.hpp>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <type_traits>

namespace Erv {

namespace {

using namespace AvoDP;

// The prototype a table row is built with, named as the table lists it; the map keeps a clone.
struct Prototype {
    std::unique_ptr<const KnxConverter> converter;
    const char* name;
    std::string range; // empty for a converter without one
};

template <class Converter>
Prototype Make(const char* name)
{
    return {std::make_unique<Converter>(), name, std::string()};
}

template <class Converter, class Range>
Prototype Make(const char* name, const Range& range)
{
    return {std::make_unique<Converter>(range), name, ToString(range)};
}

// Each row names its converter class once; the name is recorded as it is written.
#define ERV_CONVERTER(Class, ...) Make<Class>(#Class, ##__VA_ARGS__)

// A range whose internal (application) and external (bus) intervals are both [min..max].
IntegerRange Ints(std::int32_t min, std::int32_t max) { return IntegerRange(min, max, min, max); }
LongIntegerRange Longs(std::int64_t min, std::int64_t max) { return LongIntegerRange(min, max, min, max); }
FloatRange Floats(double min, double max) { return FloatRange(min, max, min, max); }

struct DptRow {
    std::uint16_t mainNumber;
    std::uint16_t subNumber; // 0: any sub number
    std::uint8_t bitSize;
    AvoValueType valueType;
    AvoValueSubType subType;
    Prototype prototype;
};

// Calls `visit` with each row of the DPT table, in the table's order. The rows, and with them the
// prototypes, live only while the map is filled.
template <class Visitor>
void VisitDptTable(Visitor&& visit)
{
    constexpr std::int32_t I32Min = INT32_MIN;
    constexpr std::int32_t I32Max = INT32_MAX;
    constexpr std::int64_t U32Max = UINT32_MAX;
    constexpr double F16Min = -671088.64; // the 2-octet float's extremes
    constexpr double F16Max = 670760.96;
    constexpr double F32 = FLT_MAX; // the largest finite single-precision value
    // clang-format off
    const DptRow rows[] = {
        // main sub bits value type  sub type           converter and its range, the same interval on both sides
        //                                              unless given as (internal min, max, external min, max)
        {  1,   0,   1, ivtBool,     istGeneric,        ERV_CONVERTER(KnxConverter1Bit)},
        {  2,   0,   2, ivtBool,     istGeneric,        ERV_CONVERTER(KnxConverter2Bit)}, // the converter takes ivtByte; kept
        {  3,   0,   4, ivtFloat,    istDimmingControl, ERV_CONVERTER(KnxConverter4Bit)}, // likewise
        {  4,   0,   8, ivtString,   istAscii,          ERV_CONVERTER(KnxConverter8BitString, Ints(0, 127))},
        {  4,   1,   8, ivtString,   istAscii,          ERV_CONVERTER(KnxConverter8BitString, Ints(0, 127))},
        {  4,   2,   8, ivtString,   istLatin1,         ERV_CONVERTER(KnxConverter8BitString, Ints(0, 255))},
        {  5,   0,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterByte8BitUnsigned, Ints(0, 255))},
        {  5,   6,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterByte8BitUnsigned, Ints(0, 254))},
        {  6,   0,   8, ivtInteger,  istGeneric,        ERV_CONVERTER(KnxConverterInteger8BitSigned, Ints(-128, 127))},
        {  6,  20,   8, ivtByte,     istStatusMode,     ERV_CONVERTER(KnxConverterStatus8Bit, Ints(0, 255))},
        {  7,   0,  16, ivtWord,     istGeneric,        ERV_CONVERTER(KnxConverterInteger16BitUnsigned, Ints(0, 65535))},
        {  8,   0,  16, ivtInteger,  istGeneric,        ERV_CONVERTER(KnxConverterInteger16BitSigned, Ints(-32768, 32767))},
        {  9,   0,  16, ivtFloat,    istGeneric,        ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(F16Min, F16Max))},
        {  9,   1,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-273.0, 670760.0))},
        {  9,   2,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,   3,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,   4,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(0.0, 670760.0))},
        {  9,   5,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(0.0, 670760.0))},
        {  9,   6,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(0.0, 670760.0))},
        {  9,   7,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(0.0, 670760.0))},
        {  9,   8,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(0.0, 670760.0))},
        {  9,  10,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,  11,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,  20,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,  21,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,  22,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,  23,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,  24,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,  25,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-670760.0, 670760.0))},
        {  9,  26,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(F16Min, F16Max))},
        {  9,  27,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(-459.6, F16Max))},
        {  9,  28,  16, ivtFloat,    istKnxFloat,       ERV_CONVERTER(KnxConverterFloat16BitFloat, Floats(0.0, F16Max))},
        { 10,   0,  24, ivtTime,     istGeneric,        ERV_CONVERTER(KnxConverterTimeOfDay)},
        { 11,   0,  24, ivtDate,     istGeneric,        ERV_CONVERTER(KnxConverterDate)},
        { 12,   0,  32, ivtDWord,    istGeneric,        ERV_CONVERTER(KnxConverterInteger32BitUnsigned, Longs(0, U32Max))},
        { 13,   0,  32, ivtInteger,  istGeneric,        ERV_CONVERTER(KnxConverterInteger32BitSigned, Ints(I32Min, I32Max))},
        { 14,   0,  32, ivtFloat,    istGeneric,        ERV_CONVERTER(KnxConverterFloat32BitFloat, Floats(-F32, F32))},
        { 15,   0,  32, ivtDWord,    istGeneric,        ERV_CONVERTER(KnxConverterInteger32BitUnsigned, Longs(0, U32Max))},
        { 16,   0, 112, ivtString,   istAscii,          ERV_CONVERTER(KnxConverter14ByteString, Ints(0, 127))},
        { 16,   1, 112, ivtString,   istLatin1,         ERV_CONVERTER(KnxConverter14ByteString, Ints(0, 255))},
        { 17,   0,   8, ivtInteger,  istSceneNumber,    ERV_CONVERTER(KnxConverterSceneNumber, Ints(0, 63))},
        { 18,   0,   8, ivtInteger,  istSceneNumber,    ERV_CONVERTER(KnxConverterSceneControl, Ints(0, 63))},
        { 19,   0,  64, ivtDateTime, istGeneric,        ERV_CONVERTER(KnxConverterDateTime)},
        { 20,   0,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterByte8BitUnsigned, Ints(0, 255))},
        { 20, 102,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterByte8BitUnsigned, Ints(0, 4))},
        { 20, 103,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterByte8BitUnsigned, Ints(0, 4))},
        { 21,   0,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterByte8BitUnsigned, Ints(0, 255))},
        { 23,   0,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterByte8BitUnsigned, Ints(0, 255))},
        { 26,   0,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterSceneInfo, IntegerRange(-64, 64, 0, 255))},
        { 27,   0,  32, ivtDWord,    istGeneric,        ERV_CONVERTER(KnxConverterInteger32BitUnsigned, Longs(0, U32Max))},
        {236,   0,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterByte8BitUnsigned, Ints(0, 255))},
        {232,   0,  24, ivtDWord,    istGeneric,        ERV_CONVERTER(KnxConverterInteger24BitUnsigned, Longs(0, 16777215))},
        {238,   0,   8, ivtByte,     istGeneric,        ERV_CONVERTER(KnxConverterByte8BitUnsigned, Ints(0, 255))},
    };
    // clang-format on
    static_assert(std::extent_v<decltype(rows)> == 53, "the DPT table has 53 rows");
    for (const DptRow& row : rows)
        visit(row);
}

// Bit size on the bus by DPT main number ----------------------------------------------------

constexpr std::uint32_t VariableBitSize = 2147483647;
constexpr std::uint16_t HighestKnownMain = 241;

// One main number, or an inclusive run of them.
struct MainNumbers {
    constexpr MainNumbers(std::uint16_t only = 0) : first(only), last(only) {}
    constexpr MainNumbers(std::uint16_t from, std::uint16_t to) : first(from), last(to) {}
    std::uint16_t first;
    std::uint16_t last;
};

struct ExpectedSizeRow {
    std::uint32_t bitSize;
    MainNumbers mains[12]; // unused places are main number 0
};

constexpr ExpectedSizeRow ExpectedSizeTable[] = {
    {1,               {1}},
    {2,               {2}},
    {3,               {31}},
    {4,               {3}},
    {8,               {{4, 6}, 17, 18, 20, 21, 23, 25, 26, 236, 238}},
    {9,               {200}},
    {16,              {{7, 9}, 22, 201, 202, 204, 207, 211, 217, 234, 237, 239}},
    {24,              {10, 11, 30, 203, 205, 206, 209, 223, 225, 232, 240}},
    {32,              {{12, 15}, 27, 210, 214, 220, 231, 241}},
    {40,              {215, 216, 218}},
    {48,              {212, 219, 221, 222, 224, 229, 235}},
    {64,              {19, 29, 213, 230}},
    {112,             {16}},
    {VariableBitSize, {24, 28}},
    {0,               {{32, 199}, 208, {226, 228}, 233}},
};

constexpr std::uint32_t Unlisted = 0xFFFFFFFF;
constexpr std::uint32_t ListedTwice = 0xFFFFFFFE;

// The table spread out by main number at compile time: a conversion pays one index.
constexpr std::array<std::uint32_t, HighestKnownMain + 1> SpreadExpectedSizes()
{
    std::array<std::uint32_t, HighestKnownMain + 1> sizes{};
    for (auto& size : sizes)
        size = Unlisted;
    sizes[0] = 0;
    for (const ExpectedSizeRow& row : ExpectedSizeTable)
        for (const MainNumbers& mains : row.mains)
            for (unsigned main = mains.first; main != 0 && main <= mains.last; ++main)
                sizes[main] = sizes[main] == Unlisted ? row.bitSize : ListedTwice;
    return sizes;
}

constexpr auto ExpectedSizeByMain = SpreadExpectedSizes();

constexpr bool EveryMainListedOnce()
{
    for (std::uint32_t size : ExpectedSizeByMain)
        if (size == Unlisted || size == ListedTwice)
            return false;
    return true;
}
static_assert(EveryMainListedOnce(), "every main number 1 to 241 belongs to exactly one bit size");

// Which value types may be written through an entry of which type ----------------------------

// A handful of value types; fixed capacity so that the tables stay constant data.
class ValueTypes {
public:
    constexpr ValueTypes(std::initializer_list<AvoValueType> types)
    {
        for (AvoValueType type : types)
            m_types[m_count++] = type;
    }
    constexpr bool Contains(AvoValueType type) const
    {
        for (std::size_t i = 0; i < m_count; ++i)
            if (m_types[i] == type)
                return true;
        return false;
    }

private:
    AvoValueType m_types[7]{};
    std::size_t m_count = 0;
};

struct CompatibilityRow {
    ValueTypes valueTypes;
    ValueTypes accepts; // besides the value type itself
};

// A date-time-like value may go where a date or a time goes, but not the other way round: the
// relation is deliberately not symmetric.
constexpr CompatibilityRow CompatibilityTable[] = {
    {{ivtBool}, {}},
    {{ivtFloat, ivtPercent, ivtScaling, ivtDimming, ivtAngle},
     {ivtFloat, ivtPercent, ivtScaling, ivtDimming, ivtAngle}},
    {{ivtInteger, ivtLong}, {ivtInteger, ivtLong}},
    {{ivtChar}, {}},
    {{ivtByte, ivtEnum8}, {ivtByte, ivtEnum8}},
    {{ivtWord, ivtDWord, ivtCounter}, {ivtWord, ivtDWord, ivtCounter}},
    {{ivtBinary}, {}},
    {{ivtDate, ivtDay}, {ivtDate, ivtDay}},
    {{ivtTime, ivtDuration}, {ivtTime, ivtDuration}},
    {{ivtDateTime, ivtTimestamp, ivtUtcDateTime},
     {ivtDate, ivtTime, ivtDateTime, ivtTimestamp, ivtDuration, ivtDay, ivtUtcDateTime}},
};

// Default DPTs ------------------------------------------------------------------------------

struct DefaultForSizeRow {
    std::uint8_t bitSize;
    std::uint16_t mainNumber;
    std::uint16_t subNumber;
};

constexpr DefaultForSizeRow DefaultForSizeTable[] = {
    {  1,   1, 1},
    {  2,   2, 1},
    {  4,   3, 7},
    {  8,   5, 0},
    { 16,   9, 0},
    { 24,  10, 1},
    { 32,  14, 0},
    { 40, 218, 0},
    { 48, 219, 1},
    { 64,  19, 1},
    {112,  16, 1},
};

constexpr int AnySize = -1;

struct DefaultForValueTypeRow {
    AvoValueType valueType;
    int givenBitSize; // the bit size already set, 0 for none, or AnySize
    std::uint8_t bitSize;
    std::uint16_t mainNumber;
    std::uint16_t subNumber;
};

// A value type whose given bit size has no row gets no default.
constexpr DefaultForValueTypeRow DefaultForValueTypeTable[] = {
    {ivtBool,     AnySize,   1,   1,   1},
    {ivtDimming,  AnySize,   4,   3,   7},
    {ivtByte,     AnySize,   8,   5,   0},
    {ivtScaling,  AnySize,   8,   5,   1},
    {ivtFloat,    0,        16,   9,   0},
    {ivtFloat,    16,       16,   9,   0},
    {ivtFloat,    4,         4,   3,   0},
    {ivtFloat,    8,         8,   5,   1},
    {ivtFloat,    32,       16,  14,   0}, // 16, not 32: hosts depend on it, kept
    {ivtInteger,  0,        32,  13,   0},
    {ivtInteger,  8,         8,   6,   0},
    {ivtInteger,  16,       16,   8,   0},
    {ivtLong,     AnySize,  32,  13, 100},
    {ivtTime,     AnySize,  24,  10,   1},
    {ivtDate,     AnySize,  24,  11,   1},
    {ivtDWord,    AnySize,  32,  12,   1},
    {ivtBinary,   AnySize,  40, 218,   0},
    {ivtDateTime, AnySize,  64,  19,   1},
    {ivtString,   0,       112,  16,   1},
    {ivtString,   8,         8,   4,   1},
    {ivtString,   112,       8,  16,   0}, // bit size 8 for a 14-octet string: hosts depend on it, kept
};

// The entry of one main number's index for a sub number: the explicit one, else the wildcard (null
// when there is none). A template only so that it may take the map's private index type.
template <class MainIndex>
const DptValueEntry* LookUp(const MainIndex& main, std::uint16_t subNumber)
{
    for (const auto& sub : main.subs)
        if (sub.first == subNumber)
            return sub.second;
    return main.wildcard;
}

} // namespace

// DptValueEntry ---------------------------------------------------------------------------------

DptValueEntry::DptValueEntry()
    : m_dpt{}, m_valueType(ivtEmpty), m_subType(AvoDP::istGeneric), m_converter(std::make_unique<KnxConverterDefault>())
{
}

DptValueEntry::DptValueEntry(const KNXDPT& dpt, AvoValueType valueType, AvoDP::AvoValueSubType subType,
                             std::unique_ptr<KnxConverter> converter)
    : m_dpt(dpt), m_valueType(valueType), m_subType(subType), m_converter(std::move(converter))
{
}

DptValueEntry::DptValueEntry(const KNXDPT& dpt, AvoValueType valueType, AvoDP::AvoValueSubType subType,
                             std::unique_ptr<KnxConverter> converter, std::string converterName, std::string rangeText)
    : m_dpt(dpt), m_valueType(valueType), m_subType(subType), m_converter(std::move(converter)),
      m_converterName(std::move(converterName)), m_rangeText(std::move(rangeText))
{
}

DptValueEntry::~DptValueEntry() = default;

const DptValueEntry& GetDefaultDptValueEntry()
{
    static const DptValueEntry entry;
    return entry;
}

// DptValueMap -----------------------------------------------------------------------------------

DptValueMap::~DptValueMap() = default;

void DptValueMap::Clear()
{
    m_entries.clear();
    m_index.clear();
}

bool DptValueMap::Insert(DptValueEntry entry)
{
    const KNXDPT dpt = entry.GetDpt();
    const auto inserted = m_entries[dpt.mainNumber].emplace(dpt.subNumber, std::move(entry));
    if (!inserted.second)
        return false;
    if (dpt.mainNumber < IndexedMains) {
        if (m_index.size() <= dpt.mainNumber)
            m_index.resize(dpt.mainNumber + 1u);
        MainIndex& main = m_index[dpt.mainNumber];
        if (dpt.subNumber == 0)
            main.wildcard = &inserted.first->second;
        else
            main.subs.emplace_back(dpt.subNumber, &inserted.first->second);
    }
    return true;
}

const DptValueEntry* DptValueMap::FindEntry(const KNXDPT& dpt) const
{
    if (dpt.mainNumber < m_index.size())
        return LookUp(m_index[dpt.mainNumber], dpt.subNumber);
    if (dpt.mainNumber < IndexedMains)
        return nullptr;
    // Out of line, so that the indexed lookup above stays small enough to inline into the conversions.
    return [&]() __attribute__((noinline, cold)) -> const DptValueEntry* {
        const auto main = m_entries.find(dpt.mainNumber);
        if (main == m_entries.end())
            return nullptr;
        const auto& subs = main->second;
        auto sub = subs.find(dpt.subNumber);
        if (sub != subs.end())
            return &sub->second;
        if (dpt.subNumber != 0 && (sub = subs.find(0)) != subs.end())
            return &sub->second;
        return nullptr;
    }();
}

const DptValueEntry& DptValueMap::GetEntry(const KNXDPT& dpt) const
{
    // The indexed case spelled out here as well, so that it inlines into the conversions.
    if (const DptValueEntry* entry =
            dpt.mainNumber < m_index.size() ? LookUp(m_index[dpt.mainNumber], dpt.subNumber) : FindEntry(dpt))
        return *entry;
    ERV_LOG_ERROR("No Entry found for DPT = " << dpt);
    return GetDefaultDptValueEntry();
}

std::size_t DptValueMap::Size() const
{
    std::size_t size = 0;
    for (const auto& main : m_entries)
        size += main.second.size();
    return size;
}

// KnxValueConverter -----------------------------------------------------------------------------

KnxValueConverter::KnxValueConverter() = default;

KnxValueConverter::~KnxValueConverter() = default;

bool KnxValueConverter::Init() { return FillDptValueMap(); }

bool KnxValueConverter::FillDptValueMap()
{
    m_map.Clear();
    bool complete = true;
    VisitDptTable([this, &complete](const DptRow& row) {
        const KNXDPT dpt{row.bitSize, row.mainNumber, row.subNumber};
        std::unique_ptr<KnxConverter> converter(row.prototype.converter->Clone());
        if (!m_map.Insert(DptValueEntry(dpt, row.valueType, row.subType, std::move(converter), row.prototype.name,
                                        row.prototype.range))) {
            ERV_LOG_ERROR("Add DPT value map entry failed. DPT=" << dpt); // written as in the table: "1.x", "4.001"
            complete = false;
        }
    });
    return complete;
}

bool KnxValueConverter::AddDptValueMapEntry(unsigned short mainNumber, unsigned short subNumber, unsigned char bitSize,
                                            AvoValueType valueType, AvoDP::AvoValueSubType subType,
                                            const KnxConverter& converter)
{
    return m_map.Insert(DptValueEntry(KNXDPT{bitSize, mainNumber, subNumber}, valueType, subType,
                                      std::unique_ptr<KnxConverter>(converter.Clone())));
}

const DptValueEntry& KnxValueConverter::GetEntry(const KNXDPT& dpt) const { return m_map.GetEntry(dpt); }

bool KnxValueConverter::ToKnxValue(KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) const try {
    if (dpt.mainNumber == 0) {
        if (!GetDefaultMappingDptForValueType(dpt, val) && !GetDefaultMappingDptForSize(dpt)) {
            ERV_LOG_INFO("Could not find DPT for bit size " << dpt.bitSize);
            return false;
        }
        if (dpt.mainNumber == 0)
            ERV_REJECT("Convert to KNX value failed. Missing DPT. val = " << val.ToString());
    }

    const DptValueEntry& entry = m_map.GetEntry(dpt);
    if (entry.GetValueType() == ivtEmpty) {
        // After GetEntry's own line, the conversion's: unknown DPTs pass on purpose.
        ERV_LOG_ERROR("No Entry found for DPT = " << dpt);
        ERV_LOG_ERROR("Assume validity and accept value!");
        return true;
    }
    if (val.ivt != ivtInvalid && !AreValueTypesCompatible(val.ivt, entry.GetValueType()))
        ERV_REJECT("Invalid value type found for DPT = " << dpt << " val.ivt=" << val.ivt
                                                                     << " val = " << val.ToString());
    KnxConverter* converter = entry.GetConverter();
    if (converter == nullptr)
        ERV_REJECT("NULL pointer as KnxConverter for DPT = " << dpt);

    const bool converted = converter->ToKnxValue(dpt, val, grp);
    if (!converted)
        ERV_LOG_ERROR("Convert to KNX value failed for DPT = " << dpt << " val = " << val.ToString());
    return converted;
} catch (const std::exception& e) {
    ERV_LOG_ERROR("Exception caught during conversion of AVOVALUE to GroupValue: " << e.what());
    return false;
} catch (...) {
    ERV_LOG_ERROR("Exception caught during conversion of AVOVALUE to GroupValue: unknown exception");
    return false;
}

bool KnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) const try {
    if (dpt.mainNumber == 0) {
        if (dpt.bitSize == 0) {
            KNXDPT sized = dpt;
            sized.bitSize = static_cast<std::uint8_t>(grp.GetDefinedSize());
            if (GetDefaultMappingDptForSize(sized))
                dpt = sized;
        } else if (!GetDefaultMappingDptForSize(dpt)) {
            ERV_LOG_INFO("Could not find DPT for bit size " << dpt.bitSize);
            return false;
        }
        if (dpt.mainNumber == 0)
            ERV_REJECT("Convert from KNX value failed. Missing DPT. GroupValue = " << grp);
    }

    const DptValueEntry& entry = m_map.GetEntry(dpt);
    if (entry.GetValueType() == ivtEmpty) {
        // After GetEntry's own line, the conversion's: unknown DPTs pass on purpose.
        ERV_LOG_ERROR("No Entry found for DPT = " << dpt);
        ERV_LOG_ERROR("Assume validity and accept value!");
        return true;
    }
    // Some converters write only the value field and rely on the type being set here.
    val.ivt = entry.GetValueType();

    const std::uint32_t expected = GetExpectedBitSize(dpt.mainNumber);
    const std::uint32_t actual = grp.GetDefinedSize();
    const KnxStack::GroupValue* input = &grp;
    boost::optional<KnxStack::GroupValue> resized; // built only when needed: it is 40 bytes to clear
    if (expected < 7 && actual < 7) {
        // Sub-byte values are not compared: the bytes are read as a value of the DPT's own size.
        if (actual != expected) {
            resized.emplace(grp.GetRawData(), expected);
            input = &*resized;
        }
    } else if (expected != actual && expected != VariableBitSize) {
        ERV_REJECT("Failed to convert a GroupValue for DPT " << dpt << " because of unexpected bit size: "
                                                                        << actual << ", expected: " << expected
                                                                        << " GroupValue = " << grp);
    }

    KnxConverter* converter = entry.GetConverter();
    if (converter == nullptr)
        ERV_REJECT("NULL pointer as KnxConverter for DPT = " << dpt);

    const bool converted = converter->FromKnxValue(dpt, *input, val);
    if (!converted)
        ERV_LOG_ERROR("Convert from KNX value failed for DPT = " << dpt << " GroupValue = " << grp);
    return converted;
} catch (const std::exception& e) {
    ERV_LOG_ERROR("Exception caught during conversion of GroupValue: " << e.what());
    return false;
} catch (...) {
    ERV_LOG_ERROR("Exception caught during conversion of GroupValue: unknown exception");
    return false;
}

bool KnxValueConverter::AreValueTypesCompatible(AvoValueType a, AvoValueType b)
{
    if (a == b)
        return true;
    for (const CompatibilityRow& row : CompatibilityTable)
        if (row.valueTypes.Contains(a))
            return row.accepts.Contains(b);
    return false;
}

bool KnxValueConverter::GetDefaultMappingDptForSize(KNXDPT& dpt)
{
    for (const DefaultForSizeRow& row : DefaultForSizeTable) {
        if (row.bitSize == dpt.bitSize) {
            dpt.mainNumber = row.mainNumber;
            dpt.subNumber = row.subNumber;
            return true;
        }
    }
    return false;
}

bool KnxValueConverter::GetDefaultMappingDptForValueType(KNXDPT& dpt, const AVOVALUE& val)
{
    for (const DefaultForValueTypeRow& row : DefaultForValueTypeTable) {
        if (row.valueType == val.ivt && (row.givenBitSize == AnySize || row.givenBitSize == dpt.bitSize)) {
            dpt = KNXDPT{row.bitSize, row.mainNumber, row.subNumber};
            return true;
        }
    }
    return false;
}

std::uint32_t KnxValueConverter::GetExpectedBitSize(std::uint16_t mainNumber)
{
    return mainNumber < ExpectedSizeByMain.size() ? ExpectedSizeByMain[mainNumber] : 0;
}

// ErvKnxValueConverter --------------------------------------------------------------------------

namespace {
// What every text overload starts from: no value yet, and a cleared time.
AVOVALUE FreshValue()
{
    AVOVALUE value;
    value.ivt = ivtEmpty;
    value.Time().Clear(true);
    return value;
}
} // namespace

ErvKnxValueConverter::ErvKnxValueConverter() = default;

ErvKnxValueConverter::~ErvKnxValueConverter() = default;

bool ErvKnxValueConverter::Init() { return m_converter.Init(); }

bool ErvKnxValueConverter::ToKnxValue(KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) const
{
    return m_converter.ToKnxValue(dpt, val, grp);
}

bool ErvKnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) const
{
    return m_converter.FromKnxValue(dpt, grp, val);
}

bool ErvKnxValueConverter::ToKnxValue(KNXDPT& dpt, const std::string& serialisedValue, KnxStack::GroupValue& grp) const
{
    AVOVALUE value = FreshValue();
    value.Deserialize(serialisedValue);
    return m_converter.ToKnxValue(dpt, value, grp);
}

bool ErvKnxValueConverter::ToKnxValue(const std::string& serialisedValue, unsigned long bitSize,
                                      KnxStack::GroupValue& grp) const
{
    KNXDPT dpt{static_cast<std::uint8_t>(bitSize), 0, 0};
    return ToKnxValue(dpt, serialisedValue, grp);
}

bool ErvKnxValueConverter::FromKnxValue(const KnxStack::GroupValue& grp, std::string& serialisedValue,
                                        bool internalFormat) const
{
    KNXDPT dpt{static_cast<std::uint8_t>(grp.GetDefinedSize()), 0, 0};
    AVOVALUE value = FreshValue();
    if (!m_converter.FromKnxValue(dpt, grp, value))
        return false;
    value.Serialize(serialisedValue, internalFormat);
    return true;
}

} // namespace Erv
