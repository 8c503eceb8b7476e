// Things one behind another, of which each stands in one line at most.
#pragma once

#include <cstddef>
#include <utility>

namespace vordal {

/// A line that takes no memory of its own: an item keeps its place itself, as `InLine<Item>* m_line`, `Item* m_before`
/// and `Item* m_behind`, all null at first, and has this as a friend. It leaves its line before it goes. One thread at
/// a time.
template <typename Item>
class InLine
{
public:
    InLine() = default;
    InLine(InLine const&) = delete;
    InLine& operator=(InLine const&) = delete;

    bool IsEmpty() const { return m_first == nullptr; }
    std::size_t Count() const { return m_count; }
    /// Null when there is none.
    Item* First() const { return m_first; }
    /// To the end, from wherever it stands; where it is here already it stays.
    void Put(Item& item)
    {
        if (item.m_line == this) {
            return;
        }
        TakeOut(item);
        item.m_line = this;
        item.m_before = m_last;
        (m_last != nullptr ? m_last->m_behind : m_first) = &item;
        m_last = &item;
        ++m_count;
    }
    /// The first leaves; null when there is none.
    Item* Take()
    {
        auto* const first = m_first;
        if (first != nullptr) {
            TakeOut(*first);
        }
        return first;
    }
    /// Out of whichever line it stands in.
    static void TakeOut(Item& item)
    {
        if (auto* const line = std::exchange(item.m_line, nullptr)) {
            (item.m_before != nullptr ? item.m_before->m_behind : line->m_first) = item.m_behind;
            (item.m_behind != nullptr ? item.m_behind->m_before : line->m_last) = item.m_before;
            item.m_before = nullptr;
            item.m_behind = nullptr;
            --line->m_count;
        }
    }

private:
    Item* m_first = nullptr;
    Item* m_last = nullptr;
    std::size_t m_count = 0;
};

} // namespace vordal
