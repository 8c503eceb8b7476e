// The host, plug-in and devices that a scenario runs on.
#pragma once

#include "cli/scenario/recorder.h"
#include "cli/scenario/scenario_files.h"
#include "cli/scenario/scenario_model.h"
#if defined(QX5_VIEW)
#include "cli/scenario/view_driver.h"
#endif

#include "reference_host/common/clock.h"
#include "reference_host/core/host.h"
#include "reference_host/loader/plugin_loader.h"

#include <filesystem>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace qx5::cli {

/// A host as a scenario sets it up. Its parts stand in the order in which they are built; they go in reverse.
class ScenarioStage
{
public:
    /// The folder must outlive the stage.
    ScenarioStage(double time, ScenarioFolder& folder) : clock(time), m_files(folder) {}
    ScenarioStage(ScenarioStage const&) = delete;
    ScenarioStage& operator=(ScenarioStage const&) = delete;
    /// Destroys the devices if TakeDown did not, and unloads the plug-in.
    ~ScenarioStage() { TakeDown(); }

    /// Loads the plug-in and puts everything in place. Throws std::runtime_error when that cannot be done.
    void SetUp(Scenario const& scenario, std::filesystem::path const& plugin);
    /// Destroys the devices in their order.
    void TakeDown()
    {
#if defined(QX5_VIEW)
        m_view.reset();
#endif
        // A host ends what the plug-in does by itself before it takes the devices away.
        if (m_plugin != nullptr) {
            m_plugin->ReleaseDevices();
        }
        host.RemoveAllDevices();
    }

    /// A device by the id that the scenario gives it; null when there is none.
    Device* FindDevice(CDataId const& id) const;
    vordal::PlugIn& Plugin() const
    {
        return *m_plugin;
    }
#if defined(QX5_VIEW)
    /// The view, or what there is before the first one is opened: nothing to act on.
    ViewDriver& View();
    bool HasView() const
    {
        return m_view != nullptr;
    }
#endif

    vordal::FixedClock clock;
    Recorder recorder;

private:
    using PortKey = std::pair<CString, PortKind>;
    /// After the host, which knows them until it goes.
    std::map<PortKey, std::unique_ptr<BaseIOHandler>> m_ports;
    /// After the host, whose devices may hold files open until they go.
    ScenarioFiles m_files;

public:
    vordal::Host host{vordal::Threading::Inline};

private:
    void AddProject(Scenario const& scenario);
    void AddDevice(ScenarioDevice const& setup);
    BaseIOHandler* FindPort(ScenarioDevice const& setup);

    std::unique_ptr<vordal::PlugIn> m_plugin;
    CString m_sonarClass; ///< the plug-in's
#if defined(QX5_VIEW)
    std::unique_ptr<ViewDriver> m_view;
#endif
    std::vector<std::pair<CDataId, Device*>> m_devices;
};

} // namespace qx5::cli
