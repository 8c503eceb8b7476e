// The index of a node with many children: finds each by its key.
#include "attribute_index.h"

#include "attribute_node.h"

#include "reference_host/common/salted_hash.h"

#include <algorithm>
#include <iterator>

AttributeIndex::AttributeIndex(std::uint32_t capacity) : m_entries(capacity)
{
    auto const& salt = vordal::ProgramSalt();
    std::copy(salt.begin(), salt.end(), m_salt);
}

AttributeIndex::AttributeIndex(AttributeIndex const& other) : m_entries(other.m_entries), m_taken(other.m_taken)
{
    std::copy(std::begin(other.m_salt), std::end(other.m_salt), m_salt);
}

AttributeIndex* AttributeIndex::Create(std::uint32_t expected)
{
    std::uint32_t capacity = 64;
    while (capacity < expected * 2) {
        capacity *= 2;
    }
    return new AttributeIndex(capacity);
}

AttributeIndex* AttributeIndex::Clone() const
{
    return new AttributeIndex(*this);
}

void AttributeIndex::Release(AttributeIndex* index)
{
    if (index != nullptr && DropReference(index->m_references)) {
        delete index;
    }
}

std::uint32_t AttributeIndex::First(std::uint32_t tag, std::uint32_t occurrence) const
{
    // Occurrences of one key spread evenly, whatever the key's tag.
    return (tag + occurrence * 0x9E3779B9U) & (m_entries.Capacity() - 1);
}

std::uint32_t AttributeIndex::TagOf(std::uint64_t hash) const
{
    // Twice, so that factors which nobody outside knows reach every bit that stays.
    auto mixed = (hash ^ m_salt[0]) * (m_salt[1] | 1U);
    mixed = (mixed ^ (mixed >> 32)) * (m_salt[0] | 1U);
    return static_cast<std::uint32_t>(mixed >> 32);
}

AttributeIndex::Location AttributeIndex::Locate(AttributeNode const& node, AttributeKey const& key) const
{
    std::uint32_t others = 0;
    auto const tag = TagOf(key.Hash());
    auto const first = Probe(node, tag, key.Text(), 0, Marks::Found, others);
    if (first.entry->place != CrowdedPlace) {
        return {tag, first, others, false};
    }
    auto const textTag = TagOf(vordal::SaltedHash(key.Text()));
    auto const firstOfText = Probe(node, textTag, key.Text(), 0, Marks::Passed, others);
    return {textTag, firstOfText, others, true};
}

AttributeIndex::Place AttributeIndex::Probe(AttributeNode const& node, std::uint32_t tag, std::wstring_view text,
                                            std::uint32_t occurrence, Marks marks, std::uint32_t& others) const
{
    auto at = First(tag, occurrence);
    auto const* entry = &m_entries[at];
    while (entry->place != NoPlace) {
        if (entry->tag == tag && entry->occurrence == occurrence) {
            if (entry->place < CrowdedPlace) {
                if (node.KeyAt(entry->place) == text) {
                    return {at, entry};
                }
                ++others;
            } else if (entry->place == CrowdedPlace && marks == Marks::Found) {
                return {at, entry};
            }
        }
        at = Next(at);
        // To find a block takes longer than to look at an entry.
        entry = vordal::SharedBlocks<Entry>::BeginsBlock(at) ? &m_entries[at] : entry + 1;
    }
    return {at, entry};
}

AttributeIndex::Place AttributeIndex::ProbeFurther(AttributeNode const& node, Location const& location,
                                                   AttributeKey const& key, std::uint32_t occurrence) const
{
    std::uint32_t others = 0;
    return Probe(node, location.tag, key.Text(), occurrence, Marks::Passed, others);
}

