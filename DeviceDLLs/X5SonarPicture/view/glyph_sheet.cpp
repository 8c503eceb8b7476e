// Drawing a font's characters.
#include "glyph_sheet.h"

#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace picture {

GlyphSheet DrawGlyphs(QFont const& font, double pixelRatio)
{
    QFont sized = font;
    int const pixels = std::max(6, static_cast<int>(std::lround(QFontMetrics(font).height() * 0.78 * pixelRatio)));
    sized.setPixelSize(pixels);
    QFontMetrics const metrics(sized);
    GlyphSheet sheet;
    sheet.height = metrics.height();
    for (std::size_t code = 0x20; code < sheet.glyphs.size(); ++code) {
        if (code >= 0x7F && code < 0xA0) {
            continue;
        }
        QChar const character(static_cast<char16_t>(code));
        auto& glyph = sheet.glyphs[code];
        // Ink may reach beyond what the character takes of the line.
        constexpr int margin = 2;
        glyph.advance = metrics.horizontalAdvance(character);
        glyph.left = -margin;
        glyph.width = glyph.advance + 2 * margin;
        glyph.first = sheet.cover.size();
        QImage image(glyph.width, sheet.height, QImage::Format_Grayscale8);
        image.fill(Qt::black);
        QPainter painter(&image);
        painter.setFont(sized);
        painter.setPen(Qt::white);
        painter.drawText(margin, metrics.ascent(), QString(character));
        painter.end();
        for (int row = 0; row < image.height(); ++row) {
            auto const* const line = image.constScanLine(row);
            sheet.cover.insert(sheet.cover.end(), line, line + image.width());
        }
    }
    return sheet;
}

} // namespace picture
