// Tests of the host: the way of a request, its failures, its threads, and the registers of devices, vessels, classes.
#include "scripted_device.h"

#include "reference_host/attributes/tree_merge.h"
#include "reference_host/common/clock.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/common/log.h"
#include "reference_host/core/host.h"
#include "reference_host/core/port.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>
#include <VordalBaseR/CExTime.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/VesselManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using vordal::Host;
using vordal::RequestFailures;
using vordal::Threading;
using vordal::test::Scripted;

CDataId const Sonar(1, 78, 1, 1);
CDataId const Elsewhere(9, 9, 9, 9);

/// Writes down what the host tells, as short words.
class Recorder : public vordal::HostObserver, public vordal::SonarTraffic
{
public:
    std::string told;
    bool sends = true;

    void OnEcho(BaseDevice&, CAttributeMap const& tree, unsigned flags) override
    {
        told += "echo" + std::to_string(tree.Count()) + "/" + std::to_string(flags) + " ";
    }
    void OnHostSet(CDataId const& id, CAttributeMap const&, unsigned flags) override
    {
        told += "set" + std::to_string(id.GetGroupId()) + "/" + std::to_string(flags) + " ";
    }
    void OnOutputStat(BaseDevice&, double time, int status) override
    {
        told += "stat" + std::to_string(static_cast<int>(time)) + "/" + std::to_string(status) + " ";
    }
    void OnDisableTimeOut(BaseDevice&, bool disable) override { told += disable ? "quiet " : "watched "; }
    void OnDeviceCtrlViewType(BaseDevice&, CString const& name) override { told += name == L"VIEW" ? "view " : "? "; }
    void OnContractBreach(CString const& rule) override
    {
        EXPECT_GT(rule.GetLength(), 0);
        told += "breach ";
    }
    void OnRequestFailed(BaseDevice&, CAttributeMap const&, std::exception_ptr) override { told += "failed "; }
    void OnAttributesRefused(BaseDevice&) override { told += "refused "; }
    void OnRequestDropped(BaseDevice& device, AttributeKey const& asked, AttributeKey const& missing) override
    {
        told += "dropped" + std::to_string(device.GetGroupId()) + (asked == L"asked" ? ":a" : ":?") +
                (missing == L"missing" ? "m " : "? ");
    }

    bool SendRemoteControl(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                           int deviceId, int enumerator) override
    {
        told += "remote" + std::to_string(sender.device.GetGroupId()) + (sender.port != nullptr ? "p" : "") + ":" +
                std::to_string(recordId) + "," + std::to_string(payload.size()) + "," + std::to_string(deviceId) + "," +
                std::to_string(enumerator) + " ";
        return sends;
    }
    bool AskForRecord(Sender const&, std::uint32_t recordId, int deviceId, int enumerator) override
    {
        told +=
            "ask:" + std::to_string(recordId) + "," + std::to_string(deviceId) + "," + std::to_string(enumerator) + " ";
        return sends;
    }
    bool SendData(Sender const&, std::uint32_t recordId, std::span<unsigned char const> payload, double time, int,
                  int) override
    {
        told += "data:" + std::to_string(recordId) + "," + std::to_string(payload.size()) + "," +
                std::to_string(static_cast<int>(time)) + " ";
        return sends;
    }
    bool SendRaw(Sender const&, std::string_view bytes, bool flag) override
    {
        told += "raw:" + std::to_string(bytes.size()) + (flag ? "+ " : "- ");
        return sends;
    }
};

CAttributeMap Request(wchar_t const* key)
{
    CAttributeMap tree;
    tree.Add(L"Request")->Add(key, CVordalDouble(50.0));
    return tree;
}

int IntOf(BaseDevice& device, wchar_t const* key)
{
    int value = -1;
    unsigned flags = 0;
    device.GetAttribValue(key, value, flags);
    return value;
}

class LiveOrInline : public ::testing::Test
{
protected:
    Scripted* Add(Host& host, CDataId const& id = Sonar)
    {
        return static_cast<Scripted*>(host.AddDevice(std::make_unique<Scripted>(), id, L"Sonar"));
    }
    DataManager& manager = DataManager::GetDataManager();
};

using HostRequests = LiveOrInline;
using HostThreads = LiveOrInline;
using HostRegisters = LiveOrInline;

