// How much of a tree somebody outside may fill, and how much of it is filled.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <cstddef>
#include <cstdint>

namespace vordal {

/// Keys of a tree, branches included, and the bytes of their names, texts and lists: four for each character and each
/// whole number of a list, eight for each double of one. What a key takes beside that does not depend on its value.
struct TreeSize
{
    std::size_t keys = 0;
    std::size_t bytes = 0;

    bool operator==(TreeSize const&) const = default;
};

/// What a key costs the host beside the bytes of TreeSize, about: its node, its value, its places in chunk and index.
inline constexpr std::size_t BytesOfAnyKey = 256;

/// All below the root, at any depth.
VORDAL_API TreeSize SizeOf(CAttributeMap const& tree);
/// Of a text: 4 for each character, which is the same on every platform.
VORDAL_API std::size_t BytesOf(std::wstring_view text);
/// The bytes of a value alone.
VORDAL_API std::size_t BytesOf(CVordalType const& value);

/// What a sonar may fill of a device's tree.
struct TreeLimits
{
    std::uint32_t keys = 20'000;
    std::uint32_t bytes = std::uint32_t{8} << 20;

    bool operator==(TreeLimits const&) const = default;
};

/// Whether there is room for what comes, and what became of it. A plain value; one thread at a time.
class TreeAccount
{
public:
    TreeAccount() = default;
    explicit TreeAccount(TreeLimits const& limits) : m_limits(limits) {}

    TreeLimits const& Limits() const { return m_limits; }
    void SetLimits(TreeLimits const& limits) { m_limits = limits; }

    /// What is there by way of this account; more where others have since taken some of it away.
    TreeSize const& Used() const { return m_used; }
    /// Since the account was made: keys that were not taken in, and bytes with and without a new key.
    TreeSize const& Refused() const { return m_refused; }

    bool HasRoomFor(TreeSize const& more) const
    {
        return m_used.keys + more.keys <= m_limits.keys && m_used.bytes + more.bytes <= m_limits.bytes;
    }
    void Use(TreeSize const& more)
    {
        m_used.keys += more.keys;
        m_used.bytes += more.bytes;
    }
    void GiveBack(std::size_t bytes) { m_used.bytes -= bytes < m_used.bytes ? bytes : m_used.bytes; }
    void Refuse(TreeSize const& what)
    {
        m_refused.keys += what.keys;
        m_refused.bytes += what.bytes;
    }

    /// The tree has been replaced: all of it counts.
    void CountAnew(CAttributeMap const& tree) { m_used = SizeOf(tree); }
    /// Others have written to the tree: they may have removed or shortened what was counted.
    void NoteOthersWrote() { m_othersWrote = true; }
    /// Before something is refused: looks whether the tree holds less than what was counted, if that can be.
    void LookAgain(CAttributeMap const& tree);

private:
    TreeLimits m_limits;
    TreeSize m_used;
    TreeSize m_refused;
    bool m_othersWrote = false;
};

} // namespace vordal
