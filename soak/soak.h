// The soak: rounds of an operator's actions and sonars' failures, with a rest after each at which all must agree.
#pragma once

#include "failures.h"
#include "ledger.h"
#include "random.h"
#include "request_watch.h"
#include "requests.h"
#include "resources.h"
#include "sonars.h"
#include "stage.h"
#include "watchdog.h"
#include "yardstick.h"

#include "reference_host/link/sonar_link.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace qx5::soak {

struct Options
{
    double minutes = 60.0;
    std::uint64_t rounds = 0;  ///< 0: as many as the minutes give
    std::size_t actions = 150; ///< of a round
    std::uint64_t seed = 0;
    double pace = 30.0; ///< actions a second, at most
    bool verbose = false;
};

/// Made and used on one thread, which has the toolkit's application and becomes the window thread.
class Soak
{
public:
    /// `folder` is empty and the soak's own. `isToEnd` is asked between two actions.
    Soak(Options const& options, std::filesystem::path folder, std::function<bool()> isToEnd);
    Soak(Soak const&) = delete;
    Soak& operator=(Soak const&) = delete;
    ~Soak();

    /// Runs until its time is over; throws Broken when a promise is found broken.
    void Run();
    /// What was done and seen, on standard output.
    void PrintTable() const;
    /// The seed, the round, the last actions; for who has to find out.
    void PrintEnd(std::string const& reason);

private:
    struct Action
    {
        std::string_view kind;
        std::size_t weight;
        void (Soak::*act)();
    };
    static std::vector<Action> const& Actions();

    // The actions.
    void AskSensibly();
    void AskSenselessly();
    void WorkControl();
    void ChooseSonar();
    void ChooseVessel();
    void ChooseTab();
    void ReopenView();
    void ChangeLight();
    void EnterTerminalCode();
    void ChangeContact();
    void SwitchPings();
    void ChangeSonar();
    void ChangeStream();
    void Misbehave();
    void Behave();
    void RemoveOrAddSonar();

    void Act(std::string_view kind);
    void DoOne();
    /// All failures end, all settles, all is compared and counted.
    void Rest();
    void ConnectAnew();
    void BringToRest();
    void CompareTrees();
    void CheckGrowth() const;
    void CheckLatency() const;
    double LatencyBound(bool inFlood) const;
    void Post(std::size_t sonar, MadeRequest const& made);
    /// Saves the project, takes the plug-in out, loads it again, opens the project.
    void ReloadAll(bool isNew);
    void EndOldFlood();

    /// Runs the event loop for that time.
    void Idle(std::chrono::milliseconds time);
    /// Runs the event loop until it holds; the watchdog ends the process when it never does.
    template <typename Condition>
    void WaitUntil(std::string_view what, Condition condition);
    std::size_t AnySonar() { return m_random.Below(SonarCount); }
    std::string SonarText(std::size_t sonar) const;

    Options const m_options;
    std::filesystem::path const m_folder;
    std::function<bool()> const m_isToEnd;
    Clock::time_point const m_begin = Clock::now();
    Random m_random;
    Ledger m_ledger;
    Sonars m_sonars;
    RequestWatch m_watch;
    RequestMaker m_maker;
    std::vector<Failure> const m_failures = AllFailures();
    std::size_t m_failuresGiven = 0;
    std::array<bool, SonarCount> m_mayHaveMissed{}; ///< what a sonar told; until it introduces itself again
    std::uint64_t m_round = 0;
    std::uint64_t m_marks = 0;
    std::uint64_t m_reloads = 0;
    std::uint64_t m_treesCompared = 0;
    std::string m_detail; ///< of the action that is under way
    std::vector<std::uint32_t> m_contacts;
    std::uint32_t m_lastContact = 0;
    std::optional<std::size_t> m_flooding; ///< a sonar that keeps the host busy; one at a time
    std::size_t m_floodedActions = 0;      ///< since it began
    std::vector<Held> m_samples;           ///< of all rests
    std::vector<Held> m_newSamples;        ///< of rests on a new project
    vordal::LinkThread m_introductions;
    std::unique_ptr<Stage> m_stage;
    Yardstick m_yardstick;
    Watchdog m_watchdog;
};

} // namespace qx5::soak
