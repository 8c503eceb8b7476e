// qx5-pictures FOLDER PRESET: drives the operator's window on simulated sonars into the states that the manual shows,
// and renders each as PNG into the folder, light and dark, without a display. The preset is one that can be loaded.
// qx5-pictures --film FOLDER: renders ten seconds of a survey over a wreck, a PNG for each tenth of a second.
#include "cli/window/help_menu.h"
#include "cli/window/load_preset_dialog.h"
#include "cli/window/operator_window.h"
#include "cli/window/preset_chooser.h"
#include "cli/window/run_until.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/window/attribute_browser.h"
#include "reference_host/window/device_panel.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/all.h>
#include <simulator/sonar_server.h>
#include <vordalhostdllR/DataManager.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPixmap>
#include <QPushButton>
#include <QSlider>
#include <QTableView>

#include <fmt/format.h>

namespace {

using namespace std::chrono_literals;
namespace keys = qx5::protocol::keys;

QString presetFile;

constexpr int darkMode = 2;
constexpr int lightMode = 4;

/// Host and window on three simulated sonars; the first is shown and pings.
class Stage
{
public:
    explicit Stage(int mode) : m_mode(mode)
    {
        std::string error;
        Demand(m_session.LoadPlugins({PLUGIN_FILE, PICTURE_FILE}, 1, error), error);
        vordal::StoredProject fleet;
        fleet.vessels = {qx5::cli::MakeVessel(1, L"Survey vessel", false), qx5::cli::MakeVessel(2, L"ROV", true)};
        constexpr std::array<std::wstring_view, 3> names{L"Hull sonar", L"Pole sonar", L"ROV sonar"};
        for (std::size_t i = 0; i < names.size(); ++i) {
            qx5::simulator::ServerOptions options;
            options.announcePings = true;
            m_sonars[i] = std::make_unique<qx5::simulator::SonarServer>(options);
            auto const problem = m_sonars[i]->Start();
            Demand(!problem, problem ? problem->text : std::string());
            bool const isRov = i == 2;
            CDataId const id(1, 78, static_cast<unsigned short>(isRov ? 1 : i + 1), isRov ? 2 : 1);
            vordal::AddConnected(fleet, {id, m_session.SonarClass(), CString(names[i]), {}, true, {}}, L"127.0.0.1",
                                 m_sonars[i]->Port());
        }
        Demand(m_session.Begin(fleet, {}, error), error);
        // The hull sonar stands for one that is not simulated.
        m_session.SetSimulated(CDataId(1, 78, 2, 1));
        m_session.SetSimulated(CDataId(1, 78, 1, 2));
        m_window = std::make_unique<qx5::cli::OperatorWindow>(m_session, m_feed, mode, Shown());
        qx5::cli::AddHelpMenu(m_window->Main(), {});
        m_window->Main().FitInto({1600, 960});
        m_window->View().OpenFirst(Shown());
        m_window->Main().show();
        Await([&] {
            return m_window->Main().Devices().StateOf(Shown()) == vordal::LinkState::Connected &&
                   m_window->Main().Attributes().Model().NodeCount() > 20;
        });
        Ask(keys::x5Power.text, CVordalDouble(200.0));
        Ask(keys::x5Range.text, CVordalDouble(75.0));
        Ask(keys::x5PingOnOffState.text, CVordalInt(1));
        Await([&] { return m_session.Desk().Watch().StateOf(Shown()).pings > 10; });
    }
    ~Stage()
    {
        m_window.reset();
        std::string error;
        m_session.End(error);
    }
    Stage(Stage const&) = delete;
    Stage& operator=(Stage const&) = delete;

    static CDataId Shown() { return {1, 78, 1, 1}; }
    vordal::MainWindow& Window() { return m_window->Main(); }
    qx5::cli::WindowSession& Session() { return m_session; }

