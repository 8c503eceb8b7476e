// The thread that saves a project while a session goes on.
#include "frames.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/project_keeper.h>

#include <VordalAttributesR/CVordalType.h>

#include <filesystem>
#include <mutex>
#include <vector>

#include <gmock/gmock.h>
#include <sqlite3.h>

namespace qx5::test {
namespace {

class Keeper : public ::testing::Test
{
protected:
    void Tell(std::string const& line)
    {
        std::lock_guard const lock(mutex);
        lines.push_back(line);
    }
    std::vector<std::string> Told()
    {
        std::lock_guard const lock(mutex);
        return lines;
    }
    /// What another program sees in the file.
    unsigned short ActiveVessel() const
    {
        return vordal::ProjectStore(file, vordal::ProjectStore::Missing::Refuse).Load().activeVessel;
    }
    void Change(char const* sql) const
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
        sqlite3_close(database);
    }
    static vordal::StoredProject Project(unsigned short activeVessel)
    {
        vordal::StoredProject project;
        project.activeVessel = activeVessel;
        return project;
    }

    TemporaryFolder const folder;
    std::filesystem::path const file = folder / "kept-meanwhile.qx";
    std::mutex mutex;
    std::vector<std::string> lines;
    operation::ActionLog log;
    std::string error;
    cli::ProjectKeeper keeper{cli::HeldProject::Open(file, vordal::ProjectStore::Missing::Create, error),
                              [this](std::string const& line) { Tell(line); }, &log};
};

TEST_F(Keeper, WritesTheLogBehindTheProject)
{
    operation::Action action;
    action.sonar = CDataId(1, 78, 1, 1);
    action.asked.Add(L"x5Range", CVordalDouble(50.0));
    action.result = operation::Result::Agrees;
    auto const rows = [this] {
        std::size_t count = 0;
        vordal::ProjectStore::ReadActions(file, [&](vordal::StoredAction const&) { ++count; });
        return count;
    };
    log.OnActionStands(action);
    keeper.Put(Project(2));
    EXPECT_TRUE(RunUntil([&] { return rows() == 1; }));
    // Also when the project is as it was.
    log.OnActionStands(action);
    keeper.Put(Project(2));
    EXPECT_TRUE(RunUntil([&] { return rows() == 2; }));
    // What cannot be written waits, and the project is saved all the same.
    Change("ALTER TABLE action RENAME TO aside");
    log.OnActionStands(action);
    keeper.Put(Project(3));
    EXPECT_TRUE(RunUntil([&] { return ActiveVessel() == 3 && Told().size() == 1; }));
    Change("ALTER TABLE aside RENAME TO action");
    keeper.Put(Project(3));
    EXPECT_TRUE(RunUntil([&] { return rows() == 3; }));
}

TEST_F(Keeper, SavesAsAnotherFileAndGoesOnInThatOne)
{
    vordal::ProjectStore(file).SavePreset(L"Deep", "{}");
    keeper.Put(Project(2));
    ASSERT_TRUE(RunUntil([&] { return ActiveVessel() == 2; }));
    auto const other = folder / "other.qx5";
    std::vector<std::string> ends;
    auto const note = [&](std::string const& problem) {
        std::lock_guard const lock(mutex);
        ends.push_back(problem);
    };
    auto const count = [&] {
        std::lock_guard const lock(mutex);
        return ends.size();
    };
    keeper.SaveAs(Project(3), other, note);
    keeper.Save(Project(4), note);
    ASSERT_TRUE(RunUntil([&] { return count() == 2; }));
    EXPECT_EQ(ends, (std::vector<std::string>{"", ""}));
    EXPECT_EQ(ActiveVessel(), 2) << "the former one is as it was";
    EXPECT_EQ(vordal::ProjectStore(other).Load().activeVessel, 4);
    EXPECT_EQ(vordal::ProjectStore(other).Presets().size(), 1U);

    // Where it cannot be, all goes on as it was.
    keeper.SaveAs(Project(5), folder / "none" / "a.qx5", note);
    keeper.Put(Project(6));
    ASSERT_TRUE(RunUntil([&] { return vordal::ProjectStore(other).Load().activeVessel == 6; }));
    ASSERT_EQ(count(), 3U);
    EXPECT_THAT(ends.back(), ::testing::HasSubstr("none/a.qx5"));
    EXPECT_TRUE(Told().empty()) << "who asked is told, nobody else";
}

TEST_F(Keeper, DoesWhatWasAskedForBeforeItEnds)
{
    auto const other = folder / "at-last.qx5";
    std::string problem = "not told";
    keeper.SaveAs(Project(3), other, [&](std::string const& told) { problem = told; });
    auto const held = keeper.End();
    EXPECT_EQ(problem, "");
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(held->File(), std::filesystem::canonical(other));
}

TEST_F(Keeper, AnotherWindowIsKeptOut)
{
    auto const shortcut = folder / "shortcut.qx5";
    std::filesystem::create_symlink(file, shortcut);
    for (auto const& way : {file, shortcut}) {
        std::string line;
        EXPECT_EQ(cli::HeldProject::Open(way, vordal::ProjectStore::Missing::Refuse, line), nullptr);
        EXPECT_THAT(line, ::testing::HasSubstr("kept-meanwhile.qx\" is open in another window (process "));
    }
    std::string problem;
    auto const held = cli::HeldProject::SaveAs(file, Project(9), nullptr, problem);
    EXPECT_EQ(held, nullptr);
    EXPECT_THAT(problem, ::testing::HasSubstr("is open in another window"));
    keeper.End().reset();
    EXPECT_NE(cli::HeldProject::Open(file, vordal::ProjectStore::Missing::Refuse, problem), nullptr) << problem;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.string()), {}), 2)
        << "nothing is left beside it";
}

