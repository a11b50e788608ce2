// The commands of ervom, one family per source file. Each returns its exit status and throws
// UsageError for what it cannot read.
#pragma once

#include "Cli.h"

namespace Ervom {

int RunDecode(const Invocation& invocation);
int RunEncode(const Invocation& invocation);
int RunDpts(const Invocation& invocation);
int RunId(const Invocation& invocation);
int RunConfig(const Invocation& invocation);
int RunSimulate(const Invocation& invocation);
int RunGaMap(const Invocation& invocation);
#ifdef ERVOM_WITH_KNXD
int RunMonitor(const Invocation& invocation);
int RunRead(const Invocation& invocation);
int RunWrite(const Invocation& invocation);
#endif

} // namespace Ervom
