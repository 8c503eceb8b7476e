// When the heads of the simulated sonar transmit, and for how long they then listen.
#include <simulator/pinging.h>

#include <algorithm>
#include <utility>

namespace qx5::simulator {

using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t GreatestPingsWaiting = 64;

} // namespace

Pinging::Pinging(asio::io_context& context, SonarState& state, PingingSonar& sonar)
    : m_state(state), m_sonar(sonar), m_timer(context)
{
    m_heads.reserve(static_cast<std::size_t>(state.Heads()));
    for (std::int32_t number = 0; number < state.Heads(); ++number) {
        m_heads.emplace_back(context, number);
    }
}

void Pinging::Schedule()
{
    double const rate = m_state.PingRate();
    if (!m_sonar.MayPing() || !m_state.PingsOn() || !(rate > 0.0)) {
        if (std::exchange(m_isScheduled, false)) {
            m_timer.cancel();
        }
        return;
    }
    // No faster than the echoes come in, and from ping to ping on the steady clock, so that nothing adds up.
    auto const byRate = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / rate));
    auto const interval = std::max<Clock::duration>({byRate, m_state.TravelTime(), std::chrono::milliseconds(1)});
    auto const now = Clock::now();
    SteadyTime due = m_hasPinged ? std::max(m_lastPing + interval, now) : now;
    for (Head const& head : m_heads) {
        due = std::max(due, head.listensUntil);
    }
    if (m_isScheduled && m_timer.expiry() == due) {
        return;
    }
    m_isScheduled = true;
    m_timer.expires_at(due);
    m_timer.async_wait([this](asio::error_code const& error) {
        if (error || !m_isScheduled) {
            return; // timed anew, or not wanted any more
        }
        m_isScheduled = false;
        // A command may have been quicker.
        if (!IsListening()) {
            m_lastPing = m_timer.expiry();
            m_hasPinged = true;
            for (Head& head : m_heads) {
                Transmit(head, false);
            }
        }
        Schedule();
    });
}

void Pinging::Stop()
{
    m_isScheduled = false;
    m_timer.cancel();
    for (Head& head : m_heads) {
        head.echoTimer.cancel();
        head.inTheWater.reset();
        head.waiting = 0;
    }
}

void Pinging::StartAnew()
{
    m_hasPinged = false;
    for (Head& head : m_heads) {
        head.listensUntil = {};
    }
}

bool Pinging::IsListening() const
{
    auto const now = Clock::now();
    return std::any_of(m_heads.begin(), m_heads.end(), [&](Head const& head) { return head.listensUntil > now; });
}

std::string Pinging::PingAtCommand(std::span<std::int32_t const> heads, bool& done)
{
    done = true;
    std::string text = "no head pings";
    for (std::int32_t const number : heads) {
        Head& head = m_heads[static_cast<std::size_t>(number)];
        if (head.listensUntil <= Clock::now()) {
            Transmit(head, true);
            text = "ping " + std::to_string(m_state.Pings());
        } else if (head.waiting < GreatestPingsWaiting) {
            ++head.waiting;
            text = "the sonar listens; the ping waits until the echoes are in";
        } else {
            text = "too many pings wait; this one is left out";
            m_sonar.OnNotice(text);
            done = false;
        }
    }
    return text;
}

void Pinging::Transmit(Head& head, bool commanded)
{
    if (!m_sonar.MayPing()) {
        return;
    }
    EchoesAreIn(head);     // of the ping before, if their timer is a little late
    if (head.inTheWater) { // whoever was told of them commanded another
        head.waiting += commanded ? 1U : 0U;
        return;
    }
    auto const [number, utcSeconds] = m_state.CountPing();
    ++m_count;
    auto const travelTime = m_state.TravelTime();
    Ping const ping{.head = head.number,
                    .number = number,
                    .utcSeconds = utcSeconds,
                    .range = m_state.DoubleOf(protocol::keys::x5Range),
                    .travelTime = std::chrono::duration<double>(travelTime).count(),
                    .commanded = commanded};
    head.inTheWater = ping;
    head.listensUntil = Clock::now() + travelTime;
    AwaitEchoes(head);
    m_sonar.OnPinged(ping);
}

void Pinging::AwaitEchoes(Head& head)
{
    head.echoTimer.expires_at(head.listensUntil);
    head.echoTimer.async_wait([this, &head](asio::error_code const& error) {
        if (error || head.listensUntil > Clock::now()) {
            return;
        }
        EchoesAreIn(head);
        if (head.waiting > 0 && !head.inTheWater) {
            --head.waiting;
            Transmit(head, true);
        }
    });
}

void Pinging::EchoesAreIn(Head& head)
{
    if (auto const ping = std::exchange(head.inTheWater, std::nullopt)) {
        m_sonar.OnEchoed(*ping);
    }
}

} // namespace qx5::simulator
