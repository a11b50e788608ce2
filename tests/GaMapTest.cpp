// The group-address map from ETS exports: sample files in each layout, separator and encoding as
// ETS writes them (tests/gamap/), and malformed files with the line their one error names.
#include "GaMap.h"
#include "GroupAddress.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using Ervom::GaMap;

// One entry as the tool prints it, so that expectations read like the export.
struct Expected {
    std::string address;
    std::string name;
    std::string dpt; // "-" for none
    unsigned bits;
    std::size_t line;

    bool operator==(const Expected& o) const
    {
        return address == o.address && name == o.name && dpt == o.dpt && bits == o.bits && line == o.line;
    }
};

void PrintTo(const Expected& e, std::ostream* os)
{
    *os << e.address << " '" << e.name << "' " << e.dpt << " " << e.bits << " bits, line " << e.line;
}

std::vector<Expected> Actual(const GaMap& map)
{
    std::vector<Expected> actual;
    for (const auto& [address, entry] : map.Entries())
        actual.push_back({Ervom::FormatGroupAddress(address), entry.name,
                          entry.dpt.mainNumber ? ToString(entry.dpt) : "-", entry.dpt.bitSize, entry.line});
    return actual;
}

struct Sample {
    const char* file;
    std::vector<Expected> entries;
};

class GaMapSample : public testing::TestWithParam<Sample> {
};

TEST_P(GaMapSample, LoadsEveryAddressWithNameDptAndLine)
{
    const Sample& sample = GetParam();
    GaMap map;
    std::string error;
    ASSERT_TRUE(map.Load(std::string(ERV_GAMAP_SAMPLES "/") + sample.file, error)) << error;
    EXPECT_EQ(Actual(map), sample.entries);
}

// Names carry umlauts, degree, euro and quotes; all must come out as the same UTF-8.
INSTANTIATE_TEST_SUITE_P(
    Exports, GaMapSample,
    testing::Values(
        Sample{"one-line-semicolon-bom.csv",
               {{"1/0/0", "Ceiling light switch", "1.001", 1, 4},
                {"1/0/1", "Ceiling light dimming", "3.007", 4, 5},
                {"1/0/2", "Ceiling light value", "5.x", 8, 6},
                {"1/0/3", "Spare", "-", 0, 7},
                {"2/1/10", "K\xC3\xBC" "che \"Ist\" \xC2\xB0" "C", "9.001", 16, 10},
                {"2/1/11", "Outside brightness", "9.004", 16, 11}}},
        Sample{"three-level-tab-cp1252.csv",
               {{"0/0/1", "Au\xC3\x9F" "entemperatur", "9.001", 16, 4},
                {"0/0/2", "Wind m/s", "9.005", 16, 5},
                {"0/0/3", "Preis \xE2\x82\xAC/kWh", "14.056", 32, 6},
                {"3/7/254", "Position", "5.x", 8, 10},
                {"3/7/255", "Fahren", "1.008", 1, 9}}},
        Sample{"one-line-comma-plain.csv",
               {{"1/0/0", "Scene all", "17.001", 8, 1},
                {"1/0/1", "Date", "11.001", 24, 2},
                {"1/0/2", "Text", "16.x", 112, 3},
                {"1/0/3", "Unknown type", "999.001", 0, 5}}},
        Sample{"export.xml",
               {{"1/0/0", "Switch", "1.001", 1, 5},
                {"1/0/1", "Dim \"up\"", "3.007", 4, 6},
                {"1/0/2", "Brightness", "5.001", 8, 7},
                {"2/1/0", "Temperatur Bad \xC2\xB0" "C", "9.001", 16, 12},
                {"2/1/1", "Valve", "-", 0, 13}}}),
    [](const testing::TestParamInfo<Sample>& info) {
        std::string name = info.param.file;
        for (char& c : name)
            if (!std::isalnum(static_cast<unsigned char>(c)))
                c = '_';
        return name;
    });

