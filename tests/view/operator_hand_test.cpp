// Mouse, wheel and keys on the view's real controls: what an operator's hand sends, and what it does not.
#include "operator_hand.h"

#include "cli/scenario/view_controls.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QCursor>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTabBar>

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace qx5::test::operator_hand_test {
namespace {

constexpr char const* page = "settings";
constexpr int range = 16926;
constexpr int gain = 16929;
constexpr int pulseLength = 16931;
constexpr int pulseLengthText = 16945;

TEST_F(OperatorHand, ADragSendsOneRequestWhenItLetsGo)
{
    auto& slider = view->Slider(page, range);
    QPoint const begin = Handle(slider).center();
    QPoint const end(slider.width() - 3, begin.y());
    QTest::mousePress(&slider, Qt::LeftButton, Qt::NoModifier, begin);
    for (int part = 1; part <= 10; ++part) {
        QTest::mouseMove(&slider, begin + (end - begin) * part / 10);
    }
    EXPECT_TRUE(requests.made.empty());
    EXPECT_EQ(slider.value(), 2);
    EXPECT_EQ(view->Text(page, 16940), QStringLiteral("200.0 m"));
    QTest::mouseRelease(&slider, Qt::LeftButton, Qt::NoModifier, end);
    EXPECT_EQ(requests.made, std::vector<std::string>{"x5Range=200"});
}

TEST_F(OperatorHand, ADragOfThePulseLengthGivesItsLabelBack)
{
    auto& slider = view->Slider(page, pulseLength);
    QPoint const begin = Handle(slider).center();
    QPoint const end(slider.width() / 2, begin.y());
    QTest::mousePress(&slider, Qt::LeftButton, Qt::NoModifier, begin);
    QTest::mouseMove(&slider, end + QPoint(5, 0));
    QTest::mouseMove(&slider, end);
    QTest::mouseRelease(&slider, Qt::LeftButton, Qt::NoModifier, end);
    EXPECT_EQ(requests.made.size(), 1U);
    EXPECT_TRUE(view->Text(page, pulseLengthText).endsWith(QStringLiteral("\u00B5s")));
}

TEST_F(OperatorHand, AClickOnTheTroughMovesByAPageAndSendsOnce)
{
    auto& slider = view->Slider(page, gain);
    QTest::mouseClick(&slider, Qt::LeftButton, Qt::NoModifier, QPoint(slider.width() - 3, slider.height() / 2));
    EXPECT_EQ(slider.value(), 1);
    EXPECT_EQ(requests.made, std::vector<std::string>{"x5Gain=1"});
}

TEST_F(OperatorHand, ATouchOfTheThumbWithoutAMoveSendsNothing)
{
    auto& slider = view->Slider(page, range);
    QTest::mouseClick(&slider, Qt::LeftButton, Qt::NoModifier, Handle(slider).center());
    EXPECT_TRUE(requests.made.empty());
    EXPECT_EQ(slider.value(), 1);
}

TEST_F(OperatorHand, AHeldKeySendsOnceWhenItIsReleased)
{
    auto& slider = view->Slider(page, gain);
    slider.setFocus();
    for (int i = 0; i < 5; ++i) {
        QTest::keyPress(&slider, Qt::Key_Right);
    }
    QTest::keyPress(&slider, Qt::Key_PageUp);
    EXPECT_TRUE(requests.made.empty());
    EXPECT_EQ(slider.value(), 6);
    QTest::keyRelease(&slider, Qt::Key_Right);
    EXPECT_EQ(requests.made, std::vector<std::string>{"x5Gain=6"});
    QTest::keyClick(&slider, Qt::Key_End);
    QTest::keyClick(&slider, Qt::Key_Home);
    EXPECT_EQ(requests.made, (std::vector<std::string>{"x5Gain=6", "x5Gain=83", "x5Gain=0"}));
}

TEST_F(OperatorHand, AWheelInPassingChangesNothing)
{
    auto& slider = view->Slider(page, gain);
    auto& list = *view->Find<QComboBox>(page, 28088);
    view->Slider(page, range).setFocus();
    int const selected = list.currentIndex();
    Turn(slider, 3);
    Turn(list, -1);
    EXPECT_EQ(slider.value(), 0);
    EXPECT_EQ(list.currentIndex(), selected);
    EXPECT_TRUE(requests.made.empty());
}

TEST_F(OperatorHand, AWheelOverTheSliderInUseMovesIt)
{
    auto& slider = view->Slider(page, gain);
    slider.activateWindow();
    slider.setFocus();
    ASSERT_TRUE(RunUntil([&] { return slider.hasFocus(); }));
    Turn(slider, 3);
    EXPECT_EQ(slider.value(), 3);
    EXPECT_EQ(requests.made, std::vector<std::string>{"x5Gain=3"});
}

TEST_F(OperatorHand, AnEditedFieldIsPureYellowUntilItIsApplied)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("tabs"));
    QColor const yellow(255, 255, 0);
    for (auto const& [name, tab, ids] : {std::tuple{"gates", 1, std::vector{28112, 28113, 28115, 28116, 28118, 28119}},
                                         std::tuple{"tracker", 5, std::vector{28140, 28141}}}) {
        tabs.setCurrentIndex(tab);
        for (int const id : ids) {
            auto& field = *view->Find<QLineEdit>(name, id);
            auto const clean = field.palette();
            EXPECT_NE(clean.color(QPalette::Base), yellow);
            QTest::keyClick(&field, Qt::Key_1);
            EXPECT_EQ(field.palette().color(QPalette::Base), yellow) << id;
            QTest::mouseClick(view->Find<QPushButton>(name, 28122), Qt::LeftButton);
            EXPECT_EQ(field.palette().color(QPalette::Base), clean.color(QPalette::Base)) << id;
        }
    }
}

