// The narrow door to the device stack: asynchronous requests that return a request id at once
// (empty when the request was not accepted), answered later through the response handler.
//
//   Kelo::IDeviceStackClient& client = ...;
//   Erv::RemoteRequestMessengerDeviceStack messenger(client);
//   messenger.EnableInternalValueFormat();
//   const std::string requestId = messenger.SetValueAsync(objectId, AVOVALUE::Float(21.5), true);
//
// The synchronous request engine depends only on the abstract RequestMessengerDeviceStack, so
// anything that can send these requests can drive it.
#pragma once

#include "ErvObjectModel/Export.h"

#include "AvoValue/AvoValue.h"
#include "DeviceStackClient/IDeviceStackClient.h"

#include <boost/core/noncopyable.hpp>

#include <atomic>
#include <map>
#include <string>

namespace Erv {

// Ownership and threading: no state of its own; implementations say what they own and which of
// their operations may run concurrently.
class ERVOBJECTMODEL_EXPORT RequestMessengerDeviceStack : private boost::noncopyable {
public:
    using PropertyMap = std::map<Kelo::IDeviceStackClient::PropertyType, Kelo::IDeviceStackClient::Property>;

    virtual ~RequestMessengerDeviceStack();

    // Null removes the current handler.
    virtual void SetResponseHandler(Kelo::IDeviceStackClient::IResponseHandler* handler) = 0;
    virtual std::string RegisterApplicationAsync(const std::string& name, const std::string& version,
                                                 const std::string& configuration) = 0;
    virtual std::string SetValueAsync(unsigned long id, const AVOVALUE& value, bool sendToBus) = 0;
    virtual std::string GetValueAsync(unsigned long id, bool fromDevice) = 0;
    virtual std::string RequestAsync(const std::string& request) = 0;
    virtual std::string SetConfigurationAsync(const std::string& configuration) = 0;
    // Synchronous: true when the device stack took the properties.
    virtual bool SetConfiguration(unsigned long id, const PropertyMap& properties, bool persist) = 0;
    virtual bool GetDeviceConfig(std::string& config, bool refresh) = 0;
    virtual bool SetDeviceConfig(const std::map<std::string, std::string>& config) = 0;
    virtual bool EnableNativeFormat() = 0;
    virtual void EnableInternalValueFormat() = 0;
    virtual void EnableDefaultValueFormat() = 0;
};

// Forwards every request to the device-stack client; adds only the text form of values and the
// memory of whether the internal value format is on.
//
// Ownership and threading: refers to the client, which must outlive the adapter. Keeps no lock;
// any thread may call any operation, and the format flag is atomic because a value may be
// serialised on one thread while another switches the format. Whether the forwarded calls may
// overlap is the client's business.
class ERVOBJECTMODEL_EXPORT RemoteRequestMessengerDeviceStack : public RequestMessengerDeviceStack {
public:
    explicit RemoteRequestMessengerDeviceStack(Kelo::IDeviceStackClient& client);

    void SetResponseHandler(Kelo::IDeviceStackClient::IResponseHandler* handler) override;
    std::string RegisterApplicationAsync(const std::string& name, const std::string& version,
                                         const std::string& configuration) override;
    std::string SetValueAsync(unsigned long id, const AVOVALUE& value, bool sendToBus) override;
    std::string GetValueAsync(unsigned long id, bool fromDevice) override;
    std::string RequestAsync(const std::string& request) override;
    std::string SetConfigurationAsync(const std::string& configuration) override;
    bool SetConfiguration(unsigned long id, const PropertyMap& properties, bool persist) override;
    bool GetDeviceConfig(std::string& config, bool refresh) override;
    bool SetDeviceConfig(const std::map<std::string, std::string>& config) override;
    // Selects the "Native" format at the client; the internal-format flag stays as it is.
    bool EnableNativeFormat() override;
    void EnableInternalValueFormat() override;
    void EnableDefaultValueFormat() override;

private:
    std::string Serialize(const AVOVALUE& value) const;

    Kelo::IDeviceStackClient& m_client;
    std::atomic<bool> m_internalValueFormat{false};
};

} // namespace Erv
