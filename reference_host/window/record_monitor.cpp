// The record monitor: a list of what passes between host and sonars, with one record in full below it.
#include "record_monitor.h"

#include "search_field.h"

#include <QComboBox>
#include <QDataStream>
#include <QFileDialog>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIODevice>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSplitter>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

#include <cmath>
#include <utility>

namespace vordal {
namespace {

QToolButton* MakeButton(QString const& text, QString const& explained, QWidget* parent)
{
    auto* const button = new QToolButton(parent);
    button->setText(text);
    button->setToolTip(explained);
    button->setAccessibleName(explained);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    return button;
}

/// Width of a column that is to hold `sample` in the font of the table.
int WidthFor(QTableView const& table, QString const& sample)
{
    return table.fontMetrics().horizontalAdvance(sample) + 2 * table.fontMetrics().averageCharWidth() + 8;
}

} // namespace

RecordMonitor::RecordMonitor(std::shared_ptr<RecordQueue> queue, QWidget* parent)
    : QWidget(parent), m_queue(std::move(queue)), m_model(new RecordMonitorModel(this)), m_table(new QTableView(this)),
      m_details(new QPlainTextEdit(this)), m_splitter(new QSplitter(Qt::Horizontal, this)),
      m_filter(MakeSearchField(tr("Filter of the record monitor"),
                               tr("Filter: sonar, number, name, field or value; -word leaves out"), this)),
      m_way(new QComboBox(this)), m_pause(MakeButton(tr("Pa&use"), tr("Pause the record monitor"), this)),
      m_count(new QLabel(this))
{
    m_filter->setObjectName(QStringLiteral("recordFilter"));
    m_way->addItems({tr("In and out"), tr("Out"), tr("In")});
    m_way->setAccessibleName(tr("Way of the records shown"));
    m_pause->setCheckable(true);
    m_pause->setObjectName(QStringLiteral("recordPause"));
    auto* const clear = MakeButton(tr("&Clear"), tr("Clear the record monitor"), this);
    auto* const save = MakeButton(tr("&Save\u2026"), tr("Save the records shown to a file"), this);

    m_table->setModel(m_model);
    m_table->setObjectName(QStringLiteral("records"));
    m_table->setAccessibleName(tr("Records"));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->setWordWrap(false);
    m_table->setTabKeyNavigation(false);
    m_table->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 4);
    auto* const header = m_table->horizontalHeader();
    header->setStretchLastSection(true);
    header->setHighlightSections(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->resizeSection(RecordMonitorModel::Time, WidthFor(*m_table, QStringLiteral("00:00:00.000")));
    header->resizeSection(RecordMonitorModel::Direction, WidthFor(*m_table, tr("Way ")));
    header->resizeSection(RecordMonitorModel::Sonar, WidthFor(*m_table, QString(12, QLatin1Char('n'))));
    header->resizeSection(RecordMonitorModel::Number, WidthFor(*m_table, tr("Number ")));
    header->resizeSection(RecordMonitorModel::Name, WidthFor(*m_table, QString(22, QLatin1Char('n'))));

    m_details->setReadOnly(true);
    m_details->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_details->setTabChangesFocus(true);
    m_details->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_details->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_details->setPlaceholderText(tr("A record that is chosen in the list is shown here in full."));
    m_details->setAccessibleName(tr("The chosen record in full"));
    m_details->setObjectName(QStringLiteral("recordDetails"));

    m_splitter->addWidget(m_table);
    m_splitter->addWidget(m_details);
    m_splitter->setStretchFactor(0, 4);
    m_splitter->setStretchFactor(1, 3);
    m_splitter->setChildrenCollapsible(false);

    auto* const bar = new QHBoxLayout;
    bar->addWidget(m_filter, 1);
    bar->addWidget(m_way);
    bar->addWidget(m_pause);
    bar->addWidget(clear);
    bar->addWidget(save);
    auto* const column = new QVBoxLayout(this);
    column->addLayout(bar);
    column->addWidget(m_splitter, 1);
    column->addWidget(m_count);

    connect(m_filter, &QLineEdit::textChanged, this, &RecordMonitor::Filter);
    connect(m_way, &QComboBox::currentIndexChanged, this, &RecordMonitor::Filter);
    connect(m_pause, &QToolButton::toggled, this, [this](bool paused) {
        if (!paused) {
            Look();
        }
        CountAgain();
    });
    connect(clear, &QToolButton::clicked, this, [this] {
        m_model->Clear();
        m_detailed = 0;
        m_details->clear();
        CountAgain();
    });
    connect(save, &QToolButton::clicked, this, &RecordMonitor::SaveAs);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &RecordMonitor::ShowDetails);
    CountAgain();
}

