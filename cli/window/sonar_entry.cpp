// What an operator enters of a sonar, checked.
#include "sonar_entry.h"

#include "cli/session.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

std::string Trimmed(std::string const& text)
{
    constexpr char const* blanks = " \t\r\n";
    auto const first = text.find_first_not_of(blanks);
    return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Of a name of `what`, "the sonar" or "the vessel".
std::string ProblemOfName(std::string const& name, std::string_view what)
{
    if (name.empty()) {
        return fmt::format("{} needs a name", what);
    }
    if (name.size() > GreatestName) {
        return fmt::format("the name is longer than {} bytes", GreatestName);
    }
    bool const hasControls =
        std::any_of(name.begin(), name.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
    return hasControls ? "the name has a character that cannot be shown" : std::string();
}

std::string ProblemOfGroup(std::string const& text, std::optional<std::int32_t>& group)
{
    if (text.empty()) {
        return {};
    }
    std::int32_t number = -1;
    auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (problem != std::errc() || end != text.data() + text.size() || number < 0) {
        return fmt::format("a ping group is a whole number from 0 to {}, or empty",
                           std::numeric_limits<std::int32_t>::max());
    }
    group = number;
    return {};
}

CString TextOf(std::string const& text)
{
    return CString(protocol::DecodeUtf8(text));
}

} // namespace

SonarProblems CheckSonar(SonarEntry const& entry, SonarSurroundings const& around, SonarSetup& setup)
{
    SonarProblems problems;
    auto const name = Trimmed(entry.name);
    auto const vessel = Trimmed(entry.vessel);
    SonarSetup checked{.name = TextOf(name),
                       .deviceClass = TextOf(entry.deviceClass),
                       .simulated = entry.simulated,
                       .host = {},
                       .vessel = TextOf(vessel),
                       .group = {}};
    problems.name = ProblemOfName(name, "the sonar");
    if (problems.name.empty() &&
        std::find(around.otherNames.begin(), around.otherNames.end(), name) != around.otherNames.end()) {
        problems.name = fmt::format("there is another \"{}\"", name);
    }
    if (std::find(around.classes.begin(), around.classes.end(), entry.deviceClass) == around.classes.end()) {
        problems.deviceClass =
            entry.deviceClass.empty() ? "the sonar needs a class" : "no plug-in offers sonars of this class";
    }
    if (auto const address = Trimmed(entry.address); entry.simulated) {
        // Whatever stands there.
    } else if (address.empty()) {
        problems.address = "the sonar needs an address, for example 192.168.1.10:7000";
    } else if (address.find_first_of(" \t") != std::string::npos) {
        problems.address = fmt::format("'{}' is no HOST:PORT; there is a blank in it", address);
    } else {
        ParseEndpoint(address, checked.host, checked.tcpPort, problems.address);
    }
    problems.vessel = ProblemOfName(vessel, "the vessel");
    problems.group = ProblemOfGroup(Trimmed(entry.group), checked.group);
    if (problems.None()) {
        setup = std::move(checked);
    }
    return problems;
}

} // namespace qx5::cli
