// Fuzzes what a running program and a shell read of one another: any line is refused in one line, or is written again
// and read as the same.
#include "shell/shell_messages.h"
#include "shell/told_value.h"
#include "json/json_path.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace qx5::shell;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

bool IsOneLine(std::string_view line)
{
    return line.ends_with('\n') && line.find('\n') == line.size() - 1;
}

template <typename Read>
void Try(std::string_view line, Read const& read)
{
    try {
        std::string const written = LineOf(read(line));
        Require(IsOneLine(written));
        Require(LineOf(read(std::string_view(written).substr(0, written.size() - 1))) == written);
    } catch (qx5::InvalidDocument const& problem) {
        std::string const text = problem.Path() + problem.what();
        Require(!text.empty() && text.find('\n') == std::string::npos);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const line(reinterpret_cast<char const*>(data), size);
    Try(line, ReadQuestion);
    Try(line, ReadAnswer);
    static_cast<void>(ValueText(std::string(line), "m"));
    return 0;
}
