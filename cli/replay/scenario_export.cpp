// A piece of a recording as a scenario file.
#include "scenario_export.h"

#include "frame_difference.h"
#include "recorded_part.h"
#include "unasked_frames.h"

#include "cli/scenario/scenario_event.h"
#include "cli/scenario/step_kinds.h"
#include "recording/recording_time.h"
#include "reference_host/link/sonar_link.h"
#include "json/json_read.h"
#include "json/tree_json.h"

#include <commands/catalogue.h>
#include <protocol/echo_records.h>
#include <protocol/frame_offsets.h>
#include <protocol/house_records.h>
#include <protocol/time_stamp.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

namespace kinds = recording::kinds;
using recording::RecordedMessage;
using Member = JsonValue::Member;

double SecondsOf(std::uint64_t nanoseconds)
{
    return static_cast<double>(nanoseconds) / 1e9;
}

/// Whether the plug-in makes the whole frame of that data record, and the host sends it as it stands.
bool IsFramedByPlugIn(std::uint32_t record)
{
    auto const rows = Chain();
    return std::any_of(rows.begin(), rows.end(), [&](ChainEntry const& row) {
        return std::any_of(row.command->sends.begin(), row.command->sends.end(), [&](Sending const& sending) {
            return sending.record.id == record && sending.record.carrier == protocol::Carrier::Data &&
                   sending.addressee != Addressee::Target;
        });
    });
}

ScenarioEvent WithTarget(ScenarioEvent event, protocol::FrameHeader const& header)
{
    return event.With("device", static_cast<std::int32_t>(header.deviceId))
        .With("enumerator", static_cast<std::int16_t>(header.enumerator));
}

/// A frame as what the plug-in called for it.
struct CalledFor
{
    ScenarioEvent event;
    bool hasTime = false;  ///< of the host's clock
    bool isOfData = false; ///< the time is that of the sonar's last data
};

/// `clock` is the host's in seconds. Nothing where no call leads to these bytes.
std::optional<CalledFor> CallFor(std::span<unsigned char const> frame, double clock)
{
    auto const parts = PartsOf(frame);
    if (!parts) {
        return {};
    }
    auto const& header = parts->view.header;
    protocol::Target const target{static_cast<std::int32_t>(header.deviceId),
                                  static_cast<std::int16_t>(header.enumerator)};
    if (parts->carrier == protocol::Carrier::RemoteControl) {
        if (!AreSame(frame, protocol::BuildRemoteControlRecord(parts->id, parts->payload, target, 0.0))) {
            return {};
        }
        if (auto const asked = protocol::DecodeRecordRequest(parts->payload);
            asked && parts->id == protocol::records::RecordRequest.Id()) {
            return CalledFor{WithTarget({EventKind::Ask, *asked}, header)};
        }
        if (auto const through = protocol::DecodePassThrough(parts->payload);
            through && parts->id == protocol::records::PassThroughCommand.Id()) {
            return CalledFor{ScenarioEvent(EventKind::Through, through->commandId)
                                 .With("payload", std::span<unsigned char const>(through->payload))
                                 .With("device", static_cast<std::uint32_t>(through->target.deviceId))
                                 .With("enumerator", static_cast<std::uint16_t>(through->target.enumerator))};
        }
        return CalledFor{
            WithTarget(ScenarioEvent(EventKind::Remote, parts->id).With("payload", parts->payload), header)};
    }
    if (!AreSame(frame, protocol::BuildFrame(parts->id, target, 0.0, parts->payload))) {
        return {};
    }
    if (IsFramedByPlugIn(parts->id)) {
        std::vector<unsigned char> bytes(frame.begin(), frame.end());
        protocol::PutTimeX5LE(bytes, protocol::frame_offsets::Time, protocol::ToTimeX5(clock));
        return CalledFor{ScenarioEvent(EventKind::Raw, std::span(bytes)).With("flag", false), true};
    }
    // A call without a time, before the sonar has told any data, gives 0.
    bool const hasTime = protocol::FromTimeX5(header.time).value_or(0.0) != 0.0;
    return CalledFor{WithTarget(ScenarioEvent(EventKind::Record, parts->id)
                                    .With("payload", parts->payload)
                                    .With("time", hasTime ? clock : 0.0),
                                header),
                     hasTime, hasTime};
}

