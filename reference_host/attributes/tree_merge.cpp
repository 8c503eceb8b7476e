// Merging, comparing and printing of whole trees; none of it recurses, since a tree may have any depth.
#include "tree_merge.h"

#include "attribute_node.h"
#include "reference_host/common/salted_hash.h"
#include "tree_account.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vordal {

namespace {

bool SameContent(AttributeNode const& a, AttributeNode const& b)
{
    if (a.flags != b.flags) {
        return false;
    }
    if (a.value == nullptr || b.value == nullptr) {
        return a.value == b.value;
    }
    return a.value == b.value || a.value->IsSame(*b.value);
}

void TakeContent(CAttributeMap& map, AttributeNode const& from)
{
    auto* value = AttributeNode::RetainValue(from.value);
    auto& node = TreeAccess::Own(map);
    node.SetValue(value);
    node.flags = from.flags;
}

/// The place of that occurrence in a node that is not shared, made if missing.
std::uint32_t EnsurePlace(AttributeNode& node, AttributeKey const& key, std::uint32_t occurrence)
{
    auto place = node.FindPlace(key, occurrence);
    if (place == AttributeIndex::NoPlace) {
        for (auto count = node.CountOf(key); count <= occurrence; ++count) {
            place = node.Append(AttributeNode::Create(key.Text(), key.Hash()));
        }
    }
    return place;
}

/// One level of a merge under way.
struct Level
{
    CAttributeMap* into;
    CAttributeMap const* given;
    std::uint32_t chunk = 0;
    std::uint32_t slot = 0;
    /// How many children of a key have been counted, and the first that was not.
    std::unordered_map<std::wstring_view, std::uint32_t, SaltedTextHash> counted = {};
    std::uint32_t countedChunk = 0;
    std::uint32_t countedSlot = 0;
};

/// Which occurrence of its key among the given children `child` is, which was passed last. Only branches ask: a tree
/// of values alone, as devices tell them, is walked without a look-up in it, and has no index then.
std::uint32_t OccurrenceOf(Level& level, CAttributeMap const& child)
{
    auto const& source = *TreeAccess::Node(child);
    if (TreeAccess::Node(*level.given)->FindPlace(TreeAccess::KeyOf(source), 1) == AttributeIndex::NoPlace) {
        return 0;
    }
    for (;;) {
        auto const* const next = TreeAccess::NextChild(*level.given, level.countedChunk, level.countedSlot);
        auto const occurrence = level.counted[TreeAccess::Node(*next)->Key()]++;
        if (next == &child) {
            return occurrence;
        }
    }
}

/// The merge of whoever may write as much as he likes.
struct Unlimited
{
    static bool AdmitKeys(CAttributeMap const&, std::size_t) { return true; }
    static bool AdmitValue(AttributeNode const&, AttributeNode const&) { return true; }
};

/// The merge of whoever has an account.
class Limited
{
public:
    Limited(CAttributeMap const& into, TreeAccount& account) : m_into(into), m_account(account) {}

    /// So many nodes of the key of `given` are to be made, the last one with its value; its children follow one by one.
    bool AdmitKeys(CAttributeMap const& given, std::size_t count)
    {
        TreeSize const more{count, count * BytesOf(given.KeyText()) + BytesOf(given.Value())};
        if (Admit(more)) {
            return true;
        }
        auto const below = SizeOf(given);
        m_account.Refuse({more.keys + below.keys, more.bytes + below.bytes});
        return false;
    }

    bool AdmitValue(AttributeNode const& known, AttributeNode const& given)
    {
        auto const before = known.value != nullptr ? BytesOf(*known.value) : 0;
        auto const after = given.value != nullptr ? BytesOf(*given.value) : 0;
        if (after <= before) {
            m_account.GiveBack(before - after);
            return true;
        }
        if (Admit({0, after - before})) {
            return true;
        }
        m_account.Refuse({0, after - before});
        return false;
    }

private:
    bool Admit(TreeSize const& more)
    {
        if (!m_account.HasRoomFor(more)) {
            m_account.LookAgain(m_into);
            if (!m_account.HasRoomFor(more)) {
                return false;
            }
        }
        m_account.Use(more);
        return true;
    }

