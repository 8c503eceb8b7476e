// A slider that moves nothing by itself: how the toolkit's own actions become scroll events.
#include "ScrollSlider.h"

#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace qx5 {

namespace {

/// One notch of a common wheel, in eighths of a degree.
constexpr int wheelNotch = 120;

} // namespace

ScrollSlider::ScrollSlider(QWidget* parent) : QSlider(Qt::Horizontal, parent)
{
    setRange(0, 100);
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QAbstractSlider::actionTriggered, this, &ScrollSlider::OnAction);
}

void ScrollSlider::scroll(int kind, int position)
{
    if (kind >= static_cast<int>(ScrollKind::LineLeft) && kind <= static_cast<int>(ScrollKind::EndOfScrolling)) {
        Tell(static_cast<ScrollKind>(kind), std::clamp(position, minimum(), maximum()));
    }
}

void ScrollSlider::SetScale(std::function<double(int)> valueAt, std::function<double()> value, QLabel& label)
{
    m_valueAt = std::move(valueAt);
    m_value = std::move(value);
    m_label = &label;
}

double ScrollSlider::Value() const
{
    return m_value ? m_value() : ValueAt(value());
}

QString ScrollSlider::ValueText() const
{
    return m_label != nullptr ? m_label->text() : QString::number(value());
}

double ScrollSlider::ValueAt(int position) const
{
    return m_valueAt ? m_valueAt(position) : position;
}

int ScrollSlider::PositionOf(double wanted) const
{
    std::int64_t least = minimum();
    std::int64_t greatest = maximum();
    while (greatest - least > 1) {
        auto const middle = (least + greatest) / 2;
        (ValueAt(static_cast<int>(middle)) <= wanted ? least : greatest) = middle;
    }
    bool const isLeastNearer =
        wanted - ValueAt(static_cast<int>(least)) <= ValueAt(static_cast<int>(greatest)) - wanted;
    return static_cast<int>(isLeastNearer ? least : greatest);
}

void ScrollSlider::Tell(ScrollKind kind, int position)
{
    bool const pulled = kind == ScrollKind::ThumbMoving || kind == ScrollKind::ThumbReleased;
    Q_EMIT Scrolled(kind, pulled ? position : value());
}

void ScrollSlider::OnAction(int action)
{
    int const wanted = sliderPosition();
    // The toolkit has moved the thumb already; the page decides, so back it goes.
    setSliderPosition(value());
    m_scrolled = true;
    switch (action) {
    case SliderSingleStepSub:
        Tell(ScrollKind::LineLeft, wanted);
        break;
    case SliderSingleStepAdd:
        Tell(ScrollKind::LineRight, wanted);
        break;
    case SliderPageStepSub:
        Tell(ScrollKind::PageLeft, wanted);
        break;
    case SliderPageStepAdd:
        Tell(ScrollKind::PageRight, wanted);
        break;
    case SliderToMinimum:
        Tell(ScrollKind::ToLeftEnd, wanted);
        break;
    case SliderToMaximum:
        Tell(ScrollKind::ToRightEnd, wanted);
        break;
    case SliderMove:
        Tell(ScrollKind::ThumbMoving, wanted);
        break;
    default:
        m_scrolled = false;
        break;
    }
    if (m_gesture == Gesture::None) {
        EndGesture();
    }
}

void ScrollSlider::EndGesture()
{
    bool const scrolled = m_scrolled;
    ForgetGesture();
    if (scrolled) {
        Tell(ScrollKind::EndOfScrolling, value());
    }
}

void ScrollSlider::ForgetGesture()
{
    m_gesture = Gesture::None;
    m_scrolled = false;
}

void ScrollSlider::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        // A key that is still held down ends here.
        EndGesture();
        m_gesture = Gesture::Mouse;
    }
    QSlider::mousePressEvent(event);
}

void ScrollSlider::mouseReleaseEvent(QMouseEvent* event)
{
    bool const pulled = isSliderDown() && m_scrolled;
    QSlider::mouseReleaseEvent(event);
    if (event->button() != Qt::LeftButton || m_gesture != Gesture::Mouse) {
        return;
    }
    if (pulled) {
        Tell(ScrollKind::ThumbReleased, sliderPosition());
    }
    EndGesture();
}

void ScrollSlider::keyPressEvent(QKeyEvent* event)
{
    if (m_gesture == Gesture::None) {
        m_gesture = Gesture::Key;
    }
    QSlider::keyPressEvent(event);
    if (m_gesture == Gesture::Key && !m_scrolled) {
        // Not one of the slider's keys.
        m_gesture = Gesture::None;
    }
}

void ScrollSlider::keyReleaseEvent(QKeyEvent* event)
{
    QSlider::keyReleaseEvent(event);
    if (!event->isAutoRepeat() && m_gesture == Gesture::Key) {
        EndGesture();
    }
}

void ScrollSlider::focusOutEvent(QFocusEvent* event)
{
    QSlider::focusOutEvent(event);
    if (m_gesture == Gesture::Key) {
        EndGesture();
    }
}

void ScrollSlider::wheelEvent(QWheelEvent* event)
{
    if (!hasFocus()) {
        event->ignore();
        return;
    }
    QPoint const angle = event->angleDelta();
    m_wheelAngle += std::abs(angle.x()) > std::abs(angle.y()) ? -angle.x() : angle.y();
    int const notches = m_wheelAngle / wheelNotch;
    m_wheelAngle -= notches * wheelNotch;
    for (int i = 0; i < std::abs(notches); ++i) {
        Tell(notches > 0 ? ScrollKind::LineRight : ScrollKind::LineLeft, value());
    }
    if (notches != 0) {
        Tell(ScrollKind::EndOfScrolling, value());
    }
    event->accept();
}

void ScrollSlider::changeEvent(QEvent* event)
{
    QSlider::changeEvent(event);
    // Taken out of the operator's hand: what was not let go of is not sent.
    if (event->type() == QEvent::EnabledChange && !isEnabled()) {
        setSliderDown(false);
        ForgetGesture();
    }
}

void ScrollSlider::hideEvent(QHideEvent* event)
{
    ForgetGesture();
    QSlider::hideEvent(event);
}

int PositionAfter(ScrollSlider const& slider, ScrollKind kind, int position, int pageStep)
{
    std::int64_t const least = slider.minimum();
    std::int64_t const greatest = slider.maximum();
    std::int64_t const now = slider.value();
    auto const within = [=](std::int64_t wanted) {
        return static_cast<int>(std::min(std::max(wanted, least), greatest));
    };
    switch (kind) {
    case ScrollKind::LineLeft:
        return within(now - 1);
    case ScrollKind::LineRight:
        return within(now + 1);
    case ScrollKind::PageLeft:
        return within(now - pageStep);
    case ScrollKind::PageRight:
        return within(now + pageStep);
    case ScrollKind::ThumbMoving:
        return within(position);
    case ScrollKind::ToLeftEnd:
        return slider.minimum();
    case ScrollKind::ToRightEnd:
        return slider.maximum();
    case ScrollKind::ThumbReleased:
    case ScrollKind::EndOfScrolling:
        break;
    }
    return slider.value();
}

} // namespace qx5
