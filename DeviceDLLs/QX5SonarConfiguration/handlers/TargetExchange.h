// The commands for target lists, detection-unit settings, user role and system events, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command SychronizeTargetManagersHandler{};
inline constexpr Command SendTargetList{};
inline constexpr Command RequestAScanSetupMonitorerStatus{};
inline constexpr Command SendImageEnhancementMode{};
inline constexpr Command SendDetectionSensitivity{};
inline constexpr Command SendDetectorAlgorithm{};
inline constexpr Command SendCADBeamAndSampleSetting{};
inline constexpr Command SendUserRole{};
inline constexpr Command SendSystemEvent{};

} // namespace qx5::commands
