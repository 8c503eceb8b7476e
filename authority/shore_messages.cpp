// Messages of vessel and shore made and read.
#include "authority/shore_messages.h"

#include <protocol/bytes.h>
#include <sparkplug/metric_tree.h>
#include <sparkplug/metric_value.h>
#include <sparkplug/payload.h>
#include <sparkplug/shown_text.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>

#include <fmt/format.h>

namespace qx5::authority {

namespace {

using sparkplug::DataType;
using sparkplug::Metric;
using sparkplug::Payload;
using sparkplug::WireValue;

// The names of metrics, each written and read.
constexpr std::string_view senderName = "Request/Sender";
constexpr std::string_view numberName = "Request/Number";
constexpr std::string_view runName = "Request/Run";
constexpr std::string_view sentName = "Request/Sent";
constexpr std::string_view limitName = "Request/Limit";
constexpr std::string_view setPrefix = "Set/";
constexpr std::string_view askName = "Lease/Ask";
constexpr std::string_view secondsName = "Lease/Seconds";
constexpr std::string_view askerName = "Lease/Asker";
constexpr std::string_view lookSenderName = "Look/Sender";
constexpr std::string_view lookNumberName = "Look/Number";
constexpr std::string_view lookDetectionsName = "Look/Detections";
constexpr std::string_view lookFactsName = "Look/Facts";
constexpr std::string_view factsPrefix = "Facts/";
constexpr std::string_view outcomeName = "Result/Outcome";
constexpr std::string_view resultReasonName = "Result/Reason";
constexpr std::string_view askedPrefix = "Asked/";
constexpr std::string_view echoedPrefix = "Echoed/";
constexpr std::string_view hasPrefix = "Has/";
constexpr std::string_view answerName = "Lease/Answer";
constexpr std::string_view leaseReasonName = "Lease/Reason";
constexpr std::string_view outboxName = "Outbox";
constexpr std::string_view upToName = "UpTo";
constexpr std::string_view gapName = "gap";
constexpr std::string_view lastProperty = "last";
constexpr std::string_view sonarName = "Sonar";
constexpr std::string_view personName = "Person";
constexpr std::string_view textName = "Text";
constexpr std::string_view valuePrefix = "Value/";

constexpr std::array<std::string_view, 4> verbTexts{"take", "give-back", "grant", "refuse"};
constexpr std::array<std::string_view, 3> replyTexts{"granted", "waits", "refused"};

constexpr auto headBytes = DetectionsMessage::HeadBytes;
constexpr auto detectionBytes = DetectionsMessage::DetectionBytes;
constexpr std::uint8_t detectionsForm = 1;
constexpr float angleSteps = 100.0F;
constexpr float levelSteps = 10.0F;
constexpr float qualitySteps = 255.0F;

/// A payload that is being made.
class Maker
{
public:
    void Text(std::string_view name, std::string const& text) { Add(name, DataType::String, text); }
    void Whole(std::string_view name, std::uint64_t number) { Add(name, DataType::UInt64, number); }
    void Number(std::string_view name, double number) { Add(name, DataType::Double, number); }
    void Flag(std::string_view name, bool flag) { Add(name, DataType::Boolean, flag); }
    void Stamp(RequestStamp const& stamp)
    {
        Whole(senderName, stamp.sender);
        Whole(numberName, stamp.number);
        Whole(runName, stamp.sent.run);
        Number(sentName, stamp.sent.seconds);
        Number(limitName, stamp.limit);
    }
    void Tree(std::string_view prefix, CAttributeMap const& tree)
    {
        sparkplug::AppendMetrics(tree, prefix, payload.metrics);
    }
    Metric& Add(std::string_view name, DataType type, WireValue value)
    {
        Metric& metric = payload.metrics.emplace_back();
        metric.name = name;
        metric.type = type;
        metric.value = std::move(value);
        return metric;
    }

    Payload payload;
};

/// A payload that is read; what is missing or of another type makes it none.
class Taker
{
public:
    Taker(std::string_view bytes, std::string_view what, std::string& error) : m_what(what), m_error(error)
    {
        std::string why;
        if (auto payload = sparkplug::DecodePayload(bytes, why)) {
            m_payload = std::move(*payload);
        } else {
            Fail(why);
        }
    }

