// A vessel with a simulated sonar on a broker.
#include "vessel_stage.h"

#include "reference_host/attributes/host_keys.h"

#include <vordalhostdllR/DataManager.h>

#include <utility>

namespace qx5::test {

using namespace std::chrono_literals;

namespace {

simulator::ServerOptions CalmSonar()
{
    simulator::ServerOptions options;
    options.calm = true;
    return options;
}

} // namespace

VesselStage::VesselStage(TestBroker& broker) : sonar(CalmSonar()), m_broker(broker)
{
    EXPECT_FALSE(sonar.Start());
    desk.Join(host);
    std::string error;
    EXPECT_TRUE(host.LoadPlugIn(QX5_PLUGIN_FILE, error)) << error;
    vordal::StoredProject project;
    project.vessels = {{.number = 1, .name = L"Vessel", .configuration = {}}};
    vordal::AddConnected(project, {BowId, host.SonarClass(), L"Bow", {}, true, {}}, L"127.0.0.1", sonar.Port());
    desk.SetName(BowId, "Bow");
    auto& open = host.Open(std::move(project));
    open.Ports().front()->SetStatusListener(
        [this](vordal::LinkStatus const& status) { desk.OnLinkStatus(BowId, status); });
    host.Start();
    m_ticker = std::thread([this] {
        while (!m_isEnding.load()) {
            host.RunAndWait([this] { desk.Tick(); });
            std::this_thread::sleep_for(10ms);
        }
    });
}

VesselStage::~VesselStage()
{
    m_vessel.reset();
    m_isEnding.store(true);
    m_ticker.join();
    host.End(10s, [this] { desk.Finish(); });
}

vessel::Vessel& VesselStage::Begin(std::function<void(vessel::VesselOptions&)> const& change)
{
    vessel::VesselOptions options;
    options.address = m_broker.Secure();
    options.files = m_broker.Files("vessel");
    options.group = "north";
    options.vessel = "Vega";
    options.version = "1.2.3";
    options.outboxFile = folder / "outbox";
    options.tell = [this](std::string const& line) {
        std::lock_guard const lock(m_linesMutex);
        m_lines.push_back(line);
    };
    if (change) {
        change(options);
    }
    m_vessel.reset();
    m_vessel = std::make_unique<vessel::Vessel>(host, desk, std::move(options));
    m_vessel->Begin();
    return *m_vessel;
}

std::vector<std::string> VesselStage::Lines()
{
    std::lock_guard const lock(m_linesMutex);
    return m_lines;
}

void VesselStage::AskAboard(CAttributeMap const& request)
{
    CAttributeMap tree;
    *tree.Add(vordal::keys::Request) = request;
    host.RunAndWait([&] { DataManager::GetDataManager().SetAttributeMap(BowId, tree, 4, false); });
}

void VesselStage::Settle()
{
    host.RunAndWait([] {});
}

CAttributeMap VesselStage::Tree()
{
    CAttributeMap tree;
    DataManager::GetDataManager().GetAttributeMap(BowId, tree);
    return tree;
}

} // namespace qx5::test
