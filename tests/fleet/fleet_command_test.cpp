// `qx5 fleet` as people call it, at a real broker with a vessel that answers.
#include "small_vessel.h"

#include "test_broker.h"
#include "tests/cli/program.h"

#include <protocol/records/all.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace qx5::test {
namespace {

using namespace std::chrono_literals;
namespace keys = protocol::keys;
using Json = nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

std::string const rangeKey = protocol::EncodeUtf8(keys::x5Range.text);

std::vector<Json> Lines(std::string const& text)
{
    std::vector<Json> lines;
    std::size_t at = 0;
    for (auto end = text.find('\n'); end != std::string::npos; at = end + 1, end = text.find('\n', at)) {
        lines.push_back(Json::parse(text.substr(at, end - at)));
    }
    return lines;
}

class FleetCommand : public testing::Test
{
protected:
    FleetCommand() { SetRange("Bow", 50); }

    static broker::ConnectionOptions LineOf(TestBroker& broker, std::string const& who)
    {
        broker::ConnectionOptions options;
        options.address = broker.Secure();
        options.files = broker.Files(who);
        return options;
    }
    void SetRange(std::string const& sonar, double range)
    {
        CAttributeMap tree;
        tree.Add(AttributeKey(keys::x5Range.text), CVordalDouble(range));
        tree.Add(AttributeKey(keys::x5Power.text), CVordalDouble(200));
        vessel.SetSonar(sonar, tree);
    }
    /// `words` begin with the command below `qx5 fleet`.
    std::vector<std::string> Arguments(std::vector<std::string> words, std::string const& who) const
    {
        auto const files = server.Files(who);
        std::vector<std::string> const line{
            "--broker", server.Secure().Text(),   "--group",   "north",
            "--ca",     files.authority.string(), "--cert",    files.certificate.string(),
            "--key",    files.key.string(),       "--timeout", "50000"};
        words.insert(words.begin() + 1, line.begin(), line.end());
        words.insert(words.begin(), "fleet");
        return words;
    }
    Outcome Run(std::vector<std::string> words, std::string const& who = "operator") const
    {
        return Qx5(Arguments(std::move(words), who));
    }
    std::unique_ptr<ChildProcess> Begin(std::vector<std::string> words, std::string const& who = "operator") const
    {
        auto command = Arguments(std::move(words), who);
        command.insert(command.begin(), QX5_PROGRAM);
        return std::make_unique<ChildProcess>(command);
    }

