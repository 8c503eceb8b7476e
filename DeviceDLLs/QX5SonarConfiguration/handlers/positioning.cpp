// The handlers for the satellite positioning and inertial unit. Nothing of it is echoed: the unit's settings stand in
// the tree of a device of its own.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "reading.h"
#include <commands/positioning.h>

#include <HalvaneX5InterfaceR/StringObfuscator.h>
#include <protocol/bytes.h>
#include <protocol/pack.h>
#include <protocol/utf8.h>
#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

namespace {

/// A copy of the tree in which the host holds the unit's settings; empty when the host has no such device.
CAttributeMap UnitTree()
{
    CAttributeMap tree;
    DataManager::GetDataManager().GetAttributeMap(CDataId(1, 78, 1, 1), tree);
    return tree;
}

/// Whether the request holds one of the command's keys, whatever the value.
bool HasAnyOf(CAttributeMap const& request, Command const& command)
{
    return std::any_of(command.operands.begin(), command.operands.end(),
                       [&](Operand const& operand) { return request.Has(operand.attribute, 0); });
}

/// Values from the request and, failing that, from the unit's tree; remembers whether the request gave one.
class UnitValues
{
public:
    explicit UnitValues(CAttributeMap const& request) : m_request(request), m_unit(UnitTree()) {}

    template <typename T>
    T Take(AttributeKey const& key, AttributeKey const& unitKey, T preset)
    {
        if (Read(m_request, key, preset)) {
            m_asked = true;
        } else {
            Read(m_unit, unitKey, preset);
        }
        return preset;
    }
    template <typename T>
    T Take(AttributeKey const& key, T preset)
    {
        return Take(key, key, std::move(preset));
    }

    bool IsAsked() const { return m_asked; }

private:
    CAttributeMap const& m_request;
    CAttributeMap const m_unit;
    bool m_asked = false;
};

/// The byte for how often the position is told; 0 for a code that the unit does not have.
int PositionIntervalByte(int code)
{
    switch (code) {
    case 1:
        return 1;
    case 2:
        return 5;
    case 3:
        return 10;
    case 4:
        return 60;
    case 5:
        return 255;
    default:
        return 0;
    }
}

} // namespace

void ControlDevice::SendDGNSSGeometry(CAttributeMap* request)
{
    if (!commands::SendDGNSSGeometry.keyFilter.Passes(request->KeyFilter())) {
        return;
    }
    protocol::RecordLayout const record = records::PositioningGeometry;
    std::optional<protocol::Payload> payload;
    for (Operand const& operand : commands::SendDGNSSGeometry.operands) {
        double value = 0.0;
        if (!Read(*request, operand.attribute, value)) {
            continue;
        }
        if (!payload.has_value()) {
            payload.emplace(record.size);
        }
        PackKey(record, *operand.key, value, *payload);
    }
    if (payload.has_value()) {
        Send(record, *payload, PositioningUnit);
    }
}

void ControlDevice::SendDGNSSConfiguratorXml(CAttributeMap* request)
{
    // Behind the version of an XML declaration; nothing tests that there is one.
    constexpr std::size_t encodingAt = 19;

    CString xml;
    if (!Read(*request, At<keys::OstDgnssInsIntegratorXml>, xml)) {
        return;
    }
    xml.Insert(static_cast<int>(protocol::FindCodePoint(xml.View(), encodingAt)), L" encoding=\"utf-8\"");
    protocol::RecordLayout const record = records::PositioningXml;
    std::size_t const length = protocol::Utf8Length(xml.View());
    protocol::Payload payload(record.size + length);
    protocol::PackField(records::PositioningXmlLength, static_cast<std::uint32_t>(length), payload.Bytes());
    protocol::EncodeUtf8Into(xml.View(), payload.Bytes().subspan(record.size));
    Send(record, payload, PositioningUnit);
}

unsigned ControlDevice::ConvertDGNSSEnumToBaudRate(int code)
{
    switch (code) {
    case 0:
        return 1200;
    case 1:
        return 9600;
    case 2:
        return 28800;
    case 3:
        return 57600;
    case 4:
        return 115200;
    default:
        return 0;
    }
}

void ControlDevice::SendDGNSSSerialPortConfiguration(CAttributeMap* request)
{
    SendDgnssSerialPortConfig(request, At<keys::OstDgnssInsPrimarySerialPortBaudrate>,
                              At<keys::OstDgnssInsPrimarySerialPort485>, 10);
    SendDgnssSerialPortConfig(request, At<keys::OstDgnssInsSecondarySerialPortBaudrate>,
                              At<keys::OstDgnssInsSecondarySerialPort485>, 11);
    SendDgnssSerialPortConfig(request, At<keys::OstDgnssInsCorrectionsSerialPortBaudrate>,
                              At<keys::OstDgnssInsCorrectionsSerialPort485>, 12);
}

