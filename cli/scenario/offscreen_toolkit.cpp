// The view's toolkit where nothing is to be shown.
#include "cli/scenario/offscreen_toolkit.h"

#include "reference_host/common/log.h"

#include <QApplication>
#include <QByteArray>

#include <clocale>
#include <string>

namespace qx5::cli {

namespace {

void LogToolkitMessage(QtMsgType type, QMessageLogContext const&, QString const& message)
{
    bool const isFailure = type == QtCriticalMsg || type == QtFatalMsg;
    vordal::Log(isFailure ? vordal::LogLevel::Error : vordal::LogLevel::Debug, message.toStdString());
}

} // namespace

void EnsureOffscreenToolkit()
{
    if (QCoreApplication::instance() != nullptr) {
        return;
    }
    // The toolkit keeps referring to the arguments.
    static char program[] = "qx5";
    static char option[] = "-platform";
    static char platform[] = "offscreen";
    static char* arguments[] = {program, option, platform, nullptr};
    static int count = 3;
    qInstallMessageHandler(LogToolkitMessage);
    auto const* const name = std::setlocale(LC_ALL, nullptr);
    std::string const locale = name != nullptr ? name : "C";
    // Not destroyed: the end of the process is too late for it, and nobody knows of an earlier one.
    static auto* const application = new QApplication(count, arguments);
    static_cast<void>(application);
    std::setlocale(LC_ALL, locale.c_str());
}

} // namespace qx5::cli
