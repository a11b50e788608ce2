// The table-driven converter in both directions: any DPT, defined size and bytes from the bus;
// any application value towards it.
#include "FuzzSupport.h"

#include "ErvObjectModel/KnxValueConverter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ErvFuzz::Setup();
    ErvFuzz::Input in(data, size);
    const bool fromBus = in.Bool();
    const KNXDPT asked = ErvFuzz::AnyDpt(in);
    KNXDPT dpt = asked; // the converter fills in a missing DPT
    const Erv::KnxValueConverter& converter = ErvFuzz::InitialisedOnce<Erv::KnxValueConverter>();

    ErvFuzz::LogLines::Reset();
    if (fromBus) {
        const KnxStack::GroupValue bus = ErvFuzz::AnyGroupValue(in);
        AVOVALUE value;
        const bool ok = converter.FromKnxValue(dpt, bus, value);
        ErvFuzz::RequireRefusalLogged(ok, "FromKnxValue", [&] {
            return "DPT " + ErvFuzz::Describe(asked) + " group value " + ErvFuzz::Describe(bus);
        });
    } else {
        const AVOVALUE value = ErvFuzz::AnyValue(in);
        KnxStack::GroupValue bus;
        const bool ok = converter.ToKnxValue(dpt, value, bus);
        ErvFuzz::RequireRefusalLogged(
            ok, "ToKnxValue", [&] { return "DPT " + ErvFuzz::Describe(asked) + " value " + ErvFuzz::Describe(value); });
    }
    return 0;
}
