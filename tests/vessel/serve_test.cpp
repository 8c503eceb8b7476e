// `qx5 serve` as people and services call it, on a real broker.
#include "shore.h"

#include "reference_host/store/project_store.h"
#include "tests/cli/child_process.h"
#include "tests/support/peak_memory.h"
#include "tests/support/temporary_folder.h"

#include <VordalAttributesR/CVordalType.h>

#include <protocol/records/all.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;

CDataId const bowId(1, 78, 1, 1);
std::wstring_view const range = protocol::keys::x5Range.text;

class ServeTest : public ::testing::Test
{
protected:
    /// A project with one sonar, which is simulated.
    ServeTest()
    {
        vordal::ProjectStore store(project);
        vordal::StoredProject stored;
        stored.vessels = {{.number = 1, .name = L"Vessel", .configuration = {}}};
        stored.devices = {{bowId, L"QX5SonarConfigurationControlDevice", L"Bow", {}, true, {}}};
        store.Save(stored);
    }

    std::vector<std::string> Command(std::vector<std::string> const& more = {}, std::string const& who = "vessel") const
    {
        auto const files = broker.Files(who);
        std::vector<std::string> command{QX5_PROGRAM,
                                         "serve",
                                         project.string(),
                                         "--broker",
                                         broker.Secure().Text(),
                                         "--ca",
                                         files.authority.string(),
                                         "--cert",
                                         files.certificate.string(),
                                         "--key",
                                         files.key.string(),
                                         "--group",
                                         "north",
                                         "--vessel",
                                         "Vega"};
        command.insert(command.end(), more.begin(), more.end());
        return command;
    }
    std::unique_ptr<Shore> Arrive() const
    {
        auto shore = std::make_unique<Shore>(broker.Secure(), broker.Files("operator"), "operator");
        EXPECT_TRUE(shore->WaitForLine());
        EXPECT_TRUE(Eventually([&] {
            if (shore->Look([&] { return !std::isnan(ValueOf(*shore, "Bow", range)); })) {
                return true;
            }
            return false;
        }));
        return shore;
    }
    static authority::RequestReply Set(Shore& shore, double value)
    {
        auto const stamp = shore.Stamp();
        EXPECT_TRUE(shore.Ask("Bow", stamp, RequestOf(range, value)));
        authority::RequestReply reply;
        EXPECT_TRUE(shore.Wait([&] {
            for (authority::RequestReply const& each : shore.replies) {
                if (each.number == stamp.number) {
                    reply = each;
                    return true;
                }
            }
            return false;
        }));
        return reply;
    }
    static void ExpectOneLine(std::string const& text)
    {
        EXPECT_THAT(text, ::testing::StartsWith("qx5: "));
        EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
    }

    TemporaryFolder const folder{"qx5-serve"};
    std::filesystem::path const project = folder / "survey.qx5";
    TestBroker broker;
};

TEST_F(ServeTest, ServesASonarAndEndsInOrder)
{
    ChildProcess vessel(Command({"--history", protocol::EncodeUtf8(range)}));
    ASSERT_TRUE(vessel.WaitForOutput("connected to mqtts://127.0.0.1:")) << vessel.Errors();
    EXPECT_THAT(vessel.Output(), HasSubstr("simulated sonars listen on 127.0.0.1:"));
    EXPECT_THAT(vessel.Output(), HasSubstr(" as north/Vega\n"));
    auto const shore = Arrive();
    EXPECT_EQ(shore->TakeLease("Bow").answer, authority::LeaseReplyKind::Granted);
    auto const reply = Set(*shore, 60.0);
    EXPECT_EQ(reply.outcome, "agrees") << reply.reason;
    ASSERT_TRUE(shore->Wait([&] { return ValueOf(*shore, "Bow", range) == 60.0; }));

    // Nobody else works on the project meanwhile.
    auto const second = RunToEnd(Command({"--outbox", (folder / "other").string()}));
    EXPECT_EQ(second.code, 1);
    ExpectOneLine(second.err);
    EXPECT_THAT(second.err, HasSubstr("is open in another program (process " + vessel.Id()));

    vessel.Signal(SIGTERM);
    EXPECT_EQ(vessel.WaitForEnd(), 0);
    EXPECT_THAT(vessel.Errors(), ::testing::Not(HasSubstr("qx5: ")));
    ASSERT_TRUE(shore->Wait([&] {
        return shore->host.Find({"north", "Vega", {}})->state == sparkplug::SeenState::Dead;
    }));
    // What it did is in the project.
    vordal::ProjectStore store(project, vordal::ProjectStore::Missing::Refuse);
    double kept = 0.0;
    store.Load().devices.front().attributes.FindValue(AttributeKey(range)).Get(kept);
    EXPECT_EQ(kept, 60.0);
    std::vector<std::string> who;
    vordal::ProjectStore::ReadActions(project, [&](vordal::StoredAction const& row) { who.push_back(row.who); });
    EXPECT_THAT(who, ::testing::Contains("ashore: operator"));
}

