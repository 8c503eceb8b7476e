// A device's attribute tree as rows that stay the same rows while the tree changes.
#include "attribute_tree_model.h"

#include "reference_host/attributes/attribute_node.h"
#include "reference_host/common/salted_hash.h"
#include "reference_host/controls/qt_text.h"

#include <QBrush>
#include <QGuiApplication>
#include <QPalette>
#include <QString>

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <unordered_map>

namespace vordal {
namespace {

using SteadyClock = std::chrono::steady_clock;

/// Of a walk at once, so that it keeps nobody from a mouse or a key.
constexpr std::chrono::milliseconds sliceOfWalk{2};
/// Of the thread's time, what walks of a large tree that changes and changes may take: one part in so many.
constexpr int partForWalks = 20;
/// Changed values that are told one by one, whether their rows were looked at or not.
constexpr std::size_t mostToldOneByOne = 64;
/// Places at which rows come or go that are told one by one; a view that hears of more is faster with all at once.
constexpr std::size_t mostRuns = 16;
/// Nodes of a tree that is walked at once, however slow the moment, and taken apart on this thread.
constexpr std::size_t smallTree = 500;

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

bool IsSame(CAttributeMap const& a, CAttributeMap const& b)
{
    return TreeAccess::IsSame(a, b);
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

/// Where each child of one state is among those of the other; -1 for nowhere.
std::vector<int> PlacesIn(CAttributeMap const& now, CAttributeMap const& before)
{
    std::unordered_map<Occurrences::Identity, int, IdentityHash> places;
    Occurrences occurrences;
    for (int position = 0; CAttributeMap const& child : now) {
        places.emplace(occurrences.Next(child.KeyText()), position++);
    }
    std::vector<int> of;
    Occurrences former;
    for (CAttributeMap const& child : before) {
        auto const found = places.find(former.Next(child.KeyText()));
        of.push_back(found != places.end() ? found->second : -1);
    }
    return of;
}

/// Which children have some themselves.
std::vector<bool> BranchesAmong(CAttributeMap const& node)
{
    std::vector<bool> are;
    are.reserve(static_cast<std::size_t>(node.Count()));
    for (CAttributeMap const& child : node) {
        are.push_back(child.Count() > 0);
    }
    return are;
}

std::vector<int> AllOf(CAttributeMap const& node)
{
    std::vector<int> all(static_cast<std::size_t>(node.Count()));
    std::iota(all.begin(), all.end(), 0);
    return all;
}

/// Where a position is among those found, or -1.
int RowAmong(std::optional<std::vector<int>> const& found, int position)
{
    if (!found) {
        return position;
    }
    auto const at = std::lower_bound(found->begin(), found->end(), position);
    return at != found->end() && *at == position ? static_cast<int>(at - found->begin()) : -1;
}

} // namespace

/// A node whose children were asked for.
struct AttributeTreeModel::Branch
{
    /// What a row showed when it was last looked at.
    struct Look
    {
        CAttributeMap node;
        unsigned change = 0;     ///< of its branch, then
        std::uint64_t looks = 0; ///< at any row of the branch, until then
        SteadyClock::time_point changed{};
    };

    Branch* parent = nullptr;
    int position = 0;      ///< among the children of the parent's node
    int depth = 0;         ///< the root's is 0
    CAttributeMap content; ///< shares all with the host's tree
    bool isFound = true;   ///< by the search, itself or a branch that it is in: then all its children are rows
    Found found;
    std::map<int, std::unique_ptr<Branch>> below; ///< by position
    /// Which children have some themselves, as far as views know.
    std::vector<bool> branches;
    std::unordered_map<int, Look> looks; ///< by position
    unsigned change = 0;                 ///< counts changes of values below
    std::uint64_t lookCount = 0;

