// Plain TCP connections on loopback.
#include "loopback.h"

#include <array>
#include <stdexcept>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

namespace {

void Check(bool good, char const* what)
{
    if (!good) {
        throw std::runtime_error(what);
    }
}

void WithoutDelay(int socket)
{
    int const on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

} // namespace

Listener::Listener() : m_socket(socket(AF_INET, SOCK_STREAM, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    Check(m_socket >= 0 && bind(m_socket, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
              listen(m_socket, 4) == 0 && getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &length) == 0,
          "cannot listen on loopback");
    m_port = ntohs(address.sin_port);
}

Listener::~Listener()
{
    close(m_socket);
}

int Listener::Accept()
{
    int const accepted = accept(m_socket, nullptr, nullptr);
    Check(accepted >= 0, "cannot accept");
    WithoutDelay(accepted);
    return accepted;
}

static int ConnectTo(std::uint16_t port)
{
    int const made = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    Check(made >= 0 && connect(made, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "cannot connect");
    WithoutDelay(made);
    return made;
}

void ConnectOnce(std::uint16_t port)
{
    close(ConnectTo(port));
}

Pair::Pair()
{
    Listener listener;
    near = ConnectTo(listener.Port());
    far = listener.Accept();
}

Pair::~Pair()
{
    close(near);
    close(far);
}

void CloseSocket(int socket)
{
    close(socket);
}

void ShutDown(int socket)
{
    shutdown(socket, SHUT_RDWR);
}

void SendAll(int socket, std::span<unsigned char const> bytes)
{
    while (!bytes.empty()) {
        ssize_t const sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        Check(sent > 0, "cannot send");
        bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
}

bool ReadAll(int socket, std::span<unsigned char> bytes)
{
    while (!bytes.empty()) {
        ssize_t const got = recv(socket, bytes.data(), bytes.size(), 0);
        if (got <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
    return true;
}

Drain::Drain(int socket)
    : m_socket(socket), m_thread([this] {
          std::vector<unsigned char> bytes(std::size_t{256} * 1024);
          for (;;) {
              ssize_t const got = recv(m_socket, bytes.data(), bytes.size(), 0);
              if (got <= 0) {
                  return;
              }
              std::uint64_t const total =
                  m_bytes.fetch_add(static_cast<std::uint64_t>(got)) + static_cast<std::uint64_t>(got);
              if (total >= m_wanted.load()) {
                  m_timesReached.fetch_add(1);
                  m_timesReached.notify_all();
              }
          }
      })
{
}

Drain::~Drain()
{
    shutdown(m_socket, SHUT_RDWR);
    m_thread.join();
}

void Drain::WaitFor(std::uint64_t bytes)
{
    m_wanted.store(bytes);
    for (auto times = m_timesReached.load(); m_bytes.load() < bytes; times = m_timesReached.load()) {
        m_timesReached.wait(times);
    }
    m_wanted.store(~std::uint64_t{0});
}

} // namespace bench
