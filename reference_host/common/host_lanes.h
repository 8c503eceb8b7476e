// What waits for the host thread from many sources, such as the connections of sonars: a lane each, in turn.
#pragma once

#include "reference_host/common/host_task.h"

#include <VordalBaseR/Export.h>

#include <cstddef>
#include <cstdint>
#include <deque>

namespace vordal {

class HostLanes;

/// One source's tasks, in order. It is out of its lanes (HostLanes::Empty) before it goes.
class HostLane
{
public:
    HostLane() = default;
    HostLane(HostLane const&) = delete;
    HostLane& operator=(HostLane const&) = delete;

    struct Waiting
    {
        HostTask task;
        std::size_t weight = 0;
        std::uint64_t number = 0; ///< counts the tasks of all lanes
    };

private:
    friend class HostLanes;
    std::deque<Waiting> m_waiting;
    std::size_t m_credit = 0; ///< what it may still take in its turn
    HostLane* m_before = nullptr;
    HostLane* m_behind = nullptr; ///< in the ring of those with something that waits; null when it is not in it
};

/// Takes the tasks of many lanes by turns of about equal weight, whatever each of them has waiting (deficit round
/// robin): a lane with little is never behind more than one turn of each other one. One thread at a time.
class VORDAL_API HostLanes
{
public:
    /// What a lane may take in one turn. A heavier task waits for so many turns, and for no more than 64.
    static constexpr std::size_t Turn = std::size_t{16} << 10;

    bool IsEmpty() const { return m_next == nullptr; }
    /// Of all that waits.
    std::size_t Weight() const { return m_weight; }
    /// Tasks that were ever put into a lane: the number of the next one.
    std::uint64_t Count() const { return m_count; }

    /// Behind what waits in the lane. Throws std::bad_alloc; nothing has changed then.
    void Put(HostLane& lane, std::size_t weight, HostTask&& task);
    /// The next in turn. There must be one.
    HostTask Take();
    /// That which was put first of all. There must be one.
    HostTask TakeOldest();
    /// Its number. There must be one.
    std::uint64_t Oldest() const;
    /// The first of that lane; false when it is empty.
    bool TakeFrom(HostLane& lane, HostTask& task);
    /// All of that lane, for whoever lets go of it.
    std::deque<HostLane::Waiting> Empty(HostLane& lane);

private:
    HostLane& OldestLane() const;
    HostTask TakeFirst(HostLane& lane);
    void Enter(HostLane& lane);
    void Leave(HostLane& lane);

    HostLane* m_next = nullptr; ///< whose turn it is; the others follow in a ring
    std::size_t m_weight = 0;
    std::uint64_t m_count = 0;
};

} // namespace vordal
