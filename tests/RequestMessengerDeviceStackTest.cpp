// The remote adapter: what reaches the device-stack client, and the value text in each format.
#include "ErvObjectModel/RequestMessengerDeviceStack.h"

#include "LogCapture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>

using namespace ErvTest;
using ::testing::_;
using ::testing::AnyOf;
using ::testing::DoAll;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::SetArgReferee;

namespace {

class MockClient : public Kelo::IDeviceStackClient {
public:
    MOCK_METHOD(bool, SetInternalValueFormat, (bool on), (override));
    MOCK_METHOD(bool, SetConfiguration, (unsigned long id, (const std::map<PropertyType, Property>&), bool persist),
                (override));
    MOCK_METHOD(bool, GetDeviceConfig, (std::string & config, bool refresh), (override));
    MOCK_METHOD(bool, SetDeviceConfig, ((const std::map<std::string, std::string>&)), (override));
    MOCK_METHOD(bool, SetValueFormat, (const std::string& formatName), (override));
    MOCK_METHOD(std::string, RequestAsync, (const std::string& request), (override));
    MOCK_METHOD(std::string, RegisterApplicationAsync,
                (const std::string& name, const std::string& version, const std::string& configuration), (override));
    MOCK_METHOD(std::string, SetConfigurationAsync, (const std::string& configuration), (override));
    MOCK_METHOD(std::string, GetValueAsync, (unsigned long id, bool fromDevice), (override));
    MOCK_METHOD(std::string, SetValueAsync, (unsigned long id, const std::string& value, bool sendToBus, void* context),
                (override));
    MOCK_METHOD(void, SetResponseHandler, (IResponseHandler * handler, void* context), (override));
};

// clang-format off
class Handler : public Kelo::IDeviceStackClient::IResponseHandler {
    using IError = Kelo::IDeviceStackClient::IError;
    void OnResponse(void*, const std::string&, const std::string&, const IError&) override {}
    void OnRegisterApplication(void*, const std::string&, const IError&) override {}
    void OnGetConfiguration(void*, const std::string&, const std::string&, const IError&) override {}
    void OnSetConfiguration(void*, const std::string&, const IError&) override {}
    void OnGetValue(void*, const std::string&, unsigned long, const std::string&, const std::string&, const IError&) override {}
    void OnSetValue(void*, const std::string&, unsigned long, const std::string&, const std::string&, const IError&) override {}
};
// clang-format on

class RemoteMessenger : public ::testing::Test {
protected:
    ::testing::StrictMock<MockClient> client;
    Erv::RemoteRequestMessengerDeviceStack messenger{client};
};

// Ids and results come back as the client gave them; an empty id (not accepted) is no error of the adapter's.
TEST_F(RemoteMessenger, CallsForwardTheirArgumentsAndResults)
{
    const Erv::RequestMessengerDeviceStack::PropertyMap properties{{Kelo::IDeviceStackClient::PropertyType::Name, {"Lamp"}}};
    const std::map<std::string, std::string> deviceConfig{{"ip", "10.0.0.2"}};
    EXPECT_CALL(client, RegisterApplicationAsync("app", "1.2", "<cfg/>")).WillOnce(Return("r1"));
    EXPECT_CALL(client, GetValueAsync(4294967295ul, true)).WillOnce(Return(""));
    EXPECT_CALL(client, RequestAsync("{\"get\":1}")).WillOnce(Return("r3"));
    EXPECT_CALL(client, SetConfigurationAsync("<config/>")).WillOnce(Return("r4"));
    EXPECT_CALL(client, SetConfiguration(12ul, properties, true)).WillOnce(Return(false));
    EXPECT_CALL(client, GetDeviceConfig(_, true)).WillOnce(DoAll(SetArgReferee<0>("{}"), Return(true)));
    EXPECT_CALL(client, SetDeviceConfig(deviceConfig)).WillOnce(Return(false));
    LogCapture log;

    EXPECT_EQ(messenger.RegisterApplicationAsync("app", "1.2", "<cfg/>"), "r1");
    EXPECT_EQ(messenger.GetValueAsync(std::numeric_limits<std::uint32_t>::max(), true), "");
    EXPECT_EQ(messenger.RequestAsync("{\"get\":1}"), "r3");
    EXPECT_EQ(messenger.SetConfigurationAsync("<config/>"), "r4");
    EXPECT_FALSE(messenger.SetConfiguration(12, properties, true));
    std::string config;
    EXPECT_TRUE(messenger.GetDeviceConfig(config, true));
    EXPECT_EQ(config, "{}");
    EXPECT_FALSE(messenger.SetDeviceConfig(deviceConfig));
    EXPECT_THAT(log.AllLines(), IsEmpty());
}

TEST_F(RemoteMessenger, ResponseHandlerIsSetAndRemovedWithoutContext)
{
    Handler handler;
    InSequence order;
    EXPECT_CALL(client, SetResponseHandler(&handler, nullptr));
    EXPECT_CALL(client, SetResponseHandler(nullptr, nullptr));
    messenger.SetResponseHandler(&handler);
    messenger.SetResponseHandler(nullptr);
}

// The native format is the client's business and leaves the value format alone.
TEST_F(RemoteMessenger, NanFloatIsTheBareWordWithThePrefixOnlyInTheInternalFormat)
{
    const AVOVALUE nan = AVOVALUE::Float(-std::numeric_limits<double>::quiet_NaN());
    std::string internalText;
    AVOVALUE::Integer(-5).Serialize(internalText, true);
    LogCapture log;
    {
        InSequence order;
        EXPECT_CALL(client, SetValueAsync(1ul, "nan", true, nullptr)).WillOnce(Return("a"));
        EXPECT_CALL(client, SetInternalValueFormat(true)).WillOnce(Return(true));
        EXPECT_CALL(client, SetValueAsync(1ul, "3.7:nan", true, nullptr)).WillOnce(Return("b"));
        EXPECT_CALL(client, SetValueFormat("Native")).WillOnce(Return(false));
        EXPECT_CALL(client, SetValueAsync(2ul, internalText, false, nullptr)).WillOnce(Return("c"));
        EXPECT_CALL(client, SetInternalValueFormat(false)).WillOnce(Return(false)); // result ignored
        EXPECT_CALL(client, SetValueAsync(1ul, "nan", true, nullptr)).WillOnce(Return("d"));
    }
    EXPECT_EQ(messenger.SetValueAsync(1, nan, true), "a");
    messenger.EnableInternalValueFormat();
    EXPECT_EQ(messenger.SetValueAsync(1, nan, true), "b");
    EXPECT_FALSE(messenger.EnableNativeFormat());
    EXPECT_EQ(messenger.SetValueAsync(2, AVOVALUE::Integer(-5), false), "c");
    messenger.EnableDefaultValueFormat();
    EXPECT_EQ(messenger.SetValueAsync(1, nan, true), "d");
    EXPECT_THAT(log.AllLines(), ElementsAre(Debug("Internal value format now enabled.")));
}

// Anything but a NaN float, infinity included, is the value library's own text in the format switched on.
TEST(SerialisedValue, IsTheValueLibrarysTextInTheSelectedFormat)
{
    const AVOVALUE values[] = {AVOVALUE::Float(-std::numeric_limits<double>::infinity()), AVOVALUE::DWord(4000000000u),
                               AVOVALUE::String("a:b\n"), AVOVALUE()};
    for (const bool internalFormat : {false, true}) {
        for (const AVOVALUE& value : values) {
            std::string expected;
            value.Serialize(expected, internalFormat);
            ::testing::NiceMock<MockClient> client;
            Erv::RemoteRequestMessengerDeviceStack messenger(client);
            if (internalFormat)
                messenger.EnableInternalValueFormat();
            EXPECT_CALL(client, SetValueAsync(99ul, expected, true, nullptr)).WillOnce(Return("id"));
            EXPECT_EQ(messenger.SetValueAsync(99, value, true), "id");
        }
    }
}

// Values go out on the callers' threads while another thread switches the format: each text is
// one of the two forms, and the sanitizers see no race on the flag.
TEST_F(RemoteMessenger, FormatMaySwitchWhileValuesAreSerialised)
{
    std::atomic<int> sent{0};
    EXPECT_CALL(client, SetValueAsync(3ul, AnyOf("nan", "3.7:nan"), true, nullptr))
        .WillRepeatedly([&](auto, auto, auto, auto) {
            ++sent;
            return "id";
        });
    EXPECT_CALL(client, SetInternalValueFormat(_)).WillRepeatedly(Return(true));
    const AVOVALUE nan = AVOVALUE::Float(std::numeric_limits<double>::quiet_NaN());
    std::thread sender([&] {
        for (int i = 0; i < 200; ++i)
            messenger.SetValueAsync(3, nan, true);
    });
    for (int i = 0; i < 100; ++i) {
        messenger.EnableInternalValueFormat();
        messenger.EnableDefaultValueFormat();
    }
    sender.join();
    EXPECT_EQ(sent, 200);
}

} // namespace
