// The attribute keys that the host itself reads or writes.
#pragma once

#include <VordalAttributesR/AttributeKey.h>
#include <protocol/records/shared_keys.h>
#include <protocol/settings_keys.h>

namespace vordal::keys {

/// The branch of a tree that holds a request for a device.
inline constexpr AttributeKey Request{qx5::protocol::keys::Request.text};

inline constexpr AttributeKey DeviceId{qx5::protocol::keys::DeviceId.text};
inline constexpr AttributeKey DeviceEnum{qx5::protocol::keys::DeviceEnum.text};
inline constexpr AttributeKey SonarSettings{qx5::protocol::keys::x5SonarSettings.text};
inline constexpr AttributeKey PulseType{qx5::protocol::keys::x5PulseType.text};
inline constexpr AttributeKey BeamModes{qx5::protocol::keys::x5BeamModes.text};
inline constexpr AttributeKey PulseLengthSet{qx5::protocol::keys::x5PulseLengthSet.text};
inline constexpr AttributeKey PulseLengthValues{qx5::protocol::keys::x5PulseLengthValues.text};

} // namespace vordal::keys
