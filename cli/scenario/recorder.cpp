// Writes down everything that a plug-in does to its host, as the events of a scenario's result.
#include "cli/scenario/recorder.h"

#include "cli/scenario/block_json.h"

#include <VordalBaseR/FileObject.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <string>
#include <utility>

namespace qx5::cli {

void Recorder::SetFirstDevice(CDataId const& device)
{
    m_first = device;
}

void Recorder::SetSubject(CDataId const& device)
{
    if (!(device == m_subject)) {
        std::lock_guard const lock(m_mutex);
        m_subject = device;
    }
}

CDataId Recorder::Subject() const
{
    std::lock_guard const lock(m_mutex);
    return m_subject;
}

void Recorder::IgnoreNextHostSet()
{
    m_ignoreHostSet = true;
}

void Recorder::TakeEvents(ScenarioEvents& events)
{
    events.Clear();
    std::swap(events, m_events);
}

void Recorder::AddEventsOfThreads()
{
    std::lock_guard const lock(m_mutex);
    m_events.Take(m_eventsOfThreads);
}

Recorder::Instant Recorder::LastEventOfThreads(Instant since) const
{
    std::lock_guard const lock(m_mutex);
    return std::max(since, m_lastEventOfThreads);
}

CDataId Recorder::IdOf(BaseDevice const& device) const
{
    auto const& id = device.GetDataId();
    return id.IsUndefined() ? Subject() : id;
}

void Recorder::OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags)
{
    WriteOf(device, [&](ScenarioEvents& events) { events.Add(EventKind::Echo, tree).With("flags", flags); });
}

void Recorder::OnHostSet(CDataId const& dataId, CAttributeMap const& tree, unsigned flags)
{
    if (IsOwnThread() && std::exchange(m_ignoreHostSet, false)) {
        return;
    }
    Write(
        [&](ScenarioEvents& events) { events.Add(EventKind::HostSet, tree).With("id", dataId).With("flags", flags); });
}

void Recorder::OnContractBreach(CString const& rule)
{
    Add(EventKind::Breach, rule);
}

void Recorder::OnOutputStat(BaseDevice& device, double time, int status)
{
    Write([&](ScenarioEvents& events) {
        events.Add(EventKind::OutputStat, JsonValue::Array({JsonValue::Double(time), JsonValue::Integer(status)}))
            .With("of", IdOf(device));
    });
}

void Recorder::OnDisableTimeOut(BaseDevice& device, bool disable)
{
    Write([&](ScenarioEvents& events) { events.Add(EventKind::DisableTimeout, disable).With("of", IdOf(device)); });
}

void Recorder::OnDeviceCtrlViewType(BaseDevice& device, CString const& name)
{
    WriteOf(device, [&](ScenarioEvents& events) { events.Add(EventKind::ViewType, name); });
}

void Recorder::OnResetBuffer(CDataId const& stream, CDataId const& owner)
{
    Write([&](ScenarioEvents& events) { events.Add(EventKind::ResetBuffer, stream).With("of", owner); });
}

void Recorder::OnStoreBlock(CDataId const& stream, CDataBlock const& block)
{
    Write([&](ScenarioEvents& events) { events.Add(EventKind::Store, WriteBlock(block)).With("id", stream); });
}

void Recorder::OnAnnounceBlock(CDataId const& stream)
{
    Add(EventKind::Announce, stream);
}

void Recorder::OnUpdateDisplays(int hint)
{
    Add(EventKind::DisplayUpdate, hint);
}

void Recorder::OnSelectDisplay(CString const& name)
{
    Add(EventKind::DisplaySelect, name);
}

void Recorder::OnEnableDisplay(CString const& name)
{
    Add(EventKind::DisplayEnable, name);
}

void Recorder::OnAddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                            CString const& section)
{
    JsonValue items = JsonValue::Object({});
    for (auto const& [item, value] : settings.GetItems(section)) {
        items.members.emplace_back(protocol::EncodeUtf8(item.View()), JsonValue::Text(value.View()));
    }
    Add(EventKind::DisplayAdd, JsonValue::Object({{"key", JsonValue::Unsigned(viewKey)},
                                                  {"name", JsonValue::Text(name.View())},
                                                  {"type", JsonValue::Text(type.View())},
                                                  {"section", JsonValue::Text(section.View())},
                                                  {"items", std::move(items)}}));
}

void Recorder::OnSetLightMode(int mode, bool redraw)
{
    Add(EventKind::LightMode, JsonValue::Array({JsonValue::Integer(mode), JsonValue::Bool(redraw)}));
}

