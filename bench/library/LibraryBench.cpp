#include "bench/library/Readers.h"
#include "library/PDSourceManager.h"
#include "platform/foundation/FileManager.h"
#include "platform/media/MediaAsset.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QVBoxLayout>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace {

std::string prefix;

bool wanted(const std::string& name) {
    return name.starts_with(prefix);
}

void print(const std::string& name, double value, const char* unit) {
    if (wanted(name)) std::printf("%s %.3f %s\n", name.c_str(), value, unit);
    std::fflush(stdout);
}

double milliseconds(const std::function<void()>& work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

// The folder of a library of `count` tracks, made when it is not there yet.
QString libraryOf(int count) {
    const QString folder = QStringLiteral(LIBRARY_FOLDER "/library_%1").arg(count);
    const int result =
        QProcess::execute(QStringLiteral(MAKE_LIBRARY), {folder, QString::number(count)});
    if (result != 0) std::fprintf(stderr, "the library could not be made\n");
    return folder;
}

QStringList pathsIn(const QString& folder) {
    return trackPaths(folder, platform::FileManager::subpathsOfDirectoryAtPath(folder));
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
        window_.resize(575, 700);
        window_.show();
        QApplication::processEvents();
    }

    void scan(const QString& folder) {
        manager_.getTracksFromURL(folder);
        QApplication::processEvents();
    }

    void search(const QString& text) {
        manager_.updatePredicate(text);
        QApplication::processEvents();
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
            const Texts texts = textsFromTagLib(paths[i]);
            auto track = std::make_shared<PDTrack>();
            track->setURL(paths[i]);
            track->setName(texts.title);
            track->setArtist(texts.artist);
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
    PDLeftSourceManager manager_;
};

// Measures its contestants in turn, round after round, so that what else the machine does meets
// them all alike.
class Race {
  public:
    void enter(std::function<void()> work) { contestants_.push_back({std::move(work), {}}); }

    // The median of each in milliseconds, in the order of entry.
    std::vector<double> run(int rounds) {
        for (int round = 0; round < rounds; ++round) {
            for (Contestant& contestant : contestants_)
                contestant.times.push_back(milliseconds(contestant.work));
        }
        std::vector<double> medians;
        for (Contestant& contestant : contestants_) {
            const auto middle = contestant.times.begin() + rounds / 2;
            std::nth_element(contestant.times.begin(), middle, contestant.times.end());
            medians.push_back(*middle);
        }
        return medians;
    }

  private:
    struct Contestant {
        std::function<void()> work;
        std::vector<double> times;
    };
    std::vector<Contestant> contestants_;
};

void raceOnWarmCache(const QString& folder) {
    Deck deck;
    deck.scan(folder);
    Race race;
    race.enter([&] { deck.scan(folder); });
    race.enter([&] { deck.search(QStringLiteral("\u00E9t\u00E9")); });
    race.enter([&] { deck.scanWithTagLib(folder); });
    race.enter([&] { pathsIn(folder); });
    race.enter([&] { readStarts(pathsIn(folder)); });
    race.enter([&] { readMinimal(pathsIn(folder)); });
    race.enter([&] {
        for (const QString& path : pathsIn(folder))
            platform::MediaAsset::URLAssetWithURL(path);
    });
    race.enter([&] { readWithTagLib(pathsIn(folder), 1); });
    race.enter([&] { readWithTagLib(pathsIn(folder), 2); });
    constexpr int kRounds = 9;
    const std::vector<double> times = race.run(kRounds);
    const char* const names[] = {
        "scan_10k.warm_ms",       "search_10k.warm_ms", "scan_10k.through_taglib_ms",
        "list_10k.warm_ms",       "starts_10k.warm_ms", "minimal_10k.warm_ms",
        "one_thread_10k.warm_ms", "taglib_10k.warm_ms", "taglib_two_threads_10k.warm_ms"};
    for (std::size_t i = 0; i < times.size(); ++i)
        print(std::string("library.") + names[i], times[i], "ms");
    print("library.scan_10k.over_taglib", times[2] / times[0], "ratio");
    print("library.scan_10k.over_minimal", times[0] / times[5], "ratio");
    print("library.search_over_scan", times[1] / times[0], "ratio");
}

// Empties the page cache, which only the superuser may; false otherwise.
bool forgetFiles() {
    ::sync();
    std::ofstream file("/proc/sys/vm/drop_caches");
    file << "3" << std::flush;
    return file.good();
}

void raceOnColdCache(const QString& folder) {
    if (!forgetFiles()) return;
    Deck deck;
    print("library.scan_10k.cold_ms", milliseconds([&] { deck.scan(folder); }), "ms");
    forgetFiles();
    print("library.scan_10k.through_taglib_cold_ms",
          milliseconds([&] { deck.scanWithTagLib(folder); }), "ms");
    forgetFiles();
    print("library.minimal_10k.cold_ms", milliseconds([&] { readMinimal(pathsIn(folder)); }), "ms");
}

double residentBytes() {
    ::malloc_trim(0);
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident * ::sysconf(_SC_PAGESIZE));
}

void weighTracks(const QString& folder) {
    Deck deck;
    deck.scan(folder);
    const auto count = static_cast<double>(PDLeftSourceManager::trackArray().size());
    const double full = residentBytes();
    deck.scan(QString());
    print("library.bytes_per_track", (full - residentBytes()) / count, "bytes");
}

void raceOfSizes() {
    for (const auto& [count, name] : {std::pair{1000, "1k"}, {100'000, "100k"}}) {
        const std::string figure = std::string("library.scan_") + name + ".warm_ms";
        // A library of 100,000 tracks takes minutes to make: only who asks for it waits.
        if (!wanted(figure) || (count > 10'000 && prefix.size() < figure.size() - 8)) continue;
        const QString folder = libraryOf(count);
        Deck deck;
        deck.scan(folder);
        Race race;
        race.enter([&] { deck.scan(folder); });
        constexpr int kRounds = 5;
        print(figure, race.run(kRounds)[0], "ms");
    }
}

}  // namespace

int main(int argc, char** argv) {
    bool peers = false;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--peers")
            peers = true;
        else
            prefix = argv[i];
    }
    const std::string ours = "library.";
    if (!ours.starts_with(prefix) && !prefix.starts_with(ours)) return 0;
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const QString folder = libraryOf(10'000);
    weighTracks(folder);
    raceOnWarmCache(folder);
    raceOnColdCache(folder);
    raceOfSizes();
    if (peers) QProcess::execute(QStringLiteral(LIBRARY_PEERS), {folder});
    return 0;
}
