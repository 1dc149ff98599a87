#include "tests/platform/audio/Songs.h"

#include <QByteArrayList>
#include <QDataStream>
#include <QFile>
#include <QTemporaryDir>
#include <QTemporaryFile>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace platform::audio {

QByteArray encodedBy(const QStringList& command, const QString& suffix) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("song.") + suffix);
    QStringList arguments = command;
    arguments.replaceInStrings(QStringLiteral("OUT"), path);
    QByteArrayList words;
    for (const QString& argument : arguments)
        words << argument.toUtf8();
    std::vector<char*> argv;
    for (QByteArray& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    // Not by QProcess: after its way of forking, the thread sanitizer is blind to the locks of the
    // thread that started it.
    pid_t encoder = 0;
    int status = 0;
    const bool ended =
        ::posix_spawnp(&encoder, argv[0], nullptr, nullptr, argv.data(), environ) == 0 &&
        ::waitpid(encoder, &status, 0) == encoder;
    if (!ended || status != 0) std::abort();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) std::abort();
    return file.readAll();
}

QString songSource(double seconds, int rate, int channels) {
    const QString left =
        QStringLiteral("0.3*sin(2*PI*440*t)+0.2*sin(2*PI*(200+900*t)*t)+0.1*(random(0)-0.5)");
    const QString right = QStringLiteral("0.4*sin(2*PI*554.37*t*(1+0.05*t))+0.1*(random(1)-0.5)");
    return QStringLiteral("aevalsrc=%1:s=%2:d=%3")
        .arg(channels == 1 ? left : left + u'|' + right)
        .arg(rate)
        .arg(seconds);
}

QByteArray encodedFrom(const QString& source, const QString& options, const QString& suffix) {
    QStringList command = QStringLiteral("ffmpeg -v error -f lavfi -i").split(u' ');
    command << source << options.split(u' ', Qt::SkipEmptyParts) << QStringLiteral("OUT");
    return encodedBy(command, suffix);
}

QByteArray encodedSong(double seconds, const QString& options, const QString& suffix, int rate,
                       int channels) {
    return encodedFrom(songSource(seconds, rate, channels), options, suffix);
}

QByteArray waveFile(const std::vector<float>& stereo, int rate) {
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    const auto size = static_cast<quint32>(stereo.size() * sizeof(float));
    constexpr quint16 kIeeeFloat = 3;
    out.writeRawData("RIFF", 4);
    out << 36 + size;
    out.writeRawData("WAVEfmt ", 8);
    out << quint32{16} << kIeeeFloat << quint16{2} << rate << 8 * rate << quint16{8} << quint16{32};
    out.writeRawData("data", 4);
    out << size;
    return bytes.append(reinterpret_cast<const char*>(stereo.data()), size);
}

Reference wholeFileDecode(const QByteArray& bytes) {
    QTemporaryFile song;
    if (!song.open() || song.write(bytes) != bytes.size() || !song.flush()) std::abort();
    const QByteArray wave =
        encodedBy({QStringLiteral("ffmpeg"), QStringLiteral("-v"), QStringLiteral("error"),
                   QStringLiteral("-i"), song.fileName(), QStringLiteral("-c:a"),
                   QStringLiteral("pcm_f32le"), QStringLiteral("OUT")},
                  QStringLiteral("wav"));
    QDataStream header(wave);
    header.setByteOrder(QDataStream::LittleEndian);
    header.skipRawData(22);
    quint16 channels = 0;
    qint32 rate = 0;
    header >> channels >> rate;
    Reference reference = {{}, channels, rate};
    const QByteArray data = wave.sliced(wave.indexOf("data", 36) + 8);
    reference.samples.resize(static_cast<size_t>(data.size()) / sizeof(float));
    std::memcpy(reference.samples.data(), data.constData(),
                reference.samples.size() * sizeof(float));
    return reference;
}

}  // namespace platform::audio
