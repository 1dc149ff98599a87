#include "desktop/ApplicationService.h"
#include "desktop/DeckFiles.h"
#include "platform/foundation/Path.h"
#include "tests/decks/DeckFixture.h"

#include <QApplication>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>

#include <filesystem>

namespace {

class Files : public DeckFixture {
  protected:
    Files() {
        start();
        files_ =
            std::make_unique<DeckFiles>(decks(), library(PDLeftPlayer), library(PDRightPlayer));
        song_ = makeSong(QStringLiteral("Song.MP3"), 1.0);
        text_ = folder_.filePath(QStringLiteral("notes.txt"));
        EXPECT_TRUE(QFile(text_).open(QIODevice::WriteOnly));
        // A name that is no valid UTF-8, and characters that mean something in URLs.
        album_ = folder_.filePath(QStringLiteral("100% #1?")) + QChar(0xDCE9);
        std::string native = platform::fileSystemRepresentation(album_).toStdString();
        EXPECT_EQ(::mkdir(native.c_str(), 0700), 0);
        native += "/b.mp3";
        EXPECT_TRUE(QFile::copy(song_, folder_.filePath(QStringLiteral("b.mp3"))));
        EXPECT_EQ(::rename(folder_.filePath(QStringLiteral("b.mp3")).toUtf8().constData(),
                           native.c_str()),
                  0);
    }

    ~Files() override {
        // The toolkit leaves behind what it can't name.
        std::filesystem::remove_all(platform::fileSystemRepresentation(album_).toStdString());
    }

    /// Drags the files over the view and drops them; whether it took them.
    static bool drop(QWidget& view, const QStringList& paths) {
        QMimeData data;
        QByteArray list = "# dragged\r\nhttp://example.org/a.mp3\r\n";
        for (const QString& path : paths)
            list += platform::fileURLWithPath(path) + "\r\n";
        data.setData(QStringLiteral("text/uri-list"), list);
        const auto actions = Qt::CopyAction | Qt::MoveAction;
        QDragEnterEvent enter({5, 5}, actions, &data, Qt::LeftButton, Qt::NoModifier);
        enter.setDropAction(Qt::MoveAction);
        enter.ignore();
        QApplication::sendEvent(&view, &enter);
        if (!enter.isAccepted()) return false;
        EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
        QDropEvent event({5, 5}, actions, &data, Qt::LeftButton, Qt::NoModifier);
        event.setDropAction(Qt::MoveAction);
        QApplication::sendEvent(&view, &event);
        EXPECT_EQ(event.dropAction(), Qt::CopyAction);
        return event.isAccepted();
    }

    std::unique_ptr<DeckFiles> files_;
    QString song_, text_, album_;
};

}  // namespace

TEST_F(Files, TheFirstGoesToTheLeftDeckAndTheSecondToTheRight) {
    files_->open({text_, QStringLiteral("/gone.mp3"), album_, song_, song_});
    ASSERT_EQ(PDLeftSourceManager::trackArray().size(), 1U);
    EXPECT_EQ(PDLeftSourceManager::trackArray()[0]->URL(), album_ + QStringLiteral("/b.mp3"));
    EXPECT_FALSE(deck(PDLeftPlayer).currentURL());
    EXPECT_EQ(deck(PDRightPlayer).currentURL(), song_);
    EXPECT_TRUE(deck(PDRightPlayer).isPlaying());
    EXPECT_TRUE(PDRightSourceManager::trackArray().empty());
}

TEST_F(Files, ADropIsForItsOwnDeck) {
    platform::View panel;
    files_->takeDrops(PDRightPlayer, panel);
    EXPECT_FALSE(drop(panel, {}));
    EXPECT_FALSE(drop(panel, {text_, QStringLiteral("/gone.mp3")}));
    EXPECT_TRUE(drop(panel, {text_, album_, song_}));
    EXPECT_EQ(PDRightSourceManager::trackArray().size(), 1U);
    EXPECT_FALSE(deck(PDRightPlayer).currentURL());
    EXPECT_TRUE(drop(panel, {song_}));
    EXPECT_EQ(deck(PDRightPlayer).currentURL(), song_);
    EXPECT_TRUE(PDLeftSourceManager::trackArray().empty());
    EXPECT_FALSE(deck(PDLeftPlayer).currentURL());
}

TEST_F(Files, AHundredThousandAddressesAndOneOfAMillionLetters) {
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        GTEST_SKIP() << "no dbus-daemon to speak to";
    QStringList urls(100'000, QStringLiteral("file:///gone/song.mp3"));
    urls << QStringLiteral("file:///") + QString(1'000'000, QLatin1Char('x'))
         << QStringLiteral("x").repeated(1'000'000)
         << QString::fromLatin1(platform::fileURLWithPath(song_));
    ApplicationService service(QDBusConnection::sessionBus());
    service.setHandlers([] {}, [this](const QStringList& paths) { files_->open(paths); });
    service.Open(urls, {});
    EXPECT_EQ(deck(PDLeftPlayer).currentURL(), song_);
    EXPECT_FALSE(deck(PDRightPlayer).currentURL());
}

TEST(FileURLs, NameOnlyFilesOfThisMachine) {
    using platform::pathWithFileURL;
    EXPECT_EQ(platform::fileURLWithPath(QStringLiteral("/a b/é%")), "file:///a%20b/%C3%A9%25");
    EXPECT_EQ(pathWithFileURL("file:///a%20b/%C3%A9%25"), QStringLiteral("/a b/é%"));
    EXPECT_EQ(pathWithFileURL("FILE://localhost/a"), QStringLiteral("/a"));
    EXPECT_EQ(pathWithFileURL("file:/a"), QStringLiteral("/a"));
    for (const char* other : {"", "file:", "file://", "file:a", "file://host/a", "/a",
                              "http://localhost/a", "file:///a%00b"}) {
        EXPECT_FALSE(pathWithFileURL(other)) << other;
    }
}
