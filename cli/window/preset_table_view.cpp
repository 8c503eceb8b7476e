// A preset's table with its counts, which are its filters.
#include "preset_table_view.h"

#include "row_table.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <algorithm>

namespace qx5::cli {

namespace {

using operation::RowState;

QString TitleOf(RowState state)
{
    switch (state) {
    case RowState::Equal:
        return QObject::tr("Equal");
    case RowState::Different:
        return QObject::tr("Different");
    case RowState::Beyond:
        return QObject::tr("Beyond limits");
    case RowState::Unknown:
        return QObject::tr("Unknown");
    case RowState::Missing:
        return QObject::tr("Missing");
    }
    return {};
}

/// Draws the box of a row that cannot be ticked as one that is not in use; its text stays as it is.
class TickDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, QModelIndex const& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if ((option->features & QStyleOptionViewItem::HasCheckIndicator) != 0 &&
            (index.flags() & Qt::ItemIsUserCheckable) == 0) {
            option->state &= ~QStyle::State_Enabled;
            option->palette.setBrush(QPalette::Base, option->palette.brush(QPalette::Active, QPalette::Mid));
            for (auto const role : {QPalette::Text, QPalette::HighlightedText, QPalette::Highlight}) {
                option->palette.setBrush(QPalette::Disabled, role, option->palette.brush(QPalette::Active, role));
            }
        }
    }
};

} // namespace

PresetTableView::PresetTableView(PresetTableModel::Ticks ticks, QString const& name, QWidget* parent)
    : QWidget(parent), m_model(new PresetTableModel(ticks)), m_table(new RowTable(this))
{
    m_model->setParent(this);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    auto* const row = new QHBoxLayout;
    row->addWidget(new QLabel(tr("Show:"), this));
    for (RowState const state :
         {RowState::Different, RowState::Equal, RowState::Beyond, RowState::Unknown, RowState::Missing}) {
        auto* const box = new QCheckBox(this);
        box->setObjectName(QStringLiteral("show ") + QString::fromStdString(std::string(NameOf(state))));
        box->setChecked(state != RowState::Equal);
        m_model->SetShown(state, box->isChecked());
        connect(box, &QCheckBox::toggled, m_model, [this, state](bool shown) { m_model->SetShown(state, shown); });
        m_states[static_cast<std::size_t>(state)] = box;
        row->addWidget(box);
    }
    row->addStretch(1);
    column->addLayout(row);
    m_table->setModel(m_model);
    m_table->setObjectName(QStringLiteral("presetTable"));
    m_table->setAccessibleName(name);
    if (ticks == PresetTableModel::Ticks::EachRow) {
        m_table->setItemDelegateForColumn(PresetTableModel::Key, new TickDelegate(m_table));
        m_table->installEventFilter(this);
        connect(m_table, &QAbstractItemView::clicked, this, [this](QModelIndex const& index) {
            if (index.column() == PresetTableModel::Key) {
                TellWhyNot(index.row());
            }
        });
    }
    column->addWidget(m_table, 1);
    connect(m_model, &QAbstractItemModel::modelReset, this, [this] { CountAgain(); });
    connect(m_model, &QAbstractItemModel::columnsInserted, this, [this] { FitColumns(); });
    CountAgain();
    FitColumns();
}

void PresetTableView::CountAgain()
{
    for (RowState const state : operation::RowStates) {
        auto& box = *m_states[static_cast<std::size_t>(state)];
        auto const text = tr("%1 (%2)").arg(TitleOf(state)).arg(m_model->Table().Count(state));
        if (box.text() != text) {
            box.setText(text);
        }
    }
}

void PresetTableView::FitColumns()
{
    m_table->FitColumn(PresetTableModel::Key, QStringLiteral("x5RouteSteeringOverlap"), true);
    m_table->FitColumn(PresetTableModel::Unit, QStringLiteral("pings/s"));
    m_table->FitColumn(PresetTableModel::Now, QStringLiteral("1234.5678901234"));
    m_table->FitColumn(PresetTableModel::Then, QStringLiteral("1234.5678901234"));
    // The last column has what is left.
    if (m_model->HasAfter()) {
        m_table->FitColumn(PresetTableModel::State, QStringLiteral("unknown: no setting that"));
    }
}

void PresetTableView::TellWhyNot(int row)
{
    if (auto const why = m_model->WhyNot(row); !why.isEmpty() && m_tell) {
        m_tell(why);
    }
}

void PresetTableView::ToggleSelected()
{
    auto const rows = m_table->selectionModel()->selectedRows(PresetTableModel::Key);
    auto const canBe = [this](QModelIndex const& index) { return m_model->CanBeTicked(index.row()); };
    if (rows.isEmpty()) {
        return;
    }
    if (std::none_of(rows.begin(), rows.end(), canBe)) {
        TellWhyNot(rows.front().row());
        return;
    }
    bool const allTicked = std::all_of(rows.begin(), rows.end(), [&](QModelIndex const& index) {
        return !canBe(index) || index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    });
    for (QModelIndex const& index : rows) {
        m_model->setData(index, allTicked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
    }
}

bool PresetTableView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_table && event->type() == QEvent::KeyPress) {
        auto const* const key = static_cast<QKeyEvent const*>(event);
        if (key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier) {
            ToggleSelected();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace qx5::cli
