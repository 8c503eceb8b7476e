// The vessels, their sonars and how each connection stands.
#include "device_panel.h"

#include "appearance.h"
#include "mark.h"
#include "reference_host/common/packed_id.h"
#include "reference_host/controls/qt_text.h"

#include <QApplication>
#include <QEvent>
#include <QHeaderView>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <utility>

namespace vordal {
namespace {

/// The number of a vessel, or 0 for a device.
constexpr int VesselRole = Qt::UserRole;
/// The place of a device in the list of rows.
constexpr int RowRole = Qt::UserRole + 1;
/// Counts how often a row was painted: of all that is set of one, this alone is told to the list.
constexpr int PaintedRole = RowRole + 1;
/// A sonar that was chosen is shown by then, or the selection goes back.
constexpr std::chrono::seconds patience{1};

Signal SignalOf(LinkState state)
{
    switch (state) {
    case LinkState::Connected:
        return Signal::Good;
    case LinkState::Connecting:
        return Signal::Caution;
    case LinkState::Lost:
    case LinkState::Waiting:
        return Signal::Bad;
    case LinkState::Closed:
        break;
    }
    return Signal::Idle;
}

/// Colour alone does not tell: a full disc is connected, a ring is not, a ring with a dot is on its way, one with a bar
/// is silent.
QIcon MarkOf(QPalette const& palette, LinkState state, bool silent, qreal ratio)
{
    constexpr int size = 12;
    QPixmap pixmap(QSize(size, size) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    auto const colour = SignalColour(palette, silent ? Signal::Bad : SignalOf(state));
    painter.setPen(QPen(colour, 2));
    if (silent) {
        painter.drawLine(QPointF(4, size / 2.0), QPointF(size - 4, size / 2.0));
    } else if (state == LinkState::Connected) {
        painter.setBrush(colour);
    }
    painter.drawEllipse(QRectF(2, 2, size - 4, size - 4));
    if (state == LinkState::Connecting) {
        painter.setBrush(colour);
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QRectF(4.5, 4.5, size - 9, size - 9));
    }
    painter.end();
    QIcon icon(pixmap);
    // On a selected row the same on a ground of its own, as its colours are made for that of the list.
    QPixmap onGround(pixmap.size());
    onGround.setDevicePixelRatio(ratio);
    onGround.fill(Qt::transparent);
    QPainter second(&onGround);
    second.setRenderHint(QPainter::Antialiasing);
    second.setPen(Qt::NoPen);
    second.setBrush(palette.color(QPalette::Active, QPalette::Base));
    second.drawEllipse(QRectF(0, 0, size, size));
    second.drawPixmap(0, 0, pixmap);
    second.end();
    icon.addPixmap(onGround, QIcon::Selected);
    return icon;
}

/// A part of a disc, one further at each step.
QIcon PingMark(QPalette const& palette, int step, int steps, qreal ratio)
{
    return DrawnMark(palette, palette.color(QPalette::Text), ratio,
                     [step, steps](QPainter& painter, QColor const& colour) {
                         constexpr int fullTurn = 360 * 16;
                         QRectF const disc(1.5, 1.5, MarkSize - 3, MarkSize - 3);
                         painter.setPen(QPen(colour, 1));
                         painter.drawEllipse(disc);
                         painter.setBrush(colour);
                         painter.drawPie(disc, fullTurn / 4 - step * fullTurn / steps, -fullTurn / steps);
                     });
}

/// Selects whole rows, and does not say so: of a tree that does, the toolkit's accessible interface selects another row
/// than the one that it was asked for, as it takes the number among siblings for that in the list.
class DeviceList final : public QTreeWidget
{
public:
    explicit DeviceList(QWidget* parent) : QTreeWidget(parent) { setSelectionBehavior(SelectItems); }

protected:
    QItemSelectionModel::SelectionFlags selectionCommand(QModelIndex const& index, QEvent const* event) const override
    {
        auto const command = QTreeWidget::selectionCommand(index, event);
        return command == QItemSelectionModel::NoUpdate ? command : command | QItemSelectionModel::Rows;
    }
};

} // namespace

QString DurationText(double seconds)
{
    if (seconds < 1.0) {
        return QObject::tr("< 1 s");
    }
    constexpr double longest = 1e9;
    auto const whole = static_cast<qint64>(std::min(seconds, longest));
    if (whole < 60) {
        return QObject::tr("%1 s").arg(whole);
    }
    if (whole < 3600) {
        return QObject::tr("%1 min %2 s").arg(whole / 60).arg(whole % 60);
    }
    return QObject::tr("%1 h %2 min").arg(whole / 3600).arg(whole / 60 % 60);
}

QString StatusText(LinkStatus const& status)
{
    auto text = QString::fromUtf8(ToText(status.state).data(), static_cast<qsizetype>(ToText(status.state).size()));
    // Of a connection that stands the reason is where it goes, which the list tells anyway.
    if (!status.reason.empty() && status.state != LinkState::Connected) {
        text += QStringLiteral(": ") + QString::fromStdString(status.reason);
    }
    if (status.state == LinkState::Waiting && status.retryIn.count() > 0) {
        auto const seconds = static_cast<double>(status.retryIn.count()) / 1000.0;
        text += QObject::tr("; tries again in %1 s").arg(QString::number(seconds, 'f', 1));
    }
    return text;
}

DevicePanel::DevicePanel(std::vector<ListedVessel> vessels, QWidget* parent)
    : QWidget(parent), m_vessels(std::move(vessels)), m_list(new DeviceList(this)), m_explained(new QLabel(this))
{
    m_list->setObjectName(QStringLiteral("devices"));
    m_list->setAccessibleName(tr("Vessels and sonars"));
    m_list->setColumnCount(2);
    m_list->setHeaderLabels({tr("Device"), tr("Connection")});
    m_list->setRootIsDecorated(false);
    m_list->setItemsExpandable(false);
    m_list->setIndentation(m_list->fontMetrics().averageCharWidth() * 2);
    m_list->header()->setSectionsMovable(false);
    m_list->header()->setStretchLastSection(true);
    m_list->setToolTip(
        tr("The selected sonar is the one that is operated; a click on a vessel makes it the active one"));
    m_list->installEventFilter(this);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    FillList();
    m_list->setMinimumWidth(m_list->fontMetrics().averageCharWidth() * 34);

    m_explained->setWordWrap(true);
    m_explained->setTextFormat(Qt::PlainText);
    m_explained->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_explained->setFocusPolicy(Qt::StrongFocus);
    m_explained->setAccessibleDescription(tr("The connection of the device shown, in full"));
    m_explained->setObjectName(QStringLiteral("deviceExplained"));
    m_explained->setMinimumHeight(m_explained->fontMetrics().lineSpacing() * 4);
    m_explained->setAlignment(Qt::AlignTop | Qt::AlignLeft);

    auto* const column = new QVBoxLayout(this);
    column->addWidget(m_list, 1);
    column->addWidget(m_explained);

    connect(m_list, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem const* item) { Choose(*item); });
    connect(m_list, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem const* item) { Choose(*item); });
    connect(m_list, &QTreeWidget::currentItemChanged, this, &DevicePanel::Explain);
    connect(m_list, &QTreeWidget::customContextMenuRequested, this, [this](QPoint const& place) {
        if (auto const* const item = m_list->itemAt(place); item != nullptr && item->data(0, VesselRole).toInt() == 0) {
            Choose(*item);
        } else {
            SelectShown();
        }
        Q_EMIT MenuAsked(m_list->viewport()->mapToGlobal(place));
    });
    // A screen reader selects a row and leaves the current one where it is; a hand moves both, the selection first.
    connect(m_list, &QTreeWidget::itemSelectionChanged, this, &DevicePanel::ChooseSelected, Qt::QueuedConnection);
    m_notFollowed.setSingleShot(true);
    m_notFollowed.setInterval(patience);
    connect(&m_notFollowed, &QTimer::timeout, this, &DevicePanel::SelectShown);
    Paint();
    FitNames();
}

