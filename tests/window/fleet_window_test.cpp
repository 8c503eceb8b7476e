// Tests of a fleet in the window, at a real broker: live on sonars far away, their age always in sight, commanded by
// whoever has the lease.
#include "live_stage.h"
#include "small_vessel.h"
#include "test_broker.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/fleet_window.h>
#include <reference_host/attributes/host_keys.h>
#include <reference_host/store/project_store.h>
#include <reference_host/window/device_panel.h>

#include <VordalAttributesR/CVordalType.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <protocol/records/all.h>
#include <vordalhostdllR/DataManager.h>

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTabBar>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using namespace std::chrono_literals;
namespace keys = protocol::keys;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using vordal::LinkState;

fleet::Place const bowOfVessel{"vessel", "Bow"};

CAttributeMap TreeWithRange(double range)
{
    CAttributeMap tree;
    tree.Add(AttributeKey(keys::x5Range.text), CVordalDouble(range));
    return tree;
}

class FleetInAWindow : public ::testing::Test
{
protected:
    FleetInAWindow() { vessel.SetSonar("Bow", TreeWithRange(50)); }

    broker::ConnectionOptions LineOf(std::string const& who) const
    {
        broker::ConnectionOptions options;
        options.address = server.Secure();
        options.files = server.Files(who);
        options.leastPause = 20ms;
        options.greatestPause = 200ms;
        return options;
    }
    void Open()
    {
        cli::FleetSetup setup;
        setup.fleet.line = LineOf("operator");
        setup.fleet.group = "north";
        setup.fleet.person = "operator";
        setup.fleet.model.silence = 1000ms;
        setup.plugIns = {QX5_PLUGIN_FILE};
        setup.toldPlugIns = 1;
        setup.firstSonarLimit = 60s;
        window = std::make_unique<cli::FleetWindow>(std::move(setup));
        window->Main().show();
        bow = window->DeviceOf(bowOfVessel).value();
    }
    static double RangeOf(CDataId const& sonar)
    {
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(sonar, tree);
        double range = 0.0;
        tree.FindValue(AttributeKey(keys::x5Range.text)).Get(range);
        return range;
    }
    void Ask(double range) const
    {
        CAttributeMap tree;
        *tree.Add(vordal::keys::Request) = TreeWithRange(range);
        DataManager::GetDataManager().SetAttributeMap(bow, tree, 4, false);
    }
    std::string Text(char const* label) const
    {
        return window->Main().findChild<QLabel*>(QString::fromLatin1(label))->text().toStdString();
    }
    QAction& Action(char const* name) const { return *window->Main().findChild<QAction*>(QString::fromLatin1(name)); }
    bool HasEvent(std::string const& text) const
    {
        auto const& model = window->Whole().Panes().Events().Model();
        for (int row = 0; row < model.rowCount(); ++row) {
            for (int column = 0; column < model.columnCount(); ++column) {
                if (model.index(row, column).data().toString().contains(QString::fromStdString(text))) {
                    return true;
                }
            }
        }
        return false;
    }

    TestBroker server;
    SmallVessel vessel{LineOf("vessel"), "north", "vessel"};
    std::unique_ptr<cli::FleetWindow> window;
    CDataId bow;
};

TEST_F(FleetInAWindow, ShowsWhatASonarFarAwayHasAndHowOldThatIs)
{
    Open();
    EXPECT_TRUE(RunUntil([&] { return RangeOf(bow) == 50; }));
    vessel.SetSonar("Bow", TreeWithRange(75));
    EXPECT_TRUE(RunUntil([&] { return RangeOf(bow) == 75; }));
    EXPECT_TRUE(RunUntil([&] { return window->Main().Devices().StateOf(bow) == LinkState::Connected; }));
    auto const vessels = window->Main().Devices().Vessels();
    ASSERT_EQ(vessels.size(), 1U);
    EXPECT_EQ(vessels[0].name, QStringLiteral("vessel"));
    ASSERT_EQ(vessels[0].devices.size(), 1U);
    EXPECT_EQ(vessels[0].devices[0].name, QStringLiteral("Bow"));
    EXPECT_TRUE(RunUntil([&] { return Text("fleetState").find("round trip unknown") == std::string::npos; }));
    EXPECT_THAT(Text("fleetState"), AllOf(StartsWith("vessel/Bow    current, "), HasSubstr(" s old    round trip "),
                                          HasSubstr(" ms    clocks agree")));
    EXPECT_EQ(Text("fleetLease"), "nobody commands");
    EXPECT_FALSE(window->Whole().Panes().SonarMenu().menuAction()->isVisible());
}