struct Text {
    const char* what;
    std::string text;
    std::vector<Expected> entries;
};

// Variations an export may show that the sample files do not.
TEST(GaMapParse, ReadsVariationsOfTheLayouts)
{
    const Text cases[] = {
        {"separator inside quotes, quoted line break",
         "\"Group name\",\"Address\",\"Description\",\"DatapointType\"\n"
         "\"Hall, north\",\"1/0/0\",\"two\nlines\",\"DPST-1-1\"\n"
         "\"Hall, south\",\"1/0/1\",\"\",\"DPST-1-1\"\n",
         {{"1/0/0", "Hall, north", "1.001", 1, 2}, {"1/0/1", "Hall, south", "1.001", 1, 4}}},
        {"no DatapointType column (older versions), two-level addresses, blanks around fields",
         "Group name;Address;Description\n Hall ; 1/0 ; x \n",
         {{"1/0/0", "Hall", "-", 0, 2}}},
        {"three levels without a header, two-level ranges",
         "Lights,,,1/-,,,,\n,,Hall,1/1,,,,DPT-1\n",
         {{"1/0/1", "Hall", "1.x", 1, 2}}},
        {"a list of DPTs names the address's own last; the header in other letter cases",
         "GROUP NAME\tADDRESS\tDATAPOINTTYPE\nHall\t1/0/0\tDPT-5, DPST-5-1\n",
         {{"1/0/0", "Hall", "5.001", 8, 2}}},
        {"names are one line of UTF-8, whatever character references and quotes hold",
         "<GroupAddress-Export><GroupAddress Address=\"1\" Name=\"&#xD800;a&#9;b&#228;\"/>"
         "<GroupAddress Address=\"2\" Name=\"c\nd\"/></GroupAddress-Export>",
         {{"0/0/1", "\xEF\xBF\xBD" "a b\xC3\xA4", "-", 0, 1}, {"0/0/2", "c d", "-", 0, 1}}},
        {"only ranges", "\"Group name\";\"Address\"\n\"Lights\";\"1/-/-\"\n", {}},
        {"XML without a declaration, ranges left empty",
         "<GroupAddress-Export><GroupRange Name=\"A\"/><GroupAddress Address=\"3\" Name=\"x\"/>\n"
         "</GroupAddress-Export>",
         {{"0/0/3", "x", "-", 0, 1}}},
    };
    for (const Text& c : cases) {
        GaMap map;
        std::string error;
        ASSERT_TRUE(map.Parse(c.text, "export.csv", error)) << c.what << ": " << error;
        EXPECT_EQ(Actual(map), c.entries) << c.what;
    }
}

