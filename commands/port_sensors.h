// The commands for sensors on the sonar's serial inputs, remote I/O, mounting and deck mode, as tables.
#pragma once

#include "command.h"
#include <protocol/records/port_sensors.h>

namespace qx5::commands {

namespace port_sensors {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Operand portSensorKeys[]{
    keys::x5ZdaBaudrate, keys::x5ZdaParity,   keys::x5ZdaDatabits, keys::x5ZdaStopBits, keys::x5GgaBaudrate,
    keys::x5GgaParity,   keys::x5GgaDatabits, keys::x5GgaStopBits, keys::x5SvpBaudrate, keys::x5SvpParity,
    keys::x5SvpDatabits, keys::x5SvpStopBits, keys::x5HprBaudrate, keys::x5HprParity,   keys::x5HprDatabits,
    keys::x5HprStopBits, keys::x5HdtBaudrate, keys::x5HdtParity,   keys::x5HdtDatabits, keys::x5HdtStopBits,
};
inline constexpr Sending portSensorSends[]{{records::PortSensors}};

inline constexpr Operand sensorSelectionKeys[]{keys::x5UseBuildInPOSMV, keys::x5UseAttachedSVP};
inline constexpr Sending sensorSelectionSends[]{{records::SensorSelection}};

inline constexpr Operand motionUnitPowerKeys[]{keys::x5PowerBuiltInHPR};
inline constexpr Sending motionUnitPowerSends[]{{records::BuiltInMotionUnitPower}};

// Echoed as they stand in the record: a text that is cut there is cut in the echo, be it inside of a character.
inline constexpr Operand remoteIoKeys[]{
    {keys::x5QMIOAddress1, {.echo = Echo::AsSent}},
    {keys::x5QMIOAddress2, {.echo = Echo::AsSent}},
    {keys::x5QMIOAddress3, {.echo = Echo::AsSent}},
};
inline constexpr Sending remoteIoSends[]{{records::RemoteIoAddresses}};

inline constexpr Operand sonarMountingKeys[]{keys::ATTR_ROLLCOR};
inline constexpr Sending sonarMountingSends[]{{records::SonarMounting}};

inline constexpr Operand deckModeKeys[]{keys::x5DeckMode};
inline constexpr Sending deckModeSends[]{{records::DeckMode, Processor}};

} // namespace port_sensors

QX5_COMMAND(RequestPortSensorConfiguration) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = port_sensors::portSensorKeys,
    .sends = port_sensors::portSensorSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSensorsSettings) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = port_sensors::sensorSelectionKeys,
    .sends = port_sensors::sensorSelectionSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestPowerBuiltInPOSMV) = {
    .form = Form::Presence,
    .operands = port_sensors::motionUnitPowerKeys,
    .sends = port_sensors::motionUnitPowerSends,
};

QX5_COMMAND(RequestQMIOAddresses) = {
    .form = Form::Strict,
    .operands = port_sensors::remoteIoKeys,
    .sends = port_sensors::remoteIoSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSonarMounting) = {
    .form = Form::Direct,
    .operands = port_sensors::sonarMountingKeys,
    .sends = port_sensors::sonarMountingSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestDeckMode) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = port_sensors::deckModeKeys,
    .sends = port_sensors::deckModeSends,
    .echoFlags = 0,
};

} // namespace qx5::commands
