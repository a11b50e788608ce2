// Text, date and time: DPT 16.x (14 characters), 11.001 (date), 10.001 (time of day) and 19.001
// (date and time).
#include "ErvObjectModel/KnxConverter.h"

#include "Erv/AvoValueHelper.h"
#include "ErvObjectModel/KnxConverterDetail.h"
#include "ErvObjectModel/TimeOfDay.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Erv {

namespace {

// The bus text's length; the group value would cut anything longer.
constexpr std::size_t String14Length = 14;

// The reserved bits of the three-octet formats, read with octet 1 most significant.
constexpr std::uint32_t DateReservedBits = 0xE0F080;
constexpr std::uint32_t TimeOfDayReservedBits = 0x00C0C0;

// Octet 6 of a DPT 19.001 value: of its flags only NWD, "working-day field not valid".
constexpr unsigned char DateTimeFlags = 0x20;

// Octets 1 to 3 with octet 1 most significant, as BinaryData reads them; in place when all three
// are there (the converter runs on every telegram), through the reader otherwise.
std::uint32_t ThreeOctets(const KnxStack::GroupValue& grp)
{
    const KnxStack::BinaryData& raw = grp.GetRawData();
    if (raw.GetLength() < 3)
        return raw.GetUInt24Value(0);
    const unsigned char* octets = raw.GetData();
    return std::uint32_t{octets[0]} << 16 | std::uint32_t{octets[1]} << 8 | octets[2];
}

struct BusTimeOfDay {
    int hour = 0;
    int minute = 0;
    int second = 0;
    KnxStack::GroupValue::DayOfWeek day = KnxStack::GroupValue::NoDay;
};

// Through the accessor, which refuses a value that is not 24 bits in 3 octets; out of the way of
// the common path, so that its fields can stay in registers.
[[gnu::noinline, gnu::cold]] BusTimeOfDay ReadTimeOfDayChecked(const KnxStack::GroupValue& grp)
{
    BusTimeOfDay clock;
    grp.GetAsTimeOfDay(&clock.hour, &clock.minute, &clock.second, &clock.day);
    return clock;
}

// A DPT 10.001 value from its octets already read (ThreeOctets) where the accessor would read
// them: the day in the top three bits of octet 1, the hour in its low five, minute and second in
// the low six of octets 2 and 3.
BusTimeOfDay ReadTimeOfDay(const KnxStack::GroupValue& grp, std::uint32_t octets)
{
    if (grp.GetDefinedSize() != 24 || grp.GetRawData().GetLength() < 3)
        return ReadTimeOfDayChecked(grp);
    BusTimeOfDay clock;
    clock.day = static_cast<KnxStack::GroupValue::DayOfWeek>(octets >> 21);
    clock.hour = static_cast<int>(octets >> 16 & 0x1F);
    clock.minute = static_cast<int>(octets >> 8 & 0x3F);
    clock.second = static_cast<int>(octets & 0x3F);
    return clock;
}

bool YearOutside(unsigned short year, unsigned int first, unsigned int last)
{
    return static_cast<unsigned int>(year) - first > last - first;
}

} // namespace

// DPT 16.x ------------------------------------------------------------------------------------

