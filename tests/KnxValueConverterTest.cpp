// The DPT table, the two table-driven conversions and the string-level facade.
#include "ErvObjectModel/KnxValueConverter.h"

#include "ConverterCases.h"

#include <algorithm>
#include <cmath>
#include <future>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <vector>

using namespace ErvTest;
using Erv::KnxValueConverter;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// One initialised converter for the tests that only read the table.
const KnxValueConverter& Table()
{
    static KnxValueConverter converter;
    static const bool ready = converter.Init();
    EXPECT_TRUE(ready);
    return converter;
}

AVOVALUE Typed(AvoValueType type, AVOVALUE value)
{
    value.ivt = type;
    return value;
}

AVOVALUE Calendar(AvoValueType type, AVOTIME time) { return AVOVALUE::Time(type, time); }

KnxStack::GroupValue String14(const std::string& bytes)
{
    std::vector<unsigned char> data(14, 0);
    std::copy(bytes.begin(), bytes.end(), data.begin());
    return KnxStack::GroupValue(KnxStack::BinaryData(data.data(), data.size()), 112);
}

// Bus floats go through a 0.01 factor; the values below are chosen to survive it, up to rounding.
bool SameValue(const AVOVALUE& a, const AVOVALUE& b)
{
    if (a.ivt == ivtFloat && b.ivt == ivtFloat)
        return std::fabs(a.GetDouble() - b.GetDouble()) <= 1e-9 * std::fmax(1.0, std::fabs(b.GetDouble()));
    return a == b;
}

// The table ---------------------------------------------------------------------------------

TEST(DptTable, InitFillsEveryRowWithoutComplaint)
{
    LogCapture log;
    KnxValueConverter converter;
    EXPECT_TRUE(converter.Init());
    EXPECT_TRUE(converter.Init()); // refills from scratch
    EXPECT_EQ(converter.GetMap().Size(), 53u);
    EXPECT_THAT(log.Lines(), IsEmpty());
}

// Main numbers the DPT table does not hold; 241 is the highest known one.
TEST(DptTable, ExpectedBitSizeByMainNumber)
{
    const std::pair<std::uint16_t, std::uint32_t> cases[] = {
        {0, 0},   {31, 3},   {200, 9}, {218, 40},  {235, 48}, {230, 64},
        {150, 0}, {241, 32}, {242, 0}, {65535, 0}, {28, 2147483647},
    };
    for (const auto& [main, bits] : cases)
        EXPECT_EQ(KnxValueConverter::GetExpectedBitSize(main), bits) << main;
}

// What tools show of a row comes from the row itself: no casts to converter classes.
TEST(DptTable, RowsNameTheirConverterAndRange)
{
    struct Row {
        KNXDPT dpt;
        const char* converter;
        const char* range;
    };
    const Row rows[] = {
        {Dpt(1, 1), "KnxConverter1Bit", ""},
        {Dpt(9, 1), "KnxConverterFloat16BitFloat", "FloatRange(-273, 670760, -273, 670760)"},
        {Dpt(9, 9), "KnxConverterFloat16BitFloat", "FloatRange(-671089, 670761, -671089, 670761)"},
        {Dpt(12, 1), "KnxConverterInteger32BitUnsigned", "IntegerRange(0, 4294967295, 0, 4294967295)"},
        {Dpt(26, 1), "KnxConverterSceneInfo", "IntegerRange(-64, 64, 0, 255)"},
        {Dpt(19, 1), "KnxConverterDateTime", ""},
    };
    LogCapture log;
    for (const Row& row : rows) {
        const Erv::DptValueEntry* entry = Table().FindEntry(row.dpt);
        ASSERT_NE(entry, nullptr) << row.dpt;
        EXPECT_EQ(entry->GetConverterName(), row.converter) << row.dpt;
        EXPECT_EQ(entry->GetRangeText(), row.range) << row.dpt;
    }
    std::size_t unnamed = 0;
    Table().GetMap().ForEach([&unnamed](const Erv::DptValueEntry& entry) {
        unnamed += entry.GetConverterName().rfind("KnxConverter", 0) != 0;
    });
    EXPECT_EQ(unnamed, 0u);
    EXPECT_EQ(Table().FindEntry(Dpt(100, 1)), nullptr);
    EXPECT_THAT(log.Lines(), IsEmpty());
}

