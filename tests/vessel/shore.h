// A person ashore at a real broker: what comes is kept, and waited for.
#pragma once

#include "authority/shore_facts.h"
#include "authority/shore_messages.h"
#include "authority/shore_topics.h"
#include "broker/connection.h"
#include "sparkplug/host_application.h"
#include "tests/broker/test_broker.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {

/// Somebody ashore: hears all of the group, and keeps what came. Waits for conditions, never for a time.
class Shore
{
public:
    Shore(broker::BrokerAddress const& address, broker::CertificateFiles const& files, std::string person);
    Shore(Shore const&) = delete;
    Shore& operator=(Shore const&) = delete;
    ~Shore();

    bool WaitForLine();
    template <typename Condition>
    bool Wait(Condition const& condition)
    {
        std::unique_lock lock(m_mutex);
        return m_told.wait_for(lock, generousLimit, condition);
    }

    /// The next stamp for that vessel, once its time was heard.
    authority::RequestStamp Stamp(double limit = 30.0);
    bool Say(authority::ShoreSubject subject, std::string const& sonar, std::string const& payload);
    bool Ask(std::string const& sonar, authority::RequestStamp const& stamp, CAttributeMap const& request);
    bool AskLease(std::string const& sonar, authority::LeaseMessage const& message);
    /// Takes the lease and waits for the answer.
    authority::LeaseReply TakeLease(std::string const& sonar, double seconds = 60.0);
    bool Acknowledge(std::string const& outbox, std::uint64_t upTo);

    /// With Wait, or inside of Look.
    template <typename Reader>
    auto Look(Reader const& reader)
    {
        std::lock_guard const lock(m_mutex);
        return reader();
    }

    // With Wait or Look alone.
    sparkplug::HostApplication host;
    std::vector<authority::RequestReply> replies;
    std::vector<authority::LeaseReply> leaseReplies;
    std::vector<authority::LookMessage> looks;
    std::vector<authority::DetectionsMessage> pings;
    std::string outbox;                                      ///< its identity, as told last
    std::map<std::uint64_t, authority::HistoryContent> kept; ///< of that outbox, by number
    std::map<std::uint64_t, outbox::Kind> kinds;
    std::vector<std::uint64_t> order;                          ///< of first arrivals
    std::vector<std::string> topics;                           ///< of all that came
    std::vector<std::pair<std::string, std::string>> messages; ///< with their payloads

    broker::Connection& Line() { return *m_connection; }

private:
    void Take(std::string_view topic, std::string_view payload);

    std::string const m_person;
    std::mutex m_mutex;
    std::condition_variable m_told;
    bool m_isConnected = false;
    authority::HeardVesselTime m_time;
    std::unique_ptr<broker::Connection> m_connection;
};

/// Waits until the condition holds, which nothing tells of.
template <typename Condition>
bool Eventually(Condition const& condition)
{
    auto const deadline = std::chrono::steady_clock::now() + generousLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// "KEY=VALUE" of doubles: a request.
CAttributeMap RequestOf(std::wstring_view key, double value);

/// What Vega's sonar of that name is ashore; null while it is not alive.
sparkplug::SeenThing const* Alive(Shore& shore, std::string const& sonar);
double ValueOf(Shore& shore, std::string const& sonar, std::wstring_view key);

} // namespace qx5::test
