// Completion: what `qx5` offers at each place of a command line, and what bash, zsh and fish make of it.
#include "program.h"

#include <protocol/records/all.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::test {
namespace {

namespace fs = std::filesystem;
namespace keys = protocol::keys;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

using Words = std::vector<std::string>;

std::string const velocityOverride = protocol::EncodeUtf8(keys::x5SoundVelocityOverride.text);
std::string const beamSteer = protocol::EncodeUtf8(keys::x5BeamSteer.text);

Words LinesOf(std::string const& text)
{
    Words lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

class Completion : public testing::Test
{
protected:
    /// What qx5 itself offers, without what each is.
    Words Offered(Words words) const
    {
        words.insert(words.begin(), "__complete");
        auto const said = Qx5(words, {}, m_environment);
        EXPECT_EQ(said.code, 0) << said.err;
        EXPECT_EQ(said.err, "");
        auto lines = LinesOf(said.out);
        for (std::string& line : lines) {
            line.resize(std::min(line.size(), line.find('\t')));
        }
        return lines;
    }

    TemporaryFolder m_runtime;
    std::vector<std::string> m_environment{"XDG_RUNTIME_DIR=" + m_runtime.string()};
};

TEST_F(Completion, OffersEveryCommandThatTheHelpLists)
{
    auto const offered = Offered({""});
    std::istringstream help(Qx5({"--help"}).out);
    bool areCommands = false;
    int count = 0;
    for (std::string line; std::getline(help, line);) {
        if (areCommands && line.starts_with("  ") && line.size() > 2 && line[2] != ' ') {
            EXPECT_THAT(offered, Contains(line.substr(2, line.find(' ', 2) - 2)));
            ++count;
        }
        areCommands = areCommands || line.starts_with("Subcommands");
    }
    EXPECT_GT(count, 10);
    EXPECT_EQ(static_cast<std::size_t>(count), offered.size());
    EXPECT_THAT(Offered({"recording", "ex"}), ElementsAre("export"));
    EXPECT_THAT(Offered({"nonsense", ""}), Not(Contains("run")));
}

TEST_F(Completion, OffersOptionsThatMayStillCome)
{
    EXPECT_THAT(Offered({"run", "--gui"}), ElementsAre("--guided"));
    EXPECT_THAT(Offered({"run", "--"}), Contains("--sonars"));
    // What excludes it stands there already; so does what may stand once alone.
    EXPECT_THAT(Offered({"run", "--sonar", "127.0.0.1:1", "--"}), Not(Contains("--sonars")));
    EXPECT_THAT(Offered({"run", "--guided", "--"}), Not(Contains("--guided")));
    // The value of an option is no command and no argument.
    EXPECT_THAT(Offered({"run", "--sonar", ""}), IsEmpty());
    EXPECT_THAT(Offered({"run", "--sonar=1.2.3.4:1", "--gui"}), ElementsAre("--guided"));
    EXPECT_THAT(Offered({"keys", ""}), Contains("--markdown"));
}

TEST_F(Completion, OffersValuesFromTheTables)
{
    EXPECT_THAT(Offered({"plugin", "--log-level", ""}), ElementsAre("debug", "info", "warning", "error"));
    EXPECT_THAT(Offered({"plugin", "--log-level=w"}), ElementsAre("--log-level=warning"));
    EXPECT_THAT(Offered({"recording", "list", "--way", ""}), ElementsAre("out", "in"));
    EXPECT_THAT(Offered({"acoustics", "budget", "--bottom", "s"}), ElementsAre("sand"));
    EXPECT_THAT(Offered({"sim", "--scene", "wr"}), ElementsAre("wreck"));
    EXPECT_THAT(Offered({"completion", ""}), ElementsAre("bash", "zsh", "fish"));
    EXPECT_THAT(Offered({"run", "--demo", "pan"}), ElementsAre("pan-tilt"));

    EXPECT_THAT(Offered({"send", beamSteer.substr(0, 9)}), Contains(beamSteer + "="));
    EXPECT_THAT(Offered({"send", "x5Range=50", beamSteer.substr(0, 9)}), Contains(beamSteer + "="));
    EXPECT_THAT(Offered({"get", beamSteer.substr(0, 9)}), Contains(beamSteer));
    EXPECT_THAT(Offered({"send", velocityOverride + "="}),
                ElementsAre(velocityOverride + "=true", velocityOverride + "=false"));
    EXPECT_THAT(Offered({"send", "own:bool=f"}), ElementsAre("own:bool=false"));
    EXPECT_THAT(Offered({"watch", "--until", velocityOverride + "=t"}), ElementsAre(velocityOverride + "=true"));
    EXPECT_THAT(Offered({"explain", "RequestDeck"}), ElementsAre("RequestDeckMode"));
    EXPECT_THAT(Offered({"explain", "102"}), Contains("1021"));
    EXPECT_THAT(Offered({"decode", ""}), ElementsAre(":files"));
    EXPECT_THAT(Offered({"run", "--project", "a"}), ElementsAre(":files"));
}

TEST_F(Completion, SaysWhatEachIs)
{
    auto const said = Qx5({"__complete", "send", beamSteer}, {}, m_environment);
    EXPECT_THAT(LinesOf(said.out),
                Contains(beamSteer + "=\tsteering of the transmitted beam, two angles, pair in deg"));
}

TEST_F(Completion, OffersTheSonarsOfProgramsThatRun)
{
    EXPECT_THAT(Offered({"get", "--device", ""}), IsEmpty());
    ChildProcess session({QX5_PROGRAM, "run", "--guided"}, m_environment);
    ASSERT_TRUE(session.WaitForOutput("Now it is your turn")) << session.Errors();
    EXPECT_THAT(Offered({"get", "--device", ""}), ElementsAre("sonar"));
    EXPECT_THAT(Offered({"watch", "--run", ""}), ElementsAre(session.Id()));
}

/// A folder with two files, in which the shells stand, with qx5 on their path.
class ShellCompletion : public Completion
{
protected:
    ShellCompletion()
    {
        fs::create_directory(m_folder / "functions");
        for (char const* const name : {"capture.bin", "capture.txt"}) {
            std::ofstream(m_folder / name) << "";
        }
        m_environment.push_back("PATH=" + fs::path(QX5_PROGRAM).parent_path().string() + ":" + std::getenv("PATH"));
        m_environment.emplace_back("TERM=dumb");
        m_environment.push_back("HOME=" + m_folder.string());
    }

    /// The script for that shell, as `qx5 completion` prints it.
    std::string Script(std::string const& shell, std::string const& file) const
    {
        auto const script = Qx5({"completion", shell});
        EXPECT_EQ(script.code, 0) << script.err;
        auto const path = m_folder / file;
        std::ofstream(path) << script.out;
        return path.string();
    }

    Words Run(Words command) const
    {
        Words inFolder{"/bin/sh", "-c", "cd \"$0\" && exec \"$@\"", m_folder.string()};
        inFolder.insert(inFolder.end(), command.begin(), command.end());
        auto const said = RunToEnd(inFolder, {}, m_environment);
        EXPECT_EQ(said.code, 0) << said.err;
        return LinesOf(said.out);
    }

    static std::string Harness(std::string const& name)
    {
        return std::string(QX5_SOURCE_DIR) + "/tests/cli/shells/" + name;
    }

    /// Nothing when the shell is there.
    static std::string Missing(std::string const& shell)
    {
        return std::system(("command -v " + shell + " >/dev/null").c_str()) == 0
                   ? std::string()
                   : "there is no " + shell + ": install Debian's package of that name, as ./dev test does";
    }

    TemporaryFolder m_folder;
};

TEST_F(ShellCompletion, InBash)
{
    ASSERT_EQ(Missing("bash"), "");
    auto const script = Script("bash", "qx5.bash");
    auto const offers = [&](Words pieces) {
        Words command{"bash", "--norc", Harness("offers.bash"), script};
        command.insert(command.end(), pieces.begin(), pieces.end());
        return Run(command);
    };
    EXPECT_THAT(offers({"qx5 rec", "qx5", "rec"}), ElementsAre("recording"));
    EXPECT_THAT(offers({"qx5 run --gui", "qx5", "run", "--gui"}), ElementsAre("--guided"));
    EXPECT_THAT(offers({"qx5 send " + beamSteer, "qx5", "send", beamSteer}), Contains(beamSteer + "="));
    // Bash takes words apart at = and :, and completes the last piece alone.
    EXPECT_THAT(offers({"qx5 send " + velocityOverride + "=", "qx5", "send", velocityOverride, "="}),
                ElementsAre("true", "false"));
    EXPECT_THAT(offers({"qx5 send a:bool=t", "qx5", "send", "a", ":", "bool", "=", "t"}), ElementsAre("true"));
    EXPECT_THAT(offers({"qx5 plugin --log-level=w", "qx5", "plugin", "--log-level", "=", "w"}), ElementsAre("warning"));
    EXPECT_THAT(
        offers({"qx5 get --sonar 127.0.0.1:7000 --js", "qx5", "get", "--sonar", "127.0.0.1", ":", "7000", "--js"}),
        ElementsAre("--json"));
    EXPECT_THAT(offers({"qx5 decode cap", "qx5", "decode", "cap"}), UnorderedElementsAre("capture.bin", "capture.txt"));
}

TEST_F(ShellCompletion, InZsh)
{
    ASSERT_EQ(Missing("zsh"), "");
    Script("zsh", "functions/_qx5");
    auto const offers = [&](std::string const& line) {
        return Run({"zsh", "-f", Harness("offers.zsh"), line, (m_folder / "functions").string()});
    };
    EXPECT_THAT(offers("qx5 rec"), ElementsAre("recording"));
    EXPECT_THAT(offers("qx5 run --gui"), ElementsAre("--guided"));
    EXPECT_THAT(offers("qx5 send " + beamSteer), Contains(beamSteer + "="));
    EXPECT_THAT(offers("qx5 send " + velocityOverride + "="),
                UnorderedElementsAre(velocityOverride + "=true", velocityOverride + "=false"));
    EXPECT_THAT(offers("qx5 plugin --log-level=w"), ElementsAre("--log-level=warning"));
    EXPECT_THAT(offers("qx5 decode cap"), UnorderedElementsAre("capture.bin", "capture.txt"));
}

TEST_F(ShellCompletion, InFish)
{
    ASSERT_EQ(Missing("fish"), "");
    auto const script = Script("fish", "qx5.fish");
    auto const offers = [&](std::string const& line) {
        return Run({"fish", "--no-config", Harness("offers.fish"), script, line});
    };
    EXPECT_THAT(offers("qx5 rec"), ElementsAre("recording"));
    EXPECT_THAT(offers("qx5 run --gui"), ElementsAre("--guided"));
    EXPECT_THAT(offers("qx5 send " + beamSteer), Contains(beamSteer + "="));
    EXPECT_THAT(offers("qx5 send " + velocityOverride + "="),
                UnorderedElementsAre(velocityOverride + "=true", velocityOverride + "=false"));
    EXPECT_THAT(offers("qx5 plugin --log-level=w"), ElementsAre("--log-level=warning"));
    EXPECT_THAT(offers("qx5 decode cap"), UnorderedElementsAre("capture.bin", "capture.txt"));
}

} // namespace
} // namespace qx5::test
