#pragma once

#include <QList>
#include <QSize>
#include <QString>

#include <optional>

namespace platform {

/// A screen as the desktops' settings speak of it.
struct DesktopScreen {
    int number = 0;  // 0 is the main screen
    QString name;    // the output's, "HDMI-1"; empty when not known
    QSize size;      // pixels; empty when not known
};

// Where each desktop says which picture it shows: the path of a file, which may not be there, or
// nothing when it shows none.

/// GNOME and those that keep its settings: Unity, Budgie, Pantheon.
std::optional<QString> gnomeDesktopPicture(const DesktopScreen& screen);
std::optional<QString> cinnamonDesktopPicture(const DesktopScreen& screen);
std::optional<QString> mateDesktopPicture(const DesktopScreen& screen);
std::optional<QString> plasmaDesktopPicture(const DesktopScreen& screen);
std::optional<QString> xfceDesktopPicture(const DesktopScreen& screen);
/// A bare window manager, whose picture feh or nitrogen sets.
std::optional<QString> windowManagerDesktopPicture(const DesktopScreen& screen);

// What several of them share.

/// The path that a file's URL, or the path itself, stands for; absent for anything else.
std::optional<QString> pathOfURL(const QString& url);

/// A picture that exists in several sizes.
struct SizedPicture {
    QSize size;
    QString path;
};

/// The smallest of `pictures` that covers `screen`, else the largest; absent when there is none.
std::optional<QString> pictureForScreen(const QList<SizedPicture>& pictures, const QSize& screen);

/// The picture that the slide show in the XML file at `path` (as GNOME's desktop background reads
/// it) shows now on `screen`; absent when it names none.
std::optional<QString> slideshowPicture(const QString& path, const QSize& screen);

}  // namespace platform
