// Tests of the window on simulated sonars over TCP: from the operator's hand to the sonar and back, and an orderly end.
#include "live_stage.h"
#include "program.h"
#include "tests/support/temporary_folder.h"

#include <protocol/utf8.h>
#include <reference_host/window/record_monitor.h>

#include <vordalhostdllR/DataManager.h>

#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QTabBar>
#include <QTextDocument>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <optional>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;

TEST(LiveWindow, OpensConnectsShowsTheTreeAndTheRecordsAndCloses)
{
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
    EXPECT_EQ(stage.Control<QTabBar>("tabs").count(), 6);
    EXPECT_TRUE(RunUntil([&] { return stage.window->Records().Model().rowCount() > 0; }));
    stage.End();
}

/// What the toolkit shows of a text that it may take for rich text: its characters as they stand, or something else.
bool ShowsAsItStands(QString const& text, QString const& meant)
{
    QTextDocument shown;
    if (!Qt::mightBeRichText(text)) {
        return text.contains(meant);
    }
    shown.setHtml(text);
    return shown.toPlainText().contains(meant);
}

TEST(LiveWindow, ATextOfASonarIsNeverTakenForRichText)
{
    QString const told = QStringLiteral("<b>bold</b><img src=file:///etc/hostname>");
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
    std::string answer;
    for (char const* key : {"x5DirectoryName", "x5FileName", "InfoText"}) {
        stage.sonars[0].Server().Command("set " + (key + ("=" + told.toStdString())), answer);
    }
    auto& field = stage.Control<QLineEdit>("directoryField");
    ASSERT_TRUE(RunUntil([&] { return field.text() == told; })) << answer;
    stage.window->ShowLine(told);

    int tips = 0;
    for (auto const* const widget : stage.window->findChildren<QWidget*>()) {
        if (widget->toolTip().contains(QStringLiteral("bold"))) {
            EXPECT_TRUE(ShowsAsItStands(widget->toolTip(), told)) << widget->objectName().toStdString();
            ++tips;
        }
        if (auto const* const label = qobject_cast<QLabel const*>(widget);
            label != nullptr && label->text().contains(QStringLiteral("bold"))) {
            EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->objectName().toStdString();
        }
    }
    EXPECT_EQ(tips, 3) << "both fields of the page and the window's line";
    auto const& model = stage.window->Attributes().Model();
    QModelIndexList found;
    ASSERT_TRUE(RunUntil([&] {
        found = model.match(model.index(0, vordal::AttributeTreeModel::Value), Qt::DisplayRole, QStringLiteral("bold"),
                            -1, Qt::MatchContains | Qt::MatchRecursive);
        return found.size() >= 2;
    }));
    for (QModelIndex const& value : found) {
        EXPECT_TRUE(ShowsAsItStands(value.data(Qt::ToolTipRole).toString(), told));
    }
}

TEST(LiveWindow, ClosesBeforeAnythingIsConnected)
{
    Stage stage;
    stage.End();
}

TEST(LiveWindow, ASliderReachesTheSonarAndItsAnswerTheLabel)
{
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
    ASSERT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "190 dB"; }))
        << stage.Label("powerValue").toStdString();
    stage.Scroll("powerSlider", 1);
    EXPECT_EQ(stage.Label("powerValue"), "191 dB");
    EXPECT_TRUE(stage.sonars[0].Payloads(1005).empty()) << "sent before the end of scrolling";
    stage.Scroll("powerSlider", 8);
    ASSERT_TRUE(RunUntil([&] { return !stage.sonars[0].Payloads(1005).empty(); }));
    // 191.0 as a 32-bit float.
    EXPECT_EQ(stage.sonars[0].Payloads(1005), (std::vector<std::vector<unsigned char>>{{0x00, 0x00, 0x3F, 0x43}}));
    EXPECT_TRUE(stage.sonars[1].Payloads(1005).empty());
    // The sonar changes it of itself; the label follows.
    std::string answer;
    ASSERT_TRUE(stage.sonars[0].Server().Command("set x5Power=205", answer)) << answer;
    EXPECT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "205 dB"; }));
    EXPECT_EQ(stage.Control<QSlider>("powerSlider").value(),
              205 - 220 + stage.Control<QSlider>("powerSlider").maximum());
}

