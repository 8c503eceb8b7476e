// The line to the shore: what a vessel tells through a real broker until it is seen ashore, and bare programs that send
// the same bytes through the same broker. All threads of ours on one processor; the broker has the others.
#include "bare_mqtt.h"
#include "one_processor.h"
#include "publication_of.h"
#include "stage.h"

#include "broker/connection.h"
#include "reference_host/attributes/tree_merge.h"
#include "sparkplug/edge_node.h"
#include "sparkplug/host_application.h"
#include "test_broker.h"
#include <VordalAttributesR/CVordalType.h>
#include <protocol/utf8.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace bench {

namespace {

using namespace qx5;
using Clock = std::chrono::steady_clock;

constexpr char const* group = "bench";
constexpr char const* commandedVessel = "Deneb";
constexpr char const* commandedSonar = "sonar";

/// 1,000 messages a second of 100 metrics each, from 110 sonars: each metric changes every 110 ms, which is just above
/// the pace at which one is told.
constexpr int sonars = 110;
constexpr int metricsOfSonar = 100;
constexpr std::chrono::milliseconds step{1};

/// A number that threads wait for.
class Count
{
public:
    void Add()
    {
        {
            std::lock_guard const lock(m_mutex);
            ++m_count;
        }
        m_changed.notify_all();
    }
    /// Throws when it takes a minute.
    void WaitFor(std::uint64_t count)
    {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, std::chrono::minutes(1), [&] { return m_count >= count; })) {
            throw std::runtime_error("what was sent through the broker has not arrived within a minute");
        }
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::uint64_t m_count = 0;
};

/// When each message was sent and arrived; there is one thread for either.
class Journey
{
public:
    void Sent() { m_sent.push_back(Clock::now()); }
    void Arrived()
    {
        m_arrived.push_back(Clock::now());
        count.Add();
    }
    /// Those of the last `samples`, which must have arrived, in nanoseconds.
    void Append(std::size_t samples, std::vector<double>& nanoseconds) const
    {
        for (std::size_t i = m_sent.size() - samples; i < m_sent.size(); ++i) {
            nanoseconds.push_back(std::chrono::duration<double, std::nano>(m_arrived[i] - m_sent[i]).count());
        }
    }
    std::size_t SentSoFar() const { return m_sent.size(); }

    Count count;

private:
    std::vector<Clock::time_point> m_sent;
    std::vector<Clock::time_point> m_arrived;
};

/// Gives each value of a sonar's tree another one than it had.
void Change(CAttributeMap& tree)
{
    static auto const texts = [] {
        std::vector<std::wstring> made;
        for (int i = 0; i < metricsOfSonar; ++i) {
            made.push_back(L"value" + std::to_wstring(i));
        }
        return made;
    }();
    static double next = 0.0;
    for (auto const& text : texts) {
        vordal::SetChildValue(tree, text, CVordalDouble(next++));
    }
}

broker::ConnectionOptions OptionsFor(test::TestBroker const& server, std::string const& who)
{
    broker::ConnectionOptions options;
    options.address = server.Secure();
    options.files = server.Files(who);
    return options;
}

sparkplug::EdgeNodeOptions NodeOptions(std::string const& name, std::chrono::milliseconds pace)
{
    sparkplug::EdgeNodeOptions options;
    options.group = group;
    options.node = name;
    options.pace = pace;
    return options;
}

broker::Publication WillOf(sparkplug::EdgeNode& node)
{
    return PublicationOf(node.NextWill());
}

/// A reader ashore; all of it but its making runs on the connection's thread.
class Shore
{
public:
    explicit Shore(test::TestBroker const& server)
        : m_application({}, Hooks(), sparkplug::SystemMoment),
          m_connection(OptionsFor(server, "operator"), {sparkplug::GroupFilter(group)}, LineHooks())
    {
        m_connection.Start();
        connected.WaitFor(1);
    }
    ~Shore() { m_connection.End(std::chrono::seconds(1)); }
    Shore(Shore const&) = delete;
    Shore& operator=(Shore const&) = delete;

    bool Publish(sparkplug::Message const& message, int qos)
    {
        return m_connection.Publish({message.topic, message.payload, qos, message.isRetained}).has_value();
    }

    Count connected;
    Count births;
    Journey data;

private:
    sparkplug::HostHooks Hooks()
    {
        sparkplug::HostHooks hooks;
        hooks.publish = [this](sparkplug::Message const& message) { return Publish(message, message.qos); };
        hooks.state = [this](sparkplug::SeenName const&) { births.Add(); };
        hooks.data = [this](sparkplug::SeenName const&, std::vector<sparkplug::SeenValue> const&) { data.Arrived(); };
        return hooks;
    }
    broker::ConnectionHooks LineHooks()
    {
        broker::ConnectionHooks hooks;
        hooks.connected = [this] { connected.Add(); };
        hooks.message = [this](std::string_view topic, std::string_view payload) {
            m_application.Receive(topic, payload);
        };
        return hooks;
    }

