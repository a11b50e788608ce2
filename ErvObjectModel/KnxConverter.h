// Converters between an application value and a KNX group value, one class per KNX value format,
// and the range objects that bound and scale their values.
//
// The DPT value map owns one converter per DPT entry, made with Clone(); a converter holds its
// range by value and is used read-only afterwards, from any thread.
//
// Every operation returns false after one log line when it refuses a value; a group value that
// does not fit an accessor (KnxStack::GroupValueException) is refused the same way.
#pragma once

#include "ErvObjectModel/Export.h"

#include "AvoValue/AvoValue.h"
#include "KnxStack/GroupValue.h"
#include "KnxStack/KnxDpt.h"

#include <cstdint>
#include <string>

namespace Erv {

namespace detail {
// The bounds shared by the four range classes: an internal interval (application side), an
// external interval (bus side) and the factor between their widths (external per internal unit).
// Never 0.0: 1.0 unless a valid factor was computed.
template <class Internal, class External>
class RangeBounds {
public:
    Internal GetInternalMin() const { return m_internalMin; }
    Internal GetInternalMax() const { return m_internalMax; }
    External GetExternalMin() const { return m_externalMin; }
    External GetExternalMax() const { return m_externalMax; }
    double GetScaleFactor() const { return m_scaleFactor; }

    // internalMin <= value <= internalMax, both inclusive; a NaN is outside.
    template <class T>
    bool Contains(T value) const
    {
        return m_internalMin <= value && value <= m_internalMax;
    }

protected:
    RangeBounds(Internal internalMin, Internal internalMax, External externalMin, External externalMax)
        : m_internalMin(internalMin), m_internalMax(internalMax), m_externalMin(externalMin),
          m_externalMax(externalMax)
    {
    }

    Internal m_internalMin;
    Internal m_internalMax;
    External m_externalMin;
    External m_externalMax;
    double m_scaleFactor = 1.0;
};
} // namespace detail

// Each constructor stores the bounds (internalMin, internalMax, externalMin, externalMax) and
// computes the scale factor; an empty interval is logged and leaves the factor at 1.0.
class ERVOBJECTMODEL_EXPORT IntegerRange : public detail::RangeBounds<std::int32_t, std::int32_t> {
public:
    IntegerRange(std::int32_t internalMin, std::int32_t internalMax, std::int32_t externalMin,
                 std::int32_t externalMax);
    void CalculateScaleFactor();
};

class ERVOBJECTMODEL_EXPORT LongIntegerRange : public detail::RangeBounds<std::int64_t, std::int64_t> {
public:
    LongIntegerRange(std::int64_t internalMin, std::int64_t internalMax, std::int64_t externalMin,
                     std::int64_t externalMax);
    void CalculateScaleFactor();
};

class ERVOBJECTMODEL_EXPORT FloatIntegerRange : public detail::RangeBounds<double, std::int32_t> {
public:
    // The 2-octet float's values [-671088.64, 670760.96] onto the whole signed 32-bit range.
    FloatIntegerRange();
    FloatIntegerRange(double internalMin, double internalMax, std::int32_t externalMin, std::int32_t externalMax);
    void CalculateScaleFactor();
};

// Unlike the other three, measures its widths without sign: a reversed interval gives a positive
// factor.
class ERVOBJECTMODEL_EXPORT FloatRange : public detail::RangeBounds<double, double> {
public:
    FloatRange(double internalMin, double internalMax, double externalMin, double externalMax);
    void CalculateScaleFactor();
};

// "IntegerRange(0, 255, 0, 100)"; LongIntegerRange deliberately prints with the same word.
ERVOBJECTMODEL_EXPORT std::string ToString(const IntegerRange& range);
ERVOBJECTMODEL_EXPORT std::string ToString(const LongIntegerRange& range);
ERVOBJECTMODEL_EXPORT std::string ToString(const FloatIntegerRange& range);
ERVOBJECTMODEL_EXPORT std::string ToString(const FloatRange& range);

class ERVOBJECTMODEL_EXPORT KnxConverter {
public:
    virtual ~KnxConverter() = default;
    virtual bool ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) = 0;
    virtual bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) = 0;
    // A new heap copy of the same concrete class, ranges included; the caller owns it (and deletes
    // it through this interface). A raw pointer, as hosts' converters declare it.
    virtual KnxConverter* Clone() const = 0;

protected:
    KnxConverter() = default;
    KnxConverter(const KnxConverter&) = default;
    KnxConverter& operator=(const KnxConverter&) = default;
};

// Implements Clone() for a concrete converter class.
template <class Derived>
class KnxConverterBase : public KnxConverter {
public:
    KnxConverter* Clone() const override { return new Derived(static_cast<const Derived&>(*this)); }
};

// A converter that holds a range, set where the DPT table is filled.
template <class Derived, class Range>
class KnxConverterWithRange : public KnxConverterBase<Derived> {
public:
    explicit KnxConverterWithRange(const Range& range) : m_range(range) {}
    const Range& GetRange() const { return m_range; }

protected:
    Range m_range;
};

#define ERV_KNX_CONVERTER_OPERATIONS                                                                            \
    bool ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) override;          \
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) override

