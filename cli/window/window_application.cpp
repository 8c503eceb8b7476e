// The toolkit's application.
#include "window_application.h"

#include "cli/commands.h"
#include "cli/output.h"
#include "reference_host/common/log.h"

#include <cstdlib>
#include <string>

#include <QFontMetrics>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// What the toolkit has to say goes where the host's reports go; its remarks on the platform go nowhere.
void TakeToolkitMessage(QtMsgType type, QMessageLogContext const&, QString const& text)
{
    // What went wrong is said before what it comes to.
    thread_local std::string reason;
    if (type == QtWarningMsg) {
        reason = text.simplified().toStdString();
    }
    if (type == QtFatalMsg && !QCoreApplication::startingUp()) {
        Complain(ExitFailed, fmt::format("the window cannot go on: {}", text.simplified().toStdString()));
    } else if (type == QtFatalMsg) {
        // The toolkit would abort: a display that is not there is nothing to leave a core file for.
        Complain(ExitFailed, fmt::format("no window, the display does not open: {}; `qx5 run --guided` needs none",
                                         reason.empty() ? text.simplified().toStdString() : reason));
        std::_Exit(ExitFailed);
    }
    if (type == QtCriticalMsg) {
        vordal::Log(vordal::LogLevel::Error, "window: " + text.toStdString());
    }
}

} // namespace

BeforeApplication::BeforeApplication(bool isPicture, int scale)
{
    if (isPicture) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_SCALE_FACTOR", QByteArray::number(scale / 100.0));
    }
    qInstallMessageHandler(TakeToolkitMessage);
}

WindowApplication::WindowApplication(bool isPicture, int scale)
    : BeforeApplication(isPicture, scale), m_isPicture(isPicture), m_application(m_argc, m_argv)
{
    QApplication::setApplicationName(QStringLiteral("qx5"));
    // By this a desktop finds the name and the icon of an installation's qx5.desktop.
    QGuiApplication::setDesktopFileName(QStringLiteral("qx5"));
    if (isPicture) {
        QApplication::setCursorFlashTime(0); // the same picture each time
    }
}

bool WindowApplication::CanBegin() const
{
    if (QFontMetrics(QApplication::font()).inFont(u'A')) {
        return true;
    }
    constexpr char const* remedy = "there is no font on this system; install one, such as fonts-dejavu-core";
    if (m_isPicture) {
        Complain(ExitFailed, std::string("no picture: ") + remedy);
        return false;
    }
    vordal::Log(vordal::LogLevel::Warning, std::string("window: its texts are empty boxes, ") + remedy);
    return true;
}

} // namespace qx5::cli
