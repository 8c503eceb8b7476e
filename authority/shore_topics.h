// The topics on which a vessel and the people ashore speak beside those of Sparkplug: made and taken apart.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::authority {

/// What is said there. Of Request, Lease, Look and Acknowledgement the last level is who says it, of Result who is to
/// hear it: the broker lets everybody write in his own name alone, so that a vessel knows who asks.
enum class ShoreSubject : std::uint8_t
{
    Request,         ///< qx5/GROUP/VESSEL/SONAR/request/PERSON: a sonar is asked for values
    Lease,           ///< qx5/GROUP/VESSEL/SONAR/lease/PERSON: its lease is asked for, given back, granted, refused
    Look,            ///< qx5/GROUP/VESSEL/SONAR/look/PERSON: somebody looks at it
    Result,          ///< qx5/GROUP/VESSEL/SONAR/result/PERSON: what came of these three
    Detections,      ///< qx5/GROUP/VESSEL/SONAR/detections: those of one ping
    History,         ///< qx5/GROUP/VESSEL/history: pieces of the vessel's outbox
    Acknowledgement, ///< qx5/GROUP/VESSEL/ack/PERSON: up to where the outbox is ashore
};

/// Names are such as sparkplug::WhyNoName has nothing against, and a sonar is not called as OutboxLevel is; in a filter
/// a name may be "+", for any.
struct ShoreTopic
{
    ShoreSubject subject = ShoreSubject::Request;
    std::string group;
    std::string vessel;
    std::string sonar;  ///< empty for History and Acknowledgement
    std::string person; ///< empty for Detections and History

    friend bool operator==(ShoreTopic const&, ShoreTopic const&) = default;
};

/// Stands where the name of a sonar would, in acknowledgements.
inline constexpr std::string_view OutboxLevel = "ack";

std::string TopicText(ShoreTopic const& topic);
/// Takes any text. Nothing, and one line in `error`, when it is none of these.
std::optional<ShoreTopic> ParseShoreTopic(std::string_view text, std::string& error);

/// What a vessel subscribes to, and what a person ashore does. QoS 1 is that of all but Detections, retained is none.
std::vector<std::string> ShoreFiltersOfVessel(std::string const& group, std::string const& vessel);
std::vector<std::string> ShoreFiltersOfPerson(std::string const& group, std::string const& person);

} // namespace qx5::authority