void ControlDevice::SendDgnssSerialPortConfig(CAttributeMap* request, AttributeKey const& baudKey,
                                              AttributeKey const& rs485Key, unsigned char portId)
{
    bool const asksForBaudRate = request->Has(baudKey, 0);
    bool const asksForRs485 = request->Has(rs485Key, 0);
    unsigned baudRate = 0; // 0 while there is none
    int code = 0;
    if (asksForBaudRate && Complete(*request, Stored(), baudKey, code)) {
        baudRate = ConvertDGNSSEnumToBaudRate(code);
        if (baudRate == 0) {
            return;
        }
    }
    bool rs485 = false;
    bool const hasRs485 = asksForRs485 && Complete(*request, Stored(), rs485Key, rs485);
    if (baudRate == 0 && !hasRs485) {
        // One that was asked for is neither in the request, as what it has to be, nor in the tree.
        if (asksForBaudRate || asksForRs485) {
            AttributeKey const& missing = asksForBaudRate ? baudKey : rs485Key;
            ReportDroppedRequest(missing, missing);
        }
        return;
    }

    // What is not asked for stays as the unit has it. What is asked for but could not be read is not looked up there.
    CAttributeMap const unit = UnitTree();
    if (!asksForBaudRate && Read(unit, baudKey, code)) {
        baudRate = ConvertDGNSSEnumToBaudRate(code);
        if (baudRate == 0) {
            return;
        }
    }
    if (!asksForRs485) {
        Read(unit, rs485Key, rs485);
    }

    protocol::RecordLayout const record = records::PositioningSerialPort;
    protocol::Payload payload(record.size);
    protocol::PackField(records::PositioningPort, std::uint32_t{portId}, payload.Bytes());
    protocol::PackField(records::PositioningPortRs485, rs485, payload.Bytes());
    protocol::PackField(records::PositioningPortBaudRate, std::uint32_t{baudRate}, payload.Bytes());
    Send(record, payload, PositioningUnit);
}

void ControlDevice::SendDgnssNtripConfig(CAttributeMap* request)
{
    if (!HasAnyOf(*request, commands::SendDgnssNtripConfig)) {
        return;
    }
    UnitValues values(*request);
    CString const server = values.Take(At<keys::OstDgnssInsNtripServer>, CString());
    CString const username = values.Take(At<keys::OstDgnssInsNtripUsername>, CString());
    CString const password = values.Take(At<keys::OstDgnssInsNtripPassword>, CString());
    CString const mountPoint = values.Take(At<keys::OstDgnssInsNtripMountPoint>, CString());
    int const version = values.Take(At<keys::OstDgnssInsNtripVersion>, -1);
    // Required so: the unit's tree is asked for the version.
    int const interval = values.Take(At<keys::OstDgnssInsNtripCga>, At<keys::OstDgnssInsNtripVersion>, -1);
    int const port = values.Take(At<keys::OstDgnssInsNtripPort>, -1);
    bool const disabled = values.Take(At<keys::OstDgnssInsNtripDisabled>, false);
    if (!values.IsAsked()) {
        return;
    }

    protocol::RecordLayout const record = records::PositioningNtrip;
    protocol::Payload payload(record.size);
    protocol::PackConstants(record, payload.Bytes());
    PackKey(record, keys::OstDgnssInsNtripServer, server.View(), payload);
    PackKey(record, keys::OstDgnssInsNtripUsername, username.View(), payload);
    std::string const obfuscated = StringObfuscator::Obfuscate(tvcore::ToUtf8(password));
    PackKey(record, keys::OstDgnssInsNtripPassword, std::string_view(obfuscated), payload);
    PackKey(record, keys::OstDgnssInsNtripMountPoint, mountPoint.View(), payload);
    PackKey(record, keys::OstDgnssInsNtripVersion, version, payload);
    PackKey(record, keys::OstDgnssInsNtripCga, PositionIntervalByte(interval), payload);
    PackKey(record, keys::OstDgnssInsNtripDisabled, disabled, payload);
    PackKey(record, keys::OstDgnssInsNtripPort, port, payload);
    Send(record, payload, PositioningUnit);
}

void ControlDevice::SendDgnssPpsConfig(CAttributeMap* request)
{
    if (!HasAnyOf(*request, commands::SendDgnssPpsConfig)) {
        return;
    }
    UnitValues values(*request);
    int const pulseFlags = values.Take(At<keys::OstDgnssInsPpsFlags>, 0);
    int const interval = values.Take(At<keys::OstDgnssInsPpsIntervalMs>, 0);
    int const delay = values.Take(At<keys::OstDgnssInsPpsDelayNs>, 0);
    if (!values.IsAsked()) {
        return;
    }
    protocol::RecordLayout const record = records::PositioningPulsePerSecond;
    protocol::Payload payload(record.size);
    PackKey(record, keys::OstDgnssInsPpsIntervalMs, interval, payload);
    PackKey(record, keys::OstDgnssInsPpsFlags, pulseFlags, payload);
    PackKey(record, keys::OstDgnssInsPpsDelayNs, delay, payload);
    Send(record, payload, PositioningUnit);
}
