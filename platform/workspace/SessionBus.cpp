#include "platform/workspace/SessionBus.h"

#include <QByteArray>
#include <QFile>

namespace platform {

bool hasSessionBus() {
    // Without an address the bus library would look for a bus in ways that start one; where a bus
    // without an address stands is agreed on (systemd, sd_bus_open_user(3)).
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) return true;
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    return !folder.isEmpty() && QFile::exists(QFile::decodeName(folder + "/bus"));
}

}  // namespace platform