// Stands in for any failure below the conversions that is not a refusal.
class ThrowingConverter : public Erv::KnxConverterBase<ThrowingConverter> {
public:
    bool ToKnxValue(const KNXDPT&, const AVOVALUE&, KnxStack::GroupValue&) override
    {
        throw KnxStack::GroupValueException("no room");
    }
    bool FromKnxValue(const KNXDPT&, const KnxStack::GroupValue&, AVOVALUE&) override
    {
        throw std::out_of_range("bad date");
    }
};

// Rows of kinds the shipped table has none of: a main number without a wildcard, and a variable size.
KnxValueConverter HandBuilt()
{
    KnxValueConverter c;
    EXPECT_TRUE(c.AddDptValueMapEntry(7, 1, 16, ivtWord, AvoDP::istGeneric, ThrowingConverter()));
    EXPECT_TRUE(c.AddDptValueMapEntry(24, 1, 0, ivtString, AvoDP::istGeneric, Erv::KnxConverterDefault()));
    return c;
}

TEST(HandBuiltTable, KeepsTheFirstRowOfAKeyAndHasNoWildcardItWasNotGiven)
{
    KnxValueConverter converter = HandBuilt();
    EXPECT_FALSE(converter.AddDptValueMapEntry(7, 1, 8, ivtByte, AvoDP::istGeneric, Erv::KnxConverterDefault()));
    EXPECT_EQ(converter.GetMap().Size(), 2u);
    LogCapture log;
    EXPECT_EQ(converter.GetEntry(Dpt(7, 1)).GetValueType(), ivtWord);
    EXPECT_EQ(&converter.GetEntry(Dpt(7, 2)), &Erv::GetDefaultDptValueEntry());
    EXPECT_THAT(log.Lines(), ElementsAre(Error("No Entry found for DPT = 7.002")));
    EXPECT_EQ(converter.FindEntry(Dpt(7, 2)), nullptr);
    EXPECT_TRUE(converter.FindEntry(Dpt(7, 1))->GetConverterName().empty()); // a host's row says nothing
}

TEST(HandBuiltTable, VariableSizeIsNotCheckedAndExceptionsBelowBecomeFalse)
{
    const KnxValueConverter converter = HandBuilt();
    LogCapture log;
    KNXDPT text = Dpt(24, 1);
    AVOVALUE value;
    EXPECT_TRUE(converter.FromKnxValue(text, Bus(24, {'a', 'b', 'c'}), value));
    EXPECT_EQ(value, AVOVALUE::String("abc"));
    KNXDPT throwing = Dpt(7, 1);
    KnxStack::GroupValue bus;
    EXPECT_FALSE(converter.ToKnxValue(throwing, AVOVALUE::Word(1), bus));
    EXPECT_FALSE(converter.FromKnxValue(throwing, Bus(16, {0, 1}), value));
    EXPECT_THAT(log.Lines(), ElementsAre(Error("Exception caught during conversion of AVOVALUE to GroupValue: no room"),
                                         Error("Exception caught during conversion of GroupValue: bad date")));
}

// Every row, both directions ----------------------------------------------------------------

struct RowCase {
    KNXDPT dpt; // resolves to the row under test, and names the case
    AVOVALUE value;
    KnxStack::GroupValue bus;
    std::optional<AVOVALUE> read = std::nullopt; // none: the value written
    bool written = true; // false where the row's value type and its converter disagree
};

void PrintTo(const RowCase& c, std::ostream* os) { *os << c.dpt; }

std::string RowName(const ::testing::TestParamInfo<RowCase>& info)
{
    std::ostringstream name;
    name << "Dpt" << info.param.dpt;
    std::string text = name.str();
    std::replace(text.begin(), text.end(), '.', '_');
    return text;
}

