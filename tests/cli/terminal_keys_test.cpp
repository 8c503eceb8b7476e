// The keyboard as an operator terminal: keys and lines, read; the terminal's mode, put back at every end.
#include "cli/terminal_keys.h"

#include "cli/platform/terminal.h"
#include "program.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using cli::ReadTerminalKey;
using cli::ReadTerminalLine;
using cli::TerminalInput;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using Codes = std::vector<std::uint32_t>;

bool IsNothing(TerminalInput const& input)
{
    return !input.quit && !input.help && input.codes.empty() && input.problem.empty();
}

TEST(TerminalKeys, StandForCodes)
{
    EXPECT_EQ(ReadTerminalKey('r').codes, Codes{7});
    EXPECT_EQ(ReadTerminalKey('X').codes, Codes{2});
    EXPECT_EQ(ReadTerminalKey('0').codes, Codes{20});
    EXPECT_EQ(ReadTerminalKey('4').codes, Codes{24});
    EXPECT_EQ(ReadTerminalKey('-').codes, Codes{40});
    EXPECT_EQ(ReadTerminalKey('+').codes, Codes{41});
    EXPECT_EQ(ReadTerminalKey(cli::KeyUp).codes, Codes{41});
    EXPECT_EQ(ReadTerminalKey(cli::KeyDown).codes, Codes{40});
    EXPECT_TRUE(ReadTerminalKey('q').quit);
    EXPECT_TRUE(ReadTerminalKey(3).quit);
    EXPECT_TRUE(ReadTerminalKey(4).quit);
    EXPECT_TRUE(ReadTerminalKey('?').help);
    EXPECT_TRUE(IsNothing(ReadTerminalKey('\n')));
    EXPECT_TRUE(IsNothing(ReadTerminalKey(cli::KeyOther)));
    EXPECT_EQ(ReadTerminalKey('x').problem, "'x' stands for no code; `?` lists the keys");
    EXPECT_EQ(ReadTerminalKey(0xE4).problem, "the key 0xe4 stands for no code; `?` lists the keys");
}

TEST(TerminalKeys, LinesHoldKeysOrACode)
{
    EXPECT_EQ(ReadTerminalLine("r++ -").codes, (Codes{7, 41, 41, 40}));
    EXPECT_EQ(ReadTerminalLine("  code 12\r").codes, Codes{12});
    EXPECT_EQ(ReadTerminalLine("code 4294967295").codes, Codes{4294967295U});
    EXPECT_TRUE(ReadTerminalLine("help").help);
    EXPECT_TRUE(ReadTerminalLine("quit").quit);
    EXPECT_TRUE(IsNothing(ReadTerminalLine("")));
    EXPECT_TRUE(IsNothing(ReadTerminalLine(" \t")));
    EXPECT_TRUE(IsNothing(ReadTerminalLine("# stop")));
    auto const pressedAndLeft = ReadTerminalLine("r+q");
    EXPECT_EQ(pressedAndLeft.codes, (Codes{7, 41}));
    EXPECT_TRUE(pressedAndLeft.quit);
}

TEST(TerminalKeys, ALineWithASlipDoesNothing)
{
    for (char const* const line : {"s!", "stop", "code", "code x", "code 4294967296", "code -1", "code 1 2", "quite"}) {
        auto const input = ReadTerminalLine(line);
        EXPECT_FALSE(input.problem.empty()) << line;
        EXPECT_TRUE(input.codes.empty()) << line;
        EXPECT_FALSE(input.quit || input.help) << line;
    }
}

TEST(TerminalKeys, TheListNamesEveryCode)
{
    std::string const help = cli::TerminalKeyHelp();
    for (terminal::Code const& code : terminal::Codes) {
        EXPECT_THAT(help, HasSubstr("code " + std::to_string(code.number) + " "));
        EXPECT_THAT(help, HasSubstr(std::string(code.meaning)));
    }
}

TEST(RunTerminal, TakesLinesWhenTheInputIsNoTerminal)
{
    auto const shown = Qx5({"run", "--terminal"}, "r+\n"
                                                  "stop\n"
                                                  "code 12\n"
                                                  "code 7\n"
                                                  "help\n"
                                                  "4\n");
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_EQ(shown.err, "");
    EXPECT_THAT(shown.out, Not(HasSubstr("The operator sets the range")));
    // The simulated sonar stands at 100 m; 125 is next in its table.
    EXPECT_THAT(shown.out,
                AllOf(HasSubstr("> code 7, select the range\n"), HasSubstr("to the front comes the display \"bathy\""),
                      HasSubstr("> code 41, one step up of what is selected\n  asked for x5Range = 125\n  sent\n"),
                      HasSubstr("1003 range  x5Range=125 m"), HasSubstr("'o' stands for no code; `?` lists the keys"),
                      HasSubstr("> code 12, which means nothing\n  nothing is done\n"),
                      HasSubstr("> code 7, select the range\n  the steps go by it now\n"),
                      HasSubstr("> code 24, preset 4\n"), HasSubstr("  asked for x5SSR7503CMD = 1\n")));
    EXPECT_THAT(shown.out, Not(HasSubstr("stop pinging\n  asked")));
}

