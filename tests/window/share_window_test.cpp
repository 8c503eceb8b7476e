// Tests of a project that is shared from its window, at a real broker: seen and commanded from ashore, taken back
// aboard, and what stands in the way.
#include "live_stage.h"
#include "test_broker.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/project_menu.h>
#include <cli/window/project_share.h>
#include <cli/window/share_bar.h>
#include <cli/window/share_dialog.h>
#include <fleet/fleet.h>
#include <reference_host/attributes/host_keys.h>

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/all.h>
#include <vordalhostdllR/DataManager.h>

#include <QAction>
#include <QLineEdit>
#include <QPushButton>
#include <QToolBar>

#include <filesystem>
#include <fstream>
#include <future>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using namespace std::chrono_literals;
namespace keys = protocol::keys;
using fleet::Freshness;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

fleet::Place const hullAshore{"vessel", "Hull sonar"};

CAttributeMap Range(double range)
{
    CAttributeMap tree;
    tree.Add(AttributeKey(keys::x5Range.text), CVordalDouble(range));
    return tree;
}

std::string Named(QString const& name)
{
    return name.toStdString();
}

/// The stage with a project, a menu, the bar and the dialog of `qx5 run`.
class SharedWindow : public ::testing::Test
{
protected:
    void Begin(std::filesystem::path const& project)
    {
        stage = std::make_unique<Stage>(project.string());
        share = std::make_unique<cli::ProjectShare>(stage->session, "1.2.3");
        menu = std::make_unique<cli::ProjectMenu>(stage->session, *stage->window, next);
        bar = std::make_unique<cli::ShareBar>(stage->session, *share, *stage->window, stage->panes->SonarMenu());
        dialog = std::make_unique<cli::ShareDialog>(*share, stage->window.get());
        menu->AddShare([this] { dialog->show(); });
        ASSERT_TRUE(RunUntil([this] { return stage->IsReady(); }));
        Action("shareProject").trigger();
        ASSERT_TRUE(dialog->isVisible());
    }
    void TearDown() override
    {
        dialog.reset();
        bar.reset();
        menu.reset();
        share.reset();
        stage.reset();
    }
    void End()
    {
        dialog.reset();
        bar.reset();
        menu.reset();
        share.reset();
        stage->End();
        stage.reset(); // a process has one host at a time
    }

    QAction& Action(char const* name) const { return *stage->window->findChild<QAction*>(QString::fromLatin1(name)); }
    std::string Text(char const* label) const
    {
        return Named(stage->window->findChild<QLabel*>(QString::fromLatin1(label))->text());
    }
    bool IsBarVisible() const { return stage->window->findChild<QToolBar*>(QStringLiteral("share"))->isVisible(); }
    QLineEdit& Field(char const* name) const { return *dialog->findChild<QLineEdit*>(QString::fromLatin1(name)); }
    QPushButton& Button(char const* name) const { return *dialog->findChild<QPushButton*>(QString::fromLatin1(name)); }
    std::string State() const { return Named(dialog->findChild<QLabel*>(QStringLiteral("shareState"))->text()); }
    bool WaitForState(std::string const& text)
    {
        bool const isThere = RunUntil([&] { return State() == text; });
        EXPECT_EQ(State(), text);
        return isThere;
    }
    void Enter(std::string const& broker, broker::CertificateFiles const& files, std::string const& group = "north",
               std::string const& vessel = "vessel")
    {
        auto const type = [this](char const* name, std::string const& text) {
            Field(name).setText(QString::fromStdString(text));
        };
        type("shareBroker", broker);
        type("shareAuthority", files.authority.string());
        type("shareCertificate", files.certificate.string());
        type("shareKey", files.key.string());
        type("shareGroup", group);
        type("shareVessel", vessel);
    }
    void ShareAt(TestBroker const& server, std::string const& who = "vessel")
    {
        Enter(server.Secure().Text(), server.Files(who));
        Button("shareBegin").click();
    }
    void Ask(double range) const
    {
        CAttributeMap tree;
        *tree.Add(vordal::keys::Request) = Range(range);
        DataManager::GetDataManager().SetAttributeMap(hull, tree, 4, false);
    }
    double RangeOfHull() const
    {
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(hull, tree);
        double range = 0.0;
        tree.FindValue(AttributeKey(keys::x5Range.text)).Get(range);
        return range;
    }
    /// What the project file says of it.
    static vessel::ShareSetup KeptIn(std::filesystem::path const& file)
    {
        std::vector<std::string> problems;
        auto const setup =
            vessel::ShareSetupIn(vordal::ProjectStore(file, vordal::ProjectStore::Missing::Refuse).Load(), problems);
        EXPECT_TRUE(problems.empty());
        return setup;
    }

