// Keys of what a sonar reports of itself: the limits of each operation mode, and values that no command carries.
#pragma once

#include <array>

#include <protocol/record_layout.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

// The tree below "x5SonarSettings", one such branch for each operation mode.
inline constexpr Key SystemText{L"SystemText", Kind::String, Unit::None, "name of the operation mode"};
inline constexpr Key x5Min{L"x5Min", Kind::Double, Unit::None, "lower limit"};
inline constexpr Key x5Max{L"x5Max", Kind::Double, Unit::None, "upper limit"};
inline constexpr Key x5RangeSet{L"x5RangeSet", Kind::DoubleList, Unit::Metre, "ranges that the sonar offers, ascending"};
inline constexpr Key x5PulseLengthSet{L"x5PulseLengthSet", Kind::Branch, Unit::None, "pulse lengths of one pulse type"};
inline constexpr Key x5PulseLengthValues{L"x5PulseLengthValues", Kind::DoubleList, Unit::Second, "pulse lengths that the sonar offers, ascending"};
inline constexpr Key x5BeamWidthSetX{L"x5BeamWidthSetX", Kind::Branch, Unit::None, "beam widths of the projector, first axis"};
inline constexpr Key x5BeamWidthSetZ{L"x5BeamWidthSetZ", Kind::Branch, Unit::None, "beam widths of the projector, second axis"};
inline constexpr Key x5Variable{L"x5Variable", Kind::Bool, Unit::None, "the beam width can be chosen"};
inline constexpr Key x5BeamWidthList{L"x5BeamWidthList", Kind::DoubleList, Unit::Degree, "beam widths to choose from, at most ten"};
inline constexpr Key x5MinX{L"x5MinX", Kind::Double, Unit::Degree, "least steering, first axis"};
inline constexpr Key x5MaxX{L"x5MaxX", Kind::Double, Unit::Degree, "greatest steering, first axis"};
inline constexpr Key x5MinZ{L"x5MinZ", Kind::Double, Unit::Degree, "least steering, second axis"};
inline constexpr Key x5MaxZ{L"x5MaxZ", Kind::Double, Unit::Degree, "greatest steering, second axis"};
inline constexpr Key x5Steerable{L"x5Steerable", Kind::Bool, Unit::None, "the projector's beam can be steered"};
inline constexpr Key x5PingRate{L"x5PingRate", Kind::Branch, Unit::None, "limits of the ping rate"};
inline constexpr Key x5Ratio{L"x5Ratio", Kind::Double, Unit::None, "steps of a control for one ping per second"};
inline constexpr Key x5FreeRun{L"x5FreeRun", Kind::Bool, Unit::None, "the sonar pings as fast as it can and takes no rate"};
inline constexpr Key x5Fixed{L"x5Fixed", Kind::Branch, Unit::None, "limits of the fixed gain"};
inline constexpr Key x5Available{L"x5Available", Kind::Bool, Unit::None, "the sonar has this"};
inline constexpr Key x5Frequency{L"x5Frequency", Kind::Branch, Unit::None, "limits of the frequency; in a preset of the operator terminal, as a double, the projector's number"};
inline constexpr Key x5CenterFreq{L"x5CenterFreq", Kind::Double, Unit::Hertz, "usual centre frequency"};
inline constexpr Key x5Chirp{L"x5Chirp", Kind::Int, Unit::None, "not 0: the sonar can sweep its frequency"};
inline constexpr Key MaxAbsorption{L"MaxAbsorption", Kind::Double, Unit::DecibelPerKilometre, "greatest absorption that can be set"};
inline constexpr Key MaxSpreading{L"MaxSpreading", Kind::Double, Unit::Decibel, "greatest spreading loss that can be set"};
inline constexpr Key x5RangeGate{L"x5RangeGate", Kind::Branch, Unit::None, "limits of the range gate"};
inline constexpr Key x5DepthGate{L"x5DepthGate", Kind::Branch, Unit::None, "limits of the depth gate"};
inline constexpr Key x5NadirGate{L"x5NadirGate", Kind::Branch, Unit::None, "limits of the adaptive gate"};
inline constexpr Key x5MinValue{L"x5MinValue", Kind::Double, Unit::Metre, "least value of a gate"};
inline constexpr Key x5MinWindow{L"x5MinWindow", Kind::Double, Unit::Metre, "least opening of a gate"};

