// What the tests of the link share: a peer on loopback, a listener that remembers, frames, and waiting with a deadline.
#pragma once

#include <reference_host/link/sonar_link.h>

#include <protocol/frame.h>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <mutex>
#include <span>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <linux/filter.h>
#include <sys/socket.h>

namespace vordal::test {

using Bytes = std::vector<unsigned char>;

/// Far beyond what anything here takes, so that it ends a test that has gone wrong and no other.
inline constexpr std::chrono::seconds Deadline{30};

/// A frame of record 7 with device 0, enumerator -1 and zero time, written byte by byte.
inline Bytes Frame(Bytes const& data)
{
    auto const size = data.size() + 68;
    Bytes bytes{5, 0, 60, 0, 0xFF, 0xFF, 0, 0};
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<unsigned char>((size >> shift) & 0xFFU));
    }
    bytes.resize(64, 0);
    bytes[30] = 1;
    bytes[32] = 7;
    bytes[42] = 0xFF;
    bytes[43] = 0xFF;
    bytes.insert(bytes.end(), data.begin(), data.end());
    bytes.resize(size, 0);
    return bytes;
}

/// A remote-control record of one command without payload, byte by byte.
inline Bytes Command(std::uint16_t id)
{
    Bytes data(24, 0);
    data[0] = data[4] = static_cast<unsigned char>(id & 0xFFU);
    data[1] = data[5] = static_cast<unsigned char>(id >> 8);
    auto frame = Frame(data);
    frame[32] = 0x4C; // 7500
    frame[33] = 0x1D;
    return frame;
}

/// Listens on a free port of loopback, takes one connection at a time and keeps what arrives.
class Peer
{
public:
    Peer()
    {
        using asio::ip::tcp;
        m_acceptor.open(tcp::v4());
        m_acceptor.bind(tcp::endpoint(asio::ip::address_v4::loopback(), 0));
        m_acceptor.listen();
        m_port = m_acceptor.local_endpoint().port();
        Accept();
        m_thread = std::thread([this] { m_context.run(); });
    }
    ~Peer()
    {
        m_context.stop();
        m_thread.join();
    }

    std::uint16_t Port() const { return m_port; }

    /// False when that many bytes, over all connections, have not come in time.
    bool WaitForBytes(std::size_t count)
    {
        return WaitFor([&] { return m_received.size() >= count; });
    }
    bool WaitForConnections(std::size_t count)
    {
        return WaitFor([&] { return m_connections >= count; });
    }
    Bytes Received()
    {
        std::lock_guard const lock(m_mutex);
        return m_received;
    }
    void Write(Bytes const& bytes)
    {
        Do([&] {
            asio::error_code ignored;
            asio::write(m_socket, asio::buffer(bytes), ignored);
        });
    }
    void Disconnect()
    {
        Do([&] {
            asio::error_code ignored;
            m_socket.close(ignored);
        });
    }
    /// What a pulled cable does: nothing that arrives is acknowledged from now on, no connection is taken.
    void Vanish()
    {
        Do([&] {
            DropWhatArrives(m_socket.native_handle());
            DropWhatArrives(m_acceptor.native_handle());
        });
    }
    void SetReading(bool reading)
    {
        Do([&] {
            m_wantsToRead = reading;
            Read();
        });
    }

private:
    template <typename Condition>
    bool WaitFor(Condition condition)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, Deadline, condition);
    }
    template <typename Command>
    void Do(Command command)
    {
        std::promise<void> done;
        asio::post(m_context, [&] {
            command();
            done.set_value();
        });
        done.get_future().wait();
    }
    /// A filter before the socket takes each segment away, as if it had never come.
    static void DropWhatArrives(int socket)
    {
        sock_filter nothing = BPF_STMT(BPF_RET | BPF_K, 0);
        sock_fprog const program{1, &nothing};
        if (::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof(program)) != 0) {
            throw std::system_error(errno, std::generic_category(), "no filter for a socket");
        }
    }
    void Accept()
    {
        m_acceptor.async_accept([this](asio::error_code error, asio::ip::tcp::socket socket) {
            if (error) {
                return;
            }
            m_socket = std::move(socket);
            m_reading = false;
            {
                std::lock_guard const lock(m_mutex);
                ++m_connections;
            }
            m_changed.notify_all();
            Read();
            Accept();
        });
    }
    void Read()
    {
        if (m_reading || !m_wantsToRead || !m_socket.is_open()) {
            return;
        }
        m_reading = true;
        m_socket.async_read_some(asio::buffer(m_buffer), [this](asio::error_code error, std::size_t count) {
            if (error == asio::error::operation_aborted) {
                return;
            }
            m_reading = false;
            {
                std::lock_guard const lock(m_mutex);
                m_received.insert(m_received.end(), m_buffer.begin(),
                                  m_buffer.begin() + static_cast<std::ptrdiff_t>(count));
            }
            m_changed.notify_all();
            if (!error) {
                Read();
            }
        });
    }

    asio::io_context m_context{1};
    asio::executor_work_guard<asio::io_context::executor_type> m_work{m_context.get_executor()};
    asio::ip::tcp::acceptor m_acceptor{m_context};
    asio::ip::tcp::socket m_socket{m_context};
    std::array<unsigned char, 65536> m_buffer{};
    std::uint16_t m_port = 0;
    bool m_reading = false;
    bool m_wantsToRead = true;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Bytes m_received;
    std::size_t m_connections = 0;
    std::thread m_thread;
};

