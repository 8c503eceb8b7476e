// The keys that work in the window: those of its actions as they are, and those that its lists and fields have.
#pragma once

#include <QDialog>
#include <QString>

#include <span>
#include <vector>

class QMainWindow;
class QStandardItemModel;

namespace qx5::cli {

class RowTable;

/// One line of the list. Texts are for people.
struct ShortcutRow
{
    QString keys;
    QString what;
    QString where; ///< the menu, or the kind of control that must have the focus

    bool operator==(ShortcutRow const&) const = default;
};

/// Keys that a kind of control has without an action.
struct ControlKeys
{
    char const* keys;
    char const* what;
    char const* where;
};
std::span<ControlKeys const> KeysOfControls();

/// Actions with keys in the order of the menus, then those that are in no menu, then keys without an action; of the
/// window as it is now.
std::vector<ShortcutRow> ShortcutsOf(QMainWindow const& window);

/// Shows them; made anew whenever it is opened. Window thread.
class ShortcutList final : public QDialog
{
public:
    explicit ShortcutList(QMainWindow& window);

protected:
    void showEvent(QShowEvent* event) override;

private:
    QMainWindow& m_window;
    QStandardItemModel* m_model;
    RowTable* m_table;
};

} // namespace qx5::cli
