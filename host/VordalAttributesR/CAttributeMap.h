// The tree of named, typed values: a device's state, a request and an echo are each such a tree.
#pragma once

#include <VordalAttributesR/AttributeKey.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

struct AttributeNode;

namespace vordal {
struct TreeAccess;
}

/// The part of a shared node that look-ups read without a call; the rest is the host library's own.
struct AttributeNodeHead
{
    /// Trees that share the node.
    std::atomic<std::uint32_t> references{1};
    /// The flag word; the host reads nothing into it.
    unsigned int flags = 0;
    /// Union of the filters of all children's keys; a clear bit proves that a key is not there.
    std::uint64_t childFilter = 0;
    /// The node's own; null for none.
    CVordalType* value = nullptr;
};

/// One node: key, value (or none) and flag word. See CAttributeMap for threads and lifetimes.
class VORDAL_API CAttributeRec
{
public:
    /// A copy of the key's text; empty for a root.
    CString GetKey() const { return CString(KeyText()); }
    /// The key's text, valid until the node is changed or destroyed.
    std::wstring_view KeyText() const;
    /// The flag word; the host reads nothing into it.
    unsigned int GetFlags() const { return m_node != nullptr ? m_node->flags : 0; }
    /// Replaces the flag word.
    void SetFlags(unsigned int flags);

    /// Whether the node has a value of its own, beside its children.
    bool HasValue() const { return m_node != nullptr && m_node->value != nullptr; }
    /// The value, or the empty value when the node has none. Valid until the node is changed or destroyed.
    CVordalType const& Value() const { return HasValue() ? *m_node->value : CVordalType::Empty(); }
    /// Replaces the value by a copy; a copy of the empty value leaves the node without one.
    void SetValue(CVordalType const& value);
    /// Replaces the value by `value`, which the node now owns; null leaves the node without a value.
    void ReplaceValue(CVordalType* value);

protected:
    constexpr CAttributeRec() = default;
    CAttributeRec(CAttributeRec const&) = delete;
    CAttributeRec& operator=(CAttributeRec const&) = delete;
    ~CAttributeRec() = default;

    friend struct vordal::TreeAccess;

    /// The shared node; null stands for an empty root.
    AttributeNodeHead* m_node = nullptr;
    /// In a child the hash of its key, in a root 0.
    std::uint64_t m_childHash = 0;
};

/// A node with its children, in the order in which they were added; a key may occur several times, so every look-up
/// takes an occurrence index, 0 for the first. A negative index is absent, it never wraps.
///
/// Copies. A copy costs next to nothing: it shares the nodes, and a later change on either side copies only the path
/// to what changes. Neither side ever sees the other's changes. Assigning to a child gives it value, flags, children
/// and group of the source; its key stays.
///
/// References. What a non-const operation hands out (`Add`, `FindCreate`, non-const `GetAttrMap`) stays valid, and
/// writes through it reach this tree alone, until that child is removed or the tree is destroyed or assigned to. It
/// makes later copies of this tree slower, so read through a const tree. What a const operation hands out (`Find`,
/// `FindValue`, const `GetAttrMap`, `GetChild`, iteration) is valid only until the tree is changed by anyone, a merge
/// included: to keep such a node across a change, copy it.
///
/// Threads. Any number of threads may read one tree, and trees that share nodes are independent of one another.
/// A tree that is written must not be used by another thread at the same time; the device's lock sees to that.
///
/// Nothing here fails but for want of memory, and no depth or width is too large.
class VORDAL_API CAttributeMap : public CAttributeRec
{
public:
    /// An empty tree root.
    constexpr CAttributeMap() = default;
    /// A node with this key that takes ownership of `value`, which may be null.
    CAttributeMap(AttributeKey const& key, CVordalType* value, unsigned int flags = 0);
    CAttributeMap(CAttributeMap const& other) : CAttributeRec() { CopyFrom(other); }
    /// Leaves `other` an empty root, unless it is a child: that keeps its content, and this becomes a copy.
    CAttributeMap(CAttributeMap&& other) noexcept : CAttributeRec() { MoveFrom(other); }
    /// See Copies above.
    CAttributeMap& operator=(CAttributeMap const& other);
    CAttributeMap& operator=(CAttributeMap&& other);
    ~CAttributeMap()
    {
        if (m_node != nullptr) {
            Release();
        }
    }

    /// Appends an empty child and gives it; never null. The tree owns it.
    CAttributeMap* Add(AttributeKey const& key);
    /// Appends a child with a copy of `value` and gives it; never null. The tree owns it.
    CAttributeMap* Add(AttributeKey const& key, CVordalType const& value, unsigned int flags = 0);
    /// Appends `node`, made with new, and takes ownership: `node` itself must not be used afterwards. References to
    /// nodes below it stay valid. Null is ignored.
    void Append(CAttributeMap* node);
    /// Appends a copy of `node` under its own key.
    void Append(CAttributeMap const& node);