TEST_F(HostRequests, EachRequestChildIsHandedOverAsACopyAndTheRestIsMerged)
{
    Host host;
    auto* device = Add(host);
    std::string seen;
    device->onRequest = [&](CAttributeMap* request) {
        seen += request->Has(L"first") ? "1" : "";
        seen += request->Has(L"second") ? "2" : "";
        request->Add(L"written", CVordalInt(1));
    };
    CAttributeMap tree;
    tree.Add(L"Request")->Add(L"first", CVordalInt(1));
    tree.Add(L"other", CVordalInt(7));
    tree.Add(L"Request")->Add(L"second", CVordalInt(1));
    EXPECT_TRUE(manager.SetAttributeMap(Sonar, tree, 4, false));
    EXPECT_EQ(seen, "12");
    EXPECT_FALSE(tree.Find(L"Request").Has(L"written"));
    EXPECT_EQ(IntOf(*device, L"other"), 7);
    CAttributeMap stored;
    device->GetAttributeMap(stored);
    EXPECT_FALSE(stored.Has(L"Request"));
}

TEST_F(HostRequests, WhateverStandsBesideThemIsMergedInItsOrder)
{
    for (auto const& [requests, others] : {std::pair(1, 4), std::pair(3, 3), std::pair(4, 1), std::pair(5, 2)}) {
        Host host;
        auto* device = Add(host);
        int seen = 0;
        device->onRequest = [&seen](CAttributeMap*) { ++seen; };
        CAttributeMap tree;
        std::string expected;
        for (int i = 0; i < std::max(requests, others); ++i) {
            if (i < others) {
                tree.Add(CString(L"other" + std::to_wstring(i)), CVordalInt(i), 2);
                expected += "other" + std::to_string(i) + " = " + std::to_string(i) + " (flags 2)\n";
            }
            if (i < requests) {
                tree.Add(L"Request")->Add(L"x", CVordalInt(i));
            }
        }
        EXPECT_TRUE(manager.SetAttributeMap(Sonar, tree, 4, false));
        EXPECT_EQ(seen, requests);
        CAttributeMap stored;
        device->GetAttributeMap(stored);
        EXPECT_EQ(vordal::TreeText(stored), expected) << requests << " requests, " << others << " others";
    }
}

TEST_F(HostRequests, TellWhoPassesTheArgumentThatIsAlwaysFalse)
{
    Host host;
    Recorder recorder;
    host.SetObserver(&recorder);
    Add(host);
    EXPECT_TRUE(manager.SetAttributeMap(Sonar, Request(L"x"), 4, true));
    EXPECT_TRUE(manager.SetAttributeMap(Sonar, Request(L"x"), 4, false));
    host.SetObserver(nullptr);
    EXPECT_EQ(recorder.told, "breach set78/4 set78/4 ");
}

TEST_F(HostRequests, RunNestedSoThatWhatFollowsSeesTheEcho)
{
    Host host;
    Recorder recorder;
    host.SetObserver(&recorder);
    auto* inner = Add(host, CDataId(1, 40, 2, 1));
    auto* outer = Add(host);
    int seen = 0;
    inner->onRequest = [&](CAttributeMap*) {
        CAttributeMap echo;
        echo.Add(L"answer", CVordalInt(42));
        inner->SetAttributeMap(echo, 0);
    };
    outer->onRequest = [&](CAttributeMap*) {
        manager.SetAttributeMap(CDataId(1, 40, 2, 1), Request(L"x"), 4, false);
        seen = IntOf(*inner, L"answer");
    };
    manager.SetAttributeMap(Sonar, Request(L"x"), 15, false);
    EXPECT_EQ(seen, 42);
    EXPECT_EQ(recorder.told, "set78/15 set40/4 echo1/0 ");
    host.SetObserver(nullptr);
}

TEST_F(HostRequests, AbsentDevice)
{
    Host host;
    CAttributeMap tree = Request(L"x");
    EXPECT_FALSE(manager.SetAttributeMap(Elsewhere, tree, 4, false));
    EXPECT_FALSE(manager.GetAttributeMap(Elsewhere, tree));
    EXPECT_EQ(tree.Count(), 0);
    EXPECT_EQ(manager.FindDevice(Elsewhere), nullptr);
    EXPECT_EQ(manager.FindComputation(Elsewhere), nullptr);
    EXPECT_EQ(manager.GetAttributeSubscriptionMap(Elsewhere), nullptr);
    EXPECT_EQ(manager.FindDatablockBuffer(Elsewhere, false), nullptr);
}

TEST_F(HostRequests, WithoutAHostNothingIsFound)
{
    CAttributeMap tree = Request(L"x");
    EXPECT_FALSE(manager.SetAttributeMap(Sonar, tree, 4, false));
    EXPECT_FALSE(manager.GetAttributeMap(Sonar, tree));
    EXPECT_EQ(manager.FindDevice(Sonar), nullptr);
    EXPECT_EQ(manager.GetDeviceCount(1), 0);
    EXPECT_EQ(VesselManager::GetVesselManager().GetActiveVesselPtr(), nullptr);
    EXPECT_EQ(CDevList::GetDevList().MakeDevice(L"any"), nullptr);
    EXPECT_EQ(Host::CurrentOrNull(), nullptr);
    EXPECT_THROW(Host::Current(), std::logic_error);
    QX5Device alone;
    EXPECT_FALSE(alone.SendRemoteControlRecord(1003, nullptr, 0, 0, -1));
    EXPECT_EQ(alone.GetBuffer(), nullptr);
}

