// Two decks left to themselves: the whole interface plays a folder of all kinds of files with
// repeat all for as many minutes as asked for (30 unless told), a button being pressed every few
// seconds. Prints what is held at the start, at each minute and at the end.
//
// Usage: bench_soak soak [MINUTES]

#include "bench/Figures.h"
#include "bench/Home.h"
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
#include <QImage>
#include <QTemporaryDir>

#include <random>
#include <string>

namespace platform::audio {
namespace {

using bench::print;

/// Songs of both containers, constant and variable rates, lossless, with and without a cover, cut
/// short, damaged, and what only looks like a song.
void fillFolder(const QTemporaryDir& folder) {
    const auto write = [&](const QString& name, const QByteArray& bytes) {
        bench::writeFile(folder.filePath(name), bytes);
    };
    const auto song = [](double seconds, const char* options, const char* suffix, int rate) {
        return encodedSong(seconds, QString::fromUtf8(options), QString::fromUtf8(suffix), rate);
    };
    const QByteArray constant = song(40, "-b:a 192k", "mp3", 44100);
    write(QStringLiteral("constant.mp3"), constant);
    write(QStringLiteral("variable.mp3"), song(25, "-q:a 3", "mp3", 48000));
    write(QStringLiteral("short.mp3"), song(1.5, "-b:a 128k", "mp3", 44100));
    write(QStringLiteral("aac.m4a"), song(30, "-c:a aac -b:a 192k", "m4a", 44100));
    write(QStringLiteral("lossless.m4a"), song(12, "-c:a alac", "m4a", 96000));
    write(QStringLiteral("cut.mp3"), constant.left(constant.size() / 3));
    write(QStringLiteral("damaged.mp3"),
          constant.left(300000) + QByteArray(50000, 'x') + constant.mid(350000));
    write(QStringLiteral("text.mp3"), "not a song");
    write(QStringLiteral("empty.m4a"), {});
    QImage cover(600, 600, QImage::Format_RGB32);
    cover.fill(Qt::darkMagenta);
    QBuffer picture;
    cover.save(&picture, "PNG");
    const QByteArray frame = apic(picture.data(), 3, "image/png");
    write(QStringLiteral("covered.mp3"), id3Tag(3, id3Frame(3, "APIC", frame)) + constant);
}

/// Presses what a restless listener would.
class Listener {
  public:
    explicit Listener(Pairdeck& decks) : decks_(decks) {}

    void act() {
        Deck& deck = decks_.deck(random_() % 2 == 0 ? PDLeftPlayer : PDRightPlayer);
        switch (random_() % 5) {
            case 0:
                deck.playPrevious();
                break;
            case 1:
                deck.seek(deck.duration() * 0.9);
                break;
            default:
                deck.playNext();
        }
        if (!deck.isPlaying()) deck.playNext();
        ++actions_;
    }
    int actions() const { return actions_; }
    double pause() { return 1.0 + static_cast<double>(random_() % 4000) / 1000; }

  private:
    Pairdeck& decks_;
    std::mt19937 random_{1};
    int actions_ = 0;
};

void report(int minute) {
    const std::string name = "soak.minute_" + std::to_string(minute);
    print(name + ".memory", bench::residentMegabytes(), "MB");
    print(name + ".descriptors", QDir(QStringLiteral("/proc/self/fd")).count(), "files");
    print(name + ".threads", bench::ownStatus("Threads"), "threads");
    const Mixer& mixer = AudioEngine::shared().mixer;
    print(name + ".missing_frames", static_cast<double>(mixer.missingFrames()), "frames");
    print(name + ".sound", static_cast<double>(mixer.deliveredFrames()) / mixer.rate(), "s");
}

void run(int minutes) {
    const QTemporaryDir folder;
    fillFolder(folder);
    auto& defaults = UserDefaults::standardUserDefaults();
    for (const auto* side : {"Left", "Right"}) {
        const QString prefix = QStringLiteral("Pairdeck") + QLatin1String(side);
        defaults.setValueForKey(int{PDRepeatAll}, prefix + QStringLiteral("RepeatState"));
        defaults.setValueForKey(folder.path(), prefix + QStringLiteral("DefaultDirectory"));
    }
    Interface interface(QStringLiteral("MainWindow"), platform::readInterfaceFiles(),
                        interfaceClasses());
    auto& decks = dynamic_cast<Pairdeck&>(*interface.controller(QStringLiteral("Pairdeck")));
    for (const PDPlayerType side : {PDLeftPlayer, PDRightPlayer})
        decks.deck(side).playNext();
    Listener listener(decks);
    // A while until every kind of file has been through.
    for (int i = 0; i < 20; ++i) {
        runEvents(1.5);
        listener.act();
    }
    report(0);
    for (int minute = 1; minute <= minutes; ++minute) {
        QElapsedTimer passed;
        passed.start();
        while (passed.elapsed() < 60'000) {
            runEvents(listener.pause());
            listener.act();
        }
        report(minute);
    }
    print("soak.actions", listener.actions(), "presses");
}

}  // namespace
}  // namespace platform::audio

int main(int argc, char** argv) {
    // Hours of listening have no place among the figures of a moment.
    if (argc < 2 || std::string(argv[1]) != "soak") return 0;
    bench::enterSession(argv);
    bench::readCommandLine(2, argv);
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    platform::audio::run(arguments.size() > 2 ? arguments[2].toInt() : 30);
}
