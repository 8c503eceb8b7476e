// Pan-and-tilt unit, hoist and ray tracer.
#pragma once

#include <array>

#include <protocol/record_table.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key MountedOnPanAndTilt{L"MountedOnPanAndTilt", Kind::Int, Unit::None, "not 0 when the head hangs on a pan-and-tilt unit"};
inline constexpr Key CmdRaiseLower{L"CmdRaiseLower", Kind::Int, Unit::None, "where the hoist is to bring the head, a code of the hoist"};
inline constexpr Key CmdRoll{L"CmdRoll", Kind::Double, Unit::Degree, "roll that the pan-and-tilt unit is to take"};
inline constexpr Key CmdRotate{L"CmdRotate", Kind::Double, Unit::Degree, "pan that the pan-and-tilt unit is to take"};
inline constexpr Key CmdTilt{L"CmdTilt", Kind::Double, Unit::Degree, "tilt that the pan-and-tilt unit is to take"};
inline constexpr Key RaytracerMode{L"RaytracerMode", Kind::Int, Unit::None, "what the ray tracer goes by, a code of the sonar processor"};
inline constexpr Key RaytracerManualRange{L"RaytracerManualRange", Kind::Double, Unit::None, "range for the ray tracer, in the project's unit of distance"};
inline constexpr Key RaytracerManualDepth{L"RaytracerManualDepth", Kind::Double, Unit::Metre, "depth for the ray tracer"};
inline constexpr Key RaytracerManualTilt{L"RaytracerManualTilt", Kind::Double, Unit::Degree, "tilt for the ray tracer"};

} // namespace keys

namespace records {

inline constexpr RecordTable HoistRaiseLower{11051, "hoist raise or lower", 2, {
    {&keys::CmdRaiseLower, 0, Wire::U16},
}, {.carrier = Carrier::Data}};
// The tilt alone changes its sign.
inline constexpr RecordTable PanTiltPosition{11052, "pan-and-tilt position", 12, {
    {&keys::CmdRoll,   0, Wire::F32, Convert::RadiansByFactor},
    {&keys::CmdRotate, 4, Wire::F32, Convert::RadiansByFactor},
    {&keys::CmdTilt,   8, Wire::F32, Convert::NegatedRadiansByFactor},
}, {.carrier = Carrier::Data}};
// Packed: the doubles lie on odd multiples of 4. The range alone leaves the project's unit behind.
inline constexpr RecordTable RaytracerSetup{18000, "ray tracer set-up", 28, {
    {&keys::RaytracerMode,         0, Wire::U32},
    {&keys::RaytracerManualDepth,  4, Wire::F64},
    {.key = &keys::RaytracerManualRange, .offset = 12, .wire = Wire::F64, .convert = Convert::Computed, .unit = Unit::Metre},
    {&keys::RaytracerManualTilt,  20, Wire::F64},
}, {.carrier = Carrier::Data}};

inline constexpr auto PanTiltHoistRecords = std::to_array<RecordLayout>({
    HoistRaiseLower, PanTiltPosition, RaytracerSetup,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto PanTiltHoistKeys = std::to_array<Key const*>({
    &keys::MountedOnPanAndTilt, &keys::CmdRaiseLower, &keys::CmdRoll, &keys::CmdRotate, &keys::CmdTilt,
    &keys::RaytracerMode, &keys::RaytracerManualRange, &keys::RaytracerManualDepth, &keys::RaytracerManualTilt,
});

} // namespace qx5::protocol
