// How a project is shared, kept in its file beside what others keep there.
#include "tests/support/temporary_folder.h"
#include "vessel/share_setup.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace qx5::vessel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

ShareSetup Shared()
{
    ShareSetup setup;
    setup.broker = "mqtts://broker.example:8884";
    setup.files = {"/etc/qx5/ca.crt", "/etc/qx5/Vega.crt", "/etc/qx5/Vega.key"};
    setup.group = "north";
    setup.vessel = "Vega";
    setup.primaryHost = "office";
    setup.permissions.roles = {{"otto", authority::Role::Operate}, {"a=b", authority::Role::Watch}};
    setup.permissions.Allow("reboot");
    setup.silence = authority::Silence::Grant;
    setup.history = {"a/b", "c"};
    setup.outboxMegabytes = 5;
    setup.outboxDays = 0.5;
    return setup;
}

TEST(ShareSetupTest, IsKeptInTheProjectBesideWhatOthersKeep)
{
    test::TemporaryFolder const folder("qx5-share");
    auto const file = folder / "survey.qx5";
    {
        vordal::ProjectStore store(file);
        vordal::StoredProject project;
        project.notes[L"share with the moon"] = L"yes";
        project.notes[L"another's"] = L"note";
        PutShareSetup(project, Shared());
        store.Save(project);
    }
    vordal::ProjectStore store(file, vordal::ProjectStore::Missing::Refuse);
    auto project = store.Load();
    std::vector<std::string> problems;
    EXPECT_EQ(ShareSetupIn(project, problems), Shared());
    EXPECT_THAT(problems, ElementsAre(HasSubstr("\"yes\" of how it is shared, \"with the moon\"")));

    PutShareSetup(project, {});
    store.Save(project);
    auto const emptied = store.Load();
    problems.clear();
    EXPECT_EQ(ShareSetupIn(emptied, problems), ShareSetup());
    EXPECT_EQ(emptied.notes.at(L"another's"), CString(L"note"));
    EXPECT_EQ(emptied.notes.at(L"share with the moon"), CString(L"yes"));
}

TEST(ShareSetupTest, TakesARoleThatItDoesNotKnowForTheLeast)
{
    vordal::StoredProject project;
    project.notes[L"share role otto"] = L"supervise";
    project.notes[L"share allow teleport"] = L"yes";
    project.notes[L"share outbox days"] = L"-1";
    std::vector<std::string> problems;
    auto const setup = ShareSetupIn(project, problems);
    EXPECT_EQ(problems.size(), 3U);
    EXPECT_EQ(setup.permissions.Of("otto"), authority::Role::Watch);
    EXPECT_EQ(setup.permissions.Of("ada"), authority::Role::Watch) << "whoever is not named only watches";
    EXPECT_EQ(setup.outboxDays, 30.0);
}

TEST(ShareSetupTest, MakesAVesselsOptionsOrSaysWhatIsMissing)
{
    std::string error;
    auto const options = OptionsOf(Shared(), error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(options->address.Text(), "mqtts://broker.example:8884");
    EXPECT_EQ(options->outbox.greatestBytes, 5U << 20U);
    EXPECT_EQ(options->leases.silence, authority::Silence::Grant);
    auto const fault = [](auto change) {
        auto setup = Shared();
        change(setup);
        std::string why;
        EXPECT_FALSE(OptionsOf(setup, why));
        EXPECT_EQ(why.find('\n'), std::string::npos);
        return why;
    };
    EXPECT_THAT(fault([](auto& setup) { setup.broker = "mqtt://broker.example"; }), HasSubstr("mqtt"));
    EXPECT_EQ(fault([](auto& setup) { setup.group.clear(); }), "the name of the group is empty");
    EXPECT_THAT(fault([](auto& setup) { setup.vessel = "a/b"; }), HasSubstr("has a / in it"));
    EXPECT_THAT(fault([](auto& setup) { setup.primaryHost = "#"; }), HasSubstr("has a # in it"));
    EXPECT_EQ(fault([](auto& setup) { setup.files.key.clear(); }), "a certificate and its key are told together");
}

} // namespace
} // namespace qx5::vessel
