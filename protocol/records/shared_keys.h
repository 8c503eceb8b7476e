// Keys that commands of more than one family use.
#pragma once

#include <array>

#include <protocol/record_layout.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key DeviceEnum{L"DeviceEnum", Kind::Int, Unit::None, "number of the active projector"};
inline constexpr Key DeviceId{L"DeviceId", Kind::Int, Unit::None, "device number of the sonar, 0 when unknown"};
inline constexpr Key x5SystemIDH{L"x5SystemIDH", Kind::Bool, Unit::None,
                                 "the system is of the kind that couples no slave head"};
inline constexpr Key x5Range{L"x5Range", Kind::Double, Unit::Metre, "range that the sonar listens to"};
inline constexpr Key x5Gain{L"x5Gain", Kind::Double, Unit::Decibel, "receiver gain"};
inline constexpr Key x5SoundVelocity{L"x5SoundVelocity", Kind::Double, Unit::MetrePerSecond, "sound velocity at the sonar head"};
inline constexpr Key x5CoverageAngle{L"x5CoverageAngle", Kind::Double, Unit::Degree, "opening angle of the swath"};
inline constexpr Key x5RxSteeringAngle{L"x5RxSteeringAngle", Kind::Double, Unit::Degree, "angle that the swath's middle is steered to"};
inline constexpr Key x5CustomBeams{L"x5CustomBeams", Kind::Double, Unit::None, "wanted number of beams, 0 for the usual"};
inline constexpr Key x5ConstantSpacing{L"x5ConstantSpacing", Kind::Double, Unit::Metre, "wanted spacing of the beams on the bottom"};
inline constexpr Key x5DualHeadMode{L"x5DualHeadMode", Kind::Int, Unit::None, "coupling of two heads, 0 for a single head"};
inline constexpr Key x5PulseType{L"x5PulseType", Kind::Int, Unit::None, "form of the transmitted pulse"};
inline constexpr Key PingSequenceId{L"PingSequenceId", Kind::Int, Unit::None, "ping sequence to run, -1 for none"};
inline constexpr Key x5SampleRateSelection{L"x5SampleRateSelection", Kind::Int, Unit::None, "index of the sample rate among those that the sonar offers"};
inline constexpr Key x5SampleRateSet{L"x5SampleRateSet", Kind::Branch, Unit::None, "a sample rate that the sonar offers"};
inline constexpr Key AScanBeamStart{L"AScanBeamStart", Kind::Int, Unit::None, "first beam of the A-scan"};
inline constexpr Key AScanBeamEnd{L"AScanBeamEnd", Kind::Int, Unit::None, "last beam of the A-scan"};
inline constexpr Key x5SonarSettings{L"x5SonarSettings", Kind::Branch, Unit::None, "settings that one head reports"};
inline constexpr Key Request{L"Request", Kind::Branch, Unit::None, "the branch of a tree that holds a request"};

// The host's own attributes of a device; their texts are those of the host's constants.
inline constexpr Key ATTR_DEVICEOFFSET{L"ATTR_DEVICEOFFSET", Kind::Offset, Unit::Metre, "where the sonar sits on the vessel, three axes"};
inline constexpr Key ATTR_ROLLCOR{L"ATTR_ROLLCOR", Kind::Double, Unit::Degree, "roll correction of the sonar's mounting"};
inline constexpr Key ATTR_PITCHCOR{L"ATTR_PITCHCOR", Kind::Double, Unit::Degree, "pitch correction of the sonar's mounting"};
inline constexpr Key ATTR_CABLELENGTH{L"ATTR_CABLELENGTH", Kind::Int, Unit::None, "length of the sonar's cable"};

} // namespace keys

/// Every key of this file, for look-up by text.
inline constexpr auto SharedKeys = std::to_array<Key const*>({
    &keys::DeviceEnum, &keys::DeviceId, &keys::x5SystemIDH, &keys::x5Range, &keys::x5Gain, &keys::x5SoundVelocity,
    &keys::x5CoverageAngle, &keys::x5RxSteeringAngle, &keys::x5CustomBeams, &keys::x5ConstantSpacing,
    &keys::x5DualHeadMode, &keys::x5PulseType, &keys::PingSequenceId, &keys::x5SampleRateSelection,
    &keys::x5SampleRateSet, &keys::AScanBeamStart, &keys::AScanBeamEnd, &keys::x5SonarSettings,
    &keys::ATTR_DEVICEOFFSET, &keys::ATTR_ROLLCOR, &keys::ATTR_PITCHCOR, &keys::ATTR_CABLELENGTH,
    &keys::Request,
});

} // namespace qx5::protocol