    TestBroker server;
    SmallVessel vessel{LineOf(server, "vessel"), "north", "vessel"};
};

TEST_F(FleetCommand, ListsVesselsAndSonars)
{
    auto const text = Run({"list"});
    EXPECT_EQ(text.code, 0) << text.err;
    EXPECT_THAT(text.out, HasSubstr("vessel  current, "));
    EXPECT_THAT(text.out, HasSubstr("  vessel/Bow  current, "));
    EXPECT_THAT(text.out, HasSubstr("; nobody commands\n"));
    auto const json = Run({"list", "--json"});
    auto const lines = Lines(json.out);
    ASSERT_EQ(lines.size(), 2U) << json.out << json.err;
    EXPECT_EQ(lines[0]["vessel"], "vessel");
    EXPECT_FALSE(lines[0].contains("sonar"));
    EXPECT_EQ(lines[1]["sonar"], "Bow");
    EXPECT_EQ(lines[1]["state"], "current");
    EXPECT_EQ(lines[1]["link"], "connected");
    EXPECT_LT(lines[1]["age"], 60.0);
}

TEST_F(FleetCommand, AListAsksNoVesselToTellEverythingAnew)
{
    vessel.SetLink("Bow", authority::SonarLink::Lost, "the cable is out");
    vessel.TakeAboard("Bow");
    ASSERT_EQ(Run({"get", "vessel/Bow", rangeKey}).code, 0); // it is at the broker, and was asked for all
    auto const births = vessel.Births();
    EXPECT_GE(births, 2U);
    auto const text = Run({"list"}, "watcher");
    EXPECT_EQ(text.code, 0) << text.err;
    EXPECT_THAT(text.out, HasSubstr("old, lost; aboard commands\n"));
    EXPECT_EQ(vessel.Births(), births);
    // Of one that is told it is asked for.
    EXPECT_THAT(Run({"list", "vessel/Bow"}).out, HasSubstr("old, lost; aboard commands\n"));
    EXPECT_GT(vessel.Births(), births);
}

TEST_F(FleetCommand, GetsValuesAsOfAnyOtherSonar)
{
    auto const text = Run({"get", "vessel/Bow", rangeKey});
    EXPECT_EQ(text.code, 0) << text.err;
    EXPECT_EQ(text.out, rangeKey + " = 50 m\n");
    EXPECT_EQ(text.err, "");
    auto const json = Run({"get", "vessel", rangeKey, "--json"}, "watcher");
    auto const lines = Lines(json.out);
    ASSERT_EQ(lines.size(), 1U) << json.err;
    EXPECT_EQ(lines[0]["sonar"], "vessel/Bow");
    EXPECT_EQ(lines[0]["key"], rangeKey);
    EXPECT_EQ(lines[0]["value"], 50);
    EXPECT_EQ(lines[0]["unit"], "m");
    EXPECT_EQ(lines[0]["kind"], "double");
}

TEST_F(FleetCommand, SaysInOneLineWhatIsNotThere)
{
    ExpectComplaint(Run({"get", "vessel/Bow", "nothing"}), 1, {"nothing is told of nothing"});
    ExpectComplaint(Run({"get", "vessel/Stern"}), 1, {"there is no sonar Stern aboard vessel, which has Bow"});
    SetRange("Stern", 20);
    ExpectComplaint(Run({"get", "vessel"}), 1, {"vessel has several sonars: say vessel/Bow or vessel/Stern"});
    ExpectComplaint(Run({"get", "ves+sel/Bow"}), 2, {"ves+sel/Bow"});
    ExpectComplaint(Qx5({"fleet", "list", "--broker", "http://there", "--group", "north"}), 2, {"--broker"});
    ExpectComplaint(Qx5({"fleet", "list", "--broker", "mqtts://127.0.0.1:1", "--group", "north"}), 2, {"--cert"});
    ExpectComplaint(Qx5({"fleet", "list", "--broker", "mqtt://127.0.0.1:1", "--group", "north"}), 1,
                    {"nobody listens at 127.0.0.1:1"});
    ExpectComplaint(Run({"list"}, "foreign"), 1, {"refuses us"});
}

TEST_F(FleetCommand, WatchesUntilAValueIsThere)
{
    auto const watch = Begin({"watch", "vessel/Bow", "--until", rangeKey + "=75"});
    ASSERT_TRUE(watch->WaitForOutput(rangeKey + " = 50 m")) << watch->Errors();
    SetRange("Bow", 75);
    EXPECT_EQ(watch->WaitForEnd(), 0);
    EXPECT_THAT(watch->Output(), HasSubstr(rangeKey + " = 75 m\n"));
}

TEST_F(FleetCommand, SaysOfWhatItWatchesThatItIsStale)
{
    auto const watch = Begin({"watch", "vessel/Bow", rangeKey, "--count", "2"});
    ASSERT_TRUE(watch->WaitForOutput(rangeKey + " = 50 m")) << watch->Errors();
    server.Kill();
    EXPECT_TRUE(watch->WaitForError("vessel/Bow is stale: the line to the broker is down\n"));
    SetRange("Bow", 55);
    server.Start();
    EXPECT_TRUE(watch->WaitForError("vessel/Bow is current again\n"));
    EXPECT_EQ(watch->WaitForEnd(), 0);
    EXPECT_THAT(watch->Output(), HasSubstr(rangeKey + " = 55 m\n"));
}

TEST_F(FleetCommand, EndsAtOnceWithoutABrokerAlsoWhereItWouldGoOnForever)
{
    server.Kill();
    for (auto const& words : std::vector<std::vector<std::string>>{{"log"}, {"watch", "vessel/Bow", "--count", "1"}}) {
        ExpectComplaint(Run(words), 1, {server.Secure().Place(), "nobody listens"});
    }
}

TEST_F(FleetCommand, SaysWhileItLogsThatItsLineIsDown)
{
    std::string error;
    auto const event =
        authority::Encode(authority::HistoryContent(authority::HistoryText{"Bow", {}, R"({"text":"x"})"}), error);
    auto const log = Begin({"log", "--count", "2"});
    auto const tellUntil = [&](std::uint64_t number, auto const& isOver) {
        while (!isOver()) {
            vessel.PublishHistory({"0123", {{number, number, outbox::Kind::Event, *event}}});
        }
    };
    tellUntil(1, [&] { return log->WaitForOutput("event", 200ms); });
    server.Kill();
    ASSERT_TRUE(log->WaitForError("qx5: the line to the broker is down\n"));
    server.Start();
    ASSERT_TRUE(log->WaitForError("qx5: the line to the broker stands again\n"));
    tellUntil(2, [&] { return log->WaitForEnd(200ms).has_value(); });
    EXPECT_EQ(log->WaitForEnd(), 0);
}

TEST_F(FleetCommand, SaysOfASonarThatIsGoneThatNobodyCanTakeIt)
{
    SetRange("Stern", 20);
    vessel.RemoveSonar("Bow");
    ExpectComplaint(Run({"lease", "vessel/Bow", "take"}), 1, {"there is no sonar Bow aboard vessel, which has Stern"});
}

TEST_F(FleetCommand, SetsWithTheLeaseThatNobodyHadAndGivesItBack)
{
    auto const set = Run({"set", "vessel/Bow", rangeKey + "=75"});
    EXPECT_EQ(set.code, 0) << set.err;
    EXPECT_EQ(set.out, "nobody commanded vessel/Bow; its lease is taken for this\n"
                       "what became of it\n  " +
                           rangeKey + ": asked 75 m, there was 50 m, the sonar has 75 m\n");
    auto const lease = Run({"lease", "vessel/Bow"});
    EXPECT_EQ(lease.out, "vessel/Bow  nobody commands\n") << lease.err;
    auto const json = Run({"set", "vessel/Bow", rangeKey + "=80", "--json"});
    EXPECT_EQ(json.code, 0) << json.err;
    auto const line = Json::parse(json.out);
    EXPECT_EQ(line["result"], "agrees");
    EXPECT_EQ(line["values"][0]["before"], 75);
    EXPECT_EQ(line["values"][0]["got"], 80);
    EXPECT_EQ(vessel.Done(), 2);
}

TEST_F(FleetCommand, IsRefusedWithTheHoldersName)
{
    ASSERT_EQ(Run({"lease", "vessel/Bow", "take", "--seconds", "600"}, "watcher").code, 0);
    ExpectComplaint(Run({"set", "vessel/Bow", rangeKey + "=75"}), 1, {"refused: watcher commands vessel/Bow"});
    EXPECT_EQ(vessel.Done(), 0);
    auto const lease = Lines(Run({"lease", "vessel/Bow", "--json"}).out);
    ASSERT_EQ(lease.size(), 1U);
    EXPECT_EQ(lease[0]["holder"], "watcher");
    EXPECT_TRUE(lease[0]["until"].is_string());

    auto const asks = Begin({"lease", "vessel/Bow", "take"});
    EXPECT_TRUE(asks->WaitForError("watcher is asked"));
    auto const granted = Run({"lease", "vessel/Bow", "grant"}, "watcher");
    EXPECT_EQ(granted.code, 0) << granted.err;
    EXPECT_EQ(asks->WaitForEnd(), 0) << asks->Errors();
    EXPECT_EQ(asks->Output(), "granted\n");
    EXPECT_EQ(Run({"set", "vessel/Bow", rangeKey + "=75"}).code, 0);
    ExpectComplaint(Run({"lease", "vessel/Bow", "grant"}), 1, {"nobody asks for the lease of vessel/Bow"});
    EXPECT_EQ(Run({"lease", "vessel/Bow", "give-back"}).code, 0);
}

TEST_F(FleetCommand, TellsWhoAnswersAndHowFast)
{
    auto const text = Run({"presence"});
    EXPECT_EQ(text.code, 0) << text.err;
    EXPECT_THAT(text.out, HasSubstr("vessel/Bow  current, "));
    EXPECT_THAT(text.out, HasSubstr(" ms, clock "));
    auto const lines = Lines(Run({"presence", "vessel/Bow", "--json"}).out);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_GT(lines[0]["roundTrip"], 0.0);
}

TEST_F(FleetCommand, PrintsHistoryAndKeepsItInAnArchive)
{
    TemporaryFolder const folder{"qx5-fleet-log"};
    auto const archive = (folder / "archive").string();
    std::string error;
    auto const action = authority::Encode(
        authority::HistoryContent(authority::HistoryText{
            "Bow", "otto",
            R"({"time":"2026-11-22T09:14:07.312Z","who":"ashore: otto","sonar":"Bow","result":"agrees"})"}),
        error);
    auto const values = authority::Encode(
        authority::HistoryContent(authority::HistoryValues{"Bow", {{rangeKey, 50.0, 1'700'000'000'000}}}), error);
    ASSERT_TRUE(action && values) << error;
    auto const log = Begin({"log", "--archive", archive, "--count", "2", "--json"});
    // It is told until somebody has it.
    authority::HistoryMessage const message{
        "0123", {{1, 1, outbox::Kind::Action, *action}, {2, 2, outbox::Kind::Value, *values}}};
    while (!log->WaitForEnd(200ms)) {
        vessel.PublishHistory(message);
    }
    auto const lines = Lines(log->Output());
    ASSERT_EQ(lines.size(), 2U) << log->Errors();
    EXPECT_EQ(lines[0]["vessel"], "vessel");
    EXPECT_EQ(lines[0]["number"], 1);
    EXPECT_EQ(lines[0]["kind"], "action");
    EXPECT_EQ(lines[0]["entry"]["result"], "agrees");
    EXPECT_EQ(lines[1]["entry"]["value"], 50);
    EXPECT_EQ(lines[1]["entry"]["time"], "2023-11-14T22:13:20.000Z");
    EXPECT_EQ(vessel.Acknowledged().at("0123").second, 2U);

    auto const kept = Qx5({"fleet", "log", "--archive", archive, "vessel/Bow"});
    EXPECT_EQ(kept.code, 0) << kept.err;
    EXPECT_THAT(kept.out, HasSubstr("2026-11-22T09:14:07.312Z  vessel  action  who ashore: otto  sonar Bow  result "
                                    "agrees\n"));
    EXPECT_EQ(Qx5({"fleet", "log", "--archive", archive, "vessel/Stern"}).out, "");
    ExpectComplaint(Qx5({"fleet", "log", "vessel"}), 2, {"--broker", "--archive"});
}

} // namespace
} // namespace qx5::test
