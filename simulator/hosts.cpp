// The hosts of the simulated sonar: where it listens for them, and the connections that there are.
#include <simulator/hosts.h>

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

#include <simulator/platform/port_reuse.h>
#include <simulator/platform/socket_filter.h>

namespace qx5::simulator {

using asio::ip::tcp;
using ConnectionPointer = std::shared_ptr<HostConnection>;
using Clock = std::chrono::steady_clock;

Hosts::Hosts(asio::io_context& context, ServerOptions const& options, Misbehaviour& failures, HostedSonar& sonar)
    : m_context(context), m_options(options), m_failures(failures), m_sonar(sonar), m_spoiler(failures),
      m_acceptor(context), m_retryTimer(context)
{
}

std::optional<StartError> Hosts::Start()
{
    asio::error_code error;
    std::string const host = m_options.address == "localhost" ? "127.0.0.1" : m_options.address;
    auto const address = asio::ip::make_address(host, error);
    if (error) {
        return StartError{StartError::Kind::BadAddress,
                          "'" + m_options.address +
                              "' is no address to listen on; take one of this machine, such as 127.0.0.1"};
    }
    m_endpoint = tcp::endpoint(address, m_options.port);
    if (Listen(error)) {
        return std::nullopt;
    }
    // Asio has no name for it, and its codes do not compare with conditions of the standard library.
    bool const isNoAddressHere =
        std::error_code(error.value(), std::system_category()) == std::errc::address_not_available;
    std::string const where = "port " + std::to_string(m_options.port) + " on " + host;
    if (error == asio::error::address_in_use) {
        return StartError{StartError::Kind::PortInUse, where + " is in use; choose another, or 0 for any"};
    }
    if (error == asio::error::access_denied) {
        return StartError{StartError::Kind::Other, where + " may not be used; choose one above 1023, or 0 for any"};
    }
    if (isNoAddressHere || error == asio::error::address_family_not_supported) {
        return StartError{StartError::Kind::BadAddress,
                          "this machine has no address " + host + "; take one of its own, such as 127.0.0.1"};
    }
    return StartError{StartError::Kind::Other, where + ": " + error.message()};
}

bool Hosts::Listen(asio::error_code& error)
{
    asio::error_code ignored;
    m_acceptor.close(ignored);
    m_acceptor.open(m_endpoint.protocol(), error);
    if (error) {
        return false;
    }
    ReusePort(static_cast<int>(m_acceptor.native_handle()));
    m_acceptor.bind(m_endpoint, error);
    if (!error) {
        m_acceptor.listen(asio::socket_base::max_listen_connections, error);
    }
    if (error) {
        m_acceptor.close(ignored);
        return false;
    }
    m_endpoint = m_acceptor.local_endpoint(ignored); // keeps a port that the system chose
    if (m_failures.vanish) {
        DropWhatArrives(static_cast<int>(m_acceptor.native_handle()), true);
    }
    Accept();
    return true;
}

void Hosts::ListenAgain()
{
    if (!m_sonar.WantsHosts() || m_acceptor.is_open()) {
        return;
    }
    asio::error_code error;
    if (Listen(error)) {
        return;
    }
    // Somebody took the port meanwhile.
    m_sonar.OnNotice("cannot listen again: " + error.message() + "; trying once a second");
    m_retryTimer.expires_after(std::chrono::seconds(1));
    m_retryTimer.async_wait([this](asio::error_code const& waited) {
        if (!waited) {
            ListenAgain();
        }
    });
}

void Hosts::Accept()
{
    m_acceptor.async_accept([this](asio::error_code const& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted || !m_acceptor.is_open()) {
            return;
        }
        if (!error) {
            Take(std::move(socket));
            Accept();
            return;
        }
        // Out of descriptors or the like: not worth a busy loop.
        m_retryTimer.expires_after(std::chrono::milliseconds(100));
        m_retryTimer.async_wait([this](asio::error_code const& waited) {
            if (!waited && m_acceptor.is_open()) {
                Accept();
            }
        });
    });
}

void Hosts::StopListening()
{
    asio::error_code ignored;
    m_acceptor.close(ignored);
    m_retryTimer.cancel();
}

