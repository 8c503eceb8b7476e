// Two devices that hand us the packets of two networks, and a thread for each direction between them.
#include "lossy_link.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <fstream>
#include <random>
#include <string>
#include <system_error>
#include <vector>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(char const* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

void Require(bool holds, char const* what)
{
    if (!holds) {
        Fail(what);
    }
}

/// In the network that the thread is in.
void Raise(int socket, std::string const& device)
{
    ifreq request{};
    device.copy(request.ifr_name, IFNAMSIZ - 1);
    Require(::ioctl(socket, SIOCGIFFLAGS, &request) == 0, "flags of a network device");
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    Require(::ioctl(socket, SIOCSIFFLAGS, &request) == 0, "a network device that is to be up");
}

/// Leaves the network that the thread is in for a new one, with a device whose packets are read and written here.
int EnterNewNetwork(char const* address, char const* other)
{
    Require(::unshare(CLONE_NEWNET) == 0, "a network of one's own takes root");
    int const device = ::open("/dev/net/tun", O_RDWR | O_CLOEXEC | O_NONBLOCK);
    Require(device >= 0, "/dev/net/tun");
    std::string const name = "far0";
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    Require(::ioctl(device, TUNSETIFF, &request) == 0, "a network device for packets");
    int const socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    auto const setAddress = [&](unsigned long what, char const* text) {
        auto& place = reinterpret_cast<sockaddr_in&>(request.ifr_addr);
        place = {};
        place.sin_family = AF_INET;
        ::inet_pton(AF_INET, text, &place.sin_addr);
        Require(::ioctl(socket, what, &request) == 0, "the address of a network device");
    };
    setAddress(SIOCSIFADDR, address);
    setAddress(SIOCSIFDSTADDR, other);
    Raise(socket, name);
    Raise(socket, "lo");
    ::close(socket);
    // What is lost again is not waited for twice as long: as a broker's machine may have it set for far vessels.
    std::ofstream("/proc/sys/net/ipv4/tcp_thin_linear_timeouts") << 1;
    return device;
}

} // namespace

LossyLink::LossyLink(LossyLinkOptions const& options) : m_options(options)
{
    m_far = EnterNewNetwork(FarAddress, NearAddress);
    m_farNetwork = ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    Require(m_farNetwork >= 0, "/proc/thread-self/ns/net");
    m_near = EnterNewNetwork(NearAddress, FarAddress);
    m_toFar = std::thread([this] { Carry(m_near, m_far, 2 * m_options.seed); });
    m_toNear = std::thread([this] { Carry(m_far, m_near, 2 * m_options.seed + 1); });
}

LossyLink::~LossyLink()
{
    m_isEnding = true;
    m_toFar.join();
    m_toNear.join();
    ::close(m_near);
    ::close(m_far);
    ::close(m_farNetwork);
}

void LossyLink::EnterFarNetwork() const
{
    Require(::setns(m_farNetwork, CLONE_NEWNET) == 0, "the far network");
}

void LossyLink::Carry(int from, int to, std::uint64_t seed)
{
    struct Packet
    {
        Clock::time_point due;
        std::vector<unsigned char> bytes;
    };
    std::deque<Packet> onTheWay;
    std::mt19937_64 random(seed);
    std::bernoulli_distribution isLost(m_options.loss);
    auto lineIsFree = Clock::now();
    std::array<unsigned char, 65536> buffer{};
    while (!m_isEnding) {
        auto const now = Clock::now();
        while (!onTheWay.empty() && onTheWay.front().due <= now) {
            // What the other network does not take is lost, as anywhere.
            [[maybe_unused]] auto const written =
                ::write(to, onTheWay.front().bytes.data(), onTheWay.front().bytes.size());
            onTheWay.pop_front();
        }
        pollfd poll{from, POLLIN, 0};
        auto const wait = onTheWay.empty() ? std::chrono::milliseconds(100)
                                           : std::chrono::ceil<std::chrono::milliseconds>(onTheWay.front().due - now);
        ::poll(&poll, 1, static_cast<int>(std::clamp<std::int64_t>(wait.count(), 0, 100)));
        for (;;) {
            auto const size = ::read(from, buffer.data(), buffer.size());
            if (size <= 0) {
                break;
            }
            ++m_packets;
            auto const arrived = Clock::now();
            lineIsFree = std::max(lineIsFree, arrived);
            if (lineIsFree - arrived > m_options.greatestQueue) {
                ++m_shed;
                continue;
            }
            auto const seconds = 8.0 * static_cast<double>(size) / m_options.bitsPerSecond;
            lineIsFree += std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
            if (isLost(random)) {
                ++m_lost; // it has had its turn on the line
                continue;
            }
            onTheWay.push_back({lineIsFree + m_options.oneWay, {buffer.begin(), buffer.begin() + size}});
        }
    }
}

} // namespace bench
