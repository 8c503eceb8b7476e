// The menu of presets in the window, and its dialogs.
#include "preset_menu.h"

#include "compare_presets_dialog.h"
#include "load_preset_dialog.h"
#include "manage_presets_dialog.h"
#include "save_preset_dialog.h"

#include "reference_host/window/main_window.h"

#include <QAction>
#include <QMenu>

#include <algorithm>

namespace qx5::cli {

PresetMenu::PresetMenu(WindowSession& session, vordal::MainWindow& window)
    : m_work(session, window.Devices()), m_window(window)
{
    auto* const menu = window.AddMenu(QObject::tr("P&resets"));
    menu->setToolTipsVisible(true);
    auto const add = [&](QString const& text, char const* name, QString const& tip, auto open) {
        auto* const action = menu->addAction(text);
        action->setObjectName(QString::fromLatin1(name));
        action->setToolTip(tip);
        action->setStatusTip(tip);
        QObject::connect(action, &QAction::triggered, menu, open);
    };
    add(QObject::tr("&Save settings as\u2026"), "savePresetAction",
        QObject::tr("Keeps the present settings of the sonar under a name"), [this] {
            Open<SavePresetDialog>([this] {
                return new SavePresetDialog(
                    m_work, m_window.ShownDevice(),
                    [&window = m_window](QString const& line) { window.ShowLine(line); }, &m_window);
            });
        });
    add(QObject::tr("&Load\u2026"), "loadPresetAction", QObject::tr("Gives a sonar the settings of a preset"), [this] {
        Open<LoadPresetDialog>([this] { return new LoadPresetDialog(m_work, m_window.ShownDevice(), &m_window); });
    });
    add(QObject::tr("&Compare\u2026"), "comparePresetsAction", QObject::tr("Compares presets and sonars"), [this] {
        Open<ComparePresetsDialog>(
            [this] { return new ComparePresetsDialog(m_work, m_window.ShownDevice(), &m_window); });
    });
    add(QObject::tr("&Manage\u2026"), "managePresetsAction",
        QObject::tr("Shows, renames, removes, exports and imports the presets of the project"),
        [this] { Open<ManagePresetsDialog>([this] { return new ManagePresetsDialog(m_work, &m_window); }); });
}

PresetMenu::~PresetMenu()
{
    for (auto const& dialog : m_dialogs) {
        delete dialog;
    }
}

template <typename Dialog, typename Make>
void PresetMenu::Open(Make const& make)
{
    std::erase_if(m_dialogs, [](auto const& dialog) { return dialog.isNull(); });
    auto const open = std::find_if(m_dialogs.begin(), m_dialogs.end(), [](auto const& dialog) {
        return dialog->isVisible() && dynamic_cast<Dialog const*>(dialog.data()) != nullptr;
    });
    PresetDialog* dialog = nullptr;
    if (open != m_dialogs.end()) {
        dialog = *open;
    } else {
        dialog = make();
        dialog->SetChanged([this] {
            for (auto const& each : m_dialogs) {
                if (each) {
                    each->PresetsChanged();
                }
            }
        });
        m_dialogs.emplace_back(dialog);
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

} // namespace qx5::cli
