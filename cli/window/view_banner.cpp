// The banner above the view: that its sonar cannot be heard, and what was asked for meanwhile.
#include "view_banner.h"

#include "event_pane.h"

#include "reference_host/window/appearance.h"
#include "reference_host/window/device_panel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace qx5::cli {

namespace {

using operation::HeldRequests;
using operation::SonarCondition;
using operation::SonarState;
using vordal::LinkState;

/// A connection that is made within this time is nothing to tell of.
constexpr double usualToConnect = 1.0;
/// Rows of the list that are in sight without scrolling.
constexpr int rowsInSight = 4;
/// Width of the bar at the left.
constexpr int barWidth = 6;

QString NextAttempt(SonarState const& state)
{
    if (state.link.state == LinkState::Closed) {
        return {};
    }
    double const pause = std::chrono::duration<double>(state.link.retryIn).count();
    double const left = state.link.state == LinkState::Waiting ? pause - state.sinceLink : 0.0;
    return left > 0.0 ? QObject::tr("next attempt in %1 s").arg(static_cast<qint64>(std::ceil(left)))
                      : QObject::tr("trying to connect");
}

QString AgeText(SonarState const& state, bool hasHeld)
{
    if (!state.lastData) {
        return QObject::tr("It has told nothing in this session: what the view shows is older.");
    }
    // What is asked for is shown, whether it was heard or not.
    return (hasHeld ? QObject::tr("Last data at %1 UTC, %2 ago: what the view shows is as of then, or asked for since.")
                    : QObject::tr("Last data at %1 UTC, %2 ago: what the view shows is as of then."))
        .arg(ClockText(*state.lastData).left(8), vordal::DurationText(state.sinceData));
}

QString HeldText(HeldRequests::Held const& held)
{
    auto const who = vordal::ToText(held.who);
    return QObject::tr("%1 asked for at %2 by %3")
        .arg(QString::fromStdString(held.value.empty() ? held.key : held.key + " = " + held.value),
             ClockText(held.time).left(8), QString::fromUtf8(who.data(), static_cast<qsizetype>(who.size())));
}

QLabel* MakeLabel(QString const& name, QString const& described, QWidget* parent)
{
    auto* const label = new QLabel(parent);
    label->setObjectName(name);
    label->setAccessibleDescription(described);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

void SetText(QLabel& label, QString const& text)
{
    if (label.text() != text) {
        label.setText(text);
        label.setVisible(!text.isEmpty());
    }
}

} // namespace

std::optional<BannerContent> BannerOf(SonarState const& state, QString const& name,
                                      std::vector<HeldRequests::Held> held, std::uint64_t lost)
{
    BannerContent content;
    bool const isThere = state.condition != SonarCondition::NotConnected;
    bool const isSilent = state.condition == SonarCondition::Silent;
    bool const isClosed = !isThere && state.link.state == LinkState::Closed && !state.wasConnected;
    bool const isBeginning = state.link.state == LinkState::Connecting && !state.wasConnected &&
                             state.failure.empty() && state.sinceLink < usualToConnect;
    content.isOld = isSilent || (!isThere && !isClosed && !isBeginning);
    if (!content.isOld && held.empty()) {
        return std::nullopt;
    }
    if (isSilent) {
        content.title = QObject::tr("%1 is silent").arg(name);
        content.reason = QObject::tr("It is connected and its pings are on, and it tells nothing.");
    } else if (!isThere) {
        content.title =
            (state.wasConnected ? QObject::tr("%1: the connection is lost") : QObject::tr("%1: not connected"))
                .arg(name);
        auto const next = NextAttempt(state);
        content.reason = QString::fromStdString(state.failure);
        content.reason += content.reason.isEmpty() || next.isEmpty() ? next : QStringLiteral("; ") + next;
    } else {
        content.title = QObject::tr("%1 can be reached again").arg(name);
        content.reason = QObject::tr("What was asked for before was not heard, and is sent only if you say so.");
    }
    content.age = content.isOld ? AgeText(state, !held.empty()) : QString();
    content.canSend = isThere;
    content.held = std::move(held);
    content.lost = lost;
    return content;
}

ViewBanner::ViewBanner(std::function<void()> send, std::function<void()> drop, QWidget* parent)
    : QFrame(parent), m_title(MakeLabel(QStringLiteral("bannerTitle"), tr("How the shown sonar is"), this)),
      m_reason(MakeLabel(QStringLiteral("bannerReason"), tr("Why, and when the next attempt is made"), this)),
      m_age(MakeLabel(QStringLiteral("bannerAge"), tr("How old what the view shows is"), this)),
      m_held(new QListWidget(this)), m_send(new QPushButton(tr("Se&nd"), this)),
      m_drop(new QPushButton(tr("&Drop"), this))
{
    setObjectName(QStringLiteral("viewBanner"));
    setAccessibleName(tr("State of the shown sonar"));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    setFrameShape(StyledPanel);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    QFont bold = font();
    bold.setBold(true);
    m_title->setFont(bold);
    // What it says is reached by key, as a text that can be copied.
    m_title->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_title->setFocusPolicy(Qt::StrongFocus);
    m_held->setObjectName(QStringLiteral("heldRequests"));
    m_held->setAccessibleName(tr("Asked for and not heard"));
    m_held->setSelectionMode(QAbstractItemView::NoSelection);
    m_held->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_send->setObjectName(QStringLiteral("sendHeld"));
    m_send->setAccessibleName(tr("Send what was asked for and not heard"));
    m_drop->setObjectName(QStringLiteral("dropHeld"));
    m_drop->setAccessibleName(tr("Drop what was asked for and not heard"));
    connect(m_send, &QPushButton::clicked, this, std::move(send));
    connect(m_drop, &QPushButton::clicked, this, std::move(drop));

    auto* const column = new QVBoxLayout(this);
    auto const margin = column->contentsMargins().top() / 2;
    column->setContentsMargins(barWidth + 2 * margin, margin, 2 * margin, margin);
    column->setSpacing(2);
    column->addWidget(m_title);
    column->addWidget(m_reason);
    column->addWidget(m_age);
    auto* const row = new QHBoxLayout;
    row->addWidget(m_held, 1);
    row->addWidget(m_send, 0, Qt::AlignTop);
    row->addWidget(m_drop, 0, Qt::AlignTop);
    column->addLayout(row);
    hide();
}

void ViewBanner::Show(std::optional<BannerContent> const& content)
{
    if (content == m_shown) {
        return;
    }
    bool const sameList = content && m_shown && content->held == m_shown->held && content->lost == m_shown->lost;
    m_shown = content;
    setVisible(content.has_value());
    if (!content) {
        return;
    }
    SetText(*m_title, content->title);
    SetText(*m_reason, content->reason);
    SetText(*m_age, content->age);
    if (!sameList) {
        m_held->clear();
        for (auto const& held : content->held) {
            m_held->addItem(HeldText(held));
        }
        if (content->lost > 0) {
            m_held->addItem(tr("%1 older ones are not kept").arg(static_cast<qulonglong>(content->lost)));
        }
        m_held->setFixedHeight(std::min(m_held->count(), rowsInSight) * (fontMetrics().height() + 4) +
                               2 * m_held->frameWidth() + 4);
    }
    bool const holds = !content->held.empty();
    m_held->setVisible(holds);
    m_send->setVisible(holds);
    m_drop->setVisible(holds);
    m_send->setEnabled(content->canSend);
    m_send->setToolTip(content->canSend ? tr("Asks the sonar for all that is listed")
                                        : tr("The sonar cannot be reached: send once it can be"));
    m_send->setAccessibleDescription(m_send->toolTip());
    update();
}

void ViewBanner::paintEvent(QPaintEvent* event)
{
    QFrame::paintEvent(event);
    if (m_shown) {
        QPainter painter(this);
        auto const signal = m_shown->isOld ? vordal::Signal::Bad : vordal::Signal::Caution;
        painter.fillRect(QRect(0, 0, barWidth, height()), vordal::SignalColour(palette(), signal));
    }
}

} // namespace qx5::cli
