// A vessel that works on while what surrounds it is killed.
#include "outage.h"

#include "authority/shore_messages.h"
#include "child_process.h"
#include "outbox/archive.h"
#include "outbox/outbox.h"
#include "reference_host/project/open_project.h"
#include "reference_host/store/project_store.h"
#include "shell/running_programs.h"
#include "shell/shell_client.h"
#include "test_broker.h"
#include "tests/support/temporary_folder.h"
#include "json/json_parser.h"
#include "json/json_value.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/all.h>
#include <protocol/utf8.h>
#include <simulator/sonar_server.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <poll.h>

#include <fmt/format.h>

namespace qx5::test {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr char const* group = "north";
constexpr char const* vessel = "Vega";

// A range for each event of a sonar, in m, apart by more than the wire takes away, and within what sonars take.
constexpr double firstRange = 10.0;
constexpr double rangeStep = 0.005;
constexpr std::uint64_t greatestOfSonar = 95'000;

double RangeOf(std::uint64_t index)
{
    return firstRange + rangeStep * static_cast<double>(index);
}

std::string NameOfSonar(unsigned number)
{
    return fmt::format("Sonar {}", number + 1);
}

/// An event, found in the outbox or in the archive.
struct Found
{
    unsigned sonar = 0;
    std::uint64_t index = 0;
};

/// The event that an entry is; nothing for all else that a vessel keeps.
std::optional<Found> EventIn(outbox::Item const& item, unsigned sonars)
{
    if (item.kind != outbox::Kind::Action) {
        return std::nullopt;
    }
    std::string error;
    auto const content = authority::DecodeHistoryContent(item.payload, error);
    auto const* const text = content ? std::get_if<authority::HistoryText>(&*content) : nullptr;
    if (text == nullptr) {
        throw std::runtime_error(fmt::format("entry {} is no action: {}", item.number, error));
    }
    auto const row = ParseJson(text->text);
    auto const key = row.Root().Find("key");
    auto const asked = row.Root().Find("new");
    double range = 0.0;
    if (!key || key->Text() != protocol::EncodeUtf8(protocol::keys::x5Range.text) || !asked ||
        !asked->ReadNumber(range)) {
        return std::nullopt;
    }
    for (unsigned number = 0; number < sonars; ++number) {
        if (text->sonar == NameOfSonar(number)) {
            return Found{number, static_cast<std::uint64_t>(std::lround((range - firstRange) / rangeStep))};
        }
    }
    return std::nullopt;
}

/// One run of `qx5 serve`.
struct Run
{
    std::uint64_t number = 0; ///< from 1; 0: there is none just now
    std::uint64_t process = 0;
};

/// What became of an event that was asked for.
struct Asked
{
    std::uint64_t index = 0;
    std::uint64_t run = 0;
    std::optional<Clock::time_point> answered;
    bool agrees = false;
};

/// The runs of the program, for those who ask it.
class Runs
{
public:
    void Begin(std::uint64_t process)
    {
        {
            std::lock_guard const lock(m_mutex);
            m_run = {++m_count, process};
        }
        m_changed.notify_all();
    }
    void End()
    {
        std::lock_guard const lock(m_mutex);
        m_run = {};
    }
    /// Nobody is asked any more.
    void Close()
    {
        {
            std::lock_guard const lock(m_mutex);
            m_isClosed = true;
        }
        m_changed.notify_all();
    }
    bool IsClosed() const
    {
        std::lock_guard const lock(m_mutex);
        return m_isClosed;
    }
    /// The run that there is, once it is another one than `former`; number 0 when there will be none.
    Run Await(std::uint64_t former)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_isClosed || (m_run.number != 0 && m_run.number != former); });
        return m_isClosed ? Run() : m_run;
    }

private:
    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    Run m_run;
    std::uint64_t m_count = 0;
    bool m_isClosed = false;
};

/// Asks one sonar for one event after another, on a thread of its own.
class Asker
{
public:
    Asker(Runs& runs, std::filesystem::path sockets, unsigned number)
        : m_runs(runs), m_sockets(std::move(sockets)), m_name(NameOfSonar(number)), m_thread([this] { Work(); })
    {
    }
    Asker(Asker const&) = delete;
    Asker& operator=(Asker const&) = delete;
    ~Asker() { Join(); }

