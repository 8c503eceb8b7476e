// How the operator's window looks by day and by night: palettes of our own on one style, so that it is the same
// everywhere.
#include "appearance.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QPushButton>
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
                          0xFF727C86, 0xFF1D4F7A, 0xFFE6ECF1, 0xFF6DB3EE};
constexpr Colours dark{0xFF23282D, 0xFF191D21, 0xFF20252A, 0xFF30373E, 0xFFE3E8EC,
                       0xFF949EA8, 0xFF2276B8, 0xFFFFFFFF, 0xFF7CC0F7};
constexpr Colours light{0xFFE2E5E8, 0xFFF4F5F6, 0xFFEAECEE, 0xFFD8DCE0, 0xFF15191D,
                        0xFF6A7178, 0xFF1B5E94, 0xFFFFFFFF, 0xFF124C7A};
constexpr Colours lightest{0xFFF1F3F5, 0xFFFFFFFF, 0xFFF5F7F9, 0xFFE6E9EC, 0xFF0C0F12,
                           0xFF757B81, 0xFF1B6CB0, 0xFFFFFFFF, 0xFF0B5394};

Colours const& ColoursOf(int lightMode)
{
    static constexpr Colours const* byMode[]{&darkest, &dark, &light, &lightest};
    return *byMode[std::clamp(lightMode, 1, 4) - 1];
}

/// A colour between two, `part` of the way from the first to the second.
QColor Between(QColor const& from, QColor const& to, double part)
{
    auto const mixed = [part](float a, float b) { return static_cast<float>(a + (b - a) * part); };
    return QColor::fromRgbF(mixed(from.redF(), to.redF()), mixed(from.greenF(), to.greenF()),
                            mixed(from.blueF(), to.blueF()));
}

/// Stands out from every ground of the palette: what has the focus, what is switched on.
QColor AccentOf(QPalette const& palette)
{
    return palette.color(QPalette::Active, QPalette::Link);
}

/// Reads well on the accent.
QColor OnAccent(QPalette const& palette)
{
    return palette.color(QPalette::Active, QPalette::Window).lightness() < 128
               ? palette.color(QPalette::Active, QPalette::Base)
               : QColor(Qt::white);
}

bool IsIn(QStyleOption const& option, QStyle::StateFlag state)
{
    return (option.state & state) != 0;
}

void DrawFocus(QPainter& painter, QRect const& around, QColor const& colour)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(around).adjusted(1, 1, -1, -1), 3, 3);
    painter.restore();
}

bool IsCheckable(QWidget const* widget)
{
    auto const* const button = qobject_cast<QPushButton const*>(widget);
    return button != nullptr && button->isCheckable();
}

/// The style, with rows of lists that are easily hit, outlines that are seen on dark ground, too (its own are darker
/// than the window), a focus that is always seen, buttons that are on or off at a glance, and sliders that look like
/// less when they are locked.
class Style final : public QProxyStyle
{
public:
    Style() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

    QSize sizeFromContents(ContentsType type, QStyleOption const* option, QSize const& size,
                           QWidget const* widget) const override
    {
        constexpr int air = 4;
        QSize const natural = QProxyStyle::sizeFromContents(type, option, size, widget);
        if (type == CT_PushButton && IsCheckable(widget)) {
            return natural + QSize(2 * markRoom, 0);
        }
        return type == CT_ItemViewItem ? natural + QSize(0, air) : natural;
    }

