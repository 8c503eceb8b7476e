// `qx5 plugin`: loads a plug-in as a host does, tells what it registers, and takes it out again.
#include "cli/commands.h"

#include "reference_host/common/path_text.h"
#include "reference_host/core/host.h"
#include "reference_host/loader/plugin_loader.h"
#include "json/json_value.h"

#include <tvcoreR/Utf8.h>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

JsonValue NamesJson(std::vector<CString> const& names)
{
    JsonValue list = JsonValue::Array();
    for (CString const& name : names) {
        list.items.push_back(JsonValue::Text(tvcore::ToUtf8(name)));
    }
    return list;
}

} // namespace

int Plugin(PluginOptions const& options)
{
    vordal::Host host;
    host.SetApplication({.guid = {}, .mainWindow = false, .lightMode = 4, .displays = {}});
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    std::string error;
    auto plugin = vordal::PlugIn::Load(vordal::PathOf(options.file), error);
    if (plugin == nullptr) {
        return Complain(ExitFailed, error);
    }
    auto const say = [&](std::string const& line) {
        if (!options.json) {
            fmt::print("{}\n", line);
        }
    };
    say(fmt::format("{} fits this host", options.file));
    plugin->RegisterDevices();
    plugin->RegisterViews();
    plugin->InitializeTemplates(host.Application());

    int code = ExitGood;
    unsigned short number = 0;
    JsonValue devices = JsonValue::Array();
    for (CString const& name : host.DeviceClasses()) {
        CDataId const id(1, 78, ++number, 1);
        Device* const device = host.AddDevice(host.MakeDevice(name), id, name);
        say(fmt::format("device class {}{}", tvcore::ToUtf8(name),
                        device != nullptr ? "" : ", which makes no devices"));
        devices.items.push_back(JsonValue::Object(
            {{"class", JsonValue::Text(tvcore::ToUtf8(name))}, {"makes_devices", JsonValue::Bool(device != nullptr)}}));
        if (device == nullptr) {
            code = ExitFailed;
            continue;
        }
        host.ApplyDevice(*device, true);
    }
    for (CString const& name : host.ViewClasses()) {
        say(fmt::format("view class {}", tvcore::ToUtf8(name)));
    }
    for (CString const& name : host.DisplayTemplates()) {
        say(fmt::format("display template {}", tvcore::ToUtf8(name)));
    }
    auto const told = JsonValue::Object({{"file", JsonValue::Text(options.file)},
                                         {"devices", std::move(devices)},
                                         {"views", NamesJson(host.ViewClasses())},
                                         {"displays", NamesJson(host.DisplayTemplates())}});
    plugin->ReleaseDevices();
    host.RemoveAllDevices();
    plugin.reset();
    say("and is unloaded again");
    if (options.json) {
        fmt::print("{}\n", WriteJson(told));
    }
    return code;
}

} // namespace qx5::cli
