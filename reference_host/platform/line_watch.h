// How the system finds out that the far end of a connection is gone, on every platform.
#pragma once

#include <chrono>
#include <cstddef>

namespace vordal {

/// When a connection whose far end acknowledges nothing counts as lost. A sonar on a survey network answers within
/// milliseconds; whoever waits for its turn after it waits for all of this time. A value of 0 leaves that one to the
/// system, which on Linux means a quarter of an hour for data under way and two hours for a quiet connection.
struct LineWatch
{
    /// Data that is under way, or waits for the sonar to take more, may go without progress for so long. Also the limit
    /// of a quiet connection, from the last sign of life on.
    std::chrono::milliseconds unacknowledged{2000};
    /// A connection on which nothing has passed for so long is asked for a sign of life.
    std::chrono::seconds keepaliveIdle{1};
    /// Time from one such question to the next.
    std::chrono::seconds keepaliveInterval{1};
    /// Unanswered questions after which the connection is lost; counts only where `unacknowledged` is 0.
    int keepaliveCount = 2;

    friend bool operator==(LineWatch const&, LineWatch const&) = default;
};

namespace platform {

/// Sets the watch on a connected TCP socket; what the system does not have is left out.
void WatchLine(int socket, LineWatch const& watch);

/// Bytes given to the system that the far end has not acknowledged; also right after the connection has failed.
std::size_t UnacknowledgedBytes(int socket);

} // namespace platform
} // namespace vordal
