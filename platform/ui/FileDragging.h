#pragma once

#include <QString>
#include <QStringList>

#include <memory>

class QMimeData;

namespace platform {

/// The file at `path`, as it is dragged to another program (text/uri-list, RFC 2483).
std::unique_ptr<QMimeData> mimeDataWithPath(const QString& path);

/// The absolute paths of the files and folders of this machine that are being dragged; none for
/// anything else.
QStringList pathsOfMimeData(const QMimeData* data);

}  // namespace platform
