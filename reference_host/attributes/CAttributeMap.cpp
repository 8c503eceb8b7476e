// The operations of attribute trees that the host contract names.
#include "attribute_node.h"

#include <algorithm>
#include <utility>

using vordal::TreeAccess;

namespace {

/// For what is made child by child with references handed out, as requests are: its index is there before anybody
/// looks for a key.
CAttributeMap* AppendToWrite(AttributeNode& node, AttributeNode* child)
{
    auto const place = node.Append(child);
    if (node.index.load(std::memory_order_relaxed) == nullptr) {
        node.Index();
    }
    return &node.ExposeSlot(place);
}

} // namespace

CAttributeMap const CAttributeMap::s_empty;

std::wstring_view CAttributeRec::KeyText() const
{
    return m_node != nullptr ? TreeAccess::Node(*this)->Key() : std::wstring_view();
}

void CAttributeRec::SetFlags(unsigned int flags)
{
    TreeAccess::Own(*this).flags = flags;
}

void CAttributeRec::SetValue(CVordalType const& value)
{
    // Copied first: the value may be this node's own.
    ReplaceValue(value.IsEmpty() ? nullptr : value.Clone());
}

void CAttributeRec::ReplaceValue(CVordalType* value)
{
    auto& node = TreeAccess::Own(*this);
    if (value == node.value) {
        return;
    }
    if (value != nullptr && value->IsEmpty()) {
        delete value;
        value = nullptr;
    }
    node.SetValue(value);
}

CAttributeMap::CAttributeMap(AttributeKey const& key, CVordalType* value, unsigned int flags)
{
    m_node = AttributeNode::Create(key.Text(), key.Hash());
    m_node->flags = flags;
    ReplaceValue(value);
}

void CAttributeMap::CopyFrom(CAttributeMap const& other)
{
    m_node = AttributeNode::Share(TreeAccess::Node(other));
}

void CAttributeMap::MoveFrom(CAttributeMap& other) noexcept
{
    if (other.m_childHash != 0) {
        CopyFrom(other);
    } else {
        m_node = std::exchange(other.m_node, nullptr);
    }
}

void CAttributeMap::Release() noexcept
{
    AttributeNode::Release(TreeAccess::Node(*this));
}

CAttributeMap& CAttributeMap::operator=(CAttributeMap const& other)
{
    if (this != &other) {
        Take(AttributeNode::Share(TreeAccess::Node(other)));
    }
    return *this;
}

CAttributeMap& CAttributeMap::operator=(CAttributeMap&& other)
{
    if (other.m_childHash != 0) {
        return *this = std::as_const(other);
    }
    if (this != &other) {
        Take(std::exchange(other.m_node, nullptr));
    }
    return *this;
}

void CAttributeMap::Take(AttributeNodeHead* content)
{
    CAttributeMap given;
    given.m_node = content;
    if (m_childHash != 0) {
        // Only when the node is there under this child's key does the content change.
        auto const& own = *TreeAccess::Node(*this);
        auto* const node = TreeAccess::Node(given);
        given.m_node = node != nullptr ? AttributeNode::Rekey(node, own.Key(), own.hash)
                                       : AttributeNode::Create(own.Key(), own.hash);
    }
    // The old content goes last, since what is given may be part of it.
    std::swap(m_node, given.m_node);
}

CAttributeMap* CAttributeMap::Add(AttributeKey const& key)
{
    return AppendToWrite(TreeAccess::Own(*this), AttributeNode::Create(key.Text(), key.Hash()));
}

CAttributeMap* CAttributeMap::Add(AttributeKey const& key, CVordalType const& value, unsigned int flags)
{
    // Copied first: the value may be one that this tree's change lets go.
    CAttributeMap child(key, value.IsEmpty() ? nullptr : value.Clone(), flags);
    auto& node = TreeAccess::Own(*this);
    auto* appended = TreeAccess::Node(child);
    child.m_node = nullptr;
    return AppendToWrite(node, appended);
}

void CAttributeMap::Append(CAttributeMap* node)
{
    if (node == nullptr || node == this) {
        return;
    }
    if (node->m_childHash != 0) {
        // A child belongs to its tree already and was not made for handing over.
        Append(std::as_const(*node));
        return;
    }
    auto* child = &TreeAccess::Own(*node);
    node->m_node = nullptr;
    delete node;
    TreeAccess::Own(*this).Append(child);
}

void CAttributeMap::Append(CAttributeMap const& node)
{
    auto* child = AttributeNode::Share(TreeAccess::Node(node));
    if (child == nullptr) {
        child = AttributeNode::Create({}, AttributeKey().Hash());
    }
    TreeAccess::Own(*this).Append(child);
}

CAttributeMap& CAttributeMap::FindCreate(AttributeKey const& key, int index)
{
    if (index < 0) {
        thread_local CAttributeMap nowhere;
        nowhere = CAttributeMap(key, nullptr);
        return nowhere;
    }
    auto& node = TreeAccess::Own(*this);
    auto const occurrence = static_cast<std::uint32_t>(index);
    auto place = node.FindPlace(key, occurrence);
    if (place == AttributeIndex::NoPlace) {
        for (auto count = node.CountOf(key); count <= occurrence; ++count) {
            place = node.Append(AttributeNode::Create(key.Text(), key.Hash()));
        }
    }
    return node.ExposeSlot(place);
}