TEST_F(FleetInAWindow, TakesUpSonarsThatComeLater)
{
    Open();
    vessel.SetSonar("Stern", TreeWithRange(20));
    ASSERT_TRUE(RunUntil([&] { return window->DeviceOf({"vessel", "Stern"}).has_value(); }));
    EXPECT_TRUE(RunUntil([&] { return RangeOf(*window->DeviceOf({"vessel", "Stern"})) == 20; }));
    EXPECT_EQ(window->Main().Devices().Vessels()[0].devices.size(), 2U);
}

TEST_F(FleetInAWindow, LooksStaleWhenTheVesselIsSilentAndStaysReadable)
{
    Open();
    ASSERT_TRUE(RunUntil([&] { return RangeOf(bow) == 50; }));
    vessel.Hush(true);
    EXPECT_TRUE(RunUntil([&] { return Text("fleetState").find("STALE") != std::string::npos; }));
    EXPECT_TRUE(RunUntil([&] { return window->Main().Devices().StateOf(bow) == LinkState::Closed; }));
    EXPECT_TRUE(RunUntil([&] { return HasEvent("the connection was lost: stale: nothing is heard of vessel"); }));
    EXPECT_EQ(RangeOf(bow), 50);
    vessel.Hush(false);
    EXPECT_TRUE(RunUntil([&] { return HasEvent("connected again"); }));
    EXPECT_TRUE(RunUntil([&] { return Text("fleetState").find("current") != std::string::npos; }));
}

TEST_F(FleetInAWindow, AsksWithTheLeaseThatNobodyHas)
{
    Open();
    ASSERT_TRUE(RunUntil([&] { return RangeOf(bow) == 50; }));
    Ask(80);
    EXPECT_TRUE(RunUntil([&] { return RangeOf(bow) == 80; }));
    EXPECT_EQ(vessel.Done(), 1);
    EXPECT_TRUE(RunUntil([&] { return Text("fleetLease").starts_with("you command until "); }));
    EXPECT_TRUE(RunUntil([&] { return window->Whole().Panes().History().Model().rowCount() == 1; }));
    EXPECT_FALSE(HasEvent("refused"));
    Action("giveLeaseBack").trigger();
    EXPECT_TRUE(RunUntil([&] { return Text("fleetLease") == "nobody commands"; }));
    // What the history undoes goes the same way.
    window->Session().Undo();
    EXPECT_TRUE(RunUntil([&] { return RangeOf(bow) == 50; }));
    EXPECT_EQ(vessel.Done(), 2);
}

TEST_F(FleetInAWindow, IsRefusedAtOnceWhileSomebodyElseCommandsAndAsksForTheLease)
{
    vessel.TakeAboard("Bow");
    Open();
    ASSERT_TRUE(RunUntil([&] { return Text("fleetLease") == "aboard commands"; }));
    Ask(80);
    EXPECT_TRUE(RunUntil([&] { return HasEvent("aboard commands it"); }));
    EXPECT_EQ(vessel.Arrived(), 0);
    EXPECT_FALSE(Action("giveLeaseBack").isEnabled());
    EXPECT_FALSE(Action("grantLease").isEnabled());
    Action("takeLease").trigger();
    EXPECT_TRUE(
        RunUntil([&] { return Text("fleetLease").find("; you ask, to be answered by ") != std::string::npos; }));
    EXPECT_TRUE(vessel.GrantFromAboard("Bow", "operator"));
    EXPECT_TRUE(RunUntil([&] { return HasEvent("the lease of vessel/Bow: granted"); }));
    EXPECT_TRUE(RunUntil([&] { return Text("fleetLease").starts_with("you command until "); }));
    Ask(80);
    EXPECT_TRUE(RunUntil([&] { return RangeOf(bow) == 80; }));
}

TEST_F(FleetInAWindow, AnswersWhoAsksForItsLease)
{
    Open();
    fleet::FleetOptions options;
    options.line = LineOf("watcher");
    options.group = "north";
    options.person = "watcher";
    fleet::Fleet other(options, {});
    other.Start();
    Action("takeLease").trigger();
    ASSERT_TRUE(RunUntil([&] { return Text("fleetLease").starts_with("you command until "); }));
    other.AskLease(bowOfVessel, {authority::LeaseVerb::Take, 60.0, {}}, 60.0, [](authority::LeaseReply const&) {});
    ASSERT_TRUE(RunUntil([&] { return Text("fleetLease").find("; watcher asks") != std::string::npos; }));
    EXPECT_TRUE(RunUntil([&] { return Action("refuseLease").isEnabled(); }));
    Action("grantLease").trigger();
    EXPECT_TRUE(RunUntil([&] { return Text("fleetLease").starts_with("watcher commands until "); }));
}

