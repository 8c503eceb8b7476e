// A table of which whole rows are chosen and copied as text.
#include "row_table.h"

#include "reference_host/window/mark.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>

#include <algorithm>

namespace qx5::cli {

RowTable::RowTable(QWidget* parent) : QTableView(parent)
{
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setHorizontalScrollMode(ScrollPerPixel);
    setIconSize({vordal::MarkSize, vordal::MarkSize});
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

QString RowTable::SelectedText() const
{
    auto rows = selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end(), [](auto const& a, auto const& b) { return a.row() < b.row(); });
    QString text;
    for (QModelIndex const& row : rows) {
        for (int column = 0; column < model()->columnCount(); ++column) {
            auto const index = row.siblingAtColumn(column);
            auto const spoken = index.data(Qt::AccessibleTextRole); // of a cell with a mark alone
            auto cell = (spoken.isValid() ? spoken : index.data()).toString();
            // Such a character would begin another cell.
            cell.replace(QLatin1Char('\t'), QLatin1Char(' '));
            text += (column == 0 ? QString() : QStringLiteral("\t")) + cell;
        }
        text += QLatin1Char('\n');
    }
    return text;
}

void RowTable::FitColumn(int column, QString const& sample, bool hasMark)
{
    int const air = 2 * fontMetrics().averageCharWidth();
    int const mark = hasMark ? vordal::MarkSize + air : 0;
    horizontalHeader()->resizeSection(column, fontMetrics().horizontalAdvance(sample) + air + mark);
}

bool RowTable::IsAtEnd() const
{
    return verticalScrollBar()->value() == verticalScrollBar()->maximum();
}

void RowTable::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy)) {
        QApplication::clipboard()->setText(SelectedText());
        event->accept();
        return;
    }
    QTableView::keyPressEvent(event);
}

} // namespace qx5::cli
