// The value library's text form and the converter that takes values as text: what a caller reads
// from a file or receives from the device stack.
#include "FuzzSupport.h"

#include "ErvObjectModel/KnxValueConverter.h"

#include <sstream>

namespace {

// Deserialize(Serialize(v)) == v, in both text formats.
void RequireRoundTrip(const AVOVALUE& value, const std::string& text)
{
    for (const bool internalFormat : {false, true}) {
        std::string written;
        value.Serialize(written, internalFormat);
        AVOVALUE back;
        if (!back.Deserialize(written) || back != value)
            ErvFuzz::Violated("a serialised value reads back as itself",
                              "'" + text + "' read, written as '" + written + "'");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ErvFuzz::Setup();
    ErvFuzz::Input in(data, size);
    const std::uint8_t operation = in.U8() % 4;

    ErvFuzz::LogLines::Reset();
    std::ostringstream detail;
    switch (operation) {
    case 0: {
        const std::string text = in.Rest();
        AVOVALUE value;
        if (value.Deserialize(text))
            RequireRoundTrip(value, text);
        break;
    }
    case 1: {
        KNXDPT dpt = ErvFuzz::AnyDpt(in);
        detail << "DPT " << dpt << " ";
        const std::string text = in.Rest();
        KnxStack::GroupValue bus;
        const bool ok = ErvFuzz::InitialisedOnce<Erv::ErvKnxValueConverter>().ToKnxValue(dpt, text, bus);
        ErvFuzz::RequireRefusalLogged(ok, "ToKnxValue(DPT, text)", detail.str() + "'" + text + "'");
        break;
    }
    case 2: {
        const unsigned long bitSize = in.U32();
        const std::string text = in.Rest();
        KnxStack::GroupValue bus;
        const bool ok = ErvFuzz::InitialisedOnce<Erv::ErvKnxValueConverter>().ToKnxValue(text, bitSize, bus);
        ErvFuzz::RequireRefusalLogged(ok, "ToKnxValue(text, bits)", std::to_string(bitSize) + " bits '" + text + "'");
        break;
    }
    default: {
        const bool internalFormat = in.Bool();
        const KnxStack::GroupValue bus = ErvFuzz::AnyGroupValue(in);
        std::string text;
        const bool ok = ErvFuzz::InitialisedOnce<Erv::ErvKnxValueConverter>().FromKnxValue(bus, text, internalFormat);
        detail << "group value " << bus.GetDefinedSize() << " bits: " << bus.GetRawData().ToString();
        ErvFuzz::RequireRefusalLogged(ok, "FromKnxValue(group value, text)", detail.str());
        if (ok) {
            AVOVALUE back;
            if (!back.Deserialize(text))
                ErvFuzz::Violated("a decoded value's text reads back", detail.str() + " gave '" + text + "'");
        }
        break;
    }
    }
    return 0;
}
