// The storage of attribute trees: sharing, copying on write, look-up and destruction without recursion.
#include "attribute_node.h"

#include "base/salted_hash.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

using vordal::TreeAccess;

namespace {

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

/// Where the search for an entry begins. Occurrences of one key spread evenly, whatever the key's tag.
constexpr std::uint32_t FirstEntry(std::uint32_t tag, std::uint32_t occurrence)
{
    return tag + occurrence * 0x9E3779B9U;
}

/// Says whether the caller held the last reference.
bool DropReference(std::atomic<std::uint32_t>& references)
{
    // Whoever is alone needs no locked instruction: nobody else can come by a reference.
    return references.load(std::memory_order_acquire) == 1 || references.fetch_sub(1, std::memory_order_acq_rel) == 1;
}

} // namespace

AttributeChunk* AttributeChunk::Create(std::uint32_t capacity)
{
    static_assert(sizeof(AttributeChunk) % alignof(CAttributeMap) == 0);
    void* memory = ::operator new(sizeof(AttributeChunk) + capacity * sizeof(CAttributeMap));
    auto* chunk = new (memory) AttributeChunk;
    chunk->capacity = capacity;
    for (std::uint32_t i = 0; i < capacity; ++i) {
        new (chunk->Slots() + i) CAttributeMap;
    }
    return chunk;
}

void AttributeChunk::Free(AttributeChunk* chunk)
{
    // The slots were emptied by whoever dropped the last reference.
    chunk->~AttributeChunk();
    ::operator delete(chunk);
}

AttributeIndex* AttributeIndex::Allocate(std::uint32_t capacity)
{
    static_assert(sizeof(AttributeIndex) % alignof(Entry) == 0);
    void* memory = ::operator new(sizeof(AttributeIndex) + capacity * sizeof(Entry));
    auto* index = new (memory) AttributeIndex;
    index->m_mask = capacity - 1;
    auto const& salt = vordal::ProgramSalt();
    std::copy(salt.begin(), salt.end(), index->m_salt);
    std::uninitialized_fill_n(index->Entries(), capacity, Entry());
    return index;
}

AttributeIndex* AttributeIndex::Create(std::uint32_t expected)
{
    std::uint32_t capacity = 64;
    while (capacity < expected * 2) {
        capacity *= 2;
    }
    return Allocate(capacity);
}

AttributeIndex* AttributeIndex::Clone() const
{
    auto* copy = Allocate(m_mask + 1);
    std::copy_n(Entries(), m_mask + 1, copy->Entries());
    copy->m_taken = m_taken;
    return copy;
}

void AttributeIndex::Release(AttributeIndex* index)
{
    if (index != nullptr && DropReference(index->m_references)) {
        index->~AttributeIndex();
        ::operator delete(index);
    }
}

CAttributeMap const& AttributeNode::At(std::uint32_t place) const
{
    return std::as_const(*Chunk(ChunkOf(place))).Slots()[SlotOf(place)];
}

std::wstring_view AttributeNode::KeyAt(std::uint32_t place) const
{
    return TreeAccess::Node(At(place))->Key();
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
    if (Entries()[first].place != CrowdedPlace) {
        return {tag, first, others, false};
    }
    auto const textTag = TagOf(vordal::SaltedHash(key.Text()));
    auto const firstOfText = Probe(node, textTag, key.Text(), 0, Marks::Passed, others);
    return {textTag, firstOfText, others, true};
}

std::uint32_t AttributeIndex::Probe(AttributeNode const& node, std::uint32_t tag, std::wstring_view text,
                                    std::uint32_t occurrence, Marks marks, std::uint32_t& others) const
{
    auto const* entries = Entries();
    for (auto at = FirstEntry(tag, occurrence) & m_mask;; at = (at + 1) & m_mask) {
        auto const& entry = entries[at];
        if (entry.place == NoPlace) {
            return at;
        }
        if (entry.tag != tag || entry.occurrence != occurrence) {
            continue;
        }
        if (entry.place < CrowdedPlace) {
            if (node.KeyAt(entry.place) == text) {
                return at;
            }
            ++others;
        } else if (entry.place == CrowdedPlace && marks == Marks::Found) {
            return at;
        }
    }
}

