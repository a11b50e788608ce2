// A host as another team writes it: built against the installed package only, it converts one
// value each way and catches the KNX stack's exception, which crosses a library boundary.
#include "ErvObjectModel/GroupValueAvoValue.h"
#include "ErvObjectModel/KnxValueConverter.h"
#include "KnxStack/GroupValueException.h"

#include <cstdio>

int main()
{
    Erv::KnxValueConverter converter;
    KNXDPT dpt{16, 9, 1};
    KnxStack::GroupValue bus;
    if (!converter.Init() || !converter.ToKnxValue(dpt, AVOVALUE::Float(21.5), bus)) {
        std::puts("ToKnxValue failed");
        return 1;
    }
    const auto value = Erv::GroupValueToAvoValue(bus, 9ul << 16 | 1);
    if (bus.GetRawData().ToString() != "0C 33" || !value || value->GetDouble() != 21.5) {
        std::printf("9.001: 21.5 became %s\n", bus.GetRawData().ToString().c_str());
        return 1;
    }
    try {
        bus.GetAsUnsigned32();
        std::puts("a 16-bit value was read as 32 bits");
        return 1;
    } catch (const KnxStack::GroupValueException&) {
    }
    std::printf("9.001: 21.5 <-> %s\n", bus.GetRawData().ToString().c_str());
    return 0;
}
