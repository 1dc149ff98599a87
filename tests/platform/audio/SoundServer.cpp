#include "tests/platform/audio/SoundServer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFile>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace platform::audio {

namespace {

/// Front left and right stand first wherever there are both.
QString channelMap(int channels) {
    switch (channels) {
        case 1:
            return QStringLiteral("mono");
        case 2:
            return QStringLiteral("front-left,front-right");
        default:
            return QStringLiteral("front-left,front-right,rear-left,rear-right,front-center,lfe");
    }
}

}  // namespace

bool SoundServer::isInstalled() {
    for (const char* program : {"pulseaudio", "pactl", "parec", "pacat"})
        if (QStandardPaths::findExecutable(QLatin1String(program)).isEmpty()) return false;
    return true;
}

SoundServer::SoundServer() {
    if (!folder_.isValid()) std::abort();
    qputenv("XDG_RUNTIME_DIR", folder_.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", folder_.path().toUtf8());
    qputenv("HOME", folder_.path().toUtf8());
    qputenv("PULSE_SERVER", "unix:" + folder_.filePath(QStringLiteral("socket")).toUtf8());
    // Without the server there shall be no device at all.
    qputenv("ALSA_CONFIG_PATH", "/dev/null");
}

SoundServer::~SoundServer() {
    recorder_.reset();
    kill();
}

void SoundServer::start(int rate, int channels) {
    kill();
    server_ = std::make_unique<QProcess>();
    server_->setProcessChannelMode(QProcess::MergedChannels);
    server_->setStandardOutputFile(QProcess::nullDevice());
    const QString protocol =
        QStringLiteral("module-native-protocol-unix auth-anonymous=1 socket=%1")
            .arg(folder_.filePath(QStringLiteral("socket")));
    const QString sink =
        QStringLiteral(
            "module-null-sink sink_name=null format=float32le rate=%1 channels=%2 channel_map=%3")
            .arg(rate)
            .arg(channels)
            .arg(channelMap(channels));
    server_->start(QStringLiteral("pulseaudio"),
                   {QStringLiteral("-n"), QStringLiteral("--daemonize=no"),
                    QStringLiteral("--exit-idle-time=-1"), QStringLiteral("--use-pid-file=no"),
                    QStringLiteral("--disable-shm=no"), QStringLiteral("-L"), protocol,
                    QStringLiteral("-L"), sink});
    const QDeadlineTimer patience(10000);
    while (!control({QStringLiteral("info")}).contains("Default Sink: null")) {
        if (patience.hasExpired()) std::abort();
        QThread::msleep(20);
    }
    waitForNewSink();
}

void SoundServer::waitForNewSink() {
    // A null sink has rendered two seconds ahead before anything can ask it for less, and takes no
    // frames until they are over.
    constexpr unsigned long kRenderedAhead = 2100;
    QThread::msleep(kRenderedAhead);
}

void SoundServer::pause() {
    ::kill(static_cast<pid_t>(server_->processId()), SIGSTOP);
}

void SoundServer::resume() {
    ::kill(static_cast<pid_t>(server_->processId()), SIGCONT);
}

void SoundServer::startMute() {
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    const QByteArray path = folder_.filePath(QStringLiteral("socket")).toUtf8();
    path.toStdString().copy(address.sun_path, sizeof address.sun_path - 1);
    mute_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(mute_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(mute_, 8) != 0)
        std::abort();
}

void SoundServer::kill() {
    if (mute_ >= 0) {
        ::close(std::exchange(mute_, -1));
        QFile::remove(folder_.filePath(QStringLiteral("socket")));
    }
    if (!server_) return;
    server_->kill();
    server_->waitForFinished();
    server_.reset();
}

QByteArray SoundServer::control(const QStringList& arguments) const {
    QProcess pactl;
    pactl.start(QStringLiteral("pactl"), arguments);
    pactl.waitForFinished(5000);
    return pactl.readAllStandardOutput();
}

void SoundServer::startRecording(const QString& sink, int rate, int channels) {
    recorder_ = std::make_unique<QProcess>();
    recorder_->setStandardOutputFile(folder_.filePath(QStringLiteral("recording")));
    recorder_->start(
        QStringLiteral("parec"),
        {QStringLiteral("--device=%1.monitor").arg(sink), QStringLiteral("--raw"),
         QStringLiteral("--format=float32le"), QStringLiteral("--latency-msec=50"),
         QStringLiteral("--rate=%1").arg(rate), QStringLiteral("--channels=%1").arg(channels),
         QStringLiteral("--channel-map=") + channelMap(channels)});
    const QString file = folder_.filePath(QStringLiteral("recording"));
    const QDeadlineTimer patience(5000);
    while (QFile(file).size() == 0) {
        if (patience.hasExpired()) std::abort();
        QThread::msleep(10);
    }
}

std::vector<float> SoundServer::stopRecording() {
    recorder_->terminate();
    recorder_->waitForFinished();
    recorder_.reset();
    QFile file(folder_.filePath(QStringLiteral("recording")));
    if (!file.open(QIODevice::ReadOnly)) std::abort();
    const QByteArray raw = file.readAll();
    std::vector<float> samples(static_cast<size_t>(raw.size()) / sizeof(float));
    std::memcpy(samples.data(), raw.constData(), samples.size() * sizeof(float));
    return samples;
}

void runEvents(double seconds) {
    QEventLoop loop;
    QTimer::singleShot(static_cast<int>(seconds * 1000), Qt::PreciseTimer, &loop,
                       &QEventLoop::quit);
    loop.exec();
}

}  // namespace platform::audio
