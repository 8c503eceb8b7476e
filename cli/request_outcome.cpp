// What was asked for beside what the sonar then has.
#include "cli/request_outcome.h"

#include "cli/sonar_frames.h"
#include "reference_host/attributes/tree_merge.h"

#include <protocol/catalogue.h>
#include <protocol/records/all.h>
#include <tvcoreR/Utf8.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// Numbers pass the wire as 32-bit floats, angles as radians besides: that much of the asked number may be lost.
constexpr double wirePrecision = 1e-6;

bool IsNear(double asked, double has)
{
    return asked == has || std::abs(asked - has) <= wirePrecision * std::max(std::abs(asked), std::abs(has));
}

bool IsSameValue(CVordalType const& asked, CVordalType const& has)
{
    if (asked.IsSame(has)) {
        return true;
    }
    double askedNumber = 0.0;
    double number = 0.0;
    if (asked.Get(askedNumber) && has.Get(number)) {
        return IsNear(askedNumber, number);
    }
    std::pair<double, double> askedPair;
    std::pair<double, double> pair;
    if (asked.Get(askedPair.first, askedPair.second) && has.Get(pair.first, pair.second)) {
        return IsNear(askedPair.first, pair.first) && IsNear(askedPair.second, pair.second);
    }
    std::vector<double> askedList;
    std::vector<double> list;
    return asked.Get(askedList) && has.Get(list) &&
           std::equal(askedList.begin(), askedList.end(), list.begin(), list.end(), IsNear);
}

/// The node that stands in `tree` where one of this key and occurrence stands in another; null for none.
CAttributeMap const* Counterpart(CAttributeMap const* tree, AttributeKey const& key, int occurrence)
{
    return tree != nullptr ? tree->GetAttrMap(key, occurrence) : nullptr;
}

CVordalType const* ValueOf(CAttributeMap const* node)
{
    return node != nullptr && node->HasValue() ? &node->Value() : nullptr;
}

/// Calls `visit(path, asked, others)` for each node asked for that has a value or no children, with the nodes that
/// stand in the other trees at its place.
template <std::size_t N, typename Visit>
void ForEachAsked(CAttributeMap const& asked, std::array<CAttributeMap const*, N> const& others,
                  std::string const& path, Visit const& visit)
{
    std::map<std::wstring_view, int> occurrences;
    for (CAttributeMap const& child : asked) {
        AttributeKey const key(child.KeyText());
        int const occurrence = occurrences[child.KeyText()]++;
        std::array<CAttributeMap const*, N> counterparts{};
        std::transform(others.begin(), others.end(), counterparts.begin(),
                       [&](CAttributeMap const* tree) { return Counterpart(tree, key, occurrence); });
        std::string const name = path + tvcore::ToUtf8(CString(child.KeyText()));
        if (child.HasValue() || child.Count() == 0) {
            visit(name, child, counterparts);
        }
        ForEachAsked(child, counterparts, name + "/", visit);
    }
}

} // namespace

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
        vordal::Merge(isAnswer ? m_answer : m_told, *told, isAnswer ? m_answerAccount : m_toldAccount);
        return;
    }
    std::lock_guard const lock(m_mutex);
    if (!m_runs) {
        return;
    }
    m_events.push_back(event);
    if (event.kind == SessionEvent::Kind::Echoed) {
        vordal::Merge(m_echoed, event.tree);
    } else if (event.kind == SessionEvent::Kind::Sent) {
        auto const command = CommandOf(event.frame);
        auto const* const layout =
            command ? protocol::FindLayout(protocol::Carrier::RemoteControl, command->id, command->payload) : nullptr;
        if (layout == nullptr) {
            return;
        }
        for (protocol::Field const& field : layout->fields) {
            if (field.key != nullptr) {
                m_carried.emplace(field.key->text);
            }
        }
        if (layout->tailKey != nullptr) {
            m_carried.emplace(layout->tailKey->text);
        }
    }
}

void RequestOutcome::Begin(CAttributeMap const& request)
{
    std::lock_guard const lock(m_mutex);
    m_asked = request;
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
    return std::any_of(m_events.begin(), m_events.end(),
                       [](SessionEvent const& event) { return event.kind == SessionEvent::Kind::Sent; });
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
    return HasSent() && (m_echoed.Count() != 0 || std::any_of(m_asked.begin(), m_asked.end(), [&](auto const& child) {
                             return m_carried.contains(std::wstring(child.KeyText()));
                         }));
}

bool RequestOutcome::HasAnyAnswer() const
{
    return std::any_of(m_answer.begin(), m_answer.end(), [&](CAttributeMap const& child) {
        AttributeKey const key(child.KeyText());
        return m_asked.Has(key) || m_echoed.Has(key) || m_carried.contains(std::wstring(child.KeyText()));
    });
}

bool RequestOutcome::IsAsTold(AttributeKey const& key) const
{
    auto const* const told = ValueOf(m_told.GetAttrMap(key));
    auto const* const asked = ValueOf(m_asked.GetAttrMap(key));
    return told != nullptr && asked != nullptr && IsSameValue(*asked, *told);
}

bool RequestOutcome::IsAnswered() const
{
    std::lock_guard const lock(m_mutex);
    return HasAnyAnswer() && std::all_of(m_asked.begin(), m_asked.end(), [&](CAttributeMap const& child) {
               AttributeKey const key(child.KeyText());
               // Of a key that no record carried and that the sonar never told it has nothing to say.
               bool const isItsOwn =
                   m_carried.contains(std::wstring(child.KeyText())) || (m_echoed.Has(key) && m_told.Has(key));
               return !isItsOwn || m_answer.Has(key) || IsAsTold(key);
           });
}

bool RequestOutcome::Row::Agrees(bool withSonar) const
{
    auto const isAsAsked = [&](CVordalType const* value) { return value == nullptr || IsSameValue(*asked, *value); };
    return asked == nullptr || (isAsAsked(echoed) && (!withSonar || isAsAsked(Sonars())));
}

std::vector<RequestOutcome::Row> RequestOutcome::Rows() const
{
    std::vector<Row> rows;
    ForEachAsked<3>(
        m_asked, {&m_echoed, &m_answer, &m_told}, "",
        [&](std::string const& path, CAttributeMap const& asked, std::array<CAttributeMap const*, 3> const& others) {
            rows.push_back({path, ValueOf(&asked), ValueOf(others[0]), ValueOf(others[1]), ValueOf(others[2])});
        });
    return rows;
}

RequestOutcome::Verdict RequestOutcome::Judge(bool withSonar) const
{
    bool const awaited = AwaitsAnswer();
    std::lock_guard const lock(m_mutex);
    auto const rows = Rows();
    bool const agrees = std::all_of(rows.begin(), rows.end(), [&](Row const& row) { return row.Agrees(withSonar); });
    bool const isKnown = std::all_of(rows.begin(), rows.end(), [](Row const& row) { return row.Sonars() != nullptr; });
    if (withSonar && awaited && m_echoed.Count() != 0 && !HasAnyAnswer() && !(agrees && isKnown)) {
        return Verdict::Unanswered;
    }
    return agrees ? Verdict::Agrees : Verdict::Differs;
}

std::string RequestOutcome::Text(bool withSonar) const
{
    std::lock_guard const lock(m_mutex);
    std::string text = "what became of it\n";
    for (Row const& row : Rows()) {
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

} // namespace qx5::cli
