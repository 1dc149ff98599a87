// Two decks left to themselves: the whole interface plays a folder of all kinds of files with
// repeat all for as many minutes as asked for (30 unless told), a button being pressed every few
// seconds. Prints what is held at the start, at each minute and at the end. It uses the session's
// settings, screen and sound server:
//
// Usage: scripts/session bench_soak soak [MINUTES]

#include "decks/InterfaceClasses.h"
#include "decks/Pairdeck.h"
#include "platform/audio/AudioEngine.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/ui/InterfaceLoader.h"
#include "tests/platform/audio/Songs.h"
#include "tests/platform/audio/SoundServer.h"
#include "tests/platform/media/TagBytes.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <cstdio>
#include <fstream>
#include <random>
#include <string>

namespace platform::audio {
namespace {

struct Holdings {
    double megabytes = 0;
    int descriptors = 0;
    int threads = 0;
};

Holdings holdings() {
    Holdings held;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) held.megabytes = std::stod(line.substr(6)) * 1024e-6;
        if (line.rfind("Threads:", 0) == 0) held.threads = std::stoi(line.substr(8));
    }
    held.descriptors = static_cast<int>(QDir(QStringLiteral("/proc/self/fd")).count());
    return held;
}

void write(const QDir& folder, const QString& name, const QByteArray& bytes) {
    QFile file(folder.filePath(name));
    if (file.open(QIODevice::WriteOnly)) file.write(bytes);
}

/// Songs of both containers, constant and variable rates, lossless, with and without a cover, cut
/// short, damaged, and what only looks like a song.
void fillFolder(const QDir& folder) {
    const auto song = [](double seconds, const char* options, const char* suffix, int rate) {
        return encodedSong(seconds, QString::fromUtf8(options), QString::fromUtf8(suffix), rate);
    };
    const QByteArray constant = song(40, "-b:a 192k", "mp3", 44100);
    write(folder, QStringLiteral("constant.mp3"), constant);
    write(folder, QStringLiteral("variable.mp3"), song(25, "-q:a 3", "mp3", 48000));
    write(folder, QStringLiteral("short.mp3"), song(1.5, "-b:a 128k", "mp3", 44100));
    write(folder, QStringLiteral("aac.m4a"), song(30, "-c:a aac -b:a 192k", "m4a", 44100));
    write(folder, QStringLiteral("lossless.m4a"), song(12, "-c:a alac", "m4a", 96000));
    write(folder, QStringLiteral("cut.mp3"), constant.left(constant.size() / 3));
    write(folder, QStringLiteral("damaged.mp3"),
          constant.left(300000) + QByteArray(50000, 'x') + constant.mid(350000));
    write(folder, QStringLiteral("text.mp3"), "not a song");
    write(folder, QStringLiteral("empty.m4a"), {});
    QImage cover(600, 600, QImage::Format_RGB32);
    cover.fill(Qt::darkMagenta);
    QBuffer picture;
    cover.save(&picture, "PNG");
    const QByteArray frame = apic(picture.data(), 3, "image/png");
    write(folder, QStringLiteral("covered.mp3"), id3Tag(3, id3Frame(3, "APIC", frame)) + constant);
}

void print(const char* name, double value, const char* unit) {
    std::printf("soak.%s %.4g %s\n", name, value, unit);
    std::fflush(stdout);
}

/// Presses what a restless listener would.
class Listener {
  public:
    explicit Listener(Pairdeck& decks) : decks_(decks) {}

    void act() {
        const Deck& deck = decks_.deck(random_() % 2 == 0 ? PDLeftPlayer : PDRightPlayer);
        switch (random_() % 5) {
            case 0:
                deck.prev->sendAction();
                break;
            case 1:
                deck.timeSlider->setDoubleValue(deck.duration() * 0.9);
                deck.timeSlider->sendAction();
                break;
            default:
                deck.next->sendAction();
        }
        if (!deck.isPlaying()) deck.next->sendAction();
        ++actions_;
    }
    int actions() const { return actions_; }
    double pause() { return 1.0 + static_cast<double>(random_() % 4000) / 1000; }

  private:
    Pairdeck& decks_;
    std::mt19937 random_{1};
    int actions_ = 0;
};

void report(const Holdings& held, int minute) {
    const std::string name = "minute_" + std::to_string(minute);
    print((name + ".memory").c_str(), held.megabytes, "MB");
    print((name + ".descriptors").c_str(), held.descriptors, "files");
    print((name + ".threads").c_str(), held.threads, "threads");
    const Mixer& mixer = AudioEngine::shared().mixer;
    print((name + ".missing_frames").c_str(), static_cast<double>(mixer.missingFrames()), "frames");
    print((name + ".sound").c_str(), static_cast<double>(mixer.deliveredFrames()) / mixer.rate(),
          "s");
}

void run(int minutes) {
    const QTemporaryDir folder;
    fillFolder(QDir(folder.path()));
    auto& defaults = UserDefaults::standardUserDefaults();
    for (const auto* side : {"Left", "Right"}) {
        const QString prefix = QStringLiteral("Pairdeck") + QLatin1String(side);
        defaults.setValueForKey(int{PDRepeatAll}, prefix + QStringLiteral("RepeatState"));
        defaults.setValueForKey(folder.path(), prefix + QStringLiteral("DefaultDirectory"));
    }
    Interface interface(QStringLiteral("MainWindow"), interfaceClasses());
    auto& decks = dynamic_cast<Pairdeck&>(*interface.controller(QStringLiteral("Pairdeck")));
    for (const PDPlayerType side : {PDLeftPlayer, PDRightPlayer})
        decks.deck(side).next->sendAction();
    Listener listener(decks);
    // A while until every kind of file has been through.
    for (int i = 0; i < 20; ++i) {
        runEvents(1.5);
        listener.act();
    }
    report(holdings(), 0);
    for (int minute = 1; minute <= minutes; ++minute) {
        QElapsedTimer passed;
        passed.start();
        while (passed.elapsed() < 60'000) {
            runEvents(listener.pause());
            listener.act();
        }
        report(holdings(), minute);
    }
    print("actions", listener.actions(), "presses");
}

}  // namespace
}  // namespace platform::audio

int main(int argc, char** argv) {
    // Hours of listening have no place among the figures of a moment.
    if (argc < 2 || std::string(argv[1]) != "soak") return 0;
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    platform::audio::run(arguments.size() > 2 ? arguments[2].toInt() : 30);
}
