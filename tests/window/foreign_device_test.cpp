// Tests of a plug-in that is not ours in the window: the echo sounder of the examples, as it was built against an
// installation, from the instrument's bytes to the display and from the operator's hand to the instrument.
#include "../reference_host/link_test_peer.h"
#include "frames.h"
#include "program.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/shown_view.h>
#include <cli/window/window_session.h>
#include <reference_host/controls/window_thread.h>
#include <reference_host/window/attribute_browser.h>

#include <vordalhostdllR/DataManager.h>

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QImage>
#include <QLabel>
#include <QTabBar>

#include <array>
#include <filesystem>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;
using vordal::test::Peer;

CString const sounderClass = L"SingleBeamSounder";
CDataId const bow(1, 500, 1, 1);
CDataId const stern(1, 500, 2, 1);
CDataId const sonar(1, 78, 3, 1);

void Write(Peer& peer, std::string_view text)
{
    peer.Write(vordal::test::Bytes(text.begin(), text.end()));
}

std::string Received(Peer& peer)
{
    auto const bytes = peer.Received();
    return {bytes.begin(), bytes.end()};
}

/// Two sounders on instruments of their own, and a sonar of the project's own plug-in without a connection.
class Stage
{
public:
    explicit Stage(std::string const& project = {})
    {
        std::string error;
        EXPECT_TRUE(session.LoadPlugins({SOUNDER_PLUGIN, QX5_PLUGIN_FILE}, 2, error)) << error;
        EXPECT_FALSE(session.MakesSonars(sounderClass));
        vordal::StoredProject fleet;
        fleet.vessels = {cli::MakeVessel(1, L"Surveyor", false)};
        AddConnected(fleet, {bow, sounderClass, L"Bow sounder", {}, true, {}}, L"127.0.0.1", instruments[0].Port());
        AddConnected(fleet, {stern, sounderClass, L"Stern sounder", {}, true, {}}, L"127.0.0.1", instruments[1].Port());
        fleet.devices.push_back({sonar, session.SonarClass(), L"Hull sonar", {}, true, {}});
        EXPECT_TRUE(session.Begin(fleet, project, error)) << error;
        thread = std::make_unique<vordal::WindowThread>(session.Host());
        window = std::make_unique<vordal::MainWindow>(vordal::WindowSetup{.vessels = session.Listed(),
                                                                          .lightMode = 4,
                                                                          .activeVessel = session.ActiveVessel(),
                                                                          .shownDevice = bow},
                                                      feed, session.Requests());
        view = std::make_unique<cli::ShownView>(session, *window);
        thread->SetDeliveredHandler([this] { view->Follow(); });
        view->OpenFirst(bow);
        window->show();
    }
    ~Stage()
    {
        view.reset();
        window.reset();
        thread.reset();
        std::string error;
        EXPECT_TRUE(session.End(error)) << error;
    }

    bool AreConnected()
    {
        return window->Devices().StateOf(bow) == vordal::LinkState::Connected &&
               window->Devices().StateOf(stern) == vordal::LinkState::Connected;
    }
    template <typename T>
    T* Control(char const* name)
    {
        return view->Frame().findChild<T*>(QString::fromLatin1(name));
    }
    QString Depth()
    {
        auto const* const label = Control<QLabel>("depth");
        return label != nullptr ? label->text() : QStringLiteral("no such display");
    }
    QString Title() { return window->findChild<QLabel*>("viewTitle")->text(); }

    std::array<Peer, 2> instruments;
    std::shared_ptr<vordal::WindowFeed> feed = std::make_shared<vordal::WindowFeed>();
    cli::WindowSession session{feed, 4};
    std::unique_ptr<vordal::WindowThread> thread;
    std::unique_ptr<vordal::MainWindow> window;
    std::unique_ptr<cli::ShownView> view;
};

TEST(ForeignDevice, ShowsWhatItsInstrumentTells)
{
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.AreConnected(); }));
    EXPECT_EQ(stage.Depth(), "-");
    // A sentence in two pieces; the checksums were added by hand.
    Write(stage.instruments[0], "$SDDBT,40.4,f,12.3");
    Write(stage.instruments[0], "0,M,6.7,F*37\r\n");
    EXPECT_TRUE(RunUntil([&] { return stage.Depth() == "12.30 m"; })) << stage.Depth().toStdString();
    // A wrong checksum, another talker's sentence, a depth that was not found, and then one in the other form.
    Write(stage.instruments[0], "$SDDBT,40.4,f,99.30,M,6.7,F*37\r\nnonsense\r\n$SDDBT,,f,,M,,F*28\r\n"
                                "$SDDPT,7.50,1.20*56\r\n");
    EXPECT_TRUE(RunUntil([&] { return stage.Depth() == "7.50 m"; })) << stage.Depth().toStdString();
    EXPECT_TRUE(RunUntil([&] { return stage.window->Attributes().Model().NodeCount() > 0; }));
}

