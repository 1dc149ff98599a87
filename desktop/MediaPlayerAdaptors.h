#pragma once

#include "decks/Deck.h"
#include "desktop/ArtworkFile.h"

#include <QDBusAbstractAdaptor>
#include <QDBusObjectPath>
#include <QStringList>
#include <QVariantMap>

#include <functional>

class DeckFiles;
namespace platform {
class Window;
}

// A deck as a media player of the session's bus (MPRIS D-Bus interface 2.2). Times
// there are in microseconds.

/// The program as a whole: comes to the front, quits.
class MediaPlayerAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ always CONSTANT)
    Q_PROPERTY(bool CanRaise READ always CONSTANT)
    Q_PROPERTY(bool HasTrackList READ never CONSTANT)
    Q_PROPERTY(QString Identity READ identity CONSTANT)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry CONSTANT)
    Q_PROPERTY(QStringList SupportedUriSchemes READ supportedUriSchemes CONSTANT)
    Q_PROPERTY(QStringList SupportedMimeTypes READ supportedMimeTypes CONSTANT)

  public:
    MediaPlayerAdaptor(QObject* parent, const Deck& deck, platform::Window& window);

    bool always() const { return true; }
    bool never() const { return false; }
    QString identity() const;
    QString desktopEntry() const;
    QStringList supportedUriSchemes() const;
    QStringList supportedMimeTypes() const;

  public Q_SLOTS:
    void Raise();
    void Quit();

  private:
    const Deck& deck_;
    platform::Window& window_;
};

/// The deck's transport, by the same verbs as the deck's controls.
class PlayerAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(QString LoopStatus READ loopStatus WRITE setLoopStatus)
    Q_PROPERTY(double Rate READ rate WRITE setRate)
    Q_PROPERTY(bool Shuffle READ shuffle WRITE setShuffle)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(double MinimumRate READ rate CONSTANT)
    Q_PROPERTY(double MaximumRate READ rate CONSTANT)
    Q_PROPERTY(bool CanGoNext READ hasTracks)
    Q_PROPERTY(bool CanGoPrevious READ hasTracks)
    Q_PROPERTY(bool CanPlay READ hasPlayer)
    Q_PROPERTY(bool CanPause READ hasPlayer)
    Q_PROPERTY(bool CanSeek READ hasPlayer)
    Q_PROPERTY(bool CanControl READ always CONSTANT)

  public:
    PlayerAdaptor(QObject* parent, Deck& deck, DeckFiles& files);

    /// "Playing", "Paused", or "Stopped" for a deck that rests at the beginning or can't play.
    QString playbackStatus() const;
    QString loopStatus() const;
    /// "None", "Track" or "Playlist"; anything else changes nothing.
    void setLoopStatus(const QString& status);
    double rate() const { return 1.0; }
    /// The only rate is 1; the rate 0 asks to pause.
    void setRate(double rate);
    bool shuffle() const { return deck_.isShuffling(); }
    void setShuffle(bool shuffle);
    QVariantMap metadata() const;
    double volume() const { return double{deck_.volume()}; }
    /// Clamped to [0, 1].
    void setVolume(double volume);
    qlonglong position() const;
    bool hasTracks() const { return !deck_.tracks().empty(); }
    bool hasPlayer() const { return deck_.hasPlayer(); }
    bool always() const { return true; }

  public Q_SLOTS:
    void Next();
    void Previous();
    void Pause();
    void PlayPause();
    void Stop();
    void Play();
    /// Past the end goes to the next track.
    void Seek(qlonglong Offset);
    /// Ignored for another track than the current one and outside of it.
    void SetPosition(const QDBusObjectPath& TrackId, qlonglong Position);
    /// Plays a music file of this machine, given by its "file:" URL; ignores all else.
    void OpenUri(const QString& Uri);

  Q_SIGNALS:
    void Seeked(qlonglong Position);

  private:
    QDBusObjectPath trackId() const;

    Deck& deck_;
    DeckFiles& files_;
    mutable ArtworkFile artwork_;
};
