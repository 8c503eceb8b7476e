// The keys that work in the window: those of its actions as they are, and those that its lists and fields have.
#include "shortcut_list.h"

#include "manual_window.h"
#include "row_table.h"
#include "screen_room.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>
#include <QStandardItemModel>
#include <QVBoxLayout>

#include <algorithm>

namespace qx5::cli {

namespace {

constexpr ControlKeys keysOfControls[]{
    {"Tab, Shift+Tab", "The next control, the one before", "Everywhere"},
    {"Space", "Presses it, switches it on or off", "Buttons and boxes"},
    {"Left, Right", "Moves by a step; what it comes to is sent when the key is let go", "Sliders"},
    {"PgUp, PgDown", "Moves by a page", "Sliders"},
    {"Home, End", "Moves to the least, to the greatest value", "Sliders"},
    {"Up, Down", "Chooses the sonar before, the next one", "Devices"},
    {"Home, End", "Chooses the first, the last sonar", "Devices"},
    {"Ctrl+A", "Selects all", "Lists and fields"},
    {"Ctrl+C", "Copies what is selected", "Lists and fields"},
    {"Ctrl+Z, Ctrl+Shift+Z", "Undoes, does again what was typed", "Fields"},
};

QString WithoutMark(QString const& text)
{
    // The key of a menu's line is marked by one, a character of its own is written as two.
    QString plain;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('&') && ++i == text.size()) {
            break;
        }
        plain += text[i];
    }
    return plain.remove(QChar(0x2026));
}

QString KeysOf(QList<QKeySequence> const& all)
{
    QStringList texts;
    for (QKeySequence const& keys : all) {
        texts += keys.toString(QKeySequence::NativeText);
    }
    return texts.join(QStringLiteral(", "));
}

/// The nearest that is named of those that it lies in, within the window.
QString PlaceOf(QObject const* object, QMainWindow const& window)
{
    for (; object != nullptr && object != &window; object = object->parent()) {
        auto const* const widget = qobject_cast<QWidget const*>(object);
        if (widget == nullptr) {
            continue;
        }
        auto const name = widget->accessibleName().isEmpty() ? widget->windowTitle() : widget->accessibleName();
        if (!name.isEmpty()) {
            return name;
        }
    }
    return QObject::tr("Everywhere");
}

class Collector
{
public:
    void TakeMenu(QList<QAction*> const& actions, QString const& where)
    {
        for (auto const* const action : actions) {
            auto const text = WithoutMark(action->text());
            if (auto const* const menu = action->menu()) {
                TakeMenu(menu->actions(), where.isEmpty() ? text : where + QStringLiteral(" \u2013 ") + text);
            } else {
                Take(*action, where);
            }
        }
    }
    void Take(QAction const& action, QString const& where)
    {
        if (action.shortcuts().isEmpty() || action.property(listedByItself).toBool() ||
            std::find(m_taken.begin(), m_taken.end(), &action) != m_taken.end()) {
            return;
        }
        m_taken.push_back(&action);
        rows.push_back({KeysOf(action.shortcuts()), WithoutMark(action.text()), where});
    }

    std::vector<ShortcutRow> rows;

private:
    std::vector<QAction const*> m_taken;
};

} // namespace

std::span<ControlKeys const> KeysOfControls()
{
    return keysOfControls;
}

std::vector<ShortcutRow> ShortcutsOf(QMainWindow const& window)
{
    Collector collector;
    // What menus change when they open is changed by nobody who reads the list.
    collector.TakeMenu(window.menuWidget() != nullptr ? window.menuWidget()->actions() : QList<QAction*>(), {});
    for (auto const* const action : window.findChildren<QAction*>()) {
        collector.Take(*action, PlaceOf(action->parent(), window));
    }
    for (auto const* const shortcut : window.findChildren<QShortcut*>()) {
        collector.rows.push_back(
            {KeysOf(shortcut->keys()), shortcut->whatsThis(), PlaceOf(shortcut->parent(), window)});
    }
    for (auto const& [keys, what] : ManualKeys()) {
        collector.rows.push_back({QString::fromLatin1(keys), QObject::tr(what), QObject::tr("Manual")});
    }
    for (auto const& [keys, what, where] : keysOfControls) {
        collector.rows.push_back({QString::fromLatin1(keys), QObject::tr(what), QObject::tr(where)});
    }
    return std::move(collector.rows);
}

ShortcutList::ShortcutList(QMainWindow& window)
    : QDialog(&window), m_window(window), m_model(new QStandardItemModel(0, 3, this)), m_table(new RowTable(this))
{
    setObjectName(QStringLiteral("shortcutList"));
    setWindowTitle(tr("Shortcuts"));
    m_model->setHorizontalHeaderLabels({tr("Keys"), tr("What they do"), tr("Where")});
    m_table->setObjectName(QStringLiteral("shortcuts"));
    m_table->setAccessibleName(tr("Shortcuts"));
    m_table->setModel(m_model);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const column = new QVBoxLayout(this);
    column->addWidget(m_table, 1);
    column->addWidget(buttons);
    QSize const wanted(fontMetrics().averageCharWidth() * 150, fontMetrics().lineSpacing() * 36);
    resize(wanted.boundedTo(RoomFor(*this)));
}

void ShortcutList::showEvent(QShowEvent* event)
{
    m_model->removeRows(0, m_model->rowCount());
    for (auto const& [keys, what, where] : ShortcutsOf(m_window)) {
        m_model->appendRow({new QStandardItem(keys), new QStandardItem(what), new QStandardItem(where)});
    }
    m_table->resizeColumnsToContents();
    m_table->setFocus();
    QDialog::showEvent(event);
}

} // namespace qx5::cli
