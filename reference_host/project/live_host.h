// A host as a program runs it: its sends go over live connections, and it takes down in order what was brought up in
// it.
#pragma once

#include "open_project.h"
#include "reference_host/core/host.h"
#include "reference_host/link/live_traffic.h"
#include "reference_host/link/sonar_link.h"
#include "reference_host/loader/plugin_set.h"

#include <VordalBaseR/Export.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace vordal {

/// A threaded host with its plug-ins, and the project that is at work in it with its connections. What is added here is
/// for the thread that made it.
class VORDAL_API LiveHost : public Host
{
public:
    LiveHost();
    /// Ends it, if that was not done. A task on the host thread that does not end takes the process with it.
    ~LiveHost();

    /// PlugIns::Add on the host thread.
    bool LoadPlugIn(std::filesystem::path const& file, std::string& reason);
    /// Until the end.
    PlugIns& LoadedPlugIns() { return *m_plugIns; }
    /// The first class of all whose devices are sonars; empty when there is none.
    CString SonarClass();

    /// Makes what the project holds, once. Its ports are like `like`, but for what the project says of each.
    OpenProject& Open(StoredProject project, LinkOptions const& like = {});
    /// The project at work; null before Open and after End.
    OpenProject* Project() const { return m_project.get(); }
    /// What the project holds is set up and begins to connect.
    void Start();
    /// For projects beside the one that this host takes down.
    LinkThread& Links() { return m_linkThread; }

    /// Takes down in order: `first` on the host thread, turns of sonars, devices, host thread, connections, plug-ins.
    /// False when a task on the host thread does not end within the limit: connections and plug-ins are still there, to
    /// be taken down by another call.
    bool End(std::chrono::milliseconds limit = std::chrono::seconds(10), Task const& first = {});

private:
    LiveTraffic m_traffic;
    LinkThread m_linkThread;
    std::optional<PlugIns> m_plugIns{std::in_place}; ///< until its end
    std::unique_ptr<OpenProject> m_project;
};

} // namespace vordal
