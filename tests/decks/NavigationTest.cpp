#include "decks/Navigation.h"
#include "decks/Random.h"
#include "platform/foundation/Path.h"
#include "tests/decks/DeckFixture.h"

#include <array>
#include <set>

namespace {

class Navigation : public DeckFixture {
  protected:
    // Both sides play from the same three songs.
    void startWithSongs(double seconds = 1.0) {
        start();
        for (const char* name : {"a.mp3", "b.mp3", "c.mp3"}) {
            songs_ << makeSong(QLatin1String(name), seconds);
        }
        fillList(PDLeftPlayer, songs_);
        fillList(PDRightPlayer, songs_);
    }

    QStringList songs_;
};

}  // namespace

TEST_F(Navigation, NextAndPreviousWrapAndReachFromNowhere) {
    startWithSongs();
    const DeckControls& right = controls(PDRightPlayer);
    decks().playPrevTrackAt(right.prev);
    EXPECT_EQ(loaded(PDRightPlayer), QStringLiteral("c.mp3"));
    decks().playNextTrackAt(right.next);
    EXPECT_EQ(loaded(PDRightPlayer), QStringLiteral("a.mp3"));
    decks().playNextTrackAt(right.next);
    EXPECT_EQ(loaded(PDRightPlayer), QStringLiteral("b.mp3"));
    decks().playPrevTrackAt(right.prev);
    decks().playPrevTrackAt(right.prev);
    EXPECT_EQ(loaded(PDRightPlayer), QStringLiteral("c.mp3"));
    EXPECT_EQ(deck(PDLeftPlayer).currentURL(), std::nullopt);

    // A sender that is no deck's button, or the other step's.
    decks().playNextTrackAt(right.prev);
    decks().playPrevTrackAt(right.next);
    decks().playNextTrackAt(nullptr);
    EXPECT_EQ(loaded(PDRightPlayer), QStringLiteral("c.mp3"));

    // The current track is filtered out, then the list is empty.
    fillList(PDRightPlayer, {songs_[0], songs_[1]});
    decks().playNextTrackAt(right.next);
    EXPECT_EQ(loaded(PDRightPlayer), QStringLiteral("a.mp3"));
    fillList(PDRightPlayer, {});
    decks().playNextTrackAt(right.next);
    decks().playPrevTrackAt(right.prev);
    EXPECT_EQ(loaded(PDRightPlayer), QStringLiteral("a.mp3"));
}

TEST_F(Navigation, TheLastOfEqualPathsIsTheCurrentTrack) {
    startWithSongs();
    fillList(PDLeftPlayer, {songs_[0], songs_[1], songs_[0], songs_[2]});
    decks().playTrackAtWithPlayer(songs_[0], PDLeftPlayer);
    decks().playNextTrackAt(controls(PDLeftPlayer).next);
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("c.mp3"));
}

TEST_F(Navigation, FromTenSecondsOnPreviousStartsTheTrackAgain) {
    startWithSongs(12.0);
    Deck& left = deck(PDLeftPlayer);
    decks().playTrackAtWithPlayer(songs_[1], PDLeftPlayer);
    left.pause();
    left.seek(10.0);
    decks().playPrevTrackAt(controls(PDLeftPlayer).prev);
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("b.mp3"));
    EXPECT_EQ(left.currentTime(), 0.0);
    EXPECT_FALSE(left.isPlaying());
    // Shuffle has no say in it: a draw from this list would be another song.
    fillList(PDLeftPlayer, {songs_[0], songs_[2]});
    controls(PDLeftPlayer).shuffleButton->click();
    ASSERT_TRUE(left.isShuffling());
    left.seek(10.0);
    decks().playPrevTrackAt(controls(PDLeftPlayer).prev);
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("b.mp3"));
    EXPECT_EQ(left.currentTime(), 0.0);
    controls(PDLeftPlayer).shuffleButton->click();
    fillList(PDLeftPlayer, songs_);
    left.seek(9.9);
    decks().playPrevTrackAt(controls(PDLeftPlayer).prev);
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("a.mp3"));
}

TEST_F(Navigation, ShuffleDrawsFromTheWholeList) {
    startWithSongs();
    controls(PDLeftPlayer).shuffleButton->click();
    ASSERT_TRUE(deck(PDLeftPlayer).isShuffling());
    std::set<QString> drawn;
    int loads = 0;
    const QObject observer;
    platform::NotificationCenter::defaultCenter().addObserver(
        observer, Pairdeck::playerStatusDidChange(), [&](const auto&) { ++loads; });
    for (int i = 0; i < 60; ++i) {
        decks().playNextTrackAt(controls(PDLeftPlayer).next);
        drawn.insert(loaded(PDLeftPlayer));
    }
    EXPECT_EQ(drawn.size(), 3u);
    EXPECT_EQ(loads, 60);
    fillList(PDLeftPlayer, {});
    decks().playNextTrackAt(controls(PDLeftPlayer).next);
    EXPECT_TRUE(drawn.contains(loaded(PDLeftPlayer)));

    const std::vector<int> list = {0, 1, 2, 3, 4, 5, 6};
    std::array<int, 7> counts = {};
    for (int i = 0; i < 70'000; ++i)
        ++counts[size_t(*randomObject(list))];
    // Seven standard deviations of a fair draw.
    for (const int count : counts)
        EXPECT_NEAR(count, 10'000, 650);
    EXPECT_EQ(randomObject(std::vector<int>()), nullptr);
}

TEST_F(Navigation, TheEndOfADecksOwnPlayerAdvancesIt) {
    startWithSongs(0.3);
    controls(PDLeftPlayer).repeatButton->click();
    decks().playTrackAtWithPlayer(songs_[0], PDLeftPlayer);
    const auto stranger =
        platform::AudioPlayer::initWithData(*platform::dataWithContentsOfFile(songs_[1]));
    decks().audioPlayerDidFinishPlayingSuccessfully(stranger.get(), true);
    decks().audioPlayerDidFinishPlayingSuccessfully(nullptr, true);
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("a.mp3"));
    EXPECT_TRUE(waitUntil([&] { return loaded(PDLeftPlayer) == QStringLiteral("b.mp3"); }));
}

TEST(NavigationDecisions, AnUnknownRepeatStateDoesNothing) {
    EXPECT_EQ(navigation::endOfTrack(3), navigation::EndOfTrack::Nothing);
    EXPECT_EQ(navigation::endOfTrack(-1), navigation::EndOfTrack::Nothing);
    EXPECT_EQ(navigation::nextIndex(0, 1), 0u);
    EXPECT_EQ(navigation::previousIndex(0, 1), 0u);
    EXPECT_EQ(navigation::repeatStateAfter(3), std::nullopt);
    EXPECT_EQ(navigation::repeatStateAfter(-1), std::nullopt);
}
