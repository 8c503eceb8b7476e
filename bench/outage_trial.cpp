// qx5-outage: an hour's outage at 20 events a second, as fast as it goes. See tests/vessel/outage.h for what is
// promised.
//   qx5-outage [--events N] [--seed N]   72,000 events unless told; a seed is drawn unless told, and printed
// Prints one line of JSON. Ends with 1 when an event is lost, twice or out of order.
#include "outage.h"

#include <charconv>
#include <cstdint>
#include <exception>
#include <optional>
#include <random>
#include <string_view>

#include <fmt/format.h>

namespace {

/// Nothing when it is no number of at least 1.
std::optional<std::uint64_t> Number(std::string_view text)
{
    std::uint64_t number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number != 0 ? std::optional(number)
                                                                                   : std::nullopt;
}

int Run(int count, char const* const* words)
{
    qx5::test::OutageOptions options;
    options.program = QX5_FILE;
    options.seed = std::random_device()();
    for (int i = 1; i < count; i += 2) {
        std::string_view const word(words[i]);
        auto const number = i + 1 < count ? Number(words[i + 1]) : std::nullopt;
        if ((word != "--events" && word != "--seed") || !number) {
            fmt::print(stderr, "qx5-outage: it takes --events N and --seed N, each N a number from 1 on\n");
            return 2;
        }
        (word == "--events" ? options.events : options.seed) = *number;
    }
    // As many sonars as have a range for each of their events.
    constexpr std::uint64_t ofSonar = 40'000;
    options.sonars = static_cast<unsigned>(std::max<std::uint64_t>(options.sonars, options.events / ofSonar + 1));
    options.tell = [](std::string const& line) { fmt::print(stderr, "{}\n", line); };
    fmt::print(stderr, "seed {}\n", options.seed);
    auto const result = qx5::test::RunOutage(options);
    fmt::print("{}\n", JsonOf(result, options));
    bool const isKept = result.problem.empty() && result.lost == 0 && result.twice == 0 && result.outOfOrder == 0 &&
                        result.gaps == 0 && result.outboxes == 1 && result.events >= options.events;
    return isKept ? 0 : 1;
}

} // namespace

int main(int count, char** words)
{
    try {
        return Run(count, words);
    } catch (std::exception const& problem) {
        fmt::print(stderr, "qx5-outage: {}\n", problem.what());
        return 1;
    }
}
