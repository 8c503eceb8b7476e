// Loads a plug-in, refuses one that does not fit, and takes it out again.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

class CVordalBaseApp;

namespace vordal {

/// Why a plug-in is of no use, in one line that names its file and the entry point that failed.
class VORDAL_API PlugInError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
    ~PlugInError() override;
};

/// "5.5.1.0": a version of the host contract as CheckDllVersion takes it. Any thread.
VORDAL_API std::string ContractVersionText(unsigned version);

/// What a plug-in has told of itself when it was attached.
struct PlugInVersion
{
    unsigned contract = 0; ///< the version of the host contract that it was built against; 0: it did not tell
    std::string built;     ///< date and time, as it told them
};

/// A plug-in that is loaded and attached. The entry points are called through it. Host thread.
///
/// What an entry point throws never passes. One that registers and fails throws PlugInError instead: all that the
/// plug-in has registered is taken back by then, and every further call of such an entry point throws the same. A
/// failure of any other is one line in the log.
class VORDAL_API PlugIn
{
public:
    /// Loads the module, finds its entry points, and lets it attach itself. Null when it is refused; `reason` is then
    /// one line that names the file and says why. Several hosts may load one file one after the other.
    static std::unique_ptr<PlugIn> Load(std::filesystem::path const& file, std::string& reason);

    PlugIn(PlugIn const&) = delete;
    PlugIn& operator=(PlugIn const&) = delete;
    /// Closes the displays of its views, undoes what was done through this object (templates, views, devices), lets the
    /// module detach itself, and unloads it. What is its own and is left then, registered classes and templates,
    /// devices, subscriptions, is taken away. What went wrong is told in one line of the log.
    ~PlugIn();

    std::filesystem::path const& File() const;
    PlugInVersion const& Version() const;

    void RegisterDevices(); ///< registers
    /// The answer of the host's list of classes, as the plug-in passes it on: false when nothing was registered.
    bool UnRegisterDevices();
    void RegisterViews();                                  ///< registers
    void InitializeTemplates(CVordalBaseApp* application); ///< registers
    void UnInitializeTemplates();
    /// The fields of a device's id: vessel, group, device number, type. For devices of this plug-in's classes.
    void DeviceCtrlInit(unsigned short vessel, unsigned short group, unsigned short device, unsigned short type);

    /// The optional entry points DiscoverDevices and ReleaseDevices; without them nothing happens. Before
    /// a device goes the host releases them by itself (Host::RemoveDevice).
    void DiscoverDevices();
    void ReleaseDevices();

    /// The classes that RegisterDevices and RegisterViews of this plug-in added to the host's lists, by name.
    std::vector<CString> const& DeviceClasses() const;
    std::vector<CString> const& ViewClasses() const;
    /// The first of its device classes whose devices speak the record protocol (QX5Device); empty when none does. Makes
    /// a device of each class in turn to see, and destroys it.
    CString SonarClass() const;

    /// An exported C function beyond the required ones; null when there is none of that name.
    void* FindFunction(char const* name) const;

private:
    PlugIn();
    struct Body;
    std::unique_ptr<Body> m_body;
};

} // namespace vordal
