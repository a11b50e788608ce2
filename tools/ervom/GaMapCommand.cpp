// gamap: what ervom understood of an ETS group-address export, and how the library will decode
// each address.
#include "Commands.h"
#include "GaMap.h"
#include "GroupAddress.h"

#include "ErvObjectModel/KnxValueConverter.h"

#include <iostream>

namespace Ervom {

namespace {

const CommandHelp Help = {
    "ervom gamap [options] FILE",
    "Reads an ETS group-address export, as --ga-map does for the bus commands, and prints what\n"
    "it understood: each group address with its DPT, the row of the library's DPT table that\n"
    "decodes it (9.009 takes 9.x; none: the library has no row and its values are shown raw),\n"
    "the row's bits, value type and sub type, and the address's name.\n\n"
    "The CSV export is read in both layouts: one line per address (\"Group name\", \"Address\",\n"
    "..., \"DatapointType\"), and three levels (\"Main\", \"Middle\", \"Sub\", \"Address\", ...)\n"
    "with main and middle groups on lines of their own; separated by ';', ',' or TAB, quoted or\n"
    "not, UTF-8 with or without a BOM, or Windows-1252 as older versions write it. The XML\n"
    "export is read with its nested GroupRange elements; the last item of a GroupAddress's DPTs\n"
    "is its own DPT. DatapointType DPST-9-1 is 9.001, DPT-9 any sub number of 9; an address\n"
    "without one is shown raw. A malformed file is one error that names the file and line, and\n"
    "nothing is printed (exit status 2).",
    "  ervom gamap export.csv\n"
    "  ervom gamap --ga-style 2 export.xml\n"
    "  ervom --format tsv gamap export.csv | awk -F'\\t' '$3 == \"none\"'\n"};

} // namespace

int RunGaMap(const Invocation& invocation)
{
    GaStyle style = GaStyle::ThreeLevel;
    po::options_description visible("Options");
    visible.add_options()("ga-style", GaStyleValue(style),
                          "group addresses in three levels (1/2/3, the default), two (1/515) or as "
                          "one number (2563)");
    po::options_description hidden;
    hidden.add_options()("file", po::value<std::string>());
    po::positional_options_description positional;
    positional.add("file", 1);
    po::variables_map values;
    if (!ParseCommand(invocation, Help, visible, hidden, positional, values))
        return ExitSuccess;
    if (!values.count("file"))
        throw UsageError("give the export FILE");

    GaMap map;
    std::string error;
    if (!map.Load(values["file"].as<std::string>(), error)) {
        *invocation.err << "ervom gamap: " << error << '\n';
        return ExitUsage;
    }

    Erv::KnxValueConverter converter;
    converter.Init();
    std::size_t known = 0;
    std::size_t unknown = 0;
    {
        Table table(*invocation.out, invocation.common.format,
                    {{"address", 0}, {"DPT", 0}, {"row", 0}, {"bits", 0}, {"type", 0}, {"sub type", 0}, {"name", 0}},
                    false);
        for (const auto& [address, entry] : map.Entries()) {
            const std::string text = FormatGroupAddress(address, style);
            const std::string& name = entry.name;
            if (entry.dpt.mainNumber == 0) {
                table.Row({text, "-", "-", "-", "-", "-", name});
                continue;
            }
            const std::string dpt = ToString(entry.dpt);
            const Erv::DptValueEntry* row = converter.FindEntry(entry.dpt);
            if (!row) {
                ++unknown;
                table.Row({text, dpt, "none", "-", "-", "-", name});
                continue;
            }
            ++known;
            table.Row({text, dpt, ToString(row->GetDpt()), std::to_string(row->GetDpt().bitSize),
                       AVOVALUE::GetNameFromValueType(row->GetValueType()),
                       AvoDP::GetNameFromValueSubType(row->GetSubType()), name});
        }
    }
    if (invocation.common.format == Format::Human) {
        const std::size_t total = map.Entries().size();
        *invocation.out << '\n'
                        << total << (total == 1 ? " group address" : " group addresses") << ": " << known
                        << " with a row in the library's table, " << unknown
                        << " with a DPT the library has no row for, " << total - known - unknown
                        << " without a DPT\n";
    }
    return ExitSuccess;
}

} // namespace Ervom
