// `qx5 fleet`: vessels and sonars of a fleet from ashore, by way of its broker.
#include "cli/commands.h"

#include "authority/lease.h"
#include "cli/fleet_use.h"
#include "cli/key_values.h"
#include "cli/outcome_text.h"
#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/platform/waiting.h"
#include "operation/action_log.h"
#include "operation/request_judgement.h"
#include "shell/shell_client.h"
#include "shell/told_value.h"
#include "json/json_parser.h"
#include "json/json_value.h"

#include <VordalBaseR/CExTime.h>
#include <protocol/utf8.h>
#include <sparkplug/metric_name.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;
using shell::ShellError;

constexpr std::chrono::milliseconds usualLimit{10'000};
/// A lease that is taken for one request lasts so much longer than that may.
constexpr double leaseMargin = 10.0;
/// The fleet itself ends whatever waits for an answer.
constexpr std::chrono::hours withoutEnd{24};
/// A request leaves after its sonar was found; what is left for it is at least that.
constexpr double leastRequest = 1.0;

std::chrono::milliseconds FleetLimitOf(FleetCommandOptions const& options)
{
    return options.timeoutMilliseconds ? std::chrono::milliseconds(*options.timeoutMilliseconds) : usualLimit;
}

/// Of people who read, in one line and in order; what scripts read has no units in it.
std::string SecondsText(std::optional<double> seconds)
{
    return seconds ? fmt::format("{:.1f} s", *seconds) : std::string("unknown");
}

JsonValue NumberJson(std::optional<double> number)
{
    return number ? JsonValue::Double(*number) : JsonValue();
}

JsonValue::Member FleetMember(char const* name, std::string text)
{
    return {name, JsonValue::Text(std::move(text))};
}

/// A moment of a vessel's clock; null for none.
JsonValue MomentJson(std::optional<double> utc)
{
    return utc && *utc != 0.0 ? JsonValue::Text(operation::IsoTime(*utc)) : JsonValue();
}

void PrintFleetRow(std::vector<JsonValue::Member> members)
{
    fmt::print("{}\n", WriteJson(JsonValue::Object(std::move(members))));
}

template <typename Act>
int DoingInFleet(Act const& act)
{
    try {
        return act();
    } catch (ShellError const& problem) {
        return Complain(ExitFailed, problem.what());
    }
}

/// ExitGood, or ExitWrong after a complaint about what the command line tells.
int CheckFleet(FleetCommandOptions const& options)
{
    std::string error;
    if (!options.place.empty() && !fleet::ReadPlace(options.place, error)) {
        return Complain(ExitWrong, fmt::format("'{}': {}", options.place, error));
    }
    if (!FleetOptionsOf(options.line, error)) {
        return Complain(ExitWrong, error);
    }
    return ExitGood;
}

std::string HolderText(authority::LeaseNews const& lease)
{
    if (lease.holder.empty()) {
        return "nobody commands";
    }
    auto text = fmt::format("{} commands", lease.holder);
    if (lease.until && *lease.until != 0.0) {
        text += fmt::format(" until {}", operation::IsoTime(*lease.until));
    }
    if (!lease.asker.empty()) {
        text += fmt::format(", {} asks", lease.asker);
    }
    return text;
}

std::string LinkText(fleet::SonarState const& sonar)
{
    return sonar.link ? std::string(ToText(*sonar.link)) : std::string("not told");
}

std::vector<JsonValue::Member> VesselMembers(fleet::VesselState const& vessel)
{
    return {FleetMember("vessel", vessel.name),
            FleetMember("state", std::string(ToText(vessel.freshness))),
            FleetMember("reason", vessel.reason),
            {"age", NumberJson(vessel.age)},
            {"clockAhead", NumberJson(vessel.clockAhead)}};
}

std::vector<JsonValue::Member> SonarMembers(fleet::SonarState const& sonar)
{
    return {FleetMember("vessel", sonar.place.vessel),
            FleetMember("sonar", sonar.place.sonar),
            FleetMember("state", std::string(ToText(sonar.freshness))),
            FleetMember("reason", sonar.reason),
            {"age", NumberJson(sonar.age)},
            FleetMember("link", sonar.link ? std::string(ToText(*sonar.link)) : std::string()),
            FleetMember("holder", sonar.lease.holder),
            FleetMember("asker", sonar.lease.asker)};
}

std::string StateText(fleet::Freshness freshness, std::string const& reason, std::optional<double> age)
{
    auto const shown = reason.empty() ? std::string() : fmt::format(" ({})", reason);
    return fmt::format("{}{}, {} old", ToText(freshness), shown, SecondsText(age));
}

bool IsMeant(fleet::Place const& place, fleet::Place const& wanted)
{
    return (wanted.vessel.empty() || place.vessel == wanted.vessel) &&
           (wanted.sonar.empty() || place.sonar == wanted.sonar);
}

/// Waits for what is meant: all vessels, or one.
void AwaitMeant(FleetUse& use, fleet::Place const& wanted, std::chrono::milliseconds limit)
{
    if (!wanted.sonar.empty()) {
        use.AwaitSonar(wanted, limit);
    } else {
        use.AwaitAll(limit);
    }
}

/// An answer that comes on another thread, waited for.
template <typename Reply>
class FleetAnswer
{
public:
    explicit FleetAnswer(FleetUse& use) : m_use(use) {}

    std::function<void(Reply const&)> Handler()
    {
        return [this](Reply const& reply) {
            {
                std::lock_guard const lock(m_mutex);
                m_reply = reply;
            }
            m_use.Raise();
        };
    }
    std::optional<Reply> Now() const
    {
        std::lock_guard const lock(m_mutex);
        return m_reply;
    }

private:
    FleetUse& m_use;
    mutable std::mutex m_mutex;
    std::optional<Reply> m_reply;
};

/// What became of asking for a lease, which holders take their time to answer. `waits` is called when they do.
authority::LeaseReply AskLease(FleetUse& use, fleet::Place const& sonar, fleet::LeaseAsk const& ask,
                               std::chrono::milliseconds limit, std::function<void()> const& waits)
{
    using authority::LeaseReplyKind;
    // The handler may be called until the fleet ends, which is after this.
    auto const answer = std::make_shared<FleetAnswer<authority::LeaseReply>>(use);
    use.Get().AskLease(sonar, ask, std::chrono::duration<double>(limit).count(),
                       [answer, handler = answer->Handler()](authority::LeaseReply const& reply) { handler(reply); });
    bool hasWaited = false;
    use.Await(
        [&] {
            auto const reply = answer->Now();
            if (reply && reply->answer == LeaseReplyKind::Waits && !std::exchange(hasWaited, true)) {
                waits();
            }
            return reply && reply->answer != LeaseReplyKind::Waits;
        },
        withoutEnd);
    return answer->Now().value_or(authority::LeaseReply{});
}

authority::RequestReply AskFor(FleetUse& use, fleet::Place const& sonar, CAttributeMap const& request, double limit)
{
    auto const answer = std::make_shared<FleetAnswer<authority::RequestReply>>(use);
    use.Get().Request(sonar, request, limit,
                      [answer, handler = answer->Handler()](authority::RequestReply const& reply) { handler(reply); });
    use.Await([&] { return answer->Now().has_value(); }, withoutEnd);
    return answer->Now().value_or(authority::RequestReply{});
}

/// The lease of a sonar for as long as one request takes, where nobody has it.
class LeaseForNow
{
public:
    LeaseForNow(FleetUse& use, fleet::Place const& sonar, std::chrono::milliseconds limit, bool isTold)
        : m_use(use), m_sonar(sonar), m_limit(limit)
    {
        auto const lease = m_use.Get().Sonar(sonar)->lease;
        if (lease.holder == m_use.Get().Person()) {
            return;
        }
        if (!lease.holder.empty()) {
            throw ShellError(fmt::format("refused: {} commands {}; `qx5 fleet lease {} take` asks for it", lease.holder,
                                         TextOf(sonar), TextOf(sonar)));
        }
        auto const seconds = std::chrono::duration<double>(limit).count() + leaseMargin;
        auto const reply = AskLease(use, sonar, {authority::LeaseVerb::Take, seconds, {}}, limit, [] {});
        if (reply.answer != authority::LeaseReplyKind::Granted) {
            throw ShellError("refused: " + reply.reason);
        }
        m_isTaken = true;
        if (isTold) {
            fmt::print("nobody commanded {}; its lease is taken for this\n", TextOf(sonar));
        }
    }
    LeaseForNow(LeaseForNow const&) = delete;
    LeaseForNow& operator=(LeaseForNow const&) = delete;
    ~LeaseForNow()
    {
        if (m_isTaken) {
            AskLease(m_use, m_sonar, {authority::LeaseVerb::GiveBack, 0.0, {}}, m_limit, [] {});
        }
    }

private:
    FleetUse& m_use;
    fleet::Place const m_sonar;
    std::chrono::milliseconds const m_limit;
    bool m_isTaken = false;
};

/// A line of history for people; what it says is JSON.
std::string PlainEntry(std::string const& vessel, std::string_view kind, std::string const& json)
{
    std::string time;
    std::string text;
    try {
        auto const entry = ParseJson(json);
        for (auto const& [name, value] : entry.Root().Members()) {
            auto const shown = value.Is(JsonValue::Kind::Text) ? std::string(value.Text()) : WriteJson(value.Copy());
            if (name == "time") {
                time = shown;
            } else if (!shown.empty()) {
                text += fmt::format("  {} {}", name, shown);
            }
        }
    } catch (InvalidDocument const&) {
        text = "  " + json;
    }
    return fmt::format("{}  {}  {}{}", time, vessel, kind, text);
}

/// Prints the entries of a vessel that are of a sonar (empty: all).
class HistoryPrinter
{
public:
    HistoryPrinter(bool json, fleet::Place wanted) : m_json(json), m_wanted(std::move(wanted)) {}

    void Print(outbox::Received const& received) const
    {
        if (!m_wanted.vessel.empty() && received.vessel != m_wanted.vessel) {
            return;
        }
        auto const& item = received.item;
        if (!item.kind) {
            // What is missing is missing of all sonars.
            PrintEntry(received, "gap", WriteJson(JsonValue::Object({{"last", JsonValue::Unsigned(item.last)}})));
            return;
        }
        std::string error;
        auto const content = authority::DecodeHistoryContent(item.payload, error);
        if (!content) {
            SayError(fmt::format("qx5: entry {} of {} cannot be read: {}\n", item.number, received.vessel, error));
            return;
        }
        if (auto const* const text = std::get_if<authority::HistoryText>(&*content)) {
            if (m_wanted.sonar.empty() || text->sonar == m_wanted.sonar) {
                PrintEntry(received, outbox::ToText(*item.kind), text->text);
            }
        } else if (auto const& values = std::get<authority::HistoryValues>(*content);
                   m_wanted.sonar.empty() || values.sonar == m_wanted.sonar) {
            for (auto const& value : values.values) {
                PrintEntry(received, outbox::ToText(*item.kind), JsonOfValue(values.sonar, value));
            }
        }
    }

private:
    static std::string JsonOfValue(std::string const& sonar, authority::HistoryValue const& value)
    {
        std::string path;
        std::wstring key;
        for (auto const& level : sparkplug::LevelsOfName(value.name)) {
            path += (path.empty() ? "" : "/") + protocol::EncodeUtf8(level.key);
            key = level.key;
        }
        auto const made = MakeVordal(value.value);
        return shell::JsonOf(shell::Tell(sonar, static_cast<double>(value.utc) / 1000.0,
                                         {path, key, made ? made.get() : &CVordalType::Empty()}));
    }

    void PrintEntry(outbox::Received const& received, std::string_view kind, std::string const& json) const
    {
        if (!m_json) {
            fmt::print("{}\n", PlainEntry(received.vessel, kind, json));
            return;
        }
        JsonValue entry;
        try {
            entry = ParseJson(json).Root().Copy();
        } catch (InvalidDocument const&) {
            entry = JsonValue::Text(json);
        }
        PrintFleetRow({FleetMember("vessel", received.vessel),
                       FleetMember("outbox", received.outbox),
                       {"number", JsonValue::Unsigned(received.item.number)},
                       FleetMember("kind", std::string(kind)),
                       {"entry", std::move(entry)}});
    }

    bool const m_json;
    fleet::Place const m_wanted;
};

int PrintArchive(FleetCommandOptions const& options, fleet::Place const& wanted)
{
    if (wanted.vessel.empty()) {
        return Complain(ExitWrong, "without --broker: tell the vessel whose history the archive is to print");
    }
    HistoryPrinter const printer(options.json, wanted);
    try {
        outbox::Archive archive(options.archive);
        archive.Read(wanted.vessel, [&](outbox::Received const& received) {
            printer.Print(received);
            return true;
        });
    } catch (outbox::OutboxError const& problem) {
        return Complain(ExitFailed, problem.what());
    }
    return ExitGood;
}

ValuesOptions FleetValuesOf(FleetCommandOptions const& options)
{
    ValuesOptions values;
    values.target.fleet = options.line;
    values.target.device = options.place;
    values.keys = options.words;
    values.json = options.json;
    values.timeoutMilliseconds = options.timeoutMilliseconds;
    values.count = options.count;
    values.until = options.until;
    return values;
}

/// Does the work once there is something of what is meant, or the time is over.
template <typename Work>
int WithMeant(FleetCommandOptions const& options, FleetNeeds const& needs, Work const& work)
{
    if (int const code = CheckFleet(options); code != ExitGood) {
        return code;
    }
    return DoingInFleet([&] {
        auto const wanted = options.place.empty() ? fleet::Place() : PlaceIn(options.place);
        FleetUse use(options.line, wanted, needs);
        AwaitMeant(use, wanted, FleetLimitOf(options));
        return work(use, wanted);
    });
}

} // namespace

