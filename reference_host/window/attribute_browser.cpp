// The attribute tree of the device shown, as it changes, with a search.
#include "attribute_browser.h"

#include "search_field.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QSortFilterProxyModel>
#include <QTreeView>
#include <QVBoxLayout>

namespace vordal {

AttributeBrowser::AttributeBrowser(QWidget* parent)
    : QWidget(parent), m_model(new AttributeTreeModel(this)), m_filtered(new QSortFilterProxyModel(this)),
      m_view(new QTreeView(this)),
      m_search(MakeSearchField(tr("Search in the attributes"), tr("Search: attribute, kind or value"), this)),
      m_count(new QLabel(this))
{
    m_filtered->setSourceModel(m_model);
    m_filtered->setFilterKeyColumn(-1);
    m_filtered->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_filtered->setRecursiveFilteringEnabled(true);
    m_filtered->setAutoAcceptChildRows(true);

    m_search->setObjectName(QStringLiteral("attributeSearch"));

    m_view->setModel(m_filtered);
    m_view->setObjectName(QStringLiteral("attributes"));
    m_view->setAccessibleName(tr("Attributes of the device shown"));
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->header()->setStretchLastSection(true);
    auto const charWidth = m_view->fontMetrics().averageCharWidth();
    m_view->setIndentation(charWidth * 2);
    m_view->header()->resizeSection(AttributeTreeModel::Key, charWidth * 28);
    m_view->header()->resizeSection(AttributeTreeModel::Kind, charWidth * 10);

    auto* const column = new QVBoxLayout(this);
    column->addWidget(m_search);
    column->addWidget(m_view, 1);
    column->addWidget(m_count);

    connect(m_search, &QLineEdit::textChanged, this, &AttributeBrowser::Search);
    CountAgain();
}

void AttributeBrowser::Begin()
{
    m_fresh = true;
}

void AttributeBrowser::Update(CAttributeMap const& tree)
{
    if (m_fresh) {
        m_fresh = false;
        m_expanded.clear();
        m_model->Reset(tree);
        if (!m_search->text().isEmpty()) {
            m_view->expandAll();
        }
    } else {
        m_model->Update(tree);
    }
    CountAgain();
}

void AttributeBrowser::Tick()
{
    m_model->ForgetOldChanges();
}

void AttributeBrowser::Search(QString const& text)
{
    if (m_filtered->filterRegularExpression().pattern().isEmpty() && !text.isEmpty()) {
        m_expanded.clear();
        RememberExpanded({});
    }
    m_filtered->setFilterFixedString(text);
    if (!text.isEmpty()) {
        m_view->expandAll();
        return;
    }
    m_view->collapseAll();
    for (QPersistentModelIndex const& index : m_expanded) {
        if (index.isValid()) {
            m_view->setExpanded(m_filtered->mapFromSource(index), true);
        }
    }
    m_expanded.clear();
    if (m_view->currentIndex().isValid()) {
        // What was found stays in sight.
        m_view->scrollTo(m_view->currentIndex());
    }
}

void AttributeBrowser::RememberExpanded(QModelIndex const& parent)
{
    for (int row = 0; row < m_filtered->rowCount(parent); ++row) {
        auto const index = m_filtered->index(row, 0, parent);
        if (m_view->isExpanded(index)) {
            m_expanded.emplace_back(m_filtered->mapToSource(index));
            RememberExpanded(index);
        }
    }
}

void AttributeBrowser::CountAgain()
{
    auto const text = m_model->NodeCount() == 0
                          ? tr("No attributes yet")
                          : tr("%1 attributes").arg(static_cast<qulonglong>(m_model->NodeCount()));
    if (text != m_count->text()) {
        m_count->setText(text);
    }
}

QByteArray AttributeBrowser::SaveState() const
{
    return m_view->header()->saveState();
}

void AttributeBrowser::RestoreState(QByteArray const& state)
{
    m_view->header()->restoreState(state);
}

} // namespace vordal