TEST_F(HostRequests, AContainedExceptionIsLoggedInOneLineAndTheNextRequestRuns)
{
    std::vector<std::string> lines;
    vordal::SetLogSink([&](vordal::LogLevel, std::string_view line) { lines.emplace_back(line); });
    {
        Host host;
        Recorder recorder;
        host.SetObserver(&recorder);
        auto* device = Add(host);
        int ran = 0;
        device->onRequest = [&](CAttributeMap* request) {
            ++ran;
            if (request->Has(L"UdpPort")) {
                throw std::out_of_range("argument\nout of range");
            }
        };
        EXPECT_TRUE(manager.SetAttributeMap(Sonar, Request(L"UdpPort"), 4, false));
        EXPECT_TRUE(manager.SetAttributeMap(Sonar, Request(L"x"), 4, false));
        EXPECT_EQ(ran, 2);
        EXPECT_EQ(recorder.told, "set78/4 failed set78/4 ");
        host.SetObserver(nullptr);
    }
    vordal::SetLogSink({});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], "request UdpPort to device 1.78.1.1 failed: argument out of range");
}

TEST_F(HostRequests, AToolMayHaveTheException)
{
    Host host;
    host.SetRequestFailures(RequestFailures::Pass);
    auto* device = Add(host);
    device->onRequest = [&](CAttributeMap*) { throw std::invalid_argument("no number"); };
    EXPECT_THROW(manager.SetAttributeMap(Sonar, Request(L"x"), 4, false), std::invalid_argument);
    EXPECT_THROW(host.DeliverRequest(*device, nullptr), std::invalid_argument);
}

TEST_F(HostRequests, NullRequestReachesTheDevice)
{
    Host host;
    auto* device = Add(host);
    bool wasNull = false;
    device->onRequest = [&](CAttributeMap* request) { wasNull = request == nullptr; };
    EXPECT_TRUE(host.DeliverRequest(*device, nullptr));
    EXPECT_TRUE(wasNull);
}

TEST_F(HostRequests, SendsGoToTheTrafficAndFailWithoutOne)
{
    Host host;
    Recorder recorder;
    auto* device = Add(host);
    unsigned char const payload[] = {1, 2, 3, 4};
    EXPECT_FALSE(device->SendRemoteControlRecord(1003, payload, 4, 0, -1));
    EXPECT_FALSE(device->SendMessageW(std::string("abc"), false));
    host.SetTraffic(&recorder);
    vordal::PlainPort port;
    host.SetPort(*device, &port);
    EXPECT_TRUE(device->SendRemoteControlRecord(1003, payload, 4, 0, -1));
    EXPECT_TRUE(device->SendRemoteControlRecord(1000, nullptr, 0, 7000, 0));
    EXPECT_TRUE(device->SingleRecordRequest(7503, 0, -1));
    EXPECT_TRUE(device->SendRecord(11051, payload, 2, 8.0, 0, -1));
    EXPECT_TRUE(device->SendMessageW(std::string("a\0c", 3), true));
    EXPECT_EQ(recorder.told, "remote78p:1003,4,0,-1 remote78p:1000,0,7000,0 ask:7503,0,-1 data:11051,2,8 raw:3+ ");
    recorder.told.clear();
    EXPECT_FALSE(device->SendRemoteControlRecord(1003, nullptr, 4, 0, -1));
    EXPECT_EQ(recorder.told, "");
    recorder.sends = false;
    EXPECT_FALSE(device->SingleRecordRequest(7503, 0, -1));
    host.RemoveAllDevices();
    host.SetTraffic(nullptr);
}

TEST_F(HostRequests, TheObserverHearsWhatPlugInsCallAndNotWhatTheHostDoes)
{
    Host host;
    Recorder recorder;
    auto* device = Add(host);
    host.SetObserver(&recorder);
    CAttributeMap tree;
    tree.Add(L"x", CVordalInt(3));
    host.MergeDecoded(*device, tree);
    EXPECT_EQ(IntOf(*device, L"x"), 3);
    EXPECT_EQ(recorder.told, "");
    device->SetAttributeMap(CAttributeMap(), 4);
    device->SetOutputStat(12.0, 0);
    device->DisableTimeOut(true);
    device->DisableTimeOut(false);
    device->SetDeviceCtrlViewType(L"VIEW");
    device->ReportDroppedRequest(L"asked", L"missing");
    EXPECT_EQ(recorder.told, "echo0/4 stat12/0 quiet watched view dropped78:am ");
    host.SetObserver(nullptr);
    device->ReportDroppedRequest(L"asked", L"missing"); // nobody watches
}

