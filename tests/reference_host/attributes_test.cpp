// Tests of attribute trees: each operation of the contract, sharing of copies, references that were handed out.
#include <attributes/tree_merge.h>

#include <VordalAttributesR/CAttributeMap.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

int IntAt(CAttributeMap const& tree, AttributeKey const& key, int index = 0)
{
    int value = -1;
    tree.FindValue(key, index).Get(value);
    return value;
}

TEST(Tree, AnEmptyTreeHasNothing)
{
    CAttributeMap tree;
    CAttributeMap const& read = tree;
    EXPECT_EQ(tree.Count(), 0);
    EXPECT_EQ(tree.Count(L"x5Range"), 0);
    EXPECT_FALSE(tree.Has(L"x5Range"));
    EXPECT_EQ(read.GetAttrMap(L"x5Range"), nullptr);
    EXPECT_EQ(tree.GetAttrMap(L"x5Range"), nullptr);
    EXPECT_EQ(tree.Find(L"x5Range").Count(), 0);
    EXPECT_FALSE(tree.Remove(L"x5Range"));
    EXPECT_TRUE(tree.FindValue(L"x5Range").IsEmpty());
    EXPECT_TRUE(read.begin() == read.end());
    EXPECT_TRUE(tree.GetKey().IsEmpty());
    EXPECT_EQ(tree.GetFlags(), 0U);
}

TEST(Tree, GettersOfAnAbsentValueFailAndLeaveTheirArguments)
{
    CAttributeMap tree;
    tree.Add(L"x5Other", CVordalInt(1), 0);
    double range = 12.5;
    EXPECT_FALSE(tree.FindValue(L"x5Range").Get(range));
    EXPECT_FALSE(tree.FindValue(L"x5Other").Get(range));
    EXPECT_EQ(range, 12.5);
    CVordalType& value = tree.FindValue(L"x5Range", 3);
    EXPECT_FALSE(value.Get(range));
    int i = 4;
    unsigned flags = 77;
    EXPECT_FALSE(tree.GetAttribValue(L"x5Range", i, flags));
    EXPECT_FALSE(tree.GetAttribValue(L"x5Other", range, flags));
    EXPECT_EQ(flags, 77U);
    EXPECT_EQ(i, 4);
}

TEST(Tree, GetAttribValueReadsTheFirstOccurrenceWithItsFlags)
{
    CAttributeMap tree;
    tree.Add(L"i", CVordalInt(5), 3);
    tree.Add(L"i", CVordalInt(6), 4);
    tree.Add(L"d", CVordalDouble(2.5), 1);
    tree.Add(L"b", CVordalBool(true), 2);
    int i = 0;
    double d = 0.0;
    bool b = false;
    unsigned flags = 0;
    EXPECT_TRUE(tree.GetAttribValue(L"i", i, flags));
    EXPECT_EQ(i, 5);
    EXPECT_EQ(flags, 3U);
    EXPECT_TRUE(tree.GetAttribValue(L"d", d, flags));
    EXPECT_EQ(d, 2.5);
    EXPECT_EQ(flags, 1U);
    EXPECT_TRUE(tree.GetAttribValue(L"b", b, flags));
    EXPECT_TRUE(b);
    EXPECT_EQ(flags, 2U);
}

TEST(Tree, KeepsOrderAndRepeatedKeys)
{
    CAttributeMap tree;
    for (int i = 0; i < 6; ++i) {
        tree.Add(i % 2 == 0 ? L"even" : L"odd", CVordalInt(i), 0);
    }
    EXPECT_EQ(tree.Count(), 6);
    EXPECT_EQ(tree.Count(L"even"), 3);
    EXPECT_EQ(IntAt(tree, L"even", 2), 4);
    EXPECT_EQ(IntAt(tree, L"odd", 0), 1);
    EXPECT_FALSE(tree.Has(L"odd", 3));
    int expected = 0;
    for (auto const& child : tree) {
        int value = -1;
        EXPECT_TRUE(child.Value().Get(value));
        EXPECT_EQ(value, expected);
        EXPECT_EQ(&tree.GetChild(expected), &child);
        ++expected;
    }
    EXPECT_EQ(expected, 6);
    EXPECT_EQ(tree.GetChild(6).Count(), 0);
    EXPECT_EQ(&tree.GetChild(-1), &CAttributeMap::EmptyNode());
}

