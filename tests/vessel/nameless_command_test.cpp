// Commands of programs that tell no name (DCMD), through a real broker that goes by its access file.
#include "vessel_stage.h"

#include "authority/broker_access.h"

#include <protocol/records/all.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

std::wstring_view const range = protocol::keys::x5Range.text;

/// A broker with the access file of a plan.
class NamelessCommandTest : public ::testing::Test
{
protected:
    NamelessCommandTest()
    {
        broker.Certificates().Make("Vega");
        broker.Certificates().Make("ada");
    }

    static TestBrokerOptions WithAccess(TemporaryFolder const& folder)
    {
        authority::BrokerPlan plan;
        plan.group = "north";
        plan.vessels = {"Vega"};
        plan.persons = {{"watcher", authority::Role::Watch},
                        {"operator", authority::Role::Operate},
                        {"ada", authority::Role::Administrate}};
        std::ofstream(folder / "access") << authority::AccessText(plan);
        TestBrokerOptions options;
        options.moreConfiguration = "acl_file " + (folder / "access").string() + "\n";
        return options;
    }
    void Begin(std::map<std::string, authority::Role, std::less<>> roles)
    {
        stage.Begin([&](vessel::VesselOptions& options) {
            options.files = broker.Files("Vega");
            options.permissions.roles = std::move(roles);
        });
    }
    std::unique_ptr<Shore> Arrive(std::string const& person)
    {
        auto shore = std::make_unique<Shore>(broker.Secure(), broker.Files(person), person);
        EXPECT_TRUE(shore->WaitForLine());
        shore->Line().Publish(
            {"spBv1.0/north/NCMD/Vega", sparkplug::MakeRebirth({"north", "Vega", {}}, 1).payload, 0, false});
        EXPECT_TRUE(shore->Wait([&] {
            auto const* const seen = Alive(*shore, "Bow");
            return seen != nullptr && authority::LinkIn(seen->reserved) == authority::SonarLink::Connected;
        }));
        return shore;
    }
    /// As any program that speaks Sparkplug does it. With QoS 1, so that the broker has judged it once it says so.
    static void Command(Shore& shore, double value)
    {
        std::string error;
        auto const command =
            sparkplug::MakeCommand({"north", "Vega", "Bow"}, {{protocol::EncodeUtf8(range), value}}, 5, error);
        ASSERT_TRUE(command) << error;
        ASSERT_TRUE(shore.Line().Publish({command->topic, command->payload, 1, false}));
    }
    static std::string Holder(Shore& shore)
    {
        auto const* const bow = Alive(shore, "Bow");
        return bow != nullptr ? authority::LeaseIn(bow->reserved).holder : std::string();
    }

    TemporaryFolder const folder{"qx5-access"};
    TestBroker broker{WithAccess(folder)};
    VesselStage stage{broker};
};

TEST_F(NamelessCommandTest, ReachesTheSonarFromAnAdministratorAlone)
{
    Begin({});
    auto const watcher = Arrive("watcher");
    auto const otto = Arrive("operator");
    auto const ada = Arrive("ada");
    Command(*watcher, 61.0);
    Command(*otto, 62.0);
    // What each says next comes behind it, and the vessel has heard that.
    std::string error;
    for (Shore* const each : {watcher.get(), otto.get()}) {
        ASSERT_TRUE(each->Say(authority::ShoreSubject::Look, "Bow",
                              *authority::Encode(authority::LookMessage{5, 1, false}, error)));
        ASSERT_TRUE(each->Wait([&] { return !each->looks.empty(); }));
    }
    stage.Settle();
    ada->Look([&] {
        EXPECT_EQ(Holder(*ada), "") << "nobody has commanded";
        return 0;
    });
    Command(*ada, 63.0);
    ASSERT_TRUE(ada->Wait([&] { return ValueOf(*ada, "Bow", range) == 63.0; }));
    ASSERT_TRUE(ada->Wait([&] { return Holder(*ada) == "Sparkplug"; }));
}

TEST_F(NamelessCommandTest, IsTakenWhereTheProjectNamesAnAdministrator)
{
    Begin({{"ada", authority::Role::Administrate}, {"operator", authority::Role::Operate}});
    auto const ada = Arrive("ada");
    Command(*ada, 63.0);
    EXPECT_TRUE(ada->Wait([&] { return ValueOf(*ada, "Bow", range) == 63.0; }));
}

TEST_F(NamelessCommandTest, IsRefusedWhereTheProjectNamesPersonsButNoAdministrator)
{
    Begin({{"operator", authority::Role::Operate}});
    auto const ada = Arrive("ada");
    Command(*ada, 63.0);
    ASSERT_TRUE(ada->Wait([&] {
        return std::any_of(ada->kept.begin(), ada->kept.end(), [](auto const& entry) {
            auto const* const text = std::get_if<authority::HistoryText>(&entry.second);
            return text != nullptr && text->text.find("Sparkplug may watch, and ask for nothing") != std::string::npos;
        });
    }));
    ada->Look([&] {
        EXPECT_NE(ValueOf(*ada, "Bow", range), 63.0);
        return 0;
    });
}

} // namespace
} // namespace qx5::test
