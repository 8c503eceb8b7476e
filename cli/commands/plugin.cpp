// `qx5 plugin`: loads a plug-in as a host does, tells what it registers, and takes it out again.
#include "cli/commands.h"

#include "reference_host/core/host.h"
#include "reference_host/loader/plugin_loader.h"

#include <tvcoreR/Utf8.h>

#include <fmt/format.h>

namespace qx5::cli {

int Plugin(PluginOptions const& options)
{
    vordal::Host host;
    host.SetApplication({.guid = {}, .mainWindow = false, .lightMode = 4, .displays = {}});
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    std::string error;
    auto plugin = vordal::PlugIn::Load(options.file, error);
    if (plugin == nullptr) {
        return Complain(ExitFailed, error);
    }
    fmt::print("{} fits this host\n", options.file);
    plugin->RegisterDevices();
    plugin->RegisterViews();
    plugin->InitializeTemplates(host.Application());

    int code = ExitGood;
    unsigned short number = 0;
    for (CString const& name : host.DeviceClasses()) {
        CDataId const id(1, 78, ++number, 1);
        Device* const device = host.AddDevice(host.MakeDevice(name), id, name);
        fmt::print("device class {}{}\n", tvcore::ToUtf8(name), device != nullptr ? "" : ", which makes no devices");
        if (device == nullptr) {
            code = ExitFailed;
            continue;
        }
        host.ApplyDevice(*device, true);
    }
    for (CString const& name : host.ViewClasses()) {
        fmt::print("view class {}\n", tvcore::ToUtf8(name));
    }
    for (CString const& name : host.DisplayTemplates()) {
        fmt::print("display template {}\n", tvcore::ToUtf8(name));
    }
    plugin->ReleaseDevices();
    host.RemoveAllDevices();
    plugin.reset();
    fmt::print("and is unloaded again\n");
    return code;
}

} // namespace qx5::cli
