// Rows of a preset's table for the window: ticked, filtered by their state, beside what the sonar then has.
#include "preset_table_model.h"

#include "operation/same_value.h"
#include "reference_host/controls/qt_text.h"

#include <QFont>

#include <algorithm>
#include <utility>

namespace qx5::cli {

namespace {

using operation::Preset;
using operation::PresetLoads;
using operation::PresetRow;
using operation::PresetSetting;
using operation::PresetTable;
using operation::RowState;

QString Text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

bool IsTickable(PresetRow const& row)
{
    return row.state == RowState::Different;
}

} // namespace

void PresetTableModel::SetTitles(QString const& now, QString const& then)
{
    m_nowTitle = now;
    m_thenTitle = then;
    Q_EMIT headerDataChanged(Qt::Horizontal, Now, Then);
}

void PresetTableModel::ChooseRows()
{
    m_rows.clear();
    for (std::size_t i = 0; i < m_table.Rows().size(); ++i) {
        if (m_isShown[static_cast<std::size_t>(m_table.Rows()[i].state)]) {
            m_rows.push_back(i);
        }
    }
}

void PresetTableModel::Show(PresetTable table)
{
    beginResetModel();
    m_table = std::move(table);
    m_hasAfter = false;
    m_after.clear();
    m_ticked.clear();
    for (PresetRow const& row : m_table.Rows()) {
        if (m_ticks == Ticks::EachRow && IsTickable(row)) {
            m_ticked.insert(row.key);
        }
    }
    ChooseRows();
    endResetModel();
}

void PresetTableModel::Update(PresetTable table)
{
    auto const& old = m_table.Rows();
    auto const& rows = table.Rows();
    bool const isSame = std::equal(old.begin(), old.end(), rows.begin(), rows.end(),
                                   [](PresetRow const& a, PresetRow const& b) { return a.state == b.state; });
    PresetLoads::Keys ticked;
    for (PresetRow const& row : rows) {
        if (IsTickable(row) && m_ticked.contains(row.key)) {
            ticked.insert(row.key);
        }
    }
    m_ticked = std::move(ticked);
    if (!isSame) {
        beginResetModel();
        m_table = std::move(table);
        ChooseRows();
        endResetModel();
        return;
    }
    m_table = std::move(table);
    if (!m_rows.empty()) {
        Q_EMIT dataChanged(index(0, Now), index(rowCount() - 1, Now));
    }
}

void PresetTableModel::ShowAfter(Preset const& has, PresetLoads::Keys const& asked)
{
    m_after.clear();
    for (PresetSetting const& setting : has.settings) {
        m_after[setting.key].value = setting.value;
    }
    for (PresetRow const& row : m_table.Rows()) {
        if (asked.contains(row.key)) {
            Told& told = m_after[row.key];
            told.differs = !operation::IsSameValue(row.then, told.value);
        }
    }
    if (!m_hasAfter) {
        beginInsertColumns({}, After, After);
        m_hasAfter = true;
        endInsertColumns();
        Q_EMIT headerDataChanged(Qt::Horizontal, Now, Now);
    }
    if (!m_rows.empty()) {
        // What was asked for cannot be ticked a second time.
        Q_EMIT dataChanged(index(0, Key), index(rowCount() - 1, After));
    }
}

std::size_t PresetTableModel::DifferentAfter() const
{
    return static_cast<std::size_t>(
        std::count_if(m_after.begin(), m_after.end(), [](auto const& each) { return each.second.differs; }));
}

void PresetTableModel::SetShown(RowState state, bool isShown)
{
    beginResetModel();
    m_isShown[static_cast<std::size_t>(state)] = isShown;
    ChooseRows();
    endResetModel();
}

bool PresetTableModel::CanBeTicked(int row) const
{
    return m_ticks == Ticks::EachRow && !m_hasAfter && IsTickable(RowAt(row));
}

QString PresetTableModel::WhyNot(int row) const
{
    PresetRow const& of = RowAt(row);
    if (CanBeTicked(row)) {
        return {};
    }
    auto const why = m_hasAfter                    ? QObject::tr("it was loaded already; look again first")
                     : of.state == RowState::Equal ? QObject::tr("the sonar has that value already")
                                                   : Text(WhyNotTicked(of));
    return QObject::tr("%1 cannot be ticked: %2").arg(QString::fromStdWString(of.key), why);
}

void PresetTableModel::TickAll(bool ticked)
{
    m_ticked.clear();
    for (PresetRow const& row : m_table.Rows()) {
        if (ticked && IsTickable(row)) {
            m_ticked.insert(row.key);
        }
    }
    if (!m_rows.empty()) {
        Q_EMIT dataChanged(index(0, Key), index(rowCount() - 1, Key), {Qt::CheckStateRole});
    }
}

PresetLoads::Keys PresetTableModel::Ticked() const
{
    return m_ticked;
}

int PresetTableModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int PresetTableModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : m_hasAfter ? After + 1 : After;
}

