// The connection by way of the MQTT client library, of which nothing else knows. Its threads put down what happened,
// and the connection's own thread takes it up, but for messages that may be taken at once.
#include "broker/connection.h"

#include "broker/line_diagnosis.h"
#include "broker/prompt_lines.h"

#include <fmt/format.h>

#include <mqtt/async_client.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace qx5::broker {

/// What a broker says of itself when it lets us in.
struct BrokerLimits
{
    std::uint64_t receiveMaximum = 0; ///< how many of QoS 1 may be on the line at once
    std::uint64_t packetBytes = 0;    ///< the largest packet that it takes
};

/// What a thread of the library puts down.
struct Event
{
    enum class Kind
    {
        Connected,
        Failed,
        Subscribed,
        Lost,
        Message,
        Completed,
    };
    Kind kind = Kind::Failed;
    std::uint64_t session = 0; ///< which attempt it is of
    std::string topic;         ///< or why it failed
    std::string payload;
    std::uint64_t number = 0; ///< of a publication
    bool isGood = false;
    BrokerLimits limits; ///< of Connected
};

namespace {

using Clock = std::chrono::steady_clock;

// MQTT's, where a broker tells none.
constexpr std::uint16_t greatestReceiveMaximum = 65535;
constexpr std::uint64_t greatestPacket = 268'435'460;
/// Of a publication, beside topic and payload: its kind, lengths, number and properties.
constexpr std::size_t greatestHeader = 16;

/// What the broker itself said when it refused; empty when it said nothing.
std::string WhatTheBrokerSays(mqtt::token const& token)
{
    // Codes from 128 on are refusals of MQTT. What the library says itself is negative.
    auto const code = token.get_return_code();
    return code >= 0x80 ? mqtt::exception::reason_code_str(code) : std::string();
}

BrokerLimits LimitsOf(mqtt::token const& connecting)
{
    auto const properties = connecting.get_connect_response().get_properties();
    BrokerLimits limits{greatestReceiveMaximum, greatestPacket};
    if (properties.contains(mqtt::property::RECEIVE_MAXIMUM)) {
        limits.receiveMaximum = mqtt::get<std::uint16_t>(properties, mqtt::property::RECEIVE_MAXIMUM);
    }
    if (properties.contains(mqtt::property::MAXIMUM_PACKET_SIZE)) {
        limits.packetBytes = mqtt::get<std::uint32_t>(properties, mqtt::property::MAXIMUM_PACKET_SIZE);
    }
    return limits;
}

} // namespace

class Connection::Body
{
public:
    Body(ConnectionOptions options, std::vector<std::string> filters, ConnectionHooks hooks)
        : m_options(std::move(options)), m_filters(std::move(filters)), m_hooks(std::move(hooks))
    {
    }
    ~Body() { End(std::chrono::milliseconds(0)); }

    void Start()
    {
        if (!m_thread.joinable()) {
            m_thread = std::thread([this] { Run(); });
        }
    }
    std::optional<std::uint64_t> Publish(Publication const& publication);
    void StartAgain();
    void End(std::chrono::milliseconds limit);
    LineStatus Status() const
    {
        std::lock_guard const lock(m_mutex);
        return m_status;
    }
    ConnectionCounts Counts() const
    {
        std::lock_guard const lock(m_mutex);
        return m_counts;
    }

private:
    /// One attempt and the connection that comes of it. The library calls it on its own threads.
    class Session;
    using SessionPointer = std::shared_ptr<Session>;
    struct Outgoing
    {
        std::size_t bytes = 0;
        int qos = 0;
        std::uint64_t session = 0;
    };

    void HandOver();
    void Arrive(std::uint64_t session, std::string const& topic, std::string const& payload);
    void Run();
    void Attempt();
    void Take(Event& event);
    void TakeConnected(BrokerLimits const& limits);
    void TakeSubscribed(bool isGood);
    void GiveUp(std::string reason);
    void Leave(std::string reason);
    void CloseSession();
    void Wait(std::string reason);
    void Enter(LineState state, std::string reason = {});
    void Post(Event event);