    void Fail(std::string_view why)
    {
        if (m_isGood) {
            m_isGood = false;
            m_error = fmt::format("it is no {}: {}", m_what, why);
        }
    }
    bool IsGood() const { return m_isGood; }
    Payload const& Read() const { return m_payload; }
    Metric const* Find(std::string_view name) const
    {
        auto const found = std::find_if(m_payload.metrics.begin(), m_payload.metrics.end(),
                                        [name](Metric const& metric) { return metric.name == name; });
        return found != m_payload.metrics.end() ? &*found : nullptr;
    }
    bool Has(std::string_view name) const { return Find(name) != nullptr; }

    template <typename Held>
    Held Get(std::string_view name)
    {
        Metric const* const metric = Find(name);
        auto const* const held = metric != nullptr ? std::get_if<Held>(&metric->value) : nullptr;
        if (held == nullptr) {
            Fail(fmt::format("{} is not there", name));
            return {};
        }
        return *held;
    }
    std::uint64_t Whole(std::string_view name)
    {
        // Programs differ in the field that they take for a small number.
        Metric const* const metric = Find(name);
        auto const* const narrow = metric != nullptr ? std::get_if<std::uint32_t>(&metric->value) : nullptr;
        return narrow != nullptr ? *narrow : Get<std::uint64_t>(name);
    }
    RequestStamp Stamp()
    {
        RequestStamp stamp;
        stamp.sender = Whole(senderName);
        stamp.number = Whole(numberName);
        stamp.sent.run = Whole(runName);
        stamp.sent.seconds = Get<double>(sentName);
        stamp.limit = Get<double>(limitName);
        return stamp;
    }
    CAttributeMap Tree(std::string_view prefix)
    {
        CAttributeMap tree;
        for (Metric const& metric : m_payload.metrics) {
            if (metric.name.starts_with(prefix) && !sparkplug::TakeMetric(tree, prefix, metric)) {
                Fail(fmt::format("{} has no value that an attribute has", sparkplug::ShownText(metric.name)));
            }
        }
        return tree;
    }
    /// One of some words.
    template <typename Word, std::size_t count>
    Word OneOf(std::string_view name, std::array<std::string_view, count> const& words)
    {
        auto const text = Get<std::string>(name);
        auto const found = std::find(words.begin(), words.end(), text);
        if (found == words.end()) {
            Fail(fmt::format("{} is \"{}\"", name, sparkplug::ShownText(text)));
            return Word{};
        }
        return static_cast<Word>(found - words.begin());
    }
    template <typename Message>
    std::optional<Message> Give(Message message) const
    {
        return m_isGood ? std::optional<Message>(std::move(message)) : std::nullopt;
    }

private:
    std::string_view m_what;
    std::string& m_error;
    Payload m_payload;
    bool m_isGood = true;
};

void Make(Maker& maker, RequestReply const& reply)
{
    maker.Whole(senderName, reply.sender);
    maker.Whole(numberName, reply.number);
    maker.Text(outcomeName, reply.outcome);
    maker.Text(resultReasonName, reply.reason);
    maker.Tree(askedPrefix, reply.asked);
    maker.Tree(echoedPrefix, reply.echoed);
    maker.Tree(hasPrefix, reply.has);
}

void Make(Maker& maker, LeaseReply const& reply)
{
    maker.Whole(senderName, reply.sender);
    maker.Whole(numberName, reply.number);
    maker.Text(answerName, std::string(ToText(reply.answer)));
    maker.Text(leaseReasonName, reply.reason);
}

void Make(Maker& maker, LookMessage const& look)
{
    maker.Whole(lookSenderName, look.sender);
    maker.Whole(lookNumberName, look.number);
    maker.Flag(lookDetectionsName, look.wantsDetections);
    if (look.wantsFacts) {
        maker.Flag(lookFactsName, true);
        if (look.facts) {
            maker.Tree(factsPrefix, TreeOf(*look.facts));
        }
    }
}

LookMessage TakeLook(Taker& taker)
{
    LookMessage look;
    look.sender = taker.Whole(lookSenderName);
    look.number = taker.Whole(lookNumberName);
    look.wantsDetections = taker.Get<bool>(lookDetectionsName);
    look.wantsFacts = taker.Has(lookFactsName) && taker.Get<bool>(lookFactsName);
    if (auto const facts = taker.Tree(factsPrefix); facts.Count() != 0) {
        look.facts = SonarFactsIn(facts);
    }
    return look;
}

template <typename Number>
Number Rounded(float value, float steps)
{
    if (std::isnan(value)) {
        return 0;
    }
    auto const scaled = std::round(static_cast<double>(value) * static_cast<double>(steps));
    return static_cast<Number>(
        std::clamp<double>(scaled, std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()));
}

/// The kind of that name; nothing for none.
std::optional<outbox::Kind> KindOf(std::string_view name)
{
    for (std::size_t i = 0; i < outbox::KindCount; ++i) {
        if (outbox::ToText(static_cast<outbox::Kind>(i)) == name) {
            return static_cast<outbox::Kind>(i);
        }
    }
    return std::nullopt;
}

std::uint64_t LastOf(Metric const& gap)
{
    for (sparkplug::Property const& property : gap.properties) {
        if (auto const* const number = std::get_if<std::uint64_t>(&property.value);
            property.key == lastProperty && number != nullptr) {
            return *number;
        }
    }
    return 0;
}

} // namespace

std::string_view ToText(LeaseVerb verb)
{
    return verbTexts[static_cast<std::size_t>(verb)];
}

std::string_view ToText(LeaseReplyKind kind)
{
    return replyTexts[static_cast<std::size_t>(kind)];
}

std::optional<std::string> Encode(RequestMessage const& message, std::string& error)
{
    Maker maker;
    maker.Stamp(message.stamp);
    maker.Tree(setPrefix, message.request);
    return sparkplug::EncodePayload(maker.payload, error);
}

std::optional<RequestMessage> DecodeRequest(std::string_view bytes, std::string& error)
{
    Taker taker(bytes, "request", error);
    RequestMessage message;
    message.stamp = taker.Stamp();
    message.request = taker.Tree(setPrefix);
    if (message.request.Count() == 0) {
        taker.Fail("nothing is asked for");
    }
    return taker.Give(std::move(message));
}

std::optional<std::string> Encode(LeaseMessage const& message, std::string& error)
{
    Maker maker;
    maker.Stamp(message.stamp);
    maker.Text(askName, std::string(ToText(message.ask)));
    if (message.ask == LeaseVerb::Take) {
        maker.Number(secondsName, message.seconds);
    } else if (message.ask != LeaseVerb::GiveBack) {
        maker.Text(askerName, message.asker);
    }
    return sparkplug::EncodePayload(maker.payload, error);
}

std::optional<LeaseMessage> DecodeLease(std::string_view bytes, std::string& error)
{
    Taker taker(bytes, "question about a lease", error);
    LeaseMessage message;
    message.stamp = taker.Stamp();
    message.ask = taker.OneOf<LeaseVerb>(askName, verbTexts);
    if (message.ask == LeaseVerb::Take) {
        message.seconds = taker.Get<double>(secondsName);
    } else if (message.ask != LeaseVerb::GiveBack) {
        message.asker = taker.Get<std::string>(askerName);
    }
    return taker.Give(std::move(message));
}

std::optional<std::string> Encode(LookMessage const& message, std::string& error)
{
    return Encode(ShoreReply(message), error);
}

std::optional<LookMessage> DecodeLook(std::string_view bytes, std::string& error)
{
    Taker taker(bytes, "look", error);
    return taker.Give(TakeLook(taker));
}

std::optional<std::string> Encode(ShoreReply const& message, std::string& error)
{
    Maker maker;
    std::visit([&maker](auto const& reply) { Make(maker, reply); }, message);
    return sparkplug::EncodePayload(maker.payload, error);
}

std::optional<ShoreReply> DecodeReply(std::string_view bytes, std::string& error)
{
    Taker taker(bytes, "result", error);
    if (taker.Has(lookNumberName)) {
        return taker.Give(ShoreReply(TakeLook(taker)));
    }
    auto const sender = taker.Whole(senderName);
    auto const number = taker.Whole(numberName);
    if (taker.Has(answerName)) {
        auto const answer = taker.OneOf<LeaseReplyKind>(answerName, replyTexts);
        return taker.Give(ShoreReply(LeaseReply{sender, number, answer, taker.Get<std::string>(leaseReasonName)}));
    }
    RequestReply reply{sender, number, {}, {}, {}, {}, {}};
    reply.outcome = taker.Get<std::string>(outcomeName);
    reply.reason = taker.Get<std::string>(resultReasonName);
    reply.asked = taker.Tree(askedPrefix);
    reply.echoed = taker.Tree(echoedPrefix);
    reply.has = taker.Tree(hasPrefix);
    return taker.Give(ShoreReply(std::move(reply)));
}

std::optional<std::string> Encode(DetectionsMessage const& message, std::string& error)
{
    std::size_t const count = message.beam.size();
    if (count > DetectionsMessage::Greatest || message.angle.size() != count || message.travelTime.size() != count ||
        message.level.size() != count || message.quality.size() != count) {
        error = fmt::format("a ping of {} detections is not told", count);
        return std::nullopt;
    }
    Maker maker;
    auto& bytes = maker.payload.body;
    bytes.resize(headBytes + count * detectionBytes);
    protocol::PutU8(bytes, 0, detectionsForm);
    protocol::PutF64LE(bytes, 1, message.utc);
    protocol::PutI32LE(bytes, 9, message.ping);
    protocol::PutF64LE(bytes, 13, message.soundVelocity);
    for (std::size_t i = 0; i < message.pose.size(); ++i) {
        protocol::PutF64LE(bytes, 21 + 8 * i, message.pose[i]);
    }
    protocol::PutF64LE(bytes, 77, message.steering);
    protocol::PutU32LE(bytes, 85, message.beams);
    protocol::PutU32LE(bytes, 89, static_cast<std::uint32_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t const at = headBytes + i * detectionBytes;
        protocol::PutU16LE(bytes, at, message.beam[i]);
        protocol::PutU16LE(bytes, at + 2,
                           static_cast<std::uint16_t>(Rounded<std::int16_t>(message.angle[i], angleSteps)));
        protocol::PutF32LE(bytes, at + 4, message.travelTime[i]);
        protocol::PutU16LE(bytes, at + 8,
                           static_cast<std::uint16_t>(Rounded<std::int16_t>(message.level[i], levelSteps)));
        protocol::PutU8(bytes, at + 10, Rounded<std::uint8_t>(message.quality[i], qualitySteps));
    }
    return sparkplug::EncodePayload(maker.payload, error);
}

std::optional<DetectionsMessage> DecodeDetections(std::string_view payload, std::string& error)
{
    Taker taker(payload, "message of detections", error);
    auto const& bytes = taker.Read().body;
    if (bytes.size() < headBytes || protocol::GetU8(bytes, 0) != detectionsForm) {
        taker.Fail("it has no body of the form that is known");
        return std::nullopt;
    }
    DetectionsMessage message;
    message.utc = protocol::GetF64LE(bytes, 1);
    message.ping = protocol::GetI32LE(bytes, 9);
    message.soundVelocity = protocol::GetF64LE(bytes, 13);
    for (std::size_t i = 0; i < message.pose.size(); ++i) {
        message.pose[i] = protocol::GetF64LE(bytes, 21 + 8 * i);
    }
    message.steering = protocol::GetF64LE(bytes, 77);
    message.beams = protocol::GetU32LE(bytes, 85);
    std::size_t const count = protocol::GetU32LE(bytes, 89);
    if (count > DetectionsMessage::Greatest || bytes.size() != headBytes + count * detectionBytes) {
        taker.Fail(fmt::format("it has {} bytes and tells of {} detections", bytes.size(), count));
        return std::nullopt;
    }
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t const at = headBytes + i * detectionBytes;
        auto const whole = [&bytes](std::size_t place) {
            return static_cast<float>(static_cast<std::int16_t>(protocol::GetU16LE(bytes, place)));
        };
        message.beam.push_back(protocol::GetU16LE(bytes, at));
        message.angle.push_back(whole(at + 2) / angleSteps);
        message.travelTime.push_back(protocol::GetF32LE(bytes, at + 4));
        message.level.push_back(whole(at + 8) / levelSteps);
        message.quality.push_back(static_cast<float>(protocol::GetU8(bytes, at + 10)) / qualitySteps);
    }
    return taker.Give(std::move(message));
}

