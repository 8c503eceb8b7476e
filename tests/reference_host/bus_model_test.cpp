// Random comings, goings and notifications on one bus, compared with a plain list of who follows what.
#include "reference_host/bus/notification_bus.h"

#include <VordalSubscriberR/Subscriber.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

class Teller : public Subscriber
{
public:
    Teller(std::vector<int>& told, int number) : m_told(told), m_number(number) {}
    void Notify(NotificationInfo const*) override { m_told.push_back(m_number); }

private:
    std::vector<int>& m_told;
    int m_number;
};

/// In the order of joining.
struct ModelFollower
{
    int number;
    std::shared_ptr<vordal::Joint> joint;
    std::set<int> keys;
};

class BusModel : public testing::TestWithParam<unsigned>
{
};

TEST_P(BusModel, TellsThoseWhoFollowInTheOrderInWhichTheyJoined)
{
    std::mt19937 random(GetParam());
    auto const below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    // Few keys have long lists, many make the table of keys grow.
    int const keyCount = GetParam() % 2 == 0 ? 3 : 300;
    std::vector<CString> keys;
    for (int i = 0; i < keyCount; ++i) {
        keys.emplace_back(L"key" + std::to_wstring(i));
    }
    auto const bus = std::make_shared<vordal::NotificationBus>();
    std::vector<ModelFollower> model;
    std::vector<int> told;
    int next = 0;
    for (int step = 0; step < 6000; ++step) {
        // It grows to hundreds and shrinks to nobody, over and over.
        bool const grows = step / 700 % 2 == 0;
        int const what = below(10);
        if (what < (grows ? 5 : 1)) {
            auto const sink = std::make_shared<vordal::SinkHolder>(new Teller(told, next), true);
            model.push_back({next++, std::make_shared<vordal::Joint>(sink), {}});
            int const key = below(keyCount);
            model.back().keys.insert(key);
            bus->Join(model.back().joint, std::span(&keys[static_cast<std::size_t>(key)], 1));
        } else if (what < 6 && !model.empty()) {
            auto const at = model.begin() + below(static_cast<int>(model.size()));
            bus->Leave(at->joint);
            at->joint->Leave();
            model.erase(at);
        } else if (what == 6 && !model.empty()) {
            // One that has long been there follows further keys, and stays in its turn.
            auto& follower = model[static_cast<std::size_t>(below(static_cast<int>(model.size())))];
            std::vector<CString> more;
            for (int i = below(4); i >= 0; --i) {
                int const key = below(keyCount);
                follower.keys.insert(key);
                more.push_back(keys[static_cast<std::size_t>(key)]);
            }
            bus->Join(follower.joint, more);
        } else {
            std::set<int> raised;
            CAttributeMap tree;
            for (int i = below(4); i >= 0; --i) {
                int const key = below(keyCount);
                raised.insert(key);
                tree.Append(CAttributeMap(AttributeKey(keys[static_cast<std::size_t>(key)]), new CVordalInt(step)));
            }
            std::vector<int> expected;
            for (auto const& follower : model) {
                if (std::any_of(raised.begin(), raised.end(), [&](int key) { return follower.keys.contains(key); })) {
                    expected.push_back(follower.number);
                }
            }
            told.clear();
            bus->NotifyKeysOf(tree, nullptr);
            ASSERT_EQ(told, expected) << step;

            int const one = *raised.begin();
            std::erase_if(expected, [&](int number) {
                auto const at = std::find_if(model.begin(), model.end(),
                                             [&](ModelFollower const& each) { return each.number == number; });
                return !at->keys.contains(one);
            });
            AttributeKey const key(keys[static_cast<std::size_t>(one)]);
            told.clear();
            bus->Notify(key, nullptr);
            ASSERT_EQ(told, expected) << step;
            ASSERT_EQ(bus->IsFollowed(key), !expected.empty()) << step;
        }
        ASSERT_EQ(bus->IsEmpty(), model.empty()) << step;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, BusModel, testing::Range(1U, 13U));

} // namespace
