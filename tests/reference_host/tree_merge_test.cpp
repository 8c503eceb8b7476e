// Tests of merging, comparing and printing trees, each rule with its result written out.
#include <attributes/tree_merge.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

CAttributeMap Leaf(AttributeKey const& key, int value)
{
    return {key, VordalTypeCreator::MakeValue(value)};
}

/// A node with these children.
CAttributeMap Branch(AttributeKey const& key, std::initializer_list<CAttributeMap> children,
                     CVordalType* value = nullptr)
{
    CAttributeMap node(key, value);
    for (auto const& child : children) {
        node.Append(child);
    }
    return node;
}

CAttributeMap Tree(std::initializer_list<CAttributeMap> children)
{
    return Branch(L"", children);
}

std::string Merged(CAttributeMap into, CAttributeMap const& given)
{
    vordal::Merge(into, given);
    return vordal::TreeText(into);
}

TEST(Merge, ALeafSetsTheFirstOfItsKey)
{
    EXPECT_EQ(Merged(Tree({Leaf(L"a", 1), Leaf(L"b", 2), Leaf(L"a", 3)}), Tree({Leaf(L"a", 9)})),
              "a = 9\nb = 2\na = 3\n");
}

TEST(Merge, ALeafIsAppendedWhenItsKeyIsNotThere)
{
    EXPECT_EQ(Merged(Tree({Leaf(L"a", 1)}), Tree({Leaf(L"b", 2)})), "a = 1\nb = 2\n");
    EXPECT_EQ(Merged(Tree({}), Tree({Leaf(L"b", 2)})), "b = 2\n");
}

TEST(Merge, RepeatedLeavesAllSetTheFirst)
{
    EXPECT_EQ(Merged(Tree({Leaf(L"a", 1), Leaf(L"a", 2)}), Tree({Leaf(L"a", 8), Leaf(L"a", 9)})), "a = 9\na = 2\n");
    EXPECT_EQ(Merged(Tree({}), Tree({Leaf(L"a", 8), Leaf(L"a", 9)})), "a = 9\n");
}

TEST(Merge, ALeafOfAnotherKindReplacesTheValueAndKeepsTheChildren)
{
    auto const into = Tree({Branch(L"a", {Leaf(L"below", 1)}, VordalTypeCreator::MakeValue(true))});
    EXPECT_EQ(Merged(into, Tree({Leaf(L"a", 2)})), "a = 2\n  below = 1\n");
}

TEST(Merge, ABranchMeetsTheSameOccurrence)
{
    auto const into = Tree({Branch(L"s", {Leaf(L"x", 1)}), Branch(L"s", {Leaf(L"x", 2)})});
    auto const given = Tree({Branch(L"s", {Leaf(L"y", 3)}), Branch(L"s", {Leaf(L"x", 4)})});
    EXPECT_EQ(Merged(into, given), "s\n  x = 1\n  y = 3\ns\n  x = 4\n");
}

TEST(Merge, OccurrencesCountAllSiblingsOfTheKey)
{
    // The branch is the third "s", after a leaf, which sets the first, and a node with neither.
    auto const given = Tree({Leaf(L"s", 5), CAttributeMap(L"s", nullptr), Branch(L"s", {Leaf(L"x", 1)})});
    EXPECT_EQ(Merged(Tree({}), given), "s = 5\ns\ns\n  x = 1\n");
    EXPECT_EQ(Merged(Tree({Leaf(L"t", 0), Leaf(L"s", 1)}), given), "t = 0\ns = 5\ns\ns\n  x = 1\n");
}

TEST(Merge, OccurrencesAreCountedAmongManySiblings)
{
    CAttributeMap given;
    std::string left;
    for (int i = 0; i < 100; ++i) {
        given.Append(Leaf(L"s", i));
        given.Append(Leaf(CString(L"t" + std::to_wstring(i)), i));
        left += "t" + std::to_string(i) + " = " + std::to_string(i) + "\n";
    }
    given.Append(Branch(L"s", {Leaf(L"x", 1)}));
    given.Append(Leaf(L"s", 7));
    given.Append(Branch(L"s", {Leaf(L"x", 2)}));
    std::string made;
    for (int i = 1; i < 100; ++i) {
        made += "s\n";
    }
    EXPECT_EQ(Merged(Tree({}), given), "s = 7\n" + left + made + "s\n  x = 1\ns\ns\n  x = 2\n");
}

TEST(Merge, AMissingOccurrenceIsCreatedWithThoseBefore)
{
    // The leaves before the branch leave one "s" only, so that the second has to be made.
    auto const given = Tree({Leaf(L"s", 1), Leaf(L"s", 2), Branch(L"s", {Leaf(L"x", 3)})});
    EXPECT_EQ(Merged(Tree({}), given), "s = 2\ns\ns\n  x = 3\n");
}

TEST(Merge, ABranchSetsItsValueTooIfItHasOne)
{
    auto const into = Tree({Branch(L"s", {Leaf(L"x", 1)}, VordalTypeCreator::MakeValue(1))});
    EXPECT_EQ(Merged(into, Tree({Branch(L"s", {Leaf(L"x", 2)}, VordalTypeCreator::MakeValue(7))})), "s = 7\n  x = 2\n");
    EXPECT_EQ(Merged(into, Tree({Branch(L"s", {Leaf(L"x", 2)})})), "s = 1\n  x = 2\n");
}

