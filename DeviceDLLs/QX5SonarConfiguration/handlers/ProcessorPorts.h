// The commands for serial ports, UDP ports and time sources of the sonar processor, as tables.
#pragma once

#include "command.h"

namespace qx5::commands {

inline constexpr Command RequestSerialPortConfiguration{};
inline constexpr Command RequestSerialPortStatus{};
inline constexpr Command RequestUdpPortConfiguration{};
inline constexpr Command RequestUdpPortStatus{};
inline constexpr Command RequestTimeSourceEnabled{};
inline constexpr Command RequestTimeSourceEthernetConfiguration{};
inline constexpr Command RequestSerialPortConfigRecord{};
inline constexpr Command RequestSerialPortStatusRecord{};
inline constexpr Command RequestUdpPortConfigRecord{};
inline constexpr Command RequestUdpPortStatusRecord{};

} // namespace qx5::commands
