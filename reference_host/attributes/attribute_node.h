// How attribute trees are stored: reference-counted nodes, and their children in chunks.
#pragma once

#include "attribute_index.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

// A node is shared by every handle (CAttributeMap) that refers to it and is changed only by the one handle that is
// alone with it. Its children stand in chunks of up to 32 handles, the chunks of a wide node in pages of 16, these in
// pages again, as high as it takes. Chunks, pages and the pieces of the index are shared in the same way, so that
// changing one child of a wide shared node copies one chunk and the pages that lead to it. What that costs is mostly
// counting references: 10 + 16 + 32 of 5,000 children, 2 + 16 + 16 + 16 + 32 of a million.
//
// A chunk slot is a place. Children never move to another place while their chunk lives, because callers may hold
// references to them; a removed child leaves a hole. That also keeps the places in the index true.
//
// "Exposed" means that a writable reference to a child was handed out. An exposed chunk, and the page and node that it
// belongs to, are never shared: a copy gets its own. Hence an exposed node has exactly one handle, and whatever
// holds an exposed node is itself exposed, up to the root.

/// Up to 32 children of one node.
struct alignas(std::uint64_t) AttributeChunk
{
    static constexpr std::uint32_t MaxCapacity = 32;

    std::atomic<std::uint32_t> references{1};
    std::uint32_t capacity = 0;
    /// Slots that have ever been filled, holes included; all beyond are free.
    std::uint32_t used = 0;
    std::uint32_t live = 0;
    bool exposed = false;

    CAttributeMap* Slots() { return reinterpret_cast<CAttributeMap*>(this + 1); }
    CAttributeMap const* Slots() const { return reinterpret_cast<CAttributeMap const*>(this + 1); }

    static AttributeChunk* Create(std::uint32_t capacity);
    static void Free(AttributeChunk* chunk);
};

/// Up to 16 chunks of one node, or as many pages of them, in order.
struct AttributePage
{
    static constexpr std::uint32_t Bits = 4;
    static constexpr std::uint32_t Capacity = 1U << Bits;

    std::atomic<std::uint32_t> references{1};
    /// Children in all chunks below.
    std::uint32_t live = 0;
    bool exposed = false;
    /// Pages, or, in one of height 1, chunks. Null where all children of a chunk are gone, and beyond the node's last
    /// chunk.
    void* below[Capacity] = {};

    /// Where what holds that chunk stands in a page of that height.
    static constexpr std::uint32_t SlotOf(std::uint32_t chunk, std::uint32_t height)
    {
        return (chunk >> ((height - 1) * Bits)) % Capacity;
    }
};

/// The number of a slot among all slots of a node.
constexpr std::uint32_t PlaceOf(std::uint32_t chunk, std::uint32_t slot)
{
    return chunk * AttributeChunk::MaxCapacity + slot;
}
constexpr std::uint32_t ChunkOf(std::uint32_t place)
{
    return place / AttributeChunk::MaxCapacity;
}
constexpr std::uint32_t SlotOf(std::uint32_t place)
{
    return place % AttributeChunk::MaxCapacity;
}

/// Says whether the caller held the last reference.
inline bool DropReference(std::atomic<std::uint32_t>& references)
{
    // Whoever is alone needs no locked instruction: nobody else can come by a reference.
    return references.load(std::memory_order_acquire) == 1 || references.fetch_sub(1, std::memory_order_acq_rel) == 1;
}

struct AttributeGroup
{
    std::atomic<std::uint32_t> references{1};
    CString name;
};

/// A node; its key's characters follow the structure in memory.
struct AttributeNode : AttributeNodeHead
{
    /// Children from which on a node has an index; below, walking the chunks is as fast.
    static constexpr std::uint32_t IndexThreshold = 48;
    /// Children behind the index that are walked before an index that is shared takes them in: with pieces of its own,
    /// and, once there is no room, made anew.
    static constexpr std::uint32_t MaxUnindexed = 8;
    static constexpr std::uint32_t MaxUnindexedWithoutRoom = 64;

    std::uint64_t hash = 0;
    std::uint32_t keyLength = 0;
    std::uint32_t childCount = 0;
    std::uint32_t chunkCount = 0;
    /// Of the pages above a chunk; 0 as long as one chunk suffices.
    std::uint32_t height = 0;
    std::uint32_t emptyChunks = 0;
    /// All children at places below are in the index, none from here on. Read it after the index.
    mutable std::atomic<std::uint32_t> indexedPlaces{0};
    bool exposed = false;
    /// The page of that height, or the only chunk; null without children.
    void* chunks = nullptr;
    /// Null until somebody looks for a key among many children: the trees that are only walked need none. Whoever does
    /// so first makes it, while others who share the node may do the same.
    mutable std::atomic<AttributeIndex*> index{nullptr};
    AttributeGroup* group = nullptr;
    /// Links nodes that wait for destruction, which must not recurse.
    AttributeNode* nextToDestroy = nullptr;

