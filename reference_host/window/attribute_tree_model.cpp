// A device's attribute tree as rows that stay the same rows while the tree changes.
#include "attribute_tree_model.h"

#include "reference_host/attributes/attribute_node.h"
#include "reference_host/common/salted_hash.h"
#include "reference_host/controls/qt_text.h"

#include <values/vordal_value.h>

#include <QBrush>
#include <QGuiApplication>
#include <QPalette>
#include <QString>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <unordered_map>
#include <utility>

namespace vordal {
namespace {

using SteadyClock = std::chrono::steady_clock;

/// A number as a row shows it: what was a 32-bit float on the wire by its own digits, "9.9" and not
/// "9.899999618530273", others with twelve.
std::string RowNumber(double value)
{
    std::array<char, 64> text{};
    bool const mayBeNarrow = std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max());
    float const narrow = mayBeNarrow ? static_cast<float>(value) : 0.0F;
    auto const end =
        static_cast<double>(narrow) == value
            ? std::to_chars(text.data(), text.data() + text.size(), narrow).ptr
            : std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 12).ptr;
    return std::string(text.data(), end);
}

std::string RowText(CVordalType const& value)
{
    double number = 0.0;
    double second = 0.0;
    std::vector<double> list;
    if (value.Get(number)) {
        return RowNumber(number);
    }
    if (value.Get(number, second)) {
        return RowNumber(number) + ", " + RowNumber(second);
    }
    if (value.Get(list)) {
        std::string text = "[";
        for (double const each : list) {
            text += (text.size() > 1 ? ", " : "") + RowNumber(each);
        }
        return text + "]";
    }
    return value.ToText();
}

/// A text of any length as one that a row can hold.
QString Shortened(std::string const& whole, qsizetype greatest)
{
    QString text = QString::fromStdString(whole);
    if (text.size() > greatest) {
        text.truncate(greatest);
        text += QChar(0x2026);
    }
    return text;
}

/// The same node of the host's trees: then nothing in it or below it differs.
bool Shared(CAttributeMap const& a, CAttributeMap const& b)
{
    return TreeAccess::Node(a) == TreeAccess::Node(b);
}

/// Numbers the occurrences of each key in a row of siblings.
class Occurrences
{
public:
    using Identity = std::pair<std::wstring_view, int>;

    Identity Next(std::wstring_view key) { return {key, m_count[key]++}; }

private:
    /// Keys are a sonar's: nobody can choose them so that they crowd.
    std::unordered_map<std::wstring_view, int, SaltedTextHash> m_count;
};

struct IdentityHash
{
    std::size_t operator()(Occurrences::Identity const& identity) const
    {
        return SaltedTextHash()(identity.first) + static_cast<std::size_t>(identity.second) * 0x9E3779B9U;
    }
};

} // namespace

struct AttributeTreeModel::Node
{
    Node* parent = nullptr;
    std::size_t row = 0;
    CAttributeMap content; ///< shares all with the host's tree
    Children children;
    SteadyClock::time_point changed{};
};

AttributeTreeModel::AttributeTreeModel(QObject* parent) : QAbstractItemModel(parent), m_root(std::make_unique<Node>())
{
}

AttributeTreeModel::~AttributeTreeModel() = default;

void AttributeTreeModel::Update(CAttributeMap const& tree)
{
    if (!Shared(m_root->content, tree)) {
        UpdateNode(*m_root, tree, 0);
    }
}

void AttributeTreeModel::Reset(CAttributeMap const& tree)
{
    beginResetModel();
    m_changed.clear();
    m_count = 0;
    m_root = Make(nullptr, tree, 0);
    m_count -= 1; // the root is no row
    endResetModel();
}

void AttributeTreeModel::ForgetOldChanges()
{
    if (m_changed.empty()) {
        return;
    }
    auto const now = SteadyClock::now();
    std::erase_if(m_changed, [&](QPersistentModelIndex const& index) {
        if (index.isValid() && now - NodeOf(index)->changed < Recent) {
            return false;
        }
        if (index.isValid()) {
            NodeOf(index)->changed = {};
            Q_EMIT dataChanged(index, index, {Qt::BackgroundRole});
        }
        return true;
    });
}

