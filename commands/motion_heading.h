// The commands for motion and heading sensors, as tables.
#pragma once

#include "command.h"
#include <protocol/records/motion_heading.h>

namespace qx5::commands {

namespace motion_heading {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Operand motionSensorKeys[]{
    keys::x5MotionSensorFormat,   keys::x5MotionSensorBaudrate, keys::x5MotionSensorParity,
    keys::x5MotionSensorDataBits, keys::x5MotionSensorStopBits, keys::x5MotionSensorOrientation,
    keys::x5MotionSensorLatency,
};
inline constexpr Sending motionSensorSends[]{{records::MotionSensor}};

inline constexpr Operand headingSensorKeys[]{
    keys::x5HeadingSensorFormat,   keys::x5HeadingSensorBaudrate, keys::x5HeadingSensorParity,
    keys::x5HeadingSensorDataBits, keys::x5HeadingSensorStopBits,
};
inline constexpr Sending headingSensorSends[]{{records::HeadingSensor}};

} // namespace motion_heading

QX5_COMMAND(RequestMotionSensorConfiguration) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = motion_heading::motionSensorKeys,
    .sends = motion_heading::motionSensorSends,
    .echoFlags = 0,
};

/// Without a row in the chain, and so without QX5_COMMAND: no request reaches it, the device's handler alone.
inline constexpr Command RequestHeadingSensorConfiguration = {
    .form = Form::Strict,
    .operands = motion_heading::headingSensorKeys,
    .sends = motion_heading::headingSensorSends,
    .echoFlags = 0,
};

} // namespace qx5::commands
