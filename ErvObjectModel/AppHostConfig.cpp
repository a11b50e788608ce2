#include "ErvObjectModel/AppHostConfig.h"

#include "ErvLogging/Logging.h"

#include <rapidxml/rapidxml.hpp>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string_view>

namespace Erv {

const boost::filesystem::path DeviceStackObjectModelConfigFile("/opt/userdata/devicestack/ervOM/config.json");

namespace {

using Node = rapidxml::xml_node<>;
using Attribute = rapidxml::xml_attribute<>;

// The parser recurses once per open element and has no limit of its own; a hostile file could
// exhaust the stack. A real configuration is four levels deep.
constexpr std::size_t MaxNesting = 100;

// The parser's character classes.
bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsNameChar(char c) { return c != '\0' && !IsSpace(c) && c != '/' && c != '>' && c != '?'; }
bool IsAttributeNameChar(char c) { return IsNameChar(c) && c != '<' && c != '=' && c != '!'; }

void SkipSpace(const char*& p)
{
    while (IsSpace(*p))
        ++p;
}

// Behind the next terminator; null when there is none.
const char* SkipPast(const char* p, const char* terminator)
{
    const char* found = std::strstr(p, terminator);
    return found ? found + std::strlen(terminator) : nullptr;
}

// p is on the '!' of "<!": a comment, CDATA, DOCTYPE or other declaration, skipped the way the
// parser skips them. Null when the text ends first.
const char* SkipDeclaration(const char* p)
{
    if (std::strncmp(p, "!--", 3) == 0)
        return SkipPast(p + 3, "-->");
    if (std::strncmp(p, "![CDATA[", 8) == 0)
        return SkipPast(p + 8, "]]>");
    if (std::strncmp(p, "!DOCTYPE", 8) != 0 || !IsSpace(p[8]))
        return SkipPast(p + 1, ">");
    for (p += 9; *p != '>';) {
        if (*p == '\0')
            return nullptr;
        if (*p++ != '[')
            continue;
        for (int depth = 1; depth > 0; ++p) {
            if (*p == '\0')
                return nullptr;
            depth += *p == '[' ? 1 : *p == ']' ? -1 : 0;
        }
    }
    return p + 1;
}

// The deepest element nesting the parser would recurse into. Follows the text exactly as far as the
// parser would accept it; past a point where the parser fails it may count too much, never too
// little. Stops counting beyond limit.
std::size_t DeepestNesting(const char* p, std::size_t limit)
{
    std::size_t depth = 0;
    std::size_t deepest = 0;
    while (p && *p && deepest <= limit) {
        if (*p++ != '<')
            continue;
        if (*p == '?') {
            p = SkipPast(p + 1, "?>");
        } else if (*p == '!') {
            p = SkipDeclaration(p);
        } else if (*p == '/') {
            if (depth == 0)
                break;
            ++p;
            while (IsNameChar(*p))
                ++p;
            SkipSpace(p);
            if (*p++ != '>')
                break;
            --depth;
        } else {
            const char* name = p;
            while (IsNameChar(*p))
                ++p;
            if (p == name)
                break;
            SkipSpace(p);
            while (IsAttributeNameChar(*p)) {
                while (IsAttributeNameChar(*p))
                    ++p;
                SkipSpace(p);
                if (*p++ != '=')
                    return deepest;
                SkipSpace(p);
                const char quote = *p++;
                if (quote != '"' && quote != '\'')
                    return deepest;
                while (*p != quote)
                    if (*p++ == '\0')
                        return deepest;
                ++p;
                SkipSpace(p);
            }
            if (p[0] == '/' && p[1] == '>')
                p += 2;
            else if (*p++ == '>')
                deepest = std::max(deepest, ++depth);
            else
                break;
        }
    }
    return deepest;
}

std::string_view Name(const Node& node) { return {node.name(), node.name_size()}; }

std::string Text(const Attribute& attribute) { return {attribute.value(), attribute.value_size()}; }

// Only "0" is false; "false" and the empty text are true. Deliberate.
bool IsTrue(const Attribute& attribute) { return Text(attribute) != "0"; }

const Node* FirstChildElement(const Node& node)
{
    const Node* child = node.first_node();
    while (child && child->type() != rapidxml::node_element)
        child = child->next_sibling();
    return child;
}

} // namespace

// Applies a parsed document. Nested in the class so that its tables may point at the fields.
struct AppHostConfiguration::Loader {
    using Flag = std::atomic<bool> AppHostConfiguration::*;
    using PathField = OptionalPath AppHostConfiguration::*;

