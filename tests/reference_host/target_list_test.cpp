// The contacts of a target file in memory, held against a plain list that is searched from its start.
#include <reference_host/targets/target_list.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace vordal::test {
namespace {

/// By position.
using Model = std::map<std::int64_t, StoredTarget>;

StoredTarget Some(std::uint32_t id, std::wstring const& guid, float range, bool lost)
{
    StoredTarget stored;
    stored.target.targetId = id;
    stored.target.targetGuid = CString(guid);
    stored.target.range = range;
    stored.lost = lost;
    return stored;
}

/// A few ids and GUIDs, so that many are borne by several.
std::vector<std::uint32_t> const ids{0, 1, 2, 3, 4294967295U};
std::vector<std::wstring> const guids{L"", L"a", L"b", L"6f9619ff-8b86-d011-b42d-00cf4fc964ff"};

void ExpectSame(TargetList& list, Model const& model)
{
    ASSERT_EQ(list.Size(), model.size());
    for (auto const id : ids) {
        auto const first = std::find_if(model.begin(), model.end(),
                                        [&](auto const& each) { return each.second.target.targetId == id; });
        auto const* const found = list.FirstOfId(id);
        ASSERT_EQ(found != nullptr, first != model.end()) << id;
        if (found != nullptr) {
            ASSERT_EQ(found->range, first->second.target.range);
            ASSERT_EQ(found->targetId, id);
        }
    }
    for (auto const& guid : guids) {
        auto const first = std::find_if(model.begin(), model.end(), [&](auto const& each) {
            return !each.second.lost && each.second.target.targetGuid == CString(guid);
        });
        auto const* const found = list.FirstOfGuid(guid);
        ASSERT_EQ(found != nullptr, first != model.end());
        if (found != nullptr) {
            ASSERT_EQ(found->range, first->second.target.range);
        }
    }
}

void ExpectSameOrder(TargetList& list, Model const& model)
{
    auto const& targets = list.InOrder();
    ASSERT_EQ(targets.size(), model.size());
    std::size_t at = 0;
    for (auto const& [position, stored] : model) {
        ASSERT_EQ(targets[at].targetId, stored.target.targetId);
        ASSERT_EQ(targets[at].targetGuid, stored.target.targetGuid);
        ASSERT_EQ(targets[at].range, stored.target.range);
        ++at;
    }
}

/// Positions of all kinds: close to one another, at the ends of what there is, far out.
std::int64_t SomePosition(std::mt19937& random, Model const& model)
{
    switch (random() % 8) {
    case 0:
        return std::numeric_limits<std::int64_t>::max() - static_cast<std::int64_t>(random() % 3);
    case 1:
        return std::numeric_limits<std::int64_t>::min() + static_cast<std::int64_t>(random() % 3);
    case 2:
        return static_cast<std::int64_t>(random() % 1000) - 500;
    case 3:
    case 4:
        return static_cast<std::int64_t>(random() % 40);
    default: // the next one
        if (model.empty() || model.rbegin()->first == std::numeric_limits<std::int64_t>::max()) {
            return 1;
        }
        return model.rbegin()->first + 1;
    }
}

TEST(TargetList, IsWhatAPlainListIs)
{
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        TargetList list;
        Model model;
        for (int step = 0; step < 300; ++step) {
            TargetChanges changes;
            changes.whole = random() % 40 == 0;
            Model rows;
            std::map<std::int64_t, bool> gone;
            for (auto count = random() % 6; count > 0; --count) {
                auto const position = SomePosition(random, model);
                rows[position] = Some(ids[random() % ids.size()], guids[random() % guids.size()],
                                      static_cast<float>(step * 10 + static_cast<int>(count)), random() % 4 == 0);
            }
            for (auto count = changes.whole ? 0 : random() % 6; count > 0; --count) {
                auto position = SomePosition(random, model);
                if (!model.empty() && random() % 2 == 0) {
                    position = std::next(model.begin(), static_cast<std::ptrdiff_t>(random() % model.size()))->first;
                }
                if (!rows.contains(position)) {
                    gone[position] = true;
                }
            }
            if (changes.whole) {
                model.clear();
            }
            for (auto const& [position, stored] : rows) {
                model[position] = stored;
                changes.rows.push_back({position, stored});
            }
            for (auto const& [position, is] : gone) {
                model.erase(position);
                changes.gone.push_back(position);
            }
            ASSERT_EQ(list.SizeWith(changes), model.size());
            list.Apply(std::move(changes));
            ASSERT_NO_FATAL_FAILURE(ExpectSame(list, model));
            if (random() % 4 == 0) {
                ASSERT_NO_FATAL_FAILURE(ExpectSameOrder(list, model));
                ASSERT_NO_FATAL_FAILURE(ExpectSame(list, model));
            }
        }
    }
}

TEST(TargetList, WhatALookUpGaveStaysWhenTheListIsAskedFor)
{
    TargetList list;
    TargetChanges all;
    all.whole = true;
    for (std::uint32_t id = 1; id <= 5; ++id) {
        all.rows.push_back({id, Some(id, L"a contact of its own " + std::to_wstring(id), 1.0F, false)});
    }
    list.Apply(std::move(all));
    TargetChanges one;
    one.gone = {2};
    list.Apply(std::move(one));
    auto const* const fifth = list.FirstOfId(5);
    auto const& targets = list.InOrder();
    ASSERT_EQ(targets.size(), 4U);
    EXPECT_EQ(targets[3].targetGuid, fifth->targetGuid);
    EXPECT_EQ(fifth->targetGuid, CString(L"a contact of its own 5"));
    EXPECT_EQ(&list.InOrder(), &targets);
}

} // namespace
} // namespace vordal::test
