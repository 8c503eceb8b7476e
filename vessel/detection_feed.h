// The detections of a host's sonars, followed as long as somebody ashore looks at them.
#pragma once

#include "authority/shore_messages.h"
#include "reference_host/core/host.h"

#include <VordalBaseR/CDataId.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace qx5::vessel {

/// The ping that a block of SONAR_DETECTIONS_GROUP tells; nothing for a block that is none.
std::optional<authority::DetectionsMessage> DetectionsOf(CDataBlock const& block);

/// Leaves as many as fit into so many bytes, one at least, evenly spread over those that there are.
void ThinOut(authority::DetectionsMessage& ping, std::size_t bytes);

/// Used from one thread; what it does to the host it does on the host thread.
class DetectionFeed
{
public:
    /// Takes each ping of a sonar that is followed, on the host thread.
    using Take = std::function<void(CDataId const& sonar, CDataBlock const& block)>;

    DetectionFeed(vordal::Host& host, Take take);
    DetectionFeed(DetectionFeed const&) = delete;
    DetectionFeed& operator=(DetectionFeed const&) = delete;
    /// Nothing is taken any more; waits for the host thread, if that still runs.
    ~DetectionFeed();

    void Follow(CDataId const& sonar, bool isFollowed);

private:
    struct Sinks;

    vordal::Host& m_host;
    std::shared_ptr<Sinks> const m_sinks;
    std::map<CString, CDataId> m_followed; ///< by the texts of the ids
};

} // namespace qx5::vessel
