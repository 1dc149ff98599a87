#pragma once

#include <QByteArray>
#include <QString>

#include <compare>
#include <optional>

struct stat;

namespace platform {

/// What a file is: which one of its file system's, and in which state. While it stays the same, so
/// does what the file holds, provided that the file had been at rest for a moment when it was read
/// (`isSettled`). A tagger that puts the time of modification back still moves that of change.
struct FileIdentity {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;      ///< bytes
    qint64 modified = 0;  ///< nanoseconds since 1970
    qint64 changed = 0;   ///< nanoseconds since 1970

    /// The identity that the system's answer about a file gives.
    static FileIdentity of(const struct stat& status);
    /// That of the file at `path`, links followed; absent for none. It may wait for the disk.
    static std::optional<FileIdentity> ofFile(const QString& path);

    /// Whether the file had been at rest for two seconds at `now`, in nanoseconds since 1970: times
    /// are kept as coarsely as that, and a second change within one step leaves no trace. A file
    /// from the future is never settled.
    bool isSettled(qint64 now) const;

    /// The identity as 40 bytes, the same on every machine: a key to what is known of the file.
    QByteArray key() const;

    auto operator<=>(const FileIdentity&) const = default;
};

}  // namespace platform
