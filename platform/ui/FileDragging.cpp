#include "platform/ui/FileDragging.h"

#include "platform/foundation/Path.h"

#include <QMimeData>

namespace platform {

namespace {

const QString& uriList() {
    static const QString format = QStringLiteral("text/uri-list");
    return format;
}

}  // namespace

// The toolkit's own lists of URLs lose the bytes of a name that is no valid UTF-8.

std::unique_ptr<QMimeData> mimeDataWithPath(const QString& path) {
    auto data = std::make_unique<QMimeData>();
    data->setData(uriList(), fileURLWithPath(path) + "\r\n");
    return data;
}

QStringList pathsOfMimeData(const QMimeData* data) {
    QStringList paths;
    for (const QByteArray& line : data->data(uriList()).split('\n')) {
        if (const auto path = pathWithFileURL(line)) paths << *path;
    }
    return paths;
}

}  // namespace platform
