#include <QApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <gmock/gmock.h>

// A home and a message bus of the tests' own.
int main(int argc, char** argv) {
    // No display is needed, to run or to list the tests.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
    qputenv("XDG_CURRENT_DESKTOP", "none");
    QProcess bus;
    bus.start(QStringLiteral("dbus-daemon"),
              {QStringLiteral("--session"), QStringLiteral("--nofork"),
               QStringLiteral("--print-address")});
    if (!bus.waitForReadyRead()) return EXIT_FAILURE;
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.readLine().trimmed());
    int status = EXIT_FAILURE;
    {
        const QApplication application(argc, argv);
        testing::InitGoogleMock(&argc, argv);
        status = RUN_ALL_TESTS();
    }
    bus.terminate();
    bus.waitForFinished();
    return status;
}
