#include "platform/foundation/ConfigurationFolder.h"

#include "platform/foundation/Path.h"

#include <QByteArrayList>
#include <QDir>

namespace platform {

// QStandardPaths answers the same questions, but loses what is no valid UTF-8 in a folder's name.

QString homeFolder() {
    const QByteArray home = qgetenv("HOME");
    return home.startsWith('/') ? stringWithFileSystemRepresentation(home) : QDir::homePath();
}

namespace {

QString userFolder(const char* variable, QLatin1String fallback) {
    const QByteArray folder = qgetenv(variable);
    return folder.startsWith('/') ? stringWithFileSystemRepresentation(folder)
                                  : homeFolder() + fallback;
}

}  // namespace

QString configurationFolder() {
    return userFolder("XDG_CONFIG_HOME", QLatin1String("/.config"));
}

QString cacheFolder() {
    return userFolder("XDG_CACHE_HOME", QLatin1String("/.cache"));
}

QStringList configurationFolders() {
    QStringList folders{configurationFolder()};
    const QByteArray machine = qgetenv("XDG_CONFIG_DIRS");
    for (const QByteArray& folder : (machine.isEmpty() ? "/etc/xdg" : machine).split(':')) {
        if (folder.startsWith('/')) folders += stringWithFileSystemRepresentation(folder);
    }
    return folders;
}

}  // namespace platform
