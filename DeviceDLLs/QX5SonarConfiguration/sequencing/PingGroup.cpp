// One group of sonars that ping in turn: members, waiting, pausing, starting and stopping.
#include "PingGroup.h"

#include "../platform/timer_slack.h"

#include <VordalDataBlocksR/BaseDevice.h>
#include <VordalDataBlocksR/BaseIOHandler.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/Device.h>

#include <algorithm>
#include <limits>
#include <system_error>
#include <typeinfo>
#include <utility>

namespace {

thread_local bool isSequencingThread = false;

/// How long before the end of a pause the next ping is rehearsed: enough for some groups whose pauses end together, too
/// little for the processor's caches to lose it again. Once is best: a thread that wakes more often than it must waits
/// longer for its turn on a busy system.
constexpr auto rehearsalAhead = std::chrono::microseconds(250);

bool HasMainWindow()
{
    return CVordalBaseApp::Instance() != nullptr;
}

/// Finds the Device in what a port tells of, once for all of one class that follow each other: in a group each sonar's
/// port is told of each device on it, and most of them are alike.
class DeviceFinder
{
public:
    Device* Find(BaseDevice* attached)
    {
        if (attached == nullptr) {
            return nullptr;
        }
        if (std::type_info const& type = typeid(*attached); m_type != &type) {
            m_type = &type;
            m_isDevice = dynamic_cast<Device*>(attached) != nullptr;
        }
        return m_isDevice ? static_cast<Device*>(attached) : nullptr;
    }

private:
    std::type_info const* m_type = nullptr;
    bool m_isDevice = false;
};

/// Calls `visit` with each device that shares the port of `device`.
template <typename Visit>
void ForEachOnPort(BaseDevice const& device, DeviceFinder& finder, Visit visit)
{
    BaseIOHandler* const port = device.GetPortPtr();
    if (port == nullptr) {
        return;
    }
    int const count = port->GetDeviceCount();
    for (int index = 0; index < count; ++index) {
        if (auto* const attached = finder.Find(port->GetDevice(index)); attached != nullptr) {
            visit(*attached);
        }
    }
}

void Ping(PingMember const& member, std::vector<BaseDevice*> const& devices)
{
    // The sonars that wait for their turn are silent, and must not count as lost for it.
    DeviceFinder finder;
    for (BaseDevice const* const device : devices) {
        bool const isActive = device == member.device;
        ForEachOnPort(*device, finder, [isActive](Device& attached) { attached.DisableTimeOut(!isActive); });
    }
    member.device->SendMessageW(member.pingRecord, false);
}

/// Reads what the next ping will read, without any effect. After a long pause that is no longer in the processor's
/// caches, and loading it takes longer than the system takes to wake the thread: after 160 ms a ping is as late as 0.55
/// bare sleeps with it, 1.3 without; the latest of a hundred 1 and 2.
void Rehearse(std::vector<BaseDevice*> const& devices)
{
    // Volatile, so that the walk is made though nobody asks for the number.
    int volatile seen = HasMainWindow() ? 1 : 0;
    DeviceFinder finder;
    for (BaseDevice const* const device : devices) {
        ForEachOnPort(*device, finder, [&seen](Device&) { seen = seen + 1; });
    }
}

} // namespace

namespace qx5 {

std::uint32_t PauseMilliseconds(double range, double soundSpeed, double overheadPercent)
{
    // The order of the operations shows in the last bit.
    double const travel = 2.0 * range / soundSpeed;
    double const milliseconds = travel * 1000.0 * overheadPercent / 100.0 + 0.5;
    if (!(milliseconds > 0.0)) {
        return 0;
    }
    constexpr auto greatest = std::numeric_limits<std::uint32_t>::max();
    return milliseconds < static_cast<double>(greatest) ? static_cast<std::uint32_t>(milliseconds) : greatest;
}

} // namespace qx5

PingGroup::~PingGroup()
{
    // Reached with a thread only on that thread itself, which held the group last.
    if (m_thread.joinable()) {
        m_thread.detach();
    }
}

bool PingGroup::IsSequencingThread()
{
    return isSequencingThread;
}

bool PingGroup::HasMember(CDataId const& dataId) const
{
    return std::any_of(m_members.begin(), m_members.end(),
                       [&](PingMember const& member) { return member.dataId == dataId; });
}

bool PingGroup::BeginJoining(CDataId const& dataId)
{
    std::lock_guard const lock(m_lock);
    if (HasMember(dataId) || std::find(m_joining.begin(), m_joining.end(), dataId) != m_joining.end()) {
        return false;
    }
    m_joining.push_back(dataId);
    return true;
}

void PingGroup::Join(PingMember member)
{
    std::lock_guard const lock(m_lock);
    std::erase(m_joining, member.dataId);
    m_members.push_back(std::move(member));
    Start();
}

void PingGroup::GiveUpJoining(CDataId const& dataId)
{
    std::lock_guard const lock(m_lock);
    std::erase(m_joining, dataId);
}

void PingGroup::SettingsArrived(CDataId const& dataId, std::uint32_t pauseMilliseconds, Clock::time_point arrived)
{
    {
        std::lock_guard const lock(m_lock);
        if (!IsAwaited(dataId)) {
            return;
        }
        m_waitMilliseconds = pauseMilliseconds;
        m_waitFrom = arrived;
        m_wakeSignalled = true;
    }
    // Without the lock, which the thread takes as the first thing.
    m_wake.notify_one();
}

