// Waiting for the first of several things that a command goes on for.
#pragma once

#include <chrono>
#include <optional>

namespace qx5::cli {

enum class Awaited
{
    Ready,      ///< there is something to read
    EndWanted,  ///< somebody asked the program to end
    ReaderGone, ///< nobody reads standard output any more
    TimeOver,
};

/// Waits until `descriptor` is readable, `end` is (see EndSignals; -1 for none), the reader of standard output has
/// gone, or the limit (none: never) is over.
Awaited WaitForAny(int descriptor, int end, std::optional<std::chrono::milliseconds> limit);

} // namespace qx5::cli
