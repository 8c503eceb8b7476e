// Motion and heading sensors.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5MotionSensorFormat{L"x5MotionSensorFormat", Kind::Int, Unit::None, "data format of the motion sensor, a code of the sonar"};
inline constexpr Key x5MotionSensorBaudrate{L"x5MotionSensorBaudrate", Kind::Int, Unit::None, "baud rate of the motion sensor, a code of the sonar"};
inline constexpr Key x5MotionSensorParity{L"x5MotionSensorParity", Kind::Int, Unit::None, "parity of the motion sensor, a code of the sonar"};
inline constexpr Key x5MotionSensorDataBits{L"x5MotionSensorDataBits", Kind::Int, Unit::None, "data bits of the motion sensor, a code of the sonar"};
inline constexpr Key x5MotionSensorStopBits{L"x5MotionSensorStopBits", Kind::Int, Unit::None, "stop bits of the motion sensor, a code of the sonar"};
inline constexpr Key x5MotionSensorOrientation{L"x5MotionSensorOrientation", Kind::Int, Unit::None, "which way the motion sensor is mounted, a code of the sonar"};
inline constexpr Key x5MotionSensorLatency{L"x5MotionSensorLatency", Kind::Double, Unit::None, "latency of the motion sensor, as the sonar counts it"};
inline constexpr Key x5HeadingSensorFormat{L"x5HeadingSensorFormat", Kind::Int, Unit::None, "data format of the heading sensor, a code of the sonar"};
inline constexpr Key x5HeadingSensorBaudrate{L"x5HeadingSensorBaudrate", Kind::Int, Unit::None, "baud rate of the heading sensor, a code of the sonar"};
inline constexpr Key x5HeadingSensorParity{L"x5HeadingSensorParity", Kind::Int, Unit::None, "parity of the heading sensor, a code of the sonar"};
inline constexpr Key x5HeadingSensorDataBits{L"x5HeadingSensorDataBits", Kind::Int, Unit::None, "data bits of the heading sensor, a code of the sonar"};
inline constexpr Key x5HeadingSensorStopBits{L"x5HeadingSensorStopBits", Kind::Int, Unit::None, "stop bits of the heading sensor, a code of the sonar"};

} // namespace keys

namespace records {

inline constexpr RecordTable MotionSensor{1037, "motion sensor", 31, {
    {&keys::x5MotionSensorFormat,      0, Wire::U8},
    {&keys::x5MotionSensorBaudrate,    1, Wire::U8},
    {&keys::x5MotionSensorParity,      2, Wire::U8},
    {&keys::x5MotionSensorDataBits,    3, Wire::U8},
    {&keys::x5MotionSensorStopBits,    4, Wire::U8},
    {&keys::x5MotionSensorOrientation, 5, Wire::U8},
    {&keys::x5MotionSensorLatency,     7, Wire::F32},
}};
inline constexpr RecordTable HeadingSensor{1057, "heading sensor", 8, {
    {&keys::x5HeadingSensorFormat,   0, Wire::U8},
    {&keys::x5HeadingSensorBaudrate, 1, Wire::U8},
    {&keys::x5HeadingSensorParity,   2, Wire::U8},
    {&keys::x5HeadingSensorDataBits, 3, Wire::U8},
    {&keys::x5HeadingSensorStopBits, 4, Wire::U8},
}};

inline constexpr auto MotionHeadingRecords = std::to_array<RecordLayout>({
    MotionSensor, HeadingSensor,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto MotionHeadingKeys = std::to_array<Key const*>({
    &keys::x5MotionSensorFormat, &keys::x5MotionSensorBaudrate, &keys::x5MotionSensorParity,
    &keys::x5MotionSensorDataBits, &keys::x5MotionSensorStopBits, &keys::x5MotionSensorOrientation,
    &keys::x5MotionSensorLatency, &keys::x5HeadingSensorFormat, &keys::x5HeadingSensorBaudrate,
    &keys::x5HeadingSensorParity, &keys::x5HeadingSensorDataBits, &keys::x5HeadingSensorStopBits,
});

} // namespace qx5::protocol
