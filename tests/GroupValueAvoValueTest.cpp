// Application values and group values by DPT number. Bus bytes are written out from the KNX
// layouts, named by their format codes (U8, V16, F16 = 0.01 * M * 2^E, ...). A decoded date or date
// and time is local calendar time with the weekday of its date; the zone here is UTC.
#include "ErvObjectModel/GroupValueAvoValue.h"

#include "AvoValue/TimeOfDay.h"
#include "ConverterCases.h"
#include "LogCapture.h"

#include <boost/optional/optional_io.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace AvoWeekDays;
using ErvTest::Bus;
using ErvTest::Error;
using ErvTest::LogCapture;
using ErvTest::LogLine;
using KnxStack::GroupValue;

class InUtc : public ::testing::Environment {
    void SetUp() override
    {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};
[[maybe_unused]] const auto* const inUtc = ::testing::AddGlobalTestEnvironment(new InUtc);

AVOVALUE Time(AvoValueType type, const AVOTIME& time) { return AVOVALUE::Time(type, time); }

unsigned long Dpt(unsigned long main, unsigned long sub) { return main << 16 | sub; }

// A word value whose 32-bit slot holds more than a word.
AVOVALUE WideWord(std::uint32_t slot)
{
    AVOVALUE value = AVOVALUE::DWord(slot);
    value.ivt = ivtWord;
    return value;
}

GroupValue Text14(std::string bytes)
{
    bytes.resize(14);
    return GroupValue(KnxStack::BinaryData(reinterpret_cast<const unsigned char*>(bytes.data()), 14), 112);
}

// Decoding that takes 100 ms or more (the first one builds the DPT table; emulators, loaded
// machines) reports its duration. Such a report is due and left out; one about less time is not.
bool IsDueDurationReport(const LogLine& line)
{
    const std::string label = "Decoding a KNX value took ";
    return line.level == log4cplus::INFO_LOG_LEVEL && line.message.compare(0, label.size(), label) == 0 &&
           std::stod(line.message.substr(label.size())) >= 0.1;
}

// The DPT table checks every received value first and may write lines of its own before ours:
// those are counted, their texts are its suite's business.
void ExpectLines(const LogCapture& log, std::size_t tableLines, const std::vector<LogLine>& own)
{
    std::vector<LogLine> lines = log.Lines();
    lines.erase(std::remove_if(lines.begin(), lines.end(), IsDueDurationReport), lines.end());
    ASSERT_EQ(lines.size(), tableLines + own.size()) << ::testing::PrintToString(lines);
    EXPECT_EQ(std::vector<LogLine>(lines.begin() + static_cast<std::ptrdiff_t>(tableLines), lines.end()), own);
}

// A DPT the table has no row for: it says so, three lines, and lets the value pass.
constexpr std::size_t NoRow = 3;

struct BothWays {
    AVOVALUE value;
    unsigned long dpt;
    GroupValue bus;
    std::size_t tableLines = 0;
};

TEST(GroupValueAvoValue, EveryMainTypeBothWays)
{
    // clang-format off
    const BothWays cases[] = {
        {AVOVALUE::Bool(true), Dpt(1, 1), Bus(1, {0x01})},                                       // B1
        {AVOVALUE::Byte(3), Dpt(2, 1), Bus(2, {0x03})},                                          // B2: control, value
        {AVOVALUE::Byte(0x0B), Dpt(3, 7), Bus(4, {0x0B})},                                       // B1U3: up, step 3
        {AVOVALUE::Byte(200), Dpt(5, 10), Bus(8, {0xC8})},                                       // U8
        {AVOVALUE::Byte(0x80), Dpt(6, 10), Bus(8, {0x80})},                                      // V8: -128
        {AVOVALUE::Word(0x1234), Dpt(7, 1), Bus(16, {0x12, 0x34})},                              // U16
        {AVOVALUE::Integer(-2), Dpt(8, 1), Bus(16, {0xFF, 0xFE})},                               // V16
        {AVOVALUE::Float(21.5), Dpt(9, 1), Bus(16, {0x0C, 0x33})},                               // F16: 1075 * 2^1
        {AVOVALUE::Float(-30), Dpt(9, 1), Bus(16, {0x8A, 0x24})},                                // F16: -1500 * 2^1
        {Time(ivtDayTime, {2000, 1, 1, 12, 30, 15, 0, WD_WEDNESDAY, 1}), Dpt(10, 1),             // N3U5 r2U6 r2U6:
         Bus(24, {3 << 5 | 12, 30, 15})},                                                        // Wednesday 3
        {Time(ivtDate, {2024, 3, 1, 0, 0, 0, 0, WD_FRIDAY, 0, true}), Dpt(11, 1),                // r3U5 r4U4 r1U7:
         Bus(24, {1, 3, 24})},                                                                   // day, month, year
        {AVOVALUE::DWord(0x89ABCDEF), Dpt(12, 1), Bus(32, {0x89, 0xAB, 0xCD, 0xEF})},            // U32
        {AVOVALUE::Integer(-2), Dpt(13, 1), Bus(32, {0xFF, 0xFF, 0xFF, 0xFE})},                  // V32
        {AVOVALUE::Float(1.5), Dpt(14, 68), Bus(32, {0x3F, 0xC0, 0x00, 0x00})},                  // IEEE single
        {AVOVALUE::DWord(0x12345681), Dpt(15, 0), Bus(32, {0x12, 0x34, 0x56, 0x81})},            // U4 x6 B4 N4
        {AVOVALUE::String("Hello"), Dpt(16, 0), Text14("Hello")},                                // A112
        {AVOVALUE::Byte(63), Dpt(17, 1), Bus(8, {0x3F})},                                        // r2U6
        {AVOVALUE::Byte(0x81), Dpt(18, 1), Bus(8, {0x81})},                                      // B1r1U6: learn
        {Time(ivtDateTime, {2024, 3, 1, 12, 30, 15, 0, WD_FRIDAY, 0, true}), Dpt(19, 1),         // U8 year - 1900, ...
         Bus(64, {124, 3, 1, 5 << 5 | 12, 30, 15, 0x20, 0x00})},                                 // N3U5 Friday; NWD
        {AVOVALUE::Byte(2), Dpt(20, 102), Bus(8, {0x02})},                                       // N8: standby
        {AVOVALUE::Byte(0x05), Dpt(21, 1), Bus(8, {0x05})},                                      // B8
        {AVOVALUE::Word(0x0102), Dpt(22, 101), Bus(16, {0x01, 0x02}), NoRow},                    // B16
        {AVOVALUE::Byte(0x45), Dpt(26, 1), Bus(8, {0x45})},                                      // r1B1U6
        {AVOVALUE::DWord(0x00030001), Dpt(27, 1), Bus(32, {0x00, 0x03, 0x00, 0x01})},            // B32
        {AVOVALUE::Word(0x0842), Dpt(217, 1), Bus(16, {0x08, 0x42}), NoRow},                     // U5U5U6: 1.1.2
        {AVOVALUE::DWord(0x123456), Dpt(232, 600), Bus(24, {0x12, 0x34, 0x56})},                 // U8U8U8
        {AVOVALUE::Word(0x656E), Dpt(234, 1), Bus(16, {'e', 'n'}), NoRow},                       // A8A8
        {AVOVALUE::Word(0x8012), Dpt(237, 600), Bus(16, {0x80, 0x12}), NoRow},                   // B10U6
        {AVOVALUE::Byte(0x43), Dpt(238, 600), Bus(8, {0x43})},                                   // B2U6
    };
    // clang-format on
    for (const BothWays& c : cases) {
        SCOPED_TRACE(c.dpt);
        LogCapture log;
        EXPECT_EQ(Erv::AvoValueToGroupValue(c.value, c.dpt), c.bus) << c.value;
        EXPECT_EQ(Erv::GroupValueToAvoValue(c.bus, c.dpt), c.value) << c.bus;
        ExpectLines(log, c.tableLines, {});
    }
}

struct ToBus {
    AVOVALUE value;
    unsigned long dpt;
    boost::optional<GroupValue> bus;
    std::vector<LogLine> lines;
};

TEST(GroupValueAvoValue, TowardsTheBus)
{
    const auto noTimeOfDay = [](const char* time) {
        return std::vector<LogLine>{Error("Could not convert AVOTIME " + std::string(time) + " to TimeOfDay")};
    };
    // clang-format off
    const ToBus cases[] = {
        // The value type is checked first: an unsupported main type is named only for a value of
        // the type the object model gives it (ivtEmpty for 0 and 4).
        {AVOVALUE::Word(5), Dpt(9, 1), {}, {Error("Value type mismatch: Expected 'ivtFloat', got 'ivtWord'")}},
        {AVOVALUE::Byte(5), Dpt(4, 1), {}, {Error("Value type mismatch: Expected 'ivtEmpty', got 'ivtByte'")}},
        {AVOVALUE::Byte(5), Dpt(31, 1), {},
         {Error("Value type 31 not supported (dwDPT=2031617 with value='ivt: 6, ToString(): 5').")}},
        {AVOVALUE::String("x"), Dpt(24, 1), {},
         {Error("Value type 24 not supported (dwDPT=1572865 with value='ivt: 10, ToString(): x').")}},
        // 16-bit numbers are clamped and sent all the same.
        {WideWord(70000), Dpt(7, 1), Bus(16, {0xFF, 0xFF}), {Error("Value out of range: 70000 (DPT 458753)")}},
        {WideWord(65535), Dpt(7, 1), Bus(16, {0xFF, 0xFF}), {}},
        {AVOVALUE::Integer(-40000), Dpt(8, 1), Bus(16, {0x80, 0x00}),
         {Error("Value out of range: -40000 (DPT 524289)")}},
        {AVOVALUE::Integer(32768), Dpt(8, 1), Bus(16, {0x7F, 0xFF}), {Error("Value out of range: 32768 (DPT 524289)")}},
        {AVOVALUE::Integer(-32768), Dpt(8, 1), Bus(16, {0x80, 0x00}), {}},
        // F16: infinity is dropped silently, NaN is the invalid-data pattern, the rest must fit.
        {AVOVALUE::Float(std::numeric_limits<double>::infinity()), Dpt(9, 1), {}, {}},
        {AVOVALUE::Float(std::nan("")), Dpt(9, 1), Bus(16, {0x7F, 0xFF}), {}},
        {AVOVALUE::Float(1e7), Dpt(9, 1), {}, {Error("Could not convert value '1e+07' for DPT 589825: SetAsFloat16: "
                                                    "10000000.000000 is outside the range of a 2-octet float "
                                                    "[-671088.64, 670760.96]")}},
        // Time of day: more than one weekday flag is no day; the fields must form a time.
        {Time(ivtDayTime, {2000, 1, 1, 12, 0, 0, 0, WD_MONDAY | WD_FRIDAY, 1}), Dpt(10, 1), Bus(24, {12, 0, 0}), {}},
        {Time(ivtDayTime, {2000, 1, 1, 24, 0, 0, 0, WD_MONDAY, 1}), Dpt(10, 1), {}, noTimeOfDay("2000-01-01 24:00:00")},
        // Date: a calendar date within the two-digit years 1990..2089.
        {Time(ivtDate, {2023, 2, 29}), Dpt(11, 1), {}, {Error("Not a valid date: 2023-02-29")}},
        {Time(ivtDate, {1989, 12, 31}), Dpt(11, 1), {}, {Error("Could not convert value '1989-12-31 00:00:00' for DPT "
                                                              "720897: SetAsDate: 1989-12-31 cannot be encoded (years "
                                                              "1990 to 2089)")}},
        // Text: UTF-8 to Latin-1, '?' for what Latin-1 lacks.
        {AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e"), Dpt(16, 1), Text14("Gr\xFC\xDF" "e"), {}},
        {AVOVALUE::String("\xE2\x82\xAC" "uro"), Dpt(16, 1), Text14("?uro"), {}},
        {AVOVALUE::String("a\xFF"), Dpt(16, 1), {}, {Error("Got AVOVALUE that contains a non-UTF8 string")}},
        // N2, though the DPT table expects 8 bits when the value comes back.
        {AVOVALUE::Byte(2), Dpt(23, 1), Bus(2, {0x02}), {}},
        // Scene numbers: 0..63, anything above silently nothing.
        {AVOVALUE::Byte(64), Dpt(17, 1), {}, {}},
        // Date and time: the weekday comes from the date (Sunday 7), not from the value's flags; an
        // impossible date goes out as 1970-01-01 with NDOW, an impossible time as 00:00:00; the
        // year octet is year - 1900 modulo 256; the calendar refuses what it cannot hold.
        {Time(ivtDateTime, {2024, 3, 3, 23, 59, 59, 0, WD_MONDAY}), Dpt(19, 1),
         Bus(64, {124, 3, 3, 7 << 5 | 23, 59, 59, 0x20, 0}), {}},
        {Time(ivtDateTime, {2023, 2, 30, 10, 20, 30}), Dpt(19, 1), Bus(64, {70, 1, 1, 10, 20, 30, 0x24, 0}), {}},
        {Time(ivtDateTime, {2024, 3, 1, 24, 0, 0}), Dpt(19, 1), Bus(64, {124, 3, 1, 5 << 5, 0, 0, 0x20, 0}), {}},
        {Time(ivtDateTime, {1400, 1, 1}), Dpt(19, 1), Bus(64, {12, 1, 1, 3 << 5, 0, 0, 0x20, 0}), {}},
        {Time(ivtDateTime, {1399, 12, 31}), Dpt(19, 1), {}, noTimeOfDay("1399-12-31 00:00:00")},
        {Time(ivtDateTime, {2024, 1, 0}), Dpt(19, 1), {}, noTimeOfDay("2024-01-00 00:00:00")},
        // Three bytes: the top byte of a larger number is dropped.
        {AVOVALUE::DWord(0x01123456), Dpt(232, 600), Bus(24, {0x12, 0x34, 0x56}), {}},
    };
    // clang-format on
    for (const ToBus& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.value) + " for " + std::to_string(c.dpt));
        LogCapture log;
        EXPECT_EQ(Erv::AvoValueToGroupValue(c.value, c.dpt), c.bus);
        EXPECT_EQ(log.Lines(), c.lines);
    }
}

