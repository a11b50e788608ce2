// The application's tagged value.
//
// `ivt` tells which field is in use. The numeric kinds (boolean, double, signed 32-bit, byte, word,
// dword) share one 64-bit slot, read and written through explicit accessors that do not look at
// `ivt`: a word read of a dword value gives its low 16 bits, an integer read of any value gives the
// low 32 bits of the slot read as signed. Writing a slot zeroes the rest of it. Text and AVOTIME
// have fields of their own. A value made by a named constructor has all other storage zeroed.
//
// Text form (Serialize/Deserialize): "<ivt>:<payload>" in the default format and
// "<ivt>.7:<payload>" in the internal format (revision 7 of the device stack's internal value
// format), with <ivt> the type number and <payload> by kind of type:
//   boolean          "true" / "false"
//   double           shortest round-trip decimal, "nan", "inf", "-inf"
//   integer kinds    decimal
//   text             the bytes, with '\\' and bytes below 0x20 or 0x7F written as \xHH
//   calendar kinds   "YYYY-MM-DD hh:mm:ss.cc w<weekDays> k<timeKind> l<0|1> d<0|1>"
//   no payload       "" (ivtInvalid, ivtEmpty, ivtBinary)
// Deserialize(Serialize(v)) == v in both formats; Deserialize reads either format and leaves the
// value unchanged when the text is malformed.
#pragma once

#include "AvoValue/Export.h"

#include "AvoValue/AvoTime.h"
#include "AvoValue/AvoValueType.h"

#include <cstdint>
#include <ostream>
#include <string>

class AVOVALUE_EXPORT AVOVALUE {
public:
    AvoValueType ivt = ivtEmpty;

    AVOVALUE() = default;

    static AVOVALUE Bool(bool value);
    static AVOVALUE Float(double value);
    static AVOVALUE Integer(std::int32_t value);
    static AVOVALUE Byte(std::uint8_t value);
    static AVOVALUE Word(std::uint16_t value);
    static AVOVALUE DWord(std::uint32_t value);
    static AVOVALUE String(std::string utf8);
    // A calendar value of the given type (ivtDate, ivtTime, ivtDateTime, ivtDayTime, ...).
    static AVOVALUE Time(AvoValueType type, const AVOTIME& time);

    bool GetBool() const { return (m_slot & 0xFF) != 0; }
    double GetDouble() const;
    std::int32_t GetInteger() const { return static_cast<std::int32_t>(static_cast<std::uint32_t>(m_slot)); }
    std::uint8_t GetByte() const { return static_cast<std::uint8_t>(m_slot); }
    std::uint16_t GetWord() const { return static_cast<std::uint16_t>(m_slot); }
    std::uint32_t GetDWord() const { return static_cast<std::uint32_t>(m_slot); }
    std::uint64_t GetSlotBits() const { return m_slot; }
    const std::string& GetString() const { return m_text; }
    const AVOTIME& GetTime() const { return m_time; }

    void SetBool(bool value) { m_slot = value ? 1 : 0; }
    void SetDouble(double value);
    void SetInteger(std::int32_t value) { m_slot = static_cast<std::uint32_t>(value); }
    void SetByte(std::uint8_t value) { m_slot = value; }
    void SetWord(std::uint16_t value) { m_slot = value; }
    void SetDWord(std::uint32_t value) { m_slot = value; }
    void SetString(std::string utf8) { m_text = std::move(utf8); }
    AVOTIME& Time() { return m_time; }

    // A readable text of the value for messages, e.g. "21.5", "true", "Hello", "2024-03-01 12:00:00".
    std::string ToString() const;

    void Serialize(std::string& out, bool internalFormat) const;
    bool Deserialize(const std::string& text);

    // The enumerator's name, e.g. "ivtFloat"; "ivtUnknown(<number>)" for any other number.
    static std::string GetNameFromValueType(AvoValueType type);

    // Equal type and equal content of the field that the type uses.
    bool operator==(const AVOVALUE& other) const;
    bool operator!=(const AVOVALUE& other) const { return !(*this == other); }

private:
    std::uint64_t m_slot = 0;
    std::string m_text;
    AVOTIME m_time;
};

// "<ivt name>(<ToString>)", e.g. "ivtFloat(21.5)"; used by tests and tools.
AVOVALUE_EXPORT std::ostream& operator<<(std::ostream& os, const AVOVALUE& value);

// Byte-array bridge: the value as `length` big-endian bytes (numbers: their low-order bytes;
// boolean: one byte 0/1; text: its bytes, zero-padded or cut). `length` is the number of bytes
// wanted on input and written on output; the buffer must hold `length` bytes. False for a length
// of 0 or a type without byte form (calendar kinds, ivtEmpty, ivtInvalid, ivtBinary).
AVOVALUE_EXPORT bool AvoValueToByteArray(const AVOVALUE& value, unsigned char* buffer, unsigned int& length);

// The reverse, into the slot of the value's current type; a number takes at most 8 bytes. When
// the value's type has no byte form and `inferType` is true, the type follows from the length:
// 1 byte ivtByte, 2 ivtWord, 3 or 4 ivtDWord, more ivtString. False when nothing fits.
AVOVALUE_EXPORT bool ByteArrayToAvoValue(const unsigned char* bytes, unsigned int length, AVOVALUE& value, bool inferType);
