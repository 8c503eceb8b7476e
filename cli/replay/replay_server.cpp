// A sonar on the network that only tells.
#include "replay_server.h"

#include "simulator/platform/port_reuse.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

#include <asio.hpp>
#include <fmt/format.h>

namespace qx5::cli {

namespace {

using asio::ip::tcp;
using SharedFrame = std::shared_ptr<std::vector<unsigned char> const>;

/// What a host that takes nothing may cost at the end.
constexpr std::chrono::seconds farewell{1};

} // namespace

class ReplayServer::Body
{
public:
    explicit Body(ReplayServerOptions options) : m_options(std::move(options)), m_acceptor(m_context)
    {
        asio::error_code error;
        tcp::endpoint const endpoint(asio::ip::address_v4::loopback(), m_options.port);
        m_acceptor.open(endpoint.protocol(), error);
        simulator::ReusePort(static_cast<int>(m_acceptor.native_handle()));
        m_acceptor.bind(endpoint, error);
        if (!error) {
            m_acceptor.listen(asio::socket_base::max_listen_connections, error);
        }
        if (error == asio::error::address_in_use) {
            throw std::runtime_error(
                fmt::format("port {} on 127.0.0.1 is in use; choose another, or 0 for any", m_options.port));
        }
        if (error) {
            throw std::runtime_error(fmt::format("port {} on 127.0.0.1: {}", m_options.port, error.message()));
        }
        m_port = m_acceptor.local_endpoint().port();
        Accept();
        m_thread = std::thread([this] { m_context.run(); });
    }

    ~Body()
    {
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait_for(lock, farewell, [this] { return m_waiting == 0; });
        }
        asio::post(m_context, [this] {
            asio::error_code ignored;
            m_acceptor.close(ignored);
            for (auto const& host : std::set(m_hosts)) {
                Close(host, "");
            }
            m_context.stop();
        });
        m_thread.join();
    }

    std::uint16_t Port() const { return m_port; }

    void Tell(std::span<unsigned char const> frame)
    {
        auto const shared = std::make_shared<std::vector<unsigned char> const>(frame.begin(), frame.end());
        {
            std::unique_lock lock(m_mutex);
            while (m_waitingBytes > GreatestWaiting) {
                auto const before = m_waitingBytes;
                if (!m_changed.wait_for(lock, Patience, [&] { return m_waitingBytes != before; })) {
                    asio::post(m_context, [this] { CloseSlow(); });
                    m_changed.wait(lock, [&] { return m_waitingBytes != before; });
                }
            }
            ++m_waiting;
        }
        asio::post(m_context, [this, shared] {
            for (auto const& host : std::set(m_hosts)) {
                Give(host, shared);
            }
            if (m_options.told) {
                m_options.told(*shared);
            }
            Done();
        });
    }

    void WaitForHost()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_hostsSoFar != 0; });
    }

    void WaitUntilTold()
    {
        std::unique_lock lock(m_mutex);
        for (bool goesOn = true; goesOn && m_waiting != 0;) {
            auto const before = m_waiting;
            goesOn = m_changed.wait_for(lock, Patience, [&] { return m_waiting != before; });
        }
    }

    std::uint64_t HostsSoFar() const
    {
        std::lock_guard const lock(m_mutex);
        return m_hostsSoFar;
    }

    std::uint64_t BytesRead() const { return m_bytesRead.load(); }

