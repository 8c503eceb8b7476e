// The simulated sonar as a whole: what it answers and reports, its failures and its power.
#include <simulator/sonar_server.h>

#include <utility>

#include <protocol/print.h>
#include <protocol/utf8.h>
#include <simulator/answer_frames.h>
#include <simulator/echo_frames.h>
#include <simulator/echo_service.h>
#include <simulator/flood.h>
#include <simulator/hearing.h>
#include <simulator/hosts.h>
#include <simulator/misbehaviour.h>
#include <simulator/ping_settings_of.h>
#include <simulator/pinging.h>
#include <simulator/plural.h>
#include <simulator/sonar_commands.h>
#include <simulator/sonar_thread.h>

namespace qx5::simulator {

using protocol::TreeNode;

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

class SonarServer::Implementation final : private SonarThread::Sonar,
                                          private HostedSonar,
                                          private PingingSonar,
                                          private EchoingSonar,
                                          public CommandedSonar
{
public:
    Implementation(ServerOptions options, EventSink sink)
        : m_options(std::move(options)), m_sink(std::move(sink)), m_state(m_options.utc, m_options.heads),
          m_hosts(m_thread.Context(), m_options, m_misbehaviour, *this), m_pinging(m_thread.Context(), m_state, *this),
          m_reportTimer(m_thread.Context()), m_recordingTimer(m_thread.Context()), m_rebootTimer(m_thread.Context())
    {
    }

    std::optional<StartError> Start()
    {
        if (!m_options.hear) {
            std::string error;
            m_options.hear = HearingOf(m_options, error);
            if (!m_options.hear) {
                return StartError{StartError::Kind::BadScene, error};
            }
        }
        m_echoes.emplace(m_thread.Context(), m_options.hear, m_state, m_frames, m_hosts,
                         static_cast<EchoingSonar&>(*this));
        auto error = m_hosts.Start();
        if (!error) {
            m_port = m_hosts.Port();
            m_thread.Start();
        }
        return error;
    }

    std::uint16_t Port() const { return m_port; }

    void Stop()
    {
        m_thread.Stop();
        if (m_echoes) {
            m_echoes->Stop();
        }
    }

    SonarThread& Thread() { return m_thread; }

    ServerCounts Counts() const
    {
        ServerCounts counts = m_hosts.Counts();
        counts.pings = m_pinging.Count();
        m_echoes->AddTo(counts);
        return counts;
    }

    // What commands do.

    SonarState& State() override { return m_state; }

    void StateChanged() override
    {
        m_pinging.Schedule();
        if (m_state.IsRecording() && !m_tickScheduled && !m_thread.IsEnding()) {
            m_tickScheduled = true;
            m_recordingTimer.expires_after(m_options.recordingTick);
            m_recordingTimer.async_wait([this](asio::error_code const& error) {
                m_tickScheduled = false;
                if (!error && !m_thread.IsEnding()) {
                    m_state.TellRecorder();
                    StateChanged();
                }
            });
        }
        if (m_reportScheduled || m_thread.IsEnding() || !m_state.HasReport()) {
            return;
        }
        m_reportScheduled = true;
        m_reportTimer.expires_after(m_options.reportLatency);
        m_reportTimer.async_wait([this](asio::error_code const& error) {
            m_reportScheduled = false;
            if (!error && !m_thread.IsEnding()) {
                Report();
            }
        });
    }

    bool Misbehave(std::string_view name, std::string_view argument, std::string& answer) override
    {
        Misbehaviour const before = m_misbehaviour;
        bool dropNow = false;
        if (!AddMisbehaviour(name, argument, m_misbehaviour, dropNow, answer)) {
            return false;
        }
        if (m_misbehaviour.vanish && !before.vanish && !m_hosts.Vanish(true)) {
            m_misbehaviour = before;
            answer = "this system filters no sockets for this program, which vanishing takes";
            return false;
        }
        if (name == "collide") {
            for (auto const& connection : m_hosts.All()) {
                connection->SetCollisionDue(true);
            }
        } else if (name == "lie-about-size") {
            m_hosts.BeginLies();
        }
        if (dropNow) {
            m_hosts.CloseAll("dropped on demand");
        }
        if (m_misbehaviour.refusal == Refusal::NotListening) {
            m_hosts.StopListening();
        } else {
            m_hosts.ListenAgain();
        }
        m_hosts.WriteOn();
        answer = "failures: " + Describe(m_misbehaviour);
        return true;
    }

    void Behave() override
    {
        Misbehaviour const before = std::exchange(m_misbehaviour, {});
        if (before.vanish) {
            m_hosts.Vanish(false);
        }
        m_hosts.ListenAgain();
        for (auto const& connection : m_hosts.All()) {
            connection->SetCollisionDue(false);
            connection->CloseWhereOverflown();
            // What was told in between was not true.
            if (before.flood != nullptr) {
                Introduce(*connection);
            }
            connection->Read();
        }
        m_hosts.WriteOn();
    }

    bool PingOnce(std::string& answer) override
    {
        bool done = false;
        answer = m_poweredOn ? m_pinging.PingAtCommand(m_frames.Heads(), done)
                             : "the sonar is switched off; 'start' brings it back";
        return done;
    }

    std::uint64_t Drop() override
    {
        std::uint64_t const count = m_hosts.Number();
        m_hosts.CloseAll("dropped on demand");
        return count;
    }

    void SwitchOn(std::string& answer) override
    {
        if (m_poweredOn) {
            answer = "the sonar is on";
            return;
        }
        PowerUp();
        answer = m_hosts.IsListening() ? "on" : "on, but not listening";
    }

    std::string StatusText() const override
    {
        ServerCounts const counts = Counts();
        std::string text = !m_poweredOn            ? std::string("switched off")
                           : m_hosts.IsListening() ? "listening on port " + std::to_string(m_hosts.Port())
                                                   : std::string("not listening");
        text += "; " + Plural(counts.open, "connection") + " open, " + std::to_string(counts.connections) + " taken, " +
                std::to_string(counts.refused) + " refused; " + Plural(counts.recordsReceived, "record") +
                " received, " + Plural(counts.framesSent, "frame") + " sent, " + Plural(counts.skippedBytes, "byte") +
                " of no frame; " + Plural(m_state.UnknownRecords(), "unknown record") + ", " +
                Plural(m_state.UnknownRequests(), "unanswered request") + "; " + Plural(counts.pings, "ping") +
                "; failures: " + Describe(m_misbehaviour) + m_echoes->StatusText();
        for (auto const& connection : m_hosts.All()) {
            text += "\n" + connection->StatusText();
        }
        for (auto const& [id, count] : m_state.Records()) {
            text += "\nrecord " + std::to_string(id.second) + " " +
                    std::string(count.name.empty() ? "unknown" : count.name) + ": " + std::to_string(count.count) +
                    " times";
            if (count.name.empty() && !count.lastPayload.empty()) {
                text += ", last payload " + protocol::HexDump(count.lastPayload, "\n  ", 16);
            }
            while (text.ends_with('\n')) {
                text.pop_back();
            }
        }
        return text;
    }

private:
    // Its thread.

    void BeginAnew() override
    {
        m_reportTimer.cancel();
        m_recordingTimer.cancel();
        m_reportScheduled = false;
        m_tickScheduled = false;
        m_pinging.Stop();
        m_hosts.CloseAll("something failed in the sonar, which begins anew");
        m_hosts.StopListening();
        m_hosts.ListenAgain();
        StateChanged();
    }

    void CloseAll() override
    {
        m_hosts.StopListening();
        m_hosts.CloseAll("the sonar ends");
        for (auto* const timer : {&m_reportTimer, &m_recordingTimer, &m_rebootTimer}) {
            timer->cancel();
        }
        m_pinging.Stop();
    }

    // Hosts.

    bool WantsHosts() const override
    {
        return !m_thread.IsEnding() && m_poweredOn && m_misbehaviour.refusal != Refusal::NotListening;
    }

    void OnHost(HostConnection& host, std::string_view address) override
    {
        Tell(EventKind::Connected, address, host.Number());
        if (!host.IsOpen()) {
            return;
        }
        if (m_misbehaviour.vanish) {
            host.DropWhatArrives(true);
        }
        host.SetCollisionDue(m_misbehaviour.collidingKeys > 0);
        Introduce(host);
    }

    void OnFrame(HostConnection& from, protocol::FrameView const& frame) override
    {
        Understood const record = m_state.Apply(frame);
        Tell({.kind = EventKind::Record, .connection = from.Number(), .text = {}, .record = &record, .frame = &frame});
        switch (record.effect) {
        case Effect::None:
            break;
        case Effect::AnswerRecord:
            AnswerRecord(from, record);
            break;
        case Effect::Ping: {
            bool done = false;
            m_pinging.PingAtCommand(HeadsAt(record.target), done);
            break;
        }
        case Effect::TellEchoes:
            m_echoes->Wish(from, HeadsAt(record.target), record.echoes);
            break;
        case Effect::ShutDown:
            PowerDown(false);
            break;
        case Effect::Reboot:
            PowerDown(true);
            break;
        }
        if (m_misbehaviour.recordsUntilDrop && --*m_misbehaviour.recordsUntilDrop == 0) {
            m_misbehaviour.recordsUntilDrop.reset();
            from.Close("dropped on demand");
        }
    }

    void OnFramesTaken() override { StateChanged(); }

    void OnDamage(HostConnection const& from, protocol::Damage damage) override
    {
        Tell(EventKind::Damaged,
             damage == protocol::Damage::Garbage ? "bytes that belong to no frame are skipped"
                                                 : "a frame that was begun got no further byte and is skipped",
             from.Number());
    }

    void OnHostGone(HostConnection const& host, std::string_view why) override
    {
        Tell(EventKind::Disconnected, std::string(why) + "; " + host.CarriedText(), host.Number());
    }

    void OnNotice(std::string_view text) override { Tell(EventKind::Notice, text); }

    // What they are told.

    std::span<std::int32_t const> HeadsAt(protocol::Target target)
    {
        auto const heads = m_frames.HeadsAt(target);
        if (heads.empty()) {
            Tell(EventKind::Notice, "the sonar has no head " + std::to_string(target.enumerator));
        }
        return heads;
    }

    SharedBytes TreeFrame(std::vector<TreeNode> nodes, std::int32_t head)
    {
        std::string error;
        auto frame = m_frames.Tree(std::move(nodes), head, error);
        if (!frame) {
            Tell(EventKind::Notice, "an answer cannot be sent: " + error);
        }
        return frame;
    }

    /// Once on each connection a tree of colliding keys, then whatever floods it.
    SharedBytes NextFlood(HostConnection& to) override
    {
        FloodRecord record;
        if (to.TakeCollisionDue()) {
            record = CollidingTree(m_misbehaviour.collidingKeys);
        } else if (m_misbehaviour.flood != nullptr) {
            record = m_misbehaviour.flood->make(m_floodRecords, m_state);
        } else {
            return {};
        }
        auto const head = static_cast<std::int32_t>(m_floodRecords++ % m_frames.Heads().size());
        return m_frames.Record(record.id, record.payload, head);
    }

    void Introduce(HostConnection& connection)
    {
        if (m_misbehaviour.silent || !connection.IsOpen()) {
            return;
        }
        for (std::int32_t const head : m_frames.Heads()) {
            connection.Send(TreeFrame(m_state.Introduction(), head));
        }
        Tell(EventKind::Answered, "introduction", connection.Number());
    }

    void AnswerRecord(HostConnection& connection, Understood const& request)
    {
        auto const nodes = m_state.Answer(request.requestedRecord);
        std::string const record = "record " + std::to_string(request.requestedRecord);
        if (!nodes) {
            m_state.CountUnknownRequest();
            Tell(EventKind::Notice, record + " was asked for; the sonar has none");
            return;
        }
        if (m_misbehaviour.silent) {
            return;
        }
        for (std::int32_t const head : HeadsAt(request.target)) {
            connection.Send(TreeFrame(*nodes, head));
        }
        Tell(EventKind::Answered, record + ", " + Plural(nodes->size(), "attribute"), connection.Number());
    }

    void Report()
    {
        auto const nodes = m_state.TakeReport();
        if (nodes.empty() || m_hosts.Number() == 0 || m_misbehaviour.silent) {
            return;
        }
        for (std::int32_t const head : m_frames.Heads()) {
            m_hosts.Broadcast(TreeFrame(nodes, head));
        }
        std::string text = Plural(nodes.size(), "changed attribute") + ":";
        for (TreeNode const& node : nodes) {
            text += " " + protocol::EncodeUtf8(node.key);
        }
        Tell(EventKind::Answered, text);
    }

    // Pings.

    bool MayPing() const override { return !m_thread.IsEnding() && m_poweredOn; }

    // The sonar tells its settings as it pings, so that a host knows how long the echoes can take.
    void OnPinged(Ping const& ping) override
    {
        if (m_state.IsRecording()) {
            m_state.RecordPing(BytesOfPing(PingSettingsOf(m_state)));
        }
        m_echoes->OnPinged(ping);
        TellPing(EventKind::Pinged, ping);
        if ((ping.commanded || m_options.announcePings) && m_hosts.Number() != 0 && !m_misbehaviour.silent) {
            m_hosts.Broadcast(TreeFrame(m_state.PingReport(ping.number, ping.utcSeconds), ping.head));
            Tell(EventKind::Answered, "settings of ping " + std::to_string(ping.number));
        }
    }

    void OnEchoed(Ping const& ping) override
    {
        TellPing(EventKind::Echoed, ping);
        m_echoes->OnEchoed(ping);
    }

    // Power.

    void PowerDown(bool reboot)
    {
        m_poweredOn = false;
        m_state.Restart();
        m_state.TakeReport(); // nobody is there to be told; who comes is told everything
        m_echoes->ForgetPings();
        m_pinging.Stop();
        m_hosts.StopListening();
        m_hosts.CloseAll(reboot ? "the sonar restarts" : "the sonar was shut down");
        Tell(EventKind::Notice, reboot ? "restarting" : "shut down; 'start' brings it back");
        m_rebootTimer.cancel();
        if (!reboot) {
            return;
        }
        m_rebootTimer.expires_after(m_options.rebootTime);
        m_rebootTimer.async_wait([this](asio::error_code const& error) {
            if (!error && !m_thread.IsEnding() && !m_poweredOn) {
                PowerUp();
            }
        });
    }

    void PowerUp()
    {
        m_rebootTimer.cancel();
        m_poweredOn = true;
        m_pinging.StartAnew();
        m_hosts.ListenAgain();
        if (m_hosts.IsListening()) {
            Tell(EventKind::Notice, "up again, listening on port " + std::to_string(m_hosts.Port()));
        }
    }

    // Who watches.

    void Tell(SonarEvent event)
    {
        event.utcSeconds = m_state.UtcSeconds();
        if (m_sink) {
            m_sink(event);
        }
    }

    void Tell(EventKind kind, std::string_view text, std::uint64_t connection = 0)
    {
        Tell({.kind = kind, .connection = connection, .text = text});
    }

    void TellPing(EventKind kind, Ping const& ping)
    {
        Tell({.kind = kind,
              .text = {},
              .pingNumber = ping.number,
              .head = m_frames.Heads().size() > 1 ? ping.head : -1,
              .pingRange = ping.range,
              .pingTravelTime = ping.travelTime});
    }

    ServerOptions m_options;
    EventSink m_sink;
    SonarState m_state;
    AnswerFrames m_frames{m_state};
    SonarThread m_thread{*this};
    Misbehaviour m_misbehaviour;
    Hosts m_hosts;
    std::optional<EchoService> m_echoes; // from Start on
    Pinging m_pinging;
    asio::steady_timer m_reportTimer;
    asio::steady_timer m_recordingTimer;
    asio::steady_timer m_rebootTimer;
    std::uint64_t m_floodRecords = 0;
    bool m_poweredOn = true;
    bool m_reportScheduled = false;
    bool m_tickScheduled = false;
    std::uint16_t m_port = 0;
};

SonarServer::SonarServer(ServerOptions options, EventSink sink)
    : m_implementation(std::make_unique<Implementation>(std::move(options), std::move(sink)))
{
}

SonarServer::~SonarServer()
{
    Stop();
}

std::optional<StartError> SonarServer::Start()
{
    return m_implementation->Start();
}

void SonarServer::Stop()
{
    m_implementation->Stop();
}

std::uint16_t SonarServer::Port() const
{
    return m_implementation->Port();
}

bool SonarServer::Command(std::string_view line, std::string& answer)
{
    bool done = false;
    auto const called = m_implementation->Thread().Call([&] { done = CarryOut(*m_implementation, line, answer); });
    if (called == SonarThread::Called::Done) {
        return done;
    }
    answer =
        called == SonarThread::Called::Failed ? "that failed, and the sonar begins anew" : "the sonar is not running";
    return false;
}

ServerCounts SonarServer::Counts()
{
    ServerCounts counts;
    m_implementation->Thread().Call([&] { counts = m_implementation->Counts(); });
    return counts;
}

} // namespace qx5::simulator
