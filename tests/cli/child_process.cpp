// A program run by a test, with a thread for each of its streams.
#include "child_process.h"

#include <array>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace qx5::test {

namespace {

/// Both ends are closed upon exec in any program that is started, so that no child holds the pipe of another.
struct Pipe
{
    int read = -1;
    int write = -1;

    Pipe()
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
        read = ends[0];
        write = ends[1];
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;
    ~Pipe()
    {
        Close(read);
        Close(write);
    }
    static void Close(int& end)
    {
        if (end >= 0) {
            close(end);
        }
        end = -1;
    }
};

void IgnoreBrokenPipes()
{
    // A program that ends before it has read its input must not end the test.
    std::signal(SIGPIPE, SIG_IGN);
}

} // namespace

struct ChildProcess::Body
{
    Pipe input;
    Pipe output;
    Pipe errors;
    pid_t id = 0;

    mutable std::mutex mutex;
    std::condition_variable changed;
    std::string out;
    std::string err;
    int openStreams = 2;
    std::string toWrite;
    bool closeInput = false;
    std::optional<int> code;
    std::thread outReader;
    std::thread errReader;
    std::thread writer;
    std::thread waiter;

    void Read(int descriptor, std::string& into)
    {
        std::array<char, 65536> buffer{};
        for (;;) {
            ssize_t const count = read(descriptor, buffer.data(), buffer.size());
            if (count < 0 && errno == EINTR) {
                continue;
            }
            std::lock_guard const lock(mutex);
            if (count <= 0) {
                --openStreams;
                changed.notify_all();
                return;
            }
            into.append(buffer.data(), static_cast<std::size_t>(count));
            changed.notify_all();
        }
    }

    void Feed()
    {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return closeInput || !toWrite.empty(); });
            if (toWrite.empty()) {
                Pipe::Close(input.write);
                return;
            }
            std::string const text = std::exchange(toWrite, {});
            lock.unlock();
            for (std::size_t done = 0; done < text.size();) {
                ssize_t const count = write(input.write, text.data() + done, text.size() - done);
                if (count > 0) {
                    done += static_cast<std::size_t>(count);
                } else if (errno != EINTR) {
                    break; // it reads no more
                }
            }
            lock.lock();
        }
    }

    void AwaitEnd()
    {
        int status = 0;
        while (waitpid(id, &status, 0) < 0 && errno == EINTR) {
        }
        std::lock_guard const lock(mutex);
        code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        closeInput = true;
        changed.notify_all();
    }

    bool WaitFor(std::string const& text, std::string_view wanted, std::chrono::milliseconds limit)
    {
        std::unique_lock lock(mutex);
        auto const found = [&] { return text.find(wanted) != std::string::npos; };
        changed.wait_for(lock, limit, [&] { return found() || openStreams == 0; });
        return found();
    }
};

ChildProcess::ChildProcess(std::vector<std::string> command, std::vector<std::string> const& environment,
                           OutputTo output)
    : m_body(std::make_unique<Body>())
{
    IgnoreBrokenPipes();
    std::vector<char*> arguments;
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);

    std::vector<std::string> overrides = environment;
    std::vector<char*> variables;
    for (std::string& entry : overrides) {
        variables.push_back(entry.data());
    }
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string_view const name(*entry, std::strcspn(*entry, "="));
        bool overridden = false;
        for (std::string const& own : environment) {
            overridden = overridden || own.substr(0, own.find('=')) == name;
        }
        if (!overridden) {
            variables.push_back(*entry);
        }
    }
    variables.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, m_body->input.read, STDIN_FILENO);
    if (output == OutputTo::FullDisk) {
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/full", O_WRONLY, 0);
    } else {
        posix_spawn_file_actions_adddup2(&actions, m_body->output.write, STDOUT_FILENO);
    }
    if (output == OutputTo::ClosedPipe) {
        Pipe::Close(m_body->output.read);
    }
    posix_spawn_file_actions_adddup2(&actions, m_body->errors.write, STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    int const problem =
        posix_spawn(&m_body->id, arguments.front(), &actions, &attributes, arguments.data(), variables.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (problem != 0) {
        throw std::system_error(problem, std::generic_category(), command.front());
    }
    Pipe::Close(m_body->input.read);
    Pipe::Close(m_body->output.write);
    Pipe::Close(m_body->errors.write);
    Body& body = *m_body;
    body.outReader = std::thread([&body] { body.Read(body.output.read, body.out); });
    body.errReader = std::thread([&body] { body.Read(body.errors.read, body.err); });
    body.writer = std::thread([&body] { body.Feed(); });
    body.waiter = std::thread([&body] { body.AwaitEnd(); });
}

ChildProcess::~ChildProcess()
{
    Signal(SIGKILL);
    m_body->waiter.join();
    m_body->writer.join();
    m_body->outReader.join();
    m_body->errReader.join();
}

void ChildProcess::Write(std::string text)
{
    std::lock_guard const lock(m_body->mutex);
    m_body->toWrite += text;
    m_body->changed.notify_all();
}

void ChildProcess::CloseInput()
{
    std::lock_guard const lock(m_body->mutex);
    m_body->closeInput = true;
    m_body->changed.notify_all();
}

bool ChildProcess::WaitForOutput(std::string_view text, std::chrono::milliseconds limit)
{
    return m_body->WaitFor(m_body->out, text, limit);
}

bool ChildProcess::WaitForError(std::string_view text, std::chrono::milliseconds limit)
{
    return m_body->WaitFor(m_body->err, text, limit);
}

std::string ChildProcess::Output() const
{
    std::lock_guard const lock(m_body->mutex);
    return m_body->out;
}

std::string ChildProcess::Errors() const
{
    std::lock_guard const lock(m_body->mutex);
    return m_body->err;
}

std::string ChildProcess::Id() const
{
    return std::to_string(m_body->id);
}

void ChildProcess::Signal(int number)
{
    std::lock_guard const lock(m_body->mutex);
    if (!m_body->code) {
        kill(m_body->id, number);
    }
}

std::optional<int> ChildProcess::WaitForEnd(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_body->mutex);
    bool const ended =
        m_body->changed.wait_for(lock, limit, [this] { return m_body->code.has_value() && m_body->openStreams == 0; });
    return ended ? m_body->code : std::nullopt;
}

Outcome RunToEnd(std::vector<std::string> command, std::string input, std::vector<std::string> const& environment,
                 OutputTo output)
{
    ChildProcess child(std::move(command), environment, output);
    child.Write(std::move(input));
    child.CloseInput();
    Outcome outcome;
    outcome.code = child.WaitForEnd().value_or(-1);
    outcome.out = child.Output();
    outcome.err = child.Errors();
    return outcome;
}

} // namespace qx5::test
