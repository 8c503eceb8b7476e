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
