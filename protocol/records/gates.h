// Gates: where the bottom detection may look.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5MinRangeGate{L"x5MinRangeGate", Kind::Double, Unit::Metre, "nearest range at which the bottom is looked for"};
inline constexpr Key x5MaxRangeGate{L"x5MaxRangeGate", Kind::Double, Unit::Metre, "farthest range at which the bottom is looked for"};
inline constexpr Key x5MinDepthGate{L"x5MinDepthGate", Kind::Double, Unit::Metre, "least depth at which the bottom is looked for"};
inline constexpr Key x5MaxDepthGate{L"x5MaxDepthGate", Kind::Double, Unit::Metre, "greatest depth at which the bottom is looked for"};
inline constexpr Key x5DepthGateTilt{L"x5DepthGateTilt", Kind::Double, Unit::Degree, "tilt of the depth gate"};

inline constexpr Key x5AGWindowSize{L"x5AGWindowSize", Kind::Double, Unit::Percent, "width of the adaptive gate, 5 to 100"};
inline constexpr Key x5AGSearchMin{L"x5AGSearchMin", Kind::Double, Unit::Metre, "least depth at which the adaptive gate searches"};
inline constexpr Key x5AGSearchMax{L"x5AGSearchMax", Kind::Double, Unit::Metre, "greatest depth at which the adaptive gate searches"};

inline constexpr Key BarCheckGateMode{L"BarCheckGateMode", Kind::Int, Unit::None, "mode of the gate for bar checks"};
inline constexpr Key BarCheckMinGate{L"BarCheckMinGate", Kind::Double, Unit::Metre, "near limit of the gate for bar checks"};
inline constexpr Key BarCheckMaxGate{L"BarCheckMaxGate", Kind::Double, Unit::Metre, "far limit of the gate for bar checks"};

inline constexpr Key x5RangeFilterEnabled{L"x5RangeFilterEnabled", Kind::Bool, Unit::None, "the range gate acts"};
inline constexpr Key x5DepthFilterEnabled{L"x5DepthFilterEnabled", Kind::Bool, Unit::None, "the depth gate acts"};
inline constexpr Key x5DepthFilterFollow{L"x5DepthFilterFollow", Kind::Bool, Unit::None, "the depth gate follows the bottom"};
inline constexpr Key x5AdaptiveGateEnabled{L"x5AdaptiveGateEnabled", Kind::Bool, Unit::None, "the adaptive gate acts"};
inline constexpr Key x5AGDepthFilterEnabled{L"x5AGDepthFilterEnabled", Kind::Bool, Unit::None, "the depth limits of the adaptive gate act"};
inline constexpr Key x5AGDepthFilterFixed{L"x5AGDepthFilterFixed", Kind::Bool, Unit::None, "the depth limits of the adaptive gate are fixed"};

inline constexpr Key x5LorqGating{L"x5LorqGating", Kind::Branch, Unit::None, "points along a pipe route that gate the detection"};
inline constexpr Key x5LorqPipeRoutePoint{L"x5LorqPipeRoutePoint", Kind::Branch, Unit::None, "one point of a pipe route"};
inline constexpr Key x5LorqPipeRoutePipeNumber{L"x5LorqPipeRoutePipeNumber", Kind::UInt, Unit::None, "number of the pipe"};
inline constexpr Key x5LorqDetDiameter{L"x5LorqDetDiameter", Kind::Double, Unit::None, "diameter of the pipe"};
inline constexpr Key x5LorqDetBeamX{L"x5LorqDetBeamX", Kind::Double, Unit::None, "X of the detection's beam"};
inline constexpr Key x5LorqDetBeamY{L"x5LorqDetBeamY", Kind::Double, Unit::None, "Y of the detection's beam"};
inline constexpr Key x5LorqDetBeamZ{L"x5LorqDetBeamZ", Kind::Double, Unit::None, "Z of the detection's beam"};
inline constexpr Key x5LorqDetBeamAngle{L"x5LorqDetBeamAngle", Kind::Double, Unit::Degree, "angle of the detection's beam"};
inline constexpr Key x5LorqDetSampleRate{L"x5LorqDetSampleRate", Kind::Double, Unit::Hertz, "sample rate of the detection's ping"};
inline constexpr Key x5LorqDetBeamTwtt{L"x5LorqDetBeamTwtt", Kind::Double, Unit::Second, "two-way travel time of the detection"};
inline constexpr Key x5LorqDetPingNumber{L"x5LorqDetPingNumber", Kind::Int, Unit::None, "number of the detection's ping"};

inline constexpr Key VerticalDetectionModeEnabled{L"VerticalDetectionModeEnabled", Kind::Bool, Unit::None, "detect vertical structures"};

} // namespace keys

