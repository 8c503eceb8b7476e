// The bench: a host that writes down what one handler does.
#include "handler_bench.h"

#include "reference_host/common/host_observer.h"
#include "reference_host/core/port.h"
#include <commands/chain.h>

#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>
#include <protocol/frame.h>
#include <protocol/records/all.h>
#include <protocol/utf8.h>

#include <exception>
#include <functional>
#include <span>
#include <string_view>
#include <utility>

namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

struct ControlDeviceAccess
{
    using Device = QX5SonarConfigurationControlDevice;
    using Handler = void (*)(Device&, CAttributeMap&);

    static void Run(Device& device, int row, CAttributeMap& request)
    {
#define QX5_HANDLER(name) [](Device& on, CAttributeMap& tree) { on.name(&tree); },
#define QX5_KEYED(name, rowKey) [](Device& on, CAttributeMap& tree) { on.name(&tree, qx5::At<keys::rowKey>); },
#define QX5_SCALAR(record, rowKey, rowKind)                                                                            \
    [](Device& on, CAttributeMap& tree) {                                                                              \
        on.RequestValue(&tree, static_cast<int>(records::record.Id()), qx5::At<keys::rowKey>, rowKind);                \
    },
        static constexpr Handler handlers[]{QX5_REQUEST_CHAIN(QX5_HANDLER, QX5_HANDLER, QX5_KEYED, QX5_SCALAR)};
#undef QX5_HANDLER
#undef QX5_KEYED
#undef QX5_SCALAR
        handlers[row - 1](device, request);
    }
    static void Prepare(Device& device, CAttributeMap const& stored, bool loggerRuns)
    {
        *device.m_attributes = stored;
        device.loggerRunning = loggerRuns;
    }
};

