// simulate: the synchronous request engine against the simulated device stack.
#include "Commands.h"

namespace Ervom {

int RunSimulate(const Invocation&)
{
    throw UsageError("simulate is not available yet");
}

} // namespace Ervom
