// The guard of those ashore, over a host with the plug-in: who has the lease, who may what, what stays locked.
#include "authority/permissions.h"
#include "operation/operator_desk.h"
#include "tests/plugin/one_sonar.h"

#include <vordalhostdllR/DataManager.h>

namespace qx5::authority {
namespace {

using vordal::OriginScope;
using vordal::RequestOrigin;

class CommandGuardTest : public OneSonar
{
protected:
    CommandGuardTest()
    {
        leases.SetName(id, "Bow");
        desk.SetName(id, "Bow");
        desk.SetFirstGuard(&guard);
        desk.Join(m_host);
    }
    ~CommandGuardTest() override { operation::OperatorDesk::Leave(m_host); }

    void Ask(RequestOrigin who, std::string const& person, AttributeKey const& key, CVordalType const& value)
    {
        CAttributeMap tree;
        tree.Add(L"Request")->Add(key, value);
        OriginScope const scope(who, person);
        DataManager::GetDataManager().SetAttributeMap(id, tree, 4, false);
    }
    /// Why the last request was refused; empty: it was not.
    std::string Refusal(RequestOrigin who, std::string const& person, AttributeKey const& key, CVordalType const& value)
    {
        desk.Events().Take();
        traffic.lines.clear();
        Ask(who, person, key, value);
        auto const content = desk.Events().Take();
        for (auto const& event : content.events) {
            if (event.kind == operation::EventKind::Refused) {
                EXPECT_EQ(traffic.lines, Lines()) << "nothing of what is refused leaves";
                return event.reason;
            }
        }
        EXPECT_NE(traffic.lines, Lines());
        return {};
    }
    std::string Range(RequestOrigin who, std::string const& person)
    {
        return Refusal(who, person, L"x5Range", CVordalDouble(50.0));
    }
    void Lease(std::string_view person)
    {
        std::string reason;
        ASSERT_EQ(leases.Ask(id, person, 600.0, reason), Leases::Asked::Granted) << reason;
    }

