#include "desktop/DeckFiles.h"
#include "desktop/MediaPlayerAdaptors.h"
#include "desktop/RemotePlayer.h"
#include "tests/decks/DeckFixture.h"

#include <QDBusConnectionInterface>

#include <limits>

namespace {

class Remote : public DeckFixture {
  protected:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
            GTEST_SKIP() << "no dbus-daemon to speak to";
        start();
        files_ =
            std::make_unique<DeckFiles>(decks(), library(PDLeftPlayer), library(PDRightPlayer));
        remote_ =
            std::make_unique<RemotePlayer>(deck(PDLeftPlayer), *files_, *interface_->mainWindow());
        player_ = remote_->findChild<PlayerAdaptor*>();
        QObject::connect(player_, &PlayerAdaptor::Seeked, player_,
                         [this](qlonglong position) { jumps_ << position; });
    }

    void play(double seconds) {
        song_ = makeSong(QStringLiteral("a.mp3"), seconds);
        fillList(PDLeftPlayer, {song_, makeSong(QStringLiteral("b.mp3"), seconds)});
        decks().playTrackAtWithPlayer(song_, PDLeftPlayer);
        remote_->publish();
    }
    QDBusObjectPath trackId() const {
        return player_->metadata().value(QStringLiteral("mpris:trackid")).value<QDBusObjectPath>();
    }
    double currentTime() { return deck(PDLeftPlayer).currentTime(); }

    std::unique_ptr<DeckFiles> files_;
    std::unique_ptr<RemotePlayer> remote_;
    PlayerAdaptor* player_ = nullptr;
    QList<qlonglong> jumps_;
    QString song_;
};

}  // namespace

TEST_F(Remote, ANameThatIsTakenGetsASuffix) {
    const RemotePlayer second(deck(PDRightPlayer), *files_, *interface_->mainWindow());
    auto* bus = QDBusConnection::sessionBus().interface();
    EXPECT_TRUE(bus->isServiceRegistered(QStringLiteral("org.mpris.MediaPlayer2.pairdeck.right")));
    EXPECT_FALSE(bus->isServiceRegistered(QStringLiteral("org.mpris.MediaPlayer2.pairdeck")));
    remote_.reset();
    ASSERT_TRUE(QDBusConnection::sessionBus().registerService(
        QStringLiteral("org.mpris.MediaPlayer2.pairdeck.left")));
    const RemotePlayer again(deck(PDLeftPlayer), *files_, *interface_->mainWindow());
    EXPECT_TRUE(bus->isServiceRegistered(
        QStringLiteral("org.mpris.MediaPlayer2.pairdeck.left.instance%1").arg(getpid())));
    QDBusConnection::sessionBus().unregisterService(
        QStringLiteral("org.mpris.MediaPlayer2.pairdeck.left"));
}

TEST_F(Remote, WorksTheDecksOwnButtonsAndSettings) {
    player_->Play();
    player_->Seek(1'000'000);
    player_->Next();
    EXPECT_EQ(player_->playbackStatus(), QStringLiteral("Stopped"));
    EXPECT_TRUE(player_->metadata().isEmpty());
    EXPECT_FALSE(player_->hasTracks());
    for (const char* status : {"Track", "None", "Playlist", "Sideways"})
        player_->setLoopStatus(QLatin1String(status));
    EXPECT_EQ(player_->loopStatus(), QStringLiteral("Playlist"));
    EXPECT_EQ(stored(QStringLiteral("PairdeckLeftRepeatState")), platform::DefaultsValue(1));
    player_->setShuffle(true);
    EXPECT_EQ(stored(QStringLiteral("PairdeckLeftShuffleState")), platform::DefaultsValue(true));
    EXPECT_EQ(controls(PDLeftPlayer).shuffleButton->state(), 1);
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    for (const double volume : {-3.0, 7.0, -kInfinity, kInfinity, 0.25, kNaN}) {
        player_->setVolume(volume);
        player_->setRate(volume);
    }
    const QString huge(10'000'000, QLatin1Char('x'));
    player_->setLoopStatus(huge);
    player_->OpenUri(QStringLiteral("file:///") + huge + QStringLiteral(".mp3"));
    EXPECT_EQ(player_->loopStatus(), QStringLiteral("Playlist"));
    EXPECT_EQ(deck(PDLeftPlayer).volume(), 0.25F);
    EXPECT_EQ(controls(PDLeftPlayer).volumeSlider->doubleValue(), 0.25);
}

TEST_F(Remote, MovesWithinTheTrack) {
    play(20.0);
    EXPECT_EQ(player_->playbackStatus(), QStringLiteral("Playing"));
    player_->setRate(0.0);
    EXPECT_FALSE(deck(PDLeftPlayer).isPlaying());
    player_->SetPosition(trackId(), 12'000'000);
    EXPECT_NEAR(currentTime(), 12.0, 0.01);
    EXPECT_EQ(player_->playbackStatus(), QStringLiteral("Paused"));
    player_->SetPosition(QDBusObjectPath(QStringLiteral("/other")), 1'000'000);
    player_->SetPosition(trackId(), -1);
    player_->SetPosition(trackId(), 21'000'000);
    EXPECT_NEAR(currentTime(), 12.0, 0.01);
    player_->Seek(-2'000'000);
    EXPECT_NEAR(currentTime(), 10.0, 0.01);
    player_->Stop();
    EXPECT_EQ(player_->playbackStatus(), QStringLiteral("Stopped"));
    player_->Seek(std::numeric_limits<qlonglong>::min());
    EXPECT_EQ(currentTime(), 0.0);
    player_->Seek(std::numeric_limits<qlonglong>::max());
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("b.mp3"));
    player_->OpenUri(QStringLiteral("file:///nowhere/c.mp3"));
    player_->OpenUri(QStringLiteral("https://example.org/a.mp3"));
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("b.mp3"));
}

TEST_F(Remote, TellsOfEveryJumpAndNothingElse) {
    play(20.0);
    ASSERT_TRUE(waitUntil([&] { return currentTime() > 0.3; }));
    remote_->publish();
    jumps_.clear();
    ASSERT_TRUE(waitUntil([&] { return currentTime() > 0.8; }));
    remote_->publish();
    EXPECT_EQ(jumps_, QList<qlonglong>());
    player_->Seek(5'000'000);
    remote_->publish();
    ASSERT_EQ(jumps_.size(), 1);
    EXPECT_NEAR(static_cast<double>(jumps_[0]) / 1e6, 5.8, 0.3);
    // The same track from its start, as repeat one does.
    decks().playTrackAtWithPlayer(song_, PDLeftPlayer);
    remote_->publish();
    ASSERT_EQ(jumps_.size(), 2);
    EXPECT_LT(jumps_[1], 300'000);
}