namespace qx5::conformance {

using protocol::Carrier;
using protocol::Key;

std::string Text(std::wstring_view text)
{
    return protocol::EncodeUtf8(text);
}

namespace {

std::string TargetText(Target target)
{
    return std::to_string(target.deviceId) + "," + std::to_string(target.enumerator);
}

/// Keys and values of a tree, for comparison.
void Describe(CAttributeMap const& tree, std::string& text)
{
    for (CAttributeMap const& child : tree) {
        text += Text(child.KeyText()) + '=' + child.Value().ToText();
        if (child.Count() != 0) {
            text += '{';
            Describe(child, text);
            text += '}';
        }
        text += ' ';
    }
}

} // namespace

std::string Text(Key const& key)
{
    return Text(key.text);
}
std::string Text(Sent const& sent)
{
    constexpr char const* carriers[]{"command ", "data record ", "passed-on command "};
    std::size_t const carrier = sent.carrier == Carrier::RemoteControl ? 0 : sent.carrier == Carrier::Data ? 1 : 2;
    return carriers[carrier] + std::to_string(sent.record) + " to " + TargetText(sent.target);
}
std::string Text(Asked const& asked)
{
    return "question for " + std::to_string(asked.record) + " to " + TargetText(asked.target);
}

std::uint64_t Observation::Print() const
{
    if (!m_print) {
        std::string text = order + (threw ? "!" : "");
        for (Sent const& each : sent) {
            text += Text(each) + ' ' + each.payload + '\n';
        }
        for (Asked const& each : asked) {
            text += Text(each) + '\n';
        }
        for (Told const& each : told) {
            text += std::to_string(each.flags) + ' ';
            Describe(each.tree, text);
        }
        for (std::string const& each : others) {
            text += each + '\n';
        }
        m_print = std::hash<std::string>()(text);
    }
    return *m_print;
}

/// Writes down what happens.
class Bench::Watch final : public vordal::SonarTraffic,
                           public vordal::HostObserver,
                           public vordal::PortWithDevices<QX5SocketIoHandler>
{
public:
    Observation seen;
    bool playback = false;

    bool SendRemoteControl(Sender const&, std::uint32_t recordId, std::span<unsigned char const> payload, int deviceId,
                           int enumerator) override
    {
        return Keep({Carrier::RemoteControl, recordId, {deviceId, enumerator}, Bytes(payload)});
    }
    bool AskForRecord(Sender const&, std::uint32_t recordId, int deviceId, int enumerator) override
    {
        seen.asked.push_back({recordId, {deviceId, enumerator}});
        seen.order += 'a';
        return true;
    }
    bool SendData(Sender const&, std::uint32_t recordId, std::span<unsigned char const> payload, double, int deviceId,
                  int enumerator) override
    {
        return Keep({Carrier::Data, recordId, {deviceId, enumerator}, Bytes(payload)});
    }
    bool SendRaw(Sender const&, std::string_view text, bool) override
    {
        auto const frame = protocol::ParseFrame({reinterpret_cast<unsigned char const*>(text.data()), text.size()});
        if (!frame) {
            return Keep({Carrier::Data, 0, {}, std::string(text)});
        }
        return Keep(
            {Carrier::Data,
             frame->header.recordId,
             {static_cast<std::int32_t>(frame->header.deviceId), static_cast<std::int16_t>(frame->header.enumerator)},
             Bytes(frame->data)});
    }
    bool SendRemoteControlCommandWithPassThrough(std::uint32_t recordId, void const* payload, std::uint64_t size,
                                                 std::uint32_t deviceId, std::uint16_t enumerator) override
    {
        return Keep({Carrier::PassThrough,
                     recordId,
                     {static_cast<std::int32_t>(deviceId), static_cast<std::int16_t>(enumerator)},
                     std::string(static_cast<char const*>(payload), size)});
    }

    void OnEcho(BaseDevice&, CAttributeMap const& tree, unsigned flags) override
    {
        seen.told.push_back({static_cast<int>(flags), tree});
        seen.order += 't';
    }
    /// No table tells of it.
    void OnRequestDropped(BaseDevice&, AttributeKey const&, AttributeKey const&) override {}
    void OnTargetListRequested() override { Note("the target list is asked for"); }

    void PlaybackSetSpeed(double time, double speed) override { NotePlayback("speed", time, speed); }
    void PlaybackSetPosition(double time, double position) override { NotePlayback("position", time, position); }
    void PlaybackSetLoop(double time, double loop) override { NotePlayback("loop", time, loop); }
    void PlaybackStepForward(double time) override { NotePlayback("step forward", time, 0.0); }
    void PlaybackStepBack(double time) override { NotePlayback("step back", time, 0.0); }
    bool IsFilePlayback() const override { return playback; }

    void Note(std::string text)
    {
        seen.others.push_back(std::move(text));
        seen.order += 'o';
    }

private:
    static std::string Bytes(std::span<unsigned char const> bytes)
    {
        return {reinterpret_cast<char const*>(bytes.data()), bytes.size()};
    }
    bool Keep(Sent sent)
    {
        seen.sent.push_back(std::move(sent));
        seen.order += 's';
        return true;
    }
    void NotePlayback(char const* what, double time, double value)
    {
        Note(std::string("playback ") + what + ' ' + std::to_string(value) + " at " + std::to_string(time));
    }
};

Bench::Bench() : m_watch(std::make_unique<Watch>())
{
    m_host.SetTraffic(m_watch.get());
    m_host.SetObserver(m_watch.get());
}

Bench::~Bench()
{
    m_host.RemoveAllDevices();
    m_host.SetObserver(nullptr);
    m_host.SetTraffic(nullptr);
}

Observation Bench::Observe(int row, Surroundings const& surroundings, CAttributeMap const& request,
                           CAttributeMap const& stored)
{
    m_host.SetPort(*device, surroundings.sonarPort ? m_watch.get() : nullptr);
    m_host.SetUserIsOperator(surroundings.isOperator);
    m_watch->playback = surroundings.playback;
    ControlDeviceAccess::Prepare(*device, stored, surroundings.loggerRuns);
    m_watch->seen = {};

    CAttributeMap handed(request);
    try {
        ControlDeviceAccess::Run(*device, row, handed);
    } catch (std::exception const&) {
        m_watch->seen.threw = true;
    }
    for (int i = 0; i < handed.Count(); ++i) {
        CAttributeMap const& child = std::as_const(handed).GetChild(i);
        if (i >= request.Count() || !child.Value().IsSame(request.GetChild(i).Value())) {
            m_watch->seen.written.emplace(child.KeyText());
            m_watch->Note("wrote " + Text(child.KeyText()) + '=' + child.Value().ToText());
        }
    }
    return std::move(m_watch->seen);
}

} // namespace qx5::conformance
