// The application that the reference host runs in, and what it shows.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <vector>

class CVordalBaseApp;

namespace vordal {

struct HostState;

/// A display that the application has set up.
struct DisplaySetup
{
    CString section; ///< in the presentation configuration
    CString type;
    CString name;
    bool enabled = true;
};

/// A message to the operator.
struct Message
{
    double time = 0.0; ///< host time, seconds
    CString text;
    CString detail;
    unsigned flags = 0; ///< of CVordalMessage::Flag
};

/// What makes the application that the host runs in.
struct ApplicationSetup
{
    CString guid; ///< tells this application from others on the same sonar system
    bool mainWindow = true;
    int lightMode = 4; ///< 1 to 4, see ColorControl
    std::vector<DisplaySetup> displays;
};

/// The application, a part of the host.
class VORDAL_API HostApplication
{
public:
    HostApplication(HostApplication const&) = delete;
    HostApplication& operator=(HostApplication const&) = delete;

    // Displays that modules have registered, in the order of names. Any thread.
    std::vector<CString> ViewClasses() const;
    std::vector<CString> DisplayTemplates() const;

    // The application. Without one CVordalBaseApp::Instance is null.
    /// Sets the application up; once, before a plug-in is loaded.
    void SetApplication(ApplicationSetup setup);
    /// Without a main window CVordalBaseApp::Instance is null, though the application is there. Opening it sets up a
    /// plain application where there is none. Any thread once there is an application.
    void SetMainWindow(bool open);
    /// The application, with a main window or without; null until it is set up. The host's.
    CVordalBaseApp* Application() const;
    /// The last messages to the operator, at most a thousand, the oldest first. Any thread.
    std::vector<Message> Messages() const;

    // Any thread.
    /// At first a text of its own for each host.
    void SetAppInstanceGuid(CString const& guid);
    /// At first the user is an operator.
    void SetUserIsOperator(bool isOperator);
    void SetAScanStatus(bool on);

protected:
    explicit HostApplication(HostState& state) : m_state(state) {}
    ~HostApplication() = default;

private:
    HostState& m_state;
};

} // namespace vordal
