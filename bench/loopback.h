// Plain TCP connections on loopback, for the far end and for the bare programs that set the floor.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <thread>

namespace bench {

/// A listening socket on 127.0.0.1 with a port of the system's choice.
class Listener
{
public:
    Listener();
    Listener(Listener const&) = delete;
    Listener& operator=(Listener const&) = delete;
    ~Listener();
    std::uint16_t Port() const { return m_port; }
    /// Waits for a connection; the caller closes it.
    int Accept();

private:
    int m_socket;
    std::uint16_t m_port = 0;
};

/// Connects to a port of loopback and closes at once, to wake a listener.
void ConnectOnce(std::uint16_t port);

/// Two ends of one connection, both without delay.
struct Pair
{
    Pair();
    Pair(Pair const&) = delete;
    Pair& operator=(Pair const&) = delete;
    ~Pair();
    int near = -1;
    int far = -1;
};

void CloseSocket(int socket);
/// Ends both directions, so that a thread that reads comes back.
void ShutDown(int socket);
void SendAll(int socket, std::span<unsigned char const> bytes);
/// False when the other end has closed.
bool ReadAll(int socket, std::span<unsigned char> bytes);

/// Reads what arrives and counts it, on a thread of its own, while it is not paused.
class Drain
{
public:
    explicit Drain(int socket);
    Drain(Drain const&) = delete;
    Drain& operator=(Drain const&) = delete;
    /// Ends the connection.
    ~Drain();

    std::uint64_t Bytes() const { return m_bytes.load(); }
    std::thread::native_handle_type Thread() { return m_thread.native_handle(); }
    /// Waits until so many bytes have arrived in all.
    void WaitFor(std::uint64_t bytes);

private:
    int m_socket;
    std::atomic<std::uint64_t> m_bytes{0};
    std::atomic<std::uint64_t> m_wanted{~std::uint64_t{0}};
    /// Who waits for what changes with all that arrives never rests, and takes a processor from who sends.
    std::atomic<std::uint32_t> m_timesReached{0};
    std::thread m_thread;
};

} // namespace bench