TEST(LiveWindow, TheViewFollowsTheChosenSonarAndVessel)
{
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
    Q_EMIT stage.window->Devices().SonarChosen(pole);
    EXPECT_TRUE(RunUntil([&] { return stage.window->ShownDevice() == pole; }));
    EXPECT_TRUE(
        RunUntil([&] { return stage.window->findChild<QLabel*>("viewTitle")->text() == "Pole sonar - Surveyor"; }));
    stage.Scroll("powerSlider", 1);
    stage.Scroll("powerSlider", 8);
    EXPECT_TRUE(RunUntil([&] { return !stage.sonars[1].Payloads(1005).empty(); }));
    EXPECT_TRUE(stage.sonars[0].Payloads(1005).empty());

    Q_EMIT stage.window->Devices().VesselChosen(2);
    EXPECT_TRUE(RunUntil([&] { return stage.window->ShownDevice() == rov; }));
    EXPECT_TRUE(RunUntil([&] { return stage.window->findChild<QLabel*>("viewTitle")->text() == "ROV sonar - ROV"; }));
    EXPECT_TRUE(RunUntil([&] { return stage.window->Attributes().Model().NodeCount() > 20; }));
}

TEST(LiveWindow, ALostSonarIsToldWithTheReason)
{
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
    stage.sonars[0].Server().Stop();
    EXPECT_TRUE(RunUntil([&] { return stage.window->Devices().StateOf(hull) == vordal::LinkState::Waiting; }));
    EXPECT_TRUE(RunUntil([&] {
        auto const text = stage.window->findChild<QLabel*>("deviceExplained")->text();
        return text.contains("waiting: ") && text.contains("tries again in");
    }));
    EXPECT_TRUE(stage.IsConnected(pole));
    // What the operator asks for now goes nowhere and holds nobody up.
    stage.Scroll("powerSlider", 1);
    stage.Scroll("powerSlider", 8);
    stage.End();
}

TEST(LiveWindow, TheProjectRemembersWindowDocksAndTheViewsDevice)
{
    TemporaryFolder const folder;
    auto const file = folder / "window-project.qx";
    {
        Stage stage(file.string());
        ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
        Q_EMIT stage.window->Devices().SonarChosen(pole);
        ASSERT_TRUE(RunUntil([&] { return stage.window->ShownDevice() == pole; }));
        stage.window->findChild<QDockWidget*>("attributeDock")->hide();
        stage.Scroll("powerSlider", 1);
        stage.Scroll("powerSlider", 8);
        ASSERT_TRUE(RunUntil([&] { return !stage.sonars[1].Payloads(1005).empty(); }));
    }
    {
        Stage stage(file.string());
        EXPECT_EQ(stage.window->ShownDevice(), pole);
        auto const& memory = stage.session.WindowMemory();
        ASSERT_FALSE(memory.empty());
        EXPECT_TRUE(stage.window->RestoreMemory(
            QByteArray(reinterpret_cast<char const*>(memory.data()), static_cast<qsizetype>(memory.size()))));
        EXPECT_FALSE(stage.window->findChild<QDockWidget*>("attributeDock")->isVisible());
        EXPECT_TRUE(stage.window->findChild<QDockWidget*>("recordDock")->isVisible());
    }
    auto const project = vordal::ProjectStore(file).Load();
    EXPECT_EQ(project.devices.size(), 3U);
    EXPECT_EQ(project.computations.size(), 3U);
    EXPECT_EQ(project.vessels.size(), 2U);
}

TEST(LiveWindow, WhatTheOperatorDoesIsInTheProjectsLog)
{
    TemporaryFolder const folder;
    auto const file = folder / "logged.qx5";
    {
        Stage stage(file.string());
        ASSERT_TRUE(RunUntil([&] { return stage.IsReady() && stage.Label("powerValue") == "190 dB"; }));
        stage.Scroll("powerSlider", 1);
        stage.Scroll("powerSlider", 8);
        ASSERT_TRUE(RunUntil([&] {
            stage.session.Tick();
            return stage.session.Desk().Log().Waiting() != 0;
        }));
    }
    std::vector<std::string> rows;
    vordal::ProjectStore::ReadActions(
        file, [&](vordal::StoredAction const& row) { rows.push_back(operation::JsonLine(row)); });
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_THAT(rows[0],
                ::testing::HasSubstr(R"("who":"view","sonar":"Hull sonar","key":"x5Power","old":190,"new":191,)"
                                     R"("result":"agrees"})"));
}

