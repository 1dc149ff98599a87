#include "platform/foundation/DesktopPicture.h"

#include "platform/foundation/DesktopSettings.h"
#include "platform/foundation/Path.h"

namespace platform {

namespace {

// The path in a setting that holds a file's URL, or the path itself.
std::optional<QString> pathOfURL(const QString& url) {
    constexpr QLatin1String kScheme("file://");
    QString path = url;
    if (url.startsWith(kScheme, Qt::CaseInsensitive)) {
        const qsizetype root = url.indexOf(QLatin1Char('/'), kScheme.size());  // after a host
        if (root < 0) return std::nullopt;
        path = stringWithFileSystemRepresentation(
            QByteArray::fromPercentEncoding(url.mid(root).toUtf8()));
    }
    const bool isPath = path.startsWith(QLatin1Char('/')) && !path.contains(QChar::Null);
    return isPath ? std::optional(path) : std::nullopt;
}

std::optional<QString> pictureOf(const char* schema, const char* key) {
    if (desktopSetting(schema, "picture-options") == QStringLiteral("none")) return std::nullopt;
    return pathOfURL(desktopSetting(schema, key).value_or(QString()));
}

}  // namespace

std::optional<QString> gnomeDesktopPicture(int) {
    constexpr char kSchema[] = "org.gnome.desktop.background";
    if (desktopSetting("org.gnome.desktop.interface", "color-scheme") ==
        QStringLiteral("prefer-dark")) {
        if (const auto dark = pictureOf(kSchema, "picture-uri-dark")) return dark;
    }
    return pictureOf(kSchema, "picture-uri");
}

std::optional<QString> cinnamonDesktopPicture(int) {
    return pictureOf("org.cinnamon.desktop.background", "picture-uri");
}

std::optional<QString> mateDesktopPicture(int) {
    return pictureOf("org.mate.background", "picture-filename");
}

}  // namespace platform
