#include <QApplication>
#include <QTemporaryDir>

#include <gmock/gmock.h>

// Tests of what is shown run in an application with a home of their own, so that no setting of the
// person who runs them counts or changes.
int main(int argc, char** argv) {
    // Nor is a display needed, to run or to list the tests.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_CURRENT_DESKTOP", "none");
    const QApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
