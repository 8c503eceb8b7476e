// A vessel's line to its broker: what leaves, how much at a time, and by which of its connections.
#pragma once

#include "authority/shore_topics.h"
#include "broker/connection.h"
#include "vessel/inbox.h"
#include "vessel/line_pace.h"
#include "vessel/second_line.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::vessel {

// Of what may be on its way each takes its share: commands find room where values fill theirs, and so on.
inline constexpr double shareOfAll = 0.0; ///< of what is urgent: bounded by what the connection has room for alone
inline constexpr double shareOfValues = 1.0;
inline constexpr double shareOfHistory = 0.5;
inline constexpr double shareOfDetections = 0.25;

/// The vessel's thread, where nothing else is said.
class ShoreLine
{
public:
    struct Hooks
    {
        // The vessel's thread.
        std::function<broker::Publication()> will; ///< of the connection that is made next
        std::function<void()> connected;
        std::function<void()> disconnected;
        /// What became of a publication of QoS 1.
        std::function<void(std::uint64_t number, bool isAcknowledged)> completed;
        // A thread of the connections'.
        std::function<void(std::string_view topic, std::string_view payload)> message;
        std::function<void(broker::LineStatus const&)> status;
    };

    /// Connects once it is begun, `filters` subscribed. The name of `options` is that of the vessel.
    ShoreLine(broker::ConnectionOptions options, std::string group, std::string vessel,
              std::vector<std::string> filters, std::shared_ptr<Inbox> inbox, Hooks hooks);
    ShoreLine(ShoreLine const&) = delete;
    ShoreLine& operator=(ShoreLine const&) = delete;
    ~ShoreLine() = default;

    // Not the vessel's thread.
    void Begin() { m_connection.Start(); }
    /// Waits at most so long for what is on its way. The vessel's thread still runs.
    void End(std::chrono::milliseconds limit) { m_connection.End(limit); }
    /// Once the vessel's thread has ended.
    void EndSecond() { m_second.End(); }

    // Any thread.
    broker::LineStatus Status() const { return m_connection.Status(); }
    broker::ConnectionCounts Counts() const { return m_connection.Counts(); }
    broker::ConnectionCounts CountsOfSecond() const { return m_second.Counts(); }
    /// Ends the connection, without its will, and makes another.
    void StartAgain() { m_connection.StartAgain(); }
    std::string TopicOf(authority::ShoreSubject subject, std::string const& sonar = {},
                        std::string const& person = {}) const
    {
        return authority::TopicText({subject, m_group, m_vessel, sonar, person});
    }

    bool IsConnected() const { return m_isConnected; }
    bool HasRoom(double share) const { return m_pace.HasRoom(share); }
    /// Whether so much has left that an acknowledgement must be asked for.
    bool WantsProbe() const { return m_pace.WantsProbe(); }
    /// Its number; 0 when there is no room in what one with that share may fill.
    std::uint64_t Publish(broker::Publication const& publication, double share);
    /// Whoever hears nothing asks again.
    void Reply(std::string const& sonar, std::string const& person, std::string bytes);
    /// The same of a request: on a far line by both connections.
    void ReplyTwice(std::string const& sonar, std::string const& person, std::string bytes);
    bool UsesSecond() const { return m_pace.IsFar() && m_second.IsThere(); }
    SecondLine& Second() { return m_second; }

private:
    broker::ConnectionHooks ConnectionHooks();
    broker::Publication ReplyOf(std::string const& sonar, std::string const& person, std::string bytes) const;

    std::string const m_group;
    std::string const m_vessel;
    std::shared_ptr<Inbox> const m_inbox;
    Hooks const m_hooks;
    LinePace m_pace;
    bool m_isConnected = false;
    SecondLine m_second;
    broker::Connection m_connection; // the last: going, it may call the others
};

} // namespace qx5::vessel
