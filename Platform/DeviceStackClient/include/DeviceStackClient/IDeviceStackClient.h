// The device-stack client: the asynchronous interface to the service that owns the KNX objects,
// their values and the device configuration. Asynchronous operations return at once with a
// request id (empty when the client did not accept the request); the answer arrives later on the
// client's own thread through the IResponseHandler that is set.
#pragma once

#include <map>
#include <string>

namespace Kelo {

class IDeviceStackClient {
public:
    enum class PropertyType { Name, Description, Flags, Value, Unit };

    struct Property {
        std::string value;
        bool operator==(const Property& other) const { return value == other.value; }
    };

    class IError {
    public:
        virtual int ErrorCode() const = 0; // 0: no error
        virtual const std::string& ErrorText1() const = 0;
        virtual const std::string& ErrorText2() const = 0;
        virtual std::string ErrorDescription() const = 0;
        virtual ~IError() = default;
    };

    // Called on the client's thread. The first argument is the context given with the handler.
    class IResponseHandler {
    public:
        virtual void OnResponse(void* context, const std::string& requestId, const std::string& response,
                                const IError& error) = 0;
        virtual void OnRegisterApplication(void* context, const std::string& requestId, const IError& error) = 0;
        virtual void OnGetConfiguration(void* context, const std::string& requestId, const std::string& config,
                                        const IError& error) = 0;
        virtual void OnSetConfiguration(void* context, const std::string& requestId, const IError& error) = 0;
        virtual void OnGetValue(void* context, const std::string& requestId, unsigned long id,
                                const std::string& urn, const std::string& value, const IError& error) = 0;
        virtual void OnSetValue(void* context, const std::string& requestId, unsigned long id,
                                const std::string& urn, const std::string& value, const IError& error) = 0;
        virtual ~IResponseHandler() = default;
    };

    virtual ~IDeviceStackClient() = default;

    virtual bool SetInternalValueFormat(bool on) = 0;
    virtual bool SetConfiguration(unsigned long id, const std::map<PropertyType, Property>& properties,
                                  bool persist) = 0;
    virtual bool GetDeviceConfig(std::string& config, bool refresh) = 0;
    virtual bool SetDeviceConfig(const std::map<std::string, std::string>& config) = 0;
    virtual bool SetValueFormat(const std::string& formatName) = 0;
    virtual std::string RequestAsync(const std::string& request) = 0;
    virtual std::string RegisterApplicationAsync(const std::string& name, const std::string& version,
                                                 const std::string& configuration) = 0;
    virtual std::string SetConfigurationAsync(const std::string& configuration) = 0;
    virtual std::string GetValueAsync(unsigned long id, bool fromDevice) = 0;
    virtual std::string SetValueAsync(unsigned long id, const std::string& value, bool sendToBus,
                                      void* context) = 0;
    // A null handler removes the current one.
    virtual void SetResponseHandler(IResponseHandler* handler, void* context) = 0;
};

} // namespace Kelo
