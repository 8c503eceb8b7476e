// The commands for the satellite positioning and inertial unit, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command SendDGNSSGeometry{};
inline constexpr Command SendDGNSSConfiguratorXml{};
inline constexpr Command SendDGNSSSerialPortConfiguration{};
inline constexpr Command SendDgnssSerialPortCorrectionsConfig{};
inline constexpr Command SendDgnssNtripConfig{};
inline constexpr Command SendDgnssPpsConfig{};
inline constexpr Command SendInsAutoCalibration{};

} // namespace qx5::commands
