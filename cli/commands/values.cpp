// `qx5 get` and `qx5 watch`: values of a sonar's attributes, once or at each change.
#include "cli/commands.h"

#include "cli/key_values.h"
#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/platform/waiting.h"
#include "cli/session.h"
#include "cli/value_source.h"
#include "operation/action_log.h"
#include "operation/same_value.h"
#include "operation/tree_walk.h"
#include "shell/shell_client.h"
#include "shell/told_value.h"
#include "json/json_parser.h"
#include "json/value_json.h"

#include <protocol/catalogue.h>
#include <protocol/utf8.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <map>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// To connect to a sonar that is watched.
constexpr auto connectLimit = 3s;
/// The same by way of a broker, where it may be far.
constexpr auto fleetLimit = 10s;

/// What values are waited for: each of them told last as it is asked for.
class Condition
{
public:
    /// False, and one line in `error`.
    bool Add(std::string const& keyValue, std::string& error)
    {
        CAttributeMap tree;
        if (!AddKeyValue(tree, keyValue, error)) {
            return false;
        }
        bool hasValue = false;
        operation::WalkTrees<0>(tree, {}, [&](std::string const& path, CAttributeMap const& node, auto const&) {
            if (auto const* const value = operation::ValueOf(&node)) {
                m_wanted[path] = {ValueOf(*value), operation::JsonText(value), false};
                hasValue = true;
            }
        });
        if (!hasValue) {
            error = fmt::format("'{}': it has no value that could be waited for", keyValue);
        }
        return hasValue;
    }

    std::vector<std::string> Keys() const
    {
        std::vector<std::string> keys;
        for (auto const& [key, wanted] : m_wanted) {
            keys.push_back(key);
        }
        return keys;
    }

    void Take(shell::ToldValue const& told)
    {
        for (auto& [key, wanted] : m_wanted) {
            if (operation::IsPathMeant(told.key, {key})) {
                wanted.isMet = told.value == wanted.json || IsSame(wanted.value, told);
            }
        }
    }

    bool IsEmpty() const { return m_wanted.empty(); }
    bool IsMet() const
    {
        return !IsEmpty() &&
               std::all_of(m_wanted.begin(), m_wanted.end(), [](auto const& each) { return each.second.isMet; });
    }

private:
    struct Wanted
    {
        protocol::Value value;
        std::string json;
        bool isMet = false;
    };

    /// As far as the sonar can tell: 1e-5 may come back as 9.9999997e-06.
    static bool IsSame(protocol::Value const& wanted, shell::ToldValue const& told)
    {
        try {
            auto const kind = protocol::FindKind(told.kind);
            return kind && operation::IsSameValue(wanted, ReadValueOfKind(*kind, ParseJson(told.value).Root(), {}));
        } catch (InvalidDocument const&) {
            return false; // a long text, cut
        }
    }

    std::map<std::string, Wanted> m_wanted;
};

void Print(shell::ToldValue const& told, bool json, bool withTime)
{
    if (json) {
        fmt::print("{}\n", shell::JsonOf(told));
    } else if (withTime) {
        // The day is the reader's own.
        fmt::print("{}  {}\n", told.time.substr(told.time.find('T') + 1), shell::TextOf(told));
    } else {
        fmt::print("{}\n", shell::TextOf(told));
    }
}

/// One line on the keys of which nothing was told.
int ComplainOfUntold(std::vector<std::string> const& untold)
{
    std::string text;
    for (std::string const& key : untold) {
        std::string const last = key.substr(key.rfind('/') + 1);
        text += (text.empty() ? "" : "; ") + fmt::format("nothing is told of {}", key);
        if (protocol::FindKey(protocol::DecodeUtf8(last)) == nullptr) {
            std::string const nearest = NearestKey(last);
            text +=
                nearest.empty() ? ", which is no key that is known here" : fmt::format("; did you mean {}?", nearest);
        }
    }
    return Complain(ExitFailed, text);
}