TEST(ForeignDevice, ItsThreeKeysReachTheInstrumentAndItsAnswerTheDisplay)
{
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.AreConnected(); }));
    stage.Control<QDoubleSpinBox>("range")->setValue(50.0);
    stage.Control<QDoubleSpinBox>("draught")->setValue(1.2);
    stage.Control<QCheckBox>("pinging")->setChecked(true);
    std::string const asked = "$PSBES,RANGE,50.00*23\r\n$PSBES,DRAUGHT,1.20*13\r\n$PSBES,PING,1*76\r\n";
    EXPECT_TRUE(RunUntil([&] { return Received(stage.instruments[0]) == asked; })) << Received(stage.instruments[0]);
    Write(stage.instruments[0], "$PSBES,RANGE,40.00*22\r\n$PSBES,PING,0*77\r\n");
    EXPECT_TRUE(RunUntil([&] {
        return stage.Control<QDoubleSpinBox>("range")->value() == 40.0 &&
               !stage.Control<QCheckBox>("pinging")->isChecked();
    }));
    EXPECT_EQ(stage.Control<QDoubleSpinBox>("draught")->value(), 1.2);
    EXPECT_EQ(Received(stage.instruments[0]), asked) << "what the instrument says is no request";
    EXPECT_EQ(Received(stage.instruments[1]), "");
}

TEST(ForeignDevice, TheOperatorsChoiceSelectsTheDeviceAndTheDisplay)
{
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.AreConnected(); }));
    Write(stage.instruments[0], "$SDDBT,40.4,f,12.30,M,6.7,F*37\r\n");
    Write(stage.instruments[1], "$SDDPT,7.50,1.20*56\r\n");
    ASSERT_TRUE(RunUntil([&] { return stage.Depth() == "12.30 m"; }));
    EXPECT_EQ(stage.Title(), "Bow sounder - Surveyor");

    Q_EMIT stage.window->Devices().SonarChosen(stern);
    EXPECT_TRUE(RunUntil([&] { return stage.Depth() == "7.50 m"; }));
    EXPECT_EQ(stage.window->ShownDevice(), stern);
    stage.Control<QDoubleSpinBox>("draught")->setValue(2.0);
    EXPECT_TRUE(RunUntil([&] { return Received(stage.instruments[1]) == "$PSBES,DRAUGHT,2.00*12\r\n"; }));

    // Another plug-in's device has another display, and back again.
    Q_EMIT stage.window->Devices().SonarChosen(sonar);
    ASSERT_NE(stage.view->Frame().findChild<QTabBar*>(), nullptr);
    EXPECT_EQ(stage.window->ShownDevice(), sonar);
    EXPECT_EQ(stage.Title(), "Hull sonar - Surveyor");
    Q_EMIT stage.window->Devices().SonarChosen(bow);
    EXPECT_EQ(stage.Depth(), "12.30 m");
    EXPECT_EQ(stage.window->ShownDevice(), bow);
}

TEST(ForeignDevice, TheProjectKeepsItsAttributesAndWhatItsDisplayShowed)
{
    TemporaryFolder const folder;
    auto const file = folder / "foreign-project.qx";
    {
        Stage stage(file.string());
        ASSERT_TRUE(RunUntil([&] { return stage.AreConnected(); }));
        Q_EMIT stage.window->Devices().SonarChosen(stern);
        stage.Control<QDoubleSpinBox>("draught")->setValue(2.0);
        ASSERT_TRUE(RunUntil([&] { return !Received(stage.instruments[1]).empty(); }));
    }
    {
        Stage stage(file.string());
        EXPECT_EQ(stage.window->ShownDevice(), stern);
        EXPECT_EQ(stage.Control<QDoubleSpinBox>("draught")->value(), 2.0);
    }
}

/// `qx5 run` of the installation renders the display while the instrument tells that depth.
QImage Picture(std::string_view sentence, std::vector<std::string> const& more = {})
{
    TemporaryFolder const folder;
    auto const file = folder / "sounder.png";
    Peer instrument;
    std::vector<std::string> command{
        INSTALLED_PROGRAM, "run",        "--plugin",
        SOUNDER_PLUGIN,    "--device",   "SingleBeamSounder=127.0.0.1:" + std::to_string(instrument.Port()),
        "--screenshot",    file.string()};
    command.insert(command.end(), more.begin(), more.end());
    ChildProcess program(command, {"DISPLAY=", "WAYLAND_DISPLAY="});
    EXPECT_TRUE(instrument.WaitForConnections(1));
    Write(instrument, sentence);
    EXPECT_EQ(program.WaitForEnd(), 0) << program.Errors();
    EXPECT_EQ(program.Errors(), "");
    QImage picture(QString::fromStdString(file.string()));
    return picture;
}

