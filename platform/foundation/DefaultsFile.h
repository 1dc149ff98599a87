#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace platform {

/// The file at the end of the chain of symbolic links that starts at `path`, which may not exist
/// yet; `path` itself when it is no link.
QString resolvedPath(const QString& path);

/// The object in the JSON file at `path`; absent when there is none or it can't be read now. What
/// is no such object, is too large for one (8 MiB), or may not be read, is moved aside to the first
/// free of `path`.damaged, `path`.damaged.2 ...
std::optional<QJsonObject> readDefaultsFile(const QString& path);

/// Replaces the file at `path` by one that holds `changes` over its present values, or over
/// `known` where it is gone or damaged, and returns these values. On return they are on disk.
/// Absent on failure, the file being as it was; also while another process is writing it, while a
/// file that can't be read stands in its place, and for the empty path, which is no place.
std::optional<QJsonObject> updateDefaultsFile(const QString& path, const QJsonObject& known,
                                              const QJsonObject& changes);

}  // namespace platform