PresetTableModel::Told const* PresetTableModel::AfterOf(PresetRow const& row) const
{
    auto const found = m_after.find(row.key);
    return found != m_after.end() ? &found->second : nullptr;
}

QString PresetTableModel::TextOf(PresetRow const& row, int column) const
{
    switch (column) {
    case Key:
        return QString::fromStdWString(row.key);
    case Unit:
        return QString::fromStdString(row.unit);
    case Now:
        return QString::fromStdString(operation::ShownValue(row.now));
    case Then:
        return QString::fromStdString(operation::ShownValue(row.then));
    case State: {
        auto const why = Text(WhyNotTicked(row));
        auto const name = Text(operation::NameOf(row.state));
        return m_ticks == Ticks::None || why.isEmpty() ? name : name + QStringLiteral(": ") + why;
    }
    case After: {
        auto const* const told = AfterOf(row);
        if (told == nullptr) {
            return QObject::tr("-");
        }
        auto const value = QString::fromStdString(operation::ShownValue(told->value));
        return !told->differs                   ? value
               : protocol::IsEmpty(told->value) ? QObject::tr("not told")
                                                : QObject::tr("%1, not as asked").arg(value);
    }
    default:
        return {};
    }
}

QVariant PresetTableModel::data(QModelIndex const& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    PresetRow const& row = RowAt(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return TextOf(row, index.column());
    case Qt::ToolTipRole: {
        auto const why = m_ticks == Ticks::EachRow && index.column() == Key ? WhyNot(index.row()) : QString();
        return vordal::PlainToolTip(why.isEmpty() ? TextOf(row, index.column()) : why);
    }
    case Qt::CheckStateRole:
        if (m_ticks == Ticks::EachRow && index.column() == Key) {
            return m_ticked.contains(row.key) ? Qt::Checked : Qt::Unchecked;
        }
        return {};
    case Qt::FontRole:
        if (auto const* const told = AfterOf(row); index.column() == After && told != nullptr && told->differs) {
            QFont bold;
            bold.setBold(true);
            return bold;
        }
        return {};
    default:
        return {};
    }
}

bool PresetTableModel::setData(QModelIndex const& index, QVariant const& value, int role)
{
    if (role != Qt::CheckStateRole || !index.isValid() || index.column() != Key || !CanBeTicked(index.row())) {
        return false;
    }
    PresetRow const& row = RowAt(index.row());
    if (value.toInt() == Qt::Checked) {
        m_ticked.insert(row.key);
    } else {
        m_ticked.erase(row.key);
    }
    Q_EMIT dataChanged(index, index, {Qt::CheckStateRole});
    return true;
}

QVariant PresetTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= columnCount()) {
        return {};
    }
    switch (section) {
    case Key:
        return QObject::tr("Key");
    case Unit:
        return QObject::tr("Unit");
    case Now:
        return m_hasAfter ? QObject::tr("Before") : m_nowTitle;
    case Then:
        return m_thenTitle;
    case State:
        return QObject::tr("State");
    default:
        return QObject::tr("The sonar then has");
    }
}

Qt::ItemFlags PresetTableModel::flags(QModelIndex const& index) const
{
    auto const flags = QAbstractTableModel::flags(index);
    return index.isValid() && index.column() == Key && CanBeTicked(index.row()) ? flags | Qt::ItemIsUserCheckable
                                                                                : flags;
}

} // namespace qx5::cli
