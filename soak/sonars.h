// The soak's simulated sonars, and the judge of their pings: no two of one group in the water at once.
#pragma once

#include "ledger.h"

#include <simulator/sonar_server.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::soak {

using Clock = std::chrono::steady_clock;

inline constexpr std::size_t SonarCount = 8;

/// How one sonar takes turns.
struct Turns
{
    int group = 0;           ///< 0: it is in no group
    double overhead = 100.0; ///< percent; from 100 on the pause is never shorter than the travel time
};
/// Three groups, and two sonars by themselves.
inline constexpr Turns TurnsOf[SonarCount]{{1, 100.0}, {1, 120.0}, {1, 100.0}, {2, 150.0},
                                           {2, 100.0}, {3, 110.0}, {3, 100.0}, {0, 100.0}};

/// What was seen of pings.
struct PingCounts
{
    std::uint64_t all = 0;
    std::uint64_t judged = 0;    ///< in turn, on the host's command
    std::uint64_t own = 0;       ///< of a sonar of a group that an operator had told to ping by itself
    std::uint64_t excused = 0;   ///< pairs in the water at once, around something that JudgePings takes as a reason
    std::uint64_t outOfStep = 0; ///< pairs in the water at once of a group that was out of step since such a reason
};

/// Any thread, unless something else is said.
class Sonars
{
public:
    /// Starts them. Throws Broken when one cannot listen.
    Sonars();
    Sonars(Sonars const&) = delete;
    Sonars& operator=(Sonars const&) = delete;
    ~Sonars();

    /// Others in their places, in the state of a new sonar and on other ports, while no host has them: what was set on
    /// the old ones is gone with them. Throws Broken when one cannot listen.
    void Replace();

    std::uint16_t Port(std::size_t sonar) const;
    /// A command that may be refused.
    bool Try(std::size_t sonar, std::string_view line, std::string& answer);
    /// A command that must be taken: throws Broken.
    void Command(std::size_t sonar, std::string_view line);
    std::uint64_t OpenConnections(std::size_t sonar);

    std::uint64_t Pings(std::size_t sonar) const;
    /// The range that it was last commanded to take, in m.
    double LastRange(std::size_t sonar) const;

    /// Settings data of the sonar have reached whoever follows its stream in the host.
    void SettingsReachedHost(std::size_t sonar);
    /// The host is about to end its control of all pings and to begin anew, or has done so.
    void ControlChanges();

    /// Looks through the pings that are old enough to tell what happened around them. Throws Broken when two sonars of
    /// a group were in the water at once though nothing happened that excuses it: a connection of one of the group that
    /// came or went, a stream told as unwell, settings told a second time after one ping, or turns that began anew.
    ///
    /// A sonar that tells something in its own pause lets the next one ping without being awaited; what that one tells
    /// falls into a pause in turn, and so on: the group is out of step, each pause is that of the sonar before. A group
    /// is in step again after two rounds in which each sonar's settings had reached the host a whole pause before the
    /// next ping. One thread.
    void JudgePings();
    PingCounts Counts() const;

private:
    struct Ping
    {
        Clock::time_point begin;
        Clock::time_point end;
        bool isJudged = false;
        Clock::time_point told = Clock::time_point::max(); ///< when its settings first reached the host
    };
    struct Sonar
    {
        mutable std::mutex mutex; ///< guards what follows, up to the server
        std::deque<Ping> pings;
        std::deque<Clock::time_point> disturbances;
        std::uint64_t newestConnection = 0;                          ///< of those that sent a record
        std::deque<std::pair<Clock::time_point, std::string>> story; ///< what happened last, for who has to find out
        bool isLying = false;                                        ///< it tells settings of pings that never were
        bool isCommandStale = false; ///< the last command to ping came on a connection that was given up
        int settingsTold = 0;        ///< to the host since the last ping
        double lastRange = 0.0;
        std::uint64_t pingCount = 0;
        std::unique_ptr<simulator::SonarServer> server;
    };

    void Start();
    void Stop();
    void OnEvent(std::size_t sonar, simulator::SonarEvent const& event);
    bool PingsByItself(std::size_t sonar);
    static void Note(Sonar& sonar, Clock::time_point now, std::string text);
    std::string StoryOf(std::size_t sonar, Clock::time_point zero) const;
    bool IsDisturbed(int group, Clock::time_point from, Clock::time_point to) const;
    bool HasControlChanged(Clock::time_point from, Clock::time_point to) const;

    struct Seen
    {
        std::size_t sonar;
        Ping ping;
    };
    void JudgeGroup(int group, std::vector<Seen> const& pings);
    [[noreturn]] void TellOverlap(int group, Seen const& first, Seen const& second) const;

    static constexpr std::size_t groupCount = 4; ///< 0, those in none, among them
    std::vector<std::unique_ptr<Sonar>> m_sonars;
    std::array<std::size_t, groupCount> m_cleanPauses{}; ///< one behind the other
    mutable std::mutex m_mutex;                          ///< guards what follows
    std::deque<Clock::time_point> m_controlChanges;
    PingCounts m_counts;
    Clock::time_point m_judgedUntil;
};

} // namespace qx5::soak
