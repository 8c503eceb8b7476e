// The TCP connection to one sonar.
#pragma once

#include <VordalBaseR/Export.h>

#include "back_off.h"
#include "link_thread.h"
#include "owned_bytes.h"

#include "reference_host/platform/line_watch.h"

#include <protocol/frame.h>
#include <protocol/idle_limit.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vordal {

enum class LinkState
{
    Closed,     ///< not opened, or closed by its owner
    Connecting, ///< looking the name up or asking the sonar for a connection
    Connected,
    Lost,    ///< the connection just broke; always followed by Waiting
    Waiting, ///< the last attempt failed or the connection broke; tries again after `retryIn`
};

/// "connected" and so on, lower case.
VORDAL_API std::string_view ToText(LinkState state);

struct LinkStatus
{
    LinkState state = LinkState::Closed;
    /// Why, in one line for the operator; empty when there is nothing to say.
    std::string reason;
    /// With Waiting: how long until the next attempt.
    std::chrono::milliseconds retryIn{0};
};

/// Who is told about a link. All calls arrive on the link thread, with no lock held, and must not wait: a listener
/// hands on to its own thread. A call may close the link, but not destroy it.
class SonarLinkListener
{
public:
    virtual ~SonarLinkListener() = default;
    virtual void OnLinkStatus(LinkStatus const& status) = 0;
    /// One complete, checked frame; its bytes are valid during the call. `time` is host time in seconds.
    virtual void OnLinkFrame(qx5::protocol::FrameView const& frame, double time) = 0;
    /// Of a link without frames, in place of the above: bytes as they came, 1 to 65,536, valid during the call.
    virtual void OnLinkBytes(std::span<unsigned char const>, double) {}
    /// One line worth keeping in the log, such as the first garbage of a connection, or what a connection took with it
    /// when it was lost: records that were sent and that the sonar's system did not acknowledge.
    virtual void OnLinkReport(std::string_view line) = 0;
};

/// A frame that passed over a link.
struct LinkTrace
{
    bool outgoing = false;
    double time = 0.0; ///< host time in seconds
    /// Numbers the frames of one direction of one link in the order in which they lie on the wire.
    std::uint64_t sequence = 0;
    std::span<unsigned char const> frame; ///< valid during the call
};

/// Sees every frame of a link: outgoing ones on the sender's thread once they are accepted, incoming ones on the link
/// thread before the listener. Must not wait.
class LinkObserver
{
public:
    virtual ~LinkObserver() = default;
    virtual void OnTrace(LinkTrace const& trace) = 0;
};

/// Numbers of one link since it was made.
struct LinkCounters
{
    std::uint64_t connections = 0;
    std::uint64_t framesOut = 0; ///< accepted
    std::uint64_t bytesOut = 0;  ///< accepted
    std::uint64_t refused = 0;   ///< sends that returned false
    std::uint64_t framesIn = 0;
    std::uint64_t bytesIn = 0;      ///< good or not
    std::uint64_t bytesSkipped = 0; ///< garbage between frames
};

/// Finds the numeric addresses ("192.0.2.7", "::1") of a host name. Runs on a thread of its own, may block for as long
/// as it likes, throws std::exception to say why there are none.
using NameLookUp = std::function<std::vector<std::string>(std::string const& host)>;

struct LinkOptions
{
    std::string host;
    std::uint16_t port = 0;
    /// Bytes that may wait for the sonar to take them. Longer frames, such as images, may wait beside them: one, or as
    /// many as have no more than 256 times so many bytes together. What is beyond is refused.
    std::size_t queueBytes = std::size_t{1} << 20;
    /// A longer frame is refused.
    std::size_t greatestFrame = qx5::protocol::MaximumFrameSize;
    /// An incoming frame that claims to be longer is damage: a sonar sends nothing of the size of an image.
    std::size_t greatestIncomingFrame = std::size_t{16} << 20;
    /// A frame that was begun and gets no further byte for so long is damage: its reader goes on inside of it.
    std::chrono::milliseconds idleLimit{5000};
    /// A frame that is not whole after so long is damage once good frames lie whole inside of it: they are given. A
    /// large one on a slow line, with none inside, goes on arriving.
    std::chrono::milliseconds frameShare = qx5::protocol::IdleLimit::UsualShare;
    LineWatch watch;
    /// False: what arrives has frames of its own, which are the listener's to find; it goes out as OnLinkBytes and is
    /// not seen by the observer, and neither is what is sent.
    bool framed = true;
    BackOffSchedule backOff;
    /// For one attempt, name look-up included.
    std::chrono::milliseconds connectTimeout{5000};
    /// Empty: the system's own look-up.
    NameLookUp lookUp;
    /// Host time in seconds; null: the system's clock.
    double (*clock)() = nullptr;
    /// The system's send and receive buffer of the socket in bytes; 0 leaves them to the system.
    int systemBufferBytes = 0;
};

/// One connection to one sonar: kept up by itself between Open and Close, frames whole in both directions.
///
/// Stopping is bounded: Close waits for the link thread alone, which never blocks. A name look-up that does not answer
/// keeps nothing but its own thread, which is abandoned; its late answer is thrown away. At most sixteen look-ups of a
/// process are under way at a time, an attempt beyond that fails and is repeated like any other.
class VORDAL_API SonarLink
{
public:
    /// `listener` must outlive the link or its Close.
    SonarLink(LinkThread& thread, LinkOptions options, SonarLinkListener& listener);
    SonarLink(SonarLink const&) = delete;
    SonarLink& operator=(SonarLink const&) = delete;
    ~SonarLink();

    /// Starts to connect and returns. Any thread.
    void Open();
    /// Has the link thread do what Close does, and does not wait for it. Any thread.
    void BeginClose();
    /// Ends the connection; what waits in the queue is dropped. When it returns no call to the listener is under way
    /// or will come, unless it is called on the link thread itself, from within such a call. The listener is not told.
    void Close();

    /// Sends one whole frame. Any thread; never waits, never throws, never allocates unless bytes have to be queued.
    /// False: there is no connection, or the queue has no room, or no memory; then the sonar does not get the frame.
    /// True: the frame leaves whole and unmixed, unless the connection is lost first; nothing queued survives its
    /// connection. A frame of a thread that has announced more work (see SendGathering) may be held back for up to 16
    /// KiB and a millisecond to leave together with those that follow, in order; all others leave at once.
    bool Send(std::span<unsigned char const> frame);
    /// The same without a copy of what has to wait. A frame that is longer than the queue is left to the link thread
    /// as it is, so that the caller is not held for the time that the system takes for it.
    bool SendOwned(OwnedBytes const& frame);

    bool IsConnected() const;
    LinkStatus GetStatus() const;
    LinkCounters GetCounters() const;
    /// Bytes accepted that the system has not taken yet.
    std::size_t GetQueuedBytes() const;

    /// Stops and resumes reading, for a listener that cannot keep up: what the sonar sends then waits in the system's
    /// buffers and at last in the sonar. At most one read's worth of frames (64 KiB) still arrives after a pause. A
    /// lost connection is noticed by sending only while reading is paused. Any thread.
    void SetReadingPaused(bool paused);

    /// Null for none. A call to the former observer may still be under way on another thread; it is kept alive for it.
    void SetObserver(std::shared_ptr<LinkObserver> observer);

private:
    class Impl;
    std::shared_ptr<Impl> m_impl;
};

} // namespace vordal