void DevicePanel::FillList()
{
    auto const before = std::exchange(m_rows, {});
    auto const placesBefore = std::exchange(m_places, {});
    m_list->clear();
    for (ListedVessel const& vessel : m_vessels) {
        auto* const vesselItem = new QTreeWidgetItem(m_list, {vessel.name});
        vesselItem->setData(0, VesselRole, int{vessel.number});
        for (ListedDevice const& device : vessel.devices) {
            auto* const item = new QTreeWidgetItem(
                vesselItem, {device.simulated ? tr("%1\nsimulated").arg(device.name) : device.name});
            item->setData(0, RowRole, static_cast<int>(m_rows.size()));
            auto const known = placesBefore.find(PackedId(device.id));
            Row row = known != placesBefore.end() ? before[known->second] : Row{};
            row.id = device.id;
            row.item = item;
            row.name = device.name;
            row.endpoint = device.endpoint;
            row.simulated = device.simulated;
            m_places.emplace(PackedId(row.id), m_rows.size());
            m_rows.push_back(std::move(row));
        }
    }
    m_list->expandAll();
}

void DevicePanel::FitNames()
{
    auto const setSizes = [this](QVariant const& size) {
        QSignalBlocker const quiet(m_list->model());
        for (Row const& row : m_rows) {
            row.item->setData(0, Qt::SizeHintRole, size);
            row.item->setData(1, Qt::SizeHintRole, size);
        }
    };
    setSizes({});
    m_list->resizeColumnToContents(0);
    // A name that becomes the active vessel's or the shown sonar's is set in bold.
    auto* const header = m_list->header();
    header->resizeSection(0, header->sectionSize(0) + m_list->fontMetrics().averageCharWidth() * 2);
    // Two lines each, whatever they say: to lay texts out for their height whenever one changes costs more than all
    // else.
    if (!m_rows.empty()) {
        QTreeWidgetItem sample({QStringLiteral("M\nM")});
        m_list->addTopLevelItem(&sample);
        auto const height = m_list->sizeHintForIndex(m_list->indexFromItem(&sample)).height();
        m_list->takeTopLevelItem(m_list->topLevelItemCount() - 1);
        setSizes(QSize(header->sectionSize(0), height));
        m_list->doItemsLayout();
    }
}

