#pragma once

#include <QString>
#include <QStringList>

namespace platform {

/// Questions to the file system.
class FileManager {
  public:
    /// Every entry below the folder at `path`, at every depth, hidden ones included, as paths
    /// relative to it: each folder before its content, siblings in NaturalOrder::ofUser(), whatever
    /// the file system keeps. A symbolic link is listed but not entered, so there are no loops.
    /// What can't be read is left out; no folder at all gives no entries. Depth is bounded by
    /// memory alone.
    static QStringList subpathsOfDirectoryAtPath(const QString& path);
};

}  // namespace platform
