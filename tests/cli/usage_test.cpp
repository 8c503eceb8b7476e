// How the command tells its usage, and how it answers to a wrong one: one line, exit code 2.
#include "program.h"

#include <map>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(Usage, HelpListsEveryCommand)
{
    auto const help = Qx5({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.err, "");
    for (char const* command :
         {"run", "sim", "send", "preset", "scenario", "decode", "recording", "keys", "explain", "acoustics", "docs"}) {
        EXPECT_THAT(help.out, HasSubstr("\n  " + std::string(command) + " "));
    }
}

#ifdef LIBRARY_OF_OTHER_RELEASE
TEST(Usage, ALibraryOfAnotherReleaseIsRefused)
{
    auto const outcome = Qx5({"--version"}, {}, {"LD_PRELOAD=" LIBRARY_OF_OTHER_RELEASE});
    EXPECT_EQ(outcome.out, "");
    ExpectComplaint(outcome, 1, {"libvordalhost is of release 0.0.9", "this program of", "an older installation"});
}
#endif

TEST(Usage, EveryCommandTellsItsOptions)
{
    std::map<std::string, std::vector<std::string>> const options{
        {"run", {"--once", "--sonar HOST:PORT", "--plugin FILE", "--project FILE"}},
        {"sim", {"--port", "7000", "--address", "127.0.0.1", "--verbose", "--state", "--pings"}},
        {"send",
         {"--sonar HOST:PORT", "127.0.0.1:7000", "--plugin FILE", "--stored KEY=VALUE", "--timeout", "3000",
          "--wait SECONDS", "0.5", "--bytes", "KEY=VALUE"}},
        {"preset", {"save", "list", "show", "compare", "load", "export", "import", "remove"}},
        {"scenario", {"--check", "--plugin FILE", "FILE"}},
        {"decode", {"--hex", "--raw", "FILE"}},
        {"recording", {"info", "list", "cut", "mark", "check", "export"}},
        {"keys", {"--markdown", "filter"}},
        {"explain", {"name"}},
        {"acoustics", {"absorption", "sound-speed", "budget"}},
        {"docs", {"--plugin FILE", "folder"}},
    };
    for (auto const& [command, texts] : options) {
        auto const help = Qx5({command, "--help"});
        EXPECT_EQ(help.code, 0) << command;
        EXPECT_EQ(help.err, "") << command;
        EXPECT_THAT(help.out, HasSubstr("qx5 " + command)) << command;
        for (std::string const& text : texts) {
            EXPECT_THAT(help.out, HasSubstr(text)) << command;
        }
    }
}

TEST(Usage, EveryCommandThatRunsAHostTellsTheOptionsOfItsLog)
{
    for (char const* command : {"run", "send", "scenario", "plugin", "docs"}) {
        auto const help = Qx5({command, "--help"});
        EXPECT_THAT(help.out, HasSubstr("--log-level LEVEL")) << command;
        EXPECT_THAT(help.out, HasSubstr("debug, info, warning or error")) << command;
        EXPECT_THAT(help.out, HasSubstr("--log-file FILE")) << command;
    }
    EXPECT_THAT(Qx5({"sim", "--help"}).out, Not(HasSubstr("--log-")));
}

TEST(Usage, VersionIsTold)
{
    auto const version = Qx5({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_THAT(version.out, ::testing::MatchesRegex("qx5 [0-9]+\\.[0-9]+\\.[0-9]+\n"
                                                     "commit ([0-9a-f]+( with changes)?|unknown)\n"
                                                     "host contract 5\\.5\\.1\\.0\n"
                                                     "(Qt 6\\.[0-9.]+, built with 6\\.[0-9.]+\n)?"));
}

TEST(Usage, WrongCallsAreOneLineAndExitCodeTwo)
{
    ExpectComplaint(Qx5({}), 2, {"a command is missing", "qx5 --help"});
    ExpectComplaint(Qx5({"frobnicate"}), 2, {"there is no command 'frobnicate'", "qx5 --help"});
    ExpectComplaint(Qx5({"--frobnicate"}), 2, {"there is no option '--frobnicate'", "qx5 --help"});
    ExpectComplaint(Qx5({"send", "--frobnicate", "x5Range=50"}), 2, {"--frobnicate", "qx5 send --help"});
    ExpectComplaint(Qx5({"send"}), 2, {"request is required", "qx5 send --help"});
    ExpectComplaint(Qx5({"scenario"}), 2, {"file is required", "qx5 scenario --help"});
    ExpectComplaint(Qx5({"explain"}), 2, {"name is required", "qx5 explain --help"});
    ExpectComplaint(Qx5({"sim", "extra"}), 2, {"extra", "qx5 sim --help"});
    ExpectComplaint(Qx5({"sim", "--port"}), 2, {"--port", "qx5 sim --help"});
    ExpectComplaint(Qx5({"sim", "--port", "99999"}), 2, {"99999", "65535"});
    ExpectComplaint(Qx5({"sim", "--port", "-1"}), 2, {"--port"});
    ExpectComplaint(Qx5({"sim", "--port", "many"}), 2, {"many"});
    ExpectComplaint(Qx5({"send", "--timeout", "0", "x5Range=50"}), 2, {"--timeout", "600000"});
    ExpectComplaint(Qx5({"send", "--wait", "-1", "x5Range=50"}), 2, {"--wait", "600"});
    ExpectComplaint(Qx5({"send", "--wait", "soon", "x5Range=50"}), 2, {"soon"});
    ExpectComplaint(Qx5({"decode", "--hex", "--raw"}), 2, {"--hex", "--raw", "qx5 decode --help"});
    ExpectComplaint(Qx5({"sim", "two\nlines"}), 2, {"two lines"});
    ExpectComplaint(Qx5({"run", "--log-level", "loud"}), 2, {"--log-level", "loud", "warning", "qx5 run --help"});
    ExpectComplaint(Qx5({"plugin", "--log-file"}), 2, {"--log-file", "qx5 plugin --help"});
}

} // namespace
} // namespace qx5::test
