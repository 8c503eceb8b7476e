// The smallest plug-in: it registers one device class and writes down, in order, what the host calls.
#include <VersionControlR/CheckDllVersion.h>
#include <VordalBaseR/Export.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/Device.h>

#include <string>

class CVordalBaseApp;

#ifndef PLUGIN_VERSION
#define PLUGIN_VERSION VORDAL_CONTRACT_VERSION
#endif
#ifndef PLUGIN_DEVICE
#define PLUGIN_DEVICE L"SmallDevice"
#endif

namespace {

std::string& Calls()
{
    static std::string calls;
    return calls;
}

class SmallDevice : public Device
{
};

} // namespace

extern "C" {
VORDAL_PLUGIN_EXPORT bool LibraryAttach()
{
    Calls() += "attach ";
#ifdef PLUGIN_REFUSES
    return false;
#else
    return CheckDllVersion(PLUGIN_VERSION, "plugin.cpp", "today");
#endif
}
VORDAL_PLUGIN_EXPORT void LibraryDetach()
{
    Calls() += "detach ";
}
VORDAL_PLUGIN_EXPORT void RegisterDevices()
{
    Calls() += "devices ";
    CDevList::GetDevList().RegisterDev(PLUGIN_DEVICE, new DevCreator<SmallDevice>);
}
VORDAL_PLUGIN_EXPORT bool UnRegisterDevices()
{
    Calls() += "no-devices ";
    return CDevList::GetDevList().UnRegisterDev(PLUGIN_DEVICE);
}
VORDAL_PLUGIN_EXPORT void RegisterViews()
{
    Calls() += "views ";
}
VORDAL_PLUGIN_EXPORT void InitializeTemplates(CVordalBaseApp*)
{
    Calls() += "templates ";
}
VORDAL_PLUGIN_EXPORT void UnInitializeTemplates()
{
    Calls() += "no-templates ";
}
#ifndef PLUGIN_WITHOUT_CONTROL_INIT
VORDAL_PLUGIN_EXPORT void DeviceCtrlInit(unsigned short a, unsigned short b, unsigned short c, unsigned short d)
{
    Calls() += "control " + std::to_string(a) + std::to_string(b) + std::to_string(c) + std::to_string(d) + ' ';
}
#endif
#ifdef PLUGIN_WITH_OPTIONAL
VORDAL_PLUGIN_EXPORT void DiscoverDevices()
{
    Calls() += "discover ";
}
VORDAL_PLUGIN_EXPORT void ReleaseDevices()
{
    Calls() += "release ";
}
#endif
/// What was called so far; valid while the module is loaded.
VORDAL_PLUGIN_EXPORT char const* WhatWasCalled()
{
    return Calls().c_str();
}
}
