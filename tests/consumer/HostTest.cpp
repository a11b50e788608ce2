// A host as another team writes it, from the interface as declared and the installed package only:
// its own converter in the DPT table, the library's free functions and constants (the link proves
// each is exported), the log lines and assertion records it searches its logs for, and the KNX
// stack's exception caught across the library boundary.
#include "Erv/AvoValueHelper.h"
#include "Erv/Function.h"
#include "Erv/MeasureDuration.h"
#include "Erv/Unreachable.h"
#include "ErvLogging/Logging.h"
#include "ErvLogging/Text.h"
#include "ErvObjectModel/AppHostConfig.h"
#include "ErvObjectModel/DscAsyncRequestMessenger.h"
#include "ErvObjectModel/GroupValueAvoValue.h"
#include "ErvObjectModel/KnxConverter.h"
#include "ErvObjectModel/KnxLumMapping.h"
#include "ErvObjectModel/KnxValueConverter.h"
#include "ErvObjectModel/TimeOfDay.h"
#include "KnxStack/GroupValueException.h"

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/spi/loggingevent.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace {

// The host's own format for 5.250: the byte sent inverted. It counts its calls, which the
// interface lets it do: the conversions are not const.
class InvertedByteConverter : public Erv::KnxConverter {
public:
    bool ToKnxValue(const KNXDPT&, const AVOVALUE& val, KnxStack::GroupValue& grp) override
    {
        ++m_calls;
        if (val.ivt != ivtByte)
            return false;
        grp.SetAsUnsigned8(static_cast<unsigned char>(~val.GetByte()));
        return true;
    }
    bool FromKnxValue(const KNXDPT&, const KnxStack::GroupValue& grp, AVOVALUE& val) override
    {
        ++m_calls;
        val = AVOVALUE::Byte(static_cast<unsigned char>(~grp.GetAsUnsigned8()));
        return true;
    }
    KnxConverter* Clone() const override { return new InvertedByteConverter(*this); }

    int Calls() const { return m_calls; }

private:
    int m_calls = 0;
};

TEST(HostConverter, ItsSubNumberOutranksTheWildcardBothWays)
{
    Erv::KnxValueConverter table;
    ASSERT_TRUE(table.Init());
    const InvertedByteConverter mine;
    ASSERT_TRUE(table.AddDptValueMapEntry(5, 250, 8, ivtByte, AvoDP::istGeneric, mine));
    EXPECT_FALSE(table.AddDptValueMapEntry(5, 250, 8, ivtByte, AvoDP::istGeneric, mine)); // taken

    KNXDPT dpt{8, 5, 250};
    KnxStack::GroupValue bus;
    ASSERT_TRUE(table.ToKnxValue(dpt, AVOVALUE::Byte(0x0F), bus));
    EXPECT_EQ(bus.GetRawData().ToString(), "F0");
    AVOVALUE value = AVOVALUE::Word(1);
    ASSERT_TRUE(table.FromKnxValue(dpt, bus, value));
    EXPECT_EQ(value, AVOVALUE::Byte(0x0F));
    // The table works with its own clone, never with the host's object.
    auto* held = dynamic_cast<InvertedByteConverter*>(table.GetEntry(dpt).GetConverter());
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(held->Calls(), 2);
    EXPECT_EQ(mine.Calls(), 0);

    KNXDPT percent{8, 5, 1}; // the rest of 5.x keeps the library's converter
    ASSERT_TRUE(table.ToKnxValue(percent, AVOVALUE::Byte(0x0F), bus));
    EXPECT_EQ(bus.GetRawData().ToString(), "0F");
}

// What the host's appender receives, level and message without the function-name prefix.
class Recorder : public log4cplus::Appender {
public:
    ~Recorder() override { destructorImpl(); }
    void close() override {}
    std::vector<std::string> lines;

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        const std::string& text = event.getMessage();
        lines.push_back(std::to_string(event.getLogLevel()) + " " + text.substr(text.find(" - ") + 3));
    }
};

TEST(HostLogging, AnUnknownDptPassesWithThreeErrorLinesEachWay)
{
    Erv::KnxValueConverter table;
    ASSERT_TRUE(table.Init());
    auto* recorder = new Recorder;
    const log4cplus::SharedAppenderPtr attached(recorder);
    log4cplus::Logger::getRoot().addAppender(attached);
    KNXDPT dpt{8, 100, 1};
    KnxStack::GroupValue bus;
    bus.SetAsUnsigned8(7);
    AVOVALUE value = AVOVALUE::Word(1);
    EXPECT_TRUE(table.ToKnxValue(dpt, AVOVALUE::Byte(1), bus));
    EXPECT_TRUE(table.FromKnxValue(dpt, bus, value));
    log4cplus::Logger::getRoot().removeAppender(attached);
    const std::vector<std::string> once = {"40000 No Entry found for DPT = 100.001",
                                           "40000 No Entry found for DPT = 100.001",
                                           "40000 Assume validity and accept value!"};
    std::vector<std::string> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_EQ(recorder->lines, twice);
    EXPECT_EQ(bus.GetRawData().ToString(), "07");
    EXPECT_EQ(value, AVOVALUE::Word(1));
}

