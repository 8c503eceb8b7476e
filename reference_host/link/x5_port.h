// The port of a live sonar: a named connection and the devices that share it.
#pragma once

#include "echo_streams.h"
#include "live_port.h"
#include "reference_host/core/host_streams.h"
#include "repeated_trees.h"

#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace vordal {

/// A sonar connection as devices see it. Attributes that the sonar sends are merged into the trees of the attached
/// devices that they are for (frame_addressees.h), settings data go into the buffers of those that are sonars; while
/// the connection is lost the buffers of sonars have LostStreamStatus, all on the host thread.
///
/// Whoever subscribes to a sonar's detections or water column (SonarEchoItems.h) has the sonar asked for them, again
/// after each time that the connection comes up, until the last subscription ends. What comes waits for the host thread
/// beside all else: of each sonar and stream the newest alone, so that nothing waits behind it.
class VORDAL_API X5Port final : public PortWithDevices<QX5SocketIoHandler>, public LivePort, private FollowersWatcher
{
public:
    X5Port(Host& host, LinkThread& thread, CString name, LinkOptions options);
    ~X5Port() override;

    /// Trees that were dropped because they were damaged or beyond the limits.
    std::uint64_t DroppedTrees() const { return m_droppedTrees.load(); }

    EchoCounters EchoCounts() const { return m_echoes.Counts(); }

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
    void OnConnectionBegins() override;
    void OnLinkFrame(qx5::protocol::FrameView const& frame, double time) override;
    void OnDevicesTold(bool connected) override;
    void OnFollowersChanged() override;

    void TakeEchoes(qx5::protocol::FrameView const& frame);

    /// Nothing comes for a stream without connection: whoever waits for its data, such as the sonars that ping in turn,
    /// hears of it as of any change of the stream's status. With the connection the status is 0 until the sonar says
    /// otherwise.
    void TellStreamsOfConnection(bool connected);
    /// Hands a tree to the devices that it is for.
    void Deliver(qx5::protocol::Target from, CAttributeMap const& tree, std::uint64_t number);
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

    /// Host thread alone.
    std::vector<CDataId> m_settingsTold; ///< of which devices, in this connection
    bool m_strangerTold = false;         ///< in this connection
    bool m_streamsLost = false;
    bool m_isConnected = false; ///< as the devices know
    EchoStreams m_echoes;
    /// Link thread alone.
    RepeatedTrees m_trees;
    bool m_damageTold = false;
    bool m_echoDamageTold = false;
    std::atomic<std::uint64_t> m_droppedTrees{0};
    std::atomic<std::uint64_t> m_playbackRefusals{0};
    std::atomic<unsigned> m_playbackRefusalsTold{0}; ///< one bit for each operation
};

} // namespace vordal