/// Ints named by letter and number.
CAttributeMap Numbered(wchar_t letter, int first, int count)
{
    CAttributeMap tree;
    for (int i = first; i < first + count; ++i) {
        tree.Append(CAttributeMap(AttributeKey(CString(letter + std::to_wstring(i))), VordalTypeCreator::MakeValue(i)));
    }
    return tree;
}

TEST_F(HostRequests, WhatASonarTellsBeyondItsLimitsIsRefusedCountedAndToldOnce)
{
    std::vector<std::string> lines;
    vordal::SetLogSink([&](vordal::LogLevel, std::string_view line) { lines.emplace_back(line); });
    Host host;
    Recorder recorder;
    auto* device = Add(host);
    auto* other = Add(host, Elsewhere);
    host.SetObserver(&recorder);
    host.SetToldLimits(*device, {.keys = 100, .bytes = 10000});
    host.MergeDecoded(*device, Numbered(L'a', 0, 90));
    EXPECT_EQ(recorder.told, "");
    for (int i = 0; i < 10; ++i) {
        host.MergeDecoded(*device, Numbered(L'b', 50 * i, 50));
    }
    EXPECT_EQ(recorder.told, "refused ");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find("\"Sonar\""), std::string::npos);
    EXPECT_NE(lines[0].find("more than 100 keys or 10000 bytes"), std::string::npos);
    EXPECT_EQ(host.Told(*device).Used().keys, 100U);
    EXPECT_EQ(host.Told(*device).Refused().keys, 490U);
    CAttributeMap tree;
    device->GetAttributeMap(tree);
    EXPECT_EQ(tree.Count(), 100);

    // Known keys go on, another device has limits of its own, and what others write needs no room.
    CAttributeMap known;
    known.Add(L"a7", CVordalInt(-7));
    host.MergeDecoded(*device, known);
    EXPECT_EQ(IntOf(*device, L"a7"), -7);
    host.MergeDecoded(*other, Numbered(L'c', 0, 500));
    EXPECT_EQ(IntOf(*other, L"c499"), 499);
    recorder.told.clear();
    device->SetAttributeMap(Numbered(L'd', 0, 300), 0);
    device->AppendAttributeMap(Numbered(L'e', 0, 300), 0);
    EXPECT_TRUE(manager.SetAttributeMap(Sonar, Numbered(L'f', 0, 300), 4, false));
    EXPECT_EQ(IntOf(*device, L"d299") + IntOf(*device, L"e299") + IntOf(*device, L"f299"), 3 * 299);
    EXPECT_EQ(recorder.told.find("refused"), std::string::npos);
    EXPECT_EQ(host.Told(*device).Used().keys, 100U);
    host.SetObserver(nullptr);
    vordal::SetLogSink({});
}

TEST_F(HostRequests, WhatATreeHoldsWhenItIsLoadedCountsAsTold)
{
    Host host;
    auto* device = Add(host);
    host.SetToldLimits(*device, {.keys = 100, .bytes = 10000});
    EXPECT_TRUE(host.LoadDevice(*device, Numbered(L'a', 0, 95)));
    host.MergeDecoded(*device, Numbered(L'b', 0, 10));
    EXPECT_EQ(IntOf(*device, L"b4"), 4);
    EXPECT_EQ(IntOf(*device, L"b5"), -1);
    host.ReplaceAttributes(*device, CAttributeMap());
    host.MergeDecoded(*device, Numbered(L'b', 0, 10));
    EXPECT_EQ(IntOf(*device, L"b9"), 9);
}

TEST_F(HostRequests, LoadingAndReplacingTellNobody)
{
    Host host;
    auto* device = Add(host);
    CAttributeMap tree;
    tree.Add(L"x", CVordalInt(3));
    EXPECT_TRUE(host.LoadDevice(*device, tree));
    EXPECT_EQ(IntOf(*device, L"x"), 3);
    host.ReplaceAttributes(*device, CAttributeMap());
    EXPECT_EQ(IntOf(*device, L"x"), -1);
    EXPECT_FALSE(device->LoadAttribs(L"Sonar", nullptr));
}