TEST_F(OperatorHand, AHintWithoutADeviceChangesNothing)
{
    view->Display().DeliverUpdate(nullptr, 128, nullptr);
    EXPECT_EQ(view->Text(page, 16940), QStringLiteral("100.0 m"));
}

/// Whether a hand works the control, or at least reads it as a field.
bool IsWorked(QWidget& widget)
{
    return dynamic_cast<QAbstractButton*>(&widget) != nullptr || dynamic_cast<QSlider*>(&widget) != nullptr ||
           dynamic_cast<QComboBox*>(&widget) != nullptr || dynamic_cast<QLineEdit*>(&widget) != nullptr;
}

TEST_F(OperatorHand, EveryControlHasANameAndAPlaceInTheTabOrder)
{
    for (std::string_view const name : cli::viewPages) {
        auto* const each = view->Page(name);
        int controls = 0;
        for (auto* const control : each->findChildren<QWidget*>()) {
            if (!IsWorked(*control)) {
                continue;
            }
            ++controls;
            EXPECT_FALSE(control->accessibleName().isEmpty()) << control->objectName().toStdString();
            EXPECT_NE(control->focusPolicy() & Qt::TabFocus, 0) << control->objectName().toStdString();
        }
        EXPECT_GT(controls, 0) << name;
    }
}

TEST_F(OperatorHand, NoStopOfTheTabKeyIsNameless)
{
    auto* const whole = view->Display().Widget();
    auto widgets = whole->findChildren<QWidget*>();
    widgets.prepend(whole);
    for (auto* const widget : widgets) {
        // Not the lists that fall down from a field, which are windows of their own.
        if (widget->window() == whole->window() && (widget->focusPolicy() & Qt::TabFocus) != 0) {
            EXPECT_FALSE(QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name).isEmpty())
                << widget->metaObject()->className() << " " << widget->objectName().toStdString();
        }
    }
}

