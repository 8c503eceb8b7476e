// The flight recorder.
#include "flight_recorder.h"

#include "recorded_host.h"

#include "recording_error.h"

#include "operation/action_values.h"
#include "reference_host/attributes/tree_merge.h"

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

RecorderPieces OneFile(std::filesystem::path const& file, McapTexts const& program)
{
    return {0, [file, program] { return std::make_unique<SessionWriter>(file, program); }};
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

} // namespace

FlightRecorder::FlightRecorder(std::filesystem::path const& file, RecorderOptions options)
    : FlightRecorder(OneFile(file, options.program), options)
{
}

FlightRecorder::FlightRecorder(RecorderPieces pieces, RecorderOptions options)
    : m_options(WithClocks(std::move(options))), m_utcAtStart(m_options.utc()), m_steadyAtStart(m_options.steady()),
      m_pieces(std::move(pieces)), m_writer(m_pieces.next())
{
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
    Put(sonar, entryBytes + BytesOf(settings), Beginning{std::move(name), settings, HostAround(sonar)});
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
    Put({}, entryBytes + size, RecordedMark{std::move(text)});
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
    Put(sonar, entryBytes + BytesOf(tree), RecordedAttributes{false, tree, {}});
}

void FlightRecorder::OnEcho(CDataId const& sonar, CAttributeMap const& tree, unsigned flags)
{
    Put(sonar, entryBytes + BytesOf(tree), RecordedAttributes{true, tree, flags});
}

void FlightRecorder::OnWritten(CDataId const& sonar, CAttributeMap const& tree)
{
    Put(sonar, entryBytes + BytesOf(tree), RecordedWriting{tree});
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
                m_waiting.entries.push_back({Now(), {}, std::exchange(m_loss, {})});
            }
            std::swap(taken, m_waiting);
        }
        try {
            WriteAll(taken);
            if (isEnding) {
                m_writer->File().Finish();
            } else {
                m_writer->File().CloseChunk();
                if (m_options.sync) {
                    m_writer->File().Sync();
                }
            }
        } catch (std::exception const& problem) {
            failure = problem.what();
        }
        taken.entries.clear();
        taken.frames.clear();
        taken.bytes = 0;
        std::lock_guard const lock(m_mutex);
        m_counts.messages = m_finished.messages + m_writer->File().Messages();
        m_counts.bytes = m_finished.bytes + m_writer->File().Size();
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
    if (m_pieces.bytes != 0 && m_writer->File().Size() >= m_pieces.bytes) {
        RollOver(entry.times);
    }
    if (auto const* const frame = std::get_if<FrameText>(&entry.what)) {
        m_writer->File().Write(ChannelOf(frame->isSent ? kinds::Sent : kinds::Received, entry.sonar), entry.times,
                               std::span(frames).subspan(frame->offset, frame->size));
        return;
    }
    struct Content
    {
        RecordedContent operator()(FrameText const&) const { return {}; }
        RecordedContent operator()(Beginning const& beginning) const
        {
            return RecordedSettings{beginning.name, beginning.settings, beginning.host};
        }
        RecordedContent operator()(vordal::LinkStatus const& status) const
        {
            return RecordedConnection{std::string(vordal::ToText(status.state)), status.reason};
        }
        RecordedContent operator()(Request const& request) const
        {
            return RecordedRequest{request.number, std::string(vordal::ToText(request.who)), request.asked};
        }
        RecordedContent operator()(Outcome const& outcome) const
        {
            return RecordedResult{outcome.number, std::string(operation::ToText(outcome.result)), outcome.got,
                                  outcome.reason};
        }
        RecordedContent operator()(RecordedAttributes const& attributes) const { return attributes; }
        RecordedContent operator()(RecordedMark const& mark) const { return mark; }
        RecordedContent operator()(RecordedLoss const& loss) const { return loss; }
        RecordedContent operator()(RecordedWriting const& writing) const { return writing; }
    };
    Write(entry, std::visit(Content{}, entry.what));
}

void FlightRecorder::Write(Entry const& entry, RecordedContent const& content)
{
    if (auto const* const settings = std::get_if<RecordedSettings>(&content)) {
        m_names[entry.sonar.GetKey()] = settings->name;
    }
    m_writer->Write(ChannelOf(KindOf(content), entry.sonar), entry.times, content);
    if (m_pieces.bytes != 0) {
        Remember(entry, content);
    }
}

void FlightRecorder::Remember(Entry const& entry, RecordedContent const& content)
{
    if (auto const* const settings = std::get_if<RecordedSettings>(&content)) {
        auto& standing = m_standing[entry.sonar.GetKey()];
        standing.sonar = entry.sonar;
        standing.settings = *settings;
        return;
    }
    auto const standing = m_standing.find(entry.sonar.GetKey());
    if (standing == m_standing.end()) {
        return;
    }
    if (auto const* const attributes = std::get_if<RecordedAttributes>(&content)) {
        vordal::Merge(standing->second.settings.tree, attributes->tree);
    } else if (auto const* const writing = std::get_if<RecordedWriting>(&content)) {
        vordal::Merge(standing->second.settings.tree, writing->tree);
    } else if (auto const* const connection = std::get_if<RecordedConnection>(&content)) {
        standing->second.connection = *connection;
    }
}

void FlightRecorder::RollOver(MessageTimes const& times)
{
    auto& finished = m_writer->File();
    finished.Finish();
    auto next = m_pieces.next();
    m_finished.messages += finished.Messages();
    m_finished.bytes += finished.Size();
    m_writer = std::move(next);
    m_channels.clear();
    for (auto const& [id, standing] : m_standing) {
        m_writer->Write(ChannelOf(kinds::Settings, standing.sonar), times, standing.settings);
        if (standing.connection) {
            m_writer->Write(ChannelOf(kinds::Connection, standing.sonar), times, *standing.connection);
        }
    }
}

std::uint16_t FlightRecorder::ChannelOf(RecordedKind const& kind, CDataId const& sonar)
{
    auto const [place, isNew] = m_channels.try_emplace({&kind, sonar.GetKey()}, std::uint16_t{0});
    if (isNew) {
        auto const name = m_names.find(sonar.GetKey());
        place->second = m_writer->ChannelOf(kind, sonar.IsUndefined() ? std::string() : TextOf(sonar),
                                            name != m_names.end() ? name->second : std::string());
    }
    return place->second;
}

} // namespace qx5::recording
