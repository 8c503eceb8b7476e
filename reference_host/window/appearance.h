// How the operator's window looks by day and by night: palettes of our own on one style, so that it is the same
// everywhere.
#pragma once

#include <QColor>
#include <QPalette>

class QApplication;

namespace vordal {

/// The host's light modes 1 and 2 are dark, 3 and 4 light; a number beyond them counts as the nearest.
bool IsDark(int lightMode);

/// The colours of a light mode. Contrast of text to its ground is at least 7:1, of disabled text at least 3:1.
QPalette PaletteOf(int lightMode);

/// Gives the application its style and the palette of that mode. Window thread.
void WearLightMode(QApplication& application, int lightMode);

/// Colours that carry a meaning; each reads well on the ground of the palette given.
enum class Signal
{
    Good,    ///< in order
    Caution, ///< under way, or trying again
    Bad,     ///< broken
    Idle,    ///< not in use
};
QColor SignalColour(QPalette const& palette, Signal signal);

} // namespace vordal
