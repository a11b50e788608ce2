// The 14-character string, date, time-of-day and date-and-time converters. Bus bytes are hand
// calculations from the KNX layouts: DPT 16 one byte per character, zero-padded to 14; DPT 11 day,
// month, two-digit year; DPT 10 weekday (Monday 1 .. Sunday 7) in bits 7-5 of the hour octet; DPT 19
// year, month, day, hour, minute, second, flags, quality.
#include "ConverterRows.h"

#include "AvoValue/TimeOfDay.h"

#include <string>

using namespace ErvTest;
using V = AVOVALUE;
using GroupValue = KnxStack::GroupValue;

namespace {

using Erv::IntegerRange;
using namespace AvoWeekDays;

const auto Ascii = std::make_shared<Erv::KnxConverter14ByteString>(IntegerRange(0, 127, 0, 127));
const auto Latin1 = std::make_shared<Erv::KnxConverter14ByteString>(IntegerRange(0, 255, 0, 255));
const auto Printable = std::make_shared<Erv::KnxConverter14ByteString>(IntegerRange(0x20, 0x7E, 0x20, 0x7E));
const auto Date = std::make_shared<Erv::KnxConverterDate>();
const auto TimeOfDay = std::make_shared<Erv::KnxConverterTimeOfDay>();
const auto Stamp = std::make_shared<Erv::KnxConverterDateTime>();

GroupValue Text14(std::string bytes)
{
    bytes.resize(14, '\0');
    return GroupValue(KnxStack::BinaryData(reinterpret_cast<const unsigned char*>(bytes.data()), 14), 112);
}

// The values as decoding leaves them.
V At(unsigned short y, unsigned char mo, unsigned char d, unsigned char h, unsigned char mi, unsigned char s,
     AvoValueType type = ivtEmpty)
{
    return V::Time(type, AVOTIME{y, mo, d, h, mi, s, 0, 0, 0, true, false});
}
V DateOf(int y, int m, int d, AvoValueType type = ivtDate) { return At(y, m, d, 0, 0, 0, type); }
V TimeOf(unsigned char h, unsigned char m, unsigned char s, unsigned short weekDays, AvoValueType type = ivtDayTime)
{
    return V::Time(type, AVOTIME{2000, 1, 1, h, m, s, 0, weekDays, 1, false, false});
}

const std::string Gruesse = "Gr\xC3\xBC\xC3\x9F" "e";
const std::string WrongCalendar = "Wrong DPT main number (10.001) or avo value type (ivtDayTime)!";
const std::string Outside = "Cannot convert the date outside of the range [1990...2089]: year=";
const std::string DateReserved = "No valid Date datagram, reserved fields are not zero!";
const std::string TimeReserved = "No valid TimeOfDay datagram, reserved fields are not zero!";
const std::string BadDate = "Cannot convert invalid date: year=";
const std::string BadStamp = "Cannot convert invalid date and time: year=";
const std::string Feb30 = "2023, month=2, day=30, hour=0, minute=0, second=0";
const std::string Minute60 = "2024, month=3, day=1, hour=12, minute=60, second=0";
const std::string WrongString = "Wrong DPT main number (16.x) or avo value type (ivtString)!";
const std::string Month13 = "SetAsDate: 2024-13-1 cannot be encoded (years 1990 to 2089)";
const LogLine Replaced = Info("Invalid characters for DPT 16.001 has been replaced with _.");
const V Hour24 = V::Time(ivtDayTime, AVOTIME{2000, 1, 1, 24, 5, 6, 7, 8, 1, true, false});
const std::string Hour24Refused = "Could not convert AVOTIME 2000 1 1 24 5 6 7 8 1 1 0 to TimeOfDay";

// clang-format off
const ToKnxCase Writing[] = {
    Writes("StringCutTo14", Ascii, Dpt(16, 0), V::String("KNX controller, hall 2"), Text14("KNX controller")),
    // A two-byte sequence is its code point's low byte: C3 BC -> (C3 << 6 | 3C) & FF = FC.
    Writes("StringGruesseLatin1", Latin1, Dpt(16, 1), V::String(Gruesse), Text14("Gr\xFC\xDF" "e")),
    // A lead pairs with whatever follows: the terminating zero gives C0, an A gives C1 and is taken.
    Writes("StringLoneLeadAtTheEnd", Latin1, Dpt(16, 1), V::String("AB\xC3"), Text14("AB\xC0")),
    Writes("StringLoneLeadTakesTheNextByte", Latin1, Dpt(16, 1), V::String("\xC3" "AB"), Text14("\xC1" "B")),
    Writes("StringThreeByteSequenceBytewise", Latin1, Dpt(16, 1), V::String("\xE2\x82\xAC"), Text14("\xE2\x82\xAC")),
    Writes("StringStopsAtZero", Ascii, Dpt(16, 1), V::String(std::string("A\0B", 3)), Text14("A")),
    Writes("StringRangeEndsInclusive", Printable, Dpt(16, 1), V::String("\x1F \x7E\x7F\xC3\xBC"), Text14("_ ~__")),
    Writes("StringDptAloneSuffices", Ascii, Dpt(16, 0), V::Float(1.0), Text14("")),
    Writes("StringTypeAloneSuffices", Ascii, Dpt(4, 1), V::String("A"), Text14("A")),
    Refuses("StringRefused", Ascii, Dpt(4, 1), V::Byte(65), WrongString),
    Writes("Date1990", Date, Dpt(11, 1), DateOf(1990, 1, 1), Octets(24, 0x01'01'5A)),
    Writes("Date2089", Date, Dpt(11, 1), DateOf(2089, 12, 31), Octets(24, 0x1F'0C'59)),
    Refuses("Date1989", Date, Dpt(11, 1), DateOf(1989, 12, 31), Outside + "1989, month=12, day=31"),
    Refuses("Date2090", Date, Dpt(11, 1), DateOf(2090, 1, 1), Outside + "2090, month=1, day=1"),
    Writes("DateSubAloneSuffices", Date, Dpt(5, 1), DateOf(2024, 3, 1, ivtDayTime), Octets(24, 0x01'03'18)),
    Refuses("DateRefused", Date, Dpt(10, 2), DateOf(2024, 3, 1, ivtDayTime), WrongCalendar),
    Refuses("DateMonth13", Date, Dpt(11, 1), DateOf(2024, 13, 1), "Group value access failed: " + Month13),
    // Sunday is 7: (7 << 5) | 23 = F7.
    Writes("TimeOfDaySundayLastSecond", TimeOfDay, Dpt(10, 1), TimeOf(23, 59, 59, WD_SUNDAY), Octets(24, 0xF7'3B'3B)),
    // The DPT table registers 10.x with ivtTime: accepted through the DPT.
    Writes("TimeOfDayTableType", TimeOfDay, Dpt(10, 0), TimeOf(8, 0, 0, WD_NONE, ivtTime), Octets(24, 0x08'00'00)),
    Refuses("TimeOfDayHour24", TimeOfDay, Dpt(10, 1), Hour24, Hour24Refused),
    Refuses("TimeOfDayRefused", TimeOfDay, Dpt(11, 2), TimeOf(8, 0, 0, WD_NONE, ivtTime), WrongCalendar),
    // Octet 0 is the year's own low byte: 2024 = 0x7E8, 1900 = 0x76C, 2155 = 0x86B. No DPT or type test.
    Writes("DateTime2024AnyDpt", Stamp, Dpt(1, 1), At(2024, 3, 1, 0, 0, 0, ivtBool), Octets(64, 0xE803010000002000)),
    Writes("DateTime1900", Stamp, Dpt(19, 1), At(1900, 1, 1, 0, 0, 0), Octets(64, 0x6C01010000002000)),
    Writes("DateTime2155", Stamp, Dpt(19, 1), At(2155, 12, 31, 23, 59, 59), Octets(64, 0x6B0C1F173B3B2000)),
    Refuses("DateTime1899", Stamp, Dpt(19, 1), At(1899, 12, 31, 23, 59, 59), Outside + "1899"),
    Refuses("DateTime2156", Stamp, Dpt(19, 1), At(2156, 1, 1, 0, 0, 0), Outside + "2156"),
};

const FromKnxCase Reading[] = {
    // E9 -> C0 | E9 >> 6 = C3, 80 | E9 & 3F = A9.
    Reads("StringLatin1Ends", Latin1, Dpt(16, 1), Text14("\x80\xFF\xE9"), V::String("\xC2\x80\xC3\xBF\xC3\xA9")),
    Reads("StringStopsAtZero", Ascii, Dpt(16, 1), Text14(std::string("AB\0CD", 5)), V::String("AB")),
    // The range filters UTF-8 bytes: E9 becomes two underscores.
    Reads("StringRangeEnds", Printable, Dpt(16, 1), Text14("\x1F \x7E\x7F\xE9"), V::String("_ ~___"), V(), {Replaced}),
    Rejects("StringRefused", Ascii, Dpt(4, 1), Text14("A"), "Wrong DPT main number (16.x)!"),
    Reads("Date2089", Date, Dpt(11, 1), Octets(24, 0x1F'0C'59), DateOf(2089, 12, 31)),
    Rejects("DateReservedDayBit", Date, Dpt(11, 1), Octets(24, 0x21'03'18), DateReserved),
    Rejects("DateReservedMonthBit", Date, Dpt(11, 1), Octets(24, 0x01'13'18), DateReserved),
    Rejects("DateReservedYearBit", Date, Dpt(11, 1), Octets(24, 0x01'03'98), DateReserved),
    Rejects("DateFebruary30", Date, Dpt(11, 1), Octets(24, 0x1E'02'17), BadDate + "2023, month=2, day=30"),
    Reads("DateSubAloneSuffices", Date, Dpt(5, 1), Octets(24, 0x01'03'18), DateOf(2024, 3, 1)),
    Rejects("DateRefused", Date, Dpt(10, 2), Octets(24, 0x01'03'18), "Wrong DPT main number (11.001)!"),
    Reads("TimeOfDaySundayLastSecond", TimeOfDay, Dpt(10, 1), Octets(24, 0xF7'3B'3B), TimeOf(23, 59, 59, WD_SUNDAY)),
    Rejects("TimeOfDayReservedMinuteBit", TimeOfDay, Dpt(10, 1), Octets(24, 0x0C'40'00), TimeReserved),
    Rejects("TimeOfDayReservedSecondBit", TimeOfDay, Dpt(10, 1), Octets(24, 0x0C'00'80), TimeReserved),
    Rejects("TimeOfDayHour24", TimeOfDay, Dpt(10, 1), Octets(24, 0x18'00'00), "No valid TimeOfDay (10.001)!"),
    Rejects("TimeOfDayRefused", TimeOfDay, Dpt(11, 2), Octets(24, 0x0C'00'00), "Wrong DPT main number (10.001)!"),
    // Year = 1900 + octet 0: E8, what 2024 is sent as, comes back as 2132. Day of week, reserved bits
    // and flags are ignored; the type is the caller's (ivtEmpty here).
    Reads("DateTimeYearOfWhatIsSent", Stamp, Dpt(19, 1), Octets(64, 0xE803010000002000), At(2132, 3, 1, 0, 0, 0)),
    Reads("DateTimeReservedIgnored", Stamp, Dpt(0, 0), Octets(64, 0x7CF3E1ECDECFFFFF), At(2024, 3, 1, 12, 30, 15)),
    Rejects("DateTimeFebruary30", Stamp, Dpt(19, 1), Octets(64, 0x7B021E0000002000), BadStamp + Feb30),
    Rejects("DateTimeMinute60", Stamp, Dpt(19, 1), Octets(64, 0x7C03010C3C002000), BadStamp + Minute60),
};
// clang-format on

class ToKnx : public ::testing::TestWithParam<ToKnxCase> {};
TEST_P(ToKnx, Converts) { RunToKnx(GetParam()); }
INSTANTIATE_TEST_SUITE_P(TextDateTime, ToKnx, ::testing::ValuesIn(Writing), CaseName<ToKnxCase>);

class FromKnx : public ::testing::TestWithParam<FromKnxCase> {};
TEST_P(FromKnx, Converts) { RunFromKnxSlotExact(GetParam()); }
INSTANTIATE_TEST_SUITE_P(TextDateTime, FromKnx, ::testing::ValuesIn(Reading), CaseName<FromKnxCase>);

// A group value of the wrong size is refused.
TEST(TextDateTime, GroupValueThatDoesNotFitIsRefused)
{
    RunUnfitGroupValue(*Ascii, Dpt(16, 1), Octets(8, 0x41));
    RunUnfitGroupValue(*Date, Dpt(11, 1), Octets(16, 0x0103));
    RunUnfitGroupValue(*TimeOfDay, Dpt(10, 1), Octets(32, 0x0C000000));
    RunUnfitGroupValue(*Stamp, Dpt(19, 1), Octets(40, 0x7C03010C1E));
}

TEST(TextDateTime, DateAndTimeConverterWritesNoTrace)
{
    LogCapture log;
    GroupValue out;
    V value = At(2024, 3, 1, 12, 30, 15, ivtDateTime);
    ASSERT_TRUE(Stamp->ToKnxValue(Dpt(19, 1), value, out));
    ASSERT_TRUE(Stamp->FromKnxValue(Dpt(19, 1), out, value));
    TimeOfDay->FromKnxValue(Dpt(10, 1), Octets(24, 0x6C'1E'0F), value);
    EXPECT_THAT(log.AllLines(),
                ::testing::ElementsAre(Debug("DPT is used. DPT = 10.001 grp.size=24 grp.val=6C 1E 0F")));
}

} // namespace
