// The history of vessels as it arrives: kept in an archive, acknowledged, handed on once.
#pragma once

#include "outbox/archive.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace qx5::fleet {

/// What a keeper calls, on its own thread, with nothing locked. Each may be missing.
struct HistoryHooks
{
    /// It is on the disk: the vessel may forget it.
    std::function<void(outbox::Acknowledgement const&)> acknowledge;
    /// New items, in the order in which they came, each once.
    std::function<void(std::vector<outbox::Received> const&)> items;
    /// One line: why the archive takes nothing. It is tried again with what arrives next.
    std::function<void(std::string const& line)> tell;
};

/// With an archive all that arrives is on the disk before it is acknowledged; without one nothing is acknowledged, and
/// a vessel tells it again to whoever keeps it. Any thread.
class HistoryKeeper
{
public:
    /// What waits for the disk at most; what arrives beyond that is left, and comes again.
    static constexpr std::size_t GreatestWaiting = std::size_t{64} << 20;

    /// `archive`: its file; empty for none. Throws outbox::OutboxError.
    HistoryKeeper(std::filesystem::path const& archive, HistoryHooks hooks);
    HistoryKeeper(HistoryKeeper const&) = delete;
    HistoryKeeper& operator=(HistoryKeeper const&) = delete;
    /// Takes what has arrived to the disk first.
    ~HistoryKeeper();

    void Put(std::vector<outbox::Received> received);

private:
    void Run();
    void Take(std::vector<outbox::Received> const& received);
    std::vector<outbox::Received> NewOf(std::vector<outbox::Received> const& received);

    HistoryHooks const m_hooks;
    std::optional<outbox::Archive> m_archive; ///< of the thread, as is what follows
    /// By vessel and outbox: up to there it has been handed on.
    std::map<std::pair<std::string, std::string>, std::uint64_t> m_handedOn;

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_wake;
    std::vector<outbox::Received> m_waiting;
    std::size_t m_waitingBytes = 0;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace qx5::fleet
