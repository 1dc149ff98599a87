#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace bench {

/// Goes on inside a desktop session of its own (scripts/session), with a screen, a sound server and
/// an empty home: the program of `argv` is started anew there, unless it runs in one already. What
/// it starts finds no screen reader, which would cost a start what few users pay.
void enterSession(char** argv);

/// Writes a file, and the folders that it lies in; what fails is said on stderr.
void writeFile(const QString& path, const QByteArray& content);

/// Empties the page cache, which only the superuser may; false otherwise.
bool forgetFiles();

/// What stands in the session's home before a program under measurement starts.
class Home {
  public:
    struct Setting {
        bool wallpaper = false;   ///< the desktop's picture is a JPEG of 5K
        int tracks = 0;           ///< so many are in both decks' default folder; no folder for 0
        bool lessMotion = false;  ///< the desktop asks for it
    };

    /// Makes it so, with nothing left of an earlier run.
    void set(const Setting& setting) const;

    /// Writes an mp3 of four minutes with 192 kb/s, `tag` in front; gives its path.
    QString song(const QString& name, const QByteArray& tag = {},
                 const QString& sound = QStringLiteral("sine")) const;

  private:
    QString desktopFile() const;
    QString motionFile() const;
    QByteArray channelWithWallpaper() const;

    QTemporaryDir folder_;
    QString configuration_ = qEnvironmentVariable("XDG_CONFIG_HOME");
};

}  // namespace bench
