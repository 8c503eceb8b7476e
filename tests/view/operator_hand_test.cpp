// Mouse, wheel and keys on the view's real controls: what an operator's hand sends, and what it does not.
#include "shown_view.h"
#include "view_run.h"

#include "cli/scenario/json_parser.h"
#include "cli/scenario/json_path.h"
#include "cli/scenario/tree_json.h"
#include "reference_host/host/host.h"
#include "reference_host/host/host_observer.h"
#include "reference_host/loader/plugin_loader.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QStyleOptionSlider>
#include <QTabBar>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace qx5::test {
namespace {

constexpr char const* page = "settings";
constexpr int range = 16926;
constexpr int gain = 16929;
constexpr int pulseLength = 16931;
constexpr int pulseLengthText = 16945;

// Kinds of scroll events.
constexpr int pageRight = 3;
constexpr int released = 4;
constexpr int moving = 5;
constexpr int ended = 8;

/// The kinds of scroll events that a slider tells, for as long as it lives.
class Scrolls : public QObject
{
public:
    explicit Scrolls(QSlider& slider)
    {
        // The slider's class is the plug-in's own: its signal is known by its text alone.
        int const signal = slider.metaObject()->indexOfSignal("Scrolled(qx5::ScrollKind,int)");
        EXPECT_GE(signal, 0);
        EXPECT_TRUE(QMetaObject::connect(&slider, signal, this, QObject::staticMetaObject.methodCount()));
    }

    std::vector<int> kinds;

    int qt_metacall(QMetaObject::Call call, int method, void** arguments) override
    {
        int const own = QObject::qt_metacall(call, method, arguments);
        if (call == QMetaObject::InvokeMetaMethod && own == 0) {
            kinds.push_back(*static_cast<int const*>(arguments[1]));
        }
        return own - 1;
    }
};

/// The keys and values that views asked for, one text for each request.
class Requests final : public vordal::HostObserver
{
public:
    std::vector<std::string> made;

    void OnHostSet(CDataId const&, CAttributeMap const& tree, unsigned) override
    {
        std::string text;
        for (CAttributeMap const& value : tree.Find(L"Request")) {
            CString const key = value.GetKey();
            for (wchar_t const letter : key.View()) {
                text += static_cast<char>(letter);
            }
            text += "=" + value.Value().ToText();
        }
        made.push_back(text);
    }
};

class OperatorHand : public ::testing::Test
{
protected:
    OperatorHand()
        : OperatorHand(With(With(SonarTree(), {"x5Range", "double", 100.0}), {"x5PulseLength", "double", 0.0001}))
    {
    }
    explicit OperatorHand(Json const& tree)
    {
        m_host.SetWindowThread({});
        m_host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
        std::string reason;
        m_plugin = vordal::PlugIn::Load(QX5_PLUGIN_FILE, reason);
        if (m_plugin == nullptr) {
            throw std::runtime_error(reason);
        }
        m_plugin->RegisterDevices();
        m_plugin->RegisterViews();
        auto* const device =
            m_host.AddDevice(m_host.MakeDevice(L"QX5SonarConfigurationControlDevice"), CDataId(1, 78, 1, 1), L"Sonar");
        m_host.ReplaceAttributes(*device, cli::ReadTree(cli::ParseJson(tree.dump()), cli::JsonPath()));
        m_host.SetObserver(&requests);
        view = std::make_unique<ShownView>();
    }
    ~OperatorHand() override
    {
        view.reset();
        m_host.SetObserver(nullptr);
        m_host.RemoveAllDevices();
        m_plugin.reset();
        m_host.EndWindowThread();
    }

    static QRect Handle(QSlider& slider)
    {
        QStyleOptionSlider option;
        option.initFrom(&slider);
        option.orientation = Qt::Horizontal;
        option.minimum = slider.minimum();
        option.maximum = slider.maximum();
        option.sliderPosition = slider.sliderPosition();
        option.sliderValue = slider.value();
        return slider.style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider);
    }

