#include "platform/foundation/Workspace.h"

#include "platform/foundation/DesktopPicture.h"
#include "platform/foundation/Path.h"

#include <QByteArrayList>

#include <sys/stat.h>

#include <iterator>

namespace platform {

namespace {

struct Desktop {
    const char* name;  // as in XDG_CURRENT_DESKTOP
    std::optional<QString> (*picture)(int screen);
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
};

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
    const QByteArrayList names = qgetenv("XDG_CURRENT_DESKTOP").split(':');
    std::optional<QString> picture;
    for (const QByteArray& name : names) {
        const auto* desktop =
            std::find_if(std::begin(kDesktops), std::end(kDesktops), [&](const Desktop& known) {
                return name.compare(known.name, Qt::CaseInsensitive) == 0;
            });
        if (desktop == std::end(kDesktops)) continue;
        picture = desktop->picture(screen);
        break;
    }
    return picture && isFile(*picture) ? picture : std::nullopt;
}

}  // namespace platform
