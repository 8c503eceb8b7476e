// How much may be on its way to a broker.
#include "vessel/line_pace.h"

#include <algorithm>

namespace qx5::vessel {

namespace {

constexpr double growth = 1.25;
constexpr double shrinkage = 0.7;

} // namespace

LinePace::LinePace(Options options) : m_options(options), m_window(options.firstBytes) {}

void LinePace::Begin()
{
    m_window = m_options.firstBytes;
    m_sent = m_acknowledged = m_asked = 0;
    m_awaited.clear();
    m_least = 0.0;
    m_answers = 0;
}

void LinePace::AwaitAcknowledgement(std::uint64_t number, double now)
{
    m_asked = m_sent;
    m_awaited.push_back({number, m_sent, now, OnTheWay() * 2 >= m_window});
}

void LinePace::Acknowledged(std::uint64_t number, double now)
{
    auto const found = std::find_if(m_awaited.begin(), m_awaited.end(),
                                    [number](Awaited const& each) { return each.number == number; });
    if (found == m_awaited.end()) {
        return;
    }
    auto const answered = *found;
    m_awaited.erase(m_awaited.begin(), found + 1);
    m_acknowledged = std::max(m_acknowledged, answered.sent);
    double const took = std::max(now - answered.at, 1e-6);
    if (m_least == 0.0 || took <= m_least || now - m_leastAt > m_options.leastKept) {
        m_least = took;
        m_leastAt = now;
    }
    if (++m_answers >= m_options.judged) {
        m_isFar = m_least >= m_options.far;
    }
    double const waited = took - m_least;
    double factor = 1.0;
    if (waited >= m_options.crowded) {
        factor = shrinkage;
    } else if (waited <= m_options.calm && answered.isFull) {
        factor = growth;
    }
    m_window = std::clamp(static_cast<std::size_t>(static_cast<double>(m_window) * factor), m_options.leastBytes,
                          m_options.greatestBytes);
}

bool LinePace::HasRoom(double share) const
{
    return static_cast<double>(OnTheWay()) < static_cast<double>(m_window) * share;
}

bool LinePace::WantsProbe() const
{
    return m_sent > m_asked &&
           static_cast<double>(m_sent - m_asked) >= m_options.probeEvery * static_cast<double>(m_window);
}

} // namespace qx5::vessel
