// A vessel's outbox on its way ashore.
#include "vessel/history_sender.h"

#include "authority/shore_messages.h"

#include <utility>

#include <fmt/format.h>

namespace qx5::vessel {

namespace {

outbox::SendingOptions SendingAt(double bytesPerSecond)
{
    outbox::SendingOptions options;
    options.bytesPerSecond = bytesPerSecond;
    return options;
}

} // namespace

HistorySender::HistorySender(outbox::Outbox& outbox, double bytesPerSecond, ShoreLine& line, Complaints& complaints)
    : m_outbox(outbox), m_line(line), m_complaints(complaints), m_sending(outbox, SendingAt(bytesPerSecond))
{
}

void HistorySender::Connected()
{
    m_isSending = false;
    m_birthProbe = 0;
}

void HistorySender::Disconnected()
{
    m_isSending = false;
    m_sending.OffLine();
}

void HistorySender::Completed(std::uint64_t number, bool isAcknowledged)
{
    if (number == m_birthProbe && isAcknowledged && m_line.IsConnected() && !m_isSending) {
        m_isSending = true;
        m_sending.OnLine();
    }
}

void HistorySender::TakeAcknowledgement(authority::ShoreTopic const& topic, std::string const& payload)
{
    std::string error;
    auto const acknowledgement = authority::DecodeAcknowledgement(payload, error);
    if (!acknowledgement) {
        m_complaints.Put(fmt::format("{}: {}", authority::TopicText(topic), error));
    } else if (!m_sending.Acknowledge(acknowledgement->outbox, acknowledgement->upTo)) {
        m_complaints.Put(
            fmt::format("{}: what it says is ashore this outbox has not sent", authority::TopicText(topic)));
    }
}

void HistorySender::Send()
{
    while (m_isSending && m_line.HasRoom(shareOfHistory)) {
        auto items = m_sending.Next();
        if (items.empty()) {
            return;
        }
        std::string error;
        auto bytes = authority::Encode(authority::HistoryMessage{m_outbox.Identity(), std::move(items)}, error);
        if (!bytes) {
            m_complaints.Put("a piece of history is not told: " + error);
            return;
        }
        m_line.Publish({m_line.TopicOf(authority::ShoreSubject::History), std::move(*bytes), 1, false}, shareOfAll);
    }
}

void HistorySender::AskForBirths()
{
    if (m_birthProbe == 0) {
        m_birthProbe = SendProbe();
    }
}

broker::Publication HistorySender::Probe() const
{
    std::string error;
    return {m_line.TopicOf(authority::ShoreSubject::History),
            *authority::Encode(authority::HistoryMessage{m_outbox.Identity(), {}}, error), 1, false};
}

} // namespace qx5::vessel
