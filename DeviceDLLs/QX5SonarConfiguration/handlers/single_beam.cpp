// The handlers for single-beam systems.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "echo_map.h"
#include "reading.h"
#include <commands/single_beam.h>

#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>
#include <VordalBaseR/CExTime.h>
#include <protocol/frame.h>
#include <tvcoreR/Utf8.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

namespace {

/// Puts the text behind the fixed fields; what is left of the payload stays 0.
void PackTail(protocol::RecordLayout const& record, std::string_view utf8, protocol::Payload& payload)
{
    std::copy(utf8.begin(), utf8.end(), payload.Bytes().begin() + record.size);
}

} // namespace

void ControlDevice::RequestTransducerIndex(CAttributeMap* request)
{
    constexpr Command const& command = commands::RequestTransducerIndex;
    int transducer = 0;
    if (!Read(*request, At<keys::SbTransducerIndex>, transducer)) {
        return;
    }
    protocol::RecordLayout const record = records::TransducerSelect;
    protocol::Payload payload(record.size);
    PackKey(record, keys::SbTransducerIndex, transducer, payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    echo.Tell(At<keys::SbTransducerIndex>, transducer);
    Report(echo.Tree(), command.echoFlags);

    // A recorded file has no sonar behind it that could answer.
    auto const* const connection = dynamic_cast<QX5SocketIoHandler const*>(m_port);
    if (connection != nullptr && !connection->IsFilePlayback()) {
        AskFor(command.followUps);
    }
}

void ControlDevice::RequestSbesTrackerTweakMode(CAttributeMap* request)
{
    constexpr std::size_t settings = 7;
    constexpr int allTweaks = 1000;
    constexpr int someTweaks = 1001;
    constexpr std::array<bool, settings> among1001{false, true, true, false, false, true, true};

    int mode = 0;
    if (!Read(*request, At<keys::SbesTrackerTweakMode>, mode)) {
        return;
    }
    protocol::RecordLayout const record = records::TrackerTweakMode;
    protocol::Payload payload(record.size + settings * record.itemSize);
    protocol::PackConstants(record, payload.Bytes());
    for (std::size_t i = 0; i < settings; ++i) {
        auto const item = payload.Bytes().subspan(record.size + i * record.itemSize, record.itemSize);
        bool const set = mode == allTweaks || (mode == someTweaks && among1001[i]);
        protocol::PackField(records::TrackerTweakIndex, static_cast<std::uint32_t>(i), item);
        protocol::PackField(records::TrackerTweakValue, set ? mode : 0, item);
    }
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    echo.Tell(At<keys::SbesTrackerTweakMode>, mode);
    Report(echo.Tree(), commands::RequestSbesTrackerTweakMode.echoFlags);
}

void ControlDevice::SendSbesTransducerUpdateXml(CAttributeMap* request)
{
    CString xml;
    if (!Read(*request, At<keys::SbesTransducerUpdateXml>, xml)) {
        return;
    }
    unsigned flags = 0;
    int deviceId = 0;
    GetAttribValue(At<keys::DeviceId>, deviceId, flags);
    std::string const contents = tvcore::ToUtf8(xml);

    Sending const& sending = commands::SendSbesTransducerUpdateXml.sends.front();
    protocol::RecordLayout const& record = sending.record;
    protocol::Payload payload(record.size + contents.size());
    protocol::PackField(records::FileName, std::string_view("transducer.update"), payload.Bytes());
    protocol::PackField(records::FileType, std::string_view(".xml"), payload.Bytes());
    protocol::PackField(records::FileSize, static_cast<std::uint32_t>(contents.size()), payload.Bytes());
    PackTail(record, contents, payload);
    std::vector<unsigned char> const frame = protocol::BuildFrame(
        record.id, Target{deviceId, sending.target.enumerator}, CExTime::GetCurTime(), payload.Bytes());
    SendMessageW(std::string(frame.begin(), frame.end()), false);
}

void ControlDevice::SendSbesSettingsUpdateXml(CAttributeMap* request)
{
    CString checksum;
    CString xml;
    if (!Read(*request, At<keys::SbesSettingsXmlChecksum>, checksum) ||
        !Read(*request, At<keys::SbesSettingsXml>, xml)) {
        return;
    }
    std::string const settings = tvcore::ToUtf8(xml);

    protocol::RecordLayout const record = records::SettingsXml;
    protocol::Payload payload(record.size + settings.size() + 1); // the XML ends with a 0
    PackKey(record, keys::SbesSettingsXmlChecksum, checksum.View(), payload);
    protocol::PackField(records::SettingsXmlSize, static_cast<std::uint32_t>(settings.size()), payload.Bytes());
    PackTail(record, settings, payload);
    SendRemote(record.id, payload, OwnSonar);
}
