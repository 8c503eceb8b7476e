// The bytes of this project's own records.
#include <protocol/house_records.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

#include <protocol/bytes.h>
#include <protocol/numbers.h>
#include <protocol/outside_sizes.h>
#include <protocol/utf8.h>

namespace qx5::protocol {

namespace {

constexpr std::uint32_t TreeFormat = 1;

enum class ValueTag : std::uint8_t
{
    None = 0,
    Int = 1,
    UInt = 2,
    Bool = 3,
    Double = 4,
    Pair = 5,
    Text = 6,
    Ints = 7,
    Doubles = 8,
    Offset = 9,
    Int64 = 10,
};

/// Appends to a growing byte sequence.
class Writer
{
public:
    void U8(std::uint8_t value) { m_bytes.push_back(value); }
    void U32(std::uint32_t value) { PutU32LE(Grow(4), 0, value); }
    void I32(std::int32_t value) { PutI32LE(Grow(4), 0, value); }
    void I64(std::int64_t value) { PutU64LE(Grow(8), 0, static_cast<std::uint64_t>(value)); }
    void F64(double value) { PutF64LE(Grow(8), 0, value); }
    void Tag(ValueTag tag) { U8(static_cast<std::uint8_t>(tag)); }
    /// False when the count does not fit its word.
    bool Count(std::size_t count)
    {
        if (count > std::numeric_limits<std::uint32_t>::max()) {
            return false;
        }
        U32(static_cast<std::uint32_t>(count));
        return true;
    }
    bool Text(std::wstring_view text)
    {
        std::size_t const length = Utf8Length(text);
        if (!Count(length)) {
            return false;
        }
        EncodeUtf8Into(text, Grow(length));
        return true;
    }
    std::size_t Size() const { return m_bytes.size(); }
    std::vector<unsigned char> Take() { return std::move(m_bytes); }

private:
    std::span<unsigned char> Grow(std::size_t count)
    {
        m_bytes.resize(m_bytes.size() + count);
        return std::span(m_bytes).last(count);
    }
    std::vector<unsigned char> m_bytes;
};

class TreeEncoder
{
public:
    std::optional<std::vector<unsigned char>> Encode(std::span<TreeNode const> nodes, std::string& error)
    {
        m_writer.U32(TreeFormat);
        if (!List(nodes, 1)) {
            error = m_error;
            return std::nullopt;
        }
        return m_writer.Take();
    }

private:
    bool Fail(std::string text)
    {
        m_error = std::move(text);
        return false;
    }

    bool List(std::span<TreeNode const> nodes, std::size_t depth)
    {
        if (!nodes.empty() && depth > MaximumTreeDepth) {
            return Fail("the tree is deeper than " + std::to_string(MaximumTreeDepth) + " levels");
        }
        if (nodes.size() > MaximumTreeNodes - m_nodes) {
            return Fail("the tree has more than " + std::to_string(MaximumTreeNodes) + " nodes");
        }
        m_nodes += nodes.size();
        if (!m_writer.Count(nodes.size())) {
            return Fail("a list is too long");
        }
        for (TreeNode const& node : nodes) {
            if (!m_writer.Text(node.key) || !Put(node.value)) {
                return Fail("a text or list is too long");
            }
            if (m_writer.Size() > MaximumTreeSize) {
                return Fail("the tree does not fit a frame");
            }
            if (!List(node.children, depth + 1)) {
                return false;
            }
        }
        return true;
    }

    bool Put(Value const& value)
    {
        return std::visit([this](auto const& held) { return Put(held); }, value);
    }
    bool Put(std::monostate)
    {
        m_writer.Tag(ValueTag::None);
        return true;
    }
    bool Put(std::int32_t value)
    {
        m_writer.Tag(ValueTag::Int);
        m_writer.I32(value);
        return true;
    }
    bool Put(std::uint32_t value)
    {
        m_writer.Tag(ValueTag::UInt);
        m_writer.U32(value);
        return true;
    }
    bool Put(std::int64_t value)
    {
        m_writer.Tag(ValueTag::Int64);
        m_writer.I64(value);
        return true;
    }
    bool Put(bool value)
    {
        m_writer.Tag(ValueTag::Bool);
        m_writer.U8(value ? 1 : 0);
        return true;
    }
    bool Put(double value)
    {
        m_writer.Tag(ValueTag::Double);
        m_writer.F64(value);
        return true;
    }
    bool Put(std::pair<double, double> const& value)
    {
        m_writer.Tag(ValueTag::Pair);
        m_writer.F64(value.first);
        m_writer.F64(value.second);
        return true;
    }
    bool Put(std::wstring const& value)
    {
        m_writer.Tag(ValueTag::Text);
        return m_writer.Text(value);
    }
    bool Put(std::vector<std::int32_t> const& values)
    {
        m_writer.Tag(ValueTag::Ints);
        if (!m_writer.Count(values.size())) {
            return false;
        }
        for (std::int32_t const value : values) {
            m_writer.I32(value);
        }
        return true;
    }
    bool Put(std::vector<double> const& values)
    {
        m_writer.Tag(ValueTag::Doubles);
        if (!m_writer.Count(values.size())) {
            return false;
        }
        for (double const value : values) {
            m_writer.F64(value);
        }
        return true;
    }
    bool Put(std::array<double, 3> const& axes)
    {
        m_writer.Tag(ValueTag::Offset);
        for (double const axis : axes) {
            m_writer.F64(axis);
        }
        return true;
    }

