// This project's own records: their bytes, and trees that are deep, large or hostile.
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include <protocol/bytes.h>
#include <protocol/house_records.h>
#include <protocol/tree_codec.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

std::vector<TreeNode> AllKinds()
{
    return {{L"none", {}, {}},
            {L"int", std::int32_t{-1}, {}},
            {L"uint", std::uint32_t{0xFFFFFFFF}, {}},
            {L"long", std::int64_t{-5000000000}, {}},
            {L"bool", true, {}},
            {L"double", -0.5, {}},
            {L"pair", std::pair(1.0, 2.0), {}},
            {L"text", std::wstring(L"\u00B5 \U0001F600"), {}},
            {L"ints", std::vector<std::int32_t>{1, -2}, {}},
            {L"doubles", std::vector<double>{0.5, 1e300}, {}},
            {L"offset", std::array<double, 3>{1.0, 2.0, 3.0}, {}},
            {L"branch", {}, {{L"a", std::int32_t{1}, {{L"b", false, {}}}}, {L"a", std::int32_t{2}, {}}}}};
}

std::string DecodeError(std::vector<unsigned char> const& payload)
{
    std::string error;
    EXPECT_FALSE(DecodeTree(payload, error));
    return error;
}

TEST(HouseRecords, RecordRequest)
{
    EXPECT_EQ(EncodeRecordRequest(7503), Bytes("4f1d0000"));
    EXPECT_EQ(DecodeRecordRequest(Bytes("4f1d0000")), 7503U);
    EXPECT_FALSE(DecodeRecordRequest(Bytes("4f1d00")));
    EXPECT_FALSE(DecodeRecordRequest(Bytes("4f1d000000")));
}

TEST(HouseRecords, PassThrough)
{
    auto const inner = Bytes("010203");
    auto const bytes = EncodePassThrough({Target{7006, -1}, 7013, inner});
    EXPECT_EQ(bytes, Bytes("5e1b0000 ffff 0000 651b0000 03000000 010203"));
    auto const command = DecodePassThrough(bytes);
    ASSERT_TRUE(command);
    EXPECT_EQ(command->target, (Target{7006, -1}));
    EXPECT_EQ(command->commandId, 7013U);
    EXPECT_EQ(Copy(command->payload), inner);
    EXPECT_FALSE(DecodePassThrough(std::span(bytes).first(18)));
    EXPECT_FALSE(DecodePassThrough(std::span(bytes).first(15)));
    std::vector<unsigned char> const tooLong(MaximumFrameSize);
    EXPECT_THROW(EncodePassThrough({OwnSonar, 1, tooLong}), std::length_error);
}

TEST(HouseRecords, Playback)
{
    auto const bytes = EncodePlayback({PlaybackOperation::SetPosition, 2.0, 0.5});
    EXPECT_EQ(bytes, Bytes("02000000 0000000000000040 000000000000e03f"));
    auto const playback = DecodePlayback(bytes);
    ASSERT_TRUE(playback);
    EXPECT_EQ(playback->operation, PlaybackOperation::SetPosition);
    EXPECT_EQ(playback->commandTime, 2.0);
    EXPECT_EQ(playback->value, 0.5);
    EXPECT_FALSE(DecodePlayback(Bytes("06000000 0000000000000000 0000000000000000")));
    EXPECT_FALSE(DecodePlayback(Bytes("00000000 0000000000000000 0000000000000000")));
    EXPECT_FALSE(DecodePlayback({}));
}

TEST(Tree, Bytes)
{
    std::string error;
    auto const bytes = EncodeTree(std::vector<TreeNode>{{L"r", 50.0, {{L"n", std::int32_t{3}, {}}}}}, error);
    ASSERT_TRUE(bytes) << error;
    EXPECT_EQ(*bytes, test::Bytes("01000000 01000000"
                                  "01000000 72 04 0000000000004940 01000000"
                                  "01000000 6e 01 03000000 00000000"));
}

TEST(Tree, WholeNumbersBeyondFourGibibytes)
{
    // 5000000000 is 0x12a05f200.
    auto const expected = test::Bytes("01000000 02000000"
                                      "01000000 73 0a 00f2052a01000000 00000000"
                                      "01000000 74 0a 0000000000000080 00000000");
    std::vector<TreeNode> const nodes{{L"s", std::int64_t{5000000000}, {}},
                                      {L"t", std::numeric_limits<std::int64_t>::min(), {}}};
    std::string error;
    auto const bytes = EncodeTree(nodes, error);
    ASSERT_TRUE(bytes) << error;
    EXPECT_EQ(*bytes, expected);
    EXPECT_EQ(DecodeTree(expected, error), nodes) << error;
    EXPECT_EQ(DecodeError(test::Bytes("01000000 01000000 00000000 0a 00000000 000000")),
              "the bytes end early at byte 13");
}

