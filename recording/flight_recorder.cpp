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

namespace qx5::recording {

namespace {

/// So much at once is not left to wait for the period.
constexpr std::size_t soon = std::size_t{4} << 20;
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

/// Whether a tree is short: all its nodes, counted down from `left`.
bool IsShort(CAttributeMap const& tree, int& left)
{
    left -= tree.Count();
    return left >= 0 &&
           std::all_of(tree.begin(), tree.end(), [&](CAttributeMap const& child) { return IsShort(child, left); });
}

/// A short tree as bytes; empty of any other.
std::vector<unsigned char> ShortTreeBytes(CAttributeMap const& tree)
{
    int left = shortTree;
    return IsShort(tree, left) ? vordal::EncodeTree(tree, protocol::StoredTree) : std::vector<unsigned char>();
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
      m_aheadAtStart(UtcAhead()), m_both{Waiting(m_options.greatestWaiting), Waiting(m_options.greatestWaiting)},
      m_ahead(m_aheadAtStart), m_pieces(std::move(pieces)), m_writer(m_pieces.next())
{
    m_thread = std::thread([this] { Run(); });
}

FlightRecorder::~FlightRecorder()
{
    Finish();
}

MessageTimes FlightRecorder::Now() const
{
    auto const steady = m_options.steady();
    return {steady + m_aheadAtStart, steady + m_ahead};
}

FlightRecorder::Waiting::Waiting(std::size_t room) : frames(std::make_unique_for_overwrite<unsigned char[]>(room))
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

bool FlightRecorder::Add(CDataId const& sonar, std::size_t bytes, What&& what)
{
    // The times are those of the order in the file.
    m_waiting->entries.push_back({Now(), NumbersOf(sonar), std::move(what)});
    bool const isMuch = m_waiting->bytes < soon && m_waiting->bytes + bytes >= soon;
    m_waiting->bytes += bytes;
    return isMuch;
}

void FlightRecorder::PutSeldom(CDataId const& sonar, std::size_t bytes, RecordedContent content)
{
    auto what = std::make_unique<RecordedContent const>(std::move(content));
    bool isMuch = false;
    {
        std::lock_guard const lock(m_mutex);
        isMuch = HasRoom(bytes, 0) && Add(sonar, bytes, std::move(what));
    }
    if (isMuch) {
        m_changed.notify_one();
    }
}

template <typename Make>
void FlightRecorder::PutTree(CDataId const& sonar, CAttributeMap const& tree, std::size_t more, Make const& make)
{
    auto const bytes = ShortTreeBytes(tree);
    WaitingTree waiting{bytes.empty() ? tree : CAttributeMap(), 0, bytes.size()};
    auto const counted = entryBytes + BytesOf(tree) + more + bytes.size();
    bool isMuch = false;
    {
        std::lock_guard const lock(m_mutex);
        if (!HasRoom(counted, 0)) {
            return;
        }
        waiting.offset = m_waiting->frameBytes;
        isMuch = Add(sonar, counted, make(std::move(waiting)));
        if (!bytes.empty()) {
            std::memcpy(m_waiting->frames.get() + m_waiting->frameBytes, bytes.data(), bytes.size());
            m_waiting->frameBytes += bytes.size();
        }
    }
    if (isMuch) {
        m_changed.notify_one();
    }
}

void FlightRecorder::Begin(CDataId const& sonar, std::string name, CAttributeMap const& settings)
{
    PutSeldom(sonar, entryBytes + BytesOf(settings), RecordedSettings{std::move(name), settings, HostAround(sonar)});
}

void FlightRecorder::Frame(CDataId const& sonar, bool isSent, std::span<unsigned char const> frame)
{
    auto const bytes = entryBytes + frame.size();
    Waiting* copyInto = nullptr;
    std::size_t offset = 0;
    bool isMuch = false;
    {
        std::lock_guard const lock(m_mutex);
        if (!HasRoom(bytes, frame.size())) {
            return;
        }
        offset = m_waiting->frameBytes;
        isMuch = Add(sonar, bytes, FrameText{isSent, offset, frame.size()});
        m_waiting->frameBytes += frame.size();
        if (frame.size() > longFrame) {
            copyInto = m_waiting;
            copyInto->copying.fetch_add(1, std::memory_order_relaxed);
        } else if (!frame.empty()) {
            std::memcpy(m_waiting->frames.get() + offset, frame.data(), frame.size());
        }
    }
    if (copyInto != nullptr) {
        std::memcpy(copyInto->frames.get() + offset, frame.data(), frame.size());
        if (copyInto->copying.fetch_sub(1, std::memory_order_release) == 1) {
            copyInto->copying.notify_one();
        }
    }
    if (isMuch) {
        m_changed.notify_one();
    }
}

void FlightRecorder::Connection(CDataId const& sonar, vordal::LinkStatus const& status)
{
    PutSeldom(sonar, entryBytes + status.reason.size(),
              RecordedConnection{std::string(vordal::ToText(status.state)), status.reason});
}

void FlightRecorder::Mark(std::string text)
{
    auto const size = text.size();
    PutSeldom({}, entryBytes + size, RecordedMark{std::move(text)});
}

void FlightRecorder::OnActionBegins(operation::Action const& action)
{
    PutTree(action.sonar, action.asked, 0, [&](WaitingTree&& asked) {
        return Request{action.number, action.who, std::move(asked)};
    });
}

void FlightRecorder::OnActionStands(operation::Action const& action)
{
    PutTree(action.sonar, action.got, action.reason.size(), [&](WaitingTree&& got) {
        return Outcome{action.number, action.result, std::move(got), action.reason};
    });
}

void FlightRecorder::OnSonarTells(CDataId const& sonar, CAttributeMap const& tree)
{
    PutTree(sonar, tree, 0, [](WaitingTree&& told) { return Told{{}, std::move(told)}; });
}

void FlightRecorder::OnEcho(CDataId const& sonar, CAttributeMap const& tree, unsigned flags)
{
    PutTree(sonar, tree, 0, [&](WaitingTree&& told) { return Told{flags, std::move(told)}; });
}

void FlightRecorder::OnWritten(CDataId const& sonar, CAttributeMap const& tree)
{
    PutTree(sonar, tree, 0, [](WaitingTree&& written) { return Written{std::move(written)}; });
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

FlightRecorder::Waiting& FlightRecorder::TakeWaiting(bool& isEnding)
{
    Waiting* taken = nullptr;
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, m_options.period, [this] { return m_isEnding || m_waiting->bytes >= soon; });
        isEnding = m_isEnding;
        if (m_loss.messages != 0) {
            Add({}, 0, std::make_unique<RecordedContent const>(std::exchange(m_loss, {})));
        }
        m_ahead = UtcAhead();
        taken = std::exchange(m_waiting, m_waiting == &m_both[0] ? &m_both[1] : &m_both[0]);
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
    while (!isEnding && failure.empty()) {
        auto& taken = TakeWaiting(isEnding);
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
        taken.frameBytes = 0;
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
        WriteOne(entry, waiting.frames.get());
    }
}

void FlightRecorder::WriteOne(Entry const& entry, unsigned char const* frames)
{
    if (m_pieces.bytes != 0 && m_writer->File().Size() >= m_pieces.bytes) {
        RollOver(entry.times);
    } else if (m_sincePart >= partBytes) {
        BeginPart(entry.times, true);
    }
    auto const before = m_writer->File().Size();
    if (auto const* const frame = std::get_if<FrameText>(&entry.what)) {
        m_writer->File().Write(ChannelOf(frame->isSent ? kinds::Sent : kinds::Received, entry.sonar), entry.times,
                               {frames + frame->offset, frame->size});
        m_sincePart += m_writer->File().Size() - before;
        return;
    }
    Write(entry, ContentOf(entry.what, frames));
    m_sincePart += weightOfTexts * (m_writer->File().Size() - before);
}

RecordedContent FlightRecorder::ContentOf(What const& what, unsigned char const* frames)
{
    struct Content
    {
        unsigned char const* const frames;

        CAttributeMap Tree(WaitingTree const& waiting) const
        {
            CAttributeMap tree = waiting.shared;
            if (waiting.size != 0) {
                std::string error;
                vordal::DecodeTree({frames + waiting.offset, waiting.size}, protocol::StoredTree, tree, error);
            }
            return tree;
        }
        RecordedContent operator()(FrameText const&) const { return {}; }
        RecordedContent operator()(Seldom const& content) const { return *content; }
        RecordedContent operator()(Request const& request) const
        {
            return RecordedRequest{request.number, std::string(vordal::ToText(request.who)), Tree(request.asked)};
        }
        RecordedContent operator()(Outcome const& outcome) const
        {
            return RecordedResult{outcome.number, std::string(operation::ToText(outcome.result)), Tree(outcome.got),
                                  outcome.reason};
        }
        RecordedContent operator()(Told const& told) const
        {
            return RecordedAttributes{told.echoFlags.has_value(), Tree(told.tree), told.echoFlags};
        }
        RecordedContent operator()(Written const& written) const { return RecordedWriting{Tree(written.tree)}; }
    };
    return std::visit(Content{frames}, what);
}

void FlightRecorder::Write(Entry const& entry, RecordedContent const& content)
{
    if (auto const* const settings = std::get_if<RecordedSettings>(&content)) {
        m_names[entry.sonar] = settings->name;
    }
    m_writer->Write(ChannelOf(KindOf(content), entry.sonar), entry.times, content);
    Remember(entry, content);
}

void FlightRecorder::Remember(Entry const& entry, RecordedContent const& content)
{
    if (auto const* const settings = std::get_if<RecordedSettings>(&content)) {
        m_standing[entry.sonar].settings = *settings;
        return;
    }
    auto const standing = m_standing.find(entry.sonar);
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
