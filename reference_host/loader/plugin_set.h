// The plug-ins of one host: loaded in order, called together, each about its own devices alone.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include "reference_host/loader/plugin_loader.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

class BaseDevice;

namespace vordal {

/// The modules in a folder (see platform::ModuleExtension), in the order of their names; none when there is no such
/// folder, std::filesystem::filesystem_error when it cannot be read. Whether they are plug-ins shows when they are
/// loaded.
VORDAL_API std::vector<std::filesystem::path> FindModules(std::filesystem::path const& folder);

/// Host thread, except that what is asked of it may be asked on any thread while nothing is loaded or registered.
class VORDAL_API PlugIns
{
public:
    PlugIns() = default;
    PlugIns(PlugIns const&) = delete;
    PlugIns& operator=(PlugIns const&) = delete;
    /// Takes the plug-ins out in reverse order.
    ~PlugIns();

    /// Loads one more and lets it register its device classes; a name that an earlier one has taken stays that one's.
    /// False, and why in one line, when it is refused.
    bool Add(std::filesystem::path const& file, std::string& reason);

    void RegisterViews();
    void InitializeTemplates(CVordalBaseApp* application);
    /// DeviceCtrlInit of the plug-in whose class the device is of; nothing for the host's own classes.
    void DeviceCtrlInit(BaseDevice const& device);
    void ReleaseDevices();

    /// In the order in which they were loaded.
    std::vector<std::unique_ptr<PlugIn>> const& All() const { return m_plugIns; }
    /// The plug-in that has registered that device class; null when none has.
    PlugIn* FindByDeviceClass(CString const& name) const;
    /// The first class of all whose devices speak the record protocol; empty when there is none. Host thread.
    CString SonarClass() const;
    /// The view class (of CViewList) that shows a device: that of the template which the device names as its control
    /// view, otherwise the first view of its plug-in; empty when it has none.
    CString ViewClassFor(BaseDevice const& device) const;

private:
    std::vector<std::unique_ptr<PlugIn>> m_plugIns;
};

} // namespace vordal
