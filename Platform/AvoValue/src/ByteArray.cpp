#include "AvoValue/AvoValue.h"

#include "ValueKinds.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using AvoValueDetail::KindOf;
using AvoValueDetail::StorageKind;

constexpr unsigned int MaxNumberBytes = 8;

// The slot as the signed 64-bit number whose low-order bytes the byte form carries.
bool SlotNumber(const AVOVALUE& value, StorageKind kind, std::int64_t& number)
{
    switch (kind) {
    case StorageKind::Double: {
        const double d = value.GetDouble();
        if (std::isnan(d))
            return false;
        // Saturate rather than let llround meet a value it cannot represent.
        if (d >= 0x1p63)
            number = std::numeric_limits<std::int64_t>::max();
        else if (d < -0x1p63)
            number = std::numeric_limits<std::int64_t>::min();
        else
            number = std::llround(d);
        return true;
    }
    case StorageKind::Signed32: number = value.GetInteger(); return true;
    case StorageKind::Byte: number = value.GetByte(); return true;
    case StorageKind::Word: number = value.GetWord(); return true;
    case StorageKind::DWord: number = value.GetDWord(); return true;
    default: return false;
    }
}

AvoValueType TypeForLength(unsigned int length)
{
    if (length == 1)
        return ivtByte;
    if (length == 2)
        return ivtWord;
    if (length <= 4)
        return ivtDWord;
    return ivtString;
}

} // namespace

bool AvoValueToByteArray(const AVOVALUE& value, unsigned char* buffer, unsigned int& length)
{
    if (length == 0 || buffer == nullptr)
        return false;
    const StorageKind kind = KindOf(value.ivt);
    switch (kind) {
    case StorageKind::None:
    case StorageKind::Calendar: return false;
    case StorageKind::Boolean:
        std::fill_n(buffer, length, 0);
        buffer[length - 1] = value.GetBool() ? 1 : 0;
        return true;
    case StorageKind::Text: {
        const std::string& text = value.GetString();
        const std::size_t copied = std::min<std::size_t>(length, text.size());
        std::copy_n(text.data(), copied, buffer);
        std::fill(buffer + copied, buffer + length, 0);
        return true;
    }
    default: {
        std::int64_t number = 0;
        if (!SlotNumber(value, kind, number))
            return false;
        const auto bits = static_cast<std::uint64_t>(number);
        const unsigned char signFill = number < 0 ? 0xFF : 0x00;
        for (unsigned int i = 0; i < length; ++i) {
            const unsigned int fromEnd = length - 1 - i;
            buffer[i] = fromEnd < MaxNumberBytes ? static_cast<unsigned char>(bits >> (8 * fromEnd)) : signFill;
        }
        return true;
    }
    }
}

bool ByteArrayToAvoValue(const unsigned char* bytes, unsigned int length, AVOVALUE& value, bool inferType)
{
    if (length == 0 || bytes == nullptr)
        return false;
    AVOVALUE result = value;
    StorageKind kind = KindOf(result.ivt);
    if (kind == StorageKind::None || kind == StorageKind::Calendar) {
        if (!inferType)
            return false;
        result = AVOVALUE();
        result.ivt = TypeForLength(length);
        kind = KindOf(result.ivt);
    }
    if (kind == StorageKind::Text) {
        result.SetString(std::string(bytes, std::find(bytes, bytes + length, 0)));
    } else if (kind == StorageKind::Boolean) {
        // The forward direction puts the flag in the last byte; any set bit counts.
        result.SetBool(std::any_of(bytes, bytes + length, [](unsigned char b) { return b != 0; }));
    } else {
        if (length > MaxNumberBytes)
            return false;
        std::uint64_t bits = 0;
        for (unsigned int i = 0; i < length; ++i)
            bits = bits << 8 | bytes[i];
        switch (kind) {
        case StorageKind::Double:
            // Eight bytes are the signed form written above; fewer are read as unsigned.
            result.SetDouble(length == MaxNumberBytes ? static_cast<double>(static_cast<std::int64_t>(bits))
                                                      : static_cast<double>(bits));
            break;
        case StorageKind::Signed32:
            result.SetInteger(static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)));
            break;
        case StorageKind::Byte: result.SetByte(static_cast<std::uint8_t>(bits)); break;
        case StorageKind::Word: result.SetWord(static_cast<std::uint16_t>(bits)); break;
        default: result.SetDWord(static_cast<std::uint32_t>(bits)); break;
        }
    }
    value = std::move(result);
    return true;
}
