// What was asked for beside what the sonar then has.
#include "cli/request_outcome.h"

#include "cli/sonar_frames.h"
#include "reference_host/attributes/tree_merge.h"
#include "values/vordal_value.h"
#include "json/value_json.h"

#include <protocol/records/shared_keys.h>

#include <fmt/format.h>

namespace qx5::cli {

void RequestOutcome::Take(SessionEvent const& event)
{
    if (event.kind == SessionEvent::Kind::Received) {
        auto const told = ToldAttributes(event.frame);
        if (!told) {
            return;
        }
        std::lock_guard const lock(m_mutex);
        // An introduction that comes late is no answer: the sonar sent it before it had read the request.
        bool const isIntroduction = !m_introduced && told->Has(AttributeKey(protocol::keys::DeviceId.text));
        m_introduced = m_introduced || isIntroduction;
        bool const isAnswer = m_begun && !isIntroduction;
        vordal::Merge(isAnswer ? m_judgement.AnswerTree() : m_told, *told, isAnswer ? m_answerAccount : m_toldAccount);
        return;
    }
    std::lock_guard const lock(m_mutex);
    if (!m_runs) {
        return;
    }
    m_events.push_back(event);
    if (event.kind == SessionEvent::Kind::Echoed) {
        m_judgement.Echo(event.tree);
    } else if (event.kind == SessionEvent::Kind::Sent) {
        if (auto const command = CommandOf(event.frame)) {
            m_judgement.SendCommand(command->id, command->payload);
        } else {
            m_judgement.Send();
        }
    }
}

void RequestOutcome::Begin(CAttributeMap const& request)
{
    std::lock_guard const lock(m_mutex);
    m_judgement = operation::RequestJudgement(request);
    m_runs = true;
    m_begun = true;
}

void RequestOutcome::End()
{
    std::lock_guard const lock(m_mutex);
    m_runs = false;
}

bool RequestOutcome::HasSent() const
{
    std::lock_guard const lock(m_mutex);
    return m_judgement.HasSent();
}

std::string RequestOutcome::Dropped() const
{
    std::string dropped;
    for (SessionEvent const& event : m_events) {
        if (event.kind == SessionEvent::Kind::Dropped) {
            dropped += (dropped.empty() ? "" : "; ") + event.text;
        }
    }
    return dropped;
}

bool RequestOutcome::AwaitsAnswer() const
{
    std::lock_guard const lock(m_mutex);
    return m_judgement.AwaitsAnswer();
}

bool RequestOutcome::IsAnswered() const
{
    std::lock_guard const lock(m_mutex);
    return m_judgement.IsAnswered(m_told);
}

RequestOutcome::Verdict RequestOutcome::Judge(bool withSonar) const
{
    std::lock_guard const lock(m_mutex);
    return m_judgement.Judge(m_told, withSonar);
}

std::string RequestOutcome::Text(bool withSonar) const
{
    std::lock_guard const lock(m_mutex);
    std::string text = "what became of it\n";
    for (operation::JudgedValue const& row : m_judgement.Values(m_told)) {
        text += fmt::format("  {}: asked{}, {}", row.path, row.asked != nullptr ? " " + row.asked->ToText() : " for",
                            row.echoed != nullptr ? "echoed " + row.echoed->ToText() : "not echoed");
        if (withSonar && row.answered != nullptr) {
            text += ", the sonar has " + row.answered->ToText();
        } else if (withSonar && row.toldBefore != nullptr) {
            text += fmt::format(", the sonar has {}, as it told before", row.toldBefore->ToText());
        } else if (withSonar) {
            text += ", the sonar tells nothing of it";
        }
        text += row.Agrees(withSonar) ? "\n" : ": differs\n";
    }
    return text;
}

JsonValue RequestOutcome::Json(bool withSonar) const
{
    auto const value = [](CVordalType const* of) { return of != nullptr ? WriteValue(ValueOf(*of)) : JsonValue{}; };
    std::lock_guard const lock(m_mutex);
    JsonValue rows = JsonValue::Array();
    for (operation::JudgedValue const& row : m_judgement.Values(m_told)) {
        bool const isToldBefore = withSonar && row.answered == nullptr && row.toldBefore != nullptr;
        rows.items.push_back(JsonValue::Object({{"path", JsonValue::Text(row.path)},
                                                {"asked", value(row.asked)},
                                                {"echoed", value(row.echoed)},
                                                {"sonar", value(withSonar ? row.Sonars() : nullptr)},
                                                {"told_before", JsonValue::Bool(isToldBefore)},
                                                {"agrees", JsonValue::Bool(row.Agrees(withSonar))}}));
    }
    return rows;
}

} // namespace qx5::cli
