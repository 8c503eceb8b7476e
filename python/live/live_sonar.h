// One sonar of this process on its TCP connection: its attributes, requests to it, its changes.
#pragma once

#include "operation/sonar_watch.h"
#include "python/live/change_feed.h"
#include "python/live/echo_feed.h"
#include "python/live/live_request.h"
#include "recording/flight_recorder.h"
#include "reference_host/link/sonar_link.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace qx5::live {

class SharedHost;

/// What the host tells of a sonar, for whoever waits for it. Any thread; what the host calls is named so.
class SonarState
{
public:
    explicit SonarState(CDataId const& sonar) : m_id(sonar) {}
    SonarState(SonarState const&) = delete;
    SonarState& operator=(SonarState const&) = delete;

    CDataId const& Id() const { return m_id; }
    vordal::LinkStatus Link() const;
    bool IsConnected() const { return Link().state == vordal::LinkState::Connected; }
    bool IsClosed() const;
    /// Counts all that the host tells of it: changes of attributes, of the connection, the end.
    std::uint64_t News() const;
    /// Until the count is another than `seen`; it is the same when nothing came within the limit.
    std::uint64_t WaitForNews(std::uint64_t seen, std::chrono::milliseconds limit) const;

    void Add(std::shared_ptr<ChangeFeed> const& feed);
    void Remove(ChangeFeed const* feed);
    /// Host thread, as is the next.
    void Add(std::shared_ptr<EchoFeed> const& feed);
    void Remove(EchoFeed const* feed);
    /// Null for none.
    void SetRecorder(std::shared_ptr<recording::FlightRecorder> recorder);
    std::shared_ptr<recording::FlightRecorder> Recorder() const;

    // For the host, on its thread.
    void TakeLink(vordal::LinkStatus const& status);
    void TakeChange();
    /// The sonar is taken away.
    void End();

private:
    CDataId const m_id;
    mutable std::mutex m_mutex; ///< guards what follows
    mutable std::condition_variable m_changed;
    vordal::LinkStatus m_link;
    std::uint64_t m_news = 0;
    bool m_isClosed = false;
    std::vector<std::shared_ptr<ChangeFeed>> m_feeds;
    std::vector<std::shared_ptr<EchoFeed>> m_echoes;
    std::shared_ptr<recording::FlightRecorder> m_recorder;
};

struct SonarOptions
{
    std::filesystem::path plugin; ///< the module, or a folder whose first one that offers sonars is taken
    std::string host;
    std::uint16_t port = 0;
    std::string name; ///< for people
};

/// Any thread; Close and the destructor not on the host thread.
class LiveSonar
{
public:
    /// Makes the sonar in the host of this process, which begins with the first and ends with the last, and begins to
    /// connect. Throws std::runtime_error, one line, when the plug-in cannot be had.
    explicit LiveSonar(SonarOptions const& options);
    LiveSonar(LiveSonar const&) = delete;
    LiveSonar& operator=(LiveSonar const&) = delete;
    ~LiveSonar();

    /// Takes the sonar away: what waits for it is told so. Again is fine.
    void Close();

    SonarState& State() { return *m_state; }
    /// The device's tree as it stands; the last one of a sonar that is closed.
    CAttributeMap Attributes() const;
    /// What the sonar is to do; followed from here on.
    std::shared_ptr<LiveRequest> Request(CAttributeMap const& request);
    /// Of no keys all at the top of the tree. See ChangeFeed.
    std::shared_ptr<ChangeFeed> Follow(std::vector<std::wstring> keys, std::function<void()> ready);
    /// Has it ping once; false when nobody hears that.
    bool Ping();
    /// Null when the sonar is closed.
    std::shared_ptr<EchoFeed> FollowEchoes(SonarEchoGroup group);
    /// It is followed no more.
    void Leave(std::shared_ptr<EchoFeed> const& feed);
    operation::SonarState Watch() const;
    /// All that passes goes into this from now on, with the settings as they stand first; null for nothing any more.
    void RecordInto(std::shared_ptr<recording::FlightRecorder> recorder);
    std::string const& Name() const { return m_name; }

private:
    std::shared_ptr<SharedHost> Host() const;
    void RecordInto(std::shared_ptr<SharedHost> const& host, std::shared_ptr<recording::FlightRecorder> recorder);

    std::string const m_name;
    mutable std::mutex m_mutex;         ///< guards what follows
    std::shared_ptr<SharedHost> m_host; ///< null once it is closed
    CAttributeMap m_last;               ///< of a sonar that is closed
    std::shared_ptr<SonarState> const m_state;
};

} // namespace qx5::live
