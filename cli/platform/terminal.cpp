// Whether a person sits at the other end of a standard stream, and single keys of the keyboard, on each platform.
#include "terminal.h"

#include <cstdio>
#include <cstdlib>

#if defined(_WIN32)
#include <conio.h>
#include <io.h>
#else
#include <cerrno>
#include <csignal>
#include <iterator>

#include <poll.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace qx5::cli {

bool IsTerminal(Stream stream)
{
#if defined(_WIN32)
    return _isatty(_fileno(stream == Stream::Input ? stdin : stdout)) != 0;
#else
    return isatty(stream == Stream::Input ? STDIN_FILENO : STDOUT_FILENO) != 0;
#endif
}

#if defined(_WIN32)

// The console hands out single keys without a change of its mode.
Keyboard::Keyboard() = default;
Keyboard::~Keyboard() = default;

std::optional<int> Keyboard::Read()
{
    int const key = _getch();
    if (key != 0 && key != 0xE0) {
        return key;
    }
    switch (_getch()) {
    case 'H':
        return KeyUp;
    case 'P':
        return KeyDown;
    default:
        return KeyOther;
    }
}

#else

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

/// The next byte, or -1 at the end of the input; -1 also when `milliseconds` (not negative) are over.
int ReadByte(int milliseconds)
{
    pollfd input{STDIN_FILENO, POLLIN, 0};
    for (;;) {
        int const ready = poll(&input, 1, milliseconds);
        if (ready == 0) {
            return -1;
        }
        unsigned char byte = 0;
        auto const count = ready > 0 ? read(STDIN_FILENO, &byte, 1) : -1;
        if (count > 0) {
            return byte;
        }
        if (count == 0 || errno != EINTR) {
            return -1;
        }
    }
}

} // namespace

Keyboard::Keyboard()
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
    int const first = ReadByte(-1);
    if (first < 0) {
        return std::nullopt;
    }
    if (first != escape) {
        return first;
    }
    int const second = ReadByte(pause);
    if (second != '[' && second != 'O') {
        return second < 0 ? escape : KeyOther;
    }
    int last = ReadByte(pause);
    bool const isPlain = last == 'A' || last == 'B';
    while (last >= 0x20 && last < 0x40) {
        last = ReadByte(pause);
    }
    return !isPlain ? KeyOther : last == 'A' ? KeyUp : KeyDown;
}

#endif

} // namespace qx5::cli
