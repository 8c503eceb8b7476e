// How far away a sonar is, how old what is seen, who commands it.
#include "cli/window/fleet_bar.h"

#include "cli/window/fleet_host.h"
#include "cli/window/window_session.h"
#include "operation/action_log.h"
#include "reference_host/window/main_window.h"

#include <VordalDataBlocksR/SonarEchoItems.h>

#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QToolBar>

#include <chrono>
#include <cmath>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;
using authority::LeaseVerb;

constexpr auto lookEvery = 200ms;
constexpr double toAnswer = 15.0; ///< s that a vessel has for what is asked of it here

QString Tenths(double seconds)
{
    return QString::number(seconds, 'f', 1);
}

/// "07:15:00" of a time of the vessel's.
QString VesselClockText(double utc)
{
    return QString::fromStdString(operation::IsoTime(utc)).mid(11, 8) + QStringLiteral(" UTC");
}

QLabel* Label(char const* name, QString const& description)
{
    auto* const label = new QLabel;
    label->setObjectName(QString::fromLatin1(name));
    label->setAccessibleDescription(description);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setFocusPolicy(Qt::StrongFocus);
    label->setMargin(4);
    return label;
}

} // namespace

QString FleetText(fleet::SonarState const& sonar, std::optional<fleet::LookState> const& look,
                  std::optional<double> clockAhead, QString const& line)
{
    auto const gap = QStringLiteral("    ");
    auto text = QString::fromStdString(TextOf(sonar.place)) + gap;
    // In capitals, so that it is seen without any colour.
    auto const state =
        QString::fromUtf8(ToText(sonar.freshness).data(), static_cast<qsizetype>(ToText(sonar.freshness).size()));
    text += sonar.freshness == fleet::Freshness::Current ? state : state.toUpper();
    text += sonar.age ? QObject::tr(", %1 s old").arg(Tenths(*sonar.age)) : QObject::tr(", age unknown");
    text += gap + (look ? QObject::tr("round trip %1 ms").arg(static_cast<qint64>(look->roundTrip * 1000.0 + 0.5))
                        : QObject::tr("round trip unknown"));
    if (look && look->age > 2.0 * std::chrono::duration<double>(fleet::Looks::Interval).count()) {
        text += QObject::tr(" (%1 s ago)").arg(Tenths(look->age));
    }
    if (clockAhead) {
        auto const tenths = Tenths(*clockAhead);
        bool const isZero = std::abs(*clockAhead) < 0.05;
        text += gap +
                (isZero ? QObject::tr("clocks agree")
                        : QObject::tr("clock %1%2 s").arg(*clockAhead < 0.0 ? QString() : QStringLiteral("+"), tenths));
    }
    return line.isEmpty() ? text : text + gap + line;
}

QString LeaseText(authority::LeaseNews const& lease, std::string const& person)
{
    if (lease.holder.empty()) {
        return QObject::tr("nobody commands");
    }
    auto text = lease.holder == person ? QObject::tr("you command")
                                       : QObject::tr("%1 commands").arg(QString::fromStdString(lease.holder));
    if (lease.until && *lease.until != 0.0) {
        text += QObject::tr(" until %1").arg(VesselClockText(*lease.until));
    }
    if (!lease.asker.empty()) {
        text += lease.asker == person
                    ? QObject::tr("; you ask, to be answered by %1").arg(VesselClockText(lease.answerBy))
                    : QObject::tr("; %1 asks, to be answered by %2")
                          .arg(QString::fromStdString(lease.asker), VesselClockText(lease.answerBy));
    }
    return text;
}

