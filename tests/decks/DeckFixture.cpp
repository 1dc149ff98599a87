#include "tests/decks/DeckFixture.h"

#include "decks/InterfaceClasses.h"
#include "platform/foundation/Path.h"
#include "tests/platform/audio/Songs.h"

#include <QFile>

using platform::UserDefaults;

DeckFixture::DeckFixture() {
    for (const char* side : {"Left", "Right"}) {
        const QString prefix = QStringLiteral("Pairdeck") + QLatin1String(side);
        // Only over what an earlier test of this process has left: a first start finds nothing.
        const QString repeat = prefix + QStringLiteral("RepeatState");
        const QString shuffle = prefix + QStringLiteral("ShuffleState");
        if (stored(repeat)) store(repeat, 0);
        if (stored(shuffle)) store(shuffle, false);
    }
    PDLeftSourceManager::trackArray().clear();
    PDRightSourceManager::trackArray().clear();
}

DeckFixture::~DeckFixture() = default;

void DeckFixture::start() {
    interface_ = std::make_unique<platform::Interface>(
        QStringLiteral("MainWindow"), platform::readInterfaceFiles(), interfaceClasses());
    pairdeck_ = dynamic_cast<Pairdeck*>(interface_->controller(QStringLiteral("Pairdeck")));
    ASSERT_NE(pairdeck_, nullptr);
    ASSERT_EQ(interface_->problems(), QStringList());
    for (const PDPlayerType side : {PDLeftPlayer, PDRightPlayer})
        findControls(side);
}

void DeckFixture::findControls(PDPlayerType side) {
    DeckControls& found = controls_[static_cast<size_t>(side)];
    const auto find = [&]<typename Type>(Type*& widget, const char* role) {
        const QString name = QStringLiteral("PD") + deck(side).name() + QLatin1String(role);
        widget = interface_->mainWindow()->findChild<Type*>(name);
        ASSERT_NE(widget, nullptr) << qPrintable(name);
    };
    find(found.songTitle, "SongTitle");
    find(found.songAlbumArt, "SongAlbumArt");
    find(found.background, "Background");
    find(found.songAlbumArtist, "SongAlbumArtist");
    find(found.hint, "Hint");
    find(found.openFolder, "OpenFolder");
    find(found.timeSlider, "TimeSlider");
    find(found.volumeSlider, "VolumeSlider");
    find(found.muteButton, "MuteButton");
    find(found.cTime, "CTime");
    find(found.rTime, "RTime");
    find(found.shuffleButton, "ShuffleButton");
    find(found.repeatButton, "RepeatButton");
    find(found.controlView, "ControlView");
    find(found.playPause, "PlayPause");
    find(found.prev, "Prev");
    find(found.next, "Next");
    find(found.tableView, "TableView");
    find(found.levelMeter, "LevelMeter");
}

void DeckFixture::store(const QString& key, const platform::DefaultsValue& value) {
    UserDefaults::standardUserDefaults().setValueForKey(value, key);
}

std::optional<platform::DefaultsValue> DeckFixture::stored(const QString& key) const {
    return UserDefaults::standardUserDefaults().valueForKey(key);
}

QString DeckFixture::makeSong(const QString& name, double seconds, const QByteArray& tags) const {
    QString path = folder_.filePath(name);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    const auto options = QStringLiteral("-c:a libmp3lame -b:a 128k -id3v2_version 0");
    file.write(tags + platform::audio::encodedSong(seconds, options, QStringLiteral("mp3")));
    return path;
}

void DeckFixture::fillList(PDPlayerType side, const QStringList& paths) {
    TrackArray& tracks = side == PDLeftPlayer ? PDLeftSourceManager::trackArray()
                                              : PDRightSourceManager::trackArray();
    tracks.clear();
    for (const QString& path : paths)
        tracks.push_back(PDTrack::trackFromURL(path));
    controls(side).tableView->reloadData();
}

PDSourceManager& DeckFixture::library(PDPlayerType side) {
    const QString name = QStringLiteral("PD%1SourceManager").arg(deck(side).name());
    return dynamic_cast<PDSourceManager&>(*interface_->controller(name));
}

QString DeckFixture::loaded(PDPlayerType side) {
    return platform::lastPathComponent(deck(side).currentURL().value_or(QString()));
}

bool sameImage(const platform::Image& one, const platform::Image& other) {
    return one.bitmap() == other.bitmap();
}
