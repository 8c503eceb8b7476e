// The topics of Sparkplug: who speaks about what, made and taken apart.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace qx5::sparkplug {

enum class MessageKind
{
    NodeBirth,
    NodeData,
    NodeDeath,
    NodeCommand,
    DeviceBirth,
    DeviceData,
    DeviceDeath,
    DeviceCommand,
    HostState, ///< of a program ashore
};

/// The first level of all topics.
inline constexpr std::string_view TopicNamespace = "spBv1.0";

/// What the third level of a topic says: "NBIRTH". Empty for the state of a host, whose topics have none.
std::string_view NameOf(MessageKind kind);
/// Whether it is of a device and not of the edge node itself.
bool IsOfDevice(MessageKind kind);

/// An edge node is a vessel, a device is a sonar aboard.
struct Topic
{
    MessageKind kind = MessageKind::NodeBirth;
    std::string group;  ///< empty for the state of a host
    std::string node;   ///< empty for the state of a host
    std::string device; ///< empty but for kinds of a device
    std::string host;   ///< empty but for the state of a host

    friend bool operator==(Topic const&, Topic const&) = default;
};

/// The bytes of a name.
inline constexpr std::size_t NameLimit = 256;

/// Why that cannot be the name of a group, a vessel, a sonar or a person, in one line that begins with `what`; empty
/// when it can: not empty, valid UTF-8 without / + # and control characters, at most NameLimit bytes.
std::string WhyNoName(std::string_view what, std::string_view name);

/// "spBv1.0/GROUP/NBIRTH/NODE" and so on. The names must be such as WhyNoName has nothing against.
std::string TopicText(Topic const& topic);

/// Nothing, and one line in `error`, when it is no topic of Sparkplug B, or one with a name that is none.
std::optional<Topic> ParseTopic(std::string_view text, std::string& error);

/// What a program ashore subscribes to: all that the nodes of the group and their devices tell.
std::string GroupFilter(std::string_view group);
/// What an edge node subscribes to: commands to itself and to its devices.
std::string NodeCommandFilter(std::string_view group, std::string_view node);
std::string DeviceCommandFilter(std::string_view group, std::string_view node);
/// The topic of a host's state.
std::string HostStateTopic(std::string_view host);

} // namespace qx5::sparkplug
