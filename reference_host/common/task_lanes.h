// What waits for one thread from many sources, such as the connections of sonars: a lane each, which share it fairly.
#pragma once

#include "reference_host/common/host_task.h"

#include <VordalBaseR/Export.h>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <list>
#include <set>

namespace vordal {

class TaskLanes;

/// One source's tasks, in order. It is out of its lanes (TaskLanes::Empty) before it goes.
class TaskLane
{
public:
    TaskLane() = default;
    TaskLane(TaskLane const&) = delete;
    TaskLane& operator=(TaskLane const&) = delete;

    struct Waiting
    {
        HostTask task;
        std::size_t weight = 0;
        std::uint64_t number = 0; ///< counts the tasks of all lanes
        TaskLane* lane = nullptr;
        // In the order of all lanes.
        Waiting* older = nullptr;
        Waiting* younger = nullptr;
    };

private:
    friend class TaskLanes;
    std::list<Waiting> m_waiting;
    std::uint64_t m_due = 0; ///< of the first that waits, or of the last that was taken
};

/// Takes the tasks of many lanes so that each lane with something has the same part of the thread by weight, whatever
/// the others have waiting (weighted fair queueing): the next is the one that would be done first if all lanes were
/// served at once, each at the same rate. A lane that brings less than its part thus has its task next but for what
/// weighs, of each other lane, no more than that task. What an operation costs does not grow with what waits, and with
/// the logarithm of the number of lanes. One thread at a time.
class VORDAL_API TaskLanes
{
public:
    /// A heavier task counts for no more.
    static constexpr std::size_t Heaviest = std::size_t{1} << 20;

    bool IsEmpty() const { return m_oldest == nullptr; }
    /// Of all that waits.
    std::size_t Weight() const { return m_weight; }
    /// Tasks that were ever put into a lane: the number of the next one.
    std::uint64_t Count() const { return m_count; }

    /// Behind what waits in the lane. Throws std::bad_alloc; nothing has changed then.
    void Put(TaskLane& lane, std::size_t weight, HostTask&& task);
    /// The next in turn. There must be one.
    HostTask Take();
    /// That which was put first of all. There must be one.
    HostTask TakeOldest();
    /// Its number. There must be one.
    std::uint64_t Oldest() const { return m_oldest->number; }
    /// All of that lane, for whoever lets go of it.
    std::list<TaskLane::Waiting> Empty(TaskLane& lane);

private:
    /// Where a lane stands while something waits in it.
    struct Place
    {
        std::uint64_t due;
        std::uint64_t number; ///< of its first task, where two are due at once
        TaskLane* lane;
        auto operator<=>(Place const& other) const = default;
    };

    static Place PlaceOf(TaskLane& lane);
    static std::uint64_t Cost(std::size_t weight);
    HostTask TakeFirst(TaskLane& lane);
    void Forget(TaskLane::Waiting const& waiting);

    std::set<Place> m_line;
    /// How far each lane would be that has had something all the time, in the parts of a weight that Cost counts in.
    std::uint64_t m_time = 0;
    TaskLane::Waiting* m_oldest = nullptr;
    TaskLane::Waiting* m_youngest = nullptr;
    std::size_t m_weight = 0;
    std::uint64_t m_count = 0;
};

} // namespace vordal
