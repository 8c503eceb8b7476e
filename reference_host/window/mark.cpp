// Small marks beside texts of lists, which tell by their shape what colour tells, too.
#include "mark.h"

#include <QColor>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

namespace vordal {

QIcon DrawnMark(QPalette const& palette, QColor const& colour, qreal ratio,
                std::function<void(QPainter& painter, QColor const& colour)> const& draw)
{
    auto const drawn = [&](QColor const& in) {
        QPixmap pixmap(QSize(MarkSize, MarkSize) * ratio);
        pixmap.setDevicePixelRatio(ratio);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter, in);
        return pixmap;
    };
    QIcon icon(drawn(colour));
    icon.addPixmap(drawn(palette.color(QPalette::HighlightedText)), QIcon::Selected);
    return icon;
}

} // namespace vordal
