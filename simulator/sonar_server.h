// The simulated sonar on the network: takes hosts' connections, feeds their records to its state, answers and pings.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <protocol/frame.h>
#include <protocol/idle_limit.h>
#include <simulator/echo_worker.h>
#include <simulator/sonar_state.h>

namespace qx5::simulator {

struct ServerOptions
{
    std::string address = "127.0.0.1"; ///< a numeric address, or "localhost"
    std::uint16_t port = 0;            ///< 0 for any that is free
    /// From a change to the report of it; changes within this time are reported together.
    std::chrono::milliseconds reportLatency{20};
    std::chrono::milliseconds recordingTick{1000}; ///< how often a recording's size is reported
    std::chrono::milliseconds rebootTime{3000};    ///< from a reboot to the next connection that is taken
    /// Heads of the sonar, 1 or more. With several, each has an enumerator of its own, from 0: it introduces itself,
    /// reports and pings under that. All have the same settings, whichever a command is for.
    std::int32_t heads = 1;
    /// Report every ping as it is transmitted. Off, only those that a command asked for are reported: at 50 pings a
    /// second a host would be told more of pings than of anything else.
    bool announcePings = false;
    /// Where there are more, that which was heard longest ago of those that have sent no good frame yet gives way to
    /// the new one; else one with good frames that has been quiet for `quietLimit`. Where there is none, the new one is
    /// refused.
    std::size_t greatestConnections = 32;
    /// A connection whose first good frame has not come after so long is closed; one that has sent nothing at all,
    /// such as a host that only reads, no earlier than half of the connections that there may be are in use.
    std::chrono::milliseconds quietLimit{60000};
    /// Bytes of unfinished frames, of all connections together. What takes most of it is closed when there are more,
    /// one without a good frame first. Memory is taken as bytes arrive, whatever a frame claims.
    std::size_t greatestUnfinished = std::size_t{160} << 20;
    /// Bytes waiting for one host. A host that lets more pile up is disconnected; when it comes back it is told
    /// everything anew.
    std::size_t greatestSendQueue = std::size_t{4} << 20;
    /// Bytes of echoes that wait for one host; one frame may be larger. What is beyond is left out.
    std::size_t greatestEchoQueue = std::size_t{1} << 20;
    /// What the sonar hears: a scene by its name (acoustics/scene.h) of that mean depth in m, the same for the same
    /// seed; `calm` is a ship without motion.
    std::string scene = "wreck";
    double depth = 30.0;
    std::uint64_t seed = 1;
    bool calm = false;
    /// In place of the scene, for tests: fills in what is heard. Called on a thread of the sonar's own.
    EchoWorker::Hear hear;
    /// A frame that was begun and gets no further byte for so long is damage: the sonar goes on inside of it.
    std::chrono::milliseconds idleLimit{5000};
    /// A frame that is not whole after so long is damage once good frames lie whole inside of it: they are taken.
    std::chrono::milliseconds frameShare = protocol::IdleLimit::UsualShare;
    UtcClock utc; ///< the system's clock when empty
};

enum class EventKind : std::uint8_t
{
    Notice,       ///< `text` tells
    Connected,    ///< `text` is the host's address
    Disconnected, ///< `text` tells why and what the connection carried
    Record,       ///< `record` and `frame`
    Damaged,      ///< bytes that are no frame, or an unfinished one; each told once for each connection
    Answered,     ///< `text` tells what was sent; `connection` 0 when to all hosts
    Pinged,       ///< transmitted: `pingNumber`
    Echoed,       ///< its echoes are in: `pingNumber`; the head's next ping may follow
};

/// Something that the sonar did or saw. Pointers are valid during the call alone.
struct SonarEvent
{
    EventKind kind = EventKind::Notice;
    double utcSeconds = 0.0;
    std::uint64_t connection = 0; ///< from 1; 0 for none
    std::string_view text;
    Understood const* record = nullptr;
    protocol::FrameView const* frame = nullptr;
    std::int32_t pingNumber = 0;
    std::int32_t head = -1;      ///< that pinged; -1 where there is one head
    double pingRange = 0.0;      ///< m
    double pingTravelTime = 0.0; ///< s
};
/// Called on the sonar's thread, one call at a time. It may command the sonar, not stop it.
using EventSink = std::function<void(SonarEvent const&)>;

struct StartError
{
    enum class Kind : std::uint8_t
    {
        BadAddress,
        BadScene,
        PortInUse,
        Other,
    };
    Kind kind = Kind::Other;
    std::string text; ///< one line that says what to do
};

/// Of all connections, those that ended included.
struct ServerCounts
{
    std::uint64_t connections = 0; ///< taken so far
    std::uint64_t refused = 0;
    std::uint64_t open = 0; ///< now
    std::uint64_t bytesReceived = 0;
    std::uint64_t bytesSent = 0;
    std::uint64_t recordsReceived = 0;
    std::uint64_t framesSent = 0;
    std::uint64_t skippedBytes = 0; ///< received, part of no frame
    std::uint64_t pings = 0;
    std::uint64_t echoesSent = 0;       ///< frames of echoes
    std::uint64_t echoesDropped = 0;    ///< left out, as the host had not taken those before
    std::uint64_t pingsNotComputed = 0; ///< left out, as the sonar was not done with those before
};

/// One sonar with a thread of its own. Start and Stop are for one thread, the rest is for any.
class SonarServer
{
public:
    explicit SonarServer(ServerOptions options, EventSink sink = {});
    SonarServer(SonarServer const&) = delete;
    SonarServer& operator=(SonarServer const&) = delete;
    ~SonarServer(); ///< stops

    /// Listens and starts the thread. Nothing on success. To be called once.
    std::optional<StartError> Start();

    /// Closes everything and ends the threads. Bounded: no operation of theirs waits, and one ping at most is computed
    /// to its end.
    void Stop();

    /// Where it listens, after Start.
    std::uint16_t Port() const;

    /// Carries out one line: "state [KEY]", "set KEY=VALUE", "misbehave NAME [ARGUMENT]", "behave", "ping",
    /// "buffer-status NUMBER", "drop", "start", "status", "help". False, and one line in `answer` that says what to do,
    /// when the line is none of these or the sonar is not running. The answer may have several lines; it does not end
    /// with one.
    bool Command(std::string_view line, std::string& answer);

    /// Zeros when it does not run.
    ServerCounts Counts();

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace qx5::simulator
