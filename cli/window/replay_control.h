// What an operator does with a recording that is played in the window, and how it stands.
#pragma once

#include "cli/window/disk_thread.h"
#include "cli/window/replayed_host.h"
#include "cli/window/window_answers.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace qx5::cli {

/// How it stands; times in ns since 1970 UTC.
struct ReplayStatus
{
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::uint64_t position = 0;
    bool isPlaying = false;
    double speed = 1.0;
    std::vector<std::uint64_t> marks; ///< from the newest on, as far as they are known yet
};

/// Plays on the session's host thread, which has nothing else to do. Window thread; all but the constructor and End
/// return at once.
class ReplayControl
{
public:
    /// `clear` is called on the window thread before another moment is shown: what panes show is of another time.
    /// Between the session's Begin and its End. Throws RecordingError. `steadyClock`: seconds.
    ReplayControl(WindowSession& session, std::shared_ptr<vordal::WindowFeed> feed, vordal::FixedClock& clock,
                  std::filesystem::path const& file, std::function<double()> steadyClock, std::function<void()> clear);
    ReplayControl(ReplayControl const&) = delete;
    ReplayControl& operator=(ReplayControl const&) = delete;
    /// As End.
    ~ReplayControl();
    /// Before the session ends.
    void End();

    void Play();
    void Pause();
    void SetSpeed(double speed);
    /// Of several that are wanted while one is under way the newest alone is shown.
    void MoveTo(std::uint64_t time);
    void Step();
    void MoveToNext(std::vector<recording::RecordedKind const*> kinds);
    void MoveToPrevious(std::vector<recording::RecordedKind const*> kinds);
    /// Shows what is due. To be called every 20 ms or so.
    void Tick();
    ReplayStatus Status() const;
    /// Whether a moment is on its way to be shown.
    bool IsMoving() const { return m_isMoving; }

private:
    /// What lives on the host thread.
    struct OnHost
    {
        OnHost(WindowSession& session, std::shared_ptr<vordal::WindowFeed> feed, vordal::FixedClock& clock,
               std::filesystem::path const& file);

        ReplayedHost host;
        recording::ReplayPlayer player;
        bool isHeld = false; ///< another moment is about to be shown
    };
    using Work = std::function<void(recording::ReplayPlayer&)>;

    void Post(Work work);
    /// The same with another moment: first what waits to be shown is thrown away, then the panes are cleared.
    void Move(Work work);
    void BeginMove();
    void FinishMove(Work const& work);
    /// Does it and publishes how it stands; what goes wrong is told, and it stands still.
    void Do(Work const& work);
    void FindMarks(std::filesystem::path const& file);

    WindowSession& m_session;
    std::shared_ptr<vordal::WindowFeed> const m_feed;
    std::function<double()> const m_steadyClock;
    std::function<void()> const m_clear;
    std::unique_ptr<OnHost> m_onHost;

    mutable std::mutex m_mutex; ///< guards what follows
    ReplayStatus m_status;

    Work m_wanted;
    bool m_isMoving = false;
    std::atomic<bool> m_ticks{false}; ///< a Tick is on its way to the host thread
    std::atomic<bool> m_isEnding{false};
    WindowAnswers m_answers;
    std::unique_ptr<DiskThread> m_disk = std::make_unique<DiskThread>();
};

} // namespace qx5::cli
