// Writes down everything that a plug-in does to its host, as the events of a scenario's result.
#include "cli/scenario/recorder.h"

#include "cli/scenario/block_json.h"
#include "cli/scenario/event_kinds.h"
#include "json/tree_json.h"
#include "json/json_read.h"

#include <VordalBaseR/FileObject.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <string>
#include <utility>

namespace qx5::cli {

namespace {

JsonValue Hex(std::span<unsigned char const> bytes)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (unsigned char const byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xFU];
    }
    return JsonValue::Text(std::move(text));
}

} // namespace

void Recorder::SetFirstDevice(CDataId const& device)
{
    std::lock_guard const lock(m_mutex);
    m_first = device;
}

void Recorder::SetSubject(CDataId const& device)
{
    std::lock_guard const lock(m_mutex);
    m_subject = device;
}

CDataId Recorder::Subject() const
{
    std::lock_guard const lock(m_mutex);
    return m_subject;
}

void Recorder::IgnoreNextHostSet()
{
    std::lock_guard const lock(m_mutex);
    m_ignoreHostSet = true;
}

std::vector<JsonValue> Recorder::TakeEvents()
{
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_events, {});
}

std::vector<JsonValue> Recorder::TakeEventsOfThreads()
{
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_eventsOfThreads, {});
}

Recorder::Instant Recorder::LastEvent(Instant since) const
{
    std::lock_guard const lock(m_mutex);
    return std::max(since, m_lastEvent);
}

void Recorder::Add(JsonValue event)
{
    std::lock_guard const lock(m_mutex);
    auto& events = std::this_thread::get_id() == m_ownThread ? m_events : m_eventsOfThreads;
    events.push_back(std::move(event));
    m_lastEvent = std::chrono::steady_clock::now();
}

void Recorder::AddOf(JsonValue event, CDataId const& device)
{
    bool isFirst = false;
    {
        std::lock_guard const lock(m_mutex);
        isFirst = device == m_first;
    }
    if (!isFirst) {
        event.members.emplace_back("of", WriteDataId(device));
    }
    Add(std::move(event));
}

CDataId Recorder::IdOf(BaseDevice const& device) const
{
    auto const& id = device.GetDataId();
    return id.IsUndefined() ? Subject() : id;
}

void Recorder::OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags)
{
    AddOf(Event(EventKind::Echo, WriteTree(tree), {{"flags", JsonValue::Unsigned(flags)}}), IdOf(device));
}

void Recorder::OnHostSet(CDataId const& dataId, CAttributeMap const& tree, unsigned flags)
{
    if (std::this_thread::get_id() == m_ownThread) {
        std::lock_guard const lock(m_mutex);
        if (std::exchange(m_ignoreHostSet, false)) {
            return;
        }
    }
    Add(Event(EventKind::HostSet, WriteTree(tree),
              {{"id", WriteDataId(dataId)}, {"flags", JsonValue::Unsigned(flags)}}));
}

void Recorder::OnContractBreach(CString const& rule)
{
    Add(Event(EventKind::Breach, JsonValue::Text(rule.View())));
}

void Recorder::OnOutputStat(BaseDevice& device, double time, int status)
{
    Add(Event(EventKind::OutputStat, JsonValue::Array({JsonValue::Double(time), JsonValue::Integer(status)}),
              {{"of", WriteDataId(IdOf(device))}}));
}

void Recorder::OnDisableTimeOut(BaseDevice& device, bool disable)
{
    Add(Event(EventKind::DisableTimeout, JsonValue::Bool(disable), {{"of", WriteDataId(IdOf(device))}}));
}

void Recorder::OnDeviceCtrlViewType(BaseDevice& device, CString const& name)
{
    AddOf(Event(EventKind::ViewType, JsonValue::Text(name.View())), IdOf(device));
}

void Recorder::OnResetBuffer(CDataId const& stream, CDataId const& owner)
{
    Add(Event(EventKind::ResetBuffer, WriteDataId(stream), {{"of", WriteDataId(owner)}}));
}

void Recorder::OnStoreBlock(CDataId const& stream, CDataBlock const& block)
{
    Add(Event(EventKind::Store, WriteBlock(block), {{"id", WriteDataId(stream)}}));
}

void Recorder::OnAnnounceBlock(CDataId const& stream)
{
    Add(Event(EventKind::Announce, WriteDataId(stream)));
}

void Recorder::OnUpdateDisplays(int hint)
{
    Add(Event(EventKind::DisplayUpdate, JsonValue::Integer(hint)));
}