TEST(Tree, ANegativeOccurrenceIsAbsent)
{
    CAttributeMap tree;
    tree.Add(L"a", CVordalInt(1), 0);
    CAttributeMap const& read = tree;
    EXPECT_FALSE(tree.Has(L"a", -1));
    EXPECT_EQ(tree.GetAttrMap(L"a", -1), nullptr);
    EXPECT_EQ(read.GetAttrMap(L"a", -2147483647 - 1), nullptr);
    EXPECT_TRUE(tree.FindValue(L"a", -1).IsEmpty());
    EXPECT_FALSE(tree.Remove(L"a", -1));
    tree.FindCreate(L"a", -1).SetValue(CVordalInt(9));
    tree.FindCreate(L"b", -1);
    EXPECT_EQ(tree.Count(), 1);
    EXPECT_EQ(IntAt(tree, L"a"), 1);
    EXPECT_FALSE(tree.FindCreate(L"a", -1).HasValue());
}

TEST(Tree, FindCreateMakesAsManyEmptyNodesAsItTakes)
{
    CAttributeMap tree;
    tree.Add(L"a", CVordalInt(1), 0);
    tree.FindCreate(L"a", 2).ReplaceValue(VordalTypeCreator::MakeValue(3));
    EXPECT_EQ(tree.Count(L"a"), 3);
    EXPECT_FALSE(tree.Find(L"a", 1).HasValue());
    EXPECT_EQ(IntAt(tree, L"a", 2), 3);
    tree.FindCreate(L"a", 2).ReplaceValue(VordalTypeCreator::MakeValue(4));
    EXPECT_EQ(tree.Count(), 3);
    EXPECT_EQ(IntAt(tree, L"a", 2), 4);
}

TEST(Tree, TakesOwnershipOfValuesAndNodes)
{
    CAttributeMap tree;
    tree.Append(new CAttributeMap(L"x5Range", VordalTypeCreator::MakeValue(50.0), 0));
    auto* branch = new CAttributeMap(L"branch", nullptr);
    auto* below = branch->Add(L"below");
    tree.Append(branch);
    below->SetValue(CVordalInt(8));
    tree.Append(static_cast<CAttributeMap*>(nullptr));
    EXPECT_EQ(tree.Count(), 2);
    EXPECT_EQ(IntAt(tree.Find(L"branch"), L"below"), 8);
    CAttributeMap const copy(tree);
    below->SetValue(CVordalInt(9));
    EXPECT_EQ(IntAt(tree.Find(L"branch"), L"below"), 9);
    EXPECT_EQ(IntAt(copy.Find(L"branch"), L"below"), 8);
}

TEST(Tree, AnAppendedRootHasTheEmptyKey)
{
    CAttributeMap tree;
    tree.Append(new CAttributeMap);
    tree.Append(CAttributeMap());
    EXPECT_EQ(tree.Count(L""), 2);
}

TEST(Tree, ValuesAreReplacedAndTakenAway)
{
    CAttributeMap tree;
    auto* node = tree.Add(L"a", CVordalInt(1), 6);
    node->SetValue(CVordalDouble(2.0));
    double d = 0.0;
    EXPECT_TRUE(tree.FindValue(L"a").Get(d));
    EXPECT_EQ(node->GetFlags(), 6U);
    node->SetValue(node->Value());
    EXPECT_TRUE(node->HasValue());
    node->SetValue(CVordalType());
    EXPECT_FALSE(node->HasValue());
    node->ReplaceValue(VordalTypeCreator::MakeValue(true));
    EXPECT_TRUE(node->HasValue());
    node->ReplaceValue(nullptr);
    EXPECT_FALSE(node->HasValue());
    node->ReplaceValue(new CVordalType);
    EXPECT_FALSE(node->HasValue());
    tree.Add(L"b", tree.FindValue(L"absent"), 0);
    EXPECT_TRUE(tree.Has(L"b"));
    EXPECT_FALSE(tree.Find(L"b").HasValue());
}

