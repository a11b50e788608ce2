#include "ErvObjectModel/RequestMessengerDeviceStack.h"

#include "ErvLogging/Logging.h"

#include <cmath>

namespace Erv {

RequestMessengerDeviceStack::~RequestMessengerDeviceStack() = default;

RemoteRequestMessengerDeviceStack::RemoteRequestMessengerDeviceStack(Kelo::IDeviceStackClient& client)
    : m_client(client)
{
}

void RemoteRequestMessengerDeviceStack::SetResponseHandler(Kelo::IDeviceStackClient::IResponseHandler* handler)
{
    m_client.SetResponseHandler(handler, nullptr);
}

std::string RemoteRequestMessengerDeviceStack::RegisterApplicationAsync(const std::string& name,
                                                                        const std::string& version,
                                                                        const std::string& configuration)
{
    return m_client.RegisterApplicationAsync(name, version, configuration);
}

std::string RemoteRequestMessengerDeviceStack::SetValueAsync(unsigned long id, const AVOVALUE& value, bool sendToBus)
{
    return m_client.SetValueAsync(id, Serialize(value), sendToBus, nullptr);
}

std::string RemoteRequestMessengerDeviceStack::GetValueAsync(unsigned long id, bool fromDevice)
{
    return m_client.GetValueAsync(id, fromDevice);
}

std::string RemoteRequestMessengerDeviceStack::RequestAsync(const std::string& request)
{
    return m_client.RequestAsync(request);
}

std::string RemoteRequestMessengerDeviceStack::SetConfigurationAsync(const std::string& configuration)
{
    return m_client.SetConfigurationAsync(configuration);
}

bool RemoteRequestMessengerDeviceStack::SetConfiguration(unsigned long id, const PropertyMap& properties, bool persist)
{
    return m_client.SetConfiguration(id, properties, persist);
}

bool RemoteRequestMessengerDeviceStack::GetDeviceConfig(std::string& config, bool refresh)
{
    return m_client.GetDeviceConfig(config, refresh);
}

bool RemoteRequestMessengerDeviceStack::SetDeviceConfig(const std::map<std::string, std::string>& config)
{
    return m_client.SetDeviceConfig(config);
}

bool RemoteRequestMessengerDeviceStack::EnableNativeFormat() { return m_client.SetValueFormat("Native"); }

// The flag follows the client call, so a value serialised during the switch may still use the old format.
void RemoteRequestMessengerDeviceStack::EnableInternalValueFormat()
{
    m_client.SetInternalValueFormat(true);
    m_internalValueFormat.store(true);
    ERV_LOG_DEBUG("Internal value format now enabled.");
}

void RemoteRequestMessengerDeviceStack::EnableDefaultValueFormat()
{
    m_client.SetInternalValueFormat(false);
    m_internalValueFormat.store(false);
}

std::string RemoteRequestMessengerDeviceStack::Serialize(const AVOVALUE& value) const
{
    const bool internalFormat = m_internalValueFormat.load();
    // The device stack expects the bare word for a NaN float, whatever the value library writes for it.
    if (value.ivt == ivtFloat && std::isnan(value.GetDouble()))
        return internalFormat ? "3.7:nan" : "nan";
    std::string text;
    value.Serialize(text, internalFormat);
    return text;
}

} // namespace Erv
