// History on its way to the archive.
#include "fleet/history_keeper.h"

#include <utility>

namespace qx5::fleet {

HistoryKeeper::HistoryKeeper(std::filesystem::path const& archive, HistoryHooks hooks) : m_hooks(std::move(hooks))
{
    if (!archive.empty()) {
        m_archive.emplace(archive);
    }
    m_thread = std::thread([this] { Run(); });
}

HistoryKeeper::~HistoryKeeper()
{
    {
        std::lock_guard const lock(m_mutex);
        m_isEnding = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void HistoryKeeper::Put(std::vector<outbox::Received> received)
{
    {
        std::lock_guard const lock(m_mutex);
        for (auto& each : received) {
            auto const bytes = each.item.payload.size() + each.vessel.size() + each.outbox.size() + sizeof each;
            if (m_waitingBytes + bytes > GreatestWaiting) {
                break;
            }
            m_waitingBytes += bytes;
            m_waiting.push_back(std::move(each));
        }
    }
    m_wake.notify_all();
}

void HistoryKeeper::Run()
{
    for (;;) {
        std::vector<outbox::Received> received;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_isEnding || !m_waiting.empty(); });
            received = std::exchange(m_waiting, {});
            m_waitingBytes = 0;
            if (received.empty()) {
                return;
            }
        }
        Take(received);
    }
}

void HistoryKeeper::Take(std::vector<outbox::Received> const& received)
{
    auto const fresh = NewOf(received);
    if (m_archive) {
        std::vector<outbox::Acknowledgement> had;
        try {
            had = m_archive->Take(received);
        } catch (outbox::OutboxError const& problem) {
            if (m_hooks.tell) {
                m_hooks.tell(problem.what());
            }
            return;
        }
        for (auto const& each : had) {
            if (m_hooks.acknowledge) {
                m_hooks.acknowledge(each);
            }
        }
    }
    for (auto const& each : fresh) {
        m_handedOn[{each.vessel, each.outbox}] = each.item.last;
    }
    if (!fresh.empty() && m_hooks.items) {
        m_hooks.items(fresh);
    }
}

std::vector<outbox::Received> HistoryKeeper::NewOf(std::vector<outbox::Received> const& received)
{
    std::vector<outbox::Received> fresh;
    std::map<std::pair<std::string, std::string>, std::uint64_t> upTo;
    for (auto const& each : received) {
        std::pair const name(each.vessel, each.outbox);
        auto const known = m_handedOn.find(name);
        auto const before = known != m_handedOn.end() ? known->second
                            : m_archive               ? m_archive->Acknowledged(each.vessel, each.outbox)
                                                      : 0;
        auto& last = upTo.try_emplace(name, before).first->second;
        if (each.item.last > last) {
            last = each.item.last;
            fresh.push_back(each);
        }
    }
    return fresh;
}

} // namespace qx5::fleet