    CDataId const id = device->GetDataId();
    double steady = 0.0;
    Leases leases{{}, {[this] { return steady; }, [this] { return 1763688384.0 + steady; }}};
    CommandGuard guard{leases};
    operation::OperatorDesk desk{{.steadyClock = [this] { return steady; }}};
};

TEST_F(CommandGuardTest, LetsTheHolderAskAndNobodyElse)
{
    EXPECT_EQ(Range(RequestOrigin::Ashore, "anna"), "nobody has the lease of Bow: ask for it first");
    Lease("anna");
    EXPECT_EQ(Range(RequestOrigin::Ashore, "anna"), "");
    constexpr char const* hers = "anna has the lease of Bow until 2025-11-21T01:36:24.000Z";
    EXPECT_EQ(Range(RequestOrigin::Ashore, "bert"), hers);
    EXPECT_EQ(Range(RequestOrigin::View, ""), hers);
    EXPECT_EQ(Range(RequestOrigin::Program, ""), hers);
    EXPECT_EQ(Range(RequestOrigin::Program, "anna"), "") << "what the plug-in asks for while it does what she asks for";
    EXPECT_EQ(Range(RequestOrigin::Program, "bert"), hers);
    leases.TakeAboard(id);
    EXPECT_EQ(Range(RequestOrigin::View, ""), "");
    EXPECT_EQ(Range(RequestOrigin::Ashore, "anna"), "aboard has the lease of Bow");
    EXPECT_EQ(Range(RequestOrigin::Ashore, ""), "it does not say who ashore asks for it");
    EXPECT_EQ(Range(RequestOrigin::Ashore, "aboard"), "it does not say who ashore asks for it");
}

TEST_F(CommandGuardTest, WritesWhoAskedIntoTheLog)
{
    class Listener final : public operation::ActionListener
    {
    public:
        std::vector<std::string> who;
        void OnActionStands(operation::Action const& action) override
        {
            who.push_back(std::string(ToText(action.who)) + " " + action.person);
        }
    };
    auto const listener = std::make_shared<Listener>();
    desk.Tap().Set(listener);
    Lease("anna");
    Ask(RequestOrigin::Ashore, "bert", L"x5Range", CVordalDouble(50.0));
    Ask(RequestOrigin::View, "", L"x5Range", CVordalDouble(50.0));
    EXPECT_EQ(listener->who, (Lines{"ashore bert", "view "}));
}

TEST_F(CommandGuardTest, KeepsLockedWhatTheProjectDoesNotAllowByName)
{
    Lease("anna");
    auto const ask = [this](AttributeKey const& key, CVordalType const& value) {
        return Refusal(RequestOrigin::Ashore, "anna", key, value);
    };
    EXPECT_EQ(ask(L"x5PingOnOffState", CVordalInt(1)),
              "locked for those ashore (transmit): x5PingOnOffState=1 switches the pings on");
    EXPECT_EQ(ask(L"x5PingOnOffState", CVordalInt(0)), "") << "off is no harm";
    EXPECT_EQ(ask(L"x5Shutdown", CVordalInt(1)),
              "locked for those ashore (shutdown): x5Shutdown=1 shuts the sonar down");
    EXPECT_EQ(ask(L"x5Reboot", CVordalInt(1)), "locked for those ashore (reboot): x5Reboot=1 restarts the sonar");
    Permissions permissions;
    EXPECT_TRUE(permissions.Allow("transmit"));
    EXPECT_TRUE(permissions.Allow("factory-settings"));
    EXPECT_FALSE(permissions.Allow("Transmit"));
    guard.SetPermissions(permissions);
    EXPECT_EQ(guard.GetPermissions(), permissions);
    EXPECT_EQ(ask(L"x5PingOnOffState", CVordalInt(1)), "");
    EXPECT_EQ(ask(L"x5Reboot", CVordalInt(1)), "locked for those ashore (reboot): x5Reboot=1 restarts the sonar");
    // Both in one request: what is allowed does not bring along what is not.
    CAttributeMap tree;
    auto* const request = tree.Add(L"Request");
    request->Add(L"x5PingOnOffState", CVordalInt(1));
    request->Add(L"x5Reboot", CVordalInt(1));
    traffic.lines.clear();
    {
        OriginScope const scope(RequestOrigin::Ashore, "anna");
        DataManager::GetDataManager().SetAttributeMap(id, tree, 4, false);
    }
    EXPECT_EQ(traffic.lines, Lines());
    desk.Lock().SetLocked(true);
    EXPECT_EQ(ask(L"x5PingOnOffState", CVordalInt(1)),
              "the transmit lock is on: x5PingOnOffState=1 switches the pings on")
        << "the lock aboard is another one";
    leases.TakeAboard(id);
    desk.Lock().SetLocked(false);
    EXPECT_EQ(Refusal(RequestOrigin::View, "", L"x5Reboot", CVordalInt(1)), "") << "aboard is not ashore";
}

TEST_F(CommandGuardTest, LetsWatchersAskForNothing)
{
    Permissions permissions;
    EXPECT_EQ(permissions.Of("anyone"), Role::Operate) << "whom the broker lets through";
    permissions.roles = {{"anna", Role::Operate}, {"bert", Role::Watch}, {"dora", Role::Administrate}};
    EXPECT_EQ(permissions.Of("carl"), Role::Watch);
    EXPECT_EQ(permissions.Of(Unnamed), Role::Operate) << "dora's";
    permissions.roles.erase("dora");
    EXPECT_EQ(permissions.Of(Unnamed), Role::Watch) << "the broker's only administrator is none here";
    permissions.roles["dora"] = Role::Administrate;
    guard.SetPermissions(permissions);
    Lease("bert");
    EXPECT_EQ(Range(RequestOrigin::Ashore, "bert"), "bert may watch, and ask for nothing");
    leases.Gone("bert");
    for (std::string const name : {"anna", "dora"}) {
        Lease(name);
        EXPECT_EQ(Range(RequestOrigin::Ashore, name), "");
        leases.Gone(name);
    }
    for (Role const role : {Role::Watch, Role::Operate, Role::Administrate}) {
        EXPECT_EQ(RoleOf(ToText(role)), role);
    }
    EXPECT_EQ(RoleOf("Watch"), std::nullopt);
}

TEST_F(CommandGuardTest, HoldsNothingForLaterThatSomebodyAshoreAskedFor)
{
    traffic.connected = false;
    Ask(RequestOrigin::View, "", L"x5Range", CVordalDouble(60.0));
    EXPECT_EQ(desk.Held().Count(id), 1U);
    desk.Held().Drop(id);
    leases.GiveBack(id, Aboard);
    Lease("anna");
    Ask(RequestOrigin::Ashore, "anna", L"x5Range", CVordalDouble(50.0));
    EXPECT_EQ(desk.Held().Count(id), 0U);
}

} // namespace
} // namespace qx5::authority
