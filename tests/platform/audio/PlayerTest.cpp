#include "platform/audio/AudioPlayer.h"
#include "tests/platform/audio/Listener.h"
#include "tests/platform/audio/Signals.h"
#include "tests/platform/audio/Songs.h"
#include "tests/platform/audio/SoundServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>

// Players without any sound server: the silent clock drives them in real time.

namespace platform::audio {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::unique_ptr<AudioPlayer> playerOf(double seconds) {
    return AudioPlayer::initWithData(
        waveFile(sine(440, 0.5, 44100, static_cast<size_t>(seconds * 44100)), 44100));
}

/// That `player`, which was at `from` when `clock` started, has not run faster than that clock.
void expectNoFaster(const AudioPlayer& player, double from, const QElapsedTimer& clock) {
    const double position = player.currentTime();
    EXPECT_LE(position, from + static_cast<double>(clock.elapsed()) * 1e-3 + 0.05);
}

TEST(Player, StartsPausedAndClampsWhatItIsTold) {
    EXPECT_EQ(AudioPlayer::initWithData("no audio"), nullptr);
    const auto player = playerOf(2);
    EXPECT_FALSE(player->isPlaying());
    EXPECT_DOUBLE_EQ(player->duration(), 2);
    EXPECT_EQ(player->currentTime(), 0);
    const std::pair<double, double> moves[] = {
        {0.5, 0.5}, {-3, 0}, {1e300, 2}, {kNan, 0}, {std::nextafter(2.0, 0.0), 2}};
    for (const auto& [wanted, got] : moves) {
        player->setCurrentTime(wanted);
        EXPECT_DOUBLE_EQ(player->currentTime(), got);
    }
    player->setVolume(std::numeric_limits<float>::quiet_NaN());
    player->setPan(std::numeric_limits<float>::infinity());
    runEvents(0.05);
    EXPECT_DOUBLE_EQ(player->currentTime(), 2) << "paused, it stays";
}

TEST(Player, RunsInRealTimeAndNeverBackwards) {
    const auto player = playerOf(5);
    QElapsedTimer clock;
    clock.start();
    player->play();
    double before = 0;
    for (int i = 0; i < 100; ++i) {
        runEvents(0.005);
        EXPECT_GE(player->currentTime(), before);
        before = player->currentTime();
    }
    EXPECT_TRUE(runEventsUntil([&] { return player->currentTime() > 0.2; }, 5));
    expectNoFaster(*player, 0, clock);
    clock.restart();
    player->setCurrentTime(3);
    EXPECT_GE(player->currentTime(), 3);
    expectNoFaster(*player, 3, clock);
    EXPECT_TRUE(runEventsUntil([&] { return player->currentTime() > 3.1; }, 5));
    player->pause();
    runEvents(0.1);
    const double paused = player->currentTime();
    runEvents(0.1);
    EXPECT_EQ(player->currentTime(), paused);
    player->setCurrentTime(1);
    runEvents(0.1);
    EXPECT_DOUBLE_EQ(player->currentTime(), 1);
    EXPECT_FALSE(player->isPlaying());
    clock.restart();
    player->play();
    EXPECT_TRUE(runEventsUntil([&] { return player->currentTime() > 1.05; }, 5));
    expectNoFaster(*player, 1, clock);
}

TEST(Player, EndsOnceStaysThereAndStartsAgain) {
    Listener listener;
    const auto player = playerOf(1);
    player->setDelegate(&listener);
    player->play();
    EXPECT_EQ(listener.ends, 0) << "never from inside a call";
    ASSERT_TRUE(runEventsUntil([&] { return listener.ends > 0; }, 10));
    EXPECT_EQ(listener.ended, player.get());
    EXPECT_TRUE(listener.decoded);
    EXPECT_FALSE(player->isPlaying());
    EXPECT_EQ(player->currentTime(), player->duration());
    runEvents(0.2);
    EXPECT_EQ(listener.ends, 1);
    QElapsedTimer clock;
    clock.start();
    player->play();
    EXPECT_LT(player->currentTime(), player->duration());
    expectNoFaster(*player, 0, clock);
    ASSERT_TRUE(runEventsUntil([&] { return listener.ends > 1; }, 10));
    // Moved away from the end, it goes on from there.
    clock.restart();
    player->setCurrentTime(0.75);
    player->play();
    EXPECT_GE(player->currentTime(), 0.75);
    expectNoFaster(*player, 0.75, clock);
    ASSERT_TRUE(runEventsUntil([&] { return listener.ends > 2; }, 5));
    // Moved to the end while it plays, it ends.
    player->play();
    player->setCurrentTime(9);
    ASSERT_TRUE(runEventsUntil([&] { return listener.ends > 3; }, 5));
}

TEST(Player, TheEndIsNotToldToWhoLeft) {
    Listener listener;
    auto player = playerOf(0.1);
    player->setDelegate(&listener);
    player->play();
    // The end lies in the event queue when the player goes.
    QThread::msleep(400);
    player.reset();
    runEvents(0.1);
    EXPECT_EQ(listener.ends, 0);

    auto moved = playerOf(0.1);
    moved->setDelegate(&listener);
    moved->play();
    QThread::msleep(400);
    moved->setCurrentTime(0);
    EXPECT_TRUE(moved->isPlaying());
    QCoreApplication::processEvents();
    EXPECT_EQ(listener.ends, 0);
    ASSERT_TRUE(runEventsUntil([&] { return listener.ends == 1; }, 5));
}

struct Replacer final : AudioPlayerDelegate {
    void audioPlayerDidFinishPlayingSuccessfully(AudioPlayer*, bool) override {
        player = ++ends < 5 ? playerOf(0.05) : nullptr;
        if (!player) return;
        player->setDelegate(this);
        player->play();
    }
    int ends = 0;
    std::unique_ptr<AudioPlayer> player;
};

TEST(Player, TheDelegateMayReplaceThePlayer) {
    Replacer replacer;
    replacer.player = playerOf(0.05);
    replacer.player->setDelegate(&replacer);
    replacer.player->play();
    EXPECT_TRUE(runEventsUntil([&] { return replacer.ends == 5; }, 10));
    // A storm of loads, each gone before it is heard.
    for (int i = 0; i < 200; ++i) {
        replacer.player = playerOf(1);
        replacer.player->play();
    }
    EXPECT_TRUE(runEventsUntil([&] { return replacer.player->currentTime() > 0.1; }, 5));
}

}  // namespace
}  // namespace platform::audio

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    const platform::audio::SoundServer noServer;
    return RUN_ALL_TESTS();
}
