// A line between two networks of this process's own, slow, far and lossy: the system's TCP suffers as it does at sea.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <future>
#include <thread>
#include <utility>

namespace bench {

struct LossyLinkOptions
{
    double bitsPerSecond = 256e3;                  ///< in each direction
    std::chrono::milliseconds oneWay{400};         ///< beside what the rate costs
    double loss = 0.05;                            ///< of packets, in each direction
    std::uint64_t seed = 1;                        ///< of which ones
    std::chrono::milliseconds greatestQueue{2000}; ///< what would wait longer for its turn is shed
};

/// Puts this process's threads that are made from now on into a network where they have NearAddress, and makes another
/// one with FarAddress; both are gone with the process. Takes root. To be made while there is one thread; throws
/// std::system_error.
class LossyLink
{
public:
    static constexpr char const* NearAddress = "10.9.0.1";
    static constexpr char const* FarAddress = "10.9.0.2";

    explicit LossyLink(LossyLinkOptions const& options);
    LossyLink(LossyLink const&) = delete;
    LossyLink& operator=(LossyLink const&) = delete;
    ~LossyLink();

    /// Does it on a thread that is in the far network: what it starts lives there.
    template <typename Work>
    auto AtTheFarEnd(Work const& work)
    {
        std::promise<decltype(work())> done;
        std::thread thread([&] {
            try {
                EnterFarNetwork();
                done.set_value(work());
            } catch (...) {
                done.set_exception(std::current_exception());
            }
        });
        thread.join();
        return done.get_future().get();
    }

    std::uint64_t Packets() const { return m_packets; }
    std::uint64_t Lost() const { return m_lost; }
    std::uint64_t Shed() const { return m_shed; }

private:
    void EnterFarNetwork() const;
    /// Carries packets from one end to the other.
    void Carry(int from, int to, std::uint64_t seed);

    LossyLinkOptions const m_options;
    int m_farNetwork = -1;
    int m_near = -1;
    int m_far = -1;
    std::atomic<bool> m_isEnding = false;
    std::atomic<std::uint64_t> m_packets = 0;
    std::atomic<std::uint64_t> m_lost = 0;
    std::atomic<std::uint64_t> m_shed = 0;
    std::thread m_toFar;
    std::thread m_toNear;
};

} // namespace bench
