// The app host's settings, read from its XML configuration file:
//
//   <ErvAppHostConfig WithoutKNX="0" TerminateOnFirmwareUpdate="1">
//     <ObjectModelConfig Path="/opt/userdata/devicestack/ervOM/config.json"/>
//     <LumConfig><ResponseDps><Dp ObjId="1001"/><Dp ObjId="1002"/></ResponseDps></LumConfig>
//     <Debugging Active="1"><AppHost RootPath="/tmp/apphost" DisableStartup="1"/></Debugging>
//   </ErvAppHostConfig>
//
//   Erv::AppHostConfiguration config;
//   config.LoadConfigurationFile();   // a missing or malformed file keeps the defaults (all off, empty)
//   if (config.IsAppHostWithoutKNX()) ...
//
// Ownership and threading: the object owns every setting. The five flags are atomics that any
// thread may read and change at any time. The paths and the data-point list are written only while
// loading, which must be finished before other threads read them.
#pragma once

#include "ErvObjectModel/Export.h"

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>

#include <atomic>
#include <string>
#include <vector>

namespace Erv {

// Values for the app host's use; this library does not read them.
constexpr const char* ConnectorAppName = "ConnectorApp";
constexpr const char* KimConfigName = "KimConfig";
// The device stack's object-model configuration.
ERVOBJECTMODEL_EXPORT extern const boost::filesystem::path DeviceStackObjectModelConfigFile;

// Where LoadConfigurationFile() reads.
constexpr const char* AppHostConfigFile = "/opt/userdata/etc/ervapphost/ervapphostconfig.xml";

class ERVOBJECTMODEL_EXPORT AppHostConfiguration {
public:
    using OptionalPath = boost::optional<boost::filesystem::path>;

    // Defaults only; loads nothing.
    AppHostConfiguration();

    // Reads AppHostConfigFile. An unreadable file or malformed XML is logged and leaves the settings
    // as they were; an "ObjId" that is no number throws std::invalid_argument or std::out_of_range
    // from std::stoul, with the entries before it applied.
    void LoadConfigurationFile();
    // The same with another file.
    void LoadConfigurationFile(const boost::filesystem::path& file);
    // Parses the NUL-terminated text in place (the buffer is modified) and applies it. False after
    // one log line when the text is no well-formed XML, with nothing changed. Loading again appends
    // the data points a second time.
    bool LoadAppHostConfigXML(char* text);

    bool IsInAppDebugMode() const;
    bool IsAppHostStartupDisabled() const;
    bool IsAppConnectorHostStartupDisabled() const;
    bool IsAppHostWithoutKNX() const;
    bool IsAppHostTerminateOnFirmwareUpdate() const;
    const OptionalPath& GetRootPathNativeApp() const;
    const OptionalPath& GetRootPathManagedApp() const;
    const OptionalPath& GetRootPathAppHost() const;
    const OptionalPath& GetRootPathAppConnectorHost() const;
    const OptionalPath& GetPathObjectModelConfig() const;
    const std::vector<unsigned long>& GetResponseDataPoints() const;

    // The setters differ on purpose: two store, two exchange and return the previous value.
    void SetAppDebugMode(bool on);
    bool ReplaceAppDebugMode(bool on);
    void SetAppHostStartupDisabled(bool disabled);
    bool SetAppConnectorHostStartupDisabled(bool disabled);

private:
    struct ERVOBJECTMODEL_NO_EXPORT Loader;

    std::atomic<bool> m_appDebugMode{false};
    std::atomic<bool> m_appHostStartupDisabled{false};
    std::atomic<bool> m_appConnectorHostStartupDisabled{false};
    std::atomic<bool> m_appHostWithoutKNX{false};
    std::atomic<bool> m_appHostTerminateOnFirmwareUpdate{false};
    OptionalPath m_rootPathNativeApp;
    OptionalPath m_rootPathManagedApp;
    OptionalPath m_rootPathAppHost;
    OptionalPath m_rootPathAppConnectorHost;
    OptionalPath m_pathObjectModelConfig;
    std::vector<unsigned long> m_responseDataPoints;
};

// Every byte of the file, read in binary mode; none when it cannot be opened or read.
ERVOBJECTMODEL_EXPORT boost::optional<std::vector<char>> LoadFile(const std::string& path);

} // namespace Erv
