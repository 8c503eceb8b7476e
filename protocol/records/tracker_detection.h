// Tracker, automatic configuration, detections, echo markers and depth.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5TrackerRangeEnabled{L"x5TrackerRangeEnabled", Kind::Bool, Unit::None, "the tracker sets the range"};
inline constexpr Key x5TrackerPowerGainEnabled{L"x5TrackerPowerGainEnabled", Kind::Bool, Unit::None, "the tracker sets power and gain"};
inline constexpr Key x5TrackerPulseLengthEnabled{L"x5TrackerPulseLengthEnabled", Kind::Bool, Unit::None, "the tracker sets the pulse length"};
inline constexpr Key x5TrackerCoverageAngleEnabled{L"x5TrackerCoverageAngleEnabled", Kind::Bool, Unit::None, "the tracker sets the opening angle of the swath"};
inline constexpr Key x5TrackerFixedSwathEnabled{L"x5TrackerFixedSwathEnabled", Kind::Bool, Unit::None, "the tracker keeps the swath's width on the bottom"};
inline constexpr Key x5TrackerFixedSwathWidth{L"x5TrackerFixedSwathWidth", Kind::Double, Unit::Metre, "width of the swath on the bottom that the tracker keeps"};
inline constexpr Key x5TrackerLimitCoverage{L"x5TrackerLimitCoverage", Kind::Bool, Unit::None, "the tracker opens the swath no further than the greatest angle"};
inline constexpr Key x5TrackerMaxCoverageAngle{L"x5TrackerMaxCoverageAngle", Kind::Double, Unit::Degree, "greatest opening angle of the swath under the tracker"};

inline constexpr Key AutoConfigActiveName{L"AutoConfigActiveName", Kind::String, Unit::None, "name of the automatic configuration to use"};
inline constexpr Key AutoConfigManualDone{L"AutoConfigManualDone", Kind::Bool, Unit::None, "an automatic configuration was chosen by hand"};

inline constexpr Key x5MultiDetectEnabled{L"x5MultiDetectEnabled", Kind::Bool, Unit::None, "more than one detection a beam"};
inline constexpr Key x5MultiDetectObjectSize{L"x5MultiDetectObjectSize", Kind::Int, Unit::None, "size of the objects that multi-detection looks for"};
inline constexpr Key x5MultiDetectSensitivity{L"x5MultiDetectSensitivity", Kind::Int, Unit::None, "how readily multi-detection takes an echo for an object"};
inline constexpr Key x5MultiDetectMaxDetections{L"x5MultiDetectMaxDetections", Kind::Int, Unit::None, "greatest number of additional detections"};

inline constexpr Key x5AutoSnippetWindow{L"x5AutoSnippetWindow", Kind::Bool, Unit::None, "the sonar chooses the length of the snippets"};
inline constexpr Key x5SnippetWindowSize{L"x5SnippetWindowSize", Kind::Int, Unit::None, "length of the snippets around the bottom detection"};

inline constexpr Key ForwardDetectSensitivity{L"ForwardDetectSensitivity", Kind::Int, Unit::None, "sensitivity of the forward-looking detection, in fifths"};

inline constexpr Key SearchDepth{L"SearchDepth", Kind::Any, Unit::None, "search for the bottom anew"};
inline constexpr Key SystemDepthSource{L"SystemDepthSource", Kind::Int, Unit::None, "where the sonar takes the depth from that it works with"};
inline constexpr Key SystemDepthManual{L"SystemDepthManual", Kind::Double, Unit::Metre, "the depth to work with, entered by hand"};

