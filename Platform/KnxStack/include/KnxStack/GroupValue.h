// A KNX group value: raw bytes plus a defined size in bits, with the standard KNX bus encodings.
//
// Setters encode and set the defined size. Getters decode and throw GroupValueException when
// the defined size does not fit the getter or the raw data does not hold its bytes:
//  - the sub-byte getters (Boolean, Unsigned2/3/4) read the low bits of the first byte of a value
//    of 1 to 8 bits;
//  - every other getter needs exactly its width: 8 (Char, Unsigned8, Signed8), 16 (Unsigned16,
//    Signed16, Float16), 24 (Date, TimeOfDay), 32 (Unsigned32, Signed32, Float32) or 112 bits
//    (String14).
// Encodings: 2-octet float (DPT 9) is 0.01 * M * 2^E with M a 12-bit two's complement mantissa
// and E in 0..15, the smallest E for which the rounded M fits, M the nearest mantissa; a value is a
// tie only when its shortest decimal form (the shortest text that reads back as the same double)
// lies exactly halfway, and ties go to even; NaN is the invalid-data pattern 7F FF; a value that
// rounds to M = 0 is 00 00. Multi-byte integers and the 4-octet float are big-endian. Time of day
// (DPT 10) has the weekday in the top 3 bits of the first byte; date (DPT 11) carries a two-digit
// year, below 90 meaning 20xx. The 14-octet string (DPT 16) is padded with zero bytes and cut at 14.
#pragma once

#include "KnxStack/Export.h"

#include "KnxStack/BinaryData.h"
#include "KnxStack/GroupValueException.h"

#include <iosfwd>
#include <string>

namespace KnxStack {

class KNXSTACK_EXPORT GroupValue {
public:
    enum DayOfWeek { NoDay = 0, Monday, Tuesday, Wednesday, Thursday, Friday, Saturday, Sunday };

    GroupValue() = default;
    GroupValue(const BinaryData& data, unsigned int definedSizeInBits);

    unsigned int GetDefinedSize() const { return m_definedSize; }
    const BinaryData& GetRawData() const { return m_data; }
    // Replaces the bytes; the defined size becomes 8 bits per byte.
    void SetRawData(const BinaryData& data);

    // Sub-byte setters keep the low bits of their width (SetAsUnsigned2(17) stores 1).
    void SetAsBoolean(bool value);
    void SetAsUnsigned2(unsigned char value);
    void SetAsUnsigned4(unsigned char value);
    void SetAsChar(char value);
    void SetAsUnsigned8(unsigned char value);
    void SetAsSigned8(signed char value);
    void SetAsUnsigned16(unsigned short value);
    void SetAsSigned16(short value);
    // Throws for a value outside [-671088.64, 670760.96] after rounding (infinities included).
    void SetAsFloat16(double value);
    void SetAsFloat32(float value);
    // Throw for a value outside the 32-bit range (possible where long is 64 bits).
    void SetAsUnsigned32(unsigned long value);
    void SetAsSigned32(long value);
    void SetAsString14(const std::string& value);
    // Throws unless 1990 <= year <= 2089, 1 <= month <= 12, 1 <= day <= 31.
    void SetAsDate(int year, int month, int day);
    // Throws unless hour 0..23, minute and second 0..59, day of week 0..7.
    void SetAsTimeOfDay(int hour, int minute, int second, DayOfWeek dayOfWeek);

    bool GetAsBoolean() const;
    unsigned char GetAsUnsigned2() const;
    unsigned char GetAsUnsigned3() const;
    unsigned char GetAsUnsigned4() const;
    unsigned char GetAsUnsigned8() const;
    signed char GetAsSigned8() const;
    unsigned short GetAsUnsigned16() const;
    short GetAsSigned16() const;
    // 7F FF decodes arithmetically to 670760.96; callers decide whether it means "invalid".
    double GetAsFloat16() const;
    float GetAsFloat32() const;
    unsigned long GetAsUnsigned32() const;
    long GetAsSigned32() const;
    // The 14 bytes up to the first zero byte.
    std::string GetAsString14() const;
    // The fields as they stand on the bus (masked to their bits); the year has its century.
    void GetAsDate(int* year, int* month, int* day) const;
    void GetAsTimeOfDay(int* hour, int* minute, int* second, DayOfWeek* dayOfWeek) const;

    // "<defined size> bits: <hex bytes>", e.g. "16 bits: 0C 1A".
    std::string ToString() const;

    bool operator==(const GroupValue& other) const
    {
        return m_definedSize == other.m_definedSize && m_data == other.m_data;
    }
    bool operator!=(const GroupValue& other) const { return !(*this == other); }

private:
    void Set(unsigned int bits, const unsigned char* bytes, std::size_t length);
    const unsigned char* Bytes(unsigned int bits, const char* getter) const;
    unsigned char LowBits(unsigned int width, const char* getter) const;

    BinaryData m_data;
    unsigned int m_definedSize = 0;
};

KNXSTACK_EXPORT std::ostream& operator<<(std::ostream& os, const GroupValue& value);

} // namespace KnxStack