void Hosts::Take(tcp::socket socket)
{
    asio::error_code error;
    if (m_failures.refusal != Refusal::None || !MakeRoom()) {
        ++m_counts.refused;
        bool const full = m_failures.refusal == Refusal::None;
        socket.close(error);
        m_sonar.OnNotice(full ? "a connection was refused: there are too many" : "a connection was refused");
        return;
    }
    socket.set_option(tcp::no_delay(true), error);
    auto const remote = socket.remote_endpoint(error);
    auto const connection = std::make_shared<HostConnection>(*this, std::move(socket), ++m_lastNumber);
    ++m_counts.connections;
    m_connections.push_back(connection);
    m_sonar.OnHost(*connection,
                   error ? std::string("unknown") : remote.address().to_string() + ":" + std::to_string(remote.port()));
    connection->PumpWrites();
    connection->AwaitFirstFrame();
    connection->Read();
}

/// Sees to it that there is room for one more. Those who never sent a frame cannot keep a host out, nor can those who
/// sent one once and then nothing; a host that is at work keeps its place.
bool Hosts::MakeRoom()
{
    if (m_connections.size() < m_options.greatestConnections) {
        return true;
    }
    auto const place = [](ConnectionPointer const& each) { return std::pair(each->IsKnown(), each->Heard()); };
    auto const oldest =
        std::min_element(m_connections.begin(), m_connections.end(),
                         [&](ConnectionPointer const& a, ConnectionPointer const& b) { return place(a) < place(b); });
    if (oldest == m_connections.end() ||
        ((*oldest)->IsKnown() && Clock::now() - (*oldest)->Heard() < m_options.quietLimit)) {
        return false;
    }
    ConnectionPointer(*oldest)->Close("it gives way to another connection");
    return true;
}

void Hosts::BoundUnfinished()
{
    for (;;) {
        std::size_t sum = 0;
        for (ConnectionPointer const& connection : m_connections) {
            sum += connection->UnfinishedBytes();
        }
        if (sum <= m_options.greatestUnfinished) {
            return;
        }
        auto const weight = [](ConnectionPointer const& connection) {
            auto const bytes = connection->UnfinishedBytes();
            return std::pair(bytes > 0 && !connection->IsKnown(), bytes);
        };
        auto const heaviest = std::max_element(
            m_connections.begin(), m_connections.end(),
            [&](ConnectionPointer const& a, ConnectionPointer const& b) { return weight(a) < weight(b); });
        ConnectionPointer(*heaviest)->Close("unfinished frames take too much memory");
    }
}

bool Hosts::MayBeQuiet(HostConnection const& connection) const
{
    // Where this side does not listen, nobody can be heard; and a host that only reads may, while there is room.
    bool const isDeaf = m_failures.stall || m_failures.vanish || connection.HasHeldBytes();
    bool const onlyReads = connection.BytesReceived() == 0 && m_connections.size() <= m_options.greatestConnections / 2;
    return isDeaf || onlyReads;
}

void Hosts::OnFramesTaken()
{
    BoundUnfinished();
    m_sonar.OnFramesTaken();
}

void Hosts::OnClosed(HostConnection const& connection, std::string_view why)
{
    std::erase_if(m_connections, [&](ConnectionPointer const& each) { return each.get() == &connection; });
    connection.AddTo(m_counts);
    m_sonar.OnHostGone(connection, why);
}

void Hosts::CloseAll(std::string_view why)
{
    while (!m_connections.empty()) {
        ConnectionPointer(m_connections.back())->Close(why);
    }
}

void Hosts::Broadcast(SharedBytes const& bytes)
{
    auto const connections = m_connections; // Send may close one
    for (ConnectionPointer const& connection : connections) {
        connection->Send(bytes);
    }
}

ServerCounts Hosts::Counts() const
{
    ServerCounts counts = m_counts;
    counts.open = m_connections.size();
    for (ConnectionPointer const& connection : m_connections) {
        connection->AddTo(counts);
    }
    return counts;
}

void Hosts::WriteOn()
{
    auto const connections = m_connections; // writing may close one
    for (ConnectionPointer const& connection : connections) {
        connection->WriteOn();
    }
}

bool Hosts::Vanish(bool vanish)
{
    bool done = !IsListening() || DropWhatArrives(static_cast<int>(m_acceptor.native_handle()), vanish);
    for (ConnectionPointer const& connection : m_connections) {
        done = connection->DropWhatArrives(vanish) && done;
    }
    if (!done && vanish) {
        Vanish(false);
    }
    return done;
}

} // namespace qx5::simulator
