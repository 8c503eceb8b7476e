// The broker's files, proved by a real broker with certificates of the test's own.
#include "authority/broker_access.h"
#include "tests/cli/child_process.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace qx5::authority {
namespace {

using test::ChildProcess;
using test::RunToEnd;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

BrokerPlan Plan()
{
    BrokerPlan plan;
    plan.group = "north";
    plan.vessels = {"Vega", "Altair"};
    plan.persons = {{"wanda", Role::Watch}, {"otto", Role::Operate}, {"ada", Role::Administrate}};
    plan.address = "127.0.0.1";
    return plan;
}

TEST(BrokerPlans, HaveNamesThatTopicsAndCertificatesHaveRoomFor)
{
    EXPECT_EQ(FaultOf(Plan()), "");
    auto const fault = [](auto change) {
        auto plan = Plan();
        change(plan);
        return FaultOf(plan);
    };
    EXPECT_EQ(fault([](auto& plan) { plan.group = ""; }), "the name of the group is empty");
    EXPECT_EQ(fault([](auto& plan) { plan.group = "STATE"; }),
              "a group cannot be called STATE: that is where shores tell that they are there");
    EXPECT_EQ(fault([](auto& plan) { plan.group = "a/b"; }),
              "the name of the group, a/b, has a / in it, which topics keep for themselves");
    EXPECT_EQ(fault([](auto& plan) { plan.vessels = {"a+b"}; }),
              "the name of the vessel, a+b, has a + in it, which topics keep for themselves");
    EXPECT_EQ(fault([](auto& plan) { plan.vessels = {"#"}; }),
              "the name of the vessel, #, has a # in it, which topics keep for themselves");
    EXPECT_EQ(fault([](auto& plan) { plan.vessels = {" a"}; }), "the vessel \" a\" has a blank at an end of its name");
    EXPECT_EQ(fault([](auto& plan) { plan.vessels = {"a\nuser b"}; }),
              "the name of the vessel, a?user b, has a control character in it");
    EXPECT_EQ(fault([](auto& plan) { plan.vessels = {"\xFF"}; }), "the name of the vessel is no UTF-8");
    EXPECT_EQ(fault([](auto& plan) { plan.vessels = {std::string(65, 'a')}; }),
              "the vessel \"" + std::string(65, 'a') + "\" has a name of more than 64 bytes");
    EXPECT_EQ(fault([](auto& plan) {
                  plan.vessels = {"a", "a"};
              }),
              "there are two called \"a\", and certificates tell them apart by name");
    EXPECT_EQ(fault([](auto& plan) { plan.persons["Vega"] = Role::Watch; }),
              "there are two called \"Vega\", and certificates tell them apart by name");
    EXPECT_EQ(fault([](auto& plan) { plan.persons["aboard"] = Role::Watch; }),
              "no person can be called \"aboard\": that means something else");
    EXPECT_EQ(fault([](auto& plan) { plan.vessels = {"Sparkplug"}; }),
              "no vessel can be called \"Sparkplug\": that means something else");
    EXPECT_EQ(fault([](auto& plan) { plan.vessels.clear(); }), "a fleet has one vessel at least: --vessel NAME");
    EXPECT_EQ(fault([](auto& plan) { plan.address = "a b"; }), "\"a b\" is no address");
}

TEST(BrokerPlans, KnowWhetherAFileIsAsItWasWritten)
{
    auto const written = Sealed(AccessText(Plan()));
    EXPECT_TRUE(IsSealed(written));
    EXPECT_THAT(written, ::testing::StartsWith("# Written by qx5 broker-setup ("));
    EXPECT_FALSE(IsSealed(written + "\n"));
    EXPECT_FALSE(IsSealed(AccessText(Plan())));
    EXPECT_FALSE(IsSealed(""));
    auto changed = written;
    changed.replace(changed.find("wanda"), 5, "wilma");
    EXPECT_FALSE(IsSealed(changed));
}

/// A port that was free a moment ago.
std::uint16_t FreePort()
{
    int const probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in any{};
    any.sin_family = AF_INET;
    any.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof any;
    ::bind(probe, reinterpret_cast<sockaddr*>(&any), size);
    ::getsockname(probe, reinterpret_cast<sockaddr*>(&any), &size);
    ::close(probe);
    return ntohs(any.sin_port);
}

/// A broker with the files of a plan, and a certificate for each who is named in it.
class BrokerAccess : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_STRNE(MOSQUITTO, "") << "this test needs the package mosquitto";
        ASSERT_STRNE(MOSQUITTO_PUB, "") << "this test needs the package mosquitto-clients";
        ASSERT_STRNE(OPENSSL, "") << "this test needs the package openssl";
        // A broker that is started by root becomes a user of its own.
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all | std::filesystem::perms::others_read |
                                                 std::filesystem::perms::others_exec);
        Authority("ca");
        Certificate("ca", "broker", "127.0.0.1", "subjectAltName=IP:127.0.0.1");
        for (char const* const name : {"Vega", "Altair", "wanda", "otto", "ada", "nobody"}) {
            Certificate("ca", name, name);
        }
        for (int i = 0; i < 20; ++i) {
            plan.port = FreePort();
            std::ofstream(folder / "access") << Sealed(AccessText(plan));
            std::ofstream(folder / "mosquitto.conf") << Sealed(ConfigurationText(plan, folder));
            broker = std::make_unique<ChildProcess>(
                std::vector<std::string>{MOSQUITTO, "-c", (folder / "mosquitto.conf").string()});
            if (broker->WaitForError(" running")) {
                return;
            }
        }
        FAIL() << broker->Errors();
    }

    void OpenSsl(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), OPENSSL);
        auto const outcome = RunToEnd(arguments);
        ASSERT_EQ(outcome.code, 0) << outcome.err;
    }
    void Authority(std::string const& name)
    {
        OpenSsl({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2",
                 "-keyout", Path(name + ".key"), "-out", Path(name + ".crt"), "-subj", "/CN=Authority " + name});
    }
    void Certificate(std::string const& authority, std::string const& file, std::string const& name,
                     std::string const& extension = "basicConstraints=CA:FALSE")
    {
        OpenSsl({"req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout",
                 Path(file + ".key"), "-out", Path(file + ".csr"), "-subj", "/CN=" + name});
        std::ofstream(folder / "extension") << extension << "\n";
        OpenSsl({"x509", "-req", "-days", "2", "-in", Path(file + ".csr"), "-CA", Path(authority + ".crt"), "-CAkey",
                 Path(authority + ".key"), "-CAcreateserial", "-extfile", Path("extension"), "-out",
                 Path(file + ".crt")});
        std::filesystem::permissions(folder / (file + ".key"), std::filesystem::perms::others_read,
                                     std::filesystem::perm_options::add);
    }
    std::string Path(std::string const& name) { return (folder / name).string(); }

    std::vector<std::string> Client(std::string program, std::string const& who)
    {
        std::vector<std::string> command{std::move(program),        "-V",       "mqttv5",      "-h", "127.0.0.1", "-p",
                                         std::to_string(plan.port), "--cafile", Path("ca.crt")};
        if (!who.empty()) {
            command.insert(command.end(), {"--cert", Path(who + ".crt"), "--key", Path(who + ".key")});
        }
        return command;
    }
    void Say(std::string const& who, std::string const& topic, std::string const& text, bool retained = false)
    {
        auto command = Client(MOSQUITTO_PUB, who);
        command.insert(command.end(), {"-q", "1", "-t", topic, "-m", text});
        if (retained) {
            command.emplace_back("-r");
        }
        RunToEnd(command); // whether it was let through is seen where it arrives
    }
    std::unique_ptr<ChildProcess> Hear(std::string const& who)
    {
        auto command = Client(MOSQUITTO_SUB, who);
        // It keeps what it says of itself back where nobody sits at a terminal.
        command.insert(command.begin(), {"/usr/bin/stdbuf", "-oL"});
        command.insert(command.end(), {"-d", "-k", "5", "-q", "1", "-F", "heard %t %p", "-t", "#", "-t", "$SYS/#"});
        auto listener = std::make_unique<ChildProcess>(command);
        EXPECT_TRUE(listener->WaitForOutput("Subscribed")) << listener->Output() << listener->Errors();
        return listener;
    }
    /// "TOPIC TEXT" of each message.
    static std::vector<std::string> Heard(ChildProcess const& listener)
    {
        std::vector<std::string> heard;
        std::istringstream lines(listener.Output());
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("heard ", 0) == 0) {
                heard.push_back(line.substr(6));
            }
        }
        return heard;
    }

    test::TemporaryFolder const folder;
    BrokerPlan plan = Plan();
    std::unique_ptr<ChildProcess> broker;
};

