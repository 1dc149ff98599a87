#include "bench/audio/OtherPlayers.h"

#include "bench/Home.h"
#include "tests/platform/audio/SoundServer.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <unistd.h>

namespace platform::audio {

namespace {

/// Processor time that a process has used, in seconds (proc(5), stat: utime and stime).
double processorSecondsOf(qint64 process) {
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    if (!file.open(QIODevice::ReadOnly)) return 0;
    const QByteArray line = file.readAll();
    // What stands before the parenthesis may hold blanks of its own.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    constexpr qsizetype kUserTime = 11;
    constexpr qsizetype kSystemTime = 12;
    if (fields.size() <= kSystemTime) return 0;
    const double ticks = fields[kUserTime].toDouble() + fields[kSystemTime].toDouble();
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double shareOf(const QString& player, const QStringList& arguments) {
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(player, arguments);
    process.waitForStarted();
    runEvents(3);
    constexpr double kSeconds = 10;
    const double before = processorSecondsOf(process.processId());
    runEvents(kSeconds);
    const double share = (processorSecondsOf(process.processId()) - before) / kSeconds;
    process.kill();
    process.waitForFinished();
    return share;
}

}  // namespace

std::vector<PlayerCost> costOfOtherPlayers(const QByteArray& song) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("song.mp3"));
    bench::writeFile(path, song);
    qputenv("SDL_AUDIODRIVER", "pulseaudio");
    const std::pair<QString, QStringList> players[] = {
        {QStringLiteral("mpv"),
         {QStringLiteral("--no-config"), QStringLiteral("--no-video"),
          QStringLiteral("--no-terminal"), QStringLiteral("--ao=pulse"), path}},
        {QStringLiteral("ffplay"),
         {QStringLiteral("-nodisp"), QStringLiteral("-nostats"), QStringLiteral("-loglevel"),
          QStringLiteral("quiet"), path}}};
    std::vector<PlayerCost> costs;
    for (const auto& [player, arguments] : players) {
        if (QStandardPaths::findExecutable(player).isEmpty()) continue;
        costs.push_back({player.toStdString(), shareOf(player, arguments)});
    }
    return costs;
}

}  // namespace platform::audio
