// What two frames of the same record tell otherwise, field by field.
#include "frame_difference.h"

#include <protocol/catalogue.h>
#include <protocol/frame_offsets.h>
#include <protocol/print.h>
#include <protocol/time_stamp.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

#include <algorithm>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using protocol::Carrier;
using protocol::Field;
using protocol::RecordLayout;
using protocol::Wire;
using FrameBytes = std::span<unsigned char const>;

/// Of bytes that belong to no field so many are shown at a time.
constexpr std::size_t shownBytes = 16;

std::string HexOf(FrameBytes bytes)
{
    std::string text;
    for (auto const byte : bytes) {
        text += fmt::format("{:02x}", byte);
    }
    return text.empty() ? "nothing" : text;
}

RecordLayout const* LayoutOf(FrameParts const& parts)
{
    return protocol::FindLayout(parts.carrier, parts.id, parts.payload);
}

std::size_t PayloadOffset(FrameParts const& parts)
{
    return static_cast<std::size_t>(parts.payload.data() - parts.view.bytes.data());
}

/// Whether the host's clock gives it, and nobody's request.
bool IsClockBorne(Field const& field)
{
    return field.wire == Wire::TimeX5 && field.key == nullptr;
}

std::string NameOf(Field const& field)
{
    if (field.key == nullptr) {
        return field.name.empty() ? "constant" : std::string(field.name);
    }
    auto const text = protocol::EncodeUtf8(field.key->text);
    return field.key->kind == protocol::Kind::Pair || field.key->kind == protocol::Kind::Offset
               ? fmt::format("{}[{}]", text, field.part)
               : text;
}

/// "50", with the number on the wire where it is another one.
std::string TextOf(protocol::FieldValue const& value)
{
    auto const wire = protocol::ValueText(value.wire);
    if (std::holds_alternative<std::monostate>(value.attribute)) {
        return wire;
    }
    auto const attribute = protocol::ValueText(value.attribute);
    return attribute == wire ? wire : fmt::format("{} (wire {})", attribute, wire);
}

/// Finds the fields that differ and what bytes they cover.
class Comparison
{
public:
    Comparison(FrameBytes recorded, FrameBytes today)
        : m_recorded(recorded), m_today(today), m_isTold(std::max(recorded.size(), today.size()), false)
    {
    }

    std::vector<std::string> Run()
    {
        auto const recorded = PartsOf(m_recorded);
        auto const today = PartsOf(m_today);
        if (recorded && today) {
            CompareHeads(recorded->view.header, today->view.header);
            CompareFields(*recorded, *today);
        }
        CompareRest();
        return std::move(m_lines);
    }

private:
    bool Differ(std::size_t at, std::size_t size) const
    {
        auto const part = [&](FrameBytes frame) {
            return frame.subspan(std::min(at, frame.size()), std::min(size, frame.size() - std::min(at, frame.size())));
        };
        auto const one = part(m_recorded);
        auto const other = part(m_today);
        return !std::equal(one.begin(), one.end(), other.begin(), other.end());
    }
    void Cover(std::size_t at, std::size_t size)
    {
        for (auto i = at; i < std::min(at + size, m_isTold.size()); ++i) {
            m_isTold[i] = true;
        }
    }

    template <typename Number>
    void CompareHead(std::string_view name, std::size_t at, std::size_t size, Number recorded, Number today)
    {
        if (recorded != today) {
            m_lines.push_back(fmt::format("{} of the frame: recorded {}, today {}", name, recorded, today));
        }
        Cover(at, size);
    }

    void CompareHeads(protocol::FrameHeader const& recorded, protocol::FrameHeader const& today)
    {
        namespace at = protocol::frame_offsets;
        CompareHead("size", at::TotalSize, 4, recorded.totalSize, today.totalSize);
        CompareHead("record version", at::RecordVersion, 2, recorded.recordVersion, today.recordVersion);
        CompareHead("record", at::RecordId, 4, recorded.recordId, today.recordId);
        CompareHead("device", at::DeviceId, 4, static_cast<std::int32_t>(recorded.deviceId),
                    static_cast<std::int32_t>(today.deviceId));
        CompareHead("enumerator", at::Enumerator, 2, static_cast<std::int16_t>(recorded.enumerator),
                    static_cast<std::int16_t>(today.enumerator));
    }