    CAttributeMap const& m_into;
    TreeAccount& m_account;
};

/// Whether `into` is another than before.
template <typename Admission>
bool MergeAdmitted(CAttributeMap& into, CAttributeMap const& given, Admission& admission)
{
    // Most trees that are merged have one level, which costs no allocation.
    Level top{&into, &given};
    std::vector<Level> deeper;
    bool isChanged = false;
    while (true) {
        auto& level = deeper.empty() ? top : deeper.back();
        auto const* child = TreeAccess::NextChild(*level.given, level.chunk, level.slot);
        if (child == nullptr) {
            if (deeper.empty()) {
                return isChanged;
            }
            deeper.pop_back();
            continue;
        }
        auto const& source = *TreeAccess::Node(*child);
        auto const key = TreeAccess::KeyOf(source);
        auto const* target = TreeAccess::Node(*level.into);
        bool const isLeaf = source.childCount == 0;
        if (isLeaf && source.value != nullptr) {
            auto const place = target != nullptr ? target->FindPlace(key, 0) : AttributeIndex::NoPlace;
            if (place == AttributeIndex::NoPlace) {
                if (admission.AdmitKeys(*child, 1)) {
                    level.into->Append(*child);
                    isChanged = true;
                }
            } else if (auto const& known = *TreeAccess::Node(target->At(place));
                       !SameContent(known, source) && admission.AdmitValue(known, source)) {
                TakeContent(TreeAccess::Own(*level.into).OwnSlot(place), source);
                isChanged = true;
            }
            continue;
        }
        auto const occurrence = OccurrenceOf(level, *child);
        bool const isThere = target != nullptr && target->FindPlace(key, occurrence) != AttributeIndex::NoPlace;
        if (isThere ? isLeaf
                    : !admission.AdmitKeys(*child, occurrence + 1 - (target != nullptr ? target->CountOf(key) : 0))) {
            continue;
        }
        auto& own = TreeAccess::Own(*level.into);
        auto const place = EnsurePlace(own, key, occurrence);
        isChanged = isChanged || !isThere;
        if (isLeaf) {
            continue;
        }
        auto& branch = own.OwnSlot(place);
        if (source.value != nullptr) {
            auto const& known = *TreeAccess::Node(branch);
            // The value of a new branch was admitted with its key.
            if (!SameContent(known, source) && (!isThere || admission.AdmitValue(known, source))) {
                TakeContent(branch, source);
                isChanged = true;
            }
        }
        deeper.push_back({&branch, child});
    }
}

/// Calls `merge` with what is given, or a copy of it where it may be a part of what is about to change; a root of its
/// own cannot be.
template <typename MergeThat>
auto WithOwnRoot(CAttributeMap const& into, CAttributeMap const& given, MergeThat merge)
{
    if (&into == &given || TreeAccess::ChildHash(given) != 0) {
        CAttributeMap const held(given);
        return merge(held);
    }
    return merge(given);
}

/// A piece of a node's children that is not exposed may be shared with other threads' trees and is not written.
template <typename Visit>
void ForgetBelow(void* piece, std::uint32_t height, Visit const& visit)
{
    if (piece == nullptr) {
        return;
    }
    if (height == 0) {
        auto& chunk = *static_cast<AttributeChunk*>(piece);
        if (chunk.exposed) {
            chunk.exposed = false;
            for (std::uint32_t slot = 0; slot < chunk.used; ++slot) {
                visit(TreeAccess::Node(chunk.Slots()[slot]));
            }
        }
        return;
    }
    auto& page = *static_cast<AttributePage*>(piece);
    if (page.exposed) {
        page.exposed = false;
        for (void* const below : page.below) {
            ForgetBelow(below, height - 1, visit);
        }
    }
}

} // namespace

