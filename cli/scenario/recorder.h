// Writes down everything that a plug-in does to its host, as the events of a scenario's result.
#pragma once

#include "cli/scenario/scenario_event.h"

#include "reference_host/common/host_observer.h"
#include "reference_host/common/sonar_traffic.h"
#include "reference_host/core/port.h"

#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>
#include <VordalBaseR/CDataId.h>
#include <VordalDataBlocksR/BaseDevice.h>

#include <chrono>
#include <cstdint>
#include <mutex>
#include <span>
#include <string_view>
#include <thread>
#include <vector>

namespace qx5::cli {

/// The events of one scenario. What the thread that made the recorder does is kept apart from what other threads do, so
/// that a step shows its own doings alone. Any thread may tell it something; the rest is for the thread that made it.
/// Sends are recorded whatever the port is, and all succeed.
class Recorder final : public vordal::HostObserver, public vordal::SonarTraffic
{
public:
    using Instant = std::chrono::steady_clock::time_point;

    /// The device that steps mean by themselves: events of others carry their id.
    void SetFirstDevice(CDataId const& device);
    /// Whose doings are on: a step's device, or the one that is being made or destroyed. It stands for callers that
    /// cannot be told, which are devices without an id yet and users of a shared port.
    void SetSubject(CDataId const& device);
    CDataId Subject() const;
    /// The next DataManager::SetAttributeMap on this thread is the scenario's own and no event.
    void IgnoreNextHostSet();

    /// Puts the events of this thread since the last call in the place of what is there.
    void TakeEvents(ScenarioEvents& events);
    /// Adds the events of all other threads since the last call to those of this one.
    void AddEventsOfThreads();
    /// When the last event of another thread happened; never before `since`.
    Instant LastEventOfThreads(Instant since) const;

    /// Adds an event that concerns no device in particular: `put(events)` does.
    template <typename Put>
    void Write(Put const& put)
    {
        if (IsOwnThread()) {
            m_events.AddWholly(put);
            return;
        }
        std::lock_guard const lock(m_mutex);
        m_eventsOfThreads.AddWholly(put);
        m_lastEventOfThreads = Instant::clock::now();
    }
    /// Adds an event that concerns a device; the id follows unless it is that of the first.
    template <typename Put>
    void WriteOf(CDataId const& device, Put const& put)
    {
        Write([&](ScenarioEvents& events) {
            put(events);
            if (!(device == m_first)) {
                events.With("of", device);
            }
        });
    }
    template <typename Put>
    void WriteOf(BaseDevice const& device, Put const& put)
    {
        auto const& id = device.GetDataId();
        if (id.IsUndefined()) {
            WriteOf(Subject(), put);
        } else {
            WriteOf(id, put);
        }
    }
    /// Adds one that has nothing beside its kind.
    template <typename What>
    void Add(EventKind kind, What const& what)
    {
        Write([&](ScenarioEvents& events) { events.Add(kind, what); });
    }

    void OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags) override;
    void OnHostSet(CDataId const& dataId, CAttributeMap const& tree, unsigned flags) override;
    void OnContractBreach(CString const& rule) override;
    void OnOutputStat(BaseDevice& device, double time, int status) override;
    void OnDisableTimeOut(BaseDevice& device, bool disable) override;
    void OnDeviceCtrlViewType(BaseDevice& device, CString const& name) override;
    void OnResetBuffer(CDataId const& stream, CDataId const& owner) override;
    void OnStoreBlock(CDataId const& stream, CDataBlock const& block) override;
    void OnAnnounceBlock(CDataId const& stream) override;
    void OnUpdateDisplays(int hint) override;
    void OnSelectDisplay(CString const& name) override;
    void OnEnableDisplay(CString const& name) override;
    void OnAddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                      CString const& section) override;
    void OnSetLightMode(int mode, bool redraw) override;
    void OnNotifyApplication(CDataId const& dataId) override;
    void OnRenameDisplay(CString const& title) override;
    void OnRemoveDisplay(CString const& title) override;
    void OnMessage(CString const& text) override;
    void OnOpenTargets(CString const& fileName) override;
    void OnCloseTargets(CString const& fileName) override;
    void OnTargetListRequested() override;
    void OnRemoveFile(CString const& fileName) override;

    bool SendRemoteControl(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                           int deviceId, int enumerator) override;
    bool AskForRecord(Sender const& sender, std::uint32_t recordId, int deviceId, int enumerator) override;
    bool SendData(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload, double time,
                  int deviceId, int enumerator) override;
    bool SendRaw(Sender const& sender, std::string_view bytes, bool flag) override;

private:
    /// The id of a device, or the subject while it has none.
    CDataId IdOf(BaseDevice const& device) const;

    bool IsOwnThread() const { return std::this_thread::get_id() == m_ownThread; }

    std::thread::id const m_ownThread = std::this_thread::get_id();
    CDataId m_first;              ///< set before any other thread is
    bool m_ignoreHostSet = false; ///< of the own thread, as are the events
    ScenarioEvents m_events;
    mutable std::mutex m_mutex; ///< guards what follows
    CDataId m_subject;          ///< set by the own thread alone, which need not lock to read it
    ScenarioEvents m_eventsOfThreads;
    Instant m_lastEventOfThreads{};
};

/// The port of a sonar, live or playing a file, that only records what it is asked to do.
class RecordingSonarPort final : public vordal::PortWithDevices<QX5SocketIoHandler>
{
public:
    /// The recorder must outlive the port.
    RecordingSonarPort(Recorder& recorder, bool playsFile) : m_recorder(recorder), m_playsFile(playsFile) {}

    void PlaybackSetSpeed(double commandTime, double speed) override;
    void PlaybackSetPosition(double commandTime, double position) override;
    void PlaybackSetLoop(double commandTime, double loop) override;
    void PlaybackStepForward(double commandTime) override;
    void PlaybackStepBack(double commandTime) override;
    bool IsFilePlayback() const override { return m_playsFile; }
    bool SendRemoteControlCommandWithPassThrough(std::uint32_t recordId, void const* payload, std::uint64_t size,
                                                 std::uint32_t deviceId, std::uint16_t enumerator) override;

private:
    void AddPlayback(std::string_view operation, std::vector<JsonValue> args);
    /// The device that uses the port: the subject when it is on it, otherwise the first device on it.
    CDataId User() const;

    Recorder& m_recorder;
    bool m_playsFile;
};

} // namespace qx5::cli
