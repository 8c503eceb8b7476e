// Detections on their way ashore as long as somebody looks, the newest ping of each sonar, as fine and as often as the
// line takes.
#pragma once

#include "reference_host/core/host.h"
#include "vessel/detection_feed.h"
#include "vessel/history_sender.h"
#include "vessel/shore_line.h"

#include <VordalBaseR/CDataId.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace qx5::vessel {

/// The vessel's thread, but for Begin and End. Line and history outlive it.
class DetectionSender
{
public:
    using Time = std::chrono::steady_clock::time_point;

    DetectionSender(ShoreLine& line, HistorySender& history) : m_line(line), m_history(history) {}

    /// `take` gets each ping, on the host thread, and has it come to NotePing.
    void Begin(vordal::Host& host, DetectionFeed::Take take);
    /// The vessel's thread has ended, the host still lives.
    void End() { m_feed.reset(); }

    /// Somebody looks at the sonar of that id, which topics call so.
    void Want(CDataId const& sonar, std::string const& onTopic);
    /// The sonar is not there any more.
    void Forget(CDataId const& sonar);
    /// Topics call the sonar otherwise from now on.
    void Rename(CDataId const& sonar, std::string const& onTopic);
    void NotePing(CString const& sonar, CDataBlock block);
    /// Follows no longer what nobody looks at any more.
    void EndLooks(Time now);

    // As ShoreLine tells them.
    void Connected() { m_probe = 0; }
    void Completed(std::uint64_t number);
    void Send(Time now);
    /// Pings that were told.
    std::uint64_t Count() const { return m_count; }

private:
    struct Looked
    {
        CDataId id;
        std::string onTopic;
        Time until;
        std::optional<CDataBlock> ping; ///< the newest that was not told
        std::uint64_t told = 0;         ///< which of all pings its last one was
    };

    bool SendPing(Looked& looked);

    ShoreLine& m_line;
    HistorySender& m_history;
    std::unique_ptr<DetectionFeed> m_feed;
    std::map<CString, Looked> m_looked; ///< by the texts of the sonars' ids
    std::uint64_t m_probe = 0; ///< its acknowledgement says that the last pings have left; 0: none is on its way
    std::uint64_t m_count = 0;
};

} // namespace qx5::vessel
