// The bar at the bottom of the window that says how a line to a broker is and who commands the shown sonar.
#pragma once

#include "authority/lease.h"
#include "authority/shore_messages.h"

#include <QString>

#include <array>
#include <functional>
#include <string>

class QAction;
class QLabel;
class QMenu;
class QToolBar;

namespace vordal {
class MainWindow;
}

namespace qx5::cli {

/// "ada commands until 07:15:00 UTC; otto asks, to be answered by 07:14:30 UTC", as that person reads it.
QString LeaseText(authority::LeaseNews const& lease, std::string const& person);

/// What can be done with the lease of the shown sonar, in the bar and in a menu. Window thread; window and menu outlive
/// it.
class CommandBar
{
public:
    /// A line of the menu, with its key, and the word for it in the bar.
    struct Act
    {
        QString text;
        QString word;
    };
    /// In the order of authority::LeaseVerb.
    using Acts = std::array<Act, 4>;

    /// `name` is the bar's, by which the window remembers it; "takeLease", "giveLeaseBack", "grantLease" and
    /// "refuseLease" are those of its actions, NAME with "State" and "Lease" behind it those of its texts. `ask` is
    /// called with what the operator chooses.
    CommandBar(vordal::MainWindow& window, QMenu& menu, QString const& title, QString const& name, Acts const& acts,
               std::function<void(authority::LeaseVerb)> ask);
    CommandBar(CommandBar const&) = delete;
    CommandBar& operator=(CommandBar const&) = delete;

    /// The bar, and what it has in the menu.
    void SetShown(bool isShown);
    /// `tip` says more; what is not well is bold.
    void ShowState(QString const& text, QString const& tip, bool isWell);
    /// As it stands for that person, bold where somebody else commands. `isHeard`: what is asked comes to somebody;
    /// otherwise nothing can be.
    void ShowLease(QString const& text, authority::LeaseNews const& lease, std::string const& person, bool isHeard);
    /// There is no sonar, or nothing is known of its lease.
    void ShowNoLease();

private:
    QAction& ActionOf(authority::LeaseVerb verb) { return *m_actions[static_cast<std::size_t>(verb)]; }

    QToolBar* m_bar;
    QLabel* m_state;
    QLabel* m_lease;
    std::array<QAction*, 4> m_actions{};
};

} // namespace qx5::cli
