#include "KnxStack/GroupValue.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>

namespace KnxStack {

namespace {

constexpr int Float16ExponentMax = 15;
constexpr std::uint16_t Float16Invalid = 0x7FFF;
constexpr std::size_t String14Length = 14;

// 2^-E and 2^E for the exponents an encoding may try (one past the largest, where -2048 at the
// largest is still in reach). Scaling by them is exact, unlike a division by 100.
constexpr double Float16Down[Float16ExponentMax + 2] = {
    1.0, 0x1p-1, 0x1p-2, 0x1p-3, 0x1p-4, 0x1p-5, 0x1p-6, 0x1p-7, 0x1p-8,
    0x1p-9, 0x1p-10, 0x1p-11, 0x1p-12, 0x1p-13, 0x1p-14, 0x1p-15, 0x1p-16};
constexpr double Float16Up[Float16ExponentMax + 1] = {
    1.0, 0x1p1, 0x1p2, 0x1p3, 0x1p4, 0x1p5, 0x1p6, 0x1p7, 0x1p8, 0x1p9, 0x1p10, 0x1p11, 0x1p12, 0x1p13, 0x1p14,
    0x1p15};

// How far from a tie point (in units of the mantissa) a product value * 100 may land although the
// value lies exactly on it, or on the other side: the product's rounding error plus the distance
// between a double and its shortest decimal form, both below 2^-41 for mantissas under 4096. With
// margin; closer calls are settled in decimal.
constexpr double Float16TieZone = 0x1p-36;

// Compares 2 * 100 * (the shortest decimal form of `value`) with `twiceTie`, an integer: -1, 0, 1.
// Only called near a tie point, so both sides are of similar size and fit in 64 bits.
int CompareShortestDecimal(double value, std::uint64_t twiceTie)
{
    char text[32];
    const auto written = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    // "[-]d[.ddd]e[+-]xx": the digits as one integer, and the power of ten that scales it.
    std::uint64_t digits = 0;
    int count = 0;
    const char* p = text;
    if (*p == '-')
        ++p;
    for (; p != written.ptr && *p != 'e'; ++p) {
        if (*p != '.') {
            digits = digits * 10 + static_cast<unsigned>(*p - '0');
            ++count;
        }
    }
    int power = 0;
    std::from_chars(p + 1 + (p[1] == '+'), written.ptr, power);
    power += 2 - (count - 1); // times 100, less the digits after the point
    std::uint64_t left = 2 * digits;
    std::uint64_t right = twiceTie;
    for (; power > 0; --power) {
        if (left > right)
            return 1;
        left *= 10;
    }
    for (; power < 0; ++power) {
        if (right > left)
            return -1;
        right *= 10;
    }
    return left < right ? -1 : left > right ? 1 : 0;
}

// The magnitude of the mantissa nearest to |value| * 100 / 2^E, ties to even. `scaled` is
// |value * 100| * 2^-E as computed in binary, below 4096.
std::uint32_t NearestMantissa(double value, double scaled, int exponent)
{
    const auto whole = static_cast<std::uint32_t>(scaled);
    const double fromHalf = (scaled - whole) - 0.5; // both steps exact
    if (fromHalf > Float16TieZone)
        return whole + 1;
    if (fromHalf < -Float16TieZone)
        return whole;
    // Near a tie point binary cannot tell: a value is a tie only when its shortest decimal form,
    // the text it was written as, lies exactly halfway.
    const int side = CompareShortestDecimal(value, (2 * std::uint64_t{whole} + 1) << exponent);
    return side > 0 || (side == 0 && (whole & 1) != 0) ? whole + 1 : whole;
}

// 0.01 * M * 2^E with the smallest E in 0..15 for which the nearest M fits into -2048..2047.
std::uint16_t EncodeFloat16(double value)
{
    if (std::isnan(value))
        return Float16Invalid;
    if (!std::isfinite(value))
        throw GroupValueException("SetAsFloat16: " + std::to_string(value) + " cannot be held in a 2-octet float");

    const double magnitude = std::fabs(value * 100.0);
    const bool negative = value < 0.0;
    // The exponent that brings the magnitude into [1024, 2048), read from the double's own.
    int exponent = 0;
    if (magnitude >= 2048.0) {
        std::uint64_t bits;
        std::memcpy(&bits, &magnitude, sizeof bits);
        exponent = static_cast<int>(bits >> 52) - 1023 - 10;
    }
    if (exponent > Float16ExponentMax + 1)
        throw GroupValueException("SetAsFloat16: " + std::to_string(value) +
                                  " is outside the range of a 2-octet float [-671088.64, 670760.96]");
    std::uint32_t mantissa = NearestMantissa(value, magnitude * Float16Down[exponent], exponent);
    if (mantissa == 2048 && !negative) {
        // Rounded up out of the binade: -2048 fits, +2048 does not.
        ++exponent;
        mantissa = 1024;
    } else if (mantissa == 1024 && negative && exponent > 0) {
        // -2048 one exponent lower may still be the nearest.
        const std::uint32_t lower = NearestMantissa(value, magnitude * Float16Down[exponent - 1], exponent - 1);
        if (lower == 2048) {
            --exponent;
            mantissa = lower;
        }
    }
    if (exponent > Float16ExponentMax)
        throw GroupValueException("SetAsFloat16: " + std::to_string(value) +
                                  " is outside the range of a 2-octet float [-671088.64, 670760.96]");
    // The sign comes from the mantissa, so -0 and tiny negatives give 00 00, never 80 00
    // (which reads as -20.48).
    const std::uint32_t m = negative && mantissa != 0 ? 4096 - mantissa : mantissa;
    return static_cast<std::uint16_t>((m & 0x800u) << 4 | static_cast<unsigned>(exponent) << 11 | (m & 0x07FFu));
}

double DecodeFloat16(std::uint16_t word)
{
    int mantissa = word & 0x07FF;
    if (word & 0x8000)
        mantissa -= 2048;
    const int exponent = (word >> 11) & 0x0F;
    // Scaling by a power of two is exact, so the single division gives the double nearest to the
    // decimal value.
    return mantissa * Float16Up[exponent] / 100.0;
}

// Two's complement reinterpretation, spelled out to stay clear of implementation-defined casts.
std::int32_t ToSigned(std::uint32_t bits, unsigned width)
{
    const std::int64_t value = bits;
    const std::int64_t half = std::int64_t{1} << (width - 1);
    return static_cast<std::int32_t>(value >= half ? value - 2 * half : value);
}

void PutBigEndian32(std::uint32_t word, unsigned char* bytes)
{
    bytes[0] = static_cast<unsigned char>(word >> 24);
    bytes[1] = static_cast<unsigned char>(word >> 16);
    bytes[2] = static_cast<unsigned char>(word >> 8);
    bytes[3] = static_cast<unsigned char>(word);
}

std::uint32_t GetBigEndian32(const unsigned char* bytes)
{
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

std::string BitsAndBytes(unsigned bits, std::size_t bytes)
{
    return std::to_string(bits) + " bits and " + std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
}

// Kept out of the getters, so that their common path stays a compare and a load. `bits` 0 stands
// for the sub-byte getters' 1 to 8 bits.
[[noreturn]] [[gnu::noinline, gnu::cold]] void ThrowSizeMismatch(const char* getter, unsigned bits, std::size_t bytes,
                                                                  unsigned definedSize, std::size_t length)
{
    const std::string needs = bits == 0 ? "1 to 8 bits and 1 byte" : BitsAndBytes(bits, bytes);
    throw GroupValueException(std::string(getter) + " needs " + needs + ", the value has " +
                              BitsAndBytes(definedSize, length));
}

} // namespace

GroupValueException::~GroupValueException() = default;

GroupValue::GroupValue(const BinaryData& data, unsigned int definedSizeInBits)
    : m_data(data), m_definedSize(definedSizeInBits)
{
}

void GroupValue::SetRawData(const BinaryData& data)
{
    m_data = data;
    m_definedSize = static_cast<unsigned int>(data.GetLength() * 8);
}

void GroupValue::Set(unsigned int bits, const unsigned char* bytes, std::size_t length)
{
    m_data = BinaryData(bytes, length);
    m_definedSize = bits;
}

const unsigned char* GroupValue::Bytes(unsigned int bits, const char* getter) const
{
    if (m_definedSize != bits || m_data.GetLength() < bits / 8)
        ThrowSizeMismatch(getter, bits, bits / 8, m_definedSize, m_data.GetLength());
    return m_data.GetData();
}

unsigned char GroupValue::LowBits(unsigned int width, const char* getter) const
{
    if (m_definedSize < 1 || m_definedSize > 8 || m_data.GetLength() < 1)
        ThrowSizeMismatch(getter, 0, 1, m_definedSize, m_data.GetLength());
    return static_cast<unsigned char>(m_data.GetData()[0] & ((1u << width) - 1u));
}

void GroupValue::SetAsBoolean(bool value)
{
    const unsigned char byte = value ? 1 : 0;
    Set(1, &byte, 1);
}

void GroupValue::SetAsUnsigned2(unsigned char value)
{
    const unsigned char byte = value & 0x03;
    Set(2, &byte, 1);
}

void GroupValue::SetAsUnsigned4(unsigned char value)
{
    const unsigned char byte = value & 0x0F;
    Set(4, &byte, 1);
}

void GroupValue::SetAsChar(char value)
{
    const unsigned char byte = static_cast<unsigned char>(value);
    Set(8, &byte, 1);
}

void GroupValue::SetAsUnsigned8(unsigned char value) { Set(8, &value, 1); }

void GroupValue::SetAsSigned8(signed char value)
{
    const unsigned char byte = static_cast<unsigned char>(value);
    Set(8, &byte, 1);
}

void GroupValue::SetAsUnsigned16(unsigned short value)
{
    const unsigned char bytes[] = {static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
    Set(16, bytes, sizeof bytes);
}

void GroupValue::SetAsSigned16(short value) { SetAsUnsigned16(static_cast<unsigned short>(value)); }

void GroupValue::SetAsFloat16(double value)
{
    const std::uint16_t word = EncodeFloat16(value);
    const unsigned char bytes[] = {static_cast<unsigned char>(word >> 8), static_cast<unsigned char>(word)};
    Set(16, bytes, sizeof bytes);
}

void GroupValue::SetAsFloat32(float value)
{
    static_assert(sizeof(float) == 4 && std::numeric_limits<float>::is_iec559, "DPT 14 is IEEE single");
    std::uint32_t word;
    std::memcpy(&word, &value, sizeof word);
    unsigned char bytes[4];
    PutBigEndian32(word, bytes);
    Set(32, bytes, sizeof bytes);
}

void GroupValue::SetAsUnsigned32(unsigned long value)
{
    // Widened first: where long is 32 bits a direct comparison would always be false and warn.
    if (static_cast<std::uint64_t>(value) > std::numeric_limits<std::uint32_t>::max())
        throw GroupValueException("SetAsUnsigned32: " + std::to_string(value) + " does not fit in 32 bits");
    unsigned char bytes[4];
    PutBigEndian32(static_cast<std::uint32_t>(value), bytes);
    Set(32, bytes, sizeof bytes);
}

void GroupValue::SetAsSigned32(long value)
{
    const auto wide = static_cast<std::int64_t>(value);
    if (wide < std::numeric_limits<std::int32_t>::min() || wide > std::numeric_limits<std::int32_t>::max())
        throw GroupValueException("SetAsSigned32: " + std::to_string(value) + " does not fit in 32 bits");
    unsigned char bytes[4];
    PutBigEndian32(static_cast<std::uint32_t>(wide & 0xFFFFFFFF), bytes);
    Set(32, bytes, sizeof bytes);
}

void GroupValue::SetAsString14(const std::string& value)
{
    unsigned char bytes[String14Length] = {};
    std::memcpy(bytes, value.data(), std::min(value.size(), String14Length));
    Set(112, bytes, sizeof bytes);
}

void GroupValue::SetAsDate(int year, int month, int day)
{
    // The two-digit year on the bus covers exactly this century window.
    if (year < 1990 || year > 2089 || month < 1 || month > 12 || day < 1 || day > 31)
        throw GroupValueException("SetAsDate: " + std::to_string(year) + "-" + std::to_string(month) + "-" +
                                  std::to_string(day) + " cannot be encoded (years 1990 to 2089)");
    const unsigned char bytes[] = {static_cast<unsigned char>(day), static_cast<unsigned char>(month),
                                   static_cast<unsigned char>(year % 100)};
    Set(24, bytes, sizeof bytes);
}

void GroupValue::SetAsTimeOfDay(int hour, int minute, int second, DayOfWeek dayOfWeek)
{
    const int day = static_cast<int>(dayOfWeek);
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59 || day < 0 || day > 7)
        throw GroupValueException("SetAsTimeOfDay: " + std::to_string(hour) + ":" + std::to_string(minute) + ":" +
                                  std::to_string(second) + " on day " + std::to_string(day) + " cannot be encoded");
    const unsigned char bytes[] = {static_cast<unsigned char>(day << 5 | hour), static_cast<unsigned char>(minute),
                                   static_cast<unsigned char>(second)};
    Set(24, bytes, sizeof bytes);
}

bool GroupValue::GetAsBoolean() const { return LowBits(1, "GetAsBoolean") != 0; }
unsigned char GroupValue::GetAsUnsigned2() const { return LowBits(2, "GetAsUnsigned2"); }
unsigned char GroupValue::GetAsUnsigned3() const { return LowBits(3, "GetAsUnsigned3"); }
unsigned char GroupValue::GetAsUnsigned4() const { return LowBits(4, "GetAsUnsigned4"); }

unsigned char GroupValue::GetAsUnsigned8() const { return Bytes(8, "GetAsUnsigned8")[0]; }

signed char GroupValue::GetAsSigned8() const
{
    return static_cast<signed char>(ToSigned(Bytes(8, "GetAsSigned8")[0], 8));
}

unsigned short GroupValue::GetAsUnsigned16() const
{
    const unsigned char* bytes = Bytes(16, "GetAsUnsigned16");
    return static_cast<unsigned short>(bytes[0] << 8 | bytes[1]);
}

short GroupValue::GetAsSigned16() const
{
    const unsigned char* bytes = Bytes(16, "GetAsSigned16");
    return static_cast<short>(ToSigned(static_cast<std::uint32_t>(bytes[0] << 8 | bytes[1]), 16));
}

double GroupValue::GetAsFloat16() const
{
    const unsigned char* bytes = Bytes(16, "GetAsFloat16");
    return DecodeFloat16(static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]));
}

