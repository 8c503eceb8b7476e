// Topics made and taken apart; what a name may hold is decided here alone.
#include "sparkplug/topic.h"

#include "sparkplug/shown_text.h"

#include <protocol/utf8.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace qx5::sparkplug {

namespace {

constexpr std::string_view stateLevel = "STATE";

/// In the order of the kinds.
constexpr std::array<std::string_view, 8> kindNames{"NBIRTH", "NDATA", "NDEATH", "NCMD",
                                                    "DBIRTH", "DDATA", "DDEATH", "DCMD"};

std::vector<std::string_view> LevelsOf(std::string_view text)
{
    std::vector<std::string_view> levels;
    // One more than any topic has tells that it is none.
    while (levels.size() < 6) {
        auto const end = text.find('/');
        levels.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + 1);
    }
    return levels;
}

} // namespace

std::string_view NameOf(MessageKind kind)
{
    auto const number = static_cast<std::size_t>(kind);
    return number < kindNames.size() ? kindNames[number] : std::string_view();
}

bool IsOfDevice(MessageKind kind)
{
    return kind >= MessageKind::DeviceBirth && kind <= MessageKind::DeviceCommand;
}

std::string WhyNoName(std::string_view what, std::string_view name)
{
    if (name.empty()) {
        return fmt::format("the name of the {} is empty", what);
    }
    if (name.size() > NameLimit) {
        return fmt::format("the name of the {} has {} bytes; it may have {}", what, name.size(), NameLimit);
    }
    if (protocol::FindInvalidUtf8(name) != name.size()) {
        return fmt::format("the name of the {} is no UTF-8", what);
    }
    auto const bad = name.find_first_of("/+#");
    if (bad != std::string_view::npos) {
        return fmt::format("the name of the {}, {}, has a {} in it, which topics keep for themselves", what,
                           ShownText(name), name[bad]);
    }
    if (std::any_of(name.begin(), name.end(),
                    [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; })) {
        return fmt::format("the name of the {}, {}, has a control character in it", what, ShownText(name));
    }
    return {};
}

std::string TopicText(Topic const& topic)
{
    if (topic.kind == MessageKind::HostState) {
        return HostStateTopic(topic.host);
    }
    auto text = fmt::format("{}/{}/{}/{}", TopicNamespace, topic.group, NameOf(topic.kind), topic.node);
    if (IsOfDevice(topic.kind)) {
        text += '/';
        text += topic.device;
    }
    return text;
}

std::optional<Topic> ParseTopic(std::string_view text, std::string& error)
{
    auto const levels = LevelsOf(text);
    auto const refuse = [&](std::string_view why) {
        error = fmt::format("{} is no topic of Sparkplug B: {}", ShownText(text), why);
        return std::nullopt;
    };
    if (levels[0] != TopicNamespace) {
        return refuse(fmt::format("it does not begin with {}", TopicNamespace));
    }
    Topic topic;
    std::vector<std::pair<std::string_view, std::string_view>> names;
    if (levels.size() == 3 && levels[1] == stateLevel) {
        topic.kind = MessageKind::HostState;
        topic.host = levels[2];
        names = {{"host", levels[2]}};
    } else {
        if (levels.size() < 4) {
            return refuse("it is too short");
        }
        auto const found = std::find(kindNames.begin(), kindNames.end(), levels[2]);
        if (found == kindNames.end()) {
            return refuse("its third level is no kind of message");
        }
        topic.kind = static_cast<MessageKind>(found - kindNames.begin());
        if (levels.size() != (IsOfDevice(topic.kind) ? 5U : 4U)) {
            return refuse(IsOfDevice(topic.kind) ? "such a message names one device behind its node"
                                                 : "such a message names a node and nothing behind it");
        }
        topic.group = levels[1];
        topic.node = levels[3];
        names = {{"group", levels[1]}, {"vessel", levels[3]}};
        if (levels.size() == 5) {
            topic.device = levels[4];
            names.emplace_back("sonar", levels[4]);
        }
    }
    for (auto const& [what, name] : names) {
        auto const why = WhyNoName(what, name);
        if (!why.empty()) {
            return refuse(why);
        }
    }
    return topic;
}

std::string GroupFilter(std::string_view group)
{
    return fmt::format("{}/{}/#", TopicNamespace, group);
}

std::string NodeCommandFilter(std::string_view group, std::string_view node)
{
    return fmt::format("{}/{}/{}/{}", TopicNamespace, group, NameOf(MessageKind::NodeCommand), node);
}

std::string DeviceCommandFilter(std::string_view group, std::string_view node)
{
    return fmt::format("{}/{}/{}/{}/+", TopicNamespace, group, NameOf(MessageKind::DeviceCommand), node);
}

std::string HostStateTopic(std::string_view host)
{
    return fmt::format("{}/{}/{}", TopicNamespace, stateLevel, host);
}

} // namespace qx5::sparkplug
