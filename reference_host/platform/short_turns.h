// How soon the system gives a thread the processor again: the calls of each platform.
#pragma once

#include <VordalBaseR/Export.h>

namespace vordal::platform {

/// Has the calling thread take the processor in short turns, if the system can: one that wakes then need not wait until
/// the turn of another is over, which on a machine with fewer free processors than busy threads takes milliseconds.
/// What share of the processors it gets does not change.
VORDAL_API void TakeShortTurns() noexcept;

} // namespace vordal::platform