    /// The runs are closed.
    void Join()
    {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    std::uint64_t Agreed() const { return m_agreed.load(); }
    std::vector<Asked> Events() const
    {
        std::lock_guard const lock(m_mutex);
        return m_events;
    }

private:
    void Work()
    {
        Run run;
        while ((run = m_runs.Await(run.number)).number != 0) {
            try {
                WorkIn(run);
            } catch (shell::ShellError const&) {
                // It was killed.
            }
        }
    }
    void WorkIn(Run const& run)
    {
        auto const client = Connected(run);
        while (client && !m_runs.IsClosed() && m_next < greatestOfSonar) {
            Asked event{m_next++, run.number, std::nullopt, false};
            CAttributeMap request;
            AddValue(request, AttributeKey(protocol::keys::x5Range.text), RangeOf(event.index));
            try {
                client->Ask({.kind = shell::Question::Kind::Request, .sonar = m_name, .keys = {}, .request = request});
                auto const outcome = AwaitOutcome(*client);
                event.answered = Clock::now();
                event.agrees = outcome.result == "agrees";
            } catch (shell::ShellError const&) {
                Note(event);
                throw;
            }
            Note(event);
        }
    }
    /// Null when nobody is to ask any more.
    std::unique_ptr<shell::ShellClient> Connected(Run const& run) const
    {
        while (!m_runs.IsClosed()) {
            auto client = std::make_unique<shell::ShellClient>(shell::SocketOf(m_sockets, run.process), 10s);
            auto const& sonars = client->Greeted().sonars;
            if (std::any_of(sonars.begin(), sonars.end(),
                            [&](auto const& sonar) { return sonar.name == m_name && sonar.connected; })) {
                return client;
            }
            std::this_thread::sleep_for(20ms);
        }
        return nullptr;
    }
    static shell::Outcome AwaitOutcome(shell::ShellClient& client)
    {
        for (;;) {
            while (auto const answer = client.Take()) {
                if (auto const* const outcome = std::get_if<shell::Outcome>(&*answer)) {
                    return *outcome;
                }
                if (auto const* const problem = std::get_if<shell::Problem>(&*answer)) {
                    return {problem->text, {}, {}};
                }
            }
            pollfd waited{client.Handle(), POLLIN, 0};
            ::poll(&waited, 1, -1);
        }
    }
    void Note(Asked const& event)
    {
        std::lock_guard const lock(m_mutex);
        m_events.push_back(event);
        m_agreed += event.agrees ? 1 : 0;
    }

    Runs& m_runs;
    std::filesystem::path const m_sockets;
    std::string const m_name;
    std::uint64_t m_next = 0;
    std::atomic<std::uint64_t> m_agreed{0};
    mutable std::mutex m_mutex; ///< guards what follows
    std::vector<Asked> m_events;
    std::thread m_thread;
};

class Outage
{
public:
    explicit Outage(OutageOptions const& options) : m_options(options), m_random(options.seed)
    {
        MakeProject();
        BeginArchive();
        BeginVessel();
        for (unsigned number = 0; number < options.sonars; ++number) {
            m_askers.push_back(std::make_unique<Asker>(m_runs, Sockets(), number));
        }
    }
    Outage(Outage const&) = delete;
    Outage& operator=(Outage const&) = delete;
    ~Outage() { m_runs.Close(); }

    OutageResult Run()
    {
        try {
            Suffer();
            Recover();
            m_result.seconds = std::chrono::duration<double>(Clock::now() - m_begun).count();
            Judge();
        } catch (std::exception const& problem) {
            m_result.problem = problem.what();
        }
        m_runs.Close();
        return m_result;
    }

private:
    std::filesystem::path Project() const { return m_folder / "survey.qx5"; }
    std::filesystem::path ArchiveFile() const { return m_folder / "archive"; }
    std::filesystem::path Sockets() const { return m_folder / "qx5"; }