float GroupValue::GetAsFloat32() const
{
    const std::uint32_t word = GetBigEndian32(Bytes(32, "GetAsFloat32"));
    float value;
    std::memcpy(&value, &word, sizeof value);
    return value;
}

unsigned long GroupValue::GetAsUnsigned32() const { return GetBigEndian32(Bytes(32, "GetAsUnsigned32")); }

long GroupValue::GetAsSigned32() const { return ToSigned(GetBigEndian32(Bytes(32, "GetAsSigned32")), 32); }

std::string GroupValue::GetAsString14() const
{
    const auto* bytes = reinterpret_cast<const char*>(Bytes(112, "GetAsString14"));
    return std::string(bytes, std::find(bytes, bytes + String14Length, '\0'));
}

void GroupValue::GetAsDate(int* year, int* month, int* day) const
{
    const unsigned char* bytes = Bytes(24, "GetAsDate");
    const int twoDigitYear = bytes[2] & 0x7F;
    if (year)
        *year = twoDigitYear < 90 ? 2000 + twoDigitYear : 1900 + twoDigitYear;
    if (month)
        *month = bytes[1] & 0x0F;
    if (day)
        *day = bytes[0] & 0x1F;
}

void GroupValue::GetAsTimeOfDay(int* hour, int* minute, int* second, DayOfWeek* dayOfWeek) const
{
    const unsigned char* bytes = Bytes(24, "GetAsTimeOfDay");
    if (hour)
        *hour = bytes[0] & 0x1F;
    if (minute)
        *minute = bytes[1] & 0x3F;
    if (second)
        *second = bytes[2] & 0x3F;
    if (dayOfWeek)
        *dayOfWeek = static_cast<DayOfWeek>(bytes[0] >> 5);
}

std::string GroupValue::ToString() const { return std::to_string(m_definedSize) + " bits: " + m_data.ToString(); }

std::ostream& operator<<(std::ostream& os, const GroupValue& value) { return os << value.ToString(); }

} // namespace KnxStack
