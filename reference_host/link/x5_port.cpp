// The port of a live sonar: a named connection and the devices that share it.
#include "x5_port.h"

#include "frame_addressees.h"
#include "live_traffic.h"
#include "reference_host/streams/settings_data.h"

#include "reference_host/common/log.h"
#include "reference_host/common/request_observer.h"
#include "reference_host/core/host.h"

#include <tvcoreR/Utf8.h>

#include <protocol/frame.h>
#include <protocol/house_records.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace vordal {
namespace {

namespace protocol = qx5::protocol;

} // namespace

X5Port::X5Port(Host& host, LinkThread& thread, CString name, LinkOptions options)
    : LivePort(host, thread, std::move(name), std::move(options), *this, *this), m_echoes(host, *this)
{
    host.WatchFollowers(*this);
}

X5Port::~X5Port()
{
    End();
    GetHost().LeaveFollowers(*this);
    if (auto const refusals = PlaybackRefusals(); refusals > 1) {
        Log(LogLevel::Info, tvcore::ToUtf8(GetName()) + ": " + std::to_string(refusals) +
                                " playback commands in all were refused, as the sonar is live");
    }
}

void X5Port::OnConnectionBegins()
{
    m_damageTold = false;
    m_echoDamageTold = false;
}

void X5Port::OnDevicesTold(bool connected)
{
    m_settingsTold.clear();
    m_strangerTold = false;
    TellStreamsOfConnection(connected);
    m_isConnected = connected;
    m_echoes.ConnectionChanged();
    OnFollowersChanged();
}

void X5Port::OnFollowersChanged()
{
    try {
        m_echoes.Attend(m_isConnected, [this](protocol::Target target, std::span<unsigned char const> request) {
            return SendRemoteControlRecord(GetLink(), protocol::records::EchoRequest.Id(), request, target.deviceId,
                                           target.enumerator);
        });
    } catch (std::bad_alloc const&) {
        // Again with the next tree; what the sonar has told beside must not be told twice for it.
    }
}

void X5Port::TakeEchoes(protocol::FrameView const& frame)
{
    std::string damage;
    try {
        if (m_echoes.Take(frame, damage)) {
            PostToHost([this] { m_echoes.DeliverNext(); });
        }
    } catch (std::bad_alloc const&) {
        m_echoes.DropNewest();
    }
    if (!damage.empty() && !std::exchange(m_echoDamageTold, true)) {
        Log(LogLevel::Warning, tvcore::ToUtf8(GetName()) + ": record " + std::to_string(frame.header.recordId) +
                                   " from the sonar is dropped, " + damage + "; said once for this connection");
    }
}

void X5Port::OnLinkFrame(protocol::FrameView const& frame, double)
{
    if (protocol::IsOfEchoes(frame.header.recordId)) {
        TakeEchoes(frame);
        return;
    }
    if (frame.header.recordId != protocol::records::AttributeTree.Id()) {
        return;
    }
    std::string error;
    protocol::Target const from{static_cast<std::int32_t>(frame.header.deviceId),
                                static_cast<std::int16_t>(frame.header.enumerator)};
    auto decoded = m_trees.Decode(from, frame.data, error);
    if (!decoded) {
        m_droppedTrees.fetch_add(1);
        if (!std::exchange(m_damageTold, true)) {
            Log(LogLevel::Warning, tvcore::ToUtf8(GetName()) + ": attributes from the sonar are dropped, " + error +
                                       "; said once for this connection");
        }
        return;
    }
    PostPiece(decoded->size,
              [this, from, tree = std::move(decoded->tree), number = decoded->number] { Deliver(from, tree, number); });
}

