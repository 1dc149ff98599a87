#include "decks/RepeatState.h"
#include "platform/ui/Window.h"
#include "tests/decks/DeckFixture.h"

#include <QFontInfo>

using platform::Button;
using platform::DefaultsValue;
using platform::Image;

namespace {

using Startup = DeckFixture;

}  // namespace

TEST_F(Startup, BothDecksAreIdle) {
    start();
    for (const PDPlayerType side : {PDLeftPlayer, PDRightPlayer}) {
        const Deck& idle = deck(side);
        EXPECT_EQ(idle.player, nullptr);
        EXPECT_EQ(idle.currentURL, std::nullopt);
        EXPECT_EQ(idle.volume, 1.0F);
        EXPECT_EQ(idle.repeat, PDRepeatOff);
        EXPECT_FALSE(idle.shuffle);
        EXPECT_EQ(idle.songTitle->stringValue(), QStringLiteral("No Music Playing"));
        EXPECT_EQ(idle.songTitle->cell()->font().pixelSize(), 25);
        EXPECT_EQ(idle.songAlbumArtist->stringValue(),
                  QStringLiteral("Import a folder, then play a song"));
        EXPECT_EQ(idle.songAlbumArtist->cell(), nullptr);
        EXPECT_TRUE(sameImage(idle.songAlbumArt->image(),
                              Image::imageNamed(QStringLiteral("Default_Artwork"))));
        EXPECT_EQ(idle.songAlbumArt->controlView(), idle.controlView);
        // No desktop picture: no backdrop, and no division by its width.
        EXPECT_TRUE(idle.background->image().isNull());
        EXPECT_EQ(idle.background->imageScaling(), platform::ImageScaling::None);
        EXPECT_EQ(idle.playPause->state(), Button::OffState);
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
        EXPECT_EQ(deck(PDRightPlayer).repeat, given.restoredRepeat);
        EXPECT_EQ(deck(PDRightPlayer).shuffle, given.restoredShuffle);
        EXPECT_EQ(deck(PDRightPlayer).shuffleButton->state(), int(given.restoredShuffle));
        EXPECT_TRUE(sameImage(deck(PDRightPlayer).repeatButton->image(),
                              Image::imageNamed(QLatin1String(given.image))));
        EXPECT_EQ(deck(PDLeftPlayer).repeat, 0);
        EXPECT_FALSE(deck(PDLeftPlayer).shuffle);
    }
    EXPECT_FALSE(sameImage(repeatImage(0), repeatImage(1)));
    EXPECT_FALSE(sameImage(repeatImage(1), repeatImage(2)));
}

TEST_F(Startup, TheAboutPanelAndTheCloseButtonsAreDressed) {
    start();
    const auto* about = interface_->window(QStringLiteral("PDAboutWindow"));
    EXPECT_EQ(about->backgroundColor(), QColor::fromRgbF(0.0F, 0.0F, 0.0F, 0.7F));
    EXPECT_FALSE(about->isOpaque());
    const auto* version =
        about->findChild<platform::TextField*>(QStringLiteral("PDVersionBuildString"));
    EXPECT_THAT(version->stringValue().toStdString(),
                testing::MatchesRegex("Version: [0-9]+\\.[0-9]+\\.[0-9]+\nBuild: [0-9]+"));
    auto* close = interface_->mainWindow()->findChild<Button*>(QStringLiteral("PDCloseWindow"));
    EXPECT_EQ(close->cell()->attributedTitle.string, QStringLiteral("\u2715"));
    EXPECT_EQ(close->cell()->backgroundColor, QColor::fromRgbF(0.8F, 0.3F, 0.3F));
    EXPECT_FALSE(close->cell()->bordered);
    EXPECT_EQ(close->target(), nullptr);
    EXPECT_EQ(close->action(), QStringLiteral("terminate"));

    interface_->window(QStringLiteral("PDAboutWindow"))->makeKeyAndOrderFront();
    about->findChild<Button*>(QStringLiteral("PDAboutWindowClose"))->click();
    EXPECT_FALSE(about->isVisible());
}

TEST_F(Startup, TheTimesAreRefreshedByTheTimer) {
    start();
    deck(PDLeftPlayer).cTime->setStringValue(QStringLiteral("stale"));
    EXPECT_TRUE(waitUntil(
        [&] { return deck(PDLeftPlayer).cTime->stringValue() == QStringLiteral("00:00"); }));
    EXPECT_EQ(deck(PDLeftPlayer).rTime->stringValue(), QStringLiteral("-00:00"));
}