TEST_F(OperatorHand, AFieldThatIsOnlyReadTakesNoTextFromARobot)
{
    auto& field = *view->Find<QLineEdit>("recording", 28083);
    ASSERT_TRUE(field.isReadOnly());
    field.setText(QStringLiteral("/sonar/recordings"));
    auto* const element = QAccessible::queryAccessibleInterface(&field);
    // It can be read whole, and copied.
    ASSERT_NE(element->textInterface(), nullptr);
    EXPECT_EQ(element->textInterface()->text(0, 6), QStringLiteral("/sonar"));
    EXPECT_TRUE(element->state().readOnly);
    EXPECT_FALSE(element->state().editable);
    element->setText(QAccessible::Value, QStringLiteral("elsewhere"));
    if (auto* const editable = element->editableTextInterface()) {
        editable->deleteText(0, 6);
        editable->insertText(0, QStringLiteral("x"));
        editable->replaceText(0, 1, QStringLiteral("y"));
    }
    EXPECT_EQ(field.text(), QStringLiteral("/sonar/recordings"));
    // One that is not keeps what the toolkit has for it.
    auto* const other = QAccessible::queryAccessibleInterface(view->Find<QLineEdit>("gates", 28112));
    EXPECT_TRUE(other->state().editable);
    ASSERT_NE(other->editableTextInterface(), nullptr);
}

TEST_F(OperatorHand, ALabelHasRoomForItsWidestText)
{
    struct Room
    {
        char const* page;
        int id;
        QString widest;
    };
    for (auto const& [name, id, widest] :
         {Room{"settings", 16940, QStringLiteral("15000.0 m")}, Room{"gates", 28123, QStringLiteral("-30\u00B0")},
          Room{"gates", 28124, QStringLiteral("100%")}, Room{"ocean", 16924, QStringLiteral("120.0 dB/km")},
          Room{"steering", 28100, QStringLiteral("5.0\u00B0")}, Room{"steering", 28102, QStringLiteral("10")}}) {
        auto const& label = *view->Find<QLabel>(name, id);
        EXPECT_EQ(label.minimumWidth(), label.fontMetrics().horizontalAdvance(widest)) << name << " " << id;
    }
}

TEST_F(OperatorHand, TheWaitCursorIsThereWhileAPageIsFetchedAndNoLonger)
{
    auto& pane = *view->Display().Widget();
    auto& tabs = *pane.findChild<QTabBar*>(QStringLiteral("tabs"));
    int waits = 0;
    QObject const within; // the pages change once more when the view goes
    QObject::connect(pane.findChild<QStackedWidget*>(), &QStackedWidget::currentChanged, &within, [&waits] {
        auto const* const cursor = QGuiApplication::overrideCursor();
        waits += cursor != nullptr && cursor->shape() == Qt::WaitCursor ? 1 : 0;
    });
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr) << "the first page is there";
    tabs.setCurrentIndex(3);
    EXPECT_EQ(waits, 1);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(OperatorHand, SlidersStayWithinReachInAWidePane)
{
    auto& pane = *view->Display().Widget()->window();
    pane.resize(3840, 1000);
    auto& slider = InUse(range);
    QCoreApplication::processEvents();
    EXPECT_GE(slider.width(), 200);
    EXPECT_LE(slider.width(), 1000);
}

TEST_F(OperatorHand, AfterStartTheFocusGoesToStopAndBack)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("tabs"));
    InUse(range);
    SonarSays(Json::parse(R"([["x5DataRecording", "int", 0]])"));
    auto& start = *view->Find<QPushButton>("recording", 28080);
    auto& stop = *view->Find<QPushButton>("recording", 28081);
    tabs.setCurrentIndex(3);
    start.setFocus();
    ASSERT_TRUE(start.hasFocus());
    QTest::keyClick(&start, Qt::Key_Space);
    EXPECT_FALSE(start.isEnabled());
    SonarSays(Json::parse(R"([["x5DataRecording", "int", 1]])"));
    EXPECT_TRUE(stop.hasFocus());
    QTest::keyClick(&stop, Qt::Key_Space);
    SonarSays(Json::parse(R"([["x5DataRecording", "int", 0]])"));
    EXPECT_TRUE(start.hasFocus());
    // An operator who has gone elsewhere meanwhile is left there.
    QTest::keyClick(&start, Qt::Key_Space);
    auto& elsewhere = *view->Find<QLineEdit>("recording", 28083);
    auto* const held = QApplication::focusWidget();
    (held != &elsewhere ? static_cast<QWidget&>(elsewhere) : static_cast<QWidget&>(tabs)).setFocus();
    auto* const chosen = QApplication::focusWidget();
    SonarSays(Json::parse(R"([["x5DataRecording", "int", 1]])"));
    EXPECT_EQ(QApplication::focusWidget(), chosen);
}