/// What cannot be told, counted by what it is.
class LeftOut
{
public:
    void Add(std::string_view one, std::string_view several)
    {
        auto const found =
            std::find_if(m_all.begin(), m_all.end(), [&](auto const& entry) { return entry.several == several; });
        if (found != m_all.end()) {
            ++found->count;
        } else {
            m_all.push_back({one, several, 1});
        }
    }
    std::string Line() const
    {
        std::string line;
        for (auto const& [one, several, count] : m_all) {
            line += fmt::format("{}{} {}", line.empty() ? "" : ", ", count, count == 1 ? one : several);
        }
        return line;
    }

private:
    struct Entry
    {
        std::string_view one;
        std::string_view several;
        std::uint64_t count;
    };
    std::vector<Entry> m_all;
};

class Writer
{
public:
    Writer(RecordedPart const& part, std::function<void(std::string_view)> const& write) : m_part(part), m_write(write)
    {
        for (auto const& [sonar, beginning] : part.sonars) {
            if (m_first.empty()) {
                m_first = sonar;
            }
        }
    }

    void Begin(std::string const& name, std::uint64_t clock)
    {
        std::vector<JsonValue> devices;
        std::set<unsigned short> vessels;
        recording::RecordedHost const* host = nullptr;
        for (auto const& [sonar, beginning] : m_part.sonars) {
            auto const id = SonarIdOf(sonar);
            vessels.insert(id.GetVessel());
            auto const& settings = beginning.settings;
            std::vector<Member> members{{"id", WriteDataId(id)},
                                        {"kind", JsonValue::Text(std::string("sonar"))},
                                        {"name", JsonValue::Text(settings.name)}};
            if (settings.host) {
                host = &*settings.host;
                members.emplace_back("portName", JsonValue::Text(settings.host->port));
            }
            members.emplace_back("attributes", WriteTree(settings.tree));
            devices.push_back(JsonValue::Object(std::move(members)));
        }
        std::vector<JsonValue> vesselList;
        for (auto const number : vessels) {
            vesselList.push_back(JsonValue::Object({{"number", JsonValue::Unsigned(number)}}));
        }
        m_write(fmt::format("{{\n  \"name\": {},\n  \"clock\": {},\n  \"vessels\": {},\n",
                            WriteJson(JsonValue::Text(name)), WriteJson(JsonValue::Double(SecondsOf(clock))),
                            WriteJson(JsonValue::Array(std::move(vesselList)))));
        if (host != nullptr) {
            m_write(fmt::format("  \"app\": {},\n",
                                WriteJson(JsonValue::Object({{"guid", JsonValue::Text(host->guid)},
                                                             {"mainWindow", JsonValue::Bool(host->hasMainWindow)},
                                                             {"operator", JsonValue::Bool(host->isOperator)}}))));
        }
        m_write("  \"devices\": [");
        for (std::size_t i = 0; i < devices.size(); ++i) {
            m_write(fmt::format("{}\n    {}", i == 0 ? "" : ",", WriteJson(devices[i])));
        }
        m_write("\n  ],\n  \"steps\": [");
        for (auto const& [sonar, beginning] : m_part.sonars) {
            // What the device takes up of its attributes when a host brings it to work.
            Put(sonar, StepKind::Apply, JsonValue::Bool(true));
        }
    }