    struct BooleanAttribute {
        const char* name;
        Flag flag;
    };

    // A child of "Debugging": its root path and, for the two hosts, its start-up switch.
    struct DebugChild {
        const char* element;
        PathField rootPath;
        Flag startupDisabled; // null when the element has none
    };

    struct Section {
        const char* element;
        void (*apply)(AppHostConfiguration&, const Node&);
    };

    static constexpr BooleanAttribute RootFlags[] = {
        {"WithoutKNX", &AppHostConfiguration::m_appHostWithoutKNX},
        {"TerminateOnFirmwareUpdate", &AppHostConfiguration::m_appHostTerminateOnFirmwareUpdate},
    };

    static constexpr DebugChild DebugChildren[] = {
        {"App", &AppHostConfiguration::m_rootPathNativeApp, nullptr},
        {"ManagedApp", &AppHostConfiguration::m_rootPathManagedApp, nullptr},
        {"AppHost", &AppHostConfiguration::m_rootPathAppHost, &AppHostConfiguration::m_appHostStartupDisabled},
        {"AppConnectorHost", &AppHostConfiguration::m_rootPathAppConnectorHost,
         &AppHostConfiguration::m_appConnectorHostStartupDisabled},
    };

    static void SetFlag(AppHostConfiguration& config, const Node& node, const char* attributeName, Flag flag)
    {
        if (const Attribute* attribute = node.first_attribute(attributeName))
            (config.*flag).store(IsTrue(*attribute));
    }

    static void SetPath(AppHostConfiguration& config, const Node& node, const char* attributeName, PathField path)
    {
        if (const Attribute* attribute = node.first_attribute(attributeName))
            config.*path = boost::filesystem::path(Text(*attribute));
    }

    static void ApplyObjectModelConfig(AppHostConfiguration& config, const Node& node)
    {
        SetPath(config, node, "Path", &AppHostConfiguration::m_pathObjectModelConfig);
    }

    static void ApplyLumConfig(AppHostConfiguration& config, const Node& node)
    {
        const Node* responseDps = FirstChildElement(node);
        if (!responseDps || Name(*responseDps) != "ResponseDps")
            return;
        // Lists run to thousands of entries; growing step by step costs more than counting them.
        std::size_t count = 0;
        for (const Node* dp = responseDps->first_node("Dp"); dp; dp = dp->next_sibling("Dp"))
            ++count;
        config.m_responseDataPoints.reserve(config.m_responseDataPoints.size() + count);
        for (const Node* dp = responseDps->first_node("Dp"); dp; dp = dp->next_sibling("Dp"))
            if (const Attribute* objId = dp->first_attribute("ObjId"))
                config.m_responseDataPoints.push_back(std::stoul(Text(*objId))); // throws on purpose
    }

    static void ApplyDebugging(AppHostConfiguration& config, const Node& node)
    {
        SetFlag(config, node, "Active", &AppHostConfiguration::m_appDebugMode);
        if (!config.m_appDebugMode)
            return;
        for (const Node* child = node.first_node(); child; child = child->next_sibling()) {
            for (const auto& target : DebugChildren) {
                if (child->type() != rapidxml::node_element || Name(*child) != target.element)
                    continue;
                SetPath(config, *child, "RootPath", target.rootPath);
                if (target.startupDisabled)
                    SetFlag(config, *child, "DisableStartup", target.startupDisabled);
            }
        }
    }

    static constexpr Section Sections[] = {
        {"ObjectModelConfig", &ApplyObjectModelConfig},
        {"LumConfig", &ApplyLumConfig},
        {"Debugging", &ApplyDebugging},
    };