TEST(Tree, RemovingMovesLaterOccurrencesUp)
{
    CAttributeMap tree;
    for (int i = 0; i < 5; ++i) {
        tree.Add(L"a", CVordalInt(i), 0);
        tree.Add(L"b", CVordalInt(10 + i), 0);
    }
    EXPECT_TRUE(tree.Remove(L"a", 1));
    EXPECT_EQ(IntAt(tree, L"a", 1), 2);
    EXPECT_EQ(IntAt(tree, L"b", 1), 11);
    EXPECT_TRUE(tree.Remove(L"a", 3));
    EXPECT_FALSE(tree.Remove(L"a", 3));
    EXPECT_EQ(tree.Count(L"a"), 3);
    EXPECT_EQ(tree.Count(), 8);
    tree.RemoveChildren();
    EXPECT_EQ(tree.Count(), 0);
    EXPECT_FALSE(tree.Has(L"b"));
    tree.Add(L"b", CVordalInt(1), 0);
    EXPECT_EQ(IntAt(tree, L"b"), 1);
}

TEST(Tree, TheGroupTravelsWithTheTree)
{
    CAttributeMap tree;
    EXPECT_TRUE(tree.GetGroup().IsEmpty());
    tree.SetGroup(L"first");
    CAttributeMap const copy(tree);
    tree.SetGroup(L"second");
    EXPECT_TRUE(copy.GetGroup() == L"first");
    EXPECT_TRUE(tree.GetGroup() == L"second");
}

TEST(Copies, AreIndependentBothWays)
{
    CAttributeMap tree;
    tree.Add(L"a", CVordalInt(1), 0);
    tree.Add(L"branch")->Add(L"below", CVordalInt(2), 0);
    CAttributeMap copy(tree);
    copy.FindCreate(L"a").SetValue(CVordalInt(10));
    copy.FindCreate(L"branch").FindCreate(L"below").SetValue(CVordalInt(20));
    copy.Add(L"new");
    EXPECT_EQ(IntAt(tree, L"a"), 1);
    EXPECT_EQ(IntAt(tree.Find(L"branch"), L"below"), 2);
    EXPECT_EQ(tree.Count(), 2);
    tree.Remove(L"a");
    EXPECT_EQ(IntAt(copy, L"a"), 10);
    EXPECT_EQ(IntAt(copy.Find(L"branch"), L"below"), 20);
}

TEST(Copies, DoNotSeeWritesThroughReferencesHandedOutBefore)
{
    CAttributeMap tree;
    auto* branch = tree.Add(L"branch");
    auto* below = branch->Add(L"below");
    below->SetValue(CVordalInt(1));
    CAttributeMap const first(tree);
    below->SetValue(CVordalInt(2));
    CAttributeMap const second(tree);
    below->SetValue(CVordalInt(3));
    branch->Add(L"more", CVordalInt(4), 0);
    EXPECT_EQ(IntAt(first.Find(L"branch"), L"below"), 1);
    EXPECT_EQ(IntAt(second.Find(L"branch"), L"below"), 2);
    EXPECT_EQ(IntAt(tree.Find(L"branch"), L"below"), 3);
    EXPECT_FALSE(second.Find(L"branch").Has(L"more"));
    EXPECT_TRUE(tree.Find(L"branch").Has(L"more"));
}

TEST(Copies, OfACopyThatWasWrittenStayApart)
{
    CAttributeMap one;
    one.Add(L"a", CVordalInt(1), 0);
    CAttributeMap two(one);
    auto& inTwo = two.FindCreate(L"a");
    CAttributeMap three(two);
    inTwo.SetValue(CVordalInt(2));
    three.FindCreate(L"a").SetValue(CVordalInt(3));
    EXPECT_EQ(IntAt(one, L"a"), 1);
    EXPECT_EQ(IntAt(two, L"a"), 2);
    EXPECT_EQ(IntAt(three, L"a"), 3);
}

