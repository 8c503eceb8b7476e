// What waits for one thread from many sources, such as the connections of sonars: a lane each, which share it fairly.
#include "reference_host/common/task_lanes.h"

#include <algorithm>
#include <utility>

namespace vordal {

void TaskLanes::Put(TaskLane& lane, std::size_t weight, HostTask&& task)
{
    std::list<TaskLane::Waiting> one(1);
    auto& waiting = one.front();
    waiting.weight = weight;
    waiting.number = m_count;
    waiting.lane = &lane;
    if (lane.m_waiting.empty()) {
        // What a lane has not used while it had nothing is lost; what it has used beyond its part is not forgiven.
        auto const due = std::max(m_time, lane.m_due) + Cost(weight);
        m_line.insert({due, waiting.number, &lane});
        lane.m_due = due;
    }
    waiting.task = std::move(task);
    waiting.older = std::exchange(m_youngest, &waiting);
    (waiting.older != nullptr ? waiting.older->younger : m_oldest) = &waiting;
    m_weight += weight;
    ++m_count;
    lane.m_waiting.splice(lane.m_waiting.end(), one);
}

HostTask TaskLanes::Take()
{
    return TakeFirst(*m_line.begin()->lane);
}

HostTask TaskLanes::TakeOldest()
{
    // Each lane keeps its order: the oldest of all is the first of its own.
    return TakeFirst(*m_oldest->lane);
}

std::list<TaskLane::Waiting> TaskLanes::Empty(TaskLane& lane)
{
    if (!lane.m_waiting.empty()) {
        m_line.erase(PlaceOf(lane));
        lane.m_due -= Cost(lane.m_waiting.front().weight); // nobody has taken it
    }
    for (auto const& each : lane.m_waiting) {
        Forget(each);
    }
    return std::move(lane.m_waiting);
}

TaskLanes::Place TaskLanes::PlaceOf(TaskLane& lane)
{
    return {lane.m_due, lane.m_waiting.front().number, &lane};
}

/// In sixteenths of a weight, which the lanes' common time can be counted in for decades.
std::uint64_t TaskLanes::Cost(std::size_t weight)
{
    return std::uint64_t{std::clamp<std::size_t>(weight, 1, Heaviest)} * 16;
}

HostTask TaskLanes::TakeFirst(TaskLane& lane)
{
    // Rounded up, so that it goes on also for the lightest.
    m_time += (Cost(lane.m_waiting.front().weight) + m_line.size() - 1) / m_line.size();
    auto place = m_line.extract(PlaceOf(lane));
    auto task = std::move(lane.m_waiting.front().task);
    Forget(lane.m_waiting.front());
    lane.m_waiting.pop_front();
    if (!lane.m_waiting.empty()) {
        lane.m_due += Cost(lane.m_waiting.front().weight);
        place.value() = PlaceOf(lane);
        m_line.insert(std::move(place));
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

} // namespace vordal
