// What every port with a live connection has: the connection, the devices that live through it, and a bound on what
// waits for them.
#pragma once

#include "reference_host/common/task_lanes.h"
#include "reference_host/core/port.h"
#include "sonar_link.h"

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <utility>

namespace vordal {

class Host;

/// When the connection comes up or is lost the devices are told, on the host thread. Attach the devices before Open:
/// one that comes later hears of the connection at its next change.
///
/// When the host thread falls behind by more than 256 pieces of what arrived, 8 MiB of memory that they take, or as
/// much of 32 MiB as the pieces of all ports of the host leave (64 KiB at least), reading pauses until it has caught up
/// by half, so that the other side waits and memory does not grow. A port whose sonar tells little thus never pauses
/// for others that flood, and its pieces take their turn between theirs. Of a connection that comes and goes meanwhile
/// the devices hear that it was lost, and how it stands at last.
///
/// Needs a threaded host. Make it after the host and the link thread; destroy it on the host thread, or once the host
/// has stopped, with no device attached to it any more.
class VORDAL_API LivePort : private SonarLinkListener
{
public:
    LivePort(LivePort const&) = delete;
    LivePort& operator=(LivePort const&) = delete;
    ~LivePort() override;

    CString const& GetName() const { return m_name; }
    /// The port as devices see it.
    BaseIOHandler& Handler() const { return m_handler; }
    /// For state, counters and the observer of a record monitor.
    SonarLink& GetLink() { return m_link; }
    SonarLink const& GetLink() const { return m_link; }

    /// Called on the host thread at every change of the connection's state, after the devices were told. Set before
    /// Open.
    void SetStatusListener(std::function<void(LinkStatus const&)> listener) { m_statusListener = std::move(listener); }

    /// Any thread.
    void Open();
    /// Has the link end its connection, and waits for nothing: for many that Close is then called for. Any thread.
    void BeginClose();
    /// Any thread but that of a call from the link. Devices that were told of a connection are told of its end.
    void Close();
    /// The same for good: the devices are told before it returns, and nothing comes from it any more. Host thread.
    void Retire();

    /// How often reading has paused because the host thread fell behind. Any thread.
    std::uint64_t Pauses() const { return m_pauses.load(); }

protected:
    /// `handler` and `devices` are of the object that is being made.
    LivePort(Host& host, LinkThread& thread, CString name, LinkOptions options, BaseIOHandler& handler,
             AttachedDevices& devices);

    /// To be called first by the destructor of what is derived: nothing comes from the link or the host any more.
    void End();
    /// Runs the task on the host thread, behind what the port has posted before, unless the port is gone by then.
    void PostToHost(std::function<void()> task) { PostToHost(UsualWeight, std::move(task)); }
    /// The same with a piece that arrived and takes `bytes` bytes of memory. Link thread.
    void PostPiece(std::size_t bytes, std::function<void()> task);

    Host& GetHost() const { return m_host; }
    AttachedDevices& Devices() const { return m_devices; }
    /// A connection begins; link thread, before anything arrives on it.
    virtual void OnConnectionBegins() {}
    /// The connection has come up or was lost, and the devices know. Host thread.
    virtual void OnDevicesTold(bool connected);

private:
    /// What a task counts for at least: small ones take their time, too.
    static constexpr std::size_t UsualWeight = 4096;

    void PostToHost(std::size_t weight, std::function<void()> task);
    std::size_t GreatestBytesNow() const;

    void OnLinkStatus(LinkStatus const& status) override;
    void OnLinkReport(std::string_view line) override;

    void TellNextStatus();
    void TellDevices(LinkStatus const& status);
    void CountUndelivered(std::size_t bytes);
    void CountDelivered(std::size_t bytes);

    Host& m_host;
    CString const m_name;
    BaseIOHandler& m_handler;
    AttachedDevices& m_devices;
    std::function<void(LinkStatus const&)> m_statusListener;
    TaskLane m_lane;                 ///< on the way to the host thread
    bool m_devicesConnected = false; ///< host thread alone

    std::mutex m_undeliveredMutex;
    std::size_t m_undeliveredPieces = 0;
    std::size_t m_undeliveredBytes = 0;
    bool m_paused = false;
    /// On their way to the host thread, each with a task; there may be more tasks than that.
    std::deque<LinkStatus> m_statuses;
    std::size_t m_statusTasks = 0;
    std::atomic<std::uint64_t> m_pauses{0};

    SonarLink m_link;
};

} // namespace vordal
