// What became of one request: what was asked for beside what was echoed and what the sonar tells.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace qx5::operation {

/// Whether all that `asked` and `has` both have values of is the same, nodes meeting by key and occurrence; false when
/// they have none in common. Any depth.
bool IsSameAsFarAsTold(CAttributeMap const& asked, CAttributeMap const& has);

/// A tree of the nodes of `asked`, each with the value that `first` has at its place, failing that `second` (null for
/// none), or without one. Any depth.
CAttributeMap AtTheSamePlaces(CAttributeMap const& asked, CAttributeMap const& first,
                              CAttributeMap const* second = nullptr);

/// One value asked for, and what became of it; null for none. Of trees that must stay as they are meanwhile.
struct JudgedValue
{
    std::string path; ///< the keys in UTF-8, with / between those of branches
    CVordalType const* asked = nullptr;
    CVordalType const* echoed = nullptr;
    CVordalType const* answered = nullptr;   ///< told by the sonar since
    CVordalType const* toldBefore = nullptr; ///< by the sonar; it need not tell again what is as it told before

    CVordalType const* Sonars() const { return answered != nullptr ? answered : toldBefore; }
    /// Without the sonar only what was echoed counts.
    bool Agrees(bool withSonar) const;
};

/// Gathers what belongs to one request and judges it. `told` is what the sonar had told before the request, and need
/// not be the same tree at each call. One thread at a time.
class RequestJudgement
{
public:
    enum class Verdict
    {
        Agrees,     ///< what was echoed and what the sonar told is what was asked for
        Differs,    ///< one of them is not
        Unanswered, ///< the sonar was to answer, did not, and has not told before that it is so already
    };

    RequestJudgement() = default;
    explicit RequestJudgement(CAttributeMap const& asked) : m_asked(asked) {}

    // What became of it, in the order in which it happens.
    /// Something left for the sonar; a command to the sonar itself says more.
    void Send() { m_hasSent = true; }
    void SendCommand(std::uint32_t id, std::span<unsigned char const> payload);
    void Echo(CAttributeMap const& tree);
    /// The sonar tells something that it may answer with.
    void Answer(CAttributeMap const& tree);
    /// The tree that answers are merged into, for who does that in a way of his own.
    CAttributeMap& AnswerTree() { return m_answer; }

    CAttributeMap const& Asked() const { return m_asked; }
    bool HasSent() const { return m_hasSent; }
    bool HasEchoed() const { return m_echoed.Count() != 0; }
    bool HasAnswerOf(AttributeKey const& key) const { return m_answer.Has(key); }
    /// Whether the sonar may answer with that key: it is asked for, was echoed, or a record carried it.
    bool Concerns(AttributeKey const& key) const;

    /// Whether the sonar has something to answer to: a record has left that carries a key asked for, or whose values
    /// were echoed.
    bool AwaitsAnswer() const;
    /// Whether it has told all that there is to tell.
    bool IsAnswered(CAttributeMap const& told) const;
    /// Whether the sonar has told before that this key is as it is asked for.
    bool IsAsTold(AttributeKey const& key, CAttributeMap const& told) const;
    Verdict Judge(CAttributeMap const& told, bool withSonar) const;
    /// Each value asked for, valid until this or `told` changes.
    std::vector<JudgedValue> Values(CAttributeMap const& told) const;
    /// What the sonar has of what was asked for, at the same places, as far as it has told.
    CAttributeMap Got(CAttributeMap const& told) const { return AtTheSamePlaces(m_asked, m_answer, &told); }

private:
    bool HasAnyAnswer() const;

    bool m_hasSent = false;
    CAttributeMap m_asked;
    CAttributeMap m_echoed;
    CAttributeMap m_answer;
    std::set<std::wstring, std::less<>> m_carried; ///< keys of the commands that left
};

} // namespace qx5::operation
