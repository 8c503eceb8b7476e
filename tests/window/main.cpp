// The tests' own program: they need an application, and no display.
#include "tests/support/temporary_folder.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Nothing of the user's own is read or written, here or by programs that are started.
    qx5::test::TemporaryFolder const settings("qx5-settings");
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(settings.string()));
    testing::InitGoogleTest(&argc, argv);
    QApplication const application(argc, argv);
    // What the platform cannot do without a display is no matter here.
    qInstallMessageHandler([](QtMsgType type, QMessageLogContext const&, QString const& text) {
        if (type == QtCriticalMsg || type == QtFatalMsg) {
            ADD_FAILURE() << text.toStdString();
        }
    });
    return RUN_ALL_TESTS();
}
