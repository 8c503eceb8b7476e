// The bar at the bottom of the window that says how a line to a broker is and who commands the shown sonar.
#include "command_bar.h"

#include "operation/action_log.h"
#include "reference_host/controls/qt_text.h"
#include "reference_host/window/main_window.h"

#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QStyle>
#include <QToolBar>

#include <algorithm>
#include <utility>

namespace qx5::cli {

namespace {

using authority::LeaseVerb;

constexpr std::array leaseVerbs{LeaseVerb::Take, LeaseVerb::GiveBack, LeaseVerb::Grant, LeaseVerb::Refuse};
constexpr std::array<char const*, 4> actionNames{"takeLease", "giveLeaseBack", "grantLease", "refuseLease"};
// Of the state's text and the lease's that stay to be seen where there is not the room for both.
constexpr int leastOfState = 24;
constexpr int leastOfLease = 60;

/// A text of one line that gives way where there is not the room, its end first, and is whole for whoever has it read
/// aloud or copies it.
class BarText final : public QLabel
{
public:
    explicit BarText(int leastCharacters) : m_leastCharacters(leastCharacters) {}

    QSize minimumSizeHint() const override
    {
        auto const whole = QLabel::minimumSizeHint();
        auto const least = m_leastCharacters * fontMetrics().averageCharWidth() + 2 * margin();
        return {std::min(whole.width(), least), whole.height()};
    }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        auto const room = contentsRect().adjusted(margin(), 0, -margin(), 0);
        if (fontMetrics().horizontalAdvance(text()) <= room.width()) {
            QLabel::paintEvent(event);
            return;
        }
        QPainter painter(this);
        style()->drawItemText(&painter, room, Qt::AlignVCenter | Qt::AlignLeft, palette(), isEnabled(),
                              fontMetrics().elidedText(text(), Qt::ElideRight, room.width()), foregroundRole());
    }

private:
    int const m_leastCharacters;
};

QLabel* NewBarText(QString const& name, QString const& description, int leastCharacters, QSizePolicy::Policy policy)
{
    auto* const label = new BarText(leastCharacters);
    label->setObjectName(name);
    label->setAccessibleDescription(description);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setFocusPolicy(Qt::StrongFocus);
    label->setMargin(4);
    label->setSizePolicy(policy, QSizePolicy::Preferred);
    return label;
}

void ShowIn(QLabel& label, QString const& text, QString const& tip, bool isBold)
{
    if (auto font = label.font(); font.bold() != isBold) {
        font.setBold(isBold);
        label.setFont(font);
    }
    // What has not changed is not read aloud again.
    if (text != label.text()) {
        label.setText(text);
    }
    label.setToolTip(vordal::PlainToolTip(tip));
}

/// "07:15:00 UTC" of a vessel's time.
QString TimeOfDay(double utc)
{
    return QString::fromStdString(operation::IsoTime(utc)).mid(11, 8) + QStringLiteral(" UTC");
}

} // namespace

QString LeaseText(authority::LeaseNews const& lease, std::string const& person)
{
    if (lease.holder.empty()) {
        return QObject::tr("nobody commands");
    }
    auto text = lease.holder == person ? QObject::tr("you command")
                                       : QObject::tr("%1 commands").arg(QString::fromStdString(lease.holder));
    if (lease.until && *lease.until != 0.0) {
        text += QObject::tr(" until %1").arg(TimeOfDay(*lease.until));
    }
    if (!lease.asker.empty()) {
        text += lease.asker == person ? QObject::tr("; you ask, to be answered by %1").arg(TimeOfDay(lease.answerBy))
                                      : QObject::tr("; %1 asks, to be answered by %2")
                                            .arg(QString::fromStdString(lease.asker), TimeOfDay(lease.answerBy));
    }
    return text;
}

CommandBar::CommandBar(vordal::MainWindow& window, QMenu& menu, QString const& title, QString const& name,
                       Acts const& acts, std::function<void(LeaseVerb)> ask)
    : m_bar(window.AddBar(title, name)),
      m_state(NewBarText(name + QStringLiteral("State"), QObject::tr("How the line is, and how old what is shown"),
                         leastOfState, QSizePolicy::Expanding)),
      m_lease(NewBarText(name + QStringLiteral("Lease"), QObject::tr("Who commands the sonar"), leastOfLease,
                         QSizePolicy::Preferred))
{
    m_bar->addWidget(m_state);
    m_bar->addSeparator();
    m_bar->addWidget(m_lease);
    menu.addSeparator();
    for (auto const verb : leaseVerbs) {
        auto const at = static_cast<std::size_t>(verb);
        auto* const action = menu.addAction(acts[at].text);
        action->setIconText(acts[at].word);
        action->setObjectName(QString::fromLatin1(actionNames[at]));
        action->setToolTip(QString(acts[at].text).remove(QLatin1Char('&')));
        QObject::connect(action, &QAction::triggered, m_bar, [ask, verb] { ask(verb); });
        m_bar->addAction(action);
        m_actions[at] = action;
    }
    ShowNoLease();
}

void CommandBar::SetShown(bool isShown)
{
    m_bar->setVisible(isShown);
    for (auto* const action : m_actions) {
        action->setVisible(isShown);
    }
}

void CommandBar::ShowState(QString const& text, QString const& tip, bool isWell)
{
    ShowIn(*m_state, text, tip, !isWell);
}

void CommandBar::ShowLease(QString const& text, authority::LeaseNews const& lease, std::string const& person,
                           bool isHeard)
{
    bool const isMine = lease.holder == person;
    ShowIn(*m_lease, text, text, !isMine && !lease.holder.empty());
    bool const isAsking = lease.asker == person;
    bool const isAsked = isMine && !lease.asker.empty();
    // Who has it for a time keeps it for longer by taking it once more.
    ActionOf(LeaseVerb::Take).setEnabled(isHeard && !isAsking && !(isMine && !lease.until));
    // Who asks does not any more by giving back.
    ActionOf(LeaseVerb::GiveBack).setEnabled(isHeard && (isMine || isAsking));
    ActionOf(LeaseVerb::Grant).setEnabled(isHeard && isAsked);
    ActionOf(LeaseVerb::Refuse).setEnabled(isHeard && isAsked);
}

void CommandBar::ShowNoLease()
{
    ShowIn(*m_lease, {}, {}, false);
    for (auto* const action : m_actions) {
        action->setEnabled(false);
    }
}

} // namespace qx5::cli