int FleetList(FleetCommandOptions const& options)
{
    // All of a fleet tell nothing anew for a list; of one that is told what it has is asked for.
    return WithMeant(options, {.roll = options.place.empty()}, [&](FleetUse& use, fleet::Place const& wanted) {
        bool isAny = false;
        for (auto const& vessel : use.Get().Vessels()) {
            if (!IsMeant({vessel.name, {}}, {wanted.vessel, {}})) {
                continue;
            }
            isAny = true;
            if (!options.json) {
                fmt::print("{}  {}\n", vessel.name, StateText(vessel.freshness, vessel.reason, vessel.age));
            } else if (wanted.sonar.empty()) {
                PrintFleetRow(VesselMembers(vessel));
            }
            for (auto const& name : vessel.sonars) {
                fleet::Place const place{vessel.name, name};
                auto const sonar = use.Get().Sonar(place);
                if (!sonar || !IsMeant(place, wanted)) {
                    continue;
                }
                if (options.json) {
                    PrintFleetRow(SonarMembers(*sonar));
                } else {
                    fmt::print("  {}  {}, {}; {}\n", TextOf(place),
                               StateText(sonar->freshness, sonar->reason, sonar->age), LinkText(*sonar),
                               HolderText(sonar->lease));
                }
            }
        }
        return isAny ? ExitGood
                     : Complain(ExitFailed, fmt::format("nothing is heard of any vessel of {}", options.line.group));
    });
}

