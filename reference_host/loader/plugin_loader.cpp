// Loads a plug-in, refuses one that does not fit, and takes it out again; the version handshake.
#include "reference_host/loader/plugin_loader.h"

#include "reference_host/host/host_state.h"
#include "reference_host/loader/version_check.h"
#include "reference_host/platform/module.h"

#include <VersionControlR/CheckDllVersion.h>

#include <utility>

namespace vordal {
namespace {

thread_local std::string versionRefusal;

// Members of the plug-in's exported class QX5SonarConfigurationInfo, which is the plug-in's and known here by the names
// alone that the compilers of this platform give its members: Instance, Init and Exit.
constexpr char const* pingControlInstance = "_ZN25QX5SonarConfigurationInfo8InstanceEv";
constexpr char const* pingControlInit = "_ZN25QX5SonarConfigurationInfo4InitEv";
constexpr char const* pingControlExit = "_ZN25QX5SonarConfigurationInfo4ExitEv";

std::string VersionText(unsigned version)
{
    return std::to_string(version >> 24) + '.' + std::to_string(version >> 16 & 0xFFU) + '.' +
           std::to_string(version >> 8 & 0xFFU) + '.' + std::to_string(version & 0xFFU);
}

/// While it lives, what is registered is that module's.
class Registrant
{
public:
    explicit Registrant(void const* module) { Set(module); }
    Registrant(Registrant const&) = delete;
    Registrant& operator=(Registrant const&) = delete;
    ~Registrant() { Set(nullptr); }

private:
    static void Set(void const* module)
    {
        if (auto* const host = CurrentState()) {
            host->displays.SetRegistrant(module);
        }
    }
};

} // namespace

std::string TakeVersionRefusal()
{
    return std::exchange(versionRefusal, {});
}

struct PlugIn::Body
{
    std::filesystem::path file;
    platform::Module module;

    void (*registerDevices)() = nullptr;
    bool (*unRegisterDevices)() = nullptr;
    void (*registerViews)() = nullptr;
    void (*initializeTemplates)(CVordalBaseApp*) = nullptr;
    void (*unInitializeTemplates)() = nullptr;
    void (*deviceCtrlInit)(unsigned short, unsigned short, unsigned short, unsigned short) = nullptr;
    bool (*libraryAttach)() = nullptr;
    void (*libraryDetach)() = nullptr;

    bool attached = false;
    bool devicesRegistered = false;
    bool templatesInitialized = false;

    /// Calls a member without arguments of the plug-in's one object of ping control, if it has such a class.
    void CallPingControl(char const* member)
    {
        auto* const instance = reinterpret_cast<void* (*)()>(module.Find(pingControlInstance));
        auto* const function = reinterpret_cast<void (*)(void*)>(module.Find(member));
        if (instance != nullptr && function != nullptr) {
            function(instance());
        }
    }

    /// The name of the first entry point that is missing; null when all are there.
    char const* FindEntryPoints()
    {
        char const* missing = nullptr;
        auto const find = [&](auto& function, char const* name) {
            auto* const found = module.Find(name);
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(found);
            if (found == nullptr && missing == nullptr) {
                missing = name;
            }
        };
        find(registerDevices, "RegisterDevices");
        find(unRegisterDevices, "UnRegisterDevices");
        find(registerViews, "RegisterViews");
        find(initializeTemplates, "InitializeTemplates");
        find(unInitializeTemplates, "UnInitializeTemplates");
        find(deviceCtrlInit, "DeviceCtrlInit");
        find(libraryAttach, "LibraryAttach");
        find(libraryDetach, "LibraryDetach");
        return missing;
    }
};

PlugIn::PlugIn() : m_body(std::make_unique<Body>()) {}

PlugIn::~PlugIn()
{
    if (!m_body->attached) {
        return;
    }
    if (m_body->templatesInitialized) {
        UnInitializeTemplates();
    }
    if (m_body->devicesRegistered) {
        UnRegisterDevices();
    }
    if (auto* const host = CurrentState()) {
        host->openDisplays.CloseAllOf(m_body.get());
        host->displays.Forget(m_body.get());
    }
    m_body->libraryDetach();
}

std::unique_ptr<PlugIn> PlugIn::Load(std::filesystem::path const& file, std::string& reason)
{
    auto const refuse = [&](std::string const& why) {
        reason = "cannot load plug-in " + file.string() + ": " + why;
        return std::unique_ptr<PlugIn>();
    };
    std::error_code failure;
    auto const status = std::filesystem::status(file, failure);
    if (status.type() == std::filesystem::file_type::not_found) {
        return refuse("there is no such file");
    }
    if (failure) {
        return refuse(failure.message());
    }
    if (status.type() != std::filesystem::file_type::regular) {
        return refuse("it is not a file");
    }

    std::unique_ptr<PlugIn> plugIn(new PlugIn);
    auto& body = *plugIn->m_body;
    body.file = file;
    std::string why;
    body.module = platform::Module::Load(file, why);
    if (!body.module) {
        return refuse("it is not a module that can be loaded here (" + why + ")");
    }
    if (auto const* const missing = body.FindEntryPoints()) {
        return refuse(std::string("it is not a plug-in, the entry point ") + missing + " is missing");
    }
    TakeVersionRefusal();
    try {
        body.attached = body.libraryAttach();
    } catch (std::exception const& thrown) {
        return refuse(std::string("it failed to attach itself: ") + thrown.what());
    }
    auto const refusal = TakeVersionRefusal();
    if (!body.attached) {
        return refuse(refusal.empty() ? "it refused to be attached and did not say why" : refusal);
    }
    return plugIn;
}

std::filesystem::path const& PlugIn::File() const
{
    return m_body->file;
}

void PlugIn::RegisterDevices()
{
    m_body->devicesRegistered = true;
    m_body->registerDevices();
}

bool PlugIn::UnRegisterDevices()
{
    m_body->devicesRegistered = false;
    return m_body->unRegisterDevices();
}

void PlugIn::RegisterViews()
{
    Registrant const registrant(m_body.get());
    m_body->registerViews();
}

void PlugIn::InitializeTemplates(CVordalBaseApp* application)
{
    Registrant const registrant(m_body.get());
    m_body->templatesInitialized = true;
    m_body->initializeTemplates(application);
}

void PlugIn::UnInitializeTemplates()
{
    m_body->templatesInitialized = false;
    m_body->unInitializeTemplates();
}

void PlugIn::DeviceCtrlInit(unsigned short vessel, unsigned short group, unsigned short device, unsigned short type)
{
    m_body->deviceCtrlInit(vessel, group, device, type);
}

void PlugIn::DiscoverSonars()
{
    m_body->CallPingControl(pingControlInit);
}

void PlugIn::ReleaseSonars()
{
    m_body->CallPingControl(pingControlExit);
}

void* PlugIn::FindFunction(char const* name) const
{
    return m_body->module.Find(name);
}

} // namespace vordal

bool CheckDllVersion(unsigned version, char const* sourceFile, char const* buildTime)
{
    // Within one major and minor version the contract only grows, at the end of its classes; patch and build say
    // nothing about it.
    if (version >> 16 == VORDAL_CONTRACT_VERSION >> 16) {
        vordal::versionRefusal.clear();
        return true;
    }
    vordal::versionRefusal =
        "it was built for version " + vordal::VersionText(version) +
        " of the host contract, this host speaks version " + vordal::VersionText(VORDAL_CONTRACT_VERSION) + " (" +
        (sourceFile != nullptr ? sourceFile : "?") + ", " + (buildTime != nullptr ? buildTime : "?") + ")";
    return false;
}