std::optional<std::string> Encode(HistoryMessage const& message, std::string& error)
{
    Maker maker;
    maker.Text(outboxName, message.outbox);
    for (outbox::Item const& item : message.items) {
        Metric& metric = maker.Add(item.kind ? outbox::ToText(*item.kind) : gapName, DataType::Bytes,
                                   std::vector<unsigned char>(item.payload.begin(), item.payload.end()));
        metric.alias = item.number;
        if (!item.kind) {
            metric.properties.push_back({std::string(lastProperty), DataType::UInt64, item.last});
        }
    }
    return sparkplug::EncodePayload(maker.payload, error);
}

std::optional<HistoryMessage> DecodeHistory(std::string_view bytes, std::string& error)
{
    Taker taker(bytes, "piece of history", error);
    HistoryMessage message;
    message.outbox = taker.Get<std::string>(outboxName);
    for (Metric const& metric : taker.Read().metrics) {
        auto const kind = KindOf(metric.name);
        if (!kind && metric.name != gapName) {
            continue;
        }
        auto const* const held = std::get_if<std::vector<unsigned char>>(&metric.value);
        if (!metric.alias || held == nullptr) {
            taker.Fail("an entry has no number or no bytes");
            continue;
        }
        outbox::Item& item = message.items.emplace_back();
        item.number = *metric.alias;
        item.last = kind ? item.number : LastOf(metric);
        item.kind = kind;
        item.payload.assign(held->begin(), held->end());
    }
    return taker.Give(std::move(message));
}

