// Tests of trees that sonars tell again and again: which are decoded once, and what is remembered of them.
#include <reference_host/attributes/tree_bytes.h>
#include <reference_host/attributes/tree_merge.h>
#include <reference_host/link/repeated_trees.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vordal::test {
namespace {

using ToldBytes = std::vector<unsigned char>;

constexpr qx5::protocol::Target FirstHead{7125, 0};
constexpr qx5::protocol::Target SecondHead{7125, 1};

/// A tree that says `key` = value.
ToldBytes TellingOf(char key, unsigned char value)
{
    return {1,     0, 0, 0,                                  // format
            1,     0, 0, 0,                                  // one node
            1,     0, 0, 0, static_cast<unsigned char>(key), // key
            1,                                               // a signed integer
            value, 0, 0, 0,                                  // value
            0,     0, 0, 0};                                 // no children
}

class RepeatedTreesTest : public testing::Test
{
protected:
    RepeatedTrees::Decoded Decode(qx5::protocol::Target from, ToldBytes const& bytes)
    {
        std::string error;
        auto decoded = trees.Decode(from, bytes, error);
        EXPECT_TRUE(decoded.has_value()) << error;
        return decoded.value_or(RepeatedTrees::Decoded());
    }

    RepeatedTrees trees;
};

TEST_F(RepeatedTreesTest, TheSameBytesAreTheSameTree)
{
    auto const first = Decode(FirstHead, TellingOf('n', 42));
    EXPECT_EQ(TreeText(first.tree), "n = 42\n");
    auto const again = Decode(FirstHead, TellingOf('n', 42));
    EXPECT_TRUE(ShareOneNode(first.tree, again.tree));
    EXPECT_EQ(again.number, first.number);
    EXPECT_EQ(again.size, first.size);
    EXPECT_NE(first.number, 0U);
}

TEST_F(RepeatedTreesTest, OtherBytesAreAnotherTree)
{
    auto const first = Decode(FirstHead, TellingOf('n', 42));
    auto const other = Decode(FirstHead, TellingOf('n', 43));
    EXPECT_EQ(TreeText(other.tree), "n = 43\n");
    EXPECT_NE(other.number, first.number);
    auto const back = Decode(FirstHead, TellingOf('n', 42));
    EXPECT_EQ(TreeText(back.tree), "n = 42\n");
    EXPECT_NE(back.number, first.number) << "it has been decoded again";
}

TEST_F(RepeatedTreesTest, SonarsOfOneConnectionDoNotDisplaceOneAnother)
{
    auto const first = Decode(FirstHead, TellingOf('n', 1));
    auto const second = Decode(SecondHead, TellingOf('n', 2));
    EXPECT_EQ(Decode(FirstHead, TellingOf('n', 1)).number, first.number);
    EXPECT_EQ(Decode(SecondHead, TellingOf('n', 2)).number, second.number);
}

TEST_F(RepeatedTreesTest, TreesOfSeveralSizesDoNotDisplaceOneAnother)
{
    ToldBytes const nothing{1, 0, 0, 0, 0, 0, 0, 0};
    auto const number = Decode(FirstHead, TellingOf('n', 1)).number;
    auto const ofNothing = Decode(FirstHead, nothing).number;
    EXPECT_EQ(Decode(FirstHead, TellingOf('n', 1)).number, number);
    EXPECT_EQ(Decode(FirstHead, nothing).number, ofNothing);
}

TEST_F(RepeatedTreesTest, DamageIsToldEachTimeAndTheNextTreeIsGood)
{
    auto const good = Decode(FirstHead, TellingOf('n', 1));
    auto damaged = TellingOf('n', 1);
    damaged[0] = 9;
    for (int i = 0; i < 2; ++i) {
        std::string error;
        EXPECT_FALSE(trees.Decode(FirstHead, damaged, error).has_value());
        EXPECT_EQ(error, "an unknown version at byte 4");
    }
    EXPECT_EQ(TreeText(Decode(FirstHead, TellingOf('n', 1)).tree), "n = 1\n");
}

TEST_F(RepeatedTreesTest, TheSonarHeardLongestAgoGivesWay)
{
    std::vector<std::uint64_t> numbers;
    auto const targetOf = [](std::size_t number) {
        return qx5::protocol::Target{7125, static_cast<std::int32_t>(number)};
    };
    for (std::size_t i = 0; i < RepeatedTrees::GreatestCount; ++i) {
        numbers.push_back(Decode(targetOf(i), TellingOf('n', 1)).number);
    }
    EXPECT_EQ(Decode(targetOf(0), TellingOf('n', 1)).number, numbers[0]);
    Decode(targetOf(99), TellingOf('n', 1));
    EXPECT_EQ(Decode(targetOf(0), TellingOf('n', 1)).number, numbers[0]);
    EXPECT_EQ(Decode(targetOf(2), TellingOf('n', 1)).number, numbers[2]);
    EXPECT_NE(Decode(targetOf(1), TellingOf('n', 1)).number, numbers[1]);
}

TEST_F(RepeatedTreesTest, LargeTreesGiveWayToOneAnother)
{
    auto const large = [](std::size_t bytes) {
        CAttributeMap tree;
        tree.Add(L"text", CVordalText(CString(std::wstring(bytes, L'x'))));
        return EncodeTree(tree, qx5::protocol::LinkTree);
    };
    // Each character takes four bytes of memory.
    auto const half = large(RepeatedTrees::GreatestSize / 8);
    auto const number = Decode(FirstHead, half).number;
    EXPECT_EQ(Decode(FirstHead, half).number, number);
    Decode(SecondHead, half);
    EXPECT_NE(Decode(FirstHead, half).number, number);
    auto const tooLarge = large(RepeatedTrees::GreatestSize / 4);
    auto const once = Decode(FirstHead, tooLarge).number;
    EXPECT_NE(Decode(FirstHead, tooLarge).number, once);
}

} // namespace
} // namespace vordal::test
