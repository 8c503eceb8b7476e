// One sonar of this process on its TCP connection: its attributes, requests to it, its changes.
#pragma once

#include "python/live/any_sonar.h"
#include "recording/flight_recorder.h"
#include "reference_host/link/sonar_link.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

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
class SonarState final : public SonarNews
{
public:
    explicit SonarState(CDataId const& sonar) : m_id(sonar) {}

    CDataId const& Id() const { return m_id; }
    vordal::LinkStatus Link() const;
    bool IsConnected() const { return Link().state == vordal::LinkState::Connected; }

    /// Host thread, as is the next.
    void Follow(std::shared_ptr<EchoFeed> const& feed);
    void Leave(EchoFeed const* feed);
    /// Null for none.
    void SetRecorder(std::shared_ptr<recording::FlightRecorder> recorder);
    std::shared_ptr<recording::FlightRecorder> Recorder() const;

    // For the host, on its thread.
    void TakeLink(vordal::LinkStatus const& status);
    void TakeAttributes();
    /// The sonar is taken away.
    void TakeEnd();

private:
    CDataId const m_id;
    mutable std::mutex m_mutex; ///< guards what follows
    vordal::LinkStatus m_link;
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

/// In the host of this process. Close and the destructor not on the host thread.
class LiveSonar final : public AnySonar
{
public:
    /// Makes the sonar in the host of this process, which begins with the first and ends with the last, and begins to
    /// connect. Throws std::runtime_error, one line, when the plug-in cannot be had.
    explicit LiveSonar(SonarOptions const& options);
    ~LiveSonar() override;

    void Close() override;
    SonarNews& News() override { return *m_state; }
    SonarConnection Connection() const override;
    operation::SonarCondition Condition() const override;
    CAttributeMap Attributes() const override;
    std::shared_ptr<LiveRequest> Request(CAttributeMap const& request) override;
    std::shared_ptr<ChangeFeed> Follow(std::vector<std::wstring> keys, std::function<void()> ready) override;
    std::shared_ptr<EchoFeed> FollowEchoes(SonarEchoGroup group) override;
    void Leave(std::shared_ptr<EchoFeed> const& feed) override;
    /// Has it ping once; false when nobody hears that.
    bool Ping();
    /// All that passes goes into this from now on, with the settings as they stand first; null for nothing any more.
    void RecordInto(std::shared_ptr<recording::FlightRecorder> recorder);

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
