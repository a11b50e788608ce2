// Table-driven conversion between application values and KNX group values by datapoint type.
//
//   Erv::KnxValueConverter converter;
//   converter.Init();                                  // fills the DPT table, once
//   KNXDPT dpt{16, 9, 1};                              // 9.001, temperature
//   KnxStack::GroupValue bus;
//   converter.ToKnxValue(dpt, AVOVALUE::Float(21.5), bus);   // bus: 0C 33
//
// Ownership and threading: the converter owns its map, the map owns its entries, each entry owns
// its converter object. Init() runs once; afterwards the map is only read, so one converter may
// serve any number of threads without locks.
#pragma once

#include "ErvObjectModel/Export.h"

#include "ErvObjectModel/KnxConverter.h"

#include "AvoValue/AvoValue.h"
#include "AvoValue/AvoValueType.h"
#include "KnxStack/GroupValue.h"
#include "KnxStack/KnxDpt.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Erv {

// One row of the DPT table: the DPT with its bit size, the application value type and sub type it
// maps to, and the converter that does the byte work.
class ERVOBJECTMODEL_EXPORT DptValueEntry {
public:
    // DPT 0.x with bit size 0, value type 1, sub type 0 and a KnxConverterDefault.
    DptValueEntry();
    DptValueEntry(const KNXDPT& dpt, AvoValueType valueType, AvoDP::AvoValueSubType subType,
                  std::unique_ptr<KnxConverter> converter);
    // The same with what the table says of the converter, for tools that list the table.
    DptValueEntry(const KNXDPT& dpt, AvoValueType valueType, AvoDP::AvoValueSubType subType,
                  std::unique_ptr<KnxConverter> converter, std::string converterName, std::string rangeText);
    DptValueEntry(DptValueEntry&&) noexcept = default;
    DptValueEntry& operator=(DptValueEntry&&) noexcept = default;
    virtual ~DptValueEntry();

    const KNXDPT& GetDpt() const { return m_dpt; }
    AvoValueType GetValueType() const { return m_valueType; }
    AvoDP::AvoValueSubType GetSubType() const { return m_subType; }
    // Null only for an entry made without a converter. Not const: the converter interface's
    // operations are declared non-const for the hosts' converters, though ours hold no state.
    KnxConverter* GetConverter() const { return m_converter.get(); }
    // The converter's class as the DPT table names it ("KnxConverterFloat16BitFloat") and its range
    // ("FloatRange(-273, 670760, -273, 670760)"), recorded with the row rather than asked of the
    // converter. Empty for a converter without a range, and both for an entry added by a host.
    const std::string& GetConverterName() const { return m_converterName; }
    const std::string& GetRangeText() const { return m_rangeText; }

private:
    KNXDPT m_dpt;
    AvoValueType m_valueType;
    AvoDP::AvoValueSubType m_subType;
    std::unique_ptr<KnxConverter> m_converter;
    std::string m_converterName;
    std::string m_rangeText;
};

// Main number -> sub number -> entry; sub number 0 stands for any sub number of its main number.
class ERVOBJECTMODEL_EXPORT DptValueMap {
public:
    DptValueMap() = default;
    DptValueMap(DptValueMap&&) noexcept = default;
    DptValueMap& operator=(DptValueMap&&) noexcept = default;
    virtual ~DptValueMap();

    void Clear();
    // False when (main, sub) is already present; the map is then unchanged.
    bool Insert(DptValueEntry entry);
    // The exact entry, else the main number's wildcard (sub 0), else the shared default entry
    // (logged). Never throws.
    const DptValueEntry& GetEntry(const KNXDPT& dpt) const;
    // The same lookup without a word in the log: null where GetEntry would log and return the
    // default entry. For tools that ask the table what it knows.
    const DptValueEntry* FindEntry(const KNXDPT& dpt) const;
    std::size_t Size() const;

