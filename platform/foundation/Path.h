#pragma once

#include <QByteArray>
#include <QString>

#include <filesystem>
#include <functional>
#include <optional>

namespace platform {

// A path is a QString everywhere in the program. A file's name is bytes to the system, though, and
// not always valid UTF-8: each byte that does not decode stands in the string as the lone low
// surrogate U+DC00 + byte, which no valid text contains, and turns back into that byte on the way
// to the file system. Paths therefore survive the round trip byte for byte.

/// The bytes that the file system knows `path` by.
QByteArray fileSystemRepresentation(const QString& path);

/// The path that stands for the file system's `bytes`; the inverse of fileSystemRepresentation.
QString stringWithFileSystemRepresentation(QByteArrayView bytes);

/// `path` for the functions of the standard library.
std::filesystem::path standardPath(const QString& path);

/// The "file:" URL of the absolute `path` (RFC 8089), byte for byte.
QByteArray fileURLWithPath(const QString& path);

/// The absolute path that a "file:" URL of this machine names; absent for any other text.
std::optional<QString> pathWithFileURL(QByteArrayView url);

/// `text` as it may be shown: every unpaired surrogate replaced by U+FFFD.
QString displayString(const QString& text);

/// The last component of `path` (trailing slashes ignored); "/" for the root, empty for empty.
QString lastPathComponent(const QString& path);

/// The whole content of the regular file at `path`, up to a hole of more than 64 MB; absent when it
/// can't be read, when twice its size would leave less than 128 MB of freeMemory(), or when it is a
/// folder, a FIFO, a socket or a device (none of which is opened for reading without end).
/// `goesOn`, if given, is asked with each megabyte that has come whether the rest is wanted, too.
std::optional<QByteArray> dataWithContentsOfFile(const QString& path,
                                                 const std::function<bool()>& goesOn = {});

}  // namespace platform
