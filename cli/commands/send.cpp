// `qx5 send`: one request to a sonar, what became of it, and what the sonar then has.
#include "cli/commands.h"

#include "cli/event_text.h"
#include "cli/key_values.h"
#include "cli/plugins.h"
#include "cli/request_outcome.h"
#include "cli/session.h"
#include "operation/action_values.h"
#include "json/tree_json.h"

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

/// What came of a request in one word, and what is to be complained of; empty where all is well.
struct Ending
{
    operation::Result result = operation::Result::Agrees;
    std::string complaint;
};

/// By what the sonar then has; anything but agreement is complained of.
Ending Judge(RequestOutcome const& outcome, Session& session, double waited)
{
    using operation::Result;
    switch (outcome.Judge(waited > 0.0)) {
    case RequestOutcome::Verdict::Agrees:
        break;
    case RequestOutcome::Verdict::Differs:
        return {Result::Differs, "what came of it is not what was asked for, see above"};
    case RequestOutcome::Verdict::Unanswered:
        return {Result::Unanswered, session.IsConnected()
                                        ? fmt::format("the sonar did not answer within {:g} s", waited)
                                        : "the sonar did not answer, the connection was lost"};
    }
    return {};
}

/// Why nothing can come of the request any more; agreement where something can.
Ending EndingBeforeAnswer(RequestOutcome const& outcome, bool carriedOut, bool hasLeft)
{
    using operation::Result;
    if (!carriedOut) {
        return {Result::Failed, "the request was broken off, see above"};
    }
    if (!hasLeft) {
        return {Result::NotSent, "the connection was lost before everything had left"};
    }
    std::string const dropped = outcome.Dropped();
    if (!outcome.HasSent() && !dropped.empty()) {
        return {Result::Dropped, fmt::format("no record was sent: {}; {}", dropped, howToGive)};
    }
    if (outcome.Events().empty()) {
        return {Result::NotSent, "no record was sent and nothing echoed: a value is of another kind, too long, or "
                                 "another one must be given with it; `qx5 explain KEY` tells"};
    }
    return {};
}

/// {"sonar", "request", "events", "values", "result"}.
std::string JsonOf(SendOptions const& options, CAttributeMap const& request, RequestOutcome const& outcome,
                   operation::Result result)
{
    JsonValue events = JsonValue::Array();
    for (SessionEvent const& event : outcome.Events()) {
        events.items.push_back(EventJson(event));
    }
    return WriteJson(JsonValue::Object({{"sonar", JsonValue::Text(options.sonar)},
                                        {"request", WriteTree(request)},
                                        {"events", std::move(events)},
                                        {"values", outcome.Json(options.waitSeconds > 0.0)},
                                        {"result", JsonValue::Text(std::string(operation::ToText(result)))}}));
}

} // namespace

int Send(SendOptions const& options)
{
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

    auto const say = [&](std::string const& text) {
        if (!options.json) {
            fmt::print("{}", text);
        }
    };
    for (SessionEvent const& event : outcome.Events()) {
        say(EventText(event, "", options.bytes));
    }
    Ending ending = EndingBeforeAnswer(outcome, carriedOut, refused == 0 && sentAll);
    if (ending.complaint.empty()) {
        if (!outcome.HasSent()) {
            say("no record was sent\n");
        }
        bool const waits = options.waitSeconds > 0.0;
        if (waits && outcome.AwaitsAnswer()) {
            session.WaitFor([&] { return outcome.IsAnswered(); }, Milliseconds(options.waitSeconds));
        }
        say(outcome.Text(waits));
        std::string const dropped = outcome.Dropped();
        ending = dropped.empty() ? Judge(outcome, session, options.waitSeconds)
                                 : Ending{operation::Result::Dropped,
                                          fmt::format("not all of it was sent: {}; {}", dropped, howToGive)};
    }
    if (options.json) {
        fmt::print("{}\n", JsonOf(options, request, outcome, ending.result));
    }
    return ending.complaint.empty() ? ExitGood : Complain(ExitFailed, ending.complaint);
}

} // namespace qx5::cli