    sparkplug::HostApplication m_application;
    broker::Connection m_connection;
};

/// A vessel with its sonars. Its edge node is that of whoever tells changes.
class Vessel
{
public:
    Vessel(test::TestBroker const& server, std::string const& name, std::chrono::milliseconds pace)
        : m_node(NodeOptions(name, pace), Hooks(), sparkplug::SystemMoment),
          m_connection(OptionsFor(server, "vessel"), {}, LineHooks())
    {
        m_connection.Start();
        m_connected.WaitFor(1);
        m_node.Connected();
        for (int i = 0; i < sonars; ++i) {
            m_names.push_back("sonar" + std::to_string(i));
            Change(m_trees.emplace_back());
            m_node.SetDevice(m_names.back(), m_trees.back());
        }
    }
    Vessel(Vessel const&) = delete;
    Vessel& operator=(Vessel const&) = delete;
    ~Vessel() { m_connection.End(std::chrono::seconds(1)); }

    /// Changes all values of the next sonar, and has it told.
    void TellNext(Journey& journey)
    {
        auto const next = m_next++ % m_names.size();
        Change(m_trees[next]);
        journey.Sent();
        m_node.SetDevice(m_names[next], m_trees[next]);
    }
    /// Of the message told last.
    std::string const& LastPayload() const { return m_lastPayload; }

private:
    sparkplug::EdgeNodeHooks Hooks()
    {
        sparkplug::EdgeNodeHooks hooks;
        hooks.publish = [this](sparkplug::Message const& message) {
            m_lastPayload = message.payload;
            return m_connection.Publish(PublicationOf(message)).has_value();
        };
        return hooks;
    }
    broker::ConnectionHooks LineHooks()
    {
        broker::ConnectionHooks hooks;
        hooks.will = [this] { return WillOf(m_node); };
        hooks.connected = [this] { m_connected.Add(); };
        return hooks;
    }

    Count m_connected;
    std::string m_lastPayload;
    sparkplug::EdgeNode m_node;
    std::vector<std::string> m_names;
    std::vector<CAttributeMap> m_trees;
    std::size_t m_next = 0;
    broker::Connection m_connection;
};

/// A vessel with one sonar that does what it is told; all of it but its making runs on the connection's thread.
class CommandedVessel
{
public:
    explicit CommandedVessel(test::TestBroker const& server)
        : m_node(NodeOptions(commandedVessel, std::chrono::milliseconds(0)), Hooks(), sparkplug::SystemMoment),
          m_connection(OptionsFor(server, "vessel"), m_node.Filters(), LineHooks())
    {
        Change(m_tree);
        m_connection.Start();
        m_connected.WaitFor(1);
    }
    CommandedVessel(CommandedVessel const&) = delete;
    CommandedVessel& operator=(CommandedVessel const&) = delete;
    ~CommandedVessel() { m_connection.End(std::chrono::seconds(1)); }

private:
    sparkplug::EdgeNodeHooks Hooks()
    {
        sparkplug::EdgeNodeHooks hooks;
        hooks.publish = [this](sparkplug::Message const& message) {
            return m_connection.Publish(PublicationOf(message)).has_value();
        };
        hooks.command = [this](std::string_view, std::vector<sparkplug::CommandedValue> const& values) {
            for (auto const& value : values) {
                vordal::SetChildValue(m_tree, protocol::DecodeUtf8(value.name), *MakeVordal(value.value));
            }
        };
        return hooks;
    }
    broker::ConnectionHooks LineHooks()
    {
        broker::ConnectionHooks hooks;
        hooks.will = [this] { return WillOf(m_node); };
        hooks.connected = [this] {
            m_node.Connected();
            m_node.SetDevice(commandedSonar, m_tree);
            m_connected.Add();
        };
        hooks.message = [this](std::string_view topic, std::string_view payload) {
            m_node.Receive(topic, payload);
            m_node.SetDevice(commandedSonar, m_tree);
        };
        return hooks;
    }

    Count m_connected;
    CAttributeMap m_tree;
    sparkplug::EdgeNode m_node;
    broker::Connection m_connection;
};

/// Everything at one broker. Made while nothing is kept on one processor, so that the broker is not either.
class BrokerStage
{
public:
    BrokerStage()
    {
        // Of each sonar and of each vessel.
        shore.births.WaitFor(2 * (sonars + 1) + 2);
    }

    test::TestBroker server{{"broker", {}, "information"}};
    Shore shore{server};
    CommandedVessel commanded{server};
    Vessel paced{server, "Vega", sparkplug::EdgeNodeOptions().pace};
    Vessel hurried{server, "Altair", std::chrono::milliseconds(0)};
    Journey bare;
    BareMqtt bareListener{server.Secure(), server.Files("operator"), "bare/data",
                          [this](std::string_view) { bare.Arrived(); }};
    BareMqtt bareEcho{server.Secure(), server.Files("vessel"), "bare/request",
                      [this](std::string_view payload) { bareEcho.Publish("bare/data", payload, 0); }};
};

