#pragma once

#include "decks/Deck.h"

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QObject>
#include <QVariantMap>

class DeckFiles;
class PlayerAdaptor;
namespace platform {
class Window;
}

/// One deck as a media player of its own on the session's bus, for media keys, the desktop's
/// controls and programs. Each deck has a connection to the bus of its own: the interface has one
/// fixed place for its object on a connection.
class RemotePlayer final : public QObject {
    Q_OBJECT

  public:
    /// Has no effect without a bus. What it is given must outlive it.
    RemotePlayer(Deck& deck, DeckFiles& files, platform::Window& window);
    ~RemotePlayer() override;

    /// Tells the bus what has changed since the last call. To be called after every change of the
    /// deck other than the going on of time.
    void publish();

  private:
    QVariantMap properties() const;
    void publishJump();

    const Deck& deck_;
    PlayerAdaptor* player_;
    QDBusConnection bus_;
    QString name_;
    QVariantMap published_;
    // Where the listener was last seen, which tells a jump from the going on of time.
    double position_ = 0.0;
    bool wasPlaying_ = false;
    QElapsedTimer since_;
};
