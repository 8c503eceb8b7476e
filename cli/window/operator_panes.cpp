// What surrounds the requests of a session, shown in its window: events, history, banner, transmit lock, presets.
#include "operator_panes.h"

#include "window_session.h"

#include <vordalhostdllR/DataManager.h>

#include <QAction>
#include <QDockWidget>
#include <QLabel>
#include <QMenu>
#include <QStatusBar>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace qx5::cli {

namespace {

using operation::HistoryStep;

constexpr std::chrono::milliseconds lookInterval{50};
/// Between two takings of events.
constexpr std::chrono::milliseconds leastPause{20};
/// The list of sonars is brought up to date at every so many looks: more steps of a mark nobody sees.
constexpr int looksForEachList = 2;
constexpr int looksForEachBudget = 5;
/// What a menu says of a step.
constexpr qsizetype greatestStepText = 60;

QString MenuText(QString const& verb, HistoryStep const* step)
{
    if (step == nullptr) {
        return verb;
    }
    auto text = QString::fromStdString(StepText(*step));
    if (text.size() > greatestStepText) {
        text = text.left(greatestStepText) + QChar(0x2026);
    }
    // A single one would mark the next character as the key of the menu's line.
    return verb + QLatin1Char(' ') + text.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

vordal::DeviceActivity ActivityOf(operation::SonarState const& state)
{
    return {.wasConnected = state.wasConnected,
            .silent = state.condition == operation::SonarCondition::Silent,
            .pingsOn = state.pingsOn,
            .pingRate = state.pingRate,
            .pings = state.pings,
            .sinceData = state.lastData ? std::optional(state.sinceData) : std::nullopt};
}

} // namespace

OperatorPanes::OperatorPanes(WindowSession& session, vordal::MainWindow& window)
    : m_session(session), m_window(window), m_events(new EventPane),
      m_history(new HistoryPane([this](CDataId const& device) { return NameOf(device, false); })),
      m_budget(new BudgetPane),
      m_banner(new ViewBanner([this] { m_session.Desk().Held().Send(m_window.ShownDevice()); },
                              [this] { m_session.Desk().Held().Drop(m_window.ShownDevice()); })),
      m_lock(AddMark(QObject::tr("Transmit lock is on"), "transmitLock",
                     QObject::tr("Pings on, full power, shut-down, reboot and factory settings of a sonar that is not "
                                 "simulated are refused"))),
      m_lease(AddMark(QObject::tr("The operator has the lease"), "actionLease",
                      QObject::tr("What other components of the host ask of the shown sonar is refused"))),
      m_eventsWait(session.EventsHandle(), QSocketNotifier::Read)
{
    m_window.AddPane(m_events, QObject::tr("Events"), QStringLiteral("eventDock"), Qt::BottomDockWidgetArea,
                     QKeySequence(QStringLiteral("Ctrl+Shift+E")));
    m_window.AddPane(m_history, QObject::tr("History"), QStringLiteral("historyDock"), Qt::LeftDockWidgetArea,
                     QKeySequence(QStringLiteral("Ctrl+Shift+H")));
    auto* const budget = m_window.AddPane(m_budget, QObject::tr("Echo budget"), QStringLiteral("budgetDock"),
                                          Qt::RightDockWidgetArea, QKeySequence(QStringLiteral("Ctrl+Shift+B")));
    budget->hide();
    m_window.SetBanner(m_banner);

    MakeMenus();
    ShowLock();
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { Look(); });
    QObject::connect(&m_eventsWait, &QSocketNotifier::activated, &m_eventsWait, [this] {
        // Those of a burst wait for the next look: the event loop has other work, too.
        if (m_sinceTaken.isValid() && !m_sinceTaken.hasExpired(leastPause.count())) {
            m_eventsWait.setEnabled(false);
        } else {
            TakeEvents();
        }
    });
    m_timer.start(lookInterval);
    Look();
}

QLabel* OperatorPanes::AddMark(QString const& text, char const* name, QString const& explanation)
{
    auto* const mark = new QLabel(text);
    mark->setObjectName(QString::fromLatin1(name));
    mark->setTextFormat(Qt::PlainText);
    mark->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    mark->setFocusPolicy(Qt::StrongFocus);
    mark->setFrameShape(QFrame::Box);
    mark->setMargin(2);
    QFont bold = mark->font();
    bold.setBold(true);
    mark->setFont(bold);
    mark->setToolTip(explanation);
    mark->setAccessibleDescription(explanation);
    m_window.statusBar()->addPermanentWidget(mark);
    mark->hide(); // the status bar shows what it takes
    return mark;
}

QAction* OperatorPanes::AddSwitch(QMenu& menu, QString const& text, char const* name, QLabel const& mark)
{
    auto* const action = menu.addAction(text);
    action->setCheckable(true);
    action->setObjectName(QString::fromLatin1(name));
    action->setToolTip(mark.toolTip());
    return action;
}

