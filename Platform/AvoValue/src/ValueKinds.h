// Which field of AVOVALUE each type number uses; shared by the text form and the byte bridge.
#pragma once

#include "AvoValue/AvoValueType.h"

namespace AvoValueDetail {

enum class StorageKind { None, Boolean, Double, Signed32, Byte, Word, DWord, Text, Calendar };

struct TypeRow {
    AvoValueType type;
    const char* name;
    StorageKind kind;
};

// The row of a known type number, nullptr for any other number.
const TypeRow* FindType(AvoValueType type);

// Unknown numbers carry no payload we could interpret.
inline StorageKind KindOf(AvoValueType type)
{
    const TypeRow* row = FindType(type);
    return row ? row->kind : StorageKind::None;
}

} // namespace AvoValueDetail
