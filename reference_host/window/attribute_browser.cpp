// The attribute tree of the device shown, as it changes, with a search.
#include "attribute_browser.h"

#include "search_field.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTreeView>
#include <QVBoxLayout>

#include <utility>

namespace vordal {

AttributeBrowser::AttributeBrowser(QWidget* parent)
    : QWidget(parent), m_model(new AttributeTreeModel(this)), m_view(new QTreeView(this)),
      m_search(MakeSearchField(tr("Search in the attributes"), tr("Search: attribute, kind or value"), this)),
      m_count(new QLabel(this))
{
    m_search->setObjectName(QStringLiteral("attributeSearch"));

    m_view->setModel(m_model);
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
    m_model->SetWalkedHandler([this](bool hasOtherRows) { ShowWalked(hasOtherRows); });
    ShowWalked(false);
}

void AttributeBrowser::Begin()
{
    m_fresh = true;
}

void AttributeBrowser::Update(CAttributeMap const& tree)
{
    if (std::exchange(m_fresh, false)) {
        m_expanded.clear();
        m_model->Reset(tree);
    } else {
        m_model->Update(tree);
    }
}

void AttributeBrowser::Tick()
{
    m_model->ForgetOldChanges();
}

void AttributeBrowser::Search(QString const& text)
{
    bool const wasSearching = std::exchange(m_isSearching, !text.isEmpty());
    if (!wasSearching && m_isSearching) {
        m_expanded.clear();
        RememberExpanded({});
    }
    m_opensFormer = wasSearching && !m_isSearching;
    m_opensFound = m_isSearching;
    m_model->Search(text);
}

void AttributeBrowser::RememberExpanded(QModelIndex const& parent)
{
    int const rows = m_model->rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        auto const index = m_model->index(row, 0, parent);
        if (m_model->hasChildren(index) && m_view->isExpanded(index)) {
            m_expanded.push_back(m_model->PathOf(index));
            RememberExpanded(index);
        }
    }
}

// Not the view's own way to open all: it keeps a reference to every leaf, which costs whenever rows come or go.
void AttributeBrowser::Open(QModelIndex const& parent)
{
    int const rows = m_model->rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        auto const index = m_model->index(row, 0, parent);
        if (m_model->hasChildren(index)) {
            m_view->expand(index);
            Open(index);
        }
    }
}

void AttributeBrowser::ShowWalked(bool hasOtherRows)
{
    auto const text = m_model->NodeCount() == 0
                          ? tr("No attributes yet")
                          : tr("%1 attributes").arg(static_cast<qulonglong>(m_model->NodeCount()));
    if (text != m_count->text()) {
        m_count->setText(text);
    }
    if (m_isSearching && (hasOtherRows || std::exchange(m_opensFound, false))) {
        Open({});
    } else if (std::exchange(m_opensFormer, false)) {
        m_view->collapseAll();
        for (auto const& path : std::exchange(m_expanded, {})) {
            m_view->setExpanded(m_model->IndexAt(path), true);
        }
        if (m_view->currentIndex().isValid()) {
            // What was found stays in sight.
            m_view->scrollTo(m_view->currentIndex());
        }
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
