// Converts a few sample values with the converters that exist and prints what goes on the bus
// and what comes back.
#include "ErvLogging/Logging.h"
#include "ErvObjectModel/KnxConverter.h"

#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>

#include <iostream>
#include <memory>

namespace {

struct Sample {
    const char* what;
    const Erv::KnxConverter& converter;
    KNXDPT dpt;
    AVOVALUE value;
};

void Show(const Sample& sample)
{
    KnxStack::GroupValue bus;
    std::cout << sample.what << "\n  DPT " << sample.dpt << ", value " << sample.value << '\n';
    if (!sample.converter.ToKnxValue(sample.dpt, sample.value, bus)) {
        std::cout << "  refused (see the log line above)\n\n";
        return;
    }
    // The value map sets the type before its converter fills the field; do the same here.
    AVOVALUE back;
    back.ivt = sample.value.ivt;
    const bool decoded = sample.converter.FromKnxValue(sample.dpt, bus, back);
    std::cout << "  bus   " << bus << "\n  back  " << (decoded ? back : AVOVALUE()) << "\n\n";
}

} // namespace

int main()
{
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(false));
    console->setLayout(std::make_unique<log4cplus::PatternLayout>("  log %-5p %m%n"));
    logger.addAppender(console);
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);

    const Erv::KnxConverter1Bit oneBit;
    const Erv::KnxConverter2Bit twoBit;
    const Erv::KnxConverter4Bit fourBit;
    const Erv::KnxConverterDefault fallback;
    const Sample samples[] = {
        {"Switch on", oneBit, KNXDPT{1, 1, 1}, AVOVALUE::Bool(true)},
        {"Priority control: control + on", twoBit, KNXDPT{2, 2, 1}, AVOVALUE::Byte(3)},
        {"Dimming: increase by one step", fourBit, KNXDPT{4, 3, 7}, AVOVALUE::Byte(9)},
        {"Dimming: a step out of range", fourBit, KNXDPT{4, 3, 7}, AVOVALUE::Byte(16)},
        {"A counter through the byte bridge", fallback, KNXDPT{16, 7, 1}, AVOVALUE::Word(4660)},
    };
    for (const Sample& sample : samples)
        Show(sample);

    std::cout << "2-octet float (DPT 9) encodings of the KNX stack:\n";
    for (const double celsius : {21.5, -0.01, 0.29, 20.48}) {
        KnxStack::GroupValue bus;
        bus.SetAsFloat16(celsius);
        std::cout << "  " << celsius << " -> " << bus.GetRawData().ToString() << " -> " << bus.GetAsFloat16() << '\n';
    }
    return 0;
}
