#include "bench/Figures.h"
#include "bench/Home.h"
#include "bench/TestLibrary.h"
#include "library/PDSourceManager.h"
#include "platform/foundation/Path.h"

#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QVBoxLayout>

#include <fileref.h>
#include <malloc.h>
#include <sys/wait.h>
#include <tag.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

using namespace bench;

namespace {

QStringList pathsIn(const QString& folder) {
    QStringList paths;
    QDirIterator files(folder, {QStringLiteral("*.mp3"), QStringLiteral("*.m4a")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext())
        paths += files.next();
    return paths;
}

// A deck's library on the screen: its table, its progress bar and the controller behind them.
class Deck {
  public:
    Deck() {
        auto* const layout = new QVBoxLayout(&window_);
        layout->addWidget(&bar_);
        layout->addWidget(&table_);
        layout->addWidget(&label_);
        table_.setColumns({QStringLiteral("name:Name:300"), QStringLiteral("artist:Artist")});
        table_.setDataSource(&manager_);
        manager_.connectOutlet(QStringLiteral("tableView"), &table_);
        manager_.connectOutlet(QStringLiteral("PDProgressBar"), &bar_);
        manager_.connectOutlet(QStringLiteral("PDLeftDefaultDirectoryLabel"), &label_);
        manager_.connectOutlet(QStringLiteral("countLabel"), &count_);
        manager_.connectOutlet(QStringLiteral("explanation"), &explanation_);
        manager_.connectOutlet(QStringLiteral("explanationText"), &text_);
        manager_.connectOutlet(QStringLiteral("explanationButton"), &button_);
        window_.resize(575, 700);
        window_.show();
        QApplication::processEvents();
    }

    void scan(const QString& folder) {
        manager_.getTracksFromURL(folder);
        QApplication::processEvents();
    }

    // As a key does, with what the program knows by then.
    void search(const QString& text) {
        manager_.updatePredicate(text, PDSourceManager::Proof::Notice);
        QApplication::processEvents();
    }

    // How long a key takes that is typed as people do it: what the change before drew has reached
    // the screen. Until then the window system still reads the pixels that are to be drawn anew.
    double keystrokeMs(const QString& text) {
        QGuiApplication::sync();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return elapsedMs([&] { search(text); });
    }

    // The steps of a scan with TagLib in place of our reader.
    void scanWithTagLib(const QString& folder) {
        TrackArray& tracks = PDLeftSourceManager::trackArray();
        tracks.clear();
        const QStringList paths = pathsIn(folder);
        bar_.setHidden(false);
        bar_.setMaxValue(static_cast<double>(paths.size()));
        for (qsizetype i = 0; i < paths.size(); ++i) {
            bar_.setDoubleValue(static_cast<double>(i));
            bar_.displayIfNeeded();
            const TagLib::FileRef file(platform::fileSystemRepresentation(paths[i]).constData(),
                                       false);
            auto track = std::make_shared<PDTrack>();
            track->setURL(paths[i]);
            if (!file.isNull() && file.tag()) {
                track->setName(QString::fromStdWString(file.tag()->title().toWString()));
                track->setArtist(QString::fromStdWString(file.tag()->artist().toWString()));
            }
            tracks.push_back(std::move(track));
        }
        bar_.setHidden(true);
        table_.reloadData();
        QApplication::processEvents();
    }

  private:
    QWidget window_;
    platform::ProgressIndicator bar_;
    platform::TableView table_;
    platform::TextField label_;
    platform::TextField count_;
    platform::View explanation_;
    platform::TextField text_;
    platform::Button button_;
    PDLeftSourceManager manager_;
};

const QString kSearched = QStringLiteral("\u00E9t\u00E9");

// Does `work` in a process of its own, with a screen: a program that has just started. The store is
// that of this session, or there is none.
template <typename Work>
void inNewProgram(bool hasStore, const Work& work) {
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        // No folder can be made there.
        if (!hasStore) qputenv("XDG_CACHE_HOME", "/dev/null/none");
        int count = 1;
        char name[] = "bench_library";
        char* names[] = {name, nullptr};
        const QApplication application(count, names);
        work();
        std::fflush(stdout);
        ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
}

void raceOnWarmCache(const QString& folder) {
    Deck deck;
    Race race;
    race.enter([&] {
        deck.scan(QString());
        return elapsedMs([&] { deck.scan(folder); });
    });
    race.enter([&] { deck.scan(folder); });
    race.enter([&] { deck.scanWithTagLib(folder); });
    constexpr int kRounds = 9;
    const std::vector<double> times = race.run(kRounds);
    const char* const names[] = {"warm_ms", "rescan_ms", "through_taglib_ms"};
    for (std::size_t i = 0; i < std::size(names); ++i)
        print(std::string("library.scan_10k.") + names[i], times[i], "ms");
    print("library.scan_10k.over_taglib", times[2] / times[0], "ratio");
}

QString storePath() {
    return qEnvironmentVariable("XDG_CACHE_HOME", QDir::homePath() + QStringLiteral("/.cache")) +
           QStringLiteral("/com.ovrelin.Pairdeck/store");
}

// Fills the store with what is known of `folder`, and of nothing else; gives its size per track.
double fillStore(const QString& folder) {
    QFile::remove(storePath());
    inNewProgram(true, [&] {
        Deck deck;
        deck.scan(folder);
        qint64 size = -1;
        while (size < QFileInfo(storePath()).size()) {
            size = QFileInfo(storePath()).size();
            std::this_thread::sleep_for(std::chrono::seconds(2));
        }
    });
    return static_cast<double>(QFileInfo(storePath()).size()) /
           static_cast<double>(pathsIn(folder).size());
}

void scanOnColdCache(const QString& folder) {
    const auto scan = [&](const char* figure) {
        Deck deck;
        print(figure, elapsedMs([&] { deck.scan(folder); }), "ms");
    };
    const double bytes = fillStore(folder);
    print("library.store_bytes_per_track", bytes, "bytes");
    if (forgetFiles()) inNewProgram(true, [&] { scan("library.known_10k.cold_ms"); });
    if (forgetFiles()) inNewProgram(false, [&] { scan("library.scan_10k.cold_ms"); });
}

// A disk whose every answer takes a millisecond, as one of another machine's does.
void scanSlowDisk() {
    const QTemporaryDir mount;
    QProcess disk;
    disk.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    disk.start(QStringLiteral(SLOW_DISK), {libraryOf(2000), mount.path(), QStringLiteral("1")});
    for (int i = 0; i < 100 && !QFile::exists(mount.filePath(QStringLiteral(".complete"))); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    fillStore(mount.path());
    inNewProgram(true, [&] {
        Deck deck;
        print("library.slow_disk.known_start_ms", elapsedMs([&] { deck.scan(mount.path()); }),
              "ms");
        Race keys;
        keys.enter([&] { return deck.keystrokeMs(kSearched); });
        print("library.slow_disk.keystroke_ms", keys.run(5)[0], "ms");
    });
    QProcess::execute(QStringLiteral("umount"), {mount.path()});
    disk.waitForFinished();
}

// What the heap has given out, its own bookkeeping included: unlike resident memory it tells
// nothing of what came before.
double allocatedBytes() {
    const struct mallinfo2 heap = ::mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd);
}

double bytesPerTrack(const QString& folder) {
    Deck deck;
    deck.scan(folder);
    // Until the store has taken what is new: its records are made in memory.
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const auto count = static_cast<double>(PDLeftSourceManager::trackArray().size());
    const double full = allocatedBytes();
    deck.scan(QString());
    return (full - allocatedBytes()) / count;
}

// What a scan, a search and a track cost as libraries grow.
void grow() {
    for (const auto& [count, name] :
         {std::pair{1000, "1k"}, {10'000, "10k"}, {100'000, "100k"}, {1'000'000, "1m"}}) {
        const std::string figure = std::string("library.growth.") + name;
        // The largest takes 5 GB and minutes.
        const bool isHuge = count > 100'000 && !hasOption("--million");
        if (!isAnyWanted(figure) || isHuge) continue;
        const QString folder = libraryOf(count);
        inNewProgram(true, [&, folder = folder] {
            Deck deck;
            print(figure + ".scan_ms", elapsedMs([&] { deck.scan(folder); }), "ms");
            Race race;
            race.enter([&] { deck.scan(folder); });
            race.enter([&] { return deck.keystrokeMs(kSearched); });
            constexpr int kRounds = 5;
            const std::vector<double> times = race.run(kRounds);
            print(figure + ".rescan_ms", times[0], "ms");
            print(figure + ".keystroke_ms", times[1], "ms");
            deck.scan(QString());
            print(figure + ".bytes_per_track", bytesPerTrack(folder), "bytes");
        });
    }
}

}  // namespace

int main(int argc, char** argv) {
    readCommandLine(argc, argv);
    if (!isAnyWanted("library.")) return 0;
    // The bar is redrawn on a real screen, which costs a scan what it costs a user.
    enterSession(argv);
    const QString folder = libraryOf(10'000);
    if (isWanted("library.bytes_per_track")) {
        inNewProgram(true,
                     [&] { print("library.bytes_per_track", bytesPerTrack(folder), "bytes"); });
    }
    if (hasOption("--growth")) grow();
    if (isAnyWanted("library.scan_10k")) inNewProgram(false, [&] { raceOnWarmCache(folder); });
    if (isAnyWanted("library.scan_10k.cold") || isAnyWanted("library.known_10k") ||
        isWanted("library.store_bytes_per_track"))
        scanOnColdCache(folder);
    if (isAnyWanted("library.slow_disk")) scanSlowDisk();
    return 0;
}
