#include "platform/foundation/FileIdentity.h"
#include "platform/foundation/Path.h"
#include "platform/store/Store.h"
#include "presentation/BlurredBackdrop.h"
#include "tests/decks/DeckFixture.h"
#include "tests/platform/media/TagBytes.h"

#include <QBuffer>
#include <QDir>
#include <QFile>

#include <sys/resource.h>
#include <sys/stat.h>

using platform::Image;

namespace {

using Loading = DeckFixture;

QByteArray textFrame(const char* id, const QString& text) {
    return platform::id3Frame(4, id, platform::encoded(3, text.toUtf8()));
}

QByteArray tags(const QString& title, const QString& album, const QString& artist,
                const QByteArray& picture = {}) {
    QByteArray frames =
        textFrame("TIT2", title) + textFrame("TALB", album) + textFrame("TPE1", artist);
    if (!picture.isEmpty()) frames += platform::id3Frame(4, "APIC", platform::apic(picture));
    return platform::id3Tag(4, frames);
}

QByteArray png(int width, int height, const QColor& color) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

int fontSize(const platform::TextField* label) {
    return label->cell()->font().pixelSize();
}

}  // namespace

TEST_F(Loading, ATrackPlaysAndShowsItsTags) {
    start();
    const QString path = makeSong(QStringLiteral("song.mp3"), 2.0,
                                  tags(QStringLiteral("Blue"), QStringLiteral("Hues"),
                                       QStringLiteral("Ann"), png(60, 40, Qt::white)));
    int posts = 0;
    const QObject observer;
    platform::NotificationCenter::defaultCenter().addObserver(
        observer, Pairdeck::playerStatusDidChange(), [&](const platform::Notification& heard) {
            EXPECT_EQ(heard.object, pairdeck_);
            ++posts;
        });
    decks().playTrackAtWithPlayer(path, PDLeftPlayer);
    Deck& left = deck(PDLeftPlayer);
    EXPECT_EQ(posts, 1);
    EXPECT_EQ(left.currentURL(), path);
    EXPECT_TRUE(left.isPlaying());
    EXPECT_EQ(controls(PDLeftPlayer).playPause->state(), 1);
    EXPECT_EQ(controls(PDLeftPlayer).songTitle->stringValue(), QStringLiteral("Blue"));
    EXPECT_EQ(controls(PDLeftPlayer).songAlbumArtist->stringValue(), QStringLiteral("Hues - Ann"));
    EXPECT_EQ(fontSize(controls(PDLeftPlayer).songAlbumArtist), 16);
    EXPECT_EQ(controls(PDLeftPlayer).songAlbumArt->image().size(), QSizeF(60, 40));
    const Image backdrop = blurWithLevelAndSize(controls(PDLeftPlayer).songAlbumArt->image(), 27.0,
                                                {575.0, 575.0 * 40 / 60});
    EXPECT_TRUE(sameImage(controls(PDLeftPlayer).background->image(), backdrop));
    EXPECT_EQ(controls(PDLeftPlayer).background->image().size(), backdrop.size());
    EXPECT_EQ(controls(PDLeftPlayer).timeSlider->minValue(), 0.0);
    EXPECT_NEAR(controls(PDLeftPlayer).timeSlider->maxValue(), 2.0, 0.1);
    EXPECT_EQ(controls(PDLeftPlayer).timeSlider->doubleValue(), 0.0);
    EXPECT_FALSE(deck(PDRightPlayer).isPlaying());

    // The same again makes a new player, from the start.
    left.seek(1.5);
    decks().playTrackAtWithPlayer(path, PDLeftPlayer);
    EXPECT_LT(left.currentTime(), 1.0);
    // Neither deck: only the notification.
    decks().playTrackAtWithPlayer(QStringLiteral("/other.mp3"), PDPlayerType(7));
    EXPECT_EQ(posts, 3);
    EXPECT_EQ(left.currentURL(), path);
    EXPECT_EQ(deck(PDRightPlayer).currentURL(), std::nullopt);
}

TEST_F(Loading, WhatCannotBePlayedIsShownAllTheSame) {
    start();
    const QString text = folder_.filePath(QStringLiteral("no music.mp3"));
    QFile file(text);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("just text");
    file.close();
    const QString gone = folder_.filePath(QStringLiteral("gone.m4a"));
    const QString song = makeSong(QStringLiteral("a.mp3"), 1.0);
    for (const QString& path : {text, gone, folder_.path(), QString()}) {
        // What played before falls silent.
        decks().playTrackAtWithPlayer(song, PDRightPlayer);
        ASSERT_TRUE(deck(PDRightPlayer).isPlaying());
        decks().playTrackAtWithPlayer(path, PDRightPlayer);
        Deck& right = deck(PDRightPlayer);
        EXPECT_FALSE(right.hasPlayer());
        EXPECT_EQ(right.currentURL(), path);
        EXPECT_EQ(controls(PDRightPlayer).songTitle->stringValue(),
                  platform::lastPathComponent(path));
        EXPECT_EQ(controls(PDRightPlayer).songAlbumArtist->stringValue(),
                  QStringLiteral("(null) - (null)"));
        EXPECT_TRUE(sameImage(controls(PDRightPlayer).songAlbumArt->image(),
                              Image::imageNamed(QStringLiteral("Default-Art"))));
        EXPECT_TRUE(controls(PDRightPlayer).background->image().isNull());
        EXPECT_EQ(controls(PDRightPlayer).timeSlider->maxValue(), 0.0);
        EXPECT_EQ(controls(PDRightPlayer).playPause->state(), 0);
        decks().perSecondInfoRefresh();
        EXPECT_EQ(controls(PDRightPlayer).rTime->stringValue(), QStringLiteral("-00:00"));
    }
    decks().playTrackAtWithPlayer(gone, PDLeftPlayer);
    EXPECT_TRUE(sameImage(controls(PDLeftPlayer).songAlbumArt->image(),
                          Image::imageNamed(QStringLiteral("Default_Artwork"))));
    EXPECT_FALSE(sameImage(Image::imageNamed(QStringLiteral("Default_Artwork")),
                           Image::imageNamed(QStringLiteral("Default-Art"))));
}

