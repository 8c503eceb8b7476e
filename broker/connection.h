// One connection to a broker, by MQTT 5: made, kept, and made again until it is ended.
#pragma once

#include "broker/broker_address.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::broker {

/// What is published.
struct Publication
{
    std::string topic;
    std::string payload;
    int qos = 0; ///< 0 or 1
    bool isRetained = false;
};

struct ConnectionOptions
{
    BrokerAddress address;
    CertificateFiles files;
    /// What the broker knows the connection by: a second one of the same name ends the first. Empty: the broker's
    /// choice.
    std::string name;
    /// What is on its way and not acknowledged, and what waits for the line, topics included.
    std::size_t outgoingBytes = std::size_t{8} << 20;
    std::size_t outgoingMessages = 10'000;
    /// What has arrived and the hooks have not taken yet.
    std::size_t incomingBytes = std::size_t{64} << 20;
    /// The broker keeps back what is larger, and nobody tells us of it: one message with its topic and what MQTT adds.
    std::uint32_t incomingMessageBytes = std::uint32_t{5} << 20;
    /// The message hook does not wait for long: it may be called on the client library's thread, which hears nothing
    /// else meanwhile, and a message is taken one hand-over sooner.
    bool takesAtOnce = false;
    std::chrono::seconds keepAlive{20};
    std::chrono::milliseconds connectLimit{15'000}; ///< for one attempt
    std::chrono::milliseconds leastPause{500};      ///< between attempts; doubled each time
    std::chrono::milliseconds greatestPause{30'000};
};

enum class LineState
{
    Connecting,
    Connected, ///< and subscribed
    Waiting,   ///< for the next attempt
    Ended,
};

struct LineStatus
{
    LineState state = LineState::Connecting;
    std::string reason; ///< of Waiting: one line that says why there is no connection
};

/// What happened so far.
struct ConnectionCounts
{
    std::uint64_t attempts = 0;
    std::uint64_t connections = 0;
    std::uint64_t published = 0;
    std::uint64_t refused = 0;  ///< for which there was no room, or no connection, or that were too large
    std::uint64_t tooLarge = 0; ///< for the broker, which says at each connection what it takes
    std::uint64_t received = 0;
    std::uint64_t shed = 0; ///< that arrived faster than they were taken, and are gone
};

/// What a connection calls, one after another, on a thread of its own unless ConnectionOptions::takesAtOnce says
/// otherwise, with nothing locked. They may call the connection, but for End and its destructor. Each may be missing.
struct ConnectionHooks
{
    /// The will of the connection that is to be made next; nothing for none.
    std::function<std::optional<Publication>()> will;
    /// The connection stands, and all filters are subscribed to. What is retained may have arrived before.
    std::function<void()> connected;
    /// It is gone. What was published and not acknowledged has been told as lost.
    std::function<void()> disconnected;
    std::function<void(std::string_view topic, std::string_view payload)> message;
    /// What became of a publication of QoS 1, by its number: acknowledged by the broker, or not known.
    std::function<void(std::uint64_t number, bool isAcknowledged)> completed;
    std::function<void(LineStatus const&)> status;
};

/// Every session begins clean: the broker keeps nothing for us, and whatever must not be lost is kept by those who send
/// it. A lost connection is made again with a pause that grows until one has stood for as long as the pause was.
///
/// The first of a process is made within some 100 ms, each further one takes two seconds: the client library looks once
/// a second for lines that were opened meanwhile, and needs two such looks.
///
/// Any thread may call, several at once.
class Connection
{
public:
    /// Does nothing before Start. `filters` are subscribed to on each connection, with QoS 1.
    Connection(ConnectionOptions options, std::vector<std::string> filters, ConnectionHooks hooks);
    Connection(Connection const&) = delete;
    Connection& operator=(Connection const&) = delete;
    /// Ends without waiting for what is on its way.
    ~Connection();

    /// Begins; once.
    void Start();

    /// Its number, from 1 on; nothing when there is no connection, or no room, or when it is larger than the broker
    /// takes: it is then not sent, and counted. Never waits for the line. What became of it may be told before this
    /// returns.
    std::optional<std::uint64_t> Publish(Publication const& publication);

    /// Ends this connection, without its will, and makes another.
    void StartAgain();

    /// Waits at most `limit` for what is on its way, ends the connection in order, without its will, and waits for the
    /// last hook. Nothing is called afterwards. Not from a hook.
    void End(std::chrono::milliseconds limit);

    LineStatus Status() const;
    ConnectionCounts Counts() const;

private:
    class Body;
    std::unique_ptr<Body> m_body;
};

} // namespace qx5::broker
