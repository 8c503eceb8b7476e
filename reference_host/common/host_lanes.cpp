// What waits for the host thread from many sources, such as the connections of sonars: a lane each, in turn.
#include "reference_host/common/host_lanes.h"

#include <algorithm>
#include <utility>

namespace vordal {

void HostLanes::Put(HostLane& lane, std::size_t weight, HostTask&& task)
{
    lane.m_waiting.push_back({std::move(task), weight, m_count});
    ++m_count;
    m_weight += weight;
    if (lane.m_behind == nullptr) {
        Enter(lane);
    }
}

HostTask HostLanes::Take()
{
    constexpr std::size_t heaviest = 64 * Turn;
    while (std::min(m_next->m_waiting.front().weight, heaviest) > m_next->m_credit) {
        // Its turn is over, and it has more in the next.
        m_next->m_credit += Turn;
        m_next = m_next->m_behind;
    }
    auto& lane = *m_next;
    lane.m_credit -= std::min(lane.m_waiting.front().weight, heaviest);
    return TakeFirst(lane);
}

HostTask HostLanes::TakeOldest()
{
    return TakeFirst(OldestLane());
}

std::uint64_t HostLanes::Oldest() const
{
    return OldestLane().m_waiting.front().number;
}

bool HostLanes::TakeFrom(HostLane& lane, HostTask& task)
{
    if (lane.m_waiting.empty()) {
        return false;
    }
    task = TakeFirst(lane);
    return true;
}

std::deque<HostLane::Waiting> HostLanes::Empty(HostLane& lane)
{
    for (auto const& each : lane.m_waiting) {
        m_weight -= each.weight;
    }
    if (lane.m_behind != nullptr) {
        Leave(lane);
    }
    return std::move(lane.m_waiting);
}

HostLane& HostLanes::OldestLane() const
{
    auto* oldest = m_next;
    for (auto* lane = m_next->m_behind; lane != m_next; lane = lane->m_behind) {
        if (lane->m_waiting.front().number < oldest->m_waiting.front().number) {
            oldest = lane;
        }
    }
    return *oldest;
}

HostTask HostLanes::TakeFirst(HostLane& lane)
{
    auto task = std::move(lane.m_waiting.front().task);
    m_weight -= lane.m_waiting.front().weight;
    lane.m_waiting.pop_front();
    if (lane.m_waiting.empty()) {
        Leave(lane);
    }
    return task;
}

/// As the last of the ring.
void HostLanes::Enter(HostLane& lane)
{
    lane.m_credit = Turn;
    if (m_next == nullptr) {
        m_next = lane.m_before = lane.m_behind = &lane;
        return;
    }
    lane.m_behind = m_next;
    lane.m_before = m_next->m_before;
    lane.m_before->m_behind = &lane;
    m_next->m_before = &lane;
}

void HostLanes::Leave(HostLane& lane)
{
    if (lane.m_behind == &lane) {
        m_next = nullptr;
    } else {
        lane.m_before->m_behind = lane.m_behind;
        lane.m_behind->m_before = lane.m_before;
        if (m_next == &lane) {
            m_next = lane.m_behind;
        }
    }
    lane.m_before = nullptr;
    lane.m_behind = nullptr;
}

} // namespace vordal
