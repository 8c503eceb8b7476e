// A device's attribute tree as rows that stay the same rows while the tree changes.
#pragma once

#include "attribute_text.h"
#include "tree_disposal.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <QAbstractItemModel>
#include <QTimer>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vordal {

/// Columns: attribute, kind, value. A new state of the tree is compared with the one shown; rows are inserted, removed
/// or repainted where they differ, all others are left alone, so that a view keeps what is selected and expanded. A
/// node is the same one when key and occurrence are. A search leaves the rows that have its text, with their branches
/// and what is below them.
///
/// Only what is looked at is worked out: nothing is kept of a row, and of a branch only once its children were asked
/// for. What needs a look at every node, counting and searching, goes on in the event loop, a little at a time, and of
/// a large tree not for every change of it.
/// Window thread.
class AttributeTreeModel final : public QAbstractItemModel
{
public:
    enum Column
    {
        Key,
        Kind,
        Value,
        ColumnCount
    };
    /// Where a node is: the keys from the root on and which occurrence of each.
    using Path = std::vector<std::pair<std::wstring, int>>;

    /// Levels below this are not shown.
    static constexpr int GreatestDepth = 200;
    /// For how long a row tells that its value has changed, of those that were looked at before and after.
    static constexpr std::chrono::milliseconds Recent{1500};

    explicit AttributeTreeModel(QObject* parent = nullptr);
    ~AttributeTreeModel() override;

    /// Takes on another state of the same tree.
    void Update(CAttributeMap const& tree);
    /// Shows another tree: all rows are new, and nothing counts as changed.
    void Reset(CAttributeMap const& tree);
    /// Shows what the text finds; empty: all. A small tree is searched at once, a large one while events go on.
    void Search(QString const& text);
    /// Repaints rows whose change is no longer recent.
    void ForgetOldChanges();

    /// Nodes of the tree, whatever the search leaves of them, as they were last counted.
    std::size_t NodeCount() const { return m_count; }
    /// Called whenever the tree was counted and searched, and told whether other rows are shown since, with any that
    /// stand in branches.
    void SetWalkedHandler(std::function<void(bool hasOtherRows)> handler) { m_onWalked = std::move(handler); }

    Path PathOf(QModelIndex const& index) const;
    /// The row, or none where there is none.
    QModelIndex IndexAt(Path const& path) const;

    QModelIndex index(int row, int column, QModelIndex const& parent = {}) const override;
    QModelIndex parent(QModelIndex const& index) const override;
    int rowCount(QModelIndex const& parent = {}) const override;
    bool hasChildren(QModelIndex const& parent = {}) const override;
    int columnCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Branch;
    struct Walk;
    /// Positions of the children of a node that are rows, ascending; absent where all are.
    using Found = std::optional<std::vector<int>>;

    static Branch* BranchOf(QModelIndex const& index) { return static_cast<Branch*>(index.internalPointer()); }
    /// The branch that a row is, if its children were asked for; the root for no row.
    Branch* Known(QModelIndex const& row) const;
    /// The same, which is asked for now.
    Branch* LookInto(QModelIndex const& row) const;
    static CAttributeMap const& NodeAt(QModelIndex const& index);
    QModelIndex IndexOf(Branch const& branch) const;
    bool HasJustChanged(QModelIndex const& index) const;

    void UpdateBranch(Branch& branch, CAttributeMap const& now);
    void TellValues(Branch& branch, CAttributeMap const& before);
    void TellLooks(Branch& branch);
    /// Brings the rows of a branch to another state: its children, where each of the former ones stands among them (-1
    /// for nowhere; none given: where it was), and which of them are rows.
    void Rearrange(Branch& branch, CAttributeMap const& now, std::vector<int> const* places, Found found);
    void RearrangeByRows(Branch& branch, CAttributeMap const& now, std::vector<int> const* places, Found found,
                         std::vector<int> const& target);
    void RearrangeAtOnce(Branch& branch, CAttributeMap const& now, std::vector<int> const* places, Found found,
                         std::vector<int> const& target);
    Found FoundIn(Branch const& branch) const;
    bool FindsInOrBelow(CAttributeMap const& node, int depth) const;
    void ForgetMarks(Branch& branch, std::chrono::steady_clock::time_point now, bool& hasMore);

    void BeginWalk();
    void EndWalk();
    void GoOn();
    void Apply(Walk& walk);

    std::unique_ptr<Branch> m_root;
    AttributeSearch m_search;
    std::unique_ptr<Walk> m_walk;
    bool m_walkAgain = false;                           ///< the tree has changed since the walk began
    std::chrono::steady_clock::time_point m_nextWalk{}; ///< not before then
    QTimer m_walkTimer;
    std::function<void(bool hasOtherRows)> m_onWalked;
    std::size_t m_count = 0;
    std::chrono::steady_clock::time_point m_updated{};
    mutable bool m_hasMarks = false; ///< a row may be painted as changed
    TreeDisposal m_disposal;
};

} // namespace vordal
