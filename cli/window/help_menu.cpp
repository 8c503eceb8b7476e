// The Help menu of the operator's window: manual, shortcuts, what program this is.
#include "help_menu.h"

#include "about_window.h"
#include "manual_window.h"
#include "shortcut_list.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <utility>

namespace qx5::cli {

namespace {

/// The window's only one of its kind, made when it is not there yet.
template <typename Dialog, typename... Arguments>
Dialog& OnlyOne(QMainWindow& window, Arguments&&... arguments)
{
    for (auto* const child : window.children()) {
        if (auto* const dialog = dynamic_cast<Dialog*>(child)) {
            return *dialog;
        }
    }
    return *new Dialog(std::forward<Arguments>(arguments)...);
}

void BringUp(QWidget& dialog)
{
    dialog.show();
    dialog.raise();
    dialog.activateWindow();
}

} // namespace

void AddHelpMenu(QMainWindow& window, HelpFacts facts)
{
    auto* const menu = window.menuBar()->addMenu(QObject::tr("&Help"));
    auto* const manual = menu->addAction(QObject::tr("&Manual"));
    manual->setObjectName(QStringLiteral("manualAction"));
    manual->setShortcut(QKeySequence(Qt::Key_F1));
    QObject::connect(manual, &QAction::triggered, &window,
                     [&window] { BringUp(OnlyOne<ManualWindow>(window, DocumentsFolder(), &window)); });
    auto* const shortcuts = menu->addAction(QObject::tr("&Shortcuts"));
    shortcuts->setObjectName(QStringLiteral("shortcutsAction"));
    QObject::connect(shortcuts, &QAction::triggered, &window,
                     [&window] { BringUp(OnlyOne<ShortcutList>(window, window)); });
    menu->addSeparator();
    auto* const about = menu->addAction(QObject::tr("&About"));
    about->setObjectName(QStringLiteral("aboutAction"));
    QObject::connect(about, &QAction::triggered, &window, [&window, facts = std::move(facts)] {
        OnlyOne<AboutWindow>(window, &window)
            .Show(facts.program, facts.plugIns ? facts.plugIns() : std::vector<Fact>());
    });
}

} // namespace qx5::cli