int FleetGet(FleetCommandOptions const& options)
{
    if (int const code = CheckFleet(options); code != ExitGood) {
        return code;
    }
    auto values = FleetValuesOf(options);
    values.timeoutMilliseconds = static_cast<int>(FleetLimitOf(options).count());
    return Get(values);
}

int FleetWatch(FleetCommandOptions const& options)
{
    int const code = CheckFleet(options);
    return code != ExitGood ? code : Watch(FleetValuesOf(options));
}

int FleetSet(FleetCommandOptions const& options)
{
    CAttributeMap request;
    for (std::string const& text : options.words) {
        if (std::string error; !AddKeyValue(request, text, error)) {
            return Complain(ExitWrong, error);
        }
    }
    if (int const code = CheckFleet(options); code != ExitGood) {
        return code;
    }
    return DoingInFleet([&] {
        auto const deadline = std::chrono::steady_clock::now() + FleetLimitOf(options);
        FleetUse use(options.line, PlaceIn(options.place));
        auto const sonar = use.AwaitSonar(PlaceIn(options.place), FleetLimitOf(options));
        operation::Action action;
        action.asked = request;
        action.before = operation::AtTheSamePlaces(request, use.Get().Sonar(sonar)->tree);
        std::string outcome;
        {
            LeaseForNow const lease(use, sonar, FleetLimitOf(options), !options.json);
            std::chrono::duration<double> const left = deadline - std::chrono::steady_clock::now();
            auto const reply = AskFor(use, sonar, request, std::max(leastRequest, left.count()));
            action.got = reply.has;
            action.reason = reply.reason;
            action.result = fleet::ResultOf(reply);
        }
        return PrintOutcome(shell::OutcomeOf(action), options.json);
    });
}