AttributeIndex* AttributeIndex::MakeCrowded(AttributeNode const& node, AttributeIndex* index, std::uint32_t tag)
{
    // The entries of one search lie behind one another, up to a free one.
    auto const walk = [&](auto const& visit) {
        for (auto at = index->First(tag, 0); index->m_entries[at].place != NoPlace; at = index->Next(at)) {
            auto const entry = index->m_entries[at];
            if (entry.tag == tag && entry.occurrence == 0 && entry.place < CrowdedPlace) {
                visit(entry);
            }
        }
    };
    std::uint64_t moving = 1;
    walk([&](Entry const& first) { moving += first.count; });
    index = MakeRoom(index, moving);
    walk([&](Entry const& first) {
        auto const text = node.KeyAt(first.place);
        auto const textTag = index->TagOf(vordal::SaltedHash(text));
        if (textTag == tag) {
            return; // it stands where it has to
        }
        std::uint32_t others = 0;
        for (std::uint32_t occurrence = first.count; occurrence-- > 0;) {
            auto& entry = index->m_entries.Own(index->Probe(node, tag, text, occurrence, Marks::Passed, others).at);
            auto moved = entry;
            moved.tag = textTag;
            entry.place = RemovedPlace;
            index->Take(moved);
        }
    });
    index->Take({tag, 0, CrowdedPlace, 0});
    return index;
}

AttributeIndex* AttributeIndex::MakeRoom(AttributeIndex* index, std::uint64_t wanted)
{
    if (index->HasRoomFor(wanted)) {
        return index;
    }
    auto const forEach = [&](auto const& visit) {
        for (std::uint32_t at = 0; at < index->m_entries.Capacity(); ++at) {
            auto const& entry = index->m_entries[at];
            if (entry.place != NoPlace && entry.place != RemovedPlace) {
                visit(entry);
            }
        }
    };
    std::uint32_t there = 0;
    forEach([&](Entry const&) { ++there; });
    auto* larger = Create(there + there / 4 + static_cast<std::uint32_t>(wanted));
    forEach([&](Entry const& entry) { larger->Take(entry); });
    Release(index);
    return larger;
}

std::uint32_t AttributeIndex::Find(AttributeNode const& node, AttributeKey const& key, std::uint32_t occurrence) const
{
    auto const location = Locate(node, key);
    return (occurrence == 0 ? location.first : ProbeFurther(node, location, key, occurrence)).entry->place;
}

std::uint32_t AttributeIndex::Count(AttributeNode const& node, AttributeKey const& key) const
{
    return Locate(node, key).first.entry->count;
}

void AttributeIndex::Take(Entry const& entry)
{
    auto at = First(entry.tag, entry.occurrence);
    while (m_entries[at].place != NoPlace) {
        at = Next(at);
    }
    m_entries.Own(at) = entry;
    ++m_taken;
}

void AttributeIndex::Append(AttributeNode const& node, AttributeIndex*& index, AttributeKey const& key,
                            std::uint32_t place)
{
    index = MakeRoom(index, 1);
    auto location = index->Locate(node, key);
    if (location.first.entry->place != NoPlace) {
        index->Take({location.tag, index->m_entries.Own(location.first.at).count++, place, 0});
        return;
    }
    if (location.others >= Crowd && !location.isByText) {
        index = MakeCrowded(node, index, location.tag);
        index = MakeRoom(index, 1);
        location = index->Locate(node, key);
    }
    index->Take({location.tag, 0, place, 1});
}

void AttributeIndex::Remove(AttributeNode const& node, AttributeKey const& key, std::uint32_t occurrence)
{
    auto const location = Locate(node, key);
    auto const entryOf = [&](std::uint32_t wanted) -> Entry& {
        return m_entries.Own((wanted == 0 ? location.first : ProbeFurther(node, location, key, wanted)).at);
    };
    auto const count = entryOf(0).count--;
    for (auto i = occurrence; i + 1 < count; ++i) {
        entryOf(i).place = entryOf(i + 1).place;
    }
    entryOf(count - 1).place = RemovedPlace;
}
