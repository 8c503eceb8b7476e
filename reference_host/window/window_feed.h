// What other threads tell the operator's window: kept here until the window thread looks, bounded, nobody waits.
#pragma once

#include "reference_host/monitor/record_queue.h"

#include "reference_host/link/sonar_link.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vordal {

/// Of states only the latest is kept, of lines the newest hundred. The lock is held for moving data in or out, nothing
/// else. Any thread.
class WindowFeed
{
public:
    static constexpr std::size_t GreatestLines = 100;

    /// How the connection of a device stands.
    void PutStatus(CDataId const& device, LinkStatus status);
    /// A line for the operator.
    void PutLine(std::string line);
    /// The light mode that the host's displays are to have.
    void PutLightMode(int mode);
    /// A device's tree as it stands.
    void PutTree(CDataId const& device, CAttributeMap tree);
    /// Frames of the links; shared with their observers.
    std::shared_ptr<RecordQueue> const& Records() const { return m_records; }

    struct Content
    {
        /// One for each device whose state has changed, in the order of the first change.
        std::vector<std::pair<CDataId, LinkStatus>> statuses;
        std::vector<std::string> lines;
        std::optional<int> lightMode;
        std::optional<std::pair<CDataId, CAttributeMap>> tree;
    };
    /// All but the records, which have a taker of their own.
    Content Take();

private:
    std::shared_ptr<RecordQueue> const m_records = std::make_shared<RecordQueue>();
    std::mutex m_mutex;
    Content m_content;
};

} // namespace vordal
