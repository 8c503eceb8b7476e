// How history leaves: in pieces, at a rate, once more when nothing is heard of it.
#include "outbox/sending.h"

#include "operation/steady_seconds.h"

#include <algorithm>
#include <utility>

namespace qx5::outbox {

TokenBucket::TokenBucket(double bytesPerSecond, double burst, double now)
    : m_rate(bytesPerSecond), m_burst(burst), m_bytes(bytesPerSecond * burst), m_now(now)
{
}

void TokenBucket::Fill(double now)
{
    m_bytes = std::min(m_rate * m_burst, m_bytes + m_rate * std::max(0.0, now - m_now));
    m_now = now;
}

bool TokenBucket::IsOpen(double now)
{
    Fill(now);
    return m_bytes > 0.0;
}

void TokenBucket::Take(std::size_t bytes)
{
    m_bytes -= static_cast<double>(bytes);
}

void TokenBucket::SetRate(double bytesPerSecond, double now)
{
    Fill(now);
    m_rate = bytesPerSecond;
}

namespace {

SendingOptions WithClock(SendingOptions options)
{
    if (!options.steady) {
        options.steady = operation::SteadySeconds;
    }
    return options;
}

} // namespace

Sending::Sending(Outbox& outbox, SendingOptions options)
    : m_outbox(outbox), m_options(WithClock(std::move(options))),
      m_bucket(m_options.bytesPerSecond, m_options.burst, m_options.steady())
{
}

void Sending::OnLine()
{
    m_isOnLine = true;
    Begin(m_options.steady());
}

void Sending::Begin(double now)
{
    auto const acknowledged = m_outbox.State().acknowledged;
    m_next = acknowledged + 1;
    m_tellsBefore = acknowledged != 0;
    m_underWay.clear();
    m_bytesUnderWay = 0;
    m_countUnderWay = 0;
    m_progress = now;
}

std::vector<Item> Sending::Next()
{
    double const now = m_options.steady();
    if (!m_isOnLine || !m_bucket.IsOpen(now)) {
        return {};
    }
    if (!m_underWay.empty() && now - m_progress >= m_options.resendAfter) {
        Begin(now);
    }
    if (m_bytesUnderWay >= m_options.greatestBytes || m_countUnderWay >= m_options.greatestCount) {
        return {};
    }
    if (m_outbox.State().committed < m_next) {
        return {}; // known without waiting for the disk, on which something may be written just now
    }
    auto items = m_outbox.Take(m_next, m_options.greatestCount - m_countUnderWay,
                               std::min(m_options.pieceBytes, m_options.greatestBytes - m_bytesUnderWay));
    if (items.empty()) {
        return {};
    }
    if (m_underWay.empty()) {
        m_progress = now;
    }
    UnderWay piece{items.back().last, 0, items.size()};
    for (Item const& item : items) {
        piece.bytes += Outbox::EntryBytes + item.payload.size();
    }
    m_next = piece.last + 1;
    m_bytesUnderWay += piece.bytes;
    m_countUnderWay += piece.count;
    m_underWay.push_back(piece);
    m_bucket.Take(piece.bytes);
    if (std::exchange(m_tellsBefore, false)) {
        items.insert(items.begin(), Item{1, m_outbox.State().acknowledged, std::nullopt, {}});
    }
    return items;
}

bool Sending::Acknowledge(std::string_view identity, std::uint64_t upTo)
{
    if (!m_outbox.Acknowledge(identity, upTo)) {
        return false;
    }
    while (!m_underWay.empty() && m_underWay.front().last <= upTo) {
        m_progress = m_options.steady();
        m_bytesUnderWay -= m_underWay.front().bytes;
        m_countUnderWay -= m_underWay.front().count;
        m_underWay.pop_front();
    }
    m_next = std::max(m_next, upTo + 1);
    return true;
}

void Sending::SetRate(double bytesPerSecond)
{
    m_bucket.SetRate(bytesPerSecond, m_options.steady());
}

} // namespace qx5::outbox
