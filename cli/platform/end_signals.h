// The signals by which a terminal or the system asks a program to end, turned into something that an event loop can
// watch.
#pragma once

namespace qx5::cli {

/// While it lives, a request to end (Ctrl-C, a terminal that goes, the system's own) does not end the process but makes
/// the descriptor readable, however often it comes: systems that shut down send several. The third Ctrl-C ends the
/// process as ever, for one that hangs. One at a time in a process.
class EndSignals
{
public:
    /// Throws std::system_error when the system has no descriptor left.
    EndSignals();
    EndSignals(EndSignals const&) = delete;
    EndSignals& operator=(EndSignals const&) = delete;
    ~EndSignals();

    int Descriptor() const;
    /// Requests to end since the last one was made. From the second on there is haste. Any thread.
    static int Count();

    /// Ends the process as the request to end would have done, if there was one; to be called once all is in order.
    static void PassOn();
};

} // namespace qx5::cli
