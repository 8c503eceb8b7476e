// The time line of a recording that is played in the window: where it is, and every way to be elsewhere.
#pragma once

#include "cli/window/replay_control.h"

#include <QSlider>
#include <QTimer>

#include <cstdint>
#include <vector>

class QAction;
class QComboBox;
class QLabel;

namespace vordal {
class MainWindow;
}

namespace qx5::cli {

/// A slider in milliseconds from the start, with a stroke above it for each mark.
class TimeSlider final : public QSlider
{
public:
    explicit TimeSlider(QWidget* parent = nullptr);
    /// In milliseconds from the start.
    void SetMarks(std::vector<int> marks);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::vector<int> m_marks;
};

/// A bar at the bottom of the window and a menu with the same. Looks at how the replay stands some twenty times a
/// second, and keeps it going. Window thread; control and window outlive it.
class TimeLine
{
public:
    TimeLine(ReplayControl& control, vordal::MainWindow& window);
    TimeLine(TimeLine const&) = delete;
    TimeLine& operator=(TimeLine const&) = delete;

    /// Shows how it stands. Its timer calls it.
    void Look();

private:
    void MoveTo(int milliseconds);

    ReplayControl& m_control;
    QAction* m_play = nullptr;
    TimeSlider* m_slider;
    QComboBox* m_speed;
    QLabel* m_time;
    std::uint64_t m_start = 0;
    int m_length = 0;         ///< ms
    bool m_isShowing = false; ///< the slider is moved to where it is, by nobody's hand
    std::size_t m_marks = 0;
    int m_ticks = 0;
    QTimer m_timer;
};

} // namespace qx5::cli
