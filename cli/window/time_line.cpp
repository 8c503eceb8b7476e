// The time line of a recording that is played in the window.
#include "time_line.h"

#include "recording/recording_time.h"
#include "reference_host/window/appearance.h"
#include "reference_host/window/main_window.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QStatusBar>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QToolBar>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace qx5::cli {

namespace {

constexpr std::chrono::milliseconds tickEvery{20};
constexpr int ticksForEachLook = 3;
constexpr std::uint64_t millisecond = 1'000'000;
constexpr int secondStep = 1'000;
constexpr int pageOfSteps = 10;
constexpr double speeds[]{0.1, 0.25, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 50.0, 100.0};
constexpr int usualSpeed = 3;

/// "2026-11-22 23:30:00.123 UTC"
QString TimeText(std::uint64_t time)
{
    // Of nanoseconds a clock on the wall shows three digits.
    auto text = QString::fromStdString(recording::IsoTime(time)).left(23);
    return text.replace(QLatin1Char('T'), QLatin1Char(' ')) + QStringLiteral(" UTC");
}

} // namespace

TimeSlider::TimeSlider(QWidget* parent) : QSlider(Qt::Horizontal, parent)
{
    setObjectName(QStringLiteral("timeSlider"));
    setAccessibleName(QObject::tr("Time in the recording"));
    setToolTip(QObject::tr("Arrow keys move by a second, page keys by ten; Home and End lead to either end"));
}

void TimeSlider::SetMarks(std::vector<int> marks)
{
    m_marks = std::move(marks);
    update();
}

void TimeSlider::paintEvent(QPaintEvent* event)
{
    QSlider::paintEvent(event);
    QStyleOptionSlider option;
    initStyleOption(&option);
    auto const groove = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, this);
    auto const handle = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
    QPainter painter(this);
    painter.setPen(QPen(vordal::SignalColour(palette(), vordal::Signal::Caution), 2));
    for (int const mark : m_marks) {
        auto const x = groove.left() + handle.width() / 2 +
                       QStyle::sliderPositionFromValue(minimum(), maximum(), mark, groove.width() - handle.width());
        painter.drawLine(x, 0, x, height() / 3);
    }
}

