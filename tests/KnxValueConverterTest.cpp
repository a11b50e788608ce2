// The DPT table, the two table-driven conversions and the string-level facade.
#include "ErvObjectModel/KnxValueConverter.h"

#include "ConverterCases.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

using namespace ErvTest;
using Erv::DptValueEntry;
using Erv::KnxConverter;
using Erv::KnxValueConverter;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// One initialised converter for the tests that only read the table.
const KnxValueConverter& Table()
{
    static const KnxValueConverter converter = [] {
        KnxValueConverter c;
        c.Init();
        return c;
    }();
    return converter;
}

AVOVALUE Typed(AvoValueType type, AVOVALUE value)
{
    value.ivt = type;
    return value;
}

AVOVALUE Calendar(AvoValueType type, unsigned short year, unsigned char month, unsigned char day, unsigned char hour,
                  unsigned char minute, unsigned char second, unsigned short weekDays, unsigned short timeKind,
                  bool local)
{
    AVOTIME time;
    time.year = year;
    time.month = month;
    time.day = day;
    time.hour = hour;
    time.minute = minute;
    time.second = second;
    time.weekDays = weekDays;
    time.timeKind = timeKind;
    time.isLocal = local;
    return AVOVALUE::Time(type, time);
}

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
    EXPECT_EQ(converter.GetMap().Size(), 0u);
    EXPECT_TRUE(converter.Init());
    EXPECT_EQ(converter.GetMap().Size(), 53u);
    EXPECT_TRUE(converter.Init()); // refills from scratch
    EXPECT_EQ(converter.GetMap().Size(), 53u);
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(DptTable, EveryRowHasTheBitSizeItsMainNumberCarries)
{
    Table().GetMap().ForEach([](const DptValueEntry& entry) {
        EXPECT_EQ(entry.GetDpt().bitSize, KnxValueConverter::GetExpectedBitSize(entry.GetDpt().mainNumber))
            << entry.GetDpt();
    });
}

TEST(DptTable, ExpectedBitSizeByMainNumber)
{
    const std::pair<std::uint16_t, std::uint32_t> cases[] = {
        {0, 0},   {1, 1},     {31, 3},          {3, 4},      {6, 8},  {200, 9}, {9, 16}, {232, 24},
        {15, 32}, {218, 40},  {235, 48},        {230, 64},   {16, 112}, {28, 2147483647}, {150, 0}, {241, 32},
        {242, 0}, {65535, 0},
    };
    for (const auto& [main, bits] : cases)
        EXPECT_EQ(KnxValueConverter::GetExpectedBitSize(main), bits) << main;
}

struct Bounds {
    double internalMin, internalMax, externalMin, externalMax, factor;
};

template <class Converter>
bool TryBounds(const KnxConverter& converter, std::optional<Bounds>& bounds)
{
    const auto* typed = dynamic_cast<const Converter*>(&converter);
    if (typed == nullptr)
        return false;
    const auto& r = typed->GetRange();
    bounds = Bounds{double(r.GetInternalMin()), double(r.GetInternalMax()), double(r.GetExternalMin()),
                    double(r.GetExternalMax()), r.GetScaleFactor()};
    return true;
}

// The bounds of a converter that holds a range.
std::optional<Bounds> BoundsOf(const KnxConverter& c)
{
    using namespace Erv;
    std::optional<Bounds> b;
    TryBounds<KnxConverter8BitString>(c, b) || TryBounds<KnxConverterByte8BitUnsigned>(c, b) ||
        TryBounds<KnxConverterInteger8BitSigned>(c, b) || TryBounds<KnxConverterStatus8Bit>(c, b) ||
        TryBounds<KnxConverterInteger16BitUnsigned>(c, b) || TryBounds<KnxConverterInteger16BitSigned>(c, b) ||
        TryBounds<KnxConverterFloat16BitFloat>(c, b) || TryBounds<KnxConverterFloat32BitFloat>(c, b) ||
        TryBounds<KnxConverterInteger24BitUnsigned>(c, b) || TryBounds<KnxConverterInteger32BitUnsigned>(c, b) ||
        TryBounds<KnxConverterInteger32BitSigned>(c, b) || TryBounds<KnxConverter14ByteString>(c, b) ||
        TryBounds<KnxConverterSceneNumber>(c, b) || TryBounds<KnxConverterSceneControl>(c, b) ||
        TryBounds<KnxConverterSceneInfo>(c, b);
    return b;
}

