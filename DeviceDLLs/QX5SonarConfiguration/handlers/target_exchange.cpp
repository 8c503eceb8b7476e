// The handlers for target lists, detection-unit settings, user role and system events.
#include "../QX5SonarConfigurationControlDevice.h"
#include "../platform/complaint.h"
#include "command_values.h"
#include "reading.h"
#include <commands/target_exchange.h>

#include <VordalDataBlocksR/BaseDataSource.h>
#include <protocol/bytes.h>
#include <protocol/frame.h>
#include <protocol/numbers.h>
#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/AScanStatusUtils.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/SonarTargetsManager.h>
#include <vordalhostdllR/UserRoleUtils.h>

#include <algorithm>
#include <cstdint>
#include <string>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

namespace {

void PackContact(SonarTarget const& contact, std::span<unsigned char> item)
{
    using protocol::PackField;

    PackField(records::ListedGuid, contact.targetGuid.View(), item);
    PackField(records::ListedDetailNumberA, contact.detailNumberA, item);
    PackField(records::ListedDetailFlag, contact.detailFlag, item);
    PackField(records::ListedDetailNumberB, contact.detailNumberB, item);
    PackField(records::ListedDetailNumberC, contact.detailNumberC, item);
    PackField(records::ListedRange, contact.range, item);
    PackField(records::ListedBearing, contact.GetBearingInDeg(), item);
    PackField(records::ListedExtensionMeasureValid, contact.extensionMeasureValid, item);
    PackField(records::ListedExtensionMeasure, contact.extensionMeasure, item);
    PackField(records::ListedLatitude, contact.latitude, item);
    PackField(records::ListedLongitude, contact.longitude, item);
    PackField(records::ListedLength, contact.contactLength, item);
    PackField(records::ListedWidth, contact.contactWidth, item);
    PackField(records::ListedHeight, contact.contactHeight, item);
    PackField(records::ListedDetailValue, contact.detailValue, item);
    PackField(records::ListedTargetId, contact.targetId, item);
}

} // namespace

double ControlDevice::TimeOfLastData() const
{
    double time = 0.0;
    if (auto* const buffer = DataManager::GetDataManager().FindDatablockBuffer(m_dataId, false)) {
        buffer->GetLastTime(time);
    }
    return time;
}

void ControlDevice::SychronizeTargetManagersHandler(CAttributeMap* request)
{
    CString application;
    if (!request->Has(At<keys::RequestTargetList>, 0) || !Read(*request, At<keys::RequesterAppId>, application)) {
        return;
    }
    if (sonarTargetsControl != nullptr) {
        sonarTargetsControl->GetSynchronizeTargetManagerInfo().SetRequestTimeStamp();
    }
    Sending const& sending = commands::SychronizeTargetManagersHandler.sends.front();
    protocol::Payload payload(sending.record.size);
    PackKey(sending.record, keys::RequesterAppId, application.View(), payload);
    Send(sending.record, payload, sending.target);
}

void ControlDevice::SendTargetList(CAttributeMap* request)
{
    if (!request->Has(At<keys::SendTargetList>, 0)) {
        return;
    }
    std::vector<CString> guids;
    if (sonarTargetsControl != nullptr) {
        auto const& contacts = sonarTargetsControl->GetSonarTargets();
        guids.reserve(contacts.size());
        for (SonarTarget const& contact : contacts) {
            guids.push_back(contact.targetGuid);
        }
    }
    Send3004Record(guids);
}

