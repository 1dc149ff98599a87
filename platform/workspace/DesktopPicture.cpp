#include "platform/workspace/DesktopPicture.h"

#include "platform/foundation/ConfigurationFolder.h"
#include "platform/foundation/Path.h"
#include "platform/workspace/DesktopSettings.h"
#include "platform/workspace/KeyFile.h"

#include <QByteArray>

namespace platform {

namespace {

std::optional<QString> pictureOf(const char* schema, const char* key, const DesktopScreen& screen) {
    if (desktopSetting(schema, "picture-options") == QStringLiteral("none")) return std::nullopt;
    const std::optional<QString> path = pathOfURL(desktopSetting(schema, key).value_or(QString()));
    const bool isSlideshow = path && path->endsWith(QLatin1String(".xml"), Qt::CaseInsensitive);
    return isSlideshow ? slideshowPicture(*path, screen.size) : path;
}

// feh writes the command that shows the picture again: its options, then the files, one a screen,
// in a shell's single quotes.
std::optional<QString> fehPicture(const QByteArray& command, int screen) {
    QByteArrayList files;
    for (qsizetype i = command.indexOf(" '/"); i >= 0; i = command.indexOf(" '/", i)) {
        QByteArray file;
        for (i += 2; i < command.size(); ++i) {
            if (command[i] != '\'') {
                file += command[i];
            } else if (command.mid(i, 4) == "'\\''") {
                file += '\'';
                i += 3;
            } else {
                break;
            }
        }
        files += file;
    }
    // One picture for all screens stands alone.
    if (files.isEmpty()) return std::nullopt;
    return stringWithFileSystemRepresentation(files.value(screen, files.last()));
}

}  // namespace

std::optional<QString> pathOfURL(const QString& url) {
    const bool isPath = url.startsWith(QLatin1Char('/')) && !url.contains(QChar::Null);
    return isPath ? std::optional(url) : pathWithFileURL(fileSystemRepresentation(url));
}

std::optional<QString> pictureForScreen(const QList<SizedPicture>& pictures, const QSize& screen) {
    const auto area = [](const QSize& size) { return qint64{size.width()} * size.height(); };
    const auto covers = [&](const QSize& size) {
        return !screen.isEmpty() && size.width() >= screen.width() &&
               size.height() >= screen.height();
    };
    const SizedPicture* best = nullptr;
    for (const SizedPicture& picture : pictures) {
        const bool covering = covers(picture.size);
        const bool better = !best || (covering != covers(best->size)
                                          ? covering
                                          : covering == (area(picture.size) < area(best->size)));
        if (better) best = &picture;
    }
    return best ? std::optional(best->path) : std::nullopt;
}

std::optional<QString> gnomeDesktopPicture(const DesktopScreen& screen) {
    constexpr char kSchema[] = "org.gnome.desktop.background";
    if (desktopSetting("org.gnome.desktop.interface", "color-scheme") ==
        QStringLiteral("prefer-dark")) {
        if (auto dark = pictureOf(kSchema, "picture-uri-dark", screen)) return dark;
    }
    return pictureOf(kSchema, "picture-uri", screen);
}

std::optional<QString> cinnamonDesktopPicture(const DesktopScreen& screen) {
    return pictureOf("org.cinnamon.desktop.background", "picture-uri", screen);
}

std::optional<QString> mateDesktopPicture(const DesktopScreen& screen) {
    return pictureOf("org.mate.background", "picture-filename", screen);
}

std::optional<QString> windowManagerDesktopPicture(const DesktopScreen& screen) {
    if (const auto command = dataWithContentsOfFile(homeFolder() + QStringLiteral("/.fehbg"))) {
        if (auto picture = fehPicture(*command, screen.number)) return picture;
    }
    const KeyFile nitrogen(configurationFolder() + QStringLiteral("/nitrogen/bg-saved.cfg"));
    // By screen, for all of them, and without knowledge of screens.
    for (const QString& group : {QStringLiteral("xin_%1").arg(screen.number),
                                 QStringLiteral("xin_-1"), QStringLiteral(":0.0")}) {
        if (const auto picture = nitrogen.value(group, QStringLiteral("file"))) {
            return pathOfURL(*picture);
        }
    }
    return std::nullopt;
}

}  // namespace platform
