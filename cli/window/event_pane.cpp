// The list of what did not come as it was asked for, in a dock of the window.
#include "event_pane.h"

#include "row_table.h"

#include "operation/action_log.h"
#include "reference_host/controls/qt_text.h"
#include "reference_host/window/appearance.h"
#include "reference_host/window/mark.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include <iterator>
#include <utility>

namespace qx5::cli {

namespace {

using operation::Event;
using operation::Severity;

QString LevelText(Severity severity)
{
    switch (severity) {
    case Severity::Information:
        return QObject::tr("Note");
    case Severity::Warning:
        return QObject::tr("Warning");
    case Severity::Error:
        return QObject::tr("Error");
    }
    return {};
}

/// A ring with a dot, a triangle with a bar, a disc with a cross.
void DrawLevel(QPainter& painter, QColor const& colour, Severity severity)
{
    constexpr double size = vordal::MarkSize;
    painter.setPen(QPen(colour, 1.5));
    switch (severity) {
    case Severity::Information:
        painter.drawEllipse(QRectF(1.5, 1.5, size - 3, size - 3));
        painter.setBrush(colour);
        painter.drawEllipse(QRectF(size / 2 - 1, size / 2 - 1, 2, 2));
        break;
    case Severity::Warning:
        painter.drawPolygon(QPolygonF({{size / 2, 1}, {size - 1, size - 1.5}, {1, size - 1.5}}));
        painter.drawLine(QPointF(size / 2, 5), QPointF(size / 2, 8.5));
        break;
    case Severity::Error:
        painter.drawEllipse(QRectF(1, 1, size - 2, size - 2));
        painter.setPen(QPen(colour, 2));
        painter.drawLine(QPointF(4, 4), QPointF(size - 4, size - 4));
        painter.drawLine(QPointF(size - 4, 4), QPointF(4, size - 4));
        break;
    }
}

QString TextOf(Event const& event, int column)
{
    switch (column) {
    case EventModel::Time:
        return ClockText(event.time);
    case EventModel::Sonar:
        return QString::fromStdString(event.sonarName);
    case EventModel::Kind:
        return QString::fromUtf8(ToText(event.kind).data(), static_cast<qsizetype>(ToText(event.kind).size()));
    case EventModel::What:
        return QString::fromStdString(event.what);
    case EventModel::Asked:
        return QString::fromStdString(event.asked);
    case EventModel::Got:
        return QString::fromStdString(event.got);
    case EventModel::Reason:
        return QString::fromStdString(event.reason);
    default:
        return {};
    }
}

} // namespace

QString ClockText(double hostTime)
{
    auto const iso = QString::fromStdString(operation::IsoTime(hostTime));
    auto const begin = iso.indexOf(QLatin1Char('T'));
    return begin < 0 ? iso : iso.mid(begin + 1).chopped(1);
}

void EventModel::Append(operation::EventList::Content content)
{
    m_gone += content.lost;
    auto& events = content.events;
    if (events.size() > GreatestCount) {
        auto const excess = events.size() - GreatestCount;
        m_gone += excess;
        events.erase(events.begin(), std::next(events.begin(), static_cast<std::ptrdiff_t>(excess)));
    }
    if (events.empty()) {
        return;
    }
    if (m_events.size() + events.size() > GreatestCount) {
        auto const excess = m_events.size() + events.size() - GreatestCount;
        beginRemoveRows({}, 0, static_cast<int>(excess) - 1);
        m_events.erase(m_events.begin(), std::next(m_events.begin(), static_cast<std::ptrdiff_t>(excess)));
        m_gone += excess;
        endRemoveRows();
    }
    auto const first = static_cast<int>(m_events.size());
    beginInsertRows({}, first, first + static_cast<int>(events.size()) - 1);
    std::move(events.begin(), events.end(), std::back_inserter(m_events));
    endInsertRows();
}

void EventModel::Clear()
{
    beginResetModel();
    m_events.clear();
    m_gone = 0;
    endResetModel();
}

void EventModel::SetMarks(std::array<QIcon, 3> marks)
{
    m_marks = std::move(marks);
    if (!m_events.empty()) {
        Q_EMIT dataChanged(index(0, Level), index(rowCount() - 1, Level), {Qt::DecorationRole});
    }
}

int EventModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_events.size());
}

int EventModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant EventModel::data(QModelIndex const& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    Event const& event = m_events[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return TextOf(event, index.column());
    case Qt::DecorationRole:
        return index.column() == Level ? QVariant(m_marks[static_cast<std::size_t>(event.severity)]) : QVariant();
    case Qt::AccessibleTextRole:
        return index.column() == Level ? LevelText(event.severity) : TextOf(event, index.column());
    case Qt::ToolTipRole:
        return index.column() == Time ? QString::fromStdString(operation::IsoTime(event.time))
                                      : vordal::PlainToolTip(QString::fromStdString(StatusLine(event)));
    default:
        return {};
    }
}

QVariant EventModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    char const* const titles[]{"Time (UTC)", "Level", "Sonar", "Event", "What", "Asked", "Got", "Reason"};
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= ColumnCount) {
        return {};
    }
    return QObject::tr(titles[section]);
}

EventPane::EventPane(QWidget* parent)
    : QWidget(parent), m_model(new EventModel), m_table(new RowTable(this)), m_count(new QLabel(tr("No events"), this))
{
    m_model->setParent(this);
    m_table->setModel(m_model);
    m_table->setObjectName(QStringLiteral("events"));
    m_table->setAccessibleName(tr("Events"));
    m_table->setToolTip(
        tr("What did not come as it was asked for, the newest last; Ctrl+A selects all, Ctrl+C copies"));
    m_table->FitColumn(EventModel::Time, QStringLiteral("00:00:00.000"));
    m_table->FitColumn(EventModel::Level, tr("Level"));
    m_table->FitColumn(EventModel::Sonar, QStringLiteral("Hull sonar"));
    m_table->FitColumn(EventModel::Kind, QStringLiteral("unanswered"));
    m_table->FitColumn(EventModel::What, QStringLiteral("x5CoverageAngle"));
    m_table->FitColumn(EventModel::Asked, QStringLiteral("99 pings/s"));
    m_table->FitColumn(EventModel::Got, QStringLiteral("99 pings/s"));
    m_count->setTextFormat(Qt::PlainText);
    m_count->setObjectName(QStringLiteral("eventCount"));
    m_count->setAccessibleDescription(tr("How many events are listed"));
    auto* const column = new QVBoxLayout(this);
    column->addWidget(m_table, 1);
    column->addWidget(m_count);
    PaintMarks();
}

void EventPane::Clear()
{
    m_model->Clear();
    m_count->setText(tr("No events"));
}

void EventPane::Append(operation::EventList::Content content)
{
    bool const follows = m_table->IsAtEnd();
    m_model->Append(std::move(content));
    if (follows) {
        m_table->scrollToBottom();
    }
    auto text = m_model->rowCount() == 1 ? tr("1 event") : tr("%1 events").arg(m_model->rowCount());
    if (m_model->GoneCount() > 0) {
        text += tr(", %1 older ones gone").arg(static_cast<qulonglong>(m_model->GoneCount()));
    }
    m_count->setText(text);
}

void EventPane::PaintMarks()
{
    auto const mark = [this](Severity severity, vordal::Signal signal) {
        return vordal::DrawnMark(
            palette(), vordal::SignalColour(palette(), signal), devicePixelRatioF(),
            [severity](QPainter& painter, QColor const& colour) { DrawLevel(painter, colour, severity); });
    };
    m_model->SetMarks({mark(Severity::Information, vordal::Signal::Good),
                       mark(Severity::Warning, vordal::Signal::Caution), mark(Severity::Error, vordal::Signal::Bad)});
}

void EventPane::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        PaintMarks();
    }
}

} // namespace qx5::cli
