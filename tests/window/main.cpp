// The tests' own program: they need an application, and no display.
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
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