void OperatorPanes::MakeMenus()
{
    auto* const edit = m_window.AddMenu(QObject::tr("&Edit"));
    // A field with the focus takes these keys for its own text before they come here.
    m_undo = edit->addAction(QObject::tr("&Undo"));
    m_undo->setShortcut(QKeySequence(QStringLiteral("Ctrl+Z")));
    m_undo->setObjectName(QStringLiteral("undo"));
    QObject::connect(m_undo, &QAction::triggered, &m_timer, [this] { m_session.Undo(); });
    m_redo = edit->addAction(QObject::tr("&Redo"));
    m_redo->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+Z")));
    m_redo->setObjectName(QStringLiteral("redo"));
    QObject::connect(m_redo, &QAction::triggered, &m_timer, [this] { m_session.Redo(); });

    m_sonarMenu = m_window.AddMenu(QObject::tr("S&onar"));
    m_lockAction = AddSwitch(*m_sonarMenu, QObject::tr("&Transmit lock"), "transmitLockAction", *m_lock);
    m_lockAction->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+L")));
    QObject::connect(m_lockAction, &QAction::triggered, &m_timer, [this](bool locked) {
        m_session.SetTransmitLock(locked);
        ShowLock();
    });
    m_leaseAction = AddSwitch(*m_sonarMenu, QObject::tr("&Only the operator asks"), "actionLeaseAction", *m_lease);
    QObject::connect(m_leaseAction, &QAction::triggered, &m_timer, [this](bool leased) {
        auto& lease = m_session.Desk().Lease();
        if (leased) {
            lease.Take(m_window.ShownDevice(), operation::Hand::Operator);
        } else {
            lease.GiveBack(m_window.ShownDevice(), operation::Hand::Operator);
        }
        ShowLease();
    });
    m_presets.emplace(m_session, m_window);
}

void OperatorPanes::Note(vordal::FieldNotice const& notice)
{
    operation::Event event;
    event.sonar = m_window.ShownDevice();
    event.who = vordal::RequestOrigin::View;
    event.what = notice.field.toStdString();
    event.asked = notice.typed.toStdString();
    event.got = notice.now.toStdString();
    event.reason = notice.kind == vordal::FieldNotice::Kind::Overwritten
                       ? "typed and not applied; it has given way to " + event.got + ", which the sonar has"
                       : "no number; it counts as " + event.got;
    m_session.Desk().Events().Put(std::move(event));
}

void OperatorPanes::Look()
{
    TakeEvents();
    m_eventsWait.setEnabled(true);
    ShowHistory();
    if (m_looks % looksForEachList == 0) {
        ShowSonars();
    }
    if (m_looks++ % looksForEachBudget == 0) {
        ShowBudget();
    }
}

void OperatorPanes::TakeEvents()
{
    auto content = m_session.TakeEvents();
    m_sinceTaken.start();
    if (content.events.empty() && content.lost == 0) {
        return;
    }
    if (!content.events.empty()) {
        m_window.ShowLine(QString::fromStdString(StatusLine(content.events.back())));
    }
    m_events->Append(std::move(content));
}

void OperatorPanes::ShowHistory()
{
    operation::SessionHistory::Content content;
    if (!m_session.Desk().Steps().ReadIfChanged(m_historyVersion, content)) {
        return;
    }
    m_historyVersion = content.version;
    auto const& steps = content.steps;
    auto const done = std::find_if(steps.rbegin(), steps.rend(),
                                   [](HistoryStep const& step) { return step.state == HistoryStep::State::Done; });
    auto const undone = std::find_if(steps.begin(), steps.end(),
                                     [](HistoryStep const& step) { return step.state == HistoryStep::State::Undone; });
    m_undo->setEnabled(done != steps.rend());
    m_undo->setText(MenuText(QObject::tr("&Undo"), done != steps.rend() ? &*done : nullptr));
    m_redo->setEnabled(undone != steps.end());
    m_redo->setText(MenuText(QObject::tr("&Redo"), undone != steps.end() ? &*undone : nullptr));
    m_history->Show(std::move(content.steps));
}

void OperatorPanes::ShowSonars()
{
    auto const states = m_session.Desk().Watch().States();
    auto const& shown = m_window.ShownDevice();
    operation::SonarState state;
    for (auto const& each : states) {
        m_window.Devices().SetActivity(each.sonar, ActivityOf(each));
        if (each.sonar == shown) {
            state = each;
        }
    }
    auto const& held = m_session.Desk().Held();
    auto const content = BannerOf(state, NameOf(shown, true), held.Of(shown), held.Lost(shown));
    m_banner->Show(content);
    m_window.MarkViewOld(content && content->isOld);
    ShowLease(); // of the sonar that is shown now
}

void OperatorPanes::ShowBudget()
{
    if (m_budget->isVisible()) {
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(m_window.ShownDevice(), tree);
        m_budget->Show(tree);
    }
}

void OperatorPanes::ShowLock()
{
    bool const locked = m_session.IsTransmitLocked();
    m_lockAction->setChecked(locked);
    m_lock->setVisible(locked);
}

void OperatorPanes::ShowLease()
{
    auto const lease = m_session.Desk().Lease().Of(m_window.ShownDevice());
    bool const leased = lease && lease->hand == operation::Hand::Operator;
    m_leaseAction->setChecked(leased);
    m_lease->setVisible(leased);
}

QString OperatorPanes::NameOf(CDataId const& device, bool marksSimulated) const
{
    for (auto const& vessel : m_window.Devices().Vessels()) {
        for (auto const& listed : vessel.devices) {
            if (listed.id == device) {
                return marksSimulated && listed.simulated ? QObject::tr("%1 (simulated)").arg(listed.name)
                                                          : listed.name;
            }
        }
    }
    return {};
}

} // namespace qx5::cli
