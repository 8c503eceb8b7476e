// A recording whose program is killed: it opens without repair, has lost a second at most, and tells nothing false.
#include "recording/mcap_reader.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#include <fcntl.h>
#include <protocol/bytes.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace qx5::test {
namespace {

/// A page that another program writes into.
class SharedPage
{
public:
    explicit SharedPage(std::string const& file)
    {
        std::ofstream(file, std::ios::binary) << std::string(4096, '\0');
        int const descriptor = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
        m_memory = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        ::close(descriptor);
    }
    SharedPage(SharedPage const&) = delete;
    SharedPage& operator=(SharedPage const&) = delete;
    ~SharedPage() { ::munmap(m_memory, 4096); }
    std::uint64_t Number() const { return static_cast<std::atomic<std::uint64_t> const*>(m_memory)->load(); }

private:
    void* m_memory;
};

TEST(KilledRecording, OpensAndHasLostASecondAtMost)
{
    // QX5_KILLS=200 for as many.
    char const* const wanted = std::getenv("QX5_KILLS");
    int const rounds = wanted != nullptr ? std::atoi(wanted) : 8;
    std::mt19937 random(std::random_device{}());
    std::uint64_t mostLost = 0;
    for (int round = 0; round < rounds; ++round) {
        TemporaryFolder const folder;
        auto const file = (folder / "killed.mcap").string();
        auto const pageFile = (folder / "page").string();
        SharedPage const page(pageFile);
        std::string program = ENDLESS_RECORDING;
        std::array<char*, 4> arguments{program.data(), const_cast<char*>(file.c_str()),
                                       const_cast<char*>(pageFile.c_str()), nullptr};
        pid_t child = 0;
        ASSERT_EQ(::posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ), 0);
        // At any moment: what it has written by then is what is looked at.
        auto const until = 1 + random() % 5'000;
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (page.Number() < until && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "it has ended by itself, with " << WEXITSTATUS(status);
        ASSERT_GE(page.Number(), until);

        recording::McapReader reader(file);
        EXPECT_FALSE(reader.IsComplete());
        std::uint64_t last = 0;
        reader.ForEach([&](recording::McapChannel const& channel, recording::McapMessage const& message) {
            EXPECT_EQ(channel.topic, "/sonar/1.78.1.1/sent");
            EXPECT_EQ(message.data.size(), 100U);
            EXPECT_EQ(protocol::GetU64LE(message.data, 0), ++last) << "none is missing before another";
            return true;
        });
        // A frame each 200 us at the most often: 5,000 of them are a second.
        ASSERT_LE(page.Number() - last, 5'000U);
        mostLost = std::max(mostLost, page.Number() - last);
        EXPECT_EQ(reader.DamagedChunks(), 0U);
    }
    RecordProperty("most_lost", static_cast<int>(mostLost));
    std::printf("of %d programs that were killed the recording lacked %llu frames at most, of some 3,000 a second\n",
                rounds, static_cast<unsigned long long>(mostLost));
}

} // namespace
} // namespace qx5::test
