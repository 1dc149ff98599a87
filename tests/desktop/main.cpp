#include "tests/support/TestHome.h"

#include <QApplication>

#include <gmock/gmock.h>
#include <signal.h>

#include <cstdio>

// A home and a message bus of the tests' own.
int main(int argc, char** argv) {
    const TestHome home;
    // Not by QProcess: after its way of forking, the thread sanitizer is blind to this thread's
    // locks.
    FILE* const bus =
        ::popen("dbus-daemon --session --fork --print-address=1 --print-pid=1 2>/dev/null", "r");
    char address[512] = {};
    int daemon = 0;
    const bool isUp = bus && std::fscanf(bus, "%511s %d", address, &daemon) == 2;
    if (bus) ::pclose(bus);
    if (isUp) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    } else {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    int status = EXIT_FAILURE;
    {
        const QApplication application(argc, argv);
        testing::InitGoogleMock(&argc, argv);
        status = RUN_ALL_TESTS();
    }
    if (isUp) ::kill(daemon, SIGTERM);
    return status;
}
