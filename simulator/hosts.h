// The hosts of the simulated sonar: where it listens for them, and the connections that there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <asio.hpp>

#include <simulator/frame_spoiler.h>
#include <simulator/host_connection.h>
#include <simulator/misbehaviour.h>
#include <simulator/sonar_server.h>

namespace qx5::simulator {

/// The sonar that hosts are connected to. A call may close connections.
class HostedSonar
{
public:
    /// Whether hosts are to be listened for at present.
    virtual bool WantsHosts() const = 0;
    /// A host has connected; `address` is where from.
    virtual void OnHost(HostConnection& host, std::string_view address) = 0;
    virtual void OnFrame(HostConnection& from, protocol::FrameView const& frame) = 0;
    /// All good frames of what had arrived from a host were taken.
    virtual void OnFramesTaken() = 0;
    virtual void OnDamage(HostConnection const& from, protocol::Damage damage) = 0;
    /// What leaves when nothing else is to leave; nothing for nothing.
    virtual SharedBytes NextFlood(HostConnection& to) = 0;
    /// Told once for each.
    virtual void OnHostGone(HostConnection const& host, std::string_view why) = 0;
    /// A line about one that was refused, or about not being able to listen.
    virtual void OnNotice(std::string_view text) = 0;

protected:
    ~HostedSonar() = default;
};

/// Listens, takes connections in, and bounds their number and their memory. Sonar's thread alone, but for Start.
class Hosts
{
public:
    /// All references are to what outlives this.
    Hosts(asio::io_context& context, ServerOptions const& options, Misbehaviour& failures, HostedSonar& sonar);

    /// Listens where the options say. Nothing on success. Before the thread begins.
    std::optional<StartError> Start();
    /// Listens where it listened, where it does not and the sonar wants hosts; until it can, once a second.
    void ListenAgain();
    void StopListening();
    bool IsListening() const { return m_acceptor.is_open(); }
    /// Where it listens or listened.
    std::uint16_t Port() const { return m_endpoint.port(); }

    void CloseAll(std::string_view why);
    void Broadcast(SharedBytes const& bytes);
    /// The connections as they are now; a call to one may close others.
    std::vector<std::shared_ptr<HostConnection>> All() const { return m_connections; }
    std::size_t Number() const { return m_connections.size(); }
    ServerCounts Counts() const;

    /// Nothing that arrives is acknowledged from now on, or again. False where the system cannot; nothing has changed
    /// then.
    bool Vanish(bool vanish);
    /// After a change of failures: what waits for a time or for another change looks again.
    void WriteOn();
    /// The next frame is lied about, if any.
    void BeginLies() { m_spoiler.BeginLies(); }

    // For connections.
    asio::io_context& Context() { return m_context; }
    ServerOptions const& Options() const { return m_options; }
    Misbehaviour const& Failures() const { return m_failures; }
    FrameSpoiler& Spoiler() { return m_spoiler; }
    HostedSonar& Sonar() { return m_sonar; }
    void OnFramesTaken();
    void OnClosed(HostConnection const& connection, std::string_view why);
    /// Whether the host, which has sent no frame for `quietLimit`, may stay for another while.
    bool MayBeQuiet(HostConnection const& connection) const;

private:
    bool Listen(asio::error_code& error);
    void Accept();
    void Take(asio::ip::tcp::socket socket);
    bool MakeRoom();
    void BoundUnfinished();

    asio::io_context& m_context;
    ServerOptions const& m_options;
    Misbehaviour& m_failures;
    HostedSonar& m_sonar;
    FrameSpoiler m_spoiler;
    asio::ip::tcp::acceptor m_acceptor;
    asio::ip::tcp::endpoint m_endpoint;
    asio::steady_timer m_retryTimer;
    std::vector<std::shared_ptr<HostConnection>> m_connections;
    ServerCounts m_counts; // of connections that ended, and of those that were refused
    std::uint64_t m_lastNumber = 0;
};

} // namespace qx5::simulator
