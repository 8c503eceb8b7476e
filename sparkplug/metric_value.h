// Values of attributes as values of metrics, and back.
#pragma once

#include "sparkplug/payload.h"

#include <protocol/value.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace qx5::sparkplug {

/// The property that names the kind of an attribute where its data type is that of several kinds.
inline constexpr std::string_view KindProperty = "kind";
inline constexpr std::string_view UnitProperty = "engUnit";
inline constexpr std::string_view LowProperty = "engLow";
inline constexpr std::string_view HighProperty = "engHigh";
inline constexpr std::string_view FlagsProperty = "flags";

/// String for the kinds Branch and Any: an attribute without a value is a null text.
DataType DataTypeOf(protocol::Kind kind);
/// What KindProperty says of that kind; empty where the data type alone tells it.
std::string_view KindText(protocol::Kind kind);
/// What KindProperty says among these; empty where it is not there. Valid as long as they are.
std::string_view KindTextOf(std::vector<Property> const& properties);
/// The flags that FlagsProperty tells among these; nothing where it is not there.
std::optional<std::uint32_t> FlagsIn(std::vector<Property> const& properties);
/// The kind of a value, Branch for none.
protocol::Kind KindOfValue(protocol::Value const& value);

/// None becomes null. What is no character in a text becomes U+FFFD.
WireValue WireOf(protocol::Value const& value);

/// The value of a metric of that type, whose KindProperty says `kindText` (empty where it has none): of the kind that
/// it came from, for types of others of the one that holds all their values. Null gives the empty value; nothing when
/// the value is none of that type, or of a type that no attribute has.
std::optional<protocol::Value> ValueOfWire(WireValue const& value, DataType type, std::string_view kindText);

} // namespace qx5::sparkplug