TEST_F(Loading, TheSeekBarShowsTheSongsShapeAndRemembersIt) {
    start();
    const QString path = makeSong(QStringLiteral("song.mp3"), 5.0);
    struct stat status = {};
    ASSERT_EQ(::stat(qPrintable(path), &status), 0);
    const QByteArray key = platform::FileIdentity::of(status).key();
    platform::Store& store = platform::Store::userStore();
    const auto kept = [&] { return store.values("shapes", {key}).front(); };
    platform::Slider* slider = controls(PDLeftPlayer).timeSlider;
    const auto isTall = [&] {
        const QImage shown = slider->grab().toImage();
        const int x = shown.width() / 2;
        return shown.pixel(x, 2) != shown.pixel(0, 2) || shown.pixel(x + 1, 2) != shown.pixel(0, 2);
    };
    // A file that has changed a moment ago may change again without a trace.
    QTest::qWait(2100);
    decks().playTrackAtWithPlayer(path, PDLeftPlayer);
    // It is made at the least priority: on a busy machine that takes long, unless whoever tests may
    // give threads another one.
    const auto isKept = [&] {
        for (const QString& task : QDir(QStringLiteral("/proc/self/task")).entryList())
            ::setpriority(PRIO_PROCESS, task.toUInt(), 0);
        return kept().has_value();
    };
    ASSERT_TRUE(QTest::qWaitFor(isKept, 120'000));
    EXPECT_EQ(kept()->size(), 1024);
    EXPECT_FALSE(isTall());
    ASSERT_TRUE(store.put("shapes", {{key, QByteArray(1024, '\xFF')}}));
    decks().playTrackAtWithPlayer(path, PDLeftPlayer);
    EXPECT_TRUE(waitUntil(isTall));
    decks().playTrackAtWithPlayer(folder_.path(), PDLeftPlayer);
    EXPECT_FALSE(isTall());
}

TEST_F(Loading, LongTextsAreSetSmaller) {
    start();
    struct Case {
        qsizetype units;
        int titleSize;
        int lineSize;
    };
    for (const Case& given : {Case{30, 25, 16}, Case{31, 18, 14}}) {
        // The last character takes two units; the line is album, " - " and artist.
        const QString title =
            QString(given.units - 2, QLatin1Char('t')) + QStringLiteral("\U0001F3B5");
        const QString album(given.units - 6, QLatin1Char('a'));
        const QString path =
            makeSong(QStringLiteral("long.mp3"), 0.3, tags(title, album, QStringLiteral("Ann")));
        decks().playTrackAtWithPlayer(path, PDLeftPlayer);
        EXPECT_EQ(controls(PDLeftPlayer).songTitle->stringValue(), title);
        EXPECT_EQ(fontSize(controls(PDLeftPlayer).songTitle), given.titleSize);
        EXPECT_EQ(controls(PDLeftPlayer).songAlbumArtist->stringValue().size(), given.units);
        EXPECT_EQ(fontSize(controls(PDLeftPlayer).songAlbumArtist), given.lineSize);
    }
}

TEST_F(Loading, ArtworkThatDoesNotDecodeCountsAsNone) {
    start();
    const QString path = makeSong(QStringLiteral("broken.mp3"), 0.3,
                                  tags(QStringLiteral("t"), QStringLiteral("a"),
                                       QStringLiteral("b"), png(60, 40, Qt::white).first(30)));
    decks().playTrackAtWithPlayer(path, PDLeftPlayer);
    EXPECT_TRUE(sameImage(controls(PDLeftPlayer).songAlbumArt->image(),
                          Image::imageNamed(QStringLiteral("Default_Artwork"))));
}

TEST_F(Loading, TheSelectedRowPlaysAndOnlyThat) {
    start();
    const QString one = makeSong(QStringLiteral("one.mp3"), 1.0);
    const QString two = makeSong(QStringLiteral("two.mp3"), 1.0);
    fillList(PDRightPlayer, {one, two});
    platform::TableView* table = controls(PDRightPlayer).tableView;
    decks().playTrackFromSelection(table);
    EXPECT_EQ(deck(PDRightPlayer).currentURL(), std::nullopt);
    table->selectRow(1);
    decks().playTrackFromSelection(table);
    EXPECT_EQ(deck(PDRightPlayer).currentURL(), two);
    EXPECT_EQ(deck(PDLeftPlayer).currentURL(), std::nullopt);
    // The list has shrunk, the table has not been told yet.
    PDRightSourceManager::trackArray().resize(1);
    decks().playTrackFromSelection(table);
    decks().playTrackFromSelection(controls(PDRightPlayer).next);
    decks().playTrackFromSelection(nullptr);
    EXPECT_EQ(deck(PDRightPlayer).currentURL(), two);
}