int FleetLease(FleetCommandOptions const& options)
{
    if (int const code = CheckFleet(options); code != ExitGood) {
        return code;
    }
    using authority::LeaseVerb;
    std::optional<LeaseVerb> verb;
    for (auto const each : {LeaseVerb::Take, LeaseVerb::GiveBack, LeaseVerb::Grant, LeaseVerb::Refuse}) {
        verb = options.verb == ToText(each) ? std::optional(each) : verb;
    }
    return DoingInFleet([&] {
        FleetUse use(options.line, PlaceIn(options.place));
        auto const sonar = use.AwaitSonar(PlaceIn(options.place), FleetLimitOf(options));
        auto const lease = use.Get().Sonar(sonar)->lease;
        if (!verb) {
            if (options.json) {
                PrintFleetRow(
                    {FleetMember("vessel", sonar.vessel),
                     FleetMember("sonar", sonar.sonar),
                     FleetMember("holder", lease.holder),
                     {"since", MomentJson(lease.holder.empty() ? std::nullopt : std::optional(lease.since))},
                     {"until", MomentJson(lease.until)},
                     FleetMember("asker", lease.asker),
                     {"answerBy", MomentJson(lease.asker.empty() ? std::nullopt : std::optional(lease.answerBy))}});
            } else {
                fmt::print("{}  {}\n", TextOf(sonar), HolderText(lease));
            }
            return static_cast<int>(ExitGood);
        }
        auto asker = options.asker;
        if (asker.empty() && (verb == LeaseVerb::Grant || verb == LeaseVerb::Refuse)) {
            asker = lease.asker;
            if (asker.empty()) {
                return Complain(ExitFailed, fmt::format("nobody asks for the lease of {}", TextOf(sonar)));
            }
        }
        auto const reply = AskLease(use, sonar, {*verb, options.seconds, asker}, FleetLimitOf(options), [&] {
            auto const now = use.Get().Sonar(sonar)->lease;
            SayError(fmt::format("qx5: {} is asked\n", now.holder.empty() ? "the holder" : now.holder));
        });
        bool const isDone = reply.answer == authority::LeaseReplyKind::Granted;
        if (options.json) {
            PrintFleetRow({FleetMember("vessel", sonar.vessel), FleetMember("sonar", sonar.sonar),
                           FleetMember("answer", std::string(ToText(reply.answer))),
                           FleetMember("reason", reply.reason)});
        } else if (isDone) {
            fmt::print("{}\n", ToText(reply.answer));
        }
        return isDone ? static_cast<int>(ExitGood)
                      : Complain(ExitFailed, reply.reason.empty() ? "refused" : "refused: " + reply.reason);
    });
}

