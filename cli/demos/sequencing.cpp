// `qx5 run --demo sequencing`: several simulated sonars whose groups ping in turn, as a timeline.
#include "cli/demos/demos.h"
#include "cli/output.h"
#include "cli/plugins.h"
#include "reference_host/project/live_host.h"

#include <simulator/sonar_server.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <VordalAttributesR/CVordalType.h>
#include <fmt/format.h>
#include <protocol/records/shared_keys.h>
#include <protocol/settings_keys.h>
#include <protocol/utf8.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// What one sonar is set to; those beyond the list begin it anew.
struct Setting
{
    double range;      ///< m
    double soundSpeed; ///< m/s
    double overhead;   ///< percent
};
constexpr std::array<Setting, 5> settings{{{100.0, 1500.0, 120.0},
                                           {30.0, 1480.0, 100.0},
                                           {200.0, 1520.0, 100.0},
                                           {50.0, 1450.0, 150.0},
                                           {75.0, 1500.0, 0.0}}};

Setting const& SettingOf(int sonar)
{
    return settings[static_cast<std::size_t>(sonar) % settings.size()];
}

/// Of the range, both ways, ms.
double TravelTime(Setting const& setting)
{
    return 2.0 * setting.range / setting.soundSpeed * 1000.0;
}

/// From the sonar's ping to the next one's, ms.
double Pause(Setting const& setting)
{
    return TravelTime(setting) * setting.overhead / 100.0;
}

/// Prints what happens as it happens, each sonar in a column of its own. Any thread.
class Timeline
{
public:
    Timeline(int sonars, int groups)
        : m_groups(groups), m_lastPings(static_cast<std::size_t>(groups)), m_cycles(static_cast<std::size_t>(groups)),
          m_columns(static_cast<std::size_t>(sonars), '.')
    {
    }

    static char Letter(int sonar) { return static_cast<char>('A' + sonar); }
    int Group(int sonar) const { return sonar % m_groups; }

    void OnSonar(int sonar, simulator::SonarEvent const& event)
    {
        auto const now = Clock::now();
        std::lock_guard const lock(m_mutex);
        if (event.kind == simulator::EventKind::Pinged) {
            std::string text = fmt::format("{} pings for {:g} m", Letter(sonar), event.pingRange);
            auto& lastPing = m_lastPings[static_cast<std::size_t>(Group(sonar))];
            if (lastPing) {
                text += fmt::format(", {:.1f} ms after {}", Milliseconds(now - lastPing->time).count(),
                                    Letter(lastPing->sonar));
            }
            lastPing = LastPing{now, sonar};
            if (sonar == Group(sonar)) {
                m_cycles[static_cast<std::size_t>(sonar)].push_back(now);
            }
            Print(now, sonar, Letter(sonar), text);
        } else if (event.kind == simulator::EventKind::Echoed) {
            Print(now, sonar, '|',
                  fmt::format("its echoes are in, {:.1f} ms after the ping", event.pingTravelTime * 1000.0));
        }
    }

    /// Tells how long a round of each group has taken so far, the mean from a ping of its first sonar to the next.
    void TellCycles()
    {
        std::lock_guard const lock(m_mutex);
        fmt::print("\n");
        for (std::size_t group = 0; group < m_cycles.size(); ++group) {
            auto const& pings = m_cycles[group];
            if (pings.size() < 2) {
                continue;
            }
            double pauses = 0.0;
            double longest = 0.0;
            for (std::size_t sonar = group; sonar < m_columns.size(); sonar += m_cycles.size()) {
                pauses += Pause(SettingOf(static_cast<int>(sonar)));
                longest = std::max(longest, TravelTime(SettingOf(static_cast<int>(sonar))));
            }
            fmt::print("Group {}: a round takes {:.1f} ms; range and overhead make {:.1f} ms.\n", group + 1,
                       Milliseconds(pings.back() - pings.front()).count() / static_cast<double>(pings.size() - 1),
                       std::max(pauses, longest)); // no sonar pings before its own echoes are in
        }
        std::fflush(stdout);
    }

    void Tell(std::string const& text)
    {
        std::lock_guard const lock(m_mutex);
        fmt::print("\n{}\n\n", text);
        FlushOutput();
    }

private:
    using Milliseconds = std::chrono::duration<double, std::milli>;

    struct LastPing
    {
        Clock::time_point time;
        int sonar;
    };

    void Print(Clock::time_point now, int sonar, char mark, std::string const& text)
    {
        std::string columns = m_columns;
        columns[static_cast<std::size_t>(sonar)] = mark;
        Say(fmt::format("{:8.3f} s  {}  group {}  {}\n", std::chrono::duration<double>(now - m_begin).count(), columns,
                        Group(sonar) + 1, text));
    }

    Clock::time_point const m_begin = Clock::now();
    int const m_groups;
    std::mutex m_mutex;
    std::vector<std::optional<LastPing>> m_lastPings;     ///< by group
    std::vector<std::vector<Clock::time_point>> m_cycles; ///< when the first sonar of each group pinged
    std::string const m_columns;
};