void RecordMonitor::Look()
{
    if (IsPaused()) {
        CountAgain();
        return;
    }
    auto content = m_queue->Take();
    if (content.frames.empty() && content.lost == 0) {
        return;
    }
    auto const* const bar = m_table->verticalScrollBar();
    bool const atEnd = bar->value() == bar->maximum() && !m_table->currentIndex().isValid();
    // A record that is dropped hands its place in the selection on; nobody chose the next one.
    m_appending = true;
    m_model->Append(std::move(content));
    m_appending = false;
    if (m_detailed != 0 && m_model->RowOf(m_detailed) < 0) {
        // What is shown of it stays, and the list follows again.
        m_detailed = 0;
        m_table->selectionModel()->clear();
    }
    if (atEnd) {
        m_table->scrollToBottom();
    }
    CountAgain();
}

bool RecordMonitor::IsPaused() const
{
    return m_pause->isChecked();
}

void RecordMonitor::SetPaused(bool paused)
{
    m_pause->setChecked(paused);
}

void RecordMonitor::Filter()
{
    auto const detailed = m_detailed;
    m_model->SetFilter(m_filter->text(), static_cast<RecordMonitorModel::Way>(m_way->currentIndex()));
    if (int const row = m_model->RowOf(detailed); row >= 0) {
        m_table->selectRow(row);
        m_table->scrollTo(m_model->index(row, 0));
    } else {
        m_table->scrollToBottom();
    }
    CountAgain();
}

void RecordMonitor::ShowDetails()
{
    int const row = m_table->currentIndex().row();
    auto const* const record = m_model->RecordAt(row);
    if (m_appending || record == nullptr || m_model->IdAt(row) == m_detailed) {
        return;
    }
    m_detailed = m_model->IdAt(row);
    m_details->setPlainText(QString::fromStdString(record->Details()));
}

void RecordMonitor::CountAgain()
{
    auto const kept = static_cast<qulonglong>(m_model->KeptCount());
    auto const shown = static_cast<qulonglong>(m_model->rowCount());
    QString text = shown == kept ? tr("%1 records").arg(kept) : tr("%1 of %2 records").arg(shown).arg(kept);
    if (kept > 1) {
        text += tr(", of %1 s").arg(std::lround(m_model->KeptSeconds()));
    }
    if (auto const gone = m_model->GoneCount(); gone > 0) {
        text += tr(", %1 older ones gone").arg(static_cast<qulonglong>(gone));
    }
    if (IsPaused()) {
        text += tr("; paused, %1 wait").arg(static_cast<qulonglong>(m_queue->Count()));
    }
    if (text != m_count->text()) {
        m_count->setText(text);
    }
}

void RecordMonitor::ChooseNewest(std::uint32_t number)
{
    for (int row = m_model->rowCount() - 1; row >= 0; --row) {
        if (m_model->RecordAt(row)->Number() == number) {
            m_table->selectRow(row);
            return;
        }
    }
}

void RecordMonitor::SaveAs()
{
    auto const file = QFileDialog::getSaveFileName(this, tr("Save the records shown"), QStringLiteral("records.txt"),
                                                   tr("Hexadecimal text for qx5 decode (*.txt);;All files (*)"));
    if (file.isEmpty()) {
        return;
    }
    QString error;
    bool const saved = m_model->SaveTo(file, error);
    Q_EMIT Told(saved ? tr("%1 records saved to %2").arg(m_model->rowCount()).arg(file) : error);
}

QByteArray RecordMonitor::SaveState() const
{
    QByteArray state;
    QDataStream stream(&state, QIODevice::WriteOnly);
    stream << m_splitter->saveState() << m_table->horizontalHeader()->saveState() << m_filter->text()
           << static_cast<qint32>(m_way->currentIndex()) << static_cast<qint32>(RecordMonitorModel::ColumnCount);
    return state;
}

void RecordMonitor::RestoreState(QByteArray const& state)
{
    QDataStream stream(state);
    QByteArray parts;
    QByteArray columns;
    QString filter;
    qint32 way = 0;
    stream >> parts >> columns >> filter >> way;
    if (stream.status() != QDataStream::Ok) {
        return;
    }
    m_splitter->restoreState(parts);
    // Columns of another number are those of another version.
    qint32 count = 0;
    stream >> count;
    if (count == RecordMonitorModel::ColumnCount) {
        m_table->horizontalHeader()->restoreState(columns);
    }
    m_filter->setText(filter);
    if (way >= 0 && way < m_way->count()) {
        m_way->setCurrentIndex(way);
    }
}

} // namespace vordal