/// ExitGood, or ExitWrong after a complaint.
int CheckTarget(ValueTarget const& target)
{
    std::string host;
    std::uint16_t port = 0;
    std::string error;
    return target.sonar.empty() || ParseEndpoint(target.sonar, host, port, error)
               ? ExitGood
               : Complain(ExitWrong, "--sonar: " + error);
}

int GetValues(ValuesOptions const& options, EndSignals const& signals)
{
    auto const limit = std::chrono::milliseconds(options.timeoutMilliseconds.value_or(3000));
    auto const deadline = Clock::now() + limit;
    auto const source = MakeValueSource(options.target, options.keys, false, limit);
    std::vector<std::string> untold = options.keys;
    bool isAny = false;
    for (;;) {
        while (auto const told = source->Take()) {
            Print(*told, options.json, false);
            std::erase_if(untold, [&](auto const& key) { return operation::IsPathMeant(told->key, {key}); });
            isAny = true;
        }
        if (source->IsComplete()) {
            break;
        }
        FlushOutput();
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        auto const awaited = WaitForAny(source->Handle(), signals.Descriptor(), std::max(left, 0ms));
        if (awaited != Awaited::Ready) {
            if (awaited == Awaited::TimeOver) {
                break;
            }
            return ExitGood;
        }
    }
    if (!untold.empty()) {
        return ComplainOfUntold(untold);
    }
    return isAny ? ExitGood : Complain(ExitFailed, "the sonar tells nothing of itself");
}

int WatchValues(ValuesOptions const& options, Condition condition, EndSignals const& signals)
{
    auto keys = options.keys;
    auto const awaited = condition.Keys();
    keys.insert(keys.end(), awaited.begin(), awaited.end());
    auto const begun = Clock::now();
    auto const source = MakeValueSource(options.target, keys, true, options.target.fleet ? fleetLimit : connectLimit);
    int count = 0;
    for (;;) {
        while (auto const told = source->Take()) {
            Print(*told, options.json, true);
            ++count;
            condition.Take(*told);
            if (condition.IsMet() || (options.count && count == *options.count)) {
                return ExitGood;
            }
        }
        FlushOutput();
        std::optional<std::chrono::milliseconds> left;
        if (options.timeoutMilliseconds) {
            left = std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(
                                     begun + std::chrono::milliseconds(*options.timeoutMilliseconds) - Clock::now()));
        }
        switch (WaitForAny(source->Handle(), signals.Descriptor(), left)) {
        case Awaited::Ready:
            break;
        case Awaited::EndWanted:
        case Awaited::ReaderGone:
            return ExitGood;
        case Awaited::TimeOver:
            return Complain(ExitFailed, fmt::format("it did not come within {} ms", *options.timeoutMilliseconds));
        }
    }
}

/// Runs it; what ends it before its time is told.
template <typename Act>
int EndingQuietly(Act const& act)
{
    LetReaderGo();
    int code = ExitGood;
    {
        EndSignals const signals;
        try {
            code = act(signals);
        } catch (shell::ShellError const& problem) {
            code = Complain(ExitFailed, problem.what());
        }
    }
    EndSignals::PassOn();
    return code;
}

} // namespace

int Get(ValuesOptions const& options)
{
    if (int const code = CheckTarget(options.target); code != ExitGood) {
        return code;
    }
    return EndingQuietly([&](EndSignals const& signals) { return GetValues(options, signals); });
}

int Watch(ValuesOptions const& options)
{
    if (int const code = CheckTarget(options.target); code != ExitGood) {
        return code;
    }
    Condition condition;
    for (std::string const& keyValue : options.until) {
        if (std::string error; !condition.Add(keyValue, error)) {
            return Complain(ExitWrong, "--until: " + error);
        }
    }
    if (options.timeoutMilliseconds && condition.IsEmpty() && !options.count) {
        return Complain(ExitWrong, "--timeout: tell what is waited for, with --until KEY=VALUE or --count N");
    }
    return EndingQuietly([&](EndSignals const& signals) { return WatchValues(options, condition, signals); });
}

} // namespace qx5::cli
