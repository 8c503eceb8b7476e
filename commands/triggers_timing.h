// The commands for triggers and timing signals, as tables.
#pragma once

#include "command.h"
#include <protocol/records/triggers_timing.h>

namespace qx5::commands {

namespace triggers_timing {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Operand ppsEdgeKeys[]{keys::x5PpsEdge, {keys::x5TriggerInputEdge, {.fallback = 1}}};
inline constexpr Sending ppsEdgeSends[]{{records::SignalEdges}};

// Delay and pulse belong to both trigger outputs: a request with either sends both records.
inline constexpr Operand triggerOutputKeys[]{
    keys::x5TriggerOutputDelay,
    {keys::x5TriggerOutputPulse, {.fallback = 1.0}},
    keys::x5TriggerOutput,
    keys::x5TriggerOutputRxDuration,
};
inline constexpr Sending triggerOutputSends[]{{records::TriggerOutput}};

inline constexpr Operand advancedTriggerOutputKeys[]{
    keys::x5TriggerOutputDelay, {keys::x5TriggerOutputPulse, {.fallback = 1.0}},
    keys::x5TriggerPolarity,    keys::x5TriggerIndex,
    keys::x5TriggerChannel,     keys::x5TriggerMode,
};
inline constexpr Sending advancedTriggerOutputSends[]{{records::AdvancedTriggerOutput}};

inline constexpr Operand triggerInputKeys[]{keys::x5TriggerInput};
inline constexpr Sending triggerInputSends[]{{records::TriggerInput, OwnSonar, WhenTrue}};

} // namespace triggers_timing

QX5_COMMAND(RequestPPSEdge) = {
    .form = Form::Lax,
    .keeps = Keeps::Settings,
    .operands = triggers_timing::ppsEdgeKeys,
    .sends = triggers_timing::ppsEdgeSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestTriggerOutput) = {
    .form = Form::Lax,
    .keeps = Keeps::Settings,
    .operands = triggers_timing::triggerOutputKeys,
    .sends = triggers_timing::triggerOutputSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestAdvancedTriggerOutput) = {
    .form = Form::Lax,
    .operands = triggers_timing::advancedTriggerOutputKeys,
    .sends = triggers_timing::advancedTriggerOutputSends,
    .echoFlags = 0,
    .note = "The channel stays with the device; no record carries it.",
};

QX5_COMMAND(RequestTriggerInput) = {
    .form = Form::Direct,
    .operands = triggers_timing::triggerInputKeys,
    .sends = triggers_timing::triggerInputSends,
    .echoFlags = 0,
    .note = "A switch of one way: no record turns the input off, so false is echoed and nothing sent.",
};

} // namespace qx5::commands
