// How attribute trees are stored: reference-counted nodes, their children in chunks, and the index of wide nodes.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

// A node is shared by every handle (CAttributeMap) that refers to it and is changed only by the one handle that is
// alone with it. Its children stand in chunks of up to 32 handles, the chunks of a wide node in pages of 16. Chunks,
// pages and index are shared in the same way, so that changing one child of a wide shared node copies the list of
// pages, one page and one chunk. What that costs is mostly counting references: 10 + 16 + 32 of 5,000 children.
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

/// Up to 16 chunks of one node, in order.
struct AttributePage
{
    static constexpr std::uint32_t Capacity = 16;

    std::atomic<std::uint32_t> references{1};
    /// Children in all chunks here.
    std::uint32_t live = 0;
    bool exposed = false;
    /// Null where all children of a chunk are gone, and beyond the node's last chunk.
    AttributeChunk* chunks[Capacity] = {};
};

/// Finds (key, occurrence) among the many children of one node: open addressing, no deletion but by marking.
///
/// Keys come from outside, and their hash is one that anybody can compute, so whoever sends them could have them all
/// share a hash, or a place in here. Hence places follow from the hash by way of numbers drawn when the program starts,
/// and texts are compared. Where more than a few keys share a hash, as chance never makes them, they are found by a
/// keyed hash of their texts. A look-up passes few entries whatever the keys are.
class alignas(std::uint64_t) AttributeIndex
{
public:
    static constexpr std::uint32_t NoPlace = 0xFFFFFFFFU;

    static AttributeIndex* Create(std::uint32_t expected);
    AttributeIndex* Clone() const;
    static void Release(AttributeIndex* index);

    bool IsShared() const { return m_references.load(std::memory_order_acquire) != 1; }
    void Retain() { m_references.fetch_add(1, std::memory_order_relaxed); }

    // In all that follows `node` is the one whose children are in here; the texts of keys stand there alone.
    /// The place of an occurrence, or NoPlace.
    std::uint32_t Find(AttributeNode const& node, AttributeKey const& key, std::uint32_t occurrence) const;
    std::uint32_t Count(AttributeNode const& node, AttributeKey const& key) const;
    /// Adds the next occurrence. The index may be replaced by another one: go on with the result.
    [[nodiscard]] static AttributeIndex* Append(AttributeNode const& node, AttributeIndex* index,
                                                AttributeKey const& key, std::uint32_t place);
    void Remove(AttributeNode const& node, AttributeKey const& key, std::uint32_t occurrence);

private:
    struct Entry
    {
        /// What is left of the key's hash.
        std::uint32_t tag = 0;
        std::uint32_t occurrence = 0;
        /// NoPlace in an entry that was never taken.
        std::uint32_t place = NoPlace;
        /// In an entry for the first occurrence the number of occurrences.
        std::uint32_t count = 0;
    };
    /// Where the occurrences of a key are found.
    struct Location
    {
        std::uint32_t tag;
        std::uint32_t first;  ///< the entry of occurrence 0, or a free one when there is none
        std::uint32_t others; ///< keys of that tag that were passed
        bool isByText;        ///< the tag is that of the key's text, because that of its hash is crowded
    };
    static constexpr std::uint32_t RemovedPlace = NoPlace - 1;
    /// In an entry that marks its tag as crowded: the keys of that hash stand under the tags of their texts.
    static constexpr std::uint32_t CrowdedPlace = NoPlace - 2;
    /// Keys of one tag that make it crowded.
    static constexpr std::uint32_t Crowd = 3;

