// Which values the simulated sonar takes, and the limits that it brings them into.
#pragma once

#include <protocol/record_layout.h>
#include <protocol/value.h>
#include <simulator/sonar_state.h>

namespace qx5::simulator {

/// Brings the value inside of what the key's attribute may be as the sonar is now. False when the sonar cannot do it at
/// all (an operation mode that it does not have, a number that is none).
bool Admit(SonarState const& sonar, protocol::Key const& key, protocol::Value& value);

} // namespace qx5::simulator
