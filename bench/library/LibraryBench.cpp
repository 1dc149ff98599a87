#include "bench/Figures.h"
#include "bench/Home.h"
#include "bench/TestLibrary.h"
#include "library/PDSourceManager.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Path.h"

#include <QApplication>
#include <QVBoxLayout>

#include <fileref.h>
#include <malloc.h>
#include <tag.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

using namespace bench;

namespace {

QStringList pathsIn(const QString& folder) {
    QStringList paths;
    for (const QString& entry : platform::FileManager::subpathsOfDirectoryAtPath(folder)) {
        if (entry.endsWith(QLatin1String(".mp3")) || entry.endsWith(QLatin1String(".m4a")))
            paths += folder + QLatin1Char('/') + entry;
    }
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

// All figures but those of growth and of a track's memory come from the races.
bool areRacesWanted() {
    return isAnyWanted("library.scan") || isAnyWanted("library.search");
}

void raceOnWarmCache(const QString& folder) {
    Deck deck;
    Race race;
    race.enter([&] {
        deck.scan(QString());
        return elapsedMs([&] { deck.scan(folder); });
    });
    race.enter([&] { deck.scan(folder); });
    race.enter([&] { deck.search(kSearched); });
    race.enter([&] { deck.scanWithTagLib(folder); });
    constexpr int kRounds = 9;
    const std::vector<double> times = race.run(kRounds);
    const char* const names[] = {"scan_10k.warm_ms", "scan_10k.rescan_ms", "search_keystroke_ms",
                                 "scan_10k.through_taglib_ms"};
    for (std::size_t i = 0; i < std::size(names); ++i)
        print(std::string("library.") + names[i], times[i], "ms");
    print("library.scan_10k.over_taglib", times[3] / times[0], "ratio");
    print("library.search_over_scan", times[2] / times[1], "ratio");
}

void raceOnColdCache(const QString& folder) {
    if (!forgetFiles()) return;
    Deck deck;
    print("library.scan_10k.cold_ms", elapsedMs([&] { deck.scan(folder); }), "ms");
    forgetFiles();
    print("library.scan_10k.through_taglib_cold_ms",
          elapsedMs([&] { deck.scanWithTagLib(folder); }), "ms");
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
    const auto count = static_cast<double>(PDLeftSourceManager::trackArray().size());
    const double full = allocatedBytes();
    deck.scan(QString());
    return (full - allocatedBytes()) / count;
}

// What a scan, a search and a track cost as libraries grow. The largest takes minutes to make.
void grow() {
    for (const auto& [count, name] : {std::pair{1000, "1k"}, {10'000, "10k"}, {100'000, "100k"}}) {
        const std::string figure = std::string("library.growth.") + name;
        if (!isAnyWanted(figure)) continue;
        const QString folder = libraryOf(count);
        Deck deck;
        deck.scan(folder);
        Race race;
        race.enter([&] { deck.scan(folder); });
        race.enter([&] { deck.search(kSearched); });
        constexpr int kRounds = 5;
        const std::vector<double> times = race.run(kRounds);
        print(figure + ".scan_ms", times[0], "ms");
        print(figure + ".search_ms", times[1], "ms");
        print(figure + ".bytes_per_track", bytesPerTrack(folder), "bytes");
    }
}

}  // namespace

int main(int argc, char** argv) {
    readCommandLine(argc, argv);
    if (!isAnyWanted("library.")) return 0;
    // The bar is redrawn on a real screen, which costs a scan what it costs a user.
    enterSession(argv);
    const QApplication application(argc, argv);
    const QString folder = libraryOf(10'000);
    if (isWanted("library.bytes_per_track"))
        print("library.bytes_per_track", bytesPerTrack(folder), "bytes");
    if (hasOption("--growth")) grow();
    if (!areRacesWanted()) return 0;
    raceOnWarmCache(folder);
    raceOnColdCache(folder);
    return 0;
}
