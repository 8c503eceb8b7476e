// What a screen has for a window.
#pragma once

class QSize;
class QWidget;

namespace qx5::cli {

/// What the window's screen has for its content, beside what a window manager puts around it. Window thread.
QSize RoomFor(QWidget const& window);

} // namespace qx5::cli