    AttributeNode() = default;
    AttributeNode(AttributeNode const&) = delete;
    AttributeNode& operator=(AttributeNode const&) = delete;

    std::wstring_view Key() const { return {reinterpret_cast<wchar_t const*>(this + 1), keyLength}; }

    static AttributeNode* Create(std::wstring_view key, std::uint64_t hash);
    static void Retain(AttributeNode* node) { node->references.fetch_add(1, std::memory_order_relaxed); }
    static void Release(AttributeNode* node) noexcept;
    /// A further reference for a copy: the node itself, or a copy of the exposed part of the tree.
    static AttributeNode* Share(AttributeNode* node);
    /// The content under another key; the reference to `node` is used up.
    static AttributeNode* Rekey(AttributeNode* node, std::wstring_view key, std::uint64_t hash);

    static CVordalType* RetainValue(CVordalType* value);
    static void ReleaseValue(CVordalType* value) noexcept;
    static void ReleaseGroup(AttributeGroup* group) noexcept;

    bool IsShared() const { return references.load(std::memory_order_acquire) != 1; }

    /// The place of an occurrence of the key, or AttributeIndex::NoPlace.
    std::uint32_t FindPlace(AttributeKey const& key, std::uint32_t occurrence) const;
    std::uint32_t CountOf(AttributeKey const& key) const;
    /// The index for looking up; null with few children, or where there is no memory for one.
    AttributeIndex const* IndexToRead() const noexcept
    {
        auto const* const known = index.load(std::memory_order_acquire);
        return known != nullptr || childCount < IndexThreshold ? known : MakeIndexToRead();
    }
    CAttributeMap const& At(std::uint32_t place) const;
    std::wstring_view KeyAt(std::uint32_t place) const;
    /// Null once all its children are gone.
    AttributeChunk* Chunk(std::uint32_t number) const
    {
        void* piece = chunks;
        for (auto level = height; level > 0; --level) {
            piece = static_cast<AttributePage*>(piece)->below[AttributePage::SlotOf(number, level)];
        }
        return static_cast<AttributeChunk*>(piece);
    }

    // The rest changes the node, which must not be shared.
    /// The chunk of that number, alone with this node from now on, as are the pages that lead to it.
    AttributeChunk& OwnChunk(std::uint32_t number)
    {
        return OwnChunk(number, [](AttributePage&) {});
    }
    CAttributeMap& OwnSlot(std::uint32_t place);
    /// OwnSlot for a reference that is handed out.
    CAttributeMap& ExposeSlot(std::uint32_t place);
    /// Appends a child, whose reference the node takes over, and gives its place.
    std::uint32_t Append(AttributeNode* child);
    /// Takes what is not in the index yet into it, which is made when there are many children.
    void Index();
    void Remove(std::uint32_t place, std::uint32_t occurrence);
    void RemoveChildren() noexcept;
    void SetValue(CVordalType* owned) noexcept;

    /// A copy of a node without its children.
    static AttributeNode* CloneWithoutChildren(AttributeNode const& node, std::wstring_view key, std::uint64_t hash);
    /// Gives this childless node the chunks and index of another that is not exposed.
    void ShareChildrenOf(AttributeNode const& node);
    /// How many children are below a piece of that height, which may be null.
    static std::uint32_t LiveBelow(void const* piece, std::uint32_t height)
    {
        return piece == nullptr ? 0
               : height == 0    ? static_cast<AttributeChunk const*>(piece)->live
                                : static_cast<AttributePage const*>(piece)->live;
    }

private:
    using PendingCopies = std::vector<std::pair<AttributeNode*, CAttributeMap*>>;

    static AttributeNode* CopyExposed(AttributeNode const& node, PendingCopies& pending);
    /// A further reference to a piece of that height, or a copy of what of it is exposed.
    static void* SharePiece(void* piece, std::uint32_t height, PendingCopies& pending);
    static AttributeChunk* CopyChunk(AttributeChunk const& from, PendingCopies& pending);
    void TakeFieldsOf(AttributeNode const& node);
    void ShareIndexOf(AttributeNode const& node);
    static void DropChunk(AttributeChunk* chunk, AttributeNode*& pending);
    static void DropPiece(void* piece, std::uint32_t height, AttributeNode*& pending);
    void DropChildren(AttributeNode*& pending);
    static void DestroyAll(AttributeNode* pending);

