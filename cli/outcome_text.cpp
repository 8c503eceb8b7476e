// What came of a request, printed.
#include "cli/outcome_text.h"

#include "cli/commands.h"
#include "operation/action_values.h"
#include "shell/told_value.h"

#include <fmt/format.h>

namespace qx5::cli {

namespace {

std::string TextOf(shell::Outcome const& outcome)
{
    std::string text = "what became of it\n";
    for (shell::AskedValue const& value : outcome.values) {
        text += fmt::format("  {}: asked {}, there was {}, the sonar has {}\n", value.key,
                            shell::ValueText(value.asked, value.unit), shell::ValueText(value.before, value.unit),
                            shell::ValueText(value.got, value.unit));
    }
    return text;
}

} // namespace

int PrintOutcome(shell::Outcome const& outcome, bool json)
{
    fmt::print("{}", json ? shell::JsonOf(outcome) + "\n" : TextOf(outcome));
    if (outcome.result == operation::ToText(operation::Result::Agrees)) {
        return ExitGood;
    }
    return Complain(ExitFailed, outcome.reason.empty() ? outcome.result : outcome.result + ": " + outcome.reason);
}

} // namespace qx5::cli