/// Sends a message each step and waits for the last one.
template <typename Send>
void Pace(std::size_t samples, Journey& journey, std::vector<double>& nanoseconds, Send const& send)
{
    auto next = Clock::now();
    for (std::size_t i = 0; i < samples; ++i) {
        std::this_thread::sleep_until(next);
        next += step;
        send();
    }
    journey.count.WaitFor(journey.SentSoFar());
    journey.Append(samples, nanoseconds);
}

/// Sends messages as fast as they arrive, and appends what one metric took.
template <typename Send>
void Hurry(std::size_t samples, Journey& journey, std::vector<double>& nanoseconds, Send const& send)
{
    constexpr std::size_t messages = 200;
    // More would wait in a queue at the broker, which drops what is too much.
    constexpr std::size_t ahead = 50;
    Time(samples, 1, nanoseconds, [&] {
        for (std::size_t i = 0; i < messages; ++i) {
            journey.count.WaitFor(journey.SentSoFar() - std::min(ahead, journey.SentSoFar()));
            send();
        }
        journey.count.WaitFor(journey.SentSoFar());
    });
    std::for_each(nanoseconds.end() - static_cast<std::ptrdiff_t>(samples), nanoseconds.end(),
                  [](double& one) { one /= messages * metricsOfSonar; });
}

/// One message at a time.
template <typename Send>
void RoundTrips(std::size_t samples, Journey& journey, std::vector<double>& nanoseconds, Send const& send)
{
    for (std::size_t i = 0; i < samples; ++i) {
        journey.Sent();
        send();
        journey.count.WaitFor(journey.SentSoFar());
    }
    journey.Append(samples, nanoseconds);
}

} // namespace

std::vector<Case> BrokerCases()
{
    auto const made = std::make_shared<std::optional<BrokerStage>>();
    auto const at = [made](auto const& work) {
        return [made, work](std::size_t samples, std::vector<double>& nanoseconds) {
            if (!*made) {
                made->emplace();
            }
            OnOneProcessor const one;
            work(**made, samples, nanoseconds);
        };
    };
    std::vector<Case> cases;
    cases.push_back({"line-paced", "100 values of a sonar changed aboard to seen ashore, 1,000 times a second, by TLS",
                     1000, at([](BrokerStage& stage, std::size_t samples, std::vector<double>& nanoseconds) {
                         Pace(samples, stage.shore.data, nanoseconds, [&] { stage.paced.TellNext(stage.shore.data); });
                     })});
    cases.push_back({"bare-line-paced", "bare program: as many bytes as often through the same broker", 1000,
                     at([](BrokerStage& stage, std::size_t samples, std::vector<double>& nanoseconds) {
                         Pace(samples, stage.bare, nanoseconds, [&] {
                             stage.bare.Sent();
                             stage.bareEcho.Publish("bare/data", stage.paced.LastPayload(), 0);
                         });
                     })});
    cases.push_back({"line-hurried", "one of 20,000 values, changed aboard to seen ashore, as fast as they go", 1,
                     at([](BrokerStage& stage, std::size_t samples, std::vector<double>& nanoseconds) {
                         Hurry(samples, stage.shore.data, nanoseconds,
                               [&] { stage.hurried.TellNext(stage.shore.data); });
                     })});
    cases.push_back({"bare-line-hurried", "bare program: as many bytes as fast as they go", 1,
                     at([](BrokerStage& stage, std::size_t samples, std::vector<double>& nanoseconds) {
                         Hurry(samples, stage.bare, nanoseconds, [&] {
                             stage.bare.Sent();
                             stage.bareEcho.Publish("bare/data", stage.hurried.LastPayload(), 0);
                         });
                     })});
    cases.push_back({"line-command", "a value asked for ashore to its change seen ashore, by an edge node", 300,
                     at([](BrokerStage& stage, std::size_t samples, std::vector<double>& nanoseconds) {
                         static double next = 0.0;
                         RoundTrips(samples, stage.shore.data, nanoseconds, [&] {
                             std::string error;
                             stage.shore.Publish(*sparkplug::MakeCommand({group, commandedVessel, commandedSonar},
                                                                         {{std::string("value0"), --next}}, 0, error),
                                                 1);
                         });
                     })});
    cases.push_back({"bare-broker-round-trip",
                     "bare program: 64 bytes to another connection and back, by the same broker", 300,
                     at([](BrokerStage& stage, std::size_t samples, std::vector<double>& nanoseconds) {
                         RoundTrips(samples, stage.bare, nanoseconds,
                                    [&] { stage.bareListener.Publish("bare/request", std::string(64, 'x'), 1); });
                     })});
    return cases;
}

} // namespace bench
