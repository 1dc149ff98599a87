#include "platform/audio/ShapeMaker.h"
#include "tests/platform/audio/Signals.h"
#include "tests/platform/audio/Songs.h"

#include <QDir>
#include <QTemporaryFile>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <thread>

namespace platform::audio {
namespace {

constexpr int kRate = 48000;
constexpr size_t kColumnFrames = 4800;

/// Full scale, silence, steps of 6 dB, a ramp, and a tone on the left alone, 64 columns or 128
/// each.
std::vector<float> envelopes() {
    auto stereo = sine(1000, 1, kRate, SongShape::kColumns * kColumnFrames);
    for (size_t i = 0; i < stereo.size(); ++i) {
        const size_t column = i / 2 / kColumnFrames;
        double gain = 1;
        if (column >= 64 && column < 128) gain = 0;
        if (column >= 128 && column < 256) gain = std::pow(0.5, (column - 128) / 16);
        if (column >= 256 && column < 384)
            gain = (static_cast<double>(i) / 2 / kColumnFrames - 256) / 128;
        if (column >= 384) gain = i % 2 == 0 ? 0.5 : 0;
        stereo[i] *= static_cast<float>(gain);
    }
    return stereo;
}

/// Idle threads get little of a busy machine.
template <typename Condition>
bool awaits(Condition condition) {
    for (int i = 0; i < 6000 && !condition(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return condition();
}

std::shared_ptr<const SongShape> shapeOf(const QByteArray& file) {
    auto shape = std::make_shared<SongShape>();
    drawShape(openSong(file), shape);
    EXPECT_TRUE(shape->isComplete());
    return shape;
}

QByteArray encoded(const QByteArray& wave, const char* options, const char* suffix) {
    QTemporaryFile file(QDir::tempPath() + QStringLiteral("/XXXXXX.wav"));
    if (!file.open() || file.write(wave) != wave.size() || !file.flush()) std::abort();
    const auto words = QStringLiteral("ffmpeg -v error -i %1 %2 OUT");
    return encodedBy(words.arg(file.fileName(), QLatin1String(options)).split(u' '),
                     QLatin1String(suffix));
}

TEST(SongShapes, TellPeakAndLoudnessOfEveryStretch) {
    const std::vector<float> stereo = envelopes();
    const QByteArray wave = waveFile(stereo, kRate);
    const auto shape = shapeOf(wave);
    for (size_t i = 0; i < SongShape::kColumns; ++i) {
        const auto column = std::span(stereo).subspan(i * 2 * kColumnFrames, 2 * kColumnFrames);
        double peak = 0;
        for (const float sample : column)
            peak = std::max(peak, static_cast<double>(std::abs(sample)));
        const auto expected = [](double level) { return std::max(decibel(level), -95.625); };
        EXPECT_NEAR(SongShape::decibel(shape->column(i).peak), expected(peak), 0.2) << i;
        EXPECT_NEAR(SongShape::decibel(shape->column(i).loudness), expected(rootMeanSquare(column)),
                    0.2)
            << i;
    }
    EXPECT_EQ(SongShape::ofBytes(shape->bytes())->bytes(), shape->bytes());
    EXPECT_EQ(SongShape::ofBytes(shape->bytes().chopped(2)), nullptr);

    for (const auto& [options, suffix] :
         {std::pair("-c:a libmp3lame -b:a 192k", "mp3"), std::pair("-c:a aac -b:a 192k", "m4a")}) {
        const auto lossy = shapeOf(encoded(wave, options, suffix));
        for (size_t i = 1; i + 1 < SongShape::kColumns; ++i) {
            // A codec's frames reach across a jump.
            if (std::abs(shape->column(i + 1).peak - shape->column(i - 1).peak) > 15) continue;
            const auto [peak, loudness] = lossy->column(i);
            constexpr double kMost = 1 / SongShape::kStep;
            EXPECT_NEAR(peak, shape->column(i).peak, kMost) << suffix << i;
            EXPECT_NEAR(loudness, shape->column(i).loudness, kMost) << suffix << i;
        }
    }
    const auto shortest = shapeOf(waveFile({0.5F, 0.5F}, kRate));
    EXPECT_EQ(shortest->column(511).peak, SongShape::level(0.5));
}

TEST(SongShapes, AreMadeAtTheLeastPriorityForAsLongAsTheyAreHeld) {
    const auto song = std::const_pointer_cast<Song>(openSong(waveFile({0.5F, 0.5F}, kRate)));
    // Days of silence.
    song->length = int64_t{1} << 45;
    const auto idleThreads = [] {
        const QStringList tasks = QDir(QStringLiteral("/proc/self/task")).entryList();
        return std::count_if(tasks.begin(), tasks.end(), [](const QString& task) {
            return ::getpriority(PRIO_PROCESS, task.toUInt()) == 19;
        });
    };
    // The tests may be run at that priority themselves.
    const auto before = idleThreads();
    auto shape = makeShape(song);
    EXPECT_TRUE(awaits([&] { return idleThreads() == before + 1; }));
    shape.reset();
    EXPECT_TRUE(awaits([&] { return idleThreads() == before; }));
}

}  // namespace
}  // namespace platform::audio
