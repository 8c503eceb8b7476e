// The size of a view's widget, told to the view.
#include "reference_host/controls/view_size.h"

#include "reference_host/displays/display.h"

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
    if (auto* const widget = display.Widget()) {
        new SizeFollower(display, *widget);
        display.DeliverSize(0, widget->width(), widget->height());
    }
}

} // namespace vordal
