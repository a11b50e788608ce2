// Scene number, scene control and scene information: one octet each in an ivtByte value. Expected
// octets follow the KNX layouts: control is learn bit, reserved bit 6, number; info reserves bit 7.
#include "ConverterRows.h"

using namespace ErvTest;
using namespace Erv;
using V = AVOVALUE;

namespace {

const auto Number = std::make_shared<KnxConverterSceneNumber>(IntegerRange(0, 10, 0, 10));
const auto Control = std::make_shared<KnxConverterSceneControl>(IntegerRange(0, 63, 0, 63));
const auto Info = std::make_shared<KnxConverterSceneInfo>(IntegerRange(-64, 64, 0, 255));

// The bound is the range's, the text says ">63" all the same.
const std::string NumberOutOfRange = "Scene number is out of range (>63) for SceneNumber: ";
const char* const ControlOutOfRange = "Scene number is out of range (>63) for SceneControl: 64";
const char* const WrongNumber = "Wrong DPT main number (17.001) or avo value type (ivtByte)!";
const char* const WrongControl = "Wrong DPT for Scene number (18.001) or avo value type (ivtByte).";
const char* const WrongInfo = "Wrong DPT for Scene number (26.001) or avo value type (ivtByte).";
const char* const ReservedBitUsed = "Reserved bit is used for scene number in DPT scene control!";

// clang-format off
const ToKnxCase Writing[] = {
    // Main 17, sub 1 or ivtByte: any one passes; the slot is read as an integer.
    Writes("NumberUpperEnd", Number, Dpt(17, 1), V::Byte(10), Octets(8, 10)),
    Refuses("NumberAboveRange", Number, Dpt(17, 1), V::Byte(11), NumberOutOfRange + "11"),
    Refuses("NumberNegative", Number, Dpt(17, 1), V::Integer(-1), NumberOutOfRange + "-1"),
    Writes("NumberSubOnly", Number, Dpt(5, 1), Typed(ivtString, V::Integer(7)), Octets(8, 7)),
    Writes("NumberMainOnly", Number, Dpt(17, 2), V::Integer(7), Octets(8, 7)),
    Writes("NumberTypeOnlyLowerEnd", Number, Dpt(5, 2), V::Byte(0), Octets(8, 0)),
    Refuses("NumberNone", Number, Dpt(5, 2), V::Integer(7), WrongNumber),
    Writes("ControlLearnHighestScene", Control, Dpt(18, 1), V::Byte(0xBF), Octets(8, 0xBF)),
    // The number printed is the octet without its learn bit.
    Refuses("ControlReservedWithLearn", Control, Dpt(18, 1), V::Byte(0xC0), ControlOutOfRange),
    Refuses("ControlOtherSub", Control, Dpt(18, 2), V::Byte(5), WrongControl),
    Refuses("ControlNotByte", Control, Dpt(18, 1), V::Integer(5), WrongControl),
    Writes("InfoBit6PassesThrough", Info, Dpt(26, 1), V::Byte(0x7F), Octets(8, 0x7F)),
    Refuses("InfoReservedBit", Info, Dpt(26, 1), V::Byte(0x80), "Reserved bit 8 is set for SceneInfo; skipped."),
    Refuses("InfoOtherMain", Info, Dpt(18, 1), V::Byte(5), WrongInfo),
    Refuses("InfoNotByte", Info, Dpt(26, 1), V::Integer(5), WrongInfo),
};

// The value map has set the type before: ivtInteger, the table's type for 17.x and 18.x. Control
// and info leave it; the number stores a refused octet with it.
const V Prepared = V::Integer(0x5A);
const FromKnxCase Reading[] = {
    Reads("NumberUpperEnd", Number, Dpt(17, 1), Octets(8, 10), V::Byte(10), Prepared),
    {"NumberAboveRangeIsStored", Number, Dpt(17, 1), Octets(8, 11), Prepared, false, Typed(ivtInteger, V::Byte(11)),
     {Error(NumberOutOfRange + "11")}},
    Reads("NumberSubOnly", Number, Dpt(5, 1), Octets(8, 5), V::Byte(5), Prepared),
    Reads("NumberMainOnly", Number, Dpt(17, 2), Octets(8, 5), V::Byte(5), Prepared),
    Rejects("NumberNeither", Number, Dpt(5, 2), Octets(8, 5), "Wrong DPT main number (17.001)!"),
    Reads("ControlLearnScene5", Control, Dpt(18, 1), Octets(8, 0x85), Typed(ivtInteger, V::Byte(0x85)), Prepared),
    Rejects("ControlReservedBit", Control, Dpt(18, 1), Octets(8, 0x40), ReservedBitUsed),
    Rejects("ControlOtherSub", Control, Dpt(18, 0), Octets(8, 5), "Wrong DPT for Scene number, only 18.001 is valid."),
    Reads("InfoBit6PassesThrough", Info, Dpt(26, 1), Octets(8, 0x7F), Typed(ivtInteger, V::Byte(0x7F)), Prepared),
    Rejects("InfoReservedBit", Info, Dpt(26, 1), Octets(8, 0x80), ReservedBitUsed),
    Rejects("InfoOtherSub", Info, Dpt(26, 2), Octets(8, 5), "Wrong DPT for Scene number, only 26.001 is valid."),
};
// clang-format on

class ToKnx : public ::testing::TestWithParam<ToKnxCase> {};
TEST_P(ToKnx, Converts) { RunToKnx(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Scenes, ToKnx, ::testing::ValuesIn(Writing), CaseName<ToKnxCase>);

class FromKnx : public ::testing::TestWithParam<FromKnxCase> {};
TEST_P(FromKnx, Converts) { RunFromKnxSlotExact(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Scenes, FromKnx, ::testing::ValuesIn(Reading), CaseName<FromKnxCase>);

TEST(SceneConverters, GroupValueThatDoesNotFitIsRefused)
{
    RunUnfitGroupValue(*Number, Dpt(17, 1), Octets(16, 0x0102));
    RunUnfitGroupValue(*Control, Dpt(18, 1), Octets(16, 0x0102));
    RunUnfitGroupValue(*Info, Dpt(26, 1), Octets(16, 0x0102));
}

} // namespace