    void MakeProject()
    {
        vordal::StoredProject project;
        project.vessels = {{.number = 1, .name = L"Vessel", .configuration = {}}};
        for (unsigned number = 0; number < m_options.sonars; ++number) {
            simulator::ServerOptions calm;
            calm.calm = true;
            calm.reportLatency = 1ms;
            m_sonars.push_back(std::make_unique<simulator::SonarServer>(std::move(calm)));
            if (auto const failure = m_sonars.back()->Start()) {
                throw std::runtime_error("a simulated sonar does not start: " + failure->text);
            }
            CDataId const id(1, 78, static_cast<unsigned short>(number + 1), 1);
            auto const name = protocol::DecodeUtf8(NameOfSonar(number));
            vordal::AddConnected(project,
                                 {id, L"QX5SonarConfigurationControlDevice", CString(name.c_str()), {}, true, {}},
                                 L"127.0.0.1", m_sonars.back()->Port());
        }
        vordal::ProjectStore store(Project());
        store.Save(project);
    }

    std::vector<std::string> Command(std::vector<std::string> begin, std::string const& who) const
    {
        auto const files = m_broker.Files(who);
        for (std::string const& word :
             {std::string("--broker"), m_broker.Secure().Text(), std::string("--ca"), files.authority.string(),
              std::string("--cert"), files.certificate.string(), std::string("--key"), files.key.string(),
              std::string("--group"), std::string(group)}) {
            begin.push_back(word);
        }
        return begin;
    }

    void BeginVessel()
    {
        auto command = Command({m_options.program, "serve", Project().string()}, "vessel");
        command.insert(command.end(), {"--vessel", vessel});
        m_vessel = std::make_unique<ChildProcess>(command, std::vector{"XDG_RUNTIME_DIR=" + m_folder.string()});
        if (!m_vessel->WaitForOutput("serving ")) {
            throw std::runtime_error("`qx5 serve` does not begin: " + m_vessel->Errors());
        }
        m_runs.Begin(std::stoull(m_vessel->Id()));
    }

    void BeginArchive()
    {
        auto command = Command({m_options.program, "fleet", "log"}, "operator");
        command.insert(command.end(), {"--json", "--archive", ArchiveFile().string()});
        m_archive = std::make_unique<ChildProcess>(command);
    }
    /// It ends by itself where there is no broker when it begins; a service would be started again, too.
    void TendArchive()
    {
        if (m_isBrokerThere && m_archive->WaitForEnd(0ms)) {
            BeginArchive();
        }
    }

    std::uint64_t Agreed() const
    {
        std::uint64_t agreed = 0;
        for (auto const& asker : m_askers) {
            agreed += asker->Agreed();
        }
        return agreed;
    }

    /// Waits until the condition holds. Throws when nothing comes of anything, which `progress` counts.
    template <typename Condition, typename Progress>
    void Await(Condition const& condition, Progress const& progress, std::string const& what)
    {
        auto last = progress();
        auto since = Clock::now();
        while (!condition()) {
            TendArchive();
            if (auto const now = progress(); now != last) {
                last = now;
                since = Clock::now();
            } else if (Clock::now() - since > m_options.patience) {
                throw std::runtime_error(fmt::format("{}: nothing for {} s; the archive said: {}", what,
                                                     m_options.patience.count(), m_archive->Errors()));
            }
            std::this_thread::sleep_for(5ms);
        }
    }
    void AwaitAgreed(std::uint64_t count)
    {
        auto const before = Agreed();
        Await([&] { return Agreed() >= count; }, [&] { return Agreed(); }, "requests");
        m_awayEvents += m_isBrokerThere ? 0 : Agreed() - before;
        m_allEvents += Agreed() - before;
    }

    std::uint64_t Drawn(std::uint64_t end)
    {
        return std::uniform_int_distribution<std::uint64_t>(0, end - 1)(m_random);
    }

