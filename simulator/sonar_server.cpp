// Connections, answers, pings and failures of the simulated sonar; everything here runs on its one thread.
#include <simulator/sonar_server.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <deque>
#include <future>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include <asio.hpp>

#include <protocol/bytes.h>
#include <protocol/frame_reader.h>
#include <protocol/idle_limit.h>
#include <protocol/print.h>
#include <protocol/utf8.h>
#include <simulator/flood.h>
#include <simulator/misbehaviour.h>
#include <simulator/socket_filter.h>

namespace qx5::simulator {

using asio::ip::tcp;
using protocol::TreeNode;

namespace {

using Bytes = std::vector<unsigned char>;
using SharedBytes = std::shared_ptr<Bytes const>;
using Clock = std::chrono::steady_clock;

constexpr std::size_t GreatestPingsWaiting = 64;
constexpr std::size_t SizeWordAt = 8;     // of a frame
constexpr std::uint64_t FramesToALie = 3; // the first, the fourth and so on

struct Outgoing
{
    SharedBytes bytes;
    SteadyTime due;
};

/// One host. Handlers of its operations hold it by shared pointer; `open` tells them whether it still counts.
struct Connection
{
    Connection(asio::io_context& context, tcp::socket&& accepted, std::uint64_t itsNumber, protocol::IdleLimit limit)
        : socket(std::move(accepted)), sendTimer(context), idleTimer(context), quietTimer(context), number(itsNumber),
          idleLimit(limit)
    {
    }

    tcp::socket socket;
    asio::steady_timer sendTimer;
    asio::steady_timer idleTimer;
    asio::steady_timer quietTimer;
    std::uint64_t number;
    bool open = true;
    SteadyTime heard = Clock::now(); ///< the last good frame, or the connection itself
    protocol::FrameReader reader;
    protocol::IdleLimit idleLimit;
    bool idleWatched = false; ///< the timer is under way
    std::array<unsigned char, 65536> arrived{};
    std::size_t held = 0; ///< bytes of `arrived` that came in while reading is stalled
    bool reading = false; ///< an operation is under way
    std::deque<Outgoing> queue;
    std::size_t queuedBytes = 0;
    Bytes leaving;             ///< the frame under way, with what is sent before it
    std::size_t left = 0;      ///< bytes of `leaving` that have left
    bool writing = false;      ///< an operation or the timer is under way
    bool heldBack = false;     ///< the rest of `leaving` waits until what vanished is back
    bool overflown = false;    ///< more piled up meanwhile than may wait
    bool collisionDue = false; ///< a tree of colliding keys is still to leave
    bool closeAfterWrite = false;
    bool damageTold = false;
    bool unfinishedTold = false;
    std::uint64_t bytesReceived = 0;
    std::uint64_t bytesSent = 0;
    std::uint64_t framesSent = 0;
    std::uint64_t skippedBytes = 0;

    /// Whether it has shown that it speaks the protocol.
    bool IsKnown() const { return reader.GoodFrames() > 0; }
};
using ConnectionPointer = std::shared_ptr<Connection>;

struct PingUnderWay
{
    std::int32_t number = 0;
    double range = 0.0;
    double travelTime = 0.0;
};

/// One head: what it transmits and listens to. It has one ping in the water at a time.
struct Head
{
    Head(asio::io_context& context, std::int32_t itsEnumerator) : enumerator(itsEnumerator), echoTimer(context) {}

    std::int32_t enumerator;
    asio::steady_timer echoTimer;
    std::optional<PingUnderWay> inTheWater;
    SteadyTime listensUntil; // to the last ping
    std::size_t waiting = 0; // pings that were commanded while it listened
};

std::string_view TakeWord(std::string_view& line)
{
    auto const isBlank = [](char character) { return character == ' ' || character == '\t' || character == '\r'; };
    while (!line.empty() && isBlank(line.front())) {
        line.remove_prefix(1);
    }
    std::size_t length = 0;
    while (length < line.size() && !isBlank(line[length])) {
        ++length;
    }
    std::string_view const word = line.substr(0, length);
    line.remove_prefix(length);
    while (!line.empty() && isBlank(line.front())) {
        line.remove_prefix(1);
    }
    while (!line.empty() && isBlank(line.back())) {
        line.remove_suffix(1);
    }
    return word;
}

std::string Plural(std::uint64_t count, std::string_view what)
{
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

std::string AttributeLine(Attribute const& attribute)
{
    std::string line = protocol::EncodeUtf8(attribute.text) + " = " + protocol::ValueText(attribute.value);
    if (attribute.key != nullptr && attribute.key->unit != protocol::Unit::None) {
        line += " " + std::string(protocol::UnitText(attribute.key->unit));
    }
    return line;
}

} // namespace

class SonarServer::Implementation
{
public:
    Implementation(ServerOptions options, EventSink sink)
        : m_options(std::move(options)), m_sink(std::move(sink)), m_state(m_options.utc, m_options.heads),
          m_acceptor(m_context), m_reportTimer(m_context), m_pingTimer(m_context), m_recordingTimer(m_context),
          m_rebootTimer(m_context), m_retryTimer(m_context), m_work(asio::make_work_guard(m_context))
    {
        m_heads.reserve(static_cast<std::size_t>(m_options.heads));
        for (std::int32_t enumerator = 0; enumerator < m_options.heads; ++enumerator) {
            m_heads.emplace_back(m_context, enumerator);
        }
    }

    std::optional<StartError> Start()
    {
        asio::error_code error;
        std::string const host = m_options.address == "localhost" ? "127.0.0.1" : m_options.address;
        auto const address = asio::ip::make_address(host, error);
        if (error) {
            return StartError{StartError::Kind::BadAddress,
                              "'" + m_options.address +
                                  "' is no address to listen on; take one of this machine, such as 127.0.0.1"};
        }
        m_endpoint = tcp::endpoint(address, m_options.port);
        if (Listen(error)) {
            m_port = m_endpoint.port();
            std::lock_guard const lock(m_runningMutex);
            m_thread = std::thread([this] { Run(); });
            m_running = true;
            return std::nullopt;
        }
        // Asio has no name for it, and its codes do not compare with conditions of the standard library.
        bool const isNoAddressHere =
            std::error_code(error.value(), std::system_category()) == std::errc::address_not_available;
        std::string const where = "port " + std::to_string(m_options.port) + " on " + host;
        if (error == asio::error::address_in_use) {
            return StartError{StartError::Kind::PortInUse, where + " is in use; choose another, or 0 for any"};
        }
        if (error == asio::error::access_denied) {
            return StartError{StartError::Kind::Other, where + " may not be used; choose one above 1023, or 0 for any"};
        }
        if (isNoAddressHere || error == asio::error::address_family_not_supported) {
            return StartError{StartError::Kind::BadAddress,
                              "this machine has no address " + host + "; take one of its own, such as 127.0.0.1"};
        }
        return StartError{StartError::Kind::Other, where + ": " + error.message()};
    }

