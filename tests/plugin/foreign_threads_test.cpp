// The device among threads: what others store and change is told on the host thread, with nothing lost and nobody
// waiting for himself; what is the window's is done there.
#include "QX5SonarConfigurationControlDevice.h"
#include "recorded_traffic.h"
#include "reference_host/core/host.h"
#include "reference_host/core/pan_tilt_unit.h"
#include "reference_host/displays/display.h"
#include <commands/terminal_codes.h>

#include <VordalAttributesR/CVordalType.h>
#include <VordalConfigureR/CViewList.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalMfc0R/CView.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using vordal::Host;

constexpr int rounds = 100000;
constexpr std::chrono::seconds patience{30};

CDataId const sonarId(1, 78, 1, 1);
CDataId const unitComputation(1, 1112, 1, 1);
CDataId const unitStream(1, 112, 1, 1);
CDataId const multibeamComputation(1, 1011, 1, 1);
CDataId const terminalStream(1, qx5::terminal::Group, 1, 1);

/// Ends the process, with a line, when nothing has moved for long: threads that wait for one another cannot be ended in
/// any other way.
class DeadlockGuard
{
public:
    DeadlockGuard() : m_thread([this] { Watch(); }) {}
    DeadlockGuard(DeadlockGuard const&) = delete;
    DeadlockGuard& operator=(DeadlockGuard const&) = delete;
    ~DeadlockGuard()
    {
        {
            std::lock_guard const lock(m_mutex);
            m_ended = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }

    void Moved() { m_moves.fetch_add(1, std::memory_order_relaxed); }

private:
    void Watch()
    {
        std::unique_lock lock(m_mutex);
        for (long seen = -1; seen != m_moves;) {
            seen = m_moves;
            if (m_changed.wait_for(lock, patience, [this] { return m_ended; })) {
                return;
            }
        }
        std::fprintf(stderr, "FAILED: nothing has moved for %d s, after %ld rounds\n",
                     static_cast<int>(patience.count()), m_moves.load());
        std::_Exit(EXIT_FAILURE);
    }

    std::atomic<long> m_moves{0};
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_ended = false;
    std::thread m_thread;
};

class Sink : public Subscriber
{
public:
    explicit Sink(std::function<void()> action) : m_action(std::move(action)) {}
    void Notify(NotificationInfo const*) override { m_action(); }

private:
    std::function<void()> m_action;
};

/// A threaded host with one sonar of the plug-in on a pan-and-tilt unit.
class ForeignThreads : public ::testing::Test
{
protected:
    ForeignThreads()
    {
        host.SetTraffic(&traffic);
        host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
        OnHost([this] {
            device = host.AddDevice(std::make_unique<QX5SonarConfigurationControlDevice>(), sonarId, L"sonar");
            unit = std::make_unique<vordal::PanTiltUnit>(host, unitComputation, unitStream);
            unit->Carry(*device, multibeamComputation);
            CAttributeMap tree;
            tree.Add(L"PingOnlyDuringScan", CVordalBool(true), 0);
            host.MergeDecoded(*device, tree);
            host.ApplyDevice(*device, true);
            hostThread = std::this_thread::get_id();
        });
    }
    ~ForeignThreads() override
    {
        OnHost([this] {
            attributes.Unsubscribe();
            data.Unsubscribe();
            host.RemoveAllDevices();
        });
    }

    void OnHost(Host::Task const& task) { ASSERT_TRUE(host.RunAndWait(task)); }

    /// Does `work` round after round on a thread of its own, while the host applies the device as often.
    void WhileApplying(std::function<void(int round)> const& work)
    {
        DeadlockGuard guard;
        std::thread other([&] {
            for (int round = 1; round <= rounds; ++round) {
                work(round);
                guard.Moved();
            }
        });
        for (int round = 1; round <= rounds; ++round) {
            host.Post([this, &guard] {
                host.ApplyDevice(*device, true);
                guard.Moved();
            });
            if (round % 64 == 0) {
                OnHost([] {});
            }
        }
        other.join();
        OnHost([] {}); // all that was posted has run
    }

