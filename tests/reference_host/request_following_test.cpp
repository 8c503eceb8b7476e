// Who asks, who may refuse, and what whoever follows requests is told of them.
#include "scripted_device.h"

#include <reference_host/common/host_observer.h>
#include <reference_host/common/request_guard.h>
#include <reference_host/common/request_observer.h>
#include <reference_host/core/host.h>

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalAttributesR/CVordalType.h>
#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/DataManager.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

using vordal::Host;
using vordal::OriginScope;
using vordal::RequestOrigin;
using vordal::Threading;
using vordal::test::Scripted;

CDataId const Sonar(1, 78, 1, 1);
CDataId const Other(1, 78, 2, 1);

CAttributeMap One(AttributeKey const& key, double value)
{
    CAttributeMap tree;
    tree.Add(key, CVordalDouble(value));
    return tree;
}

CAttributeMap Request(AttributeKey const& key, double value = 50.0)
{
    CAttributeMap tree;
    *tree.Add(L"Request") = One(key, value);
    return tree;
}

std::string FirstKey(CAttributeMap const& tree)
{
    return tvcore::ToUtf8(CString(tree.GetChild(0).KeyText()));
}

/// Writes down what it is told, one line each.
class Follower final : public vordal::RequestObserver
{
public:
    std::string told;

    void OnRequest(BaseDevice& device, CAttributeMap const& request, RequestOrigin who) override
    {
        double stored = 0.0;
        unsigned flags = 0;
        device.GetAttribValue(L"x", stored, flags);
        told += "asked " + FirstKey(request) + " by " + std::string(ToText(who)) + ", x was " +
                std::to_string(static_cast<int>(stored)) + "\n";
    }
    void OnRequestEnd(BaseDevice&, std::string const* failure) override
    {
        told += failure != nullptr ? "broken off: " + *failure + "\n" : "done\n";
    }
    void OnRequestRefused(BaseDevice&, CAttributeMap const& request, RequestOrigin who,
                          std::string const& reason) override
    {
        told += "refused " + FirstKey(request) + " of " + std::string(ToText(who)) + ": " + reason + "\n";
    }
    void OnSend(vordal::SendMark const& mark, std::span<unsigned char const> payload, bool taken) override
    {
        told += "sent " + std::to_string(mark.record) + ", " + std::to_string(payload.size()) + " bytes" +
                (taken ? "\n" : ", not taken\n");
    }
    void OnEcho(BaseDevice&, CAttributeMap const& tree, unsigned flags) override
    {
        told += "echo " + FirstKey(tree) + ", flags " + std::to_string(flags) + "\n";
    }
    void OnDropped(BaseDevice&, AttributeKey const& asked, AttributeKey const& missing) override
    {
        told += "dropped " + tvcore::ToUtf8(asked.ToString()) + " for " + tvcore::ToUtf8(missing.ToString()) + "\n";
    }
    void OnTold(BaseDevice& device, CAttributeMap const& tree) override
    {
        CAttributeMap stored;
        device.GetAttributeMap(stored);
        told += "told " + FirstKey(tree) + (stored.Has(L"y") ? ", y there\n" : "\n");
    }
    void OnWritten(BaseDevice& device, CAttributeMap const& tree) override
    {
        CAttributeMap stored;
        device.GetAttributeMap(stored);
        told += "written " + FirstKey(tree) + (stored.Has(L"v") ? ", v there\n" : "\n");
    }
    void OnChanged(CDataId const& sonar) override
    {
        CAttributeMap stored;
        DataManager::GetDataManager().GetAttributeMap(sonar, stored);
        changed += tvcore::ToUtf8(sonar.GetKey()) + " has";
        for (CAttributeMap const& child : stored) {
            changed += " " + tvcore::ToUtf8(child.GetKey());
        }
        changed += "\n";
    }
    std::string changed;
};

class Guard final : public vordal::RequestGuard
{
public:
    bool Admits(BaseDevice&, CAttributeMap const& request, RequestOrigin, std::string& reason) override
    {
        if (!request.Has(L"locked")) {
            return true;
        }
        reason = "it is locked";
        return false;
    }
};

