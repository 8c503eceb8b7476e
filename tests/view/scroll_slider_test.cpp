// The sliders' own rules: which movements are one, when one ends, and what is none.
#include "operator_hand.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QTabBar>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qx5::test::scroll_slider_test {
namespace {

constexpr char const* page = "settings";
constexpr int range = 16926;
constexpr int gain = 16929;
constexpr int pulseLength = 16931;

// Kinds of scroll events.
constexpr int lineLeft = 0;
constexpr int lineRight = 1;
constexpr int pageLeft = 2;
constexpr int pageRight = 3;
constexpr int released = 4;
constexpr int moving = 5;
constexpr int toLeftEnd = 6;
constexpr int toRightEnd = 7;
constexpr int ended = 8;

using Kinds = std::vector<int>;
using Made = std::vector<std::string>;

class ScrollSliders : public OperatorHand
{
protected:
    QSlider& slider = view->Slider(page, gain);
    Scrolls scrolls{slider};

    QPoint End() const { return {slider.width() - 3, slider.height() / 2}; }
    void Press() { QTest::mousePress(&slider, Qt::LeftButton, Qt::NoModifier, Handle(slider).center()); }
    void Pull() { QTest::mouseMove(&slider, End()); }
    void LetGo() { QTest::mouseRelease(&slider, Qt::LeftButton, Qt::NoModifier, End()); }
    void Release(Qt::Key key, bool byItself = false)
    {
        QKeyEvent event(QEvent::KeyRelease, key, Qt::NoModifier, QString(), byItself);
        QCoreApplication::sendEvent(&slider, &event);
    }
    void Scroll(int kind, int position)
    {
        EXPECT_TRUE(QMetaObject::invokeMethod(&slider, "scroll", Q_ARG(int, kind), Q_ARG(int, position)));
    }
};

TEST_F(ScrollSliders, TellEachKeyByItsKind)
{
    InUse(gain);
    for (Qt::Key const key :
         {Qt::Key_Right, Qt::Key_Left, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_End, Qt::Key_Home}) {
        QTest::keyClick(&slider, key);
    }
    EXPECT_EQ(scrolls.kinds, (Kinds{lineRight, ended, lineLeft, ended, pageRight, ended, pageLeft, ended, toRightEnd,
                                    ended, toLeftEnd, ended}));
}

TEST_F(ScrollSliders, EndAnActionThatComesFromNoHandAtOnce)
{
    // As from an aid for those who use neither mouse nor keys.
    slider.triggerAction(QAbstractSlider::SliderSingleStepAdd);
    EXPECT_EQ(scrolls.kinds, (Kinds{lineRight, ended}));
    EXPECT_EQ(requests.made, Made{"x5Gain=1"});
    slider.triggerAction(QAbstractSlider::SliderNoAction);
    EXPECT_EQ(scrolls.kinds.size(), 2U);
}

TEST_F(ScrollSliders, EndAThumbThatWasPulledAloneByARelease)
{
    QTest::mouseClick(&slider, Qt::LeftButton, Qt::NoModifier, End());
    EXPECT_EQ(scrolls.kinds, (Kinds{pageRight, ended})) << "a click beside the thumb";
    scrolls.kinds.clear();
    Press();
    LetGo();
    EXPECT_EQ(scrolls.kinds, Kinds{}) << "a touch";
    Press();
    Pull();
    LetGo();
    EXPECT_EQ(scrolls.kinds, (Kinds{moving, released, ended}));
}

TEST_F(ScrollSliders, LeaveThePulseLengthAloneWhenTheThumbIsOnlyTouched)
{
    auto& thumb = view->Slider(page, pulseLength);
    QTest::mouseClick(&thumb, Qt::LeftButton, Qt::NoModifier, Handle(thumb).center());
    EXPECT_EQ(view->Text(page, 16945), QStringLiteral("100 \u00B5s"));
}

TEST_F(ScrollSliders, TakeTheLeftButtonAlone)
{
    QTest::mouseClick(&slider, Qt::RightButton, Qt::NoModifier, End());
    EXPECT_EQ(scrolls.kinds, Kinds{});
    Press();
    Pull();
    QTest::mousePress(&slider, Qt::RightButton, Qt::NoModifier, End());
    QTest::mouseRelease(&slider, Qt::RightButton, Qt::NoModifier, End());
    EXPECT_EQ(scrolls.kinds, Kinds{moving}) << "the left one is held still";
    LetGo();
    EXPECT_EQ(scrolls.kinds, (Kinds{moving, released, ended}));
}

TEST_F(ScrollSliders, EndAHeldKeyWhereTheMouseTakesOver)
{
    InUse(gain);
    QTest::keyPress(&slider, Qt::Key_Right);
    EXPECT_TRUE(requests.made.empty());
    Press();
    EXPECT_EQ(requests.made, Made{"x5Gain=1"});
    Release(Qt::Key_Right);
    LetGo();
    EXPECT_EQ(requests.made, Made{"x5Gain=1"}) << "that key had ended, and the thumb was only touched";
}

TEST_F(ScrollSliders, LeaveAPullToTheMouseWhateverKeysDo)
{
    InUse(gain);
    Press();
    QTest::keyPress(&slider, Qt::Key_Right);
    Release(Qt::Key_Right);
    EXPECT_TRUE(requests.made.empty());
    LetGo();
    EXPECT_EQ(requests.made, Made{"x5Gain=1"});
}

TEST_F(ScrollSliders, EndAHeldKeyWhenItIsReleasedAndNotWhenItRepeats)
{
    InUse(gain);
    QTest::keyPress(&slider, Qt::Key_Right);
    Release(Qt::Key_Right, true);
    QTest::keyPress(&slider, Qt::Key_Right);
    EXPECT_TRUE(requests.made.empty());
    Release(Qt::Key_Right);
    EXPECT_EQ(requests.made, Made{"x5Gain=2"});
}

TEST_F(ScrollSliders, EndAHeldKeyWhereTheFocusGoes)
{
    InUse(gain);
    QTest::keyPress(&slider, Qt::Key_Right);
    view->Slider(page, range).setFocus();
    EXPECT_EQ(requests.made, Made{"x5Gain=1"});
    Release(Qt::Key_Right);
    EXPECT_EQ(requests.made, Made{"x5Gain=1"});
}

TEST_F(ScrollSliders, KeepAPullWhereTheFocusGoes)
{
    InUse(gain);
    Press();
    Pull();
    view->Slider(page, range).setFocus();
    EXPECT_EQ(scrolls.kinds, Kinds{moving});
    LetGo();
    EXPECT_EQ(scrolls.kinds, (Kinds{moving, released, ended}));
}

TEST_F(ScrollSliders, TakeNoNoticeOfKeysThatAreNotTheirs)
{
    InUse(gain);
    QTest::keyClick(&slider, Qt::Key_A);
    EXPECT_EQ(scrolls.kinds, Kinds{});
    QTest::keyPress(&slider, Qt::Key_A);
    Press();
    Pull();
    Release(Qt::Key_A);
    EXPECT_EQ(scrolls.kinds, Kinds{moving});
    LetGo();
    EXPECT_EQ(scrolls.kinds, (Kinds{moving, released, ended}));
}

TEST_F(ScrollSliders, SendNothingOfAMovementThatWasTakenOutOfTheHand)
{
    Press();
    Pull();
    SonarSays(Json::parse(R"([["x5SystemMode", "int", 1], ["x5TrackerPowerGainEnabled", "bool", true]])"));
    EXPECT_FALSE(slider.isEnabled());
    EXPECT_FALSE(slider.isSliderDown());
    LetGo();
    SonarSays(Json::parse(R"([["x5SystemMode", "int", 0]])"));
    EXPECT_TRUE(slider.isEnabled());
    LetGo();
    EXPECT_EQ(scrolls.kinds, Kinds{moving});
    EXPECT_TRUE(requests.made.empty());
}

TEST_F(ScrollSliders, KeepAMovementThroughOtherChangesOfTheirLook)
{
    Press();
    Pull();
    QFont const usual = slider.font();
    QFont slanted = usual;
    slanted.setItalic(true);
    slider.setFont(slanted);
    slider.setFont(usual);
    LetGo();
    EXPECT_EQ(scrolls.kinds, (Kinds{moving, released, ended}));
}

TEST_F(ScrollSliders, ForgetAMovementWhenTheirPageIsPutAway)
{
    Press();
    Pull();
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("tabs"));
    tabs.setCurrentIndex(1);
    tabs.setCurrentIndex(0);
    LetGo();
    EXPECT_EQ(scrolls.kinds, Kinds{moving});
    EXPECT_TRUE(requests.made.empty());
}

