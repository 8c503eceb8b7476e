// Tests of trees that are merged again and again: what is spared, and that nothing else differs from a plain merge.
#include <attributes/merged_trees.h>
#include <attributes/tree_account.h>
#include <attributes/tree_merge.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using vordal::MergedTrees;
using vordal::TreeAccount;
using vordal::TreesEqual;
using vordal::TreeText;

CAttributeMap OneNumber(AttributeKey const& key, int value)
{
    CAttributeMap tree;
    tree.Add(key, CVordalInt(value), 0);
    return tree;
}

TEST(MergedTrees, WhatTheTreeSaysAlreadyIsNotMerged)
{
    MergedTrees merged;
    TreeAccount account;
    CAttributeMap tree;
    merged.Merge(tree, OneNumber(L"a", 1), 7, account);
    merged.Merge(tree, OneNumber(L"b", 2), 8, account);
    EXPECT_EQ(TreeText(tree), "a = 1\nb = 2\n");
    // By its number it is what was merged last.
    merged.Merge(tree, OneNumber(L"b", 3), 8, account);
    EXPECT_EQ(TreeText(tree), "a = 1\nb = 2\n");
    // That of the first was forgotten when the second changed something; now both are known.
    merged.Merge(tree, OneNumber(L"a", 1), 7, account);
    merged.Merge(tree, OneNumber(L"b", 4), 8, account);
    merged.Merge(tree, OneNumber(L"a", 4), 7, account);
    EXPECT_EQ(TreeText(tree), "a = 1\nb = 2\n");
    merged.Merge(tree, OneNumber(L"b", 5), 9, account);
    EXPECT_EQ(TreeText(tree), "a = 1\nb = 5\n");
}

TEST(MergedTrees, AValueThatOthersWroteMeanwhileIsMergedAgain)
{
    MergedTrees merged;
    TreeAccount account;
    CAttributeMap tree;
    auto const given = OneNumber(L"a", 1);
    merged.Merge(tree, given, 7, account);
    vordal::Merge(tree, OneNumber(L"a", 2));
    merged.Merge(tree, given, 7, account);
    EXPECT_EQ(TreeText(tree), "a = 1\n");
    tree.Remove(L"a");
    merged.Merge(tree, given, 7, account);
    EXPECT_EQ(TreeText(tree), "a = 1\n");
    auto& held = tree.FindCreate(L"a");
    held.ReplaceValue(new CVordalInt(3));
    merged.Merge(tree, given, 7, account);
    EXPECT_EQ(TreeText(tree), "a = 1\n");
    held.ReplaceValue(new CVordalInt(4)); // by a reference that was handed out before
    merged.Merge(tree, given, 7, account);
    EXPECT_EQ(TreeText(tree), "a = 1\n");
}

TEST(MergedTrees, WhatIsRefusedIsCountedEachTimeAndTakenOnceThereIsRoom)
{
    MergedTrees merged;
    TreeAccount account({.keys = 1, .bytes = 1000});
    CAttributeMap tree;
    auto given = OneNumber(L"a", 1);
    given.Add(L"b", CVordalInt(2), 0);
    merged.Merge(tree, given, 7, account);
    merged.Merge(tree, given, 7, account);
    EXPECT_EQ(TreeText(tree), "a = 1\n");
    EXPECT_EQ(account.Refused().keys, 2U);
    account.SetLimits({.keys = 2, .bytes = 1000});
    merged.Merge(tree, given, 7, account);
    EXPECT_EQ(TreeText(tree), "a = 1\nb = 2\n");
}

class RepeatedMerges : public testing::TestWithParam<unsigned>
{
};

TEST_P(RepeatedMerges, AreWhatPlainMergesAre)
{
    std::mt19937 random(GetParam());
    auto const below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    int const keyCount = GetParam() % 2 == 0 ? 5 : 60;
    auto const anyKey = [&] { return CString(L"k" + std::to_wstring(below(keyCount))); };
    auto const anyTree = [&] {
        CAttributeMap tree;
        for (int count = 1 + below(keyCount); count > 0; --count) {
            auto* node = tree.Add(anyKey());
            if (below(4) == 0) {
                for (int i = below(3); i >= 0; --i) {
                    node->Add(anyKey(), CVordalInt(below(3)), 0);
                }
            }
            if (below(8) != 0) {
                node->ReplaceValue(
                    below(3) != 0 ? VordalTypeCreator::MakeValue(below(3))
                                  : new CVordalText(CString(std::wstring(static_cast<std::size_t>(below(20)), L'x'))));
            }
        }
        vordal::ForgetReferences(tree);
        return tree;
    };

    // In every third run little has room.
    vordal::TreeLimits const limits = GetParam() % 3 == 0 ? vordal::TreeLimits{20, 600} : vordal::TreeLimits();
    MergedTrees merged;
    CAttributeMap tree;
    TreeAccount account(limits);
    CAttributeMap plainTree;
    TreeAccount plainAccount(limits);
    std::vector<CAttributeMap> given(3);
    std::vector<std::uint64_t> numbers(3, 0);
    std::uint64_t last = 0;
    std::vector<CAttributeMap> kept; // by those that follow the tree
    CAttributeMap* reference = nullptr;
    CAttributeMap* plainReference = nullptr;
    for (int step = 0; step < 2000; ++step) {
        int const what = below(40);
        if (what < 34) {
            auto const which = static_cast<std::size_t>(below(3));
            if (numbers[which] == 0 || below(12) == 0) {
                given[which] = anyTree();
                numbers[which] = ++last;
            }
            merged.Merge(tree, given[which], below(20) == 0 ? 0 : numbers[which], account);
            vordal::Merge(plainTree, given[which], plainAccount);
        } else if (what == 34) {
            auto const others = anyTree();
            if (below(2) == 0) {
                merged.Forget();
            }
            vordal::Merge(tree, others);
            vordal::Merge(plainTree, others);
            account.NoteOthersWrote();
            plainAccount.NoteOthersWrote();
        } else if (what == 35) {
            reference = plainReference = nullptr;
            auto const key = anyKey();
            tree.Remove(key);
            plainTree.Remove(key);
            account.NoteOthersWrote();
            plainAccount.NoteOthersWrote();
        } else if (what == 36) {
            auto const key = anyKey();
            reference = &tree.FindCreate(key);
            plainReference = &plainTree.FindCreate(key);
        } else if (what == 37 && reference != nullptr) {
            int const value = below(3);
            reference->ReplaceValue(new CVordalInt(value));
            plainReference->ReplaceValue(new CVordalInt(value));
        } else if (what == 38) {
            reference = plainReference = nullptr;
            vordal::ForgetReferences(tree);
            vordal::ForgetReferences(plainTree);
        } else {
            kept.resize(static_cast<std::size_t>(below(3)));
            kept.push_back(tree);
        }
        ASSERT_TRUE(TreesEqual(tree, plainTree)) << "step " << step << "\n" << TreeText(tree) << TreeText(plainTree);
        ASSERT_EQ(account.Used(), plainAccount.Used()) << "step " << step;
        ASSERT_EQ(account.Refused(), plainAccount.Refused()) << "step " << step;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RepeatedMerges, testing::Range(0U, 24U));

} // namespace
