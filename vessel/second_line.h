// A second connection of a vessel whose line is far: a packet that is lost on one holds back nothing on the other.
#pragma once

#include "broker/connection.h"
#include "vessel/line_pace.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::vessel {

/// A stream waits for what was lost on it, for more than a round trip; while all goes by one, each lost packet of a
/// ping holds back the results behind it. On a far line requests and their answers therefore take both connections,
/// whichever is sooner, and detections take this one alone.
///
/// The vessel's thread, where nothing else is said.
class SecondLine
{
public:
    struct Hooks
    {
        /// Has it done on the vessel's thread, if that still runs. Any thread.
        std::function<void(std::function<void()> task)> put;
        /// Something has arrived by this connection; on a thread of the connection's.
        std::function<void(std::string_view topic, std::string_view payload)> message;
    };

    /// Connects once it is begun.
    SecondLine(broker::ConnectionOptions options, std::vector<std::string> filters, Hooks hooks);
    SecondLine(SecondLine const&) = delete;
    SecondLine& operator=(SecondLine const&) = delete;
    /// Ends it; the vessel's thread has ended.
    ~SecondLine() = default;

    /// Begins to connect, the first time.
    void Begin();
    bool IsThere() const { return m_isConnected; }
    /// Sends what was sent by the other connection once more; nothing happens where there is no room.
    void SendCopy(broker::Publication const& publication);
    /// How many bytes a ping may have now; 0: none may leave.
    std::size_t RoomForPing() const;
    /// Says whether it is on its way. `probe`: what is sent behind it, so that its acknowledgement tells how it went.
    bool SendPing(broker::Publication const& ping, broker::Publication const& probe);
    /// Of the connection. Any thread.
    broker::ConnectionCounts Counts() const { return m_connection.Counts(); }
    /// Ends the connection without waiting for what is on its way. Not from the vessel's thread.
    void End() { m_connection.End(std::chrono::milliseconds(0)); }

private:
    broker::ConnectionHooks ConnectionHooks();

    Hooks const m_hooks;
    LinePace m_pace;
    bool m_hasBegun = false;
    bool m_isConnected = false;
    broker::Connection m_connection; // the last: going, it may call the others
};

} // namespace qx5::vessel
