// The basic operating commands: range, power, pulse length, gain, pings on and off, sound velocity, temperature,
// sector, motion compensation, and the plain system commands.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// One row a key, one row a field: tables are wider than code.
// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5Absorption{L"x5Absorption", Kind::Double, Unit::DecibelPerKilometre, "absorption of sound in the water"};
inline constexpr Key x5SpreadingLoss{L"x5SpreadingLoss", Kind::Double, Unit::Decibel, "spreading loss that the gain makes up for"};
inline constexpr Key x5MaxPingRate{L"x5MaxPingRate", Kind::Double, Unit::PingPerSecond, "upper limit of the ping rate"};
inline constexpr Key x5Power{L"x5Power", Kind::Double, Unit::Decibel, "transmit power"};
inline constexpr Key x5PulseLength{L"x5PulseLength", Kind::Double, Unit::Second, "length of the transmitted pulse"};
inline constexpr Key x5BeamSteer{L"x5BeamSteer", Kind::Pair, Unit::Degree, "steering of the transmitted beam, two angles"};
inline constexpr Key x5PingOnOffState{L"x5PingOnOffState", Kind::Int, Unit::None, "0 stops the pings, other values start them"};
inline constexpr Key PingOnlyDuringScan{L"PingOnlyDuringScan", Kind::Bool, Unit::None, "ping only while the pan-and-tilt unit scans"};
inline constexpr Key x5SoundVelocityOverride{L"x5SoundVelocityOverride", Kind::Bool, Unit::None, "use the entered sound velocity in place of the probe's"};
inline constexpr Key x5SoundVelocityFilter{L"x5SoundVelocityFilter", Kind::Int, Unit::None, "filter on the sound velocity of the probe"};
inline constexpr Key x5Temperature{L"x5Temperature", Kind::Double, Unit::Celsius, "water temperature"};
inline constexpr Key x5TemperatureOverride{L"x5TemperatureOverride", Kind::Bool, Unit::None, "use the entered temperature in place of the measured one"};
inline constexpr Key x5MotionCompensationRoll{L"x5MotionCompensationRoll", Kind::Bool, Unit::None, "compensate the vessel's roll"};
inline constexpr Key x5MotionCompensationPitch{L"x5MotionCompensationPitch", Kind::Bool, Unit::None, "compensate the vessel's pitch"};
inline constexpr Key x5LoadFactoryParameters{L"x5LoadFactoryParameters", Kind::Any, Unit::None, "go back to the factory settings"};
inline constexpr Key x5Shutdown{L"x5Shutdown", Kind::Any, Unit::None, "shut the sonar processor down"};
inline constexpr Key x5Reboot{L"x5Reboot", Kind::Any, Unit::None, "restart the sonar processor"};
inline constexpr Key x5SSR7503CMD{L"x5SSR7503CMD", Kind::Any, Unit::None, "ask the sonar for its settings"};
inline constexpr Key x5CalibCommand{L"x5CalibCommand", Kind::Int, Unit::None, "calibration command, a code of the sonar"};

} // namespace keys

