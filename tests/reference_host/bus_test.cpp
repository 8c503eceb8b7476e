// Tests of subscriptions: who is told, in which order, how often, and that nobody is told after leaving.
#include "reference_host/bus/notification_bus.h"
#include "reference_host/core/host.h"

#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using vordal::Host;

/// A sink that runs what it is given and counts its own end.
class Sink : public Subscriber
{
public:
    explicit Sink(std::function<void(NotificationInfo const*)> action, int* deleted = nullptr)
        : m_action(std::move(action)), m_deleted(deleted)
    {
    }
    ~Sink() override
    {
        if (m_deleted != nullptr) {
            ++*m_deleted;
        }
    }
    void Notify(NotificationInfo const* info) override { m_action(info); }

private:
    std::function<void(NotificationInfo const*)> m_action;
    int* m_deleted;
};

/// A host with one device and a log of who was told.
class Bus : public ::testing::Test
{
protected:
    void SetUp() override
    {
        device = host.AddDevice(std::make_unique<Device>(), CDataId(1, 78, 1, 1));
        ASSERT_NE(device, nullptr);
    }

    Subscriber* Telling(std::string name)
    {
        return new Sink([this, name = std::move(name)](NotificationInfo const*) { told += name; });
    }
    void Follow(Subscription& subscription, std::string name, std::vector<CString> const& keys)
    {
        subscription.SetSubscriber(Telling(std::move(name)), true);
        subscription.SetMap(device->GetAttributeSubscriptionMap());
        subscription.Subscribe(keys);
    }
    void Set(std::vector<wchar_t const*> const& keys)
    {
        CAttributeMap tree;
        for (auto const* key : keys) {
            tree.Add(key, CVordalInt(1));
        }
        device->SetAttributeMap(tree, 0);
    }
    void Raise(CString const& key) { host.Notify(Subscription::General, key, nullptr); }

    Host host;
    Device* device = nullptr;
    std::string told;
};

TEST_F(Bus, TellsInTheOrderOfSubscriptionAndOnceForSeveralKeys)
{
    Subscription second;
    Subscription first;
    Follow(first, "a", {L"x", L"y"});
    Follow(second, "b", {L"y", L"z"});
    Set({L"z", L"y", L"x"});
    EXPECT_EQ(told, "ab");
    told.clear();
    Set({L"z"});
    EXPECT_EQ(told, "b");
    told.clear();
    Set({L"w"});
    EXPECT_EQ(told, "");
}

TEST_F(Bus, JoiningTwiceToOneKeyTellsOnceAndKeepsTheTurn)
{
    Subscription first;
    Subscription second;
    Follow(first, "a", {L"x"});
    Follow(second, "b", {L"x"});
    first.Subscribe(CString(L"x"));
    first.Subscribe(CString(L"y"));
    Set({L"y", L"x", L"x"});
    EXPECT_EQ(told, "ab");
}

TEST_F(Bus, ResubscribingGoesToTheEnd)
{
    Subscription first;
    Subscription second;
    Follow(first, "a", {L"x"});
    Follow(second, "b", {L"x"});
    first.Unsubscribe();
    Set({L"x"});
    first.Subscribe(CString(L"x"));
    Set({L"x"});
    EXPECT_EQ(told, "bba");
}

TEST_F(Bus, MoreSubscribersThanOneWordOfMarks)
{
    std::vector<std::unique_ptr<Subscription>> many;
    for (int i = 0; i < 600; ++i) {
        auto& one = many.emplace_back(std::make_unique<Subscription>());
        Follow(*one, i % 100 == 0 ? std::to_string(i / 100) : "", {L"x", L"y"});
    }
    Set({L"x", L"y"});
    EXPECT_EQ(told, "012345");
}

TEST_F(Bus, NothingGivenTellsNobody)
{
    Subscription subscription;
    Follow(subscription, "a", {L"x"});
    EXPECT_FALSE(device->SetAttributeMap(CAttributeMap(), 0));
    EXPECT_EQ(told, "");
}

TEST_F(Bus, AttributeNotificationCarriesTheDeviceAndComesAfterTheMerge)
{
    int seen = 0;
    CDataId id;
    Subscription subscription;
    subscription.SetSubscriber(new Sink([&](NotificationInfo const* info) {
                                   unsigned flags = 0;
                                   device->GetAttribValue(L"x", seen, flags);
                                   id = dynamic_cast<DataId_NI const&>(*info).GetDataId();
                               }),
                               true);
    subscription.SetMap(device->GetAttributeSubscriptionMap());
    subscription.Subscribe(CString(L"x"));
    Set({L"x"});
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(id, CDataId(1, 78, 1, 1));
}

