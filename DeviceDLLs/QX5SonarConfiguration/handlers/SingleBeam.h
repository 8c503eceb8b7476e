// The commands for single-beam systems, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestTransducerIndex{};
inline constexpr Command RequestSbesChannelSelect{};
inline constexpr Command RequestSbesTransducerDraft{};
inline constexpr Command RequestSbesOperationMode{};
inline constexpr Command RequestSbesTrackerTweakMode{};
inline constexpr Command RequestSbesGainTweak{};
inline constexpr Command RequestSbesPowerTweak{};
inline constexpr Command RequestSbesPulseLengthTweak{};
inline constexpr Command RequestSbesRangeTweak{};
inline constexpr Command SendSbesTransducerUpdateXml{};
inline constexpr Command RequestSbesSettingsXml{};
inline constexpr Command SendSbesSettingsUpdateXml{};
inline constexpr Command RequestSbesDefaultSettings{};

} // namespace qx5::commands