TEST(GaMapParse, MalformedFileIsOneErrorNamingFileAndLine)
{
    const std::string header = "\"Group name\";\"Address\";\"DatapointType\"\n";
    const std::pair<std::string, std::string> cases[] = {
        {"", "export.csv:1: no header line and no group address"},
        {"\n  \n", "export.csv:1: no header line and no group address"},
        {"Foo;Bar\n1;2\n", "export.csv:1: no header line naming the Address and Group name (or Main, Middle, Sub) "
                           "columns, and no group address where the columns of an export have one"},
        {header + "\"A\";\"1/-/3\";\"\"\n", "export.csv:2: '1/-/3' is no group address (1/2/3, 1/515 or 2563)"},
        {header + "\"A\";\"\";\"\"\n", "export.csv:2: '' is no group address (1/2/3, 1/515 or 2563)"},
        {header + "\"A\";\"1/0/0\";\"\"\n\"B\";\"1/0/1\";\"DPST-x-1\"\n",
         "export.csv:3: 'DPST-x-1' is no DPT (DPST-9-1, DPT-9 or empty)"},
        {header + "\"A\";\"1/0/0\";\"\"\n\"B\";\"1/0/0\";\"\"\n", "export.csv:3: 1/0/0 is already defined on line 2"},
        {header + "\"A\";\"1/0/0\";\"DPST-0-5\"\n", "export.csv:2: 'DPST-0-5' is no DPT (DPST-9-1, DPT-9 or empty)"},
        {header + "\"A\";\"1/0/0\n\";\"\"\n", "export.csv:2: '1/0/0\\n' is no group address (1/2/3, 1/515 or 2563)"},
        {header + "\"A\";\"1/0/0\";\"DPST-\t" + std::string(50, '9') + "\"\n",
         "export.csv:2: 'DPST-\\t" + std::string(34, '9') + "...' is no DPT (DPST-9-1, DPT-9 or empty)"},
        {header + "\"A\";\"1/0/0\";\"\"\n\"B;1/0/1\n\n", "export.csv:3: a quoted field is not closed"},
        {header + "\"A\"x;\"1/0/0\";\"\"\n", "export.csv:2: text after the closing quote of a field"},
        {header + "\"A\"\n", "export.csv:2: the line ends before field 2, the Address column"},
        {"Lights,,,1/-,,,,\n,,Hall\n", "export.csv:2: the line ends before field 4, the Address column"},
        {"\xFF\xFE\"\0G\0", "export.csv:1: a UTF-16 file: export it as UTF-8"},
        {"<Project/>", "export.csv:1: no GroupAddress-Export element"},
        {"<?xml version=\"1.0\"?>\n<GroupAddress-Export>\n  <GroupAddress Name=\"x\" />\n</GroupAddress-Export>\n",
         "export.csv:3: a GroupAddress without an Address attribute"},
        {"<GroupAddress-Export>\n<GroupRange>\n<GroupAddress Address=\"1/0/0\" DPTs=\"DPST-9\"/>\n</GroupRange>\n"
         "</GroupAddress-Export>\n",
         "export.csv:3: 'DPST-9' is no DPT (DPST-9-1, DPT-9 or empty)"},
        {"<GroupAddress-Export>\n<GroupRange>\n<GroupAddress Address=\"1/0/0\"/>\n</GroupAddress-Export>\n",
         "export.csv:4: malformed XML: invalid closing tag name"},
        {"<GroupAddress-Export>\n<GroupAddress Address=\"1/0/0\"\n", "export.csv:3: malformed XML: expected >"},
    };
    for (const auto& [text, expected] : cases) {
        GaMap map;
        std::string error;
        ASSERT_TRUE(map.Parse("\"Group name\";\"Address\"\n\"A\";\"1/0/0\"\n", "other.csv", error)) << error;
        EXPECT_FALSE(map.Parse(text, "export.csv", error)) << text;
        EXPECT_EQ(error, expected) << text;
        EXPECT_TRUE(map.Empty()) << text;
    }
}

TEST(GaMapLoad, FindsEntriesAndNamesAFileItCannotOpen)
{
    GaMap map;
    std::string error;
    ASSERT_TRUE(map.Load(ERV_GAMAP_SAMPLES "/export.xml", error)) << error;
    ASSERT_NE(map.Find(*Ervom::ParseGroupAddress("2/1/0")), nullptr);
    EXPECT_EQ(map.Find(*Ervom::ParseGroupAddress("2/1/0"))->dpt, (KNXDPT{16, 9, 1}));
    EXPECT_EQ(map.Find(*Ervom::ParseGroupAddress("2/1/2")), nullptr);

    EXPECT_FALSE(map.Load(ERV_GAMAP_SAMPLES "/missing.csv", error));
    EXPECT_EQ(error, ERV_GAMAP_SAMPLES "/missing.csv: cannot open the file: No such file or directory");
    EXPECT_TRUE(map.Empty());
    EXPECT_FALSE(map.Load(ERV_GAMAP_SAMPLES, error));
    EXPECT_EQ(error, ERV_GAMAP_SAMPLES ": cannot read the file: Is a directory");
}

} // namespace
