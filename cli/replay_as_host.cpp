// A recording's requests asked of a sonar again.
#include "replay_as_host.h"

#include "cli/replay/recorded_part.h"
#include "cli/session.h"
#include "operation/action_values.h"
#include "operation/tree_walk.h"
#include "recording/recording_text.h"

#include <protocol/utf8.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using operation::Action;
using operation::Result;

/// What became of a request.
struct ReplayedAnswer
{
    std::string result;
    CAttributeMap got;
};

/// Whether the two say the same, as far as both know what the sonar then had.
bool IsSameAnswer(ReplayedAnswer const& then, ReplayedAnswer const& now)
{
    bool isSame = then.result == now.result;
    operation::WalkTrees<1>(then.got, {&now.got},
                            [&](std::string const&, CAttributeMap const& node, auto const& others) {
                                auto const* const one = operation::ValueOf(&node);
                                auto const* const other = operation::ValueOf(others[0]);
                                isSame = isSame && (one == nullptr || other == nullptr || one->IsSame(*other));
                            });
    return isSame;
}

/// "agrees, x5Range = 50 m".
std::string TextOf(ReplayedAnswer const& answer)
{
    std::string text = answer.result;
    operation::WalkTrees<0>(answer.got, {}, [&](std::string const& path, CAttributeMap const& node, auto const&) {
        if (auto const* const value = operation::ValueOf(&node)) {
            text += fmt::format(", {} = {}", path, operation::ValueText(node.KeyText(), value));
        }
    });
    return text;
}

/// A sonar that has not answered after so long counts as one that does not.
constexpr std::chrono::seconds answerLimit{1};
/// A sonar that was asked to begin anew comes back.
constexpr std::chrono::seconds reconnectionLimit{30};

bool IsToBeCompared(std::string const& result)
{
    return result != operation::ToText(Result::Replaced) && result != operation::ToText(Result::Pending);
}

/// Knows what became of what is asked today. Any thread.
class AnswersToday final : public operation::ActionListener
{
public:
    void OnActionBegins(Action const& action) override
    {
        std::lock_guard const lock(m_mutex);
        m_newest = action.number;
    }
    void OnActionStands(Action const& action) override
    {
        std::lock_guard const lock(m_mutex);
        m_answers[action.number] = {std::string(operation::ToText(action.result)), action.got};
    }
    void OnSonarTells(CDataId const&, CAttributeMap const&) override
    {
        {
            std::lock_guard const lock(m_mutex);
            ++m_told;
        }
        m_changed.notify_all();
    }

    /// How often the sonar has told something.
    std::uint64_t Told() const
    {
        std::lock_guard const lock(m_mutex);
        return m_told;
    }
    /// Waits until it has told something more than `told` times, or for as long as a sonar may take to answer.
    void WaitForMore(std::uint64_t told) const
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, answerLimit, [&] { return m_told > told; });
    }

    std::uint64_t Newest() const
    {
        std::lock_guard const lock(m_mutex);
        return m_newest;
    }
    std::optional<ReplayedAnswer> Of(std::uint64_t number) const
    {
        std::lock_guard const lock(m_mutex);
        auto const found = m_answers.find(number);
        return found != m_answers.end() ? std::optional(found->second) : std::nullopt;
    }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::uint64_t m_told = 0;
    std::uint64_t m_newest = 0;
    std::map<std::uint64_t, ReplayedAnswer> m_answers;
};

} // namespace

HostReplayResult ReplayAsHost(recording::RecordedSession& session, recording::RecordedRange const& range,
                              std::string const& file, HostReplayOptions const& options,
                              std::function<void(std::string const&)> const& tell)
{
    using namespace std::chrono_literals;
    namespace kinds = recording::kinds;
    auto const part = LookOver(session, range, file);
    auto const host = part.sonars.count(range.sonar) != 0 ? part.sonars.at(range.sonar).settings.host : std::nullopt;
    auto const answers = std::make_shared<AnswersToday>();
    Session today([](SessionEvent const&) {}, CString(protocol::DecodeUtf8(host ? host->guid : std::string())));
    LeavingWord const leavingWord(today.Switches(), fmt::format("{}:{}", options.host, options.port));
    today.ListenWith(answers);
    std::string error;
    if (!today.Reach(options.plugin, options.host, options.port, 5s, 1s, error)) {
        throw std::runtime_error(error);
    }

    struct Asked
    {
        std::uint64_t now = 0; ///< its number today
        std::string keys;
        std::optional<ReplayedAnswer> recorded;
    };
    std::map<std::uint64_t, Asked> asked; ///< by the recorded number
    std::set<std::uint64_t> open;         ///< of the recorded ones, those whose results have not come
    ReplayPace pace(options.speed, options.clock);
    HostReplayResult result;
    auto wanted = range;
    wanted.kinds = {&kinds::Requests, &kinds::Results, &kinds::Attributes};
    bool isSettled = true;
    std::optional<std::uint64_t> toldBefore; ///< the last request, as long as nothing was told after it then
    session.ForEach(wanted, [&](recording::RecordedMessage const& message) {
        if (auto const* const stood = std::get_if<recording::RecordedResult>(&message.content)) {
            if (auto const found = asked.find(stood->number); found != asked.end()) {
                found->second.recorded = {stood->result, stood->got};
            }
            open.erase(stood->number);
            return true;
        }
        if (auto const* const attributes = std::get_if<recording::RecordedAttributes>(&message.content)) {
            // It had answered before the next was asked: so it does now, however fast the replay is.
            if (!attributes->isEcho && toldBefore) {
                answers->WaitForMore(*std::exchange(toldBefore, {}));
            }
            return true;
        }
        auto const& request = std::get<recording::RecordedRequest>(message.content);
        if (part.HasResult(request.number, Result::Refused)) {
            ++result.notAsked;
            return true;
        }
        pace.Await(message.time);
        if (open.empty() && !isSettled) {
            today.WaitForResults();
            isSettled = true;
        }
        if (!today.WaitUntilConnected(reconnectionLimit)) {
            throw std::runtime_error(fmt::format("the connection to {}:{} was lost after {} requests", options.host,
                                                 options.port, result.requests));
        }
        toldBefore = answers->Told();
        today.Request(request.asked);
        ++result.requests;
        std::string keys;
        for (CAttributeMap const& child : request.asked) {
            keys += (keys.empty() ? "" : ", ") + protocol::EncodeUtf8(child.KeyText());
        }
        asked[request.number] = {answers->Newest(), std::move(keys), {}};
        open.insert(request.number);
        isSettled = false;
        return true;
    });
    today.WaitForResults();
    for (auto const& [number, each] : asked) {
        auto const now = answers->Of(each.now);
        if (!now || !each.recorded || !IsToBeCompared(now->result) || !IsToBeCompared(each.recorded->result)) {
            ++result.notCompared;
            continue;
        }
        ++result.compared;
        if (IsSameAnswer(*each.recorded, *now)) {
            continue;
        }
        auto const line = recording::Printable(fmt::format("request {}, {}: recorded {}; today {}", number, each.keys,
                                                           TextOf(*each.recorded), TextOf(*now)));
        if (result.otherwise++ == 0) {
            result.first = line;
        }
        tell(line);
    }
    return result;
}

} // namespace qx5::cli
