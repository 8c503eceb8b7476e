// A sonar on the network that only tells: hosts connect, are given frames, and what they send is read and left.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace qx5::cli {

struct ReplayServerOptions
{
    std::uint16_t port = 0; ///< on 127.0.0.1; 0 for any that is free
    // On the server's thread, one call at a time; must not wait.
    /// What a host is given first when it connects; empty for nothing.
    std::function<std::vector<unsigned char>()> welcome = {};
    /// All hosts that are connected have been given that frame.
    std::function<void(std::span<unsigned char const> frame)> told = {};
    /// A line on a host that came or went.
    std::function<void(std::string const&)> notice = {};
};

/// Has a thread of its own.
class ReplayServer
{
public:
    /// Bytes that may wait for all hosts together.
    static constexpr std::size_t GreatestWaiting = std::size_t{16} << 20;
    /// A host that has taken nothing for so long while so much waits is disconnected.
    static constexpr std::chrono::seconds Patience{5};

    /// Listens. Throws std::runtime_error, in one line, where that cannot be.
    explicit ReplayServer(ReplayServerOptions options);
    ReplayServer(ReplayServer const&) = delete;
    ReplayServer& operator=(ReplayServer const&) = delete;
    /// Closes all connections; what was told leaves before, unless a host does not take it within a second.
    ~ReplayServer();

    std::uint16_t Port() const;
    /// Gives the frame to all hosts that are connected. Waits while much waits for them already, up to `Patience` for
    /// one that takes nothing. Any thread but the server's.
    void Tell(std::span<unsigned char const> frame);
    /// Waits until a host has connected. Any thread.
    void WaitForHost();
    /// Waits until the system has taken all that was told to hosts that are still there, or nothing of it for
    /// `Patience`. Any thread.
    void WaitUntilTold();

    std::uint64_t HostsSoFar() const;
    std::uint64_t BytesRead() const; ///< of all hosts

private:
    class Body;
    std::unique_ptr<Body> m_body;
};

} // namespace qx5::cli
