// The engine's figures, taken on a private sound server with a null sink of 48 kHz.

#include "bench/Figures.h"
#include "bench/Pictures.h"
#include "bench/TestLibrary.h"
#include "bench/audio/JoinBench.h"
#include "bench/audio/OtherPlayers.h"
#include "platform/audio/AudioEngine.h"
#include "platform/audio/AudioPlayer.h"
#include "platform/audio/Clock.h"
#include "platform/audio/ShapeMaker.h"
#include "platform/foundation/FreeMemory.h"
#include "platform/image/Image.h"
#include "platform/media/MediaAsset.h"
#include "presentation/BlurredBackdrop.h"
#include "tests/platform/audio/Rig.h"
#include "tests/platform/audio/Signals.h"
#include "tests/platform/audio/Songs.h"
#include "tests/platform/audio/SoundServer.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QTemporaryFile>

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace platform::audio {
namespace {

using bench::isAnyWanted;
using bench::print;
using bench::residentMegabytes;

double milliseconds(int64_t nanoseconds) {
    return static_cast<double>(nanoseconds) * 1e-6;
}

void printSpread(const std::string& name, std::vector<double> values) {
    std::sort(values.begin(), values.end());
    print(name, values[values.size() / 2], "ms");
    print(name + ".worst", values.back(), "ms");
}

Mixer& mixer() {
    return AudioEngine::shared().mixer;
}

std::unique_ptr<AudioPlayer> playing(const QByteArray& song, float pan) {
    auto player = AudioPlayer::initWithData(song);
    player->setPan(pan);
    player->play();
    return player;
}

/// Spins until a block has been delivered that fulfils the condition; returns when.
template <typename Condition>
int64_t awaitBlock(Condition condition) {
    while (!condition())
        std::this_thread::yield();
    return nowNanoseconds();
}

QByteArray longSong(const char* options, const char* suffix, double seconds = 250) {
    return encodedSong(seconds, QString::fromUtf8(options), QString::fromUtf8(suffix));
}

/// From the bytes to the first frame in the callback, the stream running as it does while the
/// other deck plays or has played.
void benchLoad(const char* name, const QByteArray& song) {
    std::vector<double> took;
    for (int i = 0; i < 40; ++i) {
        runEvents(0.1 + 0.0013 * i);
        const uint64_t before = mixer().deliveredFrames();
        const int64_t start = nowNanoseconds();
        const auto player = playing(song, 1);
        took.push_back(
            milliseconds(awaitBlock([&] { return mixer().deliveredFrames() != before; }) - start));
    }
    printSpread(std::string("sound.load_to_first_sample.") + name, took);
    print(std::string("sound.file_size.") + name, static_cast<double>(song.size()) * 1e-6, "MB");
}

/// From the control's call to the callback that acts on it.
void benchControls(const QByteArray& file) {
    AudioEngine& engine = AudioEngine::shared();
    const auto song = openSong(file);
    const auto voice = std::make_shared<Voice>();
    voice->setPlaying(true);
    engine.worker.add(voice, song, {1, 0});
    engine.output.wake();
    awaitBlock([&] { return voice->progress().time > 0; });
    std::vector<double> volume;
    std::vector<double> seek;
    std::vector<double> period;
    uint64_t number = 1;
    for (int i = 0; i < 60; ++i) {
        runEvents(0.03 + 0.0007 * i);
        const int64_t start = nowNanoseconds();
        voice->setVolume(i % 2 == 0 ? 0.5F : 1);
        const int64_t first = awaitBlock([&] { return mixer().lastBlock() > start; });
        volume.push_back(milliseconds(first - start));
        const int64_t block = mixer().lastBlock();
        awaitBlock([&] { return mixer().lastBlock() > block; });
        period.push_back(milliseconds(mixer().lastBlock() - block));
        runEvents(0.01);
        const int64_t moved = nowNanoseconds();
        engine.worker.request(*voice, {++number, (i * 7919777L) % song->length});
        seek.push_back(
            milliseconds(awaitBlock([&] { return voice->progress().request == number; }) - moved));
    }
    voice->release();
    engine.worker.wake();
    printSpread("sound.control_to_sample", volume);
    printSpread("sound.seek_to_sample", seek);
    printSpread("sound.callback_period", period);
    print("sound.latency", mixer().latency() * 1e3, "ms");
}

double processorSeconds() {
    rusage used = {};
    getrusage(RUSAGE_SELF, &used);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

void benchCost(const QByteArray& song) {
    const double idle = residentMegabytes();
    const auto copyOf = [&] { return QByteArray(song.constData(), song.size()); };
    const auto left = playing(copyOf(), 1);
    const auto right = playing(copyOf(), -1);
    runEvents(2);
    const double files = 2 * static_cast<double>(song.size()) * 1e-6;
    print("sound.memory_two_decks", residentMegabytes() - idle - files, "MB");
    constexpr double kSeconds = 10;
    const double before = processorSeconds();
    runEvents(kSeconds);
    const double share = (processorSeconds() - before) / kSeconds;
    left->pause();
    right->pause();
    print("sound.cpu_two_decks", share * 100, "%");
    if (!bench::hasOption("--peers")) return;
    for (const PlayerCost& other : costOfOtherPlayers(song)) {
        print("sound.peer." + other.name + "_cpu_one_file", other.share * 100, "%");
        print("sound.peer." + other.name + "_over_two_decks", other.share / share, "ratio");
    }
}

/// The processor time that a song of four minutes takes to be drawn, in the same engine's decoder.
void benchShape() {
    struct Format {
        const char* name;
        const char* options;
        const char* suffix;
    };
    for (const auto& [name, options, suffix] :
         {Format{"mp3", "-b:a 192k", "mp3"}, Format{"aac", "-c:a aac -b:a 192k", "m4a"},
          Format{"alac", "-c:a alac", "m4a"}}) {
        const auto song = openSong(longSong(options, suffix, 240));
        std::vector<double> took;
        for (int i = 0; i < 5; ++i) {
            const auto now = [] {
                timespec time = {};
                clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
                return static_cast<double>(time.tv_sec) * 1e3 +
                       static_cast<double>(time.tv_nsec) * 1e-6;
            };
            const auto shape = std::make_shared<SongShape>();
            const double before = now();
            drawShape(song, shape);
            took.push_back(now() - before);
        }
        print(std::string("wave.four_minutes_cpu_ms.") + name, bench::median(took), "ms");
    }
}

/// The last seconds of both decks' songs, with and without others that are made ready meanwhile, in
/// turn; and what those hold.
void benchSuccessors(const QByteArray& song) {
    QTemporaryFile file;
    if (!file.open() || file.write(song) != song.size() || !file.flush()) return;
    const auto left = playing(song, 1);
    const auto right = playing(song, -1);
    const auto succeed = [&](const std::optional<QString>& path) {
        left->setSuccessor(path);
        right->setSuccessor(path);
    };
    const auto nearEnd = [&] {
        for (AudioPlayer* player : {left.get(), right.get()})
            player->setCurrentTime(player->duration() - 12);
        runEvents(1);
    };
    nearEnd();
    const double before = residentMegabytes();
    succeed(file.fileName());
    runEvents(3);
    const double files = 2 * static_cast<double>(song.size()) * 1e-6;
    print("sound.memory_successors", residentMegabytes() - before - files, "MB");
    succeed(std::nullopt);
    runEvents(2);
    print("sound.memory_successors.taken_back", residentMegabytes() - before, "MB");
    constexpr double kSeconds = 8;
    constexpr int kRounds = 4;
    double spent[] = {0, 0};
    for (int round = 0; round < 2 * kRounds; ++round) {
        nearEnd();
        const double start = processorSeconds();
        if (round % 2 == 1) succeed(file.fileName());
        runEvents(kSeconds);
        spent[round % 2] += (processorSeconds() - start) / (kRounds * kSeconds) * 100;
    }
    print("sound.cpu_two_decks_near_the_end", spent[0], "%");
    print("sound.cpu_two_decks_near_the_end.with_successors", spent[1], "%");
}

/// A tone of -1 dBFS through decoder, resampler, voice and mixer.
void benchQuality() {
    Rig rig(48000);
    const double level = std::pow(10, -1.0 / 20);
    const auto voice = rig.play(waveFile(sine(1000, level, 44100, size_t{3} * 44100), 44100));
    rig.render(24000);
    const Tone tone = fitTone(rig.render(48000), 1000, 48000);
    print("sound.thd_n", tone.residueDecibel, "dB");
    print("sound.gain_error", decibel(tone.amplitude / level), "dB");
}

/// Blocks of 50 ms in the recording that aren't the tone that was played, on either side.
int glitches(const std::vector<float>& recording, double leftTone, double rightTone) {
    constexpr size_t kWindow = 2400;
    const auto side = [&](size_t channel, double frequency) {
        std::vector<float> mono;
        for (size_t i = channel; i < recording.size(); i += 2)
            mono.insert(mono.end(), 2, recording[i]);
        int bad = 0;
        // What was recorded before the first block of sound and after the last does not count.
        for (size_t at = size_t{2} * 48000; at + 2 * (kWindow + 24000) < mono.size();
             at += 2 * kWindow) {
            const Tone tone = fitTone(std::span(mono).subspan(at, 2 * kWindow), frequency, 48000);
            if (tone.amplitude < 0.4 || tone.residueDecibel > -50) ++bad;
        }
        return bad;
    };
    return side(0, rightTone) + side(1, leftTone);
}

// Keeps every processor busy with an ordinary thread, for as long as it lives.
class BusyProcessors {
  public:
    BusyProcessors() {
        for (unsigned i = std::max(1U, std::thread::hardware_concurrency()); i > 0; --i) {
            threads_.emplace_back([](const std::stop_token& end) {
                while (!end.stop_requested()) {
                }
            });
        }
    }

  private:
    std::vector<std::jthread> threads_;
};

// Both on this thread, as the program does.
void readTags(const QString& folder) {
    QDirIterator files(folder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        MediaAsset::URLAssetWithURL(files.next());
}
void blurTwice() {
    const Image picture(bench::photograph(bench::kFiveK));
    for (int i = 0; i < 2; ++i)
        blurWithLevelAndSize(picture, 150, QSizeF(575, 323.4375));
}

void benchInterruptions(SoundServer& server, double busySeconds) {
    const QString library = bench::libraryOf(10'000);
    const auto tone = [](double frequency) {
        return waveFile(sine(frequency, 0.5, 44100, size_t{44100} * 120), 44100);
    };
    const auto left = playing(tone(440), 1);
    const auto right = playing(tone(660), -1);
    runEvents(0.5);
    const uint64_t before = mixer().missingFrames();
    server.startRecording();
    runEvents(1);
    const auto phase = [&](const char* name, auto disturb) {
        const uint64_t missing = mixer().missingFrames();
        disturb();
        print(std::string("sound.missing_frames.") + name,
              static_cast<double>(mixer().missingFrames() - missing), "frames");
    };
    phase("scan", [&] { readTags(library); });
    phase("blur", blurTwice);
    const QByteArray song = longSong("-b:a 192k", "mp3", 30);
    phase("loads", [&] {
        for (int i = 0; i < 200; ++i) {
            const auto player = AudioPlayer::initWithData(song);
            player->setVolume(0);
            player->play();
            runEvents(0.01);
        }
    });
    phase("busy", [&] {
        const BusyProcessors busy;
        runEvents(busySeconds);
    });
    runEvents(0.5);
    print("sound.missing_frames", static_cast<double>(mixer().missingFrames() - before), "frames");
    print("sound.recorded_glitches", glitches(server.stopRecording(), 440, 660), "windows");
}

void run() {
    if (isAnyWanted("sound.thd_n") || isAnyWanted("sound.gain_error")) benchQuality();
    if (isAnyWanted("wave.four_minutes")) benchShape();
    if (!isAnyWanted("sound.")) return;
    SoundServer server;
    server.start();
    const QByteArray song = longSong("-b:a 320k", "mp3");
    if (isAnyWanted("sound.cpu") || isAnyWanted("sound.memory") || isAnyWanted("sound.peer"))
        benchCost(song);
    if (isAnyWanted("sound.cpu") || isAnyWanted("sound.memory")) benchSuccessors(song);
    const bool loads = isAnyWanted("sound.load_to_first_sample") || isAnyWanted("sound.file_size");
    // Made before anything plays: meanwhile the stream would fall asleep.
    const QByteArray otherSong = loads ? longSong("-c:a aac -b:a 320k", "m4a", 320) : QByteArray();
    const auto other = playing(song, -1);
    // An idle null sink has rendered two seconds ahead and takes nothing until they are over.
    awaitBlock([] { return mixer().deliveredFrames() > 48000; });
    other->pause();
    if (loads) {
        benchLoad("mp3", song);
        benchLoad("m4a", otherSong);
    }
    if (isAnyWanted("sound.control_to_sample") || isAnyWanted("sound.seek_to_sample") ||
        isAnyWanted("sound.callback_period") || isAnyWanted("sound.latency"))
        benchControls(song);
    if (isAnyWanted("sound.join")) benchJoins(server);
    // The full minute only where it is asked for: a run of all benches stays short.
    const bool whole = bench::hasOption("--whole-minute");
    if (isAnyWanted("sound.missing_frames") || isAnyWanted("sound.recorded_glitches"))
        benchInterruptions(server, whole ? 60 : 10);
}

}  // namespace
}  // namespace platform::audio

int main(int argc, char** argv) {
    bench::readCommandLine(argc, argv);
    if (!bench::isAnyWanted("sound.") && !bench::isAnyWanted("wave.four_minutes")) return 0;
    platform::returnFreedMemory();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("bench"));
    platform::audio::run();
}
