// Whether a person sits at the other end of a standard stream, and single keys of the keyboard.
#pragma once

#include <optional>
#include <string>

namespace qx5::cli {

enum class Stream
{
    Input,
    Output
};

bool IsTerminal(Stream stream);

/// Keys that are no characters.
inline constexpr int KeyUp = 0x100;
inline constexpr int KeyDown = 0x101;
inline constexpr int KeyOther = 0x102; ///< any other key that sends more than one character

/// Takes lines from standard input. Used from one thread, by one object in a process: it reads ahead.
class InputLines
{
public:
    /// `end` is a descriptor that becomes readable when there is nothing to wait for any more (see EndSignals), or -1.
    explicit InputLines(int end) : m_end(end) {}

    /// Waits for a line and gives it without its end; nothing at the end of the input, or when that descriptor says so.
    std::optional<std::string> Read();

private:
    int m_end;
    std::string m_ahead;
};

/// Takes keys from the terminal at standard input as they are pressed, without showing them, while it lives. One at a
/// time in a process, used from one thread. The terminal is put back when it goes, and also when the process ends by
/// exit, by an exception that nobody catches, or by a signal that can be caught.
class Keyboard
{
public:
    /// `end` as with InputLines; with -1 Ctrl-C ends the process as ever.
    explicit Keyboard(int end);
    Keyboard(Keyboard const&) = delete;
    Keyboard& operator=(Keyboard const&) = delete;
    ~Keyboard();

    /// Waits for a key and gives its character (0 to 255) or one of the constants above; nothing at the end of the
    /// input.
    std::optional<int> Read();

private:
    int m_end;
};

} // namespace qx5::cli
