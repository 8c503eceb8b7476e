// Tests of merging within an account: what has room is taken, what has none is counted, and known keys go on.
#include <attributes/tree_account.h>
#include <attributes/tree_merge.h>

#include <VordalAttributesR/CAttributeMap.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vordal {
namespace {

CAttributeMap Ints(std::initializer_list<std::pair<wchar_t const*, int>> leaves)
{
    CAttributeMap tree;
    for (auto const& [key, value] : leaves) {
        tree.Append(CAttributeMap(AttributeKey(key), VordalTypeCreator::MakeValue(value)));
    }
    return tree;
}

CAttributeMap Text(wchar_t const* key, std::size_t length)
{
    CAttributeMap tree;
    tree.Add(AttributeKey(key), CVordalText(CString(std::wstring(length, L'x'))));
    return tree;
}

std::size_t LengthOf(CAttributeMap const& tree, wchar_t const* key)
{
    CString text;
    tree.FindValue(AttributeKey(key)).Get(text);
    return text.View().size();
}

TEST(TreeAccount, SizesAreKeysAtAnyDepthAndBytesOfNamesTextsAndLists)
{
    CAttributeMap tree;
    auto* const branch = tree.Add(L"ab");                                       // 8 bytes
    branch->Add(L"c", CVordalInt(7));                                           // 4
    branch->Add(L"d", CVordalText(CString(L"xyz")));                            // 4 + 12
    branch->Add(L"e", CVordalIntList(std::vector<int>{1, 2, 3}));               // 4 + 12
    branch->Add(L"f")->Add(L"g", CVordalDoubleList(std::vector<double>{1, 2})); // 4 + 4 + 16
    EXPECT_EQ(SizeOf(tree), (TreeSize{6, 68}));
    EXPECT_EQ(SizeOf(CAttributeMap()), TreeSize{});
}

TEST(TreeAccount, NewKeysBeyondItAreLeftOutAndKnownOnesGoOn)
{
    TreeAccount account({.keys = 2, .bytes = 1000});
    CAttributeMap tree;
    Merge(tree, Ints({{L"a", 1}, {L"b", 2}, {L"c", 3}, {L"a", 4}}), account);
    EXPECT_EQ(TreeText(tree), "a = 4\nb = 2\n");
    EXPECT_EQ(account.Used(), (TreeSize{2, 8}));
    EXPECT_EQ(account.Refused(), (TreeSize{1, 4}));
    Merge(tree, Ints({{L"b", 5}, {L"d", 6}}), account);
    EXPECT_EQ(TreeText(tree), "a = 4\nb = 5\n");
    EXPECT_EQ(account.Refused(), (TreeSize{2, 8}));
}

TEST(TreeAccount, ABranchWithoutRoomIsLeftOutWithAllBelowIt)
{
    CAttributeMap given;
    auto* const branch = given.Add(L"branch");
    branch->Add(L"a", CVordalInt(1));
    branch->Add(L"b")->Add(L"c", CVordalInt(2));
    given.Add(L"last", CVordalInt(3));

    TreeAccount none({.keys = 0, .bytes = 1000});
    CAttributeMap tree;
    Merge(tree, given, none);
    EXPECT_EQ(tree.Count(), 0);
    EXPECT_EQ(none.Refused(), (TreeSize{5, 52}));

    TreeAccount some({.keys = 3, .bytes = 1000});
    Merge(tree, given, some);
    EXPECT_EQ(TreeText(tree), "branch\n  a = 1\n  b\n");
    EXPECT_EQ(some.Used().keys, 3U);
    EXPECT_EQ(some.Refused().keys, 2U);
}

TEST(TreeAccount, OccurrencesThatWouldBeMadeCountEach)
{
    TreeAccount account({.keys = 2, .bytes = 1000});
    CAttributeMap given;
    for (int i = 0; i < 4; ++i) {
        given.Add(L"a")->Add(L"x", CVordalInt(i));
    }
    CAttributeMap tree;
    Merge(tree, given, account);
    EXPECT_EQ(TreeText(tree), "a\n  x = 0\n");
    EXPECT_EQ(account.Used().keys, 2U);
    EXPECT_EQ(account.Refused().keys, 9U) << "the second a; with the third the second and the third, and so on; each x";
}

TEST(TreeAccount, ALongerTextNeedsRoomAndAShorterOneGivesItBack)
{
    TreeAccount account({.keys = 10, .bytes = 400});
    CAttributeMap tree;
    Merge(tree, Text(L"t", 90), account);
    EXPECT_EQ(account.Used(), (TreeSize{1, 364}));
    Merge(tree, Text(L"t", 100), account);
    EXPECT_EQ(LengthOf(tree, L"t"), 90U);
    EXPECT_EQ(account.Refused(), (TreeSize{0, 40}));
    Merge(tree, Ints({{L"t", 1}}), account);
    EXPECT_EQ(account.Used(), (TreeSize{1, 4}));
    Merge(tree, Text(L"t", 99), account);
    EXPECT_EQ(LengthOf(tree, L"t"), 99U);
    EXPECT_EQ(account.Used(), (TreeSize{1, 400}));
}

TEST(TreeAccount, WhatOthersTookAwayHasRoomAgain)
{
    TreeAccount account({.keys = 2, .bytes = 400});
    CAttributeMap tree;
    Merge(tree, Text(L"t", 90), account);
    Merge(tree, Text(L"t", 1)); // by somebody else
    Merge(tree, Text(L"u", 50), account);
    EXPECT_FALSE(tree.Has(L"u")) << "nobody said that others had written";
    account.NoteOthersWrote();
    Merge(tree, Text(L"u", 50), account);
    EXPECT_EQ(LengthOf(tree, L"u"), 50U);
    // Two keys of 4 bytes each, a character and fifty.
    EXPECT_EQ(account.Used(), (TreeSize{2, 212}));
}

TEST(TreeAccount, WhatOthersWroteTakesNoRoom)
{
    TreeAccount account({.keys = 1, .bytes = 400});
    CAttributeMap tree = Ints({{L"a", 1}, {L"b", 2}, {L"c", 3}});
    account.NoteOthersWrote();
    Merge(tree, Ints({{L"d", 4}, {L"a", 5}, {L"e", 6}}), account);
    EXPECT_EQ(TreeText(tree), "a = 5\nb = 2\nc = 3\nd = 4\n");
}

TEST(TreeAccount, ALimitedMergeThatFitsIsTheMerge)
{
    CAttributeMap given = Ints({{L"a", 1}, {L"a", 2}});
    auto* const branch = given.Add(L"b", CVordalInt(3));
    branch->Add(L"c", CVordalInt(4));
    given.Add(L"b")->Add(L"c", CVordalInt(5));
    given.Add(L"empty");
    CAttributeMap free = Ints({{L"z", 9}});
    CAttributeMap limited = free;
    TreeAccount account;
    for (int round = 0; round < 2; ++round) {
        Merge(free, given);
        Merge(limited, given, account);
        EXPECT_TRUE(TreesEqual(free, limited)) << TreeText(limited);
        EXPECT_EQ(account.Used().keys, 6U);
        EXPECT_EQ(account.Refused(), TreeSize{});
    }
}

} // namespace
} // namespace vordal