TEST_F(ServeTest, KeepsItsOptionsInTheProject)
{
    {
        ChildProcess vessel(Command({"--keep", "--allow", "transmit", "--person", "operator=operate"}));
        ASSERT_TRUE(vessel.WaitForOutput("connected to")) << vessel.Errors();
        vessel.Signal(SIGTERM);
        EXPECT_EQ(vessel.WaitForEnd(), 0);
    }
    ChildProcess vessel({QX5_PROGRAM, "serve", project.string()});
    ASSERT_TRUE(vessel.WaitForOutput("connected to")) << vessel.Errors();
    auto const shore = Arrive();
    EXPECT_EQ(shore->TakeLease("Bow").answer, authority::LeaseReplyKind::Granted);
    EXPECT_EQ(Set(*shore, 70.0).outcome, "agrees");
}

TEST_F(ServeTest, LosesNothingWhenItIsKilled)
{
    // Nothing is acknowledged, so that all of it leaves again.
    auto vessel = std::make_unique<ChildProcess>(Command());
    ASSERT_TRUE(vessel->WaitForOutput("connected to")) << vessel->Errors();
    auto const shore = Arrive();
    EXPECT_EQ(shore->TakeLease("Bow", 600.0).answer, authority::LeaseReplyKind::Granted);
    std::vector<double> done;
    for (int round = 0; round < 3; ++round) {
        for (int i = 1; i <= 5; ++i) {
            double const value = 100.0 + 10 * round + i;
            auto const reply = Set(*shore, value);
            ASSERT_EQ(reply.outcome, "agrees") << reply.reason;
            done.push_back(value);
            // Once it has left the outbox for the shore it is on the disk.
            ASSERT_TRUE(shore->Wait([&] {
                return std::any_of(shore->kept.begin(), shore->kept.end(), [&](auto const& entry) {
                    auto const* const text = std::get_if<authority::HistoryText>(&entry.second);
                    return shore->kinds[entry.first] == outbox::Kind::Action && text != nullptr &&
                           text->text.find("\"new\":" + std::to_string(static_cast<int>(value))) != std::string::npos;
                });
            }));
        }
        vessel->Signal(SIGKILL);
        EXPECT_EQ(vessel->WaitForEnd(), 128 + SIGKILL);
        ASSERT_TRUE(shore->Wait([&] {
            return shore->host.Find({"north", "Vega", {}})->state == sparkplug::SeenState::Dead;
        })) << "its last will tells of it";
        shore->Look([&] {
            shore->kept.clear();
            shore->order.clear();
            return 0;
        });
        vessel = std::make_unique<ChildProcess>(Command());
        ASSERT_TRUE(vessel->WaitForOutput("connected to")) << vessel->Errors();
        ASSERT_TRUE(shore->Wait([&] { return Alive(*shore, "Bow") != nullptr; }));
        ASSERT_TRUE(shore->Wait([&] {
            int actions = 0;
            for (auto const& [number, content] : shore->kept) {
                auto const* const text = std::get_if<authority::HistoryText>(&content);
                actions += text != nullptr && shore->kinds[number] == outbox::Kind::Action &&
                                   text->text.find("\"agrees\"") != std::string::npos
                               ? 1
                               : 0;
            }
            return actions >= static_cast<int>(done.size());
        }));
        shore->Look([&] {
            EXPECT_TRUE(std::is_sorted(shore->order.begin(), shore->order.end()));
            // Each once: their numbers have no gap, and each value is there as often as it was asked for.
            EXPECT_EQ(shore->order.back(), shore->order.size());
            for (double const value : done) {
                int count = 0;
                for (auto const& [number, content] : shore->kept) {
                    auto const* const text = std::get_if<authority::HistoryText>(&content);
                    count += text != nullptr && shore->kinds[number] == outbox::Kind::Action &&
                                     text->text.find("\"new\":" + std::to_string(static_cast<int>(value))) !=
                                         std::string::npos
                                 ? 1
                                 : 0;
                }
                EXPECT_EQ(count, 1) << value;
            }
            return 0;
        });
        EXPECT_EQ(shore->TakeLease("Bow", 600.0).answer, authority::LeaseReplyKind::Granted);
    }
    vessel->Signal(SIGTERM);
    EXPECT_EQ(vessel->WaitForEnd(), 0);
}

