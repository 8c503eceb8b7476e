// Beam geometry: mode, flex sector, spacing, number and width of beams, coverage, system mode.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5BeamModeSelection{L"x5BeamModeSelection", Kind::Int, Unit::None, "index of the beam mode among those that the sonar offers"};
inline constexpr Key x5FlexSectorCoverage{L"x5FlexSectorCoverage", Kind::Double, Unit::Degree, "opening angle of the flex sector"};
inline constexpr Key x5FlexSectorSteering{L"x5FlexSectorSteering", Kind::Double, Unit::Degree, "angle that the flex sector's middle is steered to"};
inline constexpr Key x5FlexOutsideSpacing{L"x5FlexOutsideSpacing", Kind::Double, Unit::None, "spacing of the beams outside the flex sector"};
inline constexpr Key x5ConstantSpacingEnabled{L"x5ConstantSpacingEnabled", Kind::Bool, Unit::None, "space the beams evenly on the bottom"};
inline constexpr Key x5ConstantSpacingReduceCoverage{L"x5ConstantSpacingReduceCoverage", Kind::Bool, Unit::None, "constant spacing may narrow the coverage"};
inline constexpr Key x5BeamSpacingMode{L"x5BeamSpacingMode", Kind::Int, Unit::None, "how the sonar spaces its beams, 3 for constant spacing"};
inline constexpr Key x5CustomBeamsEnabled{L"x5CustomBeamsEnabled", Kind::Bool, Unit::None, "form a number of beams of one's own"};
inline constexpr Key x5MinBeams{L"x5MinBeams", Kind::Double, Unit::None, "fewest beams that the sonar forms"};
inline constexpr Key x5MaxBeams{L"x5MaxBeams", Kind::Double, Unit::None, "most beams that the sonar forms"};
inline constexpr Key x5BeamWidthX{L"x5BeamWidthX", Kind::Double, Unit::Degree, "width of the projector's beam, first axis"};
inline constexpr Key x5BeamWidthZ{L"x5BeamWidthZ", Kind::Double, Unit::Degree, "width of the projector's beam, second axis"};
inline constexpr Key x5ResetCoverage{L"x5ResetCoverage", Kind::Bool, Unit::None, "go back to the standard coverage; the value does not count"};
inline constexpr Key x5StdCoverage{L"x5StdCoverage", Kind::Double, Unit::Degree, "standard opening angle of the swath"};
inline constexpr Key GUIMinAngle{L"GUIMinAngle", Kind::Double, Unit::Degree, "lower limit of the swath's angles"};
inline constexpr Key GUIMaxAngle{L"GUIMaxAngle", Kind::Double, Unit::Degree, "upper limit of the swath's angles"};
inline constexpr Key x5Overlap{L"x5Overlap", Kind::Double, Unit::Degree, "angle by which the swaths of two heads may overlap"};
inline constexpr Key x5SystemMode{L"x5SystemMode", Kind::Int, Unit::None, "operating mode of the sonar, 1 for the tracker"};

} // namespace keys

namespace records {

inline constexpr RecordTable SystemMode{1014, "system mode", 4, {
    {&keys::x5SystemMode, 0, Wire::U16},
}};
inline constexpr RecordTable ProjectorBeamWidths{1022, "projector beam widths", 8, {
    {&keys::x5BeamWidthX, 0, Wire::F32, Convert::Radians},
    {&keys::x5BeamWidthZ, 4, Wire::F32, Convert::Radians},
}};
inline constexpr RecordTable FlexMode{1038, "flex mode", 12, {
    {&keys::x5FlexSectorCoverage, 0, Wire::F32, Convert::Radians},
    {&keys::x5FlexSectorSteering, 4, Wire::F32, Convert::Radians},
    {&keys::x5FlexOutsideSpacing, 8, Wire::F32},
}};
inline constexpr RecordTable BeamMode{1039, "beam mode", 2, {
    {&keys::x5BeamModeSelection, 0, Wire::U16},
}};
// 0 turns the number of beams back to the usual one.
inline constexpr RecordTable CustomBeams{1043, "number of beams", 2, {
    {&keys::x5CustomBeams, 0, Wire::U16, Convert::Computed},
}};
// 0 turns constant spacing off.
inline constexpr RecordTable ConstantSpacing{1044, "constant spacing", 8, {
    {.key = &keys::x5ConstantSpacing, .offset = 0, .wire = Wire::F32, .convert = Convert::Computed, .unit = Unit::Metre},
    {.key = &keys::x5ConstantSpacingReduceCoverage, .offset = 4, .wire = Wire::BitOfU32, .extent = 0},
}};

inline constexpr auto BeamGeometryRecords = std::to_array<RecordLayout>({
    SystemMode, ProjectorBeamWidths, FlexMode, BeamMode, CustomBeams, ConstantSpacing,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto BeamGeometryKeys = std::to_array<Key const*>({
    &keys::x5BeamModeSelection, &keys::x5FlexSectorCoverage, &keys::x5FlexSectorSteering, &keys::x5FlexOutsideSpacing,
    &keys::x5ConstantSpacingEnabled, &keys::x5ConstantSpacingReduceCoverage, &keys::x5BeamSpacingMode,
    &keys::x5CustomBeamsEnabled, &keys::x5MinBeams, &keys::x5MaxBeams, &keys::x5BeamWidthX, &keys::x5BeamWidthZ,
    &keys::x5ResetCoverage, &keys::x5StdCoverage, &keys::GUIMinAngle, &keys::GUIMaxAngle, &keys::x5Overlap,
    &keys::x5SystemMode,
});

} // namespace qx5::protocol
