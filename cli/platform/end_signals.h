// The signals by which a terminal or the system asks a program to end, turned into something that an event loop can
// watch.
#pragma once

namespace qx5::cli {

/// While it lives, a request to end (Ctrl-C, a terminal that goes, the system's own) does not end the process at once
/// but makes the descriptor readable; a second one ends it as ever. One at a time in a process.
class EndSignals
{
public:
    /// Throws std::system_error when the system has no descriptor left.
    EndSignals();
    EndSignals(EndSignals const&) = delete;
    EndSignals& operator=(EndSignals const&) = delete;
    ~EndSignals();

    int Descriptor() const;

    /// Ends the process as the request to end would have done, if there was one; to be called once all is in order.
    static void PassOn();
};

} // namespace qx5::cli
