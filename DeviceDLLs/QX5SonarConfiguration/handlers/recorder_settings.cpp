// The handlers for the sonar's data recorder.
#include "../QX5SonarConfigurationControlDevice.h"
#include "echo_map.h"
#include "reading.h"
#include <commands/recorder_settings.h>

#include <protocol/bytes.h>
#include <protocol/pack.h>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

void ControlDevice::RequestRDRFiltering(CAttributeMap* request)
{
    constexpr std::size_t entrySize = 4;

    std::vector<int> entries;
    if (!Read(*request, At<keys::x5RDRFilterList>, entries)) {
        return;
    }
    protocol::RecordLayout const record = records::RecorderFilter;
    protocol::Payload payload(record.size + entrySize * entries.size());
    protocol::PackConstants(record, payload.Bytes());
    protocol::PackField(records::RecorderFilterCount, static_cast<std::uint32_t>(entries.size()), payload.Bytes());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        protocol::PutI32LE(payload.Bytes(), record.size + entrySize * i, entries[i]);
    }
    Send(record, payload, Processor);

    EchoMap echo;
    echo.Tell(At<keys::x5RDRFilterList>, entries);
    Report(echo.Tree(), commands::RequestRDRFiltering.echoFlags);
}
