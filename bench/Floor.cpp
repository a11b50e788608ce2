#include "Floor.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace ErvBench::Floor {

namespace {

using KnxStack::BinaryData;
using KnxStack::GroupValue;

void Put(GroupValue& bus, unsigned bits, const unsigned char* bytes, std::size_t length)
{
    bus = GroupValue(BinaryData(bytes, length), bits);
}

// The bus bytes when the group value has exactly `bits`, else null.
const unsigned char* Bytes(const GroupValue& bus, unsigned bits)
{
    const BinaryData& raw = bus.GetRawData();
    return bus.GetDefinedSize() == bits && raw.GetLength() == (bits + 7) / 8 ? raw.GetData() : nullptr;
}

bool EncodeBool(const AVOVALUE& v, GroupValue& bus)
{
    if (v.ivt != ivtBool)
        return false;
    const unsigned char byte = v.GetBool() ? 1 : 0;
    Put(bus, 1, &byte, 1);
    return true;
}

bool DecodeBool(const GroupValue& bus, AVOVALUE& v)
{
    const BinaryData& raw = bus.GetRawData();
    if (bus.GetDefinedSize() != 1 || raw.GetLength() != 1)
        return false;
    v.ivt = ivtBool;
    v.SetBool(raw.GetData()[0] & 1);
    return true;
}

bool EncodeByte(const AVOVALUE& v, GroupValue& bus)
{
    if (v.ivt != ivtByte)
        return false;
    const unsigned char byte = v.GetByte();
    Put(bus, 8, &byte, 1);
    return true;
}

bool DecodeByte(const GroupValue& bus, AVOVALUE& v)
{
    const unsigned char* b = Bytes(bus, 8);
    if (!b)
        return false;
    v.ivt = ivtByte;
    v.SetByte(b[0]);
    return true;
}

bool EncodeWord(const AVOVALUE& v, GroupValue& bus)
{
    if (v.ivt != ivtWord)
        return false;
    const std::uint16_t word = v.GetWord();
    const unsigned char bytes[] = {static_cast<unsigned char>(word >> 8), static_cast<unsigned char>(word)};
    Put(bus, 16, bytes, 2);
    return true;
}

bool DecodeWord(const GroupValue& bus, AVOVALUE& v)
{
    const unsigned char* b = Bytes(bus, 16);
    if (!b)
        return false;
    v.ivt = ivtWord;
    v.SetWord(static_cast<std::uint16_t>(b[0] << 8 | b[1]));
    return true;
}

// 0.01 * M * 2^E: the exponent from the double's own, M rounded to nearest even.
bool EncodeFloat16(const AVOVALUE& v, GroupValue& bus)
{
    if (v.ivt != ivtFloat)
        return false;
    const double value = v.GetDouble();
    if (!(value >= -273.0 && value <= 670760.0))
        return false;
    double scaled = value * 100.0;
    int exponent = 0;
    std::frexp(scaled, &exponent);
    exponent = exponent > 11 ? exponent - 11 : 0;
    long mantissa = std::lrint(std::ldexp(scaled, -exponent));
    if (mantissa > 2047 || mantissa < -2048) {
        ++exponent;
        mantissa = std::lrint(std::ldexp(scaled, -exponent));
    }
    const auto word = static_cast<std::uint16_t>((mantissa < 0 ? 0x8000u : 0u) | static_cast<unsigned>(exponent) << 11 |
                                                 (static_cast<unsigned>(mantissa) & 0x7FFu));
    const unsigned char bytes[] = {static_cast<unsigned char>(word >> 8), static_cast<unsigned char>(word)};
    Put(bus, 16, bytes, 2);
    return true;
}

bool DecodeFloat16(const GroupValue& bus, AVOVALUE& v)
{
    const unsigned char* b = Bytes(bus, 16);
    if (!b)
        return false;
    const unsigned word = static_cast<unsigned>(b[0] << 8 | b[1]);
    const int mantissa = static_cast<int>(word & 0x7FF) - (word & 0x8000 ? 2048 : 0);
    const double value = std::ldexp(mantissa, static_cast<int>(word >> 11 & 0x0F)) / 100.0;
    if (!(value >= -273.0 && value <= 670760.0))
        return false;
    v.ivt = ivtFloat;
    v.SetDouble(value);
    return true;
}

bool EncodeTimeOfDay(const AVOVALUE& v, GroupValue& bus)
{
    if (v.ivt != ivtTime && v.ivt != ivtDayTime)
        return false;
    const AVOTIME& t = v.GetTime();
    if (t.hour > 23 || t.minute > 59 || t.second > 59)
        return false;
    unsigned day = 0;
    if (t.weekDays != 0 && (t.weekDays & (t.weekDays - 1)) == 0 && t.weekDays < 128)
        day = static_cast<unsigned>(__builtin_ctz(t.weekDays)) + 1;
    const unsigned char bytes[] = {static_cast<unsigned char>(day << 5 | t.hour), t.minute, t.second};
    Put(bus, 24, bytes, 3);
    return true;
}

bool DecodeTimeOfDay(const GroupValue& bus, AVOVALUE& v)
{
    const unsigned char* b = Bytes(bus, 24);
    if (!b || (b[1] & 0xC0) || (b[2] & 0xC0))
        return false;
    const unsigned hour = b[0] & 0x1F;
    const unsigned day = b[0] >> 5;
    if (hour > 23 || b[1] > 59 || b[2] > 59)
        return false;
    v.ivt = ivtDayTime;
    AVOTIME& t = v.Time();
    t = AVOTIME{};
    t.hour = static_cast<unsigned char>(hour);
    t.minute = b[1];
    t.second = b[2];
    t.weekDays = static_cast<unsigned short>(day == 0 ? 0 : 1u << (day - 1));
    t.timeKind = 1;
    t.isLocal = true;
    return true;
}

bool EncodeDate(const AVOVALUE& v, GroupValue& bus)
{
    if (v.ivt != ivtDate)
        return false;
    const AVOTIME& t = v.GetTime();
    if (t.year < 1990 || t.year > 2089 || !AVOTIME::IsValidDate(t.year, t.month, t.day))
        return false;
    const unsigned char bytes[] = {t.day, t.month, static_cast<unsigned char>(t.year % 100)};
    Put(bus, 24, bytes, 3);
    return true;
}

bool DecodeDate(const GroupValue& bus, AVOVALUE& v)
{
    const unsigned char* b = Bytes(bus, 24);
    if (!b || (b[0] & 0xE0) || (b[1] & 0xF0) || (b[2] & 0x80))
        return false;
    const auto year = static_cast<unsigned short>(b[2] < 90 ? 2000 + b[2] : 1900 + b[2]);
    if (!AVOTIME::IsValidDate(year, b[1], b[0]))
        return false;
    v.ivt = ivtDate;
    AVOTIME& t = v.Time();
    t = AVOTIME{};
    t.year = year;
    t.month = b[1];
    t.day = b[0];
    t.isLocal = true;
    return true;
}

void PutBigEndian32(GroupValue& bus, std::uint32_t word)
{
    const unsigned char bytes[] = {static_cast<unsigned char>(word >> 24), static_cast<unsigned char>(word >> 16),
                                   static_cast<unsigned char>(word >> 8), static_cast<unsigned char>(word)};
    Put(bus, 32, bytes, 4);
}

std::uint32_t BigEndian32(const unsigned char* b)
{
    return std::uint32_t{b[0]} << 24 | std::uint32_t{b[1]} << 16 | std::uint32_t{b[2]} << 8 | b[3];
}

bool EncodeSigned32(const AVOVALUE& v, GroupValue& bus)
{
    if (v.ivt != ivtInteger)
        return false;
    PutBigEndian32(bus, static_cast<std::uint32_t>(v.GetInteger()));
    return true;
}

bool DecodeSigned32(const GroupValue& bus, AVOVALUE& v)
{
    const unsigned char* b = Bytes(bus, 32);
    if (!b)
        return false;
    v.ivt = ivtInteger;
    v.SetInteger(static_cast<std::int32_t>(BigEndian32(b)));
    return true;
}

bool EncodeFloat32(const AVOVALUE& v, GroupValue& bus)
{
    if (v.ivt != ivtFloat)
        return false;
    const float value = static_cast<float>(v.GetDouble());
    std::uint32_t word;
    std::memcpy(&word, &value, sizeof word);
    PutBigEndian32(bus, word);
    return true;
}

bool DecodeFloat32(const GroupValue& bus, AVOVALUE& v)
{
    const unsigned char* b = Bytes(bus, 32);
    if (!b)
        return false;
    const std::uint32_t word = BigEndian32(b);
    float value;
    std::memcpy(&value, &word, sizeof value);
    v.ivt = ivtFloat;
    v.SetDouble(value);
    return true;
}

// ASCII, one byte per character; anything else becomes '_'.
bool EncodeString14(const AVOVALUE& v, GroupValue& bus)
{
    if (v.ivt != ivtString)
        return false;
    const std::string& text = v.GetString();
    unsigned char bytes[14] = {};
    const std::size_t length = text.size() < 14 ? text.size() : 14;
    for (std::size_t i = 0; i < length; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        bytes[i] = c < 0x80 ? c : '_';
    }
    Put(bus, 112, bytes, 14);
    return true;
}

bool DecodeString14(const GroupValue& bus, AVOVALUE& v)
{
    const unsigned char* b = Bytes(bus, 112);
    if (!b)
        return false;
    char text[14];
    std::size_t length = 0;
    for (; length < 14 && b[length] != 0; ++length)
        text[length] = b[length] < 0x80 ? static_cast<char>(b[length]) : '_';
    v.ivt = ivtString;
    v.SetString(std::string(text, length));
    return true;
}

struct Codec {
    bool (*encode)(const AVOVALUE&, GroupValue&);
    bool (*decode)(const GroupValue&, AVOVALUE&);
};

constexpr std::array<Codec, 17> MakeTable()
{
    std::array<Codec, 17> table{};
    table[1] = {EncodeBool, DecodeBool};
    table[5] = {EncodeByte, DecodeByte};
    table[7] = {EncodeWord, DecodeWord};
    table[9] = {EncodeFloat16, DecodeFloat16};
    table[10] = {EncodeTimeOfDay, DecodeTimeOfDay};
    table[11] = {EncodeDate, DecodeDate};
    table[13] = {EncodeSigned32, DecodeSigned32};
    table[14] = {EncodeFloat32, DecodeFloat32};
    table[16] = {EncodeString14, DecodeString14};
    return table;
}
constexpr std::array<Codec, 17> Table = MakeTable();

} // namespace

bool ToKnxValue(const KNXDPT& dpt, const AVOVALUE& value, GroupValue& bus)
{
    if (dpt.mainNumber >= Table.size() || !Table[dpt.mainNumber].encode)
        return false;
    return Table[dpt.mainNumber].encode(value, bus);
}

bool FromKnxValue(const KNXDPT& dpt, const GroupValue& bus, AVOVALUE& value)
{
    if (dpt.mainNumber >= Table.size() || !Table[dpt.mainNumber].decode)
        return false;
    return Table[dpt.mainNumber].decode(bus, value);
}

} // namespace ErvBench::Floor