void Merge(CAttributeMap& into, CAttributeMap const& given)
{
    WithOwnRoot(into, given, [&](CAttributeMap const& tree) {
        Unlimited unlimited;
        MergeAdmitted(into, tree, unlimited);
    });
}

bool Merge(CAttributeMap& into, CAttributeMap const& given, TreeAccount& account)
{
    return WithOwnRoot(into, given, [&](CAttributeMap const& tree) {
        Limited limited(into, account);
        return MergeAdmitted(into, tree, limited);
    });
}

void SetChildValue(CAttributeMap& tree, AttributeKey const& key, CVordalType const& value, unsigned flags)
{
    CAttributeMap const child(key, value.IsEmpty() ? nullptr : value.Clone(), flags);
    auto& node = TreeAccess::Own(tree);
    auto const place = node.FindPlace(key, 0);
    if (place == AttributeIndex::NoPlace) {
        tree.Append(child);
    } else {
        TakeContent(node.OwnSlot(place), *TreeAccess::Node(child));
    }
}

void ForgetReferences(CAttributeMap& tree)
{
    std::vector<AttributeNode*> exposed;
    auto const visit = [&exposed](AttributeNode* node) {
        if (node != nullptr && node->exposed) {
            node->exposed = false;
            exposed.push_back(node);
        }
    };
    visit(TreeAccess::Node(tree));
    while (!exposed.empty()) {
        auto* node = exposed.back();
        exposed.pop_back();
        ForgetBelow(node->chunks, node->height, visit);
    }
}

bool ShareOneNode(CAttributeMap const& a, CAttributeMap const& b)
{
    return TreeAccess::Node(a) == TreeAccess::Node(b) && TreeAccess::Node(a) != nullptr;
}

bool TreesEqual(CAttributeMap const& a, CAttributeMap const& b)
{
    std::vector<std::pair<CAttributeMap const*, CAttributeMap const*>> pairs{{&a, &b}};
    while (!pairs.empty()) {
        auto const [left, right] = pairs.back();
        pairs.pop_back();
        auto const* leftNode = TreeAccess::Node(*left);
        auto const* rightNode = TreeAccess::Node(*right);
        if (leftNode == rightNode) {
            continue;
        }
        if (left->GetFlags() != right->GetFlags() || left->Count() != right->Count() ||
            !left->Value().IsSame(right->Value())) {
            return false;
        }
        auto other = right->begin();
        for (CAttributeMap const& child : *left) {
            if (child.KeyText() != other->KeyText()) {
                return false;
            }
            pairs.emplace_back(&child, &*other);
            ++other;
        }
    }
    return true;
}

std::string TreeText(CAttributeMap const& tree)
{
    struct Walk
    {
        CAttributeMap::const_iterator at;
    };
    std::string text;
    std::vector<Walk> walks{{tree.begin()}};
    while (!walks.empty()) {
        auto& walk = walks.back();
        if (walk.at == CAttributeMap::const_iterator()) {
            walks.pop_back();
            continue;
        }
        auto const& node = *walk.at;
        ++walk.at;
        text.append(std::min<std::size_t>(walks.size() - 1, 40) * 2, ' ');
        // A quoted text without its quotes: control characters in a key must not break the lines.
        auto const quoted = CVordalText(node.GetKey()).ToText();
        text.append(quoted, 1, quoted.size() - 2);
        if (node.HasValue()) {
            text += " = ";
            text += node.Value().ToText();
        }
        if (node.GetFlags() != 0) {
            text += " (flags " + CVordalUInt(node.GetFlags()).ToText() + ')';
        }
        text += '\n';
        if (node.Count() > 0) {
            walks.push_back({node.begin()});
        }
    }
    return text;
}

} // namespace vordal
