// Sonar contacts on their way to the sonar: the contact itself and its image.
#include "contacts.h"
#include "../QX5SonarConfigurationControlDevice.h"
#include "../platform/complaint.h"
#include "../platform/large_memory.h"
#include "reading.h"

#include <VordalBaseR/CExTime.h>
#include <VordalBaseR/HugeFileStream.h>
#include <VordalConfigureR/DataSearch.h>
#include <protocol/bytes.h>
#include <protocol/frame.h>
#include <protocol/pack.h>
#include <protocol/records/all.h>
#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <array>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace records = qx5::protocol::records;

namespace {

/// In single precision throughout: the last bit shows on the wire.
float RadiansOf(float degrees)
{
    return degrees * 3.1415927F / 180.0F;
}

std::span<unsigned char> BytesOf(std::string& text)
{
    return {reinterpret_cast<unsigned char*>(text.data()), text.size()};
}

/// "ContactID-7"; ids beyond 2^31 - 1 come out negative.
std::string ImageName(std::uint32_t targetId)
{
    std::array<char, 16> digits{};
    auto const end =
        std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<std::int32_t>(targetId)).ptr;
    return "ContactID-" + std::string(digits.data(), end);
}

} // namespace

void ControlDevice::OnSelectedSonarTargetChange(NotificationInfo const* info)
{
    auto const* const change = dynamic_cast<SONAR_TARGET_SEL_INFO const*>(info);
    if (change == nullptr) {
        return;
    }
    ContactOutput const output = OutputOf(change->changeCode);
    if (output.contact) {
        SendSonarx5ContactOutputRecord(change);
    }
    if (output.image == ContactOutput::Image::Always ||
        (output.image == ContactOutput::Image::WhenEnabled && SonarTargetsManager::Instance().geoTiffOutputEnabled)) {
        SendSonarContactGeoTiffx5(change);
    }
}

void ControlDevice::SendSonarx5ContactOutputRecord(SONAR_TARGET_SEL_INFO const* info)
{
    if (info == nullptr) {
        return;
    }
    auto const sonar = SonarIdentity();
    if (!sonar) {
        return;
    }
    protocol::RecordLayout const& record = records::Contact;
    std::string frame(record.size + protocol::FrameOverhead, '\0');
    auto const bytes = BytesOf(frame);
    if (!Build3001Record(bytes.subspan(protocol::FrameHeaderSize, record.size), info, info->time)) {
        return;
    }
    protocol::WriteFrameHeader(bytes, static_cast<std::uint32_t>(bytes.size()), record.id, *sonar, info->time);
    SendMessageW(std::move(frame), false);
}

bool ControlDevice::Build3001Record(R3001 record, SONAR_TARGET_SEL_INFO const* info, double time) const
{
    using protocol::PackField;

    auto state = ContactStateCode::Updated;
    PackField(records::ContactTargetId, info->targetId, record);
    if (info->changeCode == SONAR_TARGET_SEL_INFO::Deleted) {
        // The contact need not be in the file any more.
        state = ContactStateCode::Deleted;
    } else {
        auto const* const contact =
            sonarTargetsControl != nullptr ? sonarTargetsControl->GetSonarTargetByTargetId(info->targetId) : nullptr;
        if (contact == nullptr) {
            return false;
        }
        if (info->changeCode == SONAR_TARGET_SEL_INFO::Created) {
            state = ContactStateCode::New;
            time = contact->contactTime;
        }
        PackField(records::ContactPingNumber, contact->pingNumber, record);
        PackField(records::ContactRange, contact->range, record);
        PackField(records::ContactBearing, RadiansOf(contact->bearing), record);
        PackField(records::ContactInformation, GetInformationFlags3001Record(*contact), record);
        PackField(records::ContactLatitude, contact->latitude, record);
        PackField(records::ContactLongitude, contact->longitude, record);
        PackField(records::ContactAzimuth, RadiansOf(contact->azimuth), record);
        PackField(records::ContactLength, contact->contactLength, record);
        PackField(records::ContactWidth, contact->contactWidth, record);
        PackField(records::ContactClassification, contact->classification.View(), record);
        PackField(records::ContactDescription, contact->description.View(), record);
        PackField(records::ContactGuid, contact->targetGuid.View(), record);
        PackField(records::ContactExtensionValue, contact->extensionValue, record);
        PackField(records::ContactExtensionAngle, RadiansOf(contact->extensionAngle), record);
        PackField(records::ContactExtensionMeasure, contact->extensionMeasure, record);
    }
    PackField(records::ContactState, static_cast<std::uint32_t>(state), record);
    PackField(records::ContactTime, time, record);
    PackField(records::ContactOperator, SonarTargetsManager::Instance().GetOperatorName().View(), record);
    return true;
}

