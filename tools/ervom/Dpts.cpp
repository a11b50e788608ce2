// dpts: the DPT table as the library holds it after Init().
#include "Commands.h"
#include "ValueText.h"

#include "ErvObjectModel/KnxValueConverter.h"

#include <iostream>

namespace Ervom {

namespace {

const CommandHelp Help = {
    "ervom dpts [options] [DPT]",
    "Lists the DPT table of the library's converter, in the order of its lookup: DPT (x: any sub\n"
    "number of the main number), bits, the application value type and sub type it maps to, the\n"
    "converter object and its range (internal interval, then the bus side). With a DPT, prints the\n"
    "one row the library uses for it (9.009 has no row of its own and takes 9.x); exit status 1\n"
    "when the library has no row for it.",
    "  ervom dpts\n"
    "  ervom dpts | grep Float16\n"
    "  ervom dpts 9.009\n"
    "  ervom --format tsv dpts | cut -f1,3\n"};

void AddRow(Table& table, const Erv::DptValueEntry& entry)
{
    const std::string dpt = ToString(entry.GetDpt());
    const std::string bits = std::to_string(entry.GetDpt().bitSize);
    const std::string type = AVOVALUE::GetNameFromValueType(entry.GetValueType());
    const std::string subType = AvoDP::GetNameFromValueSubType(entry.GetSubType());
    const std::string& converter = entry.GetConverterName();
    const std::string& range = entry.GetRangeText();
    table.Row({dpt, bits, type, subType, converter.empty() ? "-" : converter, range.empty() ? "-" : range});
}

} // namespace

int RunDpts(const Invocation& invocation)
{
    po::options_description visible("Options");
    po::variables_map values;
    std::vector<std::string> args;
    if (!ParseCommand(invocation, Help, visible, values, args))
        return ExitSuccess;
    if (args.size() > 1)
        throw UsageError("give at most one DPT");

    Erv::KnxValueConverter converter;
    converter.Init();
    const std::vector<Table::Column> columns = {{"DPT", 0},      {"bits", 0},      {"type", 0},
                                                {"sub type", 0}, {"converter", 0}, {"range", 0}};
    if (args.empty()) {
        Table table(*invocation.out, invocation.common.format, columns, false);
        converter.GetMap().ForEach([&table](const Erv::DptValueEntry& entry) { AddRow(table, entry); });
        return ExitSuccess;
    }
    const DptText dpt = ParseDptOrThrow(args[0]);
    const Erv::DptValueEntry* entry = converter.FindEntry(dpt.ToKnxDpt(0));
    if (!entry) {
        *invocation.err << "ervom dpts: unknown DPT " << ToString(dpt.ToKnxDpt(0))
                        << ": the library has no entry for this DPT\n";
        return ExitRefused;
    }
    Table table(*invocation.out, invocation.common.format, columns, false);
    AddRow(table, *entry);
    return ExitSuccess;
}

} // namespace Ervom
