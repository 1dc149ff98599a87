#include "platform/audio/AudioEngine.h"
#include "platform/audio/AudioPlayer.h"
#include "tests/platform/audio/Songs.h"
#include "tests/platform/audio/SoundServer.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace platform::audio {
namespace {

struct Delegate final : AudioPlayerDelegate {
    void audioPlayerDidFinishPlayingSuccessfully(AudioPlayer* player, bool successfully) override {
        ended = player;
        decoded = successfully;
    }
    AudioPlayer* ended = nullptr;
    bool decoded = false;
};

float peakOfChannel(const std::vector<float>& samples, size_t channels, size_t channel) {
    float peak = 0;
    for (size_t i = channel; i < samples.size(); i += channels)
        peak = std::max(peak, std::abs(samples[i]));
    return peak;
}

TEST(PlayerSound, APlayerOnOneSideIsSilentOnTheOther) {
    SoundServer server;
    server.start();
    Delegate delegate;
    const auto player = AudioPlayer::initWithData(
        encodedSong(2, QStringLiteral("-b:a 192k"), QStringLiteral("mp3")));
    ASSERT_TRUE(player);
    player->setDelegate(&delegate);
    server.startRecording();
    player->setPan(1);
    player->play();
    EXPECT_TRUE(runEventsUntil([&] { return delegate.ended; }, 5));
    runEvents(0.2);
    const auto heard = server.stopRecording();
    EXPECT_EQ(peakOfChannel(heard, 2, 0), 0);
    EXPECT_GT(peakOfChannel(heard, 2, 1), 0.2);
    EXPECT_TRUE(delegate.decoded);
    EXPECT_DOUBLE_EQ(player->currentTime(), player->duration());
}

}  // namespace
}  // namespace platform::audio

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
