// The basic operating commands: range, power, pulse length, gain, pings on and off, sound velocity, temperature,
// sector, motion compensation, and the plain system commands.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5Absorption{L"x5Absorption", Kind::Double, Unit::DecibelPerKilometre,
                                  "absorption of sound in the water"};
inline constexpr Key x5SpreadingLoss{L"x5SpreadingLoss", Kind::Double, Unit::Decibel,
                                     "spreading loss that the gain makes up for"};
inline constexpr Key x5MaxPingRate{L"x5MaxPingRate", Kind::Double, Unit::PingPerSecond, "upper limit of the ping rate"};
inline constexpr Key x5Power{L"x5Power", Kind::Double, Unit::Decibel, "transmit power"};
inline constexpr Key x5PulseLength{L"x5PulseLength", Kind::Double, Unit::Second, "length of the transmitted pulse"};
inline constexpr Key x5BeamSteer{L"x5BeamSteer", Kind::Pair, Unit::Degree,
                                 "steering of the transmitted beam, two angles"};
inline constexpr Key x5PingOnOffState{L"x5PingOnOffState", Kind::Int, Unit::None,
                                      "0 stops the pings, other values start them"};
inline constexpr Key PingOnlyDuringScan{L"PingOnlyDuringScan", Kind::Bool, Unit::None,
                                        "ping only while the pan-and-tilt unit scans"};
inline constexpr Key x5SoundVelocityOverride{L"x5SoundVelocityOverride", Kind::Bool, Unit::None,
                                             "use the entered sound velocity in place of the probe's"};
inline constexpr Key x5SoundVelocityFilter{L"x5SoundVelocityFilter", Kind::Int, Unit::None,
                                           "filter on the sound velocity of the probe"};
inline constexpr Key x5Temperature{L"x5Temperature", Kind::Double, Unit::Celsius, "water temperature"};
inline constexpr Key x5TemperatureOverride{L"x5TemperatureOverride", Kind::Bool, Unit::None,
                                           "use the entered temperature in place of the measured one"};
inline constexpr Key x5MotionCompensationRoll{L"x5MotionCompensationRoll", Kind::Bool, Unit::None,
                                              "compensate the vessel's roll"};
inline constexpr Key x5MotionCompensationPitch{L"x5MotionCompensationPitch", Kind::Bool, Unit::None,
                                               "compensate the vessel's pitch"};
inline constexpr Key x5LoadFactoryParameters{L"x5LoadFactoryParameters", Kind::Any, Unit::None,
                                             "go back to the factory settings"};
inline constexpr Key x5Shutdown{L"x5Shutdown", Kind::Any, Unit::None, "shut the sonar processor down"};
inline constexpr Key x5Reboot{L"x5Reboot", Kind::Any, Unit::None, "restart the sonar processor"};
inline constexpr Key x5SSR7503CMD{L"x5SSR7503CMD", Kind::Any, Unit::None, "ask the sonar for its settings"};
inline constexpr Key x5CalibCommand{L"x5CalibCommand", Kind::Int, Unit::None,
                                    "calibration command, a code of the sonar"};

} // namespace keys

