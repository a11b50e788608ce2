// The raw bytes of a KNX group value, held inline (no heap allocation: this runs on the bus path).
#pragma once

#include "KnxStack/Export.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace KnxStack {

class KNXSTACK_EXPORT BinaryData {
public:
    // Enough for any KNX DPT of up to 255 bits; longer data throws GroupValueException.
    static constexpr std::size_t Capacity = 32;

    BinaryData() = default;
    BinaryData(const unsigned char* data, std::size_t length);

    std::size_t GetLength() const { return m_length; }
    const unsigned char* GetData() const { return m_bytes.data(); }

    // Multi-byte numbers are big-endian. A read that runs past the end uses the bytes that are
    // there as its low-order part (a 3-byte buffer read with GetUInt32Value(0) gives its 24-bit
    // number); a read that starts at or past the end throws GroupValueException.
    std::uint8_t GetUInt8Value(std::size_t index) const;
    std::uint16_t GetUInt16Value(std::size_t index) const;
    std::uint32_t GetUInt24Value(std::size_t index) const;
    std::uint32_t GetUInt32Value(std::size_t index) const;

    // Writes one byte; writing at or past the end grows the data (zero-filled) up to Capacity.
    void SetUInt8Value(std::size_t index, std::uint8_t value);

    // Upper-case hexadecimal bytes separated by blanks, e.g. "0C 1A"; empty data gives "".
    std::string ToString() const;

    bool operator==(const BinaryData& other) const;
    bool operator!=(const BinaryData& other) const { return !(*this == other); }

private:
    std::uint32_t ReadBigEndian(std::size_t index, std::size_t width) const;

    std::array<unsigned char, Capacity> m_bytes{};
    std::size_t m_length = 0;
};

} // namespace KnxStack
