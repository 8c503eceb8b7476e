// The records that passed over the links as a table of bounded length, and which of them a filter lets through.
#include "record_monitor_model.h"

#include <QSaveFile>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace vordal {
namespace {

QString FromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// "01:26:24.498" of "2026-11-21 01:26:24.498 UTC"; what has no such form stays whole.
QString ClockOf(QString const& time)
{
    auto const parts = time.split(QLatin1Char(' '));
    return parts.size() == 3 ? parts[1] : time;
}

} // namespace

RecordMonitorModel::RecordMonitorModel(QObject* parent) : QAbstractTableModel(parent) {}

void RecordMonitorModel::Append(RecordQueue::Content content)
{
    m_gone += content.lost;
    auto& frames = content.frames;
    if (frames.empty()) {
        return;
    }
    if (frames.size() > GreatestCount) {
        auto const tooMany = frames.size() - GreatestCount;
        m_gone += tooMany;
        frames.erase(frames.begin(), frames.begin() + static_cast<std::ptrdiff_t>(tooMany));
    }
    std::size_t arriving = 0;
    for (CapturedFrame const& frame : frames) {
        arriving += frame.bytes.size();
    }
    // Room is made first, so that no more than what is kept is ever held twice.
    std::size_t drop = 0;
    std::size_t bytes = m_bytes + arriving;
    while (drop < m_records.size() &&
           (m_records.size() - drop + frames.size() > GreatestCount || bytes > GreatestBytes)) {
        bytes -= m_records[drop].Frame().bytes.size();
        ++drop;
    }
    DropOldest(drop);

    std::vector<Id> shown;
    for (CapturedFrame& frame : frames) {
        m_bytes += frame.bytes.size();
        m_records.emplace_back(std::move(frame));
        if (m_filter.Passes(m_records.back())) {
            shown.push_back(m_firstId + m_records.size() - 1);
        }
    }
    if (!shown.empty()) {
        auto const first = static_cast<int>(m_shown.size());
        beginInsertRows({}, first, first + static_cast<int>(shown.size()) - 1);
        m_shown.insert(m_shown.end(), shown.begin(), shown.end());
        endInsertRows();
    }
}

void RecordMonitorModel::DropOldest(std::size_t count)
{
    if (count == 0) {
        return;
    }
    Id const firstKept = m_firstId + count;
    auto const end = std::lower_bound(m_shown.begin(), m_shown.end(), firstKept);
    auto const rows = static_cast<int>(std::distance(m_shown.begin(), end));
    if (rows > 0) {
        beginRemoveRows({}, 0, rows - 1);
    }
    m_shown.erase(m_shown.begin(), end);
    for (std::size_t i = 0; i < count; ++i) {
        m_bytes -= m_records.front().Frame().bytes.size();
        m_records.pop_front();
    }
    m_firstId = firstKept;
    m_gone += count;
    if (rows > 0) {
        endRemoveRows();
    }
}

void RecordMonitorModel::Clear()
{
    beginResetModel();
    m_firstId += m_records.size();
    m_records.clear();
    m_shown.clear();
    m_bytes = 0;
    m_gone = 0;
    endResetModel();
}

void RecordMonitorModel::SetFilter(QString const& text, Way way)
{
    RecordFilter filter(text.toUtf8().toStdString(), way);
    if (filter == m_filter) {
        return;
    }
    beginResetModel();
    m_filter = std::move(filter);
    m_shown.clear();
    for (std::size_t i = 0; i < m_records.size(); ++i) {
        if (m_filter.Passes(m_records[i])) {
            m_shown.push_back(m_firstId + i);
        }
    }
    endResetModel();
}

double RecordMonitorModel::KeptSeconds() const
{
    return m_records.empty() ? 0.0 : m_records.back().Frame().time - m_records.front().Frame().time;
}

MonitoredRecord const* RecordMonitorModel::RecordAt(int row) const
{
    return row >= 0 && row < rowCount() ? &Record(IdAt(row)) : nullptr;
}

int RecordMonitorModel::RowOf(Id id) const
{
    auto const found = std::lower_bound(m_shown.begin(), m_shown.end(), id);
    return found != m_shown.end() && *found == id ? static_cast<int>(std::distance(m_shown.begin(), found)) : -1;
}

bool RecordMonitorModel::SaveTo(QString const& file, QString& error) const
{
    // Either all of it or what was there before.
    QSaveFile target(file);
    bool good = target.open(QIODevice::WriteOnly);
    for (auto id = m_shown.begin(); good && id != m_shown.end(); ++id) {
        auto const text = Record(*id).SavedText();
        good = target.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size());
    }
    if (!good || !target.commit()) {
        error = QStringLiteral("%1 cannot be written: %2").arg(file, target.errorString());
        return false;
    }
    return true;
}

int RecordMonitorModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_shown.size());
}

int RecordMonitorModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant RecordMonitorModel::data(QModelIndex const& index, int role) const
{
    auto const* const record = index.isValid() ? RecordAt(index.row()) : nullptr;
    if (record == nullptr) {
        return {};
    }
    if (role == Qt::DisplayRole) {
        switch (index.column()) {
        case Time:
            return ClockOf(FromUtf8(record->TimeText()));
        case Direction:
            return FromUtf8(record->DirectionText());
        case Sonar:
            return FromUtf8(record->Frame().link);
        case Number:
            return record->Number();
        case Name:
            return FromUtf8(record->Name());
        case Fields:
            return FromUtf8(record->Summary());
        default:
            return {};
        }
    }
    if (role == Qt::ToolTipRole && index.column() == Time) {
        return FromUtf8(record->TimeText());
    }
    if (role == Qt::TextAlignmentRole && index.column() == Number) {
        return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
    }
    return {};
}

QVariant RecordMonitorModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= ColumnCount) {
        return {};
    }
    static char const* const titles[]{"Time (UTC)", "Way", "Sonar", "Number", "Record", "Fields"};
    return QString::fromLatin1(titles[section]);
}

} // namespace vordal
