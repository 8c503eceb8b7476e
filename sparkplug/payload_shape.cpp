// Walks the fields of a payload without keeping any.
#include "sparkplug/payload_shape.h"

#include <cstdint>
#include <optional>

namespace qx5::sparkplug {

namespace {

// What a message of each kind holds that is walked into, by field number.
constexpr std::uint64_t metricsOfPayload = 2;
constexpr std::uint64_t propertiesOfMetric = 9;
constexpr std::uint64_t keysOfProperties = 1;
constexpr std::uint64_t valuesOfProperties = 2;

enum class Level
{
    Payload,
    Metric,
    Properties,
};

std::optional<std::uint64_t> TakeNumber(std::string_view& bytes)
{
    std::uint64_t number = 0;
    for (unsigned shift = 0; shift < 70; shift += 7) {
        if (bytes.empty()) {
            return std::nullopt;
        }
        auto const byte = static_cast<unsigned char>(bytes.front());
        bytes.remove_prefix(1);
        if (shift < 64) {
            number |= std::uint64_t{byte & 0x7FU} << shift;
        }
        if ((byte & 0x80U) == 0) {
            return number;
        }
    }
    return std::nullopt;
}

/// Where the content of the next field stands; nothing when the bytes end too early or it is a group.
struct FieldAt
{
    std::uint64_t number = 0;
    bool isMessage = false; ///< or a text, or bytes
    std::string_view content;
};

std::optional<FieldAt> TakeField(std::string_view& bytes)
{
    auto const tag = TakeNumber(bytes);
    if (!tag) {
        return std::nullopt;
    }
    FieldAt field{*tag >> 3, false, {}};
    std::uint64_t size = 0;
    switch (*tag & 7U) {
    case 0:
        return TakeNumber(bytes) ? std::optional(field) : std::nullopt;
    case 1:
        size = 8;
        break;
    case 2: {
        auto const told = TakeNumber(bytes);
        if (!told) {
            return std::nullopt;
        }
        size = *told;
        field.isMessage = true;
        break;
    }
    case 5:
        size = 4;
        break;
    default:
        return std::nullopt;
    }
    if (size > bytes.size()) {
        return std::nullopt;
    }
    field.content = bytes.substr(0, size);
    bytes.remove_prefix(size);
    return field;
}

/// False when the bytes are not whole. Goes no deeper than three levels.
bool Count(std::string_view bytes, Level level, std::size_t limit, std::size_t& items)
{
    while (!bytes.empty() && items <= limit) {
        auto const field = TakeField(bytes);
        if (!field) {
            return false;
        }
        if (!field->isMessage) {
            continue;
        }
        if (level == Level::Payload && field->number == metricsOfPayload) {
            ++items;
            if (!Count(field->content, Level::Metric, limit, items)) {
                return false;
            }
        } else if (level == Level::Metric && field->number == propertiesOfMetric) {
            if (!Count(field->content, Level::Properties, limit, items)) {
                return false;
            }
        } else if (level == Level::Properties &&
                   (field->number == keysOfProperties || field->number == valuesOfProperties)) {
            ++items;
        }
    }
    return true;
}

} // namespace

PayloadShape ShapeOf(std::string_view bytes, std::size_t limit)
{
    PayloadShape shape;
    shape.isWhole = Count(bytes, Level::Payload, limit, shape.items);
    return shape;
}

} // namespace qx5::sparkplug
