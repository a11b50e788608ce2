// Application values and group values by DPT number. Bus bytes are written out from the KNX
// layouts, named by their format codes (U8, V16, F16 = 0.01 * M * 2^E, ...). Calendar values are
// read in UTC; a decoded date or date and time is local calendar time with the weekday of its date.
#include "ErvObjectModel/GroupValueAvoValue.h"

#include "AvoValue/TimeOfDay.h"
#include "ConverterCases.h"
#include "LogCapture.h"
#include "ScopedUtc.h"

#include <boost/optional/optional_io.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace AvoWeekDays;
using ErvTest::Bus;
using ErvTest::Debug;
using ErvTest::Error;
using ErvTest::Info;
using ErvTest::LogCapture;
using ErvTest::LogLine;
using ErvTest::Warn;
using KnxStack::GroupValue;

unsigned long DptNumber(unsigned long main, unsigned long sub) { return main << 16 | sub; }

AVOVALUE DayTime(unsigned char hour, unsigned char minute, unsigned char second, unsigned short weekDays)
{
    return AVOVALUE::Time(ivtDayTime, AVOTIME{2000, 1, 1, hour, minute, second, 0, weekDays, 1, false, false});
}

AVOVALUE Local(AvoValueType type, unsigned short year, unsigned char month, unsigned char day, unsigned char hour,
               unsigned char minute, unsigned char second, unsigned short weekDays)
{
    return AVOVALUE::Time(type, AVOTIME{year, month, day, hour, minute, second, 0, weekDays, 0, true, false});
}

// A value for the encoder's calendar checks: only the fields count.
AVOVALUE Fields(AvoValueType type, unsigned short year, unsigned char month, unsigned char day, unsigned char hour = 0,
                unsigned char minute = 0, unsigned char second = 0)
{
    return AVOVALUE::Time(type, AVOTIME{year, month, day, hour, minute, second, 0, 0, 0, false, false});
}

// A word value whose 32-bit slot holds more than a word.
AVOVALUE WideWord(std::uint32_t slot)
{
    AVOVALUE value = AVOVALUE::DWord(slot);
    value.ivt = ivtWord;
    return value;
}

GroupValue Text14(const std::string& bytes)
{
    std::vector<unsigned char> padded(bytes.begin(), bytes.end());
    padded.resize(14);
    return GroupValue(KnxStack::BinaryData(padded.data(), padded.size()), 112);
}

class GroupValueAvoValue : public ::testing::Test {
    const ErvTest::ScopedUtc m_utc;
};

// The DPT table's converter checks every received value first, and may say something itself
// (tableLines, checked by count: its texts are its own suite's business).
struct BothWays {
    AVOVALUE value;
    unsigned long dpt;
    GroupValue bus;
    std::size_t tableLines = 0; // 2 where the table has no row: it says so and lets the value pass
};

// Decoding that takes 100 ms or more (the first one builds the table; emulators, loaded machines)
// reports its duration. Such a report is due and left out; one about less time is not.
bool IsDueDurationReport(const LogLine& line)
{
    const std::string label = "Decoding a KNX value took ";
    return line.level == log4cplus::INFO_LOG_LEVEL && line.message.compare(0, label.size(), label) == 0 &&
           std::stod(line.message.substr(label.size())) >= 0.1;
}

void ExpectLines(const LogCapture& log, std::size_t tableLines, const std::vector<LogLine>& own)
{
    std::vector<LogLine> lines = log.Lines();
    lines.erase(std::remove_if(lines.begin(), lines.end(), IsDueDurationReport), lines.end());
    ASSERT_EQ(lines.size(), tableLines + own.size()) << ::testing::PrintToString(lines);
    EXPECT_EQ(std::vector<LogLine>(lines.begin() + static_cast<std::ptrdiff_t>(tableLines), lines.end()), own);
}

