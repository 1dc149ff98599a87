#include "platform/workspace/Workspace.h"

#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/Path.h"
#include "platform/workspace/DesktopPicture.h"
#include "platform/workspace/DisplayOptions.h"

#include <QByteArrayList>
#include <QGuiApplication>
#include <QPointer>
#include <QScreen>

#include <sys/stat.h>

namespace platform {

namespace {

using DesktopPicture = std::optional<QString> (*)(const DesktopScreen&);

struct Desktop {
    const char* name;  // as in XDG_CURRENT_DESKTOP
    DesktopPicture picture;
};

constexpr Desktop kDesktops[] = {
    {"GNOME", gnomeDesktopPicture},
    {"GNOME-Classic", gnomeDesktopPicture},
    {"GNOME-Flashback", gnomeDesktopPicture},
    {"Unity", gnomeDesktopPicture},
    {"Budgie", gnomeDesktopPicture},
    {"Pantheon", gnomeDesktopPicture},
    {"X-Cinnamon", cinnamonDesktopPicture},
    {"Cinnamon", cinnamonDesktopPicture},
    {"MATE", mateDesktopPicture},
    {"KDE", plasmaDesktopPicture},
    {"XFCE", xfceDesktopPicture},
};

// XDG_CURRENT_DESKTOP names the desktop and those it descends from, the closest first.
DesktopPicture runningDesktop() {
    for (const QByteArray& name : qgetenv("XDG_CURRENT_DESKTOP").split(':')) {
        for (const Desktop& desktop : kDesktops) {
            if (name.compare(desktop.name, Qt::CaseInsensitive) == 0) return desktop.picture;
        }
    }
    return windowManagerDesktopPicture;
}

DesktopScreen screenWithNumber(int number) {
    DesktopScreen screen{.number = number, .name = {}, .size = {}};
    if (const QScreen* shown = QGuiApplication::screens().value(number)) {
        screen.name = shown->name();
        screen.size = (QSizeF(shown->size()) * shown->devicePixelRatio()).toSize();
    }
    return screen;
}

bool isFile(const QString& path) {
    struct stat status = {};
    return ::stat(fileSystemRepresentation(path).constData(), &status) == 0 &&
           S_ISREG(status.st_mode);
}

}  // namespace

Workspace& Workspace::sharedWorkspace() {
    static Workspace workspace;
    return workspace;
}

std::optional<QString> Workspace::desktopImageURLForScreen(int screen) const {
    const std::optional<QString> picture = runningDesktop()(screenWithNumber(screen));
    return picture && isFile(*picture) ? picture : std::nullopt;
}

const QString& Workspace::accessibilityDisplayOptionsDidChange() {
    static const QString name = QStringLiteral("platform.accessibilityDisplayOptionsDidChange");
    return name;
}

bool Workspace::accessibilityDisplayShouldReduceMotion() const {
    return displayOptions().isWished(DisplayOptions::Wish::LessMotion);
}

bool Workspace::accessibilityDisplayShouldIncreaseContrast() const {
    return displayOptions().isWished(DisplayOptions::Wish::MoreContrast);
}

const DisplayOptions& Workspace::displayOptions() const {
    // The application's: it listens to a bus that ends with it.
    static const QPointer<DisplayOptions> options = new DisplayOptions([this] {
        NotificationCenter::defaultCenter().postNotification(
            {accessibilityDisplayOptionsDidChange(), this});
    });
    return *options;
}

}  // namespace platform
