// Whose a frame of the sonar is, where several devices share its connection.
#include "frame_addressees.h"

#include "reference_host/attributes/host_keys.h"
#include "reference_host/core/port.h"

#include <VordalDataBlocksR/BaseDevice.h>

#include <protocol/numbers.h>

namespace vordal {
namespace {

int NumberOf(BaseDevice const& device, AttributeKey const& key)
{
    int number = 0;
    unsigned flags = 0;
    device.GetAttribValue(key, number, flags);
    return number;
}

} // namespace

qx5::protocol::Target IdentityOf(BaseDevice const& device)
{
    return {NumberOf(device, keys::DeviceId), NumberOf(device, keys::DeviceEnum)};
}

std::vector<BaseDevice*> AddresseesOf(AttachedDevices const& devices, qx5::protocol::Target from)
{
    using qx5::protocol::Low16Bits;

    std::vector<BaseDevice*> all;
    std::vector<BaseDevice*> named;
    std::vector<BaseDevice*> unknown;
    for (int index = 0; auto* const device = devices.At(index); ++index) {
        all.push_back(device);
        auto const identity = IdentityOf(*device);
        if (identity.deviceId == 0) {
            unknown.push_back(device);
        } else if (identity.deviceId == from.deviceId && Low16Bits(identity.enumerator) == Low16Bits(from.enumerator)) {
            named.push_back(device);
        }
    }
    if (all.size() == 1 || from == qx5::protocol::OwnSonar) {
        return all;
    }
    return named.empty() ? unknown : named;
}

} // namespace vordal
