// `qx5 send --run`: one request to a sonar of a program that runs, and what became of it there.
#include "cli/commands.h"

#include "cli/key_values.h"
#include "cli/platform/waiting.h"
#include "operation/action_values.h"
#include "shell/shell_client.h"
#include "shell/told_value.h"

#include <chrono>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using Clock = std::chrono::steady_clock;

shell::Outcome Ask(SendOptions const& options, CAttributeMap const& request)
{
    std::chrono::milliseconds const limit(options.timeoutMilliseconds);
    auto const deadline = Clock::now() + limit;
    auto const client = shell::FindProgram(options.process, options.device, limit);
    client->Ask({.kind = shell::Question::Kind::Request, .sonar = options.device, .keys = {}, .request = request});
    for (;;) {
        while (auto const answer = client->Take()) {
            if (auto const* const problem = std::get_if<shell::Problem>(&*answer)) {
                throw shell::ShellError(problem->text);
            }
            if (auto const* const outcome = std::get_if<shell::Outcome>(&*answer)) {
                return *outcome;
            }
        }
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            throw shell::ShellError(fmt::format("the program did not answer within {} ms", limit.count()));
        }
        WaitForAny(client->Handle(), -1, left);
    }
}

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

int SendThroughRun(SendOptions const& options)
{
    CAttributeMap request;
    for (std::string const& text : options.keyValues) {
        if (std::string error; !AddKeyValue(request, text, error)) {
            return Complain(ExitWrong, error);
        }
    }
    try {
        auto const outcome = Ask(options, request);
        fmt::print("{}", options.json ? shell::JsonOf(outcome) + "\n" : TextOf(outcome));
        if (outcome.result == operation::ToText(operation::Result::Agrees)) {
            return ExitGood;
        }
        return Complain(ExitFailed, outcome.reason.empty() ? outcome.result : outcome.result + ": " + outcome.reason);
    } catch (shell::ShellError const& problem) {
        return Complain(ExitFailed, problem.what());
    }
}

} // namespace qx5::cli
