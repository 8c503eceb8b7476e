// How soon Windows gives a thread the processor again.
#include "reference_host/platform/short_turns.h"

namespace vordal::platform {

// The system has no turns of a thread's own, and one that wakes goes before those that were busy.
void TakeShortTurns() noexcept {}

} // namespace vordal::platform
