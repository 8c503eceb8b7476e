// Tests of the project menu, and of the sessions that follow one another in one program.
#include "live_stage.h"
#include "program.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/project_menu.h>
#include <cli/window/recent_projects.h>

#include <QAction>
#include <QMenu>
#include <QSettings>

#include <filesystem>
#include <fstream>
#include <optional>

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <unistd.h>

namespace qx5::test {
namespace {

namespace fs = std::filesystem;
using cli::HeldProject;
using cli::NextSession;
using cli::ProjectQuestions;
using ::testing::HasSubstr;

/// The stage with a project menu, whose questions the test answers.
class ProjectMenus : public ::testing::Test
{
protected:
    ProjectMenus()
    {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                           QString::fromStdString((folder / "config").string()));
    }
    void Begin(fs::path const& project = {})
    {
        stage = std::make_unique<Stage>(project.string());
        ProjectQuestions questions;
        questions.fileToOpen = [this](QString const&) { return chosen; };
        questions.fileToSave = [this](QString const&) { return chosen; };
        questions.mayReplace = [this](QString const& asked) {
            replaced.push_back(asked.toStdString());
            return mayReplace;
        };
        questions.saveFirst = [this] {
            ++askedToSave;
            return saveFirst;
        };
        menu = std::make_unique<cli::ProjectMenu>(stage->session, *stage->window, next, std::move(questions));
    }
    void End()
    {
        menu.reset();
        stage->End();
    }
    void TearDown() override
    {
        menu.reset();
        stage.reset();
    }
    void Choose(fs::path const& file) { chosen = QString::fromStdString(file.string()); }
    void Trigger(char const* action) const
    {
        stage->window->findChild<QAction*>(QString::fromLatin1(action))->trigger();
    }
    bool WaitForTold(std::string const& text) { return stage->WaitForEvent(text); }
    /// A project with one sonar at that address.
    fs::path Project(std::string const& name, std::uint16_t port, CString const& sonar = L"Other sonar")
    {
        vordal::StoredProject project;
        project.vessels = {cli::MakeVessel(1, L"Other vessel", false)};
        AddConnected(project, {hull, L"QX5SonarConfigurationControlDevice", sonar, {}, true, {}}, L"127.0.0.1", port);
        auto const file = folder / name;
        vordal::ProjectStore(file).Save(project);
        return file;
    }

