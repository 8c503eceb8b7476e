// Loads a plug-in, refuses one that does not fit, and takes it out again.
#pragma once

#include <VordalBaseR/Export.h>

#include <filesystem>
#include <memory>
#include <string>

class CVordalBaseApp;

namespace vordal {

/// A plug-in that is loaded and attached. The entry points are called through it. Host thread.
class VORDAL_API PlugIn
{
public:
    /// Loads the module, finds its entry points, and lets it attach itself. Null when it is refused; `reason` is then
    /// one line that names the file and says why. Several hosts may load one file one after the other.
    static std::unique_ptr<PlugIn> Load(std::filesystem::path const& file, std::string& reason);

    PlugIn(PlugIn const&) = delete;
    PlugIn& operator=(PlugIn const&) = delete;
    /// Closes the displays of its views, undoes what was done through this object (templates, views, devices), lets the
    /// module detach itself, and unloads it. No device of its classes may be left.
    ~PlugIn();

    std::filesystem::path const& File() const;

    void RegisterDevices();
    /// The answer of the host's list of classes, as the plug-in passes it on: false when nothing was registered.
    bool UnRegisterDevices();
    void RegisterViews();
    void InitializeTemplates(CVordalBaseApp* application);
    void UnInitializeTemplates();
    /// The fields of a device's id: vessel, group, device number, type.
    void DeviceCtrlInit(unsigned short vessel, unsigned short group, unsigned short device, unsigned short type);

    /// The plug-in's discovery of sonars under ping control, and its end; without such functions nothing happens.
    /// Release them before devices are destroyed.
    void DiscoverSonars();
    void ReleaseSonars();

    /// An exported C function beyond the required ones; null when there is none of that name.
    void* FindFunction(char const* name) const;

private:
    PlugIn();
    struct Body;
    std::unique_ptr<Body> m_body;
};

} // namespace vordal