TEST(DptTable, RangesMapOneToOneExceptSceneInfo)
{
    Table().GetMap().ForEach([](const DptValueEntry& entry) {
        ASSERT_NE(entry.GetConverter(), nullptr) << entry.GetDpt();
        const std::optional<Bounds> b = BoundsOf(*entry.GetConverter());
        if (!b)
            return;
        EXPECT_LT(b->internalMin, b->internalMax) << entry.GetDpt();
        if (entry.GetDpt().mainNumber == 26) {
            EXPECT_EQ(b->factor, 255.0 / 128.0);
            return;
        }
        EXPECT_EQ(b->internalMin, b->externalMin) << entry.GetDpt();
        EXPECT_EQ(b->internalMax, b->externalMax) << entry.GetDpt();
        EXPECT_EQ(b->factor, 1.0) << entry.GetDpt();
    });
}

// Sub-number rows narrow their main number's range, not its format; 6.020 is the one exception.
TEST(DptTable, RowsOfAMainNumberShareItsConverterClass)
{
    Table().GetMap().ForEach([](const DptValueEntry& entry) {
        const KNXDPT& dpt = entry.GetDpt();
        const DptValueEntry& wildcard = Table().GetEntry(Dpt(dpt.mainNumber, 0));
        ASSERT_EQ(wildcard.GetDpt().subNumber, 0) << dpt << " has no wildcard row";
        const bool same = typeid(*entry.GetConverter()) == typeid(*wildcard.GetConverter());
        EXPECT_EQ(same, !(dpt.mainNumber == 6 && dpt.subNumber == 20)) << dpt;
    });
}

// Lookup ------------------------------------------------------------------------------------

struct LookupCase {
    const char* name;
    KNXDPT requested;
    std::optional<KNXDPT> found; // none: the shared default entry
    std::vector<LogLine> lines;
};

void PrintTo(const LookupCase& c, std::ostream* os) { *os << c.name; }

class Lookup : public ::testing::TestWithParam<LookupCase> {};

TEST_P(Lookup, FallsBack)
{
    const LookupCase& c = GetParam();
    LogCapture log;
    const DptValueEntry& entry = Table().GetEntry(c.requested);
    if (c.found) {
        EXPECT_EQ(entry.GetDpt(), *c.found);
    } else {
        EXPECT_EQ(&entry, &Erv::GetDefaultDptValueEntry());
        EXPECT_EQ(entry.GetDpt(), KNXDPT{});
        EXPECT_EQ(entry.GetValueType(), ivtEmpty);
        EXPECT_EQ(entry.GetSubType(), AvoDP::istGeneric);
        EXPECT_EQ(typeid(*entry.GetConverter()), typeid(Erv::KnxConverterDefault));
    }
    EXPECT_EQ(log.Lines(), c.lines);
}

INSTANTIATE_TEST_SUITE_P(
    DptTable, Lookup,
    ::testing::Values(LookupCase{"ExactSubNumber", Dpt(9, 1), Dpt(9, 1, 16), {}},
                      LookupCase{"UnlistedSubNumberTakesTheWildcard", Dpt(9, 9), Dpt(9, 0, 16), {}},
                      LookupCase{"ByteWithUnlistedSubNumber", Dpt(5, 10), Dpt(5, 0, 8), {}},
                      LookupCase{"OwnRowBesideTheWildcard", Dpt(5, 6), Dpt(5, 6, 8), {}},
                      LookupCase{"WildcardAskedForDirectly", Dpt(4, 0), Dpt(4, 0, 8), {}},
                      LookupCase{"UnknownMainNumber", Dpt(100, 1), std::nullopt,
                                 {Error("No Entry found for DPT = 100.001")}},
                      LookupCase{"NoMainNumber", Dpt(0, 0), std::nullopt, {Error("No Entry found for DPT = 0.x")}}),
    CaseName<LookupCase>);

TEST(DptTable, MainNumberWithoutWildcardGivesTheDefaultEntry)
{
    KnxValueConverter converter;
    ASSERT_TRUE(converter.AddDptValueMapEntry(7, 1, 16, ivtWord, AvoDP::istGeneric,
                                              Erv::KnxConverterInteger16BitUnsigned(Erv::IntegerRange(0, 9, 0, 9))));
    LogCapture log;
    EXPECT_EQ(converter.GetEntry(Dpt(7, 1)).GetValueType(), ivtWord);
    EXPECT_EQ(&converter.GetEntry(Dpt(7, 2)), &Erv::GetDefaultDptValueEntry());
    EXPECT_THAT(log.Lines(), ElementsAre(Error("No Entry found for DPT = 7.002")));
}

TEST(DptTable, AddingATakenKeyFailsAndKeepsTheFirst)
{
    KnxValueConverter converter;
    const Erv::KnxConverterByte8BitUnsigned byte(Erv::IntegerRange(0, 255, 0, 255));
    EXPECT_TRUE(converter.AddDptValueMapEntry(5, 1, 8, ivtByte, AvoDP::istGeneric, byte));
    EXPECT_FALSE(converter.AddDptValueMapEntry(5, 1, 16, ivtWord, AvoDP::istGeneric, byte));
    EXPECT_EQ(converter.GetMap().Size(), 1u);
    EXPECT_EQ(converter.GetEntry(Dpt(5, 1)).GetValueType(), ivtByte);
    // The entry holds a clone, not the caller's object.
    EXPECT_NE(converter.GetEntry(Dpt(5, 1)).GetConverter(), &byte);
}

