// `qx5 send`: one request to a sonar, what became of it, and what the sonar then has.
#include "cli/commands.h"

#include "cli/event_text.h"
#include "cli/key_values.h"
#include "cli/plugins.h"
#include "cli/request_outcome.h"
#include "cli/session.h"

#include <chrono>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// A sonar that tells of itself does so at once; one that does not should not be waited for.
constexpr std::chrono::milliseconds introductionLimit{100};

constexpr std::string_view howToGive = "give it, too, or with --stored what the tree is to hold";

std::chrono::milliseconds Milliseconds(double seconds)
{
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

/// The exit code by what the sonar then has; anything but agreement is complained of.
int Judge(RequestOutcome const& outcome, Session& session, double waited)
{
    switch (outcome.Judge(waited > 0.0)) {
    case RequestOutcome::Verdict::Agrees:
        break;
    case RequestOutcome::Verdict::Differs:
        return Complain(ExitFailed, "what came of it is not what was asked for, see above");
    case RequestOutcome::Verdict::Unanswered:
        return Complain(ExitFailed, session.IsConnected()
                                        ? fmt::format("the sonar did not answer within {:g} s", waited)
                                        : "the sonar did not answer, the connection was lost");
    }
    return ExitGood;
}

} // namespace

int Send(SendOptions const& options)
{
    if (options.isThroughRun) {
        return SendThroughRun(options);
    }
    std::string error;
    std::string host;
    std::uint16_t port = 0;
    if (!ParseEndpoint(options.sonar, host, port, error)) {
        return Complain(ExitWrong, "--sonar: " + error);
    }
    CAttributeMap request;
    for (std::string const& text : options.keyValues) {
        if (!AddKeyValue(request, text, error)) {
            return Complain(ExitWrong, error);
        }
    }
    CAttributeMap stored;
    for (std::string const& text : options.stored) {
        if (!AddKeyValue(stored, text, error)) {
            return Complain(ExitWrong, "--stored: " + error);
        }
    }

    RequestOutcome outcome;
    Session session([&](SessionEvent const& event) { outcome.Take(event); }, {}, vordal::RequestOrigin::CommandLine);
    LeavingWord const leavingWord(session.Switches(), options.sonar);
    std::chrono::milliseconds const limit(options.timeoutMilliseconds);
    if (!session.Reach(PluginPath(options.plugin), host, port, limit, introductionLimit, error)) {
        return Complain(ExitFailed, error);
    }
    session.Store(stored);

    auto const refusedBefore = session.Counters().refused;
    outcome.Begin(request);
    bool const carriedOut = session.Request(request);
    outcome.End();
    auto const refused = session.Counters().refused - refusedBefore;
    bool const sentAll = session.WaitUntilSent(limit);

    for (SessionEvent const& event : outcome.Events()) {
        fmt::print("{}", EventText(event, "", options.bytes));
    }
    if (!carriedOut) {
        return Complain(ExitFailed, "the request was broken off, see above");
    }
    if (refused != 0 || !sentAll) {
        return Complain(ExitFailed, "the connection was lost before everything had left");
    }
    std::string const dropped = outcome.Dropped();
    if (!outcome.HasSent() && !dropped.empty()) {
        return Complain(ExitFailed, fmt::format("no record was sent: {}; {}", dropped, howToGive));
    }
    if (outcome.Events().empty()) {
        return Complain(ExitFailed, "no record was sent and nothing echoed: a value is of another kind, too long, or "
                                    "another one must be given with it; `qx5 explain KEY` tells");
    }
    if (!outcome.HasSent()) {
        fmt::print("no record was sent\n");
    }
    bool const waits = options.waitSeconds > 0.0;
    if (waits && outcome.AwaitsAnswer()) {
        session.WaitFor([&] { return outcome.IsAnswered(); }, Milliseconds(options.waitSeconds));
    }
    fmt::print("{}", outcome.Text(waits));
    if (!dropped.empty()) {
        return Complain(ExitFailed, fmt::format("not all of it was sent: {}; {}", dropped, howToGive));
    }
    return Judge(outcome, session, options.waitSeconds);
}

} // namespace qx5::cli
