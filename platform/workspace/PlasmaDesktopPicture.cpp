#include "platform/foundation/ConfigurationFolder.h"
#include "platform/foundation/Path.h"
#include "platform/workspace/DesktopPicture.h"
#include "platform/workspace/KeyFile.h"

#include <filesystem>

namespace platform {

namespace {

// Plasma takes a window colour below this grey for a dark scheme.
constexpr int kDarkBelow = 192;

bool isColorSchemeDark() {
    for (const QString& folder : configurationFolders()) {
        const auto color =
            KeyFile(folder + QStringLiteral("/kdeglobals"))
                .value(QStringLiteral("Colors:Window"), QStringLiteral("BackgroundNormal"));
        if (!color) continue;
        const QStringList rgb = color->split(QLatin1Char(','));
        if (rgb.size() < 3) return false;
        // The weights of qGray.
        return (rgb[0].toInt() * 11 + rgb[1].toInt() * 16 + rgb[2].toInt() * 5) / 32 < kDarkBelow;
    }
    return false;
}

// The pictures in `folder` that are named after their size, "1920x1080.png".
QList<SizedPicture> sizedPictures(const QString& folder) {
    QList<SizedPicture> pictures;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(standardPath(folder), error), end;
         !error && entry != end; entry.increment(error)) {
        const QByteArray name = QByteArray::fromStdString(entry->path().stem().string());
        const qsizetype cross = name.indexOf('x');
        const QSize size(name.left(cross).toInt(), name.mid(cross + 1).toInt());
        if (cross < 0 || size.isEmpty()) continue;
        pictures.append({size, stringWithFileSystemRepresentation(
                                   QByteArray::fromStdString(entry->path().string()))});
    }
    return pictures;
}

// A wallpaper package is a folder with one picture in several sizes, and maybe a second for dark
// colours; anything else is the picture itself.
QString pictureOfPackage(const QString& path, const QSize& screen) {
    const QString images = path + QStringLiteral("/contents/images");
    if (isColorSchemeDark()) {
        const auto dark = pictureForScreen(sizedPictures(images + QStringLiteral("_dark")), screen);
        if (dark) return *dark;
    }
    return pictureForScreen(sizedPictures(images), screen).value_or(path);
}

// The group of the desktop on `screen`, of the current activity where there are several.
QString desktopGroup(const KeyFile& applets, int screen) {
    const std::optional<QString> activity =
        KeyFile(configurationFolder() + QStringLiteral("/kactivitymanagerdrc"))
            .value(QStringLiteral("main"), QStringLiteral("currentActivity"));
    QString found;
    for (const QString& group : applets.groups()) {
        const bool isContainment =
            group.startsWith(QLatin1String("Containments][")) && group.count(QLatin1Char('[')) == 1;
        // A panel stands on a screen too; a desktop is planar, which is form 0.
        if (!isContainment ||
            applets.value(group, QStringLiteral("lastScreen")) != QString::number(screen) ||
            applets.value(group, QStringLiteral("formfactor")).value_or(QStringLiteral("0")) !=
                QStringLiteral("0")) {
            continue;
        }
        if (activity && applets.value(group, QStringLiteral("activityId")) == activity) {
            return group;
        }
        if (found.isEmpty()) found = group;
    }
    return found;
}

}  // namespace

std::optional<QString> plasmaDesktopPicture(const DesktopScreen& screen) {
    const KeyFile applets(configurationFolder() +
                          QStringLiteral("/plasma-org.kde.plasma.desktop-appletsrc"));
    const QString desktop = desktopGroup(applets, screen.number);
    const QString plugin = applets.value(desktop, QStringLiteral("wallpaperplugin"))
                               .value_or(QStringLiteral("org.kde.image"));
    // Plug-ins that show a colour have no such key.
    const auto image = applets.value(
        desktop + QStringLiteral("][Wallpaper][%1][General").arg(plugin), QStringLiteral("Image"));
    const std::optional<QString> path = pathOfURL(image.value_or(QString()));
    return path ? std::optional(pictureOfPackage(*path, screen.size)) : std::nullopt;
}

}  // namespace platform