TEST(RunTerminal, AndAGuidedSessionExcludeEachOther)
{
    ExpectComplaint(Qx5({"run", "--terminal", "--once"}), 2, {"--terminal", "--once"});
}

/// A program on a terminal of its own, of which the test is the other end.
class OnATerminal
{
public:
    explicit OnATerminal(std::vector<std::string> const& command)
    {
        m_master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_GE(m_master, 0);
        EXPECT_EQ(grantpt(m_master), 0);
        EXPECT_EQ(unlockpt(m_master), 0);
        std::string const name = ptsname(m_master);
        // The test keeps the terminal open, so that its mode can be looked at after the program's end.
        m_terminal = open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_GE(m_terminal, 0);
        std::vector<char*> arguments;
        for (std::string const& word : command) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        m_child = fork();
        if (m_child == 0) {
            setsid();
            int const terminal = open(name.c_str(), O_RDWR); // the first that is opened becomes the session's own
            dup2(terminal, STDIN_FILENO);
            dup2(terminal, STDOUT_FILENO);
            execv(arguments[0], arguments.data());
            _exit(127);
        }
    }
    OnATerminal(OnATerminal const&) = delete;
    OnATerminal& operator=(OnATerminal const&) = delete;
    ~OnATerminal()
    {
        if (!m_ended) {
            kill(m_child, SIGKILL);
            waitpid(m_child, nullptr, 0);
        }
        close(m_terminal);
        close(m_master);
    }

    void Press(std::string_view keys)
    {
        EXPECT_EQ(write(m_master, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    void Signal(int number) { kill(m_child, number); }

    bool WaitForOutput(std::string_view text)
    {
        return WaitUntil([&] { return m_output.find(text) != std::string::npos; });
    }
    /// The exit code, or 128 and the number of the signal.
    int WaitForEnd()
    {
        int status = 0;
        m_ended = WaitUntil([&] { return waitpid(m_child, &status, WNOHANG) == m_child; });
        EXPECT_TRUE(m_ended);
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    bool WaitForRawMode()
    {
        return WaitUntil([&] { return !IsCooked(); });
    }
    /// Whether the terminal takes lines and shows what is typed, as it did at first.
    bool IsCooked() const
    {
        termios mode{};
        EXPECT_EQ(tcgetattr(m_terminal, &mode), 0);
        constexpr tcflag_t cooked = ICANON | ECHO;
        return (mode.c_lflag & cooked) == cooked && mode.c_cc[VSUSP] != _POSIX_VDISABLE;
    }
    std::string const& Output() const { return m_output; }

private:
    template <typename Condition>
    bool WaitUntil(Condition const& condition)
    {
        auto const deadline = std::chrono::steady_clock::now() + generousLimit;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            pollfd output{m_master, POLLIN, 0};
            if (poll(&output, 1, 5) > 0) {
                char bytes[4096];
                if (auto const count = read(m_master, bytes, sizeof bytes); count > 0) {
                    m_output.append(bytes, static_cast<std::size_t>(count));
                }
            }
        }
        return true;
    }

    int m_master = -1;
    int m_terminal = -1;
    pid_t m_child = -1;
    bool m_ended = false;
    std::string m_output;
};

std::vector<std::string> const command{QX5_PROGRAM, "run", "--terminal"};

TEST(RunTerminal, TakesSingleKeysFromATerminalAndPutsItBack)
{
    OnATerminal qx5(command);
    ASSERT_TRUE(qx5.WaitForRawMode());
    qx5.Press("r+");
    EXPECT_TRUE(qx5.WaitForOutput("asked for x5Range = 125\r\n"));
    qx5.Press("\x1b[B");
    EXPECT_TRUE(qx5.WaitForOutput("asked for x5Range = 100\r\n"));
    qx5.Press("\x1b[15~z"); // a function key is no key of the terminal's, and ends where it ends
    EXPECT_TRUE(qx5.WaitForOutput("'z' stands for no code"));
    qx5.Press("q");
    EXPECT_EQ(qx5.WaitForEnd(), 0) << qx5.Output();
    EXPECT_TRUE(qx5.IsCooked());
}

TEST(RunTerminal, PutsTheTerminalBackWhenASignalEndsIt)
{
    for (int const number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT, SIGSEGV}) {
        OnATerminal qx5(command);
        ASSERT_TRUE(qx5.WaitForRawMode());
        qx5.Signal(number);
        // A sanitizer may turn a fault into an exit of its own.
        EXPECT_NE(qx5.WaitForEnd(), 0) << number;
        EXPECT_TRUE(qx5.IsCooked()) << number;
    }
}

TEST(RunTerminal, PutsTheTerminalBackAtCtrlCAndAtTheEndOfTheInput)
{
    OnATerminal interrupted(command);
    ASSERT_TRUE(interrupted.WaitForRawMode());
    interrupted.Press("\x03");
    EXPECT_EQ(interrupted.WaitForEnd(), 128 + SIGINT);
    EXPECT_TRUE(interrupted.IsCooked());

    OnATerminal left(command);
    ASSERT_TRUE(left.WaitForRawMode());
    left.Press("\x04");
    EXPECT_EQ(left.WaitForEnd(), 0);
    EXPECT_TRUE(left.IsCooked());
}

} // namespace
} // namespace qx5::test
