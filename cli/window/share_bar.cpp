// The bar under the window that says how the project is shared and who commands the shown sonar, while it is shared.
#include "share_bar.h"

#include "cli/window/window_session.h"
#include "reference_host/window/main_window.h"

#include <QMenu>

#include <chrono>
#include <optional>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

constexpr std::chrono::milliseconds shareLookInterval{200};

CommandBar::Acts CommandActs()
{
    return {{{QObject::tr("Ta&ke command"), QObject::tr("Take command")},
             {QObject::tr("Give command &back"), QObject::tr("Give back")},
             {QObject::tr("&Grant command to who asks"), QObject::tr("Grant")},
             {QObject::tr("Re&fuse command to who asks"), QObject::tr("Refuse")}}};
}

} // namespace

QString ShareText(ShareState const& state)
{
    auto const where = QString::fromStdString(state.where);
    if (state.isConnected) {
        return QObject::tr("Shared by %1").arg(where);
    }
    return state.problem.empty()
               ? QObject::tr("CONNECTING to %1").arg(where)
               : QObject::tr("NOT CONNECTED to %1: %2").arg(where, QString::fromStdString(state.problem));
}

ShareBar::ShareBar(WindowSession& session, ProjectShare& share, vordal::MainWindow& window, QMenu& menu)
    : m_session(session), m_share(share), m_window(window),
      m_bar(window, menu, QObject::tr("Shared project"), QStringLiteral("share"), CommandActs(),
            [this](authority::LeaseVerb verb) { m_share.Do(verb, m_window.ShownDevice()); })
{
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { Look(); });
    m_timer.start(shareLookInterval);
    Look();
}

void ShareBar::Look()
{
    auto const state = m_share.State();
    m_bar.SetShown(state.isShared);
    if (!state.isShared) {
        m_told.clear();
        return;
    }
    auto const text = ShareText(state);
    m_bar.ShowState(text, text, state.isConnected);
    bool isKnown = false;
    std::string const aboard(authority::Aboard);
    for (SonarLease const& sonar : m_share.Leases()) {
        Tell(sonar);
        if (sonar.sonar == m_window.ShownDevice()) {
            isKnown = true;
            m_bar.ShowLease(
                QStringLiteral("%1: %2").arg(QString::fromStdString(sonar.name), LeaseText(sonar.lease, aboard)),
                sonar.lease, aboard, true);
        }
    }
    if (!isKnown) {
        m_bar.ShowNoLease();
    }
    m_share.LookAtLeases();
}

void ShareBar::Tell(SonarLease const& sonar)
{
    Told now{sonar.lease.holder == authority::Aboard ? std::string() : sonar.lease.holder, sonar.lease.asker};
    auto& told = m_told[sonar.sonar.GetKey()];
    auto const tell = [&](operation::Severity severity, std::string line) {
        m_session.Desk().Events().PutState(sonar.sonar, operation::EventKind::Note, severity, std::move(line));
    };
    if (now.holder != told.holder) {
        tell(operation::Severity::Information, now.holder.empty() ? told.holder + " does not command it any more"
                                                                  : now.holder + " commands it from ashore");
    }
    if (!now.asker.empty() && now.asker != told.asker && sonar.lease.holder == authority::Aboard) {
        tell(operation::Severity::Warning,
             fmt::format("{} asks to command it from ashore: grant or refuse that, in the menu Sonar or below the view",
                         now.asker));
    }
    told = std::move(now);
}

} // namespace qx5::cli
