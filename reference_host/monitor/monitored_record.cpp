// One record as the monitor shows it: number, name, its fields in one line, the whole of it as text, and how it is
// saved.
#include "monitored_record.h"

#include <protocol/catalogue.h>
#include <protocol/echo_records.h>
#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <protocol/print.h>
#include <protocol/time_stamp.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <utility>

namespace vordal {
namespace {

namespace protocol = qx5::protocol;

constexpr std::size_t GreatestSummary = 200;
/// Fields of a longer payload are looked at when the record is looked at, not for the list.
constexpr std::size_t GreatestSummarised = std::size_t{16} << 10;

std::string WithUnit(std::string value, protocol::Unit unit)
{
    if (auto const text = protocol::UnitText(unit); !text.empty()) {
        (value += ' ') += text;
    }
    return value;
}

/// Cuts behind a whole UTF-8 character.
void Shorten(std::string& text)
{
    if (text.size() <= GreatestSummary) {
        return;
    }
    std::size_t end = GreatestSummary;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
        --end;
    }
    text.resize(end);
    text += "\u2026";
}

void Add(std::string& line, std::string_view name, std::string const& value)
{
    if (!line.empty()) {
        line += ", ";
    }
    ((line += name) += " = ") += value;
}

/// The lines of a text, trimmed, in one.
std::string Joined(std::string_view lines)
{
    std::string text;
    while (!lines.empty() && text.size() <= GreatestSummary) {
        std::size_t const end = std::min(lines.find('\n'), lines.size());
        std::string_view line = lines.substr(0, end);
        lines.remove_prefix(std::min(end + 1, lines.size()));
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
        if (line.empty()) {
            continue;
        }
        if (!text.empty()) {
            text += ", ";
        }
        text += line;
    }
    return text;
}

std::string FieldsInOneLine(protocol::RecordLayout const& layout, std::span<unsigned char const> payload, bool isWhole)
{
    protocol::UnpackedRecord const record = protocol::Unpack(layout, payload);
    std::string line;
    std::vector<protocol::UnpackedArray> arrays(layout.arrays.size());
    if (payload.size() < layout.size || !protocol::PlaceArrays(layout, payload, arrays)) {
        arrays.clear();
    }
    for (protocol::UnpackedArray const& array : arrays) { // first: they are what the record is for
        std::string const rows = array.array->rows.empty() ? "" : std::to_string(array.rows) + " x ";
        Add(line, array.array->name, rows + std::to_string(array.count));
    }
    for (auto const& [key, value] : protocol::KeyValues(record.fields)) {
        Add(line, protocol::EncodeUtf8(key->text), WithUnit(protocol::ValueText(value), key->unit));
    }
    for (protocol::FieldValue const& value : record.fields) {
        if (value.field->key == nullptr && value.field->name != "reserved" && !protocol::IsEmpty(value.wire)) {
            Add(line, value.field->name, WithUnit(protocol::ValueText(value.wire), protocol::WireUnit(*value.field)));
        }
    }
    if (!record.items.empty()) {
        Add(line, layout.tailName, std::to_string(record.items.size()) + " items");
    } else if (!protocol::IsEmpty(record.tail)) {
        std::string const name =
            layout.tailKey != nullptr ? protocol::EncodeUtf8(layout.tailKey->text) : std::string(layout.tailName);
        Add(line, name, protocol::ValueText(record.tail));
    } else if (!record.tailBytes.empty() && arrays.empty()) {
        Add(line, layout.tailName, std::to_string(record.tailBytes.size()) + " bytes");
    }
    if (record.missingBytes > 0 && isWhole) {
        Add(line, "missing", std::to_string(record.missingBytes) + " bytes");
    }
    if (record.excessBytes > 0) {
        Add(line, "too many", std::to_string(record.excessBytes) + " bytes");
    }
    return line;
}

} // namespace

