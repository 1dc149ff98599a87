#pragma once

#include <QString>
#include <QStringList>

namespace platform {

// XDG base directories 0.8. A variable that is unset, empty or not absolute counts for nothing.

/// The user's home folder, as a path: $HOME, or the user database's where that says nothing. Empty
/// where neither names one; the root of the file system is no home.
QString homeFolder();

/// The folder of the user's configuration files: $XDG_CONFIG_HOME or ~/.config. Empty without a
/// home; nothing is then to be kept.
QString configurationFolder();

/// configurationFolder() followed by the machine's configuration folders ($XDG_CONFIG_DIRS or
/// /etc/xdg), the more important first.
QStringList configurationFolders();

/// The folder of the user's files that can be made again: $XDG_CACHE_HOME or ~/.cache. Empty
/// without a home.
QString cacheFolder();

/// The folder of the session's files, which this user alone can see and which are gone after it:
/// $XDG_RUNTIME_DIR, in a sandbox the part of it that the session sees, too. Empty without one.
QString runtimeFolder();

/// Has libraries, which read the same variables by rules of their own, find the same folders: takes
/// what counts for nothing out of the environment and sets $HOME. For the program's beginning.
void settleEnvironment();

}  // namespace platform