    void Suffer()
    {
        // What is answered and not taken has to be made up for; how much it is tells the end alone.
        while (Agreed() < m_options.events + m_doubtful) {
            auto const next = Agreed() + 1 + Drawn(2 * m_options.incidentEvery);
            AwaitAgreed(std::min(next, m_options.events + m_doubtful));
            // Not when an answer comes, but at any moment.
            std::this_thread::sleep_for(std::chrono::microseconds(Drawn(20'000)));
            HaveIncident(Drawn(10));
        }
    }

    void HaveIncident(std::uint64_t draw)
    {
        if (draw < 4) {
            KillVessel();
        } else if (draw < 6) {
            ++m_result.archiveKills;
            m_archive->Signal(SIGKILL);
            m_archive->WaitForEnd();
            TendArchive();
        } else if (!m_isBrokerThere) {
            BeginBroker();
        } else if (draw < 8) {
            ++m_result.brokerKills;
            m_broker.Kill();
            m_isBrokerThere = false;
        } else {
            ++m_result.brokerStops;
            m_broker.Stop();
            m_isBrokerThere = false;
        }
        Tell();
    }

    void BeginBroker()
    {
        m_broker.Start();
        m_isBrokerThere = true;
        TendArchive();
    }

    void KillVessel()
    {
        ++m_result.vesselKills;
        auto const killed = Clock::now();
        m_vessel->Signal(SIGKILL);
        m_runs.End();
        m_vessel->WaitForEnd();
        m_killedAt.push_back(killed);
        LookAtDisk();
        for (unsigned number = 0; number < m_options.sonars; ++number) {
            auto const& onDisk = m_onDisk[number];
            for (auto const& event : m_askers[number]->Events()) {
                // What was acknowledged is on the disk no more. What is there has all before it there, or ashore.
                bool const isTaken = !onDisk.empty() && event.index <= *onDisk.rbegin();
                bool const isDoubtful = event.agrees && event.run == m_killedAt.size() && !isTaken && event.answered &&
                                        killed - *event.answered < 100ms;
                m_doubtful += isDoubtful ? 1 : 0;
            }
        }
        BeginVessel();
    }

    /// Notes what is on the disk aboard and not ashore.
    void LookAtDisk()
    {
        outbox::Outbox outbox(outbox::OutboxBeside(Project()));
        for (auto from = outbox.State().acknowledged + 1;;) {
            auto const items = outbox.Take(from, 10'000, std::size_t{64} << 20);
            if (items.empty()) {
                return;
            }
            for (outbox::Item const& item : items) {
                if (auto const event = EventIn(item, m_options.sonars)) {
                    m_onDisk[event->sonar].insert(event->index);
                }
            }
            from = items.back().last + 1;
        }
    }

    void Recover()
    {
        if (!m_isBrokerThere) {
            BeginBroker();
        }
        m_runs.Close();
        for (auto const& asker : m_askers) {
            asker->Join();
        }
        // Its end in order takes all to the disk.
        m_vessel->Signal(SIGTERM);
        if (auto const code = m_vessel->WaitForEnd(); code != 0) {
            throw std::runtime_error(
                fmt::format("`qx5 serve` ends with {}: {}", code.value_or(-1), m_vessel->Errors()));
        }
        std::string identity;
        std::uint64_t last = 0;
        {
            outbox::Outbox const outbox(outbox::OutboxBeside(Project()));
            identity = outbox.Identity();
            last = outbox.State().committed;
        }
        BeginVessel();
        outbox::Archive archive(ArchiveFile());
        Await([&] { return archive.Acknowledged(vessel, identity) >= last; },
              [&] { return archive.Acknowledged(vessel, identity); }, "history");
        m_archive->Signal(SIGTERM);
        m_archive->WaitForEnd();
        m_vessel->Signal(SIGTERM);
        m_vessel->WaitForEnd();
    }

    void Judge()
    {
        std::vector<std::map<std::uint64_t, std::uint64_t>> found(m_options.sonars);
        std::vector<std::uint64_t> newest(m_options.sonars, 0);
        std::map<std::string, int> outboxes;
        outbox::Archive archive(ArchiveFile());
        archive.Read(vessel, [&](outbox::Received const& received) {
            ++outboxes[received.outbox];
            if (!received.item.kind) {
                m_result.gaps += received.item.last - received.item.number + 1;
            } else if (auto const event = EventIn(received.item, m_options.sonars)) {
                m_result.twice += ++found[event->sonar][event->index] > 1 ? 1 : 0;
                m_result.outOfOrder += event->index + 1 < newest[event->sonar] ? 1 : 0;
                newest[event->sonar] = std::max(newest[event->sonar], event->index + 1);
            }
            return true;
        });
        m_result.outboxes = outboxes.size();
        for (unsigned number = 0; number < m_options.sonars; ++number) {
            Judge(m_askers[number]->Events(), found[number], m_onDisk[number]);
        }
        m_result.away = m_allEvents == 0 ? 0.0 : static_cast<double>(m_awayEvents) / static_cast<double>(m_allEvents);
    }

    /// `found`: how often the archive has each; `onDisk`: what was there when the program had been killed.
    void Judge(std::vector<Asked> const& events, std::map<std::uint64_t, std::uint64_t> const& found,
               std::set<std::uint64_t> const& onDisk)
    {
        // Of a run of the program, what is behind the newest that it took.
        std::map<std::uint64_t, std::uint64_t> newestOfRun;
        for (Asked const& event : events) {
            if (found.count(event.index) != 0) {
                newestOfRun[event.run] = event.index;
            }
        }
        for (Asked const& event : events) {
            if (!event.answered) {
                ++m_result.unanswered;
                continue;
            }
            if (!event.agrees) {
                ++m_result.otherwise;
                continue;
            }
            if (found.count(event.index) != 0) {
                ++m_result.events;
                continue;
            }
            auto const behind = newestOfRun.find(event.run);
            bool const wasKilled = event.run <= m_killedAt.size();
            if (!wasKilled || onDisk.count(event.index) != 0 ||
                (behind != newestOfRun.end() && event.index < behind->second)) {
                ++m_result.events;
                ++m_result.lost;
                continue;
            }
            ++m_result.untaken;
            std::chrono::duration<double> const age = m_killedAt[event.run - 1] - *event.answered;
            m_result.oldestUntaken = std::max(m_result.oldestUntaken, age.count());
        }
    }

    void Tell() const
    {
        if (m_options.tell) {
            m_options.tell(fmt::format("{:.0f} s, {} events; killed: vessel {}, broker {} and stopped {}, archive {}{}",
                                       std::chrono::duration<double>(Clock::now() - m_begun).count(), Agreed(),
                                       m_result.vesselKills, m_result.brokerKills, m_result.brokerStops,
                                       m_result.archiveKills, m_isBrokerThere ? "" : "; there is no broker"));
        }
    }

    OutageOptions const m_options;
    Clock::time_point const m_begun = Clock::now();
    std::mt19937_64 m_random;
    TemporaryFolder const m_folder{"qx5-outage"};
    TestBroker m_broker{{.certificate = "broker", .moreConfiguration = {}, .logged = "information"}};
    bool m_isBrokerThere = true;
    std::vector<std::unique_ptr<simulator::SonarServer>> m_sonars;
    Runs m_runs;
    std::unique_ptr<ChildProcess> m_archive;
    std::unique_ptr<ChildProcess> m_vessel;
    std::vector<Clock::time_point> m_killedAt;            ///< of each run but the last ones
    std::map<unsigned, std::set<std::uint64_t>> m_onDisk; ///< aboard, after each kill
    std::uint64_t m_doubtful = 0;                         ///< that may not have been taken
    std::uint64_t m_awayEvents = 0;
    std::uint64_t m_allEvents = 0;
    OutageResult m_result;
    std::vector<std::unique_ptr<Asker>> m_askers; // go first
};

} // namespace

OutageResult RunOutage(OutageOptions const& options)
{
    return Outage(options).Run();
}

std::string JsonOf(OutageResult const& result, OutageOptions const& options)
{
    return WriteJson(JsonValue::Object({{"events", JsonValue::Unsigned(result.events)},
                                        {"seed", JsonValue::Unsigned(options.seed)},
                                        {"sonars", JsonValue::Unsigned(options.sonars)},
                                        {"vesselKills", JsonValue::Unsigned(result.vesselKills)},
                                        {"brokerKills", JsonValue::Unsigned(result.brokerKills)},
                                        {"brokerStops", JsonValue::Unsigned(result.brokerStops)},
                                        {"archiveKills", JsonValue::Unsigned(result.archiveKills)},
                                        {"withoutBroker", JsonValue::Double(result.away)},
                                        {"lost", JsonValue::Unsigned(result.lost)},
                                        {"twice", JsonValue::Unsigned(result.twice)},
                                        {"outOfOrder", JsonValue::Unsigned(result.outOfOrder)},
                                        {"gaps", JsonValue::Unsigned(result.gaps)},
                                        {"outboxes", JsonValue::Unsigned(result.outboxes)},
                                        {"untaken", JsonValue::Unsigned(result.untaken)},
                                        {"oldestUntaken", JsonValue::Double(result.oldestUntaken)},
                                        {"unanswered", JsonValue::Unsigned(result.unanswered)},
                                        {"otherwise", JsonValue::Unsigned(result.otherwise)},
                                        {"seconds", JsonValue::Double(result.seconds)},
                                        {"problem", JsonValue::Text(result.problem)}}));
}

} // namespace qx5::test
