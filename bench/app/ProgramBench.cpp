// The program as a process on a screen of its own: how long it takes to its first frame and how
// much memory it holds.

#include "bench/Figures.h"
#include "bench/Home.h"
#include "bench/app/RunningProgram.h"
#include "bench/app/ScreenWatch.h"
#include "platform/audio/Clock.h"

#include <QProcess>
#include <QStandardPaths>

#include <chrono>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace bench;
using platform::audio::nowNanoseconds;

namespace {

const QString kProgram = QStringLiteral(PROGRAM);

/// When the first frame of the program that `start` starts is on the screen; 0 if it never is.
template <typename Start>
std::int64_t firstFrame(ScreenWatch& screen, const Start& start) {
    screen.remember();
    start();
    const std::int64_t painted = screen.awaitChange(20) ? nowNanoseconds() : 0;
    if (painted == 0) std::fprintf(stderr, "no frame was seen\n");
    return painted;
}

struct Contestant {
    std::string name;
    QString executable;
    QStringList arguments;
    Home::Setting setting;
};

double firstFrameMs(ScreenWatch& screen, const Contestant& contestant) {
    std::optional<RunningProgram> program;
    const std::int64_t painted =
        firstFrame(screen, [&] { program.emplace(contestant.executable, contestant.arguments); });
    const double milliseconds = static_cast<double>(painted - program->began()) * 1e-6;
    program->end();
    return milliseconds;
}

/// The players that a user would pick, those that are installed, each with a window.
std::vector<Contestant> peers() {
    std::vector<Contestant> found;
    for (const auto& [name, arguments] : std::map<std::string, QStringList>{
             {"audacious", {}},
             {"mpv",
              {QStringLiteral("--no-config"), QStringLiteral("--force-window"),
               QStringLiteral("--idle"), QStringLiteral("--no-terminal")}},
             {"strawberry", {}}}) {
        const QString program = QStandardPaths::findExecutable(QString::fromStdString(name));
        if (!program.isEmpty()) found.push_back({name, program, arguments, {}});
    }
    return found;
}

/// From the start to what a key pressed 50 ms after the first frame has done on the screen: it
/// clicks the left deck's library button.
double readyMs(ScreenWatch& screen) {
    std::optional<RunningProgram> program;
    firstFrame(screen, [&] { program.emplace(kProgram); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    screen.rememberAtOnce();
    QProcess::startDetached(QStringLiteral("xdotool"),
                            {QStringLiteral("key"), QStringLiteral("ctrl+l")});
    const bool isDone = screen.awaitChange(20);
    const double milliseconds = static_cast<double>(nowNanoseconds() - program->began()) * 1e-6;
    if (!isDone) std::fprintf(stderr, "the key did nothing\n");
    program->end();
    return milliseconds;
}

void raceStarts(Home& home, ScreenWatch& screen) {
    if (!isAnyWanted("start.")) return;
    std::vector<Contestant> contestants = {
        {"empty_window", QStringLiteral(EMPTY_WINDOW), {}, {}},
        {"first_frame", kProgram, {}, {}},
        {"first_frame_5k_wallpaper", kProgram, {}, {.wallpaper = true}},
        {"first_frame_2x10k", kProgram, {}, {.tracks = 10'000}}};
    if (hasOption("--growth"))
        contestants.push_back({"first_frame_2x100k", kProgram, {}, {.tracks = 100'000}});
    const std::size_t ours = contestants.size();
    if (hasOption("--peers")) {
        for (Contestant& peer : peers()) {
            peer.name = "peer." + peer.name;
            contestants.push_back(std::move(peer));
        }
    }
    Race race;
    for (const Contestant& contestant : contestants) {
        race.enter([&home, &screen, contestant] {
            home.set(contestant.setting);
            return firstFrameMs(screen, contestant);
        });
    }
    race.enter([&] {
        home.set({});
        return readyMs(screen);
    });
    constexpr int kRounds = 9;
    const std::vector<double> times = race.run(kRounds);
    for (std::size_t i = 0; i < contestants.size(); ++i)
        print("start." + contestants[i].name + "_ms", times[i], "ms");
    print("start.ready_ms", times.back(), "ms");
    print("start.over_empty_window", times[1] / times[0], "ratio");
    print("start.wallpaper_over_none", times[2] / times[1], "ratio");
    if (ours > 4) print("start.2x100k_over_none", times[4] / times[1], "ratio");
    for (std::size_t i = ours; i < contestants.size(); ++i)
        print("start.over_" + contestants[i].name.substr(5), times[1] / times[i], "ratio");
}

/// With nothing of the program, nor of what it is linked with, in the page cache.
void startCold(Home& home, ScreenWatch& screen) {
    if (!isAnyWanted("cold.")) return;
    std::vector<Contestant> contestants = {{"first_frame", kProgram, {}, {}}};
    if (hasOption("--peers")) {
        for (Contestant& peer : peers())
            contestants.push_back(std::move(peer));
    }
    Race race;
    for (const Contestant& contestant : contestants) {
        race.enter([&home, &screen, contestant] {
            home.set(contestant.setting);
            return forgetFiles() ? firstFrameMs(screen, contestant) : 0;
        });
    }
    constexpr int kRounds = 3;
    const std::vector<double> times = race.run(kRounds);
    for (std::size_t i = 0; i < contestants.size(); ++i) {
        if (times[i] > 0) print("cold." + contestants[i].name + "_ms", times[i], "ms");
    }
}

/// Where the time to the first frame with a wallpaper goes, from stage to stage.
void traceStart(Home& home, ScreenWatch& screen) {
    constexpr const char* kStages[] = {"process",         "toolkit",        "bus_name", "style",
                                       "interface_files", "awake_and_show", "session",  "painted"};
    std::map<std::string, std::vector<double>> times;
    constexpr int kRounds = 7;
    for (int round = 0; round < kRounds; ++round) {
        home.set({.wallpaper = true});
        std::optional<RunningProgram> program;
        const std::int64_t painted =
            firstFrame(screen, [&] { program.emplace(QStringLiteral(TRACED_START)); });
        std::int64_t last = program->began();
        auto ends = program->end();
        ends["painted"] = painted;
        for (const char* stage : kStages) {
            times[stage].push_back(static_cast<double>(ends[stage] - last) * 1e-6);
            last = ends[stage];
        }
    }
    for (const char* stage : kStages)
        print(std::string("start.trace.") + stage + "_ms", median(times[stage]), "ms");
}

void weigh(Home& home, const Contestant& contestant) {
    const std::string name = "memory." + contestant.name;
    if (!isWanted(name + "_mb") && !isWanted(name + "_pss_mb")) return;
    home.set(contestant.setting);
    const RunningProgram program(contestant.executable, contestant.arguments);
    // Till the start's own buffers are given back and a song is well under way.
    std::this_thread::sleep_for(std::chrono::seconds(5));
    const RunningProgram::Memory memory = program.memory();
    print(name + "_mb", memory.resident, "MB");
    print(name + "_pss_mb", memory.proportional, "MB");
}

void weighAll(Home& home) {
    if (!isAnyWanted("memory.")) return;
    weigh(home, {"idle", kProgram, {}, {}});
    weigh(home, {"idle_5k_wallpaper", kProgram, {}, {.wallpaper = true}});
    weigh(home, {"2x10k", kProgram, {}, {.tracks = 10'000}});
    const QStringList songs = {home.song(QStringLiteral("left")),
                               home.song(QStringLiteral("right"))};
    weigh(home, {"playing", kProgram, songs, {}});
    if (!hasOption("--peers")) return;
    for (Contestant& peer : peers()) {
        peer.name = "peer." + peer.name;
        weigh(home, peer);
    }
}

/// What both meters cost while they move: the program plays two songs, with its window on the
/// screen and then minimised, against the same where the desktop asks for less motion.
void watchMeters(Home& home) {
    if (!isAnyWanted("meters.")) return;
    const auto beats = [&home](const char* name) {
        return home.song(QLatin1String(name), {},
                         QStringLiteral("anoisesrc=amplitude=0.5,tremolo=f=3:d=0.95"));
    };
    const QStringList songs = {beats("left"), beats("right")};
    const auto share = [](const RunningProgram& program) {
        // What a start or the last change has set off is over by then.
        std::this_thread::sleep_for(std::chrono::seconds(4));
        constexpr int kSeconds = 12;
        const double before = program.processorSeconds();
        std::this_thread::sleep_for(std::chrono::seconds(kSeconds));
        return 100 * (program.processorSeconds() - before) / kSeconds;
    };
    struct Shares {
        double seen = 0, hidden = 0;
    };
    const auto shares = [&](bool lessMotion) {
        home.set({.lessMotion = lessMotion});
        const RunningProgram program(kProgram, songs);
        Shares found;
        found.seen = share(program);
        QProcess::execute(QStringLiteral("xdotool"),
                          {QStringLiteral("key"), QStringLiteral("ctrl+m")});
        found.hidden = share(program);
        return found;
    };
    std::vector<double> seen;
    std::vector<double> hidden;
    std::vector<double> still;
    constexpr int kRounds = 3;
    for (int round = 0; round < kRounds; ++round) {
        const Shares moving = shares(false);
        const Shares resting = shares(true);
        seen.push_back(moving.seen - resting.seen);
        hidden.push_back(moving.hidden - resting.hidden);
        still.push_back(resting.seen);
    }
    print("meters.cpu", median(std::move(seen)), "%");
    print("meters.cpu.hidden", median(std::move(hidden)), "%");
    print("meters.cpu.still", median(std::move(still)), "%");
}

}  // namespace

int main(int argc, char** argv) {
    readCommandLine(argc, argv);
    if (!isAnyWanted("start.") && !isAnyWanted("cold.") && !isAnyWanted("memory.") &&
        !isAnyWanted("meters."))
        return 0;
    enterSession(argv);
    Home home;
    ScreenWatch screen;
    if (!screen.isOpen()) return 1;
    raceStarts(home, screen);
    startCold(home, screen);
    if (hasOption("--trace")) traceStart(home, screen);
    weighAll(home);
    watchMeters(home);
    return 0;
}