    void CompareFields(FrameParts const& recorded, FrameParts const& today)
    {
        auto const* const layout = LayoutOf(recorded);
        if (layout == nullptr || LayoutOf(today) != layout || PayloadOffset(recorded) != PayloadOffset(today)) {
            return;
        }
        m_begin = PayloadOffset(recorded);
        CompareRows(layout->fields, recorded.payload, today.payload, 0);
        if (layout->tail == protocol::Tail::Items && layout->itemSize != 0) {
            auto const size = std::min(recorded.payload.size(), today.payload.size());
            for (std::size_t at = layout->size; at + layout->itemSize <= size; at += layout->itemSize) {
                CompareRows(layout->itemFields, recorded.payload, today.payload, at);
            }
        }
    }

    void CompareRows(std::span<Field const> fields, FrameBytes recorded, FrameBytes today, std::size_t begin)
    {
        if (begin > recorded.size() || begin > today.size()) {
            return;
        }
        for (Field const& field : fields) {
            auto const at = begin + field.offset;
            auto const size = WidthOf(field);
            if (!Differ(m_begin + at, size)) {
                continue;
            }
            auto const one = protocol::UnpackField(field, recorded.subspan(begin));
            auto const other = protocol::UnpackField(field, today.subspan(begin));
            auto const before = TextOf(one);
            auto const now = TextOf(other);
            if (before != now) {
                m_lines.push_back(fmt::format("@{}  {}  {}: recorded {}, today {}", at, protocol::WireText(field.wire),
                                              NameOf(field), before, now));
                Cover(m_begin + at, size);
            }
        }
    }

    /// What differs and is told by no field: runs of bytes.
    void CompareRest()
    {
        for (std::size_t at = 0; at < m_isTold.size();) {
            auto end = at;
            while (end < m_isTold.size() && !m_isTold[end] && Differ(end, 1)) {
                ++end;
            }
            if (end == at) {
                ++at;
                continue;
            }
            auto const shown = std::min(end - at, shownBytes);
            auto const part = [&](FrameBytes frame) {
                auto const from = std::min(at, frame.size());
                return HexOf(frame.subspan(from, std::min(shown, frame.size() - from)));
            };
            m_lines.push_back(fmt::format("byte {} of the frame{}: recorded {}, today {}", at,
                                          end - at > shown ? fmt::format(", and {} more", end - at - 1) : std::string(),
                                          part(m_recorded), part(m_today)));
            at = end;
        }
    }

    FrameBytes m_recorded;
    FrameBytes m_today;
    std::size_t m_begin = 0; ///< of the payload
    std::vector<bool> m_isTold;
    std::vector<std::string> m_lines;
};

} // namespace

std::optional<FrameParts> PartsOf(std::span<unsigned char const> frame)
{
    auto const view = protocol::ParseFrame(frame);
    if (!view || view->bytes.size() != frame.size()) {
        return {};
    }
    if (auto const command = protocol::ParseRemoteControl(*view)) {
        return FrameParts{*view, Carrier::RemoteControl, command->commandId, command->payload};
    }
    return FrameParts{*view, Carrier::Data, view->header.recordId, view->data};
}

std::string NameOf(std::span<unsigned char const> frame)
{
    auto const parts = PartsOf(frame);
    if (!parts) {
        return "no frame";
    }
    auto const* const layout = LayoutOf(*parts);
    auto const name = fmt::format("{}{}{}", parts->id, layout != nullptr ? " " : "",
                                  layout != nullptr ? layout->name : std::string_view());
    auto const command = protocol::ParseRemoteControl(parts->view);
    return command ? fmt::format("{}, ticket {}", name, command->ticket) : name;
}

std::vector<unsigned char> WithoutTimes(std::span<unsigned char const> frame)
{
    std::vector<unsigned char> bytes(frame.begin(), frame.end());
    auto const parts = PartsOf(bytes);
    if (!parts) {
        return bytes;
    }
    auto const* const layout = LayoutOf(*parts);
    auto const payload = PayloadOffset(*parts);
    protocol::PutTimeX5LE(bytes, protocol::frame_offsets::Time, {});
    if (layout != nullptr) {
        for (Field const& field : layout->fields) {
            if (IsClockBorne(field) && field.offset + protocol::TimeX5Size <= parts->payload.size()) {
                protocol::PutTimeX5LE(bytes, payload + field.offset, {});
            }
        }
    }
    return bytes;
}

bool AreSame(std::span<unsigned char const> recorded, std::span<unsigned char const> today)
{
    return recorded.size() == today.size() && WithoutTimes(recorded) == WithoutTimes(today);
}

std::vector<std::string> FieldDifferences(std::span<unsigned char const> recorded, std::span<unsigned char const> today)
{
    return Comparison(WithoutTimes(recorded), WithoutTimes(today)).Run();
}

} // namespace qx5::cli
