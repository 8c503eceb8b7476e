// Whose a frame of the sonar is, where several devices share its connection.
#pragma once

#include <vector>

#include <protocol/frame.h>

class BaseDevice;

namespace vordal {

class AttachedDevices;

/// "DeviceId" and "DeviceEnum" of the device's tree; a device id of 0: it does not know who it is. Host thread.
qx5::protocol::Target IdentityOf(BaseDevice const& device);

/// The devices on the port that a frame with this device id and enumerator is for, in order of attachment:
/// - a sole device: it has the connection to itself;
/// - all, when the frame names no unit (0 and -1): it is of the sonar as a whole;
/// - those whose tree has the frame's numbers as "DeviceId" and "DeviceEnum" (0 when it has none of these);
/// - when there are none, those that do not know who they are: without a "DeviceId", or with 0.
/// Empty, when every device knows that it is another. Host thread.
std::vector<BaseDevice*> AddresseesOf(AttachedDevices const& devices, qx5::protocol::Target from);

} // namespace vordal