    bool HasRows() const { return depth < GreatestDepth; }
    int Rows() const { return !HasRows() ? 0 : found ? static_cast<int>(found->size()) : content.Count(); }
    int PositionOf(int row) const { return found ? (*found)[static_cast<std::size_t>(row)] : row; }
    int RowOf(int at) const { return RowAmong(found, at); }
    CAttributeMap const& Child(int at) const { return content.GetChild(at); }

    /// Keeps those rows that were looked at last, among them all that are in sight.
    void ForgetOldLooks()
    {
        constexpr std::size_t most = 2048;
        if (looks.size() < most) {
            return;
        }
        std::vector<std::uint64_t> last;
        for (auto const& [at, look] : looks) {
            last.push_back(look.looks);
        }
        auto const middle = last.begin() + most / 2;
        std::nth_element(last.begin(), middle, last.end());
        std::erase_if(looks, [&](auto const& each) { return each.second.looks < *middle; });
    }
    /// Takes over another state of the node.
    void Take(CAttributeMap const& now, std::vector<int> const* places, Found rows)
    {
        bool const hasOtherChildren = !IsSame(content, now) || places != nullptr;
        content = now;
        found = std::move(rows);
        ++change;
        auto const placeOf = [&](int at) { return places != nullptr ? (*places)[static_cast<std::size_t>(at)] : at; };
        std::map<int, std::unique_ptr<Branch>> kept;
        for (auto& [at, child] : below) {
            auto const place = placeOf(at);
            if (place >= 0 && RowAmong(found, place) >= 0) {
                child->position = place;
                kept.emplace(place, std::move(child));
            }
        }
        below = std::move(kept);
        if (places != nullptr) {
            std::unordered_map<int, Look> moved;
            for (auto& [at, look] : looks) {
                if (auto const place = placeOf(at); place >= 0) {
                    moved.emplace(place, std::move(look));
                }
            }
            looks = std::move(moved);
        }
        if (hasOtherChildren && HasRows()) {
            branches = BranchesAmong(content);
        }
    }
};

/// A look at every node of a state of the tree, which can be interrupted.
struct AttributeTreeModel::Walk
{
    struct Frame
    {
        CAttributeMap::const_iterator next;
        Branch* branch = nullptr;
        int position = 0;     ///< of the next child
        bool isFound = false; ///< by itself or from above
        bool hasFound = false;
        std::vector<int> found;
        std::vector<bool> branches;
    };
    struct Result
    {
        Branch* branch = nullptr;
        bool isFound = false;
        Found found;
        std::vector<bool> branches;
    };

    Walk(CAttributeMap const& of, AttributeSearch const& forWhat, Branch* root) : tree(of), search(forWhat)
    {
        Enter(tree, root, search.IsEmpty());
    }

    void Enter(CAttributeMap const& node, Branch* branch, bool isFound)
    {
        auto& frame = frames.emplace_back();
        frame.next = node.begin();
        frame.branch = branch;
        frame.isFound = isFound;
    }

    /// Whether all was seen before the time was over.
    bool Go(SteadyClock::time_point until)
    {
        constexpr unsigned nodesBetweenLooksAtTheClock = 64;
        for (unsigned steps = 1; !frames.empty(); ++steps) {
            if (count > smallTree && steps % nodesBetweenLooksAtTheClock == 0 && SteadyClock::now() >= until) {
                return false;
            }
            if (frames.back().next == CAttributeMap::const_iterator()) {
                Leave();
            } else {
                Step();
            }
        }
        return true;
    }

    void Step()
    {
        Frame& frame = frames.back();
        CAttributeMap const& child = *frame.next;
        ++frame.next;
        int const position = frame.position++;
        ++count;
        bool const hasChildren = child.Count() > 0;
        bool const isFound = frame.isFound || search.Finds(child);
        if (frame.branch != nullptr) {
            frame.branches.push_back(hasChildren);
        }
        if (isFound) {
            Keep(frame, position);
        }
        if (hasChildren && frames.size() < GreatestDepth) {
            Branch* branch = nullptr;
            if (frame.branch != nullptr) {
                auto const known = frame.branch->below.find(position);
                branch = known != frame.branch->below.end() ? known->second.get() : nullptr;
            }
            Enter(child, branch, isFound);
        }
    }

