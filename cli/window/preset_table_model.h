// Rows of a preset's table for the window: ticked, filtered by their state, beside what the sonar then has.
#pragma once

#include "operation/preset_load.h"
#include "operation/preset_table.h"

#include <QAbstractTableModel>
#include <QString>

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace qx5::cli {

/// Of any number of rows. Those that differ, and that the sonar takes, can be ticked, and are at first. Window thread.
class PresetTableModel final : public QAbstractTableModel
{
public:
    enum Column
    {
        Key,
        Unit,
        Now,
        Then,
        State,
        After, ///< once ShowAfter was called
    };
    enum class Ticks
    {
        None,
        EachRow, ///< a box in the column of the key
    };

    explicit PresetTableModel(Ticks ticks) : m_ticks(ticks) {}

    /// What the columns of the values are headed.
    void SetTitles(QString const& now, QString const& then);
    /// Another table; what came after a load goes with the old one.
    void Show(operation::PresetTable table);
    /// The same rows with newer values: what can be ticked still stays as it was ticked.
    void Update(operation::PresetTable table);
    /// What the sonar then has; rows of `asked` that have something else than was asked for are marked.
    void ShowAfter(operation::Preset const& has, operation::PresetLoads::Keys const& asked);

    /// Rows of the states that are not shown are left out.
    void SetShown(operation::RowState state, bool isShown);

    operation::PresetTable const& Table() const { return m_table; }
    operation::PresetRow const& RowAt(int row) const { return m_table.Rows()[m_rows[static_cast<std::size_t>(row)]]; }
    bool CanBeTicked(int row) const;
    /// Why the row cannot be ticked, in one line; empty when it can.
    QString WhyNot(int row) const;
    bool HasAfter() const { return m_hasAfter; }
    /// Of the rows asked for, those that the sonar then has otherwise.
    std::size_t DifferentAfter() const;
    void TickAll(bool ticked);
    operation::PresetLoads::Keys Ticked() const;

    int rowCount(QModelIndex const& parent = {}) const override;
    int columnCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    bool setData(QModelIndex const& index, QVariant const& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(QModelIndex const& index) const override;

private:
    struct Told
    {
        protocol::Value value;
        bool differs = false;
    };

    void ChooseRows();
    QString TextOf(operation::PresetRow const& row, int column) const;
    Told const* AfterOf(operation::PresetRow const& row) const;

    Ticks const m_ticks;
    QString m_nowTitle = QObject::tr("Now");
    QString m_thenTitle = QObject::tr("Then");
    operation::PresetTable m_table;
    std::array<bool, operation::RowStates.size()> m_isShown{true, true, true, true, true};
    std::vector<std::size_t> m_rows; ///< those shown, by their places in the table
    operation::PresetLoads::Keys m_ticked;
    bool m_hasAfter = false;
    std::map<std::wstring, Told, std::less<>> m_after;
};

} // namespace qx5::cli