TEST_F(OperatorHand, SlidersTellValuesAsTheirLabelsDo)
{
    struct Told
    {
        int id;
        double value;
        char const* text;
    };
    // A range of 100 m of a set that begins at 5 m, and a pulse of 100 microseconds.
    for (auto const& [id, value, text] : {Told{range, 100.0, "100.0 m"}, Told{16931, 100.0, "100 \u00B5s"}}) {
        auto* const element = QAccessible::queryAccessibleInterface(view->Find<QSlider>("settings", id));
        ASSERT_NE(element, nullptr);
        EXPECT_EQ(element->role(), QAccessible::Slider);
        EXPECT_EQ(element->text(QAccessible::Value), QString::fromUtf8(text));
        EXPECT_EQ(element->text(QAccessible::Description), QString::fromUtf8(text));
        EXPECT_DOUBLE_EQ(element->valueInterface()->currentValue().toDouble(), value);
    }
    // What the tracker governs says so, and takes nothing from anybody.
    auto& slider = *view->Find<QSlider>("settings", range);
    auto* const element = QAccessible::queryAccessibleInterface(&slider);
    SonarSays(Json::parse(R"([["x5SystemMode", "int", 1], ["x5TrackerRangeEnabled", "bool", true]])"));
    EXPECT_FALSE(slider.isEnabled());
    EXPECT_EQ(slider.toolTip(), QStringLiteral("The tracker sets this"));
    EXPECT_EQ(element->text(QAccessible::Description), QStringLiteral("100.0 m, The tracker sets this"));
    auto const before = requests.made.size();
    element->valueInterface()->setCurrentValue(50.0);
    element->actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
    EXPECT_EQ(requests.made.size(), before);
    SonarSays(Json::parse(R"([["x5TrackerRangeEnabled", "bool", false]])"));
    EXPECT_TRUE(slider.toolTip().isEmpty());
    element->actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
    EXPECT_EQ(requests.made.size(), before + 1);
}

TEST_F(OperatorHand, TheTabsKeepTheirWidthAndScrollInANarrowPane)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("tabs"));
    EXPECT_FALSE(tabs.expanding());
    EXPECT_TRUE(tabs.usesScrollButtons());
    EXPECT_EQ(tabs.accessibleName(), QStringLiteral("Pages of the sonar"));
    EXPECT_EQ(tabs.parentWidget()->layout()->contentsMargins(), QMargins(5, 5, 5, 5));
}

TEST_F(OperatorHand, EachTabShowsItsPageAlone)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("tabs"));
    ASSERT_EQ(static_cast<std::size_t>(tabs.count()), cli::viewPages.size())
        << "QX5SonarConfigurationView::Tabs names other pages than cli/scenario/view_controls.h has rows of";
    for (int tab = 0; tab < tabs.count(); ++tab) {
        tabs.setCurrentIndex(tab);
        for (std::size_t i = 0; i < cli::viewPages.size(); ++i) {
            EXPECT_EQ(view->Page(cli::viewPages[i])->isVisible(), i == static_cast<std::size_t>(tab))
                << "tab " << tab << ", \"" << tabs.tabText(tab).toStdString() << "\", page " << cli::viewPages[i]
                << ": the rows of cli/scenario/view_controls.h stand in the order of QX5SonarConfigurationView::Tabs";
        }
    }
}