    void Leave()
    {
        Frame frame = std::move(frames.back());
        frames.pop_back();
        if (frame.branch != nullptr) {
            results.push_back({frame.branch, frame.isFound, frame.isFound ? Found() : Found(std::move(frame.found)),
                               std::move(frame.branches)});
        }
        if (frame.hasFound && !frame.isFound && !frames.empty()) {
            Keep(frames.back(), frames.back().position - 1);
        }
    }

    static void Keep(Frame& frame, int position)
    {
        frame.hasFound = true;
        if (frame.branch != nullptr && !frame.isFound) {
            frame.found.push_back(position);
        }
    }

    CAttributeMap tree;
    AttributeSearch const search;
    std::vector<Frame> frames;
    std::vector<Result> results; ///< those below before what they are in
    std::size_t count = 0;
    SteadyClock::duration took{};
};

AttributeTreeModel::AttributeTreeModel(QObject* parent) : QAbstractItemModel(parent), m_root(std::make_unique<Branch>())
{
    connect(&m_walkTimer, &QTimer::timeout, this, [this] {
        if (m_walk != nullptr) {
            GoOn();
        } else {
            m_walkTimer.stop();
            BeginWalk();
        }
    });
}

AttributeTreeModel::~AttributeTreeModel() = default;

void AttributeTreeModel::Update(CAttributeMap const& tree)
{
    if (IsSame(m_root->content, tree)) {
        return;
    }
    m_updated = SteadyClock::now();
    CAttributeMap before = m_root->content;
    UpdateBranch(*m_root, tree);
    if (m_count > smallTree) {
        m_disposal.Take(std::move(before));
    }
    BeginWalk();
}

void AttributeTreeModel::Reset(CAttributeMap const& tree)
{
    EndWalk();
    m_nextWalk = {};
    beginResetModel();
    m_hasMarks = false;
    m_count = 0;
    auto root = std::make_unique<Branch>();
    root->isFound = m_search.IsEmpty();
    root->Take(tree, nullptr, root->isFound ? Found() : Found(std::vector<int>()));
    m_root = std::move(root);
    endResetModel();
    BeginWalk();
}

void AttributeTreeModel::Search(QString const& text)
{
    EndWalk();
    m_search = text.isEmpty() ? AttributeSearch() : AttributeSearch(text);
    m_nextWalk = {};
    BeginWalk();
}

void AttributeTreeModel::UpdateBranch(Branch& branch, CAttributeMap const& now)
{
    if (TreeAccess::HasSameKeys(branch.content, now)) {
        CAttributeMap const before = branch.content;
        branch.content = now;
        ++branch.change;
        if (branch.HasRows()) {
            TellValues(branch, before);
        }
    } else {
        // What the walk has found so far may be of branches that go.
        EndWalk();
        auto const places = PlacesIn(now, branch.content);
        Found found;
        if (!branch.isFound) {
            Branch future;
            future.depth = branch.depth;
            future.content = now;
            found = FoundIn(future);
        }
        Rearrange(branch, now, &places, std::move(found));
    }
    for (auto const& [position, child] : branch.below) {
        if (CAttributeMap const& content = branch.Child(position); !IsSame(child->content, content)) {
            UpdateBranch(*child, content);
        }
    }
}

void AttributeTreeModel::TellValues(Branch& branch, CAttributeMap const& before)
{
    std::array<int, mostToldOneByOne> changed{};
    std::size_t count = 0;
    auto former = before.begin();
    for (int position = 0; CAttributeMap const& child : branch.content) {
        if (!IsSame(child, *former)) {
            if (count == changed.size()) {
                TellLooks(branch);
                return;
            }
            changed[count++] = position;
        }
        ++former;
        ++position;
    }
    for (std::size_t i = 0; i < count; ++i) {
        CAttributeMap const& was = before.GetChild(changed[i]);
        CAttributeMap const& is = branch.Child(changed[i]);
        int const row = branch.RowOf(changed[i]);
        if (row >= 0 && (!was.Value().IsSame(is.Value()) || was.GetFlags() != is.GetFlags())) {
            Q_EMIT dataChanged(createIndex(row, Key, &branch), createIndex(row, Value, &branch));
        }
    }
}

// Views look at every row of a range, seen or not; what nobody has looked at needs no telling.
void AttributeTreeModel::TellLooks(Branch& branch)
{
    std::vector<int> rows;
    for (auto const& [position, look] : branch.looks) {
        if (int const row = branch.RowOf(position); row >= 0 && !IsSame(look.node, branch.Child(position))) {
            rows.push_back(row);
        }
    }
    std::sort(rows.begin(), rows.end());
    for (std::size_t i = 0; i < rows.size();) {
        auto end = i + 1;
        while (end < rows.size() && rows[end] == rows[end - 1] + 1) {
            ++end;
        }
        Q_EMIT dataChanged(createIndex(rows[i], Key, &branch), createIndex(rows[end - 1], Value, &branch));
        i = end;
    }
}

void AttributeTreeModel::Rearrange(Branch& branch, CAttributeMap const& now, std::vector<int> const* places,
                                   Found found)
{
    if (!branch.HasRows()) {
        branch.Take(now, places, {});
        return;
    }
    // For each row as it is the row that it becomes, or -1.
    std::vector<int> target;
    target.reserve(static_cast<std::size_t>(branch.Rows()));
    std::size_t runs = 0;
    int lastKept = -1;
    for (int row = 0; row < branch.Rows(); ++row) {
        int const position = branch.PositionOf(row);
        int const place = places != nullptr ? (*places)[static_cast<std::size_t>(position)] : position;
        int const becomes = place >= 0 ? RowAmong(found, place) : -1;
        if (becomes >= 0 && becomes < lastKept) {
            // Where the order has changed, rows from there on are made anew: the host's trees only ever append.
            target.resize(static_cast<std::size_t>(branch.Rows()), -1);
            ++runs;
            break;
        }
        runs += becomes < 0 && (target.empty() || target.back() >= 0) ? 1U : 0U;
        runs += becomes > lastKept + 1 ? 1U : 0U;
        lastKept = becomes >= 0 ? becomes : lastKept;
        target.push_back(becomes);
    }
    int const rows = found ? static_cast<int>(found->size()) : now.Count();
    runs += lastKept + 1 < rows ? 1U : 0U;
    if (runs == 0) {
        branch.Take(now, places, std::move(found));
    } else if (runs <= mostRuns) {
        RearrangeByRows(branch, now, places, std::move(found), target);
    } else {
        RearrangeAtOnce(branch, now, places, std::move(found), target);
    }
}

void AttributeTreeModel::RearrangeByRows(Branch& branch, CAttributeMap const& now, std::vector<int> const* places,
                                         Found found, std::vector<int> const& target)
{
    auto const parent = IndexOf(branch);
    auto& rows = branch.found ? *branch.found : branch.found.emplace(AllOf(branch.content));
    for (auto end = target.size(); end > 0;) {
        auto first = end;
        while (first > 0 && target[first - 1] < 0) {
            --first;
        }
        if (first == end) {
            --end;
            continue;
        }
        beginRemoveRows(parent, static_cast<int>(first), static_cast<int>(end - 1));
        rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(first), rows.begin() + static_cast<std::ptrdiff_t>(end));
        endRemoveRows();
        end = first;
    }
    // What is left is in order.
    auto left = rows;
    if (places != nullptr) {
        for (int& position : left) {
            position = (*places)[static_cast<std::size_t>(position)];
        }
    }
    branch.Take(now, places, std::move(left));
    auto const& wanted = found ? *found : AllOf(now);
    auto& shown = *branch.found;
    for (std::size_t row = 0; row < wanted.size();) {
        if (row < shown.size() && shown[row] == wanted[row]) {
            ++row;
            continue;
        }
        auto const begin = wanted.begin() + static_cast<std::ptrdiff_t>(row);
        auto const end = row < shown.size() ? std::lower_bound(begin, wanted.end(), shown[row]) : wanted.end();
        beginInsertRows(parent, static_cast<int>(row), static_cast<int>(end - wanted.begin()) - 1);
        shown.insert(shown.begin() + static_cast<std::ptrdiff_t>(row), begin, end);
        endInsertRows();
        row = static_cast<std::size_t>(end - wanted.begin());
    }
    branch.found = std::move(found);
}

void AttributeTreeModel::RearrangeAtOnce(Branch& branch, CAttributeMap const& now, std::vector<int> const* places,
                                         Found found, std::vector<int> const& target)
{
    QList<QPersistentModelIndex> parents;
    if (branch.parent != nullptr) {
        parents.append(IndexOf(branch));
    }
    Q_EMIT layoutAboutToBeChanged(parents);
    auto const before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (QModelIndex const& index : before) {
        auto* in = BranchOf(index);
        int row = index.row();
        // From what it is in up to this branch.
        while (in != &branch && in->parent != nullptr) {
            row = in->parent->RowOf(in->position);
            in = in->parent;
        }
        if (in != &branch) {
            after.append(index);
            continue;
        }
        int const becomes = target[static_cast<std::size_t>(row)];
        after.append(becomes < 0                  ? QModelIndex()
                     : BranchOf(index) == &branch ? createIndex(becomes, index.column(), &branch)
                                                  : index);
    }
    branch.Take(now, places, std::move(found));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged(parents);
}

bool AttributeTreeModel::FindsInOrBelow(CAttributeMap const& node, int depth) const
{
    return m_search.Finds(node) ||
           (depth < GreatestDepth && std::any_of(node.begin(), node.end(), [&](CAttributeMap const& child) {
                return FindsInOrBelow(child, depth + 1);
            }));
}

AttributeTreeModel::Found AttributeTreeModel::FoundIn(Branch const& branch) const
{
    std::vector<int> found;
    for (int position = 0; CAttributeMap const& child : branch.content) {
        if (FindsInOrBelow(child, branch.depth + 1)) {
            found.push_back(position);
        }
        ++position;
    }
    return found;
}

void AttributeTreeModel::BeginWalk()
{
    if (m_walk != nullptr) {
        m_walkAgain = true;
        return;
    }
    if (auto const pause = m_nextWalk - SteadyClock::now(); pause > SteadyClock::duration::zero()) {
        m_walkTimer.start(std::chrono::ceil<std::chrono::milliseconds>(pause));
        return;
    }
    m_walk = std::make_unique<Walk>(m_root->content, m_search, m_root.get());
    m_walkAgain = false;
    GoOn();
    if (m_walk != nullptr) {
        m_walkTimer.start(0);
    }
}

void AttributeTreeModel::EndWalk()
{
    if (m_walk != nullptr && m_count > smallTree) {
        m_walk->frames.clear();
        m_disposal.Take(std::move(m_walk->tree));
    }
    m_walk.reset();
    m_walkTimer.stop();
}

void AttributeTreeModel::GoOn()
{
    auto const begin = SteadyClock::now();
    bool const isDone = m_walk->Go(begin + sliceOfWalk);
    auto const now = SteadyClock::now();
    m_walk->took += now - begin;
    if (isDone) {
        bool const isShort = m_walk->count <= smallTree || m_walk->took <= sliceOfWalk;
        m_nextWalk = isShort ? now : now + m_walk->took * (partForWalks - 1);
        auto const walk = std::move(m_walk);
        m_walkTimer.stop();
        Apply(*walk);
        if (m_count > smallTree) {
            m_disposal.Take(std::move(walk->tree));
        }
        if (m_walkAgain) {
            BeginWalk();
        }
    }
}

void AttributeTreeModel::Apply(Walk& walk)
{
    m_count = walk.count;
    bool hasOtherRows = false;
    for (Walk::Result& result : walk.results) {
        Branch& branch = *result.branch;
        branch.isFound = result.isFound;
        if (branch.found != result.found) {
            Rearrange(branch, branch.content, nullptr, std::move(result.found));
            hasOtherRows = true;
        }
        if (branch.branches != result.branches) {
            QList<QPersistentModelIndex> parents;
            if (branch.parent != nullptr) {
                parents.append(IndexOf(branch));
            }
            Q_EMIT layoutAboutToBeChanged(parents);
            branch.branches = std::move(result.branches);
            Q_EMIT layoutChanged(parents);
        }
    }
    if (m_onWalked) {
        m_onWalked(hasOtherRows);
    }
}

void AttributeTreeModel::ForgetOldChanges()
{
    if (!m_hasMarks) {
        return;
    }
    bool hasMore = false;
    ForgetMarks(*m_root, SteadyClock::now(), hasMore);
    m_hasMarks = hasMore;
}

void AttributeTreeModel::ForgetMarks(Branch& branch, SteadyClock::time_point now, bool& hasMore)
{
    std::vector<int> over;
    for (auto& [position, look] : branch.looks) {
        if (look.changed == SteadyClock::time_point()) {
            continue;
        }
        if (now - look.changed < Recent) {
            hasMore = true;
        } else {
            look.changed = {};
            over.push_back(position);
        }
    }
    for (int const position : over) {
        if (int const row = branch.RowOf(position); row >= 0) {
            auto const index = createIndex(row, Value, &branch);
            Q_EMIT dataChanged(index, index, {Qt::BackgroundRole});
        }
    }
    for (auto const& [position, child] : branch.below) {
        ForgetMarks(*child, now, hasMore);
    }
}

AttributeTreeModel::Branch* AttributeTreeModel::Known(QModelIndex const& row) const
{
    if (!row.isValid()) {
        return m_root.get();
    }
    auto& in = *BranchOf(row);
    auto const position = in.PositionOf(row.row());
    auto const known = in.below.find(position);
    return known != in.below.end() ? known->second.get() : nullptr;
}

AttributeTreeModel::Branch* AttributeTreeModel::LookInto(QModelIndex const& row) const
{
    if (auto* const known = Known(row)) {
        return known;
    }
    auto& in = *BranchOf(row);
    auto branch = std::make_unique<Branch>();
    branch->parent = &in;
    branch->position = in.PositionOf(row.row());
    branch->depth = in.depth + 1;
    CAttributeMap const& node = NodeAt(row);
    branch->isFound = in.isFound || m_search.IsEmpty() || m_search.Finds(node);
    branch->Take(node, nullptr, {});
    if (!branch->isFound) {
        branch->found = FoundIn(*branch);
    }
    return in.below.emplace(branch->position, std::move(branch)).first->second.get();
}

CAttributeMap const& AttributeTreeModel::NodeAt(QModelIndex const& index)
{
    auto const& in = *BranchOf(index);
    return in.Child(in.PositionOf(index.row()));
}

QModelIndex AttributeTreeModel::IndexOf(Branch const& branch) const
{
    return branch.parent == nullptr ? QModelIndex()
                                    : createIndex(branch.parent->RowOf(branch.position), Key, branch.parent);
}

AttributeTreeModel::Path AttributeTreeModel::PathOf(QModelIndex const& index) const
{
    Path path;
    for (auto at = index; at.isValid(); at = parent(at)) {
        auto const& in = *BranchOf(at);
        auto const position = in.PositionOf(at.row());
        auto const key = in.Child(position).KeyText();
        int occurrence = 0;
        auto child = in.content.begin();
        for (int i = 0; i < position; ++i, ++child) {
            occurrence += child->KeyText() == key ? 1 : 0;
        }
        path.emplace(path.begin(), key, occurrence);
    }
    return path;
}

QModelIndex AttributeTreeModel::IndexAt(Path const& path) const
{
    QModelIndex at;
    for (auto const& [key, occurrence] : path) {
        auto& in = *LookInto(at);
        int position = 0;
        int row = -1;
        for (int passed = 0; CAttributeMap const& child : in.content) {
            if (child.KeyText() == key && passed++ == occurrence) {
                row = in.RowOf(position);
                break;
            }
            ++position;
        }
        if (row < 0 || !in.HasRows()) {
            return {};
        }
        at = createIndex(row, Key, &in);
    }
    return at;
}

QModelIndex AttributeTreeModel::index(int row, int column, QModelIndex const& parent) const
{
    if (row < 0 || column < 0 || column >= ColumnCount || row >= rowCount(parent)) {
        return {};
    }
    return createIndex(row, column, LookInto(parent));
}

QModelIndex AttributeTreeModel::parent(QModelIndex const& index) const
{
    return index.isValid() ? IndexOf(*BranchOf(index)) : QModelIndex();
}

int AttributeTreeModel::rowCount(QModelIndex const& parent) const
{
    if (!hasChildren(parent)) {
        return 0;
    }
    if (m_search.IsEmpty() && Known(parent) == nullptr) {
        return NodeAt(parent).Count();
    }
    return LookInto(parent)->Rows();
}

bool AttributeTreeModel::hasChildren(QModelIndex const& parent) const
{
    if (parent.column() > 0) {
        return false;
    }
    if (auto const* const known = Known(parent)) {
        return known->Rows() > 0;
    }
    auto const& in = *BranchOf(parent);
    return in.depth + 1 < GreatestDepth && in.branches[static_cast<std::size_t>(in.PositionOf(parent.row()))];
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
    CAttributeMap const& node = NodeAt(index);
    auto const& value = node.Value();
    if (role == Qt::DisplayRole) {
        switch (index.column()) {
        case Key: {
            auto const key = node.KeyText();
            return QString::fromWCharArray(key.data(), static_cast<qsizetype>(key.size()));
        }
        case Kind: {
            auto const kind = KindText(value);
            return QString::fromLatin1(kind.data(), static_cast<qsizetype>(kind.size()));
        }
        case Value:
            return value.IsEmpty() ? QString() : Shortened(RowText(value), rowText);
        default:
            return {};
        }
    }
    if (role == Qt::ToolTipRole && index.column() == Value && !value.IsEmpty()) {
        QString tip = Shortened(value.ToText(), tipText);
        if (auto const flags = node.GetFlags(); flags != 0) {
            tip += QStringLiteral("\nflags %1").arg(flags);
        }
        return PlainToolTip(tip);
    }
    if (role == Qt::BackgroundRole && index.column() == Value && HasJustChanged(index)) {
        QColor tint = QGuiApplication::palette().color(QPalette::Highlight);
        tint.setAlphaF(0.3F);
        return QBrush(tint);
    }
    return {};
}

bool AttributeTreeModel::HasJustChanged(QModelIndex const& index) const
{
    // A row that was not looked at for some changes has no former state to differ from.
    constexpr unsigned mostMissed = 3;
    auto& branch = *BranchOf(index);
    auto const position = branch.PositionOf(index.row());
    CAttributeMap const& node = branch.Child(position);
    branch.ForgetOldLooks();
    auto const [at, isNew] = branch.looks.try_emplace(position);
    Branch::Look& look = at->second;
    if (!isNew && !IsSame(look.node, node)) {
        if (branch.change - look.change > mostMissed) {
            look.changed = {};
        } else if (!look.node.Value().IsSame(node.Value())) {
            look.changed = m_updated;
            m_hasMarks = true;
        }
    }
    look.node = node;
    look.change = branch.change;
    look.looks = ++branch.lookCount;
    return look.changed != SteadyClock::time_point();
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