void Recorder::OnSelectDisplay(CString const& name)
{
    Add(Event(EventKind::DisplaySelect, JsonValue::Text(name.View())));
}

void Recorder::OnEnableDisplay(CString const& name)
{
    Add(Event(EventKind::DisplayEnable, JsonValue::Text(name.View())));
}

void Recorder::OnAddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                            CString const& section)
{
    JsonValue items = JsonValue::Object({});
    for (auto const& [item, value] : settings.GetItems(section)) {
        items.members.emplace_back(protocol::EncodeUtf8(item.View()), JsonValue::Text(value.View()));
    }
    Add(Event(EventKind::DisplayAdd, JsonValue::Object({{"key", JsonValue::Unsigned(viewKey)},
                                                        {"name", JsonValue::Text(name.View())},
                                                        {"type", JsonValue::Text(type.View())},
                                                        {"section", JsonValue::Text(section.View())},
                                                        {"items", std::move(items)}})));
}

void Recorder::OnSetLightMode(int mode, bool redraw)
{
    Add(Event(EventKind::LightMode, JsonValue::Array({JsonValue::Integer(mode), JsonValue::Bool(redraw)})));
}

void Recorder::OnNotifyApplication(CDataId const& dataId)
{
    Add(Event(EventKind::NotifyApp, WriteDataId(dataId)));
}

void Recorder::OnRenameDisplay(CString const& title)
{
    Add(Event(EventKind::Title, JsonValue::Text(title.View())));
}

void Recorder::OnRemoveDisplay(CString const& title)
{
    Add(Event(EventKind::DisplayRemove, JsonValue::Text(title.View())));
}

void Recorder::OnMessage(CString const& text)
{
    Add(Event(EventKind::Message, JsonValue::Text(text.View())));
}

void Recorder::OnOpenTargets(CString const& fileName)
{
    Add(Event(EventKind::OpenTargets, JsonValue::Text(fileName.View())));
}

void Recorder::OnCloseTargets(CString const& fileName)
{
    Add(Event(EventKind::CloseTargets, JsonValue::Text(fileName.View())));
}

void Recorder::OnTargetListRequested()
{
    Add(Event(EventKind::SyncStamp, JsonValue::Bool(true)));
}

void Recorder::OnRemoveFile(CString const& fileName)
{
    Add(Event(EventKind::RemoveFile, JsonValue::Text(fileName.View())));
}

bool Recorder::SendRemoteControl(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                                 int deviceId, int enumerator)
{
    AddOf(Event(EventKind::Remote, JsonValue::Unsigned(recordId),
                {{"payload", Hex(payload)},
                 {"device", JsonValue::Integer(deviceId)},
                 {"enumerator", JsonValue::Integer(enumerator)}}),
          sender.device);
    return true;
}

bool Recorder::AskForRecord(Sender const& sender, std::uint32_t recordId, int deviceId, int enumerator)
{
    AddOf(Event(EventKind::Ask, JsonValue::Unsigned(recordId),
                {{"device", JsonValue::Integer(deviceId)}, {"enumerator", JsonValue::Integer(enumerator)}}),
          sender.device);
    return true;
}

bool Recorder::SendData(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                        double time, int deviceId, int enumerator)
{
    AddOf(Event(EventKind::Record, JsonValue::Unsigned(recordId),
                {{"payload", Hex(payload)},
                 {"time", JsonValue::Double(time)},
                 {"device", JsonValue::Integer(deviceId)},
                 {"enumerator", JsonValue::Integer(enumerator)}}),
          sender.device);
    return true;
}

bool Recorder::SendRaw(Sender const& sender, std::string_view bytes, bool flag)
{
    std::vector<unsigned char> const copy(bytes.begin(), bytes.end());
    AddOf(Event(EventKind::Raw, Hex(copy), {{"flag", JsonValue::Bool(flag)}}), sender.device);
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
    m_recorder.AddOf(Event(EventKind::Playback, JsonValue::Text(std::string(operation)),
                           {{"args", JsonValue::Array(std::move(args))}}),
                     User());
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
    m_recorder.AddOf(Event(EventKind::Through, JsonValue::Unsigned(recordId),
                           {{"payload", Hex(bytes)},
                            {"device", JsonValue::Unsigned(deviceId)},
                            {"enumerator", JsonValue::Unsigned(enumerator)}}),
                     User());
    return true;
}

} // namespace qx5::cli