TEST(ForeignDevice, OpensInTheInstalledWindow)
{
    auto const picture = Picture("$SDDBT,40.4,f,12.30,M,6.7,F*37\r\n");
    ASSERT_FALSE(picture.isNull());
    EXPECT_EQ(picture, Picture("$SDDBT,40.4,f,12.30,M,6.7,F*37\r\n"));
    EXPECT_NE(picture, Picture("$SDDPT,7.50,1.20*56\r\n")) << "another depth is another picture";
    EXPECT_GT(Picture("$SDDPT,7.50,1.20*56\r\n", {"--whole-window"}).width(), picture.width());
}

/// A copy of the installation with more modules in it, gone with its scope.
class Installation
{
public:
    Installation()
    {
        namespace fs = std::filesystem;
        fs::create_directories(m_folder / "bin");
        fs::copy_file(INSTALLED_PROGRAM, Program());
        fs::copy(fs::path(INSTALLED_PROGRAM).parent_path().parent_path() / "lib", m_folder / "lib",
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
    Installation(Installation const&) = delete;
    Installation& operator=(Installation const&) = delete;

    std::filesystem::path Program() const { return m_folder / "bin" / "qx5"; }
    std::filesystem::path Modules() const { return m_folder / "lib" / "qx5"; }

private:
    TemporaryFolder const m_folder{"qx5-installation"};
};

TEST(ForeignDevice, ModulesOfTheInstallationAreFoundByThemselves)
{
    Installation const installation;
    // Before ours, by its name: the sonar's plug-in is found all the same.
    std::filesystem::copy_file(SOUNDER_PLUGIN, installation.Modules() / "a_sounder.so");
    auto const picture = (installation.Modules() / "picture.png").string();
    auto const run = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), installation.Program().string());
        return RunToEnd(arguments);
    };
    auto const sounder = run({"run", "--device", "SingleBeamSounder", "--screenshot", picture});
    EXPECT_EQ(sounder.code, 0) << sounder.err;
    EXPECT_EQ(sounder.err, "");
    auto const sonars = run({"run", "--tab", "5", "--screenshot", picture});
    EXPECT_EQ(sonars.code, 0) << sonars.err;
    EXPECT_EQ(sonars.err, "");
    Simulator const simulator;
    auto const sent = run({"send", "--sonar", simulator.Endpoint(), "x5Range=50"});
    EXPECT_EQ(sent.code, 0) << sent.err;

    // One that is broken is told, and the others run.
    TemporaryFile const broken("broken.so", "text");
    std::filesystem::copy_file(broken.Path(), installation.Modules() / "broken.so");
    auto const beside = run({"run", "--device", "SingleBeamSounder", "--screenshot", picture});
    EXPECT_EQ(beside.code, 0) << beside.err;
    EXPECT_THAT(beside.err, HasSubstr("broken.so: it is not a module"));
}

TEST(ForeignDevice, WrongOrdersEndInOneLine)
{
    auto const run = [](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {INSTALLED_PROGRAM, "run", "--screenshot", "unused.png"});
        return RunToEnd(arguments);
    };
    ExpectComplaint(run({"--device", "NobodysSounder"}), 2,
                    {"no plug-in offers the class 'NobodysSounder'", "QX5SonarConfigurationControlDevice"});
    ExpectComplaint(run({"--plugin", SOUNDER_PLUGIN, "--device", "SingleBeamSounder=nowhere"}), 2,
                    {"--device", "'nowhere' is no HOST:PORT"});
    ExpectComplaint(run({"--plugin", "/nowhere.so", "--device", "SingleBeamSounder"}), 1, {"/nowhere.so"});
    ExpectComplaint(run({"--device", "X", "--sonar", "127.0.0.1:1"}), 2, {"--device", "--sonar"});
    ExpectComplaint(RunToEnd({INSTALLED_PROGRAM, "run", "--device", "QX5SonarConfigurationControlDevice"}, {},
                             {"DISPLAY=", "WAYLAND_DISPLAY=", "QT_QPA_PLATFORM="}),
                    2, {"--device", "no display"});
}

} // namespace
} // namespace qx5::test
