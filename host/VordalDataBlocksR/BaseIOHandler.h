// The port that devices are attached to.
#pragma once

#include <VordalBaseR/Export.h>

class BaseDevice;

/// A port. Owned by the host. What a port really is, a caller finds out by a dynamic cast.
class VORDAL_API BaseIOHandler
{
public:
    virtual ~BaseIOHandler();

    /// How many devices are attached.
    virtual int GetDeviceCount() const = 0;
    /// The device at an index, in order of attachment; null beyond the end.
    virtual BaseDevice* GetDevice(int index) const = 0;
};
