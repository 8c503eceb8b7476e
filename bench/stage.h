// The stage that requests are measured on: one host with the plug-in, a sonar device, a subscriber, connections.
#pragma once

#include "loopback.h"
#include "measure.h"
#include "reference_host/project/live_host.h"
#include <VordalAttributesR/AttributeKey.h>
#include <protocol/records/shared_keys.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace bench {

inline constexpr AttributeKey rangeKey{qx5::protocol::keys::x5Range.text};

/// Keeps only how much was sent.
class CountingTraffic final : public vordal::SonarTraffic
{
public:
    std::uint64_t records = 0;
    std::uint64_t bytes = 0;

    bool SendRemoteControl(Sender const&, std::uint32_t, std::span<unsigned char const> payload, int, int) override
    {
        return Count(payload.size());
    }
    bool AskForRecord(Sender const&, std::uint32_t, int, int) override { return Count(0); }
    bool SendData(Sender const&, std::uint32_t, std::span<unsigned char const> payload, double, int, int) override
    {
        return Count(payload.size());
    }
    bool SendRaw(Sender const&, std::string_view frame, bool) override { return Count(frame.size()); }

private:
    bool Count(std::size_t size)
    {
        ++records;
        bytes += size;
        return true;
    }
};

/// What a tree of so many values looks like: as a sonar's, in branches of 50.
CAttributeMap MakeTree(int nodes);

/// One sonar with that tree, a live connection and a subscriber of "x5Range".
class LiveSonar
{
public:
    LiveSonar(vordal::LiveHost& host, unsigned short number, CAttributeMap const& tree = MakeTree(5000));
    LiveSonar(LiveSonar const&) = delete;
    LiveSonar& operator=(LiveSonar const&) = delete;
    ~LiveSonar();

    Device& GetDevice() { return *m_device; }
    vordal::SonarLink& Link() { return m_project->Ports().front()->GetLink(); }
    /// The socket at the sonar's end.
    int FarEnd() const { return m_farEnd; }
    std::uint64_t Told() const { return m_told.load(); }
    void WaitUntilTold(std::uint64_t times);
    /// When the subscriber was last told, on the host thread; wait until it was.
    std::chrono::steady_clock::time_point LastTold() const { return m_lastTold; }

private:
    void OnEcho();

    Listener m_listener;
    std::optional<vordal::OpenProject> m_project;
    Device* m_device = nullptr;
    std::unique_ptr<Subscription> m_subscription;
    CAttributeMap m_seen;                             ///< the tree as the subscriber last copied it, as a view does
    std::chrono::steady_clock::time_point m_lastTold; ///< written before it is counted
    std::atomic<std::uint64_t> m_told{0};
    int m_farEnd = -1;
};

/// One host with the plug-in and two sonars: the far end of the first is read by a thread of its own, that of the
/// second by whoever measures.
class Stage
{
public:
    Stage();
    Stage(Stage const&) = delete;
    Stage& operator=(Stage const&) = delete;
    ~Stage();

    vordal::LiveHost& Host() { return m_host; }
    LiveSonar& Drained() { return *m_drained; }
    Drain& DrainThread() { return *m_drain; }
    LiveSonar& Read() { return *m_read; }
    /// What sends over the connections.
    vordal::SonarTraffic& Live() { return *m_live; }

    /// Runs on the host thread with sends going to a recorder, or to the live connections.
    void OnHostRecorded(std::function<void()> const& work);
    void OnHostLive(std::function<void()> const& work);

private:
    CountingTraffic m_recorder;
    vordal::LiveHost m_host;
    vordal::SonarTraffic* const m_live = m_host.Traffic();
    std::unique_ptr<LiveSonar> m_drained;
    std::unique_ptr<Drain> m_drain;
    std::unique_ptr<LiveSonar> m_read;
};

std::vector<Case> RequestCases(Stage& stage);
std::vector<Case> TargetCases(Stage& stage);
std::vector<Case> TreeCases();
std::vector<Case> EchoCases(Stage& stage);
std::vector<Case> SounderCases();
std::vector<Case> RecordingCases();
std::vector<Case> OutboxCases();
std::vector<Case> BrokerCases();
std::vector<Case> RecordedPingCases(Stage& stage);
/// How long range and overhead make a round of the case "round-of-two", ns: 100 m and 200 m at 1500 m/s, both ways,
/// with an overhead of 120 percent.
inline constexpr double RoundOfTwo = 480e6;
/// Each sets its sonars up and takes them down again.
std::vector<Case> SequencingCases(Stage& stage);
#ifdef QX5_VIEW
/// An application without a display, made once for the process. It stays: what the toolkit keeps of its own may have
/// gone before it at the program's end.
void EnsureToolkit();
std::vector<Case> ViewCases(Stage& stage);
/// `ensureToolkit` is called before anything of the toolkit is made.
std::vector<Case> PictureCases(Stage& stage, std::function<void()> const& ensureToolkit);
#endif
std::vector<Case> CommandLineCases();

/// What the cases are compared with, and what is promised.
struct Ratio
{
    std::string what;
    std::string of;
    std::string to; ///< empty: the bound is in nanoseconds
    double bound;
    bool difference = false; ///< `of` less `to`, in nanoseconds, instead of a ratio
    bool p99 = false;        ///< of the 99th percentiles instead of the medians
};
std::vector<Ratio> Promises();

} // namespace bench
