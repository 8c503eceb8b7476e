// `qx5 sim` as a program: where it listens, how it ends, what it says when it cannot start.
#include "program.h"

#include <csignal>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(Sim, SaysWhenThePortIsInUse)
{
    Simulator sonar;
    std::string const port = std::to_string(sonar.Port());
    ExpectComplaint(Qx5({"sim", "--port", port}), 1, {"port " + port, "in use", "choose another"});
}

TEST(Sim, RefusesAnAddressThatIsNone)
{
    ExpectComplaint(Qx5({"sim", "--port", "0", "--address", "300.1.1.1"}), 2,
                    {"'300.1.1.1' is no address", "127.0.0.1"});
    ExpectComplaint(Qx5({"sim", "--port", "0", "--address", "far.away"}), 2, {"'far.away' is no address"});
    ExpectComplaint(Qx5({"sim", "--port", "0", "--address", ""}), 2, {"is no address"});
    // An address for documents, which no machine has.
    ExpectComplaint(Qx5({"sim", "--port", "0", "--address", "192.0.2.1"}), 2, {"no address 192.0.2.1"});
}

TEST(Sim, RefusesASceneThatIsNone)
{
    ExpectComplaint(Qx5({"sim", "--port", "0", "--scene", "moon"}), 2, {"no scene 'moon'", "wreck"});
    ExpectComplaint(Qx5({"sim", "--port", "0", "--depth", "-1"}), 2, {"depth"});
    ExpectComplaint(Qx5({"sim", "--port", "0", "--depth", "nan"}), 2, {"depth"});
}

TEST(Sim, EndsWithQuit)
{
    Simulator sonar;
    sonar.Process().Write("quit\n");
    EXPECT_EQ(sonar.Process().WaitForEnd(), 0);
    EXPECT_EQ(sonar.Process().Errors(), "");
}

TEST(Sim, EndsWithASignal)
{
    for (int const signal : {SIGTERM, SIGINT}) {
        Simulator sonar;
        sonar.Process().Signal(signal);
        EXPECT_EQ(sonar.Process().WaitForEnd(), 0);
        EXPECT_EQ(sonar.Process().Errors(), "");
    }
}

TEST(Sim, EndsWithASignalWhileAHostIsConnectedAndWithoutStandardInput)
{
    Simulator sonar({"--pings"});
    ChildProcess host({QX5_PROGRAM, "run", "--sonar", sonar.Endpoint()});
    ASSERT_TRUE(host.WaitForOutput("Now it is your turn"));
    sonar.Process().CloseInput();
    sonar.Process().Signal(SIGTERM);
    EXPECT_EQ(sonar.Process().WaitForEnd(), 0);
    host.CloseInput();
    EXPECT_EQ(host.WaitForEnd(), 0);
}

TEST(Sim, GoesOnWithoutCommands)
{
    Simulator sonar;
    sonar.Process().CloseInput();
    auto const sent = Qx5({"send", "--sonar", sonar.Endpoint(), "x5Range=50"});
    EXPECT_EQ(sent.code, 0) << sent.err;
}

TEST(Sim, PrintsItsStateAtTheEnd)
{
    Simulator sonar({"--state"});
    EXPECT_EQ(Qx5({"send", "--sonar", sonar.Endpoint(), "x5Range=75"}).code, 0);
    ASSERT_TRUE(sonar.Process().WaitForOutput("1003 range  x5Range=75 m"));
    sonar.Process().Write("quit\n");
    EXPECT_EQ(sonar.Process().WaitForEnd(), 0);
    EXPECT_THAT(sonar.Process().Output(), AllOf(HasSubstr("\nx5Range = 75 m\n"), HasSubstr("\nx5Gain = 20 dB\n")));
}

TEST(Sim, TakesCommands)
{
    Simulator sonar;
    ChildProcess& process = sonar.Process();
    process.Write("frobnicate\n");
    EXPECT_TRUE(process.WaitForOutput("there is no command 'frobnicate'; 'help' lists them"));
    process.Write("set x5Range=60\n");
    EXPECT_TRUE(process.WaitForOutput("x5Range = 60 m"));
    process.Write("misbehave\n");
    EXPECT_TRUE(process.WaitForOutput("drop-link"));
    process.Write("ping extra\n");
    EXPECT_TRUE(process.WaitForOutput("ping takes no argument"));
    process.Write("status\n");
    EXPECT_TRUE(process.WaitForOutput("0 connections open"));
    process.Write("help\n");
    EXPECT_TRUE(process.WaitForOutput("misbehave NAME"));
}

TEST(Sim, HasAsManyHeadsAsItIsTold)
{
    Simulator sonar({"--heads", "2"});
    sonar.Process().Write("ping\n");
    EXPECT_TRUE(sonar.Process().WaitForOutput("ping 2\n")); // one of each
    EXPECT_EQ(Qx5({"sim", "--heads", "9"}).code, 2);
}

} // namespace
} // namespace qx5::test
