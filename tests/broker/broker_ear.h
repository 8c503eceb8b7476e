// What a connection to a broker tells, gathered for a test, which waits for it.
#pragma once

#include "broker/connection.h"

#include "tests/cli/child_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qx5::test {

/// A connection and all that its hooks were called with.
class BrokerEar
{
public:
    BrokerEar(broker::ConnectionOptions const& options, std::vector<std::string> const& filters = {},
              std::optional<broker::Publication> will = {})
        : m_will(std::move(will)), connection(std::make_unique<broker::Connection>(options, filters, Hooks()))
    {
        connection->Start();
    }
    BrokerEar(BrokerEar const&) = delete;
    BrokerEar& operator=(BrokerEar const&) = delete;
    ~BrokerEar() { connection.reset(); }

    /// Waits until the condition holds, which looks at what was told with the lock held.
    template <typename Condition>
    bool Wait(Condition const& condition)
    {
        std::unique_lock lock(m_mutex);
        return m_told.wait_for(lock, generousLimit, condition);
    }
    bool WaitForConnections(int count)
    {
        return Wait([&] { return connections >= count; });
    }
    /// The reason of the first attempt that failed, or fails.
    std::string FirstReason()
    {
        EXPECT_TRUE(Wait([&] { return !reasons.empty(); }));
        std::lock_guard const lock(m_mutex);
        return reasons.empty() ? std::string() : reasons.front();
    }
    bool WaitForMessage(std::string const& topic, std::string const& payload)
    {
        return Wait(
            [&] { return std::find(messages.begin(), messages.end(), std::pair(topic, payload)) != messages.end(); });
    }

    // With Wait alone, or when the connection has ended.
    int connections = 0;
    int disconnections = 0;
    int wills = 0;
    std::vector<std::string> reasons;
    std::vector<std::pair<std::string, std::string>> messages;
    std::vector<std::pair<std::uint64_t, bool>> completed;
    std::vector<broker::LineState> states;

private:
    template <typename Change>
    void Note(Change const& change)
    {
        {
            std::lock_guard const lock(m_mutex);
            change();
        }
        m_told.notify_all();
    }
    broker::ConnectionHooks Hooks()
    {
        broker::ConnectionHooks hooks;
        hooks.will = [this] {
            Note([&] { ++wills; });
            return m_will;
        };
        hooks.connected = [this] { Note([&] { ++connections; }); };
        hooks.disconnected = [this] { Note([&] { ++disconnections; }); };
        hooks.message = [this](std::string_view topic, std::string_view payload) {
            Note([&] { messages.emplace_back(topic, payload); });
        };
        hooks.completed = [this](std::uint64_t number, bool isGood) {
            Note([&] { completed.emplace_back(number, isGood); });
        };
        hooks.status = [this](broker::LineStatus const& status) {
            Note([&] {
                states.push_back(status.state);
                if (!status.reason.empty()) {
                    reasons.push_back(status.reason);
                }
            });
        };
        return hooks;
    }

    std::mutex m_mutex;
    std::condition_variable m_told;
    std::optional<broker::Publication> m_will;

public:
    std::unique_ptr<broker::Connection> connection; // the last: its hooks use all the others
};

} // namespace qx5::test
