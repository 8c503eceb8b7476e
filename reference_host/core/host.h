// The reference host: one object that owns everything a plug-in finds behind the host contract.
#pragma once

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalBaseR/Export.h>

#include "reference_host/common/sonar_traffic.h"
#include "reference_host/core/host_application.h"
#include "reference_host/core/host_devices.h"
#include "reference_host/core/host_project.h"
#include "reference_host/core/host_requests.h"
#include "reference_host/core/host_streams.h"
#include "reference_host/core/host_threads.h"

#include <memory>
#include <string_view>

namespace vordal {

class Clock;
class HostObserver;
class TargetStore;
struct HostState;

/// The host. One lives at a time in a process; the singletons of the contract (DataManager, VesselManager, CDevList,
/// the buses) answer from it, and a new one begins empty. Without one they find nothing.
///
/// What it does stands on a page for each of its parts, the classes that it derives from.
///
/// Set it up, then use it, on the thread that made it; operations are for that thread or the host thread unless they
/// say otherwise. Clock, traffic, observer and ports are the caller's and must outlive the host.
class VORDAL_API Host : public HostThreads,
                        public HostDevices,
                        public HostRequests,
                        public HostStreams,
                        public HostProject,
                        public HostApplication
{
public:
    /// Throws std::logic_error while another host lives.
    explicit Host(Threading threading = Threading::Inline);
    Host(Host const&) = delete;
    Host& operator=(Host const&) = delete;
    /// Stops the host thread, then destroys the devices in the order in which they were added. Plug-ins are unloaded
    /// after RemoveAllDevices and before this.
    ~Host();

    /// The host that lives. There must be one; CurrentOrNull asks.
    static Host& Current();
    static Host* CurrentOrNull();

    // Surroundings. Null puts back the default: the system's time, no connection, nobody watching.
    void SetClock(Clock const* clock);
    double Now() const;
    /// Null: not connected, every send gives false.
    void SetTraffic(SonarTraffic* traffic);
    SonarTraffic* Traffic() const;
    void SetObserver(HostObserver* observer);
    HostObserver* Observer() const;

    TargetStore& Targets();
    /// For the host's own sources.
    HostState& State() { return *m_state; }

private:
    Host(std::unique_ptr<HostState> state, Threading threading);

    std::unique_ptr<HostState> m_state;
};

} // namespace vordal