void Recorder::OnNotifyApplication(CDataId const& dataId)
{
    Add(EventKind::NotifyApp, dataId);
}

void Recorder::OnRenameDisplay(CString const& title)
{
    Add(EventKind::Title, title);
}

void Recorder::OnRemoveDisplay(CString const& title)
{
    Add(EventKind::DisplayRemove, title);
}

void Recorder::OnMessage(CString const& text)
{
    Add(EventKind::Message, text);
}

void Recorder::OnOpenTargets(CString const& fileName)
{
    Add(EventKind::OpenTargets, fileName);
}

void Recorder::OnCloseTargets(CString const& fileName)
{
    Add(EventKind::CloseTargets, fileName);
}

void Recorder::OnTargetListRequested()
{
    Add(EventKind::SyncStamp, true);
}

void Recorder::OnRemoveFile(CString const& fileName)
{
    Add(EventKind::RemoveFile, fileName);
}

bool Recorder::SendRemoteControl(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                                 int deviceId, int enumerator)
{
    WriteOf(sender.device, [&](ScenarioEvents& events) {
        events.Add(EventKind::Remote, recordId)
            .With("payload", payload)
            .With("device", deviceId)
            .With("enumerator", enumerator);
    });
    return true;
}

bool Recorder::AskForRecord(Sender const& sender, std::uint32_t recordId, int deviceId, int enumerator)
{
    WriteOf(sender.device, [&](ScenarioEvents& events) {
        events.Add(EventKind::Ask, recordId).With("device", deviceId).With("enumerator", enumerator);
    });
    return true;
}

bool Recorder::SendData(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                        double time, int deviceId, int enumerator)
{
    WriteOf(sender.device, [&](ScenarioEvents& events) {
        events.Add(EventKind::Record, recordId)
            .With("payload", payload)
            .With("time", time)
            .With("device", deviceId)
            .With("enumerator", enumerator);
    });
    return true;
}

bool Recorder::SendRaw(Sender const& sender, std::string_view bytes, bool flag)
{
    std::span const raw(reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size());
    WriteOf(sender.device, [&](ScenarioEvents& events) { events.Add(EventKind::Raw, raw).With("flag", flag); });
    return true;
}

CDataId RecordingSonarPort::User() const
{
    CDataId const subject = m_recorder.Subject();
    auto const* user = GetDevice(0);
    for (int i = 0; i < GetDeviceCount(); ++i) {
        if (auto const* device = GetDevice(i); device != nullptr && device->GetDataId() == subject) {
            user = device;
        }
    }
    return user != nullptr ? user->GetDataId() : subject;
}

void RecordingSonarPort::AddPlayback(std::string_view operation, std::vector<JsonValue> args)
{
    m_recorder.WriteOf(User(), [&](ScenarioEvents& events) {
        events.Add(EventKind::Playback, operation).With("args", JsonValue::Array(std::move(args)));
    });
}

void RecordingSonarPort::PlaybackSetSpeed(double commandTime, double speed)
{
    AddPlayback("PlaybackSetSpeed", {JsonValue::Double(commandTime), JsonValue::Double(speed)});
}

void RecordingSonarPort::PlaybackSetPosition(double commandTime, double position)
{
    AddPlayback("PlaybackSetPosition", {JsonValue::Double(commandTime), JsonValue::Double(position)});
}

void RecordingSonarPort::PlaybackSetLoop(double commandTime, double loop)
{
    AddPlayback("PlaybackSetLoop", {JsonValue::Double(commandTime), JsonValue::Double(loop)});
}

void RecordingSonarPort::PlaybackStepForward(double commandTime)
{
    AddPlayback("PlaybackStepForward", {JsonValue::Double(commandTime)});
}

void RecordingSonarPort::PlaybackStepBack(double commandTime)
{
    AddPlayback("PlaybackStepBack", {JsonValue::Double(commandTime)});
}

bool RecordingSonarPort::SendRemoteControlCommandWithPassThrough(std::uint32_t recordId, void const* payload,
                                                                 std::uint64_t size, std::uint32_t deviceId,
                                                                 std::uint16_t enumerator)
{
    std::span<unsigned char const> bytes;
    if (payload != nullptr) {
        bytes = {static_cast<unsigned char const*>(payload), static_cast<std::size_t>(size)};
    }
    m_recorder.WriteOf(User(), [&](ScenarioEvents& events) {
        events.Add(EventKind::Through, recordId)
            .With("payload", bytes)
            .With("device", deviceId)
            .With("enumerator", enumerator);
    });
    return true;
}

} // namespace qx5::cli