    void Take(RecordedMessage const& message)
    {
        if (message.sonar == nullptr) {
            if (message.kind == &kinds::Marks) {
                m_leftOut.Add("mark", "marks");
            } else if (message.kind == &kinds::Lost) {
                m_leftOut.Add("message that tells of others which found no room",
                              "messages that tell of others which found no room");
            }
            return;
        }
        auto const& sonar = *message.sonar;
        auto const& content = message.content;
        if (m_part.sonars.count(sonar) == 0) {
            return; // nothing was asked of it, and nothing is known
        }
        if (auto const* const request = std::get_if<recording::RecordedRequest>(&content)) {
            TakeRequest(sonar, *request, message.systemTime);
        } else if (auto const* const frame = std::get_if<recording::RecordedFrame>(&content)) {
            TakeFrame(sonar, *frame);
        } else if (auto const* const attributes = std::get_if<recording::RecordedAttributes>(&content)) {
            if (attributes->isEcho) {
                TakeEcho(sonar, *attributes);
            } else {
                EndRequest();
                Put(sonar, StepKind::Attributes, WriteTree(attributes->tree));
            }
        } else if (auto const* const writing = std::get_if<recording::RecordedWriting>(&content)) {
            EndRequest();
            Put(sonar, StepKind::Attributes, WriteTree(writing->tree));
        } else if (auto const* const settings = std::get_if<recording::RecordedSettings>(&content);
                   settings != nullptr && !settings->isAgain) {
            EndRequest();
            auto const& beginning = m_part.sonars.at(sonar);
            if (beginning.toldAt != message.time) {
                Put(sonar, StepKind::ReplaceAttributes, WriteTree(settings->tree));
            }
        } else if (auto const* const connection = std::get_if<recording::RecordedConnection>(&content)) {
            TakeConnection(sonar, *connection);
        }
    }

    ScenarioExport End()
    {
        EndRequest();
        m_write("\n  ]\n}\n");
        m_done.leftOut = m_leftOut.Line();
        return std::move(m_done);
    }

private:
    /// A request that is being put together.
    struct Current
    {
        std::string sonar;
        std::string line;
        JsonValue request;
        double clock = 0.0;
        bool left = true;     ///< its records did
        bool hasFlags = true; ///< all of its echoes
        bool hasTime = false; ///< a record that bears the clock's
        bool hasData = false; ///< a record that bears the time of the sonar's last data
        std::vector<ScenarioEvent> events;
    };

    void TakeRequest(std::string const& sonar, recording::RecordedRequest const& request, std::uint64_t time)
    {
        EndRequest();
        if (m_part.HasResult(request.number, operation::Result::Refused)) {
            m_leftOut.Add("request that was refused", "requests that were refused");
            return;
        }
        m_current = Current{.sonar = sonar,
                            .line = LineOf(sonar, m_part),
                            .request = WriteTree(request.asked),
                            .clock = SecondsOf(time),
                            .left = m_lines.DoesLeave(sonar, request.number),
                            .events = {}};
        if (!m_current->left) {
            m_leftOut.Add("request's records, which did not leave", "requests' records, which did not leave");
        }
        ++m_done.requests;
    }

    void TakeFrame(std::string const& sonar, recording::RecordedFrame const& frame)
    {
        if (!frame.isSent) {
            auto const view = protocol::ParseFrame(frame.bytes);
            if (view && protocol::IsOfEchoes(view->header.recordId)) {
                m_leftOut.Add("record of echoes", "records of echoes");
            }
            return;
        }
        auto const unasked = UnaskedOf(frame.bytes);
        if (unasked == Unasked::Echoes) {
            m_leftOut.Add("request for echoes", "requests for echoes");
            return;
        }
        if (unasked == Unasked::Turns) {
            m_leftOut.Add("command of sonars in turn", "commands of sonars in turn");
            return;
        }
        auto called = m_current ? CallFor(frame.bytes, m_current->clock) : std::nullopt;
        if (!called || m_current->line != LineOf(sonar, m_part)) {
            m_leftOut.Add("record that no request of the piece asked for",
                          "records that no request of the piece asked for");
            return;
        }
        m_current->hasTime = m_current->hasTime || called->hasTime;
        m_current->hasData = m_current->hasData || called->isOfData;
        AddEvent(std::move(called->event), m_current->sonar);
    }

    void TakeEcho(std::string const& sonar, recording::RecordedAttributes const& echo)
    {
        if (!m_current) {
            m_leftOut.Add("echo that no request of the piece asked for",
                          "echoes that no request of the piece asked for");
            return;
        }
        if (!echo.flags) {
            m_current->hasFlags = false;
            m_leftOut.Add("echo whose flag word the recording does not tell",
                          "echoes whose flag words the recording does not tell");
            return;
        }
        AddEvent(ScenarioEvent(EventKind::Echo, echo.tree).With("flags", *echo.flags), sonar);
    }