// Every row, both directions ----------------------------------------------------------------

struct RowCase {
    const char* name;
    KNXDPT dpt; // resolves to the row under test
    AVOVALUE value;
    bool written; // false where the row's value type and its converter disagree
    KnxStack::GroupValue bus;
    AVOVALUE read;
};

void PrintTo(const RowCase& c, std::ostream* os) { *os << c.name; }

// Bus bytes: the KNX encodings of the group value (2-octet float 0.01 * M * 2^E, big-endian
// integers, IEEE single precision, date with a two-digit year); 19.x writes the low octet of the
// year and reads it back as year - 1900.
const RowCase RowCases[] = {
    {"Dpt1x", Dpt(1, 1), AVOVALUE::Bool(true), true, Bus(1, {0x01}), AVOVALUE::Bool(true)},
    // The row says boolean, the 2-bit and 4-bit converters take bytes: only decoding works.
    {"Dpt2x", Dpt(2, 1), AVOVALUE::Bool(true), false, Bus(2, {0x03}), AVOVALUE::Byte(3)},
    {"Dpt3x", Dpt(3, 7), AVOVALUE::Float(9.0), false, Bus(4, {0x09}), AVOVALUE::Byte(9)},
    {"Dpt4x", Dpt(4, 0), AVOVALUE::String("A"), true, Bus(8, {0x41}), AVOVALUE::String("A")},
    {"Dpt4_001", Dpt(4, 1), AVOVALUE::String("~"), true, Bus(8, {0x7E}), AVOVALUE::String("~")},
    {"Dpt4_002", Dpt(4, 2), AVOVALUE::String("\xC3\xA9"), true, Bus(8, {0xE9}), AVOVALUE::String("\xC3\xA9")},
    {"Dpt5x", Dpt(5, 1), AVOVALUE::Byte(200), true, Bus(8, {0xC8}), AVOVALUE::Byte(200)},
    {"Dpt5_006", Dpt(5, 6), AVOVALUE::Byte(254), true, Bus(8, {0xFE}), AVOVALUE::Byte(254)},
    {"Dpt6x", Dpt(6, 1), AVOVALUE::Integer(-5), true, Bus(8, {0xFB}), AVOVALUE::Integer(-5)},
    {"Dpt6_020", Dpt(6, 20), AVOVALUE::Byte(0x0A), true, Bus(8, {0x0A}), AVOVALUE::Byte(0x0A)},
    {"Dpt7x", Dpt(7, 1), AVOVALUE::Word(4660), true, Bus(16, {0x12, 0x34}), AVOVALUE::Word(4660)},
    {"Dpt8x", Dpt(8, 1), AVOVALUE::Integer(-2), true, Bus(16, {0xFF, 0xFE}), AVOVALUE::Integer(-2)},
    // -1024 and -400 lie outside 9.001's range: they pass only through their own rows.
    {"Dpt9x", Dpt(9, 9), AVOVALUE::Float(-1024.0), true, Bus(16, {0xB1, 0xC0}), AVOVALUE::Float(-1024.0)},
    {"Dpt9_001", Dpt(9, 1), AVOVALUE::Float(21.5), true, Bus(16, {0x0C, 0x33}), AVOVALUE::Float(21.5)},
    {"Dpt9_002", Dpt(9, 2), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_003", Dpt(9, 3), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_004", Dpt(9, 4), AVOVALUE::Float(100.0), true, Bus(16, {0x1C, 0xE2}), AVOVALUE::Float(100.0)},
    {"Dpt9_005", Dpt(9, 5), AVOVALUE::Float(100.0), true, Bus(16, {0x1C, 0xE2}), AVOVALUE::Float(100.0)},
    {"Dpt9_006", Dpt(9, 6), AVOVALUE::Float(100.0), true, Bus(16, {0x1C, 0xE2}), AVOVALUE::Float(100.0)},
    {"Dpt9_007", Dpt(9, 7), AVOVALUE::Float(100.0), true, Bus(16, {0x1C, 0xE2}), AVOVALUE::Float(100.0)},
    {"Dpt9_008", Dpt(9, 8), AVOVALUE::Float(100.0), true, Bus(16, {0x1C, 0xE2}), AVOVALUE::Float(100.0)},
    {"Dpt9_010", Dpt(9, 10), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_011", Dpt(9, 11), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_020", Dpt(9, 20), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_021", Dpt(9, 21), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_022", Dpt(9, 22), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_023", Dpt(9, 23), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_024", Dpt(9, 24), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_025", Dpt(9, 25), AVOVALUE::Float(-100.0), true, Bus(16, {0x9B, 0x1E}), AVOVALUE::Float(-100.0)},
    {"Dpt9_026", Dpt(9, 26), AVOVALUE::Float(-1024.0), true, Bus(16, {0xB1, 0xC0}), AVOVALUE::Float(-1024.0)},
    {"Dpt9_027", Dpt(9, 27), AVOVALUE::Float(-400.0), true, Bus(16, {0xAB, 0x1E}), AVOVALUE::Float(-400.0)},
    {"Dpt9_028", Dpt(9, 28), AVOVALUE::Float(1024.0), true, Bus(16, {0x36, 0x40}), AVOVALUE::Float(1024.0)},
    // Written from the time type the row names, read back as a time of day on 2000-01-01.
    {"Dpt10x", Dpt(10, 1), Calendar(ivtTime, 0, 0, 0, 12, 30, 15, 4, 0, false), true, Bus(24, {0x6C, 0x1E, 0x0F}),
     Calendar(ivtDayTime, 2000, 1, 1, 12, 30, 15, 4, 1, false)},
    {"Dpt11x", Dpt(11, 1), Calendar(ivtDate, 2024, 3, 1, 0, 0, 0, 0, 0, true), true, Bus(24, {0x01, 0x03, 0x18}),
     Calendar(ivtDate, 2024, 3, 1, 0, 0, 0, 0, 0, true)},
    {"Dpt12x", Dpt(12, 1), AVOVALUE::DWord(4000000000u), true, Bus(32, {0xEE, 0x6B, 0x28, 0x00}),
     AVOVALUE::DWord(4000000000u)},
    {"Dpt13x", Dpt(13, 1), AVOVALUE::Integer(-2), true, Bus(32, {0xFF, 0xFF, 0xFF, 0xFE}), AVOVALUE::Integer(-2)},
    {"Dpt14x", Dpt(14, 56), AVOVALUE::Float(1.5), true, Bus(32, {0x3F, 0xC0, 0x00, 0x00}), AVOVALUE::Float(1.5)},
    {"Dpt15x", Dpt(15, 0), AVOVALUE::DWord(0x12345678), true, Bus(32, {0x12, 0x34, 0x56, 0x78}),
     AVOVALUE::DWord(0x12345678)},
    {"Dpt16x", Dpt(16, 0), AVOVALUE::String("Hello"), true, String14("Hello"), AVOVALUE::String("Hello")},
    {"Dpt16_001", Dpt(16, 1), AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e"), true, String14("Gr\xFC\xDF" "e"),
     AVOVALUE::String("Gr\xC3\xBC\xC3\x9F" "e")},
    // The row says integer; the converter reads the slot and reports a byte.
    {"Dpt17x", Dpt(17, 1), AVOVALUE::Integer(5), true, Bus(8, {0x05}), AVOVALUE::Byte(5)},
    // The row says integer, the converter takes bytes only: decoding works, into the integer.
    {"Dpt18x", Dpt(18, 1), AVOVALUE::Byte(0x85), false, Bus(8, {0x85}), AVOVALUE::Integer(0x85)},
    {"Dpt19x", Dpt(19, 1), Calendar(ivtDateTime, 2024, 3, 1, 12, 30, 15, 0, 0, true), true,
     Bus(64, {0xE8, 0x03, 0x01, 0x0C, 0x1E, 0x0F, 0x20, 0x00}),
     Calendar(ivtDateTime, 2132, 3, 1, 12, 30, 15, 0, 0, true)},
    {"Dpt20x", Dpt(20, 1), AVOVALUE::Byte(7), true, Bus(8, {0x07}), AVOVALUE::Byte(7)},
    {"Dpt20_102", Dpt(20, 102), AVOVALUE::Byte(4), true, Bus(8, {0x04}), AVOVALUE::Byte(4)},
    {"Dpt20_103", Dpt(20, 103), AVOVALUE::Byte(4), true, Bus(8, {0x04}), AVOVALUE::Byte(4)},
    {"Dpt21x", Dpt(21, 1), AVOVALUE::Byte(0x81), true, Bus(8, {0x81}), AVOVALUE::Byte(0x81)},
    {"Dpt23x", Dpt(23, 1), AVOVALUE::Byte(2), true, Bus(8, {0x02}), AVOVALUE::Byte(2)},
    {"Dpt26x", Dpt(26, 1), AVOVALUE::Byte(0x45), true, Bus(8, {0x45}), AVOVALUE::Byte(0x45)},
    {"Dpt27x", Dpt(27, 1), AVOVALUE::DWord(0xFFFF), true, Bus(32, {0x00, 0x00, 0xFF, 0xFF}), AVOVALUE::DWord(0xFFFF)},
    {"Dpt236x", Dpt(236, 1), AVOVALUE::Byte(0x23), true, Bus(8, {0x23}), AVOVALUE::Byte(0x23)},
    {"Dpt232x", Dpt(232, 600), AVOVALUE::DWord(0xABCDEF), true, Bus(24, {0xAB, 0xCD, 0xEF}),
     AVOVALUE::DWord(0xABCDEF)},
    {"Dpt238x", Dpt(238, 600), AVOVALUE::Byte(0x3F), true, Bus(8, {0x3F}), AVOVALUE::Byte(0x3F)},
};

TEST(DptTable, EveryRowHasARoundTripCase)
{
    std::set<std::pair<int, int>> rows;
    for (const RowCase& c : RowCases) {
        const KNXDPT& row = Table().GetEntry(c.dpt).GetDpt();
        EXPECT_TRUE(rows.emplace(row.mainNumber, row.subNumber).second) << c.name << " repeats " << row;
    }
    EXPECT_EQ(rows.size(), Table().GetMap().Size());
}

class ThroughTheTable : public ::testing::TestWithParam<RowCase> {};

TEST_P(ThroughTheTable, WritesAndReadsTheRowsFormat)
{
    const RowCase& c = GetParam();
    {
        LogCapture log;
        KNXDPT dpt = c.dpt;
        KnxStack::GroupValue out = UntouchedBus();
        EXPECT_EQ(Table().ToKnxValue(dpt, c.value, out), c.written);
        EXPECT_EQ(out, c.written ? c.bus : UntouchedBus());
        EXPECT_EQ(dpt, c.dpt);
        if (c.written) {
            EXPECT_THAT(log.Lines(), IsEmpty());
        }
    }
    {
        LogCapture log;
        KNXDPT dpt = c.dpt;
        AVOVALUE out;
        EXPECT_TRUE(Table().FromKnxValue(dpt, c.bus, out));
        EXPECT_TRUE(SameValue(out, c.read)) << "got " << out << ", expected " << c.read;
        EXPECT_THAT(log.Lines(), IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(DptTable, ThroughTheTable, ::testing::ValuesIn(RowCases), CaseName<RowCase>);

// The steps of the conversions ------------------------------------------------------------------

struct ToCase {
    const char* name;
    KNXDPT dpt;
    AVOVALUE value;
    bool ok;
    KnxStack::GroupValue bus;
    KNXDPT dptAfter;
    std::vector<LogLine> lines;
};

void PrintTo(const ToCase& c, std::ostream* os) { *os << c.name; }

class ToKnx : public ::testing::TestWithParam<ToCase> {};

TEST_P(ToKnx, FollowsItsSteps)
{
    const ToCase& c = GetParam();
    LogCapture log;
    KNXDPT dpt = c.dpt;
    KnxStack::GroupValue out = UntouchedBus();
    EXPECT_EQ(Table().ToKnxValue(dpt, c.value, out), c.ok);
    EXPECT_EQ(out, c.bus);
    EXPECT_EQ(dpt, c.dptAfter);
    EXPECT_EQ(log.Lines(), c.lines);
}

INSTANTIATE_TEST_SUITE_P(
    ValueConverter, ToKnx,
    ::testing::Values(
        ToCase{"UnknownDptPassesUntouched", Dpt(100, 1), AVOVALUE::Float(1.0), true, UntouchedBus(), Dpt(100, 1),
               {Error("No Entry found for DPT = 100.001"), Error("Assume validity and accept value!")}},
        ToCase{"MissingDptFromValueType", Dpt(0, 0), AVOVALUE::Bool(true), true, Bus(1, {0x01}), Dpt(1, 1, 1), {}},
        ToCase{"MissingDptFromBitSize", Dpt(0, 0, 16), Typed(ivtAngle, AVOVALUE::Float(21.5)), true,
               Bus(16, {0x0C, 0x33}), Dpt(9, 0, 16), {}},
        ToCase{"MissingDptWithoutDefault", Dpt(0, 0, 12), AVOVALUE::Float(1.0), false, UntouchedBus(),
               Dpt(0, 0, 12), {Info("Could not find DPT for bit size 12")}},
        ToCase{"IncompatibleValueType", Dpt(9, 1), AVOVALUE::String("x"), false, UntouchedBus(), Dpt(9, 1),
               {Error("Invalid value type found for DPT = 9.001 val.ivt=10 val = x")}},
        // 32767.0 encoded as a float, not the 7F FF pattern.
        ToCase{"TypeZeroSkipsTheTypeCheck", Dpt(9, 1), Typed(ivtInvalid, AVOVALUE()), true, Bus(16, {0x5E, 0x40}),
               Dpt(9, 1), {}},
        ToCase{"CompatibleTypeIsWritten", Dpt(9, 1), Typed(ivtPercent, AVOVALUE::Float(21.5)), true,
               Bus(16, {0x0C, 0x33}), Dpt(9, 1), {}},
        ToCase{"DateTimeGoesWhereADateGoes", Dpt(11, 1), Calendar(ivtDateTime, 2024, 3, 1, 12, 0, 0, 0, 0, true),
               true, Bus(24, {0x01, 0x03, 0x18}), Dpt(11, 1), {}},
        ToCase{"DateDoesNotGoWhereADateTimeGoes", Dpt(19, 1), Calendar(ivtDate, 2024, 3, 1, 0, 0, 0, 0, 0, true),
               false, UntouchedBus(), Dpt(19, 1),
               {Error("Invalid value type found for DPT = 19.001 val.ivt=11 val = 2024-03-01 00:00:00")}},
        ToCase{"ConverterRefusalAddsALine", Dpt(5, 6), AVOVALUE::Byte(255), false, UntouchedBus(), Dpt(5, 6),
               {Error("Value out of raw range [0..254] for DPT 5.006: 255"),
                Error("Convert to KNX value failed for DPT = 5.006 val = 255")}}),
    CaseName<ToCase>);

struct FromCase {
    const char* name;
    KNXDPT dpt;
    KnxStack::GroupValue bus;
    bool ok;
    AVOVALUE read; // the value handed in is a Word(77)
    KNXDPT dptAfter;
    std::vector<LogLine> lines;
};

void PrintTo(const FromCase& c, std::ostream* os) { *os << c.name; }

class FromKnx : public ::testing::TestWithParam<FromCase> {};

TEST_P(FromKnx, FollowsItsSteps)
{
    const FromCase& c = GetParam();
    LogCapture log;
    KNXDPT dpt = c.dpt;
    AVOVALUE out = AVOVALUE::Word(77);
    EXPECT_EQ(Table().FromKnxValue(dpt, c.bus, out), c.ok);
    EXPECT_TRUE(SameValue(out, c.read)) << "got " << out << ", expected " << c.read;
    EXPECT_EQ(dpt, c.dptAfter);
    EXPECT_EQ(log.Lines(), c.lines);
}

INSTANTIATE_TEST_SUITE_P(
    ValueConverter, FromKnx,
    ::testing::Values(
        FromCase{"UnknownDptLeavesTheValue", Dpt(100, 1), Bus(8, {0x01}), true, AVOVALUE::Word(77), Dpt(100, 1),
                 {Error("No Entry found for DPT = 100.001"), Error("Assume validity and accept value!")}},
        FromCase{"MissingDptFromTheGroupValuesSize", Dpt(0, 0), Bus(16, {0x0C, 0x33}), true, AVOVALUE::Float(21.5),
                 Dpt(9, 0, 16), {}},
        FromCase{"MissingDptForAnOddSize", Dpt(0, 0), Bus(12, {0x0C, 0x33}), false, AVOVALUE::Word(77), Dpt(0, 0),
                 {Error("Convert from KNX value failed. Missing DPT. GroupValue = 12 bits: 0C 33")}},
        FromCase{"MissingDptForAGivenOddSize", Dpt(0, 0, 12), Bus(12, {0x0C, 0x33}), false, AVOVALUE::Word(77),
                 Dpt(0, 0, 12), {Info("Could not find DPT for bit size 12")}},
        // The type is set before the size is checked.
        FromCase{"SizeMismatch", Dpt(9, 1), Bus(8, {0x12}), false, Typed(ivtFloat, AVOVALUE::Word(77)), Dpt(9, 1),
                 {Error("Failed to convert a GroupValue for DPT 9.001 because of unexpected bit size: 8, "
                        "expected: 16 GroupValue = 8 bits: 12")}},
        FromCase{"OctetForASubByteDpt", Dpt(1, 1), Bus(8, {0x01}), false, Typed(ivtBool, AVOVALUE::Word(77)),
                 Dpt(1, 1),
                 {Error("Failed to convert a GroupValue for DPT 1.001 because of unexpected bit size: 8, "
                        "expected: 1 GroupValue = 8 bits: 01")}},
        // Below 7 bits the sizes are not compared: the bytes are read at the DPT's own size.
        FromCase{"SubByteSizesAreNotCompared", Dpt(1, 1), Bus(2, {0x03}), true, AVOVALUE::Bool(true), Dpt(1, 1), {}},
        FromCase{"SubByteReadAtTheDptsSize", Dpt(3, 7), Bus(1, {0x09}), true, AVOVALUE::Byte(9), Dpt(3, 7), {}},
        FromCase{"ConverterRefusalAddsALine", Dpt(20, 102), Bus(8, {0x05}), false, AVOVALUE::Byte(77), Dpt(20, 102),
                 {Error("Value out of raw range IntegerRange(0, 4, 0, 4) for DPT 20.102; value was 5"),
                  Error("Convert from KNX value failed for DPT = 20.102 GroupValue = 8 bits: 05")}}),
    CaseName<FromCase>);

TEST(ValueConverter, VariableSizedDptIsNotSizeChecked)
{
    KnxValueConverter converter;
    ASSERT_TRUE(converter.AddDptValueMapEntry(24, 1, 0, ivtString, AvoDP::istGeneric, Erv::KnxConverterDefault()));
    LogCapture log;
    KNXDPT dpt = Dpt(24, 1);
    AVOVALUE out;
    EXPECT_TRUE(converter.FromKnxValue(dpt, Bus(24, {'a', 'b', 'c'}), out));
    EXPECT_EQ(out, AVOVALUE::String("abc"));
    EXPECT_THAT(log.Lines(), IsEmpty());
}

// Stands in for any failure below the conversions that is not a refusal.
class ThrowingConverter : public Erv::KnxConverterBase<ThrowingConverter> {
public:
    bool ToKnxValue(const KNXDPT&, const AVOVALUE&, KnxStack::GroupValue&) const override
    {
        throw KnxStack::GroupValueException("no room");
    }
    bool FromKnxValue(const KNXDPT&, const KnxStack::GroupValue&, AVOVALUE&) const override
    {
        throw std::out_of_range("bad date");
    }
};

TEST(ValueConverter, ExceptionsBelowBecomeFalse)
{
    KnxValueConverter converter;
    ASSERT_TRUE(converter.AddDptValueMapEntry(7, 0, 16, ivtWord, AvoDP::istGeneric, ThrowingConverter()));
    LogCapture log;
    KNXDPT dpt = Dpt(7, 1);
    KnxStack::GroupValue bus = UntouchedBus();
    AVOVALUE value = AVOVALUE::Word(1);
    EXPECT_FALSE(converter.ToKnxValue(dpt, value, bus));
    EXPECT_FALSE(converter.FromKnxValue(dpt, Bus(16, {0, 1}), value));
    EXPECT_THAT(log.Lines(),
                ElementsAre(Error("Exception caught during conversion of AVOVALUE to GroupValue: no room"),
                            Error("Exception caught during conversion of GroupValue: bad date")));
}

// One initialised converter serves several threads at once.
TEST(ValueConverter, ConvertsFromManyThreads)
{
    auto work = [] {
        bool same = true;
        for (int i = 0; i < 2000; ++i) {
            KNXDPT dpt = Dpt(9, 1);
            KnxStack::GroupValue bus;
            AVOVALUE back;
            same = same && Table().ToKnxValue(dpt, AVOVALUE::Float(21.5), bus) &&
                   Table().FromKnxValue(dpt, bus, back) && bus == Bus(16, {0x0C, 0x33}) &&
                   SameValue(back, AVOVALUE::Float(21.5));
        }
        return same;
    };
    bool results[4] = {};
    std::vector<std::thread> threads;
    for (bool& result : results)
        threads.emplace_back([&result, &work] { result = work(); });
    for (auto& thread : threads)
        thread.join();
    for (bool result : results)
        EXPECT_TRUE(result);
}

// Compatibility and default DPTs ------------------------------------------------------------

TEST(ValueConverter, CompatibilityIsNotSymmetric)
{
    const struct {
        AvoValueType a, b;
        bool compatible;
    } cases[] = {
        {ivtDateTime, ivtDate, true},  {ivtDate, ivtDateTime, false}, {ivtUtcDateTime, ivtDuration, true},
        {ivtDuration, ivtUtcDateTime, false}, {ivtScaling, ivtAngle, true}, {ivtCounter, ivtWord, true},
        {ivtByte, ivtWord, false},     {ivtBool, ivtByte, false},     {ivtChar, ivtChar, true},
        {ivtEmpty, ivtFloat, false},   {ivtDayTime, ivtTime, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(KnxValueConverter::AreValueTypesCompatible(c.a, c.b), c.compatible) << c.a << " to " << c.b;
}

TEST(DefaultDpt, ForBitSize)
{
    const struct {
        std::uint8_t bitSize;
        bool found;
        std::uint16_t main, sub;
    } cases[] = {{1, true, 1, 1},   {4, true, 3, 7},  {24, true, 10, 1},  {64, true, 19, 1},
                 {112, true, 16, 1}, {12, false, 7, 7}, {0, false, 7, 7}, {3, false, 7, 7}};
    for (const auto& c : cases) {
        KNXDPT dpt{c.bitSize, 7, 7};
        EXPECT_EQ(KnxValueConverter::GetDefaultMappingDptForSize(dpt), c.found) << int(c.bitSize);
        EXPECT_EQ(dpt, (KNXDPT{c.bitSize, c.main, c.sub})) << int(c.bitSize);
    }
}

TEST(DefaultDpt, ForValueType)
{
    const struct {
        AvoValueType type;
        std::uint8_t givenBitSize;
        bool found;
        KNXDPT result;
    } cases[] = {
        {ivtBool, 77, true, Dpt(1, 1, 1)},
        {ivtFloat, 0, true, Dpt(9, 0, 16)},
        {ivtFloat, 4, true, Dpt(3, 0, 4)},
        {ivtFloat, 32, true, Dpt(14, 0, 16)}, // bit size 16, not 32
        {ivtFloat, 24, false, Dpt(0, 0, 24)},
        {ivtInteger, 0, true, Dpt(13, 0, 32)},
        {ivtInteger, 16, true, Dpt(8, 0, 16)},
        {ivtInteger, 32, false, Dpt(0, 0, 32)},
        {ivtLong, 8, true, Dpt(13, 100, 32)},
        {ivtString, 0, true, Dpt(16, 1, 112)},
        {ivtString, 8, true, Dpt(4, 1, 8)},
        {ivtString, 112, true, Dpt(16, 0, 8)}, // bit size 8 for 14 octets
        {ivtString, 16, false, Dpt(0, 0, 16)},
        {ivtDayTime, 0, false, Dpt(0, 0, 0)},
        {ivtEmpty, 0, false, Dpt(0, 0, 0)},
    };
    for (const auto& c : cases) {
        KNXDPT dpt{c.givenBitSize, 0, 0};
        AVOVALUE value = Typed(c.type, AVOVALUE());
        EXPECT_EQ(KnxValueConverter::GetDefaultMappingDptForValueType(dpt, value), c.found)
            << c.type << " with " << int(c.givenBitSize);
        EXPECT_EQ(dpt, c.result) << c.type << " with " << int(c.givenBitSize);
    }
}

// The string-level facade -------------------------------------------------------------------

class Facade : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(facade.Init()); }
    static Erv::ErvKnxValueConverter facade;

    // The DPT a conversion went through, from the converter's trace.
    static std::string DptUsed(const LogCapture& log)
    {
        for (const LogLine& line : log.AllLines())
            if (line.message.rfind("DPT is used. DPT = ", 0) == 0)
                return line.message.substr(19, line.message.find(' ', 19) - 19);
        return "none";
    }
};
Erv::ErvKnxValueConverter Facade::facade;

std::string Serialised(const AVOVALUE& value)
{
    std::string text;
    value.Serialize(text, false);
    return text;
}

TEST_F(Facade, EightBitTextIsOneCharacter)
{
    LogCapture log;
    KnxStack::GroupValue bus;
    EXPECT_TRUE(facade.ToKnxValue(Serialised(AVOVALUE::String("A")), 256 + 8, bus)); // only the low 8 bits count
    EXPECT_EQ(bus, Bus(8, {0x41}));
    EXPECT_EQ(DptUsed(log), "4.001");
}

TEST_F(Facade, TextWithoutSizeIsFourteenOctets)
{
    LogCapture log;
    KnxStack::GroupValue bus;
    EXPECT_TRUE(facade.ToKnxValue(Serialised(AVOVALUE::String("Hello")), 0, bus));
    EXPECT_EQ(bus, String14("Hello"));
    EXPECT_EQ(DptUsed(log), "16.001");
}

TEST_F(Facade, GivenDptAndText)
{
    KNXDPT dpt = Dpt(9, 1);
    KnxStack::GroupValue bus;
    EXPECT_TRUE(facade.ToKnxValue(dpt, Serialised(AVOVALUE::Float(21.5)), bus));
    EXPECT_EQ(bus, Bus(16, {0x0C, 0x33}));
}

TEST_F(Facade, ReadsByTheGroupValuesSize)
{
    std::string text;
    EXPECT_TRUE(facade.FromKnxValue(Bus(16, {0x0C, 0x33}), text, true));
    AVOVALUE back;
    ASSERT_TRUE(back.Deserialize(text)) << text;
    EXPECT_TRUE(SameValue(back, AVOVALUE::Float(21.5))) << text;
}

TEST_F(Facade, TwelveBitGroupValueHasNoDpt)
{
    LogCapture log;
    std::string text = "unchanged";
    EXPECT_FALSE(facade.FromKnxValue(Bus(12, {0x0C, 0x33}), text, false));
    EXPECT_EQ(text, "unchanged");
    EXPECT_THAT(log.Lines(), ElementsAre(Info("Could not find DPT for bit size 12")));
}

} // namespace
