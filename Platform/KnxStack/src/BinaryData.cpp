#include "KnxStack/BinaryData.h"

#include "KnxStack/GroupValueException.h"

#include <algorithm>

namespace KnxStack {

namespace {

[[noreturn]] void ThrowOutOfRange(const char* what, std::size_t index, std::size_t length)
{
    throw GroupValueException(std::string(what) + ": index " + std::to_string(index) + " is outside data of " +
                              std::to_string(length) + " bytes");
}

} // namespace

BinaryData::BinaryData(const unsigned char* data, std::size_t length)
{
    if (length > Capacity)
        throw GroupValueException("BinaryData: " + std::to_string(length) + " bytes exceed the capacity of " +
                                  std::to_string(Capacity));
    if (length > 0)
        std::copy(data, data + length, m_bytes.begin());
    m_length = length;
}

std::uint32_t BinaryData::ReadBigEndian(std::size_t index, std::size_t width) const
{
    if (index + width <= m_length) {
        // The whole number is there: no bounds to weigh per byte.
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < width; ++i)
            value = (value << 8) | m_bytes[index + i];
        return value;
    }
    if (index >= m_length)
        ThrowOutOfRange("BinaryData read", index, m_length);
    // A short buffer is taken as the low-order end of the number: the sender dropped leading bytes.
    const std::size_t end = std::min(m_length, index + width);
    std::uint32_t value = 0;
    for (std::size_t i = index; i < end; ++i)
        value = (value << 8) | m_bytes[i];
    return value;
}

std::uint8_t BinaryData::GetUInt8Value(std::size_t index) const
{
    return static_cast<std::uint8_t>(ReadBigEndian(index, 1));
}

std::uint16_t BinaryData::GetUInt16Value(std::size_t index) const
{
    return static_cast<std::uint16_t>(ReadBigEndian(index, 2));
}

std::uint32_t BinaryData::GetUInt24Value(std::size_t index) const { return ReadBigEndian(index, 3); }

std::uint32_t BinaryData::GetUInt32Value(std::size_t index) const { return ReadBigEndian(index, 4); }

void BinaryData::SetUInt8Value(std::size_t index, std::uint8_t value)
{
    if (index >= Capacity)
        ThrowOutOfRange("BinaryData write", index, Capacity);
    if (index >= m_length) {
        // Zero the gap explicitly rather than trust what lies past the end of the data.
        std::fill(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_length),
                  m_bytes.begin() + static_cast<std::ptrdiff_t>(index), 0);
        m_length = index + 1;
    }
    m_bytes[index] = value;
}

std::string BinaryData::ToString() const
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    if (m_length == 0)
        return text;
    text.reserve(m_length * 3 - 1);
    for (std::size_t i = 0; i < m_length; ++i) {
        if (i > 0)
            text += ' ';
        text += digits[m_bytes[i] >> 4];
        text += digits[m_bytes[i] & 0x0F];
    }
    return text;
}

bool BinaryData::operator==(const BinaryData& other) const
{
    return m_length == other.m_length &&
           std::equal(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_length), other.m_bytes.begin());
}

} // namespace KnxStack
