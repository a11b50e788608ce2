// The library's answer for one value, in the words ervom prints: decoding payload bytes of a DPT
// (decode, monitor, read) and encoding a typed value (encode, write). Every command that shows a
// value goes through here, so a telegram on the bus reads exactly as `ervom decode` reads it.
#pragma once

#include "Cli.h"
#include "ValueText.h"

#include "ErvObjectModel/KnxValueConverter.h"
#include "KnxStack/GroupValue.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace Ervom {

enum class Outcome { Decoded, Refused, Unknown };

const char* OutcomeName(Outcome outcome);

struct Decoded {
    Outcome outcome = Outcome::Refused;
    std::string dpt;
    unsigned bits = 0;
    std::string bytes;
    std::string type;
    std::string subType;
    std::string value;
    std::string serialized;
    std::string message; // the library's refusal, or what it logged about a value it let through
};

// One converter for the whole run: the table is built once, as a host does. Not thread-safe: the
// library's messages are collected per call.
class Decoder {
public:
    // `bits` 0: the DPT's own size where the bytes hold it, else 8 per byte.
    Decoder(bool byNumber, unsigned bits, LibraryMessages& messages);

    void Decode(const DptText& text, const std::vector<unsigned char>& bytes, Decoded& out);

private:
    const std::string& DptName(std::uint16_t main, std::uint16_t sub);
    void ByTable(const DptText& text, const KnxStack::GroupValue& groupValue, Decoded& out);
    void ByNumber(const DptText& text, const KnxStack::GroupValue& groupValue, Decoded& out);
    void Unknown(Decoded& out) const;
    void Refused(Decoded& out) const;
    void Fill(const AVOVALUE& value, std::string subType, Decoded& out) const;

    Erv::KnxValueConverter m_converter;
    std::unordered_map<std::uint32_t, std::string> m_dptNames;
    bool m_byNumber;
    unsigned m_bits;
    LibraryMessages& m_messages;
};

struct Encoded {
    Outcome outcome = Outcome::Refused;
    std::string dpt; // with the bit size the table gives it
    KnxStack::GroupValue groupValue;
    AVOVALUE value;
    std::string message; // the library's refusal, or what it logged about a value it let through
};

// VALUE read as the DPT's value type holds it (ParseValue), then the table-driven converter.
// Throws UsageError when the text is not of that form.
Encoded EncodeByTable(const DptText& text, const std::string& valueText, LibraryMessages& messages);

// What `encode` and `write` print when the library has no entry for the DPT.
extern const char* const AcceptedUnchecked;

} // namespace Ervom
