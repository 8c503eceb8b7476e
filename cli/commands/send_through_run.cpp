// `qx5 send --run`: one request to a sonar of a program that runs, and what became of it there.
#include "cli/commands.h"

#include "cli/key_values.h"
#include "cli/outcome_text.h"
#include "cli/platform/waiting.h"
#include "shell/shell_client.h"

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
        return PrintOutcome(Ask(options, request), options.json);
    } catch (shell::ShellError const& problem) {
        return Complain(ExitFailed, problem.what());
    }
}

} // namespace qx5::cli
