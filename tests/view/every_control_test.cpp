// Every control of the six pages, worked in a window on a fresh simulated sonar, by hand and as a screen reader works
// it: the record arrives at the sonar, its answer comes back, and all pages that show it agree.
#include "shown_view.h"

#include "cli/scenario/view_controls.h"
#include "reference_host/controls/window_thread.h"
#include "tests/end_to_end/stage.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/bytes.h>
#include <vordalhostdllR/DataManager.h>

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAccessible>
#include <QComboBox>
#include <QLineEdit>
#include <QTabBar>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace qx5::test::every_control_test {
namespace {

enum class Hand
{
    Click,
    ToTheLeft,  ///< a slider to its left end
    ToTheRight, ///< a slider to its right end
    Next,       ///< the next item of a list
    Enter,      ///< a text into a field, and Return
    Type,       ///< a text into a field, without Return
};

/// One touch of a control; `text` for a field.
struct Touch
{
    char const* page;
    int id;
    Hand hand = Hand::Click;
    char const* text = "";
};

/// How a control stands: the text of a label, a field, or a list's choice; a button "on" or "off"; "disabled".
struct Shown
{
    char const* page;
    int id;
    char const* state;
};

/// What becomes of a control that is worked.
struct Row
{
    Touch touch;
    std::vector<std::uint32_t> records; ///< that arrive for it, in order; empty for what no sonar hears of
    std::string sonar;                  ///< the line of the sonar's state that tells of it: "x5Range = 500 m"
    std::vector<Shown> shown;
    std::vector<Touch> before = {};
};

// The sonar: range 100 m of 5 to 500, power 190 dB of 170 to 220, gain 20 dB of 0 to 83 in both modes, 10 pings a
// second of 0 to 50, pulse length 100 us of 33 to 300 (frequency modulated 300 us to 20 ms), beam width 2 of 2, 4, 8
// degrees, steering of -10 to 10 degrees, absorption 70 dB/km of 0 to 120, spreading 30 dB of 0 to 60, sound velocity
// of 1350 to 1650 m/s, filter 1, the tracker off, all gates off.
std::vector<Row> const rows{
    {{"settings", 28076, Hand::Next},
     {1011},
     "DeviceEnum = 1",
     {{"settings", 28076, "400 kHz"}, {"settings", 16936, "200.0"}}},
    {{"settings", 16926, Hand::ToTheRight}, {1003}, "x5Range = 500 m", {{"settings", 16940, "500.0 m"}}},
    {{"settings", 16927, Hand::ToTheRight}, {1005}, "x5Power = 220 dB", {{"settings", 16941, "220 dB"}}},
    {{"settings", 16928, Hand::ToTheRight},
     {1004, 10003, 1100},
     "x5MaxPingRate = 50",
     {{"settings", 16952, "50.0 p/s"}}},
    {{"settings", 16929, Hand::ToTheRight}, {1008}, "x5Gain = 83 dB", {{"settings", 16957, "83.0 dB"}}},
    {{"settings", 28091}, {1017}, "x5GainMode = 2", {{"settings", 28091, "on"}, {"settings", 28090, "off"}}},
    {{"settings", 28090},
     {1017},
     "x5GainMode = 0",
     {{"settings", 28090, "on"}, {"settings", 28091, "off"}},
     {{"settings", 28091}}},
    {{"settings", 16931, Hand::ToTheLeft}, {1006}, "x5PulseLength = 3.3", {{"settings", 16945, "33 \u00B5s"}}},
    {{"settings", 28088, Hand::Next},
     {1007},
     "x5PulseType = 1",
     {{"settings", 28088, "FM"}, {"settings", 16944, "20.0 ms"}, {"settings", 16945, "300 \u00B5s"}}},
    {{"settings", 28107},
     {1009},
     "x5DepthFilterEnabled = true",
     {{"settings", 28107, "on"}, {"gates", 28111, "on"}, {"settings", 28109, "off"}, {"gates", 28117, "off"}}},
    {{"settings", 28108},
     {1009},
     "x5RangeFilterEnabled = true",
     {{"settings", 28108, "on"}, {"gates", 28114, "on"}, {"settings", 28109, "off"}, {"gates", 28117, "off"}}},
    {{"settings", 28109},
     {1009},
     "x5AdaptiveGateEnabled = true",
     {{"settings", 28109, "on"}, {"gates", 28117, "on"}, {"settings", 28107, "off"}, {"gates", 28111, "off"}},
     {{"settings", 28107}}},
    {{"settings", 16930, Hand::ToTheRight}, {1022}, "x5BeamWidthX = 8", {{"settings", 16946, "8.0\u00B0"}}},
    {{"settings", 16932, Hand::ToTheRight}, {1021}, "x5BeamSteer = (10, 0)", {{"settings", 16953, "10.00\u00B0"}}},
    // Lifting the restriction turns the pings on.
    {{"settings", 28128},
     {1100},
     "x5PingOnOffState = 1",
     {{"settings", 28128, "off"}, {"settings", 16952, "10.0 p/s"}},
     {{"settings", 28128}}},

    {{"gates", 28111}, {1009}, "x5DepthFilterEnabled = true", {{"gates", 28111, "on"}, {"settings", 28107, "on"}}},
    {{"gates", 28112, Hand::Enter, "5"}, {1010, 1016}, "x5MinDepthGate = 5 m", {{"gates", 28112, "5.0"}}},
    {{"gates", 28113, Hand::Enter, "60"}, {1010, 1016}, "x5MaxDepthGate = 60 m", {{"gates", 28113, "60.0"}}},
    {{"gates", 28125, Hand::ToTheRight}, {1010}, "x5DepthGateTilt = 30", {{"gates", 28123, "30\u00B0"}}},
    {{"gates", 28114}, {1009}, "x5RangeFilterEnabled = true", {{"gates", 28114, "on"}, {"settings", 28108, "on"}}},
    {{"gates", 28115, Hand::Enter, "2"}, {1010, 1016}, "x5MinRangeGate = 2 m", {{"gates", 28115, "2.0"}}},
    {{"gates", 28116, Hand::Enter, "90"}, {1010, 1016}, "x5MaxRangeGate = 90 m", {{"gates", 28116, "90.0"}}},
    {{"gates", 28117},
     {1009},
     "x5AdaptiveGateEnabled = true",
     {{"gates", 28117, "on"}, {"settings", 28109, "on"}, {"gates", 28114, "off"}, {"settings", 28108, "off"}},
     {{"gates", 28114}}},
    {{"gates", 28118, Hand::Enter, "3"}, {1010, 1016}, "x5AGSearchMin = 3 m", {{"gates", 28118, "3.0"}}},
    {{"gates", 28119, Hand::Enter, "70"}, {1010, 1016}, "x5AGSearchMax = 70 m", {{"gates", 28119, "70.0"}}},
    {{"gates", 28120}, {1009}, "x5AGDepthFilterFixed = true", {{"gates", 28120, "off"}}},
    {{"gates", 28100, Hand::ToTheRight}, {1016}, "x5AGWindowSize = 100", {{"gates", 28124, "100%"}}},
    {{"gates", 28122},
     {1010, 1016},
     "x5MinDepthGate = 4 m",
     {{"gates", 28112, "4.0"}, {"gates", 28122, "disabled"}},
     {{"gates", 28112, Hand::Type, "4"}}},

    {{"ocean", 16920, Hand::ToTheRight}, {7611}, "x5Absorption = 120", {{"ocean", 16924, "120.0 dB/km"}}},
    {{"ocean", 16922, Hand::ToTheRight}, {7612}, "x5SpreadingLoss = 60 dB", {{"ocean", 16925, "60.0 dB"}}},
    {{"ocean", 28092}, {7610}, "x5SoundVelocityOverride = true", {{"ocean", 28092, "on"}}},
    {{"ocean", 16921, Hand::ToTheRight},
     {7610},
     "x5SoundVelocity = 1650 m/s",
     {{"ocean", 16923, "1650.0 m/s"}},
     {{"ocean", 28092}}},
    {{"ocean", 28105, Hand::Next}, {7610}, "x5SoundVelocityFilter = 2", {{"ocean", 28105, "Light"}}},

    {{"recording", 28079},
     {1201},
     "x5DataRecording = 0",
     {{"recording", 28079, "on"}, {"recording", 28080, "disabled"}}},
    {{"recording", 28080}, {1200}, "x5DataRecording = 1", {{"recording", 28080, "disabled"}}},
    {{"recording", 28081}, {1201}, "x5DataRecording = 0", {{"recording", 28081, "disabled"}}, {{"recording", 28080}}},

    // The settings of the steering are a computation's of the host.
    {{"steering", 28093}, {}, "SonarSteering = 1", {{"steering", 28093, "on"}}},
    {{"steering", 28103}, {}, "PipeRouteSonarSteering = 1", {{"steering", 28103, "on"}}},
    {{"steering", 28094}, {}, "RouteSteering = 0", {{"steering", 28094, "on"}, {"steering", 28095, "off"}}},
    {{"steering", 28095},
     {},
     "RouteSteering = 1",
     {{"steering", 28095, "on"}, {"steering", 28094, "off"}},
     {{"steering", 28094}}},
    {{"steering", 28096, Hand::Next}, {}, "RouteName = \"south.rte\"", {{"steering", 28096, "south.rte"}}},
    {{"steering", 28097}, {}, "SteeringMode = 0", {{"steering", 28097, "on"}, {"steering", 28098, "off"}}},
    {{"steering", 28098},
     {},
     "SteeringMode = 1",
     {{"steering", 28098, "on"}, {"steering", 28097, "off"}},
     {{"steering", 28097}}},
    {{"steering", 28099, Hand::ToTheRight}, {}, "PipeRouteSteeringDiff = 5", {{"steering", 28100, "5.0\u00B0"}}},
    {{"steering", 28101, Hand::ToTheRight}, {}, "PipeRouteSteeringDelay = 10", {{"steering", 28102, "10"}}},

    {{"tracker", 28133}, {1014}, "x5SystemMode = 1", {{"tracker", 28133, "on"}}},
    // What the tracker governs, the operator cannot move meanwhile.
    {{"tracker", 28134},
     {1402},
     "x5TrackerRangeEnabled = true",
     {{"tracker", 28134, "on"}, {"settings", 16926, "disabled"}},
     {{"tracker", 28133}}},
    {{"tracker", 28135},
     {1402},
     "x5TrackerPowerGainEnabled = true",
     {{"tracker", 28135, "on"},
      {"settings", 16927, "disabled"},
      {"settings", 16929, "disabled"},
      {"ocean", 16920, "disabled"},
      {"ocean", 16922, "disabled"}},
     {{"tracker", 28133}}},
    {{"tracker", 28136},
     {1402},
     "x5TrackerPulseLengthEnabled = true",
     {{"tracker", 28136, "on"}, {"settings", 16931, "disabled"}},
     {{"tracker", 28133}}},
    {{"tracker", 28137}, {1402}, "x5TrackerCoverageAngleEnabled = true", {{"tracker", 28137, "on"}}},
    {{"tracker", 28138}, {1402}, "x5TrackerFixedSwathEnabled = true", {{"tracker", 28138, "on"}}},
    {{"tracker", 28139}, {1402}, "x5TrackerLimitCoverage = true", {{"tracker", 28139, "on"}}},
    {{"tracker", 28140, Hand::Enter, "120"}, {1402}, "x5TrackerFixedSwathWidth = 120 m", {{"tracker", 28140, "120"}}},
    {{"tracker", 28141, Hand::Enter, "90"}, {1402}, "x5TrackerMaxCoverageAngle = ", {{"tracker", 28141, "90"}}},
    {{"tracker", 28122},
     {1402},
     "x5TrackerFixedSwathWidth = 80 m",
     {{"tracker", 28140, "80"}, {"tracker", 28122, "disabled"}},
     {{"tracker", 28140, Hand::Type, "80"}}},
};

/// On the pages that have one.
constexpr int applyButton = 28122;

CDataId const sonarId(1, 78, 1, 1);
CDataId const computationId(1, 1117, 1, 1);

/// How the operator gets at the controls.
enum class Way
{
    Hand,      ///< mouse and keys
    Accessible ///< what the toolkit offers to screen readers and test robots
};

/// A fresh sonar, a host with the plug-in, and the view in a window.
class Bridge
{
public:
    explicit Bridge(Way way) : m_way(way)
    {
        EXPECT_TRUE(near.Connect());
        CAttributeMap steering;
        steering.Add(L"SonarSteering", CVordalInt(0));
        steering.Add(L"RouteSteering", CVordalInt(1));
        steering.Add(L"SteeringMode", CVordalInt(1));
        steering.Add(L"RouteName", CVordalText(L"north.rte"));
        steering.Add(L"PipeRouteSonarSteering", CVordalInt(0));
        steering.Add(L"PipeRouteSteeringDelay", CVordalInt(4));
        steering.Add(L"PipeRouteSteeringDiff", CVordalDouble(2.0));
        near.Host().SetRoutes({L"north.rte", L"south.rte"});
        near.Host().RunAndWait([&] {
            near.Host().AddComputation({computationId, 1117, steering, {sonarId}, {}});
            CAttributeMap mounted;
            mounted.Add(L"MountedOnPanAndTilt", CVordalInt(1));
            near.Host().MergeDecoded(near.Sonar(), mounted);
        });
        window = std::make_unique<vordal::WindowThread>(near.Host());
        view = std::make_unique<ShownView>();
        Settle();
    }
    ~Bridge()
    {
        view.reset();
        window.reset();
    }