TEST(Copies, OfAChildIsARootThatOutlivesTheTree)
{
    CAttributeMap kept;
    {
        CAttributeMap tree;
        tree.Add(L"branch")->Add(L"below", CVordalInt(2), 0);
        kept = tree.Find(L"branch");
    }
    EXPECT_EQ(IntAt(kept, L"below"), 2);
    EXPECT_TRUE(kept.GetKey() == L"branch");
}

TEST(References, SurviveAddingAndRemovingOfOthers)
{
    CAttributeMap tree;
    std::vector<CAttributeMap*> nodes;
    for (int i = 0; i < 300; ++i) {
        nodes.push_back(tree.Add(L"n", CVordalInt(i), 0));
    }
    for (int i = 0; i < 100; ++i) {
        EXPECT_TRUE(tree.Remove(L"n", i));
    }
    for (int i = 1; i < 200; i += 2) {
        nodes[static_cast<std::size_t>(i)]->SetValue(CVordalInt(i + 1000));
    }
    EXPECT_EQ(tree.Count(L"n"), 200);
    EXPECT_EQ(IntAt(tree, L"n", 0), 1001);
    EXPECT_EQ(IntAt(tree, L"n", 99), 1199);
    EXPECT_EQ(IntAt(tree, L"n", 100), 200);
}

TEST(References, StayTrueAcrossAMerge)
{
    CAttributeMap tree;
    auto& node = tree.FindCreate(L"a");
    CAttributeMap const before(tree);
    CAttributeMap echo;
    for (int i = 0; i < 100; ++i) {
        echo.Add(CString(L"k" + std::to_wstring(i)), CVordalInt(i), 0);
    }
    echo.Add(L"a", CVordalInt(5), 0);
    vordal::Merge(tree, echo);
    int value = 0;
    EXPECT_TRUE(node.Value().Get(value));
    EXPECT_EQ(value, 5);
    node.SetValue(CVordalInt(6));
    EXPECT_EQ(IntAt(tree, L"a"), 6);
    EXPECT_FALSE(before.Find(L"a").HasValue());
}

TEST(References, MayBeForgottenSoThatCopiesShareAgain)
{
    CAttributeMap tree;
    tree.Add(L"branch")->Add(L"below", CVordalInt(2), 0);
    CAttributeMap const own(tree);
    EXPECT_NE(&own.Find(L"branch"), &std::as_const(tree).Find(L"branch"));
    vordal::ForgetReferences(tree);
    CAttributeMap const shared(tree);
    EXPECT_EQ(&shared.Find(L"branch"), &std::as_const(tree).Find(L"branch"));
    tree.FindCreate(L"branch").FindCreate(L"below").SetValue(CVordalInt(3));
    EXPECT_EQ(IntAt(shared.Find(L"branch"), L"below"), 2);
    EXPECT_EQ(IntAt(tree.Find(L"branch"), L"below"), 3);
}

TEST(Assignment, ToAChildKeepsItsKey)
{
    CAttributeMap source;
    source.Add(L"below", CVordalInt(3), 0);
    source.SetValue(CVordalInt(4));
    CAttributeMap tree;
    tree.FindCreate(L"a") = source;
    tree.FindCreate(L"b") = CAttributeMap(L"other", VordalTypeCreator::MakeValue(5), 2);
    auto moved = source;
    auto& inMoved = *moved.Add(L"late");
    tree.FindCreate(L"c") = std::move(moved);
    inMoved.SetValue(CVordalInt(6));
    EXPECT_EQ(IntAt(tree, L"a"), 4);
    EXPECT_EQ(IntAt(tree.Find(L"a"), L"below"), 3);
    EXPECT_EQ(IntAt(tree, L"b"), 5);
    EXPECT_EQ(tree.Find(L"b").GetFlags(), 2U);
    EXPECT_TRUE(tree.Find(L"b").GetKey() == L"b");
    EXPECT_EQ(IntAt(tree.Find(L"c"), L"late"), 6);
    tree.FindCreate(L"a") = CAttributeMap();
    EXPECT_TRUE(tree.Has(L"a"));
    EXPECT_FALSE(tree.Find(L"a").HasValue());
}

