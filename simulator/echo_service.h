// The echoes of the simulated sonar: which host wants them, when they are computed, and how they reach it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <asio.hpp>

#include <simulator/answer_frames.h>
#include <simulator/echo_worker.h>
#include <simulator/hosts.h>
#include <simulator/pinging.h>
#include <simulator/sonar_state.h>

namespace qx5::simulator {

/// Whose echoes they are.
class EchoingSonar
{
public:
    virtual void OnNotice(std::string_view text) = 0;
    /// The tracker has changed its settings.
    virtual void StateChanged() = 0;

protected:
    ~EchoingSonar() = default;
};

/// Nothing is computed while nobody wants anything and the tracker is off: the worker begins with the first ping that
/// is to be heard. Sonar's
/// thread alone, but for Stop.
class EchoService
{
public:
    /// All references are to what outlives this. `hear` is called on the worker's thread.
    EchoService(asio::io_context& context, EchoWorker::Hear hear, SonarState& state, AnswerFrames const& frames,
                Hosts& hosts, EchoingSonar& sonar);
    EchoService(EchoService const&) = delete;
    EchoService& operator=(EchoService const&) = delete;
    ~EchoService() = default;

    /// What a host wants from now on of these heads.
    void Wish(HostConnection& host, std::span<std::int32_t const> heads, protocol::EchoWish wish);
    /// Keeps what the sonar is set to at this moment, if anybody wants to know what comes of it.
    void OnPinged(Ping const& ping);
    /// The echoes may be computed and sent.
    void OnEchoed(Ping const& ping);
    /// Forgets pings that are in the water.
    void ForgetPings();
    /// Ends the worker; when the sonar's thread has ended.
    void Stop() { m_worker.Stop(); }

    void AddTo(ServerCounts& counts) const;
    /// "; echoes: ..."; empty as long as nobody has asked for any.
    std::string StatusText() const;

private:
    protocol::EchoWish WishFor(std::int32_t head) const;
    void OnHeard(HeardPing const& heard);
    void Send(HeardPing const& heard);

    asio::io_context& m_context;
    SonarState& m_state;
    AnswerFrames const& m_frames;
    Hosts& m_hosts;
    EchoingSonar& m_sonar;
    double const m_began;
    std::vector<std::optional<EchoJob>> m_inTheWater; ///< by head
    bool m_wasAsked = false;
    std::uint64_t m_sent = 0;
    std::uint64_t m_dropped = 0;
    std::uint64_t m_tooLarge = 0;
    std::string m_failure; ///< that was told last
    EchoWorker m_worker;   // ends before what it posts to
};

} // namespace qx5::simulator
