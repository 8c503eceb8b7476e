// The port of a connected sonar: live socket or recorded file.
#pragma once

#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/BaseIOHandler.h>

#include <cstdint>

/// What the port of a connected sonar really is; found by a dynamic cast of the port. Host thread for the
/// operations; none of them waits. Times are seconds, as the requester gave them.
class VORDAL_API QX5SocketIoHandler : public BaseIOHandler
{
public:
    ~QX5SocketIoHandler() override;

    /// Has the recorded file played `speed` times as fast as it was recorded.
    virtual void PlaybackSetSpeed(double commandTime, double speed) = 0;
    /// Goes to a place in the file, as the requester gave it.
    virtual void PlaybackSetPosition(double commandTime, double position) = 0;
    /// Has the file begin again at its end; 0 ends that.
    virtual void PlaybackSetLoop(double commandTime, double loop) = 0;
    /// Goes on by a step in the file.
    virtual void PlaybackStepForward(double commandTime) = 0;
    /// Goes back by a step in the file.
    virtual void PlaybackStepBack(double commandTime) = 0;
    /// True when the port plays a recorded file instead of a live socket.
    virtual bool IsFilePlayback() const = 0;
    /// Sends a remote-control command that the sonar processor passes on to unit `deviceId`. False without a
    /// connection or with a full queue; nothing is sent then. The payload is copied.
    virtual bool SendRemoteControlCommandWithPassThrough(std::uint32_t recordId, void const* payload,
                                                         std::uint64_t size, std::uint32_t deviceId,
                                                         std::uint16_t enumerator) = 0;
};
