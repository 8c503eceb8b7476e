// The steps of a session, with those that were undone, in a dock of the window.
#pragma once

#include "operation/session_history.h"

#include <QAbstractTableModel>
#include <QWidget>

#include <functional>

namespace qx5::cli {

class RowTable;

/// Steps, one a row, the newest last. Window thread.
class HistoryModel final : public QAbstractTableModel
{
public:
    enum Column
    {
        Time,
        Step,
        State,
        Sonar,
        Who,
        ColumnCount
    };

    /// What the operator calls a sonar.
    explicit HistoryModel(std::function<QString(CDataId const&)> nameOf) : m_nameOf(std::move(nameOf)) {}

    /// Rows of steps that stay keep their selection.
    void Show(std::deque<operation::HistoryStep> steps);
    std::deque<operation::HistoryStep> const& Steps() const { return m_steps; }

    int rowCount(QModelIndex const& parent = {}) const override;
    int columnCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QString TextOf(operation::HistoryStep const& step, int column) const;

    std::function<QString(CDataId const&)> m_nameOf;
    std::deque<operation::HistoryStep> m_steps;
};

/// The table follows its end, unless it was scrolled away from there. Window thread.
class HistoryPane final : public QWidget
{
public:
    explicit HistoryPane(std::function<QString(CDataId const&)> nameOf, QWidget* parent = nullptr);

    void Show(std::deque<operation::HistoryStep> steps);
    HistoryModel& Model() { return *m_model; }

private:
    HistoryModel* m_model;
    RowTable* m_table;
};

} // namespace qx5::cli
