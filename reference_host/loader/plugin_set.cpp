// The plug-ins of one host: loaded in order, called together, each about its own devices alone.
#include "reference_host/loader/plugin_set.h"

#include "reference_host/core/host.h"
#include "reference_host/platform/module.h"

#include <VordalConfigureR/CViewList.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <vordalhostdllR/CDocTemplateList.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace vordal {
namespace {

/// The name under which a view class is registered; empty when it is not.
CString NameOfView(CRuntimeClass const* viewClass)
{
    auto const names = Host::Current().ViewClasses();
    auto const found = std::find_if(names.begin(), names.end(), [&](CString const& name) {
        return CViewList::GetViewList().FindView(name) == viewClass;
    });
    return found != names.end() ? *found : CString();
}

} // namespace

std::vector<std::filesystem::path> FindModules(std::filesystem::path const& folder)
{
    std::vector<std::filesystem::path> modules;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        if (entry->path().extension() == platform::ModuleExtension) {
            modules.push_back(entry->path());
        }
    }
    if (failure && failure != std::errc::no_such_file_or_directory && failure != std::errc::not_a_directory) {
        throw std::filesystem::filesystem_error("a folder of plug-ins cannot be read", folder, failure);
    }
    std::sort(modules.begin(), modules.end());
    return modules;
}

PlugIns::~PlugIns()
{
    while (!m_plugIns.empty()) {
        m_plugIns.pop_back();
    }
}

bool PlugIns::Add(std::filesystem::path const& file, std::string& reason)
{
    auto plugIn = PlugIn::Load(file, reason);
    if (plugIn == nullptr) {
        return false;
    }
    plugIn->RegisterDevices();
    m_plugIns.push_back(std::move(plugIn));
    return true;
}

void PlugIns::RegisterViews()
{
    for (auto const& plugIn : m_plugIns) {
        plugIn->RegisterViews();
    }
}

void PlugIns::InitializeTemplates(CVordalBaseApp* application)
{
    for (auto const& plugIn : m_plugIns) {
        plugIn->InitializeTemplates(application);
    }
}

void PlugIns::DeviceCtrlInit(BaseDevice const& device)
{
    if (auto* const plugIn = FindByDeviceClass(device.GetDeviceDriverName())) {
        CDataId const& id = device.GetDataId();
        plugIn->DeviceCtrlInit(id.GetVessel(), id.GetGroupId(), id.GetDeviceNum(), id.GetType());
    }
}

void PlugIns::ReleaseDevices()
{
    for (auto const& plugIn : m_plugIns) {
        plugIn->ReleaseDevices();
    }
}

PlugIn* PlugIns::FindByDeviceClass(CString const& name) const
{
    for (auto const& plugIn : m_plugIns) {
        auto const& classes = plugIn->DeviceClasses();
        if (std::find(classes.begin(), classes.end(), name) != classes.end()) {
            return plugIn.get();
        }
    }
    return nullptr;
}

CString PlugIns::SonarClass() const
{
    for (auto const& plugIn : m_plugIns) {
        if (auto name = plugIn->SonarClass(); !name.IsEmpty()) {
            return name;
        }
    }
    return {};
}

CString PlugIns::ViewClassFor(BaseDevice const& device) const
{
    auto const* const named = CDocTemplateList::GetDocTemplates().FindTemplate(device.GetDeviceCtrlViewType());
    if (named != nullptr) {
        if (auto name = NameOfView(named->GetViewClass()); !name.IsEmpty()) {
            return name;
        }
    }
    auto const* const plugIn = FindByDeviceClass(device.GetDeviceDriverName());
    return plugIn != nullptr && !plugIn->ViewClasses().empty() ? plugIn->ViewClasses().front() : CString();
}

} // namespace vordal