    /// Turns a wheel by that many eighths of a degree. Whether anything took notice.
    static bool TurnBy(QWidget& widget, QPoint const& angle)
    {
        QPointF const at = widget.rect().center();
        QWheelEvent event(at, widget.mapToGlobal(at), QPoint(), angle, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(&widget, &event);
        return event.isAccepted();
    }
    static void Turn(QWidget& widget, int notches) { TurnBy(widget, QPoint(0, 120 * notches)); }

    /// The slider with the focus, in a window that is in front.
    QSlider& InUse(int id)
    {
        auto& slider = view->Slider(page, id);
        slider.activateWindow();
        slider.setFocus();
        EXPECT_TRUE(RunUntil([&] { return slider.hasFocus(); }));
        return slider;
    }

    Requests requests;
    std::unique_ptr<ShownView> view;

private:
    vordal::Host m_host{vordal::Threading::Inline};
    std::unique_ptr<vordal::PlugIn> m_plugin;
};

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

TEST_F(OperatorHand, ATouchOfTheThumbLeavesThePulseLengthAlone)
{
    auto& slider = view->Slider(page, pulseLength);
    Scrolls const scrolls(slider);
    QTest::mouseClick(&slider, Qt::LeftButton, Qt::NoModifier, Handle(slider).center());
    EXPECT_EQ(scrolls.kinds, std::vector<int>{}) << "nothing was pulled, so nothing is released";
    EXPECT_EQ(view->Text(page, pulseLengthText), QStringLiteral("100 \u00B5s"));
}

TEST_F(OperatorHand, OnlyAThumbThatWasPulledIsReleased)
{
    auto& slider = view->Slider(page, gain);
    QPoint const thumb = Handle(slider).center();
    {
        Scrolls const scrolls(slider);
        QTest::mouseClick(&slider, Qt::LeftButton, Qt::NoModifier, QPoint(slider.width() - 3, thumb.y()));
        EXPECT_EQ(scrolls.kinds, (std::vector{pageRight, ended})) << "a click beside it";
    }
    {
        Scrolls const scrolls(slider);
        QTest::mousePress(&slider, Qt::LeftButton, Qt::NoModifier, Handle(slider).center());
        QTest::mouseMove(&slider, QPoint(slider.width() - 3, thumb.y()));
        QTest::mouseRelease(&slider, Qt::LeftButton, Qt::NoModifier, QPoint(slider.width() - 3, thumb.y()));
        EXPECT_EQ(scrolls.kinds, (std::vector{moving, released, ended}));
    }
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

TEST_F(OperatorHand, AWheelInPassingIsLeftToWhatLiesBelow)
{
    view->Slider(page, range).setFocus();
    EXPECT_FALSE(TurnBy(view->Slider(page, gain), QPoint(0, 120)));
    EXPECT_FALSE(TurnBy(*view->Find<QComboBox>(page, 28088), QPoint(0, 120)));
    EXPECT_TRUE(TurnBy(InUse(gain), QPoint(0, 120)));
}

TEST_F(OperatorHand, AWheelGathersItsPartsOfANotch)
{
    auto& slider = InUse(gain);
    TurnBy(slider, QPoint(0, 119));
    EXPECT_EQ(slider.value(), 0);
    EXPECT_TRUE(requests.made.empty()) << "no notch yet";
    TurnBy(slider, QPoint(0, 1));
    EXPECT_EQ(slider.value(), 1);
    TurnBy(slider, QPoint(0, 230));
    EXPECT_EQ(slider.value(), 2);
    TurnBy(slider, QPoint(0, 9));
    EXPECT_EQ(slider.value(), 2) << "239 of 240";
    TurnBy(slider, QPoint(0, 1));
    EXPECT_EQ(slider.value(), 3);
    TurnBy(slider, QPoint(0, -240));
    EXPECT_EQ(slider.value(), 1);
    EXPECT_EQ(requests.made, (std::vector<std::string>{"x5Gain=1", "x5Gain=2", "x5Gain=3", "x5Gain=1"}));
}

TEST_F(OperatorHand, AWheelPushedAsideMovesTheOtherWay)
{
    // A wheel that is tilted to the right gives a negative angle, as one that is turned towards the hand does.
    auto& slider = InUse(gain);
    TurnBy(slider, QPoint(-240, 120));
    EXPECT_EQ(slider.value(), 2);
    TurnBy(slider, QPoint(120, -120));
    EXPECT_EQ(slider.value(), 1) << "of two that are as large the upright one counts";
    TurnBy(slider, QPoint(120, 0));
    EXPECT_EQ(slider.value(), 0);
}

TEST_F(OperatorHand, AnEditedFieldIsPureYellowUntilItIsApplied)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("id28075"));
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

TEST_F(OperatorHand, EveryControlHasANameAndAPlaceInTheTabOrder)
{
    for (char const* name : {"settings", "gates", "ocean", "recording", "steering", "tracker"}) {
        auto* const each = view->Display().Widget()->findChild<QWidget*>(QString::fromLatin1(name));
        ASSERT_NE(each, nullptr);
        int controls = 0;
        for (auto* const control : each->findChildren<QWidget*>()) {
            if (!control->objectName().startsWith(QStringLiteral("id")) || qobject_cast<QLabel*>(control) != nullptr) {
                continue;
            }
            ++controls;
            EXPECT_FALSE(control->accessibleName().isEmpty()) << control->objectName().toStdString();
            EXPECT_NE(control->focusPolicy() & Qt::TabFocus, 0) << control->objectName().toStdString();
        }
        EXPECT_GT(controls, 4) << name;
    }
}

TEST_F(OperatorHand, ThePagesTurnByKeyboard)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("id28075"));
    view->Slider(page, range).setFocus();
    QTest::keyClick(&view->Slider(page, range), Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(tabs.currentIndex(), 1);
    tabs.setFocus();
    QTest::keyClick(&tabs, Qt::Key_Right);
    EXPECT_EQ(tabs.currentIndex(), 2);
}

TEST_F(OperatorHand, ThePagesTurnRoundBothWays)
{
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("id28075"));
    QTest::keyClick(&view->Slider(page, range), Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(tabs.currentIndex(), 5);
    QTest::keyClick(&tabs, Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(tabs.currentIndex(), 4);
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
    auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("id28075"));
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
    auto& tabs = *pane->findChild<QTabBar*>(QStringLiteral("id28075"));
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
} // namespace qx5::test
