// Sonars that ping in turn: from settings data to the next ping, pauses, waiting; and the bare programs beside them.
#include "stage.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <protocol/bytes.h>
#include <protocol/records/shared_keys.h>
#include <protocol/settings_keys.h>
#include <simulator/sonar_server.h>

#include <sys/prctl.h>
#include <time.h>

#include <array>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

namespace bench {

namespace keys = qx5::protocol::keys;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t pingBytes = 92;
constexpr std::size_t pingRateBytes = 96;
constexpr auto pause = std::chrono::milliseconds(160);

CDataId IdOf(std::size_t sonar)
{
    return CDataId(1, 78, static_cast<unsigned short>(100 + sonar), 1);
}

/// Range 100 m at 1500 m/s.
CDataBlock SettingsBlock()
{
    std::array<unsigned char, 4> range{};
    qx5::protocol::PutF32LE(range, 0, 100.0F);
    std::array<unsigned char, 8> soundSpeed{};
    qx5::protocol::PutF64LE(soundSpeed, 0, 1500.0);
    CDataBlock block;
    block.AddItem(699, DATA_FLOAT, range, 4, 0);
    block.AddItem(401, DATA_DOUBLE, soundSpeed, 8, 0);
    return block;
}

/// Notes when each sonar was last told to ping.
class PingTimes final : public vordal::SonarTraffic
{
public:
    explicit PingTimes(std::size_t sonars) : m_pinged(sonars) {}

    bool SendRemoteControl(Sender const&, std::uint32_t, std::span<unsigned char const>, int, int) override
    {
        return true;
    }
    bool AskForRecord(Sender const&, std::uint32_t, int, int) override { return true; }
    bool SendData(Sender const&, std::uint32_t, std::span<unsigned char const>, double, int, int) override
    {
        return true;
    }
    bool SendRaw(Sender const& sender, std::string_view frame, bool) override
    {
        auto const now = Clock::now();
        if (frame.size() == pingBytes) {
            {
                std::lock_guard const lock(m_mutex);
                m_pinged[static_cast<std::size_t>(sender.device.GetDeviceNum()) - 100] = now;
                ++m_count;
            }
            m_changed.notify_one();
        }
        return true;
    }

    void WaitFor(std::size_t pings)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_count >= pings; });
    }
    std::size_t Count()
    {
        std::lock_guard const lock(m_mutex);
        return m_count;
    }
    Clock::time_point PingedAt(std::size_t sonar)
    {
        std::lock_guard const lock(m_mutex);
        return m_pinged[sonar];
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Clock::time_point> m_pinged;
    std::size_t m_count = 0;
};

/// Answers each ping with settings data, told on the host thread, until there were enough. Each next ping is due by the
/// pause after the data before it.
class AnsweringTraffic final : public vordal::SonarTraffic
{
public:
    AnsweringTraffic(Stage& stage, std::size_t pings, Clock::duration pauseOfEach)
        : m_stage(stage), m_pings(pings), m_pause(pauseOfEach)
    {
    }

    bool SendRemoteControl(Sender const&, std::uint32_t, std::span<unsigned char const>, int, int) override
    {
        return true;
    }
    bool AskForRecord(Sender const&, std::uint32_t, int, int) override { return true; }
    bool SendData(Sender const&, std::uint32_t, std::span<unsigned char const>, double, int, int) override
    {
        return true;
    }
    bool SendRaw(Sender const&, std::string_view frame, bool) override
    {
        auto const now = Clock::now();
        if (frame.size() != pingBytes) {
            return true;
        }
        {
            std::lock_guard const lock(m_mutex);
            if (m_count++ > 0) {
                m_late += now - (m_told + m_pause);
            }
            if (m_count >= m_pings) {
                m_changed.notify_one();
                return true;
            }
        }
        m_stage.Host().Post([this] {
            {
                std::lock_guard const lock(m_mutex);
                m_told = Clock::now();
            }
            m_stage.Host().PutBlock(IdOf(0), m_block);
        });
        return true;
    }

    /// How late the pings were in all, once the last has come.
    Clock::duration Late()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_count >= m_pings; });
        return m_late;
    }

private:
    Stage& m_stage;
    std::size_t const m_pings;
    Clock::duration const m_pause;
    CDataBlock const m_block = SettingsBlock();
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_count = 0;
    Clock::time_point m_told;
    Clock::duration m_late{0};
};

