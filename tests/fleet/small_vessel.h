// A vessel as small as one can be that speaks with the shore: an edge node on a connection, with leases and requests.
#pragma once

#include "authority/lease.h"
#include "authority/request_book.h"
#include "authority/shore_facts.h"
#include "authority/shore_messages.h"
#include "authority/shore_topics.h"
#include "broker/connection.h"
#include "sparkplug/edge_node.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace qx5::test {

/// Its sonars are trees that take every value that they are asked for. Leases are those of a real vessel, with who asks
/// taken from the topic. It tells its time every 50 ms. Any thread of the test.
class SmallVessel final : private authority::LeaseListener
{
public:
    SmallVessel(broker::ConnectionOptions line, std::string group, std::string name, authority::LeaseRules rules = {});
    SmallVessel(SmallVessel const&) = delete;
    SmallVessel& operator=(SmallVessel const&) = delete;
    ~SmallVessel() override;

    void SetSonar(std::string const& sonar, CAttributeMap const& tree);
    void RemoveSonar(std::string const& sonar);
    void SetLink(std::string const& sonar, authority::SonarLink link, std::string const& reason);
    /// It says nothing any more, and stays connected; and goes on.
    void Hush(bool isHushed) { m_isHushed = isHushed; }
    /// So many of the next results are lost on their way.
    void LoseResults(int count) { m_resultsToLose = count; }
    void TakeAboard(std::string const& sonar) { m_leases.TakeAboard(IdOf(sonar)); }
    bool GrantFromAboard(std::string const& sonar, std::string const& asker)
    {
        return m_leases.Grant(IdOf(sonar), authority::Aboard, asker);
    }
    void PublishDetections(std::string const& sonar, authority::DetectionsMessage const& message);
    void PublishHistory(authority::HistoryMessage const& message);

    /// How many requests were done, and how many arrived, repetitions included.
    int Done() const { return m_done; }
    int Arrived() const { return m_arrived; }
    /// How often it or a sonar of it told all that it has.
    std::uint64_t Births() const
    {
        std::lock_guard const lock(m_mutex);
        return m_node.Counts().births;
    }
    /// Up to where the outbox of that identity was acknowledged, by whom.
    std::map<std::string, std::pair<std::string, std::uint64_t>> Acknowledged() const;
    /// Whether somebody who looks at the sonar wanted detections last.
    bool AreDetectionsWanted(std::string const& sonar) const;

private:
    struct Sonar
    {
        CAttributeMap tree;
        authority::SonarLink link = authority::SonarLink::Connected;
        std::string linkReason;
        bool areDetectionsWanted = false;
    };

    void OnLease(authority::LeaseNews const& news) override;
    void OnAnswer(authority::LeaseAnswer const& answer) override;
    sparkplug::EdgeNodeHooks NodeHooks();
    CDataId IdOf(std::string const& sonar);
    std::string NameOf(CDataId const& id);
    void TellReserved(std::string const& name);
    void OnMessage(std::string_view topic, std::string_view payload);
    void OnRequest(authority::ShoreTopic const& topic, authority::RequestMessage const& message);
    void OnLeaseAsked(authority::ShoreTopic const& topic, authority::LeaseMessage const& message);
    void Reply(authority::ShoreTopic const& topic, authority::ShoreReply const& reply);
    void Run();
    template <typename Work>
    void WithNode(Work const& work);

    std::string const m_group;
    std::string const m_name;
    authority::VesselClock m_clock;
    authority::RequestBook m_book{m_clock};
    authority::Leases m_leases;
    std::atomic<bool> m_isHushed{false};
    std::atomic<int> m_resultsToLose{0};
    std::atomic<int> m_done{0};
    std::atomic<int> m_arrived{0};

    mutable std::recursive_mutex m_mutex; ///< guards what follows: the node calls back
    std::map<std::string, Sonar> m_sonars;
    std::vector<std::string> m_ids; ///< sonars by the device number of their ids, from 1
    std::map<std::pair<std::string, std::string>, authority::LeaseMessage> m_waiting; ///< by sonar and person
    std::map<std::string, std::pair<std::string, std::uint64_t>> m_acknowledged;
    sparkplug::EdgeNode m_node;
    std::atomic<bool> m_isEnding{false};

    std::unique_ptr<broker::Connection> m_connection;
    std::thread m_thread;
};

} // namespace qx5::test