inline constexpr Key EchoMarker{L"EchoMarker", Kind::Branch, Unit::None, "a marker for the sonar's record stream"};
inline constexpr Key EchoMarkerAnnotation{L"EchoMarkerAnnotation", Kind::String, Unit::None, "text of the marker"};
inline constexpr Key EchoMarkerClient{L"EchoMarkerClient", Kind::Int, Unit::None, "who sets the marker"};
inline constexpr Key EchoMarkerNumber{L"EchoMarkerNumber", Kind::Int, Unit::None, "number of the marker"};
inline constexpr Key EchoMarkerPingNumber{L"EchoMarkerPingNumber", Kind::Int, Unit::None, "ping that the marker belongs to"};
inline constexpr Key EchoMarkerTime{L"EchoMarkerTime", Kind::Double, Unit::Second, "time of the marker"};
inline constexpr Key EchoMarkerLatitude{L"EchoMarkerLatitude", Kind::Double, Unit::None, "latitude of the marker, handed on in the unit that it comes in"};
inline constexpr Key EchoMarkerLongitude{L"EchoMarkerLongitude", Kind::Double, Unit::None, "longitude of the marker, handed on in the unit that it comes in"};
inline constexpr Key EchoMarkerAltitude{L"EchoMarkerAltitude", Kind::Double, Unit::Metre, "altitude of the marker"};
inline constexpr Key EchoMarkerDepth{L"EchoMarkerDepth", Kind::Double, Unit::Metre, "depth at the marker"};
inline constexpr Key EchoMarkerHeave{L"EchoMarkerHeave", Kind::Double, Unit::Metre, "heave at the marker"};

} // namespace keys