    ConnectionOptions const m_options;
    std::vector<std::string> const m_filters;
    ConnectionHooks const m_hooks;

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Event> m_events;
    std::size_t m_incomingBytes = 0;
    std::unordered_map<std::uint64_t, Outgoing> m_outgoing; ///< by number
    std::size_t m_outgoingBytes = 0;
    /// Those of them that the library does not have yet, in order. It would send what is beyond the broker's receive
    /// maximum only when it looks again, once a second.
    std::deque<std::pair<std::uint64_t, Publication>> m_held;
    bool m_isHandingOver = false;
    std::uint64_t m_onTheLine = 0; ///< of QoS 1, which the library has and the broker has not acknowledged
    BrokerLimits m_limits;
    std::uint64_t m_nextNumber = 1;
    SessionPointer m_open; ///< what may be published on
    LineStatus m_status;
    ConnectionCounts m_counts;
    bool m_mustStartAgain = false;
    std::optional<Clock::time_point> m_endBy;
    bool m_isTurnTaken = false;  ///< one thread calls hooks, makes or ends a session
    bool m_isTurnWanted = false; ///< by the connection's own thread

    // Of the connection's own thread.
    SessionPointer m_session;
    std::uint64_t m_sessionNumber = 0;
    bool m_isConnected = false;             ///< the hooks have been told so
    std::optional<Clock::time_point> m_due; ///< of the next attempt, or the end of this one
    std::chrono::milliseconds m_pause{0};
    Clock::time_point m_connectedAt{};

    std::thread m_thread;
};

class Connection::Body::Session
{
public:
    Session(Body& body, std::uint64_t number)
        : m_body(body), m_number(number), m_connecting(*this, Event::Kind::Connected),
          m_subscribing(*this, Event::Kind::Subscribed), m_publishing(*this),
          m_client(body.m_options.address.isSecure ? "ssl://" + body.m_options.address.Place()
                                                   : "tcp://" + body.m_options.address.Place(),
                   body.m_options.name, ClientOptions(body.m_options), nullptr)
    {
        // With set_callback the library would tell twice that it is connected, and we would subscribe twice.
        m_client.set_message_callback([this](mqtt::const_message_ptr const& message) {
            m_body.Arrive(m_number, message->get_topic(), message->get_payload_str());
        });
        m_client.set_connection_lost_handler([this](std::string const&) { Post(Event::Kind::Lost, {}, false); });
    }

