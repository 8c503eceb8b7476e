// The thread on which a simulated sonar's echoes are computed, beside the one that its hosts are on.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <protocol/echo_records.h>
#include <protocol/frame.h>
#include <simulator/acoustics/ping_echoes.h>
#include <simulator/acoustics/ping_settings.h>
#include <simulator/acoustics/result.h>
#include <simulator/answer_frames.h>
#include <simulator/tracking.h>

namespace qx5::simulator {

/// One ping of one head, whose echoes are to be computed.
struct EchoJob
{
    std::int32_t head = 0;
    std::int32_t number = 0;
    double utcSeconds = 0.0; ///< of transmission
    double seconds = 0.0;    ///< the same since the sonar began to exist
    acoustics::PingSettings settings;
    protocol::Target from;            ///< that its frames bear
    protocol::EchoWish wish;          ///< which frames are wanted
    std::optional<Tracking> tracking; ///< none: the tracker is off
};

/// What came of it.
struct HeardPing
{
    std::int32_t head = 0;
    std::int32_t number = 0;
    protocol::EchoWish wish; ///< which frames were wanted
    SharedBytes detections;  ///< null where they are not wanted, or too many
    SharedBytes waterColumn;
    std::string failure;              ///< why it has heard nothing
    acoustics::PingSettings settings; ///< of the ping, where the tracker is on
    std::optional<acoustics::TrackedSettings> tracked;
};

/// Computes one ping at a time. Of each head one further ping may wait: the newest, which takes the place of the one
/// before. All but the thread's own calls are for one thread.
class EchoWorker
{
public:
    /// Fills in what a head hears at that ping, whose memory is used again; or what is wrong with its settings.
    using Hear = std::function<std::optional<acoustics::Failure>(EchoJob const& job, acoustics::PingEchoes& echoes)>;
    using Done = std::function<void(HeardPing heard)>;

    /// Both are called on the worker's thread, which begins with the first job.
    EchoWorker(Hear hear, Done done);
    EchoWorker(EchoWorker const&) = delete;
    EchoWorker& operator=(EchoWorker const&) = delete;
    ~EchoWorker(); ///< stops

    void Submit(EchoJob job);
    /// Nothing is called any more when it returns: it waits for the ping that is being computed.
    void Stop();
    /// Pings that gave way to a newer one of their head, or that failed for want of memory. Any thread.
    std::uint64_t Skipped() const { return m_skipped.load(std::memory_order_relaxed); }

private:
    void Run();
    void Compute(EchoJob const& job);

    Hear m_hear;
    Done m_done;
    acoustics::Tracker m_tracker;   ///< the thread's
    acoustics::PingEchoes m_echoes; ///< used again for ping after ping; the thread's
    std::atomic<std::uint64_t> m_skipped{0};
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<EchoJob> m_waiting; ///< in the order in which they came, of each head one
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace qx5::simulator
