// Fuzzes the keyboard as an operator terminal: lines and single keys.
#include "cli/terminal_keys.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void Check(qx5::cli::TerminalInput const& input, bool isLine)
{
    if (input.problem.find('\n') != std::string::npos) {
        std::abort();
    }
    // A slip in a line sends nothing at all.
    if (isLine && !input.problem.empty() && (input.quit || input.help || !input.codes.empty())) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const line(reinterpret_cast<char const*>(data), size);
    if (line.find('\n') == std::string_view::npos) {
        Check(qx5::cli::ReadTerminalLine(line), true);
    }
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        Check(qx5::cli::ReadTerminalKey(data[i] * 256 + data[i + 1] - 64), false);
    }
    return 0;
}
