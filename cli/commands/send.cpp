// `qx5 send`: one request to a sonar, and what became of it.
#include "cli/commands.h"

#include "cli/event_text.h"
#include "cli/key_values.h"
#include "cli/plugins.h"
#include "cli/session.h"
#include "reference_host/host/log.h"

#include <atomic>
#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// A sonar that tells of itself does so at once; one that does not should not be waited for.
constexpr std::chrono::milliseconds introductionLimit{100};

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

    // Set here, asked on whatever thread an event comes from.
    std::atomic<bool> recording{false};
    std::vector<SessionEvent> events;
    Session session([&](SessionEvent const& event) {
        if (recording && event.kind != SessionEvent::Kind::Received) {
            events.push_back(event);
        }
    });
    if (!session.LoadPlugin(PluginPath(options.plugin), error)) {
        return Complain(ExitFailed, error);
    }
    session.Connect(host, port);
    std::chrono::milliseconds const limit(options.timeoutMilliseconds);
    if (!session.WaitForConnection(limit, error)) {
        return Complain(ExitFailed,
                        fmt::format("no connection to the sonar: {}; is it (or `qx5 sim`) running there?", error));
    }
    session.WaitForIntroduction(introductionLimit);
    session.Store(stored);

    recording = true;
    auto const refusedBefore = session.Counters().refused;
    bool const carriedOut = session.Request(request);
    auto const refused = session.Counters().refused - refusedBefore;
    recording = false;
    bool const sentAll = session.WaitUntilSent(limit);

    bool sentAny = false;
    for (SessionEvent const& event : events) {
        sentAny = sentAny || event.kind == SessionEvent::Kind::Sent;
        fmt::print("{}", EventText(event, "", options.bytes));
    }
    if (!carriedOut) {
        return Complain(ExitFailed, "the request was broken off, see above");
    }
    if (refused != 0 || !sentAll) {
        return Complain(ExitFailed, "the connection was lost before everything had left");
    }
    if (events.empty()) {
        return Complain(ExitFailed, "no record was sent and nothing echoed: a value is missing that the device's tree "
                                    "does not hold either, or a value is of another kind; `qx5 explain KEY` tells");
    }
    if (!sentAny) {
        fmt::print("no record was sent\n");
    }
    return ExitGood;
}

} // namespace qx5::cli