    TemporaryFolder const folder;
    QString chosen;
    std::vector<std::string> replaced;
    bool mayReplace = true;
    ProjectQuestions::Answer saveFirst = ProjectQuestions::Answer::Cancel;
    int askedToSave = 0;
    NextSession next;
    std::unique_ptr<Stage> stage;
    std::unique_ptr<cli::ProjectMenu> menu;
};

TEST_F(ProjectMenus, SaveAsksForANameWhereThereIsNoneAndSavesFromThenOn)
{
    Begin();
    EXPECT_FALSE(stage->session.IsUnsaved());
    stage->session.SetTransmitLock(true);
    EXPECT_TRUE(stage->session.IsUnsaved());
    Trigger("saveProject");
    EXPECT_TRUE(stage->session.ProjectFile().empty()) << "no name was chosen";
    Choose(folder / "survey");
    Trigger("saveProject");
    ASSERT_TRUE(RunUntil([&] { return !stage->session.ProjectFile().empty(); }));
    auto const file = folder / "survey.qx5";
    ASSERT_TRUE(RunUntil([&] { return stage->window->windowTitle().contains("survey.qx5"); }));
    EXPECT_FALSE(stage->session.IsUnsaved());
    EXPECT_TRUE(vordal::ProjectStore(file).Load().transmitLocked);
    EXPECT_TRUE(replaced.empty());
    stage->session.SetTransmitLock(false);
    stage->session.SaveSoon();
    EXPECT_TRUE(RunUntil([&] { return !vordal::ProjectStore(file).Load().transmitLocked; }));
    EXPECT_EQ(cli::RecentProjects().List(), QStringList{QString::fromStdString(fs::canonical(file).string())});
    End();
    EXPECT_EQ(vordal::ProjectStore(file).Load().devices.size(), 3U);
}

TEST_F(ProjectMenus, SaveAsOntoAFileAsksAndLeavesItWholeWhenItFails)
{
    auto const other = Project("other.qx5", 1);
    Begin(folder / "present.qx5");
    Choose(other);
    mayReplace = false;
    Trigger("saveProjectAs");
    EXPECT_EQ(replaced, std::vector<std::string>{other.string()});
    EXPECT_EQ(vordal::ProjectStore(other).Load().devices.size(), 1U);

    mayReplace = true;
    {
        std::string error;
        auto const held = HeldProject::Open(other, vordal::ProjectStore::Missing::Refuse, error);
        Trigger("saveProjectAs");
        EXPECT_TRUE(WaitForTold("other.qx5\" is open in another window"));
        EXPECT_EQ(stage->session.ProjectFile(), fs::canonical(folder / "present.qx5"));
    }
    auto const letter = folder / "letter.qx5";
    std::ofstream(letter) << "Dear all";
    Choose(letter);
    Trigger("saveProjectAs");
    EXPECT_TRUE(WaitForTold("letter.qx5\" is no project file; it is left as it is"));

    // Nobody may make a file there, whoever it is.
    Choose("/proc/a.qx5");
    Trigger("saveProjectAs");
    EXPECT_TRUE(WaitForTold("a.qx5\" cannot be written: the file or its folder does not allow it"));

    Choose(other);
    Trigger("saveProjectAs");
    ASSERT_TRUE(RunUntil([&] { return vordal::ProjectStore(other).Load().devices.size() == 3; }));
    ASSERT_TRUE(RunUntil([&] { return stage->session.ProjectFile() == fs::canonical(other); }));
}

TEST_F(ProjectMenus, AFullDiskLosesNothingAndIsToldInOneLine)
{
    auto const file = folder / "present.qx5";
    Begin(file);
    Trigger("saveProject");
    ASSERT_TRUE(RunUntil([&] { return vordal::ProjectStore(file).Load().devices.size() == 3; }));
    // No page more than there is.
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(+[](sqlite3* database, char**, void const*) {
        return sqlite3_exec(database, "PRAGMA max_page_count=12", nullptr, nullptr, nullptr);
    }));
    auto const target = folder / "full.qx5";
    Choose(target);
    Trigger("saveProjectAs");
    bool const isTold = WaitForTold("full.qx5\" cannot be written: the disk is full");
    sqlite3_reset_auto_extension();
    EXPECT_TRUE(isTold);
    EXPECT_FALSE(fs::exists(target));
    EXPECT_EQ(stage->session.ProjectFile(), fs::canonical(file));
    Trigger("saveProjectAs");
    EXPECT_TRUE(RunUntil([&] { return fs::exists(target) && stage->session.ProjectFile() == fs::canonical(target); }));
}

TEST_F(ProjectMenus, AProjectThatCannotBeOpenedLeavesThePresentOne)
{
    auto const file = folder / "present.qx5";
    Begin(file);
    auto const letter = folder / "letter.qx5";
    std::ofstream(letter) << "Dear all";
    for (auto const& [name, told] :
         {std::pair{letter, "letter.qx5\" is no project file; it is left as it is"},
          std::pair{folder / "gone.qx5", "gone.qx5\" is not there"},
          std::pair{file, "present.qx5\" is the project that is open"}, std::pair{fs::path(folder), "\" is no file"}}) {
        Choose(name);
        Trigger("openProject");
        EXPECT_TRUE(WaitForTold(told));
    }
    auto const other = Project("other.qx5", 1);
    std::string error;
    auto held = HeldProject::Open(other, vordal::ProjectStore::Missing::Refuse, error);
    Choose(other);
    Trigger("openProject");
    EXPECT_TRUE(WaitForTold("other.qx5\" is open in another window"));
    EXPECT_EQ(next.kind, NextSession::Kind::None);
    EXPECT_TRUE(stage->window->isVisible());
    EXPECT_FALSE(fs::exists(folder / "gone.qx5"));
}