TEST(LiveWindow, ABurstOfChangesIsFollowedToTheLast)
{
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
    auto& host = stage.session.Host();
    host.Post([&host] {
        auto* const device = DataManager::GetDataManager().FindDevice(hull);
        for (int i = 0; i < 10000; ++i) {
            CAttributeMap tree;
            tree.Add(AttributeKey(L"x5Power"), CVordalDouble(180.0 + i % 30));
            host.MergeDecoded(*device, tree);
        }
        CAttributeMap last;
        last.Add(AttributeKey(L"x5Power"), CVordalDouble(217.0));
        host.MergeDecoded(*device, last);
    });
    EXPECT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "217 dB"; }));
}

vordal::StoredProject OneSonar(CString const& sonarClass, std::uint16_t port)
{
    vordal::StoredProject fleet;
    fleet.vessels = {cli::MakeVessel(1, L"V", false)};
    AddConnected(fleet, {hull, sonarClass, L"Hull sonar", {}, true, {}}, L"127.0.0.1", port);
    return fleet;
}

/// The host behind a window on one sonar, without the window.
class OneSonarSession
{
public:
    explicit OneSonarSession(std::uint16_t port)
    {
        std::string error;
        EXPECT_TRUE(session.LoadPlugins({QX5_PLUGIN_FILE}, 1, error)) << error;
        EXPECT_TRUE(session.Begin(OneSonar(session.SonarClass(), port), {}, error)) << error;
    }

    void Ask(AttributeKey const& key, CVordalType const& value)
    {
        session.Host().RunAndWait([&] {
            CAttributeMap tree;
            tree.Add(AttributeKey(L"Request"))->Add(key, value);
            DataManager::GetDataManager().SetAttributeMap(hull, tree, 4, false);
        });
    }

    std::shared_ptr<vordal::WindowFeed> feed = std::make_shared<vordal::WindowFeed>();
    cli::WindowSession session{feed, 4};
};

TEST(LiveWindow, ADroppedRequestIsALineForTheOperator)
{
    // Nobody listens there: nothing completes a request.
    DeafPort const nobody;
    OneSonarSession operated(nobody.Port());
    operated.Ask(L"x5CoverageAngle", CVordalDouble(120.0));
    auto const events = operated.session.TakeEvents().events;
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(StatusLine(events[0]), "Hull sonar: x5CoverageAngle=120 deg: dropped: x5CoverageAngle needs "
                                     "x5RxSteeringAngle, which is neither in the request nor in the sonar's tree");
}

TEST(LiveWindow, WhatItLeavesOnIsKnownWhenItLeaves)
{
    Sonar sonar;
    OneSonarSession operated(sonar.Port());
    ASSERT_TRUE(RunUntil([] {
        CAttributeMap tree;
        return DataManager::GetDataManager().GetAttributeMap(hull, tree) && tree.Has(L"x5PingOnOffState");
    }));
    EXPECT_TRUE(operated.session.LeftOn().empty());
    operated.Ask(L"x5PingOnOffState", CVordalInt(1));
    std::string const line =
        "Hull sonar is left with its pings on; `qx5 send --sonar 127.0.0.1:" + std::to_string(sonar.Port()) +
        " x5PingOnOffState=0` switches that off";
    EXPECT_THAT(operated.session.LeftOn(), ::testing::ElementsAre(line));
    std::string error;
    ASSERT_TRUE(operated.session.End(error)) << error;
    EXPECT_THAT(operated.session.LeftOn(), ::testing::ElementsAre(line));
}