TEST(KeeperWithoutProject, SavesNothingUntilItHasAName)
{
    TemporaryFolder const folder;
    std::vector<std::string> lines;
    cli::ProjectKeeper keeper(nullptr, [&](std::string const& line) { lines.push_back(line); });
    std::vector<std::string> ends;
    auto const note = [&](std::string const& problem) { ends.push_back(problem); };
    vordal::StoredProject project;
    project.activeVessel = 7;
    keeper.Put(project);
    keeper.Save(project, note);
    keeper.SaveAs(project, folder / "named.qx5", note);
    auto const held = keeper.End();
    EXPECT_EQ(ends, (std::vector<std::string>{"the project has no name yet", ""}));
    EXPECT_TRUE(lines.empty());
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(held->Loaded().activeVessel, 7);
}

TEST_F(Keeper, SavesWhatItIsGiven)
{
    keeper.Put(Project(2));
    EXPECT_TRUE(RunUntil([&] { return ActiveVessel() == 2; }));
    keeper.Put(Project(3));
    EXPECT_TRUE(RunUntil([&] { return ActiveVessel() == 3; }));
    EXPECT_TRUE(Told().empty());
}

TEST_F(Keeper, LeavesAFileAloneInWhichAllIsAsItStands)
{
    keeper.Put(Project(2));
    ASSERT_TRUE(RunUntil([&] { return ActiveVessel() == 2; }));
    // A save would put it back.
    Change("DELETE FROM setting");
    keeper.Put(Project(2));
    vordal::StoredProject view = Project(2);
    view.views[L"sonar view"] = {};
    Change("ALTER TABLE port RENAME TO harbour");
    keeper.Put(view);
    ASSERT_TRUE(RunUntil([&] { return Told().size() == 1; })) << "it is not as it was saved, and is saved again";
    Change("ALTER TABLE harbour RENAME TO port");
    EXPECT_EQ(ActiveVessel(), 0) << "what was the same was not saved again";
}

TEST_F(Keeper, TellsOnceWhyItCannotSaveAndSavesLater)
{
    Change("ALTER TABLE port RENAME TO harbour");
    keeper.Put(Project(2));
    ASSERT_TRUE(RunUntil([&] { return Told().size() == 1; }));
    EXPECT_THAT(Told().front(), ::testing::HasSubstr("kept-meanwhile.qx"));
    Change("ALTER TABLE harbour RENAME TO port");
    keeper.Put(Project(2));
    EXPECT_TRUE(RunUntil([&] { return ActiveVessel() == 2; })) << "it is tried again, though nothing has changed";
    Change("ALTER TABLE port RENAME TO harbour");
    keeper.Put(Project(4));
    EXPECT_TRUE(RunUntil([&] { return Told().size() == 2; })) << "after a good save it is told anew";
}

TEST(ProjectKeeper, DoesItsTasksInOrderAlsoWhileItEnds)
{
    TemporaryFolder const folder;
    auto const file = folder / "survey.qx5";
    std::string error;
    std::vector<int> done;
    {
        cli::ProjectKeeper keeper(cli::HeldProject::Open(file, vordal::ProjectStore::Missing::Create, error),
                                  [](std::string const&) {});
        for (int i = 1; i <= 3; ++i) {
            keeper.Do([&done, i](vordal::ProjectStore& of) {
                of.SavePreset(L"Deep", std::to_string(i));
                done.push_back(i);
            });
        }
    }
    EXPECT_EQ(done, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(vordal::ProjectStore(file).Presets().at(L"Deep"), "3");
}

} // namespace
} // namespace qx5::test