    void Stop()
    {
        {
            std::lock_guard const lock(m_runningMutex);
            if (!m_running) {
                return;
            }
            m_running = false;
            // Commands posted before are carried out before; none come after.
            try {
                asio::post(m_context, [this] { CloseAll(); });
            } catch (std::bad_alloc const&) {
                m_stopWanted.store(true);
                m_context.stop();
            }
        }
        m_thread.join();
    }

    std::uint16_t Port() const { return m_port; }

    enum class Called : std::uint8_t
    {
        Done,
        NotRunning,
        Failed,
    };

    /// Runs `task` on the sonar's thread and waits for it. Where it fails, the sonar begins anew.
    Called Call(std::function<void()> const& task)
    {
        auto const done = std::make_shared<std::promise<Called>>();
        bool isOwnThread = false;
        {
            std::lock_guard const lock(m_runningMutex);
            if (!m_running) {
                return Called::NotRunning;
            }
            isOwnThread = std::this_thread::get_id() == m_thread.get_id();
            if (!isOwnThread) {
                asio::post(m_context, [&task, done] {
                    try {
                        task();
                    } catch (...) {
                        done->set_value(Called::Failed);
                        throw;
                    }
                    done->set_value(Called::Done);
                });
            }
        }
        if (!isOwnThread) {
            return done->get_future().get();
        }
        task();
        return Called::Done;
    }

    bool Command(std::string_view line, std::string& answer);
    ServerCounts Counts() const;

private:
    // Connections.
    bool Listen(asio::error_code& error);
    void ListenAgain();
    void Accept();
    void Take(tcp::socket&& socket);
    bool MakeRoom();
    void AwaitFirstFrame(ConnectionPointer const& connection);
    void BoundUnfinished();
    void Close(ConnectionPointer const& connection, std::string_view why);
    void CloseConnections(std::string_view why);
    void CloseAll();
    void Run() noexcept;
    void BeginAnew();
    void Read(ConnectionPointer const& connection);
    void TakeBytes(ConnectionPointer const& connection, std::size_t count);
    void TakeFrames(ConnectionPointer const& connection);
    void WatchIdle(ConnectionPointer const& connection);
    void LookForIdle(ConnectionPointer const& connection);
    void TakeFrame(ConnectionPointer const& connection, protocol::FrameView const& frame);
    void Send(ConnectionPointer const& connection, SharedBytes const& bytes);
    void Broadcast(SharedBytes const& bytes);
    void PumpWrites(ConnectionPointer const& connection);
    void Write(ConnectionPointer const& connection);
    void WriteBytes(ConnectionPointer const& connection, std::size_t count);
    void WriteOn();
    SharedBytes NextFrame(ConnectionPointer const& connection);
    SharedBytes FloodFrame(FloodRecord const& record);
    void AppendGarbage(Bytes& bytes);
    void AppendLie(Bytes& bytes, Bytes const& frame);
    bool Vanish(bool vanish);
    bool Misbehave(std::string_view name, std::string_view argument, std::string& answer);
    void Behave();
    void Introduce(ConnectionPointer const& connection);
    std::int32_t EnumeratorOf(Head const& head) const;
    SharedBytes TreeFrame(std::vector<TreeNode> nodes, Head const& head);

    // The sonar's own doing.
    std::span<Head> HeadsAt(protocol::Target target);
    void AnswerRecord(ConnectionPointer const& connection, Understood const& request);
    void StateChanged();
    void Report();
    void TickRecording();
    void SchedulePings();
    bool IsListening() const;
    std::string PingAtCommand(std::span<Head> heads, bool& done);
    void Transmit(Head& head, bool commanded);
    void AwaitEchoes(Head& head);
    void EchoesAreIn(Head& head);
    void PowerDown(bool reboot);
    void PowerUp();

    void Tell(EventKind kind, std::string_view text, std::uint64_t connection = 0);
    void Tell(SonarEvent event);

    std::string StateText(std::string_view key, bool& known) const;
    std::string StatusText() const;

