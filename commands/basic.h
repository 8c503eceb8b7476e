// The commands for basic operation: projector, pings, sound velocity, temperature, sector, motion compensation, system
// commands, as tables.
#pragma once

#include "command.h"
#include <protocol/records/basic.h>

namespace qx5::commands {

namespace basic {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr OperandOptions fromRequest{.source = Source::Request};

inline constexpr Operand newProjectorKeys[]{keys::DeviceEnum};
inline constexpr Sending newProjectorSends[]{{records::Projector}};
inline constexpr FollowUp newProjectorAsks[]{{7504}, {7503}, {7002}};

inline constexpr Operand calibrationKeys[]{keys::x5CalibCommand};
inline constexpr Sending calibrationSends[]{{records::CalibrationControl}};
inline constexpr FollowUp calibrationAsks[]{{7055}};

inline constexpr Operand noPingSequence{keys::PingSequenceId, {.source = Source::Told, .fallback = -1.0}};
inline constexpr Operand pingOnOffKeys[]{keys::x5PingOnOffState, noPingSequence};
inline constexpr Sending pingOnOffSends[]{{records::PingsOn, OwnSonar, WhenNot0}, {records::PingsOff, OwnSonar, When0}};

inline constexpr Operand pingOnlyDuringScanKeys[]{{keys::x5PingOnOffState, {.source = Source::Told}},
                                                  {keys::PingSequenceId, {.source = Source::Told}},
                                                  {keys::PingOnlyDuringScan, fromRequest}};
inline constexpr Sending pingOnlyDuringScanSends[]{{records::PingsOn, OwnSonar, "the value is false"}};

inline constexpr Operand soundVelocityKeys[]{
    {keys::x5SoundVelocityOverride, {.source = Source::Completed, .optional = true}},
    {keys::x5SoundVelocity, {.source = Source::Request, .optional = true}},
    {keys::x5SoundVelocityFilter, {.source = Source::Request, .optional = true}},
};
inline constexpr Operand const* soundVelocityEchoes[]{&soundVelocityKeys[1], &soundVelocityKeys[0],
                                                      &soundVelocityKeys[2]};
inline constexpr Sending soundVelocitySends[]{{records::ManualSoundVelocity, Processor}};

inline constexpr Operand temperatureKeys[]{
    {keys::x5TemperatureOverride, {.source = Source::Completed}},
    {keys::x5Temperature, {.source = Source::Request, .optional = true}},
};
inline constexpr Operand const* temperatureEchoes[]{&temperatureKeys[1], &temperatureKeys[0]};
inline constexpr Sending temperatureSends[]{{records::ManualTemperature}};

inline constexpr Operand coverageSectorKeys[]{keys::x5CoverageAngle, keys::x5RxSteeringAngle};
inline constexpr Sending coverageSectorSends[]{{records::CoverageSector}};

inline constexpr Operand motionCompensationKeys[]{keys::x5MotionCompensationRoll, keys::x5MotionCompensationPitch};
inline constexpr Sending motionCompensationSends[]{{records::MotionCompensation}};

inline constexpr Operand loadFactoryKeys[]{
    {keys::x5LoadFactoryParameters, {.source = Source::Request, .echo = Echo::None}},
    {keys::DeviceId, {.source = Source::Stored, .echo = Echo::None, .optional = true}},
    {keys::x5CustomBeams, {.source = Source::Told}},
    {keys::x5ConstantSpacing, {.source = Source::Told}},
};
inline constexpr Sending loadFactorySends[]{{records::LoadFactoryParameters, Processor}};
inline constexpr FollowUp loadFactoryAsks[]{
    {7504, Processor}, {7503}, {7025, Processor}, {7052, Processor}, {7059, Processor, "\"DeviceId\" is 1002"}, {7002},
    {1504, Processor},
};

inline constexpr Operand shutdownKeys[]{keys::x5Shutdown};
inline constexpr Sending shutdownSends[]{{records::Shutdown, Processor}};
inline constexpr Operand rebootKeys[]{keys::x5Reboot};
inline constexpr Sending rebootSends[]{{records::Reboot, Processor}};
inline constexpr Operand settingsKeys[]{keys::x5SSR7503CMD};
inline constexpr FollowUp settingsAsks[]{{7503}};

} // namespace basic

QX5_COMMAND(RequestNewProjector) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = basic::newProjectorKeys,
    .sends = basic::newProjectorSends,
    .echoFlags = 0,
    .followUps = basic::newProjectorAsks,
};

QX5_COMMAND(RequestCalibrationControl) = {
    .form = Form::Direct,
    .operands = basic::calibrationKeys,
    .sends = basic::calibrationSends,
    .followUps = basic::calibrationAsks,
};

QX5_COMMAND(RequestPingOnOff) = {
    .form = Form::Direct,
    .operands = basic::pingOnOffKeys,
    .sends = basic::pingOnOffSends,
    .echoFlags = 0,
    .note = "The echo also tells that no ping sequence runs (-1).",
};

QX5_COMMAND(RequestPingOnlyDuringScanning) = {
    .form = Form::Own,
    .operands = basic::pingOnlyDuringScanKeys,
    .sends = basic::pingOnlyDuringScanSends,
    .echoFlags = 0,
    .note = "Direct. False turns the pings on, as a request for that would, and is echoed after it.",
};

QX5_COMMAND(RequestManualSoundVelocity) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = basic::soundVelocityKeys,
    .sends = basic::soundVelocitySends,
    .echoFlags = 0,
    .echoes = basic::soundVelocityEchoes,
    .note = "Any key triggers. The override is completed from the stored tree and is false when found nowhere. "
            "Velocity and filter count only when the request holds them: two flags of the record tell.",
};

QX5_COMMAND(RequestManualTemperature) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = basic::temperatureKeys,
    .sends = basic::temperatureSends,
    .echoFlags = 0,
    .echoes = basic::temperatureEchoes,
    .note = "Any key triggers. The override is completed from the stored tree and must be found. The temperature "
            "counts only when the request holds it: a flag of the record tells.",
};

QX5_COMMAND(RequestCoverageSector) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = basic::coverageSectorKeys,
    .sends = basic::coverageSectorSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestMotionCompensation) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = basic::motionCompensationKeys,
    .sends = basic::motionCompensationSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestLoadFactoryParams) = {
    .form = Form::Own,
    .operands = basic::loadFactoryKeys,
    .sends = basic::loadFactorySends,
    .echoFlags = 4,
    .followUps = basic::loadFactoryAsks,
    .note = "The key's presence is enough. After the last record asked for, custom beams and constant spacing are "
            "echoed as 0.",
};

QX5_COMMAND(RequestShutdown) = {
    .form = Form::Presence,
    .operands = basic::shutdownKeys,
    .sends = basic::shutdownSends,
};

QX5_COMMAND(RequestReboot) = {
    .form = Form::Presence,
    .operands = basic::rebootKeys,
    .sends = basic::rebootSends,
};

QX5_COMMAND(RequestSSR7503CMD) = {
    .form = Form::Presence,
    .operands = basic::settingsKeys,
    .followUps = basic::settingsAsks,
};

} // namespace qx5::commands
