// What arrives for a vessel, taken to whom it concerns.
#pragma once

#include "authority/shore_topics.h"
#include "sparkplug/edge_node.h"
#include "vessel/complaints.h"
#include "vessel/detection_sender.h"
#include "vessel/history_sender.h"
#include "vessel/inbox.h"
#include "vessel/shore_line.h"
#include "vessel/shore_requests.h"
#include "vessel/told_sonars.h"

#include <memory>
#include <string>
#include <string_view>

namespace qx5::vessel {

/// What it is given outlives it; the connections and the vessel's thread, which call it, do not.
class Arrivals
{
public:
    struct Recipients
    {
        std::string group;
        std::string vessel;
        sparkplug::EdgeNode& node;
        ShoreLine& line;
        HistorySender& history;
        DetectionSender& detections;
        ToldSonars const& sonars;
        ShoreRequests& requests;
        std::shared_ptr<Inbox> inbox;
        Complaints& complaints;
    };
    explicit Arrivals(Recipients recipients) : m_to(std::move(recipients)) {}

    /// On a thread of the connections'.
    void Take(std::string_view topic, std::string_view payload);

private:
    /// The vessel's thread.
    void TakeLook(authority::ShoreTopic const& topic, std::string const& payload);

    Recipients const m_to;
};

} // namespace qx5::vessel