    // Rows in order of (main, sub), for tools that list the table.
    template <class Visitor>
    void ForEach(Visitor&& visit) const
    {
        for (const auto& main : m_entries)
            for (const auto& sub : main.second)
                visit(sub.second);
    }

private:
    // The entries of one main number, for the lookup: its wildcard and its explicit sub numbers.
    struct MainIndex {
        const DptValueEntry* wildcard = nullptr;
        std::vector<std::pair<std::uint16_t, const DptValueEntry*>> subs;
    };
    // Main numbers below this are looked up by index, the rare others in the maps.
    static constexpr std::size_t IndexedMains = 1024;

    // The entries in order of (main, sub); their nodes never move, so the index may point into them.
    std::map<std::uint16_t, std::map<std::uint16_t, DptValueEntry>> m_entries;
    // By main number, up to the highest one present: a lookup is an index and a short scan, where
    // the nested maps cost two searches.
    std::vector<MainIndex> m_index;
};

// The entry a failed lookup returns: created on first use, shared by every map.
ERVOBJECTMODEL_EXPORT const DptValueEntry& GetDefaultDptValueEntry();

class ERVOBJECTMODEL_EXPORT KnxValueConverter {
public:
    KnxValueConverter();
    KnxValueConverter(KnxValueConverter&&) noexcept = default;
    KnxValueConverter& operator=(KnxValueConverter&&) noexcept = default;
    virtual ~KnxValueConverter();

    bool Init();
    // Clears the map and adds the rows of the DPT table in order; a failed row is logged and
    // filling goes on.
    bool FillDptValueMap();
    // Adds a clone of `converter` under (mainNumber, subNumber); false when that key is taken.
    bool AddDptValueMapEntry(unsigned short mainNumber, unsigned short subNumber, unsigned char bitSize,
                             AvoValueType valueType, AvoDP::AvoValueSubType subType, const KnxConverter& converter);
    const DptValueEntry& GetEntry(const KNXDPT& dpt) const;
    // Quiet lookup: null for a DPT without an entry, nothing logged.
    const DptValueEntry* FindEntry(const KNXDPT& dpt) const { return m_map.FindEntry(dpt); }
    const DptValueMap& GetMap() const { return m_map; }

    // A DPT with main number 0 is filled in from a default first (hence the non-const reference).
    bool ToKnxValue(KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) const;
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) const;

    // Whether a value of type `a` may be written through an entry of type `b`; not symmetric.
    static bool AreValueTypesCompatible(AvoValueType a, AvoValueType b);
    // Main and sub number for the DPT's bit size; false (numbers unchanged) for other sizes.
    static bool GetDefaultMappingDptForSize(KNXDPT& dpt);
    // Bit size, main and sub number for the value's type (and the bit size already set).
    static bool GetDefaultMappingDptForValueType(KNXDPT& dpt, const AVOVALUE& val);
    // The bit size a DPT main number carries on the bus: 0 when unknown, 2147483647 when variable.
    static std::uint32_t GetExpectedBitSize(std::uint16_t mainNumber);

private:
    DptValueMap m_map;
};

// For callers that hold values in their serialised text form (AVOVALUE::Serialize) and may not
// know the DPT. Owns one KnxValueConverter.
class ERVOBJECTMODEL_EXPORT ErvKnxValueConverter {
public:
    ErvKnxValueConverter();
    ~ErvKnxValueConverter();

    bool Init();
    bool ToKnxValue(KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) const;
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) const;
    bool ToKnxValue(KNXDPT& dpt, const std::string& serialisedValue, KnxStack::GroupValue& grp) const;
    // `bitSize` is a bit size, not a DPT: the DPT follows from the value's type and this size.
    bool ToKnxValue(const std::string& serialisedValue, unsigned long bitSize, KnxStack::GroupValue& grp) const;
    // The DPT follows from the group value's size; `internalFormat` is passed to Serialize.
    bool FromKnxValue(const KnxStack::GroupValue& grp, std::string& serialisedValue, bool internalFormat) const;

private:
    KnxValueConverter m_converter;
};

} // namespace Erv
