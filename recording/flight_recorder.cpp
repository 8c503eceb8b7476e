// The flight recorder.
#include "flight_recorder.h"

#include "recording_error.h"

#include "operation/action_values.h"
#include "json/tree_json.h"

#include <protocol/utf8.h>

namespace qx5::recording {

namespace {

/// So much at once is not left to wait for the period.
constexpr std::size_t soon = std::size_t{4} << 20;
/// What an entry and each node of its tree count for among the bytes that wait.
constexpr std::size_t entryBytes = 256;
constexpr std::size_t nodeBytes = 64;
/// Room for entries is there from the beginning.
constexpr std::size_t usualEntries = 4096;

std::uint64_t SystemUtc()
{
    auto const time = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

std::uint64_t SystemSteady()
{
    auto const time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

std::size_t BytesOf(CAttributeMap const& tree)
{
    return nodeBytes * static_cast<std::size_t>(tree.Count());
}

std::string TextOf(CDataId const& sonar)
{
    return protocol::EncodeUtf8(sonar.GetKey().View());
}

RecorderOptions WithClocks(RecorderOptions options)
{
    if (!options.utc) {
        options.utc = SystemUtc;
    }
    if (!options.steady) {
        options.steady = SystemSteady;
    }
    return options;
}

std::string LibraryOf(McapTexts const& program)
{
    std::string text = "qx5";
    for (auto const& [name, value] : program) {
        text += name == "version" ? ' ' + value : std::string();
    }
    return text;
}

} // namespace

FlightRecorder::FlightRecorder(std::filesystem::path const& file, RecorderOptions options)
    : m_options(WithClocks(std::move(options))), m_utcAtStart(m_options.utc()), m_steadyAtStart(m_options.steady()),
      m_writer(file, LibraryOf(m_options.program))
{
    m_writer.Write(McapMetadata{"program", m_options.program});
    m_waiting.entries.reserve(usualEntries);
    // Taken from the system only where it is written to.
    m_waiting.frames.reserve(m_options.greatestWaiting);
    m_thread = std::thread([this] { Run(); });
}

FlightRecorder::~FlightRecorder()
{
    Finish();
}

MessageTimes FlightRecorder::Now() const
{
    return {m_utcAtStart + (m_options.steady() - m_steadyAtStart), m_options.utc()};
}

void FlightRecorder::Put(CDataId const& sonar, std::size_t bytes, What what, std::span<unsigned char const> frame)
{
    bool isMuch = false;
    {
        std::lock_guard const lock(m_mutex);
        if (m_isEnding || m_hasFailed) {
            return;
        }
        if (m_waiting.bytes + bytes > m_options.greatestWaiting) {
            ++m_counts.lost;
            ++m_loss.messages;
            m_loss.bytes += frame.size();
            return;
        }
        // The times are those of the order in the file.
        auto const now = Now();
        if (auto* const text = std::get_if<FrameText>(&what)) {
            text->offset = m_waiting.frames.size();
            m_waiting.frames.insert(m_waiting.frames.end(), frame.begin(), frame.end());
        }
        m_waiting.entries.push_back({now, sonar, std::move(what)});
        isMuch = m_waiting.bytes < soon && m_waiting.bytes + bytes >= soon;
        m_waiting.bytes += bytes;
    }
    if (isMuch) {
        m_changed.notify_one();
    }
}

void FlightRecorder::Begin(CDataId const& sonar, std::string name, CAttributeMap const& settings)
{
    Put(sonar, entryBytes + BytesOf(settings), Beginning{std::move(name), settings});
}

void FlightRecorder::Frame(CDataId const& sonar, bool isSent, std::span<unsigned char const> frame)
{
    Put(sonar, entryBytes + frame.size(), FrameText{isSent, 0, frame.size()}, frame);
}

void FlightRecorder::Connection(CDataId const& sonar, vordal::LinkStatus const& status)
{
    Put(sonar, entryBytes + status.reason.size(), status);
}

void FlightRecorder::Mark(std::string text)
{
    auto const size = text.size();
    Put({}, entryBytes + size, MarkText{std::move(text)});
}

void FlightRecorder::OnActionBegins(operation::Action const& action)
{
    Put(action.sonar, entryBytes + BytesOf(action.asked), Request{action.number, action.who, action.asked});
}

void FlightRecorder::OnActionStands(operation::Action const& action)
{
    Put(action.sonar, entryBytes + BytesOf(action.got) + action.reason.size(),
        Outcome{action.number, action.result, action.got, action.reason});
}

void FlightRecorder::OnSonarTells(CDataId const& sonar, CAttributeMap const& tree)
{
    Put(sonar, entryBytes + BytesOf(tree), Attributes{false, tree});
}

void FlightRecorder::OnEcho(CDataId const& sonar, CAttributeMap const& tree)
{
    Put(sonar, entryBytes + BytesOf(tree), Attributes{true, tree});
}

RecorderCounts FlightRecorder::Counts() const
{
    std::lock_guard const lock(m_mutex);
    return m_counts;
}

std::string FlightRecorder::Finish()
{
    {
        std::lock_guard const lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return m_failure;
}

void FlightRecorder::Run()
{
    Waiting taken;
    taken.entries.reserve(usualEntries);
    taken.frames.reserve(m_options.greatestWaiting);
    bool isEnding = false;
    std::string failure;
    while (!isEnding && failure.empty()) {
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait_for(lock, m_options.period, [this] { return m_isEnding || m_waiting.bytes >= soon; });
            isEnding = m_isEnding;
            if (m_loss.messages != 0) {
                m_waiting.entries.push_back({Now(), {}, std::exchange(m_loss, {0, 0})});
            }
            std::swap(taken, m_waiting);
        }
        try {
            WriteAll(taken);
            if (isEnding) {
                m_writer.Finish();
            } else {
                m_writer.CloseChunk();
                if (m_options.sync) {
                    m_writer.Sync();
                }
            }
        } catch (std::exception const& problem) {
            failure = problem.what();
        }
        taken.entries.clear();
        taken.frames.clear();
        taken.bytes = 0;
        std::lock_guard const lock(m_mutex);
        m_counts.messages = m_writer.Messages();
        m_counts.bytes = m_writer.Size();
        m_hasFailed = !failure.empty();
        m_failure = failure;
    }
    if (!failure.empty() && m_options.tell) {
        m_options.tell(failure);
    }
}

void FlightRecorder::WriteAll(Waiting const& waiting)
{
    for (Entry const& entry : waiting.entries) {
        WriteOne(entry, waiting.frames);
    }
}

void FlightRecorder::WriteOne(Entry const& entry, std::vector<unsigned char> const& frames)
{
    struct Writer
    {
        void operator()(FrameText const& frame) const
        {
            auto const bytes = std::span(frames).subspan(frame.offset, frame.size);
            recorder.m_writer.Write(recorder.ChannelOf(frame.isSent ? kinds::Sent : kinds::Received, entry.sonar),
                                    entry.times, bytes);
        }
        void operator()(Beginning const& beginning) const
        {
            Json(kinds::Settings, {{"name", JsonValue::Text(beginning.name)}, {"tree", WriteTree(beginning.settings)}});
        }
        void operator()(vordal::LinkStatus const& status) const
        {
            Json(kinds::Connection, {{"state", JsonValue::Text(std::string(vordal::ToText(status.state)))},
                                     {"reason", JsonValue::Text(status.reason)}});
        }
        void operator()(Request const& request) const
        {
            Json(kinds::Requests, {{"number", JsonValue::Unsigned(request.number)},
                                   {"who", JsonValue::Text(std::string(vordal::ToText(request.who)))},
                                   {"request", WriteTree(request.asked)}});
        }
        void operator()(Outcome const& outcome) const
        {
            Json(kinds::Results, {{"number", JsonValue::Unsigned(outcome.number)},
                                  {"result", JsonValue::Text(std::string(operation::ToText(outcome.result)))},
                                  {"got", WriteTree(outcome.got)},
                                  {"reason", JsonValue::Text(outcome.reason)}});
        }
        void operator()(Attributes const& attributes) const
        {
            Json(kinds::Attributes, {{"from", JsonValue::Text(std::string(attributes.isEcho ? "echo" : "sonar"))},
                                     {"tree", WriteTree(attributes.tree)}});
        }
        void operator()(MarkText const& mark) const { Json(kinds::Marks, {{"text", JsonValue::Text(mark.text)}}); }
        void operator()(Loss const& loss) const
        {
            Json(kinds::Lost,
                 {{"messages", JsonValue::Unsigned(loss.messages)}, {"bytes", JsonValue::Unsigned(loss.bytes)}});
        }
        void Json(RecordedKind const& kind, std::vector<JsonValue::Member> members) const
        {
            recorder.WriteJson(kind, entry, JsonValue::Object(std::move(members)));
        }

        FlightRecorder& recorder;
        Entry const& entry;
        std::vector<unsigned char> const& frames;
    };
    std::visit(Writer{*this, entry, frames}, entry.what);
}

void FlightRecorder::WriteJson(RecordedKind const& kind, Entry const& entry, JsonValue const& value)
{
    auto const text = qx5::WriteJson(value);
    m_writer.Write(ChannelOf(kind, entry.sonar), entry.times,
                   {reinterpret_cast<unsigned char const*>(text.data()), text.size()});
}

std::uint16_t FlightRecorder::ChannelOf(RecordedKind const& kind, CDataId const& sonar)
{
    auto const [place, isNew] = m_channels.try_emplace({&kind, sonar.GetKey()}, std::uint16_t{0});
    if (isNew) {
        std::uint16_t schema = 0;
        if (!kind.schema.empty()) {
            auto& known = m_schemas[&kind];
            known = known != 0
                        ? known
                        : m_writer.Add(McapSchema{0, std::string(kind.name), "jsonschema", std::string(kind.schema)});
            schema = known;
        }
        bool const isOfAll = sonar.IsUndefined();
        auto const topic = isOfAll ? "/" + std::string(kind.name)
                                   : std::string(SonarTopic) + TextOf(sonar) + '/' + std::string(kind.name);
        place->second =
            m_writer.Add(McapChannel{0, schema, topic, std::string(kind.schema.empty() ? FrameEncoding : "json"),
                                     isOfAll ? McapTexts{} : McapTexts{{"sonar", TextOf(sonar)}}});
    }
    return place->second;
}

} // namespace qx5::recording
