// The keyboard as an operator terminal: which key stands for which code.
#pragma once

#include <commands/terminal_codes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::cli {

/// A key of the keyboard and the terminal's code that it stands for.
struct TerminalKey
{
    char key;
    std::uint32_t code;
};

inline constexpr TerminalKey TerminalKeys[]{
    {'s', 1},  {'X', 2},  {'h', 3},  {'d', 4},  {'g', 5},  {'l', 6},  {'r', 7},  {'p', 8},  {'j', 9},  {'m', 10},
    {'t', 11}, {'0', 20}, {'1', 21}, {'2', 22}, {'3', 23}, {'4', 24}, {'-', 40}, {'+', 41}, {'=', 41},
};

/// What a line or a key asks for.
struct TerminalInput
{
    bool quit = false;
    bool help = false;
    std::vector<std::uint32_t> codes; ///< in order
    std::string problem;              ///< not empty: one line that says what is not understood; nothing else is set
};

/// A key of the keyboard as it is pressed, see KeyUp for those that are no characters.
TerminalInput ReadTerminalKey(int key);
/// A line: "quit", "help", "code N" for any code, known or not, or keys one behind the other, such as "r++".
TerminalInput ReadTerminalLine(std::string_view line);

/// The keys with what they do, one line each.
std::string TerminalKeyHelp();

} // namespace qx5::cli
