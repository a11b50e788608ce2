// Value types and sub types of the application's tagged value. The numbers are binding: tables
// of the object model and the DPT mapping refer to them.
#pragma once

#include "AvoValue/Export.h"

#include <cstdint>
#include <string>

enum AvoValueType : std::int32_t {
    ivtInvalid = 0, // a reading that the bus marked invalid
    ivtEmpty = 1,   // no value
    ivtBool = 2,
    ivtFloat = 3,
    ivtInteger = 4,
    ivtChar = 5,
    ivtByte = 6,
    ivtWord = 7,
    ivtDWord = 8,
    ivtBinary = 9,
    ivtString = 10,
    ivtDate = 11,
    ivtTime = 12,
    ivtDateTime = 13,
    ivtLong = 14,
    ivtDayTime = 15,
    ivtCounter = 20,
    ivtTimestamp = 102,
    ivtDuration = 104,
    ivtDay = 105,
    ivtUtcDateTime = 201,
    ivtPercent = 1005,
    ivtEnum8 = 1021,
    ivtScaling = 1036,
    ivtDimming = 1037,
    ivtAngle = 1039,
};

namespace AvoDP {

enum AvoValueSubType : std::int32_t {
    istGeneric = 0,
    istSigned8 = 9,
    istSigned16 = 12,
    istSwitch = 2001,
    istStatusMode = 3001,
    istDimmingControl = 3002,
    istKnxFloat = 3003,
    istSceneNumber = 4001,
    istAscii = 8001,
    istLatin1 = 8002,
};

// The enumerator's name, e.g. "istKnxFloat"; "istUnknown(<number>)" for any other number.
AVOVALUE_EXPORT std::string GetNameFromValueSubType(AvoValueSubType subType);

} // namespace AvoDP
