// Loads a plug-in, refuses one that does not fit, and takes it out again; the version handshake.
#include "reference_host/loader/plugin_loader.h"

#include "reference_host/common/failure.h"
#include "reference_host/common/log.h"
#include "reference_host/core/host_state.h"
#include "reference_host/loader/version_check.h"
#include "reference_host/platform/module.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VersionControlR/CheckDllVersion.h>
#include <tvcoreR/Utf8.h>

#include <algorithm>
#include <iterator>
#include <typeinfo>
#include <utility>
#include <vector>

namespace vordal {
namespace {

thread_local VersionCheck lastCheck;

std::string Joined(std::vector<std::string> const& parts, char const* separator)
{
    std::string text;
    for (auto const& part : parts) {
        text += (text.empty() ? "" : separator) + part;
    }
    return text;
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

VersionCheck TakeVersionCheck()
{
    return std::exchange(lastCheck, {});
}

std::string ContractVersionText(unsigned version)
{
    return std::to_string(version >> 24) + '.' + std::to_string(version >> 16 & 0xFFU) + '.' +
           std::to_string(version >> 8 & 0xFFU) + '.' + std::to_string(version & 0xFFU);
}

PlugInError::~PlugInError() = default;

struct PlugIn::Body final : PingControl
{
    std::filesystem::path file;
    platform::Module module;
    PlugInVersion version;

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
    bool controlsPings = false;
    std::uint64_t knownBefore = 0; ///< devices of lower numbers were there when it last looked for its sonars
    std::string failure;           ///< empty while all is well
    bool unloading = false;
    std::vector<std::string> lastWords; ///< what went wrong while it was unloaded

    std::string Line(std::string const& what) const { return "plug-in " + file.string() + " " + what; }
    static std::string Failed(char const* entryPoint, std::string const& why)
    {
        return std::string("failed in ") + entryPoint + ": " + why;
    }

    /// Calls an entry point of those that register something.
    template <typename Call>
    void Register(char const* entryPoint, Call call)
    {
        if (failure.empty()) {
            Registrant const registrant(this);
            if (auto const why = FailureOf(call)) {
                failure = Line(Failed(entryPoint, *why) + "; what it had registered is taken back");
                TakeBack();
            }
        }
        if (!failure.empty()) {
            throw PlugInError(failure);
        }
    }

    /// Calls any other. A failure is a line of its own, or a part of the one that is told at the end.
    template <typename Call>
    void Contain(char const* entryPoint, Call call)
    {
        Registrant const registrant(this);
        auto const why = FailureOf(call);
        if (why && unloading) {
            lastWords.push_back(Failed(entryPoint, *why));
        } else if (why) {
            Log(LogLevel::Error, Line(Failed(entryPoint, *why)));
        }
    }

    bool IsActive() const override { return controlsPings; }
    bool MayKnow(std::uint64_t order) const override { return controlsPings && order < knownBefore; }
    /// Whatever it makes of it, even when it fails halfway.
    void NoteItLooks()
    {
        controlsPings = true;
        if (auto* const host = CurrentState()) {
            std::lock_guard const lock(host->mutex);
            knownBefore = host->devices.NextOrder();
        }
    }
    void Release() override
    {
        controlsPings = false;
        if (releaseDevices != nullptr) {
            Contain("ReleaseDevices", releaseDevices);
        }
    }
    void Discover() override
    {
        NoteItLooks();
        if (discoverDevices != nullptr) {
            Contain("DiscoverDevices", discoverDevices);
        }
    }
    /// Has the host release the ping control before a device goes, or no longer.
    void SetKnownToHost(bool known)
    {
        if (auto* const host = CurrentState()) {
            std::lock_guard const lock(host->mutex);
            std::erase(host->pingControls, this);
            if (known) {
                host->pingControls.push_back(this);
            }
        }
    }

    /// Whether the object is of a class of the module's.
    template <typename Object>
    bool IsOwn(Object const& object) const
    {
        return module.Holds(&typeid(object));
    }

    /// Takes the module's classes, templates and subscriptions out of the host. Gives what there was, but for views,
    /// which a plug-in cannot take back by itself.
    std::vector<std::string> TakeBack()
    {
        std::vector<std::string> left;
        auto* const host = CurrentState();
        if (host == nullptr) {
            return left;
        }
        std::vector<std::unique_ptr<DevICreator>> creators; // go when the lock has gone
        {
            std::lock_guard const lock(host->mutex);
            for (auto at = host->creators.begin(); at != host->creators.end();) {
                if (IsOwn(*at->second)) {
                    left.push_back("the device class " + tvcore::ToUtf8(at->first));
                    creators.push_back(std::move(at->second));
                    at = host->creators.erase(at);
                } else {
                    ++at;
                }
            }
        }
        for (CString const& name : host->displays.Forget(this)) {
            left.push_back("the display template " + tvcore::ToUtf8(name));
        }
        auto const isOwnSink = [this](Subscriber const& sink) { return IsOwn(sink); };
        std::size_t subscriptions = 0;
        for (auto const& bus : host->AllBuses()) {
            subscriptions += bus->LeaveAll(isOwnSink);
        }
        if (subscriptions > 0) {
            left.push_back(std::to_string(subscriptions) + (subscriptions == 1 ? " subscription" : " subscriptions"));
        }
        return left;
    }

    /// Destroys the devices of the module's classes; how many there were.
    std::size_t RemoveDevices()
    {
        auto* const host = Host::CurrentOrNull();
        if (host == nullptr) {
            return 0;
        }
        auto own = host->Devices();
        std::erase_if(own, [this](Device const* device) { return !IsOwn(*device); });
        return own.empty() ? 0 : host->RemoveDevices(own);
    }

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
    // What is left of it in the host would be called when the module has gone.
    auto const takeBack = [this] { return m_body->TakeBack(); };
    if (!m_body->attached) {
        OrOnceMore(takeBack);
        return;
    }
    m_body->unloading = true;
    if (m_body->templatesInitialized) {
        UnInitializeTemplates();
    }
    if (m_body->devicesRegistered) {
        UnRegisterDevices();
    }
    if (auto* const host = CurrentState()) {
        OrOnceMore([&] { host->openDisplays.CloseAllOf(m_body.get()); });
    }
    if (m_body->controlsPings) {
        ReleaseDevices();
    }
    auto const devices = OrOnceMore([this] { return m_body->RemoveDevices(); });
    m_body->SetKnownToHost(false);
    m_body->Contain("LibraryDetach", m_body->libraryDetach);
    auto left = OrOnceMore(takeBack);
    if (devices > 0) {
        left.push_back(std::to_string(devices) + (devices == 1 ? " device" : " devices"));
    }
    auto& words = m_body->lastWords;
    if (!left.empty()) {
        words.push_back("left these behind, which are taken away: " + Joined(left, ", "));
    }
    if (!words.empty()) {
        Log(LogLevel::Warning, m_body->Line(Joined(words, "; ")));
    }
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
    TakeVersionCheck();
    {
        Registrant const registrant(&body);
        if (auto const thrown = FailureOf([&body] { body.attached = body.libraryAttach(); })) {
            return refuse("it failed to attach itself: " + *thrown);
        }
    }
    auto check = TakeVersionCheck();
    if (!body.attached) {
        return refuse(check.refusal.empty() ? "it refused to be attached and did not say why" : check.refusal);
    }
    body.version = {check.version, std::move(check.buildTime)};
    body.SetKnownToHost(true);
    return plugIn;
}

std::filesystem::path const& PlugIn::File() const
{
    return m_body->file;
}

PlugInVersion const& PlugIn::Version() const
{
    return m_body->version;
}

void PlugIn::RegisterDevices()
{
    m_body->Register("RegisterDevices",
                     [this] { NoteAdded(m_body->deviceClasses, &Host::DeviceClasses, m_body->registerDevices); });
    m_body->devicesRegistered = true;
}

bool PlugIn::UnRegisterDevices()
{
    m_body->devicesRegistered = false;
    m_body->deviceClasses.clear();
    bool answer = false;
    m_body->Contain("UnRegisterDevices", [&] { answer = m_body->unRegisterDevices(); });
    return answer;
}

void PlugIn::RegisterViews()
{
    m_body->Register("RegisterViews",
                     [this] { NoteAdded(m_body->viewClasses, &Host::ViewClasses, m_body->registerViews); });
}

void PlugIn::InitializeTemplates(CVordalBaseApp* application)
{
    m_body->NoteItLooks();
    m_body->Register("InitializeTemplates", [&] { m_body->initializeTemplates(application); });
    m_body->templatesInitialized = true;
}

void PlugIn::UnInitializeTemplates()
{
    m_body->templatesInitialized = false;
    m_body->Contain("UnInitializeTemplates", m_body->unInitializeTemplates);
}

void PlugIn::DeviceCtrlInit(unsigned short vessel, unsigned short group, unsigned short device, unsigned short type)
{
    m_body->Contain("DeviceCtrlInit", [&] { m_body->deviceCtrlInit(vessel, group, device, type); });
}

void PlugIn::DiscoverDevices()
{
    m_body->Discover();
}

void PlugIn::ReleaseDevices()
{
    m_body->Release();
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
    bool const fits = version >> 16 == VORDAL_CONTRACT_VERSION >> 16;
    char const* const built = buildTime != nullptr ? buildTime : "?";
    vordal::lastCheck = {{}, version, built};
    if (!fits) {
        vordal::lastCheck.refusal = "it was built for version " + vordal::ContractVersionText(version) +
                                    " of the host contract, this host speaks version " +
                                    vordal::ContractVersionText(VORDAL_CONTRACT_VERSION) + " (" +
                                    (sourceFile != nullptr ? sourceFile : "?") + ", " + built + ")";
    }
    return fits;
}
