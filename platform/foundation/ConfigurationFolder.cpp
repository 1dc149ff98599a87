#include "platform/foundation/ConfigurationFolder.h"

#include "platform/foundation/Path.h"

#include <QByteArrayList>

#include <pwd.h>
#include <unistd.h>

#include <array>

namespace platform {

// QStandardPaths answers the same questions, but loses what is no valid UTF-8 in a folder's name.

namespace {

QByteArray absolute(const char* variable) {
    const QByteArray folder = qgetenv(variable);
    return folder.startsWith('/') ? folder : QByteArray();
}

QByteArray home() {
    QByteArray folder = absolute("HOME");
    if (folder.isEmpty()) {
        passwd entry = {};
        passwd* found = nullptr;
        std::array<char, 16384> words = {};
        if (::getpwuid_r(::getuid(), &entry, words.data(), words.size(), &found) == 0 && found)
            folder = found->pw_dir;
    }
    while (folder.endsWith('/'))
        folder.chop(1);
    return folder.startsWith('/') ? folder : QByteArray();
}

QString userFolder(const char* variable, const char* fallback) {
    const QByteArray folder = absolute(variable);
    if (!folder.isEmpty()) return stringWithFileSystemRepresentation(folder);
    const QByteArray own = home();
    return own.isEmpty() ? QString() : stringWithFileSystemRepresentation(own + fallback);
}

}  // namespace

QString homeFolder() {
    return stringWithFileSystemRepresentation(home());
}

QString configurationFolder() {
    return userFolder("XDG_CONFIG_HOME", "/.config");
}

QString cacheFolder() {
    return userFolder("XDG_CACHE_HOME", "/.cache");
}

QString runtimeFolder() {
    const QByteArray folder = absolute("XDG_RUNTIME_DIR");
    const QByteArray sandbox = qgetenv("FLATPAK_ID");
    if (folder.isEmpty() || sandbox.isEmpty()) return stringWithFileSystemRepresentation(folder);
    return stringWithFileSystemRepresentation(folder + "/app/" + sandbox);
}

void settleEnvironment() {
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME",
                                 "XDG_STATE_HOME", "XDG_RUNTIME_DIR"}) {
        if (absolute(variable).isEmpty()) qunsetenv(variable);
    }
    // Where there is no home, one that can't be: libraries would take the root for it.
    const QByteArray folder = home();
    qputenv("HOME", folder.isEmpty() ? "/dev/null" : folder);
}

QStringList configurationFolders() {
    QStringList folders;
    if (const QString own = configurationFolder(); !own.isEmpty()) folders += own;
    const QByteArray machine = qgetenv("XDG_CONFIG_DIRS");
    for (const QByteArray& folder : (machine.isEmpty() ? "/etc/xdg" : machine).split(':')) {
        if (folder.startsWith('/')) folders += stringWithFileSystemRepresentation(folder);
    }
    return folders;
}

}  // namespace platform