void X5Port::Deliver(protocol::Target from, CAttributeMap const& tree, std::uint64_t number)
{
    auto const devices = AddresseesOf(*this, from);
    if (devices.empty() && Count() > 0 && !std::exchange(m_strangerTold, true)) {
        Log(LogLevel::Warning,
            tvcore::ToUtf8(GetName()) + ": attributes of " + std::to_string(from.deviceId) + "/" +
                std::to_string(from.enumerator) +
                " are dropped, no device on this port has this \"DeviceId\" and \"DeviceEnum\"; said once for this "
                "connection");
    }
    auto const settings = SettingsBlockOf(tree, GetHost().Now());
    auto const status = StreamStatusOf(tree);
    bool const isPing = IsPingAnswer(tree);
    for (BaseDevice* const device : devices) {
        if (!IsAttached(device)) {
            continue; // whoever was told of another's attributes has taken it away
        }
        bool isData = settings.has_value() && isPing;
        CDataId const& dataId = device->GetDataId();
        if (settings.has_value() &&
            std::find(m_settingsTold.begin(), m_settingsTold.end(), dataId) == m_settingsTold.end()) {
            m_settingsTold.push_back(dataId);
            isData = true;
        }
        GetHost().MergeDecoded(*device, tree, number);
        PutStreamData(*device, status, isData ? settings : std::nullopt);
    }
    m_echoes.TakeUp(tree);
    // A sonar that has told who it is can be asked.
    OnFollowersChanged();
}

void X5Port::TellStreamsOfConnection(bool connected)
{
    // A stream that was never without its connection keeps the status that others gave it.
    if (connected == !m_streamsLost) {
        return;
    }
    m_streamsLost = !connected;
    for (int index = 0; auto* const device = GetDevice(index); ++index) {
        PutStreamData(*device, connected ? 0 : LostStreamStatus, std::nullopt);
    }
}

void X5Port::PutStreamData(BaseDevice const& device, std::optional<unsigned short> status,
                           std::optional<CDataBlock> const& block)
{
    CDataId const& dataId = device.GetDataId();
    if (dataId.GetGroupId() != SonarDataGroup) {
        return;
    }
    if (status) {
        GetHost().SetBufferStatus(dataId, *status);
    }
    if (block) {
        GetHost().PutBlock(dataId, *block);
    }
}

void X5Port::RefusePlayback(Playback operation, std::string_view why)
{
    m_playbackRefusals.fetch_add(1, std::memory_order_relaxed);
    auto const bit = 1U << static_cast<unsigned>(operation);
    if ((m_playbackRefusalsTold.fetch_or(bit, std::memory_order_relaxed) & bit) == 0) {
        Log(LogLevel::Info, tvcore::ToUtf8(GetName()) + ": a live sonar " + std::string(why) +
                                "; said once for this port, then counted");
    }
}

void X5Port::PlaybackSetSpeed(double, double)
{
    RefusePlayback(Playback::Speed, "has no playback speed");
}

void X5Port::PlaybackSetPosition(double, double)
{
    RefusePlayback(Playback::Position, "has no playback position");
}

void X5Port::PlaybackSetLoop(double, double)
{
    RefusePlayback(Playback::Loop, "has no playback loop");
}

void X5Port::PlaybackStepForward(double)
{
    RefusePlayback(Playback::StepForward, "cannot step forward");
}

void X5Port::PlaybackStepBack(double)
{
    RefusePlayback(Playback::StepBack, "cannot step back");
}

bool X5Port::SendRemoteControlCommandWithPassThrough(std::uint32_t recordId, void const* payload, std::uint64_t size,
                                                     std::uint32_t deviceId, std::uint16_t enumerator)
{
    if (size > protocol::MaximumFrameSize || (payload == nullptr && size != 0)) {
        return false;
    }
    std::span<unsigned char const> const bytes(static_cast<unsigned char const*>(payload),
                                               static_cast<std::size_t>(size));
    try {
        auto const command = protocol::EncodePassThrough(
            {{static_cast<std::int32_t>(deviceId), static_cast<std::int32_t>(enumerator)}, recordId, bytes});
        constexpr auto envelope = protocol::records::PassThroughCommand.Id();
        constexpr auto target = protocol::SonarProcessor;
        bool const taken =
            RequestSends::Once({.kind = SendMark::Kind::RemoteControl, .record = recordId, .size = size}, [&] {
                return SendRemoteControlRecord(GetLink(), envelope, command, target.deviceId, target.enumerator);
            });
        return TellSend({SendMark::Kind::RemoteControl, envelope, command.size(), target.deviceId, target.enumerator},
                        command, taken);
    } catch (std::length_error const&) {
        return false;
    }
}

} // namespace vordal