private:
    struct Host
    {
        explicit Host(tcp::socket hostSocket) : socket(std::move(hostSocket)) {}

        tcp::socket socket;
        std::string address;
        std::array<unsigned char, 16384> read{};
        std::deque<SharedFrame> waiting; ///< the first is leaving
        std::size_t waitingBytes = 0;
        bool isOpen = true;
    };
    using SharedHost = std::shared_ptr<Host>;

    void Accept()
    {
        m_acceptor.async_accept([this](asio::error_code error, tcp::socket socket) {
            if (error) {
                if (error != asio::error::operation_aborted) {
                    Accept();
                }
                return;
            }
            auto const host = std::make_shared<Host>(std::move(socket));
            asio::error_code ignored;
            host->socket.set_option(tcp::no_delay(true), ignored);
            host->address = fmt::format("127.0.0.1:{}", host->socket.remote_endpoint(ignored).port());
            m_hosts.insert(host);
            Notice(fmt::format("a host connected from {}", host->address));
            if (m_options.welcome) {
                if (auto welcome = m_options.welcome(); !welcome.empty()) {
                    Give(host, std::make_shared<std::vector<unsigned char> const>(std::move(welcome)));
                }
            }
            Read(host);
            {
                std::lock_guard const lock(m_mutex);
                ++m_hostsSoFar;
            }
            m_changed.notify_all();
            Accept();
        });
    }

    void Read(SharedHost const& host)
    {
        host->socket.async_read_some(asio::buffer(host->read), [this, host](asio::error_code error, std::size_t count) {
            m_bytesRead += count;
            if (error) {
                Close(host, error == asio::error::eof ? "it closed the link" : error.message());
                return;
            }
            Read(host);
        });
    }

    void Give(SharedHost const& host, SharedFrame const& frame)
    {
        if (!host->isOpen || frame->empty()) {
            return;
        }
        host->waiting.push_back(frame);
        host->waitingBytes += frame->size();
        {
            std::lock_guard const lock(m_mutex);
            ++m_waiting;
            m_waitingBytes += frame->size();
        }
        if (host->waiting.size() == 1) {
            Write(host);
        }
    }

    void Write(SharedHost const& host)
    {
        asio::async_write(host->socket, asio::buffer(*host->waiting.front()),
                          [this, host](asio::error_code error, std::size_t) {
                              if (error || !host->isOpen) {
                                  Close(host, error.message());
                                  return;
                              }
                              auto const size = host->waiting.front()->size();
                              host->waitingBytes -= size;
                              host->waiting.pop_front();
                              {
                                  std::lock_guard const lock(m_mutex);
                                  m_waitingBytes -= size;
                              }
                              if (!host->waiting.empty()) {
                                  Write(host);
                              }
                              Done();
                          });
    }

    void Close(SharedHost const& host, std::string const& why)
    {
        if (!std::exchange(host->isOpen, false)) {
            return;
        }
        asio::error_code ignored;
        host->socket.close(ignored);
        m_hosts.erase(host);
        {
            std::lock_guard const lock(m_mutex);
            m_waiting -= host->waiting.size();
            m_waitingBytes -= host->waitingBytes;
        }
        m_changed.notify_all();
        if (!why.empty()) {
            Notice(fmt::format("the host at {} has gone: {}", host->address, why));
        }
    }

    /// The one for which most waits.
    void CloseSlow()
    {
        auto const slowest = std::max_element(m_hosts.begin(), m_hosts.end(), [](auto const& one, auto const& other) {
            return one->waitingBytes < other->waitingBytes;
        });
        if (slowest != m_hosts.end()) {
            Close(SharedHost(*slowest), "it does not read");
        }
    }

    void Done()
    {
        {
            std::lock_guard const lock(m_mutex);
            --m_waiting;
        }
        m_changed.notify_all();
    }

    void Notice(std::string const& line)
    {
        if (m_options.notice) {
            m_options.notice(line);
        }
    }

    ReplayServerOptions const m_options;
    asio::io_context m_context;
    tcp::acceptor m_acceptor;
    std::uint16_t m_port = 0;
    std::set<SharedHost> m_hosts; ///< the thread's own
    std::atomic<std::uint64_t> m_bytesRead{0};
    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::uint64_t m_hostsSoFar = 0;
    std::size_t m_waitingBytes = 0;
    std::uint64_t m_waiting = 0; ///< frames to tell, and frames for one host each
    std::thread m_thread;
};

ReplayServer::ReplayServer(ReplayServerOptions options) : m_body(std::make_unique<Body>(std::move(options))) {}

ReplayServer::~ReplayServer() = default;

std::uint16_t ReplayServer::Port() const
{
    return m_body->Port();
}

void ReplayServer::Tell(std::span<unsigned char const> frame)
{
    m_body->Tell(frame);
}

void ReplayServer::WaitForHost()
{
    m_body->WaitForHost();
}

void ReplayServer::WaitUntilTold()
{
    m_body->WaitUntilTold();
}

std::uint64_t ReplayServer::HostsSoFar() const
{
    return m_body->HostsSoFar();
}

std::uint64_t ReplayServer::BytesRead() const
{
    return m_body->BytesRead();
}

} // namespace qx5::cli