TimeLine::TimeLine(ReplayControl& control, vordal::MainWindow& window)
    : m_control(control), m_slider(new TimeSlider), m_speed(new QComboBox), m_time(new QLabel)
{
    auto const status = control.Status();
    m_start = status.start;
    m_length = static_cast<int>(std::min<std::uint64_t>((status.end - status.start) / millisecond, 0x7FFFFFFF));

    auto* const bar = window.AddBar(QObject::tr("Time line"), QStringLiteral("timeLine"));
    auto* const menu = window.AddMenu(QObject::tr("&Replay"));
    auto const add = [&](QString const& text, QString const& shortText, char const* name, char const* shortcut,
                         bool isOnBar, auto act) {
        auto* const action = menu->addAction(text);
        action->setIconText(shortText);
        action->setObjectName(QString::fromLatin1(name));
        action->setShortcut(QKeySequence(QString::fromLatin1(shortcut)));
        action->setToolTip(text.mid(0).remove(QLatin1Char('&')) + QStringLiteral(" (") +
                           action->shortcut().toString(QKeySequence::NativeText) + QLatin1Char(')'));
        QObject::connect(action, &QAction::triggered, bar, act);
        if (isOnBar) {
            bar->addAction(action);
        }
        return action;
    };
    using Kinds = std::vector<recording::RecordedKind const*>;
    auto const requests = Kinds{&recording::kinds::Requests};
    auto const marks = Kinds{&recording::kinds::Marks};
    add(QObject::tr("&Previous request"), QObject::tr("\u25c2 Request"), "previousRequest", "Ctrl+Shift+J", true,
        [this, requests] { m_control.MoveToPrevious(requests); });
    m_play = add(QObject::tr("P&lay"), QStringLiteral("\u25b6"), "playReplay", "Ctrl+P", true,
                 [this] { m_control.Status().isPlaying ? m_control.Pause() : m_control.Play(); });
    add(QObject::tr("&Step by one record"), QStringLiteral("\u25b6|"), "stepReplay", "Ctrl+T", true,
        [this] { m_control.Step(); });
    add(QObject::tr("&Next request"), QObject::tr("Request \u25b8"), "nextRequest", "Ctrl+J", true,
        [this, requests] { m_control.MoveToNext(requests); });
    menu->addSeparator();
    add(QObject::tr("Previous &mark"), QObject::tr("\u25c2 Mark"), "previousMark", "Ctrl+Shift+K", true,
        [this, marks] { m_control.MoveToPrevious(marks); });
    add(QObject::tr("Next m&ark"), QObject::tr("Mark \u25b8"), "nextMark", "Ctrl+K", true,
        [this, marks] { m_control.MoveToNext(marks); });

    for (double const speed : speeds) {
        m_speed->addItem(QStringLiteral("\u00d7") + QString::number(speed), speed);
    }
    m_speed->setCurrentIndex(usualSpeed);
    m_speed->setObjectName(QStringLiteral("replaySpeed"));
    m_speed->setAccessibleName(QObject::tr("Speed of the replay"));
    QObject::connect(m_speed, &QComboBox::currentIndexChanged, bar,
                     [this] { m_control.SetSpeed(m_speed->currentData().toDouble()); });
    bar->addWidget(m_speed);

    m_slider->setRange(0, m_length);
    m_slider->setSingleStep(secondStep);
    m_slider->setPageStep(pageOfSteps * secondStep);
    QObject::connect(m_slider, &QSlider::valueChanged, bar, [this](int value) { MoveTo(value); });
    bar->addWidget(m_slider);

    m_time->setObjectName(QStringLiteral("replayTime"));
    m_time->setAccessibleDescription(QObject::tr("Time that is shown"));
    m_time->setTextFormat(Qt::PlainText);
    m_time->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_time->setFocusPolicy(Qt::StrongFocus);
    m_time->setMinimumWidth(m_time->fontMetrics().horizontalAdvance(TimeText(m_start)) + 8);
    bar->addWidget(m_time);

    auto* const word = new QLabel(QObject::tr("Replay: nothing here reaches a sonar"));
    word->setObjectName(QStringLiteral("replayWord"));
    word->setFrameShape(QFrame::Box);
    word->setMargin(2);
    window.statusBar()->addPermanentWidget(word);

    QObject::connect(&m_timer, &QTimer::timeout, bar, [this] {
        m_control.Tick();
        if (m_ticks++ % ticksForEachLook == 0) {
            Look();
        }
    });
    m_timer.start(tickEvery);
    Look();
}

void TimeLine::MoveTo(int milliseconds)
{
    if (!m_isShowing) {
        m_time->setText(TimeText(m_start + static_cast<std::uint64_t>(milliseconds) * millisecond));
        m_control.MoveTo(m_start + static_cast<std::uint64_t>(milliseconds) * millisecond);
    }
}

void TimeLine::Look()
{
    auto const status = m_control.Status();
    m_play->setText(status.isPlaying ? QObject::tr("P&ause") : QObject::tr("P&lay"));
    m_play->setIconText(status.isPlaying ? QStringLiteral("\u275a\u275a") : QStringLiteral("\u25b6"));
    if (status.marks.size() != m_marks) {
        m_marks = status.marks.size();
        std::vector<int> places;
        std::transform(status.marks.begin(), status.marks.end(), std::back_inserter(places), [this](auto mark) {
            return static_cast<int>(std::min<std::uint64_t>((mark - m_start) / millisecond, 0x7FFFFFFF));
        });
        m_slider->SetMarks(std::move(places));
    }
    // Under the operator's hand it stands where the hand is.
    if (m_control.IsMoving() || m_slider->isSliderDown()) {
        return;
    }
    m_isShowing = true;
    m_slider->setValue(
        static_cast<int>(std::min<std::uint64_t>((status.position - m_start) / millisecond, 0x7FFFFFFF)));
    m_isShowing = false;
    m_time->setText(TimeText(status.position));
}

} // namespace qx5::cli
