// A lease taken, kept and given back.
#include "fleet/lease_keeper.h"

#include <algorithm>
#include <utility>

namespace qx5::fleet {

namespace {

bool IsFinal(authority::LeaseReply const& reply)
{
    return reply.answer != authority::LeaseReplyKind::Waits;
}

LeaseOutcome const closedOutcome{false, false, "the sonar was closed"};

} // namespace

LeaseOutcome OutcomeOf(authority::LeaseReply const& reply)
{
    // What the vessel did not answer has no number.
    return {reply.answer == authority::LeaseReplyKind::Granted, reply.number != 0, reply.reason};
}

void LeaseKeeper::Perform(Effects effects)
{
    for (auto const& call : effects.calls) {
        call();
    }
    for (LeaseAsk const& ask : effects.asks) {
        Ask(ask, [self = shared_from_this(), ask, turn = effects.turn](authority::LeaseReply const& reply) {
            self->TakeAnswer(ask, turn, reply);
        });
    }
}

void LeaseKeeper::Ask(LeaseAsk const& ask, LeaseDone answered)
{
    m_line.ask(ask, AskLimit, std::move(answered));
}

bool LeaseKeeper::IsAnothers(authority::LeaseNews const& news) const
{
    // What was told before the answer came may be of before.
    return news.holder != m_line.person && m_line.now() - m_answered > NewsDelay;
}

void LeaseKeeper::Hold(double seconds, Done done)
{
    std::optional<LeaseOutcome> atOnce;
    std::uint64_t turn = 0;
    {
        std::lock_guard const lock(m_mutex);
        if (m_isClosed) {
            atOnce = closedOutcome;
        } else if (m_holders > 0 && m_isOurs) {
            ++m_holders;
            m_heldFor = std::max(m_heldFor, seconds);
            atOnce = LeaseOutcome{true, true, {}};
        } else {
            ++m_askers;
            turn = m_withdrawals;
        }
    }
    if (atOnce) {
        done(*atOnce);
        return;
    }
    Ask({authority::LeaseVerb::Take, seconds, {}},
        [self = shared_from_this(), seconds, turn, done = std::move(done)](authority::LeaseReply const& reply) {
            if (IsFinal(reply)) {
                self->TakeHoldAnswer(seconds, turn, done, reply);
            }
        });
}

void LeaseKeeper::TakeHoldAnswer(double seconds, std::uint64_t turn, Done const& done,
                                 authority::LeaseReply const& reply)
{
    auto const outcome = OutcomeOf(reply);
    std::optional<LeaseOutcome> refused;
    {
        std::lock_guard const lock(m_mutex);
        --m_askers;
        if (m_isClosed) {
            refused = closedOutcome;
        } else if (!outcome.isGranted) {
            refused = outcome;
        } else if (turn != m_withdrawals) {
            refused = LeaseOutcome{false, true, "it was not waited for any longer"}; // and has been given back
        } else {
            m_answered = m_line.now();
            m_until = m_answered + seconds;
            m_isOurs = true;
            m_heldFor = m_holders++ > 0 ? std::max(m_heldFor, seconds) : seconds;
            m_settling.push_back({done, outcome, true, m_answered});
        }
    }
    if (refused) {
        done(*refused);
    } else {
        See();
    }
}

void LeaseKeeper::Release(Done done)
{
    bool wasOurs = false;
    {
        std::lock_guard const lock(m_mutex);
        // What others hold on to stays; one that was lost is nobody's to give back.
        wasOurs = !m_isClosed && (m_holders == 0 || (m_holders == 1 && m_isOurs));
        m_holders = std::max(0, m_holders - 1);
        if (wasOurs) {
            ++m_withdrawals;
            NoteLost();
        }
    }
    if (!wasOurs) {
        done({true, true, {}});
        return;
    }
    Ask({authority::LeaseVerb::GiveBack, 0.0, {}},
        [self = shared_from_this(), done = std::move(done)](authority::LeaseReply const& reply) {
            {
                std::lock_guard const lock(self->m_mutex);
                self->m_settling.push_back({done, OutcomeOf(reply), false, self->m_line.now()});
            }
            self->See();
        });
}

void LeaseKeeper::Need(double limit)
{
    auto const news = m_line.news();
    Effects effects;
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_line.now();
        bool const lasts = m_isOurs && m_until - now > limit;
        // What we gave back may be told as ours for a moment.
        bool const isTold =
            news && !news->holder.empty() && (news->holder != m_line.person || now - m_answered > NewsDelay);
        if (m_isClosed || lasts || (!m_isOurs && isTold) || (m_isOurs && news && isTold && IsAnothers(*news))) {
            return;
        }
        double const seconds = std::max(limit + AlongSeconds, m_holders > 0 ? m_heldFor : 0.0);
        Take(seconds, effects);
    }
    Perform(std::move(effects));
}

