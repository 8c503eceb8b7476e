// A table of which whole rows are chosen and copied as text.
#pragma once

#include <QTableView>

namespace qx5::cli {

/// Rows in the order of their model. Ctrl+A selects all; a copy is one line for each selected row, its columns with
/// tabs between them. Window thread.
class RowTable final : public QTableView
{
public:
    explicit RowTable(QWidget* parent = nullptr);

    /// What a copy gives.
    QString SelectedText() const;
    /// Room in a column for that text, and for a mark before it.
    void FitColumn(int column, QString const& sample, bool hasMark = false);
    bool IsAtEnd() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace qx5::cli