class FollowedRequests : public ::testing::Test
{
protected:
    Scripted* Add(Host& host, CDataId const& id = Sonar)
    {
        return static_cast<Scripted*>(host.AddDevice(std::make_unique<Scripted>(), id, L"Sonar"));
    }
    bool Ask(AttributeKey const& key) { return manager.SetAttributeMap(Sonar, Request(key), 4, false); }

    DataManager& manager = DataManager::GetDataManager();
    Follower follower;
};

TEST_F(FollowedRequests, AreToldFromTheAskingToTheEnd)
{
    Host host;
    host.SetRequestObserver(&follower);
    auto* const device = Add(host);
    host.ReplaceAttributes(*device, One(L"x", 7.0));
    unsigned char const payload[] = {1, 2, 3, 4};
    device->onRequest = [&](CAttributeMap*) {
        device->SendRemoteControlRecord(1003, payload, 4, 0, -1);
        device->SendMessageW(std::string("abc"), false);
        device->ReportDroppedRequest(L"z", L"y");
        device->SetAttributeMap(One(L"x", 50.0), 15);
    };
    Ask(L"x");
    EXPECT_EQ(follower.told, "asked x by program, x was 7\n"
                             "sent 1003, 4 bytes, not taken\n"
                             "sent 0, 0 bytes, not taken\n"
                             "dropped z for y\n"
                             "echo x, flags 15\n"
                             "done\n");
    follower.told.clear();
    host.MergeDecoded(*device, One(L"y", 1.0));
    EXPECT_EQ(follower.told, "told y\n") << "before it is merged";
    follower.told.clear();
    // Of a tree with a request beside other things the request comes first, and is no part of what is written.
    CAttributeMap both = One(L"v", 1.0);
    *both.Add(L"Request") = One(L"x", 50.0);
    device->onRequest = {};
    manager.SetAttributeMap(Sonar, both, 4, false);
    EXPECT_EQ(follower.told, "asked x by program, x was 50\ndone\nwritten v\n") << "before it is merged";
    follower.told.clear();
    host.SetRequestObserver(nullptr);
    Ask(L"x");
    EXPECT_EQ(follower.told, "");
}

TEST_F(FollowedRequests, AChangeIsToldOnceTheTreeHasIt)
{
    Host host;
    host.SetRequestObserver(&follower);
    auto* const device = Add(host);
    host.MergeDecoded(*device, One(L"y", 1.0));
    EXPECT_EQ(follower.changed, "1.78.1.1 has y\n");
    device->SetAttributeMap(One(L"x", 1.0), 0);
    device->AppendAttributeMap(One(L"z", 1.0), 0);
    EXPECT_EQ(follower.changed, "1.78.1.1 has y\n1.78.1.1 has y x\n1.78.1.1 has y x z\n");
    device->SetAttributeMap({}, 0);
    EXPECT_EQ(follower.changed, "1.78.1.1 has y\n1.78.1.1 has y x\n1.78.1.1 has y x z\n") << "nothing was written";
}

TEST_F(FollowedRequests, EndWhenTheyAreBrokenOffAndWhenTheExceptionPasses)
{
    Host host;
    host.SetRequestObserver(&follower);
    Add(host)->onRequest = [](CAttributeMap*) { throw std::invalid_argument("no number"); };
    Ask(L"x");
    EXPECT_EQ(follower.told, "asked x by program, x was 0\nbroken off: no number\n");
    follower.told.clear();
    host.SetRequestFailures(vordal::RequestFailures::Pass);
    EXPECT_THROW(Ask(L"x"), std::invalid_argument);
    EXPECT_EQ(follower.told, "asked x by program, x was 0\nbroken off: no number\n");
}