namespace records {

inline constexpr RecordTable Shutdown{1000, "shut down"};
inline constexpr RecordTable Reboot{1001, "reboot"};
inline constexpr RecordTable CalibrationControl{1002, "calibration control", 2, {
    {&keys::x5CalibCommand, 0, Wire::U16},
}};
inline constexpr RecordTable Range{1003, "range", 4, {
    {&keys::x5Range, 0, Wire::F32},
}};
inline constexpr RecordTable MaxPingRate{1004, "maximum ping rate", 4, {
    {&keys::x5MaxPingRate, 0, Wire::F32},
}};
inline constexpr RecordTable Power{1005, "power", 4, {
    {&keys::x5Power, 0, Wire::F32},
}};
inline constexpr RecordTable PulseLength{1006, "pulse length", 4, {
    {&keys::x5PulseLength, 0, Wire::F32},
}};
inline constexpr RecordTable Gain{1008, "gain", 4, {
    {&keys::x5Gain, 0, Wire::F32},
}};
inline constexpr RecordTable Projector{1011, "active projector", 4, {
    {&keys::DeviceEnum, 0, Wire::I32},
}};
inline constexpr RecordTable BeamSteer{1021, "beam steering", 8, {
    {.key = &keys::x5BeamSteer, .offset = 0, .wire = Wire::F32, .convert = Convert::Radians, .part = 0},
    {.key = &keys::x5BeamSteer, .offset = 4, .wire = Wire::F32, .convert = Convert::Radians, .part = 1},
}};
inline constexpr RecordTable MotionCompensation{1033, "motion compensation", 12, {
    {&keys::x5MotionCompensationRoll,  0, Wire::U8},
    {&keys::x5MotionCompensationPitch, 1, Wire::U8},
}};
inline constexpr RecordTable CoverageSector{1035, "coverage sector", 8, {
    {&keys::x5CoverageAngle,   0, Wire::F32, Convert::Radians},
    {&keys::x5RxSteeringAngle, 4, Wire::F32, Convert::Radians},
}};
inline constexpr RecordTable PingsOn{1100, "pings on"};
inline constexpr RecordTable PingsOff{1101, "pings off"};
inline constexpr RecordTable LoadFactoryParameters{1102, "load factory settings"};

inline constexpr Field NoNewSoundVelocity{
    .offset = 0, .wire = Wire::BitOfU16, .extent = 1, .name = "no new sound velocity"};
inline constexpr Field NewSoundVelocityFilter{.offset = 0, .wire = Wire::BitOfU16, .extent = 2, .name = "new filter"};
inline constexpr RecordTable ManualSoundVelocity{7610, "manual sound velocity", 10, {
    {.key = &keys::x5SoundVelocityOverride, .offset = 0, .wire = Wire::BitOfU16, .extent = 0},
    NoNewSoundVelocity,
    NewSoundVelocityFilter,
    {&keys::x5SoundVelocity,       2, Wire::F32},
    {&keys::x5SoundVelocityFilter, 6, Wire::U8},
}};

// Records 7600 to 7699 that carry one number travel as data records with a frame of their own.
inline constexpr RecordTable Absorption{7611, "absorption", 4, {
    {&keys::x5Absorption, 0, Wire::F32},
}, {.carrier = Carrier::Data}};
inline constexpr RecordTable SpreadingLoss{7612, "spreading loss", 4, {
    {&keys::x5SpreadingLoss, 0, Wire::F32},
}, {.carrier = Carrier::Data}};

inline constexpr Field NoNewTemperature{
    .offset = 0, .wire = Wire::BitOfU16, .extent = 1, .name = "no new temperature"};
inline constexpr RecordTable ManualTemperature{7614, "manual temperature", 10, {
    {.key = &keys::x5TemperatureOverride, .offset = 0, .wire = Wire::BitOfU16, .extent = 0},
    NoNewTemperature,
    {&keys::x5Temperature, 2, Wire::F32},
}};

// The limit of the ping rate once more, for single-beam systems.
inline constexpr RecordTable SingleBeamMaxPingRate{10003, "maximum ping rate of a single-beam system", 4, {
    {&keys::x5MaxPingRate, 0, Wire::F32},
}};

inline constexpr auto BasicRecords = std::to_array<RecordLayout>({
    Shutdown, Reboot, CalibrationControl, Range, MaxPingRate, Power, PulseLength, Gain, Projector, BeamSteer,
    MotionCompensation, CoverageSector, PingsOn, PingsOff, LoadFactoryParameters, ManualSoundVelocity, Absorption,
    SpreadingLoss, ManualTemperature, SingleBeamMaxPingRate,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto BasicKeys = std::to_array<Key const*>({
    &keys::x5Absorption, &keys::x5SpreadingLoss, &keys::x5MaxPingRate, &keys::x5Power, &keys::x5PulseLength,
    &keys::x5BeamSteer, &keys::x5PingOnOffState, &keys::PingOnlyDuringScan, &keys::x5SoundVelocityOverride,
    &keys::x5SoundVelocityFilter, &keys::x5Temperature, &keys::x5TemperatureOverride, &keys::x5MotionCompensationRoll,
    &keys::x5MotionCompensationPitch, &keys::x5LoadFactoryParameters, &keys::x5Shutdown, &keys::x5Reboot,
    &keys::x5SSR7503CMD, &keys::x5CalibCommand,
});

} // namespace qx5::protocol
