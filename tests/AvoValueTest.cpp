#include "AvoValue/AvoValue.h"
#include "AvoValue/TimeOfDay.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <sstream>
#include <tuple>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using Limits = std::numeric_limits<double>;

AVOVALUE Typed(AvoValueType type, AVOVALUE value = AVOVALUE())
{
    value.ivt = type;
    return value;
}

Bytes Hex(const std::string& text) // "12 34"
{
    std::istringstream in(text);
    Bytes bytes;
    for (unsigned byte; in >> std::hex >> byte;)
        bytes.push_back(static_cast<unsigned char>(byte));
    return bytes;
}

// Every field set, none of them at its default; then every field at its largest.
const AVOTIME Full{2024, 2, 29, 23, 59, 58, 99, 127, 1, true, true};
const AVOTIME Extreme{65535, 255, 255, 255, 255, 255, 255, 65535, 65535, false, false};

// Golden texts in the default format; the internal format adds ".7" after the type number.
// Numbers are the shortest round-trip decimals, as Python's repr writes them.
struct TextCase {
    const char* name;
    AVOVALUE value;
    const char* text;
};
// clang-format off
const TextCase TextCases[] = {
    {"Empty", AVOVALUE(), "1:"}, {"Binary", Typed(ivtBinary), "9:"}, {"Bool", AVOVALUE::Bool(true), "2:true"},
    {"Float", AVOVALUE::Float(21.5), "3:21.5"}, {"FloatNaN", AVOVALUE::Float(Limits::quiet_NaN()), "3:nan"},
    {"FloatInf", AVOVALUE::Float(Limits::infinity()), "3:inf"},
    {"FloatMinusInf", AVOVALUE::Float(-Limits::infinity()), "3:-inf"},
    {"FloatMinusZero", AVOVALUE::Float(-0.0), "3:-0"}, {"Angle", Typed(ivtAngle, AVOVALUE::Float(0.1)), "1039:0.1"},
    {"FloatDenormal", AVOVALUE::Float(Limits::denorm_min()), "3:5e-324"},
    {"PercentMax", Typed(ivtPercent, AVOVALUE::Float(Limits::max())), "1005:1.7976931348623157e+308"},
    {"DimmingSmallestNormal", Typed(ivtDimming, AVOVALUE::Float(-Limits::min())), "1037:-2.2250738585072014e-308"},
    {"IntegerMin", AVOVALUE::Integer(std::numeric_limits<std::int32_t>::min()), "4:-2147483648"},
    {"Char", Typed(ivtChar, AVOVALUE::Byte(255)), "5:255"}, {"Word", AVOVALUE::Word(0xFFFF), "7:65535"},
    {"DWord", AVOVALUE::DWord(0xFFFFFFFF), "8:4294967295"},
    {"StringEscapes", AVOVALUE::String("a\\x41:\n\x7f\x01 "), "10:a\\x5Cx41:\\x0A\\x7F\\x01 "},
    {"StringUtf8AndLoneLead", AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e \xC3"), "10:Gr\xC3\xBC\xC3\x9F" "e \xC3"},
    {"StringNul", AVOVALUE::String(std::string("a\0b", 3)), "10:a\\x00b"},
    {"Date", AVOVALUE::Time(ivtDate, Full), "11:2024-02-29 23:59:58.99 w127 k1 l1 d1"},
    {"TimeZero", AVOVALUE::Time(ivtTime, AVOTIME()), "12:0000-00-00 00:00:00.00 w0 k0 l0 d0"},
    {"DateTimeExtreme", AVOVALUE::Time(ivtDateTime, Extreme), "13:65535-255-255 255:255:255.255 w65535 k65535 l0 d0"},
};
// clang-format on

class TextForm : public ::testing::TestWithParam<TextCase> {};

TEST_P(TextForm, IsGoldenInBothFormatsAndReadsBack)
{
    for (bool internal : {false, true}) {
        std::string expected = GetParam().text, text;
        if (internal)
            expected.insert(expected.find(':'), ".7");
        GetParam().value.Serialize(text, internal);
        EXPECT_EQ(text, expected);
        AVOVALUE back = AVOVALUE::String("stale");
        ASSERT_TRUE(back.Deserialize(text)) << text;
        EXPECT_EQ(back, GetParam().value) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(AvoValue, TextForm, ::testing::ValuesIn(TextCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(AvoValue, MalformedTextLeavesValueUnchanged)
{
    // clang-format off
    const std::string cases[] = {
        "", "3", "3 :1", ":1", "999:1", "999:", "-3:1", "99999999999:1", "3.6:1", "3.7.7:1", "3:21.5x", "3:", "3: 1",
        "3:1e999", "3:infinity", "3:NaN", "2:TRUE", "2:1", "4:2147483648", "4:+1", "6:256", "6:-1", "7:65536",
        "8:4294967296", "1:x", "10:a\\", "10:\\x4", "10:\\x4G", "10:\\y41", "10:raw\x01", "10:raw\x7f",
        "11:2024-02-29 23:59:58.99 w127 k1 l1", "11:2024-2-29 23:59:58.99 w1 k1 l1 d1",
        "11:2024-02-29 23:59:58.99 w1 k1 l2 d1", "11:2024-02-29 23:59:58.99 w1 k1 l1 d1 ",
        "11:2024-256-29 23:59:58.99 w1 k1 l1 d1", "11:2024-02-29 23:59:58.99 w k1 l1 d1",
    };
    // clang-format on
    for (const std::string& text : cases) {
        AVOVALUE value = AVOVALUE::Word(0xBEEF);
        EXPECT_FALSE(value.Deserialize(text)) << text;
        EXPECT_EQ(value, AVOVALUE::Word(0xBEEF)) << text;
    }
}

// Equality looks at the type and the field the type uses; an unknown type compares every field.
TEST(AvoValue, EqualityAndSlotSharing)
{
    const double otherNaN = -Limits::quiet_NaN();
    EXPECT_EQ(AVOVALUE::Float(otherNaN), AVOVALUE::Float(otherNaN));
    EXPECT_NE(AVOVALUE::Float(otherNaN), AVOVALUE::Float(Limits::quiet_NaN()));
    EXPECT_NE(AVOVALUE::Float(-0.0), AVOVALUE::Float(0.0));
    EXPECT_NE(AVOVALUE::Byte(1), AVOVALUE::Bool(true));
    EXPECT_NE(AVOVALUE::String("a"), AVOVALUE::String("b"));
    EXPECT_EQ(Typed(ivtEmpty, AVOVALUE::Integer(5)), AVOVALUE());
    EXPECT_EQ(Typed(ivtDate, AVOVALUE::Integer(5)), AVOVALUE::Time(ivtDate, AVOTIME()));
    EXPECT_NE(Typed(ivtString, AVOVALUE::Integer(5)), AVOVALUE::String("5"));
    const auto unknown = static_cast<AvoValueType>(77);
    EXPECT_NE(Typed(unknown, AVOVALUE::Byte(1)), Typed(unknown, AVOVALUE::Byte(2)));

    AVOVALUE tenth = AVOVALUE::Float(0.1);
    tenth.SetWord(1); // zeroes the rest of the slot
    EXPECT_EQ(tenth.GetSlotBits(), 1u);
}

TEST(AvoValue, NamesAndText)
{
    std::ostringstream os;
    os << AVOVALUE::Float(21.5) << AVOVALUE::String("Hi\\") << AVOVALUE::Time(ivtDateTime, AVOTIME{2024, 3, 1, 12})
       << Typed(static_cast<AvoValueType>(77), AVOVALUE::Byte(1));
    EXPECT_EQ(os.str(), "ivtFloat(21.5)ivtString(Hi\\)ivtDateTime(2024-03-01 12:00:00)ivtUnknown(77)()");
    EXPECT_EQ(AvoDP::GetNameFromValueSubType(static_cast<AvoDP::AvoValueSubType>(-5)), "istUnknown(-5)");
}

// Year 1 lies outside the range of Boost's calendar; an invalid date has weekday 0.
TEST(AvoTime, DateValidityAndWeekday)
{
    // year, month, day, weekday or -1 for no date
    const std::tuple<unsigned short, unsigned char, unsigned char, int> cases[] = {
        {2024, 2, 29, 4}, {2023, 2, 29, -1}, {2100, 2, 29, -1}, {2000, 2, 29, 2}, {2024, 13, 1, -1},
        {2024, 1, 0, -1}, {2024, 4, 31, -1}, {0, 1, 1, -1}, {1, 1, 1, 1}, {65535, 12, 31, 2},
    };
    for (const auto& [year, month, day, wday] : cases) {
        const AVOTIME time{year, month, day, 13, 14, 15};
        EXPECT_EQ(AVOTIME::IsValidDate(year, month, day), wday >= 0) << time;
        const std::tm tm = time.ToTm();
        EXPECT_EQ(std::tuple(tm.tm_year, tm.tm_mon, tm.tm_mday, tm.tm_hour, tm.tm_wday, tm.tm_isdst),
                  std::tuple(year - 1900, month - 1, int{day}, 13, std::max(wday, 0), -1));
    }
    EXPECT_TRUE(AVOTIME::IsValidTime(23, 59, 59));
    EXPECT_FALSE(AVOTIME::IsValidTime(24, 0, 0) || AVOTIME::IsValidTime(0, 60, 0) || AVOTIME::IsValidTime(0, 0, 60));
}

// No other test of this binary depends on the time zone, so it stays UTC.
TEST(AvoTime, TimeStampInUtc)
{
    setenv("TZ", "UTC", 1);
    tzset();
    using namespace AvoWeekDays;
    const std::tuple<long, const char*, unsigned short> cases[] = {
        {0, "1970-01-01 00:00:00", WD_THURSDAY}, {-1, "1969-12-31 23:59:59", WD_WEDNESDAY},
        {951782400, "2000-02-29 00:00:00", WD_TUESDAY}, {1710028800, "2024-03-10 00:00:00", WD_SUNDAY},
        {2147483647, "2038-01-19 03:14:07", WD_TUESDAY},
    };
    for (const auto& [stamp, text, weekDay] : cases) {
        AVOTIME time = Extreme;
        time = stamp;
        std::ostringstream os;
        os << time;
        EXPECT_EQ(os.str(), text);
        EXPECT_EQ(std::tuple(time.weekDays, time.hundredths, time.timeKind, time.isLocal),
                  std::tuple(weekDay, 0, 0, true)) << text;
    }
}

TEST(TimeOfDay, CreateBounds)
{
    using ErvApp::TimeOfDay;
    const auto last = TimeOfDay::Create(23, 59, 59, ErvApp::Sunday);
    ASSERT_TRUE(last && TimeOfDay::Create(0, 0, 0, ErvApp::NoDay));
    EXPECT_EQ(std::tuple(last->GetHour(), last->GetMinute(), last->GetSecond(), last->GetWeekday()),
              std::tuple(23, 59, 59, ErvApp::Sunday));
    const std::tuple<int, int, int> outside[] = {{24, 0, 0}, {-1, 0, 0}, {0, 60, 0},
                                                 {0, -1, 0}, {0, 0, 60}, {0, 0, -1}};
    for (const auto& [h, m, s] : outside)
        EXPECT_FALSE(TimeOfDay::Create(h, m, s, ErvApp::Monday)) << h << ':' << m << ':' << s;
}

TEST(ByteBridge, ToBytes)
{
    const std::tuple<AVOVALUE, unsigned int, const char*> cases[] = { // no bytes: refused
        // clang-format off
        {AVOVALUE::Word(0x1234), 2, "12 34"}, {AVOVALUE::DWord(0x01ABCDEF), 3, "AB CD EF"},
        {AVOVALUE::DWord(0x01020304), 6, "00 00 01 02 03 04"}, {AVOVALUE::Integer(-2), 9, "FF FF FF FF FF FF FF FF FE"},
        {AVOVALUE::Float(-2.5), 2, "FF FD"}, // half away from zero
        {Typed(ivtPercent, AVOVALUE::Float(50.0)), 1, "32"},
        {AVOVALUE::Float(0x1p63), 8, "7F FF FF FF FF FF FF FF"}, // saturated
        {AVOVALUE::Float(Limits::quiet_NaN()), 1, ""}, {AVOVALUE::Bool(true), 3, "00 00 01"},
        {AVOVALUE::String("AB"), 4, "41 42 00 00"}, {AVOVALUE::String("AB"), 1, "41"},
        {AVOVALUE(), 1, ""}, {AVOVALUE::Time(ivtDate, Full), 4, ""},
        // clang-format on
    };
    for (const auto& [value, wanted, bytes] : cases) {
        Bytes buffer(wanted, 0xAA); // exact size: an overrun shows under AddressSanitizer
        unsigned int length = wanted;
        const bool converted = AvoValueToByteArray(value, buffer.data(), length);
        EXPECT_EQ(converted, *bytes != '\0') << value;
        if (converted) {
            EXPECT_EQ(buffer, Hex(bytes)) << value;
        }
        EXPECT_EQ(length, wanted) << value;
    }
    unsigned char byte = 0xAA;
    unsigned int none = 0;
    EXPECT_FALSE(AvoValueToByteArray(AVOVALUE::Byte(7), &byte, none));
}

TEST(ByteBridge, FromBytes)
{
    const AVOVALUE refused = Typed(static_cast<AvoValueType>(-1));
    const std::tuple<AVOVALUE, const char*, bool, AVOVALUE> cases[] = { // start, bytes, infer, result
        // clang-format off
        {AVOVALUE::Byte(0), "12 34", false, AVOVALUE::Byte(0x34)},
        {AVOVALUE::Integer(0), "FF FF FF FE", false, AVOVALUE::Integer(-2)},
        {AVOVALUE::Float(0.5), "FF FF", false, AVOVALUE::Float(65535.0)}, // unsigned below eight bytes
        {AVOVALUE::Float(0.5), "FF FF FF FF FF FF FF FF", false, AVOVALUE::Float(-1.0)},
        {AVOVALUE::DWord(5), "01 01 01 01 01 01 01 01 01", true, refused},
        {AVOVALUE::Bool(false), "00 01 00", false, AVOVALUE::Bool(true)},
        {AVOVALUE::String("old"), "48 69 00 78", false, AVOVALUE::String("Hi")},
        {AVOVALUE(), "07", true, AVOVALUE::Byte(7)}, {AVOVALUE(), "07", false, refused},
        {AVOVALUE::Time(ivtDate, Full), "12 34", true, AVOVALUE::Word(0x1234)},
        {Typed(ivtBinary), "01 02 03", true, AVOVALUE::DWord(0x010203)},
        {Typed(ivtBinary), "01 02 03 04", true, AVOVALUE::DWord(0x01020304)},
        {AVOVALUE(), "48 65 6C 6C 6F", true, AVOVALUE::String("Hello")}, {AVOVALUE(), "", true, refused},
        // clang-format on
    };
    for (const auto& [start, text, infer, expected] : cases) {
        AVOVALUE value = start;
        const Bytes bytes = Hex(text);
        const bool converted = ByteArrayToAvoValue(bytes.data(), static_cast<unsigned int>(bytes.size()), value, infer);
        EXPECT_EQ(converted, expected != refused) << start << " from " << text;
        EXPECT_EQ(value, converted ? expected : start) << start << " from " << text;
    }
}

} // namespace
