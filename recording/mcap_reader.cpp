// Reads an MCAP file.
#include "mcap_reader.h"

#include "mcap_bytes.h"
#include "recording_error.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>

namespace qx5::recording {

namespace {

constexpr std::size_t closingSize = McapRecordHead + McapFooter + McapMagic.size();
/// More than any record beside chunks has here.
constexpr std::uint64_t greatestRecord = std::uint64_t{64} << 20;

bool IsKind(std::uint8_t kind, McapRecord which)
{
    return kind == static_cast<std::uint8_t>(which);
}

} // namespace

McapReader::McapReader(std::filesystem::path file) : m_file(std::move(file))
{
    std::array<unsigned char, McapMagic.size()> magic{};
    bool const isThere = m_file.Read(0, magic);
    if (!isThere || !std::equal(magic.begin(), magic.begin() + 5, McapMagic.begin())) {
        throw RecordingError(fmt::format("{}: is no recording", m_file.Path().string()));
    }
    if (magic != McapMagic) {
        throw RecordingError(
            fmt::format("{}: is a recording of a newer kind; a newer program reads it", m_file.Path().string()));
    }
    m_isComplete = ReadIndex();
    if (!m_isComplete) {
        m_chunks.clear();
        m_channelsIn.clear();
        m_channels.clear();
        m_schemas.clear();
        m_metadata.clear();
        m_counts.reset();
        Scan();
        DescribeChannels();
    }
    m_isDamaged.assign(m_chunks.size(), false);
    m_isDescribed.assign(m_chunks.size(), false);
}

std::optional<std::uint64_t> McapReader::Start() const
{
    auto const least = std::min_element(m_chunks.begin(), m_chunks.end(),
                                        [](auto const& a, auto const& b) { return a.start < b.start; });
    return least == m_chunks.end() ? std::nullopt : std::optional(least->start);
}

std::optional<std::uint64_t> McapReader::End() const
{
    auto const greatest =
        std::max_element(m_chunks.begin(), m_chunks.end(), [](auto const& a, auto const& b) { return a.end < b.end; });
    return greatest == m_chunks.end() ? std::nullopt : std::optional(greatest->end);
}

std::optional<std::uint16_t> McapReader::TakeDescription(std::uint8_t kind, std::span<unsigned char const> content)
{
    if (IsKind(kind, McapRecord::Schema)) {
        if (auto schema = GetSchema(content)) {
            m_schemas.try_emplace(schema->id, std::move(*schema));
        }
    } else if (IsKind(kind, McapRecord::Channel)) {
        if (auto channel = GetChannel(content)) {
            auto const id = channel->id;
            m_channels.try_emplace(id, std::move(*channel));
            return id;
        }
    }
    return {};
}

/// False where it is not there or does not agree with itself.
bool McapReader::ReadIndex()
{
    std::array<unsigned char, closingSize> closing{};
    if (m_file.Size() < McapMagic.size() + closingSize || !m_file.Read(m_file.Size() - closingSize, closing) ||
        !std::equal(McapMagic.begin(), McapMagic.end(), closing.end() - McapMagic.size())) {
        return false;
    }
    McapTake footer(closing);
    bool const isFooter = IsKind(footer.U8(), McapRecord::Footer) && footer.U64() == McapFooter;
    auto const summaryAt = footer.U64();
    auto const offsetsAt = footer.U64();
    auto const crc = footer.U32();
    auto const end = m_file.Size() - closingSize;
    if (!isFooter || summaryAt == 0 || summaryAt > end || offsetsAt < summaryAt || offsetsAt > end) {
        return false;
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(end - summaryAt) + McapRecordHead + 16);
    if (!m_file.Read(summaryAt, bytes) || McapCrc(bytes) != crc) {
        return false;
    }
    McapTake take({bytes.data(), static_cast<std::size_t>(offsetsAt - summaryAt)});
    std::vector<std::pair<std::uint64_t, std::uint64_t>> metadata;
    while (auto const record = NextRecord(take)) {
        TakeDescription(record->kind, record->content);
        McapTake content(record->content);
        if (IsKind(record->kind, McapRecord::ChunkIndex)) {
            McapChunkPlace place;
            place.start = content.U64();
            place.end = content.U64();
            place.offset = content.U64();
            place.length = content.U64();
            if (!content.IsGood() || place.length < McapRecordHead + McapChunkHead || place.length > GreatestChunk ||
                place.offset > summaryAt || place.length > summaryAt - place.offset) {
                return false;
            }
            m_chunks.push_back(place);
            auto& channels = m_channelsIn.emplace_back();
            McapTake indexes(content.Bytes(content.U32()));
            while (!indexes.IsAtEnd() && indexes.IsGood()) {
                channels.push_back(indexes.U16());
                indexes.U64();
            }
        } else if (IsKind(record->kind, McapRecord::Statistics)) {
            content.Bytes(8 + 2 + 4 * 4 + 8 + 8);
            McapTake counts(content.Bytes(content.U32()));
            m_counts.emplace();
            while (!counts.IsAtEnd() && counts.IsGood()) {
                auto const channel = counts.U16();
                (*m_counts)[channel] = counts.U64();
            }
        } else if (IsKind(record->kind, McapRecord::MetadataIndex)) {
            auto const offset = content.U64();
            metadata.emplace_back(offset, content.U64());
        }
    }
    for (auto const& [offset, length] : metadata) {
        if (length < McapRecordHead || length > greatestRecord) {
            continue;
        }
        bytes.resize(static_cast<std::size_t>(length));
        if (m_file.Read(offset, bytes)) {
            if (auto texts = GetMetadata(std::span(bytes).subspan(McapRecordHead))) {
                m_metadata.push_back(std::move(*texts));
            }
        }
    }
    return true;
}

std::optional<McapChunkPlace> McapReader::ChunkAt(std::uint64_t offset) const
{
    std::array<unsigned char, McapRecordHead + McapChunkHead> head{};
    if (!m_file.Read(offset, head)) {
        return {};
    }
    McapTake take(head);
    auto const kind = take.U8();
    auto const length = take.U64();
    McapChunkPlace place{offset, McapRecordHead + length, 0, 0};
    place.start = take.U64();
    place.end = take.U64();
    auto const size = take.U64();
    take.U32();
    bool const isPlain = take.U32() == 0;
    auto const recordsSize = take.U64();
    bool const agrees = IsKind(kind, McapRecord::Chunk) && isPlain && size == recordsSize && place.start <= place.end &&
                        size <= GreatestChunk && length == McapChunkHead + size &&
                        length <= m_file.Size() - offset - McapRecordHead;
    return agrees ? std::optional(place) : std::nullopt;
}

std::optional<std::uint64_t> McapReader::FindChunk(std::uint64_t offset) const
{
    constexpr std::size_t step = std::size_t{1} << 20;
    std::vector<unsigned char> bytes;
    for (auto at = offset; at < m_file.Size(); at += step) {
        bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(step, m_file.Size() - at)));
        if (!m_file.Read(at, bytes)) {
            return {};
        }
        for (auto found = bytes.begin();; ++found) {
            found = std::find(found, bytes.end(), static_cast<unsigned char>(McapRecord::Chunk));
            if (found == bytes.end()) {
                break;
            }
            auto const place = at + static_cast<std::uint64_t>(found - bytes.begin());
            if (ChunkAt(place)) {
                return place;
            }
        }
    }
    return {};
}

