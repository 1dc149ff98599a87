#include "platform/audio/SongStream.h"
#include "tests/platform/audio/Signals.h"
#include "tests/platform/audio/Songs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <utility>

namespace platform::audio {
namespace {

std::vector<float> rest(SongStream& stream, size_t atMost = SIZE_MAX) {
    std::vector<float> all;
    std::vector<float> block(2 * 1000);
    while (all.size() / 2 < atMost) {
        const size_t got = stream.read(block.data(), 1000);
        all.insert(all.end(), block.begin(), block.begin() + static_cast<long>(2 * got));
        if (got < 1000) break;
    }
    return all;
}

std::vector<float> whole(SongStream& stream, int64_t sample, int rate, size_t atMost = SIZE_MAX) {
    stream.seek(sample, rate);
    return rest(stream, atMost);
}

std::span<const float> middle(const std::vector<float>& stereo) {
    return std::span(stereo).subspan(16000, stereo.size() - 32000);
}

struct Rates {
    int from, to;
    double highest;
};

class Resampling : public testing::TestWithParam<Rates> {
  protected:
    std::vector<float> through(double frequency, double amplitude) const {
        const auto [from, to, highest] = GetParam();
        const auto tone = sine(frequency, amplitude, from, static_cast<size_t>(from));
        SongStream stream(openSong(waveFile(tone, from)));
        return whole(stream, 0, to);
    }
};

INSTANTIATE_TEST_SUITE_P(Rates, Resampling,
                         testing::Values(Rates{44100, 48000, 19500}, Rates{96000, 48000, 20000}));

TEST_P(Resampling, IsTransparent) {
    const auto [from, to, highest] = GetParam();
    const double level = std::pow(10, -1.0 / 20);
    const auto tone = through(1000, level);
    EXPECT_EQ(tone.size() / 2, static_cast<size_t>(to));
    EXPECT_LE(fitTone(middle(tone), 1000, to).residueDecibel, -125);
    for (const double frequency : {30.0, 10000.0, 18000.0, highest}) {
        const double amplitude = fitTone(middle(through(frequency, 0.5)), frequency, to).amplitude;
        EXPECT_LE(std::abs(decibel(amplitude / 0.5)), 0.1) << frequency;
    }
    // What the target can't hold must not come back as another tone.
    for (int frequency = to / 2 + 1000; frequency < from / 2; frequency += 3000) {
        const auto out = through(frequency, 1);
        EXPECT_LE(decibel(rootMeanSquare(middle(out)) * std::numbers::sqrt2), -120) << frequency;
    }
}

TEST_P(Resampling, ASeekContinuesTheStraightStream) {
    const auto [from, to, highest] = GetParam();
    const auto tone = sine(1234, 0.5, from, static_cast<size_t>(from));
    SongStream stream(openSong(waveFile(tone, from)));
    const auto straight = whole(stream, 0, to);
    const int common = std::gcd(from, to);
    for (const int periods : {0, 1, 3, 40, 77}) {
        const auto sought = whole(stream, periods * (from / common), to, 2000);
        const size_t offset = 2 * static_cast<size_t>(periods * (to / common));
        for (size_t i = 0; i < 4000; ++i)
            ASSERT_NEAR(sought[i], straight[offset + i], 1e-6) << periods << " at " << i / 2;
    }
}

/// A tone cut into songs of so many samples each, at their own rates, played in a row.
struct Row {
    int rate;
    std::vector<std::pair<int, size_t>> songs;
    double residue;  ///< Around each join, in dB of the tone, at most.
};

class Joining : public testing::TestWithParam<Row> {};

// From one rate to another, what only one of the two can hold is left: beyond 20 kHz.
INSTANTIATE_TEST_SUITE_P(
    Rows, Joining,
    testing::Values(Row{44100, {{44100, 30000}, {44100, 31}, {44100, 20001}}, -140},
                    Row{48000, {{44100, 30001}, {44100, 4001}, {44100, 20001}}, -125},
                    Row{44100, {{96000, 30001}, {96000, 50000}}, -125},
                    Row{192000, {{48000, 30001}, {48000, 20000}}, -125},
                    Row{48000, {{44100, 44100}, {48000, 48000}, {44100, 44100}}, -65},
                    Row{96000, {{48000, 48000}, {44100, 44100}}, -65}));

TEST_P(Joining, TheSongsOfAToneAreTheToneAgain) {
    constexpr double kFrequency = 441;
    const auto& [streamRate, songs, residue] = GetParam();
    std::vector<float> heard;
    size_t begin = 0;
    double seconds = 0;
    std::shared_ptr<const Song> before;
    FrameGrid grid;
    std::vector<size_t> joins;
    for (const auto& [rate, length] : songs) {
        const auto skipped = static_cast<size_t>(std::llround(seconds * rate));
        const auto tone = sine(kFrequency, 0.5, rate, skipped + length);
        const auto song = openSong(waveFile({tone.begin() + long(2 * skipped), tone.end()}, rate));
        SongStream stream(song);
        if (before) {
            const auto join = stream.follow(before, grid, streamRate);
            begin += join.frame;
            grid = join.grid;
            joins.push_back(begin);
        } else {
            stream.seek(0, streamRate);
        }
        heard.resize(2 * begin);
        const auto frames = rest(stream);
        heard.insert(heard.end(), frames.begin(), frames.end());
        seconds += static_cast<double>(length) / rate;
        before = song;
    }
    EXPECT_NEAR(static_cast<double>(heard.size()) / 2, seconds * streamRate, 1.01);
    for (const size_t join : joins) {
        const auto around = std::span(heard).subspan(2 * (join - 2000), 2 * size_t{5000});
        EXPECT_LE(fitTone(around, kFrequency, streamRate).residueDecibel, residue) << join;
    }
}

}  // namespace
}  // namespace platform::audio