FleetBar::FleetBar(WindowSession& session, fleet::Fleet& fleet, vordal::MainWindow& window, PlaceOf placeOf)
    : m_session(session), m_fleet(fleet), m_window(window), m_placeOf(std::move(placeOf)),
      m_state(Label("fleetState", QObject::tr("How old what is shown is, and how far away the sonar"))),
      m_lease(Label("fleetLease", QObject::tr("Who commands the sonar")))
{
    auto* const bar = new QToolBar(QObject::tr("Fleet"));
    bar->setObjectName(QStringLiteral("fleetBar"));
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    bar->toggleViewAction()->setVisible(false);
    auto* const menu = m_window.AddMenu(QObject::tr("F&leet"));
    bar->addWidget(m_state);
    bar->addSeparator();
    bar->addWidget(m_lease);
    auto const add = [&](QString const& text, QString const& shortText, char const* name, LeaseVerb verb) {
        auto* const action = menu->addAction(text);
        action->setIconText(shortText);
        action->setObjectName(QString::fromLatin1(name));
        action->setToolTip(QString(text).remove(QLatin1Char('&')));
        QObject::connect(action, &QAction::triggered, bar, [this, verb] { Ask(verb); });
        bar->addAction(action);
        return action;
    };
    m_take = add(QObject::tr("&Take the lease"), QObject::tr("Take"), "takeLease", LeaseVerb::Take);
    m_giveBack =
        add(QObject::tr("Give the lease &back"), QObject::tr("Give back"), "giveLeaseBack", LeaseVerb::GiveBack);
    m_grant = add(QObject::tr("&Grant the lease to who asks"), QObject::tr("Grant"), "grantLease", LeaseVerb::Grant);
    m_refuse =
        add(QObject::tr("&Refuse the lease to who asks"), QObject::tr("Refuse"), "refuseLease", LeaseVerb::Refuse);
    m_window.addToolBar(Qt::BottomToolBarArea, bar);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { Look(); });
    m_timer.start(lookEvery);
    Look();
}

void FleetBar::Look()
{
    auto const place = m_placeOf(m_window.ShownDevice());
    if (place != m_lookedAt && m_lookedAt) {
        m_fleet.EndLook(*m_lookedAt);
    }
    m_lookedAt = place;
    auto const sonar = place ? m_fleet.Sonar(*place) : std::nullopt;
    if (!sonar) {
        return;
    }
    auto stream = m_window.ShownDevice();
    stream.SetGroupId(SONAR_DETECTIONS_GROUP);
    m_fleet.Look(*place, m_session.Host().IsFollowed(stream));
    auto const vessel = m_fleet.Vessel(place->vessel);
    auto const line = m_fleet.Line();
    auto const shown = FleetText(*sonar, m_fleet.LookOf(*place), vessel ? vessel->clockAhead : std::nullopt,
                                 QString::fromStdString(line.reason));
    if (shown != m_state->text()) {
        m_state->setText(shown);
    }
    m_state->setToolTip(QString::fromStdString(sonar->reason));
    ShowLease(*sonar);
}

void FleetBar::ShowLease(fleet::SonarState const& sonar)
{
    auto const text = LeaseText(sonar.lease, m_fleet.Person());
    if (text != m_lease->text()) {
        m_lease->setText(text);
    }
    bool const isMine = sonar.lease.holder == m_fleet.Person();
    bool const isAsked = isMine && !sonar.lease.asker.empty();
    m_take->setEnabled(!isMine && sonar.lease.asker != m_fleet.Person());
    // Who asks does not any more by giving back.
    m_giveBack->setEnabled(isMine || sonar.lease.asker == m_fleet.Person());
    m_grant->setEnabled(isAsked);
    m_refuse->setEnabled(isAsked);
}

void FleetBar::Ask(LeaseVerb verb)
{
    auto const sonar = m_lookedAt ? m_fleet.Sonar(*m_lookedAt) : std::nullopt;
    if (!sonar) {
        return;
    }
    fleet::LeaseAsk const ask{verb, FleetHost::LeaseSeconds, sonar->lease.asker};
    m_fleet.AskLease(sonar->place, ask, toAnswer,
                     [&session = m_session, name = TextOf(sonar->place)](authority::LeaseReply const& reply) {
                         auto const text = fmt::format("the lease of {}: {}{}{}", name, ToText(reply.answer),
                                                       reply.reason.empty() ? "" : ", ", reply.reason);
                         bool const isBad = reply.answer == authority::LeaseReplyKind::Refused;
                         session.Tell(isBad ? operation::Severity::Warning : operation::Severity::Information, text);
                     });
}

} // namespace qx5::cli
