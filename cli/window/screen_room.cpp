// What a screen has for a window.
#include "screen_room.h"

#include <QScreen>
#include <QWidget>

namespace qx5::cli {

QSize RoomFor(QWidget const& window)
{
    return window.screen()->availableSize() - QSize(0, 2 * window.fontMetrics().lineSpacing());
}

} // namespace qx5::cli
