// The characters of a font of the toolkit, drawn once.
#pragma once

#include "picture/canvas.h"

class QFont;

namespace picture {

/// All printable characters of Latin 1, for pixels of that many to a point of the screen. Window thread.
GlyphSheet DrawGlyphs(QFont const& font, double pixelRatio);

} // namespace picture