std::unique_ptr<AttributeTreeModel::Node> AttributeTreeModel::Make(Node* parent, CAttributeMap const& content,
                                                                   int depth)
{
    auto node = std::make_unique<Node>();
    node->parent = parent;
    node->content = content;
    ++m_count;
    if (depth < GreatestDepth) {
        node->children.reserve(static_cast<std::size_t>(content.Count()));
        // The children of the node's own copy: they stay as long as it does.
        for (CAttributeMap const& child : std::as_const(node->content)) {
            node->children.push_back(Make(node.get(), child, depth + 1));
        }
        Number(node->children, 0);
    }
    return node;
}

void AttributeTreeModel::Number(Children& children, std::size_t from)
{
    for (std::size_t row = from; row < children.size(); ++row) {
        children[row]->row = row;
    }
}

void AttributeTreeModel::UpdateNode(Node& node, CAttributeMap const& now, int depth)
{
    bool const isRoot = node.parent == nullptr;
    bool const valueChanged = !isRoot && !node.content.Value().IsSame(now.Value());
    bool const flagsChanged = !isRoot && node.content.GetFlags() != now.GetFlags();
    // Children are compared with what the node held before.
    if (depth < GreatestDepth) {
        UpdateChildren(node, now, depth);
    }
    node.content = now;
    if (valueChanged || flagsChanged) {
        if (valueChanged) {
            if (node.changed == SteadyClock::time_point()) {
                m_changed.emplace_back(IndexOf(node, Value));
            }
            node.changed = SteadyClock::now();
        }
        Q_EMIT dataChanged(IndexOf(node, Key), IndexOf(node, Value));
    }
}

void AttributeTreeModel::UpdateChildren(Node& node, CAttributeMap const& now, int depth)
{
    std::vector<CAttributeMap const*> wanted;
    wanted.reserve(static_cast<std::size_t>(now.Count()));
    for (CAttributeMap const& child : now) {
        wanted.push_back(&child);
    }
    auto& shown = node.children;
    auto const update = [&](std::size_t row) {
        if (!Shared(shown[row]->content, *wanted[row])) {
            UpdateNode(*shown[row], *wanted[row], depth + 1);
        }
    };
    auto const keyAt = [&](std::size_t row) { return shown[row]->content.KeyText(); };

    // Nearly always the keys are the same ones, or further ones were appended.
    std::size_t same = 0;
    while (same < shown.size() && same < wanted.size() && keyAt(same) == wanted[same]->KeyText()) {
        update(same);
        ++same;
    }
    if (same == shown.size()) {
        InsertRows(node, same, {wanted.begin() + static_cast<std::ptrdiff_t>(same), wanted.end()}, depth);
        return;
    }

    // From here on by key and occurrence. First those go that are no longer there.
    std::unordered_map<Occurrences::Identity, std::size_t, IdentityHash> places;
    std::vector<Occurrences::Identity> wantedIdentities;
    Occurrences wantedOccurrences;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        wantedIdentities.push_back(wantedOccurrences.Next(wanted[i]->KeyText()));
        places.emplace(wantedIdentities.back(), i);
    }
    std::vector<std::size_t> target; // where the rows from `same` on belong
    Occurrences shownOccurrences;
    constexpr std::size_t nowhere = static_cast<std::size_t>(-1);
    for (std::size_t row = 0; row < shown.size(); ++row) {
        auto const found = places.find(shownOccurrences.Next(keyAt(row)));
        if (row >= same) {
            target.push_back(found != places.end() ? found->second : nowhere);
        }
    }
    for (std::size_t end = shown.size(); end > same;) {
        std::size_t first = end;
        while (first > same && target[first - 1 - same] == nowhere) {
            --first;
        }
        if (first < end) {
            RemoveRows(node, first, end - first);
            target.erase(target.begin() + static_cast<std::ptrdiff_t>(first - same),
                         target.begin() + static_cast<std::ptrdiff_t>(end - same));
            end = first;
        } else {
            --end;
        }
    }
    // Where the order has changed, rows from there on are made anew: the host's trees only ever append.
    if (!std::is_sorted(target.begin(), target.end())) {
        RemoveRows(node, same, shown.size() - same);
        target.clear();
    }
    // Then those come in that were missing.
    for (std::size_t row = same; row < wanted.size();) {
        std::size_t const next = row - same < target.size() ? target[row - same] : wanted.size();
        if (next == row) {
            update(row);
            ++row;
            continue;
        }
        InsertRows(
            node, row,
            {wanted.begin() + static_cast<std::ptrdiff_t>(row), wanted.begin() + static_cast<std::ptrdiff_t>(next)},
            depth);
        target.insert(target.begin() + static_cast<std::ptrdiff_t>(row - same), next - row, 0);
        row = next;
    }
}

