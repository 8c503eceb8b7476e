// The one host of this process that all of its sonars share, with the plug-in and what follows requests.
#pragma once

#include "operation/operator_desk.h"
#include "python/live/live_request.h"
#include "python/live/live_sonar.h"
#include "reference_host/project/live_host.h"

#include <VordalSubscriberR/Subscription.h>

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace qx5::live {

/// A host lives once in a process: it is brought up with the first sonar and taken down with the last. Any thread but
/// the host's own, unless told otherwise.
class SharedHost
{
public:
    /// The host that is there, or a new one; waits for the end of one that is ending. Who lets go of it last takes it
    /// down. Throws std::runtime_error, one line, when the plug-in cannot be had, or another one is loaded.
    static std::shared_ptr<SharedHost> Take(std::filesystem::path const& plugin);

    explicit SharedHost(std::filesystem::path const& plugin);
    SharedHost(SharedHost const&) = delete;
    SharedHost& operator=(SharedHost const&) = delete;
    ~SharedHost();

    /// Makes the sonar's device and begins to connect. Throws std::runtime_error when that fails.
    std::shared_ptr<SonarState> Add(SonarOptions const& options);
    void Remove(SonarState& sonar);
    void Request(std::shared_ptr<SonarState> const& sonar, std::shared_ptr<LiveRequest> const& request,
                 CAttributeMap const& tree);
    /// Runs the task on the host thread and waits for it; false when the host is ending.
    bool OnHost(vordal::HostThreads::Task const& task) { return m_host.RunAndWait(task); }
    /// Null for a sonar that is closed. Host thread.
    vordal::SonarLink* LinkOf(CDataId const& sonar);
    operation::SonarWatch& Watch() { return m_desk.Watch(); }

private:
    class Follower;
    /// What the host has of a sonar; made and destroyed on the host thread.
    struct Entry
    {
        std::shared_ptr<SonarState> state;
        std::unique_ptr<Subscription> changes;
    };

    void LoadPlugIn();
    CDataId FreeId();
    std::shared_ptr<recording::FlightRecorder> RecorderOf(CDataId const& sonar);
    void CarryOut(SonarState& sonar, std::shared_ptr<LiveRequest> const& request, CAttributeMap const& tree);
    void Tick();

    std::filesystem::path const m_plugin;
    operation::OperatorDesk m_desk; ///< before the host, which it outlives
    std::shared_ptr<Follower> m_follower;
    vordal::LiveHost m_host;
    std::mutex m_sonarsMutex;          ///< held while sonars come or go, and where another thread than the host's looks
    std::map<CString, Entry> m_sonars; ///< by id
    unsigned short m_lastNumber = 0;   ///< host thread

    std::mutex m_tickMutex; ///< guards what follows
    std::condition_variable m_tickChanged;
    bool m_isEnding = false;
    std::thread m_ticker;
};

} // namespace qx5::live
