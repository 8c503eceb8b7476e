// Loads a plug-in, refuses one that does not fit, and takes it out again; the version handshake.
#include "reference_host/loader/plugin_loader.h"

#include "reference_host/host/host_state.h"
#include "reference_host/loader/version_check.h"
#include "reference_host/platform/module.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VersionControlR/CheckDllVersion.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace vordal {
namespace {

thread_local std::string versionRefusal;

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

/// Runs a registration and appends to `added` the names that it brought into one of the host's lists, in their order.
template <typename Register>
void NoteAdded(std::vector<CString>& added, std::vector<CString> (Host::*list)() const, Register const& registration)
{
    auto const* const host = Host::CurrentOrNull();
    auto const before = host != nullptr ? (host->*list)() : std::vector<CString>();
    registration();
    if (host != nullptr) {
        auto const after = (host->*list)();
        std::set_difference(after.begin(), after.end(), before.begin(), before.end(), std::back_inserter(added));
    }
}

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
    // Optional.
    void (*discoverDevices)() = nullptr;
    void (*releaseDevices)() = nullptr;

    std::vector<CString> deviceClasses;
    std::vector<CString> viewClasses;

    bool attached = false;
    bool devicesRegistered = false;
    bool templatesInitialized = false;

    /// The name of the first entry point that is missing; null when all are there.
    char const* FindEntryPoints()
    {
        char const* missing = nullptr;
        auto const findIfThere = [&](auto& function, char const* name) {
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(module.Find(name));
        };
        auto const find = [&](auto& function, char const* name) {
            findIfThere(function, name);
            if (function == nullptr && missing == nullptr) {
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
        findIfThere(discoverDevices, "DiscoverDevices");
        findIfThere(releaseDevices, "ReleaseDevices");
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
    NoteAdded(m_body->deviceClasses, &Host::DeviceClasses, m_body->registerDevices);
}

bool PlugIn::UnRegisterDevices()
{
    m_body->devicesRegistered = false;
    m_body->deviceClasses.clear();
    return m_body->unRegisterDevices();
}

void PlugIn::RegisterViews()
{
    Registrant const registrant(m_body.get());
    NoteAdded(m_body->viewClasses, &Host::ViewClasses, m_body->registerViews);
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

void PlugIn::DiscoverDevices()
{
    if (m_body->discoverDevices != nullptr) {
        m_body->discoverDevices();
    }
}

void PlugIn::ReleaseDevices()
{
    if (m_body->releaseDevices != nullptr) {
        m_body->releaseDevices();
    }
}

std::vector<CString> const& PlugIn::DeviceClasses() const
{
    return m_body->deviceClasses;
}

std::vector<CString> const& PlugIn::ViewClasses() const
{
    return m_body->viewClasses;
}

CString PlugIn::SonarClass() const
{
    for (CString const& name : m_body->deviceClasses) {
        auto const device = Host::Current().MakeDevice(name);
        if (dynamic_cast<QX5Device const*>(device.get()) != nullptr) {
            return name;
        }
    }
    return {};
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
