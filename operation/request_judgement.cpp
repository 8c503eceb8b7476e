// What was asked for beside what the sonar then has.
#include "operation/request_judgement.h"

#include "operation/same_value.h"
#include "operation/tree_walk.h"
#include "reference_host/attributes/tree_merge.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/catalogue.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qx5::operation {

bool IsSameAsFarAsTold(CAttributeMap const& asked, CAttributeMap const& has)
{
    bool same = true;
    bool common = false;
    auto const compare = [&](CAttributeMap const& a, CAttributeMap const* b) {
        auto const* const value = ValueOf(b);
        if (a.HasValue() && value != nullptr) {
            common = true;
            same = same && IsSameValue(a.Value(), *value);
        }
    };
    compare(asked, &has);
    WalkTrees<1>(asked, {&has},
                 [&](std::string const&, CAttributeMap const& child,
                     std::array<CAttributeMap const*, 1> const& others) { compare(child, others[0]); });
    return same && common;
}

CAttributeMap AtTheSamePlaces(CAttributeMap const& asked, CAttributeMap const& first, CAttributeMap const* second)
{
    CAttributeMap placed;
    std::vector<CAttributeMap*> path{&placed};
    WalkTrees<2>(
        asked, {&first, second},
        [&](std::string const&, CAttributeMap const& child, std::array<CAttributeMap const*, 2> const& others) {
            auto const* const value = ValueOf(others[0]) != nullptr ? ValueOf(others[0]) : ValueOf(others[1]);
            auto* const added = path.back()->Add(AttributeKey(child.KeyText()));
            if (value != nullptr) {
                added->SetValue(*value);
            }
            path.push_back(added);
        },
        [&](CAttributeMap const&) { path.pop_back(); });
    vordal::ForgetReferences(placed);
    return placed;
}

bool JudgedValue::Agrees(bool withSonar) const
{
    auto const isAsAsked = [&](CVordalType const* value) { return value == nullptr || IsSameValue(*asked, *value); };
    return asked == nullptr || (isAsAsked(echoed) && (!withSonar || isAsAsked(Sonars())));
}

void RequestJudgement::SendCommand(std::uint32_t id, std::span<unsigned char const> payload)
{
    Send();
    auto const* const layout = protocol::FindLayout(protocol::Carrier::RemoteControl, id, payload);
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

void RequestJudgement::Echo(CAttributeMap const& tree)
{
    vordal::Merge(m_echoed, tree);
}

void RequestJudgement::Answer(CAttributeMap const& tree)
{
    vordal::Merge(m_answer, tree);
}

bool RequestJudgement::Concerns(AttributeKey const& key) const
{
    return m_asked.Has(key) || m_echoed.Has(key) || m_carried.contains(key.Text());
}

bool RequestJudgement::AwaitsAnswer() const
{
    return m_hasSent && (HasEchoed() || std::any_of(m_asked.begin(), m_asked.end(), [&](auto const& child) {
                             return m_carried.contains(child.KeyText());
                         }));
}

bool RequestJudgement::HasAnyAnswer() const
{
    return std::any_of(m_answer.begin(), m_answer.end(),
                       [&](CAttributeMap const& child) { return Concerns(AttributeKey(child.KeyText())); });
}

bool RequestJudgement::IsAsTold(AttributeKey const& key, CAttributeMap const& told) const
{
    auto const* const before = ValueOf(told.GetAttrMap(key));
    auto const* const asked = ValueOf(m_asked.GetAttrMap(key));
    return before != nullptr && asked != nullptr && IsSameValue(*asked, *before);
}

bool RequestJudgement::IsAnswered(CAttributeMap const& told) const
{
    return HasAnyAnswer() && std::all_of(m_asked.begin(), m_asked.end(), [&](CAttributeMap const& child) {
               AttributeKey const key(child.KeyText());
               // Of a key that no record carried and that the sonar never told it has nothing to say.
               bool const isItsOwn = m_carried.contains(child.KeyText()) || (m_echoed.Has(key) && told.Has(key));
               return !isItsOwn || m_answer.Has(key) || IsAsTold(key, told);
           });
}

std::vector<JudgedValue> RequestJudgement::Values(CAttributeMap const& told) const
{
    std::vector<JudgedValue> values;
    WalkTrees<3>(
        m_asked, {&m_echoed, &m_answer, &told},
        [&](std::string const& path, CAttributeMap const& asked, std::array<CAttributeMap const*, 3> const& others) {
            if (asked.HasValue() || asked.Count() == 0) {
                values.push_back({path, ValueOf(&asked), ValueOf(others[0]), ValueOf(others[1]), ValueOf(others[2])});
            }
        });
    return values;
}

RequestJudgement::Verdict RequestJudgement::Judge(CAttributeMap const& told, bool withSonar) const
{
    auto const values = Values(told);
    bool const agrees =
        std::all_of(values.begin(), values.end(), [&](JudgedValue const& value) { return value.Agrees(withSonar); });
    bool const isKnown =
        std::all_of(values.begin(), values.end(), [](JudgedValue const& value) { return value.Sonars() != nullptr; });
    if (withSonar && AwaitsAnswer() && HasEchoed() && !HasAnyAnswer() && !(agrees && isKnown)) {
        return Verdict::Unanswered;
    }
    return agrees ? Verdict::Agrees : Verdict::Differs;
}

} // namespace qx5::operation
