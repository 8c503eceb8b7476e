// The operator's window on many sonars that ping, in a process of its own, and what its thread takes.
#pragma once

#include <string>

namespace bench {

struct WindowLoad
{
    double firstShow = 0.0;        ///< processor time of the window's thread until it is shown and painted, ns
    double perSecond = 0.0;        ///< of the same, in one second while all sonars ping, ns
    double processPerSecond = 0.0; ///< of the whole process, simulated sonars included, ns
    double told = 0.0;             ///< changes of one value that the shown sonar told in a second
    double shown = 0.0;            ///< of these, changes that the view showed
    double event = 0.0; ///< from a request that is refused to its line in the event list, the longest of 20, ns
    double pings = 0.0; ///< in a second, of all sonars, as the host heard them
};

/// Opens the window on that many simulated sonars, each at 50 pings a second, and measures for `seconds`. Throws
/// std::runtime_error when it does not come to that. Once in a process: it has the host of its own.
WindowLoad MeasureWindowLoad(int sonars, double seconds);

/// The same in a process of its own.
WindowLoad WindowLoadElsewhere(int sonars, double seconds);

/// As one line, and back from it.
std::string TextOf(WindowLoad const& load);

} // namespace bench
