// The simulated sonars that a session has started, by the sonars that stand for them.
#include "simulated_sonars.h"

#include <protocol/records/all.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

// Slow enough for a machine of two cores that draws in software, fast enough for a picture that moves.
constexpr double surveyPingRate = 5.0;
// The scene's seabed is at 30 m; with half of that to the side.
constexpr double surveyRange = 60.0;

void Set(simulator::SonarServer& sonar, protocol::Key const& key, double value)
{
    std::string answer;
    sonar.Command(fmt::format("set {}={}", protocol::EncodeUtf8(key.text), value), answer);
}

} // namespace

void SimulatedSonars::SetSurveying()
{
    m_pingRate = surveyPingRate;
    m_range = surveyRange;
}

std::uint16_t SimulatedSonars::Start(CDataId const& sonar, std::string& error)
{
    simulator::ServerOptions onFreePort;
    onFreePort.announcePings = true; // so that their rate is seen
    auto server = std::make_unique<simulator::SonarServer>(onFreePort);
    if (auto const problem = server->Start()) {
        error = problem->text;
        return 0;
    }
    if (m_range > 0.0) {
        Set(*server, protocol::keys::x5Range, m_range);
    }
    if (m_pingRate > 0.0) {
        Set(*server, protocol::keys::x5MaxPingRate, m_pingRate);
        Set(*server, protocol::keys::x5PingOnOffState, 1);
    }
    auto const port = server->Port();
    Stop(sonar);
    m_servers.emplace_back(sonar, std::move(server));
    return port;
}

void SimulatedSonars::Stop(CDataId const& sonar)
{
    std::erase_if(m_servers, [&](auto const& each) { return each.first == sonar; });
}

bool SimulatedSonars::IsSimulated(CDataId const& sonar) const
{
    return std::any_of(m_servers.begin(), m_servers.end(), [&](auto const& each) { return each.first == sonar; });
}

std::vector<CDataId> SimulatedSonars::Ids() const
{
    std::vector<CDataId> ids;
    for (auto const& [id, server] : m_servers) {
        ids.push_back(id);
    }
    return ids;
}

} // namespace qx5::cli