// Each free function and constant the interface names, called once as a host would.
TEST(HostLinks, FreeFunctionsAndConstants)
{
    EXPECT_EQ(Erv::DeviceStackObjectModelConfigFile.string(), "/opt/userdata/devicestack/ervOM/config.json");
    EXPECT_STREQ(Erv::ConnectorAppName, "ConnectorApp");
    EXPECT_STREQ(Erv::KimConfigName, "KimConfig");
    EXPECT_STREQ(Erv::AppHostConfigFile, "/opt/userdata/etc/ervapphost/ervapphostconfig.xml");
    EXPECT_FALSE(Erv::LoadFile("/nonexistent/ervapphostconfig.xml"));
    Erv::AppHostConfiguration config;
    EXPECT_FALSE(config.ReplaceAppDebugMode(true));

    const unsigned long dpt = 9ul << 16 | 1; // 9.001
    const auto bus = Erv::AvoValueToGroupValue(AVOVALUE::Float(21.5), dpt);
    ASSERT_TRUE(bus);
    EXPECT_EQ(bus->GetRawData().ToString(), "0C 33");
    EXPECT_TRUE(Erv::CheckGroupValue(*bus, dpt));
    EXPECT_EQ(Erv::GroupValueToAvoValue(*bus, dpt), AVOVALUE::Float(21.5));
    EXPECT_EQ(Erv::RepairUTF8("a\xFF").Str(), "a?");
    EXPECT_EQ(Erv::getLatin1FromUTF8Lossy(Erv::getUTF8FromLatin1("\xE9").Str()), "\xE9");

    EXPECT_EQ(Erv::ToAvoValue<unsigned char>(7, ivtByte), AVOVALUE::Byte(7));
    EXPECT_EQ(ErvApp::ToAvoWeekday(ErvApp::Monday), AvoWeekDays::WD_MONDAY);
    AVOTIME noon;
    noon.hour = 12;
    noon.weekDays = AvoWeekDays::WD_SUNDAY;
    EXPECT_EQ(ErvApp::FromAvoTime(noon)->GetWeekday(), ErvApp::Sunday);
    // Before 1901-12-13 20:45:52 UTC no 32-bit count of seconds holds the time: the empty value.
    setenv("TZ", "UTC", 1);
    tzset();
    using boost::posix_time::ptime;
    EXPECT_EQ(Erv::ToAvoValue(ptime(boost::gregorian::date(1990, 1, 1)), ivtDate).ivt, ivtDate);
    EXPECT_EQ(Erv::ToAvoValue(ptime(boost::gregorian::date(1900, 1, 1)), ivtDateTime).ivt, ivtEmpty);

    EXPECT_EQ(Erv::ToString(Erv::IntegerRange(0, 255, 0, 100)), "IntegerRange(0, 255, 0, 100)");
    EXPECT_EQ(Erv::ToString(Erv::LongIntegerRange(0, 4294967295, 0, 4294967295)),
              "IntegerRange(0, 4294967295, 0, 4294967295)");
    EXPECT_EQ(Erv::ToString(Erv::FloatIntegerRange()), "FloatIntegerRange(-671089, 670761, -2147483648, 2147483647)");
    EXPECT_EQ(Erv::ToString(Erv::FloatRange(0, 100, 0, 100)), "FloatRange(0, 100, 0, 100)");

    EXPECT_EQ(Erv::KnxLumMapping::GetCoValueObjModelId(1, Erv::LogicalDeviceId::Of<1>()), 100101ul);
    EXPECT_EQ(Erv::KnxLumMapping::GetIvtFromDpt(dpt), ivtFloat);
    EXPECT_EQ(AVOVALUE::GetNameFromValueType(ivtFloat), "ivtFloat");
    EXPECT_EQ(Erv::Docket("reply", "", true, true).ReadReply(), "reply");
    EXPECT_EQ(&Erv::GetGlobalDefaultLogger(), &Erv::GetGlobalDefaultLogger());
    EXPECT_EQ(Erv::GetLoggingContext(), "");
    { const Erv::MeasureDuration measure("Took "); }

    Erv::ErvKnxValueConverter text;
    ASSERT_TRUE(text.Init());
    KnxStack::GroupValue textBus;
    EXPECT_TRUE(text.ToKnxValue("3:21.5", 16, textBus));
    EXPECT_EQ(textBus.GetRawData().ToString(), "0C 33");
}

TEST(HostLinks, GroupValueExceptionIsCaughtAcrossTheLibraryBoundary)
{
    KnxStack::GroupValue bus;
    bus.SetAsFloat16(21.5);
    EXPECT_THROW(bus.GetAsUnsigned32(), KnxStack::GroupValueException);
}

// The records name the library's own sources and lines, not where this host found the headers.
TEST(HostDeathTest, AssertionRecordsNameTheSourceHostsSearchFor)
{
    const Erv::BoolReader empty;
    EXPECT_DEATH(empty(), "Include/Erv/Function:87: operator\\(\\) ERV_ASSERT2\\(m_storage\\) failed");
    EXPECT_DEATH(Erv::ToAvoValue<unsigned short>(7, ivtByte),
                 "Include/Erv/AvoValueHelper:32: ToAvoValue ERV_ASSERT2\\(result.ivt == expectedType\\) failed");
    EXPECT_DEATH(Erv::ToAvoValue(std::string("a\xFF"), ivtString),
                 "Include/Erv/AvoValueHelper:38: ToAvoValue ERV_ASSERT2\\(utf8::is_valid");
    EXPECT_DEATH(Erv::ToAvoValue(*ErvApp::TimeOfDay::Create(0, 0, 0, ErvApp::NoDay), ivtTime),
                 "Include/Erv/AvoValueHelper:62: ToAvoValue ERV_ASSERT2\\(expectedType == ivtDayTime\\) failed");
    EXPECT_DEATH(Erv::UndefinedBehaviourIfNone(boost::optional<int>()),
                 "There is a bug somewhere around Include/Erv/Unreachable:45");
}

} // namespace

int main(int argc, char** argv)
{
    log4cplus::Initializer logging;
    // FATAL lines to standard error, where the death tests read them.
    const log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(true));
    console->setThreshold(log4cplus::FATAL_LOG_LEVEL);
    log4cplus::Logger::getRoot().addAppender(console);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