TEST(LiveWindow, APlugInThatIsNoneIsRefusedAndTheProjectLeftAsItIs)
{
    TemporaryFolder const folder;
    auto const file = folder / "kept-project.qx";
    {
        vordal::ProjectStore store(file);
        CAttributeMap attributes;
        attributes.Add(AttributeKey(L"kept"), CVordalInt(1));
        store.SaveDevice({hull, L"A", L"Hull sonar", L"", true, attributes});
    }
    ExpectComplaint(
        Qx5({"run", "--project", file.string(), "--plugin", "/nowhere/plugin.so"}, {}, {"QT_QPA_PLATFORM=offscreen"}),
        1, {"/nowhere/plugin.so"});
    {
        cli::WindowSession session(std::make_shared<vordal::WindowFeed>(), 4);
        std::string error;
        ASSERT_TRUE(session.LoadPlugins({QX5_PLUGIN_FILE}, 1, error)) << error;
        EXPECT_FALSE(session.Begin(OneSonar(L"Nobody's", 1), file.string(), error));
        EXPECT_THAT(error, HasSubstr("no plug-in has registered its class Nobody's"));
    }
    auto const project = vordal::ProjectStore(file).Load();
    ASSERT_EQ(project.devices.size(), 1U);
    EXPECT_TRUE(project.devices[0].attributes.Has(AttributeKey(L"kept")));
}

TEST(RunWindow, OpensByItselfEndsOnASignalAndSavesTheProject)
{
    TemporaryFolder const folder;
    auto const file = folder / "signalled-project.qx";
    ChildProcess program({QX5_PROGRAM, "run", "--project", file.string()}, {"QT_QPA_PLATFORM=offscreen"});
    ASSERT_TRUE(program.WaitForOutput("The window is open; simulated sonars listen on 127.0.0.1:"));
    program.Signal(SIGTERM);
    EXPECT_EQ(program.WaitForEnd(), 0) << program.Errors();
    auto const project = vordal::ProjectStore(file).Load();
    EXPECT_EQ(project.devices.size(), 3U);
    EXPECT_EQ(project.windows.size(), 1U);
    EXPECT_TRUE(project.views.contains(L"sonar view")); // and those of displays that were open by then
}

/// The project in the file as another program finds it; nothing while there is none, or it is being written.
std::optional<vordal::StoredProject> Saved(std::filesystem::path const& file)
{
    try {
        return vordal::ProjectStore(file, vordal::ProjectStore::Missing::Refuse).Load();
    } catch (vordal::StoreError const&) {
        return std::nullopt;
    }
}

TEST(RunWindow, HasAsManySonarsAsToldWhichPingFromTheStart)
{
    TemporaryFolder const folder;
    auto const file = folder / "many.qx";
    ChildProcess program({QX5_PROGRAM, "run", "--sonars", "6", "--pings", "12.5", "--project", file.string()},
                         {"QT_QPA_PLATFORM=offscreen"});
    ASSERT_TRUE(program.WaitForOutput("The window is open; simulated sonars listen on 127.0.0.1:")) << program.Errors();
    std::vector<std::string> pinging;
    auto const look = [&] {
        pinging.clear();
        auto const project = Saved(file);
        for (auto const& device : project ? project->devices : std::vector<vordal::StoredDevice>()) {
            int on = 0;
            double rate = 0.0;
            if (device.attributes.FindValue(AttributeKey(L"x5PingOnOffState"), 0).Get(on) && on == 1 &&
                device.attributes.FindValue(AttributeKey(L"x5MaxPingRate"), 0).Get(rate) && rate == 12.5) {
                pinging.push_back(protocol::EncodeUtf8(device.name.View()));
            }
        }
        return pinging.size() == 6;
    };
    EXPECT_TRUE(RunUntil(look));
    EXPECT_THAT(pinging, ::testing::UnorderedElementsAre("Hull sonar", "Pole sonar", "ROV sonar", "Sonar 4", "Sonar 5",
                                                         "Sonar 6"));
    program.Signal(SIGTERM);
    EXPECT_EQ(program.WaitForEnd(), 0) << program.Errors();
}

TEST(RunWindow, RefusesMoreSonarsThanThereCanBe)
{
    ExpectComplaint(Qx5({"run", "--sonars", "257"}), 2, {"--sonars", "257", "256"});
    ExpectComplaint(Qx5({"run", "--demo", "sequencing", "--sonars", "27"}), 2, {"--sonars", "26"});
}

