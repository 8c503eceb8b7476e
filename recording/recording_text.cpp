// The messages of a recording as lines.
#include "recording_text.h"

#include "recording_time.h"

#include "operation/action_values.h"
#include "operation/tree_walk.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace qx5::recording {

namespace {

/// Of a tree so much goes into a line.
constexpr std::size_t greatestTree = 200;

/// "x5Range = 50 m, ...": the values of a tree in one line, cut behind a whole one.
std::string TreeLine(CAttributeMap const& tree)
{
    std::string line;
    std::size_t left = 0;
    operation::WalkTrees<0>(tree, {}, [&](std::string const& path, CAttributeMap const& node, auto const&) {
        if (!node.HasValue() && node.Count() != 0) {
            return;
        }
        if (line.size() > greatestTree) {
            ++left;
            return;
        }
        line +=
            (line.empty() ? "" : ", ") + path + " = " + operation::ValueText(node.KeyText(), operation::ValueOf(&node));
    });
    return left == 0 ? line : fmt::format("{}, and {} more", line, left);
}

/// The whole of it, for words that are looked for.
std::string TreeWords(CAttributeMap const& tree)
{
    std::string words;
    operation::WalkTrees<0>(tree, {}, [&](std::string const& path, CAttributeMap const& node, auto const&) {
        words += path + " = " + operation::ValueText(node.KeyText(), operation::ValueOf(&node)) + '\n';
    });
    return words;
}

/// What a message says behind its time and sonar, and all that its words are.
struct Said
{
    std::string what;
    std::string line;
    std::string words;
};

Said SaidBy(RecordedContent const& content)
{
    struct Sayer
    {
        Said operator()(RecordedFrame const&) const { return {}; }
        Said operator()(RecordedSettings const& settings) const
        {
            return {"settings", TreeLine(settings.tree), TreeWords(settings.tree)};
        }
        Said operator()(RecordedRequest const& request) const
        {
            return {fmt::format("request {}", request.number), request.who + ": " + TreeLine(request.asked),
                    TreeWords(request.asked)};
        }
        Said operator()(RecordedResult const& result) const
        {
            return {fmt::format("result {}", result.number),
                    result.reason.empty() ? result.result : result.result + ": " + result.reason,
                    TreeWords(result.got)};
        }
        Said operator()(RecordedAttributes const& attributes) const
        {
            return {attributes.isEcho ? "echo" : "told", TreeLine(attributes.tree), TreeWords(attributes.tree)};
        }
        Said operator()(RecordedConnection const& connection) const
        {
            return {"connection",
                    connection.reason.empty() ? connection.state : connection.state + ": " + connection.reason,
                    {}};
        }
        Said operator()(RecordedMark const& mark) const { return {"mark", mark.text, {}}; }
        Said operator()(RecordedLoss const& loss) const
        {
            return {"lost", fmt::format("{} messages, {} bytes of frames", loss.messages, loss.bytes), {}};
        }
    };
    return std::visit(Sayer{}, content);
}

vordal::MonitoredRecord RecordOf(RecordedMessage const& message, RecordedFrame const& frame, std::string name)
{
    return vordal::MonitoredRecord({.link = std::move(name),
                                    .outgoing = frame.isSent,
                                    .time = static_cast<double>(message.time) / 1e9,
                                    .bytes = {frame.bytes.begin(), frame.bytes.end()},
                                    .totalBytes = frame.bytes.size()});
}

/// Whether it passes, and the record where it is one.
struct Seen
{
    bool passes = false;
    std::optional<vordal::MonitoredRecord> record;
    Said said;
};

Seen LookAt(RecordedMessage const& message, std::string const& name, vordal::RecordFilter const& filter)
{
    Seen seen;
    if (auto const* const frame = std::get_if<RecordedFrame>(&message.content)) {
        seen.record.emplace(RecordOf(message, *frame, name));
        seen.passes = filter.Passes(*seen.record);
    } else {
        seen.said = SaidBy(message.content);
        seen.passes =
            filter.Passes(name + ' ' + seen.said.what + ' ' + seen.said.line, [&] { return seen.said.words; });
    }
    return seen;
}

} // namespace

std::string HexText(std::span<unsigned char const> bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (auto const byte : bytes) {
        (text += digits[byte >> 4]) += digits[byte & 15];
    }
    return text;
}

std::string Printable(std::string_view text)
{
    auto wide = protocol::DecodeUtf8(text);
    std::replace_if(
        wide.begin(), wide.end(),
        [](wchar_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029; }, L' ');
    return protocol::EncodeUtf8(wide);
}

RecordingText::RecordingText(std::vector<RecordedSonar> const& sonars)
{
    for (auto const& sonar : sonars) {
        m_names[sonar.id] = sonar.name;
    }
}

std::string RecordingText::NameOf(RecordedMessage const& message)
{
    if (message.sonar == nullptr) {
        return "-";
    }
    auto& name = m_names.try_emplace(*message.sonar, *message.sonar).first->second;
    if (auto const* const settings = std::get_if<RecordedSettings>(&message.content)) {
        name = settings->name;
    }
    return name;
}

std::string RecordingText::PlainLine(RecordedMessage const& message)
{
    return PlainLine(message, {});
}

std::string RecordingText::PlainLine(RecordedMessage const& message, vordal::RecordFilter const& filter)
{
    auto const name = NameOf(message);
    auto const seen = LookAt(message, name, filter);
    if (!seen.passes) {
        return {};
    }
    auto const time = IsoTime(message.time);
    auto line = fmt::format("{}  {}  {}", time, seen.record ? seen.record->DirectionText() : seen.said.what, name);
    if (seen.record) {
        line += fmt::format("  {} {}", seen.record->Number(), seen.record->Name());
    }
    auto const& rest = seen.record ? seen.record->Summary() : seen.said.line;
    return Printable(rest.empty() ? line : line + "  " + rest);
}

std::string RecordingText::JsonLine(RecordedMessage const& message)
{
    return JsonLine(message, {});
}

std::string RecordingText::JsonLine(RecordedMessage const& message, vordal::RecordFilter const& filter)
{
    auto const seen = LookAt(message, NameOf(message), filter);
    if (!seen.passes) {
        return {};
    }
    std::vector<JsonValue::Member> members{{"time", JsonValue::Text(IsoTime(message.time))},
                                           {"kind", JsonValue::Text(std::string(message.kind->name))}};
    if (message.sonar != nullptr) {
        members.emplace_back("sonar", JsonValue::Text(*message.sonar));
    }
    if (auto const* const frame = std::get_if<RecordedFrame>(&message.content)) {
        members.emplace_back("number", JsonValue::Unsigned(seen.record->Number()));
        members.emplace_back("record", JsonValue::Text(seen.record->Name()));
        members.emplace_back("fields", JsonValue::Text(seen.record->Summary()));
        members.emplace_back("bytes", JsonValue::Text(HexText(frame->bytes)));
    } else {
        auto content = WriteContent(message.content);
        std::move(content.members.begin(), content.members.end(), std::back_inserter(members));
    }
    return WriteJson(JsonValue::Object(std::move(members)));
}

} // namespace qx5::recording
