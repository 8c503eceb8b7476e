// The list of what did not come as it was asked for, in a dock of the window.
#pragma once

#include "operation/event_list.h"

#include <QAbstractTableModel>
#include <QIcon>
#include <QWidget>

#include <array>
#include <cstdint>
#include <deque>

class QLabel;

namespace qx5::cli {

class RowTable;

/// Events, one a row, the newest last. Beyond GreatestCount the oldest go, and are counted. Window thread.
class EventModel final : public QAbstractTableModel
{
public:
    static constexpr std::size_t GreatestCount = 2000;

    enum Column
    {
        Time,
        Level,
        Sonar,
        Kind,
        What,
        Asked,
        Got,
        Reason,
        ColumnCount
    };

    void Append(operation::EventList::Content content);
    void Clear();
    /// One for each severity, in its order.
    void SetMarks(std::array<QIcon, 3> marks);
    std::uint64_t GoneCount() const { return m_gone; }

    int rowCount(QModelIndex const& parent = {}) const override;
    int columnCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::deque<operation::Event> m_events;
    std::array<QIcon, 3> m_marks;
    std::uint64_t m_gone = 0;
};

/// "12:03:04.250" of a host time, in UTC.
QString ClockText(double hostTime);

/// The table follows its end, unless it was scrolled away from there. Window thread.
class EventPane final : public QWidget
{
public:
    explicit EventPane(QWidget* parent = nullptr);

    void Append(operation::EventList::Content content);
    void Clear();
    EventModel& Model() { return *m_model; }

protected:
    void changeEvent(QEvent* event) override;

private:
    void PaintMarks();

    EventModel* m_model;
    RowTable* m_table;
    QLabel* m_count;
};

} // namespace qx5::cli