TEST(RunWindow, ATextWithoutAFontIsNoPicture)
{
    TemporaryFolder const folder;
    auto const file = folder / "boxes.png";
    auto const none = folder / "no-fonts.conf";
    std::ofstream(none) << "<?xml version=\"1.0\"?><fontconfig></fontconfig>\n";
    ExpectComplaint(Qx5({"run", "--screenshot", file.string()}, {}, {"FONTCONFIG_FILE=" + none.string()}), 1,
                    {"no picture", "no font", "fonts-dejavu-core"});
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(RunWindow, WhatItDidIsSavedWhileItRuns)
{
    TemporaryFolder const folder;
    auto const file = folder / "killed-project.qx";
    {
        ChildProcess program({QX5_PROGRAM, "run", "--project", file.string()}, {"QT_QPA_PLATFORM=offscreen"});
        ASSERT_TRUE(program.WaitForOutput("The window is open"));
        auto const isSaved = [&file] {
            auto const project = Saved(file);
            return project.has_value() && project->devices.size() == 3 && project->windows.size() == 1 &&
                   project->views.contains(L"sonar view") &&
                   std::ranges::all_of(project->devices, [](vordal::StoredDevice const& device) {
                       return device.attributes.Has(AttributeKey(L"x5Range"));
                   });
        };
        EXPECT_TRUE(RunUntil(isSaved));
        program.Signal(SIGKILL);
        EXPECT_TRUE(program.WaitForEnd().has_value());
    }
    auto const project = vordal::ProjectStore(file).Load();
    EXPECT_EQ(project.devices.size(), 3U);
}

TEST(RunWindow, SeveralSignalsAtOnceStillLetItSave)
{
    TemporaryFolder const folder;
    auto const file = folder / "hurried-project.qx";
    {
        // It has nothing yet that a session under way would have saved.
        ChildProcess program({QX5_PROGRAM, "run", "--project", file.string()}, {"QT_QPA_PLATFORM=offscreen"});
        ASSERT_TRUE(program.WaitForOutput("The window is open"));
        // Again and again, so that they do not all count as one; it has not been waited for, so its number is its own.
        for (int i = 0; i < 200; ++i) {
            program.Signal(i % 2 == 0 ? SIGTERM : SIGHUP);
            std::this_thread::yield();
        }
        // One that comes when all is done may end it, too.
        EXPECT_TRUE(program.WaitForEnd().has_value());
    }
    auto const project = vordal::ProjectStore(file).Load();
    EXPECT_EQ(project.devices.size(), 3U);
    EXPECT_EQ(project.windows.size(), 1U);
}

#ifdef QX5_WESTON
TEST(RunWindow, OpensWhereThereIsAWaylandDisplayAlone)
{
    ASSERT_STRNE(QX5_WESTON, "") << "there is no weston: install Debian's package of that name and configure again, as "
                                    "./dev test does";
    TemporaryFolder const folder{"qx5-wayland"};
    std::string const home = "XDG_RUNTIME_DIR=" + folder.string();
    {
        ChildProcess display({QX5_WESTON, "--backend=headless-backend.so", "--socket=qx5", "--no-config"}, {home});
        ASSERT_TRUE(display.WaitForError("weston-desktop-shell'")) << display.Errors();
        ChildProcess program({QX5_PROGRAM, "run"},
                             {home, "WAYLAND_DISPLAY=qx5", "DISPLAY=", "QT_QPA_PLATFORM=", "WAYLAND_DEBUG=1"});
        ASSERT_TRUE(program.WaitForOutput("The window is open; ")) << program.Output() << program.Errors();
        EXPECT_TRUE(program.WaitForError("xdg_toplevel")) << program.Errors();
        program.Signal(SIGTERM);
        EXPECT_EQ(program.WaitForEnd(), 0) << program.Errors();
        display.Signal(SIGTERM);
        EXPECT_TRUE(display.WaitForEnd().has_value());
    }
}
#endif

TEST(RunWindow, OnlyReadsASonarThatIsNotItsOwnAndTakesNoPictureOfItAtWork)
{
    Simulator sonar;
    ChildProcess program({QX5_PROGRAM, "run", "--sonar", sonar.Endpoint()}, {"QT_QPA_PLATFORM=offscreen"});
    ASSERT_TRUE(program.WaitForOutput("The window is open; its sonar is " + sonar.Endpoint()));
    ASSERT_TRUE(sonar.Process().WaitForOutput("told: introduction"));
    program.Signal(SIGTERM);
    EXPECT_EQ(program.WaitForEnd(), 0) << program.Errors();
    EXPECT_THAT(program.Output(), ::testing::Not(HasSubstr("is left with")));

    TemporaryFolder const folder;
    auto const file = folder / "picture-of-a-sonar.png";
    EXPECT_EQ(Qx5({"run", "--sonar", sonar.Endpoint(), "--screenshot", file.string(), "--whole-window"}).code, 0);
    sonar.Process().Write("status\n");
    ASSERT_TRUE(sonar.Process().WaitForOutput("2 taken, 0 refused; ")) << sonar.Process().Output();
    // It tells that it has echoes: for these it may be asked, as they go to who asks alone.
    std::istringstream lines(sonar.Process().Output());
    for (std::string line; std::getline(lines, line);) {
        if (line.find("  #") != std::string::npos) {
            EXPECT_THAT(line, ::testing::AnyOf(HasSubstr("connected"), HasSubstr("told: introduction"),
                                               HasSubstr("90020 echo request")));
        }
    }
}

TEST(RunWindow, EndsAsAFailureWhenItsOutputCannotBeWritten)
{
    for (OutputTo const output : {OutputTo::FullDisk, OutputTo::ClosedPipe}) {
        ChildProcess program({QX5_PROGRAM, "run"}, {"QT_QPA_PLATFORM=offscreen"}, output);
        ASSERT_TRUE(program.WaitForError("standard output cannot be written"));
        // The window stays: the operator has not asked it to go.
        program.Signal(SIGTERM);
        EXPECT_EQ(program.WaitForEnd(), 1);
        ExpectComplaint({1, {}, program.Errors()}, 1, {"qx5: standard output cannot be written"});
    }
}

TEST(RunWindow, SaysInOneLineWhyTheDisplayDoesNotOpen)
{
    ExpectComplaint(Qx5({"run"}, {}, {"QT_QPA_PLATFORM=nonsense"}), 1, {"no window", "nonsense", "--guided"});
}

TEST(RunPicture, IsTakenWithoutADisplay)
{
    TemporaryFolder const folder;
    auto const file = folder / "picture.png";
    auto const taken = Qx5({"run", "--screenshot", file.string(), "--tab", "5", "--dark", "--scale", "150"}, {},
                           {"DISPLAY=", "WAYLAND_DISPLAY="});
    EXPECT_EQ(taken.code, 0) << taken.err;
    EXPECT_EQ(taken.err, "");
    QImage const picture(QString::fromStdString(file.string()));
    EXPECT_EQ(picture.size(), QSize(1020, 840)); // 680 by 560 at 150 per cent
    EXPECT_LT(picture.pixelColor(10, picture.height() - 10).lightness(), 128);
    ExpectComplaint(Qx5({"run", "--screenshot", "/nowhere/picture.png"}), 1, {"/nowhere/picture.png"});
}

TEST(RunPicture, LiesBesideItsProjectInAFolderOfAnyNameWhateverTheLocale)
{
    TemporaryFolder const folder{"qx5 window s\u00f6\u00f1ar \u6c34"};
    for (std::string const locale : {"C", "C.UTF-8"}) {
        auto const picture = (folder / ("\u6c34 " + locale + ".png")).string();
        auto const project = folder / ("\u00f6 " + locale + ".qx5");
        auto const taken = Qx5({"run", "--screenshot", picture, "--project", project.string()}, {},
                               {"LC_ALL=" + locale, "LANG=" + locale});
        EXPECT_EQ(taken.code, 0) << taken.err;
        EXPECT_EQ(taken.err, "") << locale;
        EXPECT_TRUE(std::filesystem::exists(picture)) << locale;
        EXPECT_TRUE(std::filesystem::exists(project)) << locale;
    }
}

TEST(RunPicture, SaysWhenTheDiskIsFull)
{
    ExpectComplaint(Qx5({"run", "--screenshot", "/dev/full"}), 1, {"/dev/full cannot be written", "No space left"});
}

} // namespace
} // namespace qx5::test
