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
    vordal::ProjectStore store{file};
    std::mutex mutex;
    std::vector<std::string> lines;
    operation::ActionLog log;
    cli::ProjectKeeper keeper{store, [this](std::string const& line) { Tell(line); }, &log};
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
    vordal::ProjectStore store(folder / "survey.qx5");
    std::vector<int> done;
    {
        cli::ProjectKeeper keeper(store, [](std::string const&) {});
        for (int i = 1; i <= 3; ++i) {
            keeper.Do([&done, i](vordal::ProjectStore& of) {
                of.SavePreset(L"Deep", std::to_string(i));
                done.push_back(i);
            });
        }
    }
    EXPECT_EQ(done, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(store.Presets().at(L"Deep"), "3");
}

} // namespace
} // namespace qx5::test