    /// The page, alone with this node from now on.
    static AttributePage& OwnPage(void*& piece, std::uint32_t height);
    static AttributeChunk& OwnOnlyChunk(void*& piece);
    /// The chunk, once `visit` was called with each page that leads to it, the uppermost first.
    template <typename Visit>
    AttributeChunk& OwnChunk(std::uint32_t number, Visit const& visit)
    {
        void** piece = &chunks;
        for (auto level = height; level > 0; --level) {
            auto& page = OwnPage(*piece, level);
            visit(page);
            piece = &page.below[AttributePage::SlotOf(number, level)];
        }
        return OwnOnlyChunk(*piece);
    }
    void AppendChunk(AttributeChunk* chunk);
    /// A chunk that has no children left goes, and the pages at the end that then hold none.
    void RemoveChunk(std::uint32_t number);
    void DropPagesBehind();
    /// The place behind the last child.
    std::uint32_t EndOfPlaces() const { return PlaceOf(chunkCount - 1, Chunk(chunkCount - 1)->used); }
    AttributeIndex const* MakeIndexToRead() const noexcept;
    /// `taken` with the children at places from `indexed` on, which counts them.
    void TakeInto(AttributeIndex*& taken, std::uint32_t& indexed) const;
    void DropEmptyChunks();
};

namespace vordal {

/// What the host's own tree operations may do beyond the contract: write without exposing.
struct TreeAccess
{
    static AttributeNode* Node(CAttributeRec const& map) { return static_cast<AttributeNode*>(map.m_node); }
    /// The handle's node, alone with the handle from now on.
    static AttributeNode& Own(CAttributeRec& map);
    static AttributeKey KeyOf(AttributeNode const& node) { return AttributeKey(node.Key(), node.hash); }

    static void SetNode(CAttributeRec& map, AttributeNode* node) { map.m_node = node; }
    static std::uint64_t ChildHash(CAttributeRec const& map) { return map.m_childHash; }
    static void SetSlot(CAttributeRec& slot, AttributeNode* node, std::uint64_t hash)
    {
        slot.m_node = node;
        slot.m_childHash = hash;
    }
    /// Whether two nodes hold the same: then nothing in them or below them differs.
    static bool IsSame(CAttributeRec const& a, CAttributeRec const& b) { return a.m_node == b.m_node; }
    /// Whether the children of both have the same keys in the same order. Costs next to nothing for a wide node of
    /// which values alone were changed, and a look at each child otherwise.
    static bool HasSameKeys(CAttributeMap const& a, CAttributeMap const& b);
    static CAttributeMap const* NextChild(CAttributeMap const& map, std::uint32_t& chunk, std::uint32_t& slot)
    {
        return map.NextChild(chunk, slot);
    }
};

} // namespace vordal

inline CAttributeMap const& AttributeNode::At(std::uint32_t place) const
{
    return std::as_const(*Chunk(ChunkOf(place))).Slots()[SlotOf(place)];
}

inline std::wstring_view AttributeNode::KeyAt(std::uint32_t place) const
{
    return vordal::TreeAccess::Node(At(place))->Key();
}

inline bool vordal::TreeAccess::HasSameKeys(CAttributeMap const& a, CAttributeMap const& b)
{
    auto const* const one = Node(a);
    auto const* const other = Node(b);
    if (one == other) {
        return true;
    }
    if (one == nullptr || other == nullptr || one->childCount != other->childCount) {
        return a.Count() == 0 && b.Count() == 0;
    }
    std::uint32_t chunk = 0;
    std::uint32_t slot = 0;
    auto const* const index = one->index.load(std::memory_order_acquire);
    if (index != nullptr && index == other->index.load(std::memory_order_acquire) &&
        one->indexedPlaces == other->indexedPlaces) {
        // Whoever adds or removes a child that is in a shared index has one of his own from then on.
        chunk = ChunkOf(one->indexedPlaces);
        slot = SlotOf(one->indexedPlaces);
    }
    auto otherChunk = chunk;
    auto otherSlot = slot;
    for (;;) {
        auto const* const child = NextChild(a, chunk, slot);
        auto const* const counterpart = NextChild(b, otherChunk, otherSlot);
        if (child == nullptr || counterpart == nullptr) {
            return child == counterpart;
        }
        if (!IsSame(*child, *counterpart) &&
            (child->m_childHash != counterpart->m_childHash || child->KeyText() != counterpart->KeyText())) {
            return false;
        }
    }
}
