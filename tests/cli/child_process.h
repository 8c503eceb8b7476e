// A program run by a test: its arguments, its three streams, its end.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::test {

/// Long enough for any machine under any sanitizer; a test that works never comes near it.
inline constexpr std::chrono::seconds generousLimit{60};

/// Where the standard output of a program goes.
enum class OutputTo
{
    Test,       ///< which reads it
    FullDisk,   ///< a disk that has no room for it
    ClosedPipe, ///< a pipe whose reader has gone
};

/// A running program. Its output is read all the time, so it never blocks on a full pipe. One thread uses it.
class ChildProcess
{
public:
    /// Throws std::system_error when the program cannot be started. `environment` ("NAME=value") overrides that of the
    /// test.
    explicit ChildProcess(std::vector<std::string> command, std::vector<std::string> const& environment = {},
                          OutputTo output = OutputTo::Test);
    ChildProcess(ChildProcess const&) = delete;
    ChildProcess& operator=(ChildProcess const&) = delete;
    /// Kills it if it still runs.
    ~ChildProcess();

    /// Queues text for its standard input and returns.
    void Write(std::string text);
    /// Ends its standard input after what was written.
    void CloseInput();

    /// Waits until standard output holds the text; false when it ends without or the limit is over.
    bool WaitForOutput(std::string_view text, std::chrono::milliseconds limit = generousLimit);
    bool WaitForError(std::string_view text, std::chrono::milliseconds limit = generousLimit);
    std::string Output() const;
    std::string Errors() const;

    void Signal(int number);
    /// Its exit code, or 128 and the number of the signal that ended it; nothing when it still runs after the limit.
    /// All output has then been read.
    std::optional<int> WaitForEnd(std::chrono::milliseconds limit = generousLimit);

    /// Its number in the system.
    std::string Id() const;

private:
    struct Body;
    std::unique_ptr<Body> m_body;
};

struct Outcome
{
    int code = -1; ///< -1: it did not end within the generous limit
    std::string out;
    std::string err;
};

/// Runs the program to its end with that standard input.
Outcome RunToEnd(std::vector<std::string> command, std::string input = {},
                 std::vector<std::string> const& environment = {}, OutputTo output = OutputTo::Test);

} // namespace qx5::test
