// What arrives for a vessel, taken to whom it concerns.
#include "vessel/arrivals.h"

#include "authority/shore_messages.h"
#include "sparkplug/shown_text.h"

#include <utility>

#include <fmt/format.h>

namespace qx5::vessel {

void Arrivals::Take(std::string_view text, std::string_view payload)
{
    auto const putDown = [&](auto take) { m_to.inbox->Put(std::move(take), text.size() + payload.size()); };
    if (text.starts_with("spBv1.0/")) {
        putDown([this, topic = std::string(text), bytes = std::string(payload)] { m_to.node.Receive(topic, bytes); });
        return;
    }
    std::string error;
    auto topic = authority::ParseShoreTopic(text, error);
    if (!topic || topic->group != m_to.group || topic->vessel != m_to.vessel) {
        m_to.complaints.Put(topic ? fmt::format("{} is for another vessel", sparkplug::ShownText(text)) : error);
        return;
    }
    switch (topic->subject) {
    case authority::ShoreSubject::Request:
        m_to.requests.TakeRequest(*topic, payload);
        break;
    case authority::ShoreSubject::Lease:
        m_to.requests.TakeLease(*topic, payload);
        break;
    case authority::ShoreSubject::Look:
        putDown([this, at = *topic, bytes = std::string(payload)] { TakeLook(at, bytes); });
        break;
    case authority::ShoreSubject::Acknowledgement:
        putDown([this, at = *topic, bytes = std::string(payload)] { m_to.history.TakeAcknowledgement(at, bytes); });
        break;
    case authority::ShoreSubject::Result:
    case authority::ShoreSubject::Detections:
    case authority::ShoreSubject::History:
        break; // a vessel's own
    }
}

void Arrivals::TakeLook(authority::ShoreTopic const& topic, std::string const& payload)
{
    std::string error;
    auto look = authority::DecodeLook(payload, error);
    if (!look) {
        m_to.complaints.Put(fmt::format("{}: {}", authority::TopicText(topic), error));
        return;
    }
    auto const sonar = m_to.sonars.Find(topic.sonar);
    if (!sonar) {
        m_to.complaints.Put(fmt::format("{}: there is no such sonar aboard", authority::TopicText(topic)));
        return;
    }
    if (look->wantsDetections) {
        m_to.detections.Want(*sonar, topic.sonar);
    }
    look->facts = look->wantsFacts ? std::optional(m_to.sonars.ToldOf(*sonar)) : std::nullopt;
    if (auto bytes = authority::Encode(authority::ShoreReply(*look), error)) {
        m_to.line.Reply(topic.sonar, topic.person, std::move(*bytes));
    }
}

} // namespace qx5::vessel
