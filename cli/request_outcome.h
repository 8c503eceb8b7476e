// What became of one request: what was asked for, what the plug-in echoed, and what the sonar then has.
#pragma once

#include "cli/session.h"
#include "operation/request_judgement.h"
#include "reference_host/attributes/tree_account.h"
#include "json/json_value.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <mutex>
#include <string>
#include <vector>

namespace qx5::cli {

/// Follows one request of a session, from before the connection is made. The sonar's answer is what it tells of its
/// attributes after the request; a sonar need not tell again what is as it told before. Take is for any thread, the
/// rest for the thread that uses the session.
class RequestOutcome
{
public:
    /// What the session sees, in its order.
    void Take(SessionEvent const& event);

    /// The next events belong to this request, until End.
    void Begin(CAttributeMap const& request);
    void End();

    /// What was seen from Begin to End, frames from the sonar left out.
    std::vector<SessionEvent> const& Events() const { return m_events; }
    bool HasSent() const;
    /// What was dropped, in one line; empty for nothing.
    std::string Dropped() const;

    /// Whether the sonar has something to answer to: a record has left that carries a key asked for, or whose values
    /// were echoed.
    bool AwaitsAnswer() const;
    /// Whether it has told all that there is to tell. Any thread.
    bool IsAnswered() const;

    using Verdict = operation::RequestJudgement::Verdict;
    /// Without the sonar, for who did not wait for it, only what was echoed counts.
    Verdict Judge(bool withSonar) const;
    /// A line for each key asked for.
    std::string Text(bool withSonar) const;
    /// The same for scripts, an array of {"path", "asked", "echoed", "sonar", "told_before", "agrees"}: values as
    /// WriteValue has them, null for none; whether the sonar told its value before the request and not since.
    JsonValue Json(bool withSonar) const;

private:
    mutable std::mutex m_mutex;
    bool m_runs = false;
    bool m_begun = false;
    bool m_introduced = false;
    operation::RequestJudgement m_judgement;
    CAttributeMap m_told; ///< by the sonar before the request
    vordal::TreeAccount m_toldAccount;
    vordal::TreeAccount m_answerAccount;
    std::vector<SessionEvent> m_events;
};

} // namespace qx5::cli
