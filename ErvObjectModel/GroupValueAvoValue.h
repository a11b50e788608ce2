// Application values and group values by DPT number, and the text repair their callers need.
//
//   const unsigned long dpt = 9ul << 16 | 1;                             // 9.001, 589825
//   auto bus = Erv::AvoValueToGroupValue(AVOVALUE::Float(21.5), dpt);   // 16 bits: 0C 33
//   auto value = Erv::GroupValueToAvoValue(*bus, dpt);                  // ivtFloat(21.5)
//
// The DPT number carries the main number in its upper and the sub number in its lower 16 bits.
// The main number alone picks the bus encoding; the value type that goes with it comes from
// KnxLumMapping::GetIvtFromDpt. Every refusal is one log line and an empty result; nothing throws.
// Thread-safe: no state besides the DPT table that CheckGroupValue builds once on first use.
#pragma once

#include "ErvObjectModel/Export.h"

#include "AvoValue/AvoValue.h"
#include "ErvLogging/Text.h"
#include "KnxStack/GroupValue.h"

#include <boost/optional.hpp>

#include <string>

namespace Erv {

// The value's type must be the DPT's. 16-bit numbers out of range are logged and clamped, and
// still sent; DPT 31 is received only.
ERVOBJECTMODEL_EXPORT boost::optional<KnxStack::GroupValue> AvoValueToGroupValue(const AVOVALUE& value, unsigned long dpt);

// Checked with CheckGroupValue first. Decoding is timed; from 100 ms on, its duration is logged.
// A date and time that a signed 32-bit count of seconds cannot hold (after 2038-01-19 03:14:07,
// before 1901-12-13 20:45:52 UTC) comes back as a value of type ivtEmpty.
ERVOBJECTMODEL_EXPORT boost::optional<AVOVALUE> GroupValueToAvoValue(const KnxStack::GroupValue& groupValue, unsigned long dpt);

// Whether the DPT table's converter accepts the group value. DPTs the table lacks are accepted.
ERVOBJECTMODEL_EXPORT bool CheckGroupValue(const KnxStack::GroupValue& groupValue, unsigned long dpt);

// The text itself when it is valid UTF-8; otherwise a copy with each invalid sequence replaced by
// one '?', a sequence cut off at the end included.
ERVOBJECTMODEL_EXPORT UTF8String RepairUTF8(std::string text);

} // namespace Erv
