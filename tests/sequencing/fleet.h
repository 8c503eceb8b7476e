// What the tests of sequencing play on: sonars under ping control behind a scripted connection or on real sockets.
#pragma once

#include "sequencing/PingGroup.h"
#include "sequencing/QX5SonarConfigurationInfo.h"

#include <reference_host/common/clock.h>
#include <reference_host/project/live_host.h>
#include <simulator/sonar_server.h>

#include <VordalDataBlocksR/CDataBlock.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

/// Looks inside. Unless said otherwise while nobody else calls.
struct ConfigurationInfoAccess
{
    static std::vector<SonarEntry> const& Entries(QX5SonarConfigurationInfo& info) { return info.entries; }
    static BaseDataSource* LastBuffer(QX5SonarConfigurationInfo& info) { return info.lastBuffer; }
    static CDataBlock const& LastBlock(QX5SonarConfigurationInfo& info) { return info.lastBlock; }
    static std::size_t Groups(QX5SonarConfigurationInfo& info) { return info.groups.size(); }
    static CStringA Record(QX5SonarConfigurationInfo& info, unsigned long command, unsigned char* payload,
                           unsigned long size, int deviceId, int enumerator)
    {
        return info.BuildRemoteControlRecord(command, payload, size, deviceId, enumerator);
    }
    static void Join(QX5SonarConfigurationInfo& info, PingGroup& group, CDataId const& dataId)
    {
        info.JoinGroup(group, dataId);
    }
    /// Any thread.
    static bool IsEmpty(QX5SonarConfigurationInfo const& info)
    {
        QX5SonarConfigurationInfo const copy(info);
        return copy.entries.empty() && copy.groups.empty();
    }
};

namespace qx5::test {

using Clock = std::chrono::steady_clock;

/// How long a condition may take on any machine under any sanitizer.
inline constexpr std::chrono::seconds patience{60};

/// Where the host's clock stands: 2023-11-14 22:13:20 UTC.
inline constexpr double standingTime = 1700000000.0;

/// How a sonar is set up. The first has the id 1.78.1.1 and the letter A, the next 1.78.2.1 and B.
struct SonarSetup
{
    int group = 1;
    double overhead = 0.0; ///< percent
    double range = 5.0;    ///< m; of a simulated sonar
    double soundSpeed = 1500.0;
};

CDataId IdOfSonar(std::size_t index);
CAttributeMap AttributesOf(SonarSetup const& setup, std::size_t index);
/// Settings data with a range as item 699, and a sound speed.
CDataBlock SettingsBlock(double range, double soundSpeed = 1500.0);

/// One record that reached a sonar.
struct Arrival
{
    std::size_t sonar = 0;
    std::uint32_t command = 0; ///< 1107 for a ping
    std::string frame;
    bool flag = false; ///< as SendMessageW was told
    Clock::time_point time;
};

/// What reached the sonars, in order. Any thread.
class Arrivals
{
public:
    void Add(Arrival arrival);
    std::vector<Arrival> All() const;
    /// "ABAB": who pinged, in order.
    std::string Pings() const;
    std::size_t PingCount(std::size_t sonar) const;
    /// False when there are fewer pings in all once patience is over.
    bool WaitForPings(std::size_t count) const;
    bool WaitForPingsOf(std::size_t sonar, std::size_t count) const;

private:
    template <typename Condition>
    bool WaitFor(Condition condition) const;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<Arrival> m_arrivals;
};

/// Keeps what is sent and lets the test answer from within the send.
class ScriptedTraffic final : public vordal::SonarTraffic
{
public:
    explicit ScriptedTraffic(Arrivals& arrivals) : m_arrivals(arrivals) {}

    /// Called on the sender's thread for each ping, before it is noted. Set before the discovery.
    std::function<void(std::size_t sonar)> onPing;
    /// The same for what else is sent: the command that ends a sonar's own pings.
    std::function<void(std::size_t sonar)> onSilence;

    bool SendRemoteControl(Sender const&, std::uint32_t, std::span<unsigned char const>, int, int) override
    {
        return false;
    }
    bool AskForRecord(Sender const&, std::uint32_t, int, int) override { return false; }
    bool SendData(Sender const&, std::uint32_t, std::span<unsigned char const>, double, int, int) override
    {
        return false;
    }
    bool SendRaw(Sender const& sender, std::string_view bytes, bool flag) override;

private:
    Arrivals& m_arrivals;
};

/// A host with a main window and sonars whose connection the test scripts. Discovers nothing by itself.
class ScriptedFleet
{
public:
    explicit ScriptedFleet(std::vector<SonarSetup> const& sonars);
    ScriptedFleet(ScriptedFleet const&) = delete;
    ScriptedFleet& operator=(ScriptedFleet const&) = delete;
    ~ScriptedFleet();

    QX5SonarConfigurationInfo& Info() { return QX5SonarConfigurationInfo::Instance(); }
    /// Settings data of a sonar, on this thread.
    void Data(std::size_t sonar, double range = 100.0) { host.PutBlock(IdOfSonar(sonar), SettingsBlock(range)); }
    void Status(std::size_t sonar, unsigned short status) { host.SetBufferStatus(IdOfSonar(sonar), status); }

    Arrivals arrivals;
    vordal::FixedClock clock{standingTime};
    ScriptedTraffic traffic{arrivals};
    vordal::Host host{vordal::Threading::Inline};
};

/// How the sonars of a LiveFleet are connected.
enum class Connections
{
    Own,    ///< each is a sonar by itself on a port of its own
    Shared, ///< all are heads of one sonar on one port, set up as the first
};

/// A threaded host with simulated sonars on real sockets. Connects them one after the other, so that they join their
/// groups in order; discovery comes first.
class LiveFleet
{
public:
    explicit LiveFleet(std::vector<SonarSetup> const& sonars, Connections connections = Connections::Own);
    LiveFleet(LiveFleet const&) = delete;
    LiveFleet& operator=(LiveFleet const&) = delete;
    ~LiveFleet();

    /// A command that must be taken. Heads of one sonar take the commands of its first.
    void Command(std::size_t sonar, std::string_view line);
    void Data(std::size_t sonar, double range = 100.0) { host.PutBlock(IdOfSonar(sonar), SettingsBlock(range)); }
    void Status(std::size_t sonar, unsigned short status) { host.SetBufferStatus(IdOfSonar(sonar), status); }
    /// When the sonar pinged, in order.
    std::vector<Clock::time_point> Pinged(std::size_t sonar) const;

    Arrivals arrivals;
    vordal::FixedClock clock{standingTime};
    vordal::LiveHost host;

private:
    vordal::StoredPort MakeSonar(SonarSetup const& setup, std::int32_t heads);
    void OnSonar(std::size_t firstHead, simulator::SonarEvent const& event);
    bool Joins(std::size_t sonar);

    bool const m_areHeads; ///< of one sonar
    mutable std::mutex m_pingedMutex;
    std::vector<std::vector<Clock::time_point>> m_pinged;
    std::vector<std::unique_ptr<simulator::SonarServer>> m_servers;
};

/// Whether a thread of this process waits for something: the system says so at three looks in a row, so that it is no
/// lock that it meets on its way.
bool Waits(pid_t thread);

/// Asks again and again until it holds; false when patience is over.
template <typename Condition>
bool Eventually(Condition condition)
{
    auto const deadline = Clock::now() + patience;
    while (!condition()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace qx5::test
