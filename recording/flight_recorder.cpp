// The flight recorder.
#include "flight_recorder.h"

#include "recorded_host.h"

#include "recording_error.h"

#include "operation/action_values.h"
#include "reference_host/attributes/tree_bytes.h"
#include "reference_host/attributes/tree_merge.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace qx5::recording {

namespace {

/// So much at once is not left to wait for the period: it is in no cache any more when its place is used again.
constexpr std::size_t soon = std::size_t{512} << 10;
/// What an entry and each node of its tree count for among the bytes that wait.
constexpr std::size_t entryBytes = 256;
constexpr std::size_t nodeBytes = 64;
/// Room for entries is there from the beginning.
constexpr std::size_t usualEntries = 4096;
/// A longer frame is copied while others go on: half a megabyte of echoes takes longer than a whole request.
constexpr std::size_t longFrame = 2048;
/// A tree of no more nodes is copied as bytes.
constexpr int shortTree = 16;
/// A part is about as long to read: what stands is written anew after so many bytes of frames, and after fewer of what
/// takes longer to understand.
constexpr std::uint64_t partBytes = std::uint64_t{8} << 20;
constexpr std::uint64_t weightOfTexts = 8;

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

/// Whether a value may be as long as whoever gave it liked.
bool HasAnyLength(CVordalType const& value)
{
    auto const kind = value.Kind();
    return kind == VordalKind::String || kind == VordalKind::IntList || kind == VordalKind::DoubleList;
}

/// Whether a tree is short: all its nodes, counted down from `left`, and what they hold.
bool IsShort(CAttributeMap const& tree, int& left)
{
    left -= tree.Count();
    return left >= 0 && std::all_of(tree.begin(), tree.end(), [&](CAttributeMap const& child) {
               return !HasAnyLength(child.Value()) && IsShort(child, left);
           });
}

RecorderPieces OneFile(std::filesystem::path const& file, McapTexts const& program)
{
    return {0, [file, program] { return std::make_unique<SessionWriter>(file, program); }};
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
    : m_options(WithClocks(std::move(options))),
      m_aheadAtStart(UtcAhead()), m_both{Waiting(m_options.greatestWaiting, m_aheadAtStart),
                                         Waiting(m_options.greatestWaiting, m_aheadAtStart)},
      m_pieces(std::move(pieces)), m_writer(m_pieces.next())
{
    m_thread = std::thread([this] { Run(); });
}

FlightRecorder::~FlightRecorder()
{
    Finish();
}

FlightRecorder::Waiting::Waiting(std::size_t room, std::uint64_t utcAhead)
    : ahead(utcAhead), texts(std::make_unique_for_overwrite<unsigned char[]>(room))
{
    entries.reserve(usualEntries);
}

FlightRecorder::SonarNumbers FlightRecorder::NumbersOf(CDataId const& sonar)
{
    return {sonar.GetType(), sonar.GetGroupId(), sonar.GetDeviceNum(), sonar.GetVessel()};
}

bool FlightRecorder::HasRoom(std::size_t bytes, std::size_t frameBytes)
{
    if (m_isEnding || m_hasFailed) {
        return false;
    }
    if (m_waiting->bytes + bytes > m_options.greatestWaiting) {
        ++m_counts.lost;
        ++m_loss.messages;
        m_loss.bytes += frameBytes;
        return false;
    }
    return true;
}

bool FlightRecorder::Add(std::size_t bytes, Entry&& entry)
{
    m_waiting->entries.push_back(std::move(entry));
    bool const isMuch = m_waiting->bytes < soon && m_waiting->bytes + bytes >= soon;
    m_waiting->bytes += bytes;
    return isMuch;
}

void FlightRecorder::PutWhole(CDataId const& sonar, std::size_t bytes, RecordedContent content)
{
    auto whole = std::make_unique<RecordedContent const>(std::move(content));
    bool isMuch = false;
    {
        std::lock_guard const lock(m_mutex);
        isMuch = HasRoom(bytes, 0) && Add(bytes, {Now(), NumbersOf(sonar), {}, std::move(whole)});
    }
    if (isMuch) {
        m_changed.notify_one();
    }
}

void FlightRecorder::PutBytes(CDataId const& sonar, Brief const& brief, std::span<unsigned char const> bytes)
{
    bool const isFrame = brief.form == Form::Sent || brief.form == Form::Received;
    auto const counted = entryBytes + bytes.size();
    Waiting* copyInto = nullptr;
    std::size_t offset = 0;
    bool isMuch = false;
    {
        std::lock_guard const lock(m_mutex);
        if (!HasRoom(counted, isFrame ? bytes.size() : 0)) {
            return;
        }
        offset = m_waiting->textBytes;
        isMuch = Add(counted, {Now(), NumbersOf(sonar), brief, {}, offset, bytes.size()});
        m_waiting->textBytes += bytes.size();
        if (bytes.size() > longFrame) {
            copyInto = m_waiting;
            copyInto->copying.fetch_add(1, std::memory_order_relaxed);
        } else if (!bytes.empty()) {
            std::memcpy(m_waiting->texts.get() + offset, bytes.data(), bytes.size());
        }
    }
    if (copyInto != nullptr) {
        std::memcpy(copyInto->texts.get() + offset, bytes.data(), bytes.size());
        if (copyInto->copying.fetch_sub(1, std::memory_order_release) == 1) {
            copyInto->copying.notify_one();
        }
    }
    if (isMuch) {
        m_changed.notify_one();
    }
}

void FlightRecorder::PutTree(CDataId const& sonar, Brief const& brief, CAttributeMap const& tree,
                             std::string const& reason)
{
    int left = shortTree;
    if (reason.empty() && IsShort(tree, left)) {
        thread_local std::vector<unsigned char> bytes;
        bytes = vordal::EncodeTree(tree, protocol::StoredTree, std::move(bytes));
        PutBytes(sonar, brief, bytes);
    } else {
        PutWhole(sonar, entryBytes + BytesOf(tree) + reason.size(), ContentOf(brief, tree, reason));
    }
}

void FlightRecorder::Begin(CDataId const& sonar, std::string name, CAttributeMap const& settings)
{
    PutWhole(sonar, entryBytes + BytesOf(settings), RecordedSettings{std::move(name), settings, HostAround(sonar)});
}

void FlightRecorder::Frame(CDataId const& sonar, bool isSent, std::span<unsigned char const> frame)
{
    PutBytes(sonar, {.form = isSent ? Form::Sent : Form::Received}, frame);
}

void FlightRecorder::Connection(CDataId const& sonar, vordal::LinkStatus const& status)
{
    PutWhole(sonar, entryBytes + status.reason.size(),
             RecordedConnection{std::string(vordal::ToText(status.state)), status.reason});
}

void FlightRecorder::Mark(std::string text)
{
    auto const size = text.size();
    PutWhole({}, entryBytes + size, RecordedMark{std::move(text)});
}

void FlightRecorder::OnActionBegins(operation::Action const& action)
{
    PutTree(action.sonar, {.form = Form::Request, .who = action.who, .number = action.number}, action.asked);
}

void FlightRecorder::OnActionStands(operation::Action const& action)
{
    PutTree(action.sonar, {.form = Form::Outcome, .result = action.result, .number = action.number}, action.got,
            action.reason);
}

void FlightRecorder::OnSonarTells(CDataId const& sonar, CAttributeMap const& tree)
{
    PutTree(sonar, {.form = Form::Told}, tree);
}

void FlightRecorder::OnEcho(CDataId const& sonar, CAttributeMap const& tree, unsigned flags)
{
    PutTree(sonar, {.form = Form::Echo, .flags = flags}, tree);
}

void FlightRecorder::OnWritten(CDataId const& sonar, CAttributeMap const& tree)
{
    PutTree(sonar, {.form = Form::Written}, tree);
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

FlightRecorder::Waiting& FlightRecorder::TakeWaiting(std::chrono::steady_clock::time_point time, bool& isEnding)
{
    Waiting* taken = nullptr;
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_until(lock, time, [this] { return m_isEnding || m_waiting->bytes >= soon; });
        isEnding = m_isEnding;
        if (m_loss.messages != 0) {
            Add(0, {Now(), NumbersOf({}), {}, std::make_unique<RecordedContent const>(std::exchange(m_loss, {}))});
        }
        taken = std::exchange(m_waiting, m_waiting == &m_both[0] ? &m_both[1] : &m_both[0]);
        // A message reads one clock: two would be a part of what it costs.
        m_waiting->ahead = UtcAhead();
    }
    // Nobody begins another copy into it.
    for (auto copying = taken->copying.load(std::memory_order_acquire); copying != 0;
         copying = taken->copying.load(std::memory_order_acquire)) {
        taken->copying.wait(copying, std::memory_order_acquire);
    }
    return *taken;
}

void FlightRecorder::Run()
{
    bool isEnding = false;
    std::string failure;
    auto closing = std::chrono::steady_clock::now() + m_options.period;
    while (!isEnding && failure.empty()) {
        auto& taken = TakeWaiting(closing, isEnding);
        try {
            WriteAll(taken);
            if (isEnding) {
                m_writer->File().Finish();
            } else if (auto const now = std::chrono::steady_clock::now(); now >= closing) {
                closing = now + m_options.period;
                m_writer->File().CloseChunk();
                if (m_options.sync) {
                    m_writer->File().Sync();
                }
            }
        } catch (std::exception const& problem) {
            failure = problem.what();
        }
        taken.entries.clear();
        taken.textBytes = 0;
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
        WriteOne(entry, waiting);
    }
}

void FlightRecorder::WriteOne(Entry const& entry, Waiting const& waiting)
{
    MessageTimes const times{entry.log, entry.log - m_aheadAtStart + waiting.ahead};
    if (m_pieces.bytes != 0 && m_writer->File().Size() >= m_pieces.bytes) {
        RollOver(times);
    } else if (m_sincePart >= partBytes) {
        BeginPart(times, true);
    }
    auto const before = m_writer->File().Size();
    std::span<unsigned char const> const bytes(waiting.texts.get() + entry.offset, entry.size);
    auto const form = entry.brief.form;
    if (form == Form::Sent || form == Form::Received) {
        m_writer->File().Write(ChannelOf(form == Form::Sent ? kinds::Sent : kinds::Received, entry.sonar), times,
                               bytes);
        m_sincePart += m_writer->File().Size() - before;
        return;
    }
    if (entry.whole != nullptr) {
        Write(times, entry.sonar, *entry.whole);
    } else {
        CAttributeMap tree;
        std::string error;
        vordal::DecodeTree(bytes, protocol::StoredTree, tree, error);
        Write(times, entry.sonar, ContentOf(entry.brief, tree, {}));
    }
    m_sincePart += weightOfTexts * (m_writer->File().Size() - before);
}

RecordedContent FlightRecorder::ContentOf(Brief const& brief, CAttributeMap const& tree, std::string const& reason)
{
    switch (brief.form) {
    case Form::Request:
        return RecordedRequest{brief.number, std::string(vordal::ToText(brief.who)), tree};
    case Form::Outcome:
        return RecordedResult{brief.number, std::string(operation::ToText(brief.result)), tree, reason};
    case Form::Told:
        return RecordedAttributes{false, tree, {}};
    case Form::Echo:
        return RecordedAttributes{true, tree, brief.flags};
    case Form::Written:
        return RecordedWriting{tree};
    case Form::Sent:
    case Form::Received:
    case Form::Whole:
        break;
    }
    throw std::logic_error("this is no tree");
}

void FlightRecorder::Write(MessageTimes const& times, SonarNumbers const& sonar, RecordedContent const& content)
{
    if (auto const* const settings = std::get_if<RecordedSettings>(&content)) {
        m_names[sonar] = settings->name;
    }
    m_writer->Write(ChannelOf(KindOf(content), sonar), times, content);
    Remember(sonar, content);
}

void FlightRecorder::Remember(SonarNumbers const& sonar, RecordedContent const& content)
{
    if (auto const* const settings = std::get_if<RecordedSettings>(&content)) {
        m_standing[sonar].settings = *settings;
        return;
    }
    auto const standing = m_standing.find(sonar);
    if (standing == m_standing.end()) {
        return;
    }
    if (auto const* const change = ChangeIn(content)) {
        vordal::Merge(standing->second.settings.tree, *change);
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
    BeginPart(times, false);
}

void FlightRecorder::BeginPart(MessageTimes const& times, bool isAgain)
{
    for (auto& [sonar, standing] : m_standing) {
        standing.settings.isAgain = isAgain;
        m_writer->Write(ChannelOf(kinds::Settings, sonar), times, standing.settings);
        if (standing.connection) {
            m_writer->Write(ChannelOf(kinds::Connection, sonar), times, *standing.connection);
        }
    }
    m_sincePart = 0;
}

std::uint16_t FlightRecorder::ChannelOf(RecordedKind const& kind, SonarNumbers const& sonar)
{
    auto const [place, isNew] = m_channels.try_emplace({&kind, sonar}, std::uint16_t{0});
    if (isNew) {
        CDataId const id(sonar[0], sonar[1], sonar[2], sonar[3]);
        auto const name = m_names.find(sonar);
        place->second =
            m_writer->ChannelOf(kind, id.IsUndefined() ? std::string() : protocol::EncodeUtf8(id.GetKey().View()),
                                name != m_names.end() ? name->second : std::string());
    }
    return place->second;
}

} // namespace qx5::recording
