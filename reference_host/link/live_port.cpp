// What every port with a live connection has: the connection, the devices that live through it, and a bound on what
// waits for them.
#include "live_port.h"

#include "reference_host/common/failure.h"
#include "reference_host/common/log.h"
#include "reference_host/core/host.h"

#include <VordalDataBlocksR/BaseDevice.h>
#include <tvcoreR/Utf8.h>

#include <algorithm>
#include <new>
#include <string>
#include <utility>

namespace vordal {
namespace {

constexpr std::size_t GreatestUndeliveredPieces = 256;
constexpr std::size_t GreatestUndeliveredBytes = std::size_t{8} << 20;
constexpr std::size_t GreatestUndeliveredOfAllPorts = std::size_t{32} << 20;
constexpr std::size_t AlwaysUndeliveredBytes = std::size_t{64} << 10;
constexpr std::size_t GreatestUndeliveredStatuses = 64;

} // namespace

LivePort::LivePort(Host& host, LinkThread& thread, CString name, LinkOptions options, BaseIOHandler& handler,
                   AttachedDevices& devices)
    : m_host(host), m_name(std::move(name)), m_handler(handler), m_devices(devices),
      m_link(thread, std::move(options), *this)
{
}

LivePort::~LivePort() = default;

void LivePort::End()
{
    m_link.Close();
    m_host.EmptyLane(m_lane);
}

void LivePort::Open()
{
    m_link.Open();
}

void LivePort::BeginClose()
{
    m_link.BeginClose();
}

void LivePort::Close()
{
    m_link.Close();
    PostToHost([this] { TellDevices({}); });
}

void LivePort::Retire()
{
    End();
    TellDevices({});
}

void LivePort::PostToHost(std::size_t weight, std::function<void()> task)
{
    m_host.PostTo(m_lane, weight, std::move(task));
}

void LivePort::PostPiece(std::size_t bytes, std::function<void()> task)
{
    CountUndelivered(bytes);
    try {
        PostToHost(std::max(bytes, UsualWeight), [this, bytes, task = std::move(task)] {
            // Counted also when a subscriber throws.
            struct Delivery
            {
                LivePort& port;
                std::size_t bytes;
                ~Delivery() { port.CountDelivered(bytes); }
            } const delivery{*this, bytes};
            // What the sonar has told is told once. The second failure is the host thread's to log.
            OrOnceMore(task);
        });
    } catch (...) {
        CountDelivered(bytes);
        throw;
    }
}

void LivePort::OnDevicesTold(bool) {}

void LivePort::OnLinkStatus(LinkStatus const& status)
{
    if (status.state == LinkState::Connected) {
        OnConnectionBegins();
    }
    {
        std::lock_guard const lock(m_undeliveredMutex);
        if (m_statuses.size() == GreatestUndeliveredStatuses) {
            // What matters of a line that comes and goes: that it was lost. How it stands follows.
            auto const lost = std::find_if(m_statuses.rbegin(), m_statuses.rend(),
                                           [](LinkStatus const& each) { return each.state == LinkState::Lost; });
            std::deque<LinkStatus> kept(lost != m_statuses.rend() ? 1 : 0);
            if (lost != m_statuses.rend()) {
                kept.front() = std::move(*lost);
            }
            m_statuses.swap(kept);
        }
        m_statuses.push_back(status);
        if (m_statusTasks >= m_statuses.size()) {
            return;
        }
        ++m_statusTasks;
    }
    try {
        PostToHost([this] { TellNextStatus(); });
    } catch (...) {
        // The link tells it again.
        std::lock_guard const lock(m_undeliveredMutex);
        --m_statusTasks;
        if (!m_statuses.empty()) {
            m_statuses.pop_back();
        }
        throw;
    }
}

void LivePort::TellNextStatus()
{
    LinkStatus status;
    {
        std::lock_guard const lock(m_undeliveredMutex);
        --m_statusTasks;
        if (m_statuses.empty()) {
            return;
        }
        status = std::move(m_statuses.front());
        m_statuses.pop_front();
    }
    OrOnceMore([&] {
        bool const connected = m_devicesConnected;
        try {
            TellDevices(status);
        } catch (std::bad_alloc const&) {
            m_devicesConnected = connected; // some have heard of it, none is left out
            throw;
        }
    });
}

void LivePort::TellDevices(LinkStatus const& status)
{
    auto const connected = status.state == LinkState::Connected;
    if (connected != m_devicesConnected) {
        m_devicesConnected = connected;
        for (int index = 0; auto* const device = m_devices.At(index); ++index) {
            if (connected) {
                device->HandlePortConnect();
                device->HandlePortConnected();
            } else {
                device->HandlePortDisConnect();
                device->HandlePortDisConnected();
            }
        }
        OnDevicesTold(connected);
    }
    if (m_statusListener) {
        m_statusListener(status);
    }
}

void LivePort::OnLinkReport(std::string_view line)
{
    Log(LogLevel::Warning, tvcore::ToUtf8(m_name) + ": " + std::string(line));
}

// Pausing and resuming stay under the lock, so that their order is that of the counts; neither reaches back to here.

/// Whoever floods gets as much as is free, so that N of them leave room for one more of their size. Who does not has
/// some room also while nothing is free.
std::size_t LivePort::GreatestBytesNow() const
{
    auto const all = std::min(m_host.LaneWeight(), GreatestUndeliveredOfAllPorts);
    return std::clamp(GreatestUndeliveredOfAllPorts - all, AlwaysUndeliveredBytes, GreatestUndeliveredBytes);
}

void LivePort::CountUndelivered(std::size_t bytes)
{
    std::lock_guard const lock(m_undeliveredMutex);
    ++m_undeliveredPieces;
    m_undeliveredBytes += bytes;
    if (!m_paused && (m_undeliveredPieces > GreatestUndeliveredPieces || m_undeliveredBytes > GreatestBytesNow())) {
        m_paused = true;
        m_pauses.fetch_add(1);
        m_link.SetReadingPaused(true);
    }
}

void LivePort::CountDelivered(std::size_t bytes)
{
    std::lock_guard const lock(m_undeliveredMutex);
    --m_undeliveredPieces;
    m_undeliveredBytes -= bytes;
    if (m_paused && m_undeliveredPieces <= GreatestUndeliveredPieces / 2 &&
        m_undeliveredBytes <= GreatestBytesNow() / 2) {
        m_paused = false;
        m_link.SetReadingPaused(false);
    }
}

} // namespace vordal
