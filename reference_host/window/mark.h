// Small marks beside texts of lists, which tell by their shape what colour tells, too.
#pragma once

#include <QIcon>

#include <functional>

class QColor;
class QPainter;
class QPalette;

namespace vordal {

/// Width and height, in pixels that do not depend on the display's scale.
constexpr int MarkSize = 12;

/// What `draw` draws in that colour, and on a selected row in that of its text. `ratio` is the display's.
QIcon DrawnMark(QPalette const& palette, QColor const& colour, qreal ratio,
                std::function<void(QPainter& painter, QColor const& colour)> const& draw);

} // namespace vordal
