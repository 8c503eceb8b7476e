// The menu of presets in the window, and its dialogs.
#pragma once

#include "preset_work.h"

#include <QPointer>

#include <vector>

class QMenu;

namespace vordal {
class MainWindow;
}

namespace qx5::cli {

class PresetDialog;

/// Window thread; session and window outlive it. Dialogs that are open close with it.
class PresetMenu
{
public:
    PresetMenu(WindowSession& session, vordal::MainWindow& window);
    PresetMenu(PresetMenu const&) = delete;
    PresetMenu& operator=(PresetMenu const&) = delete;
    ~PresetMenu();

private:
    /// Shows the dialog of that type, made by `make` unless it is open already.
    template <typename Dialog, typename Make>
    void Open(Make const& make);

    PresetWork m_work;
    vordal::MainWindow& m_window;
    std::vector<QPointer<PresetDialog>> m_dialogs;
};

} // namespace qx5::cli
