// A slider that moves nothing by itself: it tells its page what the operator does, and the page moves it.
#pragma once

#include <QPointer>
#include <QSlider>
#include <QString>

#include <functional>

class QLabel;

namespace qx5 {

/// What a scroll event was.
enum class ScrollKind : int
{
    LineLeft = 0,
    LineRight = 1,
    PageLeft = 2,
    PageRight = 3,
    ThumbReleased = 4,
    ThumbMoving = 5,
    ToLeftEnd = 6,
    ToRightEnd = 7,
    EndOfScrolling = 8, ///< the operator let go; comes once after each of the others, or after a row of them
};

/// A horizontal slider. Keys, trough, thumb and wheel each become scroll events; until the page sets a position, the
/// slider stays where it is. Limits are 0 to 100 at first. A wheel turned over a slider that has not the focus is left
/// to whatever lies below. Window thread.
class ScrollSlider : public QSlider
{
    Q_OBJECT

public:
    explicit ScrollSlider(QWidget* parent = nullptr);

    /// Tells the page of an event, as if the operator had caused it: a ScrollKind and, with ThumbMoving and
    /// ThumbReleased, a position, which is brought within the limits.
    Q_INVOKABLE void scroll(int kind, int position);

    /// What positions stand for, for whoever works the slider by values and not by eye: `valueAt` gives the value at a
    /// position, never less at a greater one; `value` the one that stands now, which may lie between two positions;
    /// `label` shows that one as a text. A function that is not given leaves the position to stand for itself.
    void SetScale(std::function<double(int position)> valueAt, std::function<double()> value, QLabel& label);
    double Value() const;
    QString ValueText() const;
    double ValueAt(int position) const;
    /// The position whose value is nearest.
    int PositionOf(double value) const;

Q_SIGNALS:
    /// `position` is where the thumb was pulled to; with kinds other than ThumbMoving and ThumbReleased it is where the
    /// slider stands.
    void Scrolled(qx5::ScrollKind kind, int position);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    /// Where a movement began that has not ended yet.
    enum class Gesture
    {
        None,
        Mouse,
        Key
    };

    void OnAction(int action);
    void Tell(ScrollKind kind, int position);
    /// Ends the movement; tells EndOfScrolling if anything was told since it began.
    void EndGesture();
    void ForgetGesture();

    Gesture m_gesture = Gesture::None;
    bool m_scrolled = false;
    std::function<double(int)> m_valueAt;
    std::function<double()> m_value;
    QPointer<QLabel> m_label;
    int m_wheelAngle = 0; ///< eighths of a degree that do not make a step yet
};

/// Where the event takes a slider that stands between its limits: a line is one step, a page `pageStep`.
/// EndOfScrolling, ThumbReleased and unknown kinds leave it where it is.
int PositionAfter(ScrollSlider const& slider, ScrollKind kind, int position, int pageStep = 1);

} // namespace qx5
