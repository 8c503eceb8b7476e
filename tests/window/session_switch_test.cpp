// What stands in the window as `qx5 run` opens it, and sessions that follow one another in one program: worked from
// within.
#include "tests/cli/child_process.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/recent_projects.h>
#include <cli/window/run_window.h>
#include <cli/window/window_session.h>
#include <reference_host/window/main_window.h>
#include <simulator/sonar_server.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDockWidget>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

/// What is done to the window, one after another: each is asked again and again until it gives true.
std::vector<std::function<bool()>> steps;
std::size_t done = 0;

vordal::MainWindow* Window()
{
    for (auto* const widget : QApplication::topLevelWidgets()) {
        if (auto* const window = qobject_cast<vordal::MainWindow*>(widget); window != nullptr && window->isVisible()) {
            return window;
        }
    }
    return nullptr;
}

void TakeStep()
{
    if (done < steps.size() && steps[done]()) {
        ++done;
    }
}

/// The application is the program's own, and so this is where one can begin to work it.
void BeginToWork()
{
    auto* const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, qApp, [] { TakeStep(); });
    timer->start(10);
    // A step that is never done ends the session, and the number of those that were tells.
    QTimer::singleShot(generousLimit, qApp, [] {
        if (Window() != nullptr) {
            Window()->close();
        }
    });
}
Q_COREAPP_STARTUP_FUNCTION(BeginToWork)

bool Shows(QString const& project)
{
    return Window() != nullptr && Window()->windowTitle().contains(project);
}

bool Trigger(char const* name)
{
    // What it does may open another loop, in which the next step is taken.
    auto* const action = Window()->findChild<QAction*>(QString::fromLatin1(name));
    QTimer::singleShot(0, action, [action] { action->trigger(); });
    return true;
}

std::size_t DeviceCount()
{
    std::size_t count = 0;
    for (auto const& vessel : Window()->Devices().Vessels()) {
        count += vessel.devices.size();
    }
    return count;
}

TEST(SessionSwitch, ProjectsFollowOneAnotherInOneProgram)
{
    TemporaryFolder const folder;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(folder.string()));
    simulator::SonarServer sonar{simulator::ServerOptions{}};
    ASSERT_FALSE(sonar.Start().has_value());
    CDataId const id(1, 78, 1, 1);
    auto const second = folder / "second.qx5";
    {
        vordal::StoredProject project;
        project.vessels = {cli::MakeVessel(1, L"Launch", false)};
        AddConnected(project, {id, L"QX5SonarConfigurationControlDevice", L"Only sonar", {}, true, {}}, L"127.0.0.1",
                     sonar.Port());
        vordal::ProjectStore(second).Save(project);
    }
    cli::RecentProjects().Note(QString::fromStdString(second.string()));

    vordal::MainWindow const* former = nullptr;
    done = 0;
    steps = {
        [] { return Shows("first.qx5") && DeviceCount() == 3; },
        [&] {
            former = Window();
            auto& recent = *Window()->findChild<QMenu*>(QStringLiteral("recentProjects"));
            Q_EMIT recent.aboutToShow();
            EXPECT_EQ(recent.actions().value(1)->text().toStdString(), second.string());
            recent.actions().value(1)->trigger();
            return true;
        },
        [&] {
            return Shows("second.qx5") && DeviceCount() == 1 &&
                   Window()->Devices().StateOf(id) == vordal::LinkState::Connected;
        },
        [] { return Trigger("newProject"); },
        [] { return Window() != nullptr && !Shows(".qx5") && DeviceCount() == 0; },
        [] { return Trigger("addSonar"); },
        [] { return Window()->findChild<QDialog*>(QStringLiteral("sonarForm")) != nullptr; },
        [] {
            auto& form = *Window()->findChild<QDialog*>(QStringLiteral("sonarForm"));
            form.findChild<QLineEdit*>(QStringLiteral("sonarName"))->setText(QStringLiteral("New sonar"));
            form.findChild<QCheckBox*>(QStringLiteral("sonarSimulated"))->setChecked(true);
            form.findChild<QPushButton*>(QStringLiteral("sonarAccept"))->click();
            return true;
        },
        [&] { return Window()->Devices().StateOf(id) == vordal::LinkState::Connected; },
        [] {
            QTimer::singleShot(0, Window(), &QWidget::close);
            return true;
        },
        [] {
            auto* const question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (question != nullptr) {
                question->button(QMessageBox::Discard)->click();
            }
            return question != nullptr;
        },
    };
    cli::RunOptions options;
    options.project = (folder / "first.qx5").string();
    EXPECT_EQ(cli::RunWindow(options), 0);
    EXPECT_EQ(done, steps.size());
    EXPECT_TRUE(std::filesystem::exists(folder / "qx5" / "qx5.ini")) << "the list of recent projects";
    auto const first = vordal::ProjectStore(folder / "first.qx5", vordal::ProjectStore::Missing::Refuse).Load();
    EXPECT_EQ(first.devices.size(), 3U);
    EXPECT_EQ(first.windows.size(), 1U);
    auto const kept = vordal::ProjectStore(second, vordal::ProjectStore::Missing::Refuse).Load();
    ASSERT_EQ(kept.devices.size(), 1U);
    EXPECT_TRUE(kept.devices[0].attributes.Has(L"x5Range")) << "what the sonar told is saved";
    EXPECT_EQ(kept.windows.size(), 1U);
}

TEST(OpenedWindow, ShowsASurveyOverAWreckWhereNothingElseIsToldOfIt)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    done = 0;
    steps = {
        [] { return Window() != nullptr && DeviceCount() == 3; },
        [] {
            return Window() != nullptr && Window()->findChild<QDockWidget*>(QStringLiteral("pictureDock"))->isVisible();
        },
        [&] {
            auto const& picture = *Window()->findChild<QDockWidget*>(QStringLiteral("pictureDock"));
            auto const& view = *Window()->centralWidget();
            EXPECT_TRUE(view.isVisible());
            EXPECT_GE(picture.mapToGlobal(QPoint()).x(), view.mapToGlobal(QPoint(view.width(), 0)).x());
            QTimer::singleShot(0, Window(), &QWidget::close);
            return true;
        },
    };
    EXPECT_EQ(cli::RunWindow({}), 0);
    EXPECT_EQ(done, steps.size());
}

} // namespace
} // namespace qx5::test