    RecordedTraffic traffic;
    Host host{vordal::Threading::Threaded};
    Device* device = nullptr;
    std::unique_ptr<vordal::PanTiltUnit> unit;
    std::thread::id hostThread;
    Subscription attributes;
    DataSubscription data;
};

TEST_F(ForeignThreads, StoreBlocksWhileTheDeviceIsApplied)
{
    int told = 0;
    int inOrder = 0;
    int elsewhere = 0;
    OnHost([&] {
        data.SetSubscriber(new Sink([&] {
                               double time = 0.0;
                               data.GetDataBuffer()->GetLastTime(time);
                               inOrder += time == static_cast<double>(++told) ? 1 : 0;
                               elsewhere += std::this_thread::get_id() != hostThread ? 1 : 0;
                           }),
                           true);
        data.Subscribe(unitStream);
    });
    WhileApplying([this](int round) {
        unsigned char const scanning = round % 2 == 0 ? 1 : 0;
        CDataBlock block;
        block.SetTime(round);
        block.AddItem(253, DATA_BYTE, {&scanning, 1}, 1, 0);
        host.PutBlock(unitStream, block);
    });
    EXPECT_EQ(told, rounds);
    EXPECT_EQ(inOrder, rounds) << "each notification finds the block that it tells of";
    EXPECT_EQ(elsewhere, 0);
}

TEST_F(ForeignThreads, ChangeAttributesWhileTheDeviceIsApplied)
{
    int told = 0;
    int elsewhere = 0;
    double tilt = 0.0;
    bool ascending = true;
    OnHost([&] {
        attributes.SetSubscriber(new Sink([&] {
                                     unsigned flags = 0;
                                     double const before = tilt;
                                     device->GetAttribValue(L"CmdTilt", tilt, flags);
                                     ascending = ascending && tilt >= before;
                                     ++told;
                                     elsewhere += std::this_thread::get_id() != hostThread ? 1 : 0;
                                 }),
                                 true);
        attributes.SetMap(device->GetAttributeSubscriptionMap());
        attributes.Subscribe(CString(L"CmdTilt"));
    });
    WhileApplying([this](int round) {
        CAttributeMap tree;
        tree.Add(L"CmdTilt", CVordalDouble(round), 0);
        EXPECT_TRUE(device->SetAttributeMap(tree, 0));
        double stored = 0.0;
        unsigned flags = 0;
        EXPECT_TRUE(device->GetAttribValue(L"CmdTilt", stored, flags));
        EXPECT_EQ(stored, round) << "what was set is there on return";
    });
    EXPECT_EQ(told, rounds);
    EXPECT_EQ(tilt, rounds);
    EXPECT_TRUE(ascending);
    EXPECT_EQ(elsewhere, 0);
}

TEST_F(ForeignThreads, RaiseStatusesAndEventsWhileTheDeviceIsApplied)
{
    Subscription statuses(Subscription::BufferStatus);
    std::string seen;
    std::string expected;
    OnHost([&] {
        statuses.SetSubscriber(new Sink([&] {
                                   unsigned short state = 0;
                                   unsigned short status = 0;
                                   host.Buffer(unitStream).GetStatus(state, status);
                                   EXPECT_EQ(std::this_thread::get_id(), hostThread);
                                   seen += static_cast<char>('0' + status);
                               }),
                               true);
        statuses.Subscribe(unitStream.GetKey());
    });
    for (int round = 1; round <= rounds; ++round) {
        expected += static_cast<char>('0' + round % 3);
    }
    WhileApplying([this](int round) {
        host.SetBufferStatus(unitStream, static_cast<unsigned short>(round % 3));
        host.Notify(Subscription::General, L"$VordalHostloggerStartLogging$", nullptr);
    });
    EXPECT_EQ(seen, expected) << "each notification finds the status that it tells of";
    OnHost([&] { statuses.Unsubscribe(); });
}

/// A sonar of two heads, the second of which may ping twice as often, and its terminal.
class ForeignTerminal : public ForeignThreads
{
protected:
    ForeignTerminal()
    {
        CAttributeMap tree;
        tree.Add(L"DeviceEnum", CVordalInt(0), 0);
        for (double const greatest : {10.0, 20.0}) {
            CAttributeMap* const settings = tree.Add(L"x5SonarSettings");
            CAttributeMap* const pingRate = settings->Add(L"x5PingRate");
            pingRate->Add(L"x5Min", CVordalDouble(0.0), 0);
            pingRate->Add(L"x5Max", CVordalDouble(greatest), 0);
            settings->Add(L"x5Frequency")->Add(L"x5CenterFreq", CVordalDouble(200000.0), 0);
        }
        OnHost([&] {
            host.ReplaceAttributes(*device, tree);
            host.ApplyDevice(*device, true);
        });
    }