/// Sonars under ping control for the time of one case; those that have a TCP port here begin to connect to it.
class ControlledSonars
{
public:
    ControlledSonars(Stage& stage, vordal::SonarTraffic& traffic, std::size_t sonars, std::size_t groups,
                     double overhead, std::vector<std::uint16_t> const& tcpPorts = {})
        : m_stage(stage)
    {
        stage.Host().SetMainWindow(true);
        stage.Host().SetTraffic(&traffic);
        vordal::StoredProject project;
        for (std::size_t i = 0; i < sonars; ++i) {
            vordal::StoredDevice sonar{IdOf(i), L"QX5Device", {}, {}, true, {}};
            sonar.attributes.Add(AttributeKey(keys::PingMode.text), CVordalInt(1), 0);
            sonar.attributes.Add(AttributeKey(keys::SonarGroupId.text), CVordalInt(static_cast<int>(i % groups)), 0);
            sonar.attributes.Add(AttributeKey(keys::Overhead.text), CVordalDouble(overhead), 0);
            sonar.attributes.Add(AttributeKey(keys::DeviceId.text), CVordalInt(7125), 0);
            if (i < tcpPorts.size()) {
                vordal::AddConnected(project, sonar, L"127.0.0.1", tcpPorts[i]);
            } else {
                project.devices.push_back(sonar);
            }
        }
        m_project.emplace(stage.Host(), stage.Host().Links(), std::move(project));
        m_project->Start(stage.Host().LoadedPlugIns());
        m_project->Connect();
        for (auto const& port : m_project->Ports()) {
            while (!port->GetLink().IsConnected()) {
                std::this_thread::yield();
            }
        }
    }
    ControlledSonars(ControlledSonars const&) = delete;
    ControlledSonars& operator=(ControlledSonars const&) = delete;
    ~ControlledSonars()
    {
        m_project.reset();
        m_stage.Host().SetTraffic(nullptr);
    }

    /// Settings data of one sonar, told on the host thread.
    void Data(std::size_t sonar) { m_stage.Host().PutBlock(IdOf(sonar), m_block); }

private:
    Stage& m_stage;
    CDataBlock const m_block = SettingsBlock();
    std::optional<vordal::OpenProject> m_project;
};

/// A simulated sonar, which notes when it pings.
class SimulatedSonar
{
public:
    explicit SimulatedSonar(double range)
        : m_server({}, [this](qx5::simulator::SonarEvent const& event) { OnEvent(event); })
    {
        std::string answer;
        if (m_server.Start() || !m_server.Command("set x5Range=" + std::to_string(range), answer)) {
            throw std::runtime_error("a simulated sonar cannot be had");
        }
    }
    SimulatedSonar(SimulatedSonar const&) = delete;
    SimulatedSonar& operator=(SimulatedSonar const&) = delete;

    std::uint16_t Port() const { return m_server.Port(); }
    /// When it pinged, once it has done so at least so often.
    std::vector<Clock::time_point> WaitForPings(std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_pings.size() >= count; });
        return m_pings;
    }

private:
    void OnEvent(qx5::simulator::SonarEvent const& event)
    {
        auto const now = Clock::now();
        if (event.kind == qx5::simulator::EventKind::Pinged) {
            std::lock_guard const lock(m_mutex);
            m_pings.push_back(now);
            m_changed.notify_one();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Clock::time_point> m_pings;
    qx5::simulator::SonarServer m_server; // its thread uses what stands above
};

void WakeOnTime()
{
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
}

/// A thread that waits to be told a moment, and then does something at it.
class BareThread
{
public:
    explicit BareThread(std::function<void(Clock::time_point)> work)
        : m_work(std::move(work)), m_thread([this] { Run(); })
    {
    }
    BareThread(BareThread const&) = delete;
    BareThread& operator=(BareThread const&) = delete;
    ~BareThread()
    {
        {
            std::lock_guard const lock(m_mutex);
            m_ended = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }

    void Tell(Clock::time_point moment)
    {
        {
            std::lock_guard const lock(m_mutex);
            m_moment = moment;
            m_told = true;
        }
        m_wake.notify_one();
    }

private:
    void Run()
    {
        WakeOnTime();
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_told || m_ended; });
            if (m_ended) {
                return;
            }
            m_told = false;
            auto const moment = m_moment;
            lock.unlock();
            m_work(moment);
            lock.lock();
        }
    }

    std::function<void(Clock::time_point)> const m_work;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_told = false;
    bool m_ended = false;
    Clock::time_point m_moment;
    std::thread m_thread;
};

void SleepUntil(Clock::time_point moment)
{
    auto const since = std::chrono::duration_cast<std::chrono::nanoseconds>(moment.time_since_epoch()).count();
    timespec const deadline{static_cast<time_t>(since / 1000000000), static_cast<long>(since % 1000000000)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) != 0) {
    }
}

double Nanoseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::nano>(duration).count();
}