TEST_F(Bus, NoLockIsHeldWhileASinkRuns)
{
    bool gotThrough = false;
    Subscription subscription;
    subscription.SetSubscriber(new Sink([&](NotificationInfo const*) {
                                   std::thread other([&] {
                                       CAttributeMap tree;
                                       tree.Add(L"other", CVordalInt(2));
                                       gotThrough = device->SetAttributeMap(tree, 0);
                                       Subscription further;
                                       further.SetMap(device->GetAttributeSubscriptionMap());
                                       further.Subscribe(CString(L"x"));
                                   });
                                   other.join();
                               }),
                               true);
    subscription.SetMap(device->GetAttributeSubscriptionMap());
    subscription.Subscribe(CString(L"x"));
    Set({L"x"});
    EXPECT_TRUE(gotThrough);
}

TEST_F(Bus, ASinkMayEndItsOwnSubscription)
{
    Subscription subscription(Subscription::General);
    subscription.SetSubscriber(new Sink([&](NotificationInfo const*) {
                                   told += "a";
                                   subscription.Unsubscribe();
                                   told += "b";
                               }),
                               true);
    subscription.Subscribe(CString(L"go"));
    Raise(L"go");
    Raise(L"go");
    EXPECT_EQ(told, "ab");
}

TEST_F(Bus, ASinkMayDestroyItsOwnSubscriptionAndLivesUntilItReturns)
{
    int deleted = 0;
    int deletedInside = -1;
    auto subscription = std::make_unique<Subscription>(Subscription::General);
    subscription->SetSubscriber(new Sink(
                                    [&](NotificationInfo const*) {
                                        subscription.reset();
                                        deletedInside = deleted;
                                    },
                                    &deleted),
                                true);
    subscription->Subscribe(CString(L"go"));
    Raise(L"go");
    EXPECT_EQ(deletedInside, 0);
    EXPECT_EQ(deleted, 1);
}

TEST_F(Bus, ASinkMayEndOthers)
{
    auto other = std::make_unique<Subscription>(Subscription::General);
    Subscription first(Subscription::General);
    Subscription last(Subscription::General);
    first.SetSubscriber(new Sink([&](NotificationInfo const*) { other.reset(); }), true);
    first.Subscribe(CString(L"go"));
    other->SetSubscriber(Telling("other"), true);
    other->Subscribe(CString(L"go"));
    last.SetSubscriber(Telling("last"), true);
    last.Subscribe(CString(L"go"));
    Raise(L"go");
    EXPECT_EQ(told, "last");
}

TEST_F(Bus, WhoJoinsInsideANotificationIsToldFromTheNextOneOn)
{
    Subscription late(Subscription::General);
    late.SetSubscriber(Telling("late "), true);
    Subscription first(Subscription::General);
    first.SetSubscriber(new Sink([&](NotificationInfo const*) {
                            told += "first ";
                            late.Subscribe(CString(L"go"));
                        }),
                        true);
    first.Subscribe(CString(L"go"));
    Raise(L"go");
    EXPECT_EQ(told, "first ");
    Raise(L"go");
    EXPECT_EQ(told, "first first late ");
}

TEST_F(Bus, AReplacedSinkIsNotCalledAndAnOwnedOneIsDeleted)
{
    int deleted = 0;
    Subscription subscription(Subscription::General);
    subscription.SetSubscriber(new Sink([&](NotificationInfo const*) { told += "old"; }, &deleted), true);
    subscription.Subscribe(CString(L"go"));
    Sink kept([&](NotificationInfo const*) { told += "new"; }, &deleted);
    subscription.SetSubscriber(&kept, false);
    EXPECT_EQ(deleted, 1);
    Raise(L"go");
    EXPECT_EQ(told, "new");
    subscription.SetSubscriber(nullptr, false);
    Raise(L"go");
    EXPECT_EQ(told, "new");
    EXPECT_EQ(deleted, 1);
}

TEST_F(Bus, AnExceptionOfASinkPassesAndLeavesTheSubscriptionWhole)
{
    Subscription subscription(Subscription::General);
    bool fail = true;
    subscription.SetSubscriber(new Sink([&](NotificationInfo const*) {
                                   if (fail) {
                                       throw std::invalid_argument("no");
                                   }
                                   told += "a";
                               }),
                               true);
    subscription.Subscribe(CString(L"go"));
    EXPECT_THROW(Raise(L"go"), std::invalid_argument);
    fail = false;
    Raise(L"go");
    EXPECT_EQ(told, "a");
    std::thread([&] { subscription.Unsubscribe(); }).join();
}