    void Connect(std::optional<Publication> const& will)
    {
        auto const& options = m_body.m_options;
        mqtt::connect_options connect;
        connect.set_mqtt_version(MQTTVERSION_5);
        connect.set_clean_start(true);
        connect.set_automatic_reconnect(false);
        connect.set_keep_alive_interval(options.keepAlive);
        connect.set_connect_timeout(std::chrono::ceil<std::chrono::seconds>(options.connectLimit));
        connect.set_max_inflight(greatestReceiveMaximum);
        connect.set_properties(mqtt::properties{
            {mqtt::property::MAXIMUM_PACKET_SIZE, static_cast<std::int32_t>(options.incomingMessageBytes)}});
        if (will) {
            connect.set_will_message(mqtt::message(will->topic, will->payload, will->qos, will->isRetained));
        }
        if (options.address.isSecure) {
            mqtt::ssl_options secure;
            if (!options.files.authority.empty()) {
                secure.set_trust_store(options.files.authority.string());
            }
            if (!options.files.certificate.empty()) {
                secure.set_key_store(options.files.certificate.string());
                secure.set_private_key(options.files.key.string());
            }
            secure.set_enable_server_cert_auth(true);
            secure.set_verify(true);
            connect.set_ssl(std::move(secure));
        }
        // Not moved: what the library moves loses its properties, and with them what is too large for us.
        m_client.connect(connect, nullptr, m_connecting);
    }
    void Subscribe(std::vector<std::string> const& filters)
    {
        auto topics = mqtt::string_collection::create(filters);
        m_client.subscribe(topics, mqtt::iasync_client::qos_collection(filters.size(), 1), nullptr, m_subscribing);
    }
    /// Throws mqtt::exception when the library does not take it.
    void Publish(Publication const& publication, std::uint64_t number)
    {
        void* context = nullptr;
        {
            std::lock_guard const lock(m_numbersMutex);
            context = const_cast<std::uint64_t*>(&*m_numbers.insert(number).first);
        }
        try {
            m_client.publish(
                mqtt::make_message(publication.topic, publication.payload, publication.qos, publication.isRetained),
                context, m_publishing);
        } catch (mqtt::exception const&) {
            std::lock_guard const lock(m_numbersMutex);
            m_numbers.erase(number);
            throw;
        }
    }
    /// Ends the connection in order where there is one; waits a moment at most.
    void Close()
    {
        try {
            if (m_client.is_connected()) {
                m_client.disconnect(0)->wait_for(std::chrono::seconds(2));
            }
        } catch (mqtt::exception const&) {
            // It is gone already.
        }
    }

private:
    /// Hands on how connecting or subscribing went.
    class Listener : public virtual mqtt::iaction_listener
    {
    public:
        Listener(Session& session, Event::Kind kind) : m_session(session), m_kind(kind) {}
        void on_success(mqtt::token const& token) override
        {
            if (m_kind == Event::Kind::Connected) {
                m_session.m_body.Post({m_kind, m_session.m_number, {}, {}, 0, true, LimitsOf(token)});
                return;
            }
            auto const codes = token.get_subscribe_response().get_reason_codes();
            m_session.Post(m_kind, {}, std::none_of(codes.begin(), codes.end(), [](auto code) {
                               return static_cast<int>(code) >= 0x80;
                           }));
        }
        void on_failure(mqtt::token const& token) override
        {
            m_session.Post(m_kind == Event::Kind::Connected ? Event::Kind::Failed : m_kind, WhatTheBrokerSays(token),
                           false);
        }

    private:
        Session& m_session;
        Event::Kind m_kind;
    };
    class PublicationListener : public virtual mqtt::iaction_listener
    {
    public:
        explicit PublicationListener(Session& session) : m_session(session) {}
        void on_success(mqtt::token const& token) override { Tell(token, true); }
        void on_failure(mqtt::token const& token) override { Tell(token, false); }

    private:
        void Tell(mqtt::token const& token, bool isGood)
        {
            auto const number = *static_cast<std::uint64_t const*>(token.get_user_context());
            m_session.m_body.Post({Event::Kind::Completed, m_session.m_number, {}, {}, number, isGood, {}});
            std::lock_guard const lock(m_session.m_numbersMutex);
            m_session.m_numbers.erase(number);
        }

        Session& m_session;
    };

    static mqtt::create_options ClientOptions(ConnectionOptions const& options)
    {
        mqtt::create_options create(MQTTVERSION_5);
        // The bound is ours, in bytes and messages.
        create.set_max_buffered_messages(static_cast<int>(options.outgoingMessages) + 1);
        return create;
    }

    void Post(Event::Kind kind, std::string text, bool isGood)
    {
        m_body.Post({kind, m_number, std::move(text), {}, 0, isGood, {}});
    }

    Body& m_body;
    std::uint64_t const m_number;
    Listener m_connecting;
    Listener m_subscribing;
    PublicationListener m_publishing;
    std::mutex m_numbersMutex;
    /// Of publications on their way: the library carries the address of each, and hands it back.
    std::unordered_set<std::uint64_t> m_numbers;
    mqtt::async_client m_client; // the last: going, it may call the listeners
};

