// The command qx5 under test: short ways to run it and to look at what it printed.
#pragma once

#include "child_process.h"
#include "tests/support/temporary_folder.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace qx5::test {

/// Runs `qx5 ARGUMENTS` to its end.
Outcome Qx5(std::vector<std::string> arguments, std::string input = {},
            std::vector<std::string> const& environment = {}, OutputTo output = OutputTo::Test);

/// It ended with that code, and standard error holds exactly one line beside those of the host's log, which begins with
/// the program's name and holds each of the texts.
void ExpectComplaint(Outcome const& outcome, int code, std::vector<std::string> const& texts);

/// A `qx5 sim` on a port of its own choice, ended with its scope.
class Simulator
{
public:
    explicit Simulator(std::vector<std::string> const& options = {});
    std::uint16_t Port() const { return m_port; }
    std::string Endpoint() const { return "127.0.0.1:" + std::to_string(m_port); }
    ChildProcess& Process() { return *m_process; }

private:
    std::unique_ptr<ChildProcess> m_process;
    std::uint16_t m_port = 0;
};

/// A port of 127.0.0.1 that is bound and never answers a connection attempt, while it lives.
class SilentPort
{
public:
    SilentPort();
    SilentPort(SilentPort const&) = delete;
    SilentPort& operator=(SilentPort const&) = delete;
    ~SilentPort();
    std::uint16_t Port() const { return m_port; }

private:
    std::uint16_t m_port = 0; // first: the listener's making sets it
    int m_listener = -1;
    std::vector<int> m_fillers;
};

/// A port of 127.0.0.1 that is bound, so that nobody else has it, and on which nobody listens.
class DeafPort
{
public:
    DeafPort();
    DeafPort(DeafPort const&) = delete;
    DeafPort& operator=(DeafPort const&) = delete;
    ~DeafPort();
    std::uint16_t Port() const { return m_port; }

private:
    std::uint16_t m_port = 0; // first: the socket's making sets it
    int m_socket = -1;
};

/// A file that goes with its scope.
class TemporaryFile
{
public:
    TemporaryFile(std::string const& name, std::string const& content);
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    std::string Path() const { return m_path.string(); }

private:
    TemporaryFolder m_folder;
    std::filesystem::path m_path;
};

/// "05 00 3c" as bytes.
std::string FromHex(std::string_view hex);

/// A frame of 96 bytes that asks for a range of 50 m, as hexadecimal text; of 2023-11-14 22:13:20 UTC.
/// Here, so that other constants can be made of it.
inline std::string const rangeFrameHex =
    "05 00 3c 00 ff ff 00 00 60 00 00 00 00 00 00 00 00 00 00 00 e7 07 3e 01 00 00 a0 41 16 0d 01 00\n"
    "4c 1d 00 00 00 00 00 00 00 00 ff ff 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
    "eb 03 00 00 eb 03 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 48 42 00 00 00 00\n";

} // namespace qx5::test
