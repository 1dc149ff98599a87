#include "desktop/MediaPlayerAdaptors.h"

#include "desktop/DeckFiles.h"
#include "platform/foundation/Bundle.h"
#include "platform/foundation/Path.h"
#include "platform/ui/Application.h"
#include "platform/ui/RunLoop.h"
#include "platform/ui/Window.h"

#include <QCryptographicHash>

#include <cmath>

using platform::RunLoop;

namespace {

constexpr double kMicroseconds = 1e6;  // in a second

qlonglong microseconds(double seconds) {
    return std::llround(seconds * kMicroseconds);
}

// In the order of the repeat states.
const std::array<QString, 3>& loopStatuses() {
    static const std::array names = {QStringLiteral("None"), QStringLiteral("Playlist"),
                                     QStringLiteral("Track")};
    return names;
}

}  // namespace

MediaPlayerAdaptor::MediaPlayerAdaptor(QObject* parent, const Deck& deck, platform::Window& window)
    : QDBusAbstractAdaptor(parent), deck_(deck), window_(window) {}

QString MediaPlayerAdaptor::identity() const {
    return QStringLiteral("Pairdeck – ") + deck_.name();
}

QString MediaPlayerAdaptor::desktopEntry() const {
    return platform::Bundle::mainBundle().bundleIdentifier();
}

QStringList MediaPlayerAdaptor::supportedUriSchemes() const {
    return {QStringLiteral("file")};
}

QStringList MediaPlayerAdaptor::supportedMimeTypes() const {
    return {QStringLiteral("audio/mpeg"), QStringLiteral("audio/mp4")};
}

void MediaPlayerAdaptor::Raise() {
    window_.makeKeyAndOrderFront();
}

void MediaPlayerAdaptor::Quit() {
    platform::Application::sharedApplication().terminate();
}

PlayerAdaptor::PlayerAdaptor(QObject* parent, Deck& deck, DeckFiles& files)
    : QDBusAbstractAdaptor(parent), deck_(deck), files_(files) {}

QString PlayerAdaptor::playbackStatus() const {
    if (deck_.isPlaying()) return QStringLiteral("Playing");
    const bool isUnderWay = deck_.currentTime() > 0.0;
    return isUnderWay ? QStringLiteral("Paused") : QStringLiteral("Stopped");
}

QString PlayerAdaptor::loopStatus() const {
    return loopStatuses()[static_cast<size_t>(deck_.repeat())];
}

void PlayerAdaptor::setLoopStatus(const QString& status) {
    const auto& names = loopStatuses();
    // What is none of the names comes out as no state, which changes nothing.
    const auto state = std::find(names.begin(), names.end(), status) - names.begin();
    RunLoop::perform([this, state] {
        if (state != deck_.repeat()) deck_.setRepeat(state);
    });
}

void PlayerAdaptor::setRate(double rate) {
    if (rate == 0.0) Pause();
}

void PlayerAdaptor::setShuffle(bool shuffle) {
    RunLoop::perform([this, shuffle] {
        if (shuffle != deck_.isShuffling()) deck_.setShuffle(shuffle);
    });
}

void PlayerAdaptor::setVolume(double volume) {
    RunLoop::perform([this, volume] { deck_.setVolume(static_cast<float>(volume)); });
}

qlonglong PlayerAdaptor::position() const {
    return microseconds(deck_.currentTime());
}

QDBusObjectPath PlayerAdaptor::trackId() const {
    // Of the path's bytes: an object's path allows but few characters.
    const QByteArray path =
        platform::fileSystemRepresentation(deck_.currentURL().value_or(QString()));
    const QByteArray hash = QCryptographicHash::hash(path, QCryptographicHash::Sha1).toHex();
    return QDBusObjectPath(QStringLiteral("/com/ovrelin/Pairdeck/track/") +
                           QString::fromLatin1(hash));
}

QVariantMap PlayerAdaptor::metadata() const {
    QVariantMap metadata;
    if (!deck_.currentURL()) return metadata;
    const TrackTags& tags = deck_.tags();
    const QString title = tags.title.value_or(platform::lastPathComponent(*deck_.currentURL()));
    metadata.insert(QStringLiteral("mpris:trackid"), QVariant::fromValue(trackId()));
    metadata.insert(QStringLiteral("mpris:length"), microseconds(deck_.duration()));
    metadata.insert(QStringLiteral("xesam:url"),
                    QString::fromLatin1(platform::fileURLWithPath(*deck_.currentURL())));
    metadata.insert(QStringLiteral("xesam:title"), platform::displayString(title));
    if (tags.album) {
        metadata.insert(QStringLiteral("xesam:album"), platform::displayString(*tags.album));
    }
    if (tags.artist) {
        metadata.insert(QStringLiteral("xesam:artist"),
                        QStringList{platform::displayString(*tags.artist)});
    }
    const QString artwork = artwork_.urlOf(tags.artwork);
    if (!artwork.isEmpty()) metadata.insert(QStringLiteral("mpris:artUrl"), artwork);
    return metadata;
}

void PlayerAdaptor::Next() {
    RunLoop::perform([this] { deck_.playNext(); });
}

void PlayerAdaptor::Previous() {
    RunLoop::perform([this] { deck_.playPrevious(); });
}

void PlayerAdaptor::Pause() {
    RunLoop::perform([this] { deck_.pause(); });
}

void PlayerAdaptor::PlayPause() {
    RunLoop::perform([this] { deck_.playPause(); });
}

void PlayerAdaptor::Stop() {
    RunLoop::perform([this] {
        deck_.pause();
        if (deck_.currentTime() > 0.0) deck_.seek(0.0);
    });
}

void PlayerAdaptor::Play() {
    RunLoop::perform([this] { deck_.play(); });
}

void PlayerAdaptor::Seek(qlonglong Offset) {
    RunLoop::perform([this, Offset] {
        if (!deck_.hasPlayer()) return;
        const double target = deck_.currentTime() + static_cast<double>(Offset) / kMicroseconds;
        if (target > deck_.duration()) {
            deck_.playNext();
        } else {
            deck_.seek(target);
        }
    });
}

void PlayerAdaptor::SetPosition(const QDBusObjectPath& TrackId, qlonglong Position) {
    RunLoop::perform([this, TrackId, Position] {
        const double target = static_cast<double>(Position) / kMicroseconds;
        if (!deck_.hasPlayer() || TrackId != trackId()) return;
        if (target >= 0.0 && target <= deck_.duration()) deck_.seek(target);
    });
}

void PlayerAdaptor::OpenUri(const QString& Uri) {
    RunLoop::perform([this, Uri] {
        const auto path = platform::pathWithFileURL(Uri.toUtf8());
        if (path && DeckFiles::isMusicFile(*path)) files_.openOn(deck_.side(), *path);
    });
}
