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

QString configurationFolder() {
    const QByteArray folder = qgetenv("XDG_CONFIG_HOME");
    return folder.startsWith('/') ? stringWithFileSystemRepresentation(folder)
                                  : homeFolder() + QStringLiteral("/.config");
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