void AttributeTreeModel::RemoveRows(Node& node, std::size_t first, std::size_t count)
{
    if (count == 0) {
        return;
    }
    beginRemoveRows(IndexOf(node), static_cast<int>(first), static_cast<int>(first + count - 1));
    auto const begin = node.children.begin() + static_cast<std::ptrdiff_t>(first);
    auto const countBelow = [](auto const& self, Node const& at) -> std::size_t {
        std::size_t sum = 1;
        for (auto const& child : at.children) {
            sum += self(self, *child);
        }
        return sum;
    };
    for (auto child = begin; child != begin + static_cast<std::ptrdiff_t>(count); ++child) {
        m_count -= countBelow(countBelow, **child);
    }
    node.children.erase(begin, begin + static_cast<std::ptrdiff_t>(count));
    Number(node.children, first);
    endRemoveRows();
}

void AttributeTreeModel::InsertRows(Node& node, std::size_t at, std::vector<CAttributeMap const*> const& added,
                                    int depth)
{
    if (added.empty()) {
        return;
    }
    beginInsertRows(IndexOf(node), static_cast<int>(at), static_cast<int>(at + added.size() - 1));
    Children made;
    made.reserve(added.size());
    for (auto const* const content : added) {
        made.push_back(Make(&node, *content, depth + 1));
    }
    node.children.insert(node.children.begin() + static_cast<std::ptrdiff_t>(at), std::make_move_iterator(made.begin()),
                         std::make_move_iterator(made.end()));
    Number(node.children, at);
    endInsertRows();
}

AttributeTreeModel::Node* AttributeTreeModel::NodeOf(QModelIndex const& index) const
{
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : m_root.get();
}

QModelIndex AttributeTreeModel::IndexOf(Node const& node, int column) const
{
    return node.parent == nullptr ? QModelIndex()
                                  : createIndex(static_cast<int>(node.row), column, const_cast<Node*>(&node));
}

QModelIndex AttributeTreeModel::index(int row, int column, QModelIndex const& parent) const
{
    auto const& children = NodeOf(parent)->children;
    if (row < 0 || static_cast<std::size_t>(row) >= children.size() || column < 0 || column >= ColumnCount ||
        parent.column() > 0) {
        return {};
    }
    return createIndex(row, column, children[static_cast<std::size_t>(row)].get());
}

QModelIndex AttributeTreeModel::parent(QModelIndex const& index) const
{
    auto const* const node = NodeOf(index);
    return node->parent != nullptr ? IndexOf(*node->parent) : QModelIndex();
}

int AttributeTreeModel::rowCount(QModelIndex const& parent) const
{
    return parent.column() > 0 ? 0 : static_cast<int>(NodeOf(parent)->children.size());
}

int AttributeTreeModel::columnCount(QModelIndex const&) const
{
    return ColumnCount;
}

QVariant AttributeTreeModel::data(QModelIndex const& index, int role) const
{
    if (!index.isValid()) {
        return {};
    }
    constexpr qsizetype rowText = 400;
    constexpr qsizetype tipText = 4000;
    auto const* const node = NodeOf(index);
    auto const& value = node->content.Value();
    if (role == Qt::DisplayRole) {
        switch (index.column()) {
        case Key: {
            auto const key = node->content.KeyText();
            return QString::fromWCharArray(key.data(), static_cast<qsizetype>(key.size()));
        }
        case Kind:
            return QString::fromLatin1(value.IsEmpty() ? std::string_view()
                                                       : qx5::protocol::NameOf(qx5::KindOf(value.Kind())));
        case Value:
            return value.IsEmpty() ? QString() : Shortened(RowText(value), rowText);
        default:
            return {};
        }
    }
    if (role == Qt::ToolTipRole && index.column() == Value && !value.IsEmpty()) {
        QString tip = Shortened(value.ToText(), tipText);
        if (auto const flags = node->content.GetFlags(); flags != 0) {
            tip += QStringLiteral("\nflags %1").arg(flags);
        }
        return PlainToolTip(tip);
    }
    if (role == Qt::BackgroundRole && index.column() == Value && node->changed != SteadyClock::time_point()) {
        QColor tint = QGuiApplication::palette().color(QPalette::Highlight);
        tint.setAlphaF(0.3F);
        return QBrush(tint);
    }
    return {};
}

QVariant AttributeTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= ColumnCount) {
        return {};
    }
    static char const* const titles[]{"Attribute", "Kind", "Value"};
    return QString::fromLatin1(titles[section]);
}

} // namespace vordal