// For DPTs without a converter of their own: goes through the value library's byte-array bridge.
class ERVOBJECTMODEL_EXPORT KnxConverterDefault : public KnxConverterBase<KnxConverterDefault> {
public:
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 1.x, boolean. Its checks fail silently.
class ERVOBJECTMODEL_EXPORT KnxConverter1Bit : public KnxConverterBase<KnxConverter1Bit> {
public:
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 2.x, two bits carried in an ivtByte value.
class ERVOBJECTMODEL_EXPORT KnxConverter2Bit : public KnxConverterBase<KnxConverter2Bit> {
public:
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 3.x, four bits carried in an ivtByte value.
class ERVOBJECTMODEL_EXPORT KnxConverter4Bit : public KnxConverterBase<KnxConverter4Bit> {
public:
    ERV_KNX_CONVERTER_OPERATIONS;
};

// 8-bit formats ------------------------------------------------------------------------------

// DPT 4.x, one character: UTF-8 in the application, one byte on the bus.
class ERVOBJECTMODEL_EXPORT KnxConverter8BitString : public KnxConverterWithRange<KnxConverter8BitString, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 5.x, 20.x, 21.x, 23.x, 236.x, 238.x: an unsigned byte.
class ERVOBJECTMODEL_EXPORT KnxConverterByte8BitUnsigned : public KnxConverterWithRange<KnxConverterByte8BitUnsigned, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 6.x: a signed byte. Its range is carried but never consulted.
class ERVOBJECTMODEL_EXPORT KnxConverterInteger8BitSigned : public KnxConverterWithRange<KnxConverterInteger8BitSigned, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 6.020: status with a three-bit mode field.
class ERVOBJECTMODEL_EXPORT KnxConverterStatus8Bit : public KnxConverterWithRange<KnxConverterStatus8Bit, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// Multi-byte numbers --------------------------------------------------------------------------

// DPT 7.x: unsigned 16-bit.
class ERVOBJECTMODEL_EXPORT KnxConverterInteger16BitUnsigned
    : public KnxConverterWithRange<KnxConverterInteger16BitUnsigned, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 8.x: signed 16-bit.
class ERVOBJECTMODEL_EXPORT KnxConverterInteger16BitSigned : public KnxConverterWithRange<KnxConverterInteger16BitSigned, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 9.x: the 2-octet KNX float, validated against its range in both directions.
class ERVOBJECTMODEL_EXPORT KnxConverterFloat16BitFloat : public KnxConverterWithRange<KnxConverterFloat16BitFloat, FloatRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 14.x: the 4-octet IEEE float.
class ERVOBJECTMODEL_EXPORT KnxConverterFloat32BitFloat : public KnxConverterWithRange<KnxConverterFloat32BitFloat, FloatRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// 3-octet unsigned (DPT 232.x). Its range is carried but never consulted.
class ERVOBJECTMODEL_EXPORT KnxConverterInteger24BitUnsigned
    : public KnxConverterWithRange<KnxConverterInteger24BitUnsigned, LongIntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 12.x, 15.x, 27.x: unsigned 32-bit.
class ERVOBJECTMODEL_EXPORT KnxConverterInteger32BitUnsigned
    : public KnxConverterWithRange<KnxConverterInteger32BitUnsigned, LongIntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 13.x: signed 32-bit, scaled through its range toward the bus.
class ERVOBJECTMODEL_EXPORT KnxConverterInteger32BitSigned : public KnxConverterWithRange<KnxConverterInteger32BitSigned, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// Text, date and time -------------------------------------------------------------------------

// DPT 16.x: 14 characters, UTF-8 in the application, one byte each on the bus, filtered by range.
class ERVOBJECTMODEL_EXPORT KnxConverter14ByteString : public KnxConverterWithRange<KnxConverter14ByteString, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 11.001: date.
class ERVOBJECTMODEL_EXPORT KnxConverterDate : public KnxConverterBase<KnxConverterDate> {
public:
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 10.001: time of day with weekday.
class ERVOBJECTMODEL_EXPORT KnxConverterTimeOfDay : public KnxConverterBase<KnxConverterTimeOfDay> {
public:
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 19.001: date and time, eight octets.
class ERVOBJECTMODEL_EXPORT KnxConverterDateTime : public KnxConverterBase<KnxConverterDateTime> {
public:
    ERV_KNX_CONVERTER_OPERATIONS;
};

// Scenes --------------------------------------------------------------------------------------

// DPT 17.001: scene number, bounded by its range.
class ERVOBJECTMODEL_EXPORT KnxConverterSceneNumber : public KnxConverterWithRange<KnxConverterSceneNumber, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 18.001: scene control (learn bit and scene number). Its range is carried but not consulted.
class ERVOBJECTMODEL_EXPORT KnxConverterSceneControl : public KnxConverterWithRange<KnxConverterSceneControl, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

// DPT 26.001: scene information. Its range is carried but not consulted.
class ERVOBJECTMODEL_EXPORT KnxConverterSceneInfo : public KnxConverterWithRange<KnxConverterSceneInfo, IntegerRange> {
public:
    using KnxConverterWithRange::KnxConverterWithRange;
    ERV_KNX_CONVERTER_OPERATIONS;
};

} // namespace Erv