// Bus bytes: the KNX encodings (2-octet float 0.01 * M * 2^E, big-endian integers, IEEE single
// precision, date with a two-digit year); 19.x writes the low octet of the year and reads it back
// as year - 1900.
// clang-format off
const RowCase Rows[] = {
    {Dpt(1, 1), AVOVALUE::Bool(true), Bus(1, {0x01})},
    // The row says boolean or float, the 2-bit and 4-bit converters take bytes: only decoding works.
    {Dpt(2, 1), AVOVALUE::Bool(true), Bus(2, {0x03}), AVOVALUE::Byte(3), false},
    {Dpt(3, 7), AVOVALUE::Float(9.0), Bus(4, {0x09}), AVOVALUE::Byte(9), false},
    {Dpt(4, 0), AVOVALUE::String("A"), Bus(8, {0x41})},
    {Dpt(4, 1), AVOVALUE::String("~"), Bus(8, {0x7E})},
    {Dpt(4, 2), AVOVALUE::String("\xC3\xA9"), Bus(8, {0xE9})},
    {Dpt(5, 1), AVOVALUE::Byte(200), Bus(8, {0xC8})},
    {Dpt(5, 6), AVOVALUE::Byte(254), Bus(8, {0xFE})},
    {Dpt(6, 1), AVOVALUE::Integer(-5), Bus(8, {0xFB})},
    {Dpt(6, 20), AVOVALUE::Byte(0x0A), Bus(8, {0x0A})},
    {Dpt(7, 1), AVOVALUE::Word(4660), Bus(16, {0x12, 0x34})},
    {Dpt(8, 1), AVOVALUE::Integer(-2), Bus(16, {0xFF, 0xFE})},
    {Dpt(9, 9), AVOVALUE::Float(-1024.0), Bus(16, {0xB1, 0xC0})},
    {Dpt(9, 1), AVOVALUE::Float(21.5), Bus(16, {0x0C, 0x33})},
    {Dpt(9, 26), AVOVALUE::Float(-1024.0), Bus(16, {0xB1, 0xC0})},
    {Dpt(9, 27), AVOVALUE::Float(-400.0), Bus(16, {0xAB, 0x1E})},
    {Dpt(9, 28), AVOVALUE::Float(1024.0), Bus(16, {0x36, 0x40})},
    // Written from the time type the row names, read back as a time of day on 2000-01-01.
    {Dpt(10, 1), Calendar(ivtTime, {0, 0, 0, 12, 30, 15, 0, 4}), Bus(24, {0x6C, 0x1E, 0x0F}),
     Calendar(ivtDayTime, {2000, 1, 1, 12, 30, 15, 0, 4, 1})},
    {Dpt(11, 1), Calendar(ivtDate, {2024, 3, 1, 0, 0, 0, 0, 0, 0, true}), Bus(24, {0x01, 0x03, 0x18})},
    {Dpt(12, 1), AVOVALUE::DWord(4000000000u), Bus(32, {0xEE, 0x6B, 0x28, 0x00})},
    {Dpt(13, 1), AVOVALUE::Integer(-2), Bus(32, {0xFF, 0xFF, 0xFF, 0xFE})},
    {Dpt(14, 56), AVOVALUE::Float(1.5), Bus(32, {0x3F, 0xC0, 0x00, 0x00})},
    {Dpt(15, 0), AVOVALUE::DWord(0x12345678), Bus(32, {0x12, 0x34, 0x56, 0x78})},
    {Dpt(16, 0), AVOVALUE::String("Hello"), String14("Hello")},
    {Dpt(16, 1), AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e"), String14("Gr\xFC\xDF" "e")},
    // The row says integer; the converter reads the slot and reports a byte.
    {Dpt(17, 1), AVOVALUE::Integer(5), Bus(8, {0x05}), AVOVALUE::Byte(5)},
    // The row says integer, the converter takes bytes only: decoding works, into the integer.
    {Dpt(18, 1), AVOVALUE::Byte(0x85), Bus(8, {0x85}), AVOVALUE::Integer(0x85), false},
    {Dpt(19, 1), Calendar(ivtDateTime, {2024, 3, 1, 12, 30, 15, 0, 0, 0, true}),
     Bus(64, {0xE8, 0x03, 0x01, 0x0C, 0x1E, 0x0F, 0x20, 0x00}),
     Calendar(ivtDateTime, {2132, 3, 1, 12, 30, 15, 0, 0, 0, true})},
    {Dpt(20, 1), AVOVALUE::Byte(7), Bus(8, {0x07})},
    {Dpt(20, 102), AVOVALUE::Byte(4), Bus(8, {0x04})},
    {Dpt(20, 103), AVOVALUE::Byte(4), Bus(8, {0x04})},
    {Dpt(21, 1), AVOVALUE::Byte(0x81), Bus(8, {0x81})},
    {Dpt(23, 1), AVOVALUE::Byte(2), Bus(8, {0x02})},
    {Dpt(26, 1), AVOVALUE::Byte(0x45), Bus(8, {0x45})},
    {Dpt(27, 1), AVOVALUE::DWord(0xFFFF), Bus(32, {0x00, 0x00, 0xFF, 0xFF})},
    {Dpt(236, 1), AVOVALUE::Byte(0x23), Bus(8, {0x23})},
    {Dpt(232, 600), AVOVALUE::DWord(0xABCDEF), Bus(24, {0xAB, 0xCD, 0xEF})},
    {Dpt(238, 600), AVOVALUE::Byte(0x3F), Bus(8, {0x3F})},
};
// clang-format on

// Plus the 9.x rows that differ only in their range: each gets a value just inside it.
std::vector<RowCase> RowCases()
{
    std::vector<RowCase> rows(std::begin(Rows), std::end(Rows));
    for (std::uint16_t sub : {2, 3, 10, 11, 20, 21, 22, 23, 24, 25})
        rows.push_back({Dpt(9, sub), AVOVALUE::Float(-100.0), Bus(16, {0x9B, 0x1E})});
    for (std::uint16_t sub : {4, 5, 6, 7, 8})
        rows.push_back({Dpt(9, sub), AVOVALUE::Float(100.0), Bus(16, {0x1C, 0xE2})});
    return rows;
}

TEST(DptTable, EveryRowHasARoundTripCase)
{
    std::set<std::pair<int, int>> rows;
    for (const RowCase& c : RowCases()) {
        const KNXDPT& row = Table().GetEntry(c.dpt).GetDpt();
        EXPECT_TRUE(rows.emplace(row.mainNumber, row.subNumber).second) << c.dpt << " repeats " << row;
    }
    EXPECT_EQ(rows.size(), Table().GetMap().Size());
}

class ThroughTheTable : public ::testing::TestWithParam<RowCase> {};

TEST_P(ThroughTheTable, WritesAndReadsTheRowsFormat)
{
    const RowCase& c = GetParam();
    const KNXDPT& row = Table().GetEntry(c.dpt).GetDpt();
    EXPECT_EQ(row.bitSize, KnxValueConverter::GetExpectedBitSize(row.mainNumber)) << "the row's own bit size";
    KNXDPT dpt = c.dpt;
    KnxStack::GroupValue out = UntouchedBus();
    LogCapture log;
    EXPECT_EQ(Table().ToKnxValue(dpt, c.value, out), c.written);
    EXPECT_EQ(out, c.written ? c.bus : UntouchedBus());
    EXPECT_EQ(dpt, c.dpt);
    if (!c.written)
        log.Clear();

    AVOVALUE read;
    EXPECT_TRUE(Table().FromKnxValue(dpt, c.bus, read));
    const AVOVALUE& expected = c.read ? *c.read : c.value;
    EXPECT_TRUE(SameValue(read, expected)) << "got " << read << ", expected " << expected;
    EXPECT_THAT(log.Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(DptTable, ThroughTheTable, ::testing::ValuesIn(RowCases()), RowName);

// The steps of the conversions ------------------------------------------------------------------

struct StepCase {
    const char* name;
    KNXDPT dpt;
    AVOVALUE value;           // written, or the value read (into a Word(77))
    KnxStack::GroupValue bus; // read, or the group value written (into UntouchedBus())
    bool ok;
    std::vector<LogLine> lines;
    std::optional<KNXDPT> filledIn = std::nullopt; // the DPT afterwards, when a default filled it in
};

void PrintTo(const StepCase& c, std::ostream* os) { *os << c.name; }

class ToKnx : public ::testing::TestWithParam<StepCase> {};
class FromKnx : public ::testing::TestWithParam<StepCase> {};

TEST_P(ToKnx, FollowsItsSteps)
{
    const StepCase& c = GetParam();
    LogCapture log;
    KNXDPT dpt = c.dpt;
    KnxStack::GroupValue out = UntouchedBus();
    EXPECT_EQ(Table().ToKnxValue(dpt, c.value, out), c.ok);
    EXPECT_EQ(out, c.bus);
    EXPECT_EQ(dpt, c.filledIn.value_or(c.dpt));
    EXPECT_EQ(log.Lines(), c.lines);
}

TEST_P(FromKnx, FollowsItsSteps)
{
    const StepCase& c = GetParam();
    LogCapture log;
    KNXDPT dpt = c.dpt;
    AVOVALUE out = AVOVALUE::Word(77);
    EXPECT_EQ(Table().FromKnxValue(dpt, c.bus, out), c.ok);
    EXPECT_TRUE(SameValue(out, c.value)) << "got " << out << ", expected " << c.value;
    EXPECT_EQ(dpt, c.filledIn.value_or(c.dpt));
    EXPECT_EQ(log.Lines(), c.lines);
}

// The lookup's line, then the conversion's own two.
const std::vector<LogLine> UnknownDpt = {Error("No Entry found for DPT = 100.001"),
                                         Error("No Entry found for DPT = 100.001"),
                                         Error("Assume validity and accept value!")};
const LogLine NoDefault12 = Info("Could not find DPT for bit size 12");
const AVOVALUE Word77 = AVOVALUE::Word(77);
const KnxStack::GroupValue Bus21_5 = Bus(16, {0x0C, 0x33});

// clang-format off
INSTANTIATE_TEST_SUITE_P(ValueConverter, ToKnx, ::testing::ValuesIn(std::vector<StepCase>{
    {"UnknownDptPassesUntouched", Dpt(100, 1), AVOVALUE::Float(1.0), UntouchedBus(), true, UnknownDpt},
    {"MissingDptFromValueType", Dpt(0, 0), AVOVALUE::Bool(true), Bus(1, {0x01}), true, {}, Dpt(1, 1, 1)},
    {"MissingDptFromBitSize", Dpt(0, 0, 16), Typed(ivtAngle, AVOVALUE::Float(21.5)), Bus21_5, true, {}, Dpt(9, 0, 16)},
    {"MissingDptWithoutDefault", Dpt(0, 0, 12), AVOVALUE::Float(1.0), UntouchedBus(), false, {NoDefault12}},
    // 32767.0 encoded as a float, not the 7F FF pattern.
    {"TypeZeroSkipsTheTypeCheck", Dpt(9, 1), Typed(ivtInvalid, AVOVALUE()), Bus(16, {0x5E, 0x40}), true, {}},
    {"DateDoesNotGoWhereADateTimeGoes", Dpt(19, 1), Calendar(ivtDate, {2024, 3, 1}), UntouchedBus(), false,
     {Error("Invalid value type found for DPT = 19.001 val.ivt=11 val = 2024-03-01 00:00:00")}},
    {"ConverterRefusalAddsALine", Dpt(5, 6), AVOVALUE::Byte(255), UntouchedBus(), false,
     {Error("Value out of raw range [0..254] for DPT 5.006: 255"),
      Error("Convert to KNX value failed for DPT = 5.006 val = 255")}},
}), CaseName<StepCase>);

INSTANTIATE_TEST_SUITE_P(ValueConverter, FromKnx, ::testing::ValuesIn(std::vector<StepCase>{
    {"UnknownDptLeavesTheValue", Dpt(100, 1), Word77, Bus(8, {0x01}), true, UnknownDpt},
    {"MissingDptFromTheGroupValuesSize", Dpt(0, 0), AVOVALUE::Float(21.5), Bus21_5, true, {}, Dpt(9, 0, 16)},
    {"MissingDptForAnOddSize", Dpt(0, 0), Word77, Bus(12, {0x0C, 0x33}), false,
     {Error("Convert from KNX value failed. Missing DPT. GroupValue = 12 bits: 0C 33")}},
    {"MissingDptForAGivenOddSize", Dpt(0, 0, 12), Word77, Bus(12, {0x0C, 0x33}), false, {NoDefault12}},
    // The type is set before the size is checked; 7 bits is the first size compared.
    {"SizeMismatch", Dpt(9, 1), Typed(ivtFloat, Word77), Bus(8, {0x12}), false,
     {Error("Failed to convert a GroupValue for DPT 9.001 because of unexpected bit size: 8, expected: 16 "
            "GroupValue = 8 bits: 12")}},
    {"SevenBitsForASubByteDpt", Dpt(1, 1), Typed(ivtBool, Word77), Bus(7, {0x01}), false,
     {Error("Failed to convert a GroupValue for DPT 1.001 because of unexpected bit size: 7, expected: 1 "
            "GroupValue = 7 bits: 01")}},
    // Below 7 bits the sizes are not compared: the bytes are read at the DPT's own size.
    {"SubByteSizesAreNotCompared", Dpt(1, 1), AVOVALUE::Bool(true), Bus(2, {0x03}), true, {}},
    {"SubByteReadAtTheDptsSize", Dpt(3, 7), AVOVALUE::Byte(9), Bus(1, {0x09}), true, {}},
    {"ConverterRefusalAddsALine", Dpt(20, 102), AVOVALUE::Byte(77), Bus(8, {0x05}), false,
     {Error("Value out of raw range IntegerRange(0, 4, 0, 4) for DPT 20.102; value was 5"),
      Error("Convert from KNX value failed for DPT = 20.102 GroupValue = 8 bits: 05")}},
}), CaseName<StepCase>);
// clang-format on

// One initialised converter serves several threads at once.
TEST(ValueConverter, ConvertsFromManyThreads)
{
    const auto work = [] {
        for (int i = 0; i < 2000; ++i) {
            KNXDPT dpt = Dpt(9, 1);
            KnxStack::GroupValue bus;
            AVOVALUE back;
            if (!Table().ToKnxValue(dpt, AVOVALUE::Float(21.5), bus) || !Table().FromKnxValue(dpt, bus, back) ||
                bus != Bus(16, {0x0C, 0x33}) || !SameValue(back, AVOVALUE::Float(21.5)))
                return false;
        }
        return true;
    };
    std::future<bool> runs[] = {std::async(std::launch::async, work), std::async(std::launch::async, work),
                                std::async(std::launch::async, work), std::async(std::launch::async, work)};
    for (auto& run : runs)
        EXPECT_TRUE(run.get());
}

// Compatibility and default DPTs ------------------------------------------------------------

TEST(ValueConverter, CompatibilityIsNotSymmetric)
{
    const struct {
        AvoValueType a, b;
        bool compatible;
    } cases[] = {
        {ivtDateTime, ivtDate, true},      {ivtDate, ivtDateTime, false}, {ivtUtcDateTime, ivtDuration, true},
        {ivtDuration, ivtUtcDateTime, false}, {ivtScaling, ivtAngle, true},  {ivtCounter, ivtWord, true},
        {ivtByte, ivtWord, false},         {ivtBool, ivtByte, false},     {ivtChar, ivtChar, true},
        {ivtEmpty, ivtFloat, false},       {ivtDayTime, ivtTime, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(KnxValueConverter::AreValueTypesCompatible(c.a, c.b), c.compatible) << c.a << " to " << c.b;
}

// Where there is no default, the numbers stay as they were: 7.007 by size, 0.x by value type.
TEST(DefaultDpt, ForBitSize)
{
    const std::pair<std::uint8_t, KNXDPT> cases[] = {
        {1, Dpt(1, 1, 1)},      {4, Dpt(3, 7, 4)},   {24, Dpt(10, 1, 24)}, {64, Dpt(19, 1, 64)},
        {112, Dpt(16, 1, 112)}, {12, Dpt(7, 7, 12)}, {0, Dpt(7, 7, 0)},    {3, Dpt(7, 7, 3)},
    };
    for (const auto& [bits, result] : cases) {
        KNXDPT dpt{bits, 7, 7};
        EXPECT_EQ(KnxValueConverter::GetDefaultMappingDptForSize(dpt), result.mainNumber != 7) << int(bits);
        EXPECT_EQ(dpt, result) << int(bits);
    }
}

TEST(DefaultDpt, ForValueType)
{
    const struct {
        AvoValueType type;
        std::uint8_t givenBitSize;
        KNXDPT result;
    } cases[] = {
        {ivtBool, 77, Dpt(1, 1, 1)},      {ivtFloat, 0, Dpt(9, 0, 16)},      {ivtFloat, 4, Dpt(3, 0, 4)},
        {ivtFloat, 32, Dpt(14, 0, 16)},   {ivtFloat, 24, Dpt(0, 0, 24)},     {ivtInteger, 0, Dpt(13, 0, 32)},
        {ivtInteger, 16, Dpt(8, 0, 16)},  {ivtInteger, 32, Dpt(0, 0, 32)},   {ivtLong, 8, Dpt(13, 100, 32)},
        {ivtString, 0, Dpt(16, 1, 112)},  {ivtString, 8, Dpt(4, 1, 8)},      {ivtString, 112, Dpt(16, 0, 8)},
        {ivtString, 16, Dpt(0, 0, 16)},   {ivtDayTime, 0, Dpt(0, 0, 0)},     {ivtEmpty, 0, Dpt(0, 0, 0)},
    }; // floats given 32 bits get 16, strings given 112 get 8: both kept for the hosts
    for (const auto& c : cases) {
        KNXDPT dpt{c.givenBitSize, 0, 0};
        EXPECT_EQ(KnxValueConverter::GetDefaultMappingDptForValueType(dpt, Typed(c.type, AVOVALUE())),
                  c.result.mainNumber != 0)
            << c.type << " with " << int(c.givenBitSize);
        EXPECT_EQ(dpt, c.result) << c.type << " with " << int(c.givenBitSize);
    }
}

// The string-level facade -------------------------------------------------------------------

const Erv::ErvKnxValueConverter& Facade()
{
    static Erv::ErvKnxValueConverter facade;
    static const bool ready = facade.Init();
    EXPECT_TRUE(ready);
    return facade;
}

std::string Serialised(const AVOVALUE& value)
{
    std::string text;
    value.Serialize(text, false);
    return text;
}

TEST(Facade, WritesByTheValuesTypeAndTheSizeGiven)
{
    KnxStack::GroupValue bus;
    // Only the low 8 bits of the size count; 8-bit text is 4.001, which has no room for Latin-1.
    EXPECT_TRUE(Facade().ToKnxValue(Serialised(AVOVALUE::String("A")), 256 + 8, bus));
    EXPECT_EQ(bus, Bus(8, {0x41}));
    EXPECT_FALSE(Facade().ToKnxValue(Serialised(AVOVALUE::String("\xC3\xA9")), 8, bus));
    // Without a size, text is 16.001: 14 octets of Latin-1.
    EXPECT_TRUE(Facade().ToKnxValue(Serialised(AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e")), 0, bus));
    EXPECT_EQ(bus, String14("Gr\xFC\xDF" "e"));
    KNXDPT dpt = Dpt(9, 1);
    EXPECT_TRUE(Facade().ToKnxValue(dpt, Serialised(AVOVALUE::Float(21.5)), bus));
    EXPECT_EQ(bus, Bus(16, {0x0C, 0x33}));
}

TEST(Facade, ReadsByTheGroupValuesSize)
{
    std::string text;
    AVOVALUE back;
    EXPECT_TRUE(Facade().FromKnxValue(Bus(16, {0x0C, 0x33}), text, true));
    EXPECT_TRUE(back.Deserialize(text) && SameValue(back, AVOVALUE::Float(21.5))) << text;
    LogCapture log;
    text = "unchanged";
    EXPECT_FALSE(Facade().FromKnxValue(Bus(12, {0x0C, 0x33}), text, false));
    EXPECT_EQ(text, "unchanged");
    EXPECT_THAT(log.Lines(), ElementsAre(Info("Could not find DPT for bit size 12")));
}

} // namespace
