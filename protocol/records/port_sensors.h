// Sensors on the sonar's serial inputs, remote I/O, mounting and deck mode.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5ZdaBaudrate{L"x5ZdaBaudrate", Kind::Int, Unit::None, "baud rate of the ZDA input (date and time), a code of the sonar"};
inline constexpr Key x5ZdaParity{L"x5ZdaParity", Kind::Int, Unit::None, "parity of the ZDA input (date and time), a code of the sonar"};
inline constexpr Key x5ZdaDatabits{L"x5ZdaDatabits", Kind::Int, Unit::None, "data bits of the ZDA input (date and time), a code of the sonar"};
inline constexpr Key x5ZdaStopBits{L"x5ZdaStopBits", Kind::Int, Unit::None, "stop bits of the ZDA input (date and time), a code of the sonar"};
inline constexpr Key x5GgaBaudrate{L"x5GgaBaudrate", Kind::Int, Unit::None, "baud rate of the GGA input (position), a code of the sonar"};
inline constexpr Key x5GgaParity{L"x5GgaParity", Kind::Int, Unit::None, "parity of the GGA input (position), a code of the sonar"};
inline constexpr Key x5GgaDatabits{L"x5GgaDatabits", Kind::Int, Unit::None, "data bits of the GGA input (position), a code of the sonar"};
inline constexpr Key x5GgaStopBits{L"x5GgaStopBits", Kind::Int, Unit::None, "stop bits of the GGA input (position), a code of the sonar"};
inline constexpr Key x5SvpBaudrate{L"x5SvpBaudrate", Kind::Int, Unit::None, "baud rate of the SVP input (sound velocity probe), a code of the sonar"};
inline constexpr Key x5SvpParity{L"x5SvpParity", Kind::Int, Unit::None, "parity of the SVP input (sound velocity probe), a code of the sonar"};
inline constexpr Key x5SvpDatabits{L"x5SvpDatabits", Kind::Int, Unit::None, "data bits of the SVP input (sound velocity probe), a code of the sonar"};
inline constexpr Key x5SvpStopBits{L"x5SvpStopBits", Kind::Int, Unit::None, "stop bits of the SVP input (sound velocity probe), a code of the sonar"};
inline constexpr Key x5HprBaudrate{L"x5HprBaudrate", Kind::Int, Unit::None, "baud rate of the HPR input (heave, pitch and roll), a code of the sonar"};
inline constexpr Key x5HprParity{L"x5HprParity", Kind::Int, Unit::None, "parity of the HPR input (heave, pitch and roll), a code of the sonar"};
inline constexpr Key x5HprDatabits{L"x5HprDatabits", Kind::Int, Unit::None, "data bits of the HPR input (heave, pitch and roll), a code of the sonar"};
inline constexpr Key x5HprStopBits{L"x5HprStopBits", Kind::Int, Unit::None, "stop bits of the HPR input (heave, pitch and roll), a code of the sonar"};
inline constexpr Key x5HdtBaudrate{L"x5HdtBaudrate", Kind::Int, Unit::None, "baud rate of the HDT input (heading), a code of the sonar"};
inline constexpr Key x5HdtParity{L"x5HdtParity", Kind::Int, Unit::None, "parity of the HDT input (heading), a code of the sonar"};
inline constexpr Key x5HdtDatabits{L"x5HdtDatabits", Kind::Int, Unit::None, "data bits of the HDT input (heading), a code of the sonar"};
inline constexpr Key x5HdtStopBits{L"x5HdtStopBits", Kind::Int, Unit::None, "stop bits of the HDT input (heading), a code of the sonar"};
inline constexpr Key x5UseBuildInPOSMV{L"x5UseBuildInPOSMV", Kind::Bool, Unit::None, "use the built-in motion unit"};
inline constexpr Key x5UseAttachedSVP{L"x5UseAttachedSVP", Kind::Bool, Unit::None, "use the attached sound velocity probe"};
inline constexpr Key x5PowerBuiltInHPR{L"x5PowerBuiltInHPR", Kind::Any, Unit::None, "switch the power of the built-in motion unit"};
inline constexpr Key x5QMIOAddress1{L"x5QMIOAddress1", Kind::String, Unit::None, "address of the first remote I/O module"};
inline constexpr Key x5QMIOAddress2{L"x5QMIOAddress2", Kind::String, Unit::None, "address of the second remote I/O module"};
inline constexpr Key x5QMIOAddress3{L"x5QMIOAddress3", Kind::String, Unit::None, "address of the third remote I/O module"};
inline constexpr Key x5DeckMode{L"x5DeckMode", Kind::Bool, Unit::None, "deck mode, for a sonar out of the water"};

} // namespace keys