bool KnxConverter14ByteString::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp)
    try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (dpt.mainNumber != 16 && val.ivt != ivtString)
        ERV_REJECT("Wrong DPT main number (16.x) or avo value type (ivtString)!");
    // One byte per character. A two-byte sequence becomes the low 8 bits of the character it codes
    // (whatever its second byte is); every other byte, those of longer sequences included, passes
    // as it is. Characters outside the range become '_', silently in this direction.
    const std::string& text = val.GetString();
    char bus[String14Length];
    std::size_t length = 0;
    for (std::size_t i = 0; i < text.size() && text[i] != '\0' && length < String14Length; ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        if ((c & 0xE0) == 0xC0) {
            // text[text.size()] is the terminating zero: a lead at the very end pairs with it, and
            // since the zero is not skipped, the loop ends there.
            const auto next = static_cast<unsigned char>(text[i + 1]);
            c = static_cast<unsigned char>((c << 6) | (next & 0x3F));
            if (next != '\0')
                ++i;
        }
        bus[length++] = m_range.Contains(c) ? static_cast<char>(c) : '_';
    }
    grp.SetAsString14(std::string(bus, length));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverter14ByteString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val)
    try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 16)
        ERV_REJECT("Wrong DPT main number (16.x)!");
    const std::string bus = grp.GetAsString14();
    // Each bus byte is a Latin-1 character, written in UTF-8. The range then filters UTF-8 bytes,
    // not characters: with [0, 127] a character above 0x7F becomes two underscores, as intended.
    char text[2 * String14Length];
    std::size_t length = 0;
    bool replaced = false;
    const auto put = [&](unsigned char byte) {
        const bool allowed = m_range.Contains(byte);
        replaced = replaced || !allowed;
        text[length++] = allowed ? static_cast<char>(byte) : '_';
    };
    for (std::size_t i = 0; i < bus.size() && bus[i] != '\0' && i < String14Length; ++i) {
        const auto c = static_cast<unsigned char>(bus[i]);
        if (c < 0x80) {
            put(c);
        } else {
            put(static_cast<unsigned char>(0xC0 | (c >> 6)));
            put(static_cast<unsigned char>(0x80 | (c & 0x3F)));
        }
    }
    if (replaced)
        ERV_LOG_INFO("Invalid characters for DPT " << dpt << " has been replaced with _.");
    val.ivt = ivtString;
    // No zero byte in it: the recoding stopped at the first.
    val.SetString(std::string(text, length));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

// DPT 11.001 ----------------------------------------------------------------------------------

bool KnxConverterDate::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    // Names 10.001 and ivtDayTime: the date and the time-of-day converter share this message.
    if (dpt.mainNumber != 11 && dpt.subNumber != 1 && val.ivt != ivtDate)
        ERV_REJECT("Wrong DPT main number (10.001) or avo value type (ivtDayTime)!");
    const AVOTIME& time = val.GetTime();
    if (YearOutside(time.year, 1990, 2089))
        ERV_REJECT("Cannot convert the date outside of the range [1990...2089]: year="
                   << time.year << ", month=" << time.month << ", day=" << time.day);
    grp.SetAsDate(time.year, time.month, time.day);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterDate::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val) try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 11 && dpt.subNumber != 1)
        ERV_REJECT("Wrong DPT main number (11.001)!");
    if ((ThreeOctets(grp) & DateReservedBits) != 0)
        ERV_REJECT("No valid Date datagram, reserved fields are not zero!");
    int year = 0;
    int month = 0;
    int day = 0;
    grp.GetAsDate(&year, &month, &day);
    if (!AVOTIME::IsValidDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                              static_cast<unsigned char>(day)))
        ERV_REJECT("Cannot convert invalid date: year=" << year << ", month=" << month << ", day=" << day);
    AVOTIME& time = val.Time();
    time.Clear(true);
    time.SetDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month), static_cast<unsigned char>(day),
                 true);
    val.ivt = ivtDate;
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

// DPT 10.001 ----------------------------------------------------------------------------------