/// The length of a record beside chunks, when it is one that stands whole in the data section; what it describes is
/// taken.
std::optional<std::uint64_t> McapReader::TakeRecord(std::uint8_t kind, std::uint64_t offset, std::uint64_t length)
{
    auto const contentAt = offset + McapRecordHead;
    if (length > greatestRecord || length > m_file.Size() - contentAt) {
        return {};
    }
    if (IsKind(kind, McapRecord::MessageIndex)) {
        std::array<unsigned char, 6> head{};
        bool const isWhole = length >= head.size() && m_file.Read(contentAt, head) &&
                             protocol::GetU32LE(head, 2) == length - head.size();
        if (isWhole && !m_channelsIn.empty()) {
            m_channelsIn.back().push_back(protocol::GetU16LE(head, 0));
        }
        return isWhole ? std::optional(McapRecordHead + length) : std::nullopt;
    }
    std::vector<unsigned char> content(static_cast<std::size_t>(length));
    if (!m_file.Read(contentAt, content)) {
        return {};
    }
    if (IsKind(kind, McapRecord::Metadata)) {
        auto metadata = GetMetadata(content);
        if (!metadata) {
            return {};
        }
        m_metadata.push_back(std::move(*metadata));
        return McapRecordHead + length;
    }
    McapTake take(content);
    take.Text();
    take.Text();
    bool const isHeader = IsKind(kind, McapRecord::Header) && take.IsGood();
    return isHeader && take.IsAtEnd() ? std::optional(McapRecordHead + length) : std::nullopt;
}

void McapReader::Scan()
{
    auto at = std::uint64_t{McapMagic.size()};
    while (at < m_file.Size()) {
        std::array<unsigned char, McapRecordHead> head{};
        auto const rest = m_file.Size() - at;
        auto const kind = rest >= head.size() && m_file.Read(at, head) ? head[0] : std::uint8_t{0};
        auto const length = protocol::GetU64LE(head, 1);
        if (IsKind(kind, McapRecord::DataEnd) && length == 4) {
            return;
        }
        if (auto const chunk = IsKind(kind, McapRecord::Chunk) ? ChunkAt(at) : std::nullopt) {
            m_chunks.push_back(*chunk);
            m_channelsIn.emplace_back();
            at += chunk->length;
            continue;
        }
        if (auto const taken = rest >= head.size() ? TakeRecord(kind, at, length) : std::nullopt) {
            at += *taken;
            continue;
        }
        auto const next = FindChunk(at + 1).value_or(m_file.Size());
        m_skipped += next - at;
        at = next;
    }
}