TEST_F(FleetInAWindow, PutsDetectionsIntoTheSonarsStream)
{
    Open();
    auto stream = bow;
    stream.SetGroupId(SONAR_DETECTIONS_GROUP);
    authority::DetectionsMessage ping;
    ping.utc = 1.7e9;
    ping.ping = 12;
    ping.beams = 2;
    ping.beam = {0, 1};
    ping.angle = {-10.0F, 10.0F};
    ping.travelTime = {0.25F, 0.5F};
    ping.level = {100.0F, 90.0F};
    ping.quality = {1.0F, 0.0F};
    vessel.PublishDetections("Bow", ping);
    double time = 0.0;
    ASSERT_TRUE(RunUntil([&] {
        auto* const buffer = DataManager::GetDataManager().FindDatablockBuffer(stream, false);
        return buffer != nullptr && buffer->GetLastTime(time);
    }));
    EXPECT_EQ(time, 1.7e9);
}

TEST_F(FleetInAWindow, TakesNoLeaseOfASonarThatIsGone)
{
    Open();
    ASSERT_TRUE(RunUntil([&] { return Action("takeLease").isEnabled(); }));
    vessel.RemoveSonar("Bow");
    EXPECT_TRUE(RunUntil([&] { return Text("fleetState").find("GONE") != std::string::npos; }));
    EXPECT_TRUE(RunUntil([&] { return !Action("takeLease").isEnabled(); }));
    EXPECT_FALSE(Action("giveLeaseBack").isEnabled());
    vessel.SetSonar("Bow", TreeWithRange(50));
    EXPECT_TRUE(RunUntil([&] { return Action("takeLease").isEnabled(); }));
}

TEST(FleetBarText, SaysHowDetectionsArriveAndWhenTheyHaveEnded)
{
    fleet::SonarState sonar;
    sonar.place = bowOfVessel;
    sonar.freshness = fleet::Freshness::Current;
    sonar.age = 0.3;
    auto const text = [&](fleet::PingsState const& pings) {
        return cli::FleetText(sonar, fleet::LookState{0.82, 1.0}, pings, 0.1, {}).toStdString();
    };
    EXPECT_EQ(text({4.8, 0.2}),
              "vessel/Bow    current, 0.3 s old    round trip 820 ms    detections 4.8/s, 0.2 s old    "
              "clock +0.1 s");
    EXPECT_EQ(text({0.0, 9.2}), "vessel/Bow    current, 0.3 s old    round trip 820 ms    last detections 9.2 s ago    "
                                "clock +0.1 s");
}

/// A sonar far away, its vessel in a process of its own, and the window ashore.
class ServedFleet : public ::testing::Test
{
protected:
    ServedFleet()
    {
        auto const project = folder / "survey.qx5";
        vordal::StoredProject stored;
        stored.vessels = {cli::MakeVessel(1, L"Surveyor", false)};
        AddConnected(stored, {hull, L"QX5SonarConfigurationControlDevice", L"Bow", {}, true, {}}, L"127.0.0.1",
                     far.Port());
        vordal::ProjectStore(project).Save(stored);
        auto const files = server.Files("vessel");
        aboard = std::make_unique<ChildProcess>(std::vector<std::string>{
            QX5_PROGRAM, "serve", project.string(), "--broker", server.Secure().Text(), "--ca",
            files.authority.string(), "--cert", files.certificate.string(), "--key", files.key.string(), "--group",
            "north", "--vessel", "vessel", "--allow", "transmit"});
        EXPECT_TRUE(aboard->WaitForOutput("connected to ")) << aboard->Errors();
        cli::FleetSetup setup;
        setup.fleet.line.address = server.Secure();
        setup.fleet.line.files = server.Files("operator");
        setup.fleet.line.leastPause = 20ms;
        setup.fleet.line.greatestPause = 200ms;
        setup.fleet.group = "north";
        setup.fleet.person = "operator";
        setup.plugIns = {QX5_PLUGIN_FILE, PICTURE_PLUGIN_FILE};
        setup.toldPlugIns = 2;
        setup.firstSonarLimit = 60s;
        window = std::make_unique<cli::FleetWindow>(std::move(setup));
        window->Main().resize(1300, 850);
        window->Main().show();
        bow = window->DeviceOf(bowOfVessel).value();
    }

