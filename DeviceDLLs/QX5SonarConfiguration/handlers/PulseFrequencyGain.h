// The commands for pulse, frequency, gain, sample rate and ping pattern, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestPulseType{};
inline constexpr Command RequestPulseCharacteristics{};
inline constexpr Command RequestCenterFrequency{};
inline constexpr Command RequestFMSweep{};
inline constexpr Command RequestConfigureMultiFrequency{};
inline constexpr Command RequestVernierParameters{};
inline constexpr Command RequestGainMode{};
inline constexpr Command RequestSourceLevelMode{};
inline constexpr Command RequestSampleRate{};
inline constexpr Command RequestPingSequence{};
inline constexpr Command RequestMultiPing{};

} // namespace qx5::commands