MonitoredRecord::MonitoredRecord(CapturedFrame frame) : m_frame(std::move(frame)), m_name("damaged")
{
    std::span<unsigned char const> const bytes(m_frame.bytes);
    if (!IsWhole()) {
        m_name = "too long to be kept";
        TakeBeginning();
        return;
    }
    auto const view = protocol::ParseFrame(bytes);
    if (!view) {
        return;
    }
    m_number = view->header.recordId;
    auto payload = view->data;
    if (auto const command = protocol::ParseRemoteControl(*view)) {
        m_number = command->commandId;
        m_carrier = protocol::Carrier::RemoteControl;
        payload = command->payload;
    }
    m_payloadAt = static_cast<std::size_t>(payload.data() - bytes.data());
    m_payloadSize = payload.size();
    auto const* const layout = protocol::FindLayout(m_carrier, m_number, payload);
    m_name = layout != nullptr ? layout->name : "unknown";
}

std::span<unsigned char const> MonitoredRecord::Payload() const
{
    return std::span(m_frame.bytes).subspan(m_payloadAt, m_payloadSize);
}

std::string MonitoredRecord::TimeText() const
{
    return protocol::TimeText(protocol::ToTimeX5(m_frame.time));
}

std::string const& MonitoredRecord::Summary() const
{
    if (!m_summary) {
        m_summary = Summarise();
    }
    return *m_summary;
}

/// Of echoes the beginning tells what and how much they are.
void MonitoredRecord::TakeBeginning()
{
    auto const id = protocol::RecordIdOf(m_frame.bytes);
    auto const payload = std::span(m_frame.bytes).subspan(std::min(protocol::FrameHeaderSize, m_frame.bytes.size()));
    auto const* const layout = protocol::FindLayout(protocol::Carrier::Data, id, payload);
    if (protocol::IsOfEchoes(id) && payload.size() >= layout->size) {
        m_number = id;
        m_name = layout->name;
        m_payloadAt = protocol::FrameHeaderSize;
        m_payloadSize = payload.size();
    }
}

std::string MonitoredRecord::Summarise() const
{
    auto const payload = Payload();
    auto const* const layout = protocol::FindLayout(m_carrier, m_number, payload);
    std::string line;
    if (protocol::IsOfEchoes(m_number)) {
        line = FieldsInOneLine(*layout, payload, IsWhole()); // told by their sizes, however long they are
    } else if (payload.size() > GreatestSummarised || !IsWhole()) {
        line = std::to_string(m_frame.totalBytes) + " bytes";
    } else if (m_number >= protocol::records::RecordRequest.Id()) {
        // The layouts of our own records stop where the interesting part begins.
        line = Joined(protocol::PrintPayload(m_carrier, m_number, payload, ""));
    } else if (layout != nullptr) {
        line = FieldsInOneLine(*layout, payload, true);
    } else if (!payload.empty()) {
        line = std::to_string(payload.size()) + " bytes";
    }
    Shorten(line);
    return line;
}

std::string MonitoredRecord::Text() const
{
    if (auto const view = IsWhole() ? protocol::ParseFrame(m_frame.bytes) : std::nullopt) {
        return protocol::PrintFrame(*view);
    }
    return IsWhole() ? "no good frame\n"
                     : "a record of " + std::to_string(m_frame.totalBytes) + " bytes, of which " +
                           std::to_string(m_frame.bytes.size()) + " were kept\n" +
                           (protocol::IsOfEchoes(m_number) ? Summary() + "\n" : std::string());
}

std::string MonitoredRecord::Details() const
{
    return Text() + "\n" + protocol::HexDump(m_frame.bytes, "");
}

std::string MonitoredRecord::SavedText() const
{
    constexpr char digits[] = "0123456789abcdef";
    constexpr std::size_t perLine = 16;
    std::string text = "# " + TimeText() + " " + std::string(DirectionText()) + " " + m_frame.link + " " +
                       std::to_string(m_number) + " " + m_name + "\n";
    // A name is the project's and may hold anything.
    std::replace_if(
        text.begin(), text.end() - 1, [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
    if (!IsWhole()) {
        return text + "# its " + std::to_string(m_frame.totalBytes) + " bytes were not kept\n";
    }
    for (std::size_t at = 0; at < m_frame.bytes.size(); ++at) {
        unsigned char const byte = m_frame.bytes[at];
        text += digits[byte >> 4];
        text += digits[byte & 15];
        text += at % perLine == perLine - 1 || at + 1 == m_frame.bytes.size() ? '\n' : ' ';
    }
    return text;
}

} // namespace vordal
