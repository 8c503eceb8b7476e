// Serial ports, UDP ports and time sources of the sonar processor.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key SerialPortIndex{L"SerialPortIndex", Kind::Int, Unit::None, "the serial port that is meant"};
inline constexpr Key BaudrateIndex{L"BaudrateIndex", Kind::Int, Unit::None, "baud rate of a serial port, a code of the sonar"};
inline constexpr Key DatabitsIndex{L"DatabitsIndex", Kind::Int, Unit::None, "data bits of a serial port, a code of the sonar"};
inline constexpr Key ParityIndex{L"ParityIndex", Kind::Int, Unit::None, "parity of a serial port, a code of the sonar"};
inline constexpr Key StopBitsIndex{L"StopBitsIndex", Kind::Int, Unit::None, "stop bits of a serial port, a code of the sonar"};
inline constexpr Key PhyIndex{L"PhyIndex", Kind::Int, Unit::None, "physical layer of a serial port, a code of the sonar"};
inline constexpr Key SerialDataFormatIndex{L"SerialDataFormatIndex", Kind::Int, Unit::None, "data format of a serial port, a code of the sonar"};
inline constexpr Key SerialPortEnabled{L"SerialPortEnabled", Kind::Int, Unit::None, "1 enables the serial port, other values do not"};
inline constexpr Key SerialPortAutoConfigure{L"SerialPortAutoConfigure", Kind::Int, Unit::None, "1 has the serial port find its settings by itself, other values do not"};
inline constexpr Key SerialPortConfigured{L"SerialPortConfigured", Kind::Int, Unit::None, "1 marks the serial port as configured, other values do not"};
inline constexpr Key OutputChan1{L"OutputChan1", Kind::Bool, Unit::None, "first output channel of a serial or UDP port"};
inline constexpr Key OutputChan2{L"OutputChan2", Kind::Bool, Unit::None, "second output channel of a serial or UDP port"};
inline constexpr Key SerialPortCommand{L"SerialPortCommand", Kind::Int, Unit::None, "command for a serial port, a code of the sonar"};
inline constexpr Key UdpPortIndex{L"UdpPortIndex", Kind::Int, Unit::None, "the UDP port that is meant"};
inline constexpr Key UdpAddress{L"UdpAddress", Kind::String, Unit::None, "address of a UDP port as one number, decimal, octal (0...) or hexadecimal (0x...)"};
inline constexpr Key UdpPort{L"UdpPort", Kind::String, Unit::None, "port number of a UDP port, decimal, octal (0...) or hexadecimal (0x...)"};
inline constexpr Key UdpDataFormatIndex{L"UdpDataFormatIndex", Kind::Int, Unit::None, "data format of a UDP port, a code of the sonar"};
inline constexpr Key UdpPortEnabled{L"UdpPortEnabled", Kind::Int, Unit::None, "1 enables the UDP port, other values do not"};
inline constexpr Key UdpPortConfigured{L"UdpPortConfigured", Kind::Int, Unit::None, "1 marks the UDP port as configured, other values do not"};
inline constexpr Key UdpPortCommand{L"UdpPortCommand", Kind::Int, Unit::None, "command for a UDP port, a code of the sonar"};
inline constexpr Key TimeSourceID{L"TimeSourceID", Kind::Int, Unit::None, "the time source that is meant"};
inline constexpr Key TimeSourceCommand{L"TimeSourceCommand", Kind::Int, Unit::None, "command for a time source, a code of the sonar"};
inline constexpr Key TimeSourceName{L"TimeSourceName", Kind::String, Unit::None, "name of a time source on the network"};
inline constexpr Key TimeSourceIPV4{L"TimeSourceIPV4", Kind::String, Unit::None, "address of a time source as one number, decimal, octal (0...) or hexadecimal (0x...); empty for none"};
inline constexpr Key SerialPortsConfigRequest{L"SerialPortsConfigRequest", Kind::Bool, Unit::None, "true asks how the serial ports are configured"};
inline constexpr Key SerialPortsStatusRequest{L"SerialPortsStatusRequest", Kind::Bool, Unit::None, "true asks for the status of the serial ports"};
inline constexpr Key UdpPortsConfigRequest{L"UdpPortsConfigRequest", Kind::Bool, Unit::None, "true asks how the UDP ports are configured"};
inline constexpr Key UdpPortsStatusRequest{L"UdpPortsStatusRequest", Kind::Bool, Unit::None, "true asks for the status of the UDP ports"};

} // namespace keys