TEST(Assignment, OfAPartOfItself)
{
    CAttributeMap tree;
    tree.Add(L"branch")->Add(L"below", CVordalInt(3), 0);
    tree = tree.Find(L"branch");
    EXPECT_EQ(IntAt(tree, L"below"), 3);
    tree.FindCreate(L"below") = tree;
    EXPECT_EQ(IntAt(tree.Find(L"below"), L"below"), 3);
    auto& same = tree;
    tree = same;
    EXPECT_EQ(tree.Count(), 1);
}

TEST(Assignment, MovingAChildLeavesItWhereItIs)
{
    CAttributeMap tree;
    tree.Add(L"a", CVordalInt(1), 0);
    tree.Add(L"b", CVordalInt(2), 0);
    CAttributeMap const taken(std::move(tree.FindCreate(L"a")));
    EXPECT_EQ(IntAt(tree, L"a"), 1);
    std::swap(tree.FindCreate(L"a"), tree.FindCreate(L"b"));
    EXPECT_EQ(IntAt(tree, L"a"), 2);
    EXPECT_EQ(IntAt(tree, L"b"), 1);
}

TEST(Wide, ManyDistinctChildrenAreFoundCopiedAndRemoved)
{
    CAttributeMap tree;
    auto const key = [](int i) { return CString(L"key" + std::to_wstring(i)); };
    std::vector<CAttributeMap> snapshots;
    for (int i = 0; i < 10000; ++i) {
        tree.Append(CAttributeMap(key(i), VordalTypeCreator::MakeValue(i)));
        if (i % 1000 == 0) {
            snapshots.push_back(tree);
        }
    }
    EXPECT_EQ(tree.Count(), 10000);
    for (int i = 0; i < 10000; ++i) {
        ASSERT_EQ(IntAt(tree, key(i)), i);
    }
    EXPECT_FALSE(tree.Has(key(10000)));
    CAttributeMap const full(tree);
    for (int i = 0; i < 9999; ++i) {
        ASSERT_TRUE(tree.Remove(key(i)));
        ASSERT_EQ(IntAt(tree.GetChild(0), L"none"), -1);
        ASSERT_EQ(IntAt(tree, key(9999)), 9999);
    }
    EXPECT_EQ(tree.Count(), 1);
    EXPECT_EQ(full.Count(), 10000);
    EXPECT_EQ(IntAt(full, key(5000)), 5000);
    for (std::size_t i = 0; i < snapshots.size(); ++i) {
        EXPECT_EQ(snapshots[i].Count(), static_cast<int>(i) * 1000 + 1);
        EXPECT_EQ(IntAt(snapshots[i], key(static_cast<int>(i) * 1000)), static_cast<int>(i) * 1000);
    }
}

TEST(Wide, AsAQueueItKeepsOrderAndSize)
{
    CAttributeMap tree;
    for (int i = 0; i < 5000; ++i) {
        tree.Append(CAttributeMap(L"q", VordalTypeCreator::MakeValue(i)));
        if (i >= 100) {
            ASSERT_TRUE(tree.Remove(L"q", 0));
            ASSERT_EQ(IntAt(tree, L"q", 0), i - 99);
            ASSERT_EQ(IntAt(tree, L"q", 99), i);
            int first = -1;
            ASSERT_TRUE(tree.GetChild(0).Value().Get(first));
            ASSERT_EQ(first, i - 99);
        }
    }
    EXPECT_EQ(tree.Count(), 100);
}

