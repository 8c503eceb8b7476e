// The echoes of the simulated sonar: which host wants them, when they are computed, and how they reach it.
#include <simulator/echo_service.h>

#include <utility>

#include <simulator/ping_settings_of.h>
#include <simulator/plural.h>

namespace qx5::simulator {

EchoService::EchoService(asio::io_context& context, EchoWorker::Hear hear, SonarState& state,
                         AnswerFrames const& frames, Hosts& hosts, EchoingSonar& sonar)
    : m_context(context), m_state(state), m_frames(frames), m_hosts(hosts), m_sonar(sonar), m_began(state.UtcSeconds()),
      m_inTheWater(frames.Heads().size()), m_worker(std::move(hear), [this](HeardPing heard) {
          asio::post(m_context, [this, heard = std::move(heard)] { OnHeard(heard); });
      })
{
}

void EchoService::Wish(HostConnection& host, std::span<std::int32_t const> heads, protocol::EchoWish wish)
{
    m_wasAsked = true;
    for (std::int32_t const head : heads) {
        host.SetWish(head, wish);
    }
}

protocol::EchoWish EchoService::WishFor(std::int32_t head) const
{
    protocol::EchoWish all;
    for (auto const& host : m_hosts.All()) {
        auto const wish = host->WishFor(head);
        all = {all.detections || wish.detections, all.waterColumn || wish.waterColumn};
    }
    return all;
}

void EchoService::OnPinged(Ping const& ping)
{
    auto& job = m_inTheWater[static_cast<std::size_t>(ping.head)];
    job.reset();
    auto tracking = TrackingOf(m_state);
    if (tracking || (m_wasAsked && WishFor(ping.head).IsAny())) {
        job = {ping.head,
               ping.number,
               ping.utcSeconds,
               ping.utcSeconds - m_began,
               PingSettingsOf(m_state),
               m_frames.SourceOf(ping.head),
               {},
               std::move(tracking)};
    }
}

void EchoService::OnEchoed(Ping const& ping)
{
    auto job = std::exchange(m_inTheWater[static_cast<std::size_t>(ping.head)], std::nullopt);
    if (!job || job->number != ping.number) {
        return;
    }
    job->wish = WishFor(ping.head); // somebody may have left meanwhile
    if (job->wish.IsAny() || job->tracking) {
        m_worker.Submit(std::move(*job));
    }
}

void EchoService::ForgetPings()
{
    for (auto& job : m_inTheWater) {
        job.reset();
    }
}

void EchoService::OnHeard(HeardPing const& heard)
{
    if (heard.failure != std::exchange(m_failure, heard.failure) && !heard.failure.empty()) {
        m_sonar.OnNotice("nothing is heard: " + heard.failure);
    }
    if (heard.tracked && TakeUp(*heard.tracked, heard.settings, m_state)) {
        m_sonar.StateChanged();
    }
    if (!m_hosts.Failures().silent) {
        Send(heard);
    }
}

void EchoService::Send(HeardPing const& heard)
{
    auto const send = [&](HostConnection& host, EchoKind kind, SharedBytes const& frame) {
        if (!frame) {
            ++m_tooLarge;
        } else if (host.SendEchoes(frame, heard.head, kind)) {
            ++m_sent;
        } else {
            ++m_dropped;
        }
    };
    for (auto const& host : m_hosts.All()) { // sending may close one
        auto const wish = host->WishFor(heard.head);
        if (wish.detections && heard.wish.detections) {
            send(*host, EchoKind::Detections, heard.detections);
        }
        if (wish.waterColumn && heard.wish.waterColumn) {
            send(*host, EchoKind::WaterColumn, heard.waterColumn);
        }
    }
}

void EchoService::AddTo(ServerCounts& counts) const
{
    counts.echoesSent = m_sent;
    counts.echoesDropped = m_dropped;
    counts.pingsNotComputed = m_worker.Skipped();
}

std::string EchoService::StatusText() const
{
    if (!m_wasAsked) {
        return {};
    }
    return "; echoes: " + Plural(m_sent, "frame") + " given to hosts, " + std::to_string(m_dropped) +
           " not, as those before had not gone, " + std::to_string(m_tooLarge) + " too large for a record, " +
           Plural(m_worker.Skipped(), "ping") + " left out, as the sonar was not done with those before";
}

} // namespace qx5::simulator