    static CDataBlock Code(int code)
    {
        std::array<unsigned char, 4> const bytes{static_cast<unsigned char>(code), 0, 0, 0};
        CDataBlock block;
        block.AddItem(qx5::terminal::CodeItem, DATA_INT32, bytes, 4, 0);
        return block;
    }
    /// What left, once all that was posted has run.
    std::vector<std::string> Sent()
    {
        std::vector<std::string> lines;
        OnHost([&] { lines = std::exchange(traffic.lines, {}); });
        return lines;
    }

    /// The second head, its greatest ping rate of 20 per second, pings on.
    std::vector<std::string> const nextHead{"remote 1011 01000000 to 0,-1",
                                            "ask 7504 to 0,-1",
                                            "ask 7503 to 0,-1",
                                            "ask 7002 to 0,-1",
                                            "remote 1004 0000a041 to 0,-1",
                                            "remote 10003 0000a041 to 0,-1",
                                            "remote 1100 to 0,-1"};
};

TEST_F(ForeignTerminal, CodesPutByAnotherThreadAskForTheNewHeadsPingRate)
{
    std::thread([this] {
        host.PutBlock(terminalStream, Code(9));
        host.PutBlock(terminalStream, Code(41));
    }).join();
    EXPECT_EQ(Sent(), nextHead);
}

TEST_F(ForeignTerminal, CodesStoredAndAnnouncedByAnotherThreadAreEachActedOn)
{
    std::thread([this] {
        BaseDataSource& buffer = host.Buffer(terminalStream);
        for (int const code : {9, 41}) {
            buffer.StoreBlock(Code(code));
            buffer.AnnounceBlock();
        }
    }).join();
    EXPECT_EQ(Sent(), nextHead);
}

class PlainView : public CView
{
public:
    QWidget* GetWidget() override { return nullptr; }
};
CRuntimeClass plainView = MakeRuntimeClass<PlainView>("PlainView");

/// The window of a display: notes what is done to it, and on which thread.
class NotingHolder : public vordal::DisplayHolder
{
public:
    void OnShowNormal() override { Note("normal "); }
    void OnBringToTop() override { Note("top "); }

    std::string calls;
    std::vector<std::thread::id> threads;

private:
    void Note(char const* what)
    {
        calls += what;
        threads.push_back(std::this_thread::get_id());
    }
};

TEST_F(ForeignTerminal, TheSnapshotDisplayIsShownOnTheWindowThread)
{
    host.SetApplication({.guid = L"guid",
                         .mainWindow = true,
                         .lightMode = 2,
                         .displays = {{.section = L"depths", .type = L"bathy", .name = L"bathy"},
                                      {.section = L"shots", .type = L"snapshot view", .name = L"Shots"}}});
    host.SetWindowThread({});
    ASSERT_TRUE(CViewList::GetViewList().RegisterView(L"PlainView", &plainView));
    NotingHolder shots;
    NotingHolder depths;
    std::string reason;
    auto const shown = vordal::Display::Open({L"PlainView", L"shots", {}}, &shots, reason);
    auto const other = vordal::Display::Open({L"PlainView", L"depths", {}}, &depths, reason);
    ASSERT_NE(shown, nullptr) << reason;
    ASSERT_NE(other, nullptr) << reason;

    host.PutBlock(terminalStream, Code(12)); // the first data, which ask for nothing
    OnHost([] {});
    EXPECT_EQ(shots.calls, "") << "the display is the window thread's";
    host.DeliverToWindow();
    EXPECT_EQ(shots.calls, "normal top ");
    for (std::thread::id const thread : shots.threads) {
        EXPECT_EQ(thread, std::this_thread::get_id());
    }
    EXPECT_EQ(depths.calls, "");
    host.EndWindowThread();
}

} // namespace