void LeaseKeeper::TakeAnswer(LeaseAsk const& ask, std::uint64_t turn, authority::LeaseReply const& reply)
{
    Effects effects;
    {
        std::lock_guard const lock(m_mutex);
        if (ask.verb != authority::LeaseVerb::Take || turn != m_turn) {
            return; // it was given back meanwhile
        }
        m_isRenewing = false;
        m_answered = m_line.now();
        m_isOurs = reply.answer == authority::LeaseReplyKind::Granted;
        m_until = m_answered + ask.seconds;
        if (!IsFinal(reply)) {
            // Somebody has it by now; who takes a lease along with a request bothers nobody for it.
            GiveBack(effects);
        }
    }
    Perform(std::move(effects));
}

void LeaseKeeper::Take(double seconds, Effects& effects)
{
    m_answered = m_line.now();
    m_until = m_answered + seconds;
    m_isOurs = true;
    effects.turn = m_turn;
    effects.asks.push_back({authority::LeaseVerb::Take, seconds, {}});
}

void LeaseKeeper::NoteLost()
{
    ++m_turn;
    m_isRenewing = false;
    m_isOurs = false;
    m_answered = m_line.now();
}

void LeaseKeeper::GiveBack(Effects& effects)
{
    NoteLost();
    effects.turn = m_turn;
    effects.asks.push_back({authority::LeaseVerb::GiveBack, 0.0, {}});
}

void LeaseKeeper::Lost()
{
    std::lock_guard const lock(m_mutex);
    NoteLost();
}

void LeaseKeeper::See()
{
    auto const news = m_line.news();
    Effects effects;
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_line.now();
        if (m_isOurs && news && IsAnothers(*news)) {
            m_isOurs = false; // somebody aboard took it, it was granted to who asked, or it ended
        }
        // Half of its time is left for a line that drops. One that somebody else has is not asked for again.
        bool const isFree = news && news->holder.empty() && now - m_answered > NewsDelay;
        if (m_holders > 0 && !m_isRenewing && !m_isClosed && news &&
            (m_isOurs ? m_until - now < std::max(m_heldFor / 2, RenewMargin) : isFree)) {
            m_isRenewing = true;
            Take(m_heldFor, effects);
        }
        for (auto each = m_settling.begin(); each != m_settling.end();) {
            bool const isTold = news && (news->holder == m_line.person) == each->isOurs;
            if (isTold || !news || m_isClosed || now - each->since > NewsDelay) {
                effects.calls.emplace_back([done = each->done, outcome = each->outcome] { done(outcome); });
                each = m_settling.erase(each);
            } else {
                ++each;
            }
        }
    }
    Perform(std::move(effects));
}

void LeaseKeeper::Close()
{
    Effects effects;
    {
        std::lock_guard const lock(m_mutex);
        if (std::exchange(m_isClosed, true)) {
            return;
        }
        m_holders = 0;
        if (m_isOurs || m_askers > 0) {
            GiveBack(effects);
        }
    }
    Perform(std::move(effects));
    See();
}

bool LeaseKeeper::IsOurs() const
{
    std::lock_guard const lock(m_mutex);
    return m_isOurs;
}

} // namespace qx5::fleet
