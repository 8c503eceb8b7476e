// The storage of attribute trees: children in chunks, look-up, writing, and destruction without recursion.
#include "attribute_node.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

using vordal::TreeAccess;

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

void AttributeNode::DropPiece(void* piece, std::uint32_t height, AttributeNode*& pending)
{
    if (height == 0) {
        DropChunk(static_cast<AttributeChunk*>(piece), pending);
        return;
    }
    auto* const page = static_cast<AttributePage*>(piece);
    if (page != nullptr && DropReference(page->references)) {
        for (void* const below : page->below) {
            DropPiece(below, height - 1, pending);
        }
        delete page;
    }
}

void AttributeNode::DropChildren(AttributeNode*& pending)
{
    DropPiece(chunks, height, pending);
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

void AttributeNode::AppendChunk(AttributeChunk* chunk)
{
    if (chunks == nullptr) {
        chunks = chunk;
        chunkCount = 1;
        return;
    }
    if (chunkCount == 1U << (height * AttributePage::Bits)) {
        auto* const page = new AttributePage;
        page->live = LiveBelow(chunks, height);
        page->exposed =
            height == 0 ? static_cast<AttributeChunk*>(chunks)->exposed : static_cast<AttributePage*>(chunks)->exposed;
        page->below[0] = std::exchange(chunks, page);
        ++height;
    }
    void** piece = &chunks;
    for (auto level = height; level > 0; --level) {
        if (*piece == nullptr) {
            *piece = new AttributePage;
        }
        auto& page = OwnPage(*piece, level);
        page.live += chunk->live;
        page.exposed = page.exposed || chunk->exposed;
        piece = &page.below[AttributePage::SlotOf(chunkCount, level)];
    }
    *piece = chunk;
    ++chunkCount;
}

std::uint32_t AttributeNode::FindPlace(AttributeKey const& key, std::uint32_t occurrence) const
{
    if (occurrence >= childCount) {
        return AttributeIndex::NoPlace;
    }
    std::uint32_t from = 0;
    if (auto const* const known = IndexToRead(); known != nullptr) {
        auto const place = known->Find(*this, key, occurrence);
        if (place != AttributeIndex::NoPlace) {
            return place;
        }
        if (from = indexedPlaces.load(std::memory_order_relaxed); ChunkOf(from) >= chunkCount) {
            return AttributeIndex::NoPlace;
        }
        if (occurrence > 0) {
            occurrence -= std::min(occurrence, known->Count(*this, key));
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
    if (auto const* const known = IndexToRead(); known != nullptr) {
        count = known->Count(*this, key);
        from = indexedPlaces.load(std::memory_order_relaxed);
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

AttributePage& AttributeNode::OwnPage(void*& piece, std::uint32_t height)
{
    auto* page = static_cast<AttributePage*>(piece);
    if (page->references.load(std::memory_order_acquire) != 1) {
        auto* const copy = new AttributePage;
        copy->live = page->live;
        for (std::uint32_t i = 0; i < AttributePage::Capacity; ++i) {
            void* const below = page->below[i];
            if (below != nullptr) {
                auto& references = height == 1 ? static_cast<AttributeChunk*>(below)->references
                                               : static_cast<AttributePage*>(below)->references;
                references.fetch_add(1, std::memory_order_relaxed);
                copy->below[i] = below;
            }
        }
        // The other owners may have let go meanwhile.
        AttributeNode* pending = nullptr;
        DropPiece(std::exchange(piece, copy), height, pending);
        DestroyAll(pending);
        page = copy;
    }
    return *page;
}

AttributeChunk& AttributeNode::OwnOnlyChunk(void*& piece)
{
    auto* chunk = static_cast<AttributeChunk*>(piece);
    if (chunk->references.load(std::memory_order_acquire) != 1) {
        auto* const copy = AttributeChunk::Create(chunk->capacity);
        copy->used = chunk->used;
        copy->live = chunk->live;
        for (std::uint32_t slot = 0; slot < chunk->used; ++slot) {
            auto* const child = TreeAccess::Node(chunk->Slots()[slot]);
            if (child != nullptr) {
                Retain(child);
                TreeAccess::SetSlot(copy->Slots()[slot], child, TreeAccess::ChildHash(chunk->Slots()[slot]));
            }
        }
        AttributeNode* pending = nullptr;
        piece = copy;
        DropChunk(chunk, pending);
        DestroyAll(pending);
        chunk = copy;
    }
    return *chunk;
}

CAttributeMap& AttributeNode::OwnSlot(std::uint32_t place)
{
    return OwnChunk(ChunkOf(place)).Slots()[SlotOf(place)];
}

CAttributeMap& AttributeNode::ExposeSlot(std::uint32_t place)
{
    auto& chunk = OwnChunk(ChunkOf(place), [](AttributePage& page) { page.exposed = true; });
    chunk.exposed = true;
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
    // What leads there is alone with the node already: from here on nothing fails.
    OwnChunk(chunkCount - 1, [](AttributePage& page) { ++page.live; });
    childFilter |= AttributeKey::FilterOf(child->hash);
    if (child->exposed) {
        ExposeSlot(place);
    }
    if (index.load(std::memory_order_relaxed) != nullptr) {
        Index();
    }
    return place;
}

void AttributeNode::Index()
{
    if (childCount < IndexThreshold) {
        return;
    }
    auto* own = index.load(std::memory_order_relaxed);
    auto indexed = indexedPlaces.load(std::memory_order_relaxed);
    if (own == nullptr) {
        own = AttributeIndex::Create(childCount * 2);
        indexed = 0;
    } else if (own->IsShared()) {
        auto const end = EndOfPlaces();
        // Counted in places, which holes and half-filled chunks make more than there are children: that errs early.
        auto const waiting = end - std::min(end, indexed);
        if (waiting <= (own->HasRoomFor(waiting) ? MaxUnindexed : MaxUnindexedWithoutRoom)) {
            return;
        }
        auto* const copy = own->Clone();
        index.store(copy, std::memory_order_relaxed);
        AttributeIndex::Release(std::exchange(own, copy));
    }
    // Also when there is no memory for the next one: then nothing is taken in twice later on.
    auto const keep = [&] {
        index.store(own, std::memory_order_relaxed);
        indexedPlaces.store(indexed, std::memory_order_relaxed);
    };
    try {
        TakeInto(own, indexed);
    } catch (std::bad_alloc const&) {
        keep();
        throw;
    }
    keep();
}

void AttributeNode::TakeInto(AttributeIndex*& taken, std::uint32_t& indexed) const
{
    auto firstSlot = SlotOf(indexed);
    for (auto number = ChunkOf(indexed); number < chunkCount; ++number) {
        if (auto const* chunk = Chunk(number); chunk != nullptr) {
            for (auto slot = firstSlot; slot < chunk->used; ++slot) {
                if (auto const* child = TreeAccess::Node(chunk->Slots()[slot]); child != nullptr) {
                    AttributeIndex::Append(*this, taken, TreeAccess::KeyOf(*child), PlaceOf(number, slot));
                }
                indexed = PlaceOf(number, slot) + 1;
            }
        }
        firstSlot = 0;
    }
    indexed = EndOfPlaces();
}

AttributeIndex const* AttributeNode::MakeIndexToRead() const noexcept
{
    AttributeIndex* made = nullptr;
    try {
        std::uint32_t indexed = 0;
        made = AttributeIndex::Create(childCount);
        TakeInto(made, indexed);
        // Whoever makes one at the same time writes the same.
        indexedPlaces.store(indexed, std::memory_order_relaxed);
    } catch (std::bad_alloc const&) {
        // Whoever looks walks the children then.
        AttributeIndex::Release(made);
        return nullptr;
    }
    AttributeIndex* known = nullptr;
    if (!index.compare_exchange_strong(known, made, std::memory_order_acq_rel, std::memory_order_acquire)) {
        AttributeIndex::Release(made);
        return known;
    }
    return made;
}

void AttributeNode::Remove(std::uint32_t place, std::uint32_t occurrence)
{
    if (childCount == 1) {
        RemoveChildren();
        return;
    }
    auto const number = ChunkOf(place);
    if (auto* own = index.load(std::memory_order_relaxed);
        own != nullptr && place < indexedPlaces.load(std::memory_order_relaxed)) {
        if (own->IsShared()) {
            auto* const shared = std::exchange(own, own->Clone());
            index.store(own, std::memory_order_relaxed);
            AttributeIndex::Release(shared);
        }
        own->Remove(*this, TreeAccess::KeyOf(*TreeAccess::Node(At(place))), occurrence);
    }
    auto& chunk = OwnChunk(number);
    auto* const child = TreeAccess::Node(chunk.Slots()[SlotOf(place)]);
    TreeAccess::SetSlot(chunk.Slots()[SlotOf(place)], nullptr, 0);
    --chunk.live;
    --childCount;
    OwnChunk(number, [](AttributePage& page) { --page.live; });
    if (chunk.live == 0) {
        RemoveChunk(number);
    } else if (number + 1 == chunkCount) {
        while (TreeAccess::ChildHash(chunk.Slots()[chunk.used - 1]) == 0) {
            --chunk.used;
        }
    }
    if (auto const end = EndOfPlaces(); indexedPlaces.load(std::memory_order_relaxed) > end) {
        indexedPlaces.store(end, std::memory_order_relaxed);
    }
    if (emptyChunks > AttributePage::Capacity && emptyChunks * 2 > chunkCount) {
        DropEmptyChunks();
    }
    Release(child);
}

void AttributeNode::RemoveChunk(std::uint32_t number)
{
    // There are further children, hence pages, all of them alone with the node.
    void** piece = &chunks;
    for (auto level = height; level > 0; --level) {
        piece = &static_cast<AttributePage*>(*piece)->below[AttributePage::SlotOf(number, level)];
    }
    AttributeChunk::Free(static_cast<AttributeChunk*>(std::exchange(*piece, nullptr)));
    ++emptyChunks;
    while (Chunk(chunkCount - 1) == nullptr) {
        --chunkCount;
        --emptyChunks;
        DropPagesBehind();
    }
}

void AttributeNode::DropPagesBehind()
{
    AttributeNode* none = nullptr;
    void** piece = &chunks;
    // The uppermost page that begins behind the last chunk has nothing in it.
    for (auto level = height; level > 0; --level) {
        auto*& below = OwnPage(*piece, level).below[AttributePage::SlotOf(chunkCount, level)];
        if (chunkCount % (1U << ((level - 1) * AttributePage::Bits)) == 0) {
            DropPiece(std::exchange(below, nullptr), level - 1, none);
            break;
        }
        piece = &below;
    }
    while (height > 0 && chunkCount <= 1U << ((height - 1) * AttributePage::Bits)) {
        auto& page = OwnPage(chunks, height);
        void* const below = std::exchange(page.below[0], nullptr);
        DropPiece(std::exchange(chunks, below), height, none);
        --height;
    }
}

void AttributeNode::DropEmptyChunks()
{
    std::vector<AttributeChunk*> kept;
    kept.reserve(chunkCount - emptyChunks);
    for (std::uint32_t i = 0; i < chunkCount; ++i) {
        if (auto* const chunk = Chunk(i); chunk != nullptr) {
            chunk->references.fetch_add(1, std::memory_order_relaxed);
            kept.push_back(chunk);
        }
    }
    void* const before = std::exchange(chunks, nullptr);
    auto const heightBefore = std::exchange(height, 0);
    chunkCount = 0;
    emptyChunks = 0;
    for (auto* const chunk : kept) {
        AppendChunk(chunk);
    }
    AttributeNode* none = nullptr;
    DropPiece(before, heightBefore, none);
    AttributeIndex::Release(index.exchange(nullptr, std::memory_order_relaxed));
    indexedPlaces.store(0, std::memory_order_relaxed);
    Index();
}

void AttributeNode::RemoveChildren() noexcept
{
    AttributeNode* pending = nullptr;
    DropChildren(pending);
    chunks = nullptr;
    height = 0;
    index.store(nullptr, std::memory_order_relaxed);
    chunkCount = 0;
    childCount = 0;
    emptyChunks = 0;
    indexedPlaces.store(0, std::memory_order_relaxed);
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
