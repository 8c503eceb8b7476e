// What waits for one thread from many sources, such as the connections of sonars: a lane each, in turn.
#pragma once

#include "reference_host/common/host_task.h"
#include "reference_host/common/in_line.h"

#include <VordalBaseR/Export.h>

#include <cstddef>
#include <cstdint>
#include <list>

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
    friend class InLine<TaskLane>;
    std::list<Waiting> m_waiting;
    std::size_t m_credit = 0;           ///< what it may still take in its turn
    std::uint64_t m_quietFrom = 0;      ///< it is a quiet one again once so many turns have ended
    InLine<TaskLane>* m_line = nullptr; ///< where it stands while something waits in it
    TaskLane* m_before = nullptr;
    TaskLane* m_behind = nullptr;
};

/// Takes the tasks of many lanes by turns of about equal weight, whatever each of them has waiting (deficit round
/// robin): a lane with little is never behind more than one turn of each other one. A quiet lane, which had nothing
/// while each of the others had a turn, has its next one before them all. What an operation costs does not grow with
/// the number of lanes, nor with what waits in them. One thread at a time.
class VORDAL_API TaskLanes
{
public:
    /// What a lane may take in one turn. A heavier task waits for so many turns, and for no more than 64.
    static constexpr std::size_t Turn = std::size_t{16} << 10;

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
    HostTask TakeFirst(TaskLane& lane);
    void Forget(TaskLane::Waiting const& waiting);
    void Enter(TaskLane& lane);
    void Leave(TaskLane& lane);

    InLine<TaskLane> m_quiet; ///< these have their turn first
    InLine<TaskLane> m_others;
    std::uint64_t m_turnsEnded = 0;
    TaskLane::Waiting* m_oldest = nullptr;
    TaskLane::Waiting* m_youngest = nullptr;
    std::size_t m_weight = 0;
    std::uint64_t m_count = 0;
};

} // namespace vordal