void PingGroup::BufferStatusChanged(CDataId const& dataId, std::uint16_t status)
{
    Lock lock(m_lock);
    bool anyUsable = false;
    for (PingMember& member : m_members) {
        if (member.dataId == dataId) {
            member.bufferStatus = status;
            if (status != 0 && IsAwaited(dataId)) {
                m_waitMilliseconds = 0;
                m_wakeSignalled = true;
                m_wake.notify_one();
            }
        }
        anyUsable = anyUsable || member.bufferStatus == 0;
    }
    if (anyUsable) {
        Start();
    } else {
        Stop(lock);
    }
}

void PingGroup::RequestEnd()
{
    std::lock_guard const lock(m_lock);
    m_closed = true;
    RequestStop();
}

void PingGroup::End()
{
    Lock lock(m_lock);
    m_closed = true;
    Stop(lock);
}

// Starting and stopping; all with the lock held.

void PingGroup::Start()
{
    if (m_closed) {
        return;
    }
    if (m_hasThread) {
        if (m_stopRequested == 0) {
            return; // it runs, or has ended by itself for want of a window
        }
        if (m_reaping || !m_ended) {
            m_startAgain = true;
            return;
        }
        // It was stopped from a sequencing thread, which did not wait. It has left its loop for good.
        m_thread.join();
        m_hasThread = false;
    }
    Spawn();
}

void PingGroup::Spawn()
{
    ResetTurn();
    m_ended = false;
    ++m_generation;
    try {
        m_thread = std::thread([self = shared_from_this()] { self->Run(); });
        m_hasThread = true;
    } catch (std::system_error const&) {
        // The system has no thread to give; the next change of a status tries again.
    }
}

void PingGroup::ResetTurn()
{
    m_startAgain = false;
    m_stopRequested = 0;
    m_wakeSignalled = false;
    m_awaited = nullptr;
    m_waitMilliseconds = 0;
}

void PingGroup::RequestStop()
{
    m_startAgain = false;
    if (m_hasThread) {
        m_stopRequested = 1;
        m_waitMilliseconds = 0;
        m_wakeSignalled = true;
        m_wake.notify_one();
    }
}

void PingGroup::Stop(Lock& lock)
{
    RequestStop();
    if (!m_hasThread || isSequencingThread) {
        return;
    }
    if (m_reaping) {
        auto const generation = m_generation;
        m_stopped.wait(lock, [&] { return !m_hasThread || m_generation != generation; });
        return;
    }
    m_reaping = true;
    std::thread thread = std::move(m_thread);
    lock.unlock();
    thread.join();
    lock.lock();
    m_reaping = false;
    m_hasThread = false;
    if (m_startAgain && !m_closed) {
        Spawn();
    }
    m_stopped.notify_all();
}

// The thread.

void PingGroup::Run()
{
    isSequencingThread = true;
    qx5::platform::WakeOnTime();
    Lock lock(m_lock);
    TakeTurns(lock);
    while (m_stopRequested != 0 && m_startAgain && !m_reaping && !m_closed) {
        ResetTurn();
        TakeTurns(lock);
    }
    m_ended = true;
}

void PingGroup::TakeTurns(Lock& lock)
{
    // Devices and records of the members never change, and members stay where they are.
    std::vector<BaseDevice*> devices;
    for (;;) {
        bool anyPinged = false;
        for (PingMember const& member : m_members) {
            lock.unlock();
            bool const hasWindow = HasMainWindow();
            lock.lock();
            if (!hasWindow || m_stopRequested != 0) {
                return;
            }
            if (member.bufferStatus != 0) {
                continue;
            }
            anyPinged = true;
            m_awaited = &member;
            if (devices.size() != m_members.size()) {
                devices.clear();
                for (PingMember const& each : m_members) {
                    devices.push_back(each.device);
                }
            }
            lock.unlock();
            Ping(member, devices);
            auto const pinged = Clock::now();
            lock.lock();
            AwaitAndPause(lock, pinged, devices);
        }
        if (!anyPinged) {
            // Whoever takes the last sonar out of the turn stops the thread at once. One that was passed
            // over may have come back while the lock was open further down the round.
            m_wake.wait(lock, [this] {
                return m_stopRequested != 0 ||
                       std::any_of(m_members.begin(), m_members.end(),
                                   [](PingMember const& each) { return each.bufferStatus == 0; });
            });
        }
    }
}

void PingGroup::AwaitAndPause(Lock& lock, Clock::time_point pinged, std::vector<BaseDevice*> const& devices)
{
    m_wake.wait(lock, [this] { return m_wakeSignalled; });
    m_wakeSignalled = false;
    if (m_waitMilliseconds != 0) {
        // A signal that comes during the pause stays set, for the next sonar.
        PauseUntil(lock, std::max(m_waitFrom, pinged) + std::chrono::milliseconds(m_waitMilliseconds), devices);
    }
    m_awaited = nullptr;
}

void PingGroup::PauseUntil(Lock& lock, Clock::time_point deadline, std::vector<BaseDevice*> const& devices)
{
    auto const isStopped = [this] { return m_stopRequested != 0; };
    if (m_wake.wait_until(lock, deadline - rehearsalAhead, isStopped)) {
        return;
    }
    lock.unlock();
    Rehearse(devices);
    lock.lock();
    m_wake.wait_until(lock, deadline, isStopped);
}
