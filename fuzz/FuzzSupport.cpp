#include "FuzzSupport.h"

#include "ErvLogging/Logging.h"

#include <log4cplus/appender.h>
#include <log4cplus/spi/loggingevent.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>

namespace ErvFuzz {

std::uint8_t Input::U8()
{
    if (m_size == 0)
        return 0;
    --m_size;
    return *m_data++;
}

// Big-endian. The high part is read in a statement of its own: the operands of `|` are unsequenced,
// and compilers that read them in different orders would decode the same seed differently.
std::uint16_t Input::U16()
{
    const unsigned high = U8();
    return static_cast<std::uint16_t>(high << 8 | U8());
}

std::uint32_t Input::U32()
{
    const std::uint32_t high = U16();
    return high << 16 | U16();
}

std::uint64_t Input::U64()
{
    const std::uint64_t high = U32();
    return high << 32 | U32();
}

std::string Input::Bytes(std::size_t maxLength)
{
    const std::size_t wanted = std::min<std::size_t>(U8(), maxLength);
    const std::size_t length = std::min(wanted, m_size);
    std::string bytes(reinterpret_cast<const char*>(m_data), length);
    m_data += length;
    m_size -= length;
    return bytes;
}

std::string Input::Rest()
{
    std::string rest(reinterpret_cast<const char*>(m_data), m_size);
    m_data += m_size;
    m_size = 0;
    return rest;
}

namespace {

// Every type number the value library names; a value of any other number is made now and then.
constexpr AvoValueType KnownTypes[] = {
    ivtInvalid,  ivtEmpty,  ivtBool,        ivtFloat,   ivtInteger,  ivtChar,    ivtByte,    ivtWord,    ivtDWord,
    ivtBinary,   ivtString, ivtDate,        ivtTime,    ivtDateTime, ivtLong,    ivtDayTime, ivtCounter, ivtTimestamp,
    ivtDuration, ivtDay,    ivtUtcDateTime, ivtPercent, ivtEnum8,    ivtScaling, ivtDimming, ivtAngle,
};
constexpr std::size_t KnownTypeCount = std::size(KnownTypes);

class CountingAppender : public log4cplus::Appender {
public:
    ~CountingAppender() override { destructorImpl(); }
    void close() override {}
    int reported = 0;

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        if (event.getLogLevel() >= log4cplus::INFO_LOG_LEVEL)
            ++reported;
    }
};

CountingAppender* g_counter = nullptr;

} // namespace

KNXDPT AnyDpt(Input& in)
{
    KNXDPT dpt;
    dpt.bitSize = in.U8();
    dpt.mainNumber = in.U16();
    dpt.subNumber = in.U16();
    return dpt;
}

KnxStack::GroupValue AnyGroupValue(Input& in)
{
    const unsigned int definedSize = in.U16();
    const std::string bytes = in.Bytes(KnxStack::BinaryData::Capacity);
    const KnxStack::BinaryData data(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    return KnxStack::GroupValue(data, definedSize);
}

AVOVALUE AnyValue(Input& in)
{
    AVOVALUE value;
    const std::uint8_t pick = in.U8();
    value.ivt = pick < 0xF0 ? KnownTypes[pick % KnownTypeCount] : static_cast<AvoValueType>(in.U32());
    std::uint64_t slot = in.U64();
    double number;
    std::memcpy(&number, &slot, sizeof number);
    value.SetDouble(number);
    AVOTIME& time = value.Time();
    time.year = in.U16();
    time.month = in.U8();
    time.day = in.U8();
    time.hour = in.U8();
    time.minute = in.U8();
    time.second = in.U8();
    time.hundredths = in.U8();
    time.weekDays = in.U16();
    time.timeKind = in.U16();
    time.isLocal = in.Bool();
    time.isDst = in.Bool();
    value.SetString(in.Rest());
    return value;
}

void LogLines::Reset() { g_counter->reported = 0; }

int LogLines::Reported() { return g_counter->reported; }

void Setup()
{
    if (g_counter)
        return;
    // DPT 19 decodes go through mktime, which reads the zone file on every call when TZ is unset.
    setenv("TZ", "UTC", 1);
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    g_counter = new CountingAppender;
    logger.removeAllAppenders();
    logger.addAppender(log4cplus::SharedAppenderPtr(g_counter));
    logger.setLogLevel(log4cplus::ALL_LOG_LEVEL);
}

void Violated(const char* property, const std::string& detail)
{
    std::fprintf(stderr, "fuzz property violated: %s\n  %s\n", property, detail.c_str());
    std::abort();
}

bool RefusedSilently(bool succeeded) { return !succeeded && LogLines::Reported() == 0; }

std::string Describe(const KNXDPT& dpt) { return ToString(dpt) + " (" + std::to_string(dpt.bitSize) + " bits)"; }

std::string Describe(const KnxStack::GroupValue& bus)
{
    return std::to_string(bus.GetDefinedSize()) + " bits: " + bus.GetRawData().ToString();
}

std::string Describe(const AVOVALUE& value)
{
    std::ostringstream text;
    text << value;
    return text.str();
}

} // namespace ErvFuzz
