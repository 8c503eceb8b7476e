// The handlers for two heads that work as one system.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "echo_map.h"
#include "reading.h"
#include <commands/dual_head.h>

#include <protocol/bytes.h>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

namespace {

constexpr int uncoupled = 0;
constexpr int coupled = 1;

/// The payload of a list of forwarded records: their number, then their ids.
protocol::Payload PackForwarding(std::span<std::int32_t const> recordIds)
{
    protocol::Payload payload((recordIds.size() + 1) * sizeof(std::uint32_t));
    protocol::PackField(records::ForwardedRecordCount, static_cast<std::uint32_t>(recordIds.size()), payload.Bytes());
    std::size_t offset = records::Forwarding.Size();
    for (std::int32_t const id : recordIds) {
        protocol::PutI32LE(payload.Bytes(), offset, id);
        offset += sizeof(std::uint32_t);
    }
    return payload;
}

} // namespace

void ControlDevice::RequestDisconnectSlave(CAttributeMap* request)
{
    int mode = 0;
    if (!Read(*request, At<keys::x5DualHeadMode>, mode) || mode != uncoupled) {
        return;
    }
    SendRemote(records::UncoupleHeads.Id(), protocol::Payload(records::UncoupleHeads.Size()), OwnSonar);

    EchoMap echo;
    echo.Tell(At<keys::x5DualHeadMode>, mode);
    Report(echo.Tree(), commands::RequestDisconnectSlave.echoFlags);
    AskFor(commands::RequestDisconnectSlave.followUps);
}

void ControlDevice::RequestConnectSlave(CAttributeMap* request)
{
    constexpr auto& modeKey = At<keys::x5DualHeadMode>;
    constexpr auto& fullRateKey = At<keys::x5FullRateDualHead>;
    constexpr auto& addressKey = At<keys::x5DualHeadSlaveIp>;
    // Spares the device's lock in all the requests that are about something else.
    if (!HasAny(*request, modeKey, fullRateKey)) {
        return;
    }
    bool integratedDualHead = false;
    unsigned flags = 0;
    GetAttribValue(At<keys::x5SystemIDH>, integratedDualHead, flags);

    bool fullRate = false;
    bool const hasFullRate = Read(*request, fullRateKey, fullRate);
    EchoMap echo;
    if (integratedDualHead) {
        if (!hasFullRate) {
            return;
        }
        protocol::RecordLayout const record = records::FullRate;
        protocol::Payload payload(record.size);
        PackKey(record, keys::x5FullRateDualHead, fullRate, payload);
        SendRemote(record.id, payload, OwnSonar);
        echo.Tell(fullRateKey, fullRate);
    } else {
        int mode = 0;
        if (!Read(*request, modeKey, mode) || mode != coupled) {
            return;
        }
        int slaveAddress = 0;
        Read(*request, addressKey, slaveAddress);

        // The slave must know what it will be told before it is coupled.
        SendRemote(records::DefaultForwarding.Id(), PackForwarding(records::DefaultForwardedRecords), OwnSonar);
        protocol::RecordLayout const record = records::CoupleHeads;
        protocol::Payload payload(record.size);
        protocol::PackConstants(record, payload.Bytes());
        PackKey(record, keys::x5DualHeadSlaveIp, slaveAddress, payload);
        PackKey(record, keys::x5FullRateDualHead, fullRate, payload);
        SendRemote(record.id, payload, OwnSonar);
        echo.Tell(modeKey, mode);
        echo.Tell(fullRateKey, fullRate);
        echo.Tell(addressKey, slaveAddress);
    }
    Report(echo.Tree(), commands::RequestConnectSlave.echoFlags);
    AskFor(commands::RequestConnectSlave.followUps);
}

void ControlDevice::RequestSetSlavedRecords(CAttributeMap* request)
{
    std::vector<int> recordIds;
    if (!Read(*request, At<keys::x5SlavedRecords>, recordIds)) {
        return;
    }
    SendRemote(records::Forwarding.Id(), PackForwarding(recordIds), OwnSonar);

    EchoMap echo;
    echo.Tell(At<keys::x5SlavedRecords>, recordIds);
    Report(echo.Tree(), commands::RequestSetSlavedRecords.echoFlags);
}
