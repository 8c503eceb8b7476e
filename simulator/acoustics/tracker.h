// The tracker: from what a ping has heard it proposes the settings of the next one, for whichever switches are on.
//
// Of its types, TrackerSwitches say what it may set, TrackerLimits within what, TrackedSettings what it
// proposes. Tracker::Next is to be called once for each ping, with its echoes and the settings that it was made with.
#pragma once

#include "ping_echoes.h"
#include "ping_settings.h"

#include <vector>

namespace qx5::acoustics {

/// As the operator has set them.
struct TrackerSwitches
{
    bool on = false; ///< without it nothing is proposed
    bool range = false;
    bool powerAndGain = false; ///< and absorption and spreading
    bool pulseLength = false;
    bool coverage = false;
    bool fixedSwath = false;   ///< coverage keeps the width on the bottom
    double swathWidth = 100.0; ///< m
    bool limitCoverage = false;
    double greatestCoverage = 140.0; ///< degrees
};

/// What the sonar can do.
struct TrackerLimits
{
    std::vector<double> ranges;        ///< m, ascending
    std::vector<double> pulseLengths;  ///< s, ascending
    Interval power;                    ///< dB
    Interval gain;                     ///< dB
    Interval coverage{10.0, 140.0};    ///< degrees
    double greatestAbsorption = 200.0; ///< dB/km
    double greatestSpreading = 60.0;   ///< dB
};

/// Those that its switch is not on for, or that there is no reason to change, are as they were.
struct TrackedSettings
{
    double range = 0.0;       ///< m
    double power = 0.0;       ///< dB
    double gain = 0.0;        ///< dB
    double absorption = 0.0;  ///< dB/km
    double spreading = 0.0;   ///< dB
    double pulseLength = 0.0; ///< s
    double coverage = 0.0;    ///< degrees

    bool operator==(TrackedSettings const&) const = default;
};

/// For one thread at a time; allocates nothing once it has heard a ping of as many beams.
class Tracker
{
public:
    TrackedSettings Next(PingEchoes const& echoes, PingSettings const& settings, TrackerSwitches const& switches,
                         TrackerLimits const& limits);

private:
    std::vector<float> m_sorted;
};

} // namespace qx5::acoustics