TEST(Collisions, KeysOfOneHashStayApart)
{
    // Two texts that the hash cannot tell from one another.
    static constexpr AttributeKey One{L"\u0103\u0200a"};
    static constexpr AttributeKey Other{L"\u0100\u029A\U000D6348"};
    static_assert(One.Hash() == Other.Hash());
    for (int before : {0, 200}) {
        CAttributeMap tree;
        for (int i = 0; i < before; ++i) {
            tree.Append(CAttributeMap(CString(L"k" + std::to_wstring(i)), VordalTypeCreator::MakeValue(i)));
        }
        tree.Add(One, CVordalInt(1), 0);
        EXPECT_FALSE(tree.Has(Other));
        EXPECT_EQ(tree.Count(Other), 0);
        tree.FindCreate(Other, 1).SetValue(CVordalInt(2));
        tree.Add(One, CVordalInt(3), 0);
        EXPECT_EQ(tree.Count(One), 2);
        EXPECT_EQ(tree.Count(Other), 2);
        EXPECT_EQ(IntAt(tree, One, 1), 3);
        EXPECT_EQ(IntAt(tree, Other, 1), 2);
        CAttributeMap const copy(tree);
        EXPECT_TRUE(tree.Remove(Other, 0));
        EXPECT_EQ(IntAt(tree, Other, 0), 2);
        EXPECT_EQ(IntAt(tree, One, 0), 1);
        EXPECT_EQ(copy.Count(Other), 2);
        CAttributeMap merged(tree);
        vordal::Merge(merged, copy);
        // The leaf sets the first of its key, so no second one comes back.
        EXPECT_EQ(merged.Count(), before + 3);
        EXPECT_EQ(IntAt(merged, One, 1), 3);
    }
}

TEST(Deep, ChainsAreBuiltCopiedComparedMergedAndDestroyed)
{
    constexpr int Depth = 100000;
    CAttributeMap tree;
    auto* node = &tree;
    for (int i = 0; i < Depth; ++i) {
        node = node->Add(L"d");
    }
    node->SetValue(CVordalInt(1));
    CAttributeMap copy(tree);
    node->SetValue(CVordalInt(2));
    EXPECT_FALSE(vordal::TreesEqual(tree, copy));
    CAttributeMap merged;
    vordal::Merge(merged, copy);
    EXPECT_TRUE(vordal::TreesEqual(merged, copy));
    vordal::Merge(merged, tree);
    EXPECT_TRUE(vordal::TreesEqual(merged, tree));
    vordal::ForgetReferences(tree);
    CAttributeMap const shared(tree);
    EXPECT_TRUE(vordal::TreesEqual(shared, tree));
    EXPECT_GT(vordal::TreeText(tree).size(), static_cast<std::size_t>(Depth));
}

TEST(Threads, ReadCopyAndChangeCopiesOfOneTree)
{
    CAttributeMap tree;
    for (int i = 0; i < 500; ++i) {
        tree.Append(CAttributeMap(CString(L"k" + std::to_wstring(i)), VordalTypeCreator::MakeValue(i)));
    }
    tree.Append(CAttributeMap(L"branch", nullptr));
    CAttributeMap const& shared = tree;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&shared, &wrong, t] {
            for (int round = 0; round < 200; ++round) {
                CAttributeMap own(shared);
                auto const key = CString(L"k" + std::to_wstring((t * 131 + round) % 500));
                wrong += IntAt(own, key) != (t * 131 + round) % 500;
                own.FindCreate(key).SetValue(CVordalInt(-5));
                own.Append(CAttributeMap(L"more", nullptr));
                own.Remove(L"k7");
                own.FindCreate(L"branch").Add(L"x", CVordalInt(t), 0);
                CAttributeMap const again(own);
                wrong += IntAt(again, key) != (again.Has(key) ? -5 : -1);
                wrong += shared.Count() != 501;
                wrong += shared.Find(L"branch").Count() != 0;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(IntAt(tree, L"k7"), 7);
}

TEST(Threads, TheOriginalMayChangeWhileOthersHoldCopies)
{
    CAttributeMap tree;
    for (int i = 0; i < 200; ++i) {
        tree.Append(CAttributeMap(CString(L"k" + std::to_wstring(i)), VordalTypeCreator::MakeValue(0)));
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int round = 1; round <= 50; ++round) {
        threads.emplace_back([copy = tree, round, &wrong] {
            for (auto const& child : copy) {
                int value = -1;
                wrong += !child.Value().Get(value) || value != round - 1;
            }
        });
        for (int i = 0; i < 200; ++i) {
            vordal::SetChildValue(tree, CString(L"k" + std::to_wstring(i)), CVordalInt(round));
        }
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
