// A preset's table with its counts, which are its filters.
#pragma once

#include "preset_table_model.h"

#include <QWidget>

#include <array>
#include <functional>

class QCheckBox;

namespace qx5::cli {

class RowTable;

/// A box for each state tells how many rows have it, and shows or leaves them out; equal ones are left out at first.
/// Space ticks and unticks the rows selected. Window thread.
class PresetTableView final : public QWidget
{
public:
    PresetTableView(PresetTableModel::Ticks ticks, QString const& name, QWidget* parent);

    PresetTableModel& Model() { return *m_model; }
    RowTable& Table() { return *m_table; }
    /// Who is told why a row cannot be ticked.
    void SetTeller(std::function<void(QString const& line)> tell) { m_tell = std::move(tell); }
    /// Ticks the selected rows that can be; unticks them when all are ticked.
    void ToggleSelected();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void CountAgain();
    void FitColumns();
    void TellWhyNot(int row);

    PresetTableModel* m_model;
    RowTable* m_table;
    std::array<QCheckBox*, operation::RowStates.size()> m_states{};
    std::function<void(QString const& line)> m_tell;
};

} // namespace qx5::cli