TEST_F(ScrollSliders, LeaveAWheelInPassingToWhatLiesBelow)
{
    view->Slider(page, range).setFocus();
    EXPECT_FALSE(Turn(slider, 1));
    EXPECT_FALSE(Turn(*view->Find<QComboBox>(page, 28076), 1));
    EXPECT_FALSE(Turn(*view->Find<QComboBox>(page, 28088), 1));
    EXPECT_FALSE(Turn(*view->Find<QComboBox>("ocean", 28105), 1));
    EXPECT_TRUE(Turn(InUse(gain), 1));
}

TEST_F(ScrollSliders, LetTheWheelChooseInAListInUse)
{
    auto& list = *view->Find<QComboBox>(page, 28088);
    list.activateWindow();
    list.setFocus();
    ASSERT_TRUE(RunUntil([&] { return list.hasFocus(); }));
    list.setCurrentIndex(0);
    Turn(list, -1);
    EXPECT_EQ(list.currentIndex(), 1);
}

TEST_F(ScrollSliders, GatherThePartsOfANotch)
{
    InUse(gain);
    TurnBy(slider, QPoint(0, 119));
    EXPECT_EQ(scrolls.kinds, Kinds{}) << "no notch yet";
    TurnBy(slider, QPoint(0, 1));
    EXPECT_EQ(scrolls.kinds, (Kinds{lineRight, ended}));
    TurnBy(slider, QPoint(0, 230));
    EXPECT_EQ(slider.value(), 2);
    TurnBy(slider, QPoint(0, 9));
    EXPECT_EQ(slider.value(), 2) << "239 of 240";
    TurnBy(slider, QPoint(0, 1));
    EXPECT_EQ(slider.value(), 3);
    TurnBy(slider, QPoint(0, -240));
    EXPECT_EQ(slider.value(), 1);
    EXPECT_EQ(requests.made, (Made{"x5Gain=1", "x5Gain=2", "x5Gain=3", "x5Gain=1"}));
}

