// How attribute trees are copied: nodes are shared, and what could be written to from outside gets a copy of its own.
#include "attribute_node.h"

#include <algorithm>
#include <utility>
#include <vector>

using vordal::TreeAccess;

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

void AttributeNode::TakeFieldsOf(AttributeNode const& node)
{
    childFilter = node.childFilter;
    childCount = node.childCount;
    chunkCount = node.chunkCount;
    height = node.height;
    emptyChunks = node.emptyChunks;
}

void AttributeNode::ShareIndexOf(AttributeNode const& node)
{
    // Made now, all that share the children have it; without it each copy that is looked at would make its own.
    node.IndexToRead();
    auto* const shared = node.index.load(std::memory_order_acquire);
    if (shared != nullptr) {
        shared->Retain();
        indexedPlaces.store(node.indexedPlaces.load(std::memory_order_relaxed), std::memory_order_relaxed);
        index.store(shared, std::memory_order_relaxed);
    }
}

void AttributeNode::ShareChildrenOf(AttributeNode const& node)
{
    PendingCopies none;
    TakeFieldsOf(node);
    chunks = SharePiece(node.chunks, node.height, none);
    ShareIndexOf(node);
}

AttributeChunk* AttributeNode::CopyChunk(AttributeChunk const& from, PendingCopies& pending)
{
    auto* const to = AttributeChunk::Create(from.capacity);
    to->used = from.used;
    to->live = from.live;
    for (std::uint32_t slot = 0; slot < from.used; ++slot) {
        auto* const child = TreeAccess::Node(from.Slots()[slot]);
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
}

void* AttributeNode::SharePiece(void* piece, std::uint32_t height, PendingCopies& pending)
{
    if (piece == nullptr) {
        return nullptr;
    }
    if (height == 0) {
        auto* const chunk = static_cast<AttributeChunk*>(piece);
        if (chunk->exposed) {
            return CopyChunk(*chunk, pending);
        }
        chunk->references.fetch_add(1, std::memory_order_relaxed);
        return chunk;
    }
    auto* const page = static_cast<AttributePage*>(piece);
    if (!page->exposed) {
        page->references.fetch_add(1, std::memory_order_relaxed);
        return page;
    }
    auto* const copy = new AttributePage;
    copy->live = page->live;
    std::transform(std::begin(page->below), std::end(page->below), copy->below,
                   [&](void* below) { return SharePiece(below, height - 1, pending); });
    return copy;
}

AttributeNode* AttributeNode::CopyExposed(AttributeNode const& node, PendingCopies& pending)
{
    auto* const copy = CloneWithoutChildren(node, node.Key(), node.hash);
    copy->TakeFieldsOf(node);
    copy->chunks = SharePiece(node.chunks, node.height, pending);
    copy->ShareIndexOf(node);
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
    PendingCopies pending;
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
        renamed->TakeFieldsOf(*node);
        renamed->chunks = std::exchange(node->chunks, nullptr);
        renamed->exposed = node->exposed;
        renamed->index = node->index.exchange(nullptr, std::memory_order_relaxed);
        renamed->indexedPlaces = node->indexedPlaces.load(std::memory_order_relaxed);
    }
    Release(node);
    return renamed;
}
