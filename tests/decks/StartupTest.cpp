#include "platform/ui/Window.h"
#include "presentation/BlurredBackdrop.h"
#include "tests/decks/DeckFixture.h"

#include <QDir>
#include <QFile>
#include <QPainter>

#include <unistd.h>

using platform::Button;
using platform::DefaultsValue;
using platform::Image;

namespace {

using Startup = DeckFixture;

const QString kMarker = QStringLiteral("PDDefaultNotRegistered");

}  // namespace

TEST_F(Startup, BothDecksAreIdle) {
    start();
    for (const PDPlayerType side : {PDLeftPlayer, PDRightPlayer}) {
        const Deck& idle = deck(side);
        EXPECT_FALSE(idle.hasPlayer());
        EXPECT_EQ(idle.currentURL(), std::nullopt);
        EXPECT_EQ(idle.volume(), 1.0F);
        EXPECT_EQ(idle.repeat(), PDRepeatOff);
        EXPECT_FALSE(idle.isShuffling());
        EXPECT_EQ(controls(side).songTitle->stringValue(), QStringLiteral("No Music Playing"));
        EXPECT_EQ(controls(side).songTitle->cell()->font().pixelSize(), 25);
        EXPECT_EQ(controls(side).songAlbumArtist->stringValue(),
                  QStringLiteral("Import a folder, then play a song"));
        EXPECT_EQ(controls(side).songAlbumArtist->cell(), nullptr);
        EXPECT_TRUE(sameImage(controls(side).songAlbumArt->image(),
                              Image::imageNamed(QStringLiteral("Default_Artwork"))));
        EXPECT_EQ(controls(side).songAlbumArt->controlView(), controls(side).controlView);
        // No desktop picture: no backdrop, and no division by its width.
        EXPECT_TRUE(controls(side).background->image().isNull());
        EXPECT_EQ(controls(side).background->imageScaling(), platform::ImageScaling::None);
        EXPECT_EQ(controls(side).playPause->state(), Button::OffState);
        EXPECT_EQ(stored(QStringLiteral("Pairdeck%1ShuffleState").arg(idle.name())),
                  DefaultsValue(false));
        EXPECT_EQ(stored(QStringLiteral("Pairdeck%1RepeatState").arg(idle.name())),
                  DefaultsValue(0));
    }
    EXPECT_EQ(stored(kMarker), DefaultsValue(false));
    EXPECT_EQ(Pairdeck::playerStatusDidChange(),
              QStringLiteral("com.ovrelin.Pairdeck.playerStatusDidChange"));
}

