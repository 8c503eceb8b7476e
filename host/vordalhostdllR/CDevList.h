// The host's list of device classes by name.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

class BaseDevice;

/// Makes devices of one class. Owned by the list once it is registered.
class VORDAL_API DevICreator
{
public:
    /// A new device, which the caller owns; null when there was no memory for it.
    virtual BaseDevice* MakeDevice() = 0;
    virtual ~DevICreator();
};

/// The creator of devices of class T.
template <typename T>
class DevCreator : public DevICreator
{
public:
    BaseDevice* MakeDevice() override { return new T; }
};

/// The list. Host thread.
class VORDAL_API CDevList
{
public:
    /// The host's one list.
    static CDevList& GetDevList();

    /// Takes ownership of the creator. A name that is there already keeps its creator: the new one is deleted and
    /// the answer is false.
    bool RegisterDev(CString const& name, DevICreator* creator);
    /// Deletes the creator; false when there is none of that name.
    bool UnRegisterDev(CString const& name);
    /// A new device of the named class, which the caller owns; null when the class is not there.
    BaseDevice* MakeDevice(CString const& name);

private:
    CDevList() = default;
    friend struct CDevListAccess;
};
