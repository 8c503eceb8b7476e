// The presets of a project: listed, replaced only when that is meant, renamed in one step.
#include "operation/preset_shelf.h"
#include "reference_host/store/project_store.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace qx5::operation {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

Preset Make(std::string const& name, double range)
{
    return {name, "2026-11-22T14:30:05Z", "Bow", "Sonar", {{L"x5Range", range, "m"}}};
}

class Shelf : public ::testing::Test
{
protected:
    std::vector<std::string> Names()
    {
        std::vector<std::string> names;
        for (auto const& preset : shelf.List()) {
            names.push_back(preset.name);
        }
        return names;
    }
    double RangeOf(std::string const& name) { return std::get<double>(shelf.Find(name)->settings[0].value); }
    std::string RenamingFails(std::string const& name, std::string const& to)
    {
        try {
            shelf.Rename(name, to);
        } catch (PresetError const& failure) {
            return failure.what();
        }
        return "done";
    }

    test::TemporaryFolder const folder;
    vordal::ProjectStore store{folder / "survey.qx5"};
    PresetShelf shelf{store};
};

TEST_F(Shelf, ReplacesOnlyWhenThatIsMeant)
{
    EXPECT_TRUE(shelf.Put(Make("Deep", 100.0), false));
    EXPECT_FALSE(shelf.Put(Make("Deep", 50.0), false));
    EXPECT_EQ(RangeOf("Deep"), 100.0);
    EXPECT_TRUE(shelf.Put(Make("Deep", 50.0), true));
    EXPECT_EQ(RangeOf("Deep"), 50.0);
    EXPECT_FALSE(shelf.Find("deep").has_value());
}

TEST_F(Shelf, ListsWhatCannotBeReadToo)
{
    shelf.Put(Make("Deep", 100.0), false);
    store.SavePreset(L"Cut", "{");
    auto const list = shelf.List();
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].name, "Cut");
    EXPECT_THAT(list[0].damage, StartsWith("the preset \"Cut\" of the project: "));
    EXPECT_EQ(list[1].name, "Deep");
    EXPECT_EQ(list[1].sonar, "Bow");
    EXPECT_EQ(list[1].sonarClass, "Sonar");
    EXPECT_EQ(list[1].time, "2026-11-22T14:30:05Z");
    EXPECT_EQ(list[1].settings, 1U);
    EXPECT_EQ(list[1].damage, "");
    EXPECT_THROW(shelf.Find("Cut"), DamagedPreset);
    EXPECT_TRUE(shelf.Remove("Cut"));
    EXPECT_FALSE(shelf.Remove("Cut"));
    EXPECT_THAT(Names(), ElementsAre("Deep"));
}

TEST_F(Shelf, RenamesTheDocumentWithIt)
{
    shelf.Put(Make("Deep", 100.0), false);
    shelf.Put(Make("Shallow", 50.0), false);
    shelf.Rename("Deep", "Deepest");
    EXPECT_THAT(Names(), ElementsAre("Deepest", "Shallow"));
    EXPECT_EQ(shelf.Find("Deepest")->name, "Deepest");
    EXPECT_EQ(RangeOf("Deepest"), 100.0);
    shelf.Rename("Deepest", "Deepest");
    EXPECT_EQ(RangeOf("Deepest"), 100.0);

    EXPECT_EQ(RenamingFails("Deepest", "Shallow"), "the project has a preset \"Shallow\" already");
    EXPECT_EQ(RenamingFails("Deep", "Other"), "the project has no preset \"Deep\"");
    EXPECT_EQ(RenamingFails("Deepest", ""), "a preset needs a name");
    store.SavePreset(L"Cut", "{");
    EXPECT_THAT(RenamingFails("Cut", "Whole"), HasSubstr("\"Cut\" of the project: "));
    EXPECT_THAT(Names(), ElementsAre("Cut", "Deepest", "Shallow"));
    EXPECT_EQ(RangeOf("Shallow"), 50.0);
}

} // namespace
} // namespace qx5::operation
