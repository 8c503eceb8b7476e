// The records that passed over the links as a table of bounded length, and which of them a filter lets through.
#pragma once

#include "reference_host/monitor/record_filter.h"
#include "reference_host/monitor/record_queue.h"

#include <QAbstractTableModel>
#include <QString>

#include <cstdint>
#include <deque>

namespace vordal {

/// Keeps the newest records. Rows are appended at the end and go at the beginning, whole batches at a time. What a row
/// says is worked out when it is asked for, unless a filter has to know. Window thread.
class RecordMonitorModel final : public QAbstractTableModel
{
public:
    static constexpr std::size_t GreatestCount = 10000;
    static constexpr std::size_t GreatestBytes = std::size_t{64} << 20;

    enum Column
    {
        Time,
        Direction,
        Sonar,
        Number,
        Name,
        Fields,
        ColumnCount
    };
    using Way = RecordFilter::Way;
    /// Number that tells a record from all others, from 1.
    using Id = std::uint64_t;

    explicit RecordMonitorModel(QObject* parent = nullptr);

    void Append(RecordQueue::Content content);
    void Clear();
    /// Shows the records that a RecordFilter of that text and way lets through.
    void SetFilter(QString const& text, Way way);

    /// All records that are kept, and those of them that are shown.
    std::size_t KeptCount() const { return m_records.size(); }
    /// Records that are no longer here: too old, or lost before they came.
    std::uint64_t GoneCount() const { return m_gone; }
    /// From the oldest record kept to the newest, in seconds.
    double KeptSeconds() const;

    /// Null beyond the end; valid until the model changes.
    MonitoredRecord const* RecordAt(int row) const;
    Id IdAt(int row) const { return m_shown[static_cast<std::size_t>(row)]; }
    /// The row of a record; -1 when it is not shown.
    int RowOf(Id id) const;

    /// The records that are shown, oldest first, as text that `qx5 decode` reads.
    bool SaveTo(QString const& file, QString& error) const;

    int rowCount(QModelIndex const& parent = {}) const override;
    int columnCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    MonitoredRecord const& Record(Id id) const { return m_records[static_cast<std::size_t>(id - m_firstId)]; }
    void DropOldest(std::size_t count);

    std::deque<MonitoredRecord> m_records;
    Id m_firstId = 1; ///< of the first record kept
    std::deque<Id> m_shown;
    std::size_t m_bytes = 0;
    std::uint64_t m_gone = 0;
    RecordFilter m_filter;
};

} // namespace vordal
