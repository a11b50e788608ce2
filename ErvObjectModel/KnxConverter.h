// Converters between an application value and a KNX group value, one class per KNX value format.
// The DPT value map owns one converter per DPT entry, made with Clone(); converters are
// stateless apart from their range and are used read-only, from any thread.
//
// Every operation returns false after one log line when it refuses a value; the group value's
// accessors may throw KnxStack::GroupValueException, which the caller (the value map) catches.
#pragma once

#include "AvoValue/AvoValue.h"
#include "KnxStack/GroupValue.h"
#include "KnxStack/KnxDpt.h"

#include <memory>

namespace Erv {

class KnxConverter {
public:
    virtual ~KnxConverter() = default;
    virtual bool ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) const = 0;
    virtual bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) const = 0;
    // A new heap copy of the same concrete class, ranges included; the caller owns it.
    virtual std::unique_ptr<KnxConverter> Clone() const = 0;

protected:
    KnxConverter() = default;
    KnxConverter(const KnxConverter&) = default;
    KnxConverter& operator=(const KnxConverter&) = default;
};

// Implements Clone() for a concrete converter class.
template <class Derived>
class KnxConverterBase : public KnxConverter {
public:
    std::unique_ptr<KnxConverter> Clone() const override
    {
        return std::make_unique<Derived>(static_cast<const Derived&>(*this));
    }
};

// For DPTs without a converter of their own: goes through the value library's byte-array bridge.
class KnxConverterDefault : public KnxConverterBase<KnxConverterDefault> {
public:
    bool ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) const override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) const override;
};

// DPT 1.x, boolean. Its checks fail silently.
class KnxConverter1Bit : public KnxConverterBase<KnxConverter1Bit> {
public:
    bool ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) const override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) const override;
};

// DPT 2.x, two bits carried in an ivtByte value.
class KnxConverter2Bit : public KnxConverterBase<KnxConverter2Bit> {
public:
    bool ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) const override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) const override;
};

// DPT 3.x, four bits carried in an ivtByte value.
class KnxConverter4Bit : public KnxConverterBase<KnxConverter4Bit> {
public:
    bool ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) const override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) const override;
};

} // namespace Erv
