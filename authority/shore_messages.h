// What a vessel and the people ashore say to one another beside births and data, as plain structs and as payloads.
//
// Each is a Sparkplug payload (topics: shore_topics.h). Metrics that a reader does not know are passed over; a kind of
// message that changes otherwise takes another topic.
#pragma once

#include "authority/shore_facts.h"
#include "authority/vessel_time.h"
#include "outbox/entry.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/value.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qx5::authority {

/// "Request/Sender", "Number", "Run", "Sent", "Limit", and one metric for each attribute asked for, by its path below
/// "Set/".
struct RequestMessage
{
    RequestStamp stamp;
    CAttributeMap request; ///< what the sonar is asked for; not empty
};

enum class LeaseVerb : std::uint8_t
{
    Take,
    GiveBack,
    Grant, ///< by the holder, to the asker
    Refuse,
};
/// "take", "give-back", "grant", "refuse".
std::string_view ToText(LeaseVerb verb);

/// The stamp as above, "Lease/Ask", and "Lease/Seconds" of Take, "Lease/Asker" of Grant and Refuse.
struct LeaseMessage
{
    RequestStamp stamp;
    LeaseVerb ask = LeaseVerb::Take;
    double seconds = 0.0;
    std::string asker;

    bool operator==(LeaseMessage const&) const = default;
};

/// Said every 5 s while somebody looks at a sonar, and answered with the same two numbers: "Look/Sender", "Number",
/// "Detections". Where "Look/Facts" says so the answer has what shore_facts.h tells of the sonar, below "Facts/".
struct LookMessage
{
    std::uint64_t sender = 0;
    std::uint64_t number = 0;
    bool wantsDetections = false;
    bool wantsFacts = false;
    std::optional<SonarFacts> facts = {}; ///< of the answer

    bool operator==(LookMessage const&) const = default;
};

/// What came of a request, by the numbers of its stamp. "Result/Outcome", "Result/Reason", and for each value
/// "Asked/PATH", "Echoed/PATH", "Has/PATH".
struct RequestReply
{
    std::uint64_t sender = 0;
    std::uint64_t number = 0;
    std::string outcome; ///< "agrees", "refused" ...: operation::ToText(Result)
    std::string reason;  ///< in one line, where there is one
    CAttributeMap asked;
    CAttributeMap echoed; ///< by the plug-in
    CAttributeMap has;    ///< what the sonar then had of it, as far as it has told
};

enum class LeaseReplyKind : std::uint8_t
{
    Granted, ///< or, of other than Take: done
    Waits,   ///< for the holder; another reply follows
    Refused,
};
/// "granted", "waits", "refused".
std::string_view ToText(LeaseReplyKind kind);

/// "Lease/Answer", "Lease/Reason".
struct LeaseReply
{
    std::uint64_t sender = 0;
    std::uint64_t number = 0;
    LeaseReplyKind answer = LeaseReplyKind::Refused;
    std::string reason; ///< of a refusal, in one line

    bool operator==(LeaseReply const&) const = default;
};

/// All that comes on a topic of results.
using ShoreReply = std::variant<RequestReply, LeaseReply, LookMessage>;

/// The detections of one ping as SonarEchoItems.h tells them; arrays are equally long. In the payload's body, in
/// HeadBytes and DetectionBytes for each detection: angles are rounded to 0.01 degrees, levels to 0.1 dB, qualities to
/// 1/255, nothing else is.
struct DetectionsMessage
{
    static constexpr std::size_t Greatest = 65'536; ///< detections; beyond it a message is refused
    static constexpr std::size_t HeadBytes = 93;
    static constexpr std::size_t DetectionBytes = 11;

    double utc = 0.0; ///< s, of transmission
    std::int32_t ping = 0;
    double soundVelocity = 0.0;   ///< m/s
    std::array<double, 7> pose{}; ///< as ECHO_POSE
    double steering = 0.0;        ///< degrees
    std::uint32_t beams = 0;
    std::vector<std::uint16_t> beam;
    std::vector<float> angle;      ///< degrees
    std::vector<float> travelTime; ///< s
    std::vector<float> level;      ///< dB
    std::vector<float> quality;    ///< 0 to 1

    bool operator==(DetectionsMessage const&) const = default;
};

/// "Outbox", its identity, and a metric for each entry, called by its kind, with its number as alias; a gap is one
/// called "gap" with its first and last number.
struct HistoryMessage
{
    std::string outbox;
    std::vector<outbox::Item> items;

    bool operator==(HistoryMessage const&) const = default;
};

/// "Outbox" and "UpTo": all up to there is ashore.
struct AcknowledgementMessage
{
    std::string outbox;
    std::uint64_t upTo = 0;

    bool operator==(AcknowledgementMessage const&) const = default;
};

/// What an entry of the outbox says of the kind Value: values with their times. "Sonar", and a metric for each.
struct HistoryValue
{
    std::string name; ///< of the metric
    protocol::Value value;
    std::uint64_t utc = 0; ///< milliseconds since 1970

    bool operator==(HistoryValue const&) const = default;
};
struct HistoryValues
{
    std::string sonar;
    std::vector<HistoryValue> values;

    bool operator==(HistoryValues const&) const = default;
};
/// What one of another kind says: "Sonar", "Person", "Text".
struct HistoryText
{
    std::string sonar;  ///< empty: the vessel itself
    std::string person; ///< empty: nobody in particular
    std::string text;   ///< an object of JSON, as `qx5 log --json` prints actions

    bool operator==(HistoryText const&) const = default;
};
using HistoryContent = std::variant<HistoryValues, HistoryText>;

// The payload; nothing, and one line in `error`, when it is beyond the limits of payloads. Any thread.
std::optional<std::string> Encode(RequestMessage const& message, std::string& error);
std::optional<std::string> Encode(LeaseMessage const& message, std::string& error);
std::optional<std::string> Encode(LookMessage const& message, std::string& error);
std::optional<std::string> Encode(ShoreReply const& message, std::string& error);
std::optional<std::string> Encode(DetectionsMessage const& message, std::string& error);
std::optional<std::string> Encode(HistoryMessage const& message, std::string& error);
std::optional<std::string> Encode(AcknowledgementMessage const& message, std::string& error);
std::optional<std::string> Encode(HistoryContent const& message, std::string& error);

// Take any bytes. Nothing, and one line in `error`, when they are none. Whether a stamp is in time is for RequestBook.
std::optional<RequestMessage> DecodeRequest(std::string_view bytes, std::string& error);
std::optional<LeaseMessage> DecodeLease(std::string_view bytes, std::string& error);
std::optional<LookMessage> DecodeLook(std::string_view bytes, std::string& error);
std::optional<ShoreReply> DecodeReply(std::string_view bytes, std::string& error);
std::optional<DetectionsMessage> DecodeDetections(std::string_view bytes, std::string& error);
std::optional<HistoryMessage> DecodeHistory(std::string_view bytes, std::string& error);
std::optional<AcknowledgementMessage> DecodeAcknowledgement(std::string_view bytes, std::string& error);
std::optional<HistoryContent> DecodeHistoryContent(std::string_view bytes, std::string& error);

} // namespace qx5::authority