/// So many groups of one sonar each, `samples` pings in all.
void MeasurePauses(Stage& stage, std::size_t groups, std::size_t samples, std::vector<double>& nanoseconds)
{
    PingTimes times(groups);
    ControlledSonars sonars(stage, times, groups, groups, 120.0);
    for (std::size_t i = 0; i < groups; ++i) {
        sonars.Data(i); // joins, and pings at once
    }
    times.WaitFor(groups);
    std::vector<Clock::time_point> arrived(groups);
    for (std::size_t taken = 0; taken < samples; taken += groups) {
        std::size_t const before = times.Count();
        stage.Host().RunAndWait([&] {
            for (std::size_t i = 0; i < groups; ++i) {
                arrived[i] = Clock::now();
                sonars.Data(i);
            }
        });
        times.WaitFor(before + groups);
        for (std::size_t i = 0; i < groups; ++i) {
            auto const late = Nanoseconds(times.PingedAt(i) - (arrived[i] + pause));
            if (late < 0.0) {
                std::fprintf(stderr, "a ping was early by %.0f ns\n", -late);
            }
            nanoseconds.push_back(late);
        }
    }
}

/// Rounds of two simulated sonars that take turns: how far each is off range and overhead, shorter or longer.
void MeasureRounds(Stage& stage, std::size_t samples, std::vector<double>& nanoseconds)
{
    SimulatedSonar first(100.0);
    SimulatedSonar second(200.0);
    ControlledSonars const sonars(stage, stage.Live(), 2, 1, 120.0, {first.Port(), second.Port()});
    // The second may join only after the first has had a turn of its own.
    std::size_t const joined = second.WaitForPings(1).size() + first.WaitForPings(1).size();
    auto const pings = first.WaitForPings(joined + samples + 1);
    for (std::size_t i = joined; i < joined + samples; ++i) {
        nanoseconds.push_back(std::abs(Nanoseconds(pings[i + 1] - pings[i]) - RoundOfTwo));
    }
}

/// The pauses of MeasurePauses with nothing but threads that sleep until an absolute deadline.
void MeasureSleeps(std::size_t threads, std::size_t samples, std::vector<double>& nanoseconds)
{
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t awake = 0;
    std::vector<Clock::time_point> woken(threads);
    std::vector<std::unique_ptr<BareThread>> sleepers;
    for (std::size_t i = 0; i < threads; ++i) {
        sleepers.push_back(std::make_unique<BareThread>([&, i](Clock::time_point moment) {
            SleepUntil(moment);
            auto const now = Clock::now();
            {
                std::lock_guard const lock(mutex);
                woken[i] = now;
                ++awake;
            }
            changed.notify_one();
        }));
    }
    std::vector<Clock::time_point> told(threads);
    for (std::size_t taken = 0; taken < samples; taken += threads) {
        for (std::size_t i = 0; i < threads; ++i) {
            told[i] = Clock::now();
            sleepers[i]->Tell(told[i] + pause);
        }
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return awake == threads; });
        awake = 0;
        for (std::size_t i = 0; i < threads; ++i) {
            nanoseconds.push_back(Nanoseconds(woken[i] - (told[i] + pause)));
        }
    }
}

} // namespace

