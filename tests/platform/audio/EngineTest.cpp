#include "platform/audio/Pacer.h"
#include "tests/platform/audio/Rig.h"
#include "tests/platform/audio/Signals.h"
#include "tests/platform/audio/Songs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <numbers>
#include <thread>
#include <utility>

namespace platform::audio {
namespace {

constexpr int kRate = 44100;
constexpr size_t kRampFrames = 441;  // ten milliseconds: the longest a ramp may take

/// Every sample of it is different, and it never jumps.
std::vector<float> sweep(size_t frames, double amplitude = 0.5) {
    std::vector<float> stereo(2 * frames);
    double phase = 0;
    for (size_t i = 0; i < frames; ++i) {
        phase += 0.02 + 0.01 * std::sin(static_cast<double>(i) * 1e-4);
        stereo[2 * i] = static_cast<float>(amplitude * std::sin(phase));
        stereo[2 * i + 1] = static_cast<float>(amplitude * std::cos(0.7 * phase));
    }
    return stereo;
}

float largestStep(const std::vector<float>& stereo) {
    float largest = 0;
    for (size_t i = 2; i < stereo.size(); ++i)
        largest = std::max(largest, std::abs(stereo[i] - stereo[i - 2]));
    return largest;
}

void expectSong(const std::vector<float>& heard, const std::vector<float>& song, size_t from) {
    for (size_t i = 0; i < heard.size(); ++i)
        ASSERT_EQ(heard[i], song[2 * from + i]) << "at frame " << i / 2;
}

TEST(Engine, WhatIsHeardIsTheSongToTheSample) {
    const auto song = sweep(3 * kRate);
    Rig rig;
    const auto voice = rig.play(waveFile(song, kRate));
    const auto start = rig.render(kRate);
    expectSong({start.begin() + 2 * kRampFrames, start.end()}, song, kRampFrames);

    rig.request(*voice, {2, 2 * kRate});
    const auto moved = rig.render(9600);
    expectSong({moved.begin() + 2 * kRampFrames, moved.end()}, song, 2 * kRate + kRampFrames);
    EXPECT_LE(largestStep(moved), 0.03F);
    EXPECT_DOUBLE_EQ(voice->progress().time, 2 + 9600.0 / kRate);

    // A pause keeps the place: what its ramp did not take is played next.
    voice->setPlaying(false);
    const auto fading = rig.render(4800);
    EXPECT_EQ(rootMeanSquare(std::span(fading).subspan(2 * kRampFrames)), 0);
    const auto place = static_cast<size_t>(std::llround(voice->progress().time * kRate));
    EXPECT_LE(place, 2 * kRate + 9600 + kRampFrames);
    EXPECT_TRUE(voice->isSilent());
    voice->setPlaying(true);
    const auto resumed = rig.render(4800);
    expectSong({resumed.begin() + 2 * kRampFrames, resumed.end()}, song, place + kRampFrames);
    EXPECT_EQ(voice->missingFrames(), 0);
}

TEST(Engine, ControlsActInTheNextBlockWithoutAClick) {
    const auto tone = sine(200, 0.9, kRate, 2 * kRate);
    const float slope = largestStep(tone) + 0.9F / 220;  // the tone's own and a ramp's
    Rig rig;
    const auto voice = rig.play(waveFile(tone, kRate));
    auto heard = rig.render(4800);
    const auto change = [&](auto action, double expectedLeft) {
        action();
        const auto block = rig.render(4800);
        heard.insert(heard.end(), block.begin(), block.end());
        const auto settled = std::span(block).subspan(2 * kRampFrames);
        double peak = 0;
        for (size_t i = 0; i < settled.size(); i += 2)
            peak = std::max<double>(peak, std::abs(settled[i]));
        EXPECT_NEAR(peak, expectedLeft, 1e-3);
    };
    change([&] { voice->setVolume(0.25F); }, 0.225);
    change([&] { voice->setGain(2); }, 0.45);
    change([&] { voice->setGain(1); }, 0.225);
    change([&] { voice->setPan(0.5F); }, 0.1125);
    change([&] { voice->setPan(1); }, 0);
    change([&] { voice->setVolume(0); }, 0);
    change([&] { voice->setPan(-1), voice->setVolume(1); }, 0.9);
    change([&] { rig.request(*voice, {2, 12345}); }, 0.9);
    change([&] { voice->setPlaying(false); }, 0);
    change([&] { voice->setPlaying(true); }, 0.9);
    EXPECT_LE(largestStep(heard), slope);
    // Silence by volume goes on playing.
    voice->setVolume(0);
    const double before = voice->progress().time;
    rig.render(4800);
    EXPECT_NEAR(voice->progress().time - before, 4800.0 / kRate, 1e-9);
}

TEST(Engine, APlaceAskedForInAPauseIsKeptToTheSample) {
    Rig rig;
    const auto voice = rig.play(waveFile(sine(200, 0.9, kRate, 2 * kRate), kRate));
    rig.render(4800);
    // Both at once, before the callback has faded: the block that fades finds the new place ready.
    voice->setPlaying(false);
    rig.worker.request(*voice, {2, 0});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    while (voice->progress().request != 2)
        rig.render(480);
    EXPECT_EQ(voice->progress().time, 0);
}

TEST(Engine, BothDecksKeepTheirSidesAndFullScale) {
    const QByteArray loud = waveFile(sine(997, 1, kRate, kRate), kRate);
    const QByteArray mono =
        encodedSong(1, QStringLiteral("-c:a alac"), QStringLiteral("m4a"), kRate, 1);
    Rig rig;
    const auto rms = [](const std::vector<float>& stereo, size_t channel) {
        double sum = 0;
        for (size_t i = channel; i < stereo.size(); i += 2)
            sum += static_cast<double>(stereo[i]) * stereo[i];
        return std::sqrt(2 * sum / static_cast<double>(stereo.size()));
    };
    const auto first = rig.play(loud);
    first->setPan(1);
    rig.render(kRampFrames);
    const auto alone = rig.render(9600);
    EXPECT_EQ(rms(alone, 0), 0);
    EXPECT_NEAR(rms(alone, 1), std::numbers::sqrt2 / 2, 1e-3);
    // Both in the middle: the sum is held at full scale.
    first->setPan(0);
    const auto second = rig.play(loud);
    const auto sum = rig.render(9600);
    EXPECT_EQ(*std::max_element(sum.begin(), sum.end()), 1.0F);
    EXPECT_EQ(*std::min_element(sum.begin(), sum.end()), -1.0F);
    first->release();
    second->release();
    rig.render(9600);
    const auto quiet = rig.play(mono);
    const auto center = rig.render(kRate / 2);
    quiet->setPan(-1);
    const auto reference = wholeFileDecode(mono);
    for (size_t i = kRampFrames; i < 9600; ++i) {
        ASSERT_EQ(center[2 * i], reference.samples[i]);
        ASSERT_EQ(center[2 * i + 1], reference.samples[i]);
    }
}

TEST(Engine, TellsHowLoudEachMomentIs) {
    auto song = sine(1000, 0.8, kRate, 2 * kRate);
    std::fill(song.begin() + 2 * kRate, song.end(), 0);
    Rig rig;
    const auto voice = rig.play(waveFile(song, kRate));
    voice->setVolume(0.5F);
    voice->setPan(1);
    rig.render(9600);
    const auto levelBefore = [&](int64_t milliseconds) {
        return voice->levels().at(rig.mixer.lastBlock() - milliseconds * 1'000'000);
    };
    EXPECT_NEAR(levelBefore(0).peak, 0.4F, 0.004F);
    EXPECT_NEAR(levelBefore(0).loudness, 0.4F / std::numbers::sqrt2_v<float>, 0.004F);
    EXPECT_EQ(levelBefore(-200).peak, 0);
    EXPECT_EQ(levelBefore(60'000).loudness, 0);
    // Within one block as well: 10 ms of the tone, then silence.
    rig.request(*voice, {2, kRate - kRate / 100});
    std::this_thread::sleep_for(std::chrono::milliseconds(80));  // past what came before
    rig.render(2205, 2205);
    EXPECT_EQ(levelBefore(0).peak, 0);
    EXPECT_GT(levelBefore(42).peak, 0.3F);
}

TEST(Engine, TheEndIsToldOnceAndAShortSongIsWhole) {
    for (const size_t frames : {size_t(1), size_t(100), size_t(4800), size_t(48001)}) {
        Rig rig;
        auto voice = std::make_shared<Voice>();
        std::atomic<int> ends = 0;
        voice->setNotices(
            {[&](uint64_t request, bool decoded) { ends += request == 1 && decoded ? 1 : 100; },
             {}});
        voice->setPlaying(true);
        rig.worker.add(voice, openSong(waveFile(sweep(frames), kRate)), {1, 0});
        rig.awaitLane(*voice, 1);
        rig.render(frames + 960);
        for (int i = 0; i < 1000 && ends == 0; ++i)
            rig.render(480);
        rig.render(4800);
        EXPECT_EQ(ends, 1);
        EXPECT_EQ(voice->missingFrames(), 0);
        EXPECT_NEAR(voice->progress().time, static_cast<double>(frames) / kRate, 1e-9);
        voice->setNotices({});
    }
}

TEST(Engine, ManyRequestsEndAtTheLast) {
    const auto song = sweep(4 * kRate);
    Rig rig;
    const auto voice = rig.play(waveFile(song, kRate));
    uint64_t number = 1;
    for (int i = 0; i < 300; ++i) {
        rig.worker.request(*voice, {++number, (i * 7919) % (3 * kRate)});
        if (i % 3 == 0) rig.render(64, 64);
    }
    rig.worker.request(*voice, {++number, kRate});
    while (voice->progress().request != number)
        rig.render(64, 64);
    const auto after = static_cast<size_t>(std::llround(voice->progress().time * kRate));
    rig.render(kRampFrames);
    expectSong(rig.render(4800), song, after + kRampFrames);
}

TEST(Engine, AnOfferWaitsWhileALaneFades) {
    const auto laneOf = [](float value, uint64_t request) {
        const InRole worker(ThreadRole::Worker);
        auto lane = std::make_unique<Lane>(kRate);
        const std::vector<float> frames(2 * kRate, value);
        lane->ring.write(frames.data(), kRate);
        lane->rate = kRate;
        lane->request = request;
        return lane;
    };
    const auto lanes = {laneOf(0.8F, 1), laneOf(0.4F, 2), laneOf(-0.8F, 3)};
    Voice voice;
    voice.setPlaying(true);
    std::vector<float> heard;
    for (const auto& lane : lanes) {
        {
            const InRole worker(ThreadRole::Worker);
            voice.offer(lane.get());
        }
        // The first settles; the second still fades in when the third comes.
        const size_t frames = lane->request == 1 ? 2 * kRampFrames : 64;
        std::vector<float> block(2 * frames);
        const InRole callback(ThreadRole::Callback);
        voice.mix(block.data(), frames, kRate, 0);
        heard.insert(heard.end(), block.begin(), block.end());
    }
    EXPECT_EQ(voice.progress().request, 2U);
    EXPECT_LE(largestStep(heard), 0.01F);
}

TEST(Engine, TheSongGoesOnWhenTheRateChanges) {
    const auto tone = sine(1000, 0.5, kRate, 4 * kRate);
    Rig rig;
    const auto voice = rig.play(waveFile(tone, kRate));
    rig.render(kRate);
    for (const int newRate : {48000, 96000, 44100, 192000}) {
        const double before = voice->progress().time;
        rig.mixer.setRate(newRate);
        rig.worker.wake();
        while (voice->progress().time == before)
            rig.render(64, 64);
        EXPECT_LT(voice->progress().time - before, 0.01);
        rig.render(static_cast<size_t>(newRate) / 20);
        const auto heard = rig.render(static_cast<size_t>(newRate) / 4);
        EXPECT_NEAR(fitTone(heard, 1000, newRate).amplitude, 0.5, 1e-4) << newRate;
        EXPECT_LE(fitTone(heard, 1000, newRate).residueDecibel, -100) << newRate;
    }
}

TEST(Engine, VoicesBeyondTheLimitWaitTheirTurn) {
    const QByteArray bytes = waveFile(sweep(kRate / 10), kRate);
    Rig rig;
    std::vector<std::shared_ptr<Voice>> voices;
    for (size_t i = 0; i < Mixer::kMaxVoices; ++i)
        voices.push_back(rig.play(bytes));
    auto late = std::make_shared<Voice>();
    late->setPlaying(true);
    rig.worker.add(late, openSong(bytes), {1, 0});
    rig.render(480);
    EXPECT_EQ(late->progress().request, 0);
    voices.front()->release();
    rig.awaitLane(*late, 1);
    const std::weak_ptr<Voice> released = voices.front();
    voices.clear();
    EXPECT_TRUE(released.expired()) << "the worker has let go of it";
}

TEST(Engine, ADeviceIsHeldToRealTimeUnlessItKeepsIt) {
    constexpr int64_t kSecond = 1'000'000'000;
    constexpr int64_t kBlock = kSecond / 100;
    Pacer pacer;
    int64_t now = 5 * kSecond;
    // The time that so many blocks take a device that waits `pause` before each.
    const auto take = [&](int blocks, int64_t pause) {
        const int64_t start = now;
        int64_t waited = 0;
        for (int i = 0; i < blocks; ++i) {
            now += pause;
            const int64_t wait = pacer.asked(kBlock, now);
            waited += wait;
            now += wait;
            pacer.delivered(now);
        }
        return std::pair(now - start, waited);
    };
    EXPECT_EQ(take(10, 0).second, 0) << "a buffer is filled at the start";
    EXPECT_EQ(take(360'000, kBlock - kBlock / 1000).second, 0) << "a quick clock";
    now += 60 * kSecond;
    EXPECT_EQ(take(1000, kBlock).second, 0) << "after a pause";
    // Without a clock, an hour takes an hour.
    EXPECT_NEAR(static_cast<double>(take(360'000, 0).first) / kSecond, 3600, 0.6);
    EXPECT_TRUE(pacer.isHeld());
    // One that only made up for a pause is soon left alone.
    take(60, kBlock);
    EXPECT_FALSE(pacer.isHeld());
    EXPECT_EQ(take(1000, kBlock).second, 0);
}

}  // namespace
}  // namespace platform::audio