    TemporaryFolder const folder;
    cli::NextSession next;
    std::unique_ptr<Stage> stage;
    std::unique_ptr<cli::ProjectShare> share;
    std::unique_ptr<cli::ProjectMenu> menu;
    std::unique_ptr<cli::ShareBar> bar;
    std::unique_ptr<cli::ShareDialog> dialog;
};

/// Somebody ashore.
class SomebodyAshore
{
public:
    SomebodyAshore(TestBroker const& server, std::string const& who) : fleet(OptionsOf(server, who), {})
    {
        fleet.Start();
    }

    bool Sees(Freshness freshness, fleet::Place const& place = hullAshore) const
    {
        return RunUntil([&] {
            auto const sonar = fleet.Sonar(place);
            return sonar && sonar->freshness == freshness;
        });
    }
    bool SeesHolder(std::string const& holder) const
    {
        return RunUntil([&] { return fleet.Sonar(hullAshore)->lease.holder == holder; });
    }
    authority::RequestReply Request(double range)
    {
        auto const told = std::make_shared<std::promise<authority::RequestReply>>();
        auto reply = told->get_future();
        fleet.Request(hullAshore, Range(range), 30.0,
                      [told](authority::RequestReply const& answer) { told->set_value(answer); });
        EXPECT_TRUE(RunUntil([&] { return reply.wait_for(0s) == std::future_status::ready; }));
        return reply.get();
    }
    void AskLease(authority::LeaseVerb verb)
    {
        fleet.AskLease(hullAshore, {verb, 60.0, {}}, 30.0, [](authority::LeaseReply const&) {});
    }

    fleet::Fleet fleet;

private:
    static fleet::FleetOptions OptionsOf(TestBroker const& server, std::string const& who)
    {
        fleet::FleetOptions options;
        options.line.address = server.Secure();
        options.line.files = server.Files(who);
        options.group = "north";
        options.person = who;
        return options;
    }
};

TEST_F(SharedWindow, IsSeenAndCommandedFromAshoreAndTakenBackAboard)
{
    TestBroker server;
    Begin(folder / "survey.qx5");
    EXPECT_FALSE(IsBarVisible());
    EXPECT_FALSE(Action("takeLease").isVisible());
    EXPECT_EQ(State(), "Not shared.");
    ShareAt(server);
    auto const shared = "Shared by " + server.Secure().Text() + " as north/vessel";
    ASSERT_TRUE(WaitForState(shared));
    EXPECT_TRUE(RunUntil([&] { return IsBarVisible() && Text("shareState") == shared; }));
    EXPECT_TRUE(RunUntil([&] { return Text("shareLease") == "Hull sonar: nobody commands"; }));

    SomebodyAshore otto(server, "operator");
    ASSERT_TRUE(otto.Sees(Freshness::Current));
    EXPECT_TRUE(otto.Sees(Freshness::Current, {"vessel", "Pole sonar"}));
    EXPECT_TRUE(otto.Sees(Freshness::Current, {"vessel", "ROV sonar"}));
    otto.AskLease(authority::LeaseVerb::Take);
    ASSERT_TRUE(RunUntil([&] { return Text("shareLease").starts_with("Hull sonar: operator commands until "); }));
    EXPECT_TRUE(stage->WaitForEvent("operator commands it from ashore"));
    EXPECT_EQ(otto.Request(80).outcome, "agrees");
    EXPECT_TRUE(RunUntil([&] { return RangeOfHull() == 80; }));

    // Aboard nothing is done against the holder, and it is told.
    Ask(60);
    EXPECT_TRUE(stage->WaitForEvent("operator"));
    EXPECT_EQ(RangeOfHull(), 80);
    ASSERT_TRUE(Action("takeLease").isEnabled());
    EXPECT_FALSE(Action("giveLeaseBack").isEnabled());
    Action("takeLease").trigger();
    ASSERT_TRUE(RunUntil([&] { return Text("shareLease") == "Hull sonar: you command"; }));
    EXPECT_TRUE(stage->WaitForEvent("operator does not command it any more"));
    EXPECT_FALSE(Action("takeLease").isEnabled());
    EXPECT_TRUE(otto.SeesHolder("aboard"));
    Ask(60);
    EXPECT_TRUE(RunUntil([&] { return RangeOfHull() == 60; }));
    auto const refused = otto.Request(90);
    EXPECT_EQ(refused.outcome, "refused");
    EXPECT_THAT(refused.reason, HasSubstr("aboard"));

    // Whoever asks is told aboard, and answered.
    EXPECT_FALSE(Action("grantLease").isEnabled());
    otto.AskLease(authority::LeaseVerb::Take);
    ASSERT_TRUE(stage->WaitForEvent("operator asks to command it from ashore"));
    EXPECT_THAT(Text("shareLease"), StartsWith("Hull sonar: you command; operator asks, to be answered by "));
    Action("refuseLease").trigger();
    ASSERT_TRUE(RunUntil([&] { return Text("shareLease") == "Hull sonar: you command"; }));
    otto.AskLease(authority::LeaseVerb::Take);
    ASSERT_TRUE(RunUntil([&] { return Action("grantLease").isEnabled(); }));
    Action("grantLease").trigger();
    ASSERT_TRUE(RunUntil([&] { return Text("shareLease").starts_with("Hull sonar: operator commands until "); }));
    Action("takeLease").trigger();
    ASSERT_TRUE(RunUntil([&] { return Action("giveLeaseBack").isEnabled(); }));
    Action("giveLeaseBack").trigger();
    EXPECT_TRUE(RunUntil([&] { return Text("shareLease") == "Hull sonar: nobody commands"; }));

    Button("shareEnd").click();
    EXPECT_TRUE(otto.Sees(Freshness::Gone));
    EXPECT_TRUE(RunUntil([&] { return !IsBarVisible(); }));
    EXPECT_EQ(State(), "Not shared.");
    EXPECT_FALSE(Action("takeLease").isVisible());
    Ask(70);
    EXPECT_TRUE(RunUntil([&] { return RangeOfHull() == 70; })) << "nobody has to be asked any more";
}

