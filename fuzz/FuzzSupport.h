// What every fuzz target shares: a reader that turns the fuzzer's bytes into typed arguments,
// values and group values built from them, and the properties a target checks beyond "no crash".
//
// Every target calls Setup() once (from its first input) and LogLines::Reset() before each call
// under test. All log levels are enabled and each line is composed, so the text of every message,
// DEBUG traces included, is built from the untrusted input too; the lines themselves are dropped.
#pragma once

#include "AvoValue/AvoValue.h"
#include "KnxStack/GroupValue.h"
#include "KnxStack/KnxDpt.h"

#include <cstddef>
#include <cstdint>
#include <string>

// The libFuzzer entry point; the replay driver calls the same function.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace ErvFuzz {

// Reads the input front to back; once it is used up, every read gives zeros or an empty text, so
// any input is a valid call.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    std::uint8_t U8();
    std::uint16_t U16();
    std::uint32_t U32();
    std::uint64_t U64();
    bool Bool() { return (U8() & 1) != 0; }
    // Up to `maxLength` bytes, the count taken from the input first.
    std::string Bytes(std::size_t maxLength);
    // Everything that is left.
    std::string Rest();

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
};

// Any DPT: bit size, main and sub number as the input gives them.
KNXDPT AnyDpt(Input& in);
// Any group value: a defined size of 0 to 65535 bits, whatever the bytes, and up to 32 raw bytes,
// the most the bus record holds.
KnxStack::GroupValue AnyGroupValue(Input& in);
// Any application value: a type number (most often a known one), the number slot's 64 bits, every
// calendar field and a text.
AVOVALUE AnyValue(Input& in);

// Log lines since the last Reset() that a host's usual configuration shows.
struct LogLines {
    static void Reset();
    static int Reported(); // INFO and above
};

// Logging on at every level into a counter, the time zone fixed. Idempotent.
void Setup();

// A property of the library that failed for this input: printed with the input's reading and
// turned into a crash, so that the fuzzer keeps the input as a finding.
[[noreturn]] void Violated(const char* property, const std::string& detail);

// One converter of the given class for the whole run, initialised on first use as a host does it
// at start-up.
template <class Converter>
const Converter& InitialisedOnce()
{
    static Converter converter;
    static const bool initialised = converter.Init();
    if (!initialised)
        Violated("the converter initialises", "Init() returned false");
    return converter;
}

// For messages about an input: "9.001 (16 bits)", "16 bits: 0C 1A", "ivtFloat(21.5)".
std::string Describe(const KNXDPT& dpt);
std::string Describe(const KnxStack::GroupValue& bus);
std::string Describe(const AVOVALUE& value);

// A refusal must say why: a false or empty result without a line that a host's usual logging shows
// leaves an integrator with nothing but the bytes. Most refusals are ERROR lines; a conversion that
// finds no DPT for a bit size says so at INFO. `describe` names the input; it is called only on a
// violation, so that passing inputs cost no text.
bool RefusedSilently(bool succeeded);
template <class Describe>
void RequireRefusalLogged(bool succeeded, const char* operation, Describe describe)
{
    if (RefusedSilently(succeeded))
        Violated("a refusal writes a log line",
                 std::string(operation) + " returned no result, silently: " + describe());
}

} // namespace ErvFuzz