void DevicePanel::SetVessels(std::vector<ListedVessel> vessels)
{
    m_vessels = std::move(vessels);
    {
        // Nobody chooses anything while rows come and go.
        QSignalBlocker const blocker(m_list);
        FillList();
    }
    SelectShown();
    Paint();
    FitNames();
}

DevicePanel::Row const* DevicePanel::Find(CDataId const& device) const
{
    auto const at = m_places.find(PackedId(device));
    return at != m_places.end() ? &m_rows[at->second] : nullptr;
}

void DevicePanel::SetStatus(CDataId const& device, LinkStatus const& status)
{
    auto* const row = Find(device);
    if (row == nullptr) {
        return;
    }
    row->status = status;
    PaintRow(*row, true);
    if (row->item == m_list->currentItem()) {
        Explain();
    }
}

void DevicePanel::SetActivity(CDataId const& device, DeviceActivity const& activity)
{
    auto* const row = Find(device);
    if (row == nullptr || row->activity == activity) {
        return;
    }
    bool const steps = !row->activity || row->activity->pings != activity.pings;
    bool const isAnother = !row->activity || row->activity->silent != activity.silent ||
                           row->activity->wasConnected != activity.wasConnected;
    row->activity = activity;
    if (steps && activity.pings != 0) {
        row->item->setIcon(0, m_pingMarks[activity.pings % PingSteps]);
    }
    PaintRow(*row, isAnother);
    if (row->item == m_list->currentItem()) {
        Explain();
    }
}

bool DevicePanel::IsSimulated(CDataId const& device) const
{
    auto const* const row = Find(device);
    return row != nullptr && row->simulated;
}

void DevicePanel::MarkShown(CDataId const& device)
{
    m_shown = device;
    SelectShown();
    Paint();
}

