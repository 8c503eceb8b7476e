// A host with the plug-in and a simulated sonar on a real connection, on a broker.
#pragma once

#include "operation/operator_desk.h"
#include "reference_host/project/live_host.h"
#include "shore.h"
#include "tests/support/temporary_folder.h"
#include "vessel/vessel.h"

#include <simulator/sonar_server.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {

inline CDataId const BowId(1, 78, 1, 1);

/// The vessel "Vega" of the group "north" with the sonar "Bow".
class VesselStage
{
public:
    explicit VesselStage(TestBroker& broker);
    VesselStage(VesselStage const&) = delete;
    VesselStage& operator=(VesselStage const&) = delete;
    ~VesselStage();

    /// Makes the vessel, which begins to connect; `change` its options before.
    vessel::Vessel& Begin(std::function<void(vessel::VesselOptions&)> const& change = {});
    void EndVessel() { m_vessel.reset(); }
    /// Asks the sonar as somebody aboard.
    void AskAboard(CAttributeMap const& request);
    /// Has the whole session at rest: what was posted to the host is done.
    void Settle();
    CAttributeMap Tree();

    vordal::LiveHost host;
    operation::OperatorDesk desk;
    simulator::SonarServer sonar;
    TemporaryFolder const folder{"qx5-vessel"};
    std::vector<std::string> Lines();

private:
    TestBroker& m_broker;
    std::unique_ptr<vessel::Vessel> m_vessel;
    std::atomic<bool> m_isEnding{false};
    std::thread m_ticker;
    std::mutex m_linesMutex;
    std::vector<std::string> m_lines;
};

} // namespace qx5::test
