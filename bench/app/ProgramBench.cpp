// The program as a process on a screen of its own: how long it takes to its first frame and how
// much memory it holds.

#include "bench/Figures.h"
#include "bench/Home.h"
#include "bench/app/RunningProgram.h"
#include "bench/app/ScreenWatch.h"
#include "platform/audio/Clock.h"

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

double firstFrameMs(ScreenWatch& screen, const QString& executable) {
    std::optional<RunningProgram> program;
    const std::int64_t painted = firstFrame(screen, [&] { program.emplace(executable); });
    const double milliseconds = static_cast<double>(painted - program->began()) * 1e-6;
    program->end();
    return milliseconds;
}

void raceStarts(Home& home, ScreenWatch& screen) {
    if (!isAnyWanted("start.")) return;
    Race race;
    std::vector<std::string> names;
    const auto enter = [&](const char* name, const QString& executable,
                           const Home::Setting& setting) {
        if (!isWanted(name)) return;
        names.emplace_back(name);
        race.enter([&home, &screen, executable, setting] {
            home.set(setting);
            return firstFrameMs(screen, executable);
        });
    };
    enter("start.empty_window_ms", QStringLiteral(EMPTY_WINDOW), {});
    enter("start.first_frame_ms", kProgram, {});
    enter("start.first_frame_5k_wallpaper_ms", kProgram, {.wallpaper = true});
    enter("start.first_frame_2x10k_ms", kProgram, {.libraries = true});
    constexpr int kRounds = 9;
    const std::vector<double> times = race.run(kRounds);
    for (std::size_t i = 0; i < names.size(); ++i)
        print(names[i], times[i], "ms");
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

void weigh(Home& home, const std::string& name, const Home::Setting& setting,
           const QStringList& arguments = {}) {
    if (!isWanted("memory." + name + "_mb") && !isWanted("memory." + name + "_pss_mb")) return;
    home.set(setting);
    const RunningProgram program(kProgram, arguments);
    // Till the start's own buffers are given back and a song is well under way.
    std::this_thread::sleep_for(std::chrono::seconds(5));
    const RunningProgram::Memory memory = program.memory();
    print("memory." + name + "_mb", memory.resident, "MB");
    print("memory." + name + "_pss_mb", memory.proportional, "MB");
}

void weighAll(Home& home) {
    if (!isAnyWanted("memory.")) return;
    weigh(home, "idle", {});
    weigh(home, "idle_5k_wallpaper", {.wallpaper = true});
    weigh(home, "2x10k", {.libraries = true});
    weigh(home, "playing", {},
          {home.song(QStringLiteral("left")), home.song(QStringLiteral("right"))});
}

}  // namespace

int main(int argc, char** argv) {
    readCommandLine(argc, argv);
    if (!isAnyWanted("start.") && !isAnyWanted("memory.")) return 0;
    enterSession(argv);
    Home home;
    ScreenWatch screen;
    if (!screen.isOpen()) return 1;
    raceStarts(home, screen);
    if (hasOption("--trace")) traceStart(home, screen);
    weighAll(home);
    return 0;
}
