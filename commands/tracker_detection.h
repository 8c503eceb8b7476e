// The commands for tracker, automatic configuration, detections, echo markers and depth, as tables.
#pragma once

#include "command.h"
#include <protocol/records/tracker_detection.h>

namespace qx5::commands {

namespace tracker_detection {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Operand trackerControlKeys[]{
    keys::x5TrackerRangeEnabled,         keys::x5TrackerPowerGainEnabled,  keys::x5TrackerPulseLengthEnabled,
    keys::x5TrackerCoverageAngleEnabled, keys::x5TrackerFixedSwathEnabled, keys::x5TrackerFixedSwathWidth,
    keys::x5TrackerLimitCoverage,        keys::x5TrackerMaxCoverageAngle,
};
inline constexpr Sending trackerControlSends[]{{records::TrackerControl}};

inline constexpr Operand manualAutoConfigKeys[]{{keys::AutoConfigManualDone, {.source = Source::Told, .fallback = 1.0}},
                                                {keys::AutoConfigActiveName, {.source = Source::Request}}};
inline constexpr Sending manualAutoConfigSends[]{{records::AutoConfiguration, Processor}};

inline constexpr Operand multiDetectKeys[]{keys::x5MultiDetectEnabled, keys::x5MultiDetectObjectSize,
                                           keys::x5MultiDetectSensitivity, keys::x5MultiDetectMaxDetections};
inline constexpr Sending multiDetectSends[]{{records::MultiDetect}};

inline constexpr Operand snippetControlKeys[]{keys::x5AutoSnippetWindow, keys::x5SnippetWindowSize};
inline constexpr Sending snippetControlSends[]{{records::SnippetControl}};

inline constexpr Operand forwardDetectKeys[]{keys::ForwardDetectSensitivity};
inline constexpr Sending forwardDetectSends[]{{records::ForwardDetection}};

inline constexpr OperandOptions inMarker{.source = Source::Branch, .echo = Echo::None, .optional = true};
inline constexpr Operand echoMarkerKeys[]{
    {keys::EchoMarker, {.source = Source::Request, .echo = Echo::None}},
    {keys::EchoMarkerAnnotation, inMarker},
    {keys::EchoMarkerClient, inMarker},
    {keys::EchoMarkerNumber, inMarker},
    {keys::EchoMarkerPingNumber, inMarker},
    {keys::EchoMarkerTime, inMarker},
    {keys::EchoMarkerLatitude, inMarker},
    {keys::EchoMarkerLongitude, inMarker},
    {keys::EchoMarkerAltitude, inMarker},
    {keys::EchoMarkerDepth, inMarker},
    {keys::EchoMarkerHeave, inMarker},
};
inline constexpr Sending echoMarkerSends[]{{records::EchoMarkerData}};

inline constexpr Operand searchDepthKeys[]{keys::SearchDepth};
inline constexpr Sending searchDepthSends[]{{records::SearchForDepth, Processor}};

inline constexpr Operand systemDepthKeys[]{keys::SystemDepthSource, keys::SystemDepthManual};
inline constexpr Sending systemDepthSends[]{{records::SystemDepth}};

} // namespace tracker_detection

QX5_COMMAND(RequestTrackerControl) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = tracker_detection::trackerControlKeys,
    .sends = tracker_detection::trackerControlSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestManualAutoConfig) = {
    .form = Form::Lax,
    .operands = tracker_detection::manualAutoConfigKeys,
    .sends = tracker_detection::manualAutoConfigSends,
    .echoFlags = 0,
    .note = "The name's presence is enough: a name that is no text counts as the empty one. The echo tells the whole "
            "name and that a configuration was chosen by hand.",
};

QX5_COMMAND(RequestMultiDetect) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = tracker_detection::multiDetectKeys,
    .sends = tracker_detection::multiDetectSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSnippetControl) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = tracker_detection::snippetControlKeys,
    .sends = tracker_detection::snippetControlSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestForwardDetect) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = tracker_detection::forwardDetectKeys,
    .sends = tracker_detection::forwardDetectSends,
    .echoFlags = 4,
};

QX5_COMMAND(SendEchoMarker) = {
    .form = Form::Own,
    .operands = tracker_detection::echoMarkerKeys,
    .sends = tracker_detection::echoMarkerSends,
    .note = "The branch's presence is enough and all in it is optional: flags of the record tell which fields hold. "
            "Of several branches the first counts. The record carries no time of its own.",
};

QX5_COMMAND(RequestSearchDepth) = {
    .form = Form::Presence,
    .operands = tracker_detection::searchDepthKeys,
    .sends = tracker_detection::searchDepthSends,
};

QX5_COMMAND(RequestSystemDepth) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = tracker_detection::systemDepthKeys,
    .sends = tracker_detection::systemDepthSends,
    .echoFlags = 4,
};

} // namespace qx5::commands
