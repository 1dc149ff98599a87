#include "platform/audio/AudioEngine.h"
#include "platform/audio/AudioPlayer.h"
#include "tests/platform/audio/Signals.h"
#include "tests/platform/audio/Songs.h"
#include "tests/platform/audio/SoundServer.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

// Players on a real sound server with a null sink, as a listener would have them.

namespace platform::audio {
namespace {

std::unique_ptr<AudioPlayer> tonePlayer(double frequency, double seconds, float pan) {
    auto player = AudioPlayer::initWithData(
        waveFile(sine(frequency, 0.5, 44100, static_cast<size_t>(seconds * 44100)), 44100));
    player->setPan(pan);
    return player;
}

std::vector<float> channelOf(const std::vector<float>& samples, size_t channels, size_t channel) {
    std::vector<float> stereo;
    for (size_t i = channel; i < samples.size(); i += channels)
        stereo.insert(stereo.end(), 2, samples[i]);
    return stereo;
}

/// The tone within the last second.
Tone toneIn(const std::vector<float>& stereo, double frequency, int rate) {
    const size_t window = std::min(stereo.size(), 2 * static_cast<size_t>(rate));
    return fitTone(std::span(stereo).last(window), frequency, rate);
}

class PlayerSound : public testing::Test {
  protected:
    void SetUp() override {
        if (!SoundServer::isInstalled()) GTEST_SKIP() << "no sound server to play to";
    }
};

TEST_F(PlayerSound, EverySinkKeepsPitchAndSides) {
    struct Sink {
        int rate, channels;
    };
    for (const auto& [sinkRate, channels] :
         {Sink{44100, 2}, {48000, 2}, {96000, 2}, {192000, 2}, {48000, 6}, {44100, 1}}) {
        SoundServer server;
        // Not the binding itself, which newer compilers take for shadowed where a block captures
        // it.
        const int rate = sinkRate;
        server.start(rate, channels);
        const auto left = tonePlayer(440, 30, 1);
        const auto right = tonePlayer(880, 30, -1);
        left->play();
        right->play();
        ASSERT_TRUE(runEventsUntil([&] { return AudioEngine::shared().mixer.rate() == rate; }, 5))
            << rate;
        runEvents(0.5);
        // A server out of breath leaves frames out, and a gap sounds like every tone; what leaks
        // from the other side is there each time.
        double leaked = 1;
        for (int tries = 0; tries < 8 && leaked >= 1e-4; ++tries) {
            server.startRecording(QStringLiteral("null"), rate, channels);
            runEvents(1.5);
            const auto heard = server.stopRecording();
            const auto count = static_cast<size_t>(channels);
            const auto first = channelOf(heard, count, 0);
            const auto second = channelOf(heard, count, channels == 1 ? 0 : 1);
            EXPECT_GT(toneIn(first, 880, rate).amplitude, 0.1) << rate << ' ' << channels;
            EXPECT_GT(toneIn(second, 440, rate).amplitude, 0.1) << rate << ' ' << channels;
            leaked = channels == 1 ? 0
                                   : std::max(toneIn(first, 440, rate).amplitude,
                                              toneIn(second, 880, rate).amplitude);
        }
        EXPECT_LT(leaked, 1e-4) << rate << ' ' << channels;
    }
}

TEST_F(PlayerSound, PlaybackSurvivesTheServersEnd) {
    SoundServer server;
    server.start();
    const auto left = tonePlayer(440, 60, 1);
    const auto right = tonePlayer(880, 60, -1);
    left->play();
    right->play();
    ASSERT_TRUE(runEventsUntil([&] { return left->currentTime() > 0.5; }, 5));
    const double before = left->currentTime();
    server.kill();
    runEvents(1);
    EXPECT_TRUE(left->isPlaying());
    EXPECT_GT(left->currentTime(), before + 0.3) << "the silent clock has taken over";
    server.start();
    const double restarted = left->currentTime();
    runEvents(0.5);
    server.startRecording();
    runEvents(1.5);
    const auto heard = server.stopRecording();
    EXPECT_NEAR(toneIn(channelOf(heard, 2, 1), 440, 48000).amplitude, 0.5, 0.01);
    EXPECT_NEAR(toneIn(channelOf(heard, 2, 0), 880, 48000).amplitude, 0.5, 0.01);
    EXPECT_GT(left->currentTime(), restarted + 2);
    EXPECT_LT(left->currentTime(), restarted + 5);
    EXPECT_NEAR(left->currentTime(), right->currentTime(), 0.2);
}

TEST_F(PlayerSound, ADeviceThatAppearsLaterIsPickedUp) {
    SoundServer server;
    const auto player = tonePlayer(440, 60, 0);
    player->play();
    ASSERT_TRUE(runEventsUntil([&] { return player->currentTime() > 0.3; }, 5));
    server.start();
    runEvents(1.5);
    server.startRecording();
    runEvents(1.5);
    EXPECT_NEAR(toneIn(channelOf(server.stopRecording(), 2, 0), 440, 48000).amplitude, 0.5, 0.01);
}

TEST_F(PlayerSound, TheSoundFollowsTheDefaultSink) {
    SoundServer server;
    server.start();
    const auto player = tonePlayer(440, 60, 0);
    player->play();
    ASSERT_TRUE(runEventsUntil([&] { return player->currentTime() > 0.5; }, 5));
    server.control({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                    QStringLiteral("sink_name=other"), QStringLiteral("rate=44100")});
    // Somebody else plays there, so that the sink has to keep its own rate.
    QProcess other;
    other.start(QStringLiteral("pacat"),
                {QStringLiteral("--device=other"), QStringLiteral("--rate=44100"),
                 QStringLiteral("/dev/zero")});
    SoundServer::waitForNewSink();
    server.control({QStringLiteral("set-default-sink"), QStringLiteral("other")});
    EXPECT_TRUE(runEventsUntil([] { return AudioEngine::shared().mixer.rate() == 44100; }, 5));
    runEvents(0.5);
    server.startRecording(QStringLiteral("other"), 44100);
    runEvents(1.5);
    EXPECT_NEAR(toneIn(channelOf(server.stopRecording(), 2, 0), 440, 44100).amplitude, 0.5, 0.01);
    other.kill();
    other.waitForFinished();
}

}  // namespace
}  // namespace platform::audio

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
