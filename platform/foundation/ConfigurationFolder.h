#pragma once

#include <QString>
#include <QStringList>

namespace platform {

/// The user's home folder, as a path.
QString homeFolder();

/// The folder of the user's configuration files (XDG base directories 0.8:
/// $XDG_CONFIG_HOME, or ~/.config where it is unset or not absolute).
QString configurationFolder();

/// configurationFolder() followed by the machine's configuration folders ($XDG_CONFIG_DIRS, or
/// /etc/xdg), the more important first.
QStringList configurationFolders();

/// The folder of the user's files that can be made again ($XDG_CACHE_HOME, or ~/.cache where it is
/// unset or not absolute).
QString cacheFolder();

}  // namespace platform
