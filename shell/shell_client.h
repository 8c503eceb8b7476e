// A shell's side of the connection to a program that runs.
#pragma once

#include "shell/shell_messages.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace qx5::shell {

/// Why a program cannot be asked, or is asked no more; one line.
class ShellError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A connection to one program. One thread.
class ShellClient
{
public:
    /// Connects and waits for the greeting. Throws ShellError when nobody answers there within the limit.
    ShellClient(std::filesystem::path const& socket, std::chrono::milliseconds limit);
    ShellClient(ShellClient const&) = delete;
    ShellClient& operator=(ShellClient const&) = delete;
    ~ShellClient();

    Greeting const& Greeted() const { return m_greeting; }
    /// Throws ShellError when the program is gone, or the question is longer than it takes.
    void Ask(Question const& question);

    /// Readable when there is something to take, or the connection has ended.
    int Handle() const;
    /// The next answer that has come whole; nothing while there is none. Throws ShellError when the connection has
    /// ended, or what came is no answer.
    std::optional<Answer> Take();

private:
    struct Body;

    std::optional<std::string> TakeLine();

    std::unique_ptr<Body> m_body;
    Greeting m_greeting;
};

/// All programs of this user that answer, in the order of their numbers. Throws ShellError when their folder is not
/// this user's alone.
std::vector<std::unique_ptr<ShellClient>> AskablePrograms(std::chrono::milliseconds limit);

/// The one program that is meant: by its number, by a sonar that it alone has (name or id; empty: its only one), or the
/// only one there. Throws ShellError, which lists those that there are, when that is none or not one.
std::unique_ptr<ShellClient> FindProgram(std::optional<std::uint64_t> process, std::string const& sonar,
                                         std::chrono::milliseconds limit);

} // namespace qx5::shell
