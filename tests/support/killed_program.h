// A program that a test kills, at a moment that the program's own progress tells.
#pragma once

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace qx5::test {

/// A number in a file that two programs have in their memory; what one wrote into it before it was killed, the other
/// reads.
class SharedNumber
{
public:
    enum class File
    {
        Make,
        Open,
    };
    SharedNumber(std::string const& file, File how)
    {
        constexpr std::size_t size = 4096;
        if (how == File::Make) {
            std::ofstream(file, std::ios::binary) << std::string(size, '\0');
        }
        int const descriptor = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
        void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        ::close(descriptor);
        m_number = memory == MAP_FAILED ? nullptr : static_cast<std::atomic<std::uint64_t>*>(memory);
    }
    SharedNumber(SharedNumber const&) = delete;
    SharedNumber& operator=(SharedNumber const&) = delete;
    ~SharedNumber() { ::munmap(m_number, 4096); }

    bool IsThere() const { return m_number != nullptr; }
    std::atomic<std::uint64_t>& Number() const { return *m_number; }

private:
    std::atomic<std::uint64_t>* m_number = nullptr;
};

/// Runs a program and kills it as soon as the number is `until` or more. How it ended, as waitpid tells; -1 when it
/// could not be started.
inline int KillAt(std::vector<std::string> command, SharedNumber const& number, std::uint64_t until)
{
    std::vector<char*> arguments;
    for (std::string& word : command) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
        return -1;
    }
    int status = 0;
    while (number.Number().load() < until) {
        if (::waitpid(child, &status, WNOHANG) == child) {
            return status;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
    return status;
}

} // namespace qx5::test
