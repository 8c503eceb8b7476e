// How the operator's window looks by day and by night: palettes of our own on one style, so that it is the same
// everywhere.
#include "appearance.h"

#include <QApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

#include <algorithm>

namespace vordal {
namespace {

/// What the four light modes differ in.
struct Colours
{
    QRgb window;
    QRgb base; ///< of fields and lists
    QRgb alternate;
    QRgb button;
    QRgb text;
    QRgb disabled;
    QRgb highlight;
    QRgb highlightedText;
    QRgb link;
};

constexpr Colours darkest{0xFF0E1114, 0xFF07090B, 0xFF12161A, 0xFF1A2026, 0xFFB9C2CA,
                          0xFF66707A, 0xFF1D4F7A, 0xFFE6ECF1, 0xFF6DB3EE};
constexpr Colours dark{0xFF23282D, 0xFF191D21, 0xFF20252A, 0xFF30373E, 0xFFE3E8EC,
                       0xFF808A94, 0xFF1F6AA5, 0xFFFFFFFF, 0xFF7CC0F7};
constexpr Colours light{0xFFE2E5E8, 0xFFF4F5F6, 0xFFEAECEE, 0xFFD8DCE0, 0xFF15191D,
                        0xFF787F86, 0xFF1B5E94, 0xFFFFFFFF, 0xFF124C7A};
constexpr Colours lightest{0xFFF1F3F5, 0xFFFFFFFF, 0xFFF5F7F9, 0xFFE6E9EC, 0xFF0C0F12,
                           0xFF83898F, 0xFF1B6CB0, 0xFFFFFFFF, 0xFF0B5394};

Colours const& ColoursOf(int lightMode)
{
    static constexpr Colours const* byMode[]{&darkest, &dark, &light, &lightest};
    return *byMode[std::clamp(lightMode, 1, 4) - 1];
}

/// The style, with rows of lists that are easily hit, and outlines that are seen on dark ground, too: its own are
/// darker than the window.
class Style final : public QProxyStyle
{
public:
    Style() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

    QSize sizeFromContents(ContentsType type, QStyleOption const* option, QSize const& size,
                           QWidget const* widget) const override
    {
        constexpr int air = 4;
        QSize const natural = QProxyStyle::sizeFromContents(type, option, size, widget);
        return type == CT_ItemViewItem ? natural + QSize(0, air) : natural;
    }

    void drawPrimitive(PrimitiveElement element, QStyleOption const* option, QPainter* painter,
                       QWidget const* widget) const override
    {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        bool const isRound = element == PE_IndicatorRadioButton;
        if (!isRound && element != PE_IndicatorCheckBox && element != PE_FrameLineEdit) {
            return;
        }
        if (option->palette.color(QPalette::Window).lightness() >= 128) {
            return;
        }
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        QColor edge = option->palette.color(QPalette::WindowText);
        edge.setAlphaF((option->state & State_Enabled) != 0 ? 0.55F : 0.35F);
        painter->setPen(edge);
        painter->setBrush(Qt::NoBrush);
        auto const frame = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
        if (isRound) {
            auto const diameter = std::min(frame.width(), frame.height()) - 1;
            painter->drawEllipse(frame.center(), diameter / 2, diameter / 2);
        } else {
            painter->drawRoundedRect(frame, 2, 2);
        }
        painter->restore();
    }
};

} // namespace

bool IsDark(int lightMode)
{
    return lightMode <= 2;
}

QPalette PaletteOf(int lightMode)
{
    Colours const& colours = ColoursOf(lightMode);
    QColor const button(colours.button);
    QPalette palette(button, QColor(colours.window));
    palette.setColor(QPalette::Window, QColor(colours.window));
    palette.setColor(QPalette::Base, QColor(colours.base));
    palette.setColor(QPalette::AlternateBase, QColor(colours.alternate));
    palette.setColor(QPalette::Button, button);
    palette.setColor(QPalette::ToolTipBase, QColor(colours.base));
    for (auto const role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, QColor(colours.text));
        palette.setColor(QPalette::Disabled, role, QColor(colours.disabled));
    }
    palette.setColor(QPalette::BrightText, IsDark(lightMode) ? QColor(0xFF, 0x8A, 0x80) : QColor(0xB0, 0x1E, 0x1E));
    palette.setColor(QPalette::PlaceholderText, QColor(colours.disabled));
    palette.setColor(QPalette::Highlight, QColor(colours.highlight));
    palette.setColor(QPalette::HighlightedText, QColor(colours.highlightedText));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(colours.disabled));
    palette.setColor(QPalette::Link, QColor(colours.link));
    // The style draws edges and grooves from these.
    bool const isDark = IsDark(lightMode);
    palette.setColor(QPalette::Light, isDark ? button.lighter(135) : QColor(Qt::white));
    palette.setColor(QPalette::Midlight, isDark ? button.lighter(115) : button.lighter(104));
    palette.setColor(QPalette::Mid, isDark ? button.darker(125) : button.darker(130));
    palette.setColor(QPalette::Dark, isDark ? button.darker(160) : button.darker(165));
    palette.setColor(QPalette::Shadow, isDark ? QColor(Qt::black) : button.darker(300));
    return palette;
}

void WearLightMode(QApplication& application, int lightMode)
{
    if (application.property("vordalStyled").isNull()) {
        QApplication::setStyle(new Style); // the application's from here on
        application.setProperty("vordalStyled", true);
    }
    QApplication::setPalette(PaletteOf(lightMode));
}

QColor SignalColour(QPalette const& palette, Signal signal)
{
    bool const onDark = palette.color(QPalette::Base).lightness() < 128;
    switch (signal) {
    case Signal::Good:
        return onDark ? QColor(0x4C, 0xC3, 0x6A) : QColor(0x1B, 0x7F, 0x3B);
    case Signal::Caution:
        return onDark ? QColor(0xF2, 0xB1, 0x3C) : QColor(0x9A, 0x5B, 0x00);
    case Signal::Bad:
        return onDark ? QColor(0xFF, 0x6B, 0x62) : QColor(0xB3, 0x26, 0x1E);
    case Signal::Idle:
        break;
    }
    return palette.color(QPalette::Disabled, QPalette::WindowText);
}

} // namespace vordal
