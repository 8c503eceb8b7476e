// Fuzzes `qx5 decode`: any bytes on standard input, taken for a stream or for hexadecimal text, as it sees fit or told.
#include "cli/commands.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

namespace qx5::cli {

// In place of the one that prints.
int Complain(ExitCode code, std::string const& text)
{
    if (text.empty() || text.find('\n') != std::string::npos) {
        std::abort();
    }
    return code;
}

} // namespace qx5::cli

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // What it prints is the business of another target.
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    std::istringstream input(std::string(reinterpret_cast<char const*>(data + 1), size - 1));
    auto* const real = std::cin.rdbuf(input.rdbuf());
    qx5::cli::DecodeOptions options;
    options.hex = data[0] % 3U == 1;
    options.raw = data[0] % 3U == 2;
    int const code = qx5::cli::Decode(options);
    std::cin.rdbuf(real);
    std::cin.clear();
    if (code != qx5::cli::ExitGood && code != qx5::cli::ExitFailed && code != qx5::cli::ExitWrong) {
        std::abort();
    }
    return 0;
}