namespace records {

inline constexpr RecordTable GateEnableFlags{1009, "gates in force", 4, {
    {.key = &keys::x5RangeFilterEnabled,   .offset = 0, .wire = Wire::BitOfU32, .extent = 8},
    {.key = &keys::x5DepthFilterEnabled,   .offset = 0, .wire = Wire::BitOfU32, .extent = 9},
    {.key = &keys::x5AdaptiveGateEnabled,  .offset = 0, .wire = Wire::BitOfU32, .extent = 10},
    {.key = &keys::x5AGDepthFilterEnabled, .offset = 0, .wire = Wire::BitOfU32, .extent = 11},
    {.key = &keys::x5AGDepthFilterFixed,   .offset = 0, .wire = Wire::BitOfU32, .extent = 12},
    {.key = &keys::x5DepthFilterFollow,    .offset = 0, .wire = Wire::BitOfU32, .extent = 13},
}};
// The tilt has the other sign on the wire.
inline constexpr RecordTable AbsoluteGates{1010, "absolute gates", 20, {
    {&keys::x5MinRangeGate,   0, Wire::F32},
    {&keys::x5MaxRangeGate,   4, Wire::F32},
    {&keys::x5MinDepthGate,   8, Wire::F32},
    {&keys::x5MaxDepthGate,  12, Wire::F32},
    {&keys::x5DepthGateTilt, 16, Wire::F32, Convert::NegatedRadians},
}};
inline constexpr RecordTable AdaptiveGate{1016, "adaptive gate", 12, {
    {&keys::x5AGWindowSize, 0, Wire::I32, Convert::Truncated},
    {&keys::x5AGSearchMin,  4, Wire::F32},
    {&keys::x5AGSearchMax,  8, Wire::F32},
}};

inline constexpr Field PipeRoutePointCount{.offset = 0, .wire = Wire::U32, .name = "number of points"};
inline constexpr Field DetectionSampleNumber{.offset = 28, .wire = Wire::F32, .name = "sample number of the detection"};
inline constexpr RecordTable PipeRouteGating{1042, "detection gating along a pipe route", 48, {
    PipeRoutePointCount,
    {.offset = 4, .wire = Wire::U32, .unit = Unit::Byte, .name = "size of a point", .constant = 40},
}, RepeatedItems{40, {
    Field{&keys::x5LorqPipeRoutePipeNumber, 0, Wire::U32},
    Field{&keys::x5LorqDetDiameter,    4, Wire::F32},
    Field{&keys::x5LorqDetBeamX,       8, Wire::F32},
    Field{&keys::x5LorqDetBeamY,      12, Wire::F32},
    Field{&keys::x5LorqDetBeamZ,      16, Wire::F32},
    Field{&keys::x5LorqDetBeamAngle,  20, Wire::F32, Convert::Radians},
    Field{&keys::x5SoundVelocity,     24, Wire::F32},
    DetectionSampleNumber,
    Field{&keys::x5LorqDetSampleRate, 32, Wire::F32},
    Field{&keys::x5LorqDetPingNumber, 36, Wire::I32},
}}, RecordOptions{.tailName = "points", .tailKey = &keys::x5LorqPipeRoutePoint}};

inline constexpr RecordTable VerticalDetectionMode{1124, "vertical detection mode", 1, {
    {&keys::VerticalDetectionModeEnabled, 0, Wire::U8},
}};
inline constexpr RecordTable BarCheckGates{10016, "gates for bar checks", 12, {
    {&keys::BarCheckMinGate,  0, Wire::F32},
    {&keys::BarCheckMaxGate,  4, Wire::F32},
    {&keys::BarCheckGateMode, 8, Wire::I32},
}};

inline constexpr auto GatesRecords = std::to_array<RecordLayout>({
    GateEnableFlags, AbsoluteGates, AdaptiveGate, PipeRouteGating, VerticalDetectionMode, BarCheckGates,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto GatesKeys = std::to_array<Key const*>({
    &keys::x5MinRangeGate, &keys::x5MaxRangeGate, &keys::x5MinDepthGate, &keys::x5MaxDepthGate, &keys::x5DepthGateTilt,
    &keys::x5AGWindowSize, &keys::x5AGSearchMin, &keys::x5AGSearchMax, &keys::BarCheckGateMode, &keys::BarCheckMinGate,
    &keys::BarCheckMaxGate, &keys::x5RangeFilterEnabled, &keys::x5DepthFilterEnabled, &keys::x5DepthFilterFollow,
    &keys::x5AdaptiveGateEnabled, &keys::x5AGDepthFilterEnabled, &keys::x5AGDepthFilterFixed, &keys::x5LorqGating,
    &keys::x5LorqPipeRoutePoint, &keys::x5LorqPipeRoutePipeNumber, &keys::x5LorqDetDiameter, &keys::x5LorqDetBeamX,
    &keys::x5LorqDetBeamY, &keys::x5LorqDetBeamZ, &keys::x5LorqDetBeamAngle, &keys::x5LorqDetSampleRate,
    &keys::x5LorqDetBeamTwtt, &keys::x5LorqDetPingNumber, &keys::VerticalDetectionModeEnabled,
});

} // namespace qx5::protocol