namespace records {

inline constexpr RecordTable MultiDetect{1045, "multi-detection", 12, {
    {&keys::x5MultiDetectEnabled,       0, Wire::U16},
    {&keys::x5MultiDetectObjectSize,    2, Wire::U16},
    {&keys::x5MultiDetectSensitivity,   4, Wire::U16, Convert::TimesTwenty},
    {&keys::x5MultiDetectMaxDetections, 6, Wire::U16},
}};
inline constexpr RecordTable SnippetControl{1118, "snippet control", 12, {
    {&keys::x5AutoSnippetWindow, 0, Wire::U32},
    {&keys::x5SnippetWindowSize, 4, Wire::I32},
}};
inline constexpr RecordTable AutoConfiguration{1140, "automatic configuration", 64, {
    {&keys::AutoConfigActiveName, 0, Wire::Text, Convert::None, 64},
}};
inline constexpr RecordTable TrackerControl{1402, "tracker control", 12, {
    {&keys::x5TrackerRangeEnabled,         0, Wire::BitOfU32, Convert::None, 0},
    {&keys::x5TrackerPowerGainEnabled,     0, Wire::BitOfU32, Convert::None, 1},
    {&keys::x5TrackerPulseLengthEnabled,   0, Wire::BitOfU32, Convert::None, 2},
    {&keys::x5TrackerCoverageAngleEnabled, 0, Wire::BitOfU32, Convert::None, 3},
    {&keys::x5TrackerFixedSwathEnabled,    0, Wire::BitOfU32, Convert::None, 4},
    {&keys::x5TrackerLimitCoverage,        0, Wire::BitOfU32, Convert::None, 5},
    {&keys::x5TrackerFixedSwathWidth,      4, Wire::F32},
    {&keys::x5TrackerMaxCoverageAngle,     8, Wire::F32, Convert::Radians},
}};
// Detection units have a record of this id too; theirs comes by pass-through and carries a number of another form.
inline constexpr RecordTable ForwardDetection{1750, "forward detection", 4, {
    {&keys::ForwardDetectSensitivity, 0, Wire::F32, Convert::FifthOfFloat},
}};
inline constexpr RecordTable SearchForDepth{14003, "search for the depth"};
inline constexpr RecordTable SystemDepth{14004, "system depth", 8, {
    {&keys::SystemDepthSource, 0, Wire::I32},
    {&keys::SystemDepthManual, 4, Wire::F32},
}};

// Which of the optional fields of an echo marker hold.
inline constexpr Field EchoMarkerAnnotationHolds{.offset = 48, .wire = Wire::BitOfU32, .extent = 0, .name = "annotation holds"};
inline constexpr Field EchoMarkerDepthHolds{.offset = 48, .wire = Wire::BitOfU32, .extent = 1, .name = "depth holds"};
inline constexpr Field EchoMarkerLatitudeHolds{.offset = 48, .wire = Wire::BitOfU32, .extent = 2, .name = "latitude holds"};
inline constexpr Field EchoMarkerLongitudeHolds{.offset = 48, .wire = Wire::BitOfU32, .extent = 3, .name = "longitude holds"};
inline constexpr Field EchoMarkerAltitudeHolds{.offset = 48, .wire = Wire::BitOfU32, .extent = 4, .name = "altitude holds"};
inline constexpr Field EchoMarkerHeaveHolds{.offset = 48, .wire = Wire::BitOfU32, .extent = 5, .name = "heave holds"};
inline constexpr Field EchoMarkerTimeHolds{.offset = 48, .wire = Wire::BitOfU32, .extent = 12, .name = "time holds"};
inline constexpr Field EchoMarkerPingNumberHolds{.offset = 48, .wire = Wire::BitOfU32, .extent = 13, .name = "ping number holds"};
inline constexpr RecordTable EchoMarkerData{10025, "echo marker", 140, {
    {&keys::EchoMarkerClient,      0, Wire::I32},
    {&keys::EchoMarkerNumber,      4, Wire::I32},
    {&keys::EchoMarkerPingNumber,  8, Wire::I32},
    {&keys::EchoMarkerTime,       12, Wire::TimeX5},
    {&keys::EchoMarkerLatitude,   24, Wire::F64},
    {&keys::EchoMarkerLongitude,  32, Wire::F64},
    {&keys::EchoMarkerAltitude,   40, Wire::F64},
    EchoMarkerAnnotationHolds,
    EchoMarkerDepthHolds,
    EchoMarkerLatitudeHolds,
    EchoMarkerLongitudeHolds,
    EchoMarkerAltitudeHolds,
    EchoMarkerHeaveHolds,
    EchoMarkerTimeHolds,
    EchoMarkerPingNumberHolds,
    {&keys::EchoMarkerDepth,      52, Wire::F32},
    {&keys::EchoMarkerHeave,      56, Wire::F32},
    {&keys::EchoMarkerAnnotation, 60, Wire::Text, Convert::None, 80},
}, {.carrier = Carrier::Data}};

inline constexpr auto TrackerDetectionRecords = std::to_array<RecordLayout>({
    MultiDetect, SnippetControl, AutoConfiguration, TrackerControl, ForwardDetection, SearchForDepth, SystemDepth,
    EchoMarkerData,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto TrackerDetectionKeys = std::to_array<Key const*>({
    &keys::x5TrackerRangeEnabled, &keys::x5TrackerPowerGainEnabled, &keys::x5TrackerPulseLengthEnabled,
    &keys::x5TrackerCoverageAngleEnabled, &keys::x5TrackerFixedSwathEnabled, &keys::x5TrackerFixedSwathWidth,
    &keys::x5TrackerLimitCoverage, &keys::x5TrackerMaxCoverageAngle, &keys::AutoConfigActiveName,
    &keys::AutoConfigManualDone, &keys::x5MultiDetectEnabled, &keys::x5MultiDetectObjectSize,
    &keys::x5MultiDetectSensitivity, &keys::x5MultiDetectMaxDetections, &keys::x5AutoSnippetWindow,
    &keys::x5SnippetWindowSize, &keys::ForwardDetectSensitivity, &keys::SearchDepth, &keys::SystemDepthSource,
    &keys::SystemDepthManual, &keys::EchoMarker, &keys::EchoMarkerAnnotation, &keys::EchoMarkerClient,
    &keys::EchoMarkerNumber, &keys::EchoMarkerPingNumber, &keys::EchoMarkerTime, &keys::EchoMarkerLatitude,
    &keys::EchoMarkerLongitude, &keys::EchoMarkerAltitude, &keys::EchoMarkerDepth, &keys::EchoMarkerHeave,
});

} // namespace qx5::protocol
