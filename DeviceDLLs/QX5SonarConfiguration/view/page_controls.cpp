// Small things that all pages do with their controls.
#include "page_controls.h"

#include <QComboBox>
#include <QEvent>
#include <QFontMetrics>
#include <QLabel>
#include <QSignalBlocker>
#include <QStringList>

namespace qx5 {

namespace {

/// Keeps wheel events from a control that has not the focus.
class WheelFilter : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        auto const* const control = qobject_cast<QWidget*>(watched);
        if (event->type() != QEvent::Wheel || control == nullptr || control->hasFocus()) {
            return false;
        }
        event->ignore();
        return true;
    }
};

} // namespace

void FillList(QComboBox& list, QString const& commaSeparated)
{
    QSignalBlocker const quiet(&list);
    list.clear();
    list.addItems(commaSeparated.split(QLatin1Char(',')));
    list.setCurrentIndex(-1);
}

void LeaveWheelToPage(QComboBox& list)
{
    // Otherwise the wheel itself would bring the focus.
    list.setFocusPolicy(Qt::StrongFocus);
    list.installEventFilter(new WheelFilter(&list));
}

void LockByTracker(QWidget& control, bool locked)
{
    control.setEnabled(!locked);
    QString const reason = locked ? QStringLiteral("The tracker sets this") : QString();
    control.setToolTip(reason);
    control.setAccessibleDescription(reason);
}

void ReserveWidth(QLabel& label, QString const& widest)
{
    label.setMinimumWidth(label.fontMetrics().horizontalAdvance(widest));
}

} // namespace qx5