namespace records {

// The stop bits stand before the parity, unlike the order in which the keys are told.
inline constexpr RecordTable SerialPortConfiguration{10020, "serial port configuration", 84, {
    {&keys::SerialPortIndex, 0, Wire::I32},
    {.key = &keys::SerialPortEnabled,       .offset = 4, .wire = Wire::BitOfU16, .convert = Convert::SetWhenOne, .extent = 0},
    {.key = &keys::SerialPortConfigured,    .offset = 4, .wire = Wire::BitOfU16, .convert = Convert::SetWhenOne, .extent = 1},
    {.key = &keys::SerialPortAutoConfigure, .offset = 4, .wire = Wire::BitOfU16, .convert = Convert::SetWhenOne, .extent = 2},
    {.key = &keys::OutputChan1, .offset = 8, .wire = Wire::BitOfU64, .extent = 56},
    {.key = &keys::OutputChan2, .offset = 8, .wire = Wire::BitOfU64, .extent = 57},
    {&keys::PhyIndex,              16, Wire::I32},
    {&keys::BaudrateIndex,         20, Wire::I32},
    {&keys::DatabitsIndex,         24, Wire::I32},
    {&keys::StopBitsIndex,         28, Wire::I32},
    {&keys::ParityIndex,           32, Wire::I32},
    {&keys::SerialDataFormatIndex, 36, Wire::I32},
}};

// One record serves both kinds of port and does not tell which is meant. The first two tables say where the keys of
// each kind go; who reads the record goes by the third, which names no kind.
inline constexpr RecordTable SerialPortStatus{10021, "serial port status", 8, {
    {&keys::SerialPortIndex,   0, Wire::I32},
    {&keys::SerialPortCommand, 4, Wire::I32},
}};
inline constexpr RecordTable UdpPortStatus{10021, "UDP port status", 8, {
    {&keys::UdpPortIndex,   0, Wire::I32},
    {&keys::UdpPortCommand, 4, Wire::I32},
}};
inline constexpr RecordTable PortStatus{10021, "serial or UDP port status", 8, {
    {.offset = 0, .wire = Wire::I32, .name = "port index"},
    {.offset = 4, .wire = Wire::I32, .name = "command"},
}};

inline constexpr RecordTable TimeSourceEnable{10022, "time source", 8, {
    {&keys::TimeSourceID,      0, Wire::I32},
    {&keys::TimeSourceCommand, 4, Wire::I32},
}};
inline constexpr RecordTable TimeSourceEthernet{10023, "time source on the network", 40, {
    {&keys::TimeSourceID, 0, Wire::I32},
    {.key = &keys::TimeSourceName, .offset = 4, .wire = Wire::Text, .extent = 32},
    {&keys::TimeSourceIPV4, 36, Wire::U32, Convert::Computed},
}};
inline constexpr RecordTable UdpPortConfiguration{10024, "UDP port configuration", 20, {
    {&keys::UdpPortIndex, 0, Wire::I32},
    {&keys::UdpAddress,   4, Wire::U32, Convert::Computed},
    {&keys::UdpPort,      8, Wire::U16, Convert::Computed},
    {.key = &keys::UdpPortEnabled,    .offset = 10, .wire = Wire::BitOfU16, .convert = Convert::SetWhenOne, .extent = 0},
    {.key = &keys::UdpPortConfigured, .offset = 10, .wire = Wire::BitOfU16, .convert = Convert::SetWhenOne, .extent = 1},
    {&keys::UdpDataFormatIndex, 12, Wire::U16},
    {.key = &keys::OutputChan1, .offset = 16, .wire = Wire::BitOfU32, .extent = 0},
    {.key = &keys::OutputChan2, .offset = 16, .wire = Wire::BitOfU32, .extent = 1},
}};

inline constexpr auto ProcessorPortsRecords = std::to_array<RecordLayout>({
    SerialPortConfiguration, PortStatus, TimeSourceEnable, TimeSourceEthernet, UdpPortConfiguration,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto ProcessorPortsKeys = std::to_array<Key const*>({
    &keys::SerialPortIndex, &keys::BaudrateIndex, &keys::DatabitsIndex, &keys::ParityIndex, &keys::StopBitsIndex,
    &keys::PhyIndex, &keys::SerialDataFormatIndex, &keys::SerialPortEnabled, &keys::SerialPortAutoConfigure,
    &keys::SerialPortConfigured, &keys::OutputChan1, &keys::OutputChan2, &keys::SerialPortCommand, &keys::UdpPortIndex,
    &keys::UdpAddress, &keys::UdpPort, &keys::UdpDataFormatIndex, &keys::UdpPortEnabled, &keys::UdpPortConfigured,
    &keys::UdpPortCommand, &keys::TimeSourceID, &keys::TimeSourceCommand, &keys::TimeSourceName, &keys::TimeSourceIPV4,
    &keys::SerialPortsConfigRequest, &keys::SerialPortsStatusRequest, &keys::UdpPortsConfigRequest,
    &keys::UdpPortsStatusRequest,
});

} // namespace qx5::protocol
