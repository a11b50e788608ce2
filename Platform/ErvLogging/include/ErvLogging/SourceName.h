#pragma once

#include "ErvLogging/Export.h"

#include <string>

namespace Erv {

// The name by which messages refer to a source file: the path as compiled, without extension
// ("Include/Erv/Unreachable.h" -> "Include/Erv/Unreachable").
ERVLOGGING_EXPORT std::string SourceName(const char* file);

} // namespace Erv
