// The port of a live sonar: a named connection and the devices that share it.
#pragma once

#include "reference_host/devices/port.h"
#include "sonar_link.h"

#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace vordal {

class Host;

/// A sonar connection as devices see it. Attributes that the sonar sends are merged into the trees of the attached
/// devices that they are for (frame_addressees.h), settings data go into the buffers of those that are sonars; when the
/// connection comes up or is lost the devices are told, and while it is lost the buffers of sonars have
/// LostStreamStatus, all on the host thread. Attach the devices before Open: one that comes later hears of the
/// connection at its next change.
///
/// When the host thread falls behind by more than 256 trees or 8 MiB of them, reading pauses until it has caught up by
/// half, so that the sonar waits and memory does not grow.
///
/// Needs a threaded host. Make it after the host and the link thread; destroy it on the host thread, or once the host
/// has stopped, with no device attached to it any more.
class VORDAL_API X5Port final : public PortWithDevices<QX5SocketIoHandler>, private SonarLinkListener
{
public:
    X5Port(Host& host, LinkThread& thread, CString name, LinkOptions options);
    ~X5Port() override;

    CString const& GetName() const { return m_name; }
    /// For state, counters and the observer of a record monitor.
    SonarLink& GetLink() { return m_link; }
    SonarLink const& GetLink() const { return m_link; }

    /// Called on the host thread at every change of the connection's state, after the devices were told. Set before
    /// Open.
    void SetStatusListener(std::function<void(LinkStatus const&)> listener) { m_statusListener = std::move(listener); }

    /// Any thread.
    void Open();
    /// Any thread but that of a call from the link. Devices that were told of a connection are told of its end.
    void Close();

    /// One whole frame; see SonarLink::Send.
    bool Send(std::span<unsigned char const> frame) { return m_link.Send(frame); }

    /// Trees that were dropped because they were damaged or beyond the limits.
    std::uint64_t DroppedTrees() const { return m_droppedTrees.load(); }

    /// Playback commands that were refused, as the sonar is live.
    std::uint64_t PlaybackRefusals() const { return m_playbackRefusals.load(); }

    // A live sonar plays nothing back: each of these leaves one line in the log for the life of the port and is counted
    // from then on. Any thread.
    void PlaybackSetSpeed(double commandTime, double speed) override;
    void PlaybackSetPosition(double commandTime, double position) override;
    void PlaybackSetLoop(double commandTime, double loop) override;
    void PlaybackStepForward(double commandTime) override;
    void PlaybackStepBack(double commandTime) override;
    bool IsFilePlayback() const override { return false; }
    /// Goes to the sonar processor as this project's own pass-through command. Any thread.
    bool SendRemoteControlCommandWithPassThrough(std::uint32_t recordId, void const* payload, std::uint64_t size,
                                                 std::uint32_t deviceId, std::uint16_t enumerator) override;

private:
    void OnLinkStatus(LinkStatus const& status) override;
    void OnLinkFrame(qx5::protocol::FrameView const& frame, double time) override;
    void OnLinkReport(std::string_view line) override;

    /// Runs the task on the host thread unless the port is gone by then.
    void PostToHost(std::function<void()> task);
    void TellDevices(LinkStatus const& status);
    /// Nothing comes for a stream without connection: whoever waits for its data, such as the sonars that ping in turn,
    /// hears of it as of any change of the stream's status. With the connection the status is 0 until the sonar says
    /// otherwise.
    void TellStreamsOfConnection(bool connected);
    /// Hands a tree to the devices that it is for.
    void Deliver(qx5::protocol::Target from, CAttributeMap const& tree);
    /// Puts what the sonar told of its data stream into the device's buffer, if the device is a sonar.
    void PutStreamData(BaseDevice const& device, std::optional<unsigned short> status,
                       std::optional<CDataBlock> const& block);
    enum class Playback : std::uint8_t
    {
        Speed,
        Position,
        Loop,
        StepForward,
        StepBack,
    };
    void RefusePlayback(Playback operation, std::string_view why);

    void CountUndelivered(std::size_t bytes);
    void CountDelivered(std::size_t bytes);

    Host& m_host;
    CString const m_name;
    std::function<void(LinkStatus const&)> m_statusListener;
    /// Lives as long as the port; tasks on their way to the host thread hold it weakly.
    std::shared_ptr<int> m_life = std::make_shared<int>(0);
    /// Host thread alone.
    bool m_devicesConnected = false;
    std::vector<CDataId> m_settingsTold; ///< of which devices, in this connection
    bool m_strangerTold = false;         ///< in this connection
    bool m_streamsLost = false;
    /// Link thread alone.
    bool m_damageTold = false;
    std::atomic<std::uint64_t> m_droppedTrees{0};
    std::atomic<std::uint64_t> m_playbackRefusals{0};
    std::atomic<unsigned> m_playbackRefusalsTold{0}; ///< one bit for each operation

    std::mutex m_undeliveredMutex;
    std::size_t m_undeliveredTrees = 0;
    std::size_t m_undeliveredBytes = 0;
    bool m_paused = false;

    SonarLink m_link;
};

} // namespace vordal
