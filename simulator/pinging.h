// When the heads of the simulated sonar transmit, and for how long they then listen.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <asio.hpp>

#include <simulator/sonar_state.h>

namespace qx5::simulator {

/// One ping of one head.
struct Ping
{
    std::int32_t head = 0; ///< from 0
    std::int32_t number = 0;
    double utcSeconds = 0.0;
    double range = 0.0;      ///< m
    double travelTime = 0.0; ///< s
    bool commanded = false;
};

/// Who is told of pings. A call may command further ones.
class PingingSonar
{
public:
    virtual bool MayPing() const = 0;
    virtual void OnPinged(Ping const& ping) = 0;
    /// Its echoes are in; the head's next ping may follow.
    virtual void OnEchoed(Ping const& ping) = 0;
    /// Such as that too many pings wait already.
    virtual void OnNotice(std::string_view text) = 0;

protected:
    ~PingingSonar() = default;
};

/// Pings at the rate that the sonar's state tells, and at command. Each head has one ping in the water at a time.
/// Sonar's thread alone.
class Pinging
{
public:
    /// The state is the sonar's and outlives this, as the sonar does.
    Pinging(asio::io_context& context, SonarState& state, PingingSonar& sonar);

    /// One ping of each of these heads; one that listens pings when its echoes are in. Tells what came of it.
    std::string PingAtCommand(std::span<std::int32_t const> heads, bool& done);
    /// After a change of the state: times the next ping by rate anew.
    void Schedule();
    /// Forgets what is under way or waits.
    void Stop();
    /// As if it had never pinged.
    void StartAnew();
    std::uint64_t Count() const { return m_count; }

private:
    /// What one head transmits and listens to.
    struct Head
    {
        Head(asio::io_context& context, std::int32_t itsNumber) : number(itsNumber), echoTimer(context) {}

        std::int32_t number;
        asio::steady_timer echoTimer;
        std::optional<Ping> inTheWater;
        SteadyTime listensUntil; // to the last ping
        std::size_t waiting = 0; // pings that were commanded while it listened
    };

    bool IsListening() const;
    void Transmit(Head& head, bool commanded);
    void AwaitEchoes(Head& head);
    void EchoesAreIn(Head& head);

    SonarState& m_state;
    PingingSonar& m_sonar;
    asio::steady_timer m_timer;
    bool m_isScheduled = false;
    bool m_hasPinged = false;
    SteadyTime m_lastPing;     // when it was due
    std::vector<Head> m_heads; // all there from the beginning; their timers' handlers refer to them
    std::uint64_t m_count = 0;
};

} // namespace qx5::simulator