TEST(BrokerPlans, HoldNoSmallMessageBack)
{
    EXPECT_THAT(ConfigurationText(Plan(), "/folder"), HasSubstr("\nset_tcp_nodelay true\n"));
}

TEST_F(BrokerAccess, AWatcherCannotCommand)
{
    auto const vega = Hear("Vega");
    for (std::string const topic :
         {"qx5/north/Vega/Bow/request/wanda", "qx5/north/Vega/Bow/request/otto", "qx5/north/Vega/Bow/lease/wanda",
          "qx5/north/Vega/Bow/lease/otto", "qx5/north/Vega/ack/wanda", "spBv1.0/north/DCMD/Vega/Bow"}) {
        Say("wanda", topic, "forbidden");
    }
    Say("otto", "qx5/north/Vega/Bow/request/wanda", "in another's name");
    Say("otto", "qx5/north/Vega/Bow/lease/ada", "in another's name");
    Say("otto", "qx5/north/Vega/ack/ada", "in another's name");
    Say("otto", "spBv1.0/north/DCMD/Vega/Bow", "in nobody's name");
    Say("otto", "qx5/north/Altair/Bow/request/otto", "for another vessel");
    Say("otto", "qx5/north/Vega/Bow/look/wanda", "in another's name");
    Say("wanda", "spBv1.0/north/NCMD/Vega", "tell everything anew");
    Say("wanda", "qx5/north/Vega/Bow/look/wanda", "watchers look");
    Say("ada", "spBv1.0/north/DCMD/Vega/Bow", "administrators may");
    Say("otto", "qx5/north/Vega/Bow/lease/otto", "asks");
    Say("otto", "qx5/north/Vega/ack/otto", "has");
    Say("otto", "qx5/north/Vega/Bow/request/otto", "last");
    ASSERT_TRUE(vega->WaitForOutput("request/otto last")) << vega->Output();
    EXPECT_THAT(Heard(*vega),
                ElementsAre("spBv1.0/north/NCMD/Vega tell everything anew",
                            "qx5/north/Vega/Bow/look/wanda watchers look",
                            "spBv1.0/north/DCMD/Vega/Bow administrators may", "qx5/north/Vega/Bow/lease/otto asks",
                            "qx5/north/Vega/ack/otto has", "qx5/north/Vega/Bow/request/otto last"));
}