void DevicePanel::SelectShown()
{
    m_notFollowed.stop();
    auto const* const row = Find(m_shown);
    m_list->setCurrentItem(row != nullptr ? row->item : nullptr);
}

void DevicePanel::MarkActiveVessel(unsigned short number)
{
    m_activeVessel = number;
    Paint();
}

LinkState DevicePanel::StateOf(CDataId const& device) const
{
    auto const* const row = Find(device);
    return row != nullptr ? row->status.state : LinkState::Closed;
}

void DevicePanel::Choose(QTreeWidgetItem const& item)
{
    if (int const vessel = item.data(0, VesselRole).toInt(); vessel != 0) {
        SelectShown();
        Q_EMIT VesselChosen(static_cast<unsigned short>(vessel));
        return;
    }
    auto const row = static_cast<std::size_t>(item.data(0, RowRole).toInt());
    if (row < m_rows.size()) {
        m_list->setCurrentItem(m_rows[row].item);
        if (!(m_rows[row].id == m_shown)) {
            m_notFollowed.start();
        }
        Q_EMIT SonarChosen(m_rows[row].id);
    }
}

void DevicePanel::ChooseSelected()
{
    auto* const current = m_list->currentItem();
    auto const selected = m_list->selectedItems();
    auto const other = std::find_if(selected.begin(), selected.end(), [&](auto* item) { return item != current; });
    if (other != selected.end()) {
        Choose(**other);
    } else if (current != nullptr) {
        // A part of the row may have been taken out, or all of it.
        m_list->selectionModel()->select(m_list->indexFromItem(current),
                                         QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
}

bool DevicePanel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_list || event->type() != QEvent::KeyPress || m_rows.empty()) {
        return QWidget::eventFilter(watched, event);
    }
    auto const current =
        std::find_if(m_rows.begin(), m_rows.end(), [&](Row const& row) { return row.item == m_list->currentItem(); });
    auto const last = m_rows.end() - 1;
    auto wanted = current;
    switch (static_cast<QKeyEvent const*>(event)->key()) {
    case Qt::Key_Up:
        wanted = current == m_rows.end() || current == m_rows.begin() ? m_rows.begin() : current - 1;
        break;
    case Qt::Key_Down:
        wanted = current == m_rows.end() ? m_rows.begin() : std::min(current + 1, last);
        break;
    case Qt::Key_Home:
    case Qt::Key_PageUp:
        wanted = m_rows.begin();
        break;
    case Qt::Key_End:
    case Qt::Key_PageDown:
        wanted = last;
        break;
    default:
        return QWidget::eventFilter(watched, event);
    }
    if (wanted != current) {
        Choose(*wanted->item);
    }
    return true;
}

void DevicePanel::Paint()
{
    for (std::size_t step = 0; step < PingSteps; ++step) {
        m_pingMarks[step] = PingMark(palette(), static_cast<int>(step), PingSteps, devicePixelRatioF());
    }
    m_stateMarks.clear();
    for (int i = 0; i < m_list->topLevelItemCount(); ++i) {
        auto* const item = m_list->topLevelItem(i);
        bool const active = item->data(0, VesselRole).toInt() == int{m_activeVessel};
        QFont font = m_list->font();
        font.setBold(active);
        item->setFont(0, font);
        item->setText(1, active ? tr("active vessel") : QString());
        item->setData(0, Qt::AccessibleTextRole, active ? tr("%1, active vessel").arg(item->text(0)) : item->text(0));
    }
    for (Row& row : m_rows) {
        PaintRow(row, true);
        row.item->setIcon(0, m_pingMarks[(row.activity ? row.activity->pings : 0) % PingSteps]);
    }
    Explain();
}

QString DevicePanel::ConditionOf(Row const& row)
{
    if (row.activity && row.activity->silent) {
        return tr("silent");
    }
    auto const state = row.status.state;
    if (row.activity && row.activity->wasConnected && state != LinkState::Connected && state != LinkState::Closed) {
        return tr("lost");
    }
    return QString::fromUtf8(ToText(state).data(), static_cast<qsizetype>(ToText(state).size()));
}