TEST_F(OperatorHand, EveryControlHasARow)
{
    std::size_t worked = 0;
    for (auto const name : cli::viewPages) {
        for (auto* const each : view->Page(name)->findChildren<QWidget*>()) {
            if (!IsWorked(*each)) {
                continue;
            }
            std::string const widget = each->objectName().toStdString();
            ++worked;
            EXPECT_TRUE(std::any_of(
                std::begin(cli::viewControls), std::end(cli::viewControls),
                [&](cli::ViewControl const& control) { return control.page == name && control.name == widget; }))
                << "cli/scenario/view_controls.h has no row for \"" << widget << "\" of the page \"" << name << "\"";
        }
    }
    auto const isShownAlone = [](cli::ViewControl const& control) { return control.kind == cli::ControlKind::Label; };
    EXPECT_EQ(worked, std::size(cli::viewControls) -
                          static_cast<std::size_t>(
                              std::count_if(std::begin(cli::viewControls), std::end(cli::viewControls), isShownAlone)));
}

TEST_F(OperatorHand, ThePagesTurnByKeyboard)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("tabs"));
    view->Slider(page, range).setFocus();
    QTest::keyClick(&view->Slider(page, range), Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(tabs.currentIndex(), 1);
    tabs.setFocus();
    QTest::keyClick(&tabs, Qt::Key_Right);
    EXPECT_EQ(tabs.currentIndex(), 2);
}

TEST_F(OperatorHand, ThePagesTurnRoundBothWays)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("tabs"));
    QTest::keyClick(&view->Slider(page, range), Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(tabs.currentIndex(), tabs.count() - 1);
    QTest::keyClick(&tabs, Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(tabs.currentIndex(), tabs.count() - 2);
    QTest::keyClick(&tabs, Qt::Key_Tab, Qt::ControlModifier);
    QTest::keyClick(&tabs, Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(tabs.currentIndex(), 0);
}

/// On a display that was removed at once and has no tabs.
class HandOnARemovedDisplay : public OperatorHand
{
protected:
    HandOnARemovedDisplay() : OperatorHand(With(SonarTree(), {"DeviceId", "int", 9000})) {}
};

TEST_F(HandOnARemovedDisplay, ThereAreNoPagesToTurn)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("tabs"));
    ASSERT_EQ(tabs.count(), 0);
    QTest::keyClick(&view->Slider(page, range), Qt::Key_Tab, Qt::ControlModifier);
    QTest::keyClick(&view->Slider(page, range), Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(tabs.currentIndex(), -1);
}

TEST_F(OperatorHand, LargeTextsStayWholeInASmallPane)
{
    QFont const usual = QApplication::font();
    QFont large = usual;
    large.setPointSizeF(2.0 * (usual.pointSizeF() > 0.0 ? usual.pointSizeF() : 9.0));
    QApplication::setFont(large);
    auto* const pane = view->Display().Widget();
    pane->resize(360, 300);
    view->Display().DeliverSize(0, 360, 300);
    auto& tabs = *pane->findChild<QTabBar*>(QStringLiteral("tabs"));
    int texts = 0;
    // The texts that have less room than they take.
    auto const cut = [&] {
        texts = 0;
        std::string names;
        for (auto* const control : pane->findChildren<QWidget*>()) {
            bool const hasText =
                qobject_cast<QLabel*>(control) != nullptr || qobject_cast<QAbstractButton*>(control) != nullptr;
            if (!hasText || !control->isVisible() || control->parentWidget() == &tabs) {
                continue;
            }
            ++texts;
            auto const least = control->minimumSizeHint();
            if (control->width() < least.width() || control->height() < least.height()) {
                names += " " + control->objectName().toStdString();
            }
        }
        return names;
    };
    for (int tab = 0; tab < tabs.count(); ++tab) {
        tabs.setCurrentIndex(tab);
        EXPECT_TRUE(RunUntil([&] { return cut().empty(); })) << tab << ":" << cut();
        EXPECT_GT(texts, 4) << tab;
    }
    QApplication::setFont(usual);
}

} // namespace
} // namespace qx5::test::operator_hand_test
