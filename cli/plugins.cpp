// Which plug-ins a command loads: those that it is told, and those that lie beside this program.
#include "plugins.h"

#include "platform/executable_path.h"

#include "reference_host/core/host.h"
#include "reference_host/loader/plugin_set.h"

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
    std::vector<std::filesystem::path> files(told.begin(), told.end());
    for (auto const& module : vordal::FindModules(ModulesFolder())) {
        auto const isTold = [&](std::string const& each) {
            return std::filesystem::path(each).filename() == module.filename();
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

} // namespace qx5::cli
