// What a session saw, as text for people.
#include "event_text.h"

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

} // namespace qx5::cli
