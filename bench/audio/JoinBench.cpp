#include "bench/audio/JoinBench.h"

#include "bench/Figures.h"
#include "platform/audio/AudioPlayer.h"
#include "platform/foundation/Path.h"
#include "tests/platform/audio/Signals.h"
#include "tests/platform/audio/Songs.h"
#include "tests/platform/audio/SoundServer.h"

#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <span>
#include <vector>

namespace platform::audio {

namespace {

using bench::print;

constexpr int kSinkRate = 48000;
constexpr int kSongRate = 44100;
constexpr double kFrequency = 441;
constexpr int64_t kSamples = 2 * kSongRate + 37;  // of each song
constexpr double kSeconds = static_cast<double>(kSamples) / kSongRate;

/// Songs in a row, as a deck plays them: each player's end makes the next one's start.
class Row final : public AudioPlayerDelegate {
  public:
    Row() {
        for (int i = 0; i < 3; ++i) {
            // As ALAC, so that every sample is known.
            const auto source = QStringLiteral(
                                    "aevalsrc=0.5*sin(2*PI*%1*(n+%2)/%3):s=%3,"
                                    "atrim=end_sample=%4")
                                    .arg(kFrequency)
                                    .arg(i * kSamples)
                                    .arg(kSongRate)
                                    .arg(kSamples);
            paths_ << folder_.filePath(QStringLiteral("%1.m4a").arg(i));
            QFile file(paths_.back());
            if (file.open(QIODevice::WriteOnly))
                file.write(encodedFrom(source, QStringLiteral("-ac 2 -c:a alac -sample_fmt s32p"),
                                       QStringLiteral("m4a")));
        }
    }

    void play() { begin(AudioPlayer::initWithData(*dataWithContentsOfFile(paths_[0]))); }

    void audioPlayerNearsItsEnd(AudioPlayer* player) override {
        if (next_ < paths_.size()) player->setSuccessor(paths_[next_]);
    }

    void audioPlayerDidFinishPlayingSuccessfully(AudioPlayer* player, bool) override {
        if (next_ == paths_.size()) return;
        auto follower = player->takeSuccessor(paths_[next_]);
        if (!follower) follower = AudioPlayer::initWithData(*dataWithContentsOfFile(paths_[next_]));
        ++next_;
        begin(std::move(follower));
    }

  private:
    void begin(std::unique_ptr<AudioPlayer> player) {
        player_ = std::move(player);
        player_->setDelegate(this);
        player_->setPan(1);
        player_->play();
    }

    QTemporaryDir folder_;
    QStringList paths_;
    qsizetype next_ = 1;
    std::unique_ptr<AudioPlayer> player_;
};

double phaseOf(std::span<const float> mono) {
    std::complex<double> sum = 0;
    for (size_t i = 0; i < mono.size(); ++i)
        sum += static_cast<double>(mono[i]) *
               std::polar(1.0,
                          -2 * std::numbers::pi * kFrequency * static_cast<double>(i) / kSinkRate);
    return std::arg(sum);
}

/// Frames that the tone stands still or jumps by at `join`.
double holeAt(std::span<const float> mono, size_t join) {
    // Whole periods of the tone on both sides, some way off.
    constexpr size_t kWindow = 16000;
    constexpr size_t kDistance = 4000;
    const size_t apart = kWindow + 2 * kDistance;
    const double turned =
        phaseOf(mono.subspan(join + kDistance, kWindow)) -
        phaseOf(mono.subspan(join - kDistance - kWindow, kWindow)) -
        2 * std::numbers::pi * kFrequency * static_cast<double>(apart) / kSinkRate;
    const double jump = std::remainder(turned, 2 * std::numbers::pi) * kSinkRate /
                        (2 * std::numbers::pi * kFrequency);
    size_t longest = 0;
    size_t silent = 0;
    for (const float sample : mono.subspan(join - kDistance, apart)) {
        silent = std::abs(sample) < 1e-5F ? silent + 1 : 0;
        longest = std::max(longest, silent);
    }
    return std::max(std::round(std::abs(jump)), longest > 2 ? static_cast<double>(longest) : 0);
}

void benchRow(SoundServer& server, bool held) {
    Row row;
    server.startRecording();
    runEvents(0.3);
    row.play();
    runEvents(kSeconds - 0.5);
    // Half a second on each side of the join.
    for (int i = 0; i < 2; ++i) {
        if (held)
            QThread::msleep(1000);
        else
            runEvents(1);
        runEvents(kSeconds - 1);
    }
    runEvents(1);
    const auto recording = server.stopRecording();
    std::vector<float> mono;
    for (size_t i = 1; i < recording.size(); i += 2)
        mono.push_back(recording[i]);
    const auto sounding = std::find_if(mono.begin(), mono.end(), [](float s) { return s != 0; });
    const auto onset = static_cast<size_t>(sounding - mono.begin());
    double hole = 0;
    double residue = -1000;
    for (int i = 1; i <= 2; ++i) {
        const size_t join = onset + static_cast<size_t>(std::llround(i * kSeconds * kSinkRate));
        hole = std::max(hole, holeAt(mono, join));
        std::vector<float> around;
        for (size_t at = join - 4800; at < join + 4800; ++at)
            around.insert(around.end(), 2, mono[at]);
        residue = std::max(residue, fitTone(around, kFrequency, kSinkRate).residueDecibel);
    }
    print(held ? "sound.join.busy_main_thread.hole_frames" : "sound.join.hole_frames", hole,
          "frames");
    if (!held) print("sound.join.residue_db", residue, "dB");
}

}  // namespace

void benchJoins(SoundServer& server) {
    benchRow(server, false);
    benchRow(server, true);
}

}  // namespace platform::audio