std::vector<Case> SequencingCases(Stage& stage)
{
    std::vector<Case> cases;
    cases.push_back(
        {"data-to-ping",
         "settings data of one sonar of two, told on the host thread, until the 92 bytes of the other's ping "
         "were read at its far end; overhead 0",
         300, [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
             std::array<Listener, 2> listeners;
             ControlledSonars sonars(stage, stage.Live(), 2, 1, 0.0, {listeners[0].Port(), listeners[1].Port()});
             std::array const farEnds{listeners[0].Accept(), listeners[1].Accept()};
             std::array<unsigned char, pingRateBytes> bytes{};
             sonars.Data(0);
             ReadAll(farEnds[0], bytes);
             ReadAll(farEnds[0], std::span(bytes).first(pingBytes));
             sonars.Data(1);
             ReadAll(farEnds[1], bytes);
             // As a connection does it: on the host thread.
             stage.Host().RunAndWait([&] {
                 for (std::size_t i = 0; i < samples; ++i) {
                     std::size_t const awaited = i % 2;
                     Time(1, 1, nanoseconds, [&] {
                         sonars.Data(awaited);
                         ReadAll(farEnds[1 - awaited], std::span(bytes).first(pingBytes));
                     });
                 }
             });
             CloseSocket(farEnds[0]);
             CloseSocket(farEnds[1]);
         }});
    cases.push_back(
        {"bare-hand-over",
         "bare program: a moment handed to another thread, which sends 92 bytes on loopback, until they were "
         "read at the far end",
         300, [](std::size_t samples, std::vector<double>& nanoseconds) {
             Pair pair;
             std::array<unsigned char, pingBytes> const frame{};
             BareThread thread([&](Clock::time_point) { SendAll(pair.near, frame); });
             std::array<unsigned char, pingBytes> bytes{};
             for (std::size_t i = 0; i < samples; ++i) {
                 Time(1, 1, nanoseconds, [&] {
                     thread.Tell(Clock::now());
                     ReadAll(pair.far, bytes);
                 });
             }
         }});
    cases.push_back({"pause-late", "how late a ping is after a pause of 160 ms from the settings data on", 10,
                     [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
                         MeasurePauses(stage, 1, samples, nanoseconds);
                     }});
    cases.push_back(
        {"bare-sleep-late", "bare program: how late a thread wakes from a sleep until an absolute deadline", 10,
         [](std::size_t samples, std::vector<double>& nanoseconds) { MeasureSleeps(1, samples, nanoseconds); }});
    cases.push_back({"pauses-of-16-late", "the same for the pings of 16 groups at once, 1,120 in all", 112,
                     [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
                         MeasurePauses(stage, 16, samples, nanoseconds);
                     }});
    cases.push_back(
        {"bare-sleeps-of-16-late", "bare program: the same for 16 threads at once", 112,
         [](std::size_t samples, std::vector<double>& nanoseconds) { MeasureSleeps(16, samples, nanoseconds); }});
    cases.push_back(
        {"drift-1000",
         "how late 1,000 pings are in all, each due 1 ms after the settings data of the one before were told", 1,
         [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
             for (std::size_t i = 0; i < samples; ++i) {
                 AnsweringTraffic answering(stage, 1001, std::chrono::milliseconds(1));
                 // 100 m at 1500 m/s take 133.3 ms; 0.75 % of that is the pause.
                 ControlledSonars sonars(stage, answering, 1, 1, 0.75);
                 sonars.Data(0);
                 nanoseconds.push_back(Nanoseconds(answering.Late()));
             }
         }});
    cases.push_back({"bare-drift-1000",
                     "bare program: how late the last of 1,000 sleeps is, each until 1 ms after the one before", 1,
                     [](std::size_t samples, std::vector<double>& nanoseconds) {
                         std::thread([&] {
                             WakeOnTime();
                             for (std::size_t i = 0; i < samples; ++i) {
                                 auto const begin = Clock::now();
                                 auto woken = begin;
                                 for (int slept = 0; slept < 1000; ++slept) {
                                     SleepUntil(woken + std::chrono::milliseconds(1));
                                     woken = Clock::now();
                                 }
                                 nanoseconds.push_back(Nanoseconds(woken - begin - std::chrono::seconds(1)));
                             }
                         }).join();
                     }});
    cases.push_back(
        {"round-of-two",
         "how far a round of two simulated sonars on real sockets, 480 ms by range and overhead, is off these", 2,
         [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
             MeasureRounds(stage, samples, nanoseconds);
         }});
    cases.push_back({"groups-stop-8", "from the stop call to its return, while 8 groups wait", 1,
                     [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
                         for (std::size_t i = 0; i < samples; ++i) {
                             constexpr std::size_t groups = 8;
                             PingTimes times(groups);
                             ControlledSonars sonars(stage, times, groups, groups, 0.0);
                             for (std::size_t group = 0; group < groups; ++group) {
                                 sonars.Data(group);
                             }
                             times.WaitFor(groups);
                             stage.Host().RunAndWait([&] {
                                 Time(1, 1, nanoseconds, [&] { stage.Host().LoadedPlugIns().ReleaseDevices(); });
                             });
                         }
                     }});
    cases.push_back({"groups-waiting-64", "processor time of the whole process in one second in which 64 groups wait",
                     1, [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
                         constexpr std::size_t groups = 64;
                         PingTimes times(groups);
                         ControlledSonars sonars(stage, times, groups, groups, 0.0);
                         for (std::size_t i = 0; i < groups; ++i) {
                             sonars.Data(i);
                         }
                         times.WaitFor(groups);
                         auto const processorTime = [] {
                             timespec time{};
                             clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
                             return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
                         };
                         for (std::size_t i = 0; i < samples; ++i) {
                             std::this_thread::sleep_for(std::chrono::milliseconds(10)); // all are at rest
                             double const before = processorTime();
                             std::this_thread::sleep_for(std::chrono::seconds(1));
                             nanoseconds.push_back(processorTime() - before);
                         }
                     }});
    return cases;
}

} // namespace bench
