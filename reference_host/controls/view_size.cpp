// The size of a view's widget, told to the view.
#include "reference_host/controls/view_size.h"

#include "reference_host/displays/display.h"

#include <QAbstractScrollArea>
#include <QEvent>
#include <QObject>
#include <QResizeEvent>
#include <QWidget>

namespace vordal {
namespace {

/// Goes with the widget that it follows, which the display's view owns.
class SizeFollower final : public QObject
{
public:
    SizeFollower(Display& display, QWidget& widget) : QObject(&widget), m_display(display)
    {
        widget.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Resize) {
            auto const size = static_cast<QResizeEvent const*>(event)->size();
            m_display.DeliverSize(0, size.width(), size.height());
        }
        return QObject::eventFilter(watched, event);
    }

private:
    Display& m_display;
};

} // namespace

void FollowWidgetSize(Display& display)
{
    auto* const widget = display.Widget();
    if (widget == nullptr) {
        return;
    }
    // Scroll bars take their place from what is shown.
    auto const* const area = qobject_cast<QAbstractScrollArea*>(widget);
    auto* const pane = area != nullptr ? area->viewport() : widget;
    new SizeFollower(display, *pane);
    // A pane takes its size when it is first shown.
    auto const size = pane->isVisible() ? pane->size() : widget->size();
    display.DeliverSize(0, size.width(), size.height());
}

} // namespace vordal
