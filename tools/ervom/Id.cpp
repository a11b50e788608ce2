// id: object-model ids by the library's constructors, and any id taken apart by its predicates
// and inverses.
#include "Commands.h"

#include "ErvObjectModel/KnxLumMapping.h"

#include <charconv>
#include <iostream>

namespace Ervom {

namespace {

using Erv::KnxLumMapping;
using Erv::LogicalDeviceId;
using Erv::ParameterType;

const CommandHelp Help = {
    "ervom id co N [--device 1|2]\n"
    "       ervom id param ip|number|text N [--device 1|2]\n"
    "       ervom id appcontrol [--device 1|2]\n"
    "       ervom id device [--device 1|2]\n"
    "       ervom id explain ID [--device 1|2]",
    "Computes object-model ids with the library: the channel and value id of communication object N\n"
    "(co, 1..4095), of parameter N of a type (ip 0..100, number 0..200, text 0..500), the app-control\n"
    "ids, and the device ids, of logical device 1 (default) or 2. Exit status 1 when the library\n"
    "gives no id for the numbers.\n\n"
    "explain classifies any id with the library's predicates and inverses: device, logical device,\n"
    "app-control state, event, alive or app debug, co channel or value with its number, parameter\n"
    "channel or value with its type and number, or nothing (exit status 1). The logical device is\n"
    "the id's own; --device asks the inverses with another one, as a host that gets it wrong would.\n"
    "The predicates that hold are listed as the library names them.",
    "  ervom id co 1                   channel 100100, value 100101\n"
    "  ervom id param text 500 --device 2\n"
    "  ervom id appcontrol\n"
    "  ervom id explain 100101         co value 1 of logical device 1\n"
    "  ervom id explain 181001         text parameter value 500 (the library's inverse says 244)\n"
    "  ervom id explain 100101 --device 2\n"};

std::string Text(const boost::optional<unsigned long>& id) { return id ? std::to_string(*id) : "none"; }

unsigned long ParseNumber(const std::string& text, unsigned long max, const char* what)
{
    unsigned long value = 0;
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char* begin = text.data() + (hex ? 2 : 0);
    const auto result = std::from_chars(begin, text.data() + text.size(), value, hex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || begin == result.ptr || value > max)
        throw UsageError("'" + text + "' is no " + what + " (0 to " + std::to_string(max) + ")");
    return value;
}

const char* TypeName(ParameterType type)
{
    switch (type) {
    case ParameterType::Ip: return "ip";
    case ParameterType::Number: return "number";
    case ParameterType::Text: return "text";
    }
    return "?";
}

ParameterType ParseType(const std::string& text)
{
    if (text == "ip")
        return ParameterType::Ip;
    if (text == "number")
        return ParameterType::Number;
    if (text == "text")
        return ParameterType::Text;
    throw UsageError("the parameter type is ip, number or text, not '" + text + "'");
}

void Expect(const std::vector<std::string>& args, std::size_t count, const char* usage)
{
    if (args.size() != count)
        throw UsageError(std::string("usage: ervom id ") + usage);
}

int Co(const Invocation& invocation, const std::vector<std::string>& args, LogicalDeviceId ld)
{
    Expect(args, 2, "co N [--device 1|2]");
    const auto n = static_cast<unsigned short>(ParseNumber(args[1], 65535, "co number"));
    const auto channel = KnxLumMapping::GetCoChannelObjModelId(n, ld);
    const auto value = KnxLumMapping::GetCoValueObjModelId(n, ld);
    Record()
        .Add("logical device", std::to_string(ld.Get()))
        .Add("co", std::to_string(n))
        .Add("channel id", Text(channel))
        .Add("value id", Text(value))
        .Print(*invocation.out, invocation.common.format);
    if (channel && value)
        return ExitSuccess;
    *invocation.err << "ervom id: the library gives no co " << (channel ? "value" : "channel") << " id for co " << n
                    << '\n';
    return ExitRefused;
}

int Param(const Invocation& invocation, const std::vector<std::string>& args, LogicalDeviceId ld)
{
    Expect(args, 3, "param ip|number|text N [--device 1|2]");
    const ParameterType type = ParseType(args[1]);
    const auto n = static_cast<unsigned short>(ParseNumber(args[2], 65535, "parameter number"));
    const auto channel = KnxLumMapping::GetParameterChannelObjModelId(n, ld, type);
    const auto value = KnxLumMapping::GetParameterValueObjModelId(n, ld, type);
    Record()
        .Add("logical device", std::to_string(ld.Get()))
        .Add("type", TypeName(type))
        .Add("number", std::to_string(n))
        .Add("largest number", std::to_string(KnxLumMapping::GetMaxParametersOfType(type)))
        .Add("channel id", Text(channel))
        .Add("value id", Text(value))
        .Print(*invocation.out, invocation.common.format);
    if (channel && value)
        return ExitSuccess;
    *invocation.err << "ervom id: the library gives no id for " << TypeName(type) << " parameter " << n << '\n';
    return ExitRefused;
}

int AppControl(const Invocation& invocation, const std::vector<std::string>& args, LogicalDeviceId ld)
{
    Expect(args, 1, "appcontrol [--device 1|2]");
    Record()
        .Add("logical device", std::to_string(ld.Get()))
        .Add("channel id", std::to_string(KnxLumMapping::GetAppHostAppControlChannelObjModelId(ld)))
        .Add("state id", std::to_string(KnxLumMapping::GetAppHostAppControlStateObjModelId(ld)))
        .Add("event id", std::to_string(KnxLumMapping::GetAppHostAppControlEventObjModelId(ld)))
        .Add("alive id", std::to_string(KnxLumMapping::GetAppHostAppControlAliveObjModelId(ld)))
        .Add("app debug id", std::to_string(KnxLumMapping::GetAppHostAppControlAppDebugObjModelId(ld)))
        .Print(*invocation.out, invocation.common.format);
    return ExitSuccess;
}

int Device(const Invocation& invocation, const std::vector<std::string>& args, LogicalDeviceId ld)
{
    Expect(args, 1, "device [--device 1|2]");
    Record()
        .Add("device id", std::to_string(KnxLumMapping::GetDeviceObjModelId()))
        .Add("KNX device id", std::to_string(KnxLumMapping::GetKnxDeviceObjModelId()))
        .Add("logical device", std::to_string(ld.Get()))
        .Add("logical device id", std::to_string(KnxLumMapping::GetLogicalKnxDeviceObjModelId(ld)))
        .Add("last id", std::to_string(KnxLumMapping::GetLastObjModelId(ld)))
        .Print(*invocation.out, invocation.common.format);
    return ExitSuccess;
}

struct Explanation {
    std::string kind = "nothing";
    std::string type = "-";
    std::string number = "-";
    std::string channel = "-";
    std::string value = "-";
    std::string note = "-";
};

// Which parameter (type, n) the library's constructors map to `id`. The inverse gives the number
// only 8 bits wide, so the candidates are every n with those low 8 bits.
void ExplainParameter(unsigned long id, LogicalDeviceId ld, Explanation& out)
{
    const auto type = KnxLumMapping::GetParameterTypeFromObjModelId(id, ld);
    const auto number = KnxLumMapping::GetParameterNumberFromObjModelId(id, ld);
    if (!type || !number) {
        out.note = "IsParameterChannel holds, but the library gives no parameter type";
        return;
    }
    out.type = TypeName(*type);
    const unsigned max = KnxLumMapping::GetMaxParametersOfType(*type);
    for (unsigned n = *number; n <= max; n += 256) {
        const auto channel = KnxLumMapping::GetParameterChannelObjModelId(static_cast<unsigned short>(n), ld, *type);
        const auto value = KnxLumMapping::GetParameterValueObjModelId(static_cast<unsigned short>(n), ld, *type);
        if (channel != id && value != id)
            continue;
        out.kind = channel == id ? "parameter channel" : "parameter value";
        out.number = std::to_string(n);
        out.channel = Text(channel);
        out.value = Text(value);
        if (n != *number)
            out.note = "the library's inverse gives the number 8 bits wide: " + std::to_string(*number);
        return;
    }
    out.kind = "parameter id of no parameter";
    out.number = std::to_string(*number);
    out.note = "no constructor of a " + out.type + " parameter gives this id";
}

Explanation Explain(unsigned long id, const boost::optional<LogicalDeviceId>& device)
{
    Explanation out;
    if (id == KnxLumMapping::GetDeviceObjModelId()) {
        out.kind = id == KnxLumMapping::GetKnxDeviceObjModelId() ? "device and KNX device" : "device";
        return out;
    }
    if (!device)
        return out;
    const LogicalDeviceId ld = *device;
    if (id == KnxLumMapping::GetLogicalKnxDeviceObjModelId(ld))
        out.kind = "logical KNX device";
    else if (id == KnxLumMapping::GetLastObjModelId(ld))
        out.kind = "last id of the logical device";
    else if (id == KnxLumMapping::GetAppHostAppControlChannelObjModelId(ld))
        out.kind = "app-control channel";
    else if (KnxLumMapping::IsAppHostAppControlState(id, ld))
        out.kind = "app-control state";
    else if (KnxLumMapping::IsAppHostAppControlEvent(id, ld))
        out.kind = "app-control event";
    else if (KnxLumMapping::IsAppHostAppControlAliveHeartbeat(id, ld))
        out.kind = "app-control alive";
    else if (KnxLumMapping::IsAppHostAppControlAppDebug(id, ld))
        out.kind = "app-control app debug";
    else if (KnxLumMapping::IsCoChannel(id)) {
        out.kind = "co channel";
        out.channel = std::to_string(id);
        const auto value = KnxLumMapping::GetCoValueObjModelId(id);
        out.value = Text(value);
        if (value) {
            const auto number = KnxLumMapping::GetCoNumberFromObjModelId(*value, ld);
            out.number = number ? std::to_string(*number) : "none";
        }
    } else if (KnxLumMapping::IsCoValue(id)) {
        out.kind = "co value";
        out.value = std::to_string(id);
        const auto number = KnxLumMapping::GetCoNumberFromObjModelId(id, ld);
        out.number = number ? std::to_string(*number) : "none";
        if (number)
            out.channel = Text(KnxLumMapping::GetCoChannelObjModelId(*number, ld));
    } else if (KnxLumMapping::IsParameterChannel(id)) {
        ExplainParameter(id, ld, out);
    }
    return out;
}

std::string Predicates(unsigned long id, const boost::optional<LogicalDeviceId>& device)
{
    std::string names;
    const auto add = [&names](bool holds, const char* name) {
        if (holds)
            names.append(names.empty() ? "" : " ").append(name);
    };
    add(KnxLumMapping::IsAnyLogicalKnxDeviceId(id), "IsAnyLogicalKnxDeviceId");
    add(KnxLumMapping::IsCoChannel(id), "IsCoChannel");
    add(KnxLumMapping::IsCoValue(id), "IsCoValue");
    add(KnxLumMapping::IsParameterChannel(id), "IsParameterChannel");
    if (device) {
        add(KnxLumMapping::IsAppHostAppControlState(id, *device), "IsAppHostAppControlState");
        add(KnxLumMapping::IsAppHostAppControlEvent(id, *device), "IsAppHostAppControlEvent");
        add(KnxLumMapping::IsAppHostAppControlAliveHeartbeat(id, *device), "IsAppHostAppControlAliveHeartbeat");
        add(KnxLumMapping::IsAppHostAppControlAppDebug(id, *device), "IsAppHostAppControlAppDebug");
    }
    return names.empty() ? "none" : names;
}

int ExplainId(const Invocation& invocation, const std::vector<std::string>& args,
              const boost::optional<LogicalDeviceId>& asked)
{
    Expect(args, 2, "explain ID [--device 1|2]");
    const unsigned long id = ParseNumber(args[1], 4294967295ul, "object id");
    const auto own = KnxLumMapping::GetLogicalDeviceIdFromObject(id);
    const boost::optional<LogicalDeviceId> device = asked ? asked : own;
    const Explanation explanation = Explain(id, device);
    Record()
        .Add("id", std::to_string(id))
        .Add("kind", explanation.kind)
        .Add("logical device", own ? std::to_string(own->Get()) : "none")
        .Add("asked with device", device ? std::to_string(device->Get()) : "none")
        .Add("type", explanation.type)
        .Add("number", explanation.number)
        .Add("channel id", explanation.channel)
        .Add("value id", explanation.value)
        .Add("predicates", Predicates(id, device))
        .Add("note", explanation.note)
        .Print(*invocation.out, invocation.common.format);
    return explanation.kind == "nothing" ? ExitRefused : ExitSuccess;
}

} // namespace

int RunId(const Invocation& invocation)
{
    int deviceNumber = 0;
    po::options_description visible("Options");
    visible.add_options()("device", po::value(&deviceNumber)->value_name("1|2"), "logical device (default 1)");
    po::variables_map values;
    std::vector<std::string> args;
    if (!ParseCommand(invocation, Help, visible, values, args))
        return ExitSuccess;
    if (args.empty())
        throw UsageError("say which ids: co, param, appcontrol, device or explain");

    boost::optional<LogicalDeviceId> asked;
    if (values.count("device")) {
        asked = LogicalDeviceId::Create(deviceNumber);
        if (!asked)
            throw UsageError("--device must be 1 or 2");
    }
    const LogicalDeviceId ld = asked ? *asked : LogicalDeviceId::Of<1>();
    const std::string& what = args[0];
    if (what == "co")
        return Co(invocation, args, ld);
    if (what == "param")
        return Param(invocation, args, ld);
    if (what == "appcontrol")
        return AppControl(invocation, args, ld);
    if (what == "device")
        return Device(invocation, args, ld);
    if (what == "explain")
        return ExplainId(invocation, args, asked);
    throw UsageError("unknown id kind '" + what + "': co, param, appcontrol, device or explain");
}

} // namespace Ervom