TEST_F(SharedWindow, TheProjectKeepsHowItIsShared)
{
    TestBroker server;
    auto const file = folder / "survey.qx5";
    Begin(file);
    ShareAt(server);
    ASSERT_TRUE(WaitForState("Shared by " + server.Secure().Text() + " as north/vessel"));
    EXPECT_TRUE(Field("shareBroker").isReadOnly());
    EXPECT_FALSE(Button("shareBegin").isEnabled());
    // At once, and not only at the end.
    EXPECT_TRUE(RunUntil([&] { return KeptIn(file).broker == server.Secure().Text(); }));
    End(); // while it is shared
    auto const kept = KeptIn(file);
    EXPECT_EQ(kept.group, "north");
    EXPECT_EQ(kept.vessel, "vessel");
    EXPECT_EQ(kept.files.authority, server.Files("vessel").authority);
    EXPECT_EQ(kept.files.certificate, server.Files("vessel").certificate);
    EXPECT_EQ(kept.files.key, server.Files("vessel").key);
    EXPECT_TRUE(std::filesystem::exists(folder / "survey.qx5.outbox"));

    Begin(file);
    EXPECT_FALSE(IsBarVisible()) << "nobody is let in unasked";
    EXPECT_EQ(Field("shareBroker").text().toStdString(), server.Secure().Text());
    EXPECT_EQ(Field("shareVessel").text(), QStringLiteral("vessel"));
    Button("shareBegin").click();
    EXPECT_TRUE(WaitForState("Shared by " + server.Secure().Text() + " as north/vessel"));
}

TEST_F(SharedWindow, WithoutAProjectItSaysWhatToDo)
{
    TestBroker server;
    Begin({});
    ShareAt(server);
    EXPECT_EQ(State(),
              "Not shared: save the project first (Project, Save as): what waits for those ashore lies beside it");
    EXPECT_FALSE(IsBarVisible());
}