/// Remembers all that a link tells.
class Listener : public SonarLinkListener
{
public:
    void OnLinkStatus(LinkStatus const& status) override
    {
        std::lock_guard const lock(m_mutex);
        m_statuses.push_back(status);
        m_changed.notify_all();
    }
    void OnLinkFrame(qx5::protocol::FrameView const& frame, double) override
    {
        std::function<void()> hook;
        {
            std::lock_guard const lock(m_mutex);
            m_frames.emplace_back(frame.bytes.begin(), frame.bytes.end());
            m_changed.notify_all();
            hook = onFrame;
        }
        if (hook) {
            hook();
        }
    }
    void OnLinkReport(std::string_view line) override
    {
        std::lock_guard const lock(m_mutex);
        m_reports.emplace_back(line);
        m_changed.notify_all();
    }

    bool WaitForFrames(std::size_t count)
    {
        return WaitFor([&] { return m_frames.size() >= count; });
    }
    /// How often the link has been in that state.
    bool WaitForState(LinkState state, std::size_t times = 1)
    {
        return WaitFor([&] {
            std::size_t count = 0;
            for (auto const& status : m_statuses) {
                count += status.state == state ? 1U : 0U;
            }
            return count >= times;
        });
    }
    bool WaitForReport()
    {
        return WaitFor([&] { return !m_reports.empty(); });
    }
    std::vector<LinkStatus> Statuses()
    {
        std::lock_guard const lock(m_mutex);
        return m_statuses;
    }
    std::vector<Bytes> Frames()
    {
        std::lock_guard const lock(m_mutex);
        return m_frames;
    }
    std::vector<std::string> Reports()
    {
        std::lock_guard const lock(m_mutex);
        return m_reports;
    }

    /// Called on the link thread after each frame; set it before the link is opened.
    std::function<void()> onFrame;

private:
    template <typename Condition>
    bool WaitFor(Condition condition)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, Deadline, condition);
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<LinkStatus> m_statuses;
    std::vector<Bytes> m_frames;
    std::vector<std::string> m_reports;
};

/// A link that does not keep a test waiting.
inline LinkOptions OptionsFor(std::uint16_t port)
{
    LinkOptions options;
    options.host = "127.0.0.1";
    options.port = port;
    options.backOff = {std::chrono::milliseconds(1), std::chrono::milliseconds(8), 0.0};
    // A busy machine is no pulled cable.
    options.watch.unacknowledged = std::chrono::minutes(1);
    return options;
}

/// Tries until it is true; false after the deadline.
template <typename Condition>
bool Eventually(Condition condition)
{
    auto const end = std::chrono::steady_clock::now() + Deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

} // namespace vordal::test
