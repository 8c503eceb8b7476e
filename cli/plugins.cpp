// Which plug-ins a command loads: those that it is told, and those that lie beside this program.
#include "plugins.h"

#include "platform/executable_path.h"

#include "reference_host/common/log.h"
#include "reference_host/common/path_text.h"
#include "reference_host/core/host.h"
#include "reference_host/loader/plugin_set.h"
#include "reference_host/project/live_host.h"

#include <HalvaneX5InterfaceR/QX5Device.h>

#include <algorithm>
#include <memory>
#include <system_error>

namespace qx5::cli {

namespace {

bool OffersSonars(std::filesystem::path const& file)
{
    std::unique_ptr<vordal::Host> own;
    if (vordal::Host::CurrentOrNull() == nullptr) {
        own = std::make_unique<vordal::Host>();
    }
    bool offers = false;
    vordal::Host::Current().RunAndWait([&] {
        vordal::PlugIns plugIns;
        std::string ignored; // who loads it for good is told
        offers = plugIns.Add(file, ignored) && !plugIns.SonarClass().IsEmpty();
    });
    return offers;
}

} // namespace

std::filesystem::path ModulesFolder()
{
    auto const programs = ExecutablePath().parent_path();
    auto const installed = (programs / QX5_MODULES_FROM_PROGRAMS).lexically_normal();
    std::error_code problem;
    return std::filesystem::exists(installed, problem) ? installed : programs.parent_path() / "lib" / "qx5";
}

std::vector<std::filesystem::path> PluginFiles(std::vector<std::string> const& told)
{
    std::vector<std::filesystem::path> files;
    for (auto const& each : told) {
        files.push_back(vordal::PathOf(each));
    }
    for (auto const& module : vordal::FindModules(ModulesFolder())) {
        auto const isTold = [&](std::string const& each) {
            return vordal::PathOf(each).filename() == module.filename();
        };
        if (std::none_of(told.begin(), told.end(), isTold)) {
            files.push_back(module);
        }
    }
    return files;
}

std::string PluginPath(std::vector<std::string> const& told)
{
    if (!told.empty()) {
        return told.front();
    }
    auto const modules = vordal::FindModules(ModulesFolder());
    if (modules.empty()) {
        return ModulesFolder().string();
    }
    auto const found =
        modules.size() > 1 ? std::find_if(modules.begin(), modules.end(), OffersSonars) : modules.begin();
    return (found != modules.end() ? *found : modules.front()).string();
}

std::string PluginPath(std::string const& told)
{
    return PluginPath(told.empty() ? std::vector<std::string>() : std::vector<std::string>{told});
}

bool LoadInto(vordal::LiveHost& host, std::vector<std::filesystem::path> const& files, std::size_t told,
              std::string& error)
{
    bool hasLoaded = false;
    for (std::size_t i = 0; i < files.size(); ++i) {
        std::string reason;
        // A plug-in that throws is told of like one that says no.
        try {
            if (host.LoadPlugIn(files[i], reason)) {
                hasLoaded = true;
                continue;
            }
        } catch (std::exception const& failure) {
            reason = failure.what();
        }
        error = reason;
        if (i < told) {
            return false;
        }
        vordal::Log(vordal::LogLevel::Warning, reason);
    }
    if (!hasLoaded && error.empty()) {
        error = "there is no plug-in beside this program; --plugin FILE tells one";
    }
    return hasLoaded;
}

bool MakesSonars(vordal::LiveHost& host, CString const& deviceClass)
{
    bool makes = false;
    host.RunAndWait([&] {
        auto const device = host.MakeDevice(deviceClass);
        makes = dynamic_cast<QX5Device const*>(device.get()) != nullptr;
    });
    return makes;
}

} // namespace qx5::cli
