// The ground that title, banner and view stand on: hatched around the view while what that shows is old.
#include "view_ground.h"

#include "appearance.h"

#include <QEvent>
#include <QPainter>

namespace vordal {

void ViewGround::SetView(QWidget* view)
{
    if (m_view != nullptr) {
        m_view->removeEventFilter(this);
    }
    m_view = view;
    if (view != nullptr) {
        view->installEventFilter(this);
    }
    update();
}

void ViewGround::MarkOld(bool isOld)
{
    if (isOld == m_isOld) {
        return;
    }
    m_isOld = isOld;
    setAccessibleName(isOld ? tr("View, its values are old") : QString());
    update();
}

bool ViewGround::eventFilter(QObject* watched, QEvent* event)
{
    if (m_isOld && (event->type() == QEvent::Move || event->type() == QEvent::Resize)) {
        update();
    }
    return QWidget::eventFilter(watched, event);
}

void ViewGround::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    if (!m_isOld || m_view == nullptr) {
        return;
    }
    constexpr int width = 5;
    QPainter painter(this);
    auto const colour = SignalColour(palette(), Signal::Caution);
    QRegion const around = QRegion(m_view->geometry().adjusted(-width, -width, width, width)) - m_view->geometry();
    painter.setClipRegion(around);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QBrush(colour, Qt::BDiagPattern));
    painter.drawRect(around.boundingRect());
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colour, 2));
    painter.drawRect(around.boundingRect().adjusted(1, 1, -1, -1));
}

} // namespace vordal
