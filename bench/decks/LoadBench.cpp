// A load as the main thread feels it: the whole operation on the program's own window, and its
// steps one by one.

#include "bench/Figures.h"
#include "bench/Home.h"
#include "bench/Pictures.h"
#include "decks/InterfaceClasses.h"
#include "decks/Pairdeck.h"
#include "platform/foundation/FileIdentity.h"
#include "platform/foundation/Path.h"
#include "platform/media/MediaAsset.h"
#include "platform/store/Store.h"
#include "platform/ui/Application.h"
#include "platform/ui/Slider.h"
#include "platform/ui/Window.h"
#include "platform/workspace/Workspace.h"
#include "presentation/BlurredBackdrop.h"
#include "tests/platform/media/TagBytes.h"

#include <QCoreApplication>
#include <QTimer>

#include <sys/stat.h>

#include <string>
#include <vector>

using namespace bench;
using platform::Image;

namespace {

constexpr int kRounds = 15;
constexpr double kDesktopBlur = 150.0;  // pixels

Image desktopPicture() {
    const auto path = platform::Workspace::sharedWorkspace().desktopImageURLForScreen();
    return path ? Image::initWithContentsOfURL(*path, kDesktopBlur) : Image();
}

QByteArray artworkOf(const QString& path) {
    return platform::MediaAsset::URLAssetWithURL(path).artwork().value_or("");
}

// What else the last load has set off, paints first of all, must not meet the next measurement.
void settle() {
    QTimer timer;
    timer.setSingleShot(true);
    timer.start(150);
    while (timer.isActive())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void benchLoad(Pairdeck& pairdeck, const std::string& name, const QString& path) {
    if (!isWanted(name + "_ms") && !isWanted(name + "_painted_ms")) return;
    std::vector<double> operation;
    std::vector<double> painted;
    for (int round = 0; round < kRounds; ++round) {
        settle();
        const auto load = [&] { pairdeck.playTrackAtWithPlayer(path, PDLeftPlayer); };
        operation.push_back(elapsedMs(load));
        painted.push_back(operation.back() + elapsedMs([] { QCoreApplication::processEvents(); }));
    }
    print(name + "_ms", median(operation), "ms");
    print(name + "_painted_ms", median(painted), "ms");
}

// The steps of a load that are worth counting, each by itself.
void traceLoad(const std::string& name, const QString& path, bool hasArtwork) {
    const QByteArray song = platform::dataWithContentsOfFile(path).value_or("");
    const QByteArray artwork = artworkOf(path);
    const Image picture = hasArtwork ? Image::initWithData(artwork) : desktopPicture();
    const auto step = [&](const char* words, const auto& work) {
        std::vector<double> times;
        for (int round = 0; round < kRounds; ++round) {
            settle();
            times.push_back(elapsedMs(work));
        }
        print(name + ".trace." + words + "_ms", median(times), "ms");
    };
    step("read_file", [&] { platform::dataWithContentsOfFile(path); });
    step("open_player", [&] { platform::AudioPlayer::initWithData(song); });
    step("read_tags", [&] { artworkOf(path); });
    step("decode_picture", [&] { hasArtwork ? Image::initWithData(artwork) : desktopPicture(); });
    const QSizeF size = picture.size();
    step("backdrop", [&] {
        blurWithLevelAndSize(picture, hasArtwork ? 27.0 : kDesktopBlur,
                             size * (575.0 / size.width()));
    });
}

// From the load of a song whose shape the store knows to the seek bar that shows it, the load and
// the drawing included.
void benchKnownShape(Pairdeck& pairdeck, platform::Slider& slider, const QString& path) {
    if (!isWanted("wave.known_ms")) return;
    struct stat status = {};
    ::stat(qPrintable(path), &status);
    // At full height all along, so that it can be told from the plain line.
    platform::Store::userStore().put(
        "shapes", {{platform::FileIdentity::of(status).key(), QByteArray(1024, '\xFF')}});
    const auto isShown = [&] {
        const QImage shown = slider.grab().toImage();
        const int x = shown.width() / 2;
        return shown.pixel(x, 2) != shown.pixel(0, 2) || shown.pixel(x + 1, 2) != shown.pixel(0, 2);
    };
    std::vector<double> times;
    for (int round = 0; round < 12 * kRounds && times.size() < kRounds; ++round) {
        settle();
        const double time = elapsedMs([&] {
            pairdeck.playTrackAtWithPlayer(path, PDLeftPlayer);
            for (int i = 0; i < 1000 && !isShown(); ++i)
                QCoreApplication::processEvents();
        });
        // A file that was written a moment ago proves nothing yet.
        if (isShown()) times.push_back(time);
    }
    if (!times.empty()) print("wave.known_ms", median(times), "ms");
}

class LoadBench final : public platform::ApplicationDelegate {
  public:
    bool applicationShouldLaunch(const QStringList&) override { return true; }
    void applicationDidFinishLaunching(const platform::Interface& interface) override {
        auto& pairdeck = dynamic_cast<Pairdeck&>(*interface.controller(QStringLiteral("Pairdeck")));
        auto* slider = interface.mainWindow()->findChild<platform::Slider*>(
            QStringLiteral("PDLeftTimeSlider"));
        QTimer::singleShot(0, [this, &pairdeck, slider] {
            run(pairdeck, *slider);
            platform::Application::sharedApplication().terminate();
        });
    }
    void applicationOpenFiles(const QStringList&) override {}
    void applicationWillTerminate() override {}

    void setHome() const { home_.set({.wallpaper = true}); }

  private:
    void run(Pairdeck& pairdeck, platform::Slider& slider) const {
        const QByteArray cover = platform::apic(jpegOf(photograph({600, 600})));
        const QString adorned = home_.song(
            QStringLiteral("adorned"), platform::id3Tag(4, platform::id3Frame(4, "APIC", cover)));
        const QString plain = home_.song(QStringLiteral("plain"));
        benchLoad(pairdeck, "load.600_artwork", adorned);
        benchLoad(pairdeck, "load.5k_wallpaper", plain);
        benchKnownShape(pairdeck, slider, adorned);
        if (!hasOption("--trace")) return;
        traceLoad("load.600_artwork", adorned, true);
        traceLoad("load.5k_wallpaper", plain, false);
    }

    Home home_;
};

}  // namespace

int main(int argc, char** argv) {
    readCommandLine(argc, argv);
    if (!isAnyWanted("load.") && !isAnyWanted("wave.known")) return 0;
    enterSession(argv);
    LoadBench bench;
    bench.setHome();
    // The arguments are the bench's: to the program they would be files.
    int none = 1;
    return platform::ApplicationMain(none, argv, interfaceClasses(), &bench);
}