TEST_F(GroupValueAvoValue, EveryMainTypeBothWays)
{
    // clang-format off
    const BothWays cases[] = {
        {AVOVALUE::Bool(true), DptNumber(1, 1), Bus(1, {0x01})},                                 // B1
        {AVOVALUE::Byte(3), DptNumber(2, 1), Bus(2, {0x03})},                                    // B2: control, value
        {AVOVALUE::Byte(0x0B), DptNumber(3, 7), Bus(4, {0x0B})},                                 // B1U3: up, step 3
        {AVOVALUE::Byte(200), DptNumber(5, 10), Bus(8, {0xC8})},                                 // U8
        {AVOVALUE::Byte(0x80), DptNumber(6, 10), Bus(8, {0x80})},                                // V8: -128
        {AVOVALUE::Word(0x1234), DptNumber(7, 1), Bus(16, {0x12, 0x34})},                        // U16
        {AVOVALUE::Integer(-2), DptNumber(8, 1), Bus(16, {0xFF, 0xFE})},                         // V16
        {AVOVALUE::Float(21.5), DptNumber(9, 1), Bus(16, {0x0C, 0x33})},                         // F16: 1075 * 2^1
        {AVOVALUE::Float(-30), DptNumber(9, 1), Bus(16, {0x8A, 0x24})},                          // F16: -1500 * 2^1
        {DayTime(12, 30, 15, WD_WEDNESDAY), DptNumber(10, 1), Bus(24, {0x6C, 0x1E, 0x0F})},      // N3U5: day 3
        {Local(ivtDate, 2024, 3, 1, 0, 0, 0, WD_FRIDAY), DptNumber(11, 1), Bus(24, {1, 3, 24})}, // U5 U4 U7
        {AVOVALUE::DWord(0x89ABCDEF), DptNumber(12, 1), Bus(32, {0x89, 0xAB, 0xCD, 0xEF})},      // U32
        {AVOVALUE::Integer(-2), DptNumber(13, 1), Bus(32, {0xFF, 0xFF, 0xFF, 0xFE})},            // V32
        {AVOVALUE::Float(1.5), DptNumber(14, 68), Bus(32, {0x3F, 0xC0, 0x00, 0x00})},            // IEEE single
        {AVOVALUE::DWord(0x12345681), DptNumber(15, 0), Bus(32, {0x12, 0x34, 0x56, 0x81})},      // U4 x6 B4 N4
        {AVOVALUE::String("Hello"), DptNumber(16, 0), Text14("Hello")},                          // A112
        {AVOVALUE::Byte(63), DptNumber(17, 1), Bus(8, {0x3F})},                                  // r2U6
        {AVOVALUE::Byte(0x81), DptNumber(18, 1), Bus(8, {0x81})},                                // B1r1U6: learn
        {Local(ivtDateTime, 2024, 3, 1, 12, 30, 15, WD_FRIDAY), DptNumber(19, 1),                // U8 year - 1900,
         Bus(64, {124, 3, 1, 5 << 5 | 12, 30, 15, 0x20, 0x00})},                                 // N3U5 Friday, NWD
        {AVOVALUE::Byte(2), DptNumber(20, 102), Bus(8, {0x02})},                                 // N8: standby
        {AVOVALUE::Byte(0x05), DptNumber(21, 1), Bus(8, {0x05})},                                // B8
        {AVOVALUE::Word(0x0102), DptNumber(22, 101), Bus(16, {0x01, 0x02}), 2},                  // B16
        {AVOVALUE::Byte(0x45), DptNumber(26, 1), Bus(8, {0x45})},                                // r1B1U6
        {AVOVALUE::DWord(0x00030001), DptNumber(27, 1), Bus(32, {0x00, 0x03, 0x00, 0x01})},      // B32
        {AVOVALUE::Word(0x0842), DptNumber(217, 1), Bus(16, {0x08, 0x42}), 2},                   // U5U5U6: 1.1.2
        {AVOVALUE::DWord(0x123456), DptNumber(232, 600), Bus(24, {0x12, 0x34, 0x56})},           // U8U8U8
        {AVOVALUE::Word(0x656E), DptNumber(234, 1), Bus(16, {'e', 'n'}), 2},                     // A8A8
        {AVOVALUE::Word(0x8012), DptNumber(237, 600), Bus(16, {0x80, 0x12}), 2},                 // B10U6
        {AVOVALUE::Byte(0x43), DptNumber(238, 600), Bus(8, {0x43})},                             // B2U6
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

void ExpectToBus(const ToBus& c)
{
    SCOPED_TRACE(::testing::PrintToString(c.value) + " for " + std::to_string(c.dpt));
    LogCapture log;
    EXPECT_EQ(Erv::AvoValueToGroupValue(c.value, c.dpt), c.bus);
    EXPECT_EQ(log.Lines(), c.lines);
}

const boost::none_t Nothing = boost::none;

TEST_F(GroupValueAvoValue, TowardsTheBus)
{
    const double infinity = std::numeric_limits<double>::infinity();
    // clang-format off
    const ToBus cases[] = {
        // The value type is checked before the main type, so an unsupported main type is named
        // only for a value of the type the object model gives it (ivtEmpty for 0, 4 and 239).
        {AVOVALUE::Word(5), DptNumber(9, 1), Nothing,
         {Error("Value type mismatch: Expected 'ivtFloat', got 'ivtWord'")}},
        {AVOVALUE::Byte(5), DptNumber(4, 1), Nothing,
         {Error("Value type mismatch: Expected 'ivtEmpty', got 'ivtByte'")}},
        {AVOVALUE(), 0, Nothing,
         {Error("Value type 0 not supported (dwDPT=0 with value='ivt: 1, ToString(): ').")}},
        {AVOVALUE(), DptNumber(4, 1), Nothing,
         {Error("Value type 4 not supported (dwDPT=262145 with value='ivt: 1, ToString(): ').")}},
        {AVOVALUE(), DptNumber(239, 1), Nothing,
         {Error("Value type 239 not supported (dwDPT=15663105 with value='ivt: 1, ToString(): ').")}},
        {AVOVALUE::Byte(5), DptNumber(31, 1), Nothing,
         {Error("Value type 31 not supported (dwDPT=2031617 with value='ivt: 6, ToString(): 5').")}},
        {AVOVALUE::String("x"), DptNumber(24, 1), Nothing,
         {Error("Value type 24 not supported (dwDPT=1572865 with value='ivt: 10, ToString(): x').")}},
        // 16-bit numbers are clamped and sent all the same.
        {WideWord(70000), DptNumber(7, 1), Bus(16, {0xFF, 0xFF}), {Error("Value out of range: 70000 (DPT 458753)")}},
        {WideWord(65535), DptNumber(7, 1), Bus(16, {0xFF, 0xFF}), {}},
        {AVOVALUE::Integer(-40000), DptNumber(8, 1), Bus(16, {0x80, 0x00}),
         {Error("Value out of range: -40000 (DPT 524289)")}},
        {AVOVALUE::Integer(32768), DptNumber(8, 1), Bus(16, {0x7F, 0xFF}),
         {Error("Value out of range: 32768 (DPT 524289)")}},
        {AVOVALUE::Integer(-32768), DptNumber(8, 1), Bus(16, {0x80, 0x00}), {}},
        // F16: infinities are dropped silently, NaN is the invalid-data pattern 7F FF.
        {AVOVALUE::Float(infinity), DptNumber(9, 1), Nothing, {}},
        {AVOVALUE::Float(-infinity), DptNumber(9, 1), Nothing, {}},
        {AVOVALUE::Float(std::nan("")), DptNumber(9, 1), Bus(16, {0x7F, 0xFF}), {}},
        {AVOVALUE::Float(1e7), DptNumber(9, 1), Nothing,
         {Error("Could not convert value '1e+07' for DPT 589825: SetAsFloat16: 10000000.000000 is outside the "
                "range of a 2-octet float [-671088.64, 670760.96]")}},
        // Time of day: more than one weekday flag is no day; the fields must form a time.
        {DayTime(12, 0, 0, WD_MONDAY | WD_TUESDAY), DptNumber(10, 1), Bus(24, {12, 0, 0}), {}},
        {DayTime(24, 0, 0, WD_MONDAY), DptNumber(10, 1), Nothing,
         {Error("Could not convert AVOTIME 2000-01-01 24:00:00 to TimeOfDay")}},
        // Date: a calendar date within the two-digit years 1990..2089.
        {Fields(ivtDate, 2089, 12, 31), DptNumber(11, 1), Bus(24, {31, 12, 89}), {}},
        {Fields(ivtDate, 2023, 2, 29), DptNumber(11, 1), Nothing, {Error("Not a valid date: 2023-02-29")}},
        {Fields(ivtDate, 1989, 12, 31), DptNumber(11, 1), Nothing,
         {Error("Could not convert value '1989-12-31 00:00:00' for DPT 720897: SetAsDate: 1989-12-31 cannot be "
                "encoded (years 1990 to 2089)")}},
        // Text: UTF-8 to Latin-1, '?' for what Latin-1 lacks, cut at 14.
        {AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e"), DptNumber(16, 1), Text14("Gr\xFC\xDF" "e"), {}},
        {AVOVALUE::String("\xE2\x82\xAC" "uro"), DptNumber(16, 1), Text14("?uro"), {}},
        {AVOVALUE::String("ABCDEFGHIJKLMNOP"), DptNumber(16, 1), Text14("ABCDEFGHIJKLMN"), {}},
        {AVOVALUE::String("a\xFF"), DptNumber(16, 1), Nothing,
         {Error("Got AVOVALUE that contains a non-UTF8 string")}},
        // Scene numbers: 0..63, anything above silently nothing.
        {AVOVALUE::Byte(64), DptNumber(17, 1), Nothing, {}},
        // Three bytes: the top byte of a larger number is dropped.
        {AVOVALUE::DWord(0x01123456), DptNumber(232, 600), Bus(24, {0x12, 0x34, 0x56}), {}},
    };
    // clang-format on
    for (const ToBus& c : cases)
        ExpectToBus(c);
}

// Date and time: the weekday comes from the date (Sunday 7), whatever the value's weekday flags
// say; an impossible date goes out as 1970-01-01 with the no-day-of-week flag, an impossible time
// as 00:00:00; the year octet is year - 1900 modulo 256; the calendar refuses the rest.
TEST_F(GroupValueAvoValue, DateAndTimeTowardsTheBus)
{
    const auto refused = [](const char* time) {
        return std::vector<LogLine>{Error("Could not convert AVOTIME " + std::string(time) + " to TimeOfDay")};
    };
    // clang-format off
    const ToBus cases[] = {
        {Fields(ivtDateTime, 2024, 3, 3, 23, 59, 59), 0, Bus(64, {124, 3, 3, 7 << 5 | 23, 59, 59, 0x20, 0}), {}},
        {Fields(ivtDateTime, 2023, 2, 30, 10, 20, 30), 0, Bus(64, {70, 1, 1, 10, 20, 30, 0x24, 0}), {}},
        {Fields(ivtDateTime, 2024, 3, 1, 24, 0, 0), 0, Bus(64, {124, 3, 1, 5 << 5, 0, 0, 0x20, 0}), {}},
        {Fields(ivtDateTime, 2024, 3, 1, 12, 60, 0), 0, Bus(64, {124, 3, 1, 5 << 5, 0, 0, 0x20, 0}), {}},
        {Fields(ivtDateTime, 2023, 4, 31, 25, 0, 0), 0, Bus(64, {70, 1, 1, 0, 0, 0, 0x24, 0}), {}},
        {Fields(ivtDateTime, 1400, 1, 1), 0, Bus(64, {12, 1, 1, 3 << 5, 0, 0, 0x20, 0}), {}},
        {Fields(ivtDateTime, 2200, 1, 1), 0, Bus(64, {44, 1, 1, 3 << 5, 0, 0, 0x20, 0}), {}},
        {Fields(ivtDateTime, 1399, 12, 31), 0, Nothing, refused("1399-12-31 00:00:00")},
        {Fields(ivtDateTime, 10000, 1, 1), 0, Nothing, refused("10000-01-01 00:00:00")},
        {Fields(ivtDateTime, 2024, 13, 1), 0, Nothing, refused("2024-13-01 00:00:00")},
        {Fields(ivtDateTime, 2024, 1, 32), 0, Nothing, refused("2024-01-32 00:00:00")},
        {Fields(ivtDateTime, 2024, 1, 0), 0, Nothing, refused("2024-01-00 00:00:00")},
    };
    // clang-format on
    for (ToBus c : cases) {
        c.dpt = DptNumber(19, 1);
        c.value.Time().weekDays = WD_MONDAY; // not read
        ExpectToBus(c);
    }
}

struct FromBus {
    GroupValue bus;
    unsigned long dpt;
    boost::optional<AVOVALUE> value;
    std::size_t tableLines;
    std::vector<LogLine> lines;
};

TEST_F(GroupValueAvoValue, FromTheBus)
{
    const AVOVALUE greeting = AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e");
    const auto invalid = [](const char* bytes, const char* dpt) {
        return std::vector<LogLine>{Error("Received invalid value " + std::string(bytes) + " for DPT " + dpt)};
    };
    // clang-format off
    const FromBus cases[] = {
        {Bus(8, {0x05}), 0, Nothing, 0, {Error("Unsupported DPT: 0.0")}},
        {Bus(8, {0x41}), DptNumber(4, 1), Nothing, 0, {Error("Unsupported DPT: 4.1")}},
        {Bus(16, {0x00, 0x01}), DptNumber(239, 1), Nothing, 0, {Error("Unsupported DPT: 239.1")}},
        // Refused by the table: outside 9.001's range (-300), or of the wrong size.
        {Bus(16, {0xA0, 0xAD}), DptNumber(9, 1), Nothing, 2, invalid("A0 AD", "9.1")},
        {Bus(8, {0x0C}), DptNumber(9, 1), Nothing, 1, invalid("0C", "9.1")},
        // The table refuses what the time-of-day and date checks of their own would: hour 24, a
        // month 13, a date of 2 bytes. It lets through more bytes than 3, and the years 100..127.
        {Bus(24, {0x18, 0, 0}), DptNumber(10, 1), Nothing, 2, invalid("18 00 00", "10.1")},
        {Bus(24, {1, 13, 24}), DptNumber(11, 1), Nothing, 2, invalid("01 0D 18", "11.1")},
        {Bus(24, {1, 3}), DptNumber(11, 1), Nothing, 2, invalid("01 03", "11.1")},
        {Bus(24, {1, 3, 24, 0}), DptNumber(11, 1), Nothing, 0,
         {Warn("Received an invalid DPT 11.001 date from the KNX: Length in bytes is 4, expected 3")}},
        {Bus(24, {1, 3, 100}), DptNumber(11, 1), Nothing, 0,
         {Warn("Received an invalid DPT 11.001 date from the KNX: Year 100 is out of range (0-99)")}},
        // Latin-1 to UTF-8 whatever the sub type; the table replaces in its own copy for 16.000.
        {Text14("Gr\xFC\xDF" "e"), DptNumber(16, 0), greeting, 1, {}},
        {Text14("Gr\xFC\xDF" "e"), DptNumber(16, 1), greeting, 0, {}},
        {Bus(8, {64}), DptNumber(17, 1), Nothing, 2, invalid("40", "17.1")},
        // Date and time: the weekday bits and the flags are not read; after 2038-01-19 03:14:07
        // the value is the empty value.
        {Bus(64, {124, 3, 1, 12, 30, 15, 0xFF, 0xFF}), DptNumber(19, 1),
         Local(ivtDateTime, 2024, 3, 1, 12, 30, 15, WD_FRIDAY), 0, {}},
        {Bus(64, {140, 1, 1, 0, 0, 0, 0x20, 0}), DptNumber(19, 1), AVOVALUE(), 0, {}},
        {Bus(64, {124, 2, 30, 0, 0, 0, 0x20, 0}), DptNumber(19, 1), Nothing, 2,
         invalid("7C 02 1E 00 00 00 20 00", "19.1")},
        // The table takes DPT 23 as 8 bits: the 2 bits sent for it are refused on the way back.
        {Bus(2, {2}), DptNumber(23, 1), Nothing, 1, invalid("02", "23.1")},
        {Bus(8, {2}), DptNumber(23, 1), AVOVALUE::Byte(2), 0, {}},
        // Not in the table: accepted there, and then read here, or refused, or not decodable.
        {Bus(3, {5}), DptNumber(31, 1), AVOVALUE::Byte(5), 2, {}},
        {Bus(8, {5}), DptNumber(25, 1), Nothing, 2, {Error("Unsupported DPT: 25.1")}},
        {Bus(8, {5}), DptNumber(22, 101), Nothing, 2,
         {Error("Could not decode 05 for DPT 22.101: GetAsUnsigned16 needs 16 bits and 2 bytes, the value has 8 "
                "bits and 1 byte")}},
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
    EXPECT_TRUE(Erv::CheckGroupValue(Bus(16, {0x0C, 0x33}), DptNumber(9, 1)));
    EXPECT_THAT(log.AllLines(), ::testing::Contains(Debug("DPT is 589825 with bit size 16")));
    EXPECT_FALSE(Erv::CheckGroupValue(Bus(16, {0xA0, 0xAD}), DptNumber(9, 1)));
    EXPECT_TRUE(Erv::CheckGroupValue(Bus(16, {0x0C, 0x33}), 0));
    EXPECT_FALSE(Erv::CheckGroupValue(Bus(12, {0x0C, 0x33}), 0));
    EXPECT_THAT(log.Lines(), ::testing::Contains(Info("Could not find DPT for bit size 12")));
}

} // namespace