TEST_F(SharedWindow, WhatIsMissingOrNoGoodIsOneLineAndTheProjectStaysAsItWas)
{
    TestBroker server;
    auto const file = folder / "survey.qx5";
    Begin(file);
    auto const good = server.Files("vessel");
    auto const press = [this](auto const&... entered) {
        Enter(entered...);
        Button("shareBegin").click();
    };
    press("", good);
    EXPECT_EQ(State(), "Not shared: the broker is missing, as mqtts://HOST:PORT");
    press("shore.example", good);
    EXPECT_EQ(State(), "Not shared: shore.example is no broker: it begins neither with mqtts:// nor with mqtt://");
    press(server.Secure().Text(), good, "");
    EXPECT_THAT(State(), StartsWith("Not shared: "));
    press(server.Secure().Text(), good, "north", "Ve/ga");
    EXPECT_THAT(State(), AllOf(StartsWith("Not shared: "), HasSubstr("Ve/ga")));
    auto files = good;
    files.authority = folder / "nowhere.pem";
    press(server.Secure().Text(), files);
    EXPECT_TRUE(WaitForState("Not shared: " + files.authority.string() + " cannot be read: No such file or directory"));
    EXPECT_TRUE(stage->WaitForEvent("the project is not shared: "));
    files = good;
    files.key = server.Files("operator").key;
    press(server.Secure().Text(), files);
    EXPECT_TRUE(RunUntil([&] {
        return State().starts_with("Not shared: " + files.key.string() + " holds no key of the certificate ");
    })) << State();
    EXPECT_TRUE(Button("shareBegin").isEnabled()) << "it can be put right";
    // An outbox that is none is left as it is.
    {
        std::ofstream(folder / "survey.qx5.outbox") << "not an outbox, and somebody's";
        press(server.Secure().Text(), good);
        EXPECT_TRUE(RunUntil([&] { return State().find("survey.qx5.outbox") != std::string::npos; })) << State();
        EXPECT_THAT(State(), StartsWith("Not shared: "));
        EXPECT_EQ(std::filesystem::file_size(folder / "survey.qx5.outbox"), 29U);
        std::filesystem::remove(folder / "survey.qx5.outbox");
    }
    EXPECT_FALSE(IsBarVisible());
    EXPECT_TRUE(stage->IsConnected(hull));
    End();
    EXPECT_EQ(KeptIn(file).broker, "");
}

TEST_F(SharedWindow, ALineThatDoesNotComeAboutSaysWhyAndIsTriedAgain)
{
    TestBroker server;
    Begin(folder / "survey.qx5");
    auto const place = server.Secure().Place();
    auto const before = "NOT CONNECTED to " + server.Secure().Text() + " as north/vessel: ";
    ShareAt(server, "foreign");
    ASSERT_TRUE(WaitForState(before + place + " refuses us: it does not know who signed our certificate"));
    EXPECT_TRUE(IsBarVisible());
    EXPECT_TRUE(RunUntil([&] { return Text("shareState") == State(); }));
    EXPECT_TRUE(
        stage->WaitForEvent(place + " refuses us: it does not know who signed our certificate; it is tried again"));
    Button("shareEnd").click();
    ASSERT_TRUE(RunUntil([&] { return Button("shareBegin").isEnabled(); }));

    ShareAt(server, "expired");
    EXPECT_TRUE(RunUntil([&] { return State().find("expired on 20") != std::string::npos; })) << State();
    Button("shareEnd").click();

    // A sonar's own port is no broker.
    auto const sonar = "127.0.0.1:" + std::to_string(stage->sonars[2].Port());
    Enter("mqtt://" + sonar, {});
    Button("shareBegin").click();
    EXPECT_TRUE(WaitForState("NOT CONNECTED to mqtt://" + sonar + " as north/vessel: what answers at " + sonar +
                             " does not answer as a broker"));
    Button("shareEnd").click();

    auto const nobody = "127.0.0.1:" + std::to_string(FreePort());
    Enter("mqtt://" + nobody, {});
    Button("shareBegin").click();
    EXPECT_TRUE(WaitForState("NOT CONNECTED to mqtt://" + nobody + " as north/vessel: nobody listens at " + nobody));
    // The sonars aboard are as they were.
    Ask(55);
    EXPECT_TRUE(RunUntil([&] { return RangeOfHull() == 55; }));
    Button("shareEnd").click();

    ShareAt(server);
    auto const shared = "Shared by " + server.Secure().Text() + " as north/vessel";
    ASSERT_TRUE(WaitForState(shared));
    server.Kill();
    EXPECT_TRUE(RunUntil([&] { return Text("shareState").starts_with(before); }));
    server.Start();
    EXPECT_TRUE(RunUntil([&] { return Text("shareState") == shared; }));
}

} // namespace
} // namespace qx5::test
