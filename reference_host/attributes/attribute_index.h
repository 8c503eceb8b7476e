// The index of a node with many children: finds each by its key.
#pragma once

#include "shared_blocks.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <atomic>
#include <cstdint>
#include <string_view>

struct AttributeNode;

/// Finds (key, occurrence) among the many children of one node: open addressing, no deletion but by marking.
///
/// Keys come from outside, and their hash is one that anybody can compute, so whoever sends them could have them all
/// share a hash, or a place in here. Hence places follow from the hash by way of numbers drawn when the program starts,
/// and texts are compared. Where more than a few keys share a hash, as chance never makes them, they are found by a
/// keyed hash of their texts. A look-up passes few entries whatever the keys are.
///
/// Clones share what neither of them changes: to add or remove a key costs the same however many there are, but for
/// when the index has no room and is made anew.
class AttributeIndex
{
public:
    static constexpr std::uint32_t NoPlace = 0xFFFFFFFFU;

    static AttributeIndex* Create(std::uint32_t expected);
    AttributeIndex* Clone() const;
    static void Release(AttributeIndex* index);

    /// Whether so many keys can be added without its being made anew.
    bool HasRoomFor(std::uint64_t keys) const { return m_taken + keys <= std::uint64_t{m_entries.Capacity()} / 4 * 3; }
    bool IsShared() const { return m_references.load(std::memory_order_acquire) != 1; }
    void Retain() { m_references.fetch_add(1, std::memory_order_relaxed); }

    // In all that follows `node` is the one whose children are in here; the texts of keys stand there alone.
    /// The place of an occurrence, or NoPlace.
    std::uint32_t Find(AttributeNode const& node, AttributeKey const& key, std::uint32_t occurrence) const;
    std::uint32_t Count(AttributeNode const& node, AttributeKey const& key) const;
    /// Adds the next occurrence. The index may be replaced by another one, also when there is no memory for more.
    static void Append(AttributeNode const& node, AttributeIndex*& index, AttributeKey const& key, std::uint32_t place);
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
    /// Where a search has ended; the entry is good until something is changed.
    struct Place
    {
        std::uint32_t at;
        Entry const* entry;
    };
    /// Where the occurrences of a key are found.
    struct Location
    {
        std::uint32_t tag;
        Place first;          ///< the entry of occurrence 0, or a free one when there is none
        std::uint32_t others; ///< keys of that tag that were passed
        bool isByText;        ///< the tag is that of the key's text, because that of its hash is crowded
    };
    static constexpr std::uint32_t RemovedPlace = NoPlace - 1;
    /// In an entry that marks its tag as crowded: the keys of that hash stand under the tags of their texts.
    static constexpr std::uint32_t CrowdedPlace = NoPlace - 2;
    /// Keys of one tag that make it crowded.
    static constexpr std::uint32_t Crowd = 3;

    explicit AttributeIndex(std::uint32_t capacity);
    AttributeIndex(AttributeIndex const& other);
    std::uint32_t Next(std::uint32_t at) const { return (at + 1) & (m_entries.Capacity() - 1); }
    std::uint32_t First(std::uint32_t tag, std::uint32_t occurrence) const;
    std::uint32_t TagOf(std::uint64_t hash) const;
    Location Locate(AttributeNode const& node, AttributeKey const& key) const;
    enum class Marks
    {
        Found,
        Passed,
    };
    /// The entry, or the free one that the search for it ends at, or with Marks::Found the one that marks the tag as
    /// crowded. `others` counts what has the same tag and occurrence and another text.
    Place Probe(AttributeNode const& node, std::uint32_t tag, std::wstring_view text, std::uint32_t occurrence,
                Marks marks, std::uint32_t& others) const;
    /// The entry of a further occurrence of a key that was located.
    Place ProbeFurther(AttributeNode const& node, Location const& location, AttributeKey const& key,
                       std::uint32_t occurrence) const;
    /// Marks the tag as crowded and takes the keys of that hash to the tags of their texts.
    [[nodiscard]] static AttributeIndex* MakeCrowded(AttributeNode const& node, AttributeIndex* index,
                                                     std::uint32_t tag);
    /// The index itself or a larger one in its place, with room for so many entries.
    [[nodiscard]] static AttributeIndex* MakeRoom(AttributeIndex* index, std::uint64_t entries);
    /// Takes a free entry for one that is not here yet.
    void Take(Entry const& entry);

    std::atomic<std::uint32_t> m_references{1};
    vordal::SharedBlocks<Entry> m_entries;
    /// Entries ever taken, removed ones included.
    std::uint32_t m_taken = 0;
    /// Two of the program's own random numbers.
    std::uint64_t m_salt[2] = {};
};