    template <typename T>
    T& Control(char const* name) const
    {
        return *window->Whole().View().Frame().findChild<T*>(QString::fromLatin1(name));
    }
    std::string Label(char const* name) const { return Control<QLabel>(name).text().toStdString(); }
    std::string Text(char const* label) const
    {
        return window->Main().findChild<QLabel*>(QString::fromLatin1(label))->text().toStdString();
    }
    CAttributeMap Tree() const
    {
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(bow, tree);
        return tree;
    }
    template <typename T>
    bool Has(protocol::Key const& key, T wanted) const
    {
        return RunUntil([&] {
            T value{};
            return Tree().FindValue(AttributeKey(key.text)).Get(value) && value == wanted;
        });
    }

    TemporaryFolder const folder{"qx5-served"};
    TestBroker server;
    Sonar far;
    std::unique_ptr<ChildProcess> aboard;
    std::unique_ptr<cli::FleetWindow> window;
    CDataId bow;
};

TEST_F(ServedFleet, ThePictureIsAliveAndTheBarSaysAtWhatRate)
{
    ASSERT_TRUE(RunUntil([&] { return Label("powerValue") == "190 dB"; }));
    EXPECT_EQ(Text("fleetState").find("detections"), std::string::npos);
    ASSERT_TRUE(far.Tell("set x5PingOnOffState=1"));
    EXPECT_TRUE(RunUntil([&] { return cli::HasEchoes(bow); }));
    EXPECT_TRUE(RunUntil([&] { return Text("fleetState").find("    detections ") != std::string::npos; }))
        << Text("fleetState");
    ASSERT_TRUE(far.Tell("set x5PingOnOffState=0"));
    EXPECT_TRUE(RunUntil([&] { return Text("fleetState").find("    last detections ") != std::string::npos; }))
        << Text("fleetState");
}

TEST_F(ServedFleet, TheTabsAreLive)
{
    ASSERT_EQ(Control<QTabBar>("tabs").count(), 6);
    ASSERT_TRUE(RunUntil([&] { return Label("powerValue") == "190 dB"; }));
    // What changes aboard, on each tab that shows the sonar; that of the steering shows a computation of its own host.
    ASSERT_TRUE(far.Tell("set x5Power=205"));
    EXPECT_TRUE(RunUntil([&] { return Label("powerValue") == "205 dB"; }));
    ASSERT_TRUE(far.Tell("set x5DepthGateTilt=12"));
    EXPECT_TRUE(RunUntil([&] { return Label("tiltValue") == "12\u00B0"; })) << Label("tiltValue");
    ASSERT_TRUE(far.Tell("set x5Absorption=33"));
    EXPECT_TRUE(RunUntil([&] { return Label("absorptionValue") == "33.0 dB/km"; })) << Label("absorptionValue");
    ASSERT_TRUE(far.Tell("set x5DataRecording=1"));
    EXPECT_TRUE(RunUntil([&] { return !Control<QPushButton>("startButton").isEnabled(); }));
    ASSERT_TRUE(far.Tell("set x5SystemMode=1"));
    EXPECT_TRUE(RunUntil([&] { return Control<QCheckBox>("enableTrackerBox").isChecked(); }));
    // What is asked for ashore: nothing but the sonar far away writes into the tree.
    Control<QCheckBox>("enableTrackerBox").click();
    EXPECT_TRUE(Has(keys::x5SystemMode, 0));
    EXPECT_TRUE(RunUntil([&] { return Text("fleetLease").starts_with("you command until "); }));
    Control<QPushButton>("stopButton").click();
    EXPECT_TRUE(Has(keys::x5DataRecording, 0));
    Control<QCheckBox>("useDepthGateBox").click();
    EXPECT_TRUE(Has(keys::x5DepthFilterEnabled, true));
    Control<QCheckBox>("overrideSoundVelocityBox").click();
    EXPECT_TRUE(Has(keys::x5SoundVelocityOverride, true));
    auto& power = Control<QSlider>("powerSlider");
    for (int const kind : {1, 8}) {
        EXPECT_TRUE(QMetaObject::invokeMethod(&power, "scroll", Q_ARG(int, kind), Q_ARG(int, 0)));
    }
    EXPECT_TRUE(Has(keys::x5Power, 206.0));

    aboard->Signal(SIGTERM);
    EXPECT_EQ(aboard->WaitForEnd(), 0) << aboard->Errors();
    EXPECT_TRUE(RunUntil([&] { return Text("fleetState").starts_with("vessel/Bow    GONE, "); }));
    EXPECT_EQ(Label("powerValue"), "206 dB") << "what it had stays readable";
}

} // namespace
} // namespace qx5::test
