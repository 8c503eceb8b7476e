// The simulated sonar's list of failures, written out as commands.
#include "failures.h"

#include <simulator/flood.h>
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

/// What a placeholder such as "MILLISECONDS" may stand for: enough to be felt, little enough to recover from.
std::vector<std::string> ChoicesFor(std::string_view placeholder)
{
    if (placeholder == "KIND") {
        std::vector<std::string> kinds;
        for (simulator::FloodKind const& kind : simulator::FloodKinds()) {
            kinds.emplace_back(kind.name);
        }
        return kinds;
    }
    return {placeholder == "RECORDS" ? "5" : placeholder == "KEYS" ? "1000" : "150"};
}

/// "close|not-listening" gives both, "RECORDS" a number.
std::vector<std::string> ChoicesOf(std::string_view argument)
{
    std::vector<std::string> choices;
    while (!argument.empty()) {
        std::string_view const choice = argument.substr(0, argument.find('|'));
        argument.remove_prefix(std::min(choice.size() + 1, argument.size()));
        bool const isPlaceholder =
            std::all_of(choice.begin(), choice.end(), [](unsigned char letter) { return std::isupper(letter) != 0; });
        auto const all = isPlaceholder ? ChoicesFor(choice) : std::vector<std::string>{std::string(choice)};
        choices.insert(choices.end(), all.begin(), all.end());
    }
    return choices;
}

} // namespace

std::vector<Failure> AllFailures()
{
    std::vector<Failure> failures;
    for (simulator::MisbehaviourName const& row : simulator::MisbehaviourNames()) {
        std::string const name(row.name);
        bool const floods = row.name == "flood" || row.name == "collide";
        bool const swallows = std::find(NothingIsLost.begin(), NothingIsLost.end(), row.name) == NothingIsLost.end();
        std::string_view argument = row.argument;
        bool const isOptional = argument.starts_with('[') && argument.ends_with(']');
        if (isOptional) {
            argument = argument.substr(1, argument.size() - 2);
        }
        if (isOptional || argument.empty()) {
            failures.push_back({name, "misbehave " + name, swallows, floods});
        }
        for (std::string const& choice : ChoicesOf(argument)) {
            failures.push_back({name, "misbehave " + name + " " + choice, swallows, floods});
        }
    }
    return failures;
}

} // namespace qx5::soak
