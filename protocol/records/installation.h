// How the sonar is mounted and how it starts up.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// One row a key, one row a field: tables are wider than code.
// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5Bracket{L"x5Bracket", Kind::Branch, Unit::None, "the bracket that one sonar head is mounted in"};
inline constexpr Key x5BracketSelected{L"x5BracketSelected", Kind::Int, Unit::None, "which of the head's array tables holds for the bracket, from 0"};
inline constexpr Key x5BracketX{L"x5BracketX", Kind::Double, Unit::Metre, "where the bracket sits, X axis"};
inline constexpr Key x5BracketY{L"x5BracketY", Kind::Double, Unit::Metre, "where the bracket sits, Y axis"};
inline constexpr Key x5BracketZ{L"x5BracketZ", Kind::Double, Unit::Metre, "where the bracket sits, Z axis"};

// The table of arrays of one head: one entry for each choice of bracket, each with the two arrays of the head.
inline constexpr Key x5MBesXYZList{L"x5MBesXYZList", Kind::Branch, Unit::None, "the array tables of one sonar head"};
inline constexpr Key x5MBesXYZInfo{L"x5MBesXYZInfo", Kind::Branch, Unit::None, "an array table, one for each choice of bracket"};
inline constexpr Key x5MBesXYZSonarId{L"x5MBesXYZSonarId", Kind::Int, Unit::None, "identity of the sonar"};
inline constexpr Key x5MBesXYZTXUnitID{L"x5MBesXYZTXUnitID", Kind::Int, Unit::None, "identity of the transmit unit"};
inline constexpr Key x5MBesXYZRXUnitID{L"x5MBesXYZRXUnitID", Kind::Int, Unit::None, "identity of the receive unit"};
inline constexpr Key x5MBesXYZNumber{L"x5MBesXYZNumber", Kind::Int, Unit::None, "number of the head"};
inline constexpr Key x5MBesXYZFixedParams{L"x5MBesXYZFixedParams", Kind::Int, Unit::None, "which parameters of the head are fixed, a code of the sonar"};
inline constexpr Key x5MBesXYZFrequency{L"x5MBesXYZFrequency", Kind::Double, Unit::None, "frequency that the array table holds for"};
inline constexpr Key x5MBesXYZ{L"x5MBesXYZ", Kind::Branch, Unit::None, "one array of the head: exactly two stand in a table, 0 and 1"};
inline constexpr Key x5MBesXYZLength{L"x5MBesXYZLength", Kind::Double, Unit::Metre, "length of the array"};
inline constexpr Key x5MBesXYZWidth{L"x5MBesXYZWidth", Kind::Double, Unit::Metre, "width of the array"};
inline constexpr Key x5MBesXYZHeight{L"x5MBesXYZHeight", Kind::Double, Unit::Metre, "height of the array"};
inline constexpr Key x5MBesXYZRadius{L"x5MBesXYZRadius", Kind::Double, Unit::Metre, "radius of the array"};
inline constexpr Key x5MBesXYZOffsetX{L"x5MBesXYZOffsetX", Kind::Double, Unit::Metre, "where the array sits, X axis"};
inline constexpr Key x5MBesXYZOffsetY{L"x5MBesXYZOffsetY", Kind::Double, Unit::Metre, "where the array sits, Y axis"};
inline constexpr Key x5MBesXYZOffsetZ{L"x5MBesXYZOffsetZ", Kind::Double, Unit::Metre, "where the array sits, Z axis"};
inline constexpr Key x5MBesXYZOffsetRoll{L"x5MBesXYZOffsetRoll", Kind::Double, Unit::Degree, "how the array is turned, roll"};
inline constexpr Key x5MBesXYZOffsetPitch{L"x5MBesXYZOffsetPitch", Kind::Double, Unit::Degree, "how the array is turned, pitch"};
inline constexpr Key x5MBesXYZOffsetYaw{L"x5MBesXYZOffsetYaw", Kind::Double, Unit::Degree, "how the array is turned, yaw"};
inline constexpr Key x5RxNumber{L"x5RxNumber", Kind::Int, Unit::None, "number of the head's receiver"};
inline constexpr Key x5TxName{L"x5TxName", Kind::String, Unit::None, "name of the head's transmitter"};

inline constexpr Key x5StartupNormalization{L"x5StartupNormalization", Kind::Bool, Unit::None, "normalise the receiver at start-up"};
inline constexpr Key x5RestorePingrate{L"x5RestorePingrate", Kind::Bool, Unit::None, "take up the last ping rate at start-up"};
inline constexpr Key x5RestorePower{L"x5RestorePower", Kind::Bool, Unit::None, "take up the last transmit power at start-up"};
inline constexpr Key x5SVInterlock{L"x5SVInterlock", Kind::Bool, Unit::None, "transmit only with a valid sound velocity"};
inline constexpr Key x5IgnorePpsErrors{L"x5IgnorePpsErrors", Kind::Bool, Unit::None, "go on when the pulse per second fails"};
inline constexpr Key x5RestoreRecording{L"x5RestoreRecording", Kind::Bool, Unit::None, "take up the recording at start-up"};
inline constexpr Key x5RestoreTracker{L"x5RestoreTracker", Kind::Bool, Unit::None, "take up the tracker at start-up"};
inline constexpr Key PowerModeSelection{L"PowerModeSelection", Kind::Int, Unit::None, "power mode at start-up"};

} // namespace keys