TEST_F(HostRequests, AttributesAreReadByKindAndLeaveTheRestUntouched)
{
    Host host;
    auto* device = Add(host);
    CAttributeMap tree;
    tree.Add(L"int", CVordalInt(3), 9);
    tree.Add(L"pair", CVordalDouble2D(1.5, -2.5));
    device->SetAttributeMap(tree, 0);
    double number = 8.0;
    double second = 8.0;
    unsigned flags = 77;
    EXPECT_FALSE(device->GetAttribValue(L"int", number, flags));
    EXPECT_FALSE(device->GetAttribValue(L"absent", number, flags));
    EXPECT_EQ(number, 8.0);
    EXPECT_EQ(flags, 77U);
    int value = 0;
    EXPECT_TRUE(device->GetAttribValue(L"int", value, flags));
    EXPECT_EQ(value, 3);
    EXPECT_EQ(flags, 9U);
    EXPECT_TRUE(device->GetAttribValue(L"pair", number, second, flags));
    EXPECT_EQ(number, 1.5);
    EXPECT_EQ(second, -2.5);
}

TEST_F(HostThreads, FromAnotherThreadARequestIsPostedAndRunsOnTheHostThreadInOrder)
{
    Host host(Threading::Threaded);
    auto* device = Add(host);
    std::vector<int> order;
    bool everyOneOnHostThread = true;
    device->onRequest = [&](CAttributeMap* request) {
        everyOneOnHostThread = everyOneOnHostThread && host.IsHostThread();
        int number = -1;
        request->FindValue(L"number").Get(number);
        order.push_back(number);
    };
    EXPECT_FALSE(host.IsHostThread());
    for (int i = 0; i < 1000; ++i) {
        CAttributeMap tree;
        tree.Add(L"Request")->Add(L"number", CVordalInt(i));
        EXPECT_TRUE(manager.SetAttributeMap(Sonar, tree, 4, false));
    }
    EXPECT_FALSE(manager.SetAttributeMap(Elsewhere, Request(L"x"), 4, false));
    EXPECT_TRUE(host.RunAndWait([] {}));
    EXPECT_TRUE(everyOneOnHostThread);
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST_F(HostThreads, OnTheHostThreadARequestRunsNested)
{
    Host host(Threading::Threaded);
    auto* device = Add(host);
    device->onRequest = [&](CAttributeMap*) {
        CAttributeMap echo;
        echo.Add(L"answer", CVordalInt(1));
        device->SetAttributeMap(echo, 0);
    };
    int seen = 0;
    host.RunAndWait([&] {
        manager.SetAttributeMap(Sonar, Request(L"x"), 4, false);
        seen = IntOf(*device, L"answer");
    });
    EXPECT_EQ(seen, 1);
}

TEST_F(HostThreads, ADevicesBlockIsCopiedAndReadOnAnyThread)
{
    Host host(Threading::Threaded);
    auto* device = Add(host);
    std::vector<std::thread> writers;
    for (int writer = 1; writer <= 2; ++writer) {
        writers.emplace_back([device, writer] {
            for (int round = 0; round < 1000; ++round) {
                CDataBlock block;
                block.SetTime(writer);
                block.SetStatus(static_cast<unsigned short>(writer));
                device->DispatchDataBlock(block);
            }
        });
    }
    int torn = 0;
    for (int round = 0; round < 1000; ++round) {
        auto const block = device->GetDataBlock();
        torn += block.GetTime() == block.GetStatus() ? 0 : 1;
    }
    for (auto& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(torn, 0);
    EXPECT_NE(device->GetDataBlock().GetStatus(), 0);
}

TEST_F(HostThreads, ADeviceStaysWhileItsAttributesAreReadElsewhere)
{
    Host host(Threading::Threaded);
    std::atomic<bool> ended{false};
    std::atomic<int> found{0};
    std::thread reader([&] {
        while (!ended) {
            CAttributeMap tree;
            int value = 0;
            if (manager.GetAttributeMap(Sonar, tree) && tree.FindValue(L"x").Get(value)) {
                ++found;
            }
            Subscription subscription;
            subscription.SetMap(manager.GetAttributeSubscriptionMap(Sonar));
            subscription.Subscribe(CString(L"x"));
        }
    });
    CAttributeMap tree;
    tree.Add(L"x", CVordalInt(1));
    for (int round = 0; round < 2000; ++round) {
        host.RunAndWait([&] {
            auto* const device = Add(host);
            host.MergeDecoded(*device, tree);
        });
        host.RunAndWait([&] { host.RemoveAllDevices(); });
    }
    host.RunAndWait([&] { Add(host)->SetAttributeMap(tree, 0); });
    // The one that stays is found at last.
    for (int const before = found; found == before;) {
        std::this_thread::yield();
    }
    ended = true;
    reader.join();
    EXPECT_FALSE(manager.GetAttributeMap(Elsewhere, tree));
}

TEST_F(HostThreads, ThePostedTreeIsTheCallersOfThatMoment)
{
    Host host(Threading::Threaded);
    auto* device = Add(host);
    std::mutex gate;
    std::unique_lock closed(gate);
    host.Post([&] { std::lock_guard const wait(gate); });
    CAttributeMap tree;
    tree.Add(L"x", CVordalInt(1));
    manager.SetAttributeMap(Sonar, tree, 4, false);
    tree.FindCreate(L"x", 0).SetValue(CVordalInt(2));
    closed.unlock();
    host.RunAndWait([] {});
    EXPECT_EQ(IntOf(*device, L"x"), 1);
}

TEST_F(HostThreads, RunAndWaitPassesExceptionsAndPostContainsThem)
{
    std::vector<std::string> lines;
    vordal::SetLogSink([&](vordal::LogLevel, std::string_view line) { lines.emplace_back(line); });
    {
        Host host(Threading::Threaded);
        EXPECT_THROW(host.RunAndWait([] { throw std::invalid_argument("a"); }), std::invalid_argument);
        host.Post([] { throw std::invalid_argument("b"); });
        bool nested = false;
        EXPECT_TRUE(host.RunAndWait([&] { host.RunAndWait([&] { nested = true; }); }));
        EXPECT_TRUE(nested);
    }
    vordal::SetLogSink({});
    EXPECT_EQ(lines, std::vector<std::string>{"a task on the host thread failed: b"});
}

TEST_F(HostThreads, StopRunsWhatIsQueuedAndTakesNoMore)
{
    Host host(Threading::Threaded);
    int ran = 0;
    for (int i = 0; i < 100; ++i) {
        host.Post([&] { ++ran; });
    }
    EXPECT_TRUE(host.Stop());
    EXPECT_EQ(ran, 100);
    EXPECT_FALSE(host.Post([&] { ++ran; }));
    EXPECT_FALSE(host.RunAndWait([&] { ++ran; }));
    EXPECT_TRUE(host.Stop());
    EXPECT_EQ(ran, 100);
}

TEST_F(HostThreads, StopIsBoundedAndThoseWhoWaitGetAnAnswer)
{
    Host host(Threading::Threaded);
    std::mutex gate;
    std::unique_lock closed(gate);
    std::atomic<bool> running{false};
    std::atomic<bool> dropped{false};
    host.Post([&] {
        running = true;
        std::lock_guard const wait(gate);
    });
    while (!running) {
        std::this_thread::yield();
    }
    struct Marker
    {
        explicit Marker(std::atomic<bool>& of) : gone(of) {}
        ~Marker() { gone = true; }
        std::atomic<bool>& gone;
    };
    host.Post([marker = std::make_shared<Marker>(dropped)] {});
    EXPECT_FALSE(host.Stop(std::chrono::milliseconds(1)));
    EXPECT_TRUE(dropped);
    EXPECT_FALSE(host.RunAndWait([] {}));
    closed.unlock();
    EXPECT_TRUE(host.Stop());
}

TEST_F(HostRegisters, OneHostAtATimeAndAFreshOneIsEmpty)
{
    auto host = std::make_unique<Host>();
    EXPECT_THROW(Host(), std::logic_error);
    EXPECT_EQ(&Host::Current(), host.get());
    Add(*host);
    host->AddVessel({});
    CDevList::GetDevList().RegisterDev(L"Kind", new DevCreator<Device>);
    EXPECT_EQ(manager.GetDeviceCount(1), 1);
    host.reset();
    host = std::make_unique<Host>();
    EXPECT_EQ(manager.GetDeviceCount(1), 0);
    EXPECT_EQ(manager.FindDevice(Sonar), nullptr);
    EXPECT_EQ(VesselManager::GetVesselManager().GetNumVessels(), 0);
    EXPECT_EQ(host->MakeDevice(L"Kind"), nullptr);
}

TEST_F(HostRegisters, DevicesAreWalkedByVesselInOrder)
{
    Host host;
    auto* first = Add(host, CDataId(1, 78, 1, 1));
    auto* other = Add(host, CDataId(1, 78, 1, 2));
    auto* second = Add(host, CDataId(1, 40, 2, 1));
    EXPECT_EQ(host.AddDevice(std::make_unique<Device>(), CDataId(1, 40, 2, 1)), nullptr);
    EXPECT_EQ(host.AddDevice(std::make_unique<Device>(), CDataId()), nullptr);
    EXPECT_EQ(manager.GetDeviceCount(1), 2);
    EXPECT_EQ(manager.GetDeviceCount(2), 1);
    EXPECT_EQ(manager.GetDeviceCount(3), 0);
    EXPECT_EQ(manager.GetDevice(0, 1), first);
    EXPECT_EQ(manager.GetDevice(1, 1), second);
    EXPECT_EQ(manager.GetDevice(2, 1), nullptr);
    EXPECT_EQ(manager.GetDevice(-1, 1), nullptr);
    EXPECT_EQ(manager.GetDevice(0, 2), other);
    EXPECT_EQ(manager.GetNextDevice(1), first);
    EXPECT_EQ(manager.GetNextDevice(2), other);
    EXPECT_EQ(manager.GetNextDevice(1), second);
    EXPECT_EQ(manager.GetNextDevice(1), nullptr);
    EXPECT_EQ(manager.GetNextDevice(1), first);
    EXPECT_EQ(host.Devices(), (std::vector<Device*>{first, other, second}));
    EXPECT_TRUE(host.RemoveDevice(first));
    EXPECT_EQ(manager.GetDevice(0, 1), second);
    Device stranger;
    EXPECT_FALSE(host.RemoveDevice(&stranger));
}

TEST_F(HostRegisters, ADeviceIsFoundUnderItsNewNumber)
{
    Host host;
    auto* device = Add(host);
    device->SetDeviceNum(5);
    EXPECT_EQ(manager.FindDevice(Sonar), nullptr);
    EXPECT_EQ(manager.FindDevice(CDataId(1, 78, 5, 1)), device);
    EXPECT_EQ(device->GetBuffer()->GetDataId(), CDataId(1, 78, 5, 1));
}

TEST_F(HostRegisters, PortsListTheirDevices)
{
    vordal::PlainPort port;
    Host host;
    auto* first = Add(host, CDataId(1, 78, 1, 1));
    auto* second = Add(host, CDataId(1, 78, 2, 1));
    first->SetPortName(L"port-1");
    EXPECT_EQ(first->GetPortPtr(), nullptr);
    host.SetPort(*first, &port);
    host.SetPort(*second, &port);
    host.SetPort(*first, &port);
    EXPECT_EQ(first->GetPortPtr(), &port);
    EXPECT_EQ(dynamic_cast<QX5SocketIoHandler*>(first->GetPortPtr()), nullptr);
    EXPECT_EQ(port.GetDeviceCount(), 2);
    EXPECT_EQ(port.GetDevice(0), first);
    EXPECT_EQ(port.GetDevice(1), second);
    EXPECT_EQ(port.GetDevice(2), nullptr);
    EXPECT_EQ(port.GetDevice(-1), nullptr);
    host.SetPort(*first, nullptr);
    EXPECT_EQ(first->GetPortName(), L"port-1");
    EXPECT_EQ(port.GetDeviceCount(), 1);
    host.RemoveDevice(second);
    EXPECT_EQ(port.GetDeviceCount(), 0);
}

TEST_F(HostRegisters, DeviceClasses)
{
    struct Counted : DevICreator
    {
        explicit Counted(int& of) : deleted(of) {}
        ~Counted() override { ++deleted; }
        BaseDevice* MakeDevice() override { return new Scripted; }
        int& deleted;
    };
    Host host;
    auto& list = CDevList::GetDevList();
    int deleted = 0;
    EXPECT_FALSE(list.UnRegisterDev(L"Kind"));
    EXPECT_TRUE(list.RegisterDev(L"Kind", new Counted(deleted)));
    EXPECT_FALSE(list.RegisterDev(L"Kind", new Counted(deleted)));
    EXPECT_EQ(deleted, 1);
    EXPECT_NE(dynamic_cast<Scripted*>(host.MakeDevice(L"Kind").get()), nullptr);
    EXPECT_NE(dynamic_cast<QX5Device*>(host.MakeDevice(L"QX5Device").get()), nullptr);
    EXPECT_NE(host.MakeDevice(L"Device"), nullptr);
    EXPECT_EQ(host.MakeDevice(L"kind"), nullptr);
    EXPECT_TRUE(list.UnRegisterDev(L"Kind"));
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(host.MakeDevice(L"Kind"), nullptr);
}

TEST_F(HostRegisters, ComputationsByVesselLinkAndStream)
{
    Host host;
    auto const make = [&](unsigned short number, unsigned short group, CDataId const& stream) {
        vordal::ComputationSetup setup;
        setup.dataId = CDataId(2, group, number, 1);
        setup.type = 1000 + number;
        setup.linkedDevices = {Sonar};
        setup.attributes.Add(L"source", CVordalDataInfo(Sonar, 65535, 65535));
        setup.stream = stream;
        return host.AddComputation(std::move(setup));
    };
    auto* plain = make(1, 1117, CDataId());
    auto* streaming = make(2, 1112, CDataId(7, 7, 7, 7));
    EXPECT_EQ(manager.GetCompsCount(1), 2);
    EXPECT_EQ(manager.GetCompsCount(2), 0);
    EXPECT_EQ(manager.GetComputation(1, 1), streaming);
    EXPECT_EQ(manager.GetComputation(2, 1), nullptr);
    EXPECT_EQ(manager.FindComputation(CDataId(2, 1117, 1, 1)), plain);
    EXPECT_EQ(plain->GetType(), 1001);
    EXPECT_EQ(manager.GetLinkedComputation(Sonar, 0), plain);
    EXPECT_EQ(manager.GetLinkedComputation(Sonar, 1), streaming);
    EXPECT_EQ(manager.GetLinkedComputation(Sonar, 2), nullptr);
    EXPECT_EQ(manager.GetLinkedComputation(Sonar, -1), nullptr);
    EXPECT_EQ(manager.GetLinkedComputation(Elsewhere, 0), nullptr);
    CDataId stream;
    plain->GetDataSource(stream);
    EXPECT_EQ(stream, CDataId(2, 1117, 1, 1));
    streaming->GetDataSource(stream);
    EXPECT_EQ(stream, CDataId(7, 7, 7, 7));
    CDataInfo source;
    unsigned flags = 0;
    EXPECT_TRUE(plain->GetAttribValue(L"source", source, flags));
    EXPECT_EQ(source.GetDataId(), Sonar);
    EXPECT_FALSE(plain->GetAttribValue(L"absent", source, flags));

    CAttributeMap tree;
    tree.Add(L"x", CVordalInt(4));
    EXPECT_TRUE(manager.SetAttributeMap(CDataId(2, 1117, 1, 1), tree, 15, false));
    EXPECT_FALSE(host.MergeIntoComputation(Elsewhere, tree));
    CAttributeMap read;
    EXPECT_TRUE(manager.GetAttributeMap(CDataId(2, 1117, 1, 1), read));
    EXPECT_TRUE(read.Has(L"x"));
    EXPECT_TRUE(read.Has(L"source"));
}

TEST_F(HostRegisters, Vessels)
{
    Host host;
    auto& vessels = VesselManager::GetVesselManager();
    vordal::VesselSetup setup;
    setup.number = 3;
    setup.name = L"Anna";
    setup.configuration[L"section"][L"item"] = L"text";
    auto* anna = host.AddVessel(setup);
    setup.number = 4;
    setup.name = L"Bertha";
    auto* bertha = host.AddVessel(setup);
    EXPECT_EQ(vessels.GetNumVessels(), 2);
    EXPECT_EQ(vessels.GetVessel(0), anna);
    EXPECT_EQ(vessels.GetVessel(2), nullptr);
    EXPECT_EQ(vessels.GetVessel(-1), nullptr);
    EXPECT_EQ(vessels.GetActiveVesselPtr(), anna);
    host.SelectVessel(4);
    EXPECT_EQ(vessels.GetActiveVesselPtr(), bertha);
    host.SelectVessel(5);
    EXPECT_EQ(vessels.GetActiveVesselPtr(), bertha);
    EXPECT_EQ(vessels.GetVesselName(4), L"Bertha");
    EXPECT_EQ(vessels.GetVesselName(5), L"");
    CString text(L"before");
    EXPECT_FALSE(host.GetVesselItem(3, L"section", L"absent", text));
    EXPECT_FALSE(host.GetVesselItem(9, L"section", L"item", text));
    EXPECT_EQ(text, L"before");
    EXPECT_TRUE(host.GetVesselItem(3, L"section", L"item", text));
    EXPECT_EQ(text, L"text");
}

TEST_F(HostRegisters, AClockThatStandsStill)
{
    vordal::FixedClock clock(1700000000.25);
    Host host;
    host.SetClock(&clock);
    EXPECT_EQ(CExTime::GetCurTime(), 1700000000.25);
    clock.Set(5.0);
    EXPECT_EQ(CExTime::GetCurTime(), 5.0);
    host.SetClock(nullptr);
    EXPECT_GT(CExTime::GetCurTime(), 1600000000.0);
}

TEST_F(HostRegisters, DevicesGoInTheirOrderWhileTheHostStillAnswers)
{
    struct Leaving : Device
    {
        Leaving(std::string& to, std::string with) : told(to), name(std::move(with)) {}
        ~Leaving() override { told += name + std::to_string(DataManager::GetDataManager().GetDeviceCount(1)) + " "; }
        std::string& told;
        std::string name;
    };
    std::string told;
    {
        Host host;
        host.AddDevice(std::make_unique<Leaving>(told, "a"), CDataId(1, 78, 1, 1));
        host.AddDevice(std::make_unique<Leaving>(told, "b"), CDataId(1, 78, 2, 1));
    }
    EXPECT_EQ(told, "a1 b0 ");
}

} // namespace
