// Golden-vector helpers for converter tests: one row per conversion with its expected result,
// bus bytes and log lines (INFO and above), checked by RunToKnx / RunFromKnx.
#pragma once

#include "ErvObjectModel/KnxConverter.h"
#include "LogCapture.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace ErvTest {

inline KnxStack::GroupValue Bus(unsigned int bits, std::initializer_list<unsigned char> bytes)
{
    const std::vector<unsigned char> data(bytes);
    return KnxStack::GroupValue(KnxStack::BinaryData(data.data(), data.size()), bits);
}

inline KNXDPT Dpt(std::uint16_t main, std::uint16_t sub, std::uint8_t bits = 0) { return KNXDPT{bits, main, sub}; }

struct ToKnxCase {
    const char* name;
    std::shared_ptr<Erv::KnxConverter> converter;
    KNXDPT dpt;
    AVOVALUE value;
    bool ok;
    KnxStack::GroupValue bus; // expected output; compared with an untouched output when refused
    std::vector<LogLine> lines;
};

struct FromKnxCase {
    const char* name;
    std::shared_ptr<Erv::KnxConverter> converter;
    KNXDPT dpt;
    KnxStack::GroupValue bus;
    AVOVALUE before; // the value handed in
    bool ok;
    AVOVALUE after;
    std::vector<LogLine> lines;
};

inline void PrintTo(const ToKnxCase& c, std::ostream* os) { *os << c.name; }
inline void PrintTo(const FromKnxCase& c, std::ostream* os) { *os << c.name; }

// An output the converter must not have touched on a refusal.
inline KnxStack::GroupValue UntouchedBus() { return Bus(7, {0xA5}); }

inline void RunToKnx(const ToKnxCase& c)
{
    LogCapture log;
    KnxStack::GroupValue out = UntouchedBus();
    EXPECT_EQ(c.converter->ToKnxValue(c.dpt, c.value, out), c.ok);
    EXPECT_EQ(out, c.bus);
    EXPECT_EQ(log.Lines(), c.lines);
}

inline void RunFromKnx(const FromKnxCase& c, bool compareSlot = false)
{
    LogCapture log;
    AVOVALUE out = c.before;
    EXPECT_EQ(c.converter->FromKnxValue(c.dpt, c.bus, out), c.ok);
    EXPECT_EQ(out, c.after) << "got " << out;
    if (compareSlot) {
        EXPECT_EQ(out.GetSlotBits(), c.after.GetSlotBits()) << "got " << out;
    }
    EXPECT_EQ(log.Lines(), c.lines);
}

// Also bit for bit on the numeric slot: operator== compares only the field the type uses, so it
// misses a slot written under ivtEmpty or kept under ivtInvalid.
inline void RunFromKnxSlotExact(const FromKnxCase& c) { RunFromKnx(c, true); }

// A group value the converter's accessor cannot take: false, one ERROR line, the value as it was.
inline void RunUnfitGroupValue(Erv::KnxConverter& converter, const KNXDPT& dpt, const KnxStack::GroupValue& bus)
{
    LogCapture log;
    const AVOVALUE before = AVOVALUE::Integer(42);
    AVOVALUE out = before;
    EXPECT_FALSE(converter.FromKnxValue(dpt, bus, out));
    EXPECT_EQ(out.ivt, before.ivt);
    EXPECT_EQ(out.GetSlotBits(), before.GetSlotBits());
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_THAT(lines[0].message, ::testing::StartsWith("Group value access failed: "));
}

template <class Case>
std::string CaseName(const ::testing::TestParamInfo<Case>& info)
{
    return info.param.name;
}

} // namespace ErvTest