QString DevicePanel::PingsOf(Row const& row)
{
    if (!row.activity) {
        return {};
    }
    if (row.activity->pingsOn == false) {
        return tr("pings off");
    }
    return row.activity->pingRate ? tr("%1 p/s").arg(QString::number(*row.activity->pingRate, 'f', 1)) : QString();
}

QString DevicePanel::DataOf(Row const& row)
{
    if (!row.activity) {
        return {};
    }
    return row.activity->sinceData ? DurationText(*row.activity->sinceData) : tr("no data");
}

void DevicePanel::PaintRow(Row& row, bool isWhole)
{
    auto const condition = ConditionOf(row);
    auto const pings = PingsOf(row);
    auto const told = DataOf(row);
    auto const both = pings.isEmpty() || told.isEmpty() ? pings + told : pings + QStringLiteral(", ") + told;
    {
        QSignalBlocker const quiet(m_list->model());
        row.item->setText(1, both.isEmpty() ? condition : condition + QLatin1Char('\n') + both);
        // What a screen reader hears of what changes all the time it hears once a second.
        constexpr std::chrono::milliseconds pause{1000};
        if (isWhole || !row.spoken.isValid() || row.spoken.hasExpired(pause.count())) {
            Speak(row, condition, pings, told);
        }
        if (isWhole) {
            QFont font = m_list->font();
            font.setBold(row.id == m_shown);
            row.item->setFont(0, font);
            row.item->setToolTip(1, PlainToolTip(StatusText(row.status)));
            bool const silent = row.activity && row.activity->silent;
            auto& mark = m_stateMarks[{row.status.state, silent}];
            if (mark.isNull()) {
                mark = MarkOf(palette(), row.status.state, silent, devicePixelRatioF());
            }
            row.item->setIcon(1, mark);
        }
    }
    row.item->setData(1, PaintedRole, ++m_painted);
}

void DevicePanel::Speak(Row& row, QString const& condition, QString const& pings, QString const& told) const
{
    row.spoken.start();
    auto const text = StatusText(row.status);
    QString spoken = row.name;
    spoken += row.simulated ? tr(", simulated") : QString();
    spoken += row.id == m_shown ? tr(", shown") : QString();
    // "lost" stays while attempts come and go.
    spoken += QStringLiteral(", ") + (text.startsWith(condition) ? text : condition + QStringLiteral(", ") + text);
    spoken += pings.isEmpty() ? QString() : QStringLiteral(", ") + pings;
    if (row.activity) {
        spoken += row.activity->sinceData ? tr(", last data %1 ago").arg(told) : QStringLiteral(", ") + told;
    }
    row.item->setData(0, Qt::AccessibleTextRole, spoken);
}

void DevicePanel::Explain()
{
    auto const* const item = m_list->currentItem();
    QString text;
    auto const place = item != nullptr && item->data(0, VesselRole).toInt() == 0
                           ? static_cast<std::size_t>(item->data(0, RowRole).toInt())
                           : m_rows.size();
    if (place < m_rows.size()) {
        Row const& row = m_rows[place];
        text = row.simulated ? tr("%1, simulated").arg(row.name) : row.name;
        if (!row.endpoint.isEmpty()) {
            text += QStringLiteral(" (%1)").arg(row.endpoint);
        }
        bool const silent = row.activity && row.activity->silent;
        text += QLatin1Char('\n') + StatusText(row.status) + (silent ? tr(", silent") : QString());
        if (auto const pings = PingsOf(row); !pings.isEmpty()) {
            text += QLatin1Char('\n') + pings;
        }
        if (row.activity && row.activity->sinceData) {
            text += tr("\nlast data %1 ago").arg(DataOf(row));
        }
    }
    if (text != m_explained->text()) {
        m_explained->setText(text);
    }
}

void DevicePanel::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        Paint();
    } else if (event->type() == QEvent::FontChange) {
        Paint();
        FitNames();
    }
}

} // namespace vordal