/// A message, on the library's thread.
void Connection::Body::Arrive(std::uint64_t session, std::string const& topic, std::string const& payload)
{
    bool isOurTurn = false;
    {
        std::lock_guard const lock(m_mutex);
        isOurTurn = m_options.takesAtOnce && m_hooks.message && m_open && session == m_sessionNumber &&
                    m_events.empty() && !m_isTurnTaken && !m_isTurnWanted;
        if (isOurTurn) {
            m_isTurnTaken = true;
            ++m_counts.received;
        }
    }
    if (!isOurTurn) {
        Post({Event::Kind::Message, session, topic, payload, 0, true, {}});
        return;
    }
    m_hooks.message(topic, payload);
    bool isWanted = false;
    {
        std::lock_guard const lock(m_mutex);
        m_isTurnTaken = false;
        isWanted = m_isTurnWanted;
    }
    if (isWanted) {
        m_wake.notify_all();
    }
}

/// On any thread.
void Connection::Body::Post(Event event)
{
    {
        std::lock_guard const lock(m_mutex);
        if (event.kind == Event::Kind::Message) {
            auto const bytes = event.topic.size() + event.payload.size();
            if (m_incomingBytes + bytes > m_options.incomingBytes) {
                ++m_counts.shed;
                return;
            }
            m_incomingBytes += bytes;
            ++m_counts.received;
        } else if (event.kind == Event::Kind::Completed) {
            auto const found = m_outgoing.find(event.number);
            if (found == m_outgoing.end() || found->second.session != event.session) {
                return; // it has been told as lost
            }
            m_outgoingBytes -= found->second.bytes;
            bool const isAwaited = found->second.qos > 0;
            m_outgoing.erase(found);
            m_onTheLine -= isAwaited ? 1 : 0;
            if (!isAwaited || (!m_hooks.completed && m_held.empty())) {
                // Whoever ends waits for it, too.
                if (m_outgoing.empty() && m_endBy) {
                    m_wake.notify_all();
                }
                return;
            }
        }
        m_events.push_back(std::move(event));
    }
    m_wake.notify_all();
}

std::optional<std::uint64_t> Connection::Body::Publish(Publication const& publication)
{
    std::uint64_t number = 0;
    {
        std::lock_guard const lock(m_mutex);
        auto const bytes = publication.topic.size() + publication.payload.size();
        bool const isTooLarge = m_open && bytes + greatestHeader > m_limits.packetBytes;
        if (!m_open || isTooLarge || m_outgoing.size() >= m_options.outgoingMessages ||
            m_outgoingBytes + bytes > m_options.outgoingBytes) {
            ++m_counts.refused;
            m_counts.tooLarge += isTooLarge ? 1 : 0;
            return std::nullopt;
        }
        number = m_nextNumber++;
        m_outgoing.emplace(number, Outgoing{bytes, publication.qos, m_sessionNumber});
        m_outgoingBytes += bytes;
        m_held.emplace_back(number, publication);
        ++m_counts.published;
    }
    HandOver();
    return number;
}

/// Gives the library what the broker takes now. Any thread but the library's own: the last who holds a session ends
/// it, which waits for those.
void Connection::Body::HandOver()
{
    std::unique_lock lock(m_mutex);
    if (m_isHandingOver) {
        return; // whoever is at it goes on with the rest, in order
    }
    m_isHandingOver = true;
    while (!m_held.empty() && (m_held.front().second.qos == 0 || m_onTheLine < m_limits.receiveMaximum)) {
        auto const [number, publication] = std::move(m_held.front());
        m_held.pop_front();
        m_onTheLine += publication.qos > 0 ? 1 : 0;
        auto session = m_open;
        auto const sessionNumber = m_sessionNumber;
        lock.unlock();
        try {
            session->Publish(publication, number);
        } catch (mqtt::exception const&) {
            Post({Event::Kind::Completed, sessionNumber, {}, {}, number, false, {}});
        }
        session.reset();
        lock.lock();
    }
    m_isHandingOver = false;
}

