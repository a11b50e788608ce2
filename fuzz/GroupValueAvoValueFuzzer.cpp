// The direct mapping by DPT number: any number and bytes from the bus, any value towards it.
#include "FuzzSupport.h"

#include "ErvObjectModel/GroupValueAvoValue.h"

#include <cmath>
#include <string>

namespace {

// The two refusals of the direct mapping that stay silent on purpose: a scene number above 63 and an
// infinite float are dropped without a line, as the hosts have always seen it.
bool SilentByDesign(const AVOVALUE& value, unsigned long dpt)
{
    const unsigned long main = dpt >> 16;
    return (main == 17 && value.GetByte() > 63) || (main == 9 && std::isinf(value.GetDouble()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ErvFuzz::Setup();
    ErvFuzz::Input in(data, size);
    const bool fromBus = in.Bool();
    const unsigned long dpt = in.U32();
    const auto named = [dpt](const std::string& what) {
        return "DPT " + std::to_string(dpt >> 16) + "." + std::to_string(dpt & 0xFFFF) + " " + what;
    };

    if (fromBus) {
        const KnxStack::GroupValue bus = ErvFuzz::AnyGroupValue(in);
        const auto describe = [&] { return named("group value " + ErvFuzz::Describe(bus)); };
        ErvFuzz::LogLines::Reset();
        const bool accepted = Erv::CheckGroupValue(bus, dpt);
        ErvFuzz::RequireRefusalLogged(accepted, "CheckGroupValue", describe);
        ErvFuzz::LogLines::Reset();
        const boost::optional<AVOVALUE> value = Erv::GroupValueToAvoValue(bus, dpt);
        ErvFuzz::RequireRefusalLogged(value.has_value(), "GroupValueToAvoValue", describe);
        if (value && !accepted)
            ErvFuzz::Violated("GroupValueToAvoValue decodes only what CheckGroupValue accepts", describe());
    } else {
        const AVOVALUE value = ErvFuzz::AnyValue(in);
        ErvFuzz::LogLines::Reset();
        const boost::optional<KnxStack::GroupValue> bus = Erv::AvoValueToGroupValue(value, dpt);
        ErvFuzz::RequireRefusalLogged(bus.has_value() || SilentByDesign(value, dpt), "AvoValueToGroupValue",
                                      [&] { return named("value " + ErvFuzz::Describe(value)); });
    }
    return 0;
}