TEST_F(Startup, AStoredMarkerKeepsTheFallbacksOut) {
    // In a process of its own, where no other start has registered them.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto startsBare = [this] {
        store(kMarker, 7);
        start();
        Deck& left = deck(PDLeftPlayer);
        return !stored(QStringLiteral("PairdeckLeftRepeatState")) &&
               !stored(QStringLiteral("PairdeckRightShuffleState")) && left.repeat() == 0 &&
               !left.isShuffling();
    };
    EXPECT_EXIT(::_exit(startsBare() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(Startup, TheDesktopPictureStandsBehindBothDecks) {
    QImage halves(600, 400, QImage::Format_RGB32);
    halves.fill(Qt::white);
    QPainter(&halves).fillRect(0, 0, 300, 400, Qt::black);
    ASSERT_TRUE(halves.save(folder_.filePath(QStringLiteral("desktop.png"))));
    QFile feh(QDir::homePath() + QStringLiteral("/.fehbg"));
    ASSERT_TRUE(feh.open(QIODevice::WriteOnly));
    feh.write("feh --bg-fill '" + folder_.path().toUtf8() + "/desktop.png'\n");
    feh.close();
    start();
    decks().playTrackAtWithPlayer(QStringLiteral("/gone.mp3"), PDRightPlayer);
    feh.remove();
    const Image expected = blurWithLevelAndSize(Image(halves), 150.0, {575.0, 575.0 * 400 / 600});
    for (const PDPlayerType side : {PDLeftPlayer, PDRightPlayer}) {
        EXPECT_TRUE(sameImage(controls(side).background->image(), expected));
        EXPECT_EQ(controls(side).background->image().size(), expected.size());
    }
}

TEST_F(Startup, StoredSettingsAreRestored) {
    struct Case {
        DefaultsValue repeat;
        DefaultsValue shuffle;
        std::int64_t restoredRepeat;
        bool restoredShuffle;
        const char* image;
    };
    const Case cases[] = {
        {0, false, 0, false, "Repeat_inactive"},
        {1, true, 1, true, "Repeat"},
        {2, 1, 2, true, "Repeat_one"},
        {3, 2, 0, false, "Repeat_inactive"},
        {QStringLiteral("1"), QStringLiteral("true"), 0, false, "Repeat_inactive"},
        {true, 0, 0, false, "Repeat_inactive"},
    };
    for (const Case& given : cases) {
        store(QStringLiteral("PairdeckRightRepeatState"), given.repeat);
        store(QStringLiteral("PairdeckRightShuffleState"), given.shuffle);
        start();
        EXPECT_EQ(deck(PDRightPlayer).repeat(), given.restoredRepeat);
        EXPECT_EQ(deck(PDRightPlayer).isShuffling(), given.restoredShuffle);
        EXPECT_EQ(controls(PDRightPlayer).shuffleButton->state(), int(given.restoredShuffle));
        EXPECT_TRUE(sameImage(controls(PDRightPlayer).repeatButton->image(),
                              Image::imageNamed(QLatin1String(given.image))));
        EXPECT_EQ(deck(PDLeftPlayer).repeat(), 0);
        EXPECT_FALSE(deck(PDLeftPlayer).isShuffling());
    }
    EXPECT_FALSE(sameImage(Image::imageNamed(QStringLiteral("Repeat_inactive")),
                           Image::imageNamed(QStringLiteral("Repeat"))));
    EXPECT_FALSE(sameImage(Image::imageNamed(QStringLiteral("Repeat")),
                           Image::imageNamed(QStringLiteral("Repeat_one"))));
}

TEST_F(Startup, TheAboutPanelTellsTheVersionAndCloses) {
    start();
    auto* about = interface_->window(QStringLiteral("PDAboutWindow"));
    const auto* version =
        about->findChild<platform::TextField*>(QStringLiteral("PDVersionBuildString"));
    EXPECT_THAT(version->stringValue().toStdString(),
                testing::MatchesRegex("Version: [0-9]+\\.[0-9]+\\.[0-9]+\nBuild: [0-9]+"));
    about->makeKeyAndOrderFront();
    auto* aboutClose = about->findChild<Button*>(QStringLiteral("PDAboutWindowClose"));
    EXPECT_EQ(aboutClose->cell()->attributedTitle.string, QStringLiteral("\u2715"));
    aboutClose->click();
    EXPECT_FALSE(about->isVisible());
}

TEST_F(Startup, TheTimesAreRefreshedEveryNineTenthsOfASecond) {
    start();
    QStringList seen;
    const auto look = [&] { seen << controls(PDLeftPlayer).rTime->stringValue(); };
    // Timers fire in the order of their ends, however busy the machine is.
    const auto before = platform::Timer::scheduledTimerWithTimeInterval(0.89, look, false);
    decks().awakeFromNib();
    const auto after = platform::Timer::scheduledTimerWithTimeInterval(0.91, look, false);
    controls(PDLeftPlayer).rTime->setStringValue(QStringLiteral("stale"));
    EXPECT_TRUE(waitUntil([&] { return seen.size() == 2; }));
    EXPECT_EQ(seen, (QStringList{QStringLiteral("stale"), QStringLiteral("-00:00")}));
}
