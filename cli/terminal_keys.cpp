// The keyboard as an operator terminal: which key stands for which code.
#include "terminal_keys.h"

#include "platform/terminal.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

constexpr std::uint32_t stepDownCode = 40;
constexpr std::uint32_t stepUpCode = 41;

constexpr bool EveryCodeHasAKey()
{
    for (terminal::Code const& code : terminal::Codes) {
        bool found = false;
        for (TerminalKey const& key : TerminalKeys) {
            found = found || key.code == code.number;
        }
        if (!found) {
            return false;
        }
    }
    return true;
}
static_assert(EveryCodeHasAKey());

constexpr char interrupt = '\x03';
constexpr char endOfTransmission = '\x04';

std::string Named(char key)
{
    bool const printable = key > ' ' && key <= '~';
    return printable ? fmt::format("'{}'", key) : fmt::format("the key {:#04x}", static_cast<unsigned char>(key));
}

void ReadCharacter(char character, TerminalInput& input)
{
    auto const* const end = std::end(TerminalKeys);
    auto const* const found =
        std::find_if(std::begin(TerminalKeys), end, [&](TerminalKey const& each) { return each.key == character; });
    if (found != end) {
        input.codes.push_back(found->code);
    } else if (character == '?') {
        input.help = true;
    } else if (character == 'q') {
        input.quit = true;
    } else if (input.problem.empty()) {
        input.problem = fmt::format("{} stands for no code; `?` lists the keys", Named(character));
    }
}

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    auto const from = text.find_first_not_of(blanks);
    if (from == std::string_view::npos) {
        return {};
    }
    return text.substr(from, text.find_last_not_of(blanks) + 1 - from);
}

} // namespace

TerminalInput ReadTerminalKey(int key)
{
    TerminalInput input;
    if (key == KeyUp || key == KeyDown) {
        input.codes.push_back(key == KeyUp ? stepUpCode : stepDownCode);
    } else if (key == interrupt || key == endOfTransmission) {
        input.quit = true;
    } else if (key >= 0 && key <= 0xFF && key != ' ' && key != '\n' && key != '\r') {
        ReadCharacter(static_cast<char>(key), input);
    }
    return input;
}

TerminalInput ReadTerminalLine(std::string_view line)
{
    constexpr std::string_view codeWord = "code ";
    TerminalInput input;
    line = Trimmed(line);
    if (line.empty() || line.front() == '#') {
        return input;
    }
    if (line == "quit" || line == "help") {
        (line == "quit" ? input.quit : input.help) = true;
        return input;
    }
    if (line.starts_with(codeWord)) {
        std::string_view const number = Trimmed(line.substr(codeWord.size()));
        std::uint32_t code = 0;
        auto const [end, problem] = std::from_chars(number.data(), number.data() + number.size(), code);
        if (problem != std::errc() || end != number.data() + number.size()) {
            input.problem = fmt::format("'{}' is no code; write for example: code 41", number);
        } else {
            input.codes.push_back(code);
        }
        return input;
    }
    for (char const character : line) {
        if (character != ' ' && character != '\t') {
            ReadCharacter(character, input);
        }
    }
    if (!input.problem.empty()) {
        // A word that happens to hold keys is a slip, and must not stop the sonar.
        return {.quit = false, .help = false, .codes = {}, .problem = input.problem};
    }
    return input;
}

std::string TerminalKeyHelp()
{
    std::string text;
    for (terminal::Code const& code : terminal::Codes) {
        std::string keys;
        for (TerminalKey const& key : TerminalKeys) {
            if (key.code == code.number) {
                keys += keys.empty() ? "" : " ";
                keys += key.key;
            }
        }
        text += fmt::format("{:<5}code {:<4}{}\n", keys, code.number, code.meaning);
    }
    text += "?               this list (also `help` on a line of its own)\n"
            "q               end (also `quit`, Ctrl-C and the end of the input)\n"
            "The arrows up and down step, too. On lines: keys one behind the other, such as r++, or `code N` for any "
            "code.\n";
    return text;
}

} // namespace qx5::cli
