// encode: an application value to the payload bytes of a DPT.
#include "Commands.h"
#include "ValueCodec.h"
#include "ValueText.h"

#include "ErvObjectModel/GroupValueAvoValue.h"
#include "ErvObjectModel/KnxLumMapping.h"
#include "ErvObjectModel/KnxValueConverter.h"

#include <boost/optional.hpp>

#include <iostream>

namespace Ervom {

namespace {

const CommandHelp Help = {
    "ervom encode [options] DPT VALUE...",
    "Encodes VALUE for the DPT as the library does and prints the payload bytes, e.g. 0C 33. VALUE\n"
    "is read as the DPT's value type holds it: a number, true or false, a text, a time HH:MM:SS with\n"
    "an optional weekday (Mon..Sun), a date YYYY-MM-DD, a date and time YYYY-MM-DD HH:MM:SS. Words\n"
    "after the DPT are joined with blanks, so a text or a date and time need no quotes. With\n"
    "--serialized, VALUE is the value library's serialised text (3:21.5, 6:9, 10:Hello), which\n"
    "carries its own type, and goes through the library's string-level converter. DPT 0 lets the\n"
    "library choose the DPT from the serialised value's type and --bits.\n"
    "--format tsv prints the DPT, bits, bytes and the value as read. Exit status 1 when the library\n"
    "refused the value or has no entry for the DPT, 2 when VALUE is not of the expected form.",
    "  ervom encode 9.001 21.5                   0C 33\n"
    "  ervom encode 1.001 true                   01\n"
    "  ervom encode 10.001 Tue 12:30:00          time of day with weekday\n"
    "  ervom encode 16.001 Hello world           14-byte text\n"
    "  ervom encode 19.001 2024-03-01 12:00:00   date and time\n"
    "  ervom encode --by-number 3.007 11         a dimming step (the DPT table takes none)\n"
    "  ervom encode --by-number 8.001 -40000     clamped by the direct mapping, which says so\n"
    "  ervom encode 0 --serialized 10:Hi --bits 8\n"};

void PrintResult(const Invocation& invocation, const std::string& dpt, const KnxStack::GroupValue& groupValue,
                 const AVOVALUE& value)
{
    // A value can go out and still be worth a word, e.g. a number the direct mapping clamped.
    if (!invocation.messages->Lines().empty())
        *invocation.err << "ervom encode: the library logged: " << invocation.messages->Joined("") << '\n';
    const std::string bytes = groupValue.GetRawData().ToString();
    if (invocation.common.format == Format::Human) {
        *invocation.out << bytes << '\n';
        return;
    }
    Record()
        .Add("DPT", dpt)
        .Add("bits", std::to_string(groupValue.GetDefinedSize()))
        .Add("bytes", bytes)
        .Add("type", AVOVALUE::GetNameFromValueType(value.ivt))
        .Add("value", value.ToString())
        .Print(*invocation.out, invocation.common.format);
}

int Refused(const Invocation& invocation)
{
    *invocation.err << "ervom encode: refused: "
                    << invocation.messages->Joined("the library refused the value without a message") << '\n';
    return ExitRefused;
}

// `consequence` says what the library does with a value for a DPT it does not know.
int Unknown(const Invocation& invocation, const std::string& dpt, const char* consequence)
{
    *invocation.err << "ervom encode: unknown DPT " << dpt << ": "
                    << invocation.messages->Joined("the library has no entry for this DPT") << consequence << '\n';
    return ExitRefused;
}

int ByTable(const Invocation& invocation, const DptText& text, const std::string& valueText, bool serialized,
            unsigned bits)
{
    Erv::KnxValueConverter converter;
    converter.Init();
    Erv::ErvKnxValueConverter textConverter;
    textConverter.Init();
    KnxStack::GroupValue groupValue;
    LibraryMessages& messages = *invocation.messages;

    if (text.main == 0) {
        // No DPT: the library picks one from the value's type and the size.
        if (!serialized)
            throw UsageError("with DPT 0 the library chooses the DPT from the value's type: give VALUE with "
                             "--serialized (and the size with --bits)");
        const AVOVALUE value = ParseSerialized(valueText);
        KNXDPT chosen{static_cast<std::uint8_t>(bits), 0, 0};
        messages.Clear();
        if (!textConverter.ToKnxValue(valueText, bits, groupValue))
            return Refused(invocation);
        Erv::KnxValueConverter::GetDefaultMappingDptForValueType(chosen, value);
        if (!converter.FindEntry(chosen))
            return Unknown(invocation, ToString(chosen), AcceptedUnchecked);
        PrintResult(invocation, ToString(chosen), groupValue, value);
        return ExitSuccess;
    }

    if (!serialized) {
        const Encoded encoded = EncodeByTable(text, valueText, messages);
        if (encoded.outcome == Outcome::Unknown)
            return Unknown(invocation, encoded.dpt, AcceptedUnchecked);
        if (encoded.outcome == Outcome::Refused)
            return Refused(invocation);
        PrintResult(invocation, encoded.dpt, encoded.groupValue, encoded.value);
        return ExitSuccess;
    }
    KNXDPT dpt = text.ToKnxDpt(0);
    messages.Clear();
    const Erv::DptValueEntry* entry = converter.FindEntry(dpt);
    if (!entry) {
        textConverter.ToKnxValue(dpt, valueText, groupValue); // for the library's own words
        return Unknown(invocation, ToString(dpt), AcceptedUnchecked);
    }
    dpt.bitSize = entry->GetDpt().bitSize;
    const AVOVALUE value = ParseSerialized(valueText);
    messages.Clear();
    if (!textConverter.ToKnxValue(dpt, valueText, groupValue))
        return Refused(invocation);
    PrintResult(invocation, ToString(dpt), groupValue, value);
    return ExitSuccess;
}

int ByNumber(const Invocation& invocation, const DptText& text, const std::string& valueText, bool serialized)
{
    const unsigned long number = text.Number();
    const AvoValueType type = Erv::KnxLumMapping::GetIvtFromDpt(static_cast<unsigned int>(number));
    AVOVALUE value;
    if (serialized)
        value = ParseSerialized(valueText);
    else if (type != ivtEmpty)
        value = ParseValue(valueText, type);
    invocation.messages->Clear();
    const boost::optional<KnxStack::GroupValue> groupValue = Erv::AvoValueToGroupValue(value, number);
    if (!groupValue) {
        // A main number without a row in the library's lookups has no default value either.
        const bool known = Erv::KnxLumMapping::GetDefaultValueFromDpt(number, false).has_value();
        return known ? Refused(invocation) : Unknown(invocation, ToString(text.ToKnxDpt(0)), "");
    }
    PrintResult(invocation, ToString(text.ToKnxDpt(0)), *groupValue, value);
    return ExitSuccess;
}

} // namespace

int RunEncode(const Invocation& invocation)
{
    bool byNumber = false;
    bool serialized = false;
    unsigned bits = 0;
    po::options_description visible("Options");
    // clang-format off
    visible.add_options()
        ("by-number", po::bool_switch(&byNumber), "use the direct mapping by DPT number instead of the DPT table")
        ("serialized", po::bool_switch(&serialized), "VALUE is a serialised value, e.g. 3:21.5")
        ("bits", po::value(&bits)->value_name("N"), "with DPT 0: the size the library chooses the DPT for");
    // clang-format on
    po::variables_map values;
    std::vector<std::string> args;
    if (!ParseCommand(invocation, Help, visible, values, args))
        return ExitSuccess;

    if (args.size() < 2)
        throw UsageError("give a DPT and a value, e.g. 'encode 9.001 21.5'");
    if (bits > 255)
        throw UsageError("--bits must be 0 to 255");
    const DptText dpt = ParseDptOrThrow(args[0]);
    const std::string valueText = JoinWords(args, 1);
    if (byNumber)
        return ByNumber(invocation, dpt, valueText, serialized);
    return ByTable(invocation, dpt, valueText, serialized, bits);
}

} // namespace Ervom
