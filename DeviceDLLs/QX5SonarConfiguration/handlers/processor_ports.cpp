// The handlers for serial ports, UDP ports and time sources of the sonar processor.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "echo_map.h"
#include "number_text.h"
#include <commands/processor_ports.h>

#include <string>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

namespace {

std::wstring const& TextOf(Command const& command, CommandValues const& values, protocol::Key const& key)
{
    return std::get<std::wstring>(values[OperandOf(command, key)]);
}

} // namespace

void ControlDevice::RequestUdpPortConfiguration(CAttributeMap* request)
{
    constexpr Command const& command = commands::RequestUdpPortConfiguration;
    if (!request->Has(At<keys::UdpAddress>, 0)) {
        return;
    }
    CommandValues values;
    if (!ReadOperands(*request, Stored(), command, values)) {
        return;
    }
    // Either may throw; nothing has been sent or echoed by then.
    std::uint32_t const address = ParseUnsigned(TextOf(command, values, keys::UdpAddress));
    std::uint32_t const port = ParseUnsigned(TextOf(command, values, keys::UdpPort));

    protocol::RecordLayout const record = records::UdpPortConfiguration;
    protocol::Payload payload(record.size);
    PackOperands(command, values, record, payload);
    PackKey(record, keys::UdpAddress, address, payload);
    PackKey(record, keys::UdpPort, port, payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    TellOperands(command, values, record, payload, echo);
    Report(echo.Tree(), command.echoFlags);
}

void ControlDevice::RequestTimeSourceEthernetConfiguration(CAttributeMap* request)
{
    constexpr Command const& command = commands::RequestTimeSourceEthernetConfiguration;
    if (!request->Has(At<keys::TimeSourceID>, 0)) {
        return;
    }
    CommandValues values;
    if (!ReadOperands(*request, Stored(), command, values)) {
        return;
    }
    std::wstring const& addressText = TextOf(command, values, keys::TimeSourceIPV4);
    // May throw; nothing has been sent by then.
    std::uint32_t const address = addressText.empty() ? 0 : ParseUnsigned(addressText);

    protocol::RecordLayout const record = records::TimeSourceEthernet;
    protocol::Payload payload(record.size);
    PackOperands(command, values, record, payload);
    PackKey(record, keys::TimeSourceIPV4, address, payload);
    SendRemote(record.id, payload, OwnSonar);
}
