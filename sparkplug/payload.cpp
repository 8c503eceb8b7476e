// Payloads by way of the code that is made of sparkplug_payload.proto; nothing else includes that.
#include "sparkplug/payload.h"

#include "sparkplug/payload_shape.h"

#include <protocol/utf8.h>

#include "sparkplug_payload.pb.h"

#include <google/protobuf/arena.h>

#include <fmt/format.h>

#include <type_traits>
#include <utility>

namespace qx5::sparkplug {

namespace {

/// Writes a value into a metric or a property's value, which name their fields alike.
template <typename Message>
struct ValueWriter
{
    Message& message;

    void operator()(std::monostate) const { message.set_is_null(true); }
    void operator()(std::uint32_t number) const { message.set_int_value(number); }
    void operator()(std::uint64_t number) const { message.set_long_value(number); }
    void operator()(float number) const { message.set_float_value(number); }
    void operator()(double number) const { message.set_double_value(number); }
    void operator()(bool flag) const { message.set_boolean_value(flag); }
    void operator()(std::string const& text) const { message.set_string_value(text); }
    void operator()(std::vector<unsigned char> const& bytes) const
    {
        if constexpr (std::is_same_v<Message, wire::Metric>) {
            message.set_bytes_value(bytes.data(), bytes.size());
        } else {
            message.set_is_null(true);
        }
    }
    void operator()(ForeignValue) const { message.set_is_null(true); }
};

template <typename Message>
WireValue ValueFrom(Message const& message)
{
    if (message.is_null()) {
        return std::monostate();
    }
    switch (message.value_case()) {
    case Message::kIntValue:
        return message.int_value();
    case Message::kLongValue:
        return message.long_value();
    case Message::kFloatValue:
        return message.float_value();
    case Message::kDoubleValue:
        return message.double_value();
    case Message::kBooleanValue:
        return message.boolean_value();
    case Message::kStringValue:
        return message.string_value();
    case Message::VALUE_NOT_SET:
        return std::monostate();
    default:
        break;
    }
    if constexpr (std::is_same_v<Message, wire::Metric>) {
        if (message.value_case() == Message::kBytesValue) {
            std::string const& bytes = message.bytes_value();
            return std::vector<unsigned char>(bytes.begin(), bytes.end());
        }
    }
    return ForeignValue();
}

void Write(Metric const& metric, wire::Metric& written)
{
    if (!metric.name.empty()) {
        written.set_name(metric.name);
    }
    if (metric.alias) {
        written.set_alias(*metric.alias);
    }
    if (metric.timestamp) {
        written.set_timestamp(*metric.timestamp);
    }
    if (metric.type != DataType::Unknown) {
        written.set_datatype(static_cast<std::uint32_t>(metric.type));
    }
    if (metric.isHistorical) {
        written.set_is_historical(true);
    }
    if (metric.isTransient) {
        written.set_is_transient(true);
    }
    std::visit(ValueWriter<wire::Metric>{written}, metric.value);
    if (!metric.properties.empty()) {
        auto& set = *written.mutable_properties();
        for (Property const& property : metric.properties) {
            set.add_keys(property.key);
            auto& value = *set.add_values();
            value.set_type(static_cast<std::uint32_t>(property.type));
            std::visit(ValueWriter<wire::PropertyValue>{value}, property.value);
        }
    }
}

bool IsUtf8(std::string const& text)
{
    return protocol::FindInvalidUtf8(text) == text.size();
}

/// False, and one line in `error`, when the metric is none.
bool Read(wire::Metric const& read, std::size_t number, Metric& metric, std::string& error)
{
    if (!IsUtf8(read.name())) {
        error = fmt::format("metric {} of the payload has a name that is no UTF-8", number);
        return false;
    }
    metric.name = read.name();
    if (read.has_alias()) {
        metric.alias = read.alias();
    }
    if (read.has_timestamp()) {
        metric.timestamp = read.timestamp();
    }
    metric.type = static_cast<DataType>(read.datatype());
    metric.isHistorical = read.is_historical();
    metric.isTransient = read.is_transient();
    metric.value = ValueFrom(read);
    if (read.has_properties()) {
        auto const& set = read.properties();
        if (set.keys_size() != set.values_size()) {
            error = fmt::format("metric {} of the payload has {} keys of properties and {} values", number,
                                set.keys_size(), set.values_size());
            return false;
        }
        metric.properties.reserve(static_cast<std::size_t>(set.keys_size()));
        for (int i = 0; i < set.keys_size(); ++i) {
            if (!IsUtf8(set.keys(i))) {
                error = fmt::format("metric {} of the payload has a property whose key is no UTF-8", number);
                return false;
            }
            auto const& value = set.values(i);
            metric.properties.push_back({set.keys(i), static_cast<DataType>(value.type()), ValueFrom(value)});
        }
    }
    return true;
}

std::string TooLong(std::size_t bytes)
{
    return fmt::format("a payload of {} bytes is refused; it may have {}", bytes, PayloadLimit);
}

std::string TooManyItems()
{
    return fmt::format("a payload of more than {} metrics and properties is refused", ItemLimit);
}

} // namespace

std::optional<std::string> EncodePayload(Payload const& payload, std::string& error)
{
    std::size_t items = payload.metrics.size();
    for (Metric const& metric : payload.metrics) {
        items += 2 * metric.properties.size();
    }
    if (items > ItemLimit) {
        error = TooManyItems();
        return std::nullopt;
    }
    google::protobuf::Arena arena;
    auto& written = *google::protobuf::Arena::CreateMessage<wire::Payload>(&arena);
    if (payload.timestamp) {
        written.set_timestamp(*payload.timestamp);
    }
    written.mutable_metrics()->Reserve(static_cast<int>(payload.metrics.size()));
    for (Metric const& metric : payload.metrics) {
        Write(metric, *written.add_metrics());
    }
    if (payload.seq) {
        written.set_seq(*payload.seq);
    }
    if (!payload.uuid.empty()) {
        written.set_uuid(payload.uuid);
    }
    if (!payload.body.empty()) {
        written.set_body(payload.body.data(), payload.body.size());
    }
    auto const size = written.ByteSizeLong();
    if (size > PayloadLimit) {
        error = TooLong(size);
        return std::nullopt;
    }
    std::string bytes;
    written.AppendToString(&bytes);
    return bytes;
}

std::optional<Payload> DecodePayload(std::string_view bytes, std::string& error)
{
    if (bytes.size() > PayloadLimit) {
        error = TooLong(bytes.size());
        return std::nullopt;
    }
    auto const shape = ShapeOf(bytes, ItemLimit);
    if (shape.items > ItemLimit) {
        error = TooManyItems();
        return std::nullopt;
    }
    google::protobuf::Arena arena;
    auto& read = *google::protobuf::Arena::CreateMessage<wire::Payload>(&arena);
    if (!shape.isWhole || !read.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) {
        error = fmt::format("{} bytes are no Sparkplug payload", bytes.size());
        return std::nullopt;
    }
    Payload payload;
    if (read.has_timestamp()) {
        payload.timestamp = read.timestamp();
    }
    if (read.has_seq()) {
        payload.seq = read.seq();
    }
    payload.uuid = read.uuid();
    payload.body.assign(read.body().begin(), read.body().end());
    payload.metrics.resize(static_cast<std::size_t>(read.metrics_size()));
    for (std::size_t i = 0; i < payload.metrics.size(); ++i) {
        if (!Read(read.metrics(static_cast<int>(i)), i + 1, payload.metrics[i], error)) {
            return std::nullopt;
        }
    }
    return payload;
}

} // namespace qx5::sparkplug