    void polish(QWidget* widget) override
    {
        QProxyStyle::polish(widget);
        if (qobject_cast<QAbstractScrollArea*>(widget) != nullptr) {
            widget->installEventFilter(this);
        }
    }
    void unpolish(QWidget* widget) override
    {
        widget->removeEventFilter(this);
        QProxyStyle::unpolish(widget);
    }
    /// The frame of a list shows the focus, and is not drawn anew by itself when it comes and goes.
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
            if (auto* const widget = qobject_cast<QWidget*>(watched)) {
                widget->update();
            }
        }
        return QProxyStyle::eventFilter(watched, event);
    }

    void drawPrimitive(PrimitiveElement element, QStyleOption const* option, QPainter* painter,
                       QWidget const* widget) const override
    {
        if (element == PE_FrameFocusRect) {
            // Of a push button it is drawn around the whole of it.
            if (qobject_cast<QPushButton const*>(widget) == nullptr) {
                DrawFocus(*painter, option->rect, AccentOf(option->palette));
            }
            return;
        }
        if (element == PE_PanelButtonCommand && IsCheckable(widget) && IsIn(*option, State_On)) {
            painter->save();
            painter->setRenderHint(QPainter::Antialiasing);
            auto const accent = AccentOf(option->palette);
            painter->setPen(Qt::NoPen);
            painter->setBrush(IsIn(*option, State_Enabled)
                                  ? accent
                                  : Between(option->palette.color(QPalette::Active, QPalette::Button), accent, 0.5));
            painter->drawRoundedRect(QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
            painter->restore();
            return;
        }
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        bool const isRound = element == PE_IndicatorRadioButton;
        if (!isRound && element != PE_IndicatorCheckBox && element != PE_FrameLineEdit) {
            return;
        }
        if (element == PE_FrameLineEdit && IsIn(*option, State_HasFocus)) {
            DrawFocus(*painter, option->rect, AccentOf(option->palette));
            return;
        }
        if (option->palette.color(QPalette::Window).lightness() >= 128) {
            return;
        }
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        QColor edge = option->palette.color(QPalette::WindowText);
        edge.setAlphaF(IsIn(*option, State_Enabled) ? 0.55F : 0.35F);
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

    void drawControl(ControlElement element, QStyleOption const* option, QPainter* painter,
                     QWidget const* widget) const override
    {
        auto const* const button = qstyleoption_cast<QStyleOptionButton const*>(option);
        if (element == CE_PushButtonLabel && button != nullptr && IsCheckable(widget) && IsIn(*option, State_On)) {
            QStyleOptionButton marked(*button);
            marked.palette.setColor(QPalette::ButtonText, OnAccent(option->palette));
            QProxyStyle::drawControl(element, &marked, painter, widget);
            DrawMark(*painter, option->rect, OnAccent(option->palette));
            return;
        }
        QProxyStyle::drawControl(element, option, painter, widget);
        if ((element == CE_ShapedFrame || element == CE_PushButton) && IsIn(*option, State_HasFocus)) {
            bool const isOnAccent = IsCheckable(widget) && IsIn(*option, State_On);
            DrawFocus(*painter, option->rect, isOnAccent ? OnAccent(option->palette) : AccentOf(option->palette));
        }
    }

    void drawComplexControl(ComplexControl control, QStyleOptionComplex const* option, QPainter* painter,
                            QWidget const* widget) const override
    {
        auto const* const slider = qstyleoption_cast<QStyleOptionSlider const*>(option);
        if (control == CC_Slider && slider != nullptr && slider->orientation == Qt::Horizontal) {
            DrawSlider(*slider, *painter, widget);
            return;
        }
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        if ((control == CC_ComboBox || control == CC_ToolButton) && IsIn(*option, State_HasFocus)) {
            DrawFocus(*painter, option->rect, AccentOf(option->palette));
        }
    }

private:
    static constexpr int markRoom = 14;

    /// The tick of a button that is on.
    static void DrawMark(QPainter& painter, QRect const& button, QColor const& colour)
    {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(colour, 2.5));
        QPointF const middle(button.left() + markRoom, button.center().y() + 0.5);
        QPointF const tick[]{middle + QPointF(-4.5, 0), middle + QPointF(-1.5, 3.5), middle + QPointF(4.5, -4)};
        painter.drawPolyline(tick, 3);
        painter.restore();
    }

    void DrawSlider(QStyleOptionSlider const& option, QPainter& painter, QWidget const* widget) const
    {
        bool const isUsable = IsIn(option, State_Enabled);
        auto const& palette = option.palette;
        auto const ground = palette.color(QPalette::Active, QPalette::Window);
        auto const ink = palette.color(QPalette::Active, QPalette::WindowText);
        auto const handle = QRectF(subControlRect(CC_Slider, &option, SC_SliderHandle, widget));
        auto const whole = QRectF(subControlRect(CC_Slider, &option, SC_SliderGroove, widget));
        constexpr double thickness = 4.0;
        QRectF const groove(whole.left() + 2, whole.center().y() - thickness / 2, whole.width() - 4, thickness);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Between(ground, ink, isUsable ? 0.45 : 0.2));
        painter.drawRoundedRect(groove, thickness / 2, thickness / 2);
        double const radius = std::min(handle.width(), handle.height()) / 2 - 1;
        if (isUsable) {
            QRectF done(groove);
            (option.upsideDown ? done.setLeft(handle.center().x()) : done.setRight(handle.center().x()));
            painter.setBrush(AccentOf(palette));
            painter.drawRoundedRect(done, thickness / 2, thickness / 2);
            painter.setBrush(IsIn(option, State_Sunken) ? AccentOf(palette) : ink);
            painter.drawEllipse(handle.center(), radius, radius);
        } else {
            // A ring of little weight: it shows where the slider stands, and does not invite a hand.
            painter.setBrush(ground);
            painter.setPen(QPen(Between(ground, ink, 0.35), 1));
            painter.drawEllipse(handle.center(), radius - 1, radius - 1);
        }
        painter.restore();
        if (IsIn(option, State_HasFocus)) {
            DrawFocus(painter, option.rect, AccentOf(palette));
        }
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
