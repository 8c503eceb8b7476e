// The second connection of a vessel whose line is far.
#include "vessel/second_line.h"

#include "operation/steady_seconds.h"

#include <algorithm>
#include <utility>

namespace qx5::vessel {

namespace {

/// One packet's worth: a ping that needs more of them waits for each.
constexpr std::size_t onePacket = 1200;

LinePace::Options PaceOfPings()
{
    LinePace::Options options;
    options.leastBytes = 2 * onePacket;
    options.firstBytes = 2 * onePacket;
    options.greatestBytes = std::size_t{256} << 10;
    return options;
}

} // namespace

SecondLine::SecondLine(broker::ConnectionOptions options, std::vector<std::string> filters, Hooks hooks)
    : m_hooks(std::move(hooks)), m_pace(PaceOfPings()),
      m_connection(std::move(options), std::move(filters), ConnectionHooks())
{
}

broker::ConnectionHooks SecondLine::ConnectionHooks()
{
    broker::ConnectionHooks hooks;
    hooks.connected = [this] {
        m_hooks.put([this] {
            m_isConnected = true;
            m_pace.Begin();
        });
    };
    hooks.disconnected = [this] { m_hooks.put([this] { m_isConnected = false; }); };
    hooks.message = m_hooks.message;
    hooks.completed = [this](std::uint64_t number, bool) {
        m_hooks.put([this, number] { m_pace.Acknowledged(number, operation::SteadySeconds()); });
    };
    return hooks;
}

void SecondLine::Begin()
{
    if (!std::exchange(m_hasBegun, true)) {
        m_connection.Start();
    }
}

void SecondLine::SendCopy(broker::Publication const& publication)
{
    if (!m_isConnected) {
        return;
    }
    if (auto const number = m_connection.Publish(publication)) {
        m_pace.Sent(publication.topic.size() + publication.payload.size());
        m_pace.AwaitAcknowledgement(*number, operation::SteadySeconds());
    }
}

std::size_t SecondLine::RoomForPing() const
{
    if (!m_isConnected || !m_pace.HasRoom(1.0)) {
        return 0;
    }
    return std::max(onePacket, m_pace.Window() / 2);
}

bool SecondLine::SendPing(broker::Publication const& ping, broker::Publication const& probe)
{
    if (!m_connection.Publish(ping)) {
        return false;
    }
    m_pace.Sent(ping.topic.size() + ping.payload.size() + probe.topic.size() + probe.payload.size());
    if (auto const number = m_connection.Publish(probe)) {
        m_pace.AwaitAcknowledgement(*number, operation::SteadySeconds());
    }
    return true;
}

} // namespace qx5::vessel
