// Requests from ashore on their way.
#include "fleet/fleet_requests.h"

#include "operation/action_values.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace qx5::fleet {

namespace {

std::string OutcomeText(operation::Result result)
{
    return std::string(operation::ToText(result));
}

} // namespace

operation::Result ResultOf(authority::RequestReply const& reply)
{
    for (auto number = static_cast<int>(operation::Result::Agrees);
         number <= static_cast<int>(operation::Result::Replaced); ++number) {
        if (auto const result = static_cast<operation::Result>(number); reply.outcome == operation::ToText(result)) {
            return result;
        }
    }
    return operation::Result::Failed;
}

FleetRequests::Call FleetRequests::NoAnswer(Asked const& asked, std::string const& reason)
{
    // What never left was not done.
    auto const result = asked.sent ? operation::Result::Unanswered : operation::Result::NotSent;
    if (asked.done) {
        authority::RequestReply reply;
        reply.outcome = OutcomeText(result);
        reply.reason = reason;
        reply.asked = asked.request;
        return [done = asked.done, reply = std::move(reply)] { done(reply); };
    }
    authority::LeaseReply reply;
    reply.reason = reason;
    return [done = asked.leaseDone, reply = std::move(reply)] { done(reply); };
}

std::optional<FleetRequests::Call> FleetRequests::Add(Asked asked)
{
    if (m_pending.size() >= GreatestPending) {
        return NoAnswer(asked, fmt::format("{} requests wait for answers already", m_pending.size()));
    }
    m_pending.push_back(std::move(asked));
    return std::nullopt;
}

FleetRequests::Asked FleetRequests::Beginning(Place const& sonar, Seconds limit, Seconds now)
{
    Asked asked;
    asked.sonar = sonar;
    asked.end = now + limit;
    asked.over = asked.end + Grace;
    return asked;
}

std::optional<FleetRequests::Call> FleetRequests::Ask(Place const& sonar, CAttributeMap const& request, Seconds limit,
                                                      Seconds now, RequestDone done)
{
    auto asked = Beginning(sonar, limit, now);
    asked.request = request;
    asked.done = std::move(done);
    return Add(std::move(asked));
}

std::optional<FleetRequests::Call> FleetRequests::AskLease(Place const& sonar, LeaseAsk const& ask, Seconds limit,
                                                           Seconds now, LeaseDone done)
{
    auto asked = Beginning(sonar, limit, now);
    asked.ask = ask;
    asked.leaseDone = std::move(done);
    return Add(std::move(asked));
}

std::vector<FleetRequests::Outgoing> FleetRequests::TakeDue(Seconds now, StampOf const& stampOf, bool again,
                                                            std::vector<Call>& calls)
{
    std::vector<Outgoing> due;
    for (auto each = m_pending.begin(); each != m_pending.end();) {
        bool const isDue = again || !each->sent || (!each->waitsForHolder && now - *each->sent >= ResendEvery);
        if (!isDue || now >= (each->waitsForHolder ? each->over : each->end)) {
            ++each;
            continue;
        }
        if (!each->stamp) {
            each->stamp = stampOf(each->sonar.vessel, each->end - now);
            if (!each->stamp) {
                ++each; // the vessel has not told its time yet
                continue;
            }
            std::string error;
            auto payload = each->done ? authority::Encode(authority::RequestMessage{*each->stamp, each->request}, error)
                                      : authority::Encode(authority::LeaseMessage{*each->stamp, each->ask.verb,
                                                                                  each->ask.seconds, each->ask.asker},
                                                          error);
            if (!payload) {
                calls.push_back(NoAnswer(*each, error));
                each = m_pending.erase(each);
                continue;
            }
            each->payload = *std::move(payload);
        }
        each->sent = now;
        due.push_back({each->sonar, each->done ? authority::ShoreSubject::Request : authority::ShoreSubject::Lease,
                       each->payload});
        ++each;
    }
    return due;
}

std::optional<FleetRequests::Call> FleetRequests::Take(Place const& sonar, authority::ShoreReply const& reply,
                                                       Seconds now)
{
    auto const* const request = std::get_if<authority::RequestReply>(&reply);
    auto const* const lease = std::get_if<authority::LeaseReply>(&reply);
    if (request == nullptr && lease == nullptr) {
        return std::nullopt;
    }
    auto const sender = request != nullptr ? request->sender : lease->sender;
    auto const number = request != nullptr ? request->number : lease->number;
    auto const found = std::find_if(m_pending.begin(), m_pending.end(), [&](Asked const& each) {
        return each.stamp && each.stamp->number == number && each.sonar == sonar &&
               static_cast<bool>(each.done) == (request != nullptr);
    });
    if (sender != m_sender || found == m_pending.end()) {
        return std::nullopt;
    }
    if (request != nullptr) {
        auto done = std::move(found->done);
        m_pending.erase(found);
        return [done = std::move(done), told = *request] { done(told); };
    }
    auto done = found->leaseDone;
    if (lease->answer != authority::LeaseReplyKind::Waits) {
        m_pending.erase(found);
    } else if (std::exchange(found->waitsForHolder, true)) {
        return std::nullopt; // as it said before
    } else {
        found->over = now + LongestWait;
    }
    return [done = std::move(done), told = *lease] { done(told); };
}

std::vector<FleetRequests::Call> FleetRequests::TakeOver(Seconds now)
{
    std::vector<Call> calls;
    for (auto each = m_pending.begin(); each != m_pending.end();) {
        // What has not left within its limit never will.
        if (now < (each->sent ? each->over : each->end)) {
            ++each;
            continue;
        }
        std::string reason;
        if (each->waitsForHolder) {
            reason = fmt::format("{} has told no answer of the holder", each->sonar.vessel);
        } else if (!each->sent) {
            reason = fmt::format("{} could not be asked in time", each->sonar.vessel);
        } else {
            reason = fmt::format("{} has told no result in time; whether it was done is not known", each->sonar.vessel);
        }
        calls.push_back(NoAnswer(*each, reason));
        each = m_pending.erase(each);
    }
    return calls;
}

bool FleetRequests::Waits() const
{
    return std::any_of(m_pending.begin(), m_pending.end(), [](Asked const& each) { return !each.stamp; });
}

std::vector<FleetRequests::Call> FleetRequests::TakeAll()
{
    std::vector<Call> calls;
    for (Asked const& each : m_pending) {
        calls.push_back(
            NoAnswer(each, each.sent ? "this program ends; whether it was done is not known" : "this program ends"));
    }
    m_pending.clear();
    return calls;
}

} // namespace qx5::fleet
