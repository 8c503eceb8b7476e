// What a session saw, as text for people.
#include "event_text.h"

#include "cli/record_json.h"
#include "recording/recording_text.h"
#include "json/tree_json.h"

#include <protocol/frame.h>
#include <protocol/print.h>
#include <tvcoreR/Utf8.h>

#include "reference_host/attributes/tree_merge.h"

#include <fmt/format.h>

namespace qx5::cli {

std::string Indented(std::string_view text, std::string_view indent)
{
    std::string indented;
    while (!text.empty()) {
        std::size_t const end = text.find('\n');
        std::string_view const line = text.substr(0, end);
        ((indented += line.empty() ? std::string_view() : indent) += line) += '\n';
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return indented;
}

std::string EventText(SessionEvent const& event, std::string_view indent, bool bytes)
{
    if (event.kind == SessionEvent::Kind::Echoed) {
        std::string const tree = vordal::TreeText(event.tree);
        return fmt::format("{}echoed, flags {}\n{}", indent, event.flags,
                           Indented(tree.empty() ? "(no keys)\n" : tree, std::string(indent) + "  "));
    }
    if (event.kind == SessionEvent::Kind::Asked) {
        std::string asked;
        for (CAttributeMap const& value : event.tree) {
            asked += fmt::format("{}asked for {} = {}\n", indent, tvcore::ToUtf8(CString(value.KeyText())),
                                 value.Value().ToText());
        }
        return asked;
    }
    if (event.kind == SessionEvent::Kind::Shown) {
        return fmt::format("{}{}\n", indent, event.text);
    }
    if (event.kind == SessionEvent::Kind::Dropped) {
        return fmt::format("{}dropped: {}\n", indent, event.text);
    }
    if (event.kind == SessionEvent::Kind::Refused) {
        return fmt::format("{}refused: {}\n", indent, event.text);
    }
    std::string text = fmt::format("{}{}\n", indent, event.kind == SessionEvent::Kind::Sent ? "sent" : "received");
    std::string const deeper = std::string(indent) + "  ";
    if (auto const frame = protocol::ParseFrame(event.frame)) {
        text += Indented(protocol::PrintFrame(*frame), deeper);
    } else {
        text += deeper + "bytes that are no frame\n";
        bytes = true;
    }
    if (bytes) {
        text += protocol::HexDump(event.frame, deeper);
    }
    return text;
}

JsonValue EventJson(SessionEvent const& event)
{
    using Kind = SessionEvent::Kind;
    std::vector<JsonValue::Member> members;
    auto const begin = [&](char const* name) { members.emplace_back("event", JsonValue::Text(std::string(name))); };
    auto const addText = [&] { members.emplace_back("text", JsonValue::Text(event.text)); };
    switch (event.kind) {
    case Kind::Sent:
    case Kind::Received:
        begin(event.kind == Kind::Sent ? "sent" : "received");
        if (auto const frame = protocol::ParseFrame(event.frame)) {
            auto record = RecordMembers(*frame);
            std::move(record.begin(), record.end(), std::back_inserter(members));
        } else {
            members.emplace_back("bytes", JsonValue::Text(recording::HexText(event.frame)));
        }
        break;
    case Kind::Echoed:
        begin("echoed");
        members.emplace_back("flags", JsonValue::Unsigned(event.flags));
        members.emplace_back("tree", WriteTree(event.tree));
        break;
    case Kind::Asked:
        begin("asked");
        members.emplace_back("tree", WriteTree(event.tree));
        break;
    case Kind::Shown:
        begin("shown");
        addText();
        break;
    case Kind::Dropped:
        begin("dropped");
        addText();
        break;
    case Kind::Refused:
        begin("refused");
        addText();
        break;
    }
    return JsonValue::Object(std::move(members));
}

} // namespace qx5::cli