std::uint32_t AttributeIndex::ProbeFurther(AttributeNode const& node, Location const& location, AttributeKey const& key,
                                           std::uint32_t occurrence) const
{
    std::uint32_t others = 0;
    return Probe(node, location.tag, key.Text(), occurrence, Marks::Passed, others);
}

AttributeIndex* AttributeIndex::MakeCrowded(AttributeNode const& node, AttributeIndex* index, std::uint32_t tag)
{
    auto const isHere = [&](Entry const& entry) {
        return entry.tag == tag && entry.occurrence == 0 && entry.place < CrowdedPlace;
    };
    // The entries of one search lie behind one another, up to a free one.
    auto const walk = [&](auto const& visit) {
        for (auto at = FirstEntry(tag, 0) & index->m_mask; index->Entries()[at].place != NoPlace;
             at = (at + 1) & index->m_mask) {
            if (isHere(index->Entries()[at])) {
                visit(index->Entries()[at]);
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
            auto& entry = index->Entries()[index->Probe(node, tag, text, occurrence, Marks::Passed, others)];
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
    auto const capacity = index->m_mask + 1;
    if (index->m_taken + wanted <= std::uint64_t{capacity} / 4 * 3) {
        return index;
    }
    auto const* entries = index->Entries();
    auto const isThere = [](Entry const& entry) { return entry.place != NoPlace && entry.place != RemovedPlace; };
    auto const there = static_cast<std::uint32_t>(std::count_if(entries, entries + capacity, isThere));
    auto* larger = Create(there + there / 4 + static_cast<std::uint32_t>(wanted));
    std::for_each(entries, entries + capacity, [&](Entry const& entry) {
        if (isThere(entry)) {
            larger->Take(entry);
        }
    });
    Release(index);
    return larger;
}

std::uint32_t AttributeIndex::Find(AttributeNode const& node, AttributeKey const& key, std::uint32_t occurrence) const
{
    auto const location = Locate(node, key);
    return Entries()[occurrence == 0 ? location.first : ProbeFurther(node, location, key, occurrence)].place;
}

std::uint32_t AttributeIndex::Count(AttributeNode const& node, AttributeKey const& key) const
{
    return Entries()[Locate(node, key).first].count;
}

void AttributeIndex::Take(Entry const& entry)
{
    auto at = FirstEntry(entry.tag, entry.occurrence) & m_mask;
    while (Entries()[at].place != NoPlace) {
        at = (at + 1) & m_mask;
    }
    Entries()[at] = entry;
    ++m_taken;
}

AttributeIndex* AttributeIndex::Append(AttributeNode const& node, AttributeIndex* index, AttributeKey const& key,
                                       std::uint32_t place)
{
    index = MakeRoom(index, 1);
    auto location = index->Locate(node, key);
    if (auto& first = index->Entries()[location.first]; first.place != NoPlace) {
        index->Take({location.tag, first.count++, place, 0});
        return index;
    }
    if (location.others >= Crowd && !location.isByText) {
        index = MakeRoom(MakeCrowded(node, index, location.tag), 1);
        location = index->Locate(node, key);
    }
    index->Take({location.tag, 0, place, 1});
    return index;
}

void AttributeIndex::Remove(AttributeNode const& node, AttributeKey const& key, std::uint32_t occurrence)
{
    auto const location = Locate(node, key);
    auto const entryOf = [&](std::uint32_t wanted) -> Entry& {
        return Entries()[wanted == 0 ? location.first : ProbeFurther(node, location, key, wanted)];
    };
    auto const count = entryOf(0).count--;
    for (auto i = occurrence; i + 1 < count; ++i) {
        entryOf(i).place = entryOf(i + 1).place;
    }
    entryOf(count - 1).place = RemovedPlace;
}

AttributeNode* AttributeNode::Create(std::wstring_view key, std::uint64_t hash)
{
    static_assert(sizeof(AttributeNode) % alignof(wchar_t) == 0);
    void* memory = ::operator new(sizeof(AttributeNode) + key.size() * sizeof(wchar_t));
    auto* node = new (memory) AttributeNode;
    node->hash = hash;
    node->keyLength = static_cast<std::uint32_t>(key.size());
    if (!key.empty()) {
        std::memcpy(static_cast<void*>(node + 1), key.data(), key.size() * sizeof(wchar_t));
    }
    return node;
}

CVordalType* AttributeNode::RetainValue(CVordalType* value)
{
    if (value != nullptr) {
        value->m_references.fetch_add(1, std::memory_order_relaxed);
    }
    return value;
}

void AttributeNode::ReleaseValue(CVordalType* value) noexcept
{
    if (value != nullptr && DropReference(value->m_references)) {
        delete value;
    }
}

void AttributeNode::ReleaseGroup(AttributeGroup* group) noexcept
{
    if (group != nullptr && DropReference(group->references)) {
        delete group;
    }
}

void AttributeNode::DropChunk(AttributeChunk* chunk, AttributeNode*& pending)
{
    if (chunk == nullptr || !DropReference(chunk->references)) {
        return;
    }
    for (std::uint32_t slot = 0; slot < chunk->used; ++slot) {
        auto* child = TreeAccess::Node(chunk->Slots()[slot]);
        if (child != nullptr && DropReference(child->references)) {
            child->nextToDestroy = pending;
            pending = child;
        }
    }
    AttributeChunk::Free(chunk);
}

void AttributeNode::DropPage(AttributePage* page, AttributeNode*& pending)
{
    if (DropReference(page->references)) {
        for (auto* chunk : page->chunks) {
            DropChunk(chunk, pending);
        }
        delete page;
    }
}

void AttributeNode::DropChildren(AttributeNode*& pending)
{
    for (std::uint32_t i = 0; i < pageCount; ++i) {
        DropPage(pages[i], pending);
    }
    delete[] pages;
    DropChunk(onlyChunk, pending);
    AttributeIndex::Release(index);
}

void AttributeNode::DestroyAll(AttributeNode* pending)
{
    while (pending != nullptr) {
        auto* dying = pending;
        pending = dying->nextToDestroy;
        dying->DropChildren(pending);
        ReleaseValue(dying->value);
        ReleaseGroup(dying->group);
        dying->~AttributeNode();
        ::operator delete(dying);
    }
}

void AttributeNode::Release(AttributeNode* node) noexcept
{
    if (DropReference(node->references)) {
        node->nextToDestroy = nullptr;
        DestroyAll(node);
    }
}

AttributeNode* AttributeNode::CloneWithoutChildren(AttributeNode const& node, std::wstring_view key, std::uint64_t hash)
{
    auto* copy = Create(key, hash);
    copy->flags = node.flags;
    copy->value = RetainValue(node.value);
    copy->group = node.group;
    if (copy->group != nullptr) {
        copy->group->references.fetch_add(1, std::memory_order_relaxed);
    }
    return copy;
}

void AttributeNode::AppendPage(AttributePage* page)
{
    if (pageCount == pageCapacity) {
        auto const capacity = std::max(4U, pageCapacity * 2);
        auto** larger = new AttributePage*[capacity];
        std::copy_n(pages, pageCount, larger);
        delete[] pages;
        pages = larger;
        pageCapacity = capacity;
    }
    pages[pageCount] = page;
    ++pageCount;
}

void AttributeNode::AppendChunk(AttributeChunk* chunk)
{
    if (chunkCount == 0 && pages == nullptr) {
        onlyChunk = chunk;
        chunkCount = 1;
        return;
    }
    if (pages == nullptr) {
        AppendPage(new AttributePage);
        pages[0]->live = onlyChunk->live;
        pages[0]->exposed = onlyChunk->exposed;
        pages[0]->chunks[0] = std::exchange(onlyChunk, nullptr);
    } else if (chunkCount % AttributePage::Capacity == 0) {
        AppendPage(new AttributePage);
    }
    auto& page = *OwnPage(chunkCount);
    page.chunks[chunkCount % AttributePage::Capacity] = chunk;
    page.live += chunk->live;
    page.exposed = page.exposed || chunk->exposed;
    ++chunkCount;
}

void AttributeNode::ShareChildrenOf(AttributeNode const& node)
{
    childFilter = node.childFilter;
    childCount = node.childCount;
    chunkCount = node.chunkCount;
    emptyChunks = node.emptyChunks;
    indexedPlaces = node.indexedPlaces;
    index = node.index;
    if (index != nullptr) {
        index->Retain();
    }
    if (node.pages == nullptr) {
        if (node.onlyChunk != nullptr && !node.onlyChunk->exposed) {
            onlyChunk = node.onlyChunk;
            onlyChunk->references.fetch_add(1, std::memory_order_relaxed);
        }
        return;
    }
    pages = new AttributePage*[node.pageCount];
    pageCount = node.pageCount;
    pageCapacity = node.pageCount;
    for (std::uint32_t i = 0; i < pageCount; ++i) {
        pages[i] = nullptr;
        if (!node.pages[i]->exposed) {
            pages[i] = node.pages[i];
            pages[i]->references.fetch_add(1, std::memory_order_relaxed);
        }
    }
}

AttributeNode* AttributeNode::CopyExposed(AttributeNode const& node,
                                          std::vector<std::pair<AttributeNode*, CAttributeMap*>>& pending)
{
    auto const copyChunk = [&pending](AttributeChunk* from) {
        if (from == nullptr) {
            return from;
        }
        if (!from->exposed) {
            from->references.fetch_add(1, std::memory_order_relaxed);
            return from;
        }
        auto* to = AttributeChunk::Create(from->capacity);
        to->used = from->used;
        to->live = from->live;
        for (std::uint32_t slot = 0; slot < from->used; ++slot) {
            auto* child = TreeAccess::Node(from->Slots()[slot]);
            if (child == nullptr) {
                continue;
            }
            if (child->exposed) {
                pending.emplace_back(child, to->Slots() + slot);
            } else {
                Retain(child);
            }
            TreeAccess::SetSlot(to->Slots()[slot], child, child->hash);
        }
        return to;
    };
    auto* copy = CloneWithoutChildren(node, node.Key(), node.hash);
    copy->ShareChildrenOf(node);
    if (node.pages == nullptr) {
        if (copy->onlyChunk == nullptr) {
            copy->onlyChunk = copyChunk(node.onlyChunk);
        }
        return copy;
    }
    for (std::uint32_t i = 0; i < copy->pageCount; ++i) {
        if (copy->pages[i] == nullptr) {
            auto* page = new AttributePage;
            page->live = node.pages[i]->live;
            std::transform(std::begin(node.pages[i]->chunks), std::end(node.pages[i]->chunks), page->chunks, copyChunk);
            copy->pages[i] = page;
        }
    }
    return copy;
}

AttributeNode* AttributeNode::Share(AttributeNode* node)
{
    if (node == nullptr) {
        return nullptr;
    }
    if (!node->exposed) {
        Retain(node);
        return node;
    }
    // Only the exposed nodes are copied, one after the other, since there may be any depth of them.
    std::vector<std::pair<AttributeNode*, CAttributeMap*>> pending;
    auto* copy = CopyExposed(*node, pending);
    while (!pending.empty()) {
        auto const [source, slot] = pending.back();
        pending.pop_back();
        TreeAccess::SetSlot(*slot, CopyExposed(*source, pending), source->hash);
    }
    return copy;
}

AttributeNode* AttributeNode::Rekey(AttributeNode* node, std::wstring_view key, std::uint64_t hash)
{
    if (node->hash == hash && node->Key() == key) {
        return node;
    }
    auto* renamed = CloneWithoutChildren(*node, key, hash);
    if (node->IsShared()) {
        renamed->ShareChildrenOf(*node);
    } else {
        // Alone with the node: its chunks move, so that references into them stay true.
        renamed->pages = std::exchange(node->pages, nullptr);
        renamed->onlyChunk = std::exchange(node->onlyChunk, nullptr);
        renamed->pageCount = std::exchange(node->pageCount, 0);
        renamed->pageCapacity = node->pageCapacity;
        renamed->chunkCount = node->chunkCount;
        renamed->childFilter = node->childFilter;
        renamed->childCount = node->childCount;
        renamed->emptyChunks = node->emptyChunks;
        renamed->indexedPlaces = node->indexedPlaces;
        renamed->exposed = node->exposed;
        renamed->index = std::exchange(node->index, nullptr);
    }
    Release(node);
    return renamed;
}

std::uint32_t AttributeNode::FindPlace(AttributeKey const& key, std::uint32_t occurrence) const
{
    if (occurrence >= childCount) {
        return AttributeIndex::NoPlace;
    }
    std::uint32_t from = 0;
    if (index != nullptr) {
        auto const place = index->Find(*this, key, occurrence);
        if (place != AttributeIndex::NoPlace) {
            return place;
        }
        if (from = indexedPlaces; ChunkOf(from) >= chunkCount) {
            return AttributeIndex::NoPlace;
        }
        if (occurrence > 0) {
            occurrence -= std::min(occurrence, index->Count(*this, key));
        }
    }
    auto firstSlot = SlotOf(from);
    for (auto number = ChunkOf(from); number < chunkCount; ++number) {
        auto const* chunk = Chunk(number);
        if (chunk != nullptr) {
            auto const* slots = chunk->Slots();
            for (auto slot = firstSlot; slot < chunk->used; ++slot) {
                if (TreeAccess::ChildHash(slots[slot]) == key.Hash() &&
                    TreeAccess::Node(slots[slot])->Key() == key.Text() && occurrence-- == 0) {
                    return PlaceOf(number, slot);
                }
            }
        }
        firstSlot = 0;
    }
    return AttributeIndex::NoPlace;
}

std::uint32_t AttributeNode::CountOf(AttributeKey const& key) const
{
    std::uint32_t count = 0;
    std::uint32_t from = 0;
    if (index != nullptr) {
        count = index->Count(*this, key);
        from = indexedPlaces;
    }
    auto firstSlot = SlotOf(from);
    for (auto number = ChunkOf(from); number < chunkCount; ++number) {
        auto const* chunk = Chunk(number);
        if (chunk != nullptr) {
            auto const* slots = chunk->Slots();
            for (auto slot = firstSlot; slot < chunk->used; ++slot) {
                if (TreeAccess::ChildHash(slots[slot]) == key.Hash() &&
                    TreeAccess::Node(slots[slot])->Key() == key.Text()) {
                    ++count;
                }
            }
        }
        firstSlot = 0;
    }
    return count;
}

AttributePage* AttributeNode::OwnPage(std::uint32_t number)
{
    if (pages == nullptr) {
        return nullptr;
    }
    auto*& page = pages[number / AttributePage::Capacity];
    if (page->references.load(std::memory_order_acquire) != 1) {
        auto* copy = new AttributePage;
        copy->live = page->live;
        for (std::uint32_t i = 0; i < AttributePage::Capacity; ++i) {
            if (auto* chunk = page->chunks[i]; chunk != nullptr) {
                chunk->references.fetch_add(1, std::memory_order_relaxed);
                copy->chunks[i] = chunk;
            }
        }
        // The other owners may have let go meanwhile.
        AttributeNode* pending = nullptr;
        DropPage(std::exchange(page, copy), pending);
        DestroyAll(pending);
    }
    return page;
}

AttributeChunk& AttributeNode::OwnChunk(std::uint32_t number)
{
    auto* page = OwnPage(number);
    auto*& chunk = page != nullptr ? page->chunks[number % AttributePage::Capacity] : onlyChunk;
    if (chunk->references.load(std::memory_order_acquire) != 1) {
        auto* copy = AttributeChunk::Create(chunk->capacity);
        copy->used = chunk->used;
        copy->live = chunk->live;
        for (std::uint32_t slot = 0; slot < chunk->used; ++slot) {
            auto* child = TreeAccess::Node(chunk->Slots()[slot]);
            if (child != nullptr) {
                Retain(child);
                TreeAccess::SetSlot(copy->Slots()[slot], child, TreeAccess::ChildHash(chunk->Slots()[slot]));
            }
        }
        AttributeNode* pending = nullptr;
        DropChunk(std::exchange(chunk, copy), pending);
        DestroyAll(pending);
    }
    return *chunk;
}

CAttributeMap& AttributeNode::OwnSlot(std::uint32_t place)
{
    return OwnChunk(ChunkOf(place)).Slots()[SlotOf(place)];
}

CAttributeMap& AttributeNode::ExposeSlot(std::uint32_t place)
{
    auto& chunk = OwnChunk(ChunkOf(place));
    chunk.exposed = true;
    if (pages != nullptr) {
        OwnPage(ChunkOf(place))->exposed = true;
    }
    exposed = true;
    return chunk.Slots()[SlotOf(place)];
}

std::uint32_t AttributeNode::Append(AttributeNode* child)
{
    auto const* last = chunkCount > 0 ? Chunk(chunkCount - 1) : nullptr;
    if (last == nullptr || last->used == last->capacity) {
        AppendChunk(AttributeChunk::Create(std::clamp(childCount, 4U, AttributeChunk::MaxCapacity)));
    }
    auto& chunk = OwnChunk(chunkCount - 1);
    auto const place = PlaceOf(chunkCount - 1, chunk.used);
    TreeAccess::SetSlot(chunk.Slots()[chunk.used], child, child->hash);
    ++chunk.used;
    ++chunk.live;
    ++childCount;
    if (pages != nullptr) {
        ++OwnPage(chunkCount - 1)->live;
    }
    childFilter |= AttributeKey::FilterOf(child->hash);
    if (child->exposed) {
        ExposeSlot(place);
    }
    Index();
    return place;
}

void AttributeNode::Index()
{
    if (childCount < IndexThreshold) {
        return;
    }
    if (index == nullptr) {
        index = AttributeIndex::Create(childCount * 2);
        indexedPlaces = 0;
    } else if (index->IsShared()) {
        auto const end = PlaceOf(chunkCount - 1, Chunk(chunkCount - 1)->used);
        // Counted in places, which holes and half-filled chunks make more than there are children: that errs early.
        if (end - std::min(end, indexedPlaces) <= MaxUnindexed) {
            return;
        }
        auto* own = index->Clone();
        AttributeIndex::Release(std::exchange(index, own));
    }
    auto firstSlot = SlotOf(indexedPlaces);
    for (auto number = ChunkOf(indexedPlaces); number < chunkCount; ++number) {
        if (auto const* chunk = Chunk(number); chunk != nullptr) {
            for (auto slot = firstSlot; slot < chunk->used; ++slot) {
                if (auto const* child = TreeAccess::Node(chunk->Slots()[slot]); child != nullptr) {
                    index = AttributeIndex::Append(*this, index, TreeAccess::KeyOf(*child), PlaceOf(number, slot));
                }
                // At once: should there be no memory for the next one, nothing is taken in twice later on.
                indexedPlaces = PlaceOf(number, slot) + 1;
            }
        }
        firstSlot = 0;
    }
    indexedPlaces = PlaceOf(chunkCount - 1, Chunk(chunkCount - 1)->used);
}

void AttributeNode::Remove(std::uint32_t place, std::uint32_t occurrence)
{
    if (childCount == 1) {
        RemoveChildren();
        return;
    }
    auto const number = ChunkOf(place);
    if (index != nullptr && place < indexedPlaces) {
        if (index->IsShared()) {
            auto* own = index->Clone();
            AttributeIndex::Release(std::exchange(index, own));
        }
        index->Remove(*this, TreeAccess::KeyOf(*TreeAccess::Node(At(place))), occurrence);
    }
    auto& chunk = OwnChunk(number);
    auto* page = OwnPage(number);
    auto* child = TreeAccess::Node(chunk.Slots()[SlotOf(place)]);
    TreeAccess::SetSlot(chunk.Slots()[SlotOf(place)], nullptr, 0);
    --chunk.live;
    --childCount;
    if (page != nullptr) {
        --page->live;
    }
    if (chunk.live == 0) {
        // There are further children, hence pages.
        AttributeChunk::Free(&chunk);
        if (page != nullptr) {
            page->chunks[number % AttributePage::Capacity] = nullptr;
        }
        ++emptyChunks;
        while (Chunk(chunkCount - 1) == nullptr) {
            --chunkCount;
            --emptyChunks;
            if (chunkCount % AttributePage::Capacity == 0) {
                AttributeNode* none = nullptr;
                --pageCount;
                DropPage(pages[pageCount], none);
            }
        }
    } else if (number + 1 == chunkCount) {
        while (TreeAccess::ChildHash(chunk.Slots()[chunk.used - 1]) == 0) {
            --chunk.used;
        }
    }
    indexedPlaces = std::min(indexedPlaces, PlaceOf(chunkCount - 1, Chunk(chunkCount - 1)->used));
    if (emptyChunks > AttributePage::Capacity && emptyChunks * 2 > chunkCount) {
        DropEmptyChunks();
    }
    Release(child);
}

void AttributeNode::DropEmptyChunks()
{
    std::vector<AttributeChunk*> kept;
    for (std::uint32_t i = 0; i < chunkCount; ++i) {
        auto* page = OwnPage(i);
        if (auto* chunk = std::exchange(page->chunks[i % AttributePage::Capacity], nullptr); chunk != nullptr) {
            kept.push_back(chunk);
        }
    }
    for (std::uint32_t i = 0; i < pageCount; ++i) {
        delete pages[i];
    }
    pageCount = 0;
    chunkCount = 0;
    emptyChunks = 0;
    for (auto* chunk : kept) {
        AppendChunk(chunk);
    }
    AttributeIndex::Release(std::exchange(index, nullptr));
    indexedPlaces = 0;
    Index();
}

void AttributeNode::RemoveChildren() noexcept
{
    AttributeNode* pending = nullptr;
    DropChildren(pending);
    pages = nullptr;
    onlyChunk = nullptr;
    index = nullptr;
    pageCount = 0;
    pageCapacity = 0;
    chunkCount = 0;
    childCount = 0;
    emptyChunks = 0;
    indexedPlaces = 0;
    childFilter = 0;
    exposed = false;
    DestroyAll(pending);
}

void AttributeNode::SetValue(CVordalType* owned) noexcept
{
    ReleaseValue(std::exchange(value, owned));
}

AttributeNode& TreeAccess::Own(CAttributeRec& map)
{
    auto* node = Node(map);
    if (node == nullptr) {
        node = AttributeNode::Create({}, AttributeKey().Hash());
        map.m_node = node;
    } else if (node->IsShared()) {
        auto* copy = AttributeNode::CloneWithoutChildren(*node, node->Key(), node->hash);
        copy->ShareChildrenOf(*node);
        map.m_node = copy;
        AttributeNode::Release(node);
    }
    return *static_cast<AttributeNode*>(map.m_node);
}