    template <typename T>
    T& Find(char const* name)
    {
        auto* const found = Window().findChild<T*>(QString::fromLatin1(name));
        Demand(found != nullptr, std::string("the window has no ") + name);
        return *found;
    }
    template <typename Condition>
    void Await(Condition condition)
    {
        Demand(qx5::cli::RunUntil(condition, 20s), "a state does not come about");
    }
    /// As the view does.
    void Ask(std::wstring_view key, CVordalType const& value)
    {
        CAttributeMap tree;
        tree.Add(vordal::keys::Request)->Add(AttributeKey(key), value);
        DataManager::GetDataManager().SetAttributeMap(Shown(), tree, 4, false);
    }
    /// One step of the slider, as a page of it is.
    void Step(char const* slider)
    {
        auto& control = Find<QSlider>(slider);
        control.triggerAction(QAbstractSlider::SliderPageStepAdd);
    }
    void Tell(std::string const& line)
    {
        std::string answer;
        Demand(m_sonars[0]->Command(line, answer), line + ": " + answer);
    }
    void Lose()
    {
        Tell("misbehave refuse not-listening");
        Tell("drop");
        Await([&] { return Find<QLabel>("bannerTitle").isVisible(); });
    }
    /// Until what was told lately is painted.
    void Settle()
    {
        qx5::cli::RunUntil([] { return false; }, 600ms);
    }

private:
    static void Demand(bool holds, std::string const& complaint)
    {
        if (!holds) {
            throw std::runtime_error(complaint);
        }
    }