    AttributeIndex() = default;
    static AttributeIndex* Allocate(std::uint32_t capacity);
    Entry* Entries() { return reinterpret_cast<Entry*>(this + 1); }
    Entry const* Entries() const { return reinterpret_cast<Entry const*>(this + 1); }
    std::uint32_t TagOf(std::uint64_t hash) const;
    Location Locate(AttributeNode const& node, AttributeKey const& key) const;
    enum class Marks
    {
        Found,
        Passed,
    };
    /// The number of the entry, or of the free one that the search for it ends at, or with Marks::Found of the one that
    /// marks the tag as crowded. `others` counts what has the same tag and occurrence and another text.
    std::uint32_t Probe(AttributeNode const& node, std::uint32_t tag, std::wstring_view text, std::uint32_t occurrence,
                        Marks marks, std::uint32_t& others) const;
    /// The entry of a further occurrence of a key that was located.
    std::uint32_t ProbeFurther(AttributeNode const& node, Location const& location, AttributeKey const& key,
                               std::uint32_t occurrence) const;
    /// Marks the tag as crowded and takes the keys of that hash to the tags of their texts.
    [[nodiscard]] static AttributeIndex* MakeCrowded(AttributeNode const& node, AttributeIndex* index,
                                                     std::uint32_t tag);
    /// The index itself or a larger one in its place, with room for so many entries.
    [[nodiscard]] static AttributeIndex* MakeRoom(AttributeIndex* index, std::uint64_t entries);
    /// Takes a free entry for one that is not here yet.
    void Take(Entry const& entry);

    std::atomic<std::uint32_t> m_references{1};
    std::uint32_t m_mask = 0;
    /// Entries ever taken, removed ones included.
    std::uint32_t m_taken = 0;
    /// Two of the program's own random numbers.
    std::uint64_t m_salt[2] = {};
};

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
    /// Children behind the index that are walked before a shared index is copied to take them in.
    static constexpr std::uint32_t MaxUnindexed = 64;

    std::uint64_t hash = 0;
    std::uint32_t keyLength = 0;
    std::uint32_t childCount = 0;
    std::uint32_t chunkCount = 0;
    std::uint32_t pageCount = 0;
    std::uint32_t pageCapacity = 0;
    std::uint32_t emptyChunks = 0;
    /// All children at places below are in the index, none from here on.
    std::uint32_t indexedPlaces = 0;
    bool exposed = false;
    /// Null as long as the first chunk suffices, which then stands in `onlyChunk`.
    AttributePage** pages = nullptr;
    AttributeChunk* onlyChunk = nullptr;
    AttributeIndex* index = nullptr;
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
    CAttributeMap const& At(std::uint32_t place) const;
    std::wstring_view KeyAt(std::uint32_t place) const;
    /// Null once all its children are gone.
    AttributeChunk* Chunk(std::uint32_t number) const
    {
        return pages != nullptr ? pages[number / AttributePage::Capacity]->chunks[number % AttributePage::Capacity]
                                : onlyChunk;
    }

    // The rest changes the node, which must not be shared.
    /// The chunk of that number, alone with this node from now on.
    AttributeChunk& OwnChunk(std::uint32_t number);
    CAttributeMap& OwnSlot(std::uint32_t place);
    /// OwnSlot for a reference that is handed out.
    CAttributeMap& ExposeSlot(std::uint32_t place);
    /// Appends a child, whose reference the node takes over, and gives its place.
    std::uint32_t Append(AttributeNode* child);
    void Remove(std::uint32_t place, std::uint32_t occurrence);
    void RemoveChildren() noexcept;
    void SetValue(CVordalType* owned) noexcept;

    /// A copy of a node without its children.
    static AttributeNode* CloneWithoutChildren(AttributeNode const& node, std::wstring_view key, std::uint64_t hash);
    /// Gives this childless node the chunks and index of another, shared but for exposed pages, which become null.
    void ShareChildrenOf(AttributeNode const& node);

private:
    static AttributeNode* CopyExposed(AttributeNode const& node,
                                      std::vector<std::pair<AttributeNode*, CAttributeMap*>>& pending);
    static void DropChunk(AttributeChunk* chunk, AttributeNode*& pending);
    static void DropPage(AttributePage* page, AttributeNode*& pending);
    void DropChildren(AttributeNode*& pending);
    static void DestroyAll(AttributeNode* pending);

    /// The page of a chunk, alone with this node from now on; null when there are no pages.
    AttributePage* OwnPage(std::uint32_t number);
    void AppendChunk(AttributeChunk* chunk);
    void AppendPage(AttributePage* page);
    void Index();
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
    static CAttributeMap const* NextChild(CAttributeMap const& map, std::uint32_t& chunk, std::uint32_t& slot)
    {
        return map.NextChild(chunk, slot);
    }
};

} // namespace vordal
