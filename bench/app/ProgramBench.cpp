// The program as a process on a screen of its own: how long it takes to its first frame and how
// much memory it holds.

#include "bench/Figures.h"
#include "bench/Pictures.h"
#include "bench/TestLibrary.h"
#include "bench/app/RunningProgram.h"
#include "bench/app/ScreenWatch.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

using namespace bench;

namespace {

const QString kProgram = QStringLiteral(PROGRAM);

struct Setting {
    bool wallpaper = false;  ///< a JPEG of 5K
    bool libraries = false;  ///< 10,000 tracks for each deck
};

void write(const QString& path, const QByteArray& content) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        std::fprintf(stderr, "%s could not be written\n", qPrintable(path));
}

/// What a user's files say before the program starts.
class Home {
  public:
    /// Makes it so, with nothing left of an earlier run.
    void set(const Setting& setting) {
        QDir(configuration_ + QStringLiteral("/com.ovrelin.Pairdeck")).removeRecursively();
        QFile::remove(desktopFile());
        if (setting.wallpaper) write(desktopFile(), channelWithWallpaper());
        if (!setting.libraries) return;
        const QByteArray folder = libraryOf(10'000).toUtf8();
        write(configuration_ + QStringLiteral("/com.ovrelin.Pairdeck/defaults.json"),
              "{\"PairdeckLeftDefaultDirectory\": \"" + folder +
                  "\", \"PairdeckRightDefaultDirectory\": \"" + folder + "\"}");
    }

    /// The path of a song of four minutes with that name.
    QString song(const QString& name) const {
        const QString path = folder_.filePath(name + QStringLiteral(".mp3"));
        QProcess::execute(
            QStringLiteral("ffmpeg"),
            {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-f"),
             QStringLiteral("lavfi"), QStringLiteral("-i"), QStringLiteral("sine=duration=240"),
             QStringLiteral("-b:a"), QStringLiteral("192k"), path});
        return path;
    }

  private:
    QString desktopFile() const {
        return configuration_ +
               QStringLiteral("/xfce4/xfconf/xfce-perchannel-xml/xfce4-desktop.xml");
    }

    QByteArray channelWithWallpaper() {
        const QString wallpaper = folder_.filePath(QStringLiteral("wallpaper.jpg"));
        if (!QFile::exists(wallpaper)) write(wallpaper, jpegOf(photograph(kFiveK)));
        QByteArray value = wallpaper.toUtf8();
        QByteArray close;
        QByteArray xml = "<channel name=\"xfce4-desktop\">";
        for (const char* property : {"backdrop", "screen0", "monitor0", "workspace0"}) {
            xml += QByteArray("<property name=\"") + property + "\" type=\"empty\">";
            close += "</property>";
        }
        return xml + "<property name=\"last-image\" type=\"string\" value=\"" + value + "\"/>" +
               close + "</channel>";
    }

    QTemporaryDir folder_;
    QString configuration_ = qEnvironmentVariable("XDG_CONFIG_HOME");
};

std::int64_t nowNanoseconds() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

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
    const auto enter = [&](const char* name, const QString& executable, const Setting& setting) {
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

void weigh(Home& home, const std::string& name, const Setting& setting,
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
    if (qEnvironmentVariableIsEmpty("PAIRDECK_SESSION")) {
        std::vector<char*> command = {const_cast<char*>(SESSION)};
        command.insert(command.end(), argv, argv + argc + 1);
        ::execv(SESSION, command.data());
        std::perror(SESSION);
        return 1;
    }
    // Nobody reads the screen aloud here, which would cost a start what few users pay.
    qunsetenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
    Home home;
    ScreenWatch screen;
    if (!screen.isOpen()) return 1;
    raceStarts(home, screen);
    if (hasOption("--trace")) traceStart(home, screen);
    weighAll(home);
    return 0;
}