TEST(Merge, ANodeWithNeitherOnlySeesToItsOccurrence)
{
    CAttributeMap const none(L"s", nullptr);
    EXPECT_EQ(Merged(Tree({Leaf(L"s", 1)}), Tree({none})), "s = 1\n");
    EXPECT_EQ(Merged(Tree({Leaf(L"s", 1)}), Tree({none, none, none})), "s = 1\ns\ns\n");
    EXPECT_EQ(Merged(Tree({}), Tree({none})), "s\n");
    CAttributeMap created;
    created.FindCreate(L"s", 2).Add(L"x", CVordalInt(1), 0);
    EXPECT_EQ(Merged(Tree({Branch(L"s", {Leaf(L"x", 0)})}), created), "s\n  x = 0\ns\ns\n  x = 1\n");
}

TEST(Merge, GoesDownInTheSameWay)
{
    auto const into = Tree({Branch(L"a", {Branch(L"b", {Leaf(L"c", 1), Leaf(L"d", 2)})})});
    auto const given = Tree({Branch(L"a", {Branch(L"b", {Leaf(L"d", 3)}), Branch(L"b", {Leaf(L"e", 4)})})});
    EXPECT_EQ(Merged(into, given), "a\n  b\n    c = 1\n    d = 3\n  b\n    e = 4\n");
}

TEST(Merge, TakesFlagsWithTheValue)
{
    CAttributeMap given;
    given.Add(L"a", CVordalInt(1), 4);
    EXPECT_EQ(Merged(Tree({Leaf(L"a", 1)}), given), "a = 1 (flags 4)\n");
}

TEST(Merge, RootsOwnValueAndKeyPlayNoPart)
{
    CAttributeMap into(L"into", VordalTypeCreator::MakeValue(1), 2);
    vordal::Merge(into, CAttributeMap(L"given", VordalTypeCreator::MakeValue(5), 6));
    int value = 0;
    EXPECT_TRUE(into.Value().Get(value));
    EXPECT_EQ(value, 1);
    EXPECT_EQ(into.GetFlags(), 2U);
    EXPECT_TRUE(into.GetKey() == L"into");
}

TEST(Merge, LeavesCopiesAlone)
{
    auto into = Tree({Branch(L"s", {Leaf(L"x", 1)}), Leaf(L"a", 1)});
    CAttributeMap const before(into);
    vordal::Merge(into, Tree({Branch(L"s", {Leaf(L"x", 2)}), Leaf(L"b", 1)}));
    EXPECT_EQ(vordal::TreeText(before), "s\n  x = 1\na = 1\n");
    CAttributeMap const shared(into);
    vordal::Merge(into, Tree({Leaf(L"a", 1), Leaf(L"b", 1)}));
    EXPECT_EQ(&shared.GetChild(0), &std::as_const(into).GetChild(0)) << "nothing changed, so all is still shared";
}

TEST(Merge, OfATreeOrAPartOfItIntoItself)
{
    auto tree = Tree({Branch(L"s", {Leaf(L"x", 1), Branch(L"s", {Leaf(L"y", 2)})})});
    vordal::Merge(tree, tree);
    EXPECT_EQ(vordal::TreeText(tree), "s\n  x = 1\n  s\n    y = 2\n");
    vordal::Merge(tree, tree.Find(L"s"));
    EXPECT_EQ(vordal::TreeText(tree), "s\n  x = 1\n  s\n    y = 2\n  y = 2\nx = 1\n");
}

TEST(Merge, TenThousandRepeatedBranches)
{
    CAttributeMap given;
    for (int i = 0; i < 10000; ++i) {
        given.Append(Branch(L"s", {Leaf(L"x", i)}));
    }
    CAttributeMap into;
    vordal::Merge(into, given);
    EXPECT_TRUE(vordal::TreesEqual(into, given));
    vordal::Merge(into, given);
    EXPECT_TRUE(vordal::TreesEqual(into, given));
}

TEST(SetChildValue, SetsTheFirstOrAppends)
{
    CAttributeMap tree = Tree({Leaf(L"a", 1), Leaf(L"a", 2)});
    vordal::SetChildValue(tree, L"a", CVordalInt(3));
    vordal::SetChildValue(tree, L"b", CVordalDouble(0.5), 1);
    EXPECT_EQ(vordal::TreeText(tree), "a = 3\na = 2\nb = 0.5 (flags 1)\n");
}

TEST(TreesEqual, SeesEveryDifference)
{
    auto const tree = Tree({Leaf(L"a", 1), Branch(L"s", {Leaf(L"x", 1)})});
    EXPECT_TRUE(vordal::TreesEqual(tree, Tree({Leaf(L"a", 1), Branch(L"s", {Leaf(L"x", 1)})})));
    EXPECT_TRUE(vordal::TreesEqual(CAttributeMap(), Tree({})));
    EXPECT_FALSE(vordal::TreesEqual(tree, CAttributeMap()));
    EXPECT_FALSE(vordal::TreesEqual(tree, Tree({Branch(L"s", {Leaf(L"x", 1)}), Leaf(L"a", 1)})));
    EXPECT_FALSE(vordal::TreesEqual(tree, Tree({Leaf(L"a", 1), Branch(L"s", {Leaf(L"x", 2)})})));
    EXPECT_FALSE(vordal::TreesEqual(tree, Tree({Leaf(L"b", 1), Branch(L"s", {Leaf(L"x", 1)})})));
    EXPECT_FALSE(vordal::TreesEqual(Tree({Leaf(L"a", 1)}), Tree({CAttributeMap(L"a", nullptr)})));
    EXPECT_FALSE(vordal::TreesEqual(Tree({CAttributeMap(L"a", nullptr, 1)}), Tree({CAttributeMap(L"a", nullptr)})));
}

TEST(TreeText, PrintsKeysWithControlCharactersOnOneLine)
{
    EXPECT_EQ(vordal::TreeText(Tree({Leaf(L"a\nb", 1)})), "a\\nb = 1\n");
    EXPECT_EQ(vordal::TreeText(CAttributeMap()), "");
}

} // namespace
