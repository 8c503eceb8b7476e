// The simulated sonar's list of failures, written out as commands.
#include "failures.h"

#include <simulator/misbehaviour.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace qx5::soak {

namespace {

using namespace std::string_view_literals;

/// What these do to the line is mended by the protocol, or by the connection that follows.
constexpr std::array NothingIsLost{"drop-link"sv, "answer-late"sv, "refuse"sv,     "garbage"sv,
                                   "split"sv,     "stall"sv,       "half-frame"sv, "slow-drip"sv};

/// A number for a placeholder such as "MILLISECONDS": enough to be felt, little enough to recover from.
std::string NumberFor(std::string_view placeholder)
{
    return placeholder == "RECORDS" ? "5" : "150";
}

/// "close|not-listening" gives both; "RECORDS" a number.
std::vector<std::string> ChoicesOf(std::string_view argument)
{
    std::vector<std::string> choices;
    while (!argument.empty()) {
        std::string_view const choice = argument.substr(0, argument.find('|'));
        argument.remove_prefix(std::min(choice.size() + 1, argument.size()));
        bool const isPlaceholder =
            std::all_of(choice.begin(), choice.end(), [](unsigned char letter) { return std::isupper(letter) != 0; });
        choices.push_back(isPlaceholder ? NumberFor(choice) : std::string(choice));
    }
    return choices;
}

} // namespace

std::vector<Failure> AllFailures()
{
    std::vector<Failure> failures;
    for (simulator::MisbehaviourName const& row : simulator::MisbehaviourNames()) {
        std::string const name(row.name);
        bool const swallows = std::find(NothingIsLost.begin(), NothingIsLost.end(), row.name) == NothingIsLost.end();
        std::string_view argument = row.argument;
        bool const isOptional = argument.starts_with('[') && argument.ends_with(']');
        if (isOptional) {
            argument = argument.substr(1, argument.size() - 2);
        }
        if (isOptional || argument.empty()) {
            failures.push_back({name, "misbehave " + name, swallows});
        }
        for (std::string const& choice : ChoicesOf(argument)) {
            failures.push_back({name, "misbehave " + name + " " + choice, swallows});
        }
    }
    return failures;
}

} // namespace qx5::soak
