// One group of sonars that must not ping at the same time, and the thread that lets them ping in turn.
#pragma once

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class BaseDevice;

namespace qx5 {

/// The pause after a sonar's settings data: the two-way travel time of its range (m) at a sound speed (m/s), times the
/// overhead in percent, rounded to whole milliseconds. What does not fit becomes the nearer end; no number is 0.
std::uint32_t PauseMilliseconds(double range, double soundSpeed, double overheadPercent);

} // namespace qx5

/// A sonar in its group.
struct PingMember
{
    CDataId dataId;
    BaseDevice* device = nullptr;   ///< the host's; it stays for as long as the group runs
    CStringA pingRecord;            ///< the finished ping command
    std::uint16_t bufferStatus = 0; ///< 0: the sonar takes part; others are left out
};

/// The sonars of one group id. One thread sends the ping command to one of them, waits until its next settings data
/// tells how long its echoes can take, lets that time pass and goes on to the next.
///
/// Any thread may call. No lock is held while the group calls the host: the thread names the sonar that it is about to
/// await, lets go of the lock, and sends; settings data that come back meanwhile, even from within the send, find the
/// sonar awaited and are not lost. A stop waits until the thread has ended and nothing is sent any more. A sequencing
/// thread itself never waits for one: a stop that reaches the group from within its own (or another group's) send takes
/// effect by itself once that send has returned.
///
/// Groups are held by shared pointers; a running thread holds its group.
class PingGroup : public std::enable_shared_from_this<PingGroup>
{
public:
    using Clock = std::chrono::steady_clock;

    explicit PingGroup(int groupId) : m_groupId(groupId) {}
    PingGroup(PingGroup const&) = delete;
    PingGroup& operator=(PingGroup const&) = delete;
    ~PingGroup();

    int GroupId() const { return m_groupId; }

    /// Reserves a place for a sonar; false when it has one. Join or GiveUpJoining must follow.
    bool BeginJoining(CDataId const& dataId);
    /// Appends the sonar, last of all, and starts the thread if there is none.
    void Join(PingMember member);
    void GiveUpJoining(CDataId const& dataId);

    /// Settings data of a sonar came in at `arrived`. Ends the wait for it with a pause of `pauseMilliseconds` from
    /// that moment on, but never from before the ping. Changes nothing unless that sonar is awaited.
    void SettingsArrived(CDataId const& dataId, std::uint32_t pauseMilliseconds, Clock::time_point arrived);

    /// The status of a stream's buffer has changed. A sonar that has gone is not waited for. Starts the thread when a
    /// sonar can ping, stops it (and waits for its end) when none can.
    void BufferStatusChanged(CDataId const& dataId, std::uint16_t status);

    /// Tells the thread to end, and ends the group's life: it starts none again. Does not wait.
    void RequestEnd();
    /// The same, and waits until the thread has ended.
    void End();

    /// Whether the calling thread is that of a group.
    static bool IsSequencingThread();

private:
    using Lock = std::unique_lock<std::mutex>;

    void Start();
    void RequestStop();
    void Stop(Lock& lock);
    void Spawn();
    void ResetTurn();
    void Run();
    void TakeTurns(Lock& lock);
    void AwaitAndPause(Lock& lock, Clock::time_point pinged, std::vector<BaseDevice*> const& devices);
    void PauseUntil(Lock& lock, Clock::time_point deadline, std::vector<BaseDevice*> const& devices);
    bool IsAwaited(CDataId const& dataId) const { return m_awaited != nullptr && m_awaited->dataId == dataId; }
    bool HasMember(CDataId const& dataId) const;

    int const m_groupId;
    std::mutex m_lock;               ///< guards what follows
    std::list<PingMember> m_members; ///< in order of arrival; only ever grows while the thread runs
    std::vector<CDataId> m_joining;
    bool m_hasThread = false; ///< also when it has ended by itself
    std::thread m_thread;
    bool m_ended = false;           ///< the thread has left its loop
    bool m_reaping = false;         ///< somebody waits for the thread's end, and is to start it anew if wanted
    bool m_startAgain = false;      ///< wanted again while a stop was under way
    bool m_closed = false;          ///< no thread is started any more
    std::uint64_t m_generation = 0; ///< counts the threads
    std::int32_t m_stopRequested = 0;
    bool m_wakeSignalled = false;          ///< the event that ends the thread's wait; the wait takes it back
    std::condition_variable m_wake;        ///< for the thread
    std::condition_variable m_stopped;     ///< for those who wait for a stop of others
    PingMember const* m_awaited = nullptr; ///< the sonar that pinged last
    std::uint32_t m_waitMilliseconds = 0;
    Clock::time_point m_waitFrom; ///< when the data that told the wait arrived
};
