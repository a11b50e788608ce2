// The 14-character string, date, time-of-day and date-and-time converters.
//
// Expected bus bytes are hand calculations from the KNX layouts: DPT 16 one byte per character,
// zero-padded to 14; DPT 11 day, month, two-digit year (90..99 for 1990..1999); DPT 10 weekday in
// bits 7-5 of the hour octet (Monday 1 .. Sunday 7); DPT 19 year, month, day, hour, minute, second,
// flags, quality.
#include "ConverterCases.h"

#include "AvoValue/TimeOfDay.h"

#include <string>

using namespace ErvTest;

namespace {

using Erv::IntegerRange;
using namespace AvoWeekDays;

const auto Ascii = std::make_shared<Erv::KnxConverter14ByteString>(IntegerRange(0, 127, 0, 127));
const auto Latin1 = std::make_shared<Erv::KnxConverter14ByteString>(IntegerRange(0, 255, 0, 255));
const auto Printable = std::make_shared<Erv::KnxConverter14ByteString>(IntegerRange(0x20, 0x7E, 0x20, 0x7E));
const auto Date = std::make_shared<Erv::KnxConverterDate>();
const auto TimeOfDay = std::make_shared<Erv::KnxConverterTimeOfDay>();
const auto DateTime = std::make_shared<Erv::KnxConverterDateTime>();

KnxStack::GroupValue Text14(std::string bytes)
{
    bytes.resize(14, '\0');
    return KnxStack::GroupValue(KnxStack::BinaryData(reinterpret_cast<const unsigned char*>(bytes.data()), 14), 112);
}

AVOVALUE Typed(AvoValueType type, AVOVALUE value)
{
    value.ivt = type;
    return value;
}

// The values as decoding leaves them.
AVOVALUE DateValue(unsigned short y, unsigned char m, unsigned char d)
{
    return AVOVALUE::Time(ivtDate, AVOTIME{y, m, d, 0, 0, 0, 0, 0, 0, true, false});
}
AVOVALUE DayTime(unsigned char h, unsigned char m, unsigned char s, unsigned short weekDays)
{
    return AVOVALUE::Time(ivtDayTime, AVOTIME{2000, 1, 1, h, m, s, 0, weekDays, 1, false, false});
}
AVOVALUE DateTimeValue(unsigned short y, unsigned char mo, unsigned char d, unsigned char h, unsigned char mi,
                       unsigned char s, AvoValueType type = ivtDateTime)
{
    return AVOVALUE::Time(type, AVOTIME{y, mo, d, h, mi, s, 0, 0, 0, true, false});
}

const std::string Gruesse = "Gr\xC3\xBC\xC3\x9F" "e";
const std::string WrongCalendar = "Wrong DPT main number (10.001) or avo value type (ivtDayTime)!";
const std::string Outside = "Cannot convert the date outside of the range [1990...2089]: year=";
const std::string DateReserved = "No valid Date datagram, reserved fields are not zero!";
const std::string TimeReserved = "No valid TimeOfDay datagram, reserved fields are not zero!";

class ToKnx : public ::testing::TestWithParam<ToKnxCase> {};
TEST_P(ToKnx, Converts) { RunToKnx(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    TextDateTime, ToKnx,
    ::testing::Values(
        ToKnxCase{"String14Characters", Ascii, Dpt(16, 0), AVOVALUE::String("KNX controller"), true,
                  Text14("KNX controller"), {}},
        // u-umlaut C3 BC -> (C3 << 6 | 3C) & FF = FC, sharp s C3 9F -> DF: both above 127.
        ToKnxCase{"StringGruesseAscii", Ascii, Dpt(16, 1), AVOVALUE::String(Gruesse), true, Text14("Gr__e"), {}},
        ToKnxCase{"StringGruesseLatin1", Latin1, Dpt(16, 1), AVOVALUE::String(Gruesse), true,
                  Text14("Gr\xFC\xDF" "e"), {}},
        ToKnxCase{"StringTwoByteCharacterLast", Latin1, Dpt(16, 1), AVOVALUE::String("ABCDEFGHIJKLM\xC3\xA9"), true,
                  Text14("ABCDEFGHIJKLM\xE9"), {}},
        // A lead pairs with whatever follows: the terminating zero gives (C3 << 6) & FF = C0 ...
        ToKnxCase{"StringLoneLeadAtTheEnd", Latin1, Dpt(16, 1), AVOVALUE::String("AB\xC3"), true,
                  Text14("AB\xC0"), {}},
        // ... and an A gives (C3 << 6 | 01) & FF = C1, taking the A with it.
        ToKnxCase{"StringLoneLeadTakesTheNextByte", Latin1, Dpt(16, 1), AVOVALUE::String("\xC3" "AB"), true,
                  Text14("\xC1" "B"), {}},
        ToKnxCase{"StringThreeByteSequenceBytewise", Latin1, Dpt(16, 1), AVOVALUE::String("\xE2\x82\xAC"), true,
                  Text14("\xE2\x82\xAC"), {}},
        ToKnxCase{"StringStopsAtZero", Ascii, Dpt(16, 1), AVOVALUE::String(std::string("A\0B", 3)), true,
                  Text14("A"), {}},
        ToKnxCase{"StringRangeEndsInclusive", Printable, Dpt(16, 1), AVOVALUE::String("\x1F \x7E\x7F"), true,
                  Text14("_ ~_"), {}},
        ToKnxCase{"StringDptAloneSuffices", Ascii, Dpt(16, 0), AVOVALUE::Float(1.0), true, Text14(""), {}},
        ToKnxCase{"StringTypeAloneSuffices", Ascii, Dpt(4, 1), AVOVALUE::String("A"), true, Text14("A"), {}},
        ToKnxCase{"StringRefused", Ascii, Dpt(4, 1), AVOVALUE::Byte(65), false, UntouchedBus(),
                  {Error("Wrong DPT main number (16.x) or avo value type (ivtString)!")}},

        ToKnxCase{"Date2024", Date, Dpt(11, 1), DateValue(2024, 3, 1), true, Bus(24, {0x01, 0x03, 0x18}), {}},
        ToKnxCase{"Date1990", Date, Dpt(11, 1), DateValue(1990, 1, 1), true, Bus(24, {0x01, 0x01, 0x5A}), {}},
        ToKnxCase{"Date2089", Date, Dpt(11, 1), DateValue(2089, 12, 31), true, Bus(24, {0x1F, 0x0C, 0x59}), {}},
        ToKnxCase{"Date1989", Date, Dpt(11, 1), DateValue(1989, 12, 31), false, UntouchedBus(),
                  {Error(Outside + "1989, month=12, day=31")}},
        ToKnxCase{"Date2090", Date, Dpt(11, 1), DateValue(2090, 1, 1), false, UntouchedBus(),
                  {Error(Outside + "2090, month=1, day=1")}},
        ToKnxCase{"DateSubAloneSuffices", Date, Dpt(5, 1), Typed(ivtDayTime, DateValue(2024, 3, 1)), true,
                  Bus(24, {0x01, 0x03, 0x18}), {}},
        ToKnxCase{"DateRefused", Date, Dpt(10, 2), Typed(ivtDayTime, DateValue(2024, 3, 1)), false, UntouchedBus(),
                  {Error(WrongCalendar)}},

        // Wednesday is 3: (3 << 5) | 12 = 6C; Sunday 7: (7 << 5) | 23 = F7.
        ToKnxCase{"TimeOfDayWednesday", TimeOfDay, Dpt(10, 1), DayTime(12, 30, 15, WD_WEDNESDAY), true,
                  Bus(24, {0x6C, 0x1E, 0x0F}), {}},
        ToKnxCase{"TimeOfDaySundayLastSecond", TimeOfDay, Dpt(10, 1), DayTime(23, 59, 59, WD_SUNDAY), true,
                  Bus(24, {0xF7, 0x3B, 0x3B}), {}},
        // The DPT table registers 10.x with ivtTime: accepted through the DPT.
        ToKnxCase{"TimeOfDayTableType", TimeOfDay, Dpt(10, 0), Typed(ivtTime, DayTime(8, 0, 0, WD_NONE)), true,
                  Bus(24, {0x08, 0x00, 0x00}), {}},
        ToKnxCase{"TimeOfDayHour24", TimeOfDay, Dpt(10, 1),
                  AVOVALUE::Time(ivtDayTime, AVOTIME{2000, 1, 1, 24, 5, 6, 7, 8, 1, true, false}), false,
                  UntouchedBus(), {Error("Could not convert AVOTIME 2000 1 1 24 5 6 7 8 1 1 0 to TimeOfDay")}},
        ToKnxCase{"TimeOfDayRefused", TimeOfDay, Dpt(11, 2), Typed(ivtTime, DayTime(8, 0, 0, WD_NONE)), false,
                  UntouchedBus(), {Error(WrongCalendar)}},

        // Octet 0 is the year's own low byte: 2024 = 0x7E8, 1900 = 0x76C, 2155 = 0x86B.
        ToKnxCase{"DateTime2024", DateTime, Dpt(19, 1), DateTimeValue(2024, 3, 1, 12, 30, 15), true,
                  Bus(64, {0xE8, 0x03, 0x01, 0x0C, 0x1E, 0x0F, 0x20, 0x00}), {}},
        ToKnxCase{"DateTime1900", DateTime, Dpt(19, 1), DateTimeValue(1900, 1, 1, 0, 0, 0), true,
                  Bus(64, {0x6C, 0x01, 0x01, 0x00, 0x00, 0x00, 0x20, 0x00}), {}},
        ToKnxCase{"DateTime2155", DateTime, Dpt(19, 1), DateTimeValue(2155, 12, 31, 23, 59, 59), true,
                  Bus(64, {0x6B, 0x0C, 0x1F, 0x17, 0x3B, 0x3B, 0x20, 0x00}), {}},
        ToKnxCase{"DateTime1899", DateTime, Dpt(19, 1), DateTimeValue(1899, 12, 31, 23, 59, 59), false,
                  UntouchedBus(), {Error(Outside + "1899")}},
        ToKnxCase{"DateTime2156", DateTime, Dpt(19, 1), DateTimeValue(2156, 1, 1, 0, 0, 0), false, UntouchedBus(),
                  {Error(Outside + "2156")}},
        ToKnxCase{"DateTimeNeitherDptNorType", DateTime, Dpt(1, 1), DateTimeValue(2024, 3, 1, 0, 0, 0, ivtBool), true,
                  Bus(64, {0xE8, 0x03, 0x01, 0x00, 0x00, 0x00, 0x20, 0x00}), {}}),
    CaseName<ToKnxCase>);

class FromKnx : public ::testing::TestWithParam<FromKnxCase> {};
TEST_P(FromKnx, Converts) { RunFromKnx(GetParam()); }

const AVOVALUE Before = AVOVALUE::Byte(42);

INSTANTIATE_TEST_SUITE_P(
    TextDateTime, FromKnx,
    ::testing::Values(
        FromKnxCase{"String14Characters", Ascii, Dpt(16, 0), Text14("KNX controller"), Before, true,
                    AVOVALUE::String("KNX controller"), {}},
        // e-acute E9 -> C0 | E9 >> 6 = C3, 80 | E9 & 3F = A9.
        FromKnxCase{"StringLatin1", Latin1, Dpt(16, 1), Text14("caf\xE9"), Before, true,
                    AVOVALUE::String("caf\xC3\xA9"), {}},
        FromKnxCase{"StringLatin1AsAscii", Ascii, Dpt(16, 1), Text14("caf\xE9"), Before, true,
                    AVOVALUE::String("caf__"), {Info("Invalid characters for DPT 16.001 has been replaced with _.")}},
        FromKnxCase{"StringHighestAndLowestLatin1", Latin1, Dpt(16, 1), Text14("\x80\xFF"), Before, true,
                    AVOVALUE::String("\xC2\x80\xC3\xBF"), {}},
        FromKnxCase{"StringStopsAtZero", Ascii, Dpt(16, 1), Text14(std::string("AB\0CD", 5)), Before, true,
                    AVOVALUE::String("AB"), {}},
        FromKnxCase{"StringRangeEndsInclusive", Printable, Dpt(16, 0), Text14("\x1F \x7E\x7F"), Before, true,
                    AVOVALUE::String("_ ~_"), {Info("Invalid characters for DPT 16.x has been replaced with _.")}},
        FromKnxCase{"StringRefused", Ascii, Dpt(4, 1), Text14("A"), Before, false, Before,
                    {Error("Wrong DPT main number (16.x)!")}},

        FromKnxCase{"Date2024", Date, Dpt(11, 1), Bus(24, {0x01, 0x03, 0x18}), Before, true, DateValue(2024, 3, 1), {}},
        FromKnxCase{"Date1990", Date, Dpt(11, 1), Bus(24, {0x01, 0x01, 0x5A}), Before, true, DateValue(1990, 1, 1), {}},
        FromKnxCase{"Date2089", Date, Dpt(11, 1), Bus(24, {0x1F, 0x0C, 0x59}), Before, true, DateValue(2089, 12, 31),
                    {}},
        FromKnxCase{"DateReservedDayBit", Date, Dpt(11, 1), Bus(24, {0x21, 0x03, 0x18}), Before, false, Before,
                    {Error(DateReserved)}},
        FromKnxCase{"DateReservedMonthBit", Date, Dpt(11, 1), Bus(24, {0x01, 0x13, 0x18}), Before, false, Before,
                    {Error(DateReserved)}},
        FromKnxCase{"DateReservedYearBit", Date, Dpt(11, 1), Bus(24, {0x01, 0x03, 0x98}), Before, false, Before,
                    {Error(DateReserved)}},
        FromKnxCase{"DateFebruary30", Date, Dpt(11, 1), Bus(24, {0x1E, 0x02, 0x17}), Before, false, Before,
                    {Error("Cannot convert invalid date: year=2023, month=2, day=30")}},
        FromKnxCase{"DateSubAloneSuffices", Date, Dpt(5, 1), Bus(24, {0x01, 0x03, 0x18}), Before, true,
                    DateValue(2024, 3, 1), {}},
        FromKnxCase{"DateRefused", Date, Dpt(10, 2), Bus(24, {0x01, 0x03, 0x18}), Before, false, Before,
                    {Error("Wrong DPT main number (11.001)!")}},

        FromKnxCase{"TimeOfDayWednesday", TimeOfDay, Dpt(10, 1), Bus(24, {0x6C, 0x1E, 0x0F}), Before, true,
                    DayTime(12, 30, 15, WD_WEDNESDAY), {}},
        FromKnxCase{"TimeOfDaySundayLastSecond", TimeOfDay, Dpt(10, 1), Bus(24, {0xF7, 0x3B, 0x3B}), Before, true,
                    DayTime(23, 59, 59, WD_SUNDAY), {}},
        FromKnxCase{"TimeOfDayReservedMinuteBit", TimeOfDay, Dpt(10, 1), Bus(24, {0x0C, 0x40, 0x00}), Before, false,
                    Before, {Error(TimeReserved)}},
        FromKnxCase{"TimeOfDayReservedSecondBit", TimeOfDay, Dpt(10, 1), Bus(24, {0x0C, 0x00, 0x80}), Before, false,
                    Before, {Error(TimeReserved)}},
        FromKnxCase{"TimeOfDayHour24", TimeOfDay, Dpt(10, 1), Bus(24, {0x18, 0x00, 0x00}), Before, false, Before,
                    {Error("No valid TimeOfDay (10.001)!")}},
        FromKnxCase{"TimeOfDayMinute60", TimeOfDay, Dpt(10, 1), Bus(24, {0x0C, 0x3C, 0x00}), Before, false, Before,
                    {Error("No valid TimeOfDay (10.001)!")}},
        FromKnxCase{"TimeOfDayRefused", TimeOfDay, Dpt(11, 2), Bus(24, {0x0C, 0x00, 0x00}), Before, false, Before,
                    {Error("Wrong DPT main number (10.001)!")}},

        // Year = 1900 + octet 0: 0x7C is 2024, and 0xE8, what 2024 is sent as, comes back as 2132.
        FromKnxCase{"DateTimeKeepsTheCallersType", DateTime, Dpt(19, 1),
                    Bus(64, {0x7C, 0x03, 0x01, 0x0C, 0x1E, 0x0F, 0x20, 0x00}), AVOVALUE::Time(ivtDate, AVOTIME()), true,
                    DateTimeValue(2024, 3, 1, 12, 30, 15, ivtDate), {}},
        FromKnxCase{"DateTimeYearOfWhatIsSent", DateTime, Dpt(19, 1),
                    Bus(64, {0xE8, 0x03, 0x01, 0x0C, 0x1E, 0x0F, 0x20, 0x00}), DateTimeValue(2000, 1, 1, 0, 0, 0), true,
                    DateTimeValue(2132, 3, 1, 12, 30, 15), {}},
        FromKnxCase{"DateTimeDayOfWeekBits", DateTime, Dpt(19, 1),
                    Bus(64, {0x7C, 0x03, 0x01, 0xF7, 0x00, 0x00, 0x00, 0x00}), DateTimeValue(2000, 1, 1, 0, 0, 0), true,
                    DateTimeValue(2024, 3, 1, 23, 0, 0), {}},
        FromKnxCase{"DateTimeReservedBitsAndFlagsIgnored", DateTime, Dpt(0, 0),
                    Bus(64, {0x7C, 0xF3, 0xE1, 0xEC, 0xDE, 0xCF, 0xFF, 0xFF}), DateTimeValue(2000, 1, 1, 0, 0, 0), true,
                    DateTimeValue(2024, 3, 1, 12, 30, 15), {}},
        FromKnxCase{"DateTimeFebruary30", DateTime, Dpt(19, 1),
                    Bus(64, {0x7B, 0x02, 0x1E, 0x00, 0x00, 0x00, 0x20, 0x00}), Before, false, Before,
                    {Error("Cannot convert invalid date and time: year=2023, month=2, day=30, hour=0, minute=0, "
                           "second=0")}},
        FromKnxCase{"DateTimeMinute60", DateTime, Dpt(19, 1),
                    Bus(64, {0x7C, 0x03, 0x01, 0x0C, 0x3C, 0x00, 0x20, 0x00}), Before, false, Before,
                    {Error("Cannot convert invalid date and time: year=2024, month=3, day=1, hour=12, minute=60, "
                           "second=0")}}),
    CaseName<FromKnxCase>);

// The group value's own refusals (wrong size, a field it cannot encode) are the converter's.
TEST(TextDateTime, GroupValueRefusalIsTheConvertersRefusal)
{
    const struct {
        std::shared_ptr<const Erv::KnxConverter> converter;
        KNXDPT dpt;
        KnxStack::GroupValue bus;
    } decodings[] = {
        {Ascii, Dpt(16, 1), Bus(8, {0x41})},
        {Date, Dpt(11, 1), Bus(16, {0x01, 0x03})},
        {TimeOfDay, Dpt(10, 1), Bus(32, {0x0C, 0x00, 0x00, 0x00})},
        {DateTime, Dpt(19, 1), Bus(40, {0x7C, 0x03, 0x01, 0x0C, 0x1E})},
    };
    const auto expectOneErrorLine = [](const LogCapture& log) {
        const auto lines = log.Lines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_THAT(lines[0].message, ::testing::StartsWith("Group value access failed: "));
    };
    for (const auto& c : decodings) {
        SCOPED_TRACE(c.bus.GetDefinedSize());
        LogCapture log;
        AVOVALUE value = Before;
        EXPECT_FALSE(c.converter->FromKnxValue(c.dpt, c.bus, value));
        EXPECT_EQ(value, Before);
        expectOneErrorLine(log);
    }
    LogCapture log;
    KnxStack::GroupValue out = UntouchedBus();
    EXPECT_FALSE(Date->ToKnxValue(Dpt(11, 1), DateValue(2024, 13, 1), out));
    EXPECT_EQ(out, UntouchedBus());
    expectOneErrorLine(log);
}

TEST(TextDateTime, DateAndTimeConverterWritesNoTrace)
{
    LogCapture log;
    KnxStack::GroupValue out;
    AVOVALUE value = DateTimeValue(2024, 3, 1, 12, 30, 15);
    ASSERT_TRUE(DateTime->ToKnxValue(Dpt(19, 1), value, out));
    ASSERT_TRUE(DateTime->FromKnxValue(Dpt(19, 1), out, value));
    TimeOfDay->FromKnxValue(Dpt(10, 1), Bus(24, {0x6C, 0x1E, 0x0F}), value);
    EXPECT_THAT(log.AllLines(),
                ::testing::ElementsAre(Debug("DPT is used. DPT = 10.001 grp.size=24 grp.val=6C 1E 0F")));
}

} // namespace
