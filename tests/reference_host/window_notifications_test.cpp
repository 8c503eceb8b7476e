// Tests of what waits for the window thread: one notification of each subscription, the latest, told on that thread.
#include "reference_host/common/log.h"
#include "reference_host/core/host.h"

#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using vordal::Host;

class Sink : public Subscriber
{
public:
    explicit Sink(std::function<void(NotificationInfo const*)> action) : m_action(std::move(action)) {}
    void Notify(NotificationInfo const* info) override { m_action(info); }

private:
    std::function<void(NotificationInfo const*)> m_action;
};

/// A threaded host whose window thread is the test's.
class WindowNotifications : public ::testing::Test
{
protected:
    void SetUp() override
    {
        device = host.AddDevice(std::make_unique<Device>(), CDataId(1, 78, 1, 1));
        ASSERT_NE(device, nullptr);
        host.SetWindowThread([this] {
            std::lock_guard const lock(mutex);
            ++wakes;
            woken.notify_all();
        });
    }
    void TearDown() override { host.EndWindowThread(); }

    void Follow(Subscription& subscription, std::vector<CString> const& keys,
                std::function<void(NotificationInfo const*)> action)
    {
        subscription.SetSubscriber(new Sink(std::move(action)), true);
        subscription.SetMap(device->GetAttributeSubscriptionMap());
        subscription.Subscribe(keys);
    }
    void FollowSonars(Subscription& subscription, std::function<void(NotificationInfo const*)> action)
    {
        subscription.SetSubscriber(new Sink(std::move(action)), true);
        subscription.Subscribe(GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE);
    }
    void Set(wchar_t const* key, int value)
    {
        CAttributeMap tree;
        tree.Add(key, CVordalInt(value));
        host.MergeDecoded(*device, tree);
    }
    int Get(wchar_t const* key)
    {
        CAttributeMap tree;
        device->GetAttributeMap(tree);
        int value = -1;
        tree.FindValue(key).Get(value);
        return value;
    }
    /// Waits until all that was posted to the host thread has run.
    void HostIsIdle()
    {
        ASSERT_TRUE(host.RunAndWait([] {}));
    }
    int Wakes()
    {
        std::lock_guard const lock(mutex);
        return wakes;
    }

    Host host{vordal::Threading::Threaded};
    Device* device = nullptr;
    std::mutex mutex;
    std::condition_variable woken;
    int wakes = 0;
};

TEST_F(WindowNotifications, TellABurstOnceWithTheLastValueThere)
{
    Subscription subscription;
    int told = 0;
    int seen = -1;
    auto const window = std::this_thread::get_id();
    Follow(subscription, {L"depth"}, [&](NotificationInfo const* info) {
        ++told;
        seen = Get(L"depth");
        EXPECT_EQ(std::this_thread::get_id(), window);
        EXPECT_NE(dynamic_cast<DataId_NI const*>(info), nullptr);
    });
    host.RunAndWait([this] {
        for (int i = 0; i < 10000; ++i) {
            Set(L"depth", i);
        }
    });
    EXPECT_EQ(told, 0);
    EXPECT_EQ(Wakes(), 1);
    host.DeliverToWindow();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(seen, 9999);
    host.DeliverToWindow();
    EXPECT_EQ(told, 1);
}

TEST_F(WindowNotifications, CarryTheLatest)
{
    Subscription subscription{Subscription::General};
    std::vector<CDataId> seen;
    FollowSonars(subscription, [&](NotificationInfo const* info) {
        seen.push_back(dynamic_cast<DataId_NI const&>(*info).GetDataId());
    });
    Subscription vessels{Subscription::ActiveVessel};
    std::vector<int> numbers;
    vessels.SetSubscriber(new Sink([&](NotificationInfo const* info) {
                              numbers.push_back(dynamic_cast<NFDataT<unsigned short> const&>(*info).GetData());
                          }),
                          true);
    vessels.Subscribe(sel_change::ACTIVE_VESSEL);
    for (unsigned short i = 1; i <= 1000; ++i) {
        host.SelectSonar(CDataId(1, 78, i, 1));
        host.SelectVessel(i);
    }
    HostIsIdle();
    host.DeliverToWindow();
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_EQ(seen[0], CDataId(1, 78, 1000, 1));
    EXPECT_EQ(numbers, std::vector<int>{1000});

    // Nothing but null came last.
    std::vector<bool> null;
    FollowSonars(subscription, [&](NotificationInfo const* info) { null.push_back(info == nullptr); });
    host.SelectSonar(CDataId(1, 78, 1, 1));
    HostIsIdle();
    host.Notify(Subscription::General, GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE, nullptr);
    HostIsIdle();
    host.DeliverToWindow();
    EXPECT_EQ(null, std::vector<bool>{true});
}