    Writer m_writer;
    std::size_t m_nodes = 0;
    std::string m_error;
};

/// Reads one tree; the first failure sticks and its text tells the byte that it was found at.
class TreeDecoder
{
public:
    explicit TreeDecoder(std::span<unsigned char const> bytes) : m_bytes(bytes) {}

    std::optional<std::vector<TreeNode>> Decode(std::string& error)
    {
        std::vector<TreeNode> nodes;
        std::uint32_t format = 0;
        bool good = U32(format) && (format == TreeFormat || Fail("an unknown format"));
        good = good && List(nodes, 1) && (m_at == m_bytes.size() || Fail("bytes after the tree"));
        if (!good) {
            error = m_error;
            return std::nullopt;
        }
        return nodes;
    }

private:
    bool Fail(char const* what)
    {
        m_error = std::string(what) + " at byte " + std::to_string(m_at);
        return false;
    }

    std::size_t Left() const { return m_bytes.size() - m_at; }
    bool Need(std::size_t count) { return Left() >= count || Fail("the bytes end early"); }

    bool U8(std::uint8_t& value)
    {
        if (!Need(1)) {
            return false;
        }
        value = GetU8(m_bytes, m_at);
        m_at += 1;
        return true;
    }
    bool U32(std::uint32_t& value)
    {
        if (!Need(4)) {
            return false;
        }
        value = GetU32LE(m_bytes, m_at);
        m_at += 4;
        return true;
    }
    bool F64(double& value)
    {
        if (!Need(8)) {
            return false;
        }
        value = GetF64LE(m_bytes, m_at);
        m_at += 8;
        return true;
    }
    /// A count of things of at least `width` bytes each: one that the bytes left cannot hold is refused before
    /// anything is allocated for it.
    bool Count(std::size_t& count, std::size_t width)
    {
        std::uint32_t value = 0;
        if (!U32(value)) {
            return false;
        }
        count = value;
        return HoldCount(Left(), count, width) || Fail("a count that the bytes cannot hold");
    }
    bool Text(std::wstring& text)
    {
        std::size_t length = 0;
        if (!Count(length, 1)) {
            return false;
        }
        text = DecodeUtf8(m_bytes.subspan(m_at, length));
        m_at += length;
        return true;
    }

    bool List(std::vector<TreeNode>& nodes, std::size_t depth)
    {
        constexpr std::size_t leastNode = 4 + 1 + 4; // empty key, no value, no children
        std::size_t count = 0;
        if (!Count(count, leastNode)) {
            return false;
        }
        if (count > 0 && depth > MaximumTreeDepth) {
            return Fail("the tree is too deep");
        }
        if (count > MaximumTreeNodes - m_nodes) {
            return Fail("the tree has too many nodes");
        }
        m_nodes += count;
        nodes.resize(count);
        for (TreeNode& node : nodes) {
            if (!Text(node.key) || !Get(node.value) || !List(node.children, depth + 1)) {
                return false;
            }
        }
        return true;
    }

