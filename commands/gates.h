// The commands for gates: where the bottom detection may look, as tables.
#pragma once

#include "command.h"
#include <protocol/records/gates.h>

namespace qx5::commands {

namespace gates {

namespace keys = protocol::keys;
namespace records = protocol::records;

// The four distances are echoed as the sonar has them, in single precision.
inline constexpr Operand absoluteKeys[]{{keys::x5MinRangeGate, {.echo = Echo::AsSent}},
                                        {keys::x5MaxRangeGate, {.echo = Echo::AsSent}},
                                        {keys::x5MinDepthGate, {.echo = Echo::AsSent}},
                                        {keys::x5MaxDepthGate, {.echo = Echo::AsSent}},
                                        {keys::x5DepthGateTilt}};
inline constexpr Sending absoluteSends[]{{records::AbsoluteGates}};

inline constexpr Operand adaptiveKeys[]{keys::x5AGWindowSize, keys::x5AGSearchMin, keys::x5AGSearchMax};
inline constexpr Sending adaptiveSends[]{{records::AdaptiveGate}};

inline constexpr Operand barCheckKeys[]{keys::BarCheckGateMode, keys::BarCheckMinGate, keys::BarCheckMaxGate};
inline constexpr Sending barCheckSends[]{{records::BarCheckGates}};
inline constexpr FollowUp barCheckAsks[]{{10000}};

inline constexpr Operand enableKeys[]{keys::x5RangeFilterEnabled,   keys::x5DepthFilterEnabled,
                                      keys::x5DepthFilterFollow,    keys::x5AdaptiveGateEnabled,
                                      keys::x5AGDepthFilterEnabled, keys::x5AGDepthFilterFixed};
inline constexpr Sending enableSends[]{{records::GateEnableFlags}};

/// Of a group or a point.
inline constexpr OperandOptions fromRequest{.source = Source::Request, .echo = Echo::None, .optional = true};
inline constexpr Operand pipeRouteKeys[]{
    {keys::x5LorqGating, {.source = Source::Request, .echo = Echo::None}},
    {keys::x5LorqPipeRoutePoint, {.source = Source::Branch, .echo = Echo::None, .optional = true}},
    {keys::x5LorqPipeRoutePipeNumber, fromRequest},
    {keys::x5LorqDetDiameter, fromRequest},
    {keys::x5LorqDetBeamX, fromRequest},
    {keys::x5LorqDetBeamY, fromRequest},
    {keys::x5LorqDetBeamZ, fromRequest},
    {keys::x5LorqDetBeamAngle, fromRequest},
    {keys::x5SoundVelocity, fromRequest},
    {keys::x5LorqDetBeamTwtt, fromRequest},
    {keys::x5LorqDetSampleRate, fromRequest},
    {keys::x5LorqDetPingNumber, fromRequest},
};
inline constexpr Sending pipeRouteSends[]{{records::PipeRouteGating, OwnSonar, "once for each group of points"}};

inline constexpr Operand verticalKeys[]{keys::VerticalDetectionModeEnabled};
inline constexpr Sending verticalSends[]{{records::VerticalDetectionMode, Processor}};

} // namespace gates

QX5_COMMAND(RequestAbsoluteGates) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = gates::absoluteKeys,
    .sends = gates::absoluteSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestAdaptiveGates) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = gates::adaptiveKeys,
    .sends = gates::adaptiveSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestBarCheckGates) = {
    .form = Form::AllRequired,
    .operands = gates::barCheckKeys,
    .sends = gates::barCheckSends,
    .followUps = gates::barCheckAsks,
};

QX5_COMMAND(RequestGateEnableFlags) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = gates::enableKeys,
    .sends = gates::enableSends,
    .echoFlags = 0,
};

QX5_COMMAND(SendLorqGating) = {
    .form = Form::Own,
    .operands = gates::pipeRouteKeys,
    .sends = gates::pipeRouteSends,
    .note = "The request holds any number of groups, a group any number of points, a point its ten values; a value "
            "that is not there is 0. Each group goes out as one record, in order, one without points too. The sample "
            "number of a detection is sample rate x two-way travel time.",
};

QX5_COMMAND(RequestVerticalDetectionMode) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = gates::verticalKeys,
    .sends = gates::verticalSends,
    .echoFlags = 0,
};

} // namespace qx5::commands
