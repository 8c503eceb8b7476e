// What became of one request: what was asked for, what the plug-in echoed, and what the sonar then has.
#pragma once

#include "cli/session.h"
#include "reference_host/attributes/tree_account.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <condition_variable>
#include <mutex>
#include <set>
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

    enum class Verdict
    {
        Agrees,     ///< what was echoed and what the sonar told is what was asked for
        Differs,    ///< one of them is not
        Unanswered, ///< the sonar was to answer, did not, and has not told before that it is so already
    };
    /// Without the sonar, for who did not wait for it, only what was echoed counts.
    Verdict Judge(bool withSonar) const;
    /// A line for each key asked for.
    std::string Text(bool withSonar) const;

private:
    /// One value asked for and what became of it; null for none.
    struct Row
    {
        std::string path;
        CVordalType const* asked = nullptr;
        CVordalType const* echoed = nullptr;
        CVordalType const* answered = nullptr;
        CVordalType const* toldBefore = nullptr;

        CVordalType const* Sonars() const { return answered != nullptr ? answered : toldBefore; }
        bool Agrees(bool withSonar) const;
    };

    std::vector<Row> Rows() const;
    bool HasAnyAnswer() const;
    bool IsAsTold(AttributeKey const& key) const;

    mutable std::mutex m_mutex;
    bool m_runs = false;
    bool m_begun = false;
    bool m_introduced = false;
    CAttributeMap m_asked;
    CAttributeMap m_echoed;
    CAttributeMap m_told;   ///< by the sonar before the request
    CAttributeMap m_answer; ///< by the sonar since
    vordal::TreeAccount m_toldAccount;
    vordal::TreeAccount m_answerAccount;
    std::vector<SessionEvent> m_events;
    std::set<std::wstring> m_carried; ///< keys of the records that left
};

} // namespace qx5::cli
