// Who follows one key of a bus: a list that is read while it grows.
#pragma once

#include <VordalAttributesR/AttributeKey.h>

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace vordal {

class Joint;

/// One that follows the key.
struct KeyFollower
{
    std::shared_ptr<Joint> joint;
    std::uint64_t order = 0;          ///< of joining the bus
    std::atomic<bool> hasLeft{false}; ///< it is not to be called any more
    std::uint32_t place = 0;          ///< among the keys that the joint follows; guarded by the bus
};

/// In the order in which they joined. Who reads needs no lock: what stands before Count stays where it is. All that
/// changes it is guarded by the bus.
class KeyFollowers : public std::enable_shared_from_this<KeyFollowers>
{
public:
    explicit KeyFollowers(AttributeKey const& key) : m_hash(key.Hash()), m_text(key.Text()) {}
    KeyFollowers(KeyFollowers const&) = delete;
    KeyFollowers& operator=(KeyFollowers const&) = delete;

    bool Is(AttributeKey const& key) const { return m_hash == key.Hash() && m_text == key.Text(); }
    AttributeKey Key() const { return AttributeKey(std::wstring_view(m_text)); }
    /// Those that were there and have left included.
    std::uint32_t Count() const { return m_count.load(std::memory_order_acquire); }
    KeyFollower const& operator[](std::uint32_t at) const { return const_cast<KeyFollowers&>(*this).Own(at); }

    KeyFollower& Own(std::uint32_t at)
    {
        if (at < m_first.size()) {
            return m_first[at];
        }
        auto const segment = SegmentOf(at);
        return (*m_further)[segment][at - BeginOf(segment)];
    }
    /// Who joined after all that are here; gives where he stands.
    std::uint32_t Append(std::shared_ptr<Joint> joint, std::uint64_t order, std::uint32_t place)
    {
        auto const at = m_count.load(std::memory_order_relaxed);
        if (at >= m_first.size()) {
            if (m_further == nullptr) {
                m_further = std::make_unique<Segments>();
            }
            auto const segment = SegmentOf(at);
            if (auto& followers = (*m_further)[segment]; followers == nullptr) {
                followers = std::make_unique<KeyFollower[]>(std::size_t{2} << segment);
            }
        }
        auto& follower = Own(at);
        follower.joint = std::move(joint);
        follower.order = order;
        follower.place = place;
        m_count.store(at + 1, std::memory_order_release);
        return at;
    }
    void NoteLeft(std::uint32_t at)
    {
        Own(at).hasLeft.store(true, std::memory_order_release);
        ++m_left;
    }
    std::uint32_t Live() const { return m_count.load(std::memory_order_relaxed) - m_left; }

private:
    // Two in place, then 2, 4, 8 ...
    using Segments = std::array<std::unique_ptr<KeyFollower[]>, 30>;
    static std::uint32_t SegmentOf(std::uint32_t at) { return static_cast<std::uint32_t>(std::bit_width(at / 2)) - 1; }
    static std::uint32_t BeginOf(std::uint32_t segment) { return 2U << segment; }

    std::uint64_t const m_hash;
    std::wstring const m_text;
    std::array<KeyFollower, 2> m_first;
    std::unique_ptr<Segments> m_further;
    std::atomic<std::uint32_t> m_count{0};
    std::uint32_t m_left = 0;
};

} // namespace vordal
