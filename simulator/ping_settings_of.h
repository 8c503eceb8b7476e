// What the state of the simulated sonar says for its next ping.
#pragma once

#include <span>

#include <protocol/record_layout.h>
#include <simulator/acoustics/ping_settings.h>
#include <simulator/sonar_state.h>

namespace qx5::simulator {

/// In the units of the acoustics. Values that no ping can be made of, such as an infinite gate, are handed on as they
/// are: acoustics::WhatIsWrong tells of them. On the thread of the state.
acoustics::PingSettings PingSettingsOf(SonarState const& sonar);

/// The keys that it reads; all others change nothing of what the sonar hears.
std::span<protocol::Key const* const> KeysOfPingSettings();

} // namespace qx5::simulator
