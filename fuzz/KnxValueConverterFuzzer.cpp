// The table-driven converter in both directions: any DPT, defined size and bytes from the bus;
// any application value towards it.
#include "FuzzSupport.h"

#include "ErvObjectModel/KnxValueConverter.h"

#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ErvFuzz::Setup();
    ErvFuzz::Input in(data, size);
    const bool fromBus = in.Bool();
    KNXDPT dpt = ErvFuzz::AnyDpt(in);
    const KNXDPT asked = dpt;
    std::ostringstream detail;
    detail << "DPT " << asked << " (" << static_cast<unsigned>(asked.bitSize) << " bits) ";

    ErvFuzz::LogLines::Reset();
    if (fromBus) {
        const KnxStack::GroupValue bus = ErvFuzz::AnyGroupValue(in);
        AVOVALUE value;
        const bool ok = ErvFuzz::InitialisedOnce<Erv::KnxValueConverter>().FromKnxValue(dpt, bus, value);
        detail << "group value " << bus.GetDefinedSize() << " bits: " << bus.GetRawData().ToString();
        ErvFuzz::RequireRefusalLogged(ok, "FromKnxValue", detail.str());
    } else {
        const AVOVALUE value = ErvFuzz::AnyValue(in);
        KnxStack::GroupValue bus;
        const bool ok = ErvFuzz::InitialisedOnce<Erv::KnxValueConverter>().ToKnxValue(dpt, value, bus);
        detail << "value " << value;
        ErvFuzz::RequireRefusalLogged(ok, "ToKnxValue", detail.str());
    }
    return 0;
}
