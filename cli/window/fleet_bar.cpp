// How far away a sonar is, how old what is seen, who commands it.
#include "cli/window/fleet_bar.h"

#include "cli/window/fleet_host.h"
#include "cli/window/window_session.h"
#include "reference_host/window/main_window.h"

#include <VordalDataBlocksR/SonarEchoItems.h>

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

CommandBar::Acts LeaseActs()
{
    return {{{QObject::tr("&Take the lease"), QObject::tr("Take")},
             {QObject::tr("Give the lease &back"), QObject::tr("Give back")},
             {QObject::tr("&Grant the lease to who asks"), QObject::tr("Grant")},
             {QObject::tr("&Refuse the lease to who asks"), QObject::tr("Refuse")}}};
}

} // namespace

QString FleetText(fleet::SonarState const& sonar, std::optional<fleet::LookState> const& look,
                  std::optional<fleet::PingsState> const& pings, std::optional<double> clockAhead, QString const& line)
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
    if (pings) {
        text += gap + (pings->rate > 0.0
                           ? QObject::tr("detections %1/s, %2 s old").arg(Tenths(pings->rate), Tenths(pings->age))
                           : QObject::tr("last detections %1 s ago").arg(Tenths(pings->age)));
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

FleetBar::FleetBar(WindowSession& session, fleet::Fleet& fleet, vordal::MainWindow& window, PlaceOf placeOf)
    : m_session(session), m_fleet(fleet), m_window(window), m_placeOf(std::move(placeOf)),
      m_bar(window, *window.AddMenu(QObject::tr("F&leet")), QObject::tr("Fleet"), QStringLiteral("fleet"), LeaseActs(),
            [this](LeaseVerb verb) { Ask(verb); })
{
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
        m_bar.ShowNoLease();
        return;
    }
    auto stream = m_window.ShownDevice();
    stream.SetGroupId(SONAR_DETECTIONS_GROUP);
    m_fleet.Look(*place, m_session.Host().IsFollowed(stream));
    auto const vessel = m_fleet.Vessel(place->vessel);
    auto const line = m_fleet.Line();
    auto const shown = FleetText(*sonar, m_fleet.LookOf(*place), m_fleet.PingsOf(*place),
                                 vessel ? vessel->clockAhead : std::nullopt, QString::fromStdString(line.reason));
    auto const reason = QString::fromStdString(sonar->reason);
    m_bar.ShowState(shown, reason.isEmpty() ? shown : reason, sonar->freshness == fleet::Freshness::Current);
    // Nobody hears what is asked of one that is gone.
    m_bar.ShowLease(LeaseText(sonar->lease, m_fleet.Person()), sonar->lease, m_fleet.Person(),
                    sonar->freshness != fleet::Freshness::Gone);
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