TEST_F(ServeTest, GoesOnWhenTheBrokerIsKilled)
{
    ChildProcess vessel(Command());
    ASSERT_TRUE(vessel.WaitForOutput("connected to")) << vessel.Errors();
    auto const shore = Arrive();
    broker.Kill();
    ASSERT_TRUE(vessel.WaitForError("it is tried again")) << vessel.Errors();
    // Else what is alive below may be what was alive before, and the lease is asked for on the line that is no more.
    ASSERT_TRUE(shore->Wait([&] { return Alive(*shore, "Bow") == nullptr; }));
    broker.Start();
    ASSERT_TRUE(shore->Wait([&] { return Alive(*shore, "Bow") != nullptr; }));
    EXPECT_EQ(shore->TakeLease("Bow").answer, authority::LeaseReplyKind::Granted);
    EXPECT_EQ(Set(*shore, 60.0).outcome, "agrees");
    vessel.Signal(SIGINT);
    EXPECT_EQ(vessel.WaitForEnd(), 0);
}

TEST_F(ServeTest, DoesNotNoticeAPayloadOf100MegabytesThatTheBrokerKeepsBack)
{
    ASSERT_STRNE(MOSQUITTO_PUB, "") << "this test needs the package mosquitto-clients";
    ChildProcess vessel(Command());
    ASSERT_TRUE(vessel.WaitForOutput("connected to")) << vessel.Errors();
    auto const shore = Arrive();
    auto const files = broker.Files("operator");
    auto const ofOperator = [&](std::vector<std::string> command) {
        for (std::string const& word :
             {std::string("--broker"), broker.Secure().Text(), std::string("--ca"), files.authority.string(),
              std::string("--cert"), files.certificate.string(), std::string("--key"), files.key.string(),
              std::string("--group"), std::string("north")}) {
            command.push_back(word);
        }
        return command;
    };
    auto const rangeText = protocol::EncodeUtf8(range);
    ChildProcess watching(ofOperator({QX5_PROGRAM, "fleet", "watch", "Vega/Bow", rangeText}));
    ASSERT_TRUE(watching.WaitForOutput(rangeText)) << watching.Errors();

    auto const file = folder / "large";
    std::ofstream(file, std::ios::binary) << std::string(100'000'000, 'x');
    auto const vesselBefore = PeakMiBOf(vessel.Id());
    auto const shoreBefore = PeakMiBOf(watching.Id());
    // To the vessel, as each thing that it is told of; to the shore likewise.
    auto seen = broker.Log().size();
    for (char const* const topic :
         {"qx5/north/Vega/Bow/request/operator", "spBv1.0/north/DCMD/Vega/Bow", "qx5/north/Vega/Bow/result/operator",
          "spBv1.0/north/DDATA/Vega/Bow", "qx5/north/Vega/history"}) {
        auto const published =
            RunToEnd({MOSQUITTO_PUB, "-V", "5", "-h", broker.Secure().host, "-p", std::to_string(broker.Secure().port),
                      "--cafile", files.authority.string(), "--cert", files.certificate.string(), "--key",
                      files.key.string(), "-q", "1", "-t", topic, "-f", file.string()});
        ASSERT_EQ(published.code, 0) << published.err;
        // It told so at once, in a line for each whom it kept it from.
        auto const log = broker.Log();
        auto const kept = log.find("Dropping too large outgoing PUBLISH", seen);
        EXPECT_NE(kept, std::string::npos) << topic;
        seen = log.size();
    }

    // The same connections go on, with the sonar.
    EXPECT_EQ(shore->TakeLease("Bow").answer, authority::LeaseReplyKind::Granted);
    EXPECT_EQ(Set(*shore, 60.0).outcome, "agrees");
    EXPECT_TRUE(watching.WaitForOutput("60")) << watching.Output();
    EXPECT_LT(PeakMiBOf(vessel.Id()), vesselBefore + 32);
    EXPECT_LT(PeakMiBOf(watching.Id()), shoreBefore + 32);
    EXPECT_THAT(vessel.Errors(), ::testing::Not(AnyOf(HasSubstr("qx5: "), HasSubstr("[warning]"))));
    EXPECT_EQ(watching.Errors(), "");
}

