// Trees full of keys with one hash: what they hold is found, at the price of any other key. A look-up that walked the
// children instead would keep these tests from coming to an end in time.
#include "colliding_keys.h"

#include <attributes/tree_merge.h>
#include <reference_host/common/sip_hash.h>

#include <VordalAttributesR/CAttributeMap.h>

#include <gtest/gtest.h>

#include <numeric>
#include <set>
#include <string>
#include <vector>

namespace vordal::test {
namespace {

std::vector<std::wstring> CollidingKeys(std::size_t count)
{
    std::vector<std::wstring> keys;
    for (std::size_t i = 0; i < count; ++i) {
        keys.push_back(CollidingKey(i));
    }
    return keys;
}

int IntAt(CAttributeMap const& tree, std::wstring const& key, int occurrence = 0)
{
    int value = -1;
    tree.FindValue(AttributeKey(key), occurrence).Get(value);
    return value;
}

CAttributeMap TreeOf(std::vector<std::wstring> const& keys)
{
    CAttributeMap tree;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        tree.Append(CAttributeMap(AttributeKey(keys[i]), VordalTypeCreator::MakeValue(static_cast<int>(i))));
    }
    return tree;
}

void ExpectAllFound(CAttributeMap const& tree, std::vector<std::wstring> const& keys)
{
    ASSERT_EQ(tree.Count(), static_cast<int>(keys.size()));
    for (std::size_t i = 0; i < keys.size(); ++i) {
        ASSERT_EQ(IntAt(tree, keys[i]), static_cast<int>(i));
        ASSERT_EQ(tree.Count(AttributeKey(keys[i])), 1);
        ASSERT_FALSE(tree.Has(AttributeKey(keys[i]), 1));
    }
}

/// Enough that a walk for each would be some thousand million steps.
constexpr std::size_t Many = 60000;

TEST(CollidingKeys, AreDifferentTextsWithOneHash)
{
    auto const keys = CollidingKeys(1U << 10);
    EXPECT_EQ(std::set<std::wstring>(keys.begin(), keys.end()).size(), keys.size());
    for (auto const& key : keys) {
        EXPECT_EQ(AttributeKey(key).Hash(), AttributeKey(keys.front()).Hash());
    }
    EXPECT_EQ(AttributeKey(CollidingKey(CollidingKeyCount - 1)).Hash(), AttributeKey(keys.front()).Hash());
}

TEST(CollidingKeys, AreFoundCountedAndTakenAway)
{
    auto const keys = CollidingKeys(Many);
    auto tree = TreeOf(keys);
    ExpectAllFound(tree, keys);
    auto const absent = CollidingKey(Many);
    EXPECT_FALSE(tree.Has(AttributeKey(absent)));
    EXPECT_EQ(tree.Count(AttributeKey(absent)), 0);
    CAttributeMap const before(tree);
    for (std::size_t i = 0; i < Many; i += 2) {
        ASSERT_TRUE(tree.Remove(AttributeKey(keys[i])));
        ASSERT_FALSE(tree.Has(AttributeKey(keys[i])));
    }
    EXPECT_EQ(tree.Count(), static_cast<int>(Many / 2));
    for (std::size_t i = 1; i < Many; i += 2) {
        ASSERT_EQ(IntAt(tree, keys[i]), static_cast<int>(i));
    }
    ExpectAllFound(before, keys);
}

TEST(CollidingKeys, AreMerged)
{
    auto const keys = CollidingKeys(Many);
    auto const given = TreeOf(keys);
    CAttributeMap tree;
    Merge(tree, given);
    ExpectAllFound(tree, keys);
    Merge(tree, given);
    EXPECT_TRUE(TreesEqual(tree, given));
}

TEST(CollidingKeys, AreMergedWhereEachOccursTwice)
{
    auto keys = CollidingKeys(Many / 2);
    CAttributeMap given;
    for (auto const& key : keys) {
        given.Append(CAttributeMap(AttributeKey(key), nullptr));
        given.Append(CAttributeMap(AttributeKey(key), nullptr));
    }
    CAttributeMap tree;
    Merge(tree, given);
    EXPECT_TRUE(TreesEqual(tree, given));
    for (auto const& key : keys) {
        ASSERT_EQ(tree.Count(AttributeKey(key)), 2);
    }
}

TEST(CollidingKeys, AreTakenInBehindASharedIndex)
{
    // A copy holds the index all the while, so what is appended stands behind it until it is worth a copy of the index.
    auto const keys = CollidingKeys(2000);
    CAttributeMap tree;
    CAttributeMap copy;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        tree.Append(CAttributeMap(AttributeKey(keys[i]), VordalTypeCreator::MakeValue(static_cast<int>(i))));
        copy = CAttributeMap(tree);
        ASSERT_EQ(IntAt(copy, keys[i]), static_cast<int>(i));
        ASSERT_EQ(IntAt(copy, keys[i / 2]), static_cast<int>(i / 2));
    }
    ExpectAllFound(tree, keys);
    ExpectAllFound(copy, keys);
}

TEST(CollidingKeys, KeepTheirOccurrencesApart)
{
    auto const keys = CollidingKeys(20);
    CAttributeMap tree;
    for (int round = 0; round < 10; ++round) {
        for (auto const& key : keys) {
            tree.Append(CAttributeMap(AttributeKey(key), VordalTypeCreator::MakeValue(round)));
        }
    }
    for (auto const& key : keys) {
        ASSERT_EQ(tree.Count(AttributeKey(key)), 10);
        ASSERT_TRUE(tree.Remove(AttributeKey(key), 4));
        ASSERT_EQ(tree.Count(AttributeKey(key)), 9);
        ASSERT_EQ(IntAt(tree, key, 3), 3);
        ASSERT_EQ(IntAt(tree, key, 4), 5);
        ASSERT_EQ(IntAt(tree, key, 8), 9);
        ASSERT_EQ(IntAt(tree, key, 9), -1);
    }
    for (auto const& key : keys) {
        while (tree.Remove(AttributeKey(key), 0)) {
        }
        ASSERT_FALSE(tree.Has(AttributeKey(key)));
    }
    EXPECT_EQ(tree.Count(), 0);
}

TEST(SaltedHash, IsThePublishedFunction)
{
    // Two of the vectors that its authors published, for SipHash-2-4 under the key 00 01 .. 0f.
    std::array<std::uint64_t, 2> const key{0x0706050403020100U, 0x0f0e0d0c0b0a0908U};
    std::array<unsigned char, 15> bytes{};
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    EXPECT_EQ((SipHash<2, 4>(key, {})), 0x726fdb47dd0e0e31U);
    EXPECT_EQ((SipHash<2, 4>(key, bytes)), 0xa129ca6149be45e5U);
}

} // namespace
} // namespace vordal::test