    /// The child, or an empty node (`Count()` 0, no value) when it is absent.
    CAttributeMap const& Find(AttributeKey const& key, int index = 0) const
    {
        auto const* found = GetAttrMap(key, index);
        return found != nullptr ? *found : s_empty;
    }
    /// The child, created if missing: as many empty children of this key are appended as it takes for the occurrence
    /// to exist. A negative index gives a node that belongs to no tree and is gone at the thread's next such call.
    CAttributeMap& FindCreate(AttributeKey const& key, int index = 0);
    /// The child's value; an absent child, or one without a value, gives the empty value, whose getters all fail.
    CVordalType const& FindValue(AttributeKey const& key, int index = 0) const
    {
        auto const* found = GetAttrMap(key, index);
        return found != nullptr ? found->Value() : CVordalType::Empty();
    }
    /// The same, for callers that hold a `CVordalType&`. Values do not change, so this hands out nothing to write to.
    CVordalType& FindValue(AttributeKey const& key, int index = 0)
    {
        return const_cast<CVordalType&>(static_cast<CAttributeMap const*>(this)->FindValue(key, index));
    }
    /// The child, or null when it is absent. The tree owns it.
    CAttributeMap const* GetAttrMap(AttributeKey const& key, int index = 0) const
    {
        return MayHave(key) ? Lookup(key, index) : nullptr;
    }
    /// The same for writing; see References above.
    CAttributeMap* GetAttrMap(AttributeKey const& key, int index = 0)
    {
        return MayHave(key) ? LookupToWrite(key, index) : nullptr;
    }
    /// Whether the child exists, with or without a value.
    bool Has(AttributeKey const& key, int index = 0) const { return MayHave(key) && Lookup(key, index) != nullptr; }

    /// Union of the filters of the children's keys, 0 without children: a child whose key's filter is not within it is
    /// not there. For callers that ask for many keys again and again.
    std::uint64_t KeyFilter() const { return m_node != nullptr ? m_node->childFilter : 0; }

    /// Number of children, of whatever key.
    int Count() const;
    /// Number of children with this key.
    int Count(AttributeKey const& key) const { return MayHave(key) ? CountOf(key) : 0; }
    /// The child at a position in the order of children, 0 to Count() - 1; an empty node anywhere else.
    CAttributeMap const& GetChild(int position) const;

    /// Removes the child and all below it; later occurrences move up by one. Says whether there was one.
    bool Remove(AttributeKey const& key, int index = 0);
    /// Removes all children; key, value and flags stay.
    void RemoveChildren();

    /// Labels the tree; the label is copied along and means nothing to look-ups.
    void SetGroup(CString const& name);
    /// The label; empty when there is none.
    CString GetGroup() const;

    /// Value and flag word of the key's first occurrence. On failure, which is absence or another kind, it gives false
    /// and leaves both out arguments untouched.
    bool GetAttribValue(AttributeKey const& key, int& value, unsigned int& flags) const;
    bool GetAttribValue(AttributeKey const& key, double& value, unsigned int& flags) const;
    bool GetAttribValue(AttributeKey const& key, bool& value, unsigned int& flags) const;

    /// Walks the children in order: `for (CAttributeMap const& child : tree)`. The tree must not change meanwhile.
    class const_iterator
    {
    public:
        /// One pass, forward.
        using iterator_category = std::input_iterator_tag;
        /// A child.
        using value_type = CAttributeMap;
        /// Of no use for one pass; algorithms ask for it.
        using difference_type = std::ptrdiff_t;
        /// Into the tree, which must not change meanwhile.
        using pointer = CAttributeMap const*;
        /// To a child in the tree.
        using reference = CAttributeMap const&;

        const_iterator() = default;
        /// The child; not at the end.
        reference operator*() const { return *m_child; }
        /// The child; not at the end.
        pointer operator->() const { return m_child; }
        /// On to the next child.
        const_iterator& operator++()
        {
            m_child = m_map->NextChild(m_chunk, m_slot);
            return *this;
        }
        /// On to the next child; the place before is not given.
        void operator++(int) { ++*this; }
        /// Whether both stand at one child, or at the end.
        friend bool operator==(const_iterator const& a, const_iterator const& b) { return a.m_child == b.m_child; }

    private:
        friend class CAttributeMap;
        CAttributeMap const* m_map = nullptr;
        CAttributeMap const* m_child = nullptr;
        std::uint32_t m_chunk = 0;
        std::uint32_t m_slot = 0;
    };
    /// The first child.
    const_iterator begin() const
    {
        const_iterator first;
        first.m_map = this;
        if (m_node != nullptr) {
            ++first;
        }
        return first;
    }
    /// Behind the last child.
    const_iterator end() const { return {}; }

    /// The node that a failed `Find` refers to; it lives as long as the host library.
    static CAttributeMap const& EmptyNode() { return s_empty; }

private:
    friend struct AttributeNode;
    friend struct vordal::TreeAccess;

    bool MayHave(AttributeKey const& key) const
    {
        return m_node != nullptr && (m_node->childFilter & key.Filter()) == key.Filter();
    }
    CAttributeMap const* Lookup(AttributeKey const& key, int index) const;
    CAttributeMap* LookupToWrite(AttributeKey const& key, int index);
    int CountOf(AttributeKey const& key) const;
    /// The first live child at or after (chunk, slot), which then point behind it; null at the end.
    CAttributeMap const* NextChild(std::uint32_t& chunk, std::uint32_t& slot) const;
    void CopyFrom(CAttributeMap const& other);
    void MoveFrom(CAttributeMap& other) noexcept;
    void Release() noexcept;
    /// Makes the node, whose reference it takes over, this one's content.
    void Take(AttributeNodeHead* content);

    static CAttributeMap const s_empty;
};
