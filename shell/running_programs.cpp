// The sockets of programs that answer shells.
#include "shell/running_programs.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace qx5::shell {

namespace {

constexpr std::string_view ending = ".sock";

} // namespace

std::filesystem::path SocketOf(std::filesystem::path const& folder, std::uint64_t process)
{
    return folder / (std::to_string(process) + std::string(ending));
}

std::optional<std::uint64_t> ProcessOf(std::filesystem::path const& socket)
{
    auto const name = socket.filename().string();
    if (!name.ends_with(ending)) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    auto const* const last = name.data() + name.size() - ending.size();
    auto const [end, problem] = std::from_chars(name.data(), last, number);
    return problem == std::errc() && end == last ? std::optional(number) : std::nullopt;
}

std::vector<std::filesystem::path> SocketsIn(std::filesystem::path const& folder)
{
    std::vector<std::filesystem::path> sockets;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (ProcessOf(entry->path())) {
            sockets.push_back(entry->path());
        }
    }
    std::sort(sockets.begin(), sockets.end(),
              [](auto const& a, auto const& b) { return *ProcessOf(a) < *ProcessOf(b); });
    return sockets;
}

} // namespace qx5::shell
