// The steps of a session, with those that were undone, in a dock of the window.
#include "history_pane.h"

#include "event_pane.h"
#include "row_table.h"

#include "reference_host/controls/qt_text.h"

#include <QFont>
#include <QVBoxLayout>

#include <iterator>

namespace qx5::cli {

namespace {

using operation::HistoryStep;

QString StateText(HistoryStep const& step)
{
    switch (step.state) {
    case HistoryStep::State::Done:
        return QObject::tr("done");
    case HistoryStep::State::Undone:
        return QObject::tr("undone");
    case HistoryStep::State::PassedOver:
        return QObject::tr("stays: %1").arg(QString::fromStdString(step.reason));
    }
    return {};
}

} // namespace

void HistoryModel::Show(std::deque<HistoryStep> steps)
{
    std::size_t same = 0;
    while (same < m_steps.size() && same < steps.size() && m_steps[same].number == steps[same].number) {
        ++same;
    }
    if (same < m_steps.size()) {
        beginRemoveRows({}, static_cast<int>(same), rowCount() - 1);
        m_steps.erase(std::next(m_steps.begin(), static_cast<std::ptrdiff_t>(same)), m_steps.end());
        endRemoveRows();
    }
    auto const newOnes = std::next(steps.begin(), static_cast<std::ptrdiff_t>(same));
    std::move(steps.begin(), newOnes, m_steps.begin());
    if (same > 0) {
        Q_EMIT dataChanged(index(0, 0), index(static_cast<int>(same) - 1, ColumnCount - 1));
    }
    if (newOnes != steps.end()) {
        beginInsertRows({}, static_cast<int>(same), static_cast<int>(steps.size()) - 1);
        std::move(newOnes, steps.end(), std::back_inserter(m_steps));
        endInsertRows();
    }
}

int HistoryModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_steps.size());
}

int HistoryModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString HistoryModel::TextOf(HistoryStep const& step, int column) const
{
    switch (column) {
    case Time:
        return ClockText(step.time).left(8);
    case Sonar:
        return m_nameOf(step.sonar);
    case Step:
        return QString::fromStdString(StepText(step));
    case Who:
        return QString::fromUtf8(vordal::ToText(step.who).data(),
                                 static_cast<qsizetype>(vordal::ToText(step.who).size()));
    case State:
        return StateText(step);
    default:
        return {};
    }
}

QVariant HistoryModel::data(QModelIndex const& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    HistoryStep const& step = m_steps[static_cast<std::size_t>(index.row())];
    if (role == Qt::DisplayRole) {
        return TextOf(step, index.column());
    }
    if (role == Qt::ToolTipRole) {
        return vordal::PlainToolTip(TextOf(step, index.column()));
    }
    return {};
}

QVariant HistoryModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    char const* const titles[]{"UTC", "Step", "State", "Sonar", "By"};
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= ColumnCount) {
        return {};
    }
    return QObject::tr(titles[section]);
}

HistoryPane::HistoryPane(std::function<QString(CDataId const&)> nameOf, QWidget* parent)
    : QWidget(parent), m_model(new HistoryModel(std::move(nameOf))), m_table(new RowTable(this))
{
    m_model->setParent(this);
    m_table->setModel(m_model);
    m_table->setObjectName(QStringLiteral("history"));
    m_table->setAccessibleName(tr("History"));
    m_table->setToolTip(tr("What was asked for, the newest last; Ctrl+Z undoes it, Ctrl+Shift+Z asks for it again"));
    m_table->FitColumn(HistoryModel::Time, QStringLiteral("00:00:00"));
    m_table->FitColumn(HistoryModel::Sonar, QStringLiteral("Hull sonar"));
    m_table->FitColumn(HistoryModel::Step, QStringLiteral("x5Range: 100 to 50"));
    m_table->FitColumn(HistoryModel::State, QStringLiteral("undone"));
    auto* const column = new QVBoxLayout(this);
    column->addWidget(m_table, 1);
}

void HistoryPane::Show(std::deque<HistoryStep> steps)
{
    bool const follows = m_table->IsAtEnd();
    m_model->Show(std::move(steps));
    if (follows) {
        m_table->scrollToBottom();
    }
}

} // namespace qx5::cli
