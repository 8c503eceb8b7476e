// Whether a person sits at the other end of a standard stream, and single keys of the keyboard, on POSIX systems.
#include "terminal.h"

#include <cstdio>
#include <cstdlib>

#include <array>
#include <cerrno>
#include <csignal>
#include <iterator>
#include <span>
#include <utility>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace qx5::cli {

bool IsTerminal(Stream stream)
{
    return isatty(stream == Stream::Input ? STDIN_FILENO : STDOUT_FILENO) != 0;
}

namespace {

constexpr int endingSignals[]{SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// What a signal handler needs, so plain objects of static storage.
termios modeBefore{};
struct sigaction actionsBefore[std::size(endingSignals)]{};
volatile std::sig_atomic_t modeIsChanged = 0;

/// Safe within a signal handler.
void PutModeBack()
{
    if (modeIsChanged != 0) {
        modeIsChanged = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &modeBefore);
    }
}

void OnEndingSignal(int number, siginfo_t* info, void*)
{
    int const errnoBefore = errno;
    PutModeBack();
    for (std::size_t i = 0; i < std::size(endingSignals); ++i) {
        if (endingSignals[i] == number) {
            sigaction(number, &actionsBefore[i], nullptr);
        }
    }
    bool const isFault = number == SIGSEGV || number == SIGBUS || number == SIGFPE || number == SIGILL;
    // A fault happens again on return, and is then told as if nobody had listened; another signal is sent again.
    if (!isFault || info->si_code <= 0) {
        raise(number);
    }
    errno = errnoBefore;
}

bool IsIgnored(struct sigaction const& action)
{
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN;
}

void ListenForTheEnd()
{
    struct sigaction action
    {
    };
    action.sa_sigaction = OnEndingSignal;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < std::size(endingSignals); ++i) {
        sigaction(endingSignals[i], nullptr, &actionsBefore[i]);
        if (!IsIgnored(actionsBefore[i])) {
            sigaction(endingSignals[i], &action, nullptr);
        }
    }
}

/// Waits for input and takes what is there, at most the bytes' size; 0 at the end of the input, when `end` (-1: none)
/// is readable, or when `milliseconds` (negative: never) are over.
std::size_t ReadInput(std::span<char> bytes, int end, int milliseconds)
{
    std::array<pollfd, 2> sources{{{STDIN_FILENO, POLLIN, 0}, {end, POLLIN, 0}}};
    for (;;) {
        int const ready = poll(sources.data(), sources.size(), milliseconds);
        if (ready == 0 || (ready > 0 && sources[1].revents != 0)) {
            return 0;
        }
        auto const count = ready > 0 ? read(STDIN_FILENO, bytes.data(), bytes.size()) : -1;
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR) {
            return 0;
        }
    }
}

/// The next byte, or -1 where ReadInput gives none.
int ReadByte(int end, int milliseconds)
{
    char byte = 0;
    return ReadInput({&byte, 1}, end, milliseconds) != 0 ? static_cast<unsigned char>(byte) : -1;
}

} // namespace

std::optional<std::string> InputLines::Read()
{
    std::size_t searched = 0;
    for (;;) {
        if (auto const at = m_ahead.find('\n', searched); at != std::string::npos) {
            std::string line = m_ahead.substr(0, at);
            m_ahead.erase(0, at + 1);
            return line;
        }
        searched = m_ahead.size();
        std::array<char, 4096> bytes;
        std::size_t const count = ReadInput(bytes, m_end, -1);
        if (count == 0) {
            // The last line need not have an end.
            return m_ahead.empty() ? std::nullopt : std::optional(std::exchange(m_ahead, {}));
        }
        m_ahead.append(bytes.data(), count);
    }
}

Keyboard::Keyboard(int end) : m_end(end)
{
    if (tcgetattr(STDIN_FILENO, &modeBefore) != 0) {
        return;
    }
    static bool const atExit = std::atexit(PutModeBack) == 0;
    static_cast<void>(atExit);
    ListenForTheEnd();
    termios mode = modeBefore;
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    mode.c_cc[VMIN] = 1;
    mode.c_cc[VTIME] = 0;
    // A stop would leave the terminal as it is.
    mode.c_cc[VSUSP] = _POSIX_VDISABLE;
    modeIsChanged = 1;
    tcsetattr(STDIN_FILENO, TCSANOW, &mode);
}

Keyboard::~Keyboard()
{
    if (modeIsChanged == 0) {
        return;
    }
    PutModeBack();
    for (std::size_t i = 0; i < std::size(endingSignals); ++i) {
        if (!IsIgnored(actionsBefore[i])) {
            sigaction(endingSignals[i], &actionsBefore[i], nullptr);
        }
    }
}

std::optional<int> Keyboard::Read()
{
    // What a key sends beyond its first character comes at once; a person is slower.
    constexpr int pause = 50;
    constexpr int escape = 0x1B;
    int const first = ReadByte(m_end, -1);
    if (first < 0) {
        return std::nullopt;
    }
    if (first != escape) {
        return first;
    }
    int const second = ReadByte(m_end, pause);
    if (second != '[' && second != 'O') {
        return second < 0 ? escape : KeyOther;
    }
    int last = ReadByte(m_end, pause);
    bool const isPlain = last == 'A' || last == 'B';
    while (last >= 0x20 && last < 0x40) {
        last = ReadByte(m_end, pause);
    }
    return !isPlain ? KeyOther : last == 'A' ? KeyUp : KeyDown;
}

} // namespace qx5::cli
