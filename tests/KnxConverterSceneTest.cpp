// Scene number, scene control and scene information: one octet each, carried whole in an ivtByte
// value. Expected octets follow the KNX layouts: scene control is learn bit, reserved bit 6, scene
// number (85 = learn scene 5); scene info has bit 7 reserved.
#include "ConverterCases.h"

using namespace ErvTest;
using namespace Erv;

namespace {

using Converter = std::shared_ptr<const KnxConverter>;

const Converter Number = std::make_shared<KnxConverterSceneNumber>(IntegerRange(0, 63, 0, 63));
const Converter NumberTo10 = std::make_shared<KnxConverterSceneNumber>(IntegerRange(0, 10, 0, 10));
const Converter Control = std::make_shared<KnxConverterSceneControl>(IntegerRange(0, 63, 0, 63));
const Converter Info = std::make_shared<KnxConverterSceneInfo>(IntegerRange(-64, 64, 0, 255));

AVOVALUE Typed(AvoValueType type, AVOVALUE value)
{
    value.ivt = type;
    return value;
}

ToKnxCase Writes(const char* name, Converter c, KNXDPT dpt, AVOVALUE value, unsigned char octet)
{
    return {name, std::move(c), dpt, std::move(value), true, Bus(8, {octet}), {}};
}

ToKnxCase Refuses(const char* name, Converter c, KNXDPT dpt, AVOVALUE value, const std::string& error)
{
    return {name, std::move(c), dpt, std::move(value), false, UntouchedBus(), {Error(error)}};
}

// The value map has set the type before the converter runs; here it is ivtInteger, the type of
// 17.x and 18.x in the table, so that a converter that leaves the type shows it.
const AVOVALUE Prepared = AVOVALUE::Integer(0x5A);

FromKnxCase Reads(const char* name, Converter c, KNXDPT dpt, unsigned char octet, AVOVALUE after)
{
    return {name, std::move(c), dpt, Bus(8, {octet}), Prepared, true, std::move(after), {}};
}

FromKnxCase Rejects(const char* name, Converter c, KNXDPT dpt, unsigned char octet, const std::string& error)
{
    return {name, std::move(c), dpt, Bus(8, {octet}), Prepared, false, Prepared, {Error(error)}};
}

const char* const WrongNumber = "Wrong DPT main number (17.001) or avo value type (ivtByte)!";
const char* const WrongControl = "Wrong DPT for Scene number (18.001) or avo value type (ivtByte).";
const char* const WrongInfo = "Wrong DPT for Scene number (26.001) or avo value type (ivtByte).";
const char* const ReservedBitUsed = "Reserved bit is used for scene number in DPT scene control!";

std::string NumberOutOfRange(const std::string& value)
{
    return "Scene number is out of range (>63) for SceneNumber: " + value;
}

class ToKnx : public ::testing::TestWithParam<ToKnxCase> {};
TEST_P(ToKnx, Converts) { RunToKnx(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Scenes, ToKnx,
    ::testing::Values(
        Writes("NumberUpperEnd", Number, Dpt(17, 1), AVOVALUE::Byte(63), 0x3F),
        Writes("NumberZero", Number, Dpt(17, 1), AVOVALUE::Byte(0), 0x00),
        Refuses("Number64", Number, Dpt(17, 1), AVOVALUE::Byte(64), NumberOutOfRange("64")),
        Refuses("NumberNegative", Number, Dpt(17, 1), AVOVALUE::Integer(-1), NumberOutOfRange("-1")),
        // The bound is the range's; the text keeps saying ">63".
        Refuses("NumberAboveNarrowRange", NumberTo10, Dpt(17, 1), AVOVALUE::Byte(11), NumberOutOfRange("11")),
        // Main 17, sub 1 or ivtByte: any one passes; the slot is read as an integer.
        Writes("NumberSubOnly", Number, Dpt(5, 1), Typed(ivtString, AVOVALUE::Integer(7)), 0x07),
        Writes("NumberMainOnly", Number, Dpt(17, 2), AVOVALUE::Integer(7), 0x07),
        Writes("NumberTypeOnly", Number, Dpt(5, 2), AVOVALUE::Byte(7), 0x07),
        Refuses("NumberNone", Number, Dpt(5, 2), AVOVALUE::Integer(7), WrongNumber),
        Writes("ControlLearnScene5", Control, Dpt(18, 1), AVOVALUE::Byte(0x85), 0x85),
        Writes("ControlHighestScene", Control, Dpt(18, 1), AVOVALUE::Byte(0xBF), 0xBF),
        // The number printed is the octet without its learn bit.
        Refuses("ControlReservedBit", Control, Dpt(18, 1), AVOVALUE::Byte(0x45),
                "Scene number is out of range (>63) for SceneControl: 69"),
        Refuses("ControlReservedWithLearn", Control, Dpt(18, 1), AVOVALUE::Byte(0xC0),
                "Scene number is out of range (>63) for SceneControl: 64"),
        Refuses("ControlOtherSub", Control, Dpt(18, 2), AVOVALUE::Byte(5), WrongControl),
        Refuses("ControlOtherMain", Control, Dpt(17, 1), AVOVALUE::Byte(5), WrongControl),
        Refuses("ControlNotByte", Control, Dpt(18, 1), AVOVALUE::Integer(5), WrongControl),
        Writes("InfoBit6PassesThrough", Info, Dpt(26, 1), AVOVALUE::Byte(0x7F), 0x7F),
        Refuses("InfoReservedBit", Info, Dpt(26, 1), AVOVALUE::Byte(0x80),
                "Reserved bit 8 is set for SceneInfo; skipped."),
        Refuses("InfoOtherSub", Info, Dpt(26, 2), AVOVALUE::Byte(5), WrongInfo),
        Refuses("InfoNotByte", Info, Dpt(26, 1), AVOVALUE::Integer(5), WrongInfo)),
    CaseName<ToKnxCase>);

class FromKnx : public ::testing::TestWithParam<FromKnxCase> {};
TEST_P(FromKnx, Converts) { RunFromKnxSlotExact(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Scenes, FromKnx,
    ::testing::Values(
        Reads("NumberUpperEnd", Number, Dpt(17, 1), 0x3F, AVOVALUE::Byte(63)),
        // Stored before the range check: the slot holds 64, the type is still the caller's.
        FromKnxCase{"Number64IsStored", Number, Dpt(17, 1), Bus(8, {0x40}), Prepared, false,
                    Typed(ivtInteger, AVOVALUE::Byte(64)), {Error(NumberOutOfRange("64"))}},
        Reads("NumberSubOnly", Number, Dpt(5, 1), 0x05, AVOVALUE::Byte(5)),
        Reads("NumberMainOnly", Number, Dpt(17, 2), 0x05, AVOVALUE::Byte(5)),
        Rejects("NumberNeither", Number, Dpt(5, 2), 0x05, "Wrong DPT main number (17.001)!"),
        // Control and info write the slot and leave the type to the caller.
        Reads("ControlLearnScene5", Control, Dpt(18, 1), 0x85, Typed(ivtInteger, AVOVALUE::Byte(0x85))),
        Reads("ControlHighestScene", Control, Dpt(18, 1), 0xBF, Typed(ivtInteger, AVOVALUE::Byte(0xBF))),
        Rejects("ControlReservedBit", Control, Dpt(18, 1), 0x40, ReservedBitUsed),
        Rejects("ControlReservedWithLearn", Control, Dpt(18, 1), 0xC0, ReservedBitUsed),
        Rejects("ControlOtherSub", Control, Dpt(18, 0), 0x05, "Wrong DPT for Scene number, only 18.001 is valid."),
        Reads("InfoBit6PassesThrough", Info, Dpt(26, 1), 0x7F, Typed(ivtInteger, AVOVALUE::Byte(0x7F))),
        Rejects("InfoReservedBit", Info, Dpt(26, 1), 0x80, ReservedBitUsed),
        Rejects("InfoOtherSub", Info, Dpt(26, 2), 0x05, "Wrong DPT for Scene number, only 26.001 is valid.")),
    CaseName<FromKnxCase>);

TEST(SceneConverters, GroupValueThatDoesNotFitIsRefused)
{
    RunUnfitGroupValue(*Number, Dpt(17, 1), Bus(16, {0x01, 0x02}));
    RunUnfitGroupValue(*Control, Dpt(18, 1), Bus(16, {0x01, 0x02}));
    RunUnfitGroupValue(*Info, Dpt(26, 1), Bus(16, {0x01, 0x02}));
}

} // namespace