/// The sonars, and the host with the project that they are in.
class SequencedSonars
{
public:
    SequencedSonars(Timeline& timeline, int sonars) : m_timeline(timeline), m_sonars(sonars)
    {
        m_host.SetMainWindow(true); // this terminal
    }

    /// False, and why, when a sonar or the plug-in cannot be had.
    bool Begin(std::string const& plugin, std::string& error)
    {
        if (!m_host.LoadPlugIn(plugin, error)) {
            return false;
        }
        vordal::StoredProject project;
        project.vessels = {{.number = 1, .name = L"Vessel", .configuration = {}}};
        for (int sonar = 0; sonar < m_sonars; ++sonar) {
            if (!AddSonar(sonar, project, error)) {
                return false;
            }
        }
        if (!m_host.Open(std::move(project)).Problems().empty()) {
            error = "the plug-in does not offer the sonar's device class";
            return false;
        }
        m_host.Start();
        return true;
    }

    void Command(int sonar, std::string_view line)
    {
        std::string answer;
        m_servers[static_cast<std::size_t>(sonar)]->Command(line, answer);
    }
    void SetBufferStatus(int sonar, unsigned short status) { m_host.SetBufferStatus(IdOf(sonar), status); }

private:
    static CDataId IdOf(int sonar) { return CDataId(1, 78, static_cast<unsigned short>(sonar + 1), 1); }

    bool AddSonar(int sonar, vordal::StoredProject& project, std::string& error)
    {
        Setting const& setting = SettingOf(sonar);
        m_servers.push_back(std::make_unique<simulator::SonarServer>(
            simulator::ServerOptions(),
            [this, sonar](simulator::SonarEvent const& event) { m_timeline.OnSonar(sonar, event); }));
        if (auto const problem = m_servers.back()->Start()) {
            error = problem->text;
            return false;
        }
        Command(sonar, fmt::format("set {}={}", protocol::EncodeUtf8(protocol::keys::x5Range.text), setting.range));
        Command(sonar, fmt::format("set {}={}", protocol::EncodeUtf8(protocol::keys::x5SoundVelocity.text),
                                   setting.soundSpeed));
        CAttributeMap tree;
        tree.Add(AttributeKey(protocol::keys::PingMode.text), CVordalInt(1), 0);
        tree.Add(AttributeKey(protocol::keys::SonarGroupId.text), CVordalInt(m_timeline.Group(sonar) + 1), 0);
        tree.Add(AttributeKey(protocol::keys::Overhead.text), CVordalDouble(setting.overhead), 0);
        tree.Add(AttributeKey(protocol::keys::DeviceId.text), CVordalInt(simulator::model::DeviceId), 0);
        tree.Add(AttributeKey(protocol::keys::DeviceEnum.text), CVordalInt(0), 0);
        CString const port(L"port-" + std::to_wstring(sonar + 1));
        project.ports.push_back({port, L"127.0.0.1", m_servers.back()->Port(), {}});
        project.devices.push_back({IdOf(sonar), m_host.SonarClass(), L"sonar", port, true, tree});
        return true;
    }

    Timeline& m_timeline;
    int const m_sonars;
    std::vector<std::unique_ptr<simulator::SonarServer>> m_servers;
    vordal::LiveHost m_host;
};

} // namespace

int SequencingDemo(RunOptions const& options)
{
    // Each has a letter.
    int const sonars = options.sonars.value_or(3);
    if (sonars > 26) {
        return Complain(ExitWrong, "--sonars: the demonstration of sequencing has 26 at most");
    }
    int const groups = std::min(options.groups, sonars);
    fmt::print("Sonars of one group take turns; a turn is the travel time of the range and an overhead.\n\n");
    Timeline timeline(sonars, groups);
    for (int sonar = 0; sonar < sonars; ++sonar) {
        Setting const& setting = SettingOf(sonar);
        fmt::print(
            "  {}  group {}  {:g} m at {:g} m/s: {:.1f} ms there and back, its turn takes {:g} % of it: {:.0f} ms\n",
            Timeline::Letter(sonar), timeline.Group(sonar) + 1, setting.range, setting.soundSpeed, TravelTime(setting),
            setting.overhead, std::floor(Pause(setting) + 0.5));
    }
    fmt::print("\nA letter: that sonar pings; |: its echoes are in.\n\n");
    FlushOutput();
    SequencedSonars fleet(timeline, sonars);
    std::string error;
    if (!fleet.Begin(PluginPath(options.plugins), error)) {
        return Complain(ExitFailed, error);
    }
    std::this_thread::sleep_for(2s);
    timeline.TellCycles();
    timeline.Tell("A falls silent: its group waits for it.");
    fleet.Command(0, "misbehave silent");
    std::this_thread::sleep_for(1500ms);
    timeline.Tell("The host finds A's data stream gone: its group goes on without A.");
    fleet.SetBufferStatus(0, 1);
    std::this_thread::sleep_for(1500ms);
    timeline.Tell("A is back.");
    fleet.Command(0, "behave");
    fleet.SetBufferStatus(0, 0);
    std::this_thread::sleep_for(1500ms);
    timeline.Tell("The turns end.");
    return ExitGood;
}

} // namespace qx5::cli
