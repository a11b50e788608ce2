// One-line rows for the converter tables of ConverterCases.h: a call and its expected outcome.
#pragma once

#include "ConverterCases.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ErvTest {

using Converter = std::shared_ptr<Erv::KnxConverter>;

// The octets of a `bits`-bit group value, most significant first.
inline KnxStack::GroupValue Octets(unsigned int bits, std::uint64_t value)
{
    std::vector<unsigned char> bytes(bits / 8);
    for (auto i = bytes.size(); i-- > 0; value >>= 8)
        bytes[i] = static_cast<unsigned char>(value);
    return KnxStack::GroupValue(KnxStack::BinaryData(bytes.data(), bytes.size()), bits);
}

inline AVOVALUE Typed(AvoValueType type, AVOVALUE value)
{
    value.ivt = type;
    return value;
}

inline ToKnxCase Writes(const char* name, Converter c, KNXDPT dpt, AVOVALUE value, KnxStack::GroupValue bus)
{
    return {name, std::move(c), dpt, std::move(value), true, std::move(bus), {}};
}

inline ToKnxCase Refuses(const char* name, Converter c, KNXDPT dpt, AVOVALUE value, const std::string& error)
{
    return {name, std::move(c), dpt, std::move(value), false, UntouchedBus(), {Error(error)}};
}

inline FromKnxCase Reads(const char* name, Converter c, KNXDPT dpt, KnxStack::GroupValue bus, AVOVALUE after,
                         AVOVALUE before = AVOVALUE(), std::vector<LogLine> lines = {})
{
    return {name, std::move(c), dpt, std::move(bus), std::move(before), true, std::move(after), std::move(lines)};
}

// Hands in an ivtInteger value, so that a message printing the type shows 4; it must come back as it was.
inline FromKnxCase Rejects(const char* name, Converter c, KNXDPT dpt, KnxStack::GroupValue bus, const std::string& error)
{
    const AVOVALUE prepared = AVOVALUE::Integer(0x5A5A);
    return {name, std::move(c), dpt, std::move(bus), prepared, false, prepared, {Error(error)}};
}

} // namespace ErvTest
