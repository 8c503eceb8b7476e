// The commands for the satellite positioning and inertial unit, as tables.
#pragma once

#include "command.h"
#include <protocol/records/positioning.h>

namespace qx5::commands {

namespace positioning {

namespace keys = protocol::keys;
namespace records = protocol::records;

/// Completed from a tree; found nowhere, the value is 0 or empty. Nothing of these commands is echoed.
inline constexpr OperandOptions optional{.source = Source::Completed, .echo = Echo::None, .optional = true};
/// The same for a number that is then -1.
inline constexpr OperandOptions optionalNumber{
    .source = Source::Completed, .echo = Echo::None, .optional = true, .fallback = -1.0};
inline constexpr OperandOptions fromRequest{.source = Source::Request, .echo = Echo::None, .optional = true};

inline constexpr Operand geometryKeys[]{
    {keys::OstDgnssInsPrimaryToSecondaryAntennaSettingsX, fromRequest},
    {keys::OstDgnssInsPrimaryToSecondaryAntennaSettingsY, fromRequest},
    {keys::OstDgnssInsPrimaryToSecondaryAntennaSettingsZ, fromRequest},
    {keys::OstDgnssInsImuToPrimaryAntennaSettingsX, fromRequest},
    {keys::OstDgnssInsImuToPrimaryAntennaSettingsY, fromRequest},
    {keys::OstDgnssInsImuToPrimaryAntennaSettingsZ, fromRequest},
    {keys::OstDgnssInsImuToCoGSettingsX, fromRequest},
    {keys::OstDgnssInsImuToCoGSettingsY, fromRequest},
    {keys::OstDgnssInsImuToCoGSettingsZ, fromRequest},
    {keys::OstDgnssInsPrimaryLeaverArmSettingsX, fromRequest},
    {keys::OstDgnssInsPrimaryLeaverArmSettingsY, fromRequest},
    {keys::OstDgnssInsPrimaryLeaverArmSettingsZ, fromRequest},
    {keys::OstDgnssInsImuMountingAngleSettingsX, fromRequest},
    {keys::OstDgnssInsImuMountingAngleSettingsY, fromRequest},
    {keys::OstDgnssInsImuMountingAngleSettingsZ, fromRequest},
    {keys::OstDgnssInsMountingAccuracySettingsX, fromRequest},
    {keys::OstDgnssInsMountingAccuracySettingsY, fromRequest},
    {keys::OstDgnssInsMountingAccuracySettingsZ, fromRequest},
};
inline constexpr Sending geometrySends[]{{records::PositioningGeometry, PositioningUnit}};

inline constexpr Operand xmlKeys[]{{keys::OstDgnssInsIntegratorXml, {.source = Source::Request, .echo = Echo::None}}};
inline constexpr Sending xmlSends[]{{records::PositioningXml, PositioningUnit}};

inline constexpr Operand serialPortKeys[]{
    {keys::OstDgnssInsPrimarySerialPortBaudrate, optional},     {keys::OstDgnssInsPrimarySerialPort485, optional},
    {keys::OstDgnssInsSecondarySerialPortBaudrate, optional},   {keys::OstDgnssInsSecondarySerialPort485, optional},
    {keys::OstDgnssInsCorrectionsSerialPortBaudrate, optional}, {keys::OstDgnssInsCorrectionsSerialPort485, optional},
};
inline constexpr Sending serialPortSends[]{
    {records::PositioningSerialPort, PositioningUnit, "the request holds a key of the port, once for each"}};

inline constexpr Operand correctionsKeys[]{{keys::OstDgnssInsCorrectionsInputFormat, {.echo = Echo::None}}};
inline constexpr Sending correctionsSends[]{{records::PositioningCorrections, PositioningUnit}};

inline constexpr Operand ntripKeys[]{
    {keys::OstDgnssInsNtripServer, optional},        {keys::OstDgnssInsNtripUsername, optional},
    {keys::OstDgnssInsNtripPassword, optional},      {keys::OstDgnssInsNtripMountPoint, optional},
    {keys::OstDgnssInsNtripVersion, optionalNumber}, {keys::OstDgnssInsNtripCga, fromRequest},
    {keys::OstDgnssInsNtripPort, optionalNumber},    {keys::OstDgnssInsNtripDisabled, optional},
};
inline constexpr Sending ntripSends[]{{records::PositioningNtrip, PositioningUnit}};

inline constexpr Operand pulseKeys[]{
    {keys::OstDgnssInsPpsFlags, optional},
    {keys::OstDgnssInsPpsIntervalMs, optional},
    {keys::OstDgnssInsPpsDelayNs, optional},
};
inline constexpr Sending pulseSends[]{{records::PositioningPulsePerSecond, PositioningUnit}};

inline constexpr Operand autoCalibrationKeys[]{{keys::OstDgnssInsSetAutoCalibratinStatus, {.echo = Echo::None}}};
inline constexpr Sending autoCalibrationSends[]{{records::InertialAutoCalibration, PositioningUnit}};

} // namespace positioning

QX5_COMMAND(SendDGNSSGeometry) = {
    .form = Form::Own,
    .operands = positioning::geometryKeys,
    .sends = positioning::geometrySends,
    .note = "Goes out when at least one value can be read from the request; the others are 0, whatever is stored.",
};

QX5_COMMAND(SendDGNSSConfiguratorXml) = {
    .form = Form::Own,
    .operands = positioning::xmlKeys,
    .sends = positioning::xmlSends,
    .note = "Direct. The encoding is written into the text's XML declaration, at character 19 whatever stands there.",
};

QX5_COMMAND(SendDGNSSSerialPortConfiguration) = {
    .form = Form::Own,
    .operands = positioning::serialPortKeys,
    .sends = positioning::serialPortSends,
    .note = "A port's key that the request holds but that cannot be read there is completed from this device's stored "
            "tree; one that it does not hold comes from the unit's tree. A baud code that the unit does not have "
            "drops that port.",
};

QX5_COMMAND(SendDgnssSerialPortCorrectionsConfig) = {
    .form = Form::Strict,
    .operands = positioning::correctionsKeys,
    .sends = positioning::correctionsSends,
};

QX5_COMMAND(SendDgnssNtripConfig) = {
    .form = Form::Own,
    .operands = positioning::ntripKeys,
    .sends = positioning::ntripSends,
    .note = "Goes out when at least one value can be read from the request. The others come from the unit's tree, "
            "under their own keys, but the position interval under that of the version. The password is obfuscated.",
};

QX5_COMMAND(SendDgnssPpsConfig) = {
    .form = Form::Own,
    .operands = positioning::pulseKeys,
    .sends = positioning::pulseSends,
    .note = "Goes out when at least one value can be read from the request; the others come from the unit's tree.",
};

QX5_COMMAND(SendInsAutoCalibration) = {
    .form = Form::Direct,
    .operands = positioning::autoCalibrationKeys,
    .sends = positioning::autoCalibrationSends,
};

} // namespace qx5::commands
