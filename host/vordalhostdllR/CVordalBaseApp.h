// The application that the host runs in: displays, messages, templates.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

class BaseDevice;
class CDataId;
class CDisplayMap;
class CPrsConfiguration;
class CVordalMessage;
class FileObject;
class VORDALMultiDocTemplate;

/// The application. What takes a window to do needs an Instance; identity and messages are there without one. Unless
/// said otherwise any thread: work on windows is posted to the window thread.
class VORDAL_API CVordalBaseApp
{
public:
    /// The application with its main window; null when the host runs without one, and once the window has gone. Owned
    /// by the host. Plug-ins ask each time and keep no pointer.
    static CVordalBaseApp* Instance();
    /// The text that tells this application from others on the same sonar system; the same for as long as it runs.
    static CString GetAppInstanceGuid();
    /// The message service; there as long as the host runs.
    static CVordalMessage& GetVordalMessage();

    CVordalBaseApp(CVordalBaseApp const&) = delete;
    CVordalBaseApp& operator=(CVordalBaseApp const&) = delete;
    virtual ~CVordalBaseApp();

    /// The displays; there as long as the application is.
    virtual CDisplayMap& GetDisplayMap() = 0;
    /// The presentation configuration, with a section for each display; there as long as the application is.
    virtual CPrsConfiguration& GetPresConfig() = 0;

    /// Takes ownership of a template. The host deletes it before it unloads the module that made it, with every display
    /// made of it closed. Null is ignored. Any thread.
    virtual void AddDocTemplate(VORDALMultiDocTemplate* displayTemplate) = 0;

    /// Sets up another display and opens it. `viewKey` numbers the view among those of its type, 0 for any. `settings`
    /// holds, in `section`, how its window stands: "iLeftPos", "iTopPos", "iRightPos", "iBottomPos" in pixels of the
    /// main window, "strShowState" ("NORMAL"); it is copied. `show` brings the display to the front. `device` is what
    /// it is to show, null for nothing, and `vessel` that device's vessel, 0 for none. False when the host has no
    /// displays of that type.
    virtual bool AddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                            CString const& section, bool show, BaseDevice* device, unsigned short vessel) = 0;
    /// Brings the display, or group of displays, of that name to the front; false when there is none.
    virtual bool SelectDisplay(CString const& name) = 0;

    /// Tells the application that a plug-in has written attributes of a device or computation, so that it stores them.
    /// `item` narrows it to a data item, 0 for all.
    virtual void NotifyAttributesChanged(CDataId const& dataId, int item) = 0;

protected:
    CVordalBaseApp();
};
