// What waits for one thread from many sources, such as the connections of sonars: a lane each, in turn.
#include "reference_host/common/task_lanes.h"

#include <algorithm>
#include <utility>

namespace vordal {

void TaskLanes::Put(TaskLane& lane, std::size_t weight, HostTask&& task)
{
    auto& waiting = lane.m_waiting.emplace_back();
    waiting.task = std::move(task);
    waiting.weight = weight;
    waiting.number = m_count++;
    waiting.lane = &lane;
    waiting.older = std::exchange(m_youngest, &waiting);
    (waiting.older != nullptr ? waiting.older->younger : m_oldest) = &waiting;
    m_weight += weight;
    if (lane.m_line == nullptr) {
        Enter(lane);
    }
}

HostTask TaskLanes::Take()
{
    constexpr std::size_t heaviest = 64 * Turn;
    for (;;) {
        auto& lane = *(m_quiet.IsEmpty() ? m_others : m_quiet).First();
        auto const cost = std::min(lane.m_waiting.front().weight, heaviest);
        if (cost <= lane.m_credit) {
            lane.m_credit -= cost;
            return TakeFirst(lane);
        }
        // Its turn is over, and it has more in the next.
        lane.m_credit += Turn;
        ++m_turnsEnded;
        InLine<TaskLane>::TakeOut(lane);
        m_others.Put(lane);
    }
}

HostTask TaskLanes::TakeOldest()
{
    // Each lane keeps its order: the oldest of all is the first of its own.
    return TakeFirst(*m_oldest->lane);
}

std::list<TaskLane::Waiting> TaskLanes::Empty(TaskLane& lane)
{
    for (auto const& each : lane.m_waiting) {
        Forget(each);
    }
    if (lane.m_line != nullptr) {
        Leave(lane);
    }
    return std::move(lane.m_waiting);
}

HostTask TaskLanes::TakeFirst(TaskLane& lane)
{
    auto task = std::move(lane.m_waiting.front().task);
    Forget(lane.m_waiting.front());
    lane.m_waiting.pop_front();
    if (lane.m_waiting.empty()) {
        Leave(lane);
    }
    return task;
}

/// It no longer waits.
void TaskLanes::Forget(TaskLane::Waiting const& waiting)
{
    m_weight -= waiting.weight;
    (waiting.older != nullptr ? waiting.older->younger : m_oldest) = waiting.younger;
    (waiting.younger != nullptr ? waiting.younger->older : m_youngest) = waiting.older;
}

void TaskLanes::Enter(TaskLane& lane)
{
    lane.m_credit = Turn;
    (m_turnsEnded >= lane.m_quietFrom ? m_quiet : m_others).Put(lane);
}

void TaskLanes::Leave(TaskLane& lane)
{
    InLine<TaskLane>::TakeOut(lane);
    ++m_turnsEnded;
    lane.m_quietFrom = m_turnsEnded + m_others.Count();
}

} // namespace vordal
