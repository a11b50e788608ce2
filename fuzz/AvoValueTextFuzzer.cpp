// The value library's text form and the converter that takes values as text: what a caller reads
// from a file or receives from the device stack.
#include "FuzzSupport.h"

#include "ErvObjectModel/KnxValueConverter.h"

#include <string>

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

    const Erv::ErvKnxValueConverter& converter = ErvFuzz::InitialisedOnce<Erv::ErvKnxValueConverter>();
    ErvFuzz::LogLines::Reset();
    switch (operation) {
    case 0: {
        const std::string text = in.Rest();
        AVOVALUE value;
        if (value.Deserialize(text))
            RequireRoundTrip(value, text);
        break;
    }
    case 1: {
        const KNXDPT asked = ErvFuzz::AnyDpt(in);
        KNXDPT dpt = asked;
        const std::string text = in.Rest();
        KnxStack::GroupValue bus;
        const bool ok = converter.ToKnxValue(dpt, text, bus);
        ErvFuzz::RequireRefusalLogged(ok, "ToKnxValue(DPT, text)",
                                      [&] { return "DPT " + ErvFuzz::Describe(asked) + " '" + text + "'"; });
        break;
    }
    case 2: {
        const unsigned long bitSize = in.U32();
        const std::string text = in.Rest();
        KnxStack::GroupValue bus;
        const bool ok = converter.ToKnxValue(text, bitSize, bus);
        ErvFuzz::RequireRefusalLogged(ok, "ToKnxValue(text, bits)",
                                      [&] { return std::to_string(bitSize) + " bits '" + text + "'"; });
        break;
    }
    default: {
        const bool internalFormat = in.Bool();
        const KnxStack::GroupValue bus = ErvFuzz::AnyGroupValue(in);
        std::string text;
        const bool ok = converter.FromKnxValue(bus, text, internalFormat);
        const auto describe = [&] { return "group value " + ErvFuzz::Describe(bus); };
        ErvFuzz::RequireRefusalLogged(ok, "FromKnxValue(group value, text)", describe);
        AVOVALUE back;
        if (ok && !back.Deserialize(text))
            ErvFuzz::Violated("a decoded value's text reads back", describe() + " gave '" + text + "'");
        break;
    }
    }
    return 0;
}