struct FromBus {
    GroupValue bus;
    unsigned long dpt;
    boost::optional<AVOVALUE> value;
    std::size_t tableLines;
    std::vector<LogLine> lines;
};

TEST(GroupValueAvoValue, FromTheBus)
{
    const auto invalid = [](const char* bytes, const char* dpt) {
        return std::vector<LogLine>{Error("Received invalid value " + std::string(bytes) + " for DPT " + dpt)};
    };
    const auto badDate = [](const char* what) {
        const std::string text = "Received an invalid DPT 11.001 date from the KNX: ";
        return std::vector<LogLine>{ErvTest::Warn(text + what)};
    };
    // clang-format off
    const FromBus cases[] = {
        {Bus(8, {0x05}), 0, {}, 0, {Error("Unsupported DPT: 0.0")}},
        {Bus(16, {0xA0, 0xAD}), Dpt(9, 1), {}, 2, invalid("A0 AD", "9.1")}, // -300, below 9.001's range
        // The table refuses what the checks of their own would: hour 24, month 13, a date of 2 bytes.
        // It lets through a date of more bytes, and the years 100..127.
        {Bus(24, {0x18, 0, 0}), Dpt(10, 1), {}, 2, invalid("18 00 00", "10.1")},
        {Bus(24, {1, 13, 24}), Dpt(11, 1), {}, 2, invalid("01 0D 18", "11.1")},
        {Bus(24, {1, 3}), Dpt(11, 1), {}, 2, invalid("01 03", "11.1")},
        {Bus(24, {1, 3, 24, 0}), Dpt(11, 1), {}, 0, badDate("Length in bytes is 4, expected 3")},
        {Bus(24, {1, 3, 100}), Dpt(11, 1), {}, 0, badDate("Year 100 is out of range (0-99)")},
        // Latin-1 to UTF-8; the table, with 16.000's 7-bit range, replaces in its own copy only.
        {Text14("Gr\xFC\xDF" "e"), Dpt(16, 0), AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e"), 1, {}},
        // Date and time: weekday and flags are not read; beyond 32-bit seconds (2040, 1900), the empty value.
        {Bus(64, {124, 3, 1, 12, 30, 15, 0xFF, 0xFF}), Dpt(19, 1),
         Time(ivtDateTime, {2024, 3, 1, 12, 30, 15, 0, WD_FRIDAY, 0, true}), 0, {}},
        {Bus(64, {140, 1, 1, 0, 0, 0, 0x20, 0}), Dpt(19, 1), AVOVALUE(), 0, {}},
        {Bus(64, {0, 1, 1, 0, 0, 0, 0x20, 0}), Dpt(19, 1), AVOVALUE(), 0, {}},
        {Bus(64, {124, 2, 30, 0, 0, 0, 0x20, 0}), Dpt(19, 1), {}, 2, invalid("7C 02 1E 00 00 00 20 00", "19.1")},
        // The table takes DPT 23 as 8 bits: the 2 bits sent for it are refused on the way back.
        {Bus(2, {2}), Dpt(23, 1), {}, 1, invalid("02", "23.1")},
        {Bus(8, {2}), Dpt(23, 1), AVOVALUE::Byte(2), 0, {}},
        // Not in the table, so accepted there; then read, or without an encoding, or not readable.
        {Bus(3, {5}), Dpt(31, 1), AVOVALUE::Byte(5), NoRow, {}},
        {Bus(8, {5}), Dpt(25, 1), {}, NoRow, {Error("Unsupported DPT: 25.1")}},
        {Bus(8, {5}), Dpt(22, 101), {}, NoRow, {Error("Could not decode 05 for DPT 22.101: GetAsUnsigned16 needs 16 bits "
                                                      "and 2 bytes, the value has 8 bits and 1 byte")}},
    };
    // clang-format on
    for (const FromBus& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.bus) + " for " + std::to_string(c.dpt));
        LogCapture log;
        EXPECT_EQ(Erv::GroupValueToAvoValue(c.bus, c.dpt), c.value);
        ExpectLines(log, c.tableLines, c.lines);
    }
}

// The group value's size goes into the DPT handed to the table, which picks a DPT by size when
// none is given.
TEST(CheckGroupValue, AsksTheDptTableWithTheGroupValuesSize)
{
    LogCapture log;
    EXPECT_TRUE(Erv::CheckGroupValue(Bus(16, {0x0C, 0x33}), Dpt(9, 1)));
    EXPECT_THAT(log.AllLines(), ::testing::Contains(ErvTest::Debug("DPT is 589825 with bit size 16")));
    EXPECT_FALSE(Erv::CheckGroupValue(Bus(16, {0xA0, 0xAD}), Dpt(9, 1)));
    EXPECT_TRUE(Erv::CheckGroupValue(Bus(16, {0x0C, 0x33}), 0));
    EXPECT_FALSE(Erv::CheckGroupValue(Bus(12, {0x0C, 0x33}), 0));
    EXPECT_THAT(log.Lines(), ::testing::Contains(ErvTest::Info("Could not find DPT for bit size 12")));
}

} // namespace