TEST_F(ProjectMenus, AnotherProjectIsOpenedOnceThePresentOneIsSaved)
{
    auto const file = folder / "present.qx5";
    auto const other = Project("other.qx5", 1);
    Begin(file);
    stage->session.SetTransmitLock(true);
    Choose(other);
    Trigger("openProject");
    ASSERT_TRUE(RunUntil([&] { return !stage->window->isVisible(); }));
    EXPECT_EQ(next.kind, NextSession::Kind::Open);
    ASSERT_NE(next.project, nullptr);
    EXPECT_EQ(next.project->File(), fs::canonical(other));
    EXPECT_TRUE(vordal::ProjectStore(file).Load().transmitLocked);
    EXPECT_EQ(askedToSave, 0);
}

TEST_F(ProjectMenus, ThePresentProjectStaysWhereItCannotBeSaved)
{
    auto const file = folder / "present.qx5";
    auto const other = Project("other.qx5", 1);
    Begin(file);
    sqlite3* writer = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &writer), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(writer, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    Choose(other);
    Trigger("openProject");
    EXPECT_TRUE(WaitForTold("present.qx5\" is in use by another program"));
    sqlite3_close(writer);
    EXPECT_TRUE(stage->window->isVisible());
    EXPECT_EQ(next.kind, NextSession::Kind::None);
    std::string error;
    EXPECT_TRUE(RunUntil([&] {
        return HeldProject::Open(other, vordal::ProjectStore::Missing::Refuse, error) != nullptr;
    })) << "left alone once who saved has let go of it: "
        << error;
}

TEST_F(ProjectMenus, WhatNoProjectKeepsIsAskedForBeforeItGoes)
{
    Begin();
    stage->session.SetTransmitLock(true);
    Trigger("newProject");
    EXPECT_EQ(askedToSave, 1);
    EXPECT_EQ(next.kind, NextSession::Kind::None) << "cancelled";
    EXPECT_FALSE(stage->window->close());
    EXPECT_EQ(askedToSave, 2);
    saveFirst = ProjectQuestions::Answer::Yes;
    Choose(folder / "first.qx5");
    Trigger("newProject");
    ASSERT_TRUE(RunUntil([&] { return !stage->window->isVisible(); }));
    EXPECT_EQ(next.kind, NextSession::Kind::New);
    EXPECT_TRUE(vordal::ProjectStore(folder / "first.qx5").Load().transmitLocked);
}

TEST_F(ProjectMenus, TheWindowClosesOnceWhatNoProjectKeepsIsSavedOrGivenUp)
{
    Begin();
    stage->session.SetTransmitLock(true);
    saveFirst = ProjectQuestions::Answer::Yes;
    Choose(folder / "none" / "a.qx5");
    EXPECT_FALSE(stage->window->close());
    EXPECT_TRUE(WaitForTold("none/a.qx5\" cannot be"));
    EXPECT_TRUE(stage->window->isVisible()) << "nothing is lost";
    Choose(folder / "a.qx5");
    EXPECT_FALSE(stage->window->close()) << "not before it is saved";
    EXPECT_TRUE(RunUntil([&] { return !stage->window->isVisible(); }));
    EXPECT_EQ(next.kind, NextSession::Kind::None);
    EXPECT_TRUE(fs::exists(folder / "a.qx5"));
}

TEST_F(ProjectMenus, GivenUpItClosesAndASignalAsksNothing)
{
    Begin();
    stage->session.SetTransmitLock(true);
    saveFirst = ProjectQuestions::Answer::No;
    EXPECT_TRUE(stage->window->close());
    EXPECT_EQ(askedToSave, 1);
    stage->window->show();
    menu->CloseAtOnce();
    EXPECT_TRUE(stage->window->close());
    EXPECT_EQ(askedToSave, 1);
}

TEST_F(ProjectMenus, RecentOnesAreListedAndThoseThatAreGoneAreTold)
{
    auto const file = folder / "present.qx5";
    cli::RecentProjects recent;
    for (int i = 0; i < 12; ++i) {
        recent.Note(QStringLiteral("/nowhere/%1.qx5").arg(i));
    }
    EXPECT_EQ(recent.List().size(), 10);
    Begin(file);
    menu->NoteOpened();
    auto& menuOf = *stage->window->findChild<QMenu*>(QStringLiteral("recentProjects"));
    Q_EMIT menuOf.aboutToShow();
    auto const actions = menuOf.actions();
    ASSERT_EQ(actions.size(), 12) << "ten, a line, and one that clears";
    EXPECT_EQ(actions[0]->text().toStdString(), fs::canonical(file).string());
    EXPECT_EQ(actions[1]->text(), "/nowhere/11.qx5 (is not there)");
    actions[1]->trigger();
    EXPECT_TRUE(WaitForTold("\"/nowhere/11.qx5\" is not there"));
    EXPECT_EQ(recent.List().size(), 10) << "it may come back";
    actions[11]->trigger();
    EXPECT_TRUE(recent.List().isEmpty());
}