    void AddEvent(ScenarioEvent event, std::string const& sonar)
    {
        if (sonar != m_first) {
            event.With("of", SonarIdOf(sonar));
        }
        m_current->events.push_back(std::move(event));
    }

    void TakeConnection(std::string const& sonar, recording::RecordedConnection const& connection)
    {
        m_lines.Take(sonar, connection);
        bool const isConnected = connection.state == vordal::ToText(vordal::LinkState::Connected);
        bool& wasConnected = m_connected[sonar];
        if (isConnected) {
            EndRequest();
            Put(sonar, StepKind::Connected, JsonValue::Bool(true));
        } else if (wasConnected) {
            m_leftOut.Add("loss of a connection", "losses of a connection");
        }
        wasConnected = isConnected;
    }

    void EndRequest()
    {
        if (!m_current) {
            return;
        }
        auto current = std::exchange(m_current, {});
        if (current->hasTime) {
            Put(current->sonar, StepKind::Clock, JsonValue::Double(current->clock));
        }
        if (current->hasData) {
            Put(current->sonar, StepKind::Block,
                JsonValue::Object({{"id", WriteDataId(SonarIdOf(current->sonar))},
                                   {"status", JsonValue::Unsigned(0)},
                                   {"items", JsonValue::Array({})}}));
        }
        std::vector<JsonValue> of;
        if (current->left) {
            for (auto const kind :
                 {EventKind::Remote, EventKind::Ask, EventKind::Record, EventKind::Through, EventKind::Raw}) {
                of.push_back(JsonValue::Text(std::string(NameOf(kind))));
            }
        }
        if (current->hasFlags) {
            of.push_back(JsonValue::Text(std::string(NameOf(EventKind::Echo))));
        } else {
            std::erase_if(current->events, [](ScenarioEvent const& event) { return event.Kind() == EventKind::Echo; });
        }
        if (!current->left) {
            std::erase_if(current->events, [](ScenarioEvent const& event) { return event.Kind() != EventKind::Echo; });
        }
        m_done.events += current->events.size();
        std::vector<JsonValue> events;
        for (ScenarioEvent const& event : current->events) {
            event.AppendTo(events.emplace_back(JsonValue::Written({})).text);
        }
        Put(current->sonar, StepKind::Request, std::move(current->request),
            JsonValue::Object(
                {{"of", JsonValue::Array(std::move(of))}, {"events", JsonValue::Array(std::move(events))}}));
    }

    void Put(std::string const& sonar, StepKind kind, JsonValue argument, std::optional<JsonValue> expect = {})
    {
        std::vector<Member> members{{std::string(NameOf(kind)), std::move(argument)}};
        if (sonar != m_first) {
            members.emplace_back("device", WriteDataId(SonarIdOf(sonar)));
        }
        if (expect) {
            members.emplace_back("expect", std::move(*expect));
        }
        m_write(std::exchange(m_hasStep, true) ? ",\n    " : "\n    ");
        m_write(WriteJson(JsonValue::Object(std::move(members))));
    }

    RecordedPart const& m_part;
    std::function<void(std::string_view)> const& m_write;
    std::string m_first; ///< the sonar that steps mean by themselves
    std::optional<Current> m_current;
    RecordedLines m_lines{m_part};
    std::map<std::string, bool> m_connected;
    bool m_hasStep = false;
    LeftOut m_leftOut;
    ScenarioExport m_done;
};

} // namespace

ScenarioExport ExportScenario(recording::RecordedSession& session, recording::RecordedRange const& range,
                              std::string const& file, std::function<void(std::string_view)> const& write)
{
    auto const part = LookOver(session, range, file);
    Writer writer(part, write);
    bool isBegun = false;
    session.ForEach(range, [&](RecordedMessage const& message) {
        if (!std::exchange(isBegun, true)) {
            auto const name = std::filesystem::path(file).filename().string();
            writer.Begin(fmt::format("{}, from {}", name, recording::IsoTime(message.time)), message.systemTime);
        }
        writer.Take(message);
        return true;
    });
    return writer.End();
}

} // namespace qx5::cli