std::optional<std::string> Encode(AcknowledgementMessage const& message, std::string& error)
{
    Maker maker;
    maker.Text(outboxName, message.outbox);
    maker.Whole(upToName, message.upTo);
    return sparkplug::EncodePayload(maker.payload, error);
}

std::optional<AcknowledgementMessage> DecodeAcknowledgement(std::string_view bytes, std::string& error)
{
    Taker taker(bytes, "acknowledgement", error);
    return taker.Give(AcknowledgementMessage{taker.Get<std::string>(outboxName), taker.Whole(upToName)});
}

std::optional<std::string> Encode(HistoryContent const& message, std::string& error)
{
    Maker maker;
    if (auto const* const values = std::get_if<HistoryValues>(&message)) {
        maker.Text(sonarName, values->sonar);
        for (HistoryValue const& value : values->values) {
            auto const kind = sparkplug::KindOfValue(value.value);
            Metric& metric = maker.Add(std::string(valuePrefix) + value.name, sparkplug::DataTypeOf(kind),
                                       sparkplug::WireOf(value.value));
            metric.timestamp = value.utc;
            metric.isHistorical = true;
            if (auto const text = sparkplug::KindText(kind); !text.empty()) {
                metric.properties.push_back(
                    {std::string(sparkplug::KindProperty), DataType::String, std::string(text)});
            }
        }
    } else {
        auto const& text = std::get<HistoryText>(message);
        maker.Text(sonarName, text.sonar);
        maker.Text(personName, text.person);
        maker.Text(textName, text.text);
    }
    return sparkplug::EncodePayload(maker.payload, error);
}

std::optional<HistoryContent> DecodeHistoryContent(std::string_view bytes, std::string& error)
{
    Taker taker(bytes, "entry of an outbox", error);
    auto sonar = taker.Get<std::string>(sonarName);
    if (taker.Has(textName)) {
        return taker.Give(HistoryContent(
            HistoryText{std::move(sonar), taker.Get<std::string>(personName), taker.Get<std::string>(textName)}));
    }
    HistoryValues values{std::move(sonar), {}};
    for (Metric const& metric : taker.Read().metrics) {
        if (!metric.name.starts_with(valuePrefix)) {
            continue;
        }
        auto const value = sparkplug::ValueOfWire(metric.value, metric.type, sparkplug::KindTextOf(metric.properties));
        if (!value || !metric.timestamp) {
            taker.Fail(fmt::format("{} has no value or no time", sparkplug::ShownText(metric.name)));
            continue;
        }
        values.values.push_back({metric.name.substr(valuePrefix.size()), *value, *metric.timestamp});
    }
    return taker.Give(HistoryContent(std::move(values)));
}

} // namespace qx5::authority
