#include "bench/Home.h"

#include "bench/Pictures.h"
#include "bench/TestLibrary.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace bench {

void writeFile(const QString& path, const QByteArray& content) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        std::fprintf(stderr, "%s could not be written\n", qPrintable(path));
}

void enterSession(char** argv) {
    if (!qEnvironmentVariableIsEmpty("PAIRDECK_SESSION")) {
        qunsetenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
        return;
    }
    std::string session = SESSION;
    std::vector<char*> command = {session.data()};
    while (*argv)
        command.push_back(*argv++);
    command.push_back(nullptr);
    ::execv(command[0], command.data());
    std::perror(command[0]);
    std::exit(1);
}

bool forgetFiles() {
    ::sync();
    std::ofstream file("/proc/sys/vm/drop_caches");
    file << "3" << std::flush;
    return file.good();
}

void Home::set(const Setting& setting) const {
    const QString own = configuration_ + QStringLiteral("/com.ovrelin.Pairdeck");
    QDir(own).removeRecursively();
    QFile::remove(desktopFile());
    QFile::remove(motionFile());
    if (setting.lessMotion) writeFile(motionFile(), "[KDE]\nAnimationDurationFactor=0\n");
    if (setting.wallpaper) writeFile(desktopFile(), channelWithWallpaper());
    if (setting.tracks == 0) return;
    const QByteArray folder = libraryOf(setting.tracks).toUtf8();
    writeFile(own + QStringLiteral("/defaults.json"),
              "{\"PairdeckLeftDefaultDirectory\": \"" + folder +
                  "\", \"PairdeckRightDefaultDirectory\": \"" + folder + "\"}");
}

QString Home::song(const QString& name, const QByteArray& tag, const QString& sound) const {
    QProcess encoder;
    encoder.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    encoder.start(QStringLiteral("ffmpeg"),
                  QStringLiteral("-loglevel error -f lavfi -i %1 -t 240 -b:a 192k "
                                 "-id3v2_version 0 -f mp3 -")
                      .arg(sound)
                      .split(u' '));
    encoder.waitForFinished();
    QString path = folder_.filePath(name + QStringLiteral(".mp3"));
    writeFile(path, tag + encoder.readAllStandardOutput());
    return path;
}

QString Home::desktopFile() const {
    return configuration_ + QStringLiteral("/xfce4/xfconf/xfce-perchannel-xml/xfce4-desktop.xml");
}

QString Home::motionFile() const {
    return configuration_ + QStringLiteral("/kdeglobals");
}

QByteArray Home::channelWithWallpaper() const {
    const QString wallpaper = folder_.filePath(QStringLiteral("wallpaper.jpg"));
    if (!QFile::exists(wallpaper)) writeFile(wallpaper, jpegOf(photograph(kFiveK)));
    QByteArray xml = "<channel name=\"xfce4-desktop\">";
    QByteArray end = "</channel>";
    for (const char* property : {"backdrop", "screen0", "monitor0", "workspace0"}) {
        xml += QByteArray("<property name=\"") + property + "\" type=\"empty\">";
        end.prepend("</property>");
    }
    return xml + "<property name=\"last-image\" type=\"string\" value=\"" + wallpaper.toUtf8() +
           "\"/>" + end;
}

}  // namespace bench
