// The host's end of a link for tests: a plain socket, frames assembled byte by byte, answers taken apart.
#pragma once

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <protocol/frame_reader.h>
#include <protocol/house_records.h>
#include <protocol/tree_codec.h>

namespace qx5::simulator::test {

using Bytes = std::vector<unsigned char>;
constexpr std::chrono::seconds Deadline{20};

/// "05 00 3c" to bytes.
inline Bytes Hex(std::string_view text)
{
    Bytes bytes;
    int high = -1;
    for (char const character : text) {
        int const digit = character >= '0' && character <= '9'   ? character - '0'
                          : character >= 'a' && character <= 'f' ? character - 'a' + 10
                          : character >= 'A' && character <= 'F' ? character - 'A' + 10
                                                                 : -1;
        if (digit < 0) {
            continue;
        }
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<unsigned char>(high * 16 + digit));
            high = -1;
        }
    }
    return bytes;
}

inline void Append32(Bytes& bytes, std::uint32_t value)
{
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<unsigned char>(value >> shift));
    }
}

/// A frame of a data record to the device's own sonar, without a time.
inline Bytes DataFrame(std::uint32_t recordId, Bytes const& data)
{
    Bytes frame = Hex("05 00 3c 00 ff ff 00 00");
    Append32(frame, static_cast<std::uint32_t>(data.size() + 68));
    frame.resize(30);
    frame.insert(frame.end(), {0x01, 0x00});
    Append32(frame, recordId);
    frame.resize(42);
    frame.insert(frame.end(), {0xff, 0xff});
    frame.resize(64);
    frame.insert(frame.end(), data.begin(), data.end());
    frame.resize(frame.size() + 4);
    return frame;
}

inline Bytes Command(std::uint32_t commandId, Bytes const& payload = {})
{
    Bytes data;
    Append32(data, commandId);
    Append32(data, commandId);
    data.resize(24);
    data.insert(data.end(), payload.begin(), payload.end());
    return DataFrame(7500, data);
}

inline Bytes RecordRequest(std::uint32_t recordId)
{
    Bytes payload;
    Append32(payload, recordId);
    return Command(90001, payload);
}

/// Range 50 m, all 96 bytes as a host sends them.
inline Bytes RangeFifty()
{
    return Hex("05 00 3c 00 ff ff 00 00 60 00 00 00 00 00 00 00"
               "00 00 00 00 e7 07 3e 01 00 00 a0 41 16 0d 01 00"
               "4c 1d 00 00 00 00 00 00 00 00 ff ff 00 00 00 00"
               "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
               "eb 03 00 00 eb 03 00 00 00 00 00 00 00 00 00 00"
               "00 00 00 00 00 00 00 00 00 00 48 42 00 00 00 00");
}

template <typename Condition>
bool WaitUntil(Condition&& condition)
{
    auto const deadline = std::chrono::steady_clock::now() + Deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// A connection to a sonar on this machine. All waits end with the deadline.
class Host
{
public:
    explicit Host(std::uint16_t port) : m_socket(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_connected = connect(m_socket, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;
        int const on = 1;
        setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    Host(Host const&) = delete;
    Host& operator=(Host const&) = delete;
    ~Host() { close(m_socket); }

    bool Connected() const { return m_connected; }

    bool Send(Bytes const& bytes) { return Send(bytes.data(), bytes.size()); }
    bool Send(unsigned char const* bytes, std::size_t count)
    {
        while (count > 0) {
            ssize_t const sent = send(m_socket, bytes, count, MSG_NOSIGNAL);
            if (sent <= 0) {
                return false;
            }
            bytes += sent;
            count -= static_cast<std::size_t>(sent);
        }
        return true;
    }
    /// As much as the system takes without waiting.
    std::size_t SendSome(Bytes const& bytes)
    {
        ssize_t const sent = send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        return sent > 0 ? static_cast<std::size_t>(sent) : 0;
    }

    /// Reads once; false at the deadline or when the link has ended.
    bool Receive(std::chrono::milliseconds limit = Deadline)
    {
        pollfd wait{m_socket, POLLIN, 0};
        if (poll(&wait, 1, static_cast<int>(limit.count())) <= 0) {
            return false;
        }
        unsigned char buffer[65536];
        ssize_t const count = recv(m_socket, buffer, sizeof buffer, 0);
        if (count <= 0) {
            m_ended = true;
            return false;
        }
        auto const arrived = std::span<unsigned char const>(buffer, static_cast<std::size_t>(count));
        m_bytes.insert(m_bytes.end(), arrived.begin(), arrived.end());
        m_reader.Feed(arrived);
        return true;
    }

    /// Waits for the next good frame, which is LastFrame then; false at the deadline or when the link has ended.
    bool Frame()
    {
        auto const deadline = std::chrono::steady_clock::now() + Deadline;
        while (std::chrono::steady_clock::now() < deadline) {
            if (auto const frame = m_reader.Next()) {
                m_lastFrame.assign(frame->bytes.begin(), frame->bytes.end());
                m_lastId = frame->header.recordId;
                return true;
            }
            if (!Receive() && m_ended) {
                return false;
            }
        }
        return false;
    }

    /// The next attribute tree; nothing at the deadline or when the link has ended.
    std::optional<std::vector<protocol::TreeNode>> Tree()
    {
        while (Frame()) {
            if (m_lastId == 90010) {
                std::string error;
                auto tree = protocol::DecodeTree(LastData(), error);
                m_trees.push_back(tree.value_or(std::vector<protocol::TreeNode>()));
                return tree;
            }
        }
        return std::nullopt;
    }

    /// Waits for a tree that has a node of that key at the top, and gives its value.
    std::optional<protocol::Value> Told(std::wstring_view key)
    {
        while (auto const tree = Tree()) {
            m_lastTree = *tree;
            for (auto const& node : *tree) {
                if (node.key == key) {
                    return node.value;
                }
            }
        }
        return std::nullopt;
    }

    /// Waits for the end of the link.
    bool Ends()
    {
        auto const deadline = std::chrono::steady_clock::now() + Deadline;
        while (!m_ended && std::chrono::steady_clock::now() < deadline) {
            Receive();
        }
        return m_ended;
    }

    std::vector<protocol::TreeNode> const& LastTree() const { return m_lastTree; }
    /// All that were waited for.
    std::vector<std::vector<protocol::TreeNode>> const& Trees() const { return m_trees; }
    Bytes const& LastFrame() const { return m_lastFrame; }
    std::uint32_t LastId() const { return m_lastId; }
    /// The last frame without header and trailing word.
    std::span<unsigned char const> LastData() const
    {
        return std::span(m_lastFrame).subspan(64, m_lastFrame.size() - 68);
    }
    /// Sent, and not yet with the sonar's system.
    int UnacknowledgedBytes() const
    {
        int bytes = 0;
        return ioctl(m_socket, SIOCOUTQ, &bytes) == 0 ? bytes : -1;
    }
    int Socket() const { return m_socket; }
    bool Ended() const { return m_ended; }
    Bytes const& AllBytes() const { return m_bytes; }
    protocol::FrameReader const& Reader() const { return m_reader; }

private:
    int m_socket;
    bool m_connected = false;
    bool m_ended = false;
    Bytes m_bytes;
    Bytes m_lastFrame;
    std::uint32_t m_lastId = 0;
    std::vector<protocol::TreeNode> m_lastTree;
    std::vector<std::vector<protocol::TreeNode>> m_trees;
    protocol::FrameReader m_reader;
};

} // namespace qx5::simulator::test