TEST(RunWindowProject, OpensWhatItKeepsAndSimulatedSonarsAnew)
{
    TemporaryFolder const folder;
    Simulator real;
    auto const file = folder / "kept.qx5";
    {
        vordal::StoredProject project;
        project.vessels = {cli::MakeVessel(4, L"Launch", false)};
        CString const sonarClass = L"QX5SonarConfigurationControlDevice";
        auto const colon = real.Endpoint().rfind(':');
        AddConnected(project, {CDataId(1, 78, 1, 4), sonarClass, L"Real", {}, true, {}}, L"127.0.0.1",
                     static_cast<std::uint16_t>(std::stoi(real.Endpoint().substr(colon + 1))));
        AddConnected(project, {CDataId(1, 78, 2, 4), sonarClass, L"Simulated", {}, true, {}}, L"", 0);
        project.devices.push_back({CDataId(1, 500, 3, 4), L"Nobody's", L"Winch", {}, true, {}});
        vordal::ProjectStore(file).Save(project);
    }
    for (int round = 0; round < 2; ++round) {
        ChildProcess program({QX5_PROGRAM, "run", "--project", file.string()},
                             {"QT_QPA_PLATFORM=offscreen", "XDG_CONFIG_HOME=" + folder.string()});
        ASSERT_TRUE(program.WaitForOutput(", others at " + real.Endpoint())) << program.Output() << program.Errors();
        EXPECT_THAT(program.Output(), HasSubstr("simulated sonars listen on 127.0.0.1:"));
        if (round == 0) {
            auto const second = Qx5({"run", "--project", file.string()}, {}, {"QT_QPA_PLATFORM=offscreen"});
            ExpectComplaint(second, 1, {"kept.qx5\" is open in another window (process "});
        }
        program.Signal(SIGTERM);
        EXPECT_EQ(program.WaitForEnd(), 0) << program.Errors();
    }
    {
        ChildProcess killed({QX5_PROGRAM, "run", "--project", file.string()}, {"QT_QPA_PLATFORM=offscreen"});
        ASSERT_TRUE(killed.WaitForOutput("The window is open"));
        killed.Signal(SIGKILL);
        EXPECT_TRUE(killed.WaitForEnd().has_value());
        std::string error;
        EXPECT_NE(HeldProject::Open(file, vordal::ProjectStore::Missing::Refuse, error), nullptr)
            << "what a killed program has left keeps nobody out: " << error;
    }
    auto const project = vordal::ProjectStore(file).Load();
    ASSERT_EQ(project.devices.size(), 3U);
    EXPECT_EQ(project.devices[2].name, L"Winch") << "what nobody could make stays";
    ASSERT_EQ(project.ports.size(), 2U);
    EXPECT_EQ(project.ports[1].tcpPort, 0) << "its port is another one each time";
    EXPECT_TRUE(project.ports[1].host.IsEmpty());
    EXPECT_EQ(project.vessels.size(), 1U);
}

TEST(RunWindowProject, AFolderThatAllowsNothingIsOneLine)
{
    if (geteuid() == 0) {
        GTEST_SKIP() << "nothing is forbidden to this user";
    }
    TemporaryFolder const folder;
    auto const inside = folder / "closed";
    fs::create_directory(inside);
    auto const file = inside / "kept.qx5";
    {
        vordal::ProjectStore const store(file);
    }
    fs::permissions(inside, fs::perms::owner_read | fs::perms::owner_exec);
    ExpectComplaint(Qx5({"run", "--project", file.string()}, {}, {"QT_QPA_PLATFORM=offscreen"}), 1,
                    {"kept.qx5\" cannot be written: the file or its folder does not allow it"});
    fs::permissions(inside, fs::perms::owner_all);
}

} // namespace
} // namespace qx5::test