TEST_F(Bus, KindsAreBusesOfTheirOwn)
{
    Subscription general(Subscription::General);
    Subscription status(Subscription::BufferStatus);
    Subscription unknown(3);
    general.SetSubscriber(Telling("general"), true);
    status.SetSubscriber(Telling("status"), true);
    unknown.SetSubscriber(Telling("unknown"), true);
    for (auto* each : {&general, &status, &unknown}) {
        each->Subscribe(CDataId(1, 78, 1, 1).GetKey());
    }
    host.SetBufferStatus(CDataId(1, 78, 1, 1), 3);
    EXPECT_EQ(told, "status");
}

TEST_F(Bus, ActiveVesselCarriesItsNumber)
{
    unsigned short number = 0;
    Subscription subscription(Subscription::ActiveVessel);
    subscription.SetSubscriber(new Sink([&](NotificationInfo const* info) {
                                   number = dynamic_cast<NFDataT<unsigned short> const&>(*info).GetData();
                               }),
                               true);
    subscription.Subscribe(sel_change::ACTIVE_VESSEL);
    host.SelectVessel(42);
    EXPECT_EQ(number, 42);
}

TEST(BusWithoutHost, SubscriptionsOutliveTheHostAndDoNothingWithoutOne)
{
    Subscription early(Subscription::General);
    early.Subscribe(CString(L"go"));
    auto host = std::make_unique<Host>();
    auto* device = host->AddDevice(std::make_unique<Device>(), CDataId(1, 78, 1, 1));
    Subscription general(Subscription::General);
    general.Subscribe(CString(L"go"));
    Subscription attributes;
    attributes.SetMap(device->GetAttributeSubscriptionMap());
    attributes.Subscribe(CString(L"x"));
    DataSubscription data;
    data.Subscribe(CDataId(1, 78, 1, 1));
    EXPECT_NE(data.GetDataBuffer(), nullptr);
    host.reset();
    EXPECT_EQ(data.GetDataBuffer(), nullptr);
    attributes.Unsubscribe();
}

TEST(BusThreads, AfterUnsubscribeHasReturnedTheSinkIsNotCalled)
{
    Host host;
    std::atomic<bool> stop{false};
    std::thread raiser([&] {
        while (!stop) {
            host.Notify(Subscription::General, L"go", nullptr);
        }
    });
    for (int round = 0; round < 300; ++round) {
        std::atomic<bool> gone{false};
        std::atomic<int> late{0};
        std::atomic<int> calls{0};
        Subscription subscription(Subscription::General);
        subscription.SetSubscriber(new Sink([&](NotificationInfo const*) {
                                       late += gone ? 1 : 0;
                                       ++calls;
                                   }),
                                   true);
        subscription.Subscribe(CString(L"go"));
        while (round % 2 == 0 && calls == 0) {
            std::this_thread::yield();
        }
        subscription.Unsubscribe();
        gone = true;
        std::this_thread::yield();
        EXPECT_EQ(late, 0);
    }
    stop = true;
    raiser.join();
}

TEST(BusThreads, UnsubscribeWaitsForACallOnAnotherThread)
{
    Host host;
    std::atomic<bool> inside{false};
    std::atomic<bool> letGo{false};
    std::atomic<bool> returned{false};
    Subscription subscription(Subscription::General);
    subscription.SetSubscriber(new Sink([&](NotificationInfo const*) {
                                   inside = true;
                                   while (!letGo) {
                                       std::this_thread::yield();
                                   }
                                   returned = true;
                               }),
                               true);
    subscription.Subscribe(CString(L"go"));
    std::thread raiser([&] { host.Notify(Subscription::General, L"go", nullptr); });
    while (!inside) {
        std::this_thread::yield();
    }
    std::thread releaser([&] { letGo = true; });
    subscription.Unsubscribe();
    EXPECT_TRUE(returned);
    raiser.join();
    releaser.join();
}

TEST(BusThreads, JoiningLeavingAndTellingAtOnce)
{
    Host host;
    auto* device = host.AddDevice(std::make_unique<Device>(), CDataId(1, 78, 1, 1));
    std::atomic<int> calls{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&, i] {
            CAttributeMap tree;
            tree.Add(i == 0 ? L"x" : L"y", CVordalInt(i));
            for (int round = 0; round < 500; ++round) {
                device->SetAttributeMap(tree, 0);
            }
        });
        threads.emplace_back([&] {
            for (int round = 0; round < 500; ++round) {
                Subscription subscription;
                subscription.SetSubscriber(new Sink([&](NotificationInfo const*) { ++calls; }), true);
                subscription.SetMap(device->GetAttributeSubscriptionMap());
                subscription.Subscribe(std::vector<CString>{L"x", L"y"});
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    CAttributeMap tree;
    ASSERT_TRUE(DataManager::GetDataManager().GetAttributeMap(CDataId(1, 78, 1, 1), tree));
    EXPECT_EQ(tree.Count(), 2);
    int const before = calls;
    device->SetAttributeMap(tree, 0);
    EXPECT_EQ(calls, before);
}

} // namespace