TEST_F(ServeTest, SaysInOneLineWhatIsWrongWithTheLine)
{
    auto const told = [&](std::vector<std::string> const& command) {
        ChildProcess vessel(command);
        EXPECT_TRUE(vessel.WaitForError("it is tried again")) << vessel.Errors();
        vessel.Signal(SIGTERM);
        EXPECT_EQ(vessel.WaitForEnd(), 0);
        ExpectOneLine(vessel.Errors());
        return vessel.Errors();
    };
    EXPECT_THAT(told(Command({}, "foreign")), HasSubstr("it does not know who signed our certificate"));
    auto nobody = Command();
    nobody[4] = "mqtts://127.0.0.1:" + std::to_string(FreePort());
    EXPECT_THAT(told(nobody), HasSubstr("127.0.0.1:"));
    // The port without TLS is another program to whoever expects it.
    auto plain = Command();
    plain[4] = "mqtts://" + broker.Plain().Place();
    EXPECT_THAT(told(plain), HasSubstr(broker.Plain().Place()));
}

TEST_F(ServeTest, RefusesWhatCannotBeServed)
{
    auto const refused = [](std::vector<std::string> const& command, int code) {
        auto const outcome = RunToEnd(command);
        EXPECT_EQ(outcome.code, code) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        ExpectOneLine(outcome.err);
        return outcome.err;
    };
    EXPECT_THAT(refused({QX5_PROGRAM, "serve", project.string()}, 2), HasSubstr("which broker it is shared by"));
    auto missing = Command();
    missing[8] = (folder / "none.pem").string();
    EXPECT_THAT(refused(missing, 2), HasSubstr("none.pem"));
    EXPECT_THAT(refused(Command({}, "expired"), 2), HasSubstr("expired on "));
    auto far = Command();
    far[4] = "mqtt://broker.example";
    refused(far, 2);
    auto named = Command();
    named.back() = "a/b";
    EXPECT_THAT(refused(named, 2), HasSubstr("has a / in it"));
    EXPECT_THAT(refused(Command({"--person", "otto=boss"}), 2), HasSubstr("is no NAME=ROLE"));
    auto none = Command();
    none[2] = (folder / "none.qx5").string();
    EXPECT_THAT(refused(none, 1), HasSubstr("none.qx5"));
    std::ofstream(folder / "text.qx5") << "no project at all, but a text that is long enough to be taken for a file";
    none[2] = (folder / "text.qx5").string();
    refused(none, 1);
    EXPECT_FALSE(std::filesystem::exists(folder / "text.qx5.lock"));
    {
        vordal::ProjectStore const empty(folder / "empty.qx5");
    }
    none[2] = (folder / "empty.qx5").string();
    EXPECT_THAT(refused(none, 2), HasSubstr("has no sonar to serve"));
    // What a process has left that is no more does not count.
    std::ofstream(folder / "survey.qx5.lock") << "999999999\nqx5\n\n\n\n";
    EXPECT_THAT(refused(Command(), 1), HasSubstr("is open in another program"))
        << "of another machine nothing is known";
}

TEST(ServiceFile, IsOneThatSystemdTakesAndThatIsLocked)
{
    ASSERT_STRNE(SYSTEMD_ANALYZE, "") << "this test needs the package systemd";
    TemporaryFolder const folder("qx5-service");
    std::ifstream made(QX5_SERVICE_FILE);
    std::string text{std::istreambuf_iterator<char>(made), {}};
    auto const start = text.find("ExecStart=");
    ASSERT_NE(start, std::string::npos);
    auto const end = text.find(" serve /var/lib/qx5/%i.qx5\n", start);
    ASSERT_NE(end, std::string::npos);
    text.replace(start, end - start, std::string("ExecStart=") + QX5_PROGRAM);
    auto const file = (folder / "qx5-serve@.service").string();
    std::ofstream(file) << text;
    auto const verified = RunToEnd({SYSTEMD_ANALYZE, "verify", "--man=no", "--recursive-errors=no", file});
    EXPECT_EQ(verified.code, 0) << verified.err;
    EXPECT_EQ(verified.err, "");
    // 0 is all locked, 10 nothing.
    auto const locked = RunToEnd({SYSTEMD_ANALYZE, "security", "--offline=true", "--threshold=20", file});
    EXPECT_EQ(locked.code, 0) << locked.out;
}

} // namespace
} // namespace qx5::test
