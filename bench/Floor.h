// The floor the library's conversions are measured against: hand-written typed codecs behind a
// minimal table (DPT main number -> codec entry -> indirect call), reading the value from the
// tagged record, checking its tag and the bus length, and logging nothing. What a conversion by
// DPT costs at the least with these value and group-value types.
#pragma once

#include "AvoValue/AvoValue.h"
#include "KnxStack/GroupValue.h"
#include "KnxStack/KnxDpt.h"

namespace ErvBench::Floor {

bool ToKnxValue(const KNXDPT& dpt, const AVOVALUE& value, KnxStack::GroupValue& bus);
bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& bus, AVOVALUE& value);

} // namespace ErvBench::Floor