TEST_F(FollowedRequests, AGuardRefusesThemBeforeAnythingIsDone)
{
    class Watcher final : public vordal::HostObserver
    {
    public:
        std::string refused;

    private:
        void OnRequestRefused(BaseDevice& device, CAttributeMap const& request, RequestOrigin who,
                              std::string const& reason) override
        {
            refused += tvcore::ToUtf8(device.GetDataId().GetKey()) + " " + FirstKey(request) + " " +
                       std::string(ToText(who)) + " " + reason;
        }
    } watcher;
    Host host;
    Guard guard;
    host.SetObserver(&watcher);
    host.SetRequestObserver(&follower);
    host.SetRequestGuard(&guard);
    int ran = 0;
    Add(host)->onRequest = [&](CAttributeMap*) { ++ran; };
    OriginScope const scope(RequestOrigin::Undo);
    Ask(L"locked");
    EXPECT_EQ(ran, 0);
    EXPECT_EQ(watcher.refused, "1.78.1.1 locked undo it is locked");
    EXPECT_EQ(follower.told, "refused locked of undo: it is locked\n");
    Ask(L"x");
    host.SetRequestGuard(nullptr);
    Ask(L"locked");
    EXPECT_EQ(ran, 2);
    host.SetObserver(nullptr);
}

TEST_F(FollowedRequests, KeepTheirOriginOnTheWayToTheHostThread)
{
    Host host(Threading::Threaded);
    host.SetRequestObserver(&follower);
    Add(host);
    {
        OriginScope const outer(RequestOrigin::Preset);
        {
            OriginScope const inner(RequestOrigin::CommandLine);
            Ask(L"a");
        }
        Ask(L"b");
    }
    Ask(L"c");
    host.RunAndWait([&] {
        OriginScope const scope(RequestOrigin::Terminal);
        Ask(L"d");
    });
    ASSERT_TRUE(host.Stop());
    EXPECT_EQ(follower.told, "asked a by command line, x was 0\ndone\nasked b by preset, x was 0\ndone\n"
                             "asked c by program, x was 0\ndone\nasked d by terminal, x was 0\ndone\n");
}

TEST_F(FollowedRequests, KeepThePersonOnWhoseBehalfTheyAre)
{
    class Listener final : public vordal::RequestGuard
    {
    public:
        std::string told; ///< the host thread's until it has stopped

    private:
        bool Admits(BaseDevice& device, CAttributeMap const&, RequestOrigin who, std::string&) override
        {
            told += tvcore::ToUtf8(device.GetDataId().GetKey()) + " " + std::string(ToText(who)) + " of \"" +
                    vordal::CurrentPerson() + "\"\n";
            return true;
        }
    } listener;
    Host host(Threading::Threaded);
    host.SetRequestGuard(&listener);
    auto* const inner = Add(host, Other);
    inner->onRequest = [](CAttributeMap*) {};
    auto* const outer = Add(host);
    outer->onRequest = [](CAttributeMap*) {
        DataManager::GetDataManager().SetAttributeMap(Other, Request(L"b"), 4, false);
    };
    {
        OriginScope const scope(RequestOrigin::Ashore, "anna");
        Ask(L"a");
        {
            OriginScope const another(RequestOrigin::Ashore, "bert");
            Ask(L"a");
        }
        OriginScope const same(RequestOrigin::Undo);
        EXPECT_EQ(vordal::CurrentPerson(), "anna");
    }
    Ask(L"a");
    EXPECT_EQ(vordal::CurrentPerson(), "");
    ASSERT_TRUE(host.Stop());
    EXPECT_EQ(listener.told, "1.78.1.1 ashore of \"anna\"\n1.78.2.1 program of \"anna\"\n"
                             "1.78.1.1 ashore of \"bert\"\n1.78.2.1 program of \"bert\"\n"
                             "1.78.1.1 program of \"\"\n1.78.2.1 program of \"\"\n");
}

TEST_F(FollowedRequests, OfTheWindowThreadAreTheViewsAndOfThePlugInItsOwn)
{
    Host host(Threading::Threaded);
    host.SetRequestObserver(&follower);
    auto* const inner = Add(host, Other);
    Add(host)->onRequest = [&](CAttributeMap* request) {
        if (request->Has(L"a")) {
            manager.SetAttributeMap(Other, Request(L"inner"), 4, false);
        }
    };
    ASSERT_NE(inner, nullptr);
    std::thread([&] {
        host.SetWindowThread({});
        Ask(L"a");
        host.EndWindowThread();
        Ask(L"b");
    }).join();
    ASSERT_TRUE(host.Stop());
    EXPECT_EQ(follower.told, "asked a by view, x was 0\nasked inner by program, x was 0\ndone\ndone\n"
                             "asked b by program, x was 0\ndone\n");
}

} // namespace