int FleetPresence(FleetCommandOptions const& options)
{
    return WithMeant(options, {}, [&](FleetUse& use, fleet::Place const& wanted) {
        std::vector<fleet::Place> sonars;
        for (fleet::Place const& sonar : use.Get().Sonars()) {
            if (IsMeant(sonar, wanted)) {
                sonars.push_back(sonar);
                use.Get().Look(sonar, false);
            }
        }
        use.Await(
            [&] {
                return std::all_of(sonars.begin(), sonars.end(), [&](fleet::Place const& sonar) {
                    return use.Get().Sonar(sonar)->freshness != fleet::Freshness::Current || use.Get().LookOf(sonar);
                });
            },
            FleetLimitOf(options));
        for (fleet::Place const& place : sonars) {
            auto const sonar = use.Get().Sonar(place);
            auto const vessel = use.Get().Vessel(place.vessel);
            auto const look = use.Get().LookOf(place);
            auto const roundTrip = look ? std::optional(look->roundTrip) : std::nullopt;
            if (options.json) {
                PrintFleetRow({FleetMember("vessel", place.vessel),
                               FleetMember("sonar", place.sonar),
                               FleetMember("state", std::string(ToText(sonar->freshness))),
                               FleetMember("reason", sonar->reason),
                               {"age", NumberJson(sonar->age)},
                               {"roundTrip", NumberJson(roundTrip)},
                               {"clockAhead", NumberJson(vessel->clockAhead)}});
            } else {
                fmt::print("{}  {}, round trip {}, clock {}\n", TextOf(place),
                           StateText(sonar->freshness, sonar->reason, sonar->age),
                           roundTrip ? fmt::format("{:.0f} ms", *roundTrip * 1000.0) : std::string("unknown"),
                           vessel->clockAhead ? fmt::format("{:+.1f} s", *vessel->clockAhead) : std::string("unknown"));
            }
        }
        for (std::string const& person : use.Get().Persons()) {
            if (options.json) {
                PrintFleetRow({FleetMember("person", person)});
            } else {
                fmt::print("{} is here\n", person);
            }
        }
        return ExitGood;
    });
}

