// The simulated sonars that a session has started, by the sonars that stand for them.
#pragma once

#include <VordalBaseR/CDataId.h>
#include <simulator/sonar_server.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qx5::cli {

/// They go with this object. One thread.
class SimulatedSonars
{
public:
    /// Those that are started from here on ping, so often a second; 0: they do not.
    void SetPingRate(double pingsPerSecond) { m_pingRate = pingsPerSecond; }
    /// Those that are started from here on survey their wreck: they ping, with a range that has the seabed in it.
    void SetSurveying();
    /// Starts one that stands for the sonar, in place of any other, and gives its port on 127.0.0.1; 0, and one line in
    /// `error`, when that failed.
    std::uint16_t Start(CDataId const& sonar, std::string& error);
    /// The one that stands for the sonar ends.
    void Stop(CDataId const& sonar);

    bool IsSimulated(CDataId const& sonar) const;
    /// In the order in which they were started.
    std::vector<CDataId> Ids() const;

private:
    double m_pingRate = 0.0;
    double m_range = 0.0; ///< m; 0: as a sonar begins
    std::vector<std::pair<CDataId, std::unique_ptr<simulator::SonarServer>>> m_servers;
};

} // namespace qx5::cli
