// Tests of the memory that a whole process takes whatever its sonar sends.
#include "tests/cli/child_process.h"
#include "tests/support/peak_memory.h"

#include <simulator/flood.h>
#include <simulator/sonar_server.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>

namespace qx5::test {
namespace {

/// As the manual tells it, for a session with one sonar, the window included.
constexpr std::size_t statedMiB = 320;

/// What the sonar does, and how much of it has been sent when it has shown its effect.
struct Attack
{
    std::string name;
    std::string command;
    std::uint64_t bytes = 9'000'000; ///< by default more than the host lets wait
};

// For messages of the tests.
void PrintTo(Attack const& attack, std::ostream* stream)
{
    *stream << attack.name;
}

std::vector<Attack> Attacks()
{
    std::vector<Attack> attacks;
    for (simulator::FloodKind const& kind : simulator::FloodKinds()) {
        attacks.push_back({std::string(kind.name), "misbehave flood " + std::string(kind.name)});
    }
    attacks.push_back({"collide", "misbehave collide 100000"});
    attacks.push_back({"lie", "misbehave lie-about-size 16000000", 1000});
    // The longest text that a frame holds.
    attacks.push_back({"greatest_text", "set Remark:string=" + std::string(15'000'000, 'x'), 15'000'000});
    return attacks;
}

/// Whether nothing waits in the system's buffers of the connections of that port.
bool IsAllRead(std::uint16_t port)
{
    std::ifstream table("/proc/net/tcp");
    std::string line;
    std::getline(table, line); // the headings
    auto const wanted = fmt::format(":{:04X} ", port);
    while (std::getline(table, line)) {
        // "sl: address:port address:port state sent:received ...", in hexadecimal
        constexpr std::string_view nothing = " 00000000:00000000 ";
        if (line.find(wanted) != std::string::npos && line.find(nothing) == std::string::npos) {
            return false;
        }
    }
    return true;
}

/// Whether every thread of the process waits for something, at some looks in a row.
bool IsAtRest(std::string const& process)
{
    for (int look = 0; look < 5; ++look) {
        std::error_code gone;
        for (auto const& thread : std::filesystem::directory_iterator("/proc/" + process + "/task", gone)) {
            std::ifstream file(thread.path() / "stat");
            std::string text;
            std::getline(file, text);
            auto const name = text.rfind(')');
            if (name == std::string::npos || text.substr(name, 3) != ") S") {
                return false;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

class WholeProcess : public testing::TestWithParam<Attack>
{
protected:
    void StaysBelowItsBound(bool isGuided)
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
        simulator::ServerOptions options;
        options.greatestSendQueue = std::size_t{64} << 20;
        simulator::SonarServer sonar(options);
        ASSERT_FALSE(sonar.Start());
        std::vector<std::string> command{QX5_PROGRAM, "run", "--sonar", "127.0.0.1:" + std::to_string(sonar.Port())};
        if (isGuided) {
            command.emplace_back("--guided");
        }
        ChildProcess run(command, {"QT_QPA_PLATFORM=offscreen"});
        auto const waitFor = [&](auto condition) {
            auto const deadline = std::chrono::steady_clock::now() + generousLimit;
            bool holds = condition();
            while (!holds && std::chrono::steady_clock::now() < deadline) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
                holds = condition();
            }
            return holds;
        };
        ASSERT_TRUE(waitFor([&] { return sonar.Counts().open == 1; })) << run.Errors();
        std::string answer;
        ASSERT_TRUE(sonar.Command(GetParam().command, answer)) << answer;
        EXPECT_TRUE(waitFor([&] { return sonar.Counts().bytesSent >= GetParam().bytes; }));
        // Until it has taken in what is on the way, and waits.
        ASSERT_TRUE(sonar.Command("behave", answer)) << answer;
        EXPECT_TRUE(waitFor([&] { return IsAllRead(sonar.Port()) && IsAtRest(run.Id()); }));
        std::size_t const held = PeakMiBOf(run.Id());
        EXPECT_GT(held, 0U);
        EXPECT_LT(held, statedMiB);
        RecordProperty("peakMiB", static_cast<int>(held));
        sonar.Stop();
    }
};

TEST_P(WholeProcess, StaysBelowItsBoundInTheGuidedSession)
{
    StaysBelowItsBound(true);
}

#ifdef QX5_VIEW
TEST_P(WholeProcess, StaysBelowItsBoundWithTheWindow)
{
    StaysBelowItsBound(false);
}
#endif

INSTANTIATE_TEST_SUITE_P(Attacks, WholeProcess, testing::ValuesIn(Attacks()),
                         [](auto const& attack) { return attack.param.name; });

} // namespace
} // namespace qx5::test