std::int32_t ControlDevice::GetInformationFlags3001Record(SonarTarget const& contact) const
{
    // A NaN is not 0 and counts as there.
    std::array<bool, std::tuple_size_v<decltype(contactInformationFlags)>> const holds{
        contact.IsLatitudeLongitudeValid(), contact.azimuth != 0.0F,        contact.contactLength != 0.0F,
        contact.contactWidth != 0.0F,       contact.extensionValue != 0.0F, contact.extensionAngle != 0.0F,
        contact.extensionMeasureValid};
    std::int32_t flags = 0;
    for (std::size_t i = 0; i < holds.size(); ++i) {
        flags |= holds[i] ? contactInformationFlags[i] : 0;
    }
    return flags;
}

void ControlDevice::SendSonarContactGeoTiffx5(SONAR_TARGET_SEL_INFO const* info)
{
    if (sonarTargetsControl == nullptr) {
        return;
    }
    auto const sonar = SonarIdentity();
    if (!sonar) {
        return;
    }
    double const now = CExTime::GetCurTime();
    auto const* const contact = sonarTargetsControl->GetSonarTargetByTargetId(info->targetId);
    if (contact == nullptr) {
        return;
    }
    CString const image = contact->GetTempSonarContactGeoTiff();
    HugeFileStream file;
    if (!file.Open(image, false, false)) {
        return;
    }
    protocol::RecordLayout const& record = records::FileForSonar;
    auto const size = static_cast<std::uint32_t>(file.GetSize() & std::numeric_limits<std::uint32_t>::max());
    constexpr std::size_t around = protocol::FrameOverhead + records::FileForSonar.Size();
    constexpr std::size_t greatestImage = protocol::MaximumFrameSize - around;
    if (size > greatestImage) {
        // Not even read, and not removed: nobody else has it.
        platform::Complain("the image of contact " + std::to_string(info->targetId) + ", " + tvcore::ToUtf8(image) +
                           ", has " + std::to_string(size) + " bytes; a frame holds " + std::to_string(greatestImage) +
                           ", so it is not sent and not removed");
        return;
    }
    std::string frame;
    frame.reserve(size + around);
    platform::PreferLargePages(frame.data(), frame.capacity());
    frame.resize(size + around);
    auto const bytes = BytesOf(frame);
    // The image goes straight to its place in the frame.
    std::size_t const imageBegin = protocol::FrameHeaderSize + record.size;
    file.Read(bytes.data() + imageBegin, size); // what a short read leaves stays 0
    file.Close();
    HugeFileStream::Remove(contact->GetGeoTIFF());
    auto const head = bytes.subspan(protocol::FrameHeaderSize, record.size);
    protocol::PackField(records::FileName, std::string_view(ImageName(info->targetId)), head);
    protocol::PackField(records::FileType, std::string_view(".tif"), head);
    protocol::PackField(records::FileSize, size, head);
    protocol::WriteFrameHeader(bytes, static_cast<std::uint32_t>(bytes.size()), record.id, *sonar, now);
    SendMessageW(std::move(frame), false);
}

void ControlDevice::OnSonarTargetsVisualizationChange()
{
    auto& manager = SonarTargetsManager::Instance();
    sonarTargetsName = manager.GetActiveSonarTargetsName();
    CString fileName = sonarTargetsName;
    bool const isFullName = fileName.Find(L'\\') >= 0;
    if (!fileName.IsEmpty() && !isFullName && !DataSearch::GetDataSearch().GetFullPath(FILE_SONAR_TARGETS, fileName)) {
        return;
    }
    if (sonarTargetsControl != nullptr && sonarTargetsControl->FileName().Compare(fileName) != 0) {
        sonarTargetsControl->Close();
        sonarTargetsControl = nullptr;
    }
    if (sonarTargetsControl == nullptr) {
        sonarTargetsControl = manager.OpenSTSFile(fileName);
    }
}
