// A vessel's outbox on its way ashore, once the newest values are there.
#pragma once

#include "authority/shore_topics.h"
#include "outbox/sending.h"
#include "vessel/complaints.h"
#include "vessel/shore_line.h"

#include <cstdint>
#include <string>

namespace qx5::vessel {

/// The vessel's thread. The outbox, the line and the complaints outlive it.
class HistorySender
{
public:
    HistorySender(outbox::Outbox& outbox, double bytesPerSecond, ShoreLine& line, Complaints& complaints);

    // As ShoreLine tells them.
    void Connected();
    void Disconnected();
    void Completed(std::uint64_t number, bool isAcknowledged);
    void TakeAcknowledgement(authority::ShoreTopic const& topic, std::string const& payload);

    /// Sends what the line has room for; nothing before all births are known to have left.
    void Send();
    /// Asks whether the births have left, unless that was done.
    void AskForBirths();
    /// Acknowledged once all before it has reached the broker: a piece of history without entries.
    broker::Publication Probe() const;
    /// Its number; 0 when there was no room.
    std::uint64_t SendProbe() { return m_line.Publish(Probe(), shareOfAll); }

private:
    outbox::Outbox& m_outbox;
    ShoreLine& m_line;
    Complaints& m_complaints;
    outbox::Sending m_sending;
    bool m_isSending = false;
    std::uint64_t m_birthProbe = 0; ///< its acknowledgement says that all births have left; 0 before it is sent
};

} // namespace qx5::vessel