    ServerOptions m_options;
    EventSink m_sink;
    SonarState m_state;
    asio::io_context m_context{1};
    tcp::acceptor m_acceptor;
    tcp::endpoint m_endpoint;
    asio::steady_timer m_reportTimer;
    asio::steady_timer m_pingTimer;
    asio::steady_timer m_recordingTimer;
    asio::steady_timer m_rebootTimer;
    asio::steady_timer m_retryTimer;
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    std::vector<ConnectionPointer> m_connections;
    Misbehaviour m_misbehaviour;
    ServerCounts m_counts; // of connections that ended, and of what belongs to none
    std::uint64_t m_lastNumber = 0;
    std::uint32_t m_garbageSeed = 1;
    std::uint64_t m_framesSinceLie = 0;
    std::uint64_t m_floodRecords = 0;
    bool m_poweredOn = true;
    bool m_stopping = false;
    bool m_reportScheduled = false;
    bool m_tickScheduled = false;
    bool m_pingScheduled = false;
    bool m_hasPinged = false;
    SteadyTime m_lastPing;                 // when it was due
    std::vector<Head> m_heads;             // all there from the beginning; their timers' handlers refer to them
    std::atomic<bool> m_stopWanted{false}; // where the end could not be posted
    std::thread m_thread;
    std::mutex m_runningMutex; // no task is posted after the last one; guards m_thread's id while m_running
    bool m_running = false;
    std::uint16_t m_port = 0;
};

void SonarServer::Implementation::Tell(SonarEvent event)
{
    event.utcSeconds = m_state.UtcSeconds();
    if (m_sink) {
        m_sink(event);
    }
}

void SonarServer::Implementation::Tell(EventKind kind, std::string_view text, std::uint64_t connection)
{
    Tell({.kind = kind, .connection = connection, .text = text});
}

bool SonarServer::Implementation::Listen(asio::error_code& error)
{
    asio::error_code ignored;
    m_acceptor.close(ignored);
    m_acceptor.open(m_endpoint.protocol(), error);
    if (error) {
        return false;
    }
#ifndef _WIN32
    // There the option would let two programs listen on one port.
    m_acceptor.set_option(tcp::acceptor::reuse_address(true), ignored);
#endif
    m_acceptor.bind(m_endpoint, error);
    if (!error) {
        m_acceptor.listen(asio::socket_base::max_listen_connections, error);
    }
    if (error) {
        m_acceptor.close(ignored);
        return false;
    }
    m_endpoint = m_acceptor.local_endpoint(ignored); // keeps a port that the system chose
    if (m_misbehaviour.vanish) {
        DropWhatArrives(m_acceptor.native_handle(), true);
    }
    Accept();
    return true;
}

void SonarServer::Implementation::ListenAgain()
{
    if (m_stopping || !m_poweredOn || m_misbehaviour.refusal == Refusal::NotListening || m_acceptor.is_open()) {
        return;
    }
    asio::error_code error;
    if (Listen(error)) {
        return;
    }
    // Somebody took the port meanwhile.
    Tell(EventKind::Notice, "cannot listen again: " + error.message() + "; trying once a second");
    m_retryTimer.expires_after(std::chrono::seconds(1));
    m_retryTimer.async_wait([this](asio::error_code const& waited) {
        if (!waited) {
            ListenAgain();
        }
    });
}

void SonarServer::Implementation::Accept()
{
    m_acceptor.async_accept([this](asio::error_code const& error, tcp::socket socket) {
        if (m_stopping || error == asio::error::operation_aborted || !m_acceptor.is_open()) {
            return;
        }
        if (!error) {
            Take(std::move(socket));
            Accept();
            return;
        }
        // Out of descriptors or the like: not worth a busy loop.
        m_retryTimer.expires_after(std::chrono::milliseconds(100));
        m_retryTimer.async_wait([this](asio::error_code const& waited) {
            if (!waited && m_acceptor.is_open()) {
                Accept();
            }
        });
    });
}

void SonarServer::Implementation::Take(tcp::socket&& socket)
{
    asio::error_code error;
    if (m_misbehaviour.refusal != Refusal::None || !MakeRoom()) {
        ++m_counts.refused;
        bool const full = m_misbehaviour.refusal == Refusal::None;
        socket.close(error);
        Tell(EventKind::Notice, full ? "a connection was refused: there are too many" : "a connection was refused");
        return;
    }
    socket.set_option(tcp::no_delay(true), error);
    auto const remote = socket.remote_endpoint(error);
    auto const connection = std::make_shared<Connection>(
        m_context, std::move(socket), ++m_lastNumber, protocol::IdleLimit(m_options.idleLimit, m_options.frameShare));
    ++m_counts.connections;
    m_connections.push_back(connection);
    Tell(EventKind::Connected,
         error ? std::string("unknown") : remote.address().to_string() + ":" + std::to_string(remote.port()),
         connection->number);
    if (!connection->open) {
        return;
    }
    if (m_misbehaviour.vanish) {
        DropWhatArrives(connection->socket.native_handle(), true);
    }
    connection->collisionDue = m_misbehaviour.collidingKeys > 0;
    Introduce(connection);
    PumpWrites(connection);
    AwaitFirstFrame(connection);
    Read(connection);
}

/// Sees to it that there is room for one more. Those who never sent a frame cannot keep a host out, nor can those who
/// sent one once and then nothing; a host that is at work keeps its place.
bool SonarServer::Implementation::MakeRoom()
{
    if (m_connections.size() < m_options.greatestConnections) {
        return true;
    }
    auto const known = [](ConnectionPointer const& connection) { return connection->IsKnown(); };
    auto const oldest = std::min_element(m_connections.begin(), m_connections.end(),
                                         [&](ConnectionPointer const& a, ConnectionPointer const& b) {
                                             return std::pair(known(a), a->heard) < std::pair(known(b), b->heard);
                                         });
    if (oldest == m_connections.end() || (known(*oldest) && Clock::now() - (*oldest)->heard < m_options.quietLimit)) {
        return false;
    }
    Close(ConnectionPointer(*oldest), "it gives way to another connection");
    return true;
}

void SonarServer::Implementation::AwaitFirstFrame(ConnectionPointer const& connection)
{
    if (!connection->open) {
        return;
    }
    connection->quietTimer.expires_after(m_options.quietLimit);
    connection->quietTimer.async_wait([this, connection](asio::error_code const& error) {
        if (error || !connection->open || connection->IsKnown()) {
            return;
        }
        // Where this side does not listen, nobody can be heard; and a host that only reads may, while there is room.
        bool const isDeaf = m_misbehaviour.stall || m_misbehaviour.vanish || connection->held > 0;
        bool const onlyReads =
            connection->bytesReceived == 0 && m_connections.size() <= m_options.greatestConnections / 2;
        if (isDeaf || onlyReads) {
            AwaitFirstFrame(connection);
        } else {
            Close(connection, "it has sent no record");
        }
    });
}

void SonarServer::Implementation::BoundUnfinished()
{
    for (;;) {
        std::size_t sum = 0;
        for (ConnectionPointer const& connection : m_connections) {
            sum += connection->reader.BufferedBytes();
        }
        if (sum <= m_options.greatestUnfinished) {
            return;
        }
        auto const weight = [](ConnectionPointer const& connection) {
            auto const bytes = connection->reader.BufferedBytes();
            return std::pair(bytes > 0 && !connection->IsKnown(), bytes);
        };
        auto const heaviest = std::max_element(
            m_connections.begin(), m_connections.end(),
            [&](ConnectionPointer const& a, ConnectionPointer const& b) { return weight(a) < weight(b); });
        Close(ConnectionPointer(*heaviest), "unfinished frames take too much memory");
    }
}

void SonarServer::Implementation::Introduce(ConnectionPointer const& connection)
{
    if (m_misbehaviour.silent || !connection->open) {
        return;
    }
    for (Head const& head : m_heads) {
        Send(connection, TreeFrame(m_state.Introduction(), head));
    }
    Tell(EventKind::Answered, "introduction", connection->number);
}

void SonarServer::Implementation::Close(ConnectionPointer const& connection, std::string_view why)
{
    if (!connection->open) {
        return;
    }
    connection->open = false;
    asio::error_code ignored;
    connection->socket.close(ignored);
    connection->sendTimer.cancel();
    connection->idleTimer.cancel();
    connection->quietTimer.cancel();
    connection->queue.clear();
    connection->queuedBytes = 0;
    std::erase(m_connections, connection);
    auto const records = connection->reader.GoodFrames();
    m_counts.bytesReceived += connection->bytesReceived;
    m_counts.bytesSent += connection->bytesSent;
    m_counts.recordsReceived += records;
    m_counts.framesSent += connection->framesSent;
    m_counts.skippedBytes += connection->reader.SkippedBytes();
    Tell(EventKind::Disconnected,
         std::string(why) + "; " + Plural(records, "record") + " received, " + Plural(connection->framesSent, "frame") +
             " sent, " + Plural(connection->reader.SkippedBytes(), "byte") + " of no frame",
         connection->number);
}

void SonarServer::Implementation::CloseConnections(std::string_view why)
{
    while (!m_connections.empty()) {
        Close(ConnectionPointer(m_connections.back()), why);
    }
}

void SonarServer::Implementation::CloseAll()
{
    m_stopping = true;
    asio::error_code ignored;
    m_acceptor.close(ignored);
    CloseConnections("the sonar ends");
    for (auto* const timer : {&m_reportTimer, &m_pingTimer, &m_recordingTimer, &m_rebootTimer, &m_retryTimer}) {
        timer->cancel();
    }
    for (Head& head : m_heads) {
        head.echoTimer.cancel();
    }
    m_work.reset();
}

/// Whatever fails in a handler, such as memory that runs out, costs the connections and what was under way, not the
/// sonar.
void SonarServer::Implementation::Run() noexcept
{
    for (bool anew = false;;) {
        try {
            if (m_stopWanted.load()) {
                CloseAll();
            } else if (anew) {
                BeginAnew();
            }
            anew = false;
            m_context.run();
            if (m_stopping) {
                return;
            }
        } catch (...) {
            anew = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        m_context.restart();
    }
}

void SonarServer::Implementation::BeginAnew()
{
    if (m_stopping) {
        CloseAll();
        return;
    }
    for (auto* const timer : {&m_reportTimer, &m_pingTimer, &m_recordingTimer, &m_retryTimer}) {
        timer->cancel();
    }
    m_reportScheduled = false;
    m_tickScheduled = false;
    m_pingScheduled = false;
    for (Head& head : m_heads) {
        head.echoTimer.cancel();
        head.inTheWater.reset();
        head.waiting = 0;
    }
    CloseConnections("something failed in the sonar, which begins anew");
    asio::error_code ignored;
    m_acceptor.close(ignored);
    ListenAgain();
    StateChanged();
}

void SonarServer::Implementation::Read(ConnectionPointer const& connection)
{
    if (!connection->open || connection->reading || m_misbehaviour.stall) {
        return;
    }
    if (std::size_t const held = std::exchange(connection->held, 0); held > 0) {
        TakeBytes(connection, held);
        if (!connection->open) {
            return;
        }
    }
    connection->reading = true;
    connection->socket.async_read_some(
        asio::buffer(connection->arrived), [this, connection](asio::error_code const& error, std::size_t count) {
            connection->reading = false;
            if (!connection->open) {
                return;
            }
            if (error) {
                Close(connection, error == asio::error::eof ? "the host closed the link" : error.message());
                return;
            }
            connection->bytesReceived += count;
            if (m_misbehaviour.stall) {
                connection->held = count;
                return;
            }
            TakeBytes(connection, count);
            Read(connection);
        });
}

void SonarServer::Implementation::TakeBytes(ConnectionPointer const& connection, std::size_t count)
{
    connection->reader.Feed(std::span(connection->arrived).first(count));
    TakeFrames(connection);
    BoundUnfinished();
    if (connection->open) {
        connection->idleLimit.Heard(connection->reader, Clock::now());
        WatchIdle(connection);
    }
    StateChanged();
}

void SonarServer::Implementation::TakeFrames(ConnectionPointer const& connection)
{
    while (connection->open) {
        auto const frame = connection->reader.Next();
        if (!frame) {
            break;
        }
        connection->heard = Clock::now();
        TakeFrame(connection, *frame);
    }
    connection->reader.Feed({}); // gives back what a large frame took
    if (connection->open && !connection->damageTold && connection->reader.SkippedBytes() > 0) {
        connection->damageTold = true;
        Tell(EventKind::Damaged, "bytes that belong to no frame are skipped", connection->number);
    }
}

// One timer at a time, and what moves the limit back leaves the timer alone: it looks and waits again.
void SonarServer::Implementation::WatchIdle(ConnectionPointer const& connection)
{
    auto const due = connection->idleLimit.Due();
    if (!connection->open || !due || (connection->idleWatched && *due >= connection->idleTimer.expiry())) {
        return;
    }
    connection->idleWatched = true;
    connection->idleTimer.expires_at(*due);
    connection->idleTimer.async_wait([this, connection](asio::error_code const& error) {
        if (error || !connection->open) {
            return;
        }
        connection->idleWatched = false;
        LookForIdle(connection);
    });
}

void SonarServer::Implementation::LookForIdle(ConnectionPointer const& connection)
{
    auto const now = Clock::now();
    auto& limit = connection->idleLimit;
    asio::error_code ignored;
    if (m_misbehaviour.stall || connection->held > 0) {
        // It is this side that keeps the rest waiting.
        limit.Restart(connection->reader, now);
        WatchIdle(connection);
        return;
    }
    if (limit.Doubt(connection->reader, now)) {
        TakeFrames(connection);
        limit.Taken(connection->reader, now);
        StateChanged();
    }
    if (connection->open && connection->socket.available(ignored) > 0) {
        limit.Heard(connection->reader, now);
    } else if (connection->open && limit.Expire(connection->reader, now)) {
        // Told below in words of its own.
        connection->damageTold = true;
        TakeFrames(connection);
        if (connection->open && !std::exchange(connection->unfinishedTold, true)) {
            Tell(EventKind::Damaged, "a frame that was begun got no further byte and is skipped", connection->number);
        }
        StateChanged();
    }
    WatchIdle(connection);
}

void SonarServer::Implementation::TakeFrame(ConnectionPointer const& connection, protocol::FrameView const& frame)
{
    Understood const record = m_state.Apply(frame, Clock::now());
    Tell({.kind = EventKind::Record, .connection = connection->number, .text = {}, .record = &record, .frame = &frame});
    switch (record.effect) {
    case Effect::None:
        break;
    case Effect::AnswerRecord:
        AnswerRecord(connection, record);
        break;
    case Effect::Ping: {
        bool done = false;
        PingAtCommand(HeadsAt(record.target), done);
        break;
    }
    case Effect::ShutDown:
        PowerDown(false);
        break;
    case Effect::Reboot:
        PowerDown(true);
        break;
    }
    if (m_misbehaviour.recordsUntilDrop && --*m_misbehaviour.recordsUntilDrop == 0) {
        m_misbehaviour.recordsUntilDrop.reset();
        Close(connection, "dropped on demand");
    }
}

// Of several heads each says who it is; a single one is the operation mode that it is in. For the rest they have the
// same to tell.
std::int32_t SonarServer::Implementation::EnumeratorOf(Head const& head) const
{
    auto const* const mode = m_heads.size() == 1 ? m_state.Find(protocol::keys::DeviceEnum) : nullptr;
    return mode != nullptr ? std::get<std::int32_t>(*mode) : head.enumerator;
}

SharedBytes SonarServer::Implementation::TreeFrame(std::vector<TreeNode> nodes, Head const& head)
{
    std::int32_t const enumerator = EnumeratorOf(head);
    if (m_heads.size() > 1) {
        for (TreeNode& node : nodes) {
            if (node.key == protocol::keys::DeviceEnum.text) {
                node.value = enumerator;
            }
        }
    }
    std::string error;
    auto const payload = protocol::EncodeTree(nodes, error);
    if (!payload) {
        Tell(EventKind::Notice, "an answer cannot be sent: " + error);
        return {};
    }
    return std::make_shared<Bytes const>(protocol::BuildFrame(
        protocol::records::AttributeTree.Id(), {model::DeviceId, enumerator}, m_state.UtcSeconds(), *payload));
}

void SonarServer::Implementation::Send(ConnectionPointer const& connection, SharedBytes const& bytes)
{
    if (!bytes || !connection->open || m_misbehaviour.silent) {
        return;
    }
    if (connection->queuedBytes + bytes->size() > m_options.greatestSendQueue) {
        // An end would leave, too.
        if (m_misbehaviour.vanish) {
            connection->overflown = true;
        } else {
            Close(connection, "the host does not read");
        }
        return;
    }
    // An answer never overtakes an earlier one, even when the delay has become shorter.
    SteadyTime due = Clock::now() + m_misbehaviour.answerLate;
    if (!connection->queue.empty()) {
        due = std::max(due, connection->queue.back().due);
    }
    connection->queue.push_back({bytes, due});
    connection->queuedBytes += bytes->size();
    PumpWrites(connection);
}

void SonarServer::Implementation::Broadcast(SharedBytes const& bytes)
{
    auto const connections = m_connections; // Send may close one
    for (ConnectionPointer const& connection : connections) {
        Send(connection, bytes);
    }
}

void SonarServer::Implementation::AppendGarbage(Bytes& bytes)
{
    for (std::size_t i = 0; i < m_misbehaviour.garbageBytes; ++i) {
        m_garbageSeed = m_garbageSeed * 1664525U + 1013904223U;
        bytes.push_back(static_cast<unsigned char>(m_garbageSeed >> 24U));
    }
}

// The copy is no frame, and what is told is none the less told: the good frame follows it.
void SonarServer::Implementation::AppendLie(Bytes& bytes, Bytes const& frame)
{
    if (!m_misbehaviour.claimedSize || m_framesSinceLie++ % FramesToALie != 0) {
        return;
    }
    std::size_t const begin = bytes.size();
    bytes.insert(bytes.end(), frame.begin(), frame.end());
    protocol::PutU32LE(bytes, begin + SizeWordAt, *m_misbehaviour.claimedSize);
}

SharedBytes SonarServer::Implementation::FloodFrame(FloodRecord const& record)
{
    Head const& head = m_heads[static_cast<std::size_t>(m_floodRecords++ % m_heads.size())];
    return std::make_shared<Bytes const>(
        protocol::BuildFrame(record.id, {model::DeviceId, EnumeratorOf(head)}, m_state.UtcSeconds(), record.payload));
}

/// What leaves next; nothing while there is nothing, or it is not due yet. Floods wait for whatever else is to leave,
/// and are made as the line takes them.
SharedBytes SonarServer::Implementation::NextFrame(ConnectionPointer const& connection)
{
    auto& queue = connection->queue;
    if (!queue.empty() && queue.front().due <= Clock::now()) {
        SharedBytes next = std::move(queue.front().bytes);
        queue.pop_front();
        connection->queuedBytes -= next->size();
        return next;
    }
    if (m_misbehaviour.silent) {
        return {};
    }
    if (std::exchange(connection->collisionDue, false)) {
        return FloodFrame(CollidingTree(m_misbehaviour.collidingKeys));
    }
    if (m_misbehaviour.flood != nullptr) {
        return FloodFrame(m_misbehaviour.flood->make(m_floodRecords, m_state));
    }
    return {};
}

void SonarServer::Implementation::PumpWrites(ConnectionPointer const& connection)
{
    if (!connection->open || connection->writing || m_misbehaviour.vanish) {
        return;
    }
    SharedBytes const next = NextFrame(connection);
    if (!next) {
        if (connection->queue.empty()) {
            return;
        }
        connection->writing = true;
        connection->sendTimer.expires_at(connection->queue.front().due);
        connection->sendTimer.async_wait([this, connection](asio::error_code const&) {
            connection->writing = false;
            PumpWrites(connection);
        });
        return;
    }
    connection->writing = true;
    connection->leaving.clear();
    AppendGarbage(connection->leaving);
    AppendLie(connection->leaving, *next);
    std::size_t length = next->size();
    if (std::exchange(m_misbehaviour.halfFrame, false)) {
        length /= 2;
        connection->closeAfterWrite = true;
    }
    connection->leaving.insert(connection->leaving.end(), next->begin(),
                               next->begin() + static_cast<std::ptrdiff_t>(length));
    connection->left = 0;
    Write(connection);
}

void SonarServer::Implementation::Write(ConnectionPointer const& connection)
{
    if (!connection->open) {
        return;
    }
    if (m_misbehaviour.vanish) {
        connection->heldBack = true;
        return;
    }
    if (m_misbehaviour.slowDrip.count() > 0) {
        connection->sendTimer.expires_after(m_misbehaviour.slowDrip);
        connection->sendTimer.async_wait([this, connection](asio::error_code const&) {
            if (!connection->open) {
                return;
            }
            if (m_misbehaviour.vanish) {
                connection->heldBack = true;
            } else {
                WriteBytes(connection, 1);
            }
        });
        return;
    }
    WriteBytes(connection, m_misbehaviour.split ? 1 : connection->leaving.size() - connection->left);
}

/// At least one byte is left.
void SonarServer::Implementation::WriteBytes(ConnectionPointer const& connection, std::size_t count)
{
    asio::async_write(connection->socket, asio::buffer(connection->leaving.data() + connection->left, count),
                      [this, connection](asio::error_code const& error, std::size_t written) {
                          if (!connection->open) {
                              return;
                          }
                          if (error) {
                              Close(connection, error.message());
                              return;
                          }
                          connection->bytesSent += written;
                          connection->left += written;
                          if (connection->left < connection->leaving.size()) {
                              Write(connection);
                              return;
                          }
                          if (connection->closeAfterWrite) {
                              Close(connection, "dropped on demand after half a frame");
                              return;
                          }
                          ++connection->framesSent;
                          connection->writing = false;
                          PumpWrites(connection);
                      });
}

/// After a change of failures: what waits for a time or for another change looks again.
void SonarServer::Implementation::WriteOn()
{
    auto const connections = m_connections; // writing may close one
    for (ConnectionPointer const& connection : connections) {
        connection->sendTimer.cancel();
        if (m_misbehaviour.vanish) {
            continue;
        }
        if (std::exchange(connection->heldBack, false)) {
            Write(connection);
        } else {
            PumpWrites(connection);
        }
    }
}

/// False where the system cannot; nothing has changed then.
bool SonarServer::Implementation::Vanish(bool vanish)
{
    bool done = true;
    if (m_acceptor.is_open()) {
        done = DropWhatArrives(m_acceptor.native_handle(), vanish);
    }
    for (ConnectionPointer const& connection : m_connections) {
        done = DropWhatArrives(connection->socket.native_handle(), vanish) && done;
    }
    if (!done && vanish) {
        Vanish(false);
    }
    return done;
}

bool SonarServer::Implementation::Misbehave(std::string_view name, std::string_view argument, std::string& answer)
{
    Misbehaviour const before = m_misbehaviour;
    bool dropNow = false;
    if (!AddMisbehaviour(name, argument, m_misbehaviour, dropNow, answer)) {
        return false;
    }
    if (m_misbehaviour.vanish && !before.vanish && !Vanish(true)) {
        m_misbehaviour = before;
        answer = "this system lets this user not filter sockets, which vanishing takes; root may";
        return false;
    }
    if (name == "collide") {
        for (ConnectionPointer const& connection : m_connections) {
            connection->collisionDue = true;
        }
    } else if (name == "lie-about-size") {
        m_framesSinceLie = 0;
    }
    if (dropNow) {
        CloseConnections("dropped on demand");
    }
    if (m_misbehaviour.refusal == Refusal::NotListening) {
        asio::error_code ignored;
        m_acceptor.close(ignored);
    } else {
        ListenAgain();
    }
    WriteOn();
    answer = "failures: " + Describe(m_misbehaviour);
    return true;
}

void SonarServer::Implementation::Behave()
{
    Misbehaviour const before = std::exchange(m_misbehaviour, {});
    if (before.vanish) {
        Vanish(false);
    }
    ListenAgain();
    auto const connections = m_connections; // reading and writing may close one
    for (ConnectionPointer const& connection : connections) {
        connection->collisionDue = false;
        if (connection->overflown) {
            Close(connection, "the host does not read");
        }
        // What was told in between was not true.
        if (before.flood != nullptr) {
            Introduce(connection);
        }
        Read(connection);
    }
    WriteOn();
}

// A frame that is for one of several heads names it; any other is for all.
std::span<Head> SonarServer::Implementation::HeadsAt(protocol::Target target)
{
    std::span<Head> const all(m_heads);
    if (all.size() == 1 || target.deviceId != model::DeviceId || target.enumerator < 0) {
        return all;
    }
    auto const head = static_cast<std::size_t>(target.enumerator);
    if (head < all.size()) {
        return all.subspan(head, 1);
    }
    Tell(EventKind::Notice, "the sonar has no head " + std::to_string(target.enumerator));
    return {};
}

void SonarServer::Implementation::AnswerRecord(ConnectionPointer const& connection, Understood const& request)
{
    auto const nodes = m_state.Answer(request.requestedRecord);
    std::string const record = "record " + std::to_string(request.requestedRecord);
    if (!nodes) {
        m_state.CountUnknownRequest();
        Tell(EventKind::Notice, record + " was asked for; the sonar has none");
        return;
    }
    if (m_misbehaviour.silent) {
        return;
    }
    for (Head const& head : HeadsAt(request.target)) {
        Send(connection, TreeFrame(*nodes, head));
    }
    Tell(EventKind::Answered, record + ", " + Plural(nodes->size(), "attribute"), connection->number);
}

void SonarServer::Implementation::StateChanged()
{
    SchedulePings();
    if (m_state.IsRecording() && !m_tickScheduled && !m_stopping) {
        m_tickScheduled = true;
        m_recordingTimer.expires_after(m_options.recordingTick);
        m_recordingTimer.async_wait([this](asio::error_code const& error) {
            m_tickScheduled = false;
            if (!error && !m_stopping) {
                TickRecording();
            }
        });
    }
    if (m_reportScheduled || m_stopping || !m_state.HasReport()) {
        return;
    }
    m_reportScheduled = true;
    m_reportTimer.expires_after(m_options.reportLatency);
    m_reportTimer.async_wait([this](asio::error_code const& error) {
        m_reportScheduled = false;
        if (!error && !m_stopping) {
            Report();
        }
    });
}

void SonarServer::Implementation::Report()
{
    auto const nodes = m_state.TakeReport();
    if (nodes.empty() || m_connections.empty() || m_misbehaviour.silent) {
        return;
    }
    for (Head const& head : m_heads) {
        Broadcast(TreeFrame(nodes, head));
    }
    std::string text = Plural(nodes.size(), "changed attribute") + ":";
    for (TreeNode const& node : nodes) {
        text += " " + protocol::EncodeUtf8(node.key);
    }
    Tell(EventKind::Answered, text);
}

void SonarServer::Implementation::TickRecording()
{
    m_state.Advance(Clock::now());
    StateChanged();
}

void SonarServer::Implementation::SchedulePings()
{
    double const rate = m_state.PingRate();
    if (m_stopping || !m_poweredOn || !m_state.PingsOn() || !(rate > 0.0)) {
        if (std::exchange(m_pingScheduled, false)) {
            m_pingTimer.cancel();
        }
        return;
    }
    // No faster than the echoes come in, and from ping to ping on the steady clock, so that nothing adds up.
    auto const byRate = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / rate));
    auto const interval = std::max<Clock::duration>({byRate, m_state.TravelTime(), std::chrono::milliseconds(1)});
    auto const now = Clock::now();
    SteadyTime due = m_hasPinged ? std::max(m_lastPing + interval, now) : now;
    for (Head const& head : m_heads) {
        due = std::max(due, head.listensUntil);
    }
    if (m_pingScheduled && m_pingTimer.expiry() == due) {
        return;
    }
    m_pingScheduled = true;
    m_pingTimer.expires_at(due);
    m_pingTimer.async_wait([this](asio::error_code const& error) {
        if (error || !m_pingScheduled) {
            return; // timed anew, or not wanted any more
        }
        m_pingScheduled = false;
        // A command may have been quicker.
        if (!IsListening()) {
            m_lastPing = m_pingTimer.expiry();
            m_hasPinged = true;
            for (Head& head : m_heads) {
                Transmit(head, false);
            }
        }
        SchedulePings();
    });
}

bool SonarServer::Implementation::IsListening() const
{
    auto const now = Clock::now();
    return std::any_of(m_heads.begin(), m_heads.end(), [&](Head const& head) { return head.listensUntil > now; });
}

/// One ping of each head; one that listens pings when its echoes are in. Tells what came of it.
std::string SonarServer::Implementation::PingAtCommand(std::span<Head> heads, bool& done)
{
    done = true;
    std::string text = "no head pings";
    for (Head& head : heads) {
        if (head.listensUntil <= Clock::now()) {
            Transmit(head, true);
            text = "ping " + std::to_string(m_state.Pings());
        } else if (head.waiting < GreatestPingsWaiting) {
            ++head.waiting;
            text = "the sonar listens; the ping waits until the echoes are in";
        } else {
            text = "too many pings wait; this one is left out";
            Tell(EventKind::Notice, text);
            done = false;
        }
    }
    return text;
}

// The sonar tells its settings as it pings, so that a host knows how long the echoes can take.
void SonarServer::Implementation::Transmit(Head& head, bool commanded)
{
    if (m_stopping || !m_poweredOn) {
        return;
    }
    EchoesAreIn(head);     // of the ping before, if their timer is a little late
    if (head.inTheWater) { // whoever was told of them commanded another
        head.waiting += commanded ? 1U : 0U;
        return;
    }
    auto const [number, utcSeconds] = m_state.CountPing();
    ++m_counts.pings;
    auto const travelTime = m_state.TravelTime();
    double const seconds = std::chrono::duration<double>(travelTime).count();
    auto const* const rangeValue = m_state.Find(protocol::keys::x5Range);
    auto const* const range = rangeValue != nullptr ? std::get_if<double>(rangeValue) : nullptr;
    head.inTheWater = PingUnderWay{number, range != nullptr ? *range : 0.0, seconds};
    head.listensUntil = Clock::now() + travelTime;
    AwaitEchoes(head);
    Tell({.kind = EventKind::Pinged,
          .text = {},
          .pingNumber = number,
          .head = m_heads.size() > 1 ? head.enumerator : -1,
          .pingRange = head.inTheWater->range,
          .pingTravelTime = seconds});
    if ((commanded || m_options.announcePings) && !m_connections.empty() && !m_misbehaviour.silent) {
        Broadcast(TreeFrame(m_state.PingReport(number, utcSeconds), head));
        Tell(EventKind::Answered, "settings of ping " + std::to_string(number));
    }
}

void SonarServer::Implementation::AwaitEchoes(Head& head)
{
    head.echoTimer.expires_at(head.listensUntil);
    head.echoTimer.async_wait([this, &head](asio::error_code const& error) {
        if (error || m_stopping || head.listensUntil > Clock::now()) {
            return;
        }
        EchoesAreIn(head);
        if (head.waiting > 0 && !head.inTheWater) {
            --head.waiting;
            Transmit(head, true);
        }
    });
}

void SonarServer::Implementation::EchoesAreIn(Head& head)
{
    auto const ping = std::exchange(head.inTheWater, std::nullopt);
    if (!ping) {
        return;
    }
    Tell({.kind = EventKind::Echoed,
          .text = {},
          .pingNumber = ping->number,
          .head = m_heads.size() > 1 ? head.enumerator : -1,
          .pingRange = ping->range,
          .pingTravelTime = ping->travelTime});
}

void SonarServer::Implementation::PowerDown(bool reboot)
{
    m_poweredOn = false;
    m_state.Restart(Clock::now());
    m_state.TakeReport(); // nobody is there to be told; who comes is told everything
    for (Head& head : m_heads) {
        head.inTheWater.reset();
        head.listensUntil = {};
        head.waiting = 0;
        head.echoTimer.cancel();
    }
    SchedulePings();
    asio::error_code ignored;
    m_acceptor.close(ignored);
    CloseConnections(reboot ? "the sonar restarts" : "the sonar was shut down");
    Tell(EventKind::Notice, reboot ? "restarting" : "shut down; 'start' brings it back");
    m_rebootTimer.cancel();
    if (!reboot) {
        return;
    }
    m_rebootTimer.expires_after(m_options.rebootTime);
    m_rebootTimer.async_wait([this](asio::error_code const& error) {
        if (!error && !m_stopping && !m_poweredOn) {
            PowerUp();
        }
    });
}

void SonarServer::Implementation::PowerUp()
{
    m_rebootTimer.cancel();
    m_poweredOn = true;
    m_hasPinged = false;
    ListenAgain();
    if (m_acceptor.is_open()) {
        Tell(EventKind::Notice, "up again, listening on port " + std::to_string(m_endpoint.port()));
    }
}

ServerCounts SonarServer::Implementation::Counts() const
{
    ServerCounts counts = m_counts;
    counts.open = m_connections.size();
    for (ConnectionPointer const& connection : m_connections) {
        counts.bytesReceived += connection->bytesReceived;
        counts.bytesSent += connection->bytesSent;
        counts.recordsReceived += connection->reader.GoodFrames();
        counts.framesSent += connection->framesSent;
        counts.skippedBytes += connection->reader.SkippedBytes();
    }
    return counts;
}

std::string SonarServer::Implementation::StateText(std::string_view key, bool& known) const
{
    std::string text;
    std::wstring const wide = protocol::DecodeUtf8(key);
    known = key.empty();
    for (Attribute const& attribute : m_state.Attributes()) {
        if (!key.empty() && attribute.text != wide) {
            continue;
        }
        known = true;
        text += (text.empty() ? "" : "\n") + AttributeLine(attribute);
    }
    if (!key.empty()) {
        return text;
    }
    for (auto const& [unit, attributes] : m_state.Units()) {
        for (Attribute const& attribute : attributes) {
            text += "\nunit " + std::to_string(unit.first) + "/" + std::to_string(unit.second) + ": " +
                    AttributeLine(attribute);
        }
    }
    return text;
}

std::string SonarServer::Implementation::StatusText() const
{
    ServerCounts const counts = Counts();
    std::string text = !m_poweredOn           ? std::string("switched off")
                       : m_acceptor.is_open() ? "listening on port " + std::to_string(m_endpoint.port())
                                              : std::string("not listening");
    text += "; " + Plural(counts.open, "connection") + " open, " + std::to_string(counts.connections) + " taken, " +
            std::to_string(counts.refused) + " refused; " + Plural(counts.recordsReceived, "record") + " received, " +
            Plural(counts.framesSent, "frame") + " sent, " + Plural(counts.skippedBytes, "byte") + " of no frame; " +
            Plural(m_state.UnknownRecords(), "unknown record") + ", " +
            Plural(m_state.UnknownRequests(), "unanswered request") + "; " + Plural(counts.pings, "ping") +
            "; failures: " + Describe(m_misbehaviour);
    for (ConnectionPointer const& connection : m_connections) {
        text += "\nconnection " + std::to_string(connection->number) + ": " +
                Plural(connection->bytesReceived, "byte") + " and " +
                Plural(connection->reader.GoodFrames(), "record") + " received, " +
                Plural(connection->bytesSent, "byte") + " and " + Plural(connection->framesSent, "frame") + " sent, " +
                Plural(connection->queuedBytes, "byte") + " waiting";
    }
    for (auto const& [id, count] : m_state.Records()) {
        text += "\nrecord " + std::to_string(id.second) + " " +
                std::string(count.name.empty() ? "unknown" : count.name) + ": " + std::to_string(count.count) +
                " times";
        if (count.name.empty() && !count.lastPayload.empty()) {
            text += ", last payload " + protocol::HexDump(count.lastPayload, "\n  ", 16);
        }
        while (text.ends_with('\n')) {
            text.pop_back();
        }
    }
    return text;
}

bool SonarServer::Implementation::Command(std::string_view line, std::string& answer)
{
    answer.clear();
    std::string_view rest = line;
    std::string_view const word = TakeWord(rest);
    auto const takesNothing = [&] {
        if (rest.empty()) {
            return true;
        }
        answer = std::string(word) + " takes no argument";
        return false;
    };
    if (word == "state") {
        bool known = false;
        answer = StateText(rest, known);
        if (!known) {
            answer = "the sonar holds no attribute " + std::string(rest);
        }
        return known;
    }
    if (word == "set") {
        bool const taken = m_state.Set(rest, Clock::now(), answer);
        StateChanged();
        if (taken) {
            bool known = false;
            answer = StateText(rest.substr(0, rest.find_first_of(":=")), known);
        }
        return taken;
    }
    if (word == "misbehave") {
        std::string_view const name = TakeWord(rest);
        return Misbehave(name, rest, answer);
    }
    if (word == "behave") {
        if (!takesNothing()) {
            return false;
        }
        Behave();
        answer = "no failures";
        return true;
    }
    if (word == "ping") {
        if (!takesNothing()) {
            return false;
        }
        if (!m_poweredOn) {
            answer = "the sonar is switched off; 'start' brings it back";
            return false;
        }
        bool done = false;
        answer = PingAtCommand(std::span(m_heads), done);
        return done;
    }
    if (word == "buffer-status") {
        unsigned status = 0;
        auto const* const end = rest.data() + rest.size();
        auto const [at, problem] = std::from_chars(rest.data(), end, status);
        if (problem != std::errc() || at != end || status > 65535) {
            answer = "buffer-status wants a number from 0 (well) to 65535";
            return false;
        }
        std::string const key = protocol::EncodeUtf8(protocol::keys::StreamStatus.text);
        bool const taken = m_state.Set(key + "=" + std::to_string(status), Clock::now(), answer);
        StateChanged();
        if (taken) {
            answer = "the status of the data stream is " + std::to_string(status);
        }
        return taken;
    }
    if (word == "drop") {
        if (!takesNothing()) {
            return false;
        }
        std::uint64_t const count = m_connections.size();
        CloseConnections("dropped on demand");
        answer = Plural(count, "connection") + " dropped";
        return true;
    }
    if (word == "start") {
        if (!takesNothing()) {
            return false;
        }
        if (m_poweredOn) {
            answer = "the sonar is on";
            return true;
        }
        PowerUp();
        answer = m_acceptor.is_open() ? "on" : "on, but not listening";
        return true;
    }
    if (word == "status") {
        if (!takesNothing()) {
            return false;
        }
        answer = StatusText();
        return true;
    }
    if (word == "help") {
        answer = "state [KEY]                 what the sonar holds\n"
                 "set KEY=VALUE               change it on the sonar itself (KEY:KIND=VALUE for keys of no table)\n"
                 "ping                        ping once\n"
                 "buffer-status NUMBER        tell the hosts another status of the data stream, 0 when it is well\n"
                 "drop                        cut all links\n"
                 "start                       switch a sonar on that was shut down\n"
                 "status                      connections, counts, failures\n"
                 "behave                      end all failures\n"
                 "misbehave NAME [ARGUMENT]   one of:";
        for (MisbehaviourName const& row : MisbehaviourNames()) {
            std::string left = "  " + std::string(row.name) + " " + std::string(row.argument);
            left.resize(std::max<std::size_t>(left.size() + 1, 36), ' ');
            answer += "\n" + left + std::string(row.meaning);
        }
        answer += "\nkinds of flood:";
        for (FloodKind const& kind : FloodKinds()) {
            std::string left = "  " + std::string(kind.name);
            left.resize(36, ' ');
            answer += "\n" + left + std::string(kind.meaning);
        }
        return true;
    }
    answer = word.empty() ? "an empty command; 'help' lists them"
                          : "there is no command '" + std::string(word) + "'; 'help' lists them";
    return false;
}

SonarServer::SonarServer(ServerOptions options, EventSink sink)
    : m_implementation(std::make_unique<Implementation>(std::move(options), std::move(sink)))
{
}

SonarServer::~SonarServer()
{
    Stop();
}

std::optional<StartError> SonarServer::Start()
{
    return m_implementation->Start();
}

void SonarServer::Stop()
{
    m_implementation->Stop();
}

std::uint16_t SonarServer::Port() const
{
    return m_implementation->Port();
}

bool SonarServer::Command(std::string_view line, std::string& answer)
{
    bool done = false;
    auto const called = m_implementation->Call([&] { done = m_implementation->Command(line, answer); });
    if (called == Implementation::Called::Done) {
        return done;
    }
    answer = called == Implementation::Called::Failed ? "that failed, and the sonar begins anew"
                                                      : "the sonar is not running";
    return false;
}

ServerCounts SonarServer::Counts()
{
    ServerCounts counts;
    m_implementation->Call([&] { counts = m_implementation->Counts(); });
    return counts;
}

} // namespace qx5::simulator