namespace records {

inline constexpr RecordTable Shutdown{1000, "shut down"};
inline constexpr RecordTable Reboot{1001, "reboot"};
inline constexpr RecordTable CalibrationControl{
    1002, "calibration control", 2, {Field{.key = &keys::x5CalibCommand, .offset = 0, .wire = Wire::U16}}};
inline constexpr RecordTable Range{
    1003, "range", 4, {Field{.key = &keys::x5Range, .offset = 0, .wire = Wire::F32, .unit = Unit::Metre}}};
inline constexpr RecordTable MaxPingRate{
    1004,
    "maximum ping rate",
    4,
    {Field{.key = &keys::x5MaxPingRate, .offset = 0, .wire = Wire::F32, .unit = Unit::PingPerSecond}}};
inline constexpr RecordTable Power{
    1005, "power", 4, {Field{.key = &keys::x5Power, .offset = 0, .wire = Wire::F32, .unit = Unit::Decibel}}};
inline constexpr RecordTable PulseLength{
    1006,
    "pulse length",
    4,
    {Field{.key = &keys::x5PulseLength, .offset = 0, .wire = Wire::F32, .unit = Unit::Second}}};
inline constexpr RecordTable Gain{
    1008, "gain", 4, {Field{.key = &keys::x5Gain, .offset = 0, .wire = Wire::F32, .unit = Unit::Decibel}}};
inline constexpr RecordTable Projector{
    1011, "active projector", 4, {Field{.key = &keys::DeviceEnum, .offset = 0, .wire = Wire::I32}}};
inline constexpr RecordTable BeamSteer{1021,
                                       "beam steering",
                                       8,
                                       {Field{.key = &keys::x5BeamSteer,
                                              .offset = 0,
                                              .wire = Wire::F32,
                                              .convert = Convert::Radians,
                                              .unit = Unit::Radian,
                                              .part = 0},
                                        Field{.key = &keys::x5BeamSteer,
                                              .offset = 4,
                                              .wire = Wire::F32,
                                              .convert = Convert::Radians,
                                              .unit = Unit::Radian,
                                              .part = 1}}};
inline constexpr RecordTable MotionCompensation{
    1033,
    "motion compensation",
    12,
    {Field{.key = &keys::x5MotionCompensationRoll, .offset = 0, .wire = Wire::U8},
     Field{.key = &keys::x5MotionCompensationPitch, .offset = 1, .wire = Wire::U8}}};
inline constexpr RecordTable CoverageSector{1035,
                                            "coverage sector",
                                            8,
                                            {Field{.key = &keys::x5CoverageAngle,
                                                   .offset = 0,
                                                   .wire = Wire::F32,
                                                   .convert = Convert::Radians,
                                                   .unit = Unit::Radian},
                                             Field{.key = &keys::x5RxSteeringAngle,
                                                   .offset = 4,
                                                   .wire = Wire::F32,
                                                   .convert = Convert::Radians,
                                                   .unit = Unit::Radian}}};
inline constexpr RecordTable PingsOn{1100, "pings on"};
inline constexpr RecordTable PingsOff{1101, "pings off"};
inline constexpr RecordTable LoadFactoryParameters{1102, "load factory settings"};

/// Bit 2 tells that the filter byte holds a new filter.
inline constexpr RecordTable ManualSoundVelocity{
    7610,
    "manual sound velocity",
    10,
    {Field{.key = &keys::x5SoundVelocityOverride, .offset = 0, .wire = Wire::BitOfU16, .extent = 0},
     Field{.offset = 0, .wire = Wire::BitOfU16, .extent = 1, .name = "no new sound velocity"},
     Field{.offset = 0, .wire = Wire::BitOfU16, .extent = 2, .name = "new filter"},
     Field{.key = &keys::x5SoundVelocity, .offset = 2, .wire = Wire::F32, .unit = Unit::MetrePerSecond},
     Field{.key = &keys::x5SoundVelocityFilter, .offset = 6, .wire = Wire::U8}}};
/// Travels as a data record with a frame of its own, as all of 7600 to 7699 do when they carry one number.
inline constexpr RecordTable Absorption{
    7611,
    "absorption",
    4,
    {Field{.key = &keys::x5Absorption, .offset = 0, .wire = Wire::F32, .unit = Unit::DecibelPerKilometre}},
    RecordOptions{.carrier = Carrier::Data}};
/// Travels as a data record with a frame of its own, as all of 7600 to 7699 do when they carry one number.
inline constexpr RecordTable SpreadingLoss{
    7612,
    "spreading loss",
    4,
    {Field{.key = &keys::x5SpreadingLoss, .offset = 0, .wire = Wire::F32, .unit = Unit::Decibel}},
    RecordOptions{.carrier = Carrier::Data}};
inline constexpr RecordTable ManualTemperature{
    7614,
    "manual temperature",
    10,
    {Field{.key = &keys::x5TemperatureOverride, .offset = 0, .wire = Wire::BitOfU16, .extent = 0},
     Field{.offset = 0, .wire = Wire::BitOfU16, .extent = 1, .name = "no new temperature"},
     Field{.key = &keys::x5Temperature, .offset = 2, .wire = Wire::F32, .unit = Unit::Celsius}}};
/// The ping rate limit once more, for single-beam systems.
inline constexpr RecordTable SingleBeamMaxPingRate{
    10003,
    "maximum ping rate of a single-beam system",
    4,
    {Field{.key = &keys::x5MaxPingRate, .offset = 0, .wire = Wire::F32, .unit = Unit::PingPerSecond}}};

inline constexpr std::array<RecordLayout, 20> BasicRecords{
    Shutdown,    Reboot,        CalibrationControl,    Range,
    MaxPingRate, Power,         PulseLength,           Gain,
    Projector,   BeamSteer,     MotionCompensation,    CoverageSector,
    PingsOn,     PingsOff,      LoadFactoryParameters, ManualSoundVelocity,
    Absorption,  SpreadingLoss, ManualTemperature,     SingleBeamMaxPingRate};

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr std::array<Key const*, 19> BasicKeys{&keys::x5Absorption,
                                                      &keys::x5SpreadingLoss,
                                                      &keys::x5MaxPingRate,
                                                      &keys::x5Power,
                                                      &keys::x5PulseLength,
                                                      &keys::x5BeamSteer,
                                                      &keys::x5PingOnOffState,
                                                      &keys::PingOnlyDuringScan,
                                                      &keys::x5SoundVelocityOverride,
                                                      &keys::x5SoundVelocityFilter,
                                                      &keys::x5Temperature,
                                                      &keys::x5TemperatureOverride,
                                                      &keys::x5MotionCompensationRoll,
                                                      &keys::x5MotionCompensationPitch,
                                                      &keys::x5LoadFactoryParameters,
                                                      &keys::x5Shutdown,
                                                      &keys::x5Reboot,
                                                      &keys::x5SSR7503CMD,
                                                      &keys::x5CalibCommand};

} // namespace qx5::protocol
