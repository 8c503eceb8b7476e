// A device's attribute tree as rows that stay the same rows while the tree changes.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <QAbstractItemModel>

#include <chrono>
#include <memory>
#include <vector>

namespace vordal {

/// Columns: attribute, kind, value. A new state of the tree is compared with the one shown; rows are inserted, removed
/// or repainted where they differ, all others are left alone, so that a view keeps what is selected and expanded.
/// Branches that old and new share are not looked at. A node is the same one when key and occurrence are. Window
/// thread.
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
    /// Levels below this are not shown.
    static constexpr int GreatestDepth = 200;
    /// For how long a row tells that its value has changed.
    static constexpr std::chrono::milliseconds Recent{1500};

    explicit AttributeTreeModel(QObject* parent = nullptr);
    ~AttributeTreeModel() override;

    /// Takes on another state of the same tree. Costs in proportion to what changed and to the number of children of
    /// the nodes above it.
    void Update(CAttributeMap const& tree);
    /// Shows another tree: all rows are new, and nothing counts as changed.
    void Reset(CAttributeMap const& tree);
    /// Repaints rows whose change is no longer recent.
    void ForgetOldChanges();

    std::size_t NodeCount() const { return m_count; }

    QModelIndex index(int row, int column, QModelIndex const& parent = {}) const override;
    QModelIndex parent(QModelIndex const& index) const override;
    int rowCount(QModelIndex const& parent = {}) const override;
    int columnCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Node;
    using Children = std::vector<std::unique_ptr<Node>>;

    Node* NodeOf(QModelIndex const& index) const;
    QModelIndex IndexOf(Node const& node, int column = 0) const;
    void UpdateNode(Node& node, CAttributeMap const& now, int depth);
    void UpdateChildren(Node& node, CAttributeMap const& now, int depth);
    void RemoveRows(Node& node, std::size_t first, std::size_t count);
    void InsertRows(Node& node, std::size_t at, std::vector<CAttributeMap const*> const& added, int depth);
    std::unique_ptr<Node> Make(Node* parent, CAttributeMap const& content, int depth);
    static void Number(Children& children, std::size_t from);

    std::unique_ptr<Node> m_root;
    std::size_t m_count = 0;
    /// Rows that are painted as changed, oldest first.
    std::vector<QPersistentModelIndex> m_changed;
};

} // namespace vordal