TEST_F(WindowNotifications, KeepTheOrderInWhichTheyBeganToWait)
{
    Subscription a;
    Subscription b;
    Subscription c;
    std::string told;
    Follow(a, {L"a"}, [&](auto) { told += 'a'; });
    Follow(b, {L"b"}, [&](auto) { told += 'b'; });
    Follow(c, {L"c"}, [&](auto) { told += 'c'; });
    for (auto const* key : {L"c", L"a", L"c", L"b", L"a"}) {
        Set(key, 1);
    }
    HostIsIdle();
    EXPECT_EQ(told, "");
    host.DeliverToWindow();
    EXPECT_EQ(told, "cab");
}

TEST_F(WindowNotifications, AreDroppedWhenTheSubscriptionEnds)
{
    int told = 0;
    auto ended = std::make_unique<Subscription>();
    Subscription left;
    Subscription stays;
    Follow(*ended, {L"key"}, [&](auto) { ++told; });
    Follow(left, {L"key"}, [&](auto) { ++told; });
    Follow(stays, {L"key"}, [&](auto) { told += 100; });
    host.RunAndWait([this] { Set(L"key", 1); });
    ended.reset();
    left.Unsubscribe();
    host.DeliverToWindow();
    EXPECT_EQ(told, 100);

    // Joined anew, it is told of what comes from then on.
    left.Subscribe(L"key");
    host.DeliverToWindow();
    EXPECT_EQ(told, 100);
    host.RunAndWait([this] { Set(L"key", 2); });
    host.DeliverToWindow();
    EXPECT_EQ(told, 201);
}

TEST_F(WindowNotifications, MayEndAnotherSubscriptionThatWaits)
{
    Subscription first;
    Subscription second;
    int told = 0;
    Follow(first, {L"key"}, [&](auto) {
        ++told;
        second.Unsubscribe();
        first.Unsubscribe();
    });
    Follow(second, {L"key"}, [&](auto) { ++told; });
    host.RunAndWait([this] { Set(L"key", 1); });
    host.DeliverToWindow();
    EXPECT_EQ(told, 1);
}

TEST_F(WindowNotifications, OfOtherThreadsAreToldOnTheHostThread)
{
    Subscription subscription;
    std::atomic<int> told{0};
    std::thread::id where;
    std::thread([&] {
        Follow(subscription, {L"key"}, [&](auto) {
            where = std::this_thread::get_id();
            ++told;
        });
    }).join();
    std::thread::id hostThread;
    host.RunAndWait([&] {
        hostThread = std::this_thread::get_id();
        Set(L"key", 1);
    });
    EXPECT_EQ(told, 1);
    EXPECT_EQ(where, hostThread);
    // Whoever raises it, the window thread too.
    for (auto const raisedOnWindow : {true, false}) {
        where = {};
        if (raisedOnWindow) {
            Set(L"key", 2);
        } else {
            std::thread([this] { Set(L"key", 3); }).join();
        }
        HostIsIdle();
        EXPECT_EQ(where, hostThread);
    }
    EXPECT_EQ(told, 3);
    EXPECT_EQ(Wakes(), 0);
    subscription.Unsubscribe();
}

TEST_F(WindowNotifications, RaisedElsewhereWaitForNobodyAndFindThoseWhoHaveJoinedByThen)
{
    Subscription subscription;
    std::string told;
    std::mutex wanted; // held while raising, and needed by the sink
    std::unique_lock lock(wanted);
    Set(L"key", 1); // nobody follows it yet
    host.Post([&] {
        Follow(subscription, {L"key"}, [&](auto) {
            std::lock_guard const held(wanted);
            told += std::to_string(Get(L"key"));
        });
    });
    Set(L"key", 2);
    Set(L"key", 3);
    lock.unlock();
    HostIsIdle();
    host.RunAndWait([&] { subscription.Unsubscribe(); });
    Set(L"key", 4);
    HostIsIdle();
    EXPECT_EQ(told, "33") << "told twice, with what is there by then";
}