namespace records {

inline constexpr RecordTable SensorSelection{1602, "sensor selection", 2, {
    {&keys::x5UseBuildInPOSMV, 0, Wire::U8},
    {&keys::x5UseAttachedSVP,  1, Wire::U8},
}};
inline constexpr RecordTable PortSensors{1604, "sensors on the serial inputs", 20, {
    {&keys::x5ZdaBaudrate,  0, Wire::U8},
    {&keys::x5ZdaParity,    1, Wire::U8},
    {&keys::x5ZdaDatabits,  2, Wire::U8},
    {&keys::x5ZdaStopBits,  3, Wire::U8},
    {&keys::x5GgaBaudrate,  4, Wire::U8},
    {&keys::x5GgaParity,    5, Wire::U8},
    {&keys::x5GgaDatabits,  6, Wire::U8},
    {&keys::x5GgaStopBits,  7, Wire::U8},
    {&keys::x5SvpBaudrate,  8, Wire::U8},
    {&keys::x5SvpParity,    9, Wire::U8},
    {&keys::x5SvpDatabits, 10, Wire::U8},
    {&keys::x5SvpStopBits, 11, Wire::U8},
    {&keys::x5HprBaudrate, 12, Wire::U8},
    {&keys::x5HprParity,   13, Wire::U8},
    {&keys::x5HprDatabits, 14, Wire::U8},
    {&keys::x5HprStopBits, 15, Wire::U8},
    {&keys::x5HdtBaudrate, 16, Wire::U8},
    {&keys::x5HdtParity,   17, Wire::U8},
    {&keys::x5HdtDatabits, 18, Wire::U8},
    {&keys::x5HdtStopBits, 19, Wire::U8},
}};
inline constexpr RecordTable RemoteIoAddresses{1605, "addresses of the remote I/O modules", 768, {
    {.key = &keys::x5QMIOAddress1, .offset =   0, .wire = Wire::Text, .extent = 256},
    {.key = &keys::x5QMIOAddress2, .offset = 256, .wire = Wire::Text, .extent = 256},
    {.key = &keys::x5QMIOAddress3, .offset = 512, .wire = Wire::Text, .extent = 256},
}};
// The sonar counts the roll of its mounting the other way round.
inline constexpr RecordTable SonarMounting{1607, "sonar mounting", 4, {
    {&keys::ATTR_ROLLCOR, 0, Wire::F32, Convert::NegatedRadians},
}};
inline constexpr RecordTable DeckMode{1608, "deck mode", 4, {
    {&keys::x5DeckMode, 0, Wire::U32},
}};
inline constexpr RecordTable BuiltInMotionUnitPower{1610, "power of the built-in motion unit"};

inline constexpr auto PortSensorsRecords = std::to_array<RecordLayout>({
    SensorSelection, PortSensors, RemoteIoAddresses, SonarMounting, DeckMode, BuiltInMotionUnitPower,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto PortSensorsKeys = std::to_array<Key const*>({
    &keys::x5ZdaBaudrate, &keys::x5ZdaParity, &keys::x5ZdaDatabits, &keys::x5ZdaStopBits, &keys::x5GgaBaudrate,
    &keys::x5GgaParity, &keys::x5GgaDatabits, &keys::x5GgaStopBits, &keys::x5SvpBaudrate, &keys::x5SvpParity,
    &keys::x5SvpDatabits, &keys::x5SvpStopBits, &keys::x5HprBaudrate, &keys::x5HprParity, &keys::x5HprDatabits,
    &keys::x5HprStopBits, &keys::x5HdtBaudrate, &keys::x5HdtParity, &keys::x5HdtDatabits, &keys::x5HdtStopBits,
    &keys::x5UseBuildInPOSMV, &keys::x5UseAttachedSVP, &keys::x5PowerBuiltInHPR, &keys::x5QMIOAddress1,
    &keys::x5QMIOAddress2, &keys::x5QMIOAddress3, &keys::x5DeckMode,
});

} // namespace qx5::protocol