bool KnxConverterTimeOfDay::ToKnxValue(const KNXDPT& dpt, const AVOVALUE& val, KnxStack::GroupValue& grp) try {
    ERV_TRACE_TO_KNX(dpt, val);
    if (dpt.mainNumber != 10 && dpt.subNumber != 1 && val.ivt != ivtDayTime)
        ERV_REJECT("Wrong DPT main number (10.001) or avo value type (ivtDayTime)!");
    const AVOTIME& time = val.GetTime();
    const boost::optional<ErvApp::TimeOfDay> timeOfDay = ErvApp::FromAvoTime(time);
    if (!timeOfDay)
        ERV_REJECT("Could not convert AVOTIME " << time.year << ' ' << time.month << ' ' << time.day << ' ' << time.hour
                                                << ' ' << time.minute << ' ' << time.second << ' ' << time.hundredths
                                                << ' ' << time.weekDays << ' ' << time.timeKind << ' '
                                                << time.isLocal << ' ' << time.isDst << " to TimeOfDay");
    // Both weekday enumerations count Monday 1 to Sunday 7, 0 for no day.
    grp.SetAsTimeOfDay(timeOfDay->GetHour(), timeOfDay->GetMinute(), timeOfDay->GetSecond(),
                       static_cast<KnxStack::GroupValue::DayOfWeek>(timeOfDay->GetWeekday()));
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterTimeOfDay::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& grp, AVOVALUE& val)
    try {
    ERV_TRACE_FROM_KNX(dpt, grp);
    if (dpt.mainNumber != 10 && dpt.subNumber != 1)
        ERV_REJECT("Wrong DPT main number (10.001)!");
    const std::uint32_t octets = ThreeOctets(grp);
    if ((octets & TimeOfDayReservedBits) != 0)
        ERV_REJECT("No valid TimeOfDay datagram, reserved fields are not zero!");
    const BusTimeOfDay clock = ReadTimeOfDay(grp, octets);
    const auto weekday = static_cast<ErvApp::DayOfWeek>(clock.day);
    if (!ErvApp::TimeOfDay::IsValid(clock.hour, clock.minute, clock.second, weekday))
        ERV_REJECT("No valid TimeOfDay (10.001)!");
    // What ToAvoValue(TimeOfDay) makes, written into the caller's value: runs on every telegram.
    val.ivt = ivtDayTime;
    detail::SetTimeOfDay(val.Time(), clock.hour, clock.minute, clock.second, weekday);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

// DPT 19.001 ----------------------------------------------------------------------------------
// Neither direction looks at the DPT or the value type, nor writes a trace.

bool KnxConverterDateTime::ToKnxValue(const KNXDPT& /*dpt*/, const AVOVALUE& val, KnxStack::GroupValue& grp)
    try {
    const AVOTIME& time = val.GetTime();
    // The test is the year octet's 1900..2155 while the message quotes the date's years; both kept.
    if (YearOutside(time.year, 1900, 2155))
        ERV_REJECT("Cannot convert the date outside of the range [1990...2089]: year=" << time.year);
    // Octet 0 is the low byte of the year itself, while decoding adds 1900 to it: 2024 goes out as
    // 232 and comes back as 2132. Kept as it is; never mend one direction alone.
    const unsigned char octets[8] = {static_cast<unsigned char>(time.year & 0xFF),
                                     time.month,
                                     time.day,
                                     time.hour, // day-of-week bits 0
                                     time.minute,
                                     time.second,
                                     DateTimeFlags,
                                     0}; // clock quality and source
    grp = KnxStack::GroupValue(KnxStack::BinaryData(octets, sizeof octets), 64);
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

bool KnxConverterDateTime::FromKnxValue(const KNXDPT& /*dpt*/, const KnxStack::GroupValue& grp, AVOVALUE& val)
    try {
    const KnxStack::BinaryData& raw = grp.GetRawData();
    const unsigned int year = raw.GetUInt8Value(0) + 1900u;
    const unsigned int month = raw.GetUInt8Value(1) & 0x0Fu;
    const unsigned int day = raw.GetUInt8Value(2) & 0x1Fu;
    const unsigned int hour = raw.GetUInt8Value(3) & 0x1Fu; // without the day of week
    const unsigned int minute = raw.GetUInt8Value(4) & 0x3Fu;
    const unsigned int second = raw.GetUInt8Value(5) & 0x3Fu;
    if (!AVOTIME::IsValidDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                              static_cast<unsigned char>(day)) ||
        !AVOTIME::IsValidTime(static_cast<unsigned char>(hour), static_cast<unsigned char>(minute),
                              static_cast<unsigned char>(second)))
        ERV_REJECT("Cannot convert invalid date and time: year=" << year << ", month=" << month << ", day=" << day
                                                                 << ", hour=" << hour << ", minute=" << minute
                                                                 << ", second=" << second);
    AVOTIME& time = val.Time();
    time.Clear(true);
    time.SetDateTime(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                     static_cast<unsigned char>(day), static_cast<unsigned char>(hour),
                     static_cast<unsigned char>(minute), static_cast<unsigned char>(second), true);
    // The type is the caller's to set.
    return true;
}
ERV_CATCH_GROUP_VALUE_EXCEPTION

} // namespace Erv