TEST_F(ScrollSliders, TakeAWheelThatIsTiltedTheOtherWay)
{
    InUse(gain);
    TurnBy(slider, QPoint(-240, 120));
    EXPECT_EQ(slider.value(), 2);
    TurnBy(slider, QPoint(120, -120));
    EXPECT_EQ(slider.value(), 1) << "of two that are as large the upright one counts";
    TurnBy(slider, QPoint(120, 0));
    EXPECT_EQ(slider.value(), 0);
}

TEST_F(ScrollSliders, KnowNineKindsAndNoOther)
{
    Scroll(-1, 10);
    Scroll(9, 10);
    EXPECT_EQ(scrolls.kinds, Kinds{});
    Scroll(lineLeft, 0);
    Scroll(ended, 0);
    EXPECT_EQ(scrolls.kinds, (Kinds{lineLeft, ended}));
}

TEST_F(ScrollSliders, BringAPulledThumbWithinItsLimits)
{
    Scroll(moving, 1000);
    EXPECT_EQ(slider.value(), 83);
    Scroll(moving, -1000);
    EXPECT_EQ(slider.value(), 0);
    Scroll(moving, 40);
    EXPECT_EQ(slider.value(), 40);
}

} // namespace
} // namespace qx5::test::scroll_slider_test