/// Which channels there are is known before all was read: each is described in the chunks that hold messages of it.
void McapReader::DescribeChannels()
{
    // A number that stands in a damaged index alone is looked for so often.
    constexpr int attempts = 3;
    std::map<std::uint16_t, int> tried;
    for (std::size_t i = 0; i < m_chunks.size(); ++i) {
        bool const tellsNew = std::any_of(m_channelsIn[i].begin(), m_channelsIn[i].end(), [&](std::uint16_t id) {
            return m_channels.count(id) == 0 && tried[id]++ < attempts;
        });
        auto const records = tellsNew ? ReadChunk(m_chunks[i], m_buffer) : std::nullopt;
        if (records) {
            McapTake take(*records);
            while (auto const record = NextRecord(take)) {
                TakeDescription(record->kind, record->content);
            }
        }
    }
}

std::optional<std::span<unsigned char const>> McapReader::ReadChunk(McapChunkPlace const& place,
                                                                    std::vector<unsigned char>& bytes) const
{
    bytes.resize(static_cast<std::size_t>(place.length));
    if (!ChunkAt(place.offset) || !m_file.Read(place.offset, bytes)) {
        return {};
    }
    auto const crc = protocol::GetU32LE(bytes, McapRecordHead + 24);
    auto const records = std::span<unsigned char const>(bytes).subspan(McapRecordHead + McapChunkHead);
    return McapCrc(records) == crc ? std::optional(records) : std::nullopt;
}

std::optional<std::span<unsigned char const>> McapReader::ReadChunk(std::size_t chunk,
                                                                    std::vector<unsigned char>& bytes)
{
    if (m_isDamaged[chunk]) {
        return {};
    }
    auto const records = ReadChunk(m_chunks[chunk], bytes);
    if (!records) {
        m_isDamaged[chunk] = true;
        ++m_damagedChunks;
    } else if (!m_isDescribed[chunk]) {
        m_isDescribed[chunk] = true;
        McapTake take(*records);
        while (auto const record = NextRecord(take)) {
            auto const known = m_channels.size();
            auto const id = TakeDescription(record->kind, record->content);
            if (id && m_channels.size() != known) {
                m_describedIn[*id] = chunk;
            } else if (auto const found = id ? m_describedIn.find(*id) : m_describedIn.end();
                       found != m_describedIn.end()) {
                found->second = std::min(found->second, chunk);
            }
        }
    }
    return records;
}

std::optional<McapMessage> McapReader::MessageOf(std::span<unsigned char const> record, std::size_t chunk) const
{
    McapTake content(record);
    McapMessage message;
    message.channel = content.U16();
    message.sequence = content.U32();
    message.logTime = content.U64();
    message.publishTime = content.U64();
    message.data = content.Rest();
    if (!content.IsGood() || m_channels.count(message.channel) == 0) {
        return {};
    }
    auto const described = m_describedIn.find(message.channel);
    return described == m_describedIn.end() || described->second <= chunk ? std::optional(message) : std::nullopt;
}

void McapReader::ForEach(Visit const& visit, std::uint64_t from, std::uint64_t to, Choose const& choose)
{
    for (std::size_t i = 0; i < m_chunks.size(); ++i) {
        if (m_chunks[i].end < from || m_chunks[i].start > to || (choose && !choose(i))) {
            continue;
        }
        auto const records = ReadChunk(i, m_buffer);
        if (!records) {
            continue;
        }
        McapTake take(*records);
        while (auto const record = NextRecord(take)) {
            auto const message =
                IsKind(record->kind, McapRecord::Message) ? MessageOf(record->content, i) : std::nullopt;
            if (!message || message->logTime < from || message->logTime > to) {
                continue;
            }
            if (!visit(m_channels.at(message->channel), *message)) {
                return;
            }
        }
    }
}

std::vector<McapMessage> McapReader::MessagesIn(std::size_t chunk, std::vector<unsigned char>& bytes)
{
    std::vector<McapMessage> messages;
    if (auto const records = ReadChunk(chunk, bytes)) {
        McapTake take(*records);
        while (auto const record = NextRecord(take)) {
            if (auto const message =
                    IsKind(record->kind, McapRecord::Message) ? MessageOf(record->content, chunk) : std::nullopt) {
                messages.push_back(*message);
            }
        }
    }
    return messages;
}

} // namespace qx5::recording
