// Bringing a host up and taking it down.
#include "live_host.h"

#include "reference_host/common/failure.h"
#include "reference_host/core/host_state.h"

#include <utility>

namespace vordal {

LiveHost::LiveHost() : Host(Threading::Threaded)
{
    SetTraffic(&m_traffic);
}

LiveHost::~LiveHost()
{
    if (!End()) {
        // What it works on must not be taken away.
        State().thread->Finish();
        RemoveAllDevices();
    }
    SetTraffic(nullptr);
}

bool LiveHost::LoadPlugIn(std::filesystem::path const& file, std::string& reason)
{
    bool isLoaded = false;
    RunAndWait([&] { isLoaded = m_plugIns->Add(file, reason); });
    return isLoaded;
}

CString LiveHost::SonarClass()
{
    CString name;
    RunAndWait([&] { name = m_plugIns->SonarClass(); });
    return name;
}

OpenProject& LiveHost::Open(StoredProject project, LinkOptions const& like)
{
    m_project = std::make_unique<OpenProject>(*this, m_linkThread, std::move(project), like);
    return *m_project;
}

void LiveHost::Start()
{
    m_project->Start(*m_plugIns);
    m_project->Connect();
}

bool LiveHost::End(std::chrono::milliseconds limit, Task const& first)
{
    if (!m_plugIns.has_value()) {
        return true;
    }
    OrOnceMore([&] {
        Post([this, first] {
            if (first) {
                OrOnceMore(first);
            }
            RemoveAllDevices();
        });
    });
    if (!Stop(limit)) {
        return false;
    }
    RemoveAllDevices(); // those that the host thread has left
    m_project.reset();
    m_plugIns.reset();
    return true;
}

} // namespace vordal