TEST_F(BrokerAccess, AVesselCannotSpeakForAnother)
{
    auto const wanda = Hear("wanda");
    auto const otto = Hear("otto");
    for (std::string const who : {"Altair", "ada"}) {
        for (std::string const topic :
             {"spBv1.0/north/NBIRTH/Vega", "spBv1.0/north/NDATA/Vega", "spBv1.0/north/NDEATH/Vega",
              "spBv1.0/north/DBIRTH/Vega/Bow", "spBv1.0/north/DDATA/Vega/Bow", "spBv1.0/north/DDEATH/Vega/Bow",
              "qx5/north/Vega/history", "qx5/north/Vega/Bow/result/otto", "qx5/north/Vega/Bow/detections",
              "spBv1.0/STATE/otto"}) {
            Say(who, topic, "forbidden");
        }
    }
    Say("Vega", "spBv1.0/north/NBIRTH/Vega", "its own");
    Say("Vega", "spBv1.0/north/DDATA/Vega/Bow", "its own");
    Say("Vega", "qx5/north/Vega/Bow/result/otto", "for otto alone");
    Say("Vega", "qx5/north/Vega/Bow/detections", "for all");
    Say("Altair", "qx5/north/Altair/history", "last");
    ASSERT_TRUE(wanda->WaitForOutput("history last"));
    ASSERT_TRUE(otto->WaitForOutput("history last"));
    EXPECT_THAT(Heard(*wanda), ElementsAre("spBv1.0/north/NBIRTH/Vega its own", "spBv1.0/north/DDATA/Vega/Bow its own",
                                           "qx5/north/Vega/Bow/detections for all", "qx5/north/Altair/history last"));
    EXPECT_THAT(Heard(*otto), ElementsAre("spBv1.0/north/NBIRTH/Vega its own", "spBv1.0/north/DDATA/Vega/Bow its own",
                                          "qx5/north/Vega/Bow/result/otto for otto alone",
                                          "qx5/north/Vega/Bow/detections for all", "qx5/north/Altair/history last"));
}

TEST_F(BrokerAccess, AnUnknownCertificateHearsNothing)
{
    // What is kept for whoever comes would be heard at once.
    Say("ada", "spBv1.0/STATE/ada", "there", true);
    auto const nobody = Hear("nobody");
    auto const wanda = Hear("wanda");
    Say("nobody", "spBv1.0/STATE/nobody", "forbidden");
    Say("nobody", "spBv1.0/north/NBIRTH/nobody", "forbidden");
    Say("Vega", "spBv1.0/north/NBIRTH/Vega", "its own");
    ASSERT_TRUE(wanda->WaitForOutput("NBIRTH/Vega its own"));
    EXPECT_THAT(Heard(*wanda), ElementsAre("spBv1.0/STATE/ada there", "spBv1.0/north/NBIRTH/Vega its own"));
    // The answer to a ping comes behind all that was sent before it.
    ASSERT_TRUE(nobody->WaitForOutput("received PINGRESP"));
    EXPECT_THAT(Heard(*nobody), ElementsAre());

    // One that another authority has signed is not even let in, whatever name it bears, nor is one without any.
    Authority("foreign");
    Certificate("foreign", "false", "otto");
    for (std::string const who : {"false", ""}) {
        auto command = Client(MOSQUITTO_SUB, who);
        command.insert(command.end(), {"-t", "#", "-C", "1"});
        auto const outcome = RunToEnd(command);
        EXPECT_GT(outcome.code, 0) << who;
        EXPECT_EQ(outcome.out, "");
    }
}

} // namespace
} // namespace qx5::authority