int FleetLog(FleetCommandOptions const& options)
{
    std::string error;
    auto const wanted = options.place.empty() ? std::optional(fleet::Place()) : fleet::ReadPlace(options.place, error);
    if (!wanted) {
        return Complain(ExitWrong, fmt::format("'{}': {}", options.place, error));
    }
    if (options.line.broker.empty()) {
        return options.archive.empty() ? Complain(ExitWrong, "tell --broker, or an archive with --archive")
                                       : PrintArchive(options, *wanted);
    }
    if (int const code = CheckFleet(options); code != ExitGood) {
        return code;
    }
    LetReaderGo();
    int code = ExitGood;
    {
        EndSignals const signals;
        code = DoingInFleet([&] {
            FleetUse use(options.line, *wanted, {.history = true, .archive = options.archive});
            HistoryPrinter const printer(options.json, *wanted);
            auto const begun = std::chrono::steady_clock::now();
            bool wasConnected = false;
            bool isDown = false;
            int count = 0;
            for (;;) {
                use.Clear();
                auto const line = use.Get().Line();
                bool const isConnected = line.state == broker::LineState::Connected;
                if (line.state == broker::LineState::Waiting && !wasConnected) {
                    throw ShellError(line.reason);
                }
                if (wasConnected && isDown == isConnected) {
                    isDown = !isConnected;
                    SayError(fmt::format("qx5: the line to the broker {}\n", isDown ? "is down" : "stands again"));
                }
                wasConnected = wasConnected || isConnected;
                for (auto const& received : use.TakeHistory()) {
                    printer.Print(received);
                    if (options.count && ++count == *options.count) {
                        return ExitGood;
                    }
                }
                FlushOutput();
                std::optional<std::chrono::milliseconds> left;
                if (options.timeoutMilliseconds) {
                    left = std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(
                                             begun + FleetLimitOf(options) - std::chrono::steady_clock::now()));
                }
                if (WaitForAny(use.Handle(), signals.Descriptor(), left) != Awaited::Ready) {
                    return ExitGood;
                }
            }
        });
    }
    EndSignals::PassOn();
    return code;
}

} // namespace qx5::cli