    static void Apply(AppHostConfiguration& config, const rapidxml::xml_document<>& document)
    {
        for (const Node* root = document.first_node("ErvAppHostConfig"); root;
             root = root->next_sibling("ErvAppHostConfig")) {
            for (const auto& flag : RootFlags)
                SetFlag(config, *root, flag.name, flag.flag);
            for (const Node* child = root->first_node(); child; child = child->next_sibling())
                for (const auto& section : Sections)
                    if (child->type() == rapidxml::node_element && Name(*child) == section.element)
                        section.apply(config, *child);
        }
        // Without the app host there is nothing for the app connector host to connect to.
        if (config.m_appHostStartupDisabled)
            config.m_appConnectorHostStartupDisabled = true;
    }
};

AppHostConfiguration::AppHostConfiguration() = default;

void AppHostConfiguration::LoadConfigurationFile() { LoadConfigurationFile(AppHostConfigFile); }

void AppHostConfiguration::LoadConfigurationFile(const boost::filesystem::path& file)
{
    auto bytes = LoadFile(file.string());
    if (!bytes) {
        ERV_LOG_ERROR("App host config file cannot be read from: " << file);
        return;
    }
    bytes->push_back('\0');
    if (!LoadAppHostConfigXML(bytes->data()))
        ERV_LOG_ERROR("Falling back to standard configuration.");
}

bool AppHostConfiguration::LoadAppHostConfigXML(char* text)
{
    if (DeepestNesting(text, MaxNesting) > MaxNesting) {
        ERV_LOG_ERROR("Failed to read configuration file: elements nested deeper than " << MaxNesting);
        return false;
    }
    rapidxml::xml_document<> document;
    try {
        document.parse<rapidxml::parse_default>(text);
    } catch (const rapidxml::parse_error& error) {
        ERV_LOG_ERROR("Failed to read configuration file: " << error.what());
        return false;
    }
    Loader::Apply(*this, document);
    return true;
}

bool AppHostConfiguration::IsInAppDebugMode() const { return m_appDebugMode; }

bool AppHostConfiguration::IsAppHostStartupDisabled() const { return m_appHostStartupDisabled; }

bool AppHostConfiguration::IsAppConnectorHostStartupDisabled() const { return m_appConnectorHostStartupDisabled; }

bool AppHostConfiguration::IsAppHostWithoutKNX() const { return m_appHostWithoutKNX; }

bool AppHostConfiguration::IsAppHostTerminateOnFirmwareUpdate() const { return m_appHostTerminateOnFirmwareUpdate; }

const AppHostConfiguration::OptionalPath& AppHostConfiguration::GetRootPathNativeApp() const
{
    return m_rootPathNativeApp;
}

const AppHostConfiguration::OptionalPath& AppHostConfiguration::GetRootPathManagedApp() const
{
    return m_rootPathManagedApp;
}

const AppHostConfiguration::OptionalPath& AppHostConfiguration::GetRootPathAppHost() const
{
    return m_rootPathAppHost;
}

const AppHostConfiguration::OptionalPath& AppHostConfiguration::GetRootPathAppConnectorHost() const
{
    return m_rootPathAppConnectorHost;
}

const AppHostConfiguration::OptionalPath& AppHostConfiguration::GetPathObjectModelConfig() const
{
    return m_pathObjectModelConfig;
}

const std::vector<unsigned long>& AppHostConfiguration::GetResponseDataPoints() const
{
    return m_responseDataPoints;
}

void AppHostConfiguration::SetAppDebugMode(bool on) { m_appDebugMode = on; }

bool AppHostConfiguration::ReplaceAppDebugMode(bool on) { return m_appDebugMode.exchange(on); }

void AppHostConfiguration::SetAppHostStartupDisabled(bool disabled) { m_appHostStartupDisabled = disabled; }

// An exchange although its name says set; callers rely on the previous value.
bool AppHostConfiguration::SetAppConnectorHostStartupDisabled(bool disabled)
{
    return m_appConnectorHostStartupDisabled.exchange(disabled);
}

boost::optional<std::vector<char>> LoadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return boost::none;
    constexpr std::size_t Chunk = 64 * 1024;
    std::vector<char> bytes;
    std::size_t size = 0;
    do {
        bytes.resize(size + Chunk);
        file.read(bytes.data() + size, Chunk);
        size += static_cast<std::size_t>(file.gcount());
    } while (file);
    // A directory opens but cannot be read.
    if (file.bad())
        return boost::none;
    bytes.resize(size);
    return bytes;
}

} // namespace Erv
