// The commands for serial ports, UDP ports and time sources of the sonar processor, as tables.
#pragma once

#include "command.h"
#include <protocol/records/processor_ports.h>

namespace qx5::commands {

namespace processor_ports {

namespace keys = protocol::keys;
namespace records = protocol::records;

// A channel that is off is not told: the stored tree keeps what it held.
inline constexpr OperandOptions outputChannel{.source = Source::Request, .echo = Echo::WhenTrue, .optional = true};
inline constexpr OperandOptions fromRequest{.source = Source::Request};

inline constexpr Operand serialPortKeys[]{
    keys::SerialPortIndex,
    keys::BaudrateIndex,
    keys::DatabitsIndex,
    keys::ParityIndex,
    keys::StopBitsIndex,
    keys::PhyIndex,
    keys::SerialDataFormatIndex,
    keys::SerialPortEnabled,
    keys::SerialPortAutoConfigure,
    keys::SerialPortConfigured,
    {keys::OutputChan1, outputChannel},
    {keys::OutputChan2, outputChannel},
};
inline constexpr Sending serialPortSends[]{{records::SerialPortConfiguration}};

inline constexpr Operand serialStatusKeys[]{keys::SerialPortIndex, keys::SerialPortCommand};
inline constexpr Sending serialStatusSends[]{{records::SerialPortStatus}};

inline constexpr Operand udpPortKeys[]{
    {keys::UdpAddress, fromRequest},     {keys::UdpPort, fromRequest},
    {keys::UdpPortIndex, fromRequest},   {keys::UdpDataFormatIndex, fromRequest},
    {keys::UdpPortEnabled, fromRequest}, {keys::UdpPortConfigured, fromRequest},
    {keys::OutputChan1, outputChannel},  {keys::OutputChan2, outputChannel},
};
// The port's index comes behind what is told of the port.
inline constexpr Operand const* udpPortEchoes[]{
    &udpPortKeys[0], &udpPortKeys[1], &udpPortKeys[3], &udpPortKeys[4],
    &udpPortKeys[5], &udpPortKeys[2], &udpPortKeys[6], &udpPortKeys[7],
};
inline constexpr Sending udpPortSends[]{{records::UdpPortConfiguration}};

inline constexpr Operand udpStatusKeys[]{keys::UdpPortIndex, keys::UdpPortCommand};
inline constexpr Sending udpStatusSends[]{{records::UdpPortStatus}};

inline constexpr Operand timeSourceKeys[]{keys::TimeSourceID, keys::TimeSourceCommand};
inline constexpr Sending timeSourceSends[]{{records::TimeSourceEnable}};

inline constexpr Operand timeSourceEthernetKeys[]{
    {keys::TimeSourceID, fromRequest}, {keys::TimeSourceName, fromRequest}, {keys::TimeSourceIPV4, fromRequest}};
inline constexpr Sending timeSourceEthernetSends[]{{records::TimeSourceEthernet}};

inline constexpr Operand serialConfigReportKeys[]{keys::SerialPortsConfigRequest};
inline constexpr FollowUp serialConfigReportAsks[]{{10060, OwnSonarZero, WhenTrue}};
inline constexpr Operand serialStatusReportKeys[]{keys::SerialPortsStatusRequest};
inline constexpr FollowUp serialStatusReportAsks[]{{10061, OwnSonarZero, WhenTrue}};
inline constexpr Operand udpConfigReportKeys[]{keys::UdpPortsConfigRequest};
inline constexpr FollowUp udpConfigReportAsks[]{{10063, OwnSonarZero, WhenTrue}};
inline constexpr Operand udpStatusReportKeys[]{keys::UdpPortsStatusRequest};
// The status of UDP ports comes in the record of the serial ports.
inline constexpr FollowUp udpStatusReportAsks[]{{10061, OwnSonarZero, WhenTrue}};

} // namespace processor_ports

QX5_COMMAND(RequestSerialPortConfiguration) = {
    .form = Form::AllRequired,
    .operands = processor_ports::serialPortKeys,
    .sends = processor_ports::serialPortSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestSerialPortStatus) = {
    .form = Form::AllRequired,
    .operands = processor_ports::serialStatusKeys,
    .sends = processor_ports::serialStatusSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestUdpPortConfiguration) = {
    .form = Form::Own,
    .operands = processor_ports::udpPortKeys,
    .sends = processor_ports::udpPortSends,
    .echoFlags = 0,
    .echoes = processor_ports::udpPortEchoes,
    .note =
        "All keys but the output channels are required in the request. Address and port are texts that hold a number; "
        "a text that holds none, or one beyond 32 bits, throws, and nothing is sent.",
};

QX5_COMMAND(RequestUdpPortStatus) = {
    .form = Form::AllRequired,
    .operands = processor_ports::udpStatusKeys,
    .sends = processor_ports::udpStatusSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestTimeSourceEnabled) = {
    .form = Form::AllRequired,
    .operands = processor_ports::timeSourceKeys,
    .sends = processor_ports::timeSourceSends,
};

QX5_COMMAND(RequestTimeSourceEthernetConfiguration) = {
    .form = Form::Own,
    .operands = processor_ports::timeSourceEthernetKeys,
    .sends = processor_ports::timeSourceEthernetSends,
    .note =
        "All keys are required in the request. The address is a text that holds a number, or is empty for 0; a text "
        "that holds none, or one beyond 32 bits, throws, and nothing is sent.",
};

QX5_COMMAND(RequestSerialPortConfigRecord) = {
    .form = Form::Direct,
    .operands = processor_ports::serialConfigReportKeys,
    .followUps = processor_ports::serialConfigReportAsks,
};

QX5_COMMAND(RequestSerialPortStatusRecord) = {
    .form = Form::Direct,
    .operands = processor_ports::serialStatusReportKeys,
    .followUps = processor_ports::serialStatusReportAsks,
};

QX5_COMMAND(RequestUdpPortConfigRecord) = {
    .form = Form::Direct,
    .operands = processor_ports::udpConfigReportKeys,
    .followUps = processor_ports::udpConfigReportAsks,
};

QX5_COMMAND(RequestUdpPortStatusRecord) = {
    .form = Form::Direct,
    .operands = processor_ports::udpStatusReportKeys,
    .followUps = processor_ports::udpStatusReportAsks,
};

} // namespace qx5::commands
