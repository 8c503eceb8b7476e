// What an operator has to tell apart, measured in pictures of it: in each light mode, with and without focus.
#include "contrast.h"

#include <reference_host/window/appearance.h>
#include <reference_host/window/device_panel.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTabBar>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

/// How much all in all stands out from the ground.
double Presence(QImage const& picture)
{
    auto const ground = GroundOf(picture);
    double sum = 0.0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            sum += Contrast(QColor(picture.pixel(x, y)), ground) - 1.0;
        }
    }
    return sum;
}

/// How many places stand out from the ground, the frame aside.
int Ink(QImage const& picture)
{
    auto const ground = GroundOf(picture);
    int places = 0;
    for (int y = 8; y < picture.height() - 8; ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            places += Contrast(QColor(picture.pixel(x, y)), ground) >= 3.0 ? 1 : 0;
        }
    }
    return places;
}

/// Of two pictures of one size, how many places differ by at least that contrast.
int PlacesThatDiffer(QImage const& a, QImage const& b, double contrast)
{
    int places = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            places += Contrast(QColor(a.pixel(x, y)), QColor(b.pixel(x, y))) >= contrast ? 1 : 0;
        }
    }
    return places;
}

class InEachLight : public ::testing::TestWithParam<int>
{
protected:
    InEachLight()
    {
        vordal::WearLightMode(*qApp, GetParam());
        m_window.setLayout(m_layout);
    }

    template <typename Widget>
    Widget& Shown(Widget* widget)
    {
        // Another one that has the focus first.
        m_layout->addWidget(new QLineEdit);
        m_layout->addWidget(widget);
        m_window.show();
        m_window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&m_window));
        return *widget;
    }

    /// The widget with some room around it: a focus may be drawn outside of it.
    QImage Around(QWidget& widget)
    {
        QApplication::processEvents();
        return PictureOf(m_window).copy(widget.geometry().adjusted(-4, -4, 4, 4));
    }

private:
    QWidget m_window;
    QVBoxLayout* m_layout = new QVBoxLayout;
};

INSTANTIATE_TEST_SUITE_P(Mode, InEachLight, ::testing::Values(1, 2, 3, 4));

QSlider* MakeSlider()
{
    auto* const slider = new QSlider(Qt::Horizontal);
    slider->setRange(0, 100);
    slider->setValue(40);
    slider->setMinimumWidth(200);
    return slider;
}

TEST_P(InEachLight, ALockedSliderLooksLessThanAUsableOne)
{
    auto& slider = Shown(MakeSlider());
    auto const usable = Around(slider);
    slider.setEnabled(false);
    auto const locked = Around(slider);
    std::printf("mode %d: usable %.0f, locked %.0f; greatest contrast %.1f, %.1f\n", GetParam(), Presence(usable),
                Presence(locked), GreatestContrast(usable), GreatestContrast(locked));
    EXPECT_LT(Presence(locked), 0.7 * Presence(usable));
    EXPECT_GE(GreatestContrast(usable), 3.0);
    EXPECT_LT(GreatestContrast(locked), GreatestContrast(usable));
}

TEST_P(InEachLight, AButtonThatIsOnDiffersByShapeAndContrast)
{
    auto* const made = new QPushButton(QStringLiteral("Depth"));
    made->setCheckable(true);
    auto& button = Shown(made);
    auto const off = Around(button);
    button.setChecked(true);
    auto const on = Around(button);
    std::printf("mode %d: ground on/off %.2f\n", GetParam(), Contrast(GroundOf(on), GroundOf(off)));
    EXPECT_GE(Contrast(GroundOf(on), GroundOf(off)), 3.0);
    EXPECT_GE(GreatestContrast(on), 4.5) << "its text";
    EXPECT_GE(GreatestContrast(off), 4.5) << "its text";
    // What differs is not the ground alone: in front of the text there is a mark.
    auto const front = [](QImage const& picture) { return picture.copy(8, 0, 24, picture.height()); };
    EXPECT_GE(Ink(front(on)), 12);
    EXPECT_EQ(Ink(front(off)), 0);
}

TEST_P(InEachLight, TheFocusIsSeen)
{
    for (auto* const made : std::initializer_list<QWidget*>{
             MakeSlider(), new QPushButton(QStringLiteral("Apply")), new QCheckBox(QStringLiteral("Use depth gate")),
             new QRadioButton(QStringLiteral("TVG")), new QLineEdit(QStringLiteral("12.5")), new QComboBox,
             new QToolButton, new QTreeWidget}) {
        auto& widget = Shown(made);
        widget.clearFocus();
        auto const without = Around(widget);
        widget.setFocus(Qt::TabFocusReason);
        ASSERT_TRUE(widget.hasFocus()) << widget.metaObject()->className();
        if (auto* const field = qobject_cast<QLineEdit*>(made)) {
            field->deselect();
        }
        auto const with = Around(widget);
        int const places = PlacesThatDiffer(with, without, 3.0);
        // At least as much as a line along one of its longer sides.
        EXPECT_GE(places, std::min(widget.width(), 60)) << widget.metaObject()->className() << " mode " << GetParam();
    }
}

TEST_P(InEachLight, TextsAreRead)
{
    for (auto* const made : std::initializer_list<QWidget*>{
             new QLabel(QStringLiteral("100.0 m")), new QPushButton(QStringLiteral("Apply")),
             new QCheckBox(QStringLiteral("Use depth gate")), new QLineEdit(QStringLiteral("12.5"))}) {
        auto& widget = Shown(made);
        EXPECT_GE(GreatestContrast(Around(widget)), 4.5) << widget.metaObject()->className();
    }
}

TEST_P(InEachLight, StatusDotsAreSeenOnTheSelectedRowToo)
{
    CDataId const one(1, 78, 1, 1);
    CDataId const other(1, 78, 2, 1);
    vordal::DevicePanel panel({{.number = 1,
                                .name = QStringLiteral("Vessel"),
                                .devices = {{one, QStringLiteral("a"), {}}, {other, QStringLiteral("b"), {}}}}});
    panel.MarkShown(one);
    panel.resize(500, 300);
    panel.show();
    auto& list = *panel.findChild<QTreeWidget*>(QStringLiteral("devices"));
    for (auto const state : {vordal::LinkState::Connected, vordal::LinkState::Connecting, vordal::LinkState::Lost,
                             vordal::LinkState::Waiting}) {
        for (auto const& id : {one, other}) {
            panel.SetStatus(id, {.state = state, .reason = {}, .retryIn = {}});
        }
        for (int row = 0; row < 2; ++row) {
            auto const place = list.visualItemRect(list.topLevelItem(0)->child(row));
            auto const picture = PictureOf(*list.viewport());
            int const left = list.columnViewportPosition(1);
            auto const dot = picture.copy(left + 3, place.top(), 16, place.height());
            EXPECT_GE(GreatestContrast(dot), 3.0) << vordal::ToText(state) << (row == 0 ? ", selected" : "");
        }
    }
}

} // namespace
} // namespace qx5::test
