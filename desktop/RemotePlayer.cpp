#include "desktop/RemotePlayer.h"

#include "desktop/DeckFiles.h"
#include "desktop/MediaPlayerAdaptors.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QMetaProperty>

#include <cmath>

namespace {

const QString kObjectPath = QStringLiteral("/org/mpris/MediaPlayer2");

// Deviations that an ear could notice; the output's latency and its changes stay below.
constexpr double kJump = 0.1;  // seconds

}  // namespace

RemotePlayer::RemotePlayer(Deck& deck, DeckFiles& files, platform::Window& window)
    : deck_(deck),
      player_(new PlayerAdaptor(this, deck, files)),
      bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, deck.prefix())),
      name_(QStringLiteral("org.mpris.MediaPlayer2.pairdeck.") + deck.prefix()) {
    new MediaPlayerAdaptor(this, deck, window);
    since_.start();
    published_ = properties();
    bus_.registerObject(kObjectPath, this, QDBusConnection::ExportAdaptors);
    if (!bus_.registerService(name_)) {
        name_ += QStringLiteral(".instance%1").arg(QCoreApplication::applicationPid());
        bus_.registerService(name_);
    }
}

RemotePlayer::~RemotePlayer() {
    bus_.unregisterService(name_);
    bus_.unregisterObject(kObjectPath);
    QDBusConnection::disconnectFromBus(deck_.prefix());
}

QVariantMap RemotePlayer::properties() const {
    QVariantMap properties;
    const QMetaObject& interface = PlayerAdaptor::staticMetaObject;
    for (int i = interface.propertyOffset(); i < interface.propertyCount(); ++i) {
        const QMetaProperty property = interface.property(i);
        properties.insert(QString::fromLatin1(property.name()), property.read(player_));
    }
    // Its changes are never told: it changes all the time.
    properties.remove(QStringLiteral("Position"));
    return properties;
}

void RemotePlayer::publish() {
    const QVariantMap now = properties();
    QVariantMap changed;
    for (auto property = now.begin(); property != now.end(); ++property) {
        if (published_.value(property.key()) != property.value()) {
            changed.insert(property.key(), property.value());
        }
    }
    published_ = now;
    if (!changed.isEmpty()) {
        QDBusMessage signal = QDBusMessage::createSignal(
            kObjectPath, QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("PropertiesChanged"));
        signal << QStringLiteral("org.mpris.MediaPlayer2.Player") << changed << QStringList();
        bus_.send(signal);
    }
    publishJump();
}

void RemotePlayer::publishJump() {
    const double elapsed = static_cast<double>(since_.restart()) / 1e3;
    const double expected = position_ + (wasPlaying_ ? elapsed : 0.0);
    position_ = deck_.currentTime();
    wasPlaying_ = deck_.isPlaying();
    if (std::abs(position_ - expected) > kJump) Q_EMIT player_->Seeked(player_->position());
}
