// Which values of a tree are new.
#include "shell/value_watch.h"

#include <VordalAttributesR/CVordalType.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::shell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> AllOf(ValueWatch& watch)
{
    std::vector<std::string> all;
    while (auto const* const row = watch.Take()) {
        all.push_back(row->path + "=" + row->value->ToText());
    }
    return all;
}

CAttributeMap Tree(int range, int first, int second)
{
    CAttributeMap tree;
    tree.Add(L"range", CVordalInt(range));
    tree.Add(L"head")->Add(L"number", CVordalInt(first));
    tree.Add(L"head")->Add(L"number", CVordalInt(second));
    return tree;
}

TEST(ValueWatch, TellsAllAtFirstAndThenWhatIsOtherwise)
{
    ValueWatch watch({});
    watch.See(Tree(50, 1, 2));
    EXPECT_THAT(AllOf(watch), ElementsAre("range=50", "head/number=1", "head/number=2"));
    watch.See(Tree(50, 1, 2));
    EXPECT_THAT(AllOf(watch), IsEmpty());
    watch.See(Tree(60, 1, 3));
    EXPECT_THAT(AllOf(watch), ElementsAre("range=60", "head/number=3"));
    EXPECT_THAT(watch.Untold(), IsEmpty());
}

TEST(ValueWatch, TellsTheKeysThatAreMeantAlone)
{
    ValueWatch byPath({"head/number", "other"});
    byPath.See(Tree(50, 1, 2));
    EXPECT_THAT(AllOf(byPath), ElementsAre("head/number=1", "head/number=2"));
    EXPECT_THAT(byPath.Untold(), ElementsAre("other"));

    ValueWatch byLastKey({"number"});
    byLastKey.See(Tree(50, 1, 2));
    EXPECT_THAT(AllOf(byLastKey), ElementsAre("head/number=1", "head/number=2"));

    ValueWatch branch({"head"});
    branch.See(Tree(50, 1, 2));
    EXPECT_THAT(AllOf(branch), IsEmpty());
}

TEST(ValueWatch, TellsAValueOfAnotherKind)
{
    ValueWatch watch({"a"});
    CAttributeMap tree;
    tree.Add(L"a", CVordalInt(1));
    watch.See(tree);
    EXPECT_THAT(AllOf(watch), ElementsAre("a=1"));
    CAttributeMap other;
    other.Add(L"a", CVordalDouble(1.5));
    watch.See(other);
    EXPECT_THAT(AllOf(watch), ElementsAre("a=1.5"));
}

} // namespace
} // namespace qx5::shell
