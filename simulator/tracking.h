// The tracker of the simulated sonar: what its switches and limits are, and how what it proposes becomes the sonar's
// own settings.
#pragma once

#include <optional>

#include <simulator/acoustics/tracker.h>
#include <simulator/sonar_state.h>

namespace qx5::simulator {

/// With what a ping's echoes are judged.
struct Tracking
{
    acoustics::TrackerSwitches switches;
    acoustics::TrackerLimits limits;
};

/// Nothing while the sonar is in another mode or no switch is on.
std::optional<Tracking> TrackingOf(SonarState const& sonar);

/// Takes up what the tracker proposes after a ping that was made with `settings`: a value that somebody has changed
/// since stays, and a sonar that transmits nothing goes on transmitting nothing. True when the sonar has something to
/// report.
bool TakeUp(acoustics::TrackedSettings const& proposed, acoustics::PingSettings const& settings, SonarState& sonar);

} // namespace qx5::simulator