CAttributeMap const* CAttributeMap::Lookup(AttributeKey const& key, int index) const
{
    if (index < 0) {
        return nullptr;
    }
    auto const& node = *TreeAccess::Node(*this);
    auto const place = node.FindPlace(key, static_cast<std::uint32_t>(index));
    return place != AttributeIndex::NoPlace ? &node.At(place) : nullptr;
}

CAttributeMap* CAttributeMap::LookupToWrite(AttributeKey const& key, int index)
{
    if (index < 0) {
        return nullptr;
    }
    auto const place = TreeAccess::Node(*this)->FindPlace(key, static_cast<std::uint32_t>(index));
    // A copy of the node keeps every child in its place.
    return place != AttributeIndex::NoPlace ? &TreeAccess::Own(*this).ExposeSlot(place) : nullptr;
}

int CAttributeMap::Count() const
{
    return m_node != nullptr ? static_cast<int>(TreeAccess::Node(*this)->childCount) : 0;
}

int CAttributeMap::CountOf(AttributeKey const& key) const
{
    return static_cast<int>(TreeAccess::Node(*this)->CountOf(key));
}

CAttributeMap const& CAttributeMap::GetChild(int position) const
{
    if (position < 0 || position >= Count()) {
        return s_empty;
    }
    auto const& node = *TreeAccess::Node(*this);
    auto offset = static_cast<std::uint32_t>(position);
    void const* piece = node.chunks;
    for (auto level = node.height; level > 0; --level) {
        auto const* below = static_cast<AttributePage const*>(piece)->below;
        for (auto live = AttributeNode::LiveBelow(*below, level - 1); offset >= live;
             live = AttributeNode::LiveBelow(*below, level - 1)) {
            offset -= live;
            ++below;
        }
        piece = *below;
    }
    auto const* chunk = static_cast<AttributeChunk const*>(piece);
    if (chunk->live == chunk->used) {
        return chunk->Slots()[offset];
    }
    auto const* slot = chunk->Slots();
    while (slot->m_childHash == 0 || offset-- != 0) {
        ++slot;
    }
    return *slot;
}

CAttributeMap const* CAttributeMap::NextChild(std::uint32_t& chunk, std::uint32_t& slot) const
{
    if (m_node == nullptr) {
        return nullptr;
    }
    auto const& node = *TreeAccess::Node(*this);
    for (; chunk < node.chunkCount; ++chunk, slot = 0) {
        AttributeChunk const* current = node.Chunk(chunk);
        if (current == nullptr) {
            continue;
        }
        while (slot < current->used) {
            auto const& child = current->Slots()[slot++];
            if (child.m_childHash != 0) {
                return &child;
            }
        }
    }
    return nullptr;
}

bool CAttributeMap::Remove(AttributeKey const& key, int index)
{
    if (index < 0 || !MayHave(key)) {
        return false;
    }
    auto const occurrence = static_cast<std::uint32_t>(index);
    auto const place = TreeAccess::Node(*this)->FindPlace(key, occurrence);
    if (place == AttributeIndex::NoPlace) {
        return false;
    }
    TreeAccess::Own(*this).Remove(place, occurrence);
    return true;
}

void CAttributeMap::RemoveChildren()
{
    if (Count() == 0) {
        return;
    }
    auto* node = TreeAccess::Node(*this);
    if (node->IsShared()) {
        m_node = AttributeNode::CloneWithoutChildren(*node, node->Key(), node->hash);
        AttributeNode::Release(node);
    } else {
        node->RemoveChildren();
    }
}

void CAttributeMap::SetGroup(CString const& name)
{
    auto* label = new AttributeGroup{1, name};
    auto& node = TreeAccess::Own(*this);
    AttributeNode::ReleaseGroup(std::exchange(node.group, label));
}

CString CAttributeMap::GetGroup() const
{
    auto const* node = TreeAccess::Node(*this);
    return node != nullptr && node->group != nullptr ? node->group->name : CString();
}

namespace {

template <typename T>
bool ReadFirst(CAttributeMap const& map, AttributeKey const& key, T& value, unsigned int& flags)
{
    auto const* child = map.GetAttrMap(key, 0);
    if (child == nullptr || !child->Value().Get(value)) {
        return false;
    }
    flags = child->GetFlags();
    return true;
}

} // namespace

bool CAttributeMap::GetAttribValue(AttributeKey const& key, int& value, unsigned int& flags) const
{
    return ReadFirst(*this, key, value, flags);
}

bool CAttributeMap::GetAttribValue(AttributeKey const& key, double& value, unsigned int& flags) const
{
    return ReadFirst(*this, key, value, flags);
}

bool CAttributeMap::GetAttribValue(AttributeKey const& key, bool& value, unsigned int& flags) const
{
    return ReadFirst(*this, key, value, flags);
}