TEST_F(WindowNotifications, RaisedElsewhereThatFailAreLogged)
{
    std::vector<std::string> lines;
    vordal::SetLogSink([&](vordal::LogLevel, std::string_view line) { lines.emplace_back(line); });
    Subscription failing;
    host.RunAndWait([&] { Follow(failing, {L"key"}, [](auto) { throw std::runtime_error("no such sonar"); }); });
    EXPECT_NO_THROW(Set(L"key", 1));
    HostIsIdle();
    vordal::SetLogSink({});
    EXPECT_EQ(lines, std::vector<std::string>{"a notification failed on the host thread: no such sonar"});
    failing.Unsubscribe();
}

TEST_F(WindowNotifications, ThatFailSpareTheOthers)
{
    std::vector<std::string> lines;
    vordal::SetLogSink([&](vordal::LogLevel, std::string_view line) { lines.emplace_back(line); });
    Subscription failing;
    Subscription other;
    int told = 0;
    Follow(failing, {L"key"}, [](auto) { throw std::runtime_error("no such page"); });
    Follow(other, {L"key"}, [&](auto) { ++told; });
    Set(L"key", 1);
    HostIsIdle();
    host.DeliverToWindow();
    vordal::SetLogSink({});
    EXPECT_EQ(told, 1);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], "a notification failed on the window thread: no such page");
}

TEST_F(WindowNotifications, GoNowhereWithoutAWindowThread)
{
    Subscription subscription;
    int told = 0;
    Follow(subscription, {L"key"}, [&](auto) { ++told; });
    Set(L"key", 1);
    HostIsIdle();
    host.EndWindowThread();
    Set(L"key", 2);
    HostIsIdle();
    host.DeliverToWindow();
    EXPECT_EQ(told, 0);
}

TEST_F(WindowNotifications, OfBlocksFindTheLatestBlock)
{
    DataSubscription subscription;
    int told = 0;
    double time = 0.0;
    subscription.SetSubscriber(new Sink([&](auto) {
                                   ++told;
                                   auto* const buffer = subscription.GetDataBuffer();
                                   ASSERT_NE(buffer, nullptr);
                                   buffer->GetLastTime(time);
                               }),
                               true);
    CDataId const stream(1, 40, 1, 1);
    subscription.Subscribe(stream);
    host.RunAndWait([&] {
        for (int i = 1; i <= 100; ++i) {
            CDataBlock block;
            block.SetTime(i);
            host.PutBlock(stream, block);
        }
    });
    host.DeliverToWindow();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(time, 100.0);
}

TEST_F(WindowNotifications, LoseNoLastValueWhileTheyAreDelivered)
{
    constexpr int last = 10000;
    Subscription subscription;
    Subscription other;
    int seen = 0;
    int told = 0;
    Follow(subscription, {L"depth"}, [&](auto) {
        ++told;
        auto const value = Get(L"depth");
        EXPECT_GE(value, seen);
        seen = value;
        // Others come and go meanwhile.
        Follow(other, {L"depth"}, [](auto) {});
        other.Unsubscribe();
    });
    host.Post([this] {
        for (int i = 1; i <= last; ++i) {
            Set(L"depth", i);
        }
    });
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    int handled = 0;
    while (seen != last && std::chrono::steady_clock::now() < deadline) {
        {
            std::unique_lock lock(mutex);
            woken.wait_until(lock, deadline, [&] { return wakes > handled; });
            handled = wakes;
        }
        host.DeliverToWindow();
    }
    EXPECT_EQ(seen, last);
    EXPECT_LE(told, handled);
}

TEST(WindowNotificationsInline, AreToldAtOnceUnlessAnotherThreadRaisesThem)
{
    Host host;
    host.SetWindowThread({});
    Subscription subscription{Subscription::General};
    int told = 0;
    subscription.SetSubscriber(new Sink([&](auto) { ++told; }), true);
    subscription.Subscribe(GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE);
    host.SelectSonar(CDataId(1, 78, 1, 1));
    EXPECT_EQ(told, 1);
    std::thread([&] { host.SelectSonar(CDataId(1, 78, 2, 1)); }).join();
    EXPECT_EQ(told, 1);
    host.DeliverToWindow();
    EXPECT_EQ(told, 2);
    host.EndWindowThread();
}

} // namespace
