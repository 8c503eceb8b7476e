// The attribute tree of the device shown, as it changes, with a search.
#pragma once

#include "attribute_tree_model.h"

#include <QWidget>

#include <vector>

class QLabel;
class QLineEdit;
class QTreeView;

namespace vordal {

/// The search keeps rows of which a column has the text, with their branches and what is below them; branches open for
/// it and are as before when it is empty again. Window thread.
class AttributeBrowser final : public QWidget
{
    Q_OBJECT

public:
    explicit AttributeBrowser(QWidget* parent = nullptr);

    /// Another device is shown from now on; its tree comes with the next Update.
    void Begin();
    void Update(CAttributeMap const& tree);
    /// To be called some times a second: changes cease to be marked.
    void Tick();

    AttributeTreeModel& Model() { return *m_model; }
    QTreeView& View() { return *m_view; }

    QByteArray SaveState() const;
    void RestoreState(QByteArray const& state);

private:
    void Search(QString const& text);
    void RememberExpanded(QModelIndex const& parent);
    /// All rows below.
    void Open(QModelIndex const& parent);
    void ShowWalked(bool hasOtherRows);

    AttributeTreeModel* m_model;
    QTreeView* m_view;
    QLineEdit* m_search;
    QLabel* m_count;
    bool m_fresh = true; ///< the next tree is another device's
    bool m_isSearching = false;
    bool m_opensFound = false;  ///< once the search has found
    bool m_opensFormer = false; ///< once all is shown again
    /// What was open before the search.
    std::vector<AttributeTreeModel::Path> m_expanded;
};

} // namespace vordal
