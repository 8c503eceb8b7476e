// The simulator as a program, with streams in place of a terminal.
#include <simulator/run_simulator.h>

#include <gtest/gtest.h>

#include <csignal>
#include <list>
#include <mutex>
#include <sstream>
#include <streambuf>

#include <simulator/sonar_console.h>

#include "test_host.h"

namespace qx5::simulator {
namespace {

using test::Bytes;
using test::Hex;
using test::Host;
using test::WaitUntil;

/// A stream that another thread may look at while it grows.
class SharedText : public std::streambuf
{
public:
    std::string Text()
    {
        std::lock_guard const lock(m_mutex);
        return m_text;
    }

private:
    int_type overflow(int_type character) override
    {
        std::lock_guard const lock(m_mutex);
        m_text += static_cast<char>(character);
        return character;
    }
    std::streamsize xsputn(char const* text, std::streamsize count) override
    {
        std::lock_guard const lock(m_mutex);
        m_text.append(text, static_cast<std::size_t>(count));
        return count;
    }
    std::mutex m_mutex;
    std::string m_text;
};

/// The reader of commands may be left behind; they then have to live as long as the process.
std::istringstream& Commands(std::string const& text)
{
    static auto& kept = *new std::list<std::istringstream>;
    return kept.emplace_back(text);
}

class Program
{
public:
    explicit Program(std::string const& commands, SimulatorOptions const& options = {}) : m_commands(Commands(commands))
    {
        m_thread = std::thread([this, options] {
            std::ostream out(&m_out);
            std::ostream err(&m_err);
            m_result = RunSimulator(options, m_commands, out, err, m_stop);
        });
    }
    ~Program()
    {
        if (m_thread.joinable()) {
            End();
        }
    }
    int End()
    {
        m_stop.Request();
        m_thread.join();
        return m_result;
    }
    bool Prints(std::string_view text)
    {
        return WaitUntil([&] { return m_out.Text().find(text) != std::string::npos; });
    }
    std::uint16_t Port()
    {
        EXPECT_TRUE(Prints("\n"));
        std::string const text = m_out.Text();
        EXPECT_TRUE(text.starts_with("listening on 127.0.0.1:")) << text;
        return static_cast<std::uint16_t>(std::stoi(text.substr(23)));
    }
    std::string Out() { return m_out.Text(); }
    std::string Errors() { return m_err.Text(); }
    SimulatorStop& Stop() { return m_stop; }
    int Join()
    {
        m_thread.join();
        return m_result;
    }

private:
    std::istringstream& m_commands;
    SharedText m_out;
    SharedText m_err;
    SimulatorStop m_stop;
    int m_result = -1;
    std::thread m_thread;
};

TEST(RunSimulator, PrintsWhatItUnderstood)
{
    SimulatorOptions options;
    options.showState = true;
    Program program("", options);
    Host host(program.Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    ASSERT_TRUE(host.Send(test::Command(64000, Hex("01 02 03"))));
    EXPECT_TRUE(program.Prints("1003 range  x5Range=50 m\n"));
    EXPECT_TRUE(program.Prints("64000 unknown record  (3 bytes)\n"));
    EXPECT_TRUE(program.Prints("told: 1 changed attribute: x5Range\n"));
    EXPECT_EQ(program.Out().find("x5Gain ="), std::string::npos);
    EXPECT_EQ(program.End(), 0);
    EXPECT_NE(program.Out().find("\nx5Gain = 20 dB\n"), std::string::npos);
    EXPECT_TRUE(host.Ends());
}

TEST(RunSimulator, CarriesOutCommandsAndEndsWithThem)
{
    SimulatorOptions options;
    options.stopAtEndOfCommands = true;
    Program program("set x5Range=25\r\n\nstate x5Range\nsing\n", options);
    EXPECT_EQ(program.Join(), 0);
    EXPECT_NE(program.Out().find("\nx5Range = 25 m\nx5Range = 25 m\nthere is no command 'sing'; 'help' lists them\n"),
              std::string::npos)
        << program.Out();
}

TEST(RunSimulator, QuitsOnRequest)
{
    Program program("quit\nstate\n");
    EXPECT_EQ(program.Join(), 0);
}

TEST(RunSimulator, EndsOnASignal)
{
    std::istringstream& none = Commands("");
    SharedText text;
    std::ostream out(&text);
    int result = -1;
    std::thread runs([&] { result = RunSimulator({}, none, out, out); });
    ASSERT_TRUE(WaitUntil([&] { return text.Text().find("listening") != std::string::npos; }));
    kill(getpid(), SIGTERM);
    runs.join();
    EXPECT_EQ(result, 0);
}

TEST(RunSimulator, SaysWhyItCannotListen)
{
    Program first("");
    SimulatorOptions options;
    options.server.port = first.Port();
    Program second("", options);
    EXPECT_EQ(second.Join(), 1);
    EXPECT_EQ(second.Errors(), "qx5 sim: port " + std::to_string(options.server.port) +
                                   " on 127.0.0.1 is in use; choose another, or 0 for any\n");
    options.server.address = "nowhere";
    Program third("", options);
    EXPECT_EQ(third.Join(), 2);
    EXPECT_EQ(third.Errors(),
              "qx5 sim: 'nowhere' is no address to listen on; take one of this machine, such as 127.0.0.1\n");
    EXPECT_EQ(third.Out(), "");
}

TEST(RunSimulator, WarnsWhenOtherMachinesCanReachIt)
{
    for (char const* const here : {"127.0.0.1", "127.1.2.3", "localhost", "::1", "::ffff:127.0.0.1"}) {
        EXPECT_EQ(ListenWarning(here), "") << here;
    }
    EXPECT_EQ(ListenWarning("0.0.0.0"), "listening on 0.0.0.0: whoever reaches this machine can command the sonar; "
                                        "127.0.0.1 is for this machine alone");
    for (char const* const beyond : {"192.0.2.1", "::", "2001:db8::1", "128.0.0.1"}) {
        EXPECT_NE(ListenWarning(beyond).find(beyond), std::string::npos);
    }
    Program program("");
    program.Port();
    EXPECT_EQ(program.End(), 0);
    EXPECT_EQ(program.Errors(), "");
}

TEST(RunSimulator, PrintsEveryFieldWhenVerboseAndPingsWhenAsked)
{
    SimulatorOptions options;
    options.verbose = true;
    options.server.announcePings = true;
    Program program("", options);
    Host host(program.Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Send(test::Command(7610, Hex("07 00 00 00 c8 44 03 00 00 00"))));
    ASSERT_TRUE(host.Send(test::Command(1107)));
    EXPECT_TRUE(program.Prints("no new sound velocity"));
    EXPECT_TRUE(program.Prints("ping 1, range 100 m, echoes in 133.3 ms\n"));
    EXPECT_TRUE(program.Prints("ping 1 is in\n"));
}

} // namespace
} // namespace qx5::simulator