void Connection::Body::StartAgain()
{
    {
        std::lock_guard const lock(m_mutex);
        m_mustStartAgain = true;
    }
    m_wake.notify_all();
}

void Connection::Body::End(std::chrono::milliseconds limit)
{
    {
        std::lock_guard const lock(m_mutex);
        m_endBy = Clock::now() + limit;
    }
    m_wake.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Connection::Body::Enter(LineState state, std::string reason)
{
    LineStatus const status{state, std::move(reason)};
    {
        std::lock_guard const lock(m_mutex);
        m_status = status;
    }
    if (m_hooks.status) {
        m_hooks.status(status);
    }
}

void Connection::Body::Run()
{
    Attempt();
    for (;;) {
        Event event;
        bool isEvent = false;
        bool mustStartAgain = false;
        {
            std::unique_lock lock(m_mutex);
            m_isTurnTaken = false;
            auto const isDone = [&] { return m_endBy && (m_outgoing.empty() || !m_open || Clock::now() >= *m_endBy); };
            auto const isUp = [&] { return !m_events.empty() || m_mustStartAgain || isDone(); };
            auto until = m_due;
            if (m_endBy && (!until || *m_endBy < *until)) {
                until = m_endBy;
            }
            if (until) {
                m_wake.wait_until(lock, *until, isUp);
            } else {
                m_wake.wait(lock, isUp);
            }
            m_isTurnWanted = true;
            m_wake.wait(lock, [this] { return !m_isTurnTaken; });
            m_isTurnWanted = false;
            m_isTurnTaken = true;
            if (m_endBy && Clock::now() >= *m_endBy) {
                break;
            }
            // Before what has arrived: that may be more than is ever taken.
            mustStartAgain = std::exchange(m_mustStartAgain, false);
            if (!mustStartAgain && !m_events.empty()) {
                event = std::move(m_events.front());
                m_events.pop_front();
                isEvent = true;
                if (event.kind == Event::Kind::Message) {
                    m_incomingBytes -= event.topic.size() + event.payload.size();
                }
            } else if (isDone()) {
                break;
            }
        }
        if (isEvent) {
            // What came of an earlier connection means nothing any more.
            if (m_session && event.session == m_sessionNumber) {
                Take(event);
            }
        } else if (mustStartAgain) {
            CloseSession();
            Attempt();
        } else if (m_due && *m_due <= Clock::now()) {
            if (m_session) {
                GiveUp({}); // the attempt takes too long
            } else {
                Attempt();
            }
        }
    }
    CloseSession();
    Enter(LineState::Ended);
}

void Connection::Body::Attempt()
{
    {
        std::lock_guard const lock(m_mutex);
        ++m_counts.attempts;
        ++m_sessionNumber;
    }
    Enter(LineState::Connecting);
    auto wrong = m_options.address.isSecure ? WhatIsWrongWith(m_options.files) : std::string();
    if (!wrong.empty()) {
        Wait(std::move(wrong));
        return;
    }
    auto const will = m_hooks.will ? m_hooks.will() : std::nullopt;
    m_due = Clock::now() + m_options.connectLimit;
    try {
        m_session = std::make_shared<Session>(*this, m_sessionNumber);
        m_session->Connect(will);
    } catch (std::exception const& problem) {
        Leave(problem.what());
    }
}

void Connection::Body::Take(Event& event)
{
    switch (event.kind) {
    case Event::Kind::Connected:
        TakeConnected(event.limits);
        break;
    case Event::Kind::Failed:
        GiveUp(std::move(event.topic));
        break;
    case Event::Kind::Subscribed:
        TakeSubscribed(event.isGood);
        break;
    case Event::Kind::Lost:
        if (m_isConnected) {
            Leave(fmt::format("the connection to {} was lost", m_options.address.Place()));
        } else {
            GiveUp({});
        }
        break;
    case Event::Kind::Message:
        if (m_hooks.message) {
            m_hooks.message(event.topic, event.payload);
        }
        break;
    case Event::Kind::Completed:
        HandOver();
        if (m_hooks.completed) {
            m_hooks.completed(event.number, event.isGood);
        }
        break;
    }
}

void Connection::Body::TakeConnected(BrokerLimits const& limits)
{
    {
        std::lock_guard const lock(m_mutex);
        m_limits = limits;
    }
    HoldNothingBack(m_options.address.port);
    if (m_filters.empty()) {
        TakeSubscribed(true);
        return;
    }
    try {
        m_session->Subscribe(m_filters);
    } catch (mqtt::exception const&) {
        GiveUp({}); // it was lost right away
    }
}

void Connection::Body::TakeSubscribed(bool isGood)
{
    if (!isGood) {
        Leave(fmt::format("{} does not let us subscribe", m_options.address.Place()));
        return;
    }
    m_due.reset();
    m_isConnected = true;
    m_connectedAt = Clock::now();
    {
        std::lock_guard const lock(m_mutex);
        m_open = m_session;
        ++m_counts.connections;
    }
    Enter(LineState::Connected);
    if (m_hooks.connected) {
        m_hooks.connected();
    }
}

/// The attempt has failed; what the broker said of it, if anything.
void Connection::Body::GiveUp(std::string said)
{
    CloseSession();
    Wait(said.empty() ? Diagnose(m_options.address, m_options.files, std::chrono::seconds(5))
                      : fmt::format("{} refuses us: {}", m_options.address.Place(), said));
}

void Connection::Body::Leave(std::string reason)
{
    CloseSession();
    Wait(std::move(reason));
}

/// What was on its way is told as lost.
void Connection::Body::CloseSession()
{
    std::vector<std::uint64_t> lost;
    std::vector<Event> completed;
    {
        std::lock_guard const lock(m_mutex);
        m_open.reset();
        for (Event& event : m_events) {
            if (event.kind == Event::Kind::Completed && event.session == m_sessionNumber) {
                completed.push_back(std::move(event));
                event.session = 0; // it is told here
            }
        }
        for (auto const& [number, outgoing] : m_outgoing) {
            if (outgoing.qos > 0) {
                lost.push_back(number);
            }
        }
        m_outgoing.clear();
        m_outgoingBytes = 0;
        m_held.clear();
        m_onTheLine = 0;
    }
    if (m_session) {
        m_session->Close();
        m_session.reset();
    }
    if (!m_isConnected) {
        return;
    }
    m_isConnected = false;
    for (Event& event : completed) {
        Take(event);
    }
    // A pause that the connection has outlived has done its work.
    if (Clock::now() - m_connectedAt >= m_pause) {
        m_pause = {};
    }
    std::sort(lost.begin(), lost.end());
    for (auto const number : lost) {
        if (m_hooks.completed) {
            m_hooks.completed(number, false);
        }
    }
    if (m_hooks.disconnected) {
        m_hooks.disconnected();
    }
}

void Connection::Body::Wait(std::string reason)
{
    m_pause = std::clamp(2 * m_pause, m_options.leastPause, m_options.greatestPause);
    m_due = Clock::now() + m_pause;
    Enter(LineState::Waiting, std::move(reason));
}

Connection::Connection(ConnectionOptions options, std::vector<std::string> filters, ConnectionHooks hooks)
    : m_body(std::make_unique<Body>(std::move(options), std::move(filters), std::move(hooks)))
{
}

Connection::~Connection() = default;

void Connection::Start()
{
    m_body->Start();
}

std::optional<std::uint64_t> Connection::Publish(Publication const& publication)
{
    return m_body->Publish(publication);
}

void Connection::StartAgain()
{
    m_body->StartAgain();
}

void Connection::End(std::chrono::milliseconds limit)
{
    m_body->End(limit);
}

LineStatus Connection::Status() const
{
    return m_body->Status();
}

ConnectionCounts Connection::Counts() const
{
    return m_body->Counts();
}

} // namespace qx5::broker