void ControlDevice::Send3004Record(std::vector<CString> const& targetGuids)
{
    Sending const& sending = commands::SendTargetList.sends.front();
    protocol::RecordLayout const& record = sending.record;

    std::vector<SonarTarget const*> contacts;
    contacts.reserve(targetGuids.size());
    for (CString const& guid : targetGuids) {
        auto const* const contact =
            sonarTargetsControl != nullptr ? sonarTargetsControl->GetSonarTargetByTargetGuid(guid) : nullptr;
        if (contact != nullptr) {
            contacts.push_back(contact);
        }
    }
    constexpr std::size_t greatestCount =
        (protocol::MaximumFrameSize - protocol::FrameOverhead - records::TargetList.Size()) /
        records::TargetList.Layout().itemSize;
    if (contacts.size() > greatestCount) {
        platform::Complain("a list of " + std::to_string(contacts.size()) + " contacts is not sent: a frame holds " +
                           std::to_string(greatestCount));
        return;
    }

    protocol::Payload payload(record.size + contacts.size() * record.itemSize);
    protocol::PackConstants(record, payload.Bytes());
    protocol::PackField(records::TargetListApplication, CVordalBaseApp::GetAppInstanceGuid().View(), payload.Bytes());
    protocol::PackField(records::TargetListCount, static_cast<std::uint32_t>(contacts.size()), payload.Bytes());
    for (std::size_t i = 0; i < contacts.size(); ++i) {
        PackContact(*contacts[i], payload.Bytes().subspan(record.size + i * record.itemSize, record.itemSize));
    }
    SendRecord(record.id, payload.Data(), static_cast<std::uint32_t>(payload.Size()), TimeOfLastData(),
               sending.target.deviceId, sending.target.enumerator);
}

void ControlDevice::RequestAScanSetupMonitorerStatus(CAttributeMap* request)
{
    int first = 0;
    int last = 0;
    int ping = 0;
    if (!request->Has(At<keys::SendAScanStatus>, 0) || !Read(*request, At<keys::AScanBeamStart>, first) ||
        !Read(*request, At<keys::AScanBeamEnd>, last) || !Read(*request, At<keys::AScanPingNumber>, ping)) {
        return;
    }
    // In 64 bits: the range may span all of an int.
    std::int64_t const beams = std::max(std::int64_t{last} - first + 1, std::int64_t{0});
    constexpr std::int64_t greatestCount =
        (protocol::MaximumFrameSize - protocol::FrameOverhead - records::AScanStatus.Size()) / sizeof(std::uint16_t);
    if (beams > greatestCount) {
        platform::Complain("an A-scan status of " + std::to_string(beams) + " beams is not sent: a frame holds " +
                           std::to_string(greatestCount));
        return;
    }
    Sending const& sending = commands::RequestAScanSetupMonitorerStatus.sends.front();
    protocol::RecordLayout const& record = sending.record;
    auto const count = static_cast<std::size_t>(beams);

    protocol::Payload payload(record.size + count * sizeof(std::uint16_t));
    protocol::PackField(records::AScanOn, AScanStatusUtils::GetAScanStatus(), payload.Bytes());
    PackKey(record, keys::AScanPingNumber, ping, payload);
    protocol::PackField(records::AScanBeamCount, std::uint32_t{protocol::Low16Bits(static_cast<std::uint32_t>(beams))},
                        payload.Bytes());
    auto const list = payload.Bytes().subspan(record.size);
    auto beam = static_cast<std::uint32_t>(first);
    for (std::size_t at = 0; at < list.size(); at += sizeof(std::uint16_t), ++beam) {
        protocol::PutU16LE(list, at, protocol::Low16Bits(beam));
    }
    SendRecord(record.id, payload.Data(), static_cast<std::uint32_t>(payload.Size()), TimeOfLastData(),
               sending.target.deviceId, sending.target.enumerator);
}

void ControlDevice::SendSystemEvent(CAttributeMap* request)
{
    int type = 0;
    CString message;
    double time = 0.0;
    if (!Read(*request, At<keys::X5SystemEventType>, type) ||
        !Read(*request, At<keys::X5SystemEventMessage>, message) ||
        !Read(*request, At<keys::X5SystemEventTime>, time) || !UserRoleUtils::IsOperator()) {
        return;
    }
    Sending const& sending = commands::SendSystemEvent.sends.front();
    protocol::RecordLayout const& record = sending.record;
    std::string const text = tvcore::ToUtf8(message);
    std::size_t const length = text.size() + 1; // the text ends with a 0

    protocol::Payload payload(record.size + length);
    PackKey(record, keys::X5SystemEventType, type, payload);
    protocol::PackField(records::SystemEventTextLength, static_cast<std::uint32_t>(length & 0xFFFFU), payload.Bytes());
    std::copy(text.begin(), text.end(), payload.Bytes().begin() + record.size);
    Send(record, payload, sending.target);
}