TEST(Tree, AllKindsReadBack)
{
    std::string error;
    auto const bytes = EncodeTree(AllKinds(), error);
    ASSERT_TRUE(bytes) << error;
    auto const nodes = DecodeTree(*bytes, error);
    ASSERT_TRUE(nodes) << error;
    EXPECT_EQ(*nodes, AllKinds());
}

TEST(Tree, EmptyTree)
{
    std::string error;
    auto const bytes = EncodeTree({}, error);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, test::Bytes("01000000 00000000"));
    EXPECT_EQ(DecodeTree(*bytes, error), std::vector<TreeNode>{});
}

TEST(Tree, EveryCutIsAnError)
{
    std::string error;
    auto const bytes = *EncodeTree(AllKinds(), error);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        error.clear();
        EXPECT_FALSE(DecodeTree(std::span(bytes).first(length), error)) << length;
        EXPECT_FALSE(error.empty());
    }
}

TEST(Tree, TellsWhatIsWrong)
{
    EXPECT_EQ(DecodeError(test::Bytes("02000000 00000000")), "an unknown version at byte 4");
    EXPECT_EQ(DecodeError(test::Bytes("01000000 00000000 00")), "bytes after the tree at byte 8");
    EXPECT_EQ(DecodeError(test::Bytes("01000000 ffffffff")), "a count that the bytes cannot hold at byte 8");
    EXPECT_EQ(DecodeError(test::Bytes("01000000 01000000 00000000 0b 00000000")),
              "an unknown kind of value at byte 13");
    EXPECT_EQ(DecodeError(test::Bytes("01000000 01000000 00000000 03 02 00000000")),
              "a bool that is neither 0 nor 1 at byte 14");
    EXPECT_EQ(DecodeError(test::Bytes("01000000 01000000 00000000 07 ffffff7f 00000000")),
              "a count that the bytes cannot hold at byte 17");
    EXPECT_EQ(DecodeError({}), "the bytes end early at byte 0");
}

std::vector<TreeNode> Chain(std::size_t depth)
{
    std::vector<TreeNode> nodes;
    for (std::size_t i = 0; i < depth; ++i) {
        TreeNode node;
        node.children = std::move(nodes);
        nodes.clear();
        nodes.push_back(std::move(node));
    }
    return nodes;
}

TEST(Tree, DepthIsLimitedOnBothSides)
{
    std::string error;
    auto const deepest = EncodeTree(Chain(LinkTree.deepest), error);
    ASSERT_TRUE(deepest) << error;
    EXPECT_EQ(DecodeTree(*deepest, error), Chain(LinkTree.deepest));
    EXPECT_FALSE(EncodeTree(Chain(LinkTree.deepest + 1), error));
    EXPECT_EQ(error, "the tree is deeper than 200 levels");

    // The bytes of a chain far deeper: one node with an empty key, no value and one child, over and over.
    auto hostile = test::Bytes("01000000");
    for (int i = 0; i < 100000; ++i) {
        for (unsigned char const byte : test::Bytes("01000000 00000000 00")) {
            hostile.push_back(byte);
        }
    }
    hostile.resize(hostile.size() + 4);
    EXPECT_EQ(DecodeError(hostile).substr(0, 20), "the tree is too deep");
}

TEST(Tree, TheNumberOfNodesIsLimitedOnBothSides)
{
    std::string error;
    EXPECT_FALSE(EncodeTree(std::vector<TreeNode>(LinkTree.mostNodes + 1), error));
    EXPECT_EQ(error, "the tree has more than 100000 nodes");
    std::vector<unsigned char> hostile(8 + (LinkTree.mostNodes + 1) * 9);
    PutU32LE(hostile, 0, 1);
    PutU32LE(hostile, 4, static_cast<std::uint32_t>(LinkTree.mostNodes + 1));
    EXPECT_EQ(DecodeError(hostile), "the tree has too many nodes at byte 8");
}

TEST(Tree, RandomDamageNeverHarms)
{
    std::string error;
    auto const good = *EncodeTree(AllKinds(), error);
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        auto bytes = good;
        for (int i = 0; i < 3; ++i) {
            bytes[random() % bytes.size()] = static_cast<unsigned char>(random() & 0xFFU);
        }
        error.clear();
        auto const nodes = DecodeTree(bytes, error);
        EXPECT_EQ(nodes.has_value(), error.empty());
    }
}

} // namespace

} // namespace qx5::protocol::test