namespace records {

// The two arrays lie one after the other in blocks of the same form, yet not alike: the first takes the bracket's X and
// Z in place of its own, the second the bracket's negated Y, and the installation's roll and pitch in place of its own.
inline constexpr std::uint16_t FirstArrayBlock = 20;
inline constexpr std::uint16_t SecondArrayBlock = 60;
inline constexpr std::uint16_t ArrayBlockSize = 40;

inline constexpr RecordTable SonarInstallationIdentifiers{1020, "sonar installation identifiers", 164, {
    {&keys::x5MBesXYZSonarId,        0, Wire::U32},
    {&keys::x5MBesXYZTXUnitID,       4, Wire::U32},
    {&keys::x5MBesXYZRXUnitID,       8, Wire::U32},
    {&keys::x5MBesXYZNumber,        12, Wire::U32},
    {&keys::x5MBesXYZFixedParams,   16, Wire::U32},
    {&keys::x5MBesXYZLength,        20, Wire::F32},
    {&keys::x5MBesXYZWidth,         24, Wire::F32},
    {&keys::x5MBesXYZHeight,        28, Wire::F32},
    {&keys::x5MBesXYZRadius,        32, Wire::F32},
    {&keys::x5BracketX,             36, Wire::F32},
    {&keys::x5MBesXYZOffsetY,       40, Wire::F32},
    {&keys::x5BracketZ,             44, Wire::F32},
    {&keys::x5MBesXYZOffsetRoll,    48, Wire::F32, Convert::Radians},
    {&keys::x5MBesXYZOffsetPitch,   52, Wire::F32, Convert::Radians},
    {&keys::x5MBesXYZOffsetYaw,     56, Wire::F32, Convert::Radians},
    {&keys::x5MBesXYZLength,        60, Wire::F32},
    {&keys::x5MBesXYZWidth,         64, Wire::F32},
    {&keys::x5MBesXYZHeight,        68, Wire::F32},
    {&keys::x5MBesXYZRadius,        72, Wire::F32},
    {&keys::x5MBesXYZOffsetX,       76, Wire::F32},
    {&keys::x5BracketY,             80, Wire::F32, Convert::Negated},
    {&keys::x5MBesXYZOffsetZ,       84, Wire::F32},
    {&keys::ATTR_ROLLCOR,           88, Wire::F32, Convert::Radians},
    {&keys::ATTR_PITCHCOR,          92, Wire::F32, Convert::NegatedRadians},
    {&keys::x5MBesXYZOffsetYaw,     96, Wire::F32, Convert::Radians},
    {&keys::x5MBesXYZFrequency,    100, Wire::F32},
    {.key = &keys::ATTR_DEVICEOFFSET, .offset = 104, .wire = Wire::F32, .part = 0},
    {.key = &keys::ATTR_DEVICEOFFSET, .offset = 108, .wire = Wire::F32, .part = 1},
    {.key = &keys::ATTR_DEVICEOFFSET, .offset = 112, .wire = Wire::F32, .part = 2},
    {&keys::ATTR_CABLELENGTH,      116, Wire::U32},
}, {.carrier = Carrier::Data}};

inline constexpr RecordTable StartupConfiguration{1047, "start-up configuration", 20, {
    {&keys::x5StartupNormalization, 0, Wire::U8},
    {&keys::x5RestorePingrate,      1, Wire::U8},
    {&keys::x5RestorePower,         2, Wire::U8},
    {&keys::x5SVInterlock,          3, Wire::U8},
    {&keys::x5IgnorePpsErrors,      4, Wire::U8},
    {&keys::x5RestoreRecording,     5, Wire::U8},
    {&keys::x5RestoreTracker,       6, Wire::U8},
    {&keys::PowerModeSelection,     7, Wire::U8},
}};

inline constexpr auto InstallationRecords = std::to_array<RecordLayout>({
    SonarInstallationIdentifiers, StartupConfiguration,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto InstallationKeys = std::to_array<Key const*>({
    &keys::x5Bracket, &keys::x5BracketSelected, &keys::x5BracketX, &keys::x5BracketY, &keys::x5BracketZ,
    &keys::x5MBesXYZList, &keys::x5MBesXYZInfo, &keys::x5MBesXYZSonarId, &keys::x5MBesXYZTXUnitID,
    &keys::x5MBesXYZRXUnitID, &keys::x5MBesXYZNumber, &keys::x5MBesXYZFixedParams, &keys::x5MBesXYZFrequency,
    &keys::x5MBesXYZ, &keys::x5MBesXYZLength, &keys::x5MBesXYZWidth, &keys::x5MBesXYZHeight, &keys::x5MBesXYZRadius,
    &keys::x5MBesXYZOffsetX, &keys::x5MBesXYZOffsetY, &keys::x5MBesXYZOffsetZ, &keys::x5MBesXYZOffsetRoll,
    &keys::x5MBesXYZOffsetPitch, &keys::x5MBesXYZOffsetYaw, &keys::x5RxNumber, &keys::x5TxName,
    &keys::x5StartupNormalization, &keys::x5RestorePingrate, &keys::x5RestorePower, &keys::x5SVInterlock,
    &keys::x5IgnorePpsErrors, &keys::x5RestoreRecording, &keys::x5RestoreTracker, &keys::PowerModeSelection,
});

} // namespace qx5::protocol