// Values at the top of the device's tree.
inline constexpr Key x5EnumIsFixed{L"x5EnumIsFixed", Kind::Bool, Unit::None, "the operation mode cannot be changed"};
inline constexpr Key x5BeamModes{L"x5BeamModes", Kind::String, Unit::None, "name of one beam mode, one key for each mode"};
inline constexpr Key x5ProjBeamAngleVer{L"x5ProjBeamAngleVer", Kind::Double, Unit::Degree, "steering of the projector's beam, vertical"};
inline constexpr Key x5ProjBeamAngleHor{L"x5ProjBeamAngleHor", Kind::Double, Unit::Degree, "steering of the projector's beam, horizontal"};
inline constexpr Key x5FileName{L"x5FileName", Kind::String, Unit::None, "file that the sonar records into"};
inline constexpr Key x5FileSize{L"x5FileSize", Kind::Int64, Unit::Byte, "size of that file"};
inline constexpr Key x5DiskFree{L"x5DiskFree", Kind::Int, Unit::Percent, "free part of the sonar's disk"};
inline constexpr Key x5PingNumber{L"x5PingNumber", Kind::Int, Unit::None, "number of the ping that has just been transmitted"};
inline constexpr Key x5PingTime{L"x5PingTime", Kind::Double, Unit::Second, "when it was transmitted, since 1970-01-01 UTC"};

// The tree of an operator terminal.
inline constexpr Key preset{L"preset", Kind::Branch, Unit::None, "settings that one key of the terminal calls up, under the keys of their requests"};
// How the sonar takes turns with others, as the host's configuration of the device tells.
inline constexpr Key PingMode{L"PingMode", Kind::Int, Unit::None, "not 0: the sonar pings under control, in turn with others of its group"};
inline constexpr Key SonarGroupId{L"SonarGroupId", Kind::Int, Unit::None, "sonars of one group never ping at the same time"};
inline constexpr Key Overhead{L"Overhead", Kind::Double, Unit::Percent, "pause after a ping, as a part of its two-way travel time"};
// Told by this project's own simulated sonar, and understood by its host.
inline constexpr Key StreamStatus{L"StreamStatus", Kind::Int, Unit::None, "status of the sonar's data stream, 0 when it is well"};
inline constexpr Key EchoRecords{L"EchoRecords", Kind::Bool, Unit::None, "the sonar sends detections and water columns to a host that asks for them"};

} // namespace keys

/// Every key of this file, for look-up by text.
inline constexpr auto SettingsKeys = std::to_array<Key const*>({
    &keys::SystemText, &keys::x5Min, &keys::x5Max, &keys::x5RangeSet, &keys::x5PulseLengthSet,
    &keys::x5PulseLengthValues, &keys::x5BeamWidthSetX, &keys::x5BeamWidthSetZ, &keys::x5Variable,
    &keys::x5BeamWidthList, &keys::x5MinX, &keys::x5MaxX, &keys::x5MinZ, &keys::x5MaxZ, &keys::x5Steerable,
    &keys::x5PingRate, &keys::x5Ratio, &keys::x5FreeRun, &keys::x5Fixed, &keys::x5Available, &keys::x5Frequency,
    &keys::x5CenterFreq, &keys::x5Chirp, &keys::MaxAbsorption, &keys::MaxSpreading, &keys::x5RangeGate,
    &keys::x5DepthGate, &keys::x5NadirGate, &keys::x5MinValue, &keys::x5MinWindow, &keys::x5EnumIsFixed,
    &keys::x5BeamModes, &keys::x5ProjBeamAngleVer, &keys::x5ProjBeamAngleHor, &keys::x5FileName, &keys::x5FileSize,
    &keys::x5DiskFree, &keys::x5PingNumber, &keys::x5PingTime, &keys::preset,
    &keys::PingMode, &keys::SonarGroupId, &keys::Overhead, &keys::StreamStatus,
    &keys::EchoRecords,
});

} // namespace qx5::protocol
