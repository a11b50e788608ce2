#include "Rings.h"

#include "ErvObjectModel/KnxLumMapping.h"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <random>

namespace ErvBench {

namespace {

using Engine = std::mt19937; // fixed algorithm and seed: the same rings on every machine

AVOVALUE Clock(AvoValueType type, const AVOTIME& time) { return AVOVALUE::Time(type, time); }

// 2-octet floats within 9.001's range [-273, 670760]: each exponent in turn, the mantissa drawn at
// random; a third exact patterns, a third decimal ties (M + 0.5) * 2^E / 100 as written in decimal,
// a third anything between.
double Float16Value(Engine& engine, std::size_t i)
{
    const int exponent = static_cast<int>(i % 16);
    const double step = static_cast<double>(1 << exponent) / 100.0;
    for (;;) {
        const int mantissa = std::uniform_int_distribution<int>(-2048, 2047)(engine);
        double value = mantissa * step;
        switch (i % 3) {
        case 0: break;
        case 1: {
            // The tie as its decimal text reads back.
            char text[32];
            const double tie = (mantissa + 0.5) * step;
            const auto end = std::to_chars(text, text + sizeof text, tie, std::chars_format::fixed, 3).ptr;
            std::from_chars(text, end, value);
            break;
        }
        default: value += std::uniform_real_distribution<double>(0.0, step)(engine); break;
        }
        if (value >= -273.0 && value <= 670760.0)
            return value;
    }
}

std::int32_t SignedOfAnyWidth(Engine& engine)
{
    const int bits = std::uniform_int_distribution<int>(0, 31)(engine);
    const std::int32_t magnitude = static_cast<std::int32_t>(engine() >> (32 - bits) >> 1);
    return engine() & 1 ? -magnitude : magnitude;
}

float FloatOfAnyExponent(Engine& engine)
{
    const float mantissa = std::uniform_real_distribution<float>(1.0f, 2.0f)(engine);
    const int exponent = std::uniform_int_distribution<int>(-120, 120)(engine);
    const float value = std::ldexp(mantissa, exponent);
    return engine() & 1 ? -value : value;
}

std::string AsciiText(Engine& engine, std::size_t i)
{
    std::string text(i % 15, ' '); // 0 to 14 characters
    for (char& c : text)
        c = static_cast<char>(std::uniform_int_distribution<int>(0x20, 0x7E)(engine));
    return text;
}

AVOTIME TimeOfDay(Engine& engine)
{
    AVOTIME time;
    time.hour = static_cast<unsigned char>(engine() % 24);
    time.minute = static_cast<unsigned char>(engine() % 60);
    time.second = static_cast<unsigned char>(engine() % 60);
    const unsigned day = engine() % 8; // 0: no day, else Monday 1 .. Sunday 64
    time.weekDays = static_cast<unsigned short>(day == 0 ? 0 : 1u << (day - 1));
    time.timeKind = 1;
    return time;
}

AVOTIME Date(Engine& engine)
{
    AVOTIME time;
    time.year = static_cast<unsigned short>(1990 + engine() % 100);
    time.month = static_cast<unsigned char>(1 + engine() % 12);
    time.day = static_cast<unsigned char>(1 + engine() % 28);
    time.isLocal = true;
    return time;
}

template <class Make>
Ring MakeRing(const char* name, KNXDPT dpt, Make make)
{
    Ring ring{name, dpt, static_cast<unsigned long>(dpt.mainNumber) << 16 | dpt.subNumber, {}, {}, {}};
    Engine engine(dpt.mainNumber * 1000u + dpt.subNumber);
    for (std::size_t i = 0; i < RingSize; ++i)
        ring.values.push_back(make(engine, i));
    return ring;
}

std::vector<Ring> BuildRings()
{
    std::vector<Ring> rings;
    rings.push_back(MakeRing("1.001", KNXDPT{1, 1, 1}, [](Engine& e, std::size_t) { return AVOVALUE::Bool(e() & 1); }));
    rings.push_back(MakeRing("5.001", KNXDPT{8, 5, 1},
                             [](Engine& e, std::size_t) { return AVOVALUE::Byte(static_cast<std::uint8_t>(e())); }));
    rings.push_back(MakeRing("7.001", KNXDPT{16, 7, 1},
                             [](Engine& e, std::size_t) { return AVOVALUE::Word(static_cast<std::uint16_t>(e())); }));
    rings.push_back(MakeRing("9.001", KNXDPT{16, 9, 1},
                             [](Engine& e, std::size_t i) { return AVOVALUE::Float(Float16Value(e, i)); }));
    rings.push_back(
        MakeRing("10.001", KNXDPT{24, 10, 1}, [](Engine& e, std::size_t) { return Clock(ivtTime, TimeOfDay(e)); }));
    rings.push_back(
        MakeRing("11.001", KNXDPT{24, 11, 1}, [](Engine& e, std::size_t) { return Clock(ivtDate, Date(e)); }));
    rings.push_back(MakeRing("13.001", KNXDPT{32, 13, 1},
                             [](Engine& e, std::size_t) { return AVOVALUE::Integer(SignedOfAnyWidth(e)); }));
    rings.push_back(MakeRing("14.056", KNXDPT{32, 14, 56},
                             [](Engine& e, std::size_t) { return AVOVALUE::Float(FloatOfAnyExponent(e)); }));
    rings.push_back(MakeRing("16.000", KNXDPT{112, 16, 0},
                             [](Engine& e, std::size_t i) { return AVOVALUE::String(AsciiText(e, i)); }));

    static Erv::KnxValueConverter converter;
    converter.Init();
    TableConverter = &converter;
    for (std::size_t r = 0; r < rings.size(); ++r) {
        Ring& ring = rings[r];
        if (r >= std::size(RingNames) || ring.name != RingNames[r]) {
            std::cerr << "ring " << ring.name << " is not listed in RingNames in its place\n";
            std::exit(2);
        }
        const AvoValueType directType = Erv::KnxLumMapping::GetIvtFromDpt(static_cast<unsigned int>(ring.number));
        for (const AVOVALUE& value : ring.values) {
            KNXDPT dpt = ring.dpt;
            KnxStack::GroupValue bus;
            if (!converter.ToKnxValue(dpt, value, bus)) {
                std::cerr << "ring " << ring.name << ": the library refuses " << value << '\n';
                std::exit(2);
            }
            ring.bus.push_back(bus);
            AVOVALUE direct = value; // the same content; 10.x is ivtDayTime there
            direct.ivt = directType;
            ring.direct.push_back(direct);
        }
    }
    return rings;
}

} // namespace

const Erv::KnxValueConverter* TableConverter = nullptr;

const char* const RingNames[] = {"1.001", "5.001", "7.001", "9.001", "10.001", "11.001", "13.001", "14.056", "16.000"};

const std::vector<Ring>& Rings()
{
    static const std::vector<Ring> rings = BuildRings();
    return rings;
}

} // namespace ErvBench