    bool Get(Value& value)
    {
        std::uint8_t tag = 0;
        if (!U8(tag)) {
            return false;
        }
        switch (static_cast<ValueTag>(tag)) {
        case ValueTag::None:
            value = std::monostate{};
            return true;
        case ValueTag::Int: {
            std::uint32_t bits = 0;
            if (!U32(bits)) {
                return false;
            }
            value = static_cast<std::int32_t>(bits);
            return true;
        }
        case ValueTag::UInt: {
            std::uint32_t number = 0;
            if (!U32(number)) {
                return false;
            }
            value = number;
            return true;
        }
        case ValueTag::Bool: {
            std::uint8_t flag = 0;
            if (!U8(flag)) {
                return false;
            }
            if (flag > 1) {
                return Fail("a bool that is neither 0 nor 1");
            }
            value = flag == 1;
            return true;
        }
        case ValueTag::Double: {
            double real = 0.0;
            if (!F64(real)) {
                return false;
            }
            value = real;
            return true;
        }
        case ValueTag::Pair: {
            std::pair<double, double> pair;
            if (!F64(pair.first) || !F64(pair.second)) {
                return false;
            }
            value = pair;
            return true;
        }
        case ValueTag::Text: {
            std::wstring text;
            if (!Text(text)) {
                return false;
            }
            value = std::move(text);
            return true;
        }
        case ValueTag::Ints: {
            std::size_t count = 0;
            if (!Count(count, 4)) {
                return false;
            }
            std::vector<std::int32_t> numbers(count);
            for (std::int32_t& number : numbers) {
                number = GetI32LE(m_bytes, m_at);
                m_at += 4;
            }
            value = std::move(numbers);
            return true;
        }
        case ValueTag::Doubles: {
            std::size_t count = 0;
            if (!Count(count, 8)) {
                return false;
            }
            std::vector<double> numbers(count);
            for (double& number : numbers) {
                number = GetF64LE(m_bytes, m_at);
                m_at += 8;
            }
            value = std::move(numbers);
            return true;
        }
        case ValueTag::Offset: {
            std::array<double, 3> axes{};
            for (double& axis : axes) {
                if (!F64(axis)) {
                    return false;
                }
            }
            value = axes;
            return true;
        }
        case ValueTag::Int64: {
            if (!Need(8)) {
                return false;
            }
            value = static_cast<std::int64_t>(GetU64LE(m_bytes, m_at));
            m_at += 8;
            return true;
        }
        }
        return Fail("an unknown kind of value");
    }

    std::span<unsigned char const> m_bytes;
    std::size_t m_at = 0;
    std::size_t m_nodes = 0;
    std::string m_error;
};

} // namespace

std::vector<unsigned char> EncodeRecordRequest(std::uint32_t recordId)
{
    std::vector<unsigned char> payload(records::RecordRequest.Size());
    PutU32LE(payload, 0, recordId);
    return payload;
}

std::optional<std::uint32_t> DecodeRecordRequest(std::span<unsigned char const> payload)
{
    if (payload.size() != records::RecordRequest.Size()) {
        return std::nullopt;
    }
    return GetU32LE(payload, 0);
}

std::vector<unsigned char> EncodePassThrough(PassThrough const& command)
{
    std::size_t const head = records::PassThroughCommand.Size();
    if (command.payload.size() > MaximumFrameSize - RemoteControlOverhead - head) {
        throw std::length_error("a pass-through command cannot be that long");
    }
    std::vector<unsigned char> payload(head + command.payload.size());
    PutI32LE(payload, 0, command.target.deviceId);
    PutU16LE(payload, 4, Low16Bits(command.target.enumerator));
    PutU32LE(payload, 8, command.commandId);
    PutU32LE(payload, 12, static_cast<std::uint32_t>(command.payload.size()));
    std::copy(command.payload.begin(), command.payload.end(), std::span(payload).subspan(head).begin());
    return payload;
}

std::optional<PassThrough> DecodePassThrough(std::span<unsigned char const> payload)
{
    std::size_t const head = records::PassThroughCommand.Size();
    if (payload.size() < head || GetU32LE(payload, 12) != payload.size() - head) {
        return std::nullopt;
    }
    PassThrough command;
    command.target.deviceId = GetI32LE(payload, 0);
    command.target.enumerator = static_cast<std::int16_t>(GetU16LE(payload, 4));
    command.commandId = GetU32LE(payload, 8);
    command.payload = payload.subspan(head);
    return command;
}

std::vector<unsigned char> EncodePlayback(Playback const& playback)
{
    std::vector<unsigned char> payload(records::PlaybackCommand.Size());
    PutU32LE(payload, 0, static_cast<std::uint32_t>(playback.operation));
    PutF64LE(payload, 4, playback.commandTime);
    PutF64LE(payload, 12, playback.value);
    return payload;
}

std::optional<Playback> DecodePlayback(std::span<unsigned char const> payload)
{
    if (payload.size() != records::PlaybackCommand.Size()) {
        return std::nullopt;
    }
    std::uint32_t const operation = GetU32LE(payload, 0);
    if (operation < static_cast<std::uint32_t>(PlaybackOperation::SetSpeed) ||
        operation > static_cast<std::uint32_t>(PlaybackOperation::SetLoop)) {
        return std::nullopt;
    }
    return Playback{static_cast<PlaybackOperation>(operation), GetF64LE(payload, 4), GetF64LE(payload, 12)};
}

std::optional<std::vector<unsigned char>> EncodeTree(std::span<TreeNode const> nodes, std::string& error)
{
    return TreeEncoder().Encode(nodes, error);
}

std::optional<std::vector<TreeNode>> DecodeTree(std::span<unsigned char const> payload, std::string& error)
{
    return TreeDecoder(payload).Decode(error);
}

} // namespace qx5::protocol