    int m_mode;
    std::array<std::unique_ptr<qx5::simulator::SonarServer>, 3> m_sonars;
    std::shared_ptr<vordal::WindowFeed> m_feed = std::make_shared<vordal::WindowFeed>();
    qx5::cli::WindowSession m_session{m_feed, m_mode};
    std::unique_ptr<qx5::cli::OperatorWindow> m_window;
};

void AskWhileLost(Stage& stage)
{
    stage.Lose();
    stage.Ask(keys::x5Range.text, CVordalDouble(50.0));
    stage.Ask(keys::x5Gain.text, CVordalDouble(12.0));
    stage.Await([&] { return stage.Find<QListWidget>("heldRequests").count() == 2; });
}

void LoadPreset(Stage& stage)
{
    stage.Find<QAction>("loadPresetAction").trigger();
    auto& dialog = dynamic_cast<qx5::cli::LoadPresetDialog&>(stage.Find<QDialog>("loadPresetDialog"));
    dialog.Presets().ChooseFile(presetFile);
    stage.Await([&] { return dialog.CanLoad(); });
    dialog.Load();
    stage.Await([&] { return dialog.HasLoaded(); });
}

struct State
{
    char const* name; ///< of the file
    void (*reach)(Stage& stage);
    char const* shown = nullptr; ///< the dialog that is rendered; none: the window
};

constexpr std::array states{
    State{"lost", AskWhileLost},
    State{"lost-offered",
          [](Stage& stage) {
              AskWhileLost(stage);
              stage.Tell("behave");
              stage.Await([&] { return stage.Find<QPushButton>("sendHeld").isEnabled(); });
          }},
    State{"silent",
          [](Stage& stage) {
              stage.Tell("misbehave silent");
              stage.Await([&] { return stage.Find<QLabel>("bannerTitle").isVisible(); });
          }},
    State{"events",
          [](Stage& stage) {
              stage.Find<QAction>("transmitLockAction").trigger();
              stage.Ask(keys::x5PingOnOffState.text, CVordalInt(0));
              stage.Ask(keys::x5PingOnOffState.text, CVordalInt(1));
              stage.Ask(keys::x5Range.text, CVordalDouble(9999.0));
              stage.Ask(keys::x5Gain.text, CVordalDouble(10.0));
              stage.Await([&] { return stage.Session().Desk().Watch().StateOf(Stage::Shown()).pingsOn == false; });
              stage.Tell("set x5Power=190");
          }},
    State{"preset-load", LoadPreset, "loadPresetDialog"},
    State{"preset-compare",
          [](Stage& stage) {
              stage.Find<QAction>("comparePresetsAction").trigger();
              auto& dialog = stage.Find<QDialog>("comparePresetsDialog");
              auto& list = stage.Find<QComboBox>("compare2");
              dynamic_cast<qx5::cli::PresetChooser&>(*list.parentWidget()).ChooseFile(presetFile);
              auto& table = *dialog.findChild<QTableView*>();
              stage.Await([&] { return table.model()->rowCount() > 0; });
          },
          "comparePresetsDialog"},
    State{"sonar-form",
          [](Stage& stage) {
              stage.Find<QAction>("addSonar").trigger();
              stage.Find<QLineEdit>("sonarName").setText(QStringLiteral("Pole sonar"));
              stage.Find<QLineEdit>("sonarAddress").setText(QStringLiteral("192.168.1.10"));
              stage.Find<QPushButton>("sonarAccept").click();
          },
          "sonarForm"},
    State{"shortcuts", [](Stage& stage) { stage.Find<QAction>("shortcutsAction").trigger(); }, "shortcutList"},
};

/// Each state has a window of its own: one host at a time.
void Render(State const& state, int mode, QString const& folder)
{
    Stage stage(mode);
    state.reach(stage);
    stage.Settle();
    auto const file = QStringLiteral("%1/%2-%3.png")
                          .arg(folder, QString::fromLatin1(state.name),
                               mode == darkMode ? QStringLiteral("dark") : QStringLiteral("light"));
    QWidget& shown = state.shown != nullptr ? stage.Find<QWidget>(state.shown) : stage.Window();
    if (!shown.grab().save(file, "PNG")) {
        throw std::runtime_error(file.toStdString() + " cannot be written");
    }
}

/// What is seen while the ship passes over the wreck.
void Film(QString const& folder)
{
    Stage stage(darkMode);
    stage.Window().FitInto({1440, 810});
    stage.Window().resize(1440, 810);
    for (char const* const dock : {"recordDock", "eventDock", "historyDock", "deviceDock"}) {
        stage.Find<QDockWidget>(dock).hide();
    }
    stage.Ask(keys::x5MaxPingRate.text, CVordalDouble(10.0));
    stage.Ask(keys::x5Range.text, CVordalDouble(50.0));
    auto& picture = stage.Find<QDockWidget>("pictureDock");
    auto const pings = [&] { return stage.Session().Desk().Watch().StateOf(Stage::Shown()).pings; };
    stage.Await([&, before = pings()] { return pings() > before + 30 && picture.isVisible(); });
    stage.Window().resizeDocks({&picture}, {840}, Qt::Horizontal);
    auto const begin = std::chrono::steady_clock::now();
    for (int frame = 0; frame < 100; ++frame) {
        auto const due = begin + frame * 100ms;
        qx5::cli::RunUntil([&] { return std::chrono::steady_clock::now() >= due; }, 1s);
        auto const file = QStringLiteral("%1/frame-%2.png").arg(folder).arg(frame, 3, 10, QLatin1Char('0'));
        if (!stage.Window().grab().save(file, "PNG")) {
            throw std::runtime_error(file.toStdString() + " cannot be written");
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("qx5-pictures FOLDER PRESET, or qx5-pictures --film FOLDER\n", stderr);
        return 2;
    }
    bool const isFilm = std::string_view(argv[1]) == "--film";
    presetFile = QString::fromLocal8Bit(argv[2]);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication const application(argc, argv);
    QApplication::setCursorFlashTime(0); // the same pictures each time
    try {
        if (isFilm) {
            Film(QString::fromLocal8Bit(argv[2]));
            return 0;
        }
        for (State const& state : states) {
            for (int const mode : {lightMode, darkMode}) {
                Render(state, mode, QString::fromLocal8Bit(argv[1]));
            }
        }
    } catch (std::exception const& failure) {
        fmt::print(stderr, "qx5-pictures: {}\n", failure.what());
        return 1;
    }
    return 0;
}
