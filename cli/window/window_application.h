// The toolkit's application, as the windows and pictures of this program need it.
#pragma once

#include "reference_host/window/announcements.h"

#include <QApplication>

namespace qx5::cli {

/// What a member needs before the application is made.
class BeforeApplication
{
protected:
    BeforeApplication(bool isPicture, int scale);
};

/// One in a process. Without a display where pictures alone are wanted; `scale` of those in per cent. What the toolkit
/// has to say goes where the host's reports go.
class WindowApplication : private BeforeApplication
{
public:
    explicit WindowApplication(bool isPicture, int scale = 100);
    WindowApplication(WindowApplication const&) = delete;
    WindowApplication& operator=(WindowApplication const&) = delete;

    /// False after a complaint, where a picture would be empty boxes for want of a font; a window opens all the same,
    /// with a line in the log.
    bool CanBegin() const;

private:
    bool const m_isPicture;
    int m_argc = 1;
    char m_name[4] = "qx5";
    char* m_argv[2] = {m_name, nullptr};
    QApplication m_application;
    vordal::LimitedAnnouncements const m_announcements;
};

} // namespace qx5::cli