    /// Waits until the sonar has had all that was asked for, and the window shows what it told: the sonar tells
    /// something behind it.
    void Settle()
    {
        near.Host().RunAndWait([] {});
        EXPECT_TRUE(RunUntil(
            [&] { return far.Server().Counts().recordsReceived == near.Port().GetLink().GetCounters().framesOut; }));
        ++m_settled;
        far.Command("set Settled:double=" + std::to_string(m_settled));
        EXPECT_TRUE(RunUntil([&] { return near.Value(L"Settled") == m_settled; }));
        near.Host().RunAndWait([] {});
        QCoreApplication::processEvents();
    }

    void Do(Touch const& touch)
    {
        auto& tabs = *view->Display().Widget()->findChild<QTabBar*>(QStringLiteral("tabs"));
        auto const page = std::find(cli::viewPages.begin(), cli::viewPages.end(), touch.page);
        tabs.setCurrentIndex(static_cast<int>(page - cli::viewPages.begin()));
        QCoreApplication::processEvents();
        auto* const control = view->Find<QWidget>(touch.page, touch.id);
        ASSERT_TRUE(control->isVisible() && control->isEnabled()) << touch.page << " " << touch.id;
        if (m_way == Way::Accessible) {
            DoAccessibly(touch, *control);
            return;
        }
        control->setFocus();
        switch (touch.hand) {
        case Hand::Click:
            QTest::mouseClick(control, Qt::LeftButton, Qt::NoModifier, QPoint(8, control->height() / 2));
            break;
        case Hand::ToTheLeft:
            QTest::keyClick(control, Qt::Key_Home);
            break;
        case Hand::ToTheRight:
            QTest::keyClick(control, Qt::Key_End);
            break;
        case Hand::Next:
            QTest::keyClick(control, Qt::Key_Down);
            break;
        case Hand::Enter:
        case Hand::Type:
            QTest::keyClick(control, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(control, QString::fromLatin1(touch.text));
            if (touch.hand == Hand::Enter) {
                QTest::keyClick(control, Qt::Key_Return);
            }
            break;
        }
    }

    void DoAccessibly(Touch const& touch, QWidget& control)
    {
        auto* const access = QAccessible::queryAccessibleInterface(&control);
        ASSERT_NE(access, nullptr);
        EXPECT_FALSE(access->text(QAccessible::Name).isEmpty()) << touch.page << " " << touch.id;
        switch (touch.hand) {
        case Hand::Click:
            Press(control, *access);
            break;
        case Hand::ToTheLeft:
            access->valueInterface()->setCurrentValue(access->valueInterface()->minimumValue());
            break;
        case Hand::ToTheRight:
            access->valueInterface()->setCurrentValue(access->valueInterface()->maximumValue());
            break;
        case Hand::Next: {
            auto const& list = dynamic_cast<QComboBox&>(control);
            auto* const item = access->child(list.currentIndex() + 1);
            ASSERT_NE(item, nullptr);
            item->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
            break;
        }
        case Hand::Enter:
        case Hand::Type: {
            auto* const text = access->editableTextInterface();
            text->replaceText(0, access->textInterface()->characterCount(), QString::fromLatin1(touch.text));
            if (touch.hand == Hand::Enter) {
                // There is no Return without a keyboard.
                auto& apply = *view->Find<QWidget>(touch.page, applyButton);
                Press(apply, *QAccessible::queryAccessibleInterface(&apply));
            }
            break;
        }
        }
    }

    static void Press(QWidget& control, QAccessibleInterface& access)
    {
        auto* const actions = access.actionInterface();
        ASSERT_NE(actions, nullptr);
        auto const& toggle = QAccessibleActionInterface::toggleAction();
        bool const toggles = actions->actionNames().contains(toggle);
        actions->doAction(toggles ? toggle : QAccessibleActionInterface::pressAction());
        // The toolkit lets the press be seen before it ends.
        auto const& button = dynamic_cast<QAbstractButton&>(control);
        EXPECT_TRUE(RunUntil([&] { return !button.isDown(); }));
    }

    QString StateOf(Shown const& shown)
    {
        auto* const control = view->Find<QWidget>(shown.page, shown.id);
        if (QString::fromUtf8(shown.state) == QStringLiteral("disabled")) {
            return control->isEnabledTo(view->Display().Widget()) ? QStringLiteral("enabled")
                                                                  : QStringLiteral("disabled");
        }
        if (auto const* const label = qobject_cast<QLabel*>(control)) {
            return label->text();
        }
        if (auto const* const button = qobject_cast<QAbstractButton*>(control)) {
            return button->isChecked() ? QStringLiteral("on") : QStringLiteral("off");
        }
        if (auto const* const list = qobject_cast<QComboBox*>(control)) {
            return list->currentText();
        }
        if (auto const* const field = qobject_cast<QLineEdit*>(control)) {
            return field->text();
        }
        return QStringLiteral("?");
    }

    /// Numbers of the commands and data records that arrived, requests for records and what Settle sends aside.
    std::vector<std::uint32_t> Arrived() const
    {
        std::vector<std::uint32_t> records;
        for (auto const& arrival : far.Arrivals()) {
            std::uint32_t const record = protocol::GetU32LE(arrival.frame, 32);
            std::uint32_t const number = record == 7500 ? protocol::GetU32LE(arrival.frame, 64) : record;
            if (number != 90001) {
                records.push_back(number);
            }
        }
        return records;
    }

    std::string ComputationLine(std::string const& key)
    {
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(computationId, tree);
        return key + " = " + tree.FindValue(AttributeKey(std::wstring(key.begin(), key.end())), 0).ToText();
    }

    FarEnd far;
    NearEnd near{
        far.Port(),
        {},
        {.number = 1, .name = L"Vessel", .configuration = {{L"PipeDetection", {{L"EnablePipeDetection", L"1,1"}}}}}};
    std::unique_ptr<vordal::WindowThread> window;
    std::unique_ptr<ShownView> view;

private:
    Way const m_way;
    int m_settled = 0;
};

class EveryControl : public ::testing::TestWithParam<Way>
{
};

INSTANTIATE_TEST_SUITE_P(By, EveryControl, ::testing::Values(Way::Hand, Way::Accessible),
                         [](auto const& way) { return way.param == Way::Hand ? "Hand" : "ScreenReader"; });

TEST_P(EveryControl, ReachesTheSonarAndAllPagesShowItsAnswer)
{
    int worked = 0;
    int arrived = 0;
    int answered = 0;
    int written = 0;
    int agreed = 0;
    int onOtherPages = 0;
    for (Row const& row : rows) {
        std::string const name = std::string(row.touch.page) + " " + std::to_string(row.touch.id);
        SCOPED_TRACE(name);
        Bridge bridge(GetParam());
        for (Touch const& touch : row.before) {
            bridge.Do(touch);
            bridge.Settle();
            if (touch.hand == Hand::Type) {
                // A refresh takes what was typed back, as an operator who is interrupted sees.
                bridge.Do(touch);
            }
        }
        auto const recordsBefore = bridge.Arrived().size();
        auto const answersBefore = bridge.far.Answers().size();
        bridge.Do(row.touch);
        ++worked;
        bridge.Settle();
        std::string const key = row.sonar.substr(0, row.sonar.find(' '));
        auto records = bridge.Arrived();
        records.erase(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(recordsBefore));
        EXPECT_EQ(records, row.records);
        if (row.records.empty()) {
            std::string const line = bridge.ComputationLine(key);
            EXPECT_EQ(line, row.sonar);
            written += line == row.sonar ? 1 : 0;
        } else {
            arrived += records == row.records ? 1 : 0;
            std::string const state = bridge.far.Command("state " + key);
            EXPECT_TRUE(state.starts_with(row.sonar)) << state;
            auto const answers = bridge.far.Answers();
            bool const isAnswered = std::any_of(
                answers.begin() + static_cast<std::ptrdiff_t>(answersBefore), answers.end(),
                [&](std::string const& answer) { return (answer + " ").find(" " + key + " ") != std::string::npos; });
            EXPECT_TRUE(isAnswered) << "the sonar did not tell " << key;
            answered += isAnswered ? 1 : 0;
        }
        for (Shown const& shown : row.shown) {
            auto const state = bridge.StateOf(shown);
            EXPECT_EQ(state.toStdString(), shown.state) << shown.page << " " << shown.id;
            agreed += state == QString::fromUtf8(shown.state) ? 1 : 0;
            onOtherPages += std::string_view(shown.page) != row.touch.page ? 1 : 0;
        }
    }
    std::printf(
        "%d controls worked: for %d their records arrived, to %d of these the sonar answered, %d were written to "
        "the steering computation; %d controls show it, %d of them on another page\n",
        worked, arrived, answered, written, agreed, onOtherPages);
}

TEST(EveryControlOfAllPages, IsWorked)
{
    std::set<std::pair<std::string_view, int>> worked;
    for (Row const& row : rows) {
        EXPECT_TRUE(worked.insert({row.touch.page, row.touch.id}).second) << row.touch.page << " " << row.touch.id;
    }
    for (cli::ViewControl const& control : cli::viewControls) {
        bool const isToShow = control.kind == cli::ControlKind::Label || control.kind == cli::ControlKind::ReadOnlyText;
        EXPECT_NE(worked.contains({control.page, control.id}), isToShow) << control.page << " " << control.id;
    }
}

} // namespace
} // namespace qx5::test::every_control_test
