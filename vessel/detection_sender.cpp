// Detections on their way ashore as long as somebody looks.
#include "vessel/detection_sender.h"

#include "authority/shore_messages.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace qx5::vessel {

namespace {

/// Who looks at a sonar says so every 5 s.
constexpr std::chrono::seconds lookLasts{15};

} // namespace

void DetectionSender::Begin(vordal::Host& host, DetectionFeed::Take take)
{
    m_feed = std::make_unique<DetectionFeed>(host, std::move(take));
}

void DetectionSender::Want(CDataId const& sonar, std::string const& onTopic)
{
    auto& looked = m_looked[sonar.GetKey()];
    looked.id = sonar;
    looked.onTopic = onTopic;
    looked.until = std::chrono::steady_clock::now() + lookLasts;
    m_feed->Follow(sonar, true);
}

void DetectionSender::Forget(CDataId const& sonar)
{
    if (m_looked.erase(sonar.GetKey()) != 0) {
        m_feed->Follow(sonar, false);
    }
}

void DetectionSender::Rename(CDataId const& sonar, std::string const& onTopic)
{
    if (auto const found = m_looked.find(sonar.GetKey()); found != m_looked.end()) {
        found->second.onTopic = onTopic;
    }
}

void DetectionSender::NotePing(CString const& sonar, CDataBlock block)
{
    if (auto const found = m_looked.find(sonar); found != m_looked.end()) {
        found->second.ping = std::move(block);
    }
}

void DetectionSender::EndLooks(Time now)
{
    for (auto entry = m_looked.begin(); entry != m_looked.end();) {
        if (entry->second.until < now) {
            m_feed->Follow(entry->second.id, false);
            entry = m_looked.erase(entry);
        } else {
            ++entry;
        }
    }
}

void DetectionSender::Completed(std::uint64_t number)
{
    if (number == m_probe) {
        m_probe = 0;
    }
}

void DetectionSender::Send(Time now)
{
    std::vector<Looked*> waiting;
    for (auto& [key, looked] : m_looked) {
        if (looked.ping && looked.until >= now) {
            waiting.push_back(&looked);
        }
    }
    // Where there is not room for all, each has its turn.
    std::sort(waiting.begin(), waiting.end(), [](auto const* a, auto const* b) { return a->told < b->told; });
    bool isSent = false;
    for (Looked* const looked : waiting) {
        if (SendPing(*looked)) {
            looked->told = ++m_count;
            isSent = true;
        }
    }
    if (isSent && !m_line.UsesSecond()) {
        m_probe = m_history.SendProbe();
    }
}

bool DetectionSender::SendPing(Looked& looked)
{
    bool const bySecond = m_line.UsesSecond();
    auto const room = bySecond ? m_line.Second().RoomForPing() : std::size_t{0};
    if (bySecond ? room == 0 : m_probe != 0 || !m_line.HasRoom(shareOfDetections)) {
        return false;
    }
    auto message = DetectionsOf(*std::exchange(looked.ping, std::nullopt));
    if (message && bySecond) {
        ThinOut(*message, room);
    }
    std::string error;
    auto bytes = message ? authority::Encode(*message, error) : std::nullopt;
    if (!bytes) {
        return false;
    }
    broker::Publication const ping{m_line.TopicOf(authority::ShoreSubject::Detections, looked.onTopic),
                                   std::move(*bytes), 0, false};
    return bySecond ? m_line.Second().SendPing(ping, m_history.Probe()) : m_line.Publish(ping, shareOfDetections) != 0;
}

} // namespace qx5::vessel
