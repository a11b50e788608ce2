// ervom's telegrams: the application-layer bytes knxd hands over, read and built, and the line
// each telegram becomes, decoded through the library.
#include "Telegram.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

using namespace Ervom;
using Bytes = std::vector<unsigned char>;

// The byte layouts are the group services of the KNX application layer: 00 00 read, 00 40 | v
// response, 00 80 | v write, the six low bits of the second byte holding a short value.
struct Apdu {
    const char* name;
    Bytes apdu;
    TelegramKind kind;
    Bytes data;
    bool small;
};

const Apdu Apdus[] = {
    {"read", {0x00, 0x00}, TelegramKind::Read, {}, false},
    {"write short on", {0x00, 0x81}, TelegramKind::Write, {0x01}, true},
    {"write short 3F", {0x00, 0xBF}, TelegramKind::Write, {0x3F}, true},
    {"response short off", {0x00, 0x40}, TelegramKind::Response, {0x00}, true},
    {"write one byte", {0x00, 0x80, 0x2A}, TelegramKind::Write, {0x2A}, false},
    {"write 9.001 21", {0x00, 0x80, 0x0C, 0x1A}, TelegramKind::Write, {0x0C, 0x1A}, false},
    {"response 14 bytes", {0x00, 0x40, 0x48, 0x69, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
     TelegramKind::Response, {0x48, 0x69, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, false},
    // Another service to a group address (here A_Memory_Read's code) is shown whole, never decoded.
    {"other service", {0x02, 0x00, 0x01}, TelegramKind::Other, {0x02, 0x00, 0x01}, false},
};

TEST(ParseApdu, ReadsEachServiceAndForm)
{
    for (const Apdu& c : Apdus) {
        Telegram telegram;
        ASSERT_TRUE(ParseApdu(0x1105, 0x0A03, c.apdu.data(), c.apdu.size(), telegram)) << c.name;
        EXPECT_EQ(telegram.kind, c.kind) << c.name;
        EXPECT_EQ(telegram.data, c.data) << c.name;
        EXPECT_EQ(telegram.small, c.small) << c.name;
        EXPECT_EQ(telegram.source, 0x1105);
        EXPECT_EQ(telegram.destination, 0x0A03);
        if (c.kind != TelegramKind::Other) {
            EXPECT_EQ(BuildApdu(c.kind, c.data, c.small), c.apdu) << c.name;
        }
    }
}

TEST(ParseApdu, RefusesFewerThanTwoBytes)
{
    const Bytes one{0x00};
    Telegram telegram;
    EXPECT_FALSE(ParseApdu(1, 2, one.data(), one.size(), telegram));
    EXPECT_FALSE(ParseApdu(1, 2, one.data(), 0, telegram));
}

TEST(BuildApdu, KeepsOnlySixBitsInTheShortForm)
{
    EXPECT_EQ(BuildApdu(TelegramKind::Write, {0xFF}, true), (Bytes{0x00, 0xBF}));
    EXPECT_EQ(BuildApdu(TelegramKind::Read, {0x01}, false), (Bytes{0x00, 0x00}));
}

TEST(IndividualAddress, AreaLineDevice)
{
    EXPECT_EQ(FormatIndividualAddress(0x1105), "1.1.5");
    EXPECT_EQ(FormatIndividualAddress(0xFFFF), "15.15.255");
    EXPECT_EQ(FormatIndividualAddress(0x0002), "0.0.2");
}

TEST(TelegramFilter, RangesAndKinds)
{
    TelegramFilter filter;
    ASSERT_TRUE(ParseGaRange("1/2/0-1/2/255"));
    filter.ranges.push_back(*ParseGaRange("1/2/0-1/2/255"));
    filter.ranges.push_back(*ParseGaRange("4096"));
    filter.kinds = {TelegramKind::Write, TelegramKind::Response};
    const auto to = [](std::uint16_t address, TelegramKind kind) {
        Telegram telegram;
        telegram.destination = address;
        telegram.kind = kind;
        return telegram;
    };
    EXPECT_TRUE(filter.Accepts(to(0x0A00, TelegramKind::Write)));
    EXPECT_TRUE(filter.Accepts(to(0x0AFF, TelegramKind::Response)));
    EXPECT_TRUE(filter.Accepts(to(4096, TelegramKind::Write)));
    EXPECT_FALSE(filter.Accepts(to(0x0B00, TelegramKind::Write)));
    EXPECT_FALSE(filter.Accepts(to(0x0A03, TelegramKind::Read)));
    EXPECT_TRUE(TelegramFilter().Accepts(to(0, TelegramKind::Other)));

    for (const char* bad : {"1/2/9-1/2/3", "1/2/3-", "-1/2/3", "1/2/256", "1/2/3-1/2/4-1/2/5"})
        EXPECT_FALSE(ParseGaRange(bad)) << bad;
}

// The command line's DPT for an address wins over the export's, which wins over the one for all.
TEST(DptChoice, FirstMatchWins)
{
    GaMap map;
    std::string error;
    ASSERT_TRUE(map.Parse("\"Group name\";\"Address\";\"DatapointType\"\n"
                          "\"Temperature\";\"1/2/3\";\"DPST-9-1\"\n\"Plain\";\"1/2/4\";\"\"\n",
                          "export.csv", error))
        << error;
    DptChoice choice;
    choice.map = &map;
    EXPECT_FALSE(choice.For(0x0A04));
    choice.Add("5.001");
    choice.Add("1/2/5=7.001");
    EXPECT_EQ(choice.For(0x0A03)->main, 9);
    EXPECT_EQ(choice.For(0x0A04)->main, 5);
    EXPECT_EQ(choice.For(0x0A05)->main, 7);
    choice.Add("1/2/3=14.068");
    EXPECT_EQ(choice.For(0x0A03)->main, 14);
    EXPECT_EQ(choice.NameOf(0x0A03), "Temperature");
    EXPECT_EQ(choice.NameOf(0x0A05), "");
    EXPECT_THROW(choice.Add("1/2/300=9.001"), UsageError);
    EXPECT_THROW(choice.Add("nine"), UsageError);
}

struct Expected {
    const char* name;
    Bytes apdu;
    const char* dpt; // empty: none given
    const char* bytes;
    LineResult result;
    const char* value;
    const char* message; // the start of it
};

// Values and refusals as `ervom decode` gives them for the same DPT and bytes.
const Expected Lines[] = {
    {"9.001 long", {0x00, 0x80, 0x0C, 0x1A}, "9.001", "0C 1A", LineResult::Decoded, "21", ""},
    {"1.001 short", {0x00, 0x81}, "1.001", "01", LineResult::Decoded, "true", ""},
    {"1.001 long", {0x00, 0x80, 0x01}, "1.001", "01", LineResult::Decoded, "true", ""},
    {"5.006 refused", {0x00, 0x80, 0xFF}, "5.006", "FF", LineResult::Refused, "", "Value out of raw range"},
    {"9.001 in a byte", {0x00, 0x80, 0x0C}, "9.001", "0C", LineResult::Refused, "", ""},
    {"unknown DPT", {0x00, 0x80, 0x12, 0x34}, "100.001", "12 34", LineResult::Unknown, "", "No Entry found"},
    {"no DPT", {0x00, 0x80, 0x2A}, "", "2A", LineResult::Raw, "", ""},
    {"read", {0x00, 0x00}, "9.001", "", LineResult::None, "", ""},
};

TEST(TelegramFormatter, DecodesThroughTheLibraryAndCounts)
{
    LibraryMessages messages;
    for (const Expected& c : Lines) {
        DptChoice choice;
        if (*c.dpt)
            choice.Add(c.dpt);
        TelegramFormatter formatter(choice, GaStyle::TwoLevel, messages);
        Telegram telegram;
        ASSERT_TRUE(ParseApdu(0x1105, 0x0A03, c.apdu.data(), c.apdu.size(), telegram));
        TelegramLine line;
        formatter.ToLine(telegram, "t", line);
        EXPECT_EQ(line.source, "1.1.5") << c.name;
        EXPECT_EQ(line.destination, "1/515") << c.name;
        EXPECT_EQ(line.bytes, c.bytes) << c.name;
        EXPECT_EQ(line.result, c.result) << c.name;
        EXPECT_EQ(line.value, c.value) << c.name;
        EXPECT_THAT(line.message, ::testing::StartsWith(c.message)) << c.name;
        if (c.result == LineResult::Refused) {
            EXPECT_FALSE(line.message.empty()) << c.name << ": a refusal has the library's words";
        }
        const TelegramFormatter::Counts& seen = formatter.Seen();
        EXPECT_EQ(seen.telegrams, 1u);
        EXPECT_EQ(seen.decoded + seen.refused + seen.unknownDpt + seen.raw, c.result == LineResult::None ? 0u : 1u)
            << c.name;
        EXPECT_EQ(seen.addressesWithoutDpt.size(), *c.dpt ? 0u : 1u) << c.name;
    }
}

TEST(PrintLine, OneLinePerTelegramInEveryFormat)
{
    TelegramLine line;
    line.time = "12:00:00.000";
    line.destination = "1/2/3";
    line.value = "two\nlines\t\"quoted\"";
    line.result = LineResult::Decoded;
    const auto print = [&](Format format) {
        std::ostringstream out;
        Table table(out, format, TelegramColumns(), true);
        PrintLine(table, line);
        table.Flush();
        return out.str();
    };
    const std::string human = print(Format::Human);
    EXPECT_EQ(std::count(human.begin(), human.end(), '\n'), 2) << human;
    const std::string tsv = print(Format::Tsv);
    EXPECT_THAT(tsv, ::testing::HasSubstr("\tdecoded\ttwo lines \"quoted\"\t"));
    EXPECT_EQ(print(Format::Json),
              "{\"time\":\"12:00:00.000\",\"source\":\"\",\"destination\":\"1/2/3\",\"kind\":\"\",\"bytes\":\"\","
              "\"dpt\":\"\",\"result\":\"decoded\",\"value\":\"two\\nlines\\t\\\"quoted\\\"\",\"name\":\"\","
              "\"message\":\"\"}\n");
}

} // namespace
